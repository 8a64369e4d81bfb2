#include "host/kernel/ops/body_checker.h"

#include <unordered_map>
#include <unordered_set>

#include "host/kernel/topology/body.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/edge.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"
#include "host/kernel/topology/shell.h"
#include "host/kernel/topology/topology.h"
#include "host/kernel/topology/vertex.h"

namespace {

class CHECKER {
 public:
  explicit CHECKER(BODY_CHECK& out) : out_(out) {}

  void fail(const std::string& what, const ENTITY* e) {
    if (out_.problems.size() < 100) {
      out_.problems.push_back(what + " (" + (e != nullptr ? e->identity().name() : "null") + " " +
                              std::to_string(e != nullptr ? e->sysid() : 0) + ")");
    }
  }

  bool live(const ENTITY* e, const char* what) {
    if (e == nullptr || !e->is_alive()) {
      fail(std::string(what) + " is not a live entity", nullptr);
      return false;
    }
    return true;
  }

  void shell(const SHELL* s, const BODY* body, const SHELL* parent) {
    if (!live(s, "shell")) return;
    if (s->parent() != parent) fail("shell's parent is wrong", s);
    if (parent == nullptr && s->body() != body) fail("shell does not point at its body", s);
    int count = 0;
    const FACE* prev = nullptr;
    for (const FACE* f = s->first_face(); f != nullptr; f = f->next_in_shell()) {
      if (!live(f, "face")) return;
      if (f->shell() != s) fail("face does not point at its shell", f);
      if (f->prev_in_shell() != prev) fail("face list links disagree", f);
      prev = f;
      ++count;
      face(f);
    }
    if (s->last_face() != prev) fail("shell's last face is wrong", s);
    if (count != s->number_of_faces()) fail("shell's face count is wrong", s);
    for (const SUBSHELL* sub = s->first_subshell(); sub != nullptr; sub = sub->next_subshell()) {
      shell(sub, body, s);
    }
  }

  void face(const FACE* f) {
    ++out_.faces;
    if (f->geometry() == nullptr) fail("face has no surface", f);
    std::vector<COEDGE*> ring;
    for (const LOOP* l = f->loop(); l != nullptr; l = l->next()) {
      if (!live(l, "loop")) return;
      ++out_.loops;
      if (l->face() != f) fail("loop does not point at its face", l);
      TOPOLOGY::ring(l->start(), ring);
      if (ring.empty()) fail("loop has no coedge", l);
      for (COEDGE* c : ring) {
        if (!live(c, "coedge")) return;
        ++out_.coedges;
        if (c->loop() != l) fail("coedge does not point at its loop", c);
        if (c->next() == nullptr) {
          fail("loop ring is open", c);
          continue;
        }
        if (c->next()->previous() != c) fail("coedge next and previous disagree", c);
        if (c->end() != c->next()->start()) fail("coedge does not end where the next starts", c);
        if (c->edge() == nullptr) {
          fail("coedge has no edge", c);
          continue;
        }
        coedges_of_edge_[c->edge()].push_back(c);
      }
      if (!ring.empty() && ring.back()->next() != ring.front()) fail("loop ring does not close", l);
    }
  }

  void edges() {
    for (auto& [e, uses] : coedges_of_edge_) {
      if (!live(e, "edge")) continue;
      ++out_.edges;
      if (uses.size() == 1) ++out_.open_edges;
      if (uses.size() > 2) ++out_.nonmanifold_edges;
      // The partner ring holds exactly the coedges that use the edge.
      std::unordered_set<const COEDGE*> in_ring;
      const COEDGE* head = e->coedge();
      if (head == nullptr) {
        fail("edge in use has no coedge", e);
        continue;
      }
      const COEDGE* c = head;
      std::size_t steps = 0;
      do {
        in_ring.insert(c);
        c = c->partner();
      } while (c != nullptr && c != head && ++steps <= uses.size());
      if (c != head) fail("partner ring does not close", e);
      if (in_ring.size() != uses.size()) fail("partner ring and the coedges on the edge differ", e);
      for (const COEDGE* u : uses) {
        if (in_ring.count(u) == 0) fail("coedge is missing from its edge's ring", u);
      }
      for (const VERTEX* v : {e->start(), e->end()}) {
        if (!live(v, "vertex")) continue;
        if (vertices_.insert(v).second) ++out_.vertices;
        bool listed = false;
        for (const EDGE* x = v->first_edge(); x != nullptr && !listed; x = x->next_edge_at(v)) {
          listed = (x == e);
        }
        if (!listed) fail("vertex does not list its edge", v);
      }
    }
  }

 private:
  BODY_CHECK& out_;
  std::unordered_map<const EDGE*, std::vector<const COEDGE*>> coedges_of_edge_;
  std::unordered_set<const VERTEX*> vertices_;
};

}  // namespace

BODY_CHECK check_body(const BODY* body) {
  BODY_CHECK out;
  CHECKER c(out);
  if (!c.live(body, "body")) return out;
  for (const SHELL* s : body->shells()) c.shell(s, body, nullptr);
  c.edges();
  return out;
}
