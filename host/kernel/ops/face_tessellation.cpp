// Tessellation of faces. A planar face is cut into triangles by ear clipping
// of its rings: any triangulation of a plane region is exact.
//
// A face of a curved surface (a cylinder) is bounded by straight edges whose
// vertices lie on the surface; ear clipping in the parameter plane would join
// vertices far apart in angle by chords through the material. Instead the
// developed plane is cut into vertical slabs at every vertex's developed u;
// inside a slab the region is a stack of trapezoids between pairs of boundary
// segments (even-odd along the slab), and each trapezoid gives two triangles.
// Corners lie on boundary segments and are placed on the straight 3D edge at
// the same fraction, so the triangles meet the face's edges exactly and
// separation loops (bands around the axis) need no special case.
// Cost: O(slabs x segments), which is small for the few hundred edges of a
// recognised cylinder.

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include "host/kernel/kernel_errors.h"
#include "host/kernel/ops/face_rings.h"
#include "host/kernel/ops/foreign_face.h"
#include "host/kernel/polygon2d.h"
#include "host/kernel/topology/face.h"

namespace {

struct SEGMENT {
  VECTOR2 a, b;      // developed, a.x < b.x after the cut into one period
  POSITION3 pa, pb;  // the 3D points at a and b on the straight edge
  double x_lo() const { return a.x(); }
  double x_hi() const { return b.x(); }
  double y_at(double x) const { return a.y() + (b.y() - a.y()) * (x - a.x()) / (b.x() - a.x()); }
  POSITION3 point_at(double x) const { return interpolate((x - a.x()) / (b.x() - a.x()), pa, pb); }
};

// Makes developed x values that lie within a billionth of the period (or of
// a unit, for short periods) one value, the smallest of each run, and drops
// the segments that become vertical. One vertex can come out a rounding
// apart in its two segments (one shifted by a period, the other not), and a
// bridge between the two rims of a recognised cylinder is vertical only up
// to the fitting's rounding; the slabs between such near-equal values would
// hold one segment of a pair and break the even-odd pairing, so the face
// would not tessellate at all.
void snap_slab_edges(std::vector<SEGMENT>& segs, double period) {
  std::vector<double> xs;
  for (const SEGMENT& s : segs) {
    xs.push_back(s.x_lo());
    xs.push_back(s.x_hi());
  }
  std::sort(xs.begin(), xs.end());
  const double tol = 1e-9 * std::max(period, 1.0);
  std::vector<double> starts;  // the first value of each run
  for (double x : xs) {
    if (starts.empty() || x - starts.back() > tol) starts.push_back(x);
  }
  auto snap = [&](double x) { return *(std::upper_bound(starts.begin(), starts.end(), x) - 1); };
  std::vector<SEGMENT> kept;
  for (SEGMENT s : segs) {
    const double lo = snap(s.a.x()), hi = snap(s.b.x());
    if (lo == hi) continue;
    s.a = VECTOR2(lo, s.a.y());
    s.b = VECTOR2(hi, s.b.y());
    kept.push_back(s);
  }
  segs.swap(kept);
}

// The non-vertical segments of all rings, shifted by whole periods into
// [0, period) and cut where they cross the period's end.
std::vector<SEGMENT> slab_segments(const FACE_RINGS& r) {
  std::vector<SEGMENT> out;
  const double P = r.period;
  for (std::size_t i = 0; i < r.rings.size(); ++i) {
    const auto& ring = r.rings[i];
    const auto& pts = r.points[i];
    const std::size_t n = ring.size();
    for (std::size_t j = 0; j < n; ++j) {
      VECTOR2 a = ring[j];
      VECTOR2 b = ring[(j + 1) % n];
      if (j + 1 == n) b = VECTOR2(b.x() + r.winding[i], b.y());
      POSITION3 pa = pts[j], pb = pts[(j + 1) % n];
      if (a.x() == b.x()) continue;
      if (a.x() > b.x()) {
        std::swap(a, b);
        std::swap(pa, pb);
      }
      if (P > 0) {
        const double shift = std::floor(a.x() / P) * P;
        a = VECTOR2(a.x() - shift, a.y());
        b = VECTOR2(b.x() - shift, b.y());
        if (b.x() > P) {
          // Cut at the period's end; the far piece starts again at 0.
          const SEGMENT whole{a, b, pa, pb};
          const double y = whole.y_at(P);
          const POSITION3 q = whole.point_at(P);
          out.push_back({a, VECTOR2(P, y), pa, q});
          out.push_back({VECTOR2(0, y), VECTOR2(b.x() - P, b.y()), q, pb});
          continue;
        }
      }
      out.push_back({a, b, pa, pb});
    }
  }
  snap_slab_edges(out, P);
  return out;
}

MOD_INFO* tessellate_by_slabs(const FACE& face, const FACE_RINGS& r, FACE_TESSELLATION& out) {
  const std::vector<SEGMENT> segs = slab_segments(r);
  std::vector<double> xs;
  for (const SEGMENT& s : segs) {
    xs.push_back(s.x_lo());
    xs.push_back(s.x_hi());
  }
  std::sort(xs.begin(), xs.end());
  xs.erase(std::unique(xs.begin(), xs.end()), xs.end());
  const surface* sf = face.geometry();
  // Corners are shared between neighbouring trapezoids: (segment, slab edge) -> index.
  std::map<std::pair<std::size_t, std::size_t>, std::uint32_t> corner_index;
  auto corner = [&](std::size_t seg, std::size_t xi) {
    auto [it, inserted] = corner_index.try_emplace({seg, xi}, 0);
    if (inserted) {
      it->second = static_cast<std::uint32_t>(out.positions.size());
      const SEGMENT& s = segs[seg];
      const double x = xs[xi];
      out.positions.push_back(s.point_at(x));
      const UNITVEC3 n = sf->eval_normal(x / r.u_scale, s.y_at(x));
      out.normals.push_back(face.sense() ? -n : n);
    }
    return it->second;
  };
  std::vector<std::pair<double, std::size_t>> stack;  // (y at the slab's middle, segment)
  for (std::size_t xi = 0; xi + 1 < xs.size(); ++xi) {
    const double x0 = xs[xi], x1 = xs[xi + 1];
    const double mid = 0.5 * (x0 + x1);
    stack.clear();
    for (std::size_t k = 0; k < segs.size(); ++k) {
      if (segs[k].x_lo() <= x0 && segs[k].x_hi() >= x1) stack.emplace_back(segs[k].y_at(mid), k);
    }
    std::sort(stack.begin(), stack.end());
    if (stack.size() % 2 != 0) return k2_error(K2_ERROR::BAD_FACE);
    for (std::size_t k = 0; k + 1 < stack.size(); k += 2) {
      const std::size_t lo = stack[k].second, hi = stack[k + 1].second;
      const std::uint32_t a = corner(lo, xi), b = corner(lo, xi + 1);
      const std::uint32_t c = corner(hi, xi + 1), d = corner(hi, xi);
      // Counter-clockwise in the developed plane faces along the surface normal.
      std::array<std::uint32_t, 3> t1{a, b, c}, t2{a, c, d};
      for (auto* t : {&t1, &t2}) {
        auto& tri = *t;
        if (tri[0] == tri[1] || tri[1] == tri[2] || tri[0] == tri[2]) continue;
        if (face.sense()) std::swap(tri[1], tri[2]);
        out.triangles.push_back(tri);
      }
    }
  }
  return out.triangles.empty() ? k2_error(K2_ERROR::BAD_FACE) : nullptr;
}

MOD_INFO* tessellate_planar(const FACE& face, const FACE_RINGS& r, FACE_TESSELLATION& out) {
  std::vector<std::array<std::uint32_t, 3>> tris;
  if (!triangulate_rings(r.rings, tris) && tris.empty()) return k2_error(K2_ERROR::BAD_FACE);
  const surface* sf = face.geometry();
  for (std::size_t i = 0; i < r.rings.size(); ++i) {
    for (std::size_t j = 0; j < r.rings[i].size(); ++j) {
      out.positions.push_back(r.points[i][j]);
      const VECTOR2& q = r.rings[i][j];
      const UNITVEC3 n = sf->eval_normal(q.x() / r.u_scale, q.y());
      out.normals.push_back(face.sense() ? -n : n);
    }
  }
  for (auto t : tris) {
    if (face.sense()) std::swap(t[1], t[2]);
    out.triangles.push_back(t);
  }
  return nullptr;
}

}  // namespace

MOD_INFO* FACE::tessellate(FACE_TESSELLATION& out) const {
  out = FACE_TESSELLATION{};
  if (const FOREIGN_FACE_ATT* f = foreign_face(this)) {
    MOD_INFO* e = f->tessellate(out);
    if (e != nullptr) out = FACE_TESSELLATION{};
    return e;
  }
  FACE_RINGS r;
  if (!face_rings(this, r)) return k2_error(K2_ERROR::BAD_FACE);
  MOD_INFO* e = geometry()->periodic_u() ? tessellate_by_slabs(*this, r, out)
                                         : tessellate_planar(*this, r, out);
  if (e != nullptr) out = FACE_TESSELLATION{};
  return e;
}
