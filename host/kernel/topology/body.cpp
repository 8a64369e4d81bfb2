#include "host/kernel/topology/body.h"

#include <cmath>

#include "host/kernel/kernel_errors.h"

#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/edge.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"
#include "host/kernel/topology/shell.h"
#include "host/kernel/topology/topology.h"
#include "host/kernel/topology/vertex.h"

const ENTITY_TYPE BODY::type("BODY", "k2", &ENTITY::type);

namespace {
BODY_DATA body_data(double resabs) {
  BODY_DATA d;
  d.resabs = resabs;
  return d;
}
}  // namespace

BODY::BODY() : TRACKED(body_data(get_k2_geores().resabs())) {}

namespace {
// Checked before the body exists, so that a refusal leaves nothing behind.
BODY_DATA body_around(const SHELL* shell, double resabs) {
  if (shell != nullptr && shell->identity() <= SUBSHELL::type) k2_throw(K2_ERROR::BAD_TOPOLOGY);
  if (!std::isfinite(resabs) || resabs <= 0.0) k2_throw(K2_ERROR::WRONG_TYPE);
  return body_data(resabs);
}
}  // namespace

BODY::BODY(SHELL* shell, double resabs) : TRACKED(body_around(shell, resabs)) {
  if (shell != nullptr) add_shell(shell);
}

void BODY::add_shell(SHELL* s) {
  if (s == nullptr || s->parent() != nullptr) return;
  BODY* old = s->body();
  if (old == this) return;
  if (old != nullptr) TOPOLOGY::detach_shell(old, s);
  TOPOLOGY::attach_shell(this, s);
}

bool BODY::remove_shell(SHELL* s) { return TOPOLOGY::detach_shell(this, s); }

int BODY::number_of_faces() const {
  int n = 0;
  for (SHELL* s : d().shells) n += s->number_of_all_faces();
  return n;
}

namespace {
SCAN_CNTRL unite_face_box(FACE* f, void* arg) {
  *static_cast<BOX3*>(arg) |= f->box();
  return SCAN_CONTINUE;
}
}  // namespace

BOX3 BODY::bound() const {
  BOX3 b = BOX3::nil();
  scan_faces(&unite_face_box, &b);
  return b;
}

SCAN_CNTRL BODY::scan_shells(SCAN_CNTRL (*fn)(SHELL*, void*), void* data) const {
  // A copy: the callback may move shells between bodies.
  const std::vector<SHELL*> shells = d().shells;
  for (SHELL* s : shells) {
    if (fn(s, data) == SCAN_STOP) return SCAN_STOP;
  }
  return SCAN_CONTINUE;
}

SCAN_CNTRL BODY::scan_faces(SCAN_CNTRL (*fn)(FACE*, void*), void* data) const {
  const std::vector<SHELL*> shells = d().shells;
  for (SHELL* s : shells) {
    if (s->scan_faces(fn, data) == SCAN_STOP) return SCAN_STOP;
  }
  return SCAN_CONTINUE;
}

namespace {

// Calls fn for each coedge of each face of the body.
template <class FN>
SCAN_CNTRL for_each_coedge(const BODY* b, FN&& fn) {
  struct CTX {
    FN* fn;
    std::vector<COEDGE*> ring;
  } ctx{&fn, {}};
  return b->scan_faces(
      [](FACE* f, void* arg) {
        auto* c = static_cast<CTX*>(arg);
        for (LOOP* l = f->loop(); l != nullptr; l = l->next()) {
          TOPOLOGY::ring(l->start(), c->ring);
          for (COEDGE* co : c->ring) {
            if ((*c->fn)(co) == SCAN_STOP) return SCAN_STOP;
          }
        }
        return SCAN_CONTINUE;
      },
      &ctx);
}

}  // namespace

SCAN_CNTRL BODY::scan_edges(SCAN_CNTRL (*fn)(EDGE*, void*), void* data) const {
  // An edge is reported at the coedge its ring starts from, so once.
  return for_each_coedge(this, [&](COEDGE* c) {
    EDGE* e = c->edge();
    if (e != nullptr && e->coedge() == c) return fn(e, data);
    return SCAN_CONTINUE;
  });
}

SCAN_CNTRL BODY::scan_vertices(SCAN_CNTRL (*fn)(VERTEX*, void*), void* data) const {
  // A vertex is reported with the first edge of its list, so once.
  return for_each_coedge(this, [&](COEDGE* c) {
    EDGE* e = c->edge();
    if (e == nullptr || e->coedge() != c) return SCAN_CONTINUE;
    VERTEX* ends[2] = {e->start(), e->end()};
    for (int i = 0; i < 2; ++i) {
      VERTEX* v = ends[i];
      if (i == 1 && v == ends[0]) break;
      if (v != nullptr && v->first_edge() == e && fn(v, data) == SCAN_STOP) return SCAN_STOP;
    }
    return SCAN_CONTINUE;
  });
}

void BODY::add_attribute(std::shared_ptr<const ATTRIB> a) {
  w().attribs = d().attribs.with(std::move(a));
}

void BODY::remove_attribute(const char* name) {
  if (d().attribs.find(name) != nullptr) w().attribs = d().attribs.without(name);
}

void BODY::lose() { TOPOLOGY::lose_body(this); }

bool is_face_part(const BODY* body) {
  return body != nullptr && body->attributes().find(FACE_PART_ATT::kName) != nullptr;
}
