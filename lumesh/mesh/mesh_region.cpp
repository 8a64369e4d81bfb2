// The region base: member and vertex sets, the surface reference, and the
// merge of the members into one polygon.

#include "lumesh/mesh/mesh_region.h"

#include <vector>

#include "host/base/assertion.h"
#include "host/geometry/constants.h"
#include "host/kernel/geometry/pt_on_sf.h"
#include "host/kernel/geometry/surface.h"
#include "lumesh/mesh/mesh_polygon.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"
#include "lumesh/mesh/mesh_vertex.h"
#include "lumesh/mesh/ring_side_index.h"

MESH_REGION::MESH_REGION(const POSITION3& reference_position, const UNITVEC3& reference_normal,
                         const resolution& res)
    : precision_(host_nan()),
      reference_position_(reference_position),
      reference_normal_(reference_normal),
      resolution_(&res) {}

MESH_REGION::~MESH_REGION() {
  set_surface(nullptr, host_nan());
  for (MESH_POLYGON* p : polygons_) {
    if (p->get_region() == this) delete p;
  }
}

void MESH_REGION::set_surface(surface* s, double precision) {
  if (s != nullptr) s->acquire();
  if (surface_ != nullptr) surface_->release();
  surface_ = s;
  precision_ = precision;
}

double MESH_REGION::distance_to_surface(const MESH_VERTEX& v) const {
  if (surface_ == nullptr) return host_nan();
  pt_on_sf foot;
  double d = host_nan();
  if (surface_->closest_point(v.location(), foot, d) != nullptr) return host_nan();
  return d;
}

bool MESH_REGION::add_polygon(MESH_POLYGON* p, GROWTH_MARK members) {
  if (!polygons_.insert(p)) return false;
  if (MESH_POLYGON_COEDGE* const start = p->get_start_coedge()) {
    MESH_POLYGON_COEDGE* c = start;
    do {
      const MESH_VERTEX* v = c->get_start_vertex();
      if (members == 0 || v->growth_mark() != members) vertices_.insert(v);
      c = c->get_next();
    } while (c != start);
  }
  p->set_region(this);
  return true;
}

void MESH_REGION::release_polygon(MESH_POLYGON* p) {
  polygons_.erase(p);
  MESH_POLYGON_COEDGE* const start = p->get_start_coedge();
  if (start == nullptr) return;
  MESH_POLYGON_COEDGE* c = start;
  do {
    const MESH_VERTEX* v = c->get_start_vertex();
    bool used = false;
    for (const MESH_POLYGON_COEDGE* out : v->get_outgoing_coedges()) {
      if (contains_polygon(out->get_owner_polygon())) {
        used = true;
        break;
      }
    }
    // A vertex without outgoing coedges is kept: it may stand for a fitted
    // point.
    if (!used && v->outgoing_count() != 0) vertices_.erase(v);
    c = c->get_next();
  } while (c != start);
}

void MESH_REGION::merge_polygons() {
  if (polygons_.size() < 2) return;
  std::vector<MESH_POLYGON*> members;
  while (polygons_.size() > 1) {
    bool changed = false;
    // A snapshot: merging swallows members, which only turn MERGED here and
    // are deleted when the walk reaches them.
    members.assign(polygons_.begin(), polygons_.end());
    for (MESH_POLYGON* p : members) {
      if (p->get_polygon_type() == MERGED) {
        polygons_.erase(p);
        delete p;
        changed = true;
        continue;
      }
      HOST_ASSERT(p->get_region() == this, "Alien polygon in region");
      p->merge();
      if (p->merge_spurs() != 0) changed = true;
    }
    // Progress: a member was deleted, lost a spur or was swallowed (it is
    // deleted in the next round). Otherwise the members can't reach one
    // another, and another round would change nothing.
    for (const MESH_POLYGON* p : polygons_) {
      if (p->get_polygon_type() == MERGED) changed = true;
    }
    if (!changed) break;
  }
}

int MESH_REGION::merge_coedges(RING_SIDE_INDEXES* indexes) {
  int count = 0;
  std::vector<MESH_POLYGON*> members(polygons_.begin(), polygons_.end());
  for (MESH_POLYGON* p : members) {
    if (p->get_polygon_type() == REGULAR) count += p->merge_coedges(*resolution_, indexes);
    if (p->get_polygon_type() == MERGED) {
      if (indexes != nullptr) indexes->forget(p);
      polygons_.erase(p);
      delete p;
    }
  }
  return count;
}

bool MESH_REGION::get_face_sense() const {
  if (surface_ == nullptr) return false;
  pt_on_sf foot;
  double d = 0.0;
  if (surface_->closest_point(reference_position_, foot, d) != nullptr) return false;
  return !(dot(foot.evaluate_nor(), reference_normal_) > 0.0);
}
