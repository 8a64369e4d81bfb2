#pragma once
// MESH_REGION: a set of mesh polygons that lie on one surface, the unit of
// recognition. A region owns the polygons whose region link points back at
// it, knows every vertex of its members, and holds one reference on its
// fitted surface. Concrete regions (flat, composite) decide how a region
// grows; this base keeps the sets consistent with the polygons' links and
// merges the members into one polygon.

#include <cstdint>

#include "host/geometry/position3.h"
#include "host/geometry/resolution.h"
#include "host/geometry/unitvec3.h"
#include "lumesh/mesh/growth_mark.h"
#include "lumesh/mesh/ordered_pointer_set.h"

class MESH_POLYGON;
class MESH_VERTEX;
class RING_SIDE_INDEXES;
class surface;

using MESH_POLYGON_SET = ORDERED_POINTER_SET<MESH_POLYGON*>;
using MESH_VERTEX_SET = ORDERED_POINTER_SET<const MESH_VERTEX*>;

class MESH_REGION {
 public:
  // Releases the surface and deletes the member polygons that still name
  // this region (their coedges leave the vertices).
  virtual ~MESH_REGION();

  MESH_REGION(const MESH_REGION&) = delete;
  MESH_REGION& operator=(const MESH_REGION&) = delete;

  // Grows the region from its members; true when it took in a polygon.
  virtual bool extend_region() = 0;

  surface* get_surface() const { return surface_; }
  double get_fitting_precision() const { return precision_; }
  std::uint64_t get_polygon_count() const { return polygons_.size(); }
  const resolution& get_mesh_resolution() const { return *resolution_; }
  UNITVEC3 get_reference_normal() const { return reference_normal_; }
  POSITION3 get_reference_position() const { return reference_position_; }
  // A region without a surface has been merged into another.
  bool is_merged() const { return surface_ == nullptr; }

  bool contains_polygon(const MESH_POLYGON* p) const {
    return polygons_.contains(const_cast<MESH_POLYGON*>(p));
  }
  bool contains_vertex(const MESH_VERTEX* v) const { return vertices_.contains(v); }
  // In the order the members came in.
  const MESH_POLYGON_SET& get_polygons() const { return polygons_; }
  const MESH_VERTEX_SET& get_vertices() const { return vertices_; }
  // True when v was new.
  bool add_vertex(const MESH_VERTEX* v) { return vertices_.insert(v); }
  // Takes p in, with its corners, and claims it (MESH_POLYGON::set_region),
  // which takes it out of the region it was in. False when p was a member.
  bool add_polygon(MESH_POLYGON* p) { return add_polygon(p, 0); }
  // The same, for a pass of region growing whose vertices carry `members`
  // (growth_mark.h): corners with that mark are known members and are not
  // looked up again. The vertex set comes out as with add_polygon(p).
  bool add_polygon(MESH_POLYGON* p, GROWTH_MARK members);

  // Merges the members into one polygon: MESH_POLYGON::merge and merge_spurs
  // on each member, and deletion of the members that were swallowed, round
  // after round until one is left. A round that merges nothing ends the
  // loop, so members that can't reach one another (no edge with a unique
  // partner between them) stay as they are instead of looping for ever.
  void merge_polygons();
  // MESH_POLYGON::merge_coedges on each REGULAR member; members that turn
  // MERGED are deleted (and forgotten by `indexes`). The number of coedges
  // removed.
  int merge_coedges(RING_SIDE_INDEXES* indexes = nullptr);

  // True when the surface's normal at the reference position points against
  // the reference normal (the facets' side). False when the position can't
  // be projected on the surface.
  bool get_face_sense() const;

  // Taken out of p's old region by MESH_POLYGON::set_region: erases p and
  // those of its corners that no other member of this region uses.
  void release_polygon(MESH_POLYGON* p);

 protected:
  MESH_REGION(const POSITION3& reference_position, const UNITVEC3& reference_normal,
              const resolution& res);

  // Takes a reference on s (may be null), releases the old surface.
  void set_surface(surface* s, double precision);
  // The distance of v from the surface by the kernel's closest point; NaN
  // without a surface or when the projection fails.
  double distance_to_surface(const MESH_VERTEX& v) const;

  MESH_POLYGON_SET polygons_;  // members, oldest first; owned while they name this region
  MESH_VERTEX_SET vertices_;   // of the members, and fitted on the way; not owned

 private:
  surface* surface_ = nullptr;  // one reference held; null until set and after merging
  double precision_;            // largest distance of a fitted vertex; NaN until set
  POSITION3 reference_position_;
  UNITVEC3 reference_normal_;    // the seed's; never updated by fitting
  const resolution* resolution_;  // the mesh's; not owned
};
