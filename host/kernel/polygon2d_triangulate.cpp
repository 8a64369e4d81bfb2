// Triangulation of a region bounded by polygonal rings, by ear clipping.
//
// Method. Rings are nested by containment (nest_rings): a ring inside an even
// number of others bounds a piece of the region from outside and is walked
// counter-clockwise, the others are holes and are walked clockwise, so that
// the region always lies left of the walk. The rings so oriented must pass
// rings_cross: ear clipping of a walk that crosses itself can succeed with
// overlapping triangles, so such input is refused up front. Each ring becomes
// a circular doubly linked list of vertex nodes kept in one flat array (links
// are indices, so the array may grow). Each hole is joined to the ring that
// directly contains it by a bridge, the classic reduction of a polygon with
// holes to one weakly simple walk: a ray from the hole's rightmost vertex M
// towards +x meets the nearest edge that has the region on M's side; M is
// linked to that edge's end with the larger x or, when boundary vertices lie in
// the triangle spanned by M, the hit point and that end, to the one of them
// seen at the smallest angle from the ray (nothing can hide it). Holes go in
// order of decreasing rightmost x, so a hole still waiting never lies across a
// bridge. Where several nodes share the chosen point, the one whose corner
// opens towards M takes the bridge. Edges are filed in horizontal bands, so
// the ray and the triangle look only at the edges near them.
//
// The walk is then cut by ear clipping. A convex corner b between a and c is an
// ear when no blocking vertex lies in the closed triangle abc. Only reflex or
// flat vertices can block (when any vertex lies inside, one of those does), and
// a vertex at the very place of a, b or c does not count: a weakly simple walk
// passes several times through such a place (bridge ends, touching holes)
// without entering the ear. The blocking vertices sit in a uniform grid built
// once per piece, so an ear test looks only at the cells its triangle crosses.
// Clipping an ear only narrows the corners next to it, so no vertex turns
// reflex except by removal of a spike (a there-and-back corner), and those few
// are added to the grid as they appear. Repeated points and spikes are removed
// as they arise; straight collinear vertices are kept, so that they stay
// triangle corners, until a whole turn of the walk finds no ear. Then the walk
// is cleaned of them and, if still stuck, split along an inner diagonal; if no
// diagonal is found the piece is given up and the answer is false.
// Everything is iterative; pieces left by splitting wait on an explicit stack.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>

#include "host/kernel/polygon2d.h"
#include "host/kernel/polygon2d_detail.h"

namespace {

using namespace polygon2d_detail;


// Closed triangle test, for either orientation of abc.
bool in_closed_triangle(const PT& a, const PT& b, const PT& c, const PT& p) {
  const double o1 = orient(a, b, p), o2 = orient(b, c, p), o3 = orient(c, a, p);
  return (o1 >= 0 && o2 >= 0 && o3 >= 0) || (o1 <= 0 && o2 <= 0 && o3 <= 0);
}

// p lies strictly between a and b, given that the three are collinear.
bool strictly_between(const PT& a, const PT& b, const PT& p) {
  return dot(sub(p, a), sub(b, a)) > 0 && dot(sub(p, b), sub(a, b)) > 0;
}

// True when the open segment ab meets the closed segment uv: a touch at a or b
// itself is allowed, anything else (crossing, a vertex on ab, overlap) is not.
bool segment_meets(const PT& a, const PT& b, const PT& u, const PT& v) {
  if (std::max(u.x, v.x) < std::min(a.x, b.x) || std::max(a.x, b.x) < std::min(u.x, v.x) ||
      std::max(u.y, v.y) < std::min(a.y, b.y) || std::max(a.y, b.y) < std::min(u.y, v.y)) {
    return false;
  }
  const double o1 = orient(a, b, u), o2 = orient(a, b, v);
  if ((o1 > 0 && o2 > 0) || (o1 < 0 && o2 < 0)) return false;
  if (o1 == 0 && o2 == 0) {
    const PT d = sub(b, a);
    const double tu = dot(sub(u, a), d), tv = dot(sub(v, a), d);
    return std::max(tu, tv) > 0 && std::min(tu, tv) < dot(d, d);
  }
  const double o3 = orient(u, v, a), o4 = orient(u, v, b);
  if ((o3 > 0 && o4 > 0) || (o3 < 0 && o4 < 0)) return false;
  if (o1 != 0 && o2 != 0 && o3 != 0 && o4 != 0) return true;
  return (o1 == 0 && strictly_between(a, b, u)) || (o2 == 0 && strictly_between(a, b, v));
}

constexpr std::uint32_t NIL = std::numeric_limits<std::uint32_t>::max();

struct NODE {
  PT p;
  std::uint32_t point;  // index into the concatenated input
  std::uint32_t prev;
  std::uint32_t next;
  bool removed;
  bool in_grid;
};

// A vertex that can stand in an ear: reflex or flat.
inline bool blocking(const std::vector<NODE>& nodes, std::uint32_t i) {
  const NODE& n = nodes[i];
  return orient(nodes[n.prev].p, n.p, nodes[n.next].p) <= 0;
}

// Uniform grid of the blocking vertices of one piece. Entries go stale when a
// node is removed or turns convex; queries skip those. Nodes that become
// blocking later go to an overflow list, which a rebuild folds in when long.
class BLOCKER_GRID {
 public:
  // Over the live nodes with ids in [begin, nodes.size()).
  void build(std::vector<NODE>& nodes, std::uint32_t begin) {
    begin_ = begin;
    items_.clear();
    overflow_.clear();
    PT lo{std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()};
    PT hi{-lo.x, -lo.y};
    std::size_t count = 0;
    for (std::uint32_t i = begin; i < nodes.size(); ++i) {
      NODE& n = nodes[i];
      n.in_grid = false;
      if (n.removed) continue;
      lo = PT{std::min(lo.x, n.p.x), std::min(lo.y, n.p.y)};
      hi = PT{std::max(hi.x, n.p.x), std::max(hi.y, n.p.y)};
      if (blocking(nodes, i)) {
        n.in_grid = true;
        ++count;
      }
    }
    if (count == 0) {
      start_.assign(2, 0);
      nx_ = ny_ = 1;
      return;
    }
    frame(lo, hi, count);
    const std::size_t cells = static_cast<std::size_t>(nx_) * ny_;
    start_.assign(cells + 1, 0);
    for (std::uint32_t i = begin; i < nodes.size(); ++i) {
      if (nodes[i].in_grid) ++start_[cell(nodes[i].p) + 1];
    }
    std::partial_sum(start_.begin(), start_.end(), start_.begin());
    items_.resize(start_[cells]);
    fill_.assign(start_.begin(), start_.end() - 1);
    for (std::uint32_t i = begin; i < nodes.size(); ++i) {
      if (nodes[i].in_grid) items_[fill_[cell(nodes[i].p)]++] = i;
    }
  }

  // Records node i if it has turned blocking since the grid was built.
  void ensure(std::vector<NODE>& nodes, std::uint32_t i) {
    if (nodes[i].in_grid || nodes[i].removed || !blocking(nodes, i)) return;
    nodes[i].in_grid = true;
    overflow_.push_back(i);
    if (overflow_.size() > 64 && overflow_.size() > items_.size() / 4) build(nodes, begin_);
  }

  // True when a blocking vertex other than the nodes a, b, c themselves and
  // other than those at their places lies in the closed triangle abc (CCW).
  bool blocked(const std::vector<NODE>& nodes, std::uint32_t a, std::uint32_t b,
               std::uint32_t c) const {
    const PT& pa = nodes[a].p;
    const PT& pb = nodes[b].p;
    const PT& pc = nodes[c].p;
    auto hit = [&](std::uint32_t q) {
      const NODE& n = nodes[q];
      if (n.removed || q == a || q == b || q == c) return false;
      if (same(n.p, pa) || same(n.p, pb) || same(n.p, pc)) return false;
      if (orient(pa, pb, n.p) < 0 || orient(pb, pc, n.p) < 0 || orient(pc, pa, n.p) < 0) {
        return false;
      }
      return blocking(nodes, q);
    };
    for (std::uint32_t q : overflow_) {
      if (hit(q)) return true;
    }
    if (items_.empty()) return false;
    const double ylo = std::min({pa.y, pb.y, pc.y}), yhi = std::max({pa.y, pb.y, pc.y});
    const double xlo = std::min({pa.x, pb.x, pc.x}), xhi = std::max({pa.x, pb.x, pc.x});
    const double mx = cw_ * 1e-7, my = ch_ * 1e-7;
    const int r0 = row(ylo), r1 = row(yhi);
    for (int r = r0; r <= r1; ++r) {
      int c0 = col(xlo), c1 = col(xhi);
      if (r0 != r1) {
        // The triangle's x extent within this row's slab (widened against rounding).
        const double s0 = std::max(ylo, lo_.y + r * ch_ - my);
        const double s1 = std::min(yhi, lo_.y + (r + 1) * ch_ + my);
        double xl = std::numeric_limits<double>::infinity(), xr = -xl;
        auto clip = [&](const PT& p, const PT& q) {
          const double el = std::max(s0, std::min(p.y, q.y)), eh = std::min(s1, std::max(p.y, q.y));
          if (el > eh) return;
          if (p.y == q.y) {
            xl = std::min({xl, p.x, q.x});
            xr = std::max({xr, p.x, q.x});
            return;
          }
          const double k = (q.x - p.x) / (q.y - p.y);
          const double x0 = p.x + (el - p.y) * k, x1 = p.x + (eh - p.y) * k;
          xl = std::min({xl, x0, x1});
          xr = std::max({xr, x0, x1});
        };
        clip(pa, pb);
        clip(pb, pc);
        clip(pc, pa);
        if (xl > xr) continue;
        c0 = col(std::max(xlo, xl - mx));
        c1 = col(std::min(xhi, xr + mx));
      }
      const std::size_t base = static_cast<std::size_t>(r) * nx_;
      for (std::size_t k = start_[base + c0]; k < start_[base + c1 + 1]; ++k) {
        if (hit(items_[k])) return true;
      }
    }
    return false;
  }

 private:
  void frame(const PT& lo, const PT& hi, std::size_t count) {
    lo_ = lo;
    const double w = hi.x - lo.x, h = hi.y - lo.y;
    const double n = static_cast<double>(std::min<std::size_t>(count, std::size_t{1} << 22));
    nx_ = ny_ = 1;
    if (w > 0 && h > 0) {
      nx_ = static_cast<int>(std::clamp(std::ceil(std::sqrt(n * w / h)), 1.0, 4096.0));
      ny_ = static_cast<int>(std::clamp(std::ceil(n / nx_), 1.0, 4096.0));
    } else if (w > 0) {
      nx_ = static_cast<int>(std::clamp(n, 1.0, 4096.0));
    } else if (h > 0) {
      ny_ = static_cast<int>(std::clamp(n, 1.0, 4096.0));
    }
    cw_ = w > 0 ? w / nx_ : 0;
    ch_ = h > 0 ? h / ny_ : 0;
    inv_w_ = w > 0 ? nx_ / w : 0;
    inv_h_ = h > 0 ? ny_ / h : 0;
  }
  int col(double x) const {
    const double t = (x - lo_.x) * inv_w_;
    if (!(t > 0)) return 0;
    return t >= nx_ ? nx_ - 1 : static_cast<int>(t);
  }
  int row(double y) const {
    const double t = (y - lo_.y) * inv_h_;
    if (!(t > 0)) return 0;
    return t >= ny_ ? ny_ - 1 : static_cast<int>(t);
  }
  std::size_t cell(const PT& p) const {
    return static_cast<std::size_t>(row(p.y)) * nx_ + col(p.x);
  }

  std::uint32_t begin_ = 0;
  PT lo_{0, 0};
  double cw_ = 0, ch_ = 0, inv_w_ = 0, inv_h_ = 0;
  int nx_ = 1, ny_ = 1;
  std::vector<std::uint32_t> start_;  // per cell, its first entry in items_ (CSR)
  std::vector<std::uint32_t> items_;
  std::vector<std::uint32_t> fill_;  // scratch of build()
  std::vector<std::uint32_t> overflow_;
};

struct RING {
  std::uint32_t first = 0;  // its first point in the concatenation
  std::uint32_t size = 0;
  double area = 0;    // signed, of the ring as given
  int depth = 0;      // number of rings that contain it
  int parent = -1;    // for a hole, the ring that directly contains it
  bool used = false;  // encloses area
};


class TRIANGULATOR {
 public:
  TRIANGULATOR(const std::vector<std::vector<VECTOR2>>& rings,
               std::vector<std::array<std::uint32_t, 3>>& out)
      : rings_(rings), out_(out) {}

  bool run();

 private:
  bool load();
  bool nest();
  void cut_piece_group(int outer, std::vector<int>& holes);
  std::uint32_t make_walk(const RING& r, bool ccw);
  std::uint32_t clean(std::uint32_t start, bool drop_straight, std::size_t& removed);
  bool bridge(std::uint32_t hole);
  void cut(std::uint32_t start);
  void cut_piece(std::uint32_t start, std::vector<std::uint32_t>& todo);
  std::uint32_t settle(std::uint32_t a, std::uint32_t c, std::size_t& count);
  std::uint32_t split(std::uint32_t start);
  void emit(std::uint32_t a, std::uint32_t b, std::uint32_t c);

  void unlink(std::uint32_t i) {
    NODE& n = nodes_[i];
    nodes_[n.prev].next = n.next;
    nodes_[n.next].prev = n.prev;
    n.removed = true;
  }
  // Marks the rest of a walk that has fallen below three nodes as removed.
  void discard(std::uint32_t i) {
    while (i != NIL && !nodes_[i].removed) {
      nodes_[i].removed = true;
      i = nodes_[i].next;
    }
  }
  std::uint32_t copy_node(std::uint32_t i) {
    NODE n = nodes_[i];
    n.in_grid = false;
    nodes_.push_back(n);
    return static_cast<std::uint32_t>(nodes_.size() - 1);
  }
  std::size_t walk_size(std::uint32_t start) const {
    std::size_t n = 0;
    std::uint32_t i = start;
    do {
      ++n;
      i = nodes_[i].next;
    } while (i != start);
    return n;
  }
  // The region lies strictly on the side of direction d at node i.
  bool opens_towards(std::uint32_t i, const PT& d) const {
    const NODE& n = nodes_[i];
    return in_open_arc(sub(nodes_[n.next].p, n.p), sub(nodes_[n.prev].p, n.p), d);
  }

  // Node i belongs to the merged walk while holes are being joined.
  bool in_merged(std::uint32_t i) const { return !nodes_[i].removed && merged_[i - merged_begin_]; }

  const std::vector<std::vector<VECTOR2>>& rings_;
  std::vector<std::array<std::uint32_t, 3>>& out_;
  std::vector<PT> pts_;
  std::vector<RING> ring_;
  std::vector<NODE> nodes_;
  BLOCKER_GRID grid_;
  Y_BANDS bands_;                     // nodes by edge y range, while holes are joined
  std::vector<std::uint8_t> merged_;  // per node from merged_begin_: in the merged walk
  std::uint32_t merged_begin_ = 0;
  std::vector<std::uint32_t> scratch_;
  double cut_area2_ = 0;  // twice the area of the triangles emitted
  bool ok_ = true;
};

bool TRIANGULATOR::load() {
  std::size_t total = 0;
  for (const auto& r : rings_) total += r.size();
  if (total >= NIL / 2) return false;
  pts_.reserve(total);
  for (const auto& r : rings_) {
    RING info;
    info.first = static_cast<std::uint32_t>(pts_.size());
    info.size = static_cast<std::uint32_t>(r.size());
    for (const VECTOR2& v : r) {
      if (!std::isfinite(v.x()) || !std::isfinite(v.y())) return false;
      pts_.push_back(PT{v.x(), v.y()});
    }
    info.area = signed_area(r);
    ring_.push_back(info);
  }
  return true;
}

// Depth and parent of every ring that encloses area. False for coinciding rings.
bool TRIANGULATOR::nest() {
  std::vector<RING_NESTING> nesting;
  if (!nest_rings(rings_, nesting)) return false;
  for (std::size_t r = 0; r < ring_.size(); ++r) {
    ring_[r].used = nesting[r].depth >= 0;
    ring_[r].depth = std::max(nesting[r].depth, 0);
    ring_[r].parent = nesting[r].parent;
  }
  return true;
}

// Links ring r into a walk in the wanted direction and cleans it. Returns a
// node of the walk, or NIL when fewer than three nodes remain.
std::uint32_t TRIANGULATOR::make_walk(const RING& r, bool ccw) {
  const bool reverse = (r.area > 0) != ccw;
  const std::uint32_t base = static_cast<std::uint32_t>(nodes_.size());
  for (std::uint32_t k = 0; k < r.size; ++k) {
    const std::uint32_t point = r.first + (reverse ? r.size - 1 - k : k);
    const std::uint32_t id = base + k;
    nodes_.push_back(NODE{pts_[point], point, k == 0 ? base + r.size - 1 : id - 1,
                          k + 1 == r.size ? base : id + 1, false, false});
  }
  std::size_t removed = 0;
  return clean(base, false, removed);
}

// Removes repeated points and spikes (and straight collinear vertices when
// asked) until none is left, cascading to neighbours. O(n + removals).
// Returns a node of the walk, or NIL (the rest discarded) when fewer than
// three nodes remain.
std::uint32_t TRIANGULATOR::clean(std::uint32_t start, bool drop_straight, std::size_t& removed) {
  std::uint32_t p = start, stop = start;
  bool again;
  do {
    again = false;
    const NODE& n = nodes_[p];
    if (n.next == p || nodes_[n.next].next == p) {
      discard(p);
      return NIL;
    }
    const PT& a = nodes_[n.prev].p;
    const PT& c = nodes_[n.next].p;
    bool drop = same(n.p, c);
    if (!drop && orient(a, n.p, c) == 0) {
      drop = drop_straight || dot(sub(n.p, a), sub(c, n.p)) <= 0;
    }
    if (drop) {
      const std::uint32_t back = n.prev;
      unlink(p);
      ++removed;
      p = stop = back;
      again = true;
    } else {
      p = n.next;
    }
  } while (again || p != stop);
  return p;
}

// Joins a hole walk to the merged walk (outer ring and the holes joined so
// far) by a bridge (see the file comment). False when no edge of the merged
// walk faces the hole. O(|hole|) plus the nodes filed in the bands searched.
bool TRIANGULATOR::bridge(std::uint32_t hole) {
  // M: the hole's rightmost vertex (lowest on ties), at the node that opens to +x.
  std::uint32_t m = hole;
  for (std::uint32_t i = nodes_[hole].next; i != hole; i = nodes_[i].next) {
    const PT& p = nodes_[i].p;
    const PT& q = nodes_[m].p;
    if (p.x > q.x || (p.x == q.x && p.y < q.y)) m = i;
  }
  const PT mp = nodes_[m].p;
  {
    std::uint32_t i = m;
    do {
      if (same(nodes_[i].p, mp) && opens_towards(i, PT{1, 0})) {
        m = i;
        break;
      }
      i = nodes_[i].next;
    } while (i != m);
  }

  // Nearest upward edge (region on its left, towards M) met by the ray.
  std::uint32_t hit = NIL;
  double hit_x = std::numeric_limits<double>::infinity();
  for (std::uint32_t u : bands_[bands_.band(mp.y)]) {
    if (!in_merged(u)) continue;
    const PT& a = nodes_[u].p;
    const PT& b = nodes_[nodes_[u].next].p;
    if (a.y <= mp.y && mp.y <= b.y && a.y != b.y) {
      const double x = b.y == mp.y   ? b.x
                       : a.y == mp.y ? a.x
                                     : a.x + (mp.y - a.y) * (b.x - a.x) / (b.y - a.y);
      if (x >= mp.x && x < hit_x) {
        hit_x = x;
        hit = u;
      }
    }
  }
  if (hit == NIL) return false;

  const std::uint32_t hu = hit, hv = nodes_[hit].next;
  const PT ip{hit_x, mp.y};
  std::uint32_t p;
  if (same(nodes_[hu].p, ip)) {
    p = hu;
  } else if (same(nodes_[hv].p, ip)) {
    p = hv;
  } else {
    p = nodes_[hu].p.x >= nodes_[hv].p.x ? hu : hv;
    // The vertex in triangle (M, hit point, p) at the smallest angle from the
    // ray, the nearest on ties, is visible from M.
    const PT pp = nodes_[p].p;
    double best_dy = std::abs(pp.y - mp.y), best_dx = pp.x - mp.x;
    const std::size_t b1 = bands_.band(std::max(mp.y, pp.y));
    for (std::size_t b = bands_.band(std::min(mp.y, pp.y)); b <= b1; ++b) {
      for (std::uint32_t u : bands_[b]) {
        const PT& q = nodes_[u].p;
        const double dx = q.x - mp.x;
        if (!(dx > 0) || u == p || !in_merged(u) || !in_closed_triangle(mp, ip, pp, q)) continue;
        const double dy = std::abs(q.y - mp.y);
        const double lhs = dy * best_dx, rhs = best_dy * dx;
        if (lhs < rhs || (lhs == rhs && dx < best_dx)) {
          p = u;
          best_dy = dy;
          best_dx = dx;
        }
      }
    }
  }
  // Of the nodes at p's place, the one whose corner opens towards M.
  const PT pp = nodes_[p].p;
  const PT towards_m = sub(mp, pp);
  if (!same(pp, mp) && !opens_towards(p, towards_m)) {
    for (std::uint32_t u : bands_[bands_.band(pp.y)]) {
      if (in_merged(u) && same(nodes_[u].p, pp) && opens_towards(u, towards_m)) {
        p = u;
        break;
      }
    }
  }

  // p -> m -> (hole) -> m' -> p' -> (rest of the merged walk).
  const std::uint32_t m2 = copy_node(m);
  const std::uint32_t p2 = copy_node(p);
  const std::uint32_t pn = nodes_[p].next;
  const std::uint32_t mprev = nodes_[m].prev;
  nodes_[p].next = m;
  nodes_[m].prev = p;
  nodes_[mprev].next = m2;
  nodes_[m2].prev = mprev;
  nodes_[m2].next = p2;
  nodes_[p2].prev = m2;
  nodes_[p2].next = pn;
  nodes_[pn].prev = p2;
  merged_.resize(nodes_.size() - merged_begin_, 0);
  for (std::uint32_t i = m; i != p2; i = nodes_[i].next) merged_[i - merged_begin_] = 1;
  merged_[p2 - merged_begin_] = 1;
  bands_.add(p, pp.y, mp.y);
  bands_.add(m2, mp.y, pp.y);
  bands_.add(p2, pp.y, nodes_[pn].p.y);
  return true;
}

void TRIANGULATOR::emit(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
  out_.push_back({nodes_[a].point, nodes_[b].point, nodes_[c].point});
  cut_area2_ += orient(nodes_[a].p, nodes_[b].p, nodes_[c].p);
}

// After the ear at the node between a and c was cut: removes repeated points
// and spikes that the cut exposed, cascading, and records corners that turned
// blocking. Returns a live node near the cut, or NIL (walk discarded) when
// fewer than three nodes remain.
std::uint32_t TRIANGULATOR::settle(std::uint32_t a, std::uint32_t c, std::size_t& count) {
  scratch_.clear();
  scratch_.push_back(a);
  scratch_.push_back(c);
  std::uint32_t live = c;
  while (!scratch_.empty()) {
    const std::uint32_t p = scratch_.back();
    scratch_.pop_back();
    if (nodes_[p].removed) continue;
    if (count < 3) {
      discard(p);
      return NIL;
    }
    const std::uint32_t pr = nodes_[p].prev, nx = nodes_[p].next;
    if (same(nodes_[p].p, nodes_[nx].p)) {
      unlink(nx);
      --count;
      scratch_.push_back(p);
      continue;
    }
    const PT& ap = nodes_[pr].p;
    const PT& cp = nodes_[nx].p;
    if (orient(ap, nodes_[p].p, cp) == 0 && dot(sub(nodes_[p].p, ap), sub(cp, nodes_[p].p)) <= 0) {
      unlink(p);
      --count;
      scratch_.push_back(pr);
      scratch_.push_back(nx);
      continue;
    }
    grid_.ensure(nodes_, p);
    live = p;
  }
  if (count < 3) {
    discard(live);
    return NIL;
  }
  return !nodes_[c].removed ? c : live;
}

// Splits a walk with no ear along an inner diagonal: a segment between two
// nodes at different places that opens into the region at both ends and meets
// no edge. Returns a node of the second piece (the first keeps `start`), or
// NIL when there is none or the search grows too costly (a budget of 4e7
// pairs and segment tests bounds it; the full search is O(n^3)).
std::uint32_t TRIANGULATOR::split(std::uint32_t start) {
  std::vector<std::uint32_t> walk;
  std::uint32_t i = start;
  do {
    walk.push_back(i);
    i = nodes_[i].next;
  } while (i != start);
  const std::size_t n = walk.size();
  long long budget = 40'000'000;
  for (std::size_t ia = 0; ia < n; ++ia) {
    const std::uint32_t a = walk[ia];
    for (std::size_t ib = ia + 2; ib < n; ++ib) {
      if (ia == 0 && ib + 1 == n) continue;
      if (--budget < 0) return NIL;
      const std::uint32_t b = walk[ib];
      const PT& pa = nodes_[a].p;
      const PT& pb = nodes_[b].p;
      if (same(pa, pb) || !opens_towards(a, sub(pb, pa)) || !opens_towards(b, sub(pa, pb))) {
        continue;
      }
      budget -= static_cast<long long>(n);
      if (budget < 0) return NIL;
      bool clear = true;
      for (std::size_t k = 0; k < n && clear; ++k) {
        const std::uint32_t u = walk[k], v = nodes_[u].next;
        if (u == a || v == a || u == b || v == b) continue;
        clear = !segment_meets(pa, pb, nodes_[u].p, nodes_[v].p);
      }
      if (!clear) continue;
      // a -> b -> (b's side) -> a, and a' -> (a's side) -> b' -> a'.
      const std::uint32_t a2 = copy_node(a);
      const std::uint32_t b2 = copy_node(b);
      const std::uint32_t an = nodes_[a].next;
      const std::uint32_t bp = nodes_[b].prev;
      nodes_[a].next = b;
      nodes_[b].prev = a;
      nodes_[a2].next = an;
      nodes_[an].prev = a2;
      nodes_[b2].next = a2;
      nodes_[a2].prev = b2;
      nodes_[bp].next = b2;
      nodes_[b2].prev = bp;
      grid_.ensure(nodes_, a2);
      grid_.ensure(nodes_, b2);
      return a2;
    }
  }
  return NIL;
}

// Cuts one walk into ears; pieces split off go to `todo`.
void TRIANGULATOR::cut_piece(std::uint32_t cur, std::vector<std::uint32_t>& todo) {
  std::size_t count = walk_size(cur);
  std::size_t stall = 0;  // corners tried since the last progress
  int stage = 0;          // 0: plain, 1: collinear vertices dropped, 2: split tried
  while (count > 3) {
    const std::uint32_t a = nodes_[cur].prev, c = nodes_[cur].next;
    if (orient(nodes_[a].p, nodes_[cur].p, nodes_[c].p) > 0 && !grid_.blocked(nodes_, a, cur, c)) {
      emit(a, cur, c);
      unlink(cur);
      --count;
      cur = settle(a, c, count);
      if (cur == NIL) return;
      stall = 0;
      stage = 0;
      continue;
    }
    cur = c;
    if (++stall < count) continue;
    stall = 0;
    if (stage == 0) {
      stage = 1;
      std::size_t removed = 0;
      cur = clean(cur, true, removed);
      if (cur == NIL) return;
      count -= removed;
      if (removed > 0) continue;
    }
    if (stage == 1) {
      stage = 2;
      const std::uint32_t other = split(cur);
      if (other != NIL) {
        todo.push_back(other);
        count = walk_size(cur);
        stage = 0;
        continue;
      }
    }
    ok_ = false;
    discard(cur);
    return;
  }
  if (count == 3) {
    const std::uint32_t a = nodes_[cur].prev, c = nodes_[cur].next;
    const double o = orient(nodes_[a].p, nodes_[cur].p, nodes_[c].p);
    if (o > 0) {
      emit(a, cur, c);
    } else if (o < 0) {
      ok_ = false;
    }
  }
  discard(cur);
}

void TRIANGULATOR::cut(std::uint32_t start) {
  std::vector<std::uint32_t> todo{start};
  while (!todo.empty()) {
    const std::uint32_t s = todo.back();
    todo.pop_back();
    if (!nodes_[s].removed) cut_piece(s, todo);
  }
}

// One outer ring with the holes it directly contains.
void TRIANGULATOR::cut_piece_group(int outer, std::vector<int>& holes) {
  const std::uint32_t begin = static_cast<std::uint32_t>(nodes_.size());
  std::uint32_t walk = make_walk(ring_[outer], true);
  if (walk == NIL) return;
  struct HOLE {
    std::uint32_t node;
    double max_x;
    int ring;
  };
  std::vector<HOLE> hole_walks;
  for (int h : holes) {
    const std::uint32_t w = make_walk(ring_[h], false);
    if (w == NIL) continue;
    double max_x = nodes_[w].p.x;
    for (std::uint32_t i = nodes_[w].next; i != w; i = nodes_[i].next) {
      max_x = std::max(max_x, nodes_[i].p.x);
    }
    hole_walks.push_back(HOLE{w, max_x, h});
  }
  if (!hole_walks.empty()) {
    std::sort(hole_walks.begin(), hole_walks.end(), [](const HOLE& a, const HOLE& b) {
      return a.max_x > b.max_x || (a.max_x == b.max_x && a.ring < b.ring);
    });
    // Every live node filed by the y range of its edge; the outer walk is the
    // merged walk to start with.
    double ylo = std::numeric_limits<double>::infinity(), yhi = -ylo, spans = 0;
    for (std::uint32_t i = begin; i < nodes_.size(); ++i) {
      if (nodes_[i].removed) continue;
      ylo = std::min(ylo, nodes_[i].p.y);
      yhi = std::max(yhi, nodes_[i].p.y);
      spans += std::abs(nodes_[nodes_[i].next].p.y - nodes_[i].p.y);
    }
    const std::size_t live = nodes_.size() - begin;
    bands_.init(ylo, yhi, Y_BANDS::count_for(live, yhi > ylo ? spans / (yhi - ylo) : 0));
    for (std::uint32_t i = begin; i < nodes_.size(); ++i) {
      if (!nodes_[i].removed) bands_.add(i, nodes_[i].p.y, nodes_[nodes_[i].next].p.y);
    }
    merged_begin_ = begin;
    merged_.assign(live, 0);
    std::uint32_t i = walk;
    do {
      merged_[i - begin] = 1;
      i = nodes_[i].next;
    } while (i != walk);
    for (const HOLE& h : hole_walks) {
      if (!bridge(h.node)) {
        ok_ = false;
        discard(h.node);
      }
    }
  }
  std::size_t removed = 0;
  walk = clean(walk, false, removed);
  if (walk == NIL) return;
  grid_.build(nodes_, begin);
  cut(walk);
}

bool TRIANGULATOR::run() {
  out_.clear();
  if (!load()) return false;
  if (!nest()) return false;
  {
    // The rings as they will be walked, region on the left, for the test of
    // weak simplicity (holes running with their outer ring are not).
    std::vector<std::vector<VECTOR2>> walked(rings_);
    for (std::size_t r = 0; r < ring_.size(); ++r) {
      if (ring_[r].used && (ring_[r].area > 0) != (ring_[r].depth % 2 == 0)) {
        std::reverse(walked[r].begin(), walked[r].end());
      }
    }
    if (rings_cross(walked, true)) return false;
  }
  double expected = 0, scale = 0;
  for (const RING& r : ring_) {
    if (!r.used) continue;
    expected += (r.depth % 2 == 0 ? 1 : -1) * std::abs(r.area);
    scale += std::abs(r.area);
  }
  if (!(expected > 0)) return false;
  nodes_.reserve(pts_.size() + 2 * ring_.size() + 16);
  std::vector<std::vector<int>> holes(ring_.size());
  for (std::size_t r = 0; r < ring_.size(); ++r) {
    if (ring_[r].used && ring_[r].depth % 2 == 1) {
      if (ring_[r].parent < 0) return false;
      holes[ring_[r].parent].push_back(static_cast<int>(r));
    }
  }
  for (std::size_t r = 0; r < ring_.size(); ++r) {
    if (ring_[r].used && ring_[r].depth % 2 == 0) cut_piece_group(static_cast<int>(r), holes[r]);
  }
  return ok_ && std::abs(0.5 * cut_area2_ - expected) <= 1e-9 * scale;
}

}  // namespace

bool triangulate_rings(const std::vector<std::vector<VECTOR2>>& rings,
                       std::vector<std::array<std::uint32_t, 3>>& triangles) {
  TRIANGULATOR t(rings, triangles);
  return t.run();
}
