#include "host/kernel/topology/edge.h"

#include "host/geometry/resolution.h"
#include "host/kernel/kernel_errors.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/topology.h"
#include "host/kernel/topology/vertex.h"

namespace {

MOD_INFO* edge_status(VERTEX* start, VERTEX* end, curve* c) {
  if (start == nullptr || end == nullptr || c == nullptr) return k2_error(K2_ERROR::MISSING_GEOMETRY);
  if (start == end || get_k2_geores().equal(start->pt3(), end->pt3())) {
    return k2_error(K2_ERROR::COINCIDENT_VERTICES);
  }
  return nullptr;
}

EDGE_DATA edge_data(VERTEX* start, VERTEX* end, curve* c) {
  EDGE_DATA d;
  d.start = start;
  d.end = end;
  d.crv = c;
  return d;
}

}  // namespace

const ENTITY_TYPE EDGE::type("EDGE", "k2", &ENTITY::type);

EDGE::EDGE(VERTEX* start, VERTEX* end, curve* c, MOD_INFO*& status)
    : TRACKED(edge_data(start, end, c)) {
  status = edge_status(start, end, c);
  if (start != nullptr) TOPOLOGY::enter_vertex(start, this);
  if (end != nullptr && end != start) TOPOLOGY::enter_vertex(end, this);
}

int EDGE::number_of_coedges() const {
  COEDGE* head = d().coedge;
  if (head == nullptr) return 0;
  int n = 0;
  COEDGE* c = head;
  do {
    ++n;
    c = c->partner();
  } while (c != nullptr && c != head);
  return n;
}

double EDGE::length() const {
  if (d().start == nullptr || d().end == nullptr) return 0.0;
  return dist(d().start->pt3(), d().end->pt3());
}

bool EDGE::lose() {
  if (d().coedge != nullptr) return false;
  TOPOLOGY::lose_edge(this, false);
  return true;
}
