#include "host/kernel/topology/vertex.h"

#include "host/kernel/kernel_errors.h"
#include "host/kernel/topology/edge.h"

namespace {

VERTEX_DATA vertex_data(point* pt) {
  if (pt == nullptr) k2_throw(K2_ERROR::MISSING_GEOMETRY);
  VERTEX_DATA d;
  d.pt = pt;
  return d;
}

}  // namespace

const ENTITY_TYPE VERTEX::type("VERTEX", "k2", &ENTITY::type);

VERTEX::VERTEX(point* pt) : TRACKED(vertex_data(pt)) {}

int VERTEX::number_of_edges() const {
  int n = 0;
  for (EDGE* e = d().first_edge; e != nullptr; e = e->next_edge_at(this)) ++n;
  return n;
}

SCAN_CNTRL VERTEX::scan_edges(SCAN_CNTRL (*fn)(EDGE*, void*), void* data) const {
  for (EDGE* e = d().first_edge; e != nullptr;) {
    EDGE* next = e->next_edge_at(this);
    if (fn(e, data) == SCAN_STOP) return SCAN_STOP;
    e = next;
  }
  return SCAN_CONTINUE;
}

bool VERTEX::lose() {
  if (d().first_edge != nullptr) return false;
  lose_entity();
  return true;
}
