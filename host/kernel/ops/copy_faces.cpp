#include "host/kernel/ops/copy_faces.h"

#include <vector>

#include "host/kernel/topology/body.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/edge.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"
#include "host/kernel/topology/shell.h"
#include "host/kernel/topology/topology.h"
#include "host/kernel/topology/vertex.h"

namespace {

VERTEX* copy_vertex(VERTEX* v, ANYPTR_DICTIONARY& dict) {
  if (auto* c = static_cast<VERTEX*>(dict.lookup(v))) return c;
  auto* c = new VERTEX(v->geometry());
  dict.add(v, c);
  return c;
}

EDGE* copy_edge(EDGE* e, ANYPTR_DICTIONARY& dict) {
  if (auto* c = static_cast<EDGE*>(dict.lookup(e))) return c;
  VERTEX* s = copy_vertex(e->start(), dict);
  VERTEX* t = e->end() == e->start() ? s : copy_vertex(e->end(), dict);
  MOD_INFO* status = nullptr;
  // The original passed its checks; the copy keeps it as it is, whatever the
  // resolution in force now says.
  auto* c = new EDGE(s, t, e->geometry(), status);
  dict.add(e, c);
  return c;
}

FACE* copy_face(FACE* f, ANYPTR_DICTIONARY& dict) {
  auto* copy = new FACE(f->geometry(), f->sense());
  copy->set_attributes(f->attributes());
  std::vector<COEDGE*> ring;
  for (LOOP* l = f->loop(); l != nullptr; l = l->next()) {
    TOPOLOGY::ring(l->start(), ring);
    COEDGE* first = nullptr;
    COEDGE* last = nullptr;
    for (COEDGE* c : ring) {
      if (c->edge() == nullptr) continue;
      last = new COEDGE(copy_edge(c->edge(), dict), c->sense(), last, nullptr);
      if (first == nullptr) first = last;
    }
    if (first == nullptr) continue;
    if (ring.back()->next() == ring.front()) {
      last->set_next(first);
    }
    new LOOP(first, copy, l->loop_type(), true, false);
  }
  dict.add(f, copy);
  return copy;
}

}  // namespace

BODY* copy_faces(BODY* body, const ENTITY_TABLE<FACE>& faces, ANYPTR_DICTIONARY& dict, void*) {
  SHELL* shell = nullptr;
  for (FACE* f : faces) {
    if (f == nullptr || (body != nullptr && f->body() != body)) continue;
    if (shell == nullptr) {
      shell = new SHELL();
      shell->set_shell_type(2);
    }
    shell->add_face(copy_face(f, dict));
  }
  if (shell == nullptr) return nullptr;
  auto* copy = new BODY(shell, body != nullptr ? body->resabs() : get_k2_geores().resabs());
  if (body != nullptr) copy->set_transform(body->transform());
  return copy;
}
