#pragma once
// POLYHEDRON_BUILDER: makes a body from vertex positions and faces given as
// rings of vertex indices, the way a mesh or a test names its faces. Faces that
// name the same two vertices share one straight edge; each index gives one
// VERTEX. A ring may walk an edge twice (a bridge to a hole).
//
// Cost: O(degree) per coedge: an existing edge is found in its lower-numbered
// vertex's edge list, so the builder needs no table of its own.

#include <cstdint>
#include <vector>

#include "host/base/mod_info.h"
#include "host/geometry/position3.h"
#include "host/geometry/unitvec3.h"
#include "host/kernel/topology/topology_fwd.h"

class surface;

class POLYHEDRON_BUILDER {
 public:
  POLYHEDRON_BUILDER();
  ~POLYHEDRON_BUILDER();
  POLYHEDRON_BUILDER(const POLYHEDRON_BUILDER&) = delete;
  POLYHEDRON_BUILDER& operator=(const POLYHEDRON_BUILDER&) = delete;

  void reserve(std::size_t vertices, std::size_t faces);
  int add_vertex(const POSITION3& p);
  // A face on `sf`, or, when `sf` is null, on the plane through the ring with
  // the ring's own normal (Newell's). Returns null and reports in `status`
  // when the ring has fewer than two distinct vertices, an index out of range,
  // or a zero-length edge.
  FACE* add_face(const std::vector<int>& ring, surface* sf, bool sense, MOD_INFO*& status);
  FACE* add_face(const std::vector<int>& ring, MOD_INFO*& status) {
    return add_face(ring, nullptr, false, status);
  }
  // The body with every face added so far in one shell of type 2, at the
  // given resolution. The builder is empty afterwards.
  BODY* finish(double resabs);

 private:
  VERTEX* vertex(int i);
  EDGE* edge(int a, int b, bool& sense, MOD_INFO*& status);
  // Loses the edges no face uses and the vertices no edge uses. O(vertices
  // and their edges); only after a failed face or when giving up.
  void drop_unused();

  std::vector<POSITION3> points_;
  // Not owned: made on first use. Kept with their sysids, since a caller may
  // destroy a face it was handed, and its vertices and edges with it.
  std::vector<std::pair<VERTEX*, std::uint64_t>> vertices_;
  SHELL* shell_ = nullptr;         // owned until finish()
  bool failed_ = false;            // some face was refused: unused edges may exist
  // Scratch of add_face, kept to spare an allocation per face.
  std::vector<POSITION3> scratch_points_;
  std::vector<std::pair<EDGE*, bool>> scratch_uses_;
};

// Newell's normal of a ring of points: robust for non-convex and nearly
// degenerate rings; NaN components for a ring of no area.
UNITVEC3 ring_normal(const std::vector<POSITION3>& ring);
