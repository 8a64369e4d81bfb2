#pragma once
// FLAT_MESH_REGION: a region of polygons on one plane. It starts at a seed
// polygon and grows over its perimeter, polygon by polygon, while a plane
// fitted through all its vertices stays within the mesh resolution. The
// angle test of a candidate, against the normal of the fitted plane, is
// reasonably_parallel's 0.985 (about 9.94 degrees); the fit, not the angle,
// ends a region on a gently curved surface.

#include <vector>

#include "lumesh/mesh/growth_mark.h"
#include "lumesh/mesh/mesh_polygon.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"
#include "lumesh/mesh/mesh_region.h"
#include "lumesh/mesh/mesh_vertex.h"

// The flatness limit of region growing: a dot product of unit normals
// strictly above 0.985.
inline bool reasonably_parallel(const UNITVEC3& a, const UNITVEC3& b) {
  return dot(a, b) > 0.985;
}

class FLAT_MESH_REGION : public MESH_REGION {
 public:
  // Reference position: the seed's centre of gravity; reference normal: the
  // seed's normal. Takes the seed in and sets the seed plane through those
  // with precision 0 (no surface when they are not finite).
  FLAT_MESH_REGION(MESH_POLYGON* seed, const resolution& res);

  // Grows over the perimeter, steepest candidate first; then fills pockets
  // whose corners all lie on the region (convexify), taking such polygons
  // from other regions too. True when the region has more than one polygon.
  bool extend_region() override;

  // Ends the region's life as a region: the surface is released and both
  // sets are emptied, without touching the polygons (a composite region has
  // taken them).
  void set_merged();

  // The plane's normal turned to the facets' side; NaN without a plane.
  UNITVEC3 get_normal() const;

  // Calls fn with the start vertex of each coedge of every member that is
  // not MERGED, in ring order; a vertex of two members comes twice.
  template <class FN>
  void for_each_polygon_vertex(FN&& fn) const {
    for (MESH_POLYGON* p : get_polygons()) {
      if (p->get_polygon_type() == MERGED) continue;
      MESH_POLYGON_COEDGE* const start = p->get_start_coedge();
      if (start == nullptr) continue;
      MESH_POLYGON_COEDGE* c = start;
      do {
        fn(*c->get_start_vertex());
        c = c->get_next();
      } while (c != start);
    }
  }

 private:
  // The first member.
  MESH_POLYGON* get_seed() const { return get_polygons().front(); }
  // Takes in each rejected polygon, in the order given, whose corners are
  // all vertices of the region (they carry `in_region`) and whose normal is
  // reasonably parallel to the seed's.
  void convexify(const std::vector<MESH_POLYGON*>& rejected, GROWTH_MARK in_region);
};
