#pragma once
// MESH_POLYGON: a facet of a mesh, a ring of directed coedges over welded
// vertices. Ring order is the vertex order of the file and gives the
// orientation. A polygon starts as a triangle, is classified once, and either
// stays (REGULAR) or is merged away (MERGED: no coedges left, waiting to be
// deleted). It owns its ring and nothing else; no polygon has a vector.

#include "host/base/pool.h"
#include "host/geometry/position3.h"
#include "host/geometry/resolution.h"
#include "host/geometry/unitvec3.h"
#include "lumesh/mesh/growth_mark.h"

class MESH_POLYGON_COEDGE;
class MESH_REGION;
class MESH_VERTEX;
class RING_SIDE_INDEXES;
class surface;

enum MESH_POLYGON_TYPE {
  REGULAR = 0,       // stays in the mesh; every polygon that isn't a triangle
  SLIVER = 1,        // a triangle whose height is below the resolution
  SHORT_EDGE = 2,    // a triangle with one edge of at most twice the resolution
  TINY = 3,          // a triangle with all edges of at most twice the resolution
  MERGED = 4,        // lost its coedges; only waits to be deleted
  UNCLASSIFIED = 5,  // a newly built polygon
};

class MESH_POLYGON : public POOLED<MESH_POLYGON> {
 public:
  // Three coedges in argument order, linked into a ring; UNCLASSIFIED, no
  // region. If a component of `normal` is NaN the polygon computes its own:
  // of the corner products d0 × -d2, d1 × -d0, d2 × -d1 of its coedge
  // directions, the one of greatest squared length (the earlier one on a tie,
  // and only one above zero), as a unit vector. When all three are zero the
  // NaN normal stays.
  MESH_POLYGON(MESH_VERTEX& v0, MESH_VERTEX& v1, MESH_VERTEX& v2, const UNITVEC3& normal);
  // Deletes the ring.
  ~MESH_POLYGON();

  MESH_POLYGON(const MESH_POLYGON&) = delete;
  MESH_POLYGON& operator=(const MESH_POLYGON&) = delete;

  friend bool operator==(const MESH_POLYGON& a, const MESH_POLYGON& b) { return &a == &b; }
  friend bool operator!=(const MESH_POLYGON& a, const MESH_POLYGON& b) { return &a != &b; }

  // The entry into the ring (owned); null once the polygon lost its coedges.
  MESH_POLYGON_COEDGE* get_start_coedge() const { return start_; }
  // Precondition: c is in this polygon's ring (or null for an empty one).
  void set_start_coedge(MESH_POLYGON_COEDGE* c) { start_ = c; }
  const UNITVEC3& get_normal() const { return normal_; }

  MESH_POLYGON_TYPE get_polygon_type() const { return type_; }
  // MERGED is final: changing it is reported through the assertion service
  // and refused. Setting MERGED removes all coedges first.
  void set_polygon_type(MESH_POLYGON_TYPE type);

  MESH_REGION* get_region() const { return region_; }
  // Bookkeeping of region growing (growth_mark.h).
  GROWTH_MARK growth_mark() const { return growth_mark_; }
  void set_growth_mark(GROWTH_MARK m) { growth_mark_ = m; }
  // Claims the polygon for a region. A move from one region to another also
  // takes the polygon (and the vertices it alone held there) out of the old
  // region's sets.
  void set_region(MESH_REGION* region);
  bool member_of_region() const { return region_ != nullptr; }
  // The surface of the region; null without a region or while the region has
  // none.
  surface* get_surface() const;

  // A new coedge from v between `coedge` (of this polygon) and its next.
  MESH_POLYGON_COEDGE* insert_coedge_after(MESH_POLYGON_COEDGE* coedge, MESH_VERTEX& v);
  // Deletes `coedge` if it has an owner. Returns its old previous, or null
  // when that was the coedge itself.
  MESH_POLYGON_COEDGE* remove_coedge(MESH_POLYGON_COEDGE* coedge);

  // Classifies an UNCLASSIFIED polygon once (later calls return the stored
  // type): a non-triangle is REGULAR; a triangle whose longest squared edge
  // is at most (2 resabs)² is TINY, else one whose shortest is at most that
  // is SHORT_EDGE (both with that edge made the start coedge); otherwise the
  // longest edge becomes the start and the triangle is a SLIVER when its
  // squared height over the edge that was the start coedge before (not the
  // longest) is below resabs², else REGULAR (also for a NaN height).
  MESH_POLYGON_TYPE classify(const resolution& res);

  // Unweighted average of the start positions of the ring's coedges.
  POSITION3 get_center_of_gravity() const;
  // |(v - start vertex)·normal|: the distance of v from the polygon's plane.
  double dist(const MESH_VERTEX& v) const;
  // No start coedge, or a ring of one or two coedges.
  bool is_degenerate() const;

  // ---- merging (the polygons of one region grow into one) ----

  // Absorbs the neighbours of the same region across every coedge with a
  // unique partner, walking the ring once, newly gained coedges included
  // (MESH_POLYGON_COEDGE::merge). False, and nothing done, without a region
  // or when MERGED; true otherwise.
  bool merge();
  // Removes the coedges strictly between `first` and `last` (both of this
  // ring), walking from first's next; their number. The walk stops should it
  // come round to `first` without meeting `last`.
  int merge(MESH_POLYGON_COEDGE* first, MESH_POLYGON_COEDGE* last);
  // Removes spurs: a coedge followed by its own unique partner, where the
  // boundary runs out and straight back, repeatedly as far in as the spur
  // goes. A polygon left without coedges or degenerate becomes MERGED. The
  // number of coedges removed; their vertices stay in the mesh.
  int merge_spurs();
  // Replaces each run of coedges that this polygon shares with one
  // neighbouring polygon on a plane by one straight edge where both
  // polygons stay locally convex along it, and gives every other coedge its
  // own B-rep edge. Runs never pass a corner: a vertex with a B-rep vertex,
  // with more than two outgoing coedges, or at a spur tip. Polygons on other
  // surfaces keep all their edges. The number of coedges removed from this
  // ring. `res` is not used. `indexes`, when given, answer the convexity
  // tests of long rings without walking them (ring_side_index.h); the
  // decisions are the same with or without.
  int merge_coedges(const resolution& res, RING_SIDE_INDEXES* indexes = nullptr);

 private:
  friend struct MESH_POLYGON_TEST_ACCESS;

  // A chord from first's start to last's end keeps the rest of the ring on
  // one side (points on the chord pass), seen along the region's plane
  // normal turned to the facets' side. False when first is last. The
  // region's surface must be a plane. With `indexes`, a long ring is first
  // put to its index, and walked only when that proves nothing.
  bool locally_convex(MESH_POLYGON_COEDGE* first, MESH_POLYGON_COEDGE* last,
                      RING_SIDE_INDEXES* indexes = nullptr) const;

  MESH_POLYGON_COEDGE* start_ = nullptr;  // owned ring
  UNITVEC3 normal_;
  MESH_POLYGON_TYPE type_ = UNCLASSIFIED;
  MESH_REGION* region_ = nullptr;  // not owned; null until claimed
  GROWTH_MARK growth_mark_ = 0;
};
