#include "host/kernel/topology/shell.h"

#include <vector>

#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/topology.h"

const ENTITY_TYPE SHELL::type("SHELL", "k2", &ENTITY::type);
const ENTITY_TYPE SUBSHELL::type("SUBSHELL", "k2", &SHELL::type);

SHELL::SHELL() = default;

int SHELL::number_of_all_faces() const {
  int n = 0;
  std::vector<const SHELL*> stack{this};
  while (!stack.empty()) {
    const SHELL* s = stack.back();
    stack.pop_back();
    n += s->number_of_faces();
    for (SUBSHELL* sub = s->first_subshell(); sub != nullptr; sub = sub->next_subshell()) {
      stack.push_back(sub);
    }
  }
  return n;
}

BODY* SHELL::body() const {
  const SHELL* s = this;
  while (s->parent() != nullptr) s = s->parent();
  return s->d().body;
}

void SHELL::add_face(FACE* f) {
  if (f == nullptr) return;
  if (f->shell() != nullptr) TOPOLOGY::remove_face(f->shell(), f);
  TOPOLOGY::append_face(this, f);
}

bool SHELL::unlink_face(FACE* f) {
  if (f == nullptr || f->shell() != this) return false;
  TOPOLOGY::remove_face(this, f);
  return true;
}

void SHELL::add_subshell(SUBSHELL* s) {
  if (s == nullptr || s == this) return;
  // A shell can not go below one of its own subshells.
  for (const SHELL* p = this; p != nullptr; p = p->parent()) {
    if (p == s) return;
  }
  if (s->parent() != nullptr) TOPOLOGY::detach_subshell(s);
  TOPOLOGY::attach_subshell(this, s);
}

std::vector<const FACE*> SHELL::faces() const {
  std::vector<const FACE*> out;
  scan_faces(
      [](FACE* f, void* data) {
        static_cast<std::vector<const FACE*>*>(data)->push_back(f);
        return SCAN_CONTINUE;
      },
      &out);
  return out;
}

SCAN_CNTRL SHELL::scan_faces(SCAN_CNTRL (*fn)(FACE*, void*), void* data) const {
  std::vector<const SHELL*> stack{this};
  while (!stack.empty()) {
    const SHELL* s = stack.back();
    stack.pop_back();
    for (FACE* f = s->first_face(); f != nullptr;) {
      FACE* next = f->next_in_shell();
      if (fn(f, data) == SCAN_STOP) return SCAN_STOP;
      f = next;
    }
    // Subshells in list order: push in reverse.
    std::vector<const SHELL*> subs;
    for (SUBSHELL* sub = s->first_subshell(); sub != nullptr; sub = sub->next_subshell()) {
      subs.push_back(sub);
    }
    stack.insert(stack.end(), subs.rbegin(), subs.rend());
  }
  return SCAN_CONTINUE;
}

namespace {
struct VERTEX_SCAN {
  SCAN_CNTRL (*fn)(VERTEX*, void*);
  void* data;
};
SCAN_CNTRL face_vertices(FACE* f, void* arg) {
  auto* s = static_cast<VERTEX_SCAN*>(arg);
  return f->scan_vertices(s->fn, s->data);
}
}  // namespace

SCAN_CNTRL SHELL::scan_vertices(SCAN_CNTRL (*fn)(VERTEX*, void*), void* data) const {
  VERTEX_SCAN s{fn, data};
  return scan_faces(&face_vertices, &s);
}

bool SHELL::destroy_if_empty() {
  if (!is_empty()) return false;
  TOPOLOGY::lose_shell(this);
  return true;
}

bool SUBSHELL::detach() {
  if (parent() == nullptr) return false;
  TOPOLOGY::detach_subshell(this);
  return true;
}

void SHELL::lose() { TOPOLOGY::lose_shell(this); }
