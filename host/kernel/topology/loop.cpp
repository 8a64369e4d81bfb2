#include "host/kernel/topology/loop.h"

#include <vector>

#include "host/base/assertion.h"
#include "host/kernel/kernel_errors.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/topology.h"

namespace {

LOOP_DATA loop_data(COEDGE* first, FACE* face, LOOP_TYPE t) {
  if (first == nullptr) k2_throw(K2_ERROR::EMPTY_LOOP);
  if (face == nullptr) k2_throw(K2_ERROR::BAD_TOPOLOGY);
  LOOP_DATA d;
  d.first = first;
  d.face = face;
  d.loop_type = t;
  return d;
}

}  // namespace

const ENTITY_TYPE LOOP::type("LOOP", "k2", &ENTITY::type);

LOOP::LOOP(COEDGE* first, FACE* face, LOOP_TYPE t, bool claim_coedges, bool check_closed)
    : TRACKED(loop_data(first, face, t)) {
  if (claim_coedges) TOPOLOGY::claim_ring(this, first);
  if (check_closed) HOST_ASSERT(is_closed(), "the coedges of the loop do not close");
  TOPOLOGY::append_loop(face, this);
}

int LOOP::number_of_coedges() const {
  int n = 0;
  TOPOLOGY::walk_ring(d().first, [&](COEDGE*) { ++n; });
  return n;
}

bool LOOP::is_closed() const {
  bool closed = d().first != nullptr;
  COEDGE* last = nullptr;
  TOPOLOGY::walk_ring(d().first, [&](COEDGE* c) {
    last = c;
    if (c->next() == nullptr || c->end() != c->next()->start()) closed = false;
  });
  return closed && last != nullptr && last->next() == d().first;
}
