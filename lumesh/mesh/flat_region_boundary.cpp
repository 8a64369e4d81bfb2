// Runs of border between flat regions.

#include "lumesh/mesh/flat_region_boundary.h"

#include "lumesh/mesh/flat_mesh_region.h"
#include "lumesh/mesh/mesh_polygon.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"
#include "lumesh/mesh/mesh_vertex.h"

namespace {

FLAT_MESH_REGION* flat_region_of(const MESH_POLYGON* p) {
  return dynamic_cast<FLAT_MESH_REGION*>(p->get_region());
}

}  // namespace

void FLAT_REGION_BOUNDARY::gather_manifold_boundaries(
    FLAT_MESH_REGION& region, std::vector<std::shared_ptr<FLAT_REGION_BOUNDARY>>& boundaries,
    REGION_SET& visited) {
  visited.insert(&region);
  for (MESH_POLYGON* p : region.get_polygons()) {
    if (p->get_polygon_type() == MERGED) continue;
    MESH_POLYGON_COEDGE* const first = p->get_start_coedge();
    if (first == nullptr) continue;
    // Start at a branching vertex if there is one, so that no run is cut in
    // two by the start of the scan.
    MESH_POLYGON_COEDGE* scan_start = first;
    for (MESH_POLYGON_COEDGE* c = first;;) {
      if (c->get_start_vertex()->outgoing_count() > 2) {
        scan_start = c;
        break;
      }
      c = c->get_previous();
      if (c == first) break;
    }
    MESH_POLYGON_COEDGE* c = scan_start;
    bool scan_over = false;
    while (!scan_over) {
      MESH_POLYGON_COEDGE* const partner = c->get_partner_coedge();
      MESH_POLYGON* const q = partner != nullptr ? partner->get_owner_polygon() : nullptr;
      FLAT_MESH_REGION* const neighbor = q != nullptr && q != p ? flat_region_of(q) : nullptr;
      if (neighbor == nullptr) {
        c = c->get_next();
        scan_over = c == scan_start;
        continue;
      }
      // Follow the run while the partners belong to q and the vertices
      // between the coedges are shared by these two polygons only.
      MESH_POLYGON_COEDGE* e = c;
      MESH_POLYGON_COEDGE* e_partner = partner;
      MESH_POLYGON_COEDGE* next_scan = nullptr;
      for (;;) {
        if (e_partner == nullptr || e_partner->get_owner_polygon() != q) {
          next_scan = e;
          break;
        }
        if (e->get_end_vertex()->outgoing_count() != 2) {
          next_scan = e->get_next();
          break;
        }
        e = e->get_next();
        e_partner = e->get_partner_coedge();
        if (e == scan_start) {
          // Round to where the scan began. From there on, the whole ring
          // faces q without a branch: no boundary. From a later start the
          // run ends here, just beyond its last coedge; the scan start is
          // a vertex of no branch only when the ring has none, and that
          // must not cut a run of a strip short.
          if (c != scan_start) next_scan = e;
          break;
        }
      }
      if (next_scan == nullptr) break;
      if (!visited.contains(q->get_region())) {
        std::shared_ptr<FLAT_REGION_BOUNDARY> b(new FLAT_REGION_BOUNDARY());
        b->flat_region_ = &region;
        b->polygon_ = p;
        b->start_ = c;
        b->end_ = e;
        b->neighbor_region_ = neighbor;
        b->neighbor_polygon_ = q;
        b->neighbor_end_ = e_partner;
        b->neighbor_start_ = partner;
        boundaries.push_back(std::move(b));
      }
      c = next_scan;
      scan_over = c == scan_start;
    }
  }
}

double FLAT_REGION_BOUNDARY::measure_secant_length2() const {
  return (end_->get_end_vertex()->location() - start_->get_start_vertex()->location()).len2();
}

std::uint64_t FLAT_REGION_BOUNDARY::coedge_count() const {
  std::uint64_t count = 1;
  const MESH_POLYGON_COEDGE* c = start_;
  do {
    c = c->get_next();
    ++count;
  } while (c != end_ && c != start_);  // start_: end_ not in the ring after all
  return count;
}

bool FLAT_REGION_BOUNDARY::is_locally_convex() const {
  if (start_ == end_) return true;
  const POSITION3 a = start_->get_start_vertex()->location();
  const VECTOR3 secant = end_->get_end_vertex()->location() - a;
  const UNITVEC3& n = start_->get_owner_polygon()->get_normal();
  const auto side = [&](const MESH_VERTEX* v) { return dot(cross(secant, v->location() - a), n); };
  for (const MESH_POLYGON_COEDGE* c = end_; c != start_; c = c->get_previous()) {
    if (side(c->get_start_vertex()) < 0.0) return false;
  }
  const MESH_POLYGON_COEDGE* const before_start = start_->get_previous();
  if (end_->get_next() != before_start) {
    for (const MESH_POLYGON_COEDGE* c = end_->get_next(); c != before_start; c = c->get_next()) {
      if (side(c->get_end_vertex()) > 0.0) return false;
    }
  }
  return true;
}
