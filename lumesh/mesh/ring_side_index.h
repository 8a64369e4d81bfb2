#pragma once
// RING_SIDE_INDEX: proves, without walking a polygon's ring, that the ring's
// vertices between two of its coedges all lie on the inner side of a chord.
//
// Reducing a run of coedges to one straight edge asks exactly that question
// (MESH_POLYGON::locally_convex), and the answer walks the rest of the ring.
// On the large face of a plate the ring holds every hole, and each run along
// the outline walks all of it again: the runs times the ring, and on a big
// mesh every step of the walk is a cache miss. The index keeps the ring's
// positions once, in ring order, with a bounding box per block and a tree of
// boxes over the blocks; a box whose every point is provably on the inner
// side is passed over whole, and only the blocks near the chord are looked
// at point by point, with the very test the walk makes (chord_side).
//
// The index only ever proves "inside"; when it cannot, the caller walks the
// ring as before, so the answer is always the walk's. It holds while rings
// only lose coedges (the phase that reduces boundaries makes none): the ring
// then is a subsequence of the snapshot, in the same order, and everything
// the walk would visit lies within the snapshot's range.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "host/geometry/position3.h"
#include "host/geometry/vector3.h"

class MESH_POLYGON;
class MESH_POLYGON_COEDGE;

// The test of one point: negative when p lies on the outer side of the chord
// from origin (along `chord`, seen along the normal n). Out of line on
// purpose, so that the walk and the index compute bit for bit the same value.
double chord_side(const POSITION3& origin, const VECTOR3& chord, const VECTOR3& n,
                  const POSITION3& p);

class RING_SIDE_INDEX {
 public:
  // A snapshot of p's ring as it is now, from its start coedge on. One walk.
  explicit RING_SIDE_INDEX(const MESH_POLYGON& p);

  RING_SIDE_INDEX(const RING_SIDE_INDEX&) = delete;
  RING_SIDE_INDEX& operator=(const RING_SIDE_INDEX&) = delete;

  std::size_t size() const { return points_.size(); }

  // True when chord_side is not negative (or NaN) for the start vertex of
  // every coedge strictly between `after` and `before`, going round the ring
  // from `after`; also when after is before (nothing lies between). False
  // when that could not be proved: a point on the outer side, or either
  // coedge not in the snapshot, or its start moved since.
  bool all_inside(const MESH_POLYGON_COEDGE* after, const MESH_POLYGON_COEDGE* before,
                  const POSITION3& origin, const VECTOR3& chord, const VECTOR3& n) const;

 private:
  struct BOX {
    double lo[3];
    double hi[3];
  };
  static constexpr std::size_t kBlock = 32;  // points per leaf box

  // Points with index in [first, last] (one linear range) all inside.
  bool range_inside(std::size_t first, std::size_t last, const POSITION3& origin,
                    const VECTOR3& chord, const VECTOR3& n, const VECTOR3& m,
                    double chord_length) const;
  // A lower bound on chord_side over the box, with margin, is above zero.
  static bool box_inside(const BOX& b, const POSITION3& origin, const VECTOR3& m,
                         double chord_length);

  // The position of c in the snapshot; npos when it has none.
  std::size_t position_of(const MESH_POLYGON_COEDGE* c) const;
  std::size_t slot_of(const MESH_POLYGON_COEDGE* c) const;

  std::vector<POSITION3> points_;                     // start positions, ring order
  std::vector<const MESH_POLYGON_COEDGE*> coedges_;  // ring order; not owned
  // Open addressing over coedges_ (position + 1, 0 for a free slot), at most
  // half full: a flat table, as the index is made once per long ring.
  std::vector<std::uint32_t> slots_;
  unsigned shift_ = 63;
  // Implicit binary tree over the blocks: node 1 is the root, node k has
  // children 2k and 2k+1, and the leaves_ nodes from leaves_ on are the
  // blocks (the last ones possibly empty).
  std::vector<BOX> boxes_;
  std::size_t leaves_ = 1;
};

// The indexes of one pass over many polygons, made on demand: a ring short
// enough is walked as it is, and gets none.
class RING_SIDE_INDEXES {
 public:
  // Rings of at most this many coedges are not indexed.
  static constexpr std::size_t kSmallRing = 64;

  // The index of p's ring, made now if p has none; null for a short ring.
  const RING_SIDE_INDEX* index_for(const MESH_POLYGON& p);
  // Drops p's index; to be called before p is deleted.
  void forget(const MESH_POLYGON* p) { indexes_.erase(p); }
  std::size_t size() const { return indexes_.size(); }

 private:
  std::unordered_map<const MESH_POLYGON*, std::unique_ptr<RING_SIDE_INDEX>> indexes_;
};
