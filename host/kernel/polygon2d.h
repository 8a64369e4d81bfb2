#pragma once
// Regions of a plane bounded by polygonal rings: the parameter-plane shape of a
// planar or cylindrical face. A region is given as one or more rings of points;
// each ring is closed implicitly (its last point joins its first) and the
// region is what the rings enclose under the even-odd rule. So rings may come
// in any orientation, holes may be separate rings or be joined to their outer
// ring by a bridge (one segment walked twice in opposite directions, which
// cancels under even-odd), and a ring may touch itself or another ring without
// crossing it (weakly simple input).
//
// Every function here is a plain value computation: no state, no allocation
// that outlives the call, and no recursion whose depth grows with the input.

#include <array>
#include <cstdint>
#include <vector>

#include "host/geometry/vector2.h"

enum class POLYGON_POINT_CLASS { OUTSIDE = 0, INSIDE = 1, BOUNDARY = 2 };

// Even-odd classification of `p` against all rings together. BOUNDARY when p
// lies within `tol` of a segment of any ring (tol >= 0; with tol == 0, exactly
// on it). A point on a bridge is therefore BOUNDARY and a point in a bridged
// hole OUTSIDE. Rings of fewer than three points enclose nothing but their
// segments still count as boundary. A NaN point is OUTSIDE. O(n) in the total
// number of points.
POLYGON_POINT_CLASS classify_point_in_rings(const std::vector<std::vector<VECTOR2>>& rings,
                                            const VECTOR2& p, double tol);

// Shoelace area of one implicitly closed ring: positive when the ring runs
// counter-clockwise, zero for fewer than three points. Summed relative to the
// first point, so that a ring far from the origin keeps its precision. O(n).
double signed_area(const std::vector<VECTOR2>& ring);

// True when the boundary formed by the rings is not weakly simple in one of
// these ways: two segments cross at a point interior to both; a vertex lies
// inside a segment with its two neighbours strictly on opposite sides of it;
// two passes of the boundary through one point interleave (their four
// directions distinct and alternating); or two segments of one ring overlap
// and are walked in the same direction (a weakly simple ring walks a stretch
// twice only there and back). With `oriented`, the rings are taken as walked
// with the region on their left (outer rings counter-clockwise, holes
// clockwise); then an overlap walked the same way by two rings counts too, and
// so does a place where the winding number of the walks leaves {0, 1}, checked
// wherever neighbouring segments change. That also catches a walk that runs
// along a stretch of the boundary there and back and leaves it on the other
// side, which goes unnoticed without `oriented`. Touching, bridges and other
// overlaps do not count. A non-finite coordinate counts as a crossing.
// O(n log n) (a sweep), plus O(k^2) for k passes through one point or k
// segments overlapping one another.
bool rings_cross(const std::vector<std::vector<VECTOR2>>& rings, bool oriented = false);

// Nesting of rings by containment, to tell outer rings from holes. For every
// ring that encloses area (three points or more, non-zero signed area): depth
// is the number of other such rings that contain it (even: it bounds the
// region from outside, odd: it bounds a hole) and parent the one among them
// that directly contains it, or -1. Rings that enclose no area get depth -1
// and parent -1 and contain nothing. A ring that touches another is decided by
// one of its points off the other. Returns false when a coordinate is not
// finite or two rings coincide (no point decides); meaningful for rings that
// do not cross (rings_cross). Near O(n) when the rings are small against the
// whole; O(n^2) at worst.
struct RING_NESTING {
  int depth = -1;
  int parent = -1;
};
bool nest_rings(const std::vector<std::vector<VECTOR2>>& rings, std::vector<RING_NESTING>& nesting);

// Triangulates the region bounded by the rings. Output: triangles as index
// triples into the concatenation of all rings (ring 0's points first, then
// ring 1's, ...), each counter-clockwise with strictly positive area. Repeated
// and collinear points are allowed; a collinear point is kept as a triangle
// corner where ear cutting allows it and dropped (leaving it inside a triangle
// side) only when no ear can be cut otherwise.
//
// Returns true when the whole region was cut; then the triangle areas sum to
// the region's area up to rounding (1e-9 relative). Returns false, keeping
// whatever triangles were cut, when the input is not a region it can cut: a
// non-finite coordinate, rings that cross (rings_cross, with every ring
// oriented as its nesting says), an empty or zero-area region, or rings that
// coincide. `triangles` is cleared first. Ear tests use a grid of the reflex
// vertices and bridges look only at nearby edges, so the cost is near
// O(n log n) for ordinary input (a 100,000-gon or a disk with 3,000 holes
// takes well under a second) and O(n^2) at worst.
bool triangulate_rings(const std::vector<std::vector<VECTOR2>>& rings,
                       std::vector<std::array<std::uint32_t, 3>>& triangles);

// A point strictly inside the region: the incentre of the triangle with the
// largest inscribed circle in the region's triangulation, so at least that
// circle's radius from the boundary. When the region cannot be triangulated,
// the middle of the widest inside span of a few horizontal scan lines, checked
// to classify INSIDE. Returns false (p untouched) for an empty or degenerate
// region.
bool interior_point_of_rings(const std::vector<std::vector<VECTOR2>>& rings, VECTOR2& p);
