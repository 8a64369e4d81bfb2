#include "host/kernel/topology/coedge.h"

#include "host/kernel/kernel_errors.h"
#include "host/kernel/topology/edge.h"
#include "host/kernel/topology/loop.h"
#include "host/kernel/topology/topology.h"

namespace {

COEDGE_DATA coedge_data(EDGE* edge, bool sense) {
  if (edge == nullptr) k2_throw(K2_ERROR::MISSING_GEOMETRY);
  COEDGE_DATA d;
  d.set(edge, sense);
  return d;
}

COEDGE_DATA unchecked_coedge_data(EDGE* edge, bool sense) {
  COEDGE_DATA d;
  d.set(edge, sense);
  return d;
}

}  // namespace

const ENTITY_TYPE COEDGE::type("COEDGE", "k2", &ENTITY::type);

COEDGE::COEDGE(EDGE* edge, bool sense, COEDGE* previous, COEDGE* next)
    : TRACKED(coedge_data(edge, sense)) {
  TOPOLOGY::enter_ring(edge, this);
  if (previous != nullptr) set_previous(previous);
  if (next != nullptr) set_next(next);
}

COEDGE::COEDGE(EDGE* edge, bool sense, COEDGE* previous, COEDGE* next, const pt_on_sf&,
               const pt_on_sf&, MOD_INFO*& status)
    : TRACKED(unchecked_coedge_data(edge, sense)) {
  // The end parameters are implied by the edge's vertices for straight edges,
  // so only the links are made here.
  if (edge == nullptr) {
    status = k2_error(K2_ERROR::MISSING_GEOMETRY);
    return;
  }
  status = nullptr;
  TOPOLOGY::enter_ring(edge, this);
  if (previous != nullptr) set_previous(previous);
  if (next != nullptr) set_next(next);
}

FACE* COEDGE::face() const { return d().loop != nullptr ? d().loop->face() : nullptr; }

VERTEX* COEDGE::start() const {
  EDGE* e = d().edge();
  if (e == nullptr) return nullptr;
  return d().sense() ? e->end() : e->start();
}

VERTEX* COEDGE::end() const {
  EDGE* e = d().edge();
  if (e == nullptr) return nullptr;
  return d().sense() ? e->start() : e->end();
}

void COEDGE::set_next(COEDGE* next) {
  w().next = next;
  if (next != nullptr && next->previous() != this) next->w().previous = this;
}

void COEDGE::set_previous(COEDGE* previous) {
  w().previous = previous;
  if (previous != nullptr && previous->next() != this) previous->w().next = this;
}
