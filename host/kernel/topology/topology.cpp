#include "host/kernel/topology/topology.h"

#include <algorithm>

#include "host/base/assertion.h"
#include "host/kernel/entity/entity.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/edge.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"
#include "host/kernel/topology/shell.h"
#include "host/kernel/topology/vertex.h"

void TOPOLOGY::enter_ring(EDGE* e, COEDGE* c) {
  COEDGE* head = e->coedge();
  if (head == nullptr) {
    c->w().partner = c;
    e->w().coedge = c;
  } else {
    c->w().partner = head->partner();
    head->w().partner = c;
  }
}

void TOPOLOGY::leave_ring(COEDGE* c) {
  EDGE* e = c->edge();
  if (e == nullptr) return;
  COEDGE* next = c->partner();
  if (next == nullptr || next == c) {
    if (e->coedge() == c) e->w().coedge = nullptr;
  } else {
    // O(ring size): find the coedge before c.
    COEDGE* p = next;
    while (p->partner() != c && p->partner() != nullptr && p->partner() != next) p = p->partner();
    if (p->partner() == c) p->w().partner = next;
    if (e->coedge() == c) e->w().coedge = next;
  }
  c->w().partner = nullptr;
}

void TOPOLOGY::enter_vertex(VERTEX* v, EDGE* e) {
  if (e->start() == v) {
    e->w().next_at_start = v->first_edge();
  } else {
    e->w().next_at_end = v->first_edge();
  }
  v->w().first_edge = e;
}

void TOPOLOGY::leave_vertex(VERTEX* v, EDGE* e) {
  EDGE* after = e->next_edge_at(v);
  if (v->first_edge() == e) {
    v->w().first_edge = after;
    return;
  }
  for (EDGE* p = v->first_edge(); p != nullptr; p = p->next_edge_at(v)) {
    if (p->next_edge_at(v) == e) {
      if (p->start() == v) {
        p->w().next_at_start = after;
      } else {
        p->w().next_at_end = after;
      }
      return;
    }
  }
}

void TOPOLOGY::append_face(SHELL* s, FACE* f) {
  FACE* last = s->last_face();
  f->w().shell = s;
  f->w().prev = last;
  f->w().next = nullptr;
  auto& sd = s->w();
  if (last != nullptr) {
    last->w().next = f;
  } else {
    sd.first_face = f;
  }
  sd.last_face = f;
  ++sd.face_count;
}

void TOPOLOGY::remove_face(SHELL* s, FACE* f) {
  FACE* prev = f->prev_in_shell();
  FACE* next = f->next_in_shell();
  auto& sd = s->w();
  if (prev != nullptr) {
    prev->w().next = next;
  } else {
    sd.first_face = next;
  }
  if (next != nullptr) {
    next->w().prev = prev;
  } else {
    sd.last_face = prev;
  }
  --sd.face_count;
  auto& fd = f->w();
  fd.shell = nullptr;
  fd.prev = fd.next = nullptr;
}

void TOPOLOGY::attach_subshell(SHELL* parent, SUBSHELL* s) {
  // New subshells go to the end of the parent's list.
  SHELL* self = s;
  self->w().parent = parent;
  self->w().next_sub = nullptr;
  SUBSHELL* last = parent->first_subshell();
  if (last == nullptr) {
    parent->w().first_sub = s;
    return;
  }
  while (last->next_subshell() != nullptr) last = last->next_subshell();
  static_cast<SHELL*>(last)->w().next_sub = s;
}

void TOPOLOGY::detach_subshell(SUBSHELL* s) {
  SHELL* self = s;
  SHELL* parent = self->parent();
  if (parent == nullptr) return;
  SUBSHELL* after = self->next_subshell();
  if (parent->first_subshell() == s) {
    parent->w().first_sub = after;
  } else {
    for (SUBSHELL* p = parent->first_subshell(); p != nullptr; p = p->next_subshell()) {
      if (p->next_subshell() == s) {
        static_cast<SHELL*>(p)->w().next_sub = after;
        break;
      }
    }
  }
  self->w().parent = nullptr;
  self->w().next_sub = nullptr;
}

void TOPOLOGY::attach_shell(BODY* b, SHELL* s) {
  b->w().shells.push_back(s);
  s->w().body = b;
}

bool TOPOLOGY::detach_shell(BODY* b, SHELL* s) {
  const auto& shells = b->shells();
  auto it = std::find(shells.begin(), shells.end(), s);
  if (it == shells.end()) return false;
  const auto index = it - shells.begin();
  auto& v = b->w().shells;
  v.erase(v.begin() + index);
  s->w().body = nullptr;
  return true;
}

void TOPOLOGY::append_loop(FACE* f, LOOP* l) {
  l->w().face = f;
  l->w().next = nullptr;
  LOOP* last = f->loop();
  if (last == nullptr) {
    f->w().first_loop = l;
    return;
  }
  while (last->next() != nullptr) last = last->next();
  last->w().next = l;
}

void TOPOLOGY::claim_ring(LOOP* l, COEDGE* first) {
  walk_ring(first, [l](COEDGE* c) { c->w().loop = l; });
}

void TOPOLOGY::ring(COEDGE* first, std::vector<COEDGE*>& out) {
  out.clear();
  if (first == nullptr) return;
  // Every coedge of a well-formed ring is a live entity, so a walk longer than
  // the number of entities has entered a cycle that misses its start.
  const std::uint64_t limit = ENTITY::registered_count();
  COEDGE* c = first;
  do {
    out.push_back(c);
    c = c->next();
  } while (c != nullptr && c != first && out.size() <= limit);
  HOST_ASSERT(out.size() <= limit, "coedge ring does not come back to its start");
}

void TOPOLOGY::set_loop_start(LOOP* l, COEDGE* c) { l->w().first = c; }

void TOPOLOGY::release_loops(FACE* f) {
  for (LOOP* l = f->loop(); l != nullptr;) {
    LOOP* next = l->next();
    auto& ld = l->w();
    ld.face = nullptr;
    ld.next = nullptr;
    l = next;
  }
  f->w().first_loop = nullptr;
}

void TOPOLOGY::lose_unlinked_coedge(COEDGE* c) {
  leave_ring(c);
  c->lose_entity();
}

void TOPOLOGY::lose_empty_loop(LOOP* l) { l->lose_entity(); }

void TOPOLOGY::lose_bare_face(FACE* f) {
  if (f->shell() != nullptr) remove_face(f->shell(), f);
  f->lose_entity();
}

void TOPOLOGY::lose_edge(EDGE* e, bool lose_lonely_vertices) {
  VERTEX* ends[2] = {e->start(), e->end() != e->start() ? e->end() : nullptr};
  for (VERTEX* v : ends) {
    if (v == nullptr) continue;
    leave_vertex(v, e);
    if (lose_lonely_vertices && v->first_edge() == nullptr) v->lose_entity();
  }
  e->lose_entity();
}

void TOPOLOGY::lose_face(FACE* f) {
  if (f->shell() != nullptr) remove_face(f->shell(), f);
  std::vector<COEDGE*> coedges;
  for (LOOP* l = f->loop(); l != nullptr;) {
    LOOP* next_loop = l->next();
    ring(l->start(), coedges);
    for (COEDGE* c : coedges) {
      EDGE* e = c->edge();
      leave_ring(c);
      if (e != nullptr && e->coedge() == nullptr) lose_edge(e, true);
    }
    for (COEDGE* c : coedges) c->lose_entity();
    l->lose_entity();
    l = next_loop;
  }
  f->lose_entity();
}

void TOPOLOGY::lose_shell(SHELL* s) {
  // Detach from where the shell hangs, then destroy its tree of subshells.
  if (s->parent() != nullptr) {
    detach_subshell(static_cast<SUBSHELL*>(s));
  } else if (s->body() != nullptr) {
    detach_shell(s->body(), s);
  }
  std::vector<SHELL*> order{s};
  for (std::size_t i = 0; i < order.size(); ++i) {
    for (SUBSHELL* sub = order[i]->first_subshell(); sub != nullptr; sub = sub->next_subshell()) {
      order.push_back(sub);
    }
  }
  for (SHELL* sh : order) {
    while (FACE* f = sh->first_face()) lose_face(f);
  }
  for (auto it = order.rbegin(); it != order.rend(); ++it) (*it)->lose_entity();
}

void TOPOLOGY::lose_body(BODY* b) {
  // The whole body goes, so nothing inside it is relinked: every entity is
  // handed to the history as it stands, and a recovered state finds the body
  // with its links intact. Pointers of coedges that were freed already are
  // only compared, never followed.
  std::vector<SHELL*> shells(b->shells().begin(), b->shells().end());
  for (std::size_t i = 0; i < shells.size(); ++i) {
    for (SUBSHELL* sub = shells[i]->first_subshell(); sub != nullptr; sub = sub->next_subshell()) {
      shells.push_back(sub);
    }
  }
  std::vector<EDGE*> edges;
  std::vector<COEDGE*> coedges;
  for (SHELL* sh : shells) {
    for (FACE* f = sh->first_face(); f != nullptr;) {
      FACE* next_face = f->next_in_shell();
      for (LOOP* l = f->loop(); l != nullptr;) {
        LOOP* next_loop = l->next();
        ring(l->start(), coedges);
        for (COEDGE* c : coedges) {
          EDGE* e = c->edge();
          if (e != nullptr && e->coedge() == c) edges.push_back(e);
        }
        for (COEDGE* c : coedges) c->lose_entity();
        l->lose_entity();
        l = next_loop;
      }
      f->lose_entity();
      f = next_face;
    }
  }
  std::vector<VERTEX*> vertices;
  for (EDGE* e : edges) {
    VERTEX* s = e->start();
    VERTEX* t = e->end();
    if (s != nullptr && s->first_edge() == e) vertices.push_back(s);
    if (t != nullptr && t != s && t->first_edge() == e) vertices.push_back(t);
  }
  for (EDGE* e : edges) e->lose_entity();
  for (VERTEX* v : vertices) v->lose_entity();
  for (auto it = shells.rbegin(); it != shells.rend(); ++it) (*it)->lose_entity();
  b->lose_entity();
}
