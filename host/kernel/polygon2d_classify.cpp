// Point classification, crossing detection and nesting for regions bounded
// by polygonal rings (see polygon2d.h).
//
// Classification counts, for a ray from the point to +x, the segments it
// crosses, with the half-open rule (a segment counts when exactly one end lies
// strictly above the point) so that a vertex on the ray is counted once and a
// segment walked twice in opposite directions is counted twice, i.e. cancels.
// The crossing test is a line sweep in the manner of Shamos and Hoey: segments
// met by the sweep line are kept in bottom-to-top order, and two segments that
// cross become neighbours in that order before the sweep reaches the crossing;
// at each vertex the sweep also looks at the segments and the other passes of
// the boundary through that same point, and, for oriented rings, checks that
// the order alternates between segments with the region above and below.
// Nesting classifies one point of each ring against the others by the same
// ray rule, looking only at the segments filed in the horizontal band of that
// point.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory_resource>
#include <set>

#include "host/kernel/polygon2d.h"
#include "host/kernel/polygon2d_detail.h"

namespace {

using namespace polygon2d_detail;
inline PT pt(const VECTOR2& v) {
  return PT{v.x(), v.y()};
}


// True when p is within tol of segment ab (tol >= 0; exact test when 0).
bool near_segment(const PT& a, const PT& b, const PT& p, double tol) {
  if (p.x < std::min(a.x, b.x) - tol || p.x > std::max(a.x, b.x) + tol ||
      p.y < std::min(a.y, b.y) - tol || p.y > std::max(a.y, b.y) + tol) {
    return false;
  }
  if (orient(a, b, p) == 0) return true;  // collinear and inside the box: on it
  if (tol == 0) return false;
  const PT d = sub(b, a);
  const PT w = sub(p, a);
  const double l2 = dot(d, d);
  const double t = l2 > 0 ? std::clamp(dot(w, d) / l2, 0.0, 1.0) : 0.0;
  const double ex = w.x - t * d.x;
  const double ey = w.y - t * d.y;
  return ex * ex + ey * ey <= tol * tol;
}

// The rings with consecutive repeated points dropped (cyclically), flattened:
// ring r owns pts[begin[r] .. begin[r + 1]); next/prev give the neighbours of
// a point inside its ring and ring its ring.
struct FLAT_RINGS {
  std::vector<PT> pts;
  std::vector<std::size_t> begin;
  std::vector<std::size_t> next;
  std::vector<std::size_t> prev;
  std::vector<std::size_t> ring;
};

// False when a coordinate is not finite.
bool flatten(const std::vector<std::vector<VECTOR2>>& rings, FLAT_RINGS& f) {
  f.begin.assign(1, 0);
  for (const std::vector<VECTOR2>& ring : rings) {
    const std::size_t first = f.pts.size();
    for (const VECTOR2& v : ring) {
      if (!std::isfinite(v.x()) || !std::isfinite(v.y())) return false;
      const PT p = pt(v);
      if (f.pts.size() > first && same(f.pts.back(), p)) continue;
      f.pts.push_back(p);
    }
    while (f.pts.size() > first + 1 && same(f.pts.back(), f.pts[first])) f.pts.pop_back();
    f.begin.push_back(f.pts.size());
  }
  f.next.resize(f.pts.size());
  f.prev.resize(f.pts.size());
  f.ring.resize(f.pts.size());
  for (std::size_t r = 0; r + 1 < f.begin.size(); ++r) {
    const std::size_t b = f.begin[r], e = f.begin[r + 1];
    for (std::size_t i = b; i < e; ++i) {
      f.next[i] = i + 1 == e ? b : i + 1;
      f.prev[i] = i == b ? e - 1 : i - 1;
      f.ring[i] = r;
    }
  }
  return true;
}

inline bool lex_less(const PT& a, const PT& b) {
  return a.x < b.x || (a.x == b.x && a.y < b.y);
}

// True when vertex v lies strictly inside segment uw and its two neighbours
// lie strictly on opposite sides of the segment's line.
bool vertex_crosses_segment(const FLAT_RINGS& f, std::size_t v, const PT& u, const PT& w) {
  const PT& p = f.pts[v];
  if (orient(u, w, p) != 0) return false;
  if (!(dot(sub(p, u), sub(w, u)) > 0 && dot(sub(p, w), sub(u, w)) > 0)) return false;
  const double s1 = orient(u, w, f.pts[f.prev[v]]);
  const double s2 = orient(u, w, f.pts[f.next[v]]);
  return (s1 > 0 && s2 < 0) || (s1 < 0 && s2 > 0);
}

// Two passes through one point (directions d1, d2 and e1, e2 from it)
// interleave: e1 and e2 lie strictly on different sides of the pair d1, d2.
bool passes_interleave(const PT& d1, const PT& d2, const PT& e1, const PT& e2) {
  return (in_open_arc(d1, d2, e1) && in_open_arc(d2, d1, e2)) ||
         (in_open_arc(d2, d1, e1) && in_open_arc(d1, d2, e2));
}

// Sweep of a vertical line across the segments (segment s runs from point s
// to its successor), keeping the segments it meets ordered from bottom to top.
// Points are visited in (x, y) order, which amounts to a line tilted by an
// infinitesimal angle, so a vertical segment needs no handling of its own. As long
// as no two segments cross, their order never changes, so every comparison
// needs only the point being visited: a segment that starts there is placed by
// the side of each other segment the point lies on, then by direction when the
// point lies on it, then by index (overlapping segments, which thus sit next
// to each other). A crossing makes two segments neighbours before it is
// passed, and is tested then. O(n log n).
class CROSSING_SWEEP {
 public:
  CROSSING_SWEEP(const FLAT_RINGS& f, bool oriented)
      : f_(f),
        oriented_(oriented),
        active_(BELOW{this}, &memory_),
        handle_(f.pts.size()),
        entered_(f.pts.size(), false) {}

  bool run() {
    std::vector<std::size_t> order;
    for (std::size_t r = 0; r + 1 < f_.begin.size(); ++r) {
      if (f_.begin[r + 1] - f_.begin[r] < 2) continue;  // a lone point has no segment
      for (std::size_t i = f_.begin[r]; i < f_.begin[r + 1]; ++i) order.push_back(i);
    }
    std::sort(order.begin(), order.end(), [&](std::size_t i, std::size_t j) {
      return lex_less(f_.pts[i], f_.pts[j]) || (same(f_.pts[i], f_.pts[j]) && i < j);
    });
    for (std::size_t k = 0; k < order.size();) {
      std::size_t m = k + 1;
      while (m < order.size() && same(f_.pts[order[m]], f_.pts[order[k]])) ++m;
      if (visit(order.data() + k, m - k)) return true;
      k = m;
    }
    return false;
  }

 private:
  static constexpr std::size_t kPoint = std::numeric_limits<std::size_t>::max();

  const PT& left(std::size_t s) const {
    const PT& a = f_.pts[s];
    const PT& b = f_.pts[f_.next[s]];
    return lex_less(a, b) ? a : b;
  }
  const PT& right(std::size_t s) const {
    const PT& a = f_.pts[s];
    const PT& b = f_.pts[f_.next[s]];
    return lex_less(a, b) ? b : a;
  }
  // Segment s starts (true) or ends at vertex v, one of its ends.
  bool starts_at(std::size_t s, std::size_t v) const {
    const std::size_t other = s == v ? f_.next[s] : s;
    return lex_less(f_.pts[v], f_.pts[other]);
  }

  // The bottom-to-top order at the visited point `at_`. kPoint stands for the
  // point itself (equal to the segments through it); `new_` is the segment
  // being placed. Every comparison the set makes involves one of the two.
  struct BELOW {
    const CROSSING_SWEEP* s;
    bool operator()(std::size_t a, std::size_t b) const {
      if (a == b) return false;
      if (a == kPoint) return orient(s->left(b), s->right(b), s->at_) < 0;
      if (b == kPoint) return orient(s->left(a), s->right(a), s->at_) > 0;
      if (a == s->new_) return s->new_below(b);
      return !s->new_below(a);
    }
  };
  bool new_below(std::size_t b) const {
    const double o = orient(left(b), right(b), at_);
    if (o != 0) return o < 0;
    const PT dn = sub(right(new_), at_);
    const PT db = sub(right(b), left(b));
    const double c = cross(dn, db);
    if (c != 0) return c > 0;
    return new_ < b;
  }

  bool cross_properly(std::size_t i, std::size_t j) const {
    const PT& a = f_.pts[i];
    const PT& b = f_.pts[f_.next[i]];
    const PT& c = f_.pts[j];
    const PT& d = f_.pts[f_.next[j]];
    const double o1 = orient(a, b, c), o2 = orient(a, b, d);
    const double o3 = orient(c, d, a), o4 = orient(c, d, b);
    return ((o1 > 0 && o2 < 0) || (o1 < 0 && o2 > 0)) && ((o3 > 0 && o4 < 0) || (o3 < 0 && o4 > 0));
  }

  // The vertices vs[0..n) all lie at one point. True on a crossing found there.
  bool visit(const std::size_t* vs, std::size_t n) {
    at_ = f_.pts[vs[0]];
    // Segments ending here leave; their neighbours meet.
    for (std::size_t k = 0; k < n; ++k) {
      for (std::size_t s : {f_.prev[vs[k]], vs[k]}) {
        if (starts_at(s, vs[k])) continue;
        const auto it = handle_[s];
        const bool below = it != active_.begin(), above = std::next(it) != active_.end();
        if (below && above && cross_properly(*std::prev(it), *std::next(it))) return true;
        if (below) touched_.push_back(*std::prev(it));
        if (above) touched_.push_back(*std::next(it));
        active_.erase(it);
        entered_[s] = false;
      }
    }
    // Segments passing through the point (it lies inside them).
    const auto [lo, hi] = active_.equal_range(kPoint);
    for (auto it = lo; it != hi; ++it) {
      for (std::size_t k = 0; k < n; ++k) {
        if (vertex_crosses_segment(f_, vs[k], left(*it), right(*it))) return true;
      }
    }
    // Passes through the point.
    for (std::size_t i = 0; i < n; ++i) {
      const PT d1 = sub(f_.pts[f_.prev[vs[i]]], at_), d2 = sub(f_.pts[f_.next[vs[i]]], at_);
      for (std::size_t j = i + 1; j < n; ++j) {
        const PT e1 = sub(f_.pts[f_.prev[vs[j]]], at_), e2 = sub(f_.pts[f_.next[vs[j]]], at_);
        if (passes_interleave(d1, d2, e1, e2)) return true;
      }
    }
    // Segments starting here enter, each tested against its neighbours.
    for (std::size_t k = 0; k < n; ++k) {
      for (std::size_t s : {f_.prev[vs[k]], vs[k]}) {
        if (!starts_at(s, vs[k])) continue;
        new_ = s;
        const auto it = active_.insert(s).first;
        new_ = kPoint;
        handle_[s] = it;
        entered_[s] = true;
        touched_.push_back(s);
        if (it != active_.begin() && cross_properly(*std::prev(it), s)) return true;
        if (std::next(it) != active_.end() && cross_properly(s, *std::next(it))) return true;
        // Segments overlapping the new one: walked the same way is not weakly simple.
        for (auto j = it; j != active_.begin();) {
          --j;
          if (!overlaps(s, *j)) break;
          if (same_way(s, *j)) return true;
        }
        for (auto j = std::next(it); j != active_.end() && overlaps(s, *j); ++j) {
          if (same_way(s, *j)) return true;
        }
      }
    }
    // With the rings oriented, the order now holding just past the point must
    // alternate between segments with the region above and below.
    bool bad = false;
    if (oriented_) {
      for (std::size_t s : touched_) {
        if (entered_[s] && !alternates_around(handle_[s])) bad = true;
      }
    }
    touched_.clear();
    return bad;
  }

  // Region side of a segment of an oriented ring: +1 when walked to +x (region
  // above it along the sweep line), -1 otherwise.
  int side(std::size_t s) const { return lex_less(f_.pts[s], f_.pts[f_.next[s]]) ? 1 : -1; }
  bool collinear(std::size_t a, std::size_t b) const {
    return cross(sub(right(a), left(a)), sub(right(b), left(b))) == 0 &&
           orient(left(a), right(a), left(b)) == 0;
  }
  // Bounds and side sum of the run of overlapping segments around `it`.
  template <class IT>
  int run_sum(IT it, IT& lo, IT& hi) const {
    lo = hi = it;
    while (lo != active_.begin() && collinear(*std::prev(lo), *lo)) --lo;
    while (std::next(hi) != active_.end() && collinear(*hi, *std::next(hi))) ++hi;
    int sum = 0;
    for (IT j = lo;; ++j) {
      sum += side(*j);
      if (j == hi) break;
    }
    return sum;
  }
  // A gap between runs is inside the region just above a run of side sum +1
  // and just below one of sum -1, outside in the opposite cases; a run of sum
  // 0 tells nothing. Across a weakly simple oriented boundary the winding
  // number stays 0 or 1, so the runs bordering one gap must agree, a run never
  // sums beyond +-1, and the gaps below all and above all are outside.
  template <class IT>
  bool alternates_around(IT it) const {
    IT lo, hi, lo2, hi2;
    const int sum = run_sum(it, lo, hi);
    if (sum > 1 || sum < -1) return false;
    if (lo == active_.begin()) {
      if (sum == -1) return false;
    } else if (sum != 0) {
      const int below = run_sum(std::prev(lo), lo2, hi2);
      if (below == sum) return false;
    }
    if (std::next(hi) == active_.end()) {
      if (sum == 1) return false;
    } else if (sum != 0) {
      const int above = run_sum(std::next(hi), lo2, hi2);
      if (above == sum) return false;
    }
    return true;
  }

  // Segment b, active at the visited point, lies on the line of segment s,
  // which starts there: the two share a stretch of positive length.
  bool overlaps(std::size_t s, std::size_t b) const {
    return orient(left(b), right(b), at_) == 0 &&
           cross(sub(right(s), at_), sub(right(b), left(b))) == 0;
  }
  bool same_way(std::size_t s, std::size_t b) const {
    const bool fs = lex_less(f_.pts[s], f_.pts[f_.next[s]]);
    const bool fb = lex_less(f_.pts[b], f_.pts[f_.next[b]]);
    return fs == fb && (oriented_ || f_.ring[s] == f_.ring[b]);
  }

  const FLAT_RINGS& f_;
  const bool oriented_;  // overlaps of different rings count too
  PT at_{0, 0};
  std::size_t new_ = kPoint;
  std::pmr::unsynchronized_pool_resource memory_;  // the set's nodes, reused as segments leave
  std::pmr::set<std::size_t, BELOW> active_;
  std::vector<std::pmr::set<std::size_t, BELOW>::iterator> handle_;  // per segment, once entered
  std::vector<bool> entered_;                                        // per segment: in active_ now
  std::vector<std::size_t> touched_;  // segments whose neighbourhood changed at this point
};


}  // namespace

POLYGON_POINT_CLASS classify_point_in_rings(const std::vector<std::vector<VECTOR2>>& rings,
                                            const VECTOR2& p, double tol) {
  const PT q = pt(p);
  if (!std::isfinite(q.x) || !std::isfinite(q.y)) return POLYGON_POINT_CLASS::OUTSIDE;
  if (!(tol > 0)) tol = 0;
  bool inside = false;
  for (const auto& ring : rings) {
    const std::size_t n = ring.size();
    for (std::size_t i = 0; i < n; ++i) {
      const PT a = pt(ring[i]);
      const PT b = pt(ring[i + 1 == n ? 0 : i + 1]);
      if (near_segment(a, b, q, tol)) return POLYGON_POINT_CLASS::BOUNDARY;
      if ((a.y > q.y) == (b.y > q.y)) continue;
      // The ray to +x meets the segment when q lies left of it, walked upward.
      const bool up = a.y < b.y;
      if (orient(up ? a : b, up ? b : a, q) > 0) inside = !inside;
    }
  }
  return inside ? POLYGON_POINT_CLASS::INSIDE : POLYGON_POINT_CLASS::OUTSIDE;
}

bool rings_cross(const std::vector<std::vector<VECTOR2>>& rings, bool oriented) {
  FLAT_RINGS f;
  if (!flatten(rings, f)) return true;
  CROSSING_SWEEP sweep(f, oriented);
  return sweep.run();
}

bool nest_rings(const std::vector<std::vector<VECTOR2>>& rings,
                std::vector<RING_NESTING>& nesting) {
  const std::size_t n = rings.size();
  nesting.assign(n, RING_NESTING{});
  std::vector<bool> used(n, false);
  double ylo = std::numeric_limits<double>::infinity(), yhi = -ylo;
  std::size_t edges = 0;
  for (std::size_t r = 0; r < n; ++r) {
    for (const VECTOR2& v : rings[r]) {
      if (!std::isfinite(v.x()) || !std::isfinite(v.y())) return false;
    }
    if (rings[r].size() < 3 || signed_area(rings[r]) == 0) continue;
    used[r] = true;
    nesting[r].depth = 0;
    edges += rings[r].size();
    for (const VECTOR2& v : rings[r]) {
      ylo = std::min(ylo, v.y());
      yhi = std::max(yhi, v.y());
    }
  }
  if (std::count(used.begin(), used.end(), true) < 2) return true;
  // Every edge of the rings that enclose area, filed by its y range:
  // edge[e] = (ring, index of its first point).
  std::vector<std::pair<std::uint32_t, std::uint32_t>> edge;
  edge.reserve(edges);
  double spans = 0;
  for (std::size_t r = 0; r < n; ++r) {
    if (!used[r]) continue;
    const std::size_t m = rings[r].size();
    for (std::size_t i = 0; i < m; ++i)
      spans += std::abs(rings[r][(i + 1) % m].y() - rings[r][i].y());
  }
  Y_BANDS bands;
  bands.init(ylo, yhi, Y_BANDS::count_for(edges, yhi > ylo ? spans / (yhi - ylo) : 0));
  for (std::size_t r = 0; r < n; ++r) {
    if (!used[r]) continue;
    const std::size_t m = rings[r].size();
    for (std::size_t i = 0; i < m; ++i) {
      bands.add(static_cast<std::uint32_t>(edge.size()), rings[r][i].y(),
                rings[r][(i + 1) % m].y());
      edge.emplace_back(static_cast<std::uint32_t>(r), static_cast<std::uint32_t>(i));
    }
  }
  // For each ring i, the rings containing it: the parity of the crossings, per
  // ring, of a ray from one of its points. A ring whose boundary holds that
  // point stays open and is tried again with the next vertex, then with the
  // edge midpoints; one still open after all of them coincides with ring i.
  std::vector<std::uint8_t> parity(n, 0), on(n, 0), open(n, 0);
  std::vector<std::size_t> pending;
  std::vector<std::pair<std::size_t, std::size_t>> contains;  // (container, contained)
  for (std::size_t i = 0; i < n; ++i) {
    if (!used[i]) continue;
    const auto& ring = rings[i];
    const std::size_t m = ring.size();
    for (std::size_t t = 0; t < 2 * m; ++t) {
      const VECTOR2 v = t < m ? ring[t] : 0.5 * (ring[t - m] + ring[(t - m + 1) % m]);
      const PT q = pt(v);
      for (std::uint32_t e : bands[bands.band(q.y)]) {
        const std::size_t j = edge[e].first;
        if (j == i) continue;
        if (t == 0 && !open[j]) {
          open[j] = 1;
          pending.push_back(j);
        }
        if (!open[j] || on[j]) continue;
        const auto& other = rings[j];
        const std::size_t k = edge[e].second;
        const PT a = pt(other[k]);
        const PT b = pt(other[(k + 1) % other.size()]);
        if (near_segment(a, b, q, 0)) {
          on[j] = 1;
        } else if ((a.y > q.y) != (b.y > q.y)) {
          const bool up = a.y < b.y;
          if (orient(up ? a : b, up ? b : a, q) > 0) parity[j] ^= 1;
        }
      }
      std::size_t kept = 0;
      for (std::size_t j : pending) {
        if (on[j]) {
          pending[kept++] = j;
        } else {
          if (parity[j]) {
            contains.emplace_back(j, i);
            ++nesting[i].depth;
          }
          open[j] = 0;
        }
        on[j] = parity[j] = 0;
      }
      pending.resize(kept);
      if (pending.empty()) break;
    }
    if (!pending.empty()) return false;
  }
  for (const auto& [outer, inner] : contains) {
    if (nesting[outer].depth == nesting[inner].depth - 1)
      nesting[inner].parent = static_cast<int>(outer);
  }
  return true;
}
