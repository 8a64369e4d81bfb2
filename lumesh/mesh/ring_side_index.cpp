// Chord-side proofs over ring snapshots: boxes per block of positions and a
// tree of boxes, descended with an explicit stack.

#include "lumesh/mesh/ring_side_index.h"

#include <cmath>
#include <limits>

#include "lumesh/mesh/mesh_polygon.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"
#include "lumesh/mesh/mesh_vertex.h"

double chord_side(const POSITION3& origin, const VECTOR3& chord, const VECTOR3& n,
                  const POSITION3& p) {
  return dot(cross(chord, p - origin), n);
}

namespace {

double coordinate(const POSITION3& p, int k) { return k == 0 ? p.x() : k == 1 ? p.y() : p.z(); }
double component(const VECTOR3& v, int k) { return k == 0 ? v.x() : k == 1 ? v.y() : v.z(); }

}  // namespace

RING_SIDE_INDEX::RING_SIDE_INDEX(const MESH_POLYGON& p) {
  const MESH_POLYGON_COEDGE* const start = p.get_start_coedge();
  const MESH_POLYGON_COEDGE* c = start;
  while (c != nullptr) {
    coedges_.push_back(c);
    points_.push_back(c->get_start_vertex()->location());
    c = c->get_next();
    if (c == start) break;
  }
  std::size_t capacity = 2;
  unsigned bits = 1;
  while (capacity < 2 * coedges_.size()) {
    capacity *= 2;
    ++bits;
  }
  shift_ = 64 - bits;
  slots_.assign(capacity, 0);
  for (std::size_t i = 0; i < coedges_.size(); ++i) {
    std::size_t s = slot_of(coedges_[i]);
    while (slots_[s] != 0) s = (s + 1) & (capacity - 1);
    slots_[s] = static_cast<std::uint32_t>(i + 1);
  }
  const std::size_t blocks = (points_.size() + kBlock - 1) / kBlock;
  while (leaves_ < blocks) leaves_ *= 2;
  // Empty boxes (lo above hi) for blocks past the end and to start the
  // unions. Comparisons leave NaN coordinates out of a box: a point with one
  // gives a NaN side, which the walk lets pass as well.
  const double inf = std::numeric_limits<double>::infinity();
  boxes_.assign(2 * leaves_, BOX{{inf, inf, inf}, {-inf, -inf, -inf}});
  for (std::size_t i = 0; i < points_.size(); ++i) {
    BOX& b = boxes_[leaves_ + i / kBlock];
    for (int k = 0; k < 3; ++k) {
      const double x = coordinate(points_[i], k);
      if (x < b.lo[k]) b.lo[k] = x;
      if (x > b.hi[k]) b.hi[k] = x;
    }
  }
  for (std::size_t node = leaves_ - 1; node >= 1; --node) {
    const BOX& l = boxes_[2 * node];
    const BOX& r = boxes_[2 * node + 1];
    BOX& b = boxes_[node];
    for (int k = 0; k < 3; ++k) {
      b.lo[k] = r.lo[k] < l.lo[k] ? r.lo[k] : l.lo[k];
      b.hi[k] = r.hi[k] > l.hi[k] ? r.hi[k] : l.hi[k];
    }
  }
}

std::size_t RING_SIDE_INDEX::slot_of(const MESH_POLYGON_COEDGE* c) const {
  const auto h = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(c) >> 3) *
                 0x9E3779B97F4A7C15ull;
  return static_cast<std::size_t>(h >> shift_);
}

std::size_t RING_SIDE_INDEX::position_of(const MESH_POLYGON_COEDGE* c) const {
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t s = slot_of(c);; s = (s + 1) & mask) {
    const std::uint32_t e = slots_[s];
    if (e == 0) return static_cast<std::size_t>(-1);
    if (coedges_[e - 1] == c) return e - 1;
  }
}

bool RING_SIDE_INDEX::box_inside(const BOX& b, const POSITION3& origin, const VECTOR3& m,
                                 double chord_length) {
  double lower = 0.0;
  double reach2 = 0.0;
  for (int k = 0; k < 3; ++k) {
    if (!(b.lo[k] <= b.hi[k])) return true;  // no point with all coordinates numbers
    const double dlo = b.lo[k] - coordinate(origin, k);
    const double dhi = b.hi[k] - coordinate(origin, k);
    const double mk = component(m, k);
    const double a = mk * dlo;
    const double c = mk * dhi;
    lower += a < c ? a : c;
    reach2 += dlo * dlo > dhi * dhi ? dlo * dlo : dhi * dhi;
  }
  // chord_side(p) is m·(p - origin) up to rounding of a few units in the
  // last place of |chord| |p - origin|; the margin is far above that, so a
  // box that clears it holds no point whose computed side is negative.
  // Infinite or NaN bounds fail the comparison and send the caller down to
  // the points.
  const double margin = 1e-9 * chord_length * std::sqrt(reach2);
  return lower > margin;
}

bool RING_SIDE_INDEX::range_inside(std::size_t first, std::size_t last, const POSITION3& origin,
                                   const VECTOR3& chord, const VECTOR3& n, const VECTOR3& m,
                                   double chord_length) const {
  // Depth-first with an explicit stack: at most one pending sibling per
  // level, and the tree has fewer than 64 levels.
  std::size_t stack[128];
  std::size_t top = 0;
  stack[top++] = 1;
  while (top != 0) {
    const std::size_t node = stack[--top];
    // The points under node: its level's share of the leaves.
    std::size_t level_first = 1;
    while (2 * level_first <= node) level_first *= 2;
    const std::size_t span = leaves_ / level_first * kBlock;
    const std::size_t a = (node - level_first) * span;
    const std::size_t b = a + span - 1;
    if (b < first || a > last || a >= points_.size()) continue;
    if (a >= first && b <= last && box_inside(boxes_[node], origin, m, chord_length)) continue;
    if (node >= leaves_) {
      const std::size_t from = a > first ? a : first;
      std::size_t to = b < last ? b : last;
      if (to >= points_.size()) to = points_.size() - 1;
      for (std::size_t i = from; i <= to; ++i) {
        if (chord_side(origin, chord, n, points_[i]) < 0.0) return false;
      }
      continue;
    }
    stack[top++] = 2 * node + 1;
    stack[top++] = 2 * node;
  }
  return true;
}

bool RING_SIDE_INDEX::all_inside(const MESH_POLYGON_COEDGE* after,
                                 const MESH_POLYGON_COEDGE* before, const POSITION3& origin,
                                 const VECTOR3& chord, const VECTOR3& n) const {
  if (after == before) return true;
  const std::size_t i = position_of(after);
  const std::size_t j = position_of(before);
  if (i >= points_.size() || j >= points_.size()) return false;
  // A coedge at an address that a deleted one of the snapshot had would
  // start elsewhere; refuse rather than trust the entry.
  if (!(points_[i] == after->get_start_vertex()->location()) ||
      !(points_[j] == before->get_start_vertex()->location())) {
    return false;
  }
  const VECTOR3 m = cross(n, chord);
  const double length = chord.len();
  if (i < j) return j == i + 1 || range_inside(i + 1, j - 1, origin, chord, n, m, length);
  if (i + 1 < points_.size() && !range_inside(i + 1, points_.size() - 1, origin, chord, n, m, length)) {
    return false;
  }
  return j == 0 || range_inside(0, j - 1, origin, chord, n, m, length);
}

const RING_SIDE_INDEX* RING_SIDE_INDEXES::index_for(const MESH_POLYGON& p) {
  const auto found = indexes_.find(&p);
  if (found != indexes_.end()) return found->second.get();
  const MESH_POLYGON_COEDGE* const start = p.get_start_coedge();
  if (start == nullptr) return nullptr;
  std::size_t length = 0;
  const MESH_POLYGON_COEDGE* c = start;
  do {
    ++length;
    c = c->get_next();
  } while (c != nullptr && c != start && length <= kSmallRing);
  if (length <= kSmallRing) return nullptr;
  auto index = std::make_unique<RING_SIDE_INDEX>(p);
  const RING_SIDE_INDEX* const made = index.get();
  indexes_.emplace(&p, std::move(index));
  return made;
}
