#pragma once
// FLAT_REGION_BOUNDARY: a stretch of border between two flat regions, as a
// run of coedges of one polygon that all face one polygon of the other
// region, between vertices where only those two polygons meet. Cylinder
// recognition walks these to find the neighbouring strips of a cylinder.
// Made only by gather_manifold_boundaries, on regions that have been merged
// into one polygon each.

#include <cstdint>
#include <memory>
#include <vector>

#include "lumesh/mesh/ordered_pointer_set.h"

class FLAT_MESH_REGION;
class MESH_POLYGON;
class MESH_POLYGON_COEDGE;
class MESH_REGION;

class FLAT_REGION_BOUNDARY {
 public:
  using REGION_SET = ORDERED_POINTER_SET<const MESH_REGION*>;

  // Inserts region in visited, then appends a boundary for each run of
  // coedges of its non-MERGED polygons that faces one polygon of a flat
  // region not in visited. Two runs against one neighbour give two
  // boundaries. A ring that faces one polygon all round, without a branch,
  // gives none. O(coedges of the region).
  static void gather_manifold_boundaries(FLAT_MESH_REGION& region,
                                         std::vector<std::shared_ptr<FLAT_REGION_BOUNDARY>>& boundaries,
                                         REGION_SET& visited);

  FLAT_MESH_REGION& get_flat_region() const { return *flat_region_; }
  FLAT_MESH_REGION& get_flat_neighbor_region() const { return *neighbor_region_; }
  MESH_POLYGON& get_polygon() const { return *polygon_; }
  MESH_POLYGON& get_neighbor_polygon() const { return *neighbor_polygon_; }
  MESH_POLYGON_COEDGE& get_start() const { return *start_; }
  // Where the run stopped: just beyond the run when the neighbour's partner
  // ended, the run's last coedge when a branching vertex ended it.
  MESH_POLYGON_COEDGE& get_end() const { return *end_; }
  MESH_POLYGON_COEDGE* get_neighbor_start() const { return neighbor_start_; }
  MESH_POLYGON_COEDGE* get_neighbor_end() const { return neighbor_end_; }

  // Squared distance from the start vertex of start to the end vertex of end.
  double measure_secant_length2() const;
  // 1 plus the steps along the ring from start to end, at least one step
  // (a whole ring when start is end).
  std::uint64_t coedge_count() const;
  // The run lies on one side of its secant and the rest of the polygon on
  // the other, seen along the normal of start's polygon; true when start is
  // end.
  bool is_locally_convex() const;

 private:
  FLAT_REGION_BOUNDARY() = default;

  FLAT_MESH_REGION* flat_region_ = nullptr;      // not owned
  MESH_POLYGON* polygon_ = nullptr;              // not owned
  MESH_POLYGON_COEDGE* start_ = nullptr;         // not owned
  MESH_POLYGON_COEDGE* end_ = nullptr;           // not owned
  FLAT_MESH_REGION* neighbor_region_ = nullptr;  // not owned
  MESH_POLYGON* neighbor_polygon_ = nullptr;     // not owned
  MESH_POLYGON_COEDGE* neighbor_end_ = nullptr;  // may be null; not owned
  MESH_POLYGON_COEDGE* neighbor_start_ = nullptr;  // not owned
};
