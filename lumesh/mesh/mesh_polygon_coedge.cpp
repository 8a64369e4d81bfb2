// Mesh coedges: ring splicing, partner search and projection on a coedge.

#include "lumesh/mesh/mesh_polygon_coedge.h"

#include <cmath>

#include "host/base/assertion.h"
#include "lumesh/mesh/mesh_polygon.h"
#include "lumesh/mesh/mesh_vertex.h"

MESH_POLYGON_COEDGE::MESH_POLYGON_COEDGE(MESH_VERTEX& start, MESH_POLYGON& owner,
                                         MESH_POLYGON_COEDGE* previous,
                                         MESH_POLYGON_COEDGE* next)
    : start_(&start), owner_(&owner) {
  const MESH_VERTEX* start_address = start_;
  HOST_ASSERT(start_address != nullptr, "&start != 0");
  if (previous == nullptr && next == nullptr) {
    previous_ = this;
    next_ = this;
  } else {
    HOST_ASSERT(previous != nullptr && next != nullptr, "_previous!=0 && _next != 0");
    if (previous != nullptr && next != nullptr) {
      previous_ = previous;
      next_ = next;
      previous->next_ = this;
      next->previous_ = this;
    } else {
      previous_ = this;
      next_ = this;
    }
  }
  start_->add_outgoing_coedge(this);
}

MESH_POLYGON_COEDGE::~MESH_POLYGON_COEDGE() {
  if (owner_ != nullptr && owner_->get_start_coedge() == this) {
    owner_->set_start_coedge(next_ == this ? nullptr : next_);
  }
  if (previous_ != nullptr && previous_ != this) previous_->next_ = next_ == this ? previous_ : next_;
  if (next_ != nullptr && next_ != this) next_->previous_ = previous_ == this ? next_ : previous_;
  edge_ = nullptr;
  owner_ = nullptr;
  previous_ = nullptr;
  next_ = nullptr;
  start_->remove_outgoing_coedge(this);
}

MESH_VERTEX* MESH_POLYGON_COEDGE::get_end_vertex() const {
  return next_ != nullptr ? next_->start_ : start_;
}

void MESH_POLYGON_COEDGE::set_start_vertex(MESH_VERTEX& v) {
  start_->remove_outgoing_coedge(this);
  start_ = &v;
  v.add_outgoing_coedge(this);
}

VECTOR3 MESH_POLYGON_COEDGE::direction() const {
  return get_end_vertex()->location() - start_->location();
}

POSITION3 MESH_POLYGON_COEDGE::relax(const MESH_VERTEX& v, double& t, double& dist) const {
  const VECTOR3 d = direction();
  const VECTOR3 w = v.location() - start_->location();
  const double s = dot(w, d);
  t = s / dot(d, d);
  dist = std::sqrt(dot(w, w) - t * s);
  return start_->location() + t * d;
}

void MESH_POLYGON_COEDGE::get_partner_coedges(MESH_COEDGE_LIST& list,
                                              COEDGE_ALIGNMENT alignment) const {
  MESH_VERTEX* end = get_end_vertex();
  if (alignment == OPPOSED || alignment == ANY_ALIGNMENT) {
    for (MESH_POLYGON_COEDGE* c : end->get_outgoing_coedges()) {
      if (c != this && c->get_end_vertex() == start_) list.push_back(c);
    }
  }
  if (alignment == ALIGNED || alignment == ANY_ALIGNMENT) {
    for (MESH_POLYGON_COEDGE* c : start_->get_outgoing_coedges()) {
      if (c != this && c->get_end_vertex() == end) list.push_back(c);
    }
  }
}

MESH_POLYGON_COEDGE* MESH_POLYGON_COEDGE::get_partner_coedge() const {
  MESH_POLYGON_COEDGE* found = nullptr;
  int count = 0;
  // Same walk as get_partner_coedges(OPPOSED), counted without a list.
  for (MESH_POLYGON_COEDGE* c : get_end_vertex()->get_outgoing_coedges()) {
    if (c != this && c->get_end_vertex() == start_) {
      found = c;
      ++count;
    }
  }
  return count == 1 ? found : nullptr;
}

MESH_POLYGON_COEDGE* MESH_POLYGON_COEDGE::insert_after(MESH_VERTEX& v) {
  return new MESH_POLYGON_COEDGE(v, *owner_, this, next_);
}
