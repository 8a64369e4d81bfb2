#pragma once
// PERIMETER_QUEUE: the candidates of a growing flat region. Each entry is a
// coedge of a polygon outside the region, the partner of a coedge on the
// region's border, so that the region knows across which edge the polygon
// was reached; a polygon may stand in the queue more than once.
//
// Order: a pop answers the entry whose polygon normal makes the smallest dot
// product with the reference normal, the candidate that deviates most. The
// steep candidates are thus judged, and fall to the angle test, before the
// nearly parallel ones are taken in. The reference normal follows the fitted
// plane, so the order changes with every accepted polygon.
//
// Cost: a heap whose keys were computed against an earlier reference normal
// still pops the right entry when a bound on how far the change of normal
// can move the keys shows that no other entry can come first. The heap is
// rebuilt, O(entries), only when that bound fails; in a large flat region the
// normal settles, and pops stay O(log entries). The answer is the exact
// minimum up to the rounding of the dot products themselves (a few ulps):
// among candidates that close the order is open, as it is among equal ones.

#include <cstddef>
#include <vector>

#include "host/geometry/unitvec3.h"

class MESH_POLYGON;
class MESH_POLYGON_COEDGE;

// Orders perimeter entries for a heap: a before b when a's polygon normal
// makes a strictly greater dot product with the reference normal than b's.
// As a heap's "less", this puts the smallest dot product on top.
class NORMAL_COMPARATOR {
 public:
  explicit NORMAL_COMPARATOR(const UNITVEC3& reference_normal) : reference_(reference_normal) {}
  bool operator()(const MESH_POLYGON_COEDGE* a, const MESH_POLYGON_COEDGE* b) const;

 private:
  UNITVEC3 reference_;
};

class PERIMETER_QUEUE {
 public:
  // The partners of the seed's coedges, in ring order, whose polygon is in
  // no region. Reference normal: the seed's.
  explicit PERIMETER_QUEUE(MESH_POLYGON* seed);

  bool empty() const { return heap_.empty(); }
  std::size_t size() const { return heap_.size(); }
  const UNITVEC3& get_reference_normal() const { return reference_normal_; }
  // The next pop orders by this normal.
  void set_reference_normal(const UNITVEC3& normal);

  // Enqueues the partners of the coedges of entry's polygon, from the coedge
  // after entry round to the one before it, whose polygon is in no region.
  void extend_to_partner_polygon(MESH_POLYGON_COEDGE* entry);

  // Takes out the entry whose polygon deviates most from the reference
  // normal (see above); null when empty.
  MESH_POLYGON_COEDGE* pop_flattest_perimeter_coedge();

 private:
  struct ENTRY {
    double key;  // dot(owner normal, heap_normal_); -inf for a NaN normal
    MESH_POLYGON_COEDGE* coedge;
  };
  struct ENTRY_AFTER {  // heap "less": the smallest key on top
    bool operator()(const ENTRY& a, const ENTRY& b) const { return a.key > b.key; }
  };

  void push(MESH_POLYGON_COEDGE* partner);
  // Queues the partner of c if it has one and its polygon is in no region.
  void offer_partner_of(const MESH_POLYGON_COEDGE* c);
  double key_of(const MESH_POLYGON_COEDGE* c, const UNITVEC3& against) const;
  // True when the top entry is the minimum under the reference normal.
  bool top_is_certain() const;
  void rebuild();

  std::vector<ENTRY> heap_;
  UNITVEC3 reference_normal_;
  UNITVEC3 heap_normal_;     // the keys were computed against this normal
  bool needs_heap_ = true;   // reference_normal_ may differ from heap_normal_
};
