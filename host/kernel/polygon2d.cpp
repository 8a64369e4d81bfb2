// Area and interior points of regions bounded by polygonal rings (see
// polygon2d.h). The interior point is the incentre of the fattest triangle of
// the region's triangulation; when the region cannot be cut, a few horizontal
// scan lines are intersected with the rings and the middle of the widest span
// between an odd crossing and the next is taken.

#include "host/kernel/polygon2d.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace {

// Middle of the widest inside span of horizontal scan lines, classified
// INSIDE; false when no line finds one.
bool scan_line_interior_point(const std::vector<std::vector<VECTOR2>>& rings, VECTOR2& out) {
  double xlo = std::numeric_limits<double>::infinity(), xhi = -xlo, ylo = xlo, yhi = -xlo;
  for (const auto& ring : rings) {
    for (const VECTOR2& v : ring) {
      if (!std::isfinite(v.x()) || !std::isfinite(v.y())) return false;
      xlo = std::min(xlo, v.x());
      xhi = std::max(xhi, v.x());
      ylo = std::min(ylo, v.y());
      yhi = std::max(yhi, v.y());
    }
  }
  if (!(xhi > xlo && yhi > ylo)) return false;
  // Fractions away from simple ratios, so that lines rarely meet vertices.
  static constexpr double kFractions[] = {0.5031, 0.2537, 0.7519, 0.1263, 0.3779, 0.6247, 0.8741};
  double best_width = 0;
  bool found = false;
  std::vector<double> xs;
  for (double fraction : kFractions) {
    const double y = ylo + fraction * (yhi - ylo);
    xs.clear();
    for (const auto& ring : rings) {
      const std::size_t n = ring.size();
      for (std::size_t i = 0; i < n; ++i) {
        const VECTOR2& a = ring[i];
        const VECTOR2& b = ring[(i + 1) % n];
        if ((a.y() > y) == (b.y() > y)) continue;
        xs.push_back(a.x() + (y - a.y()) * (b.x() - a.x()) / (b.y() - a.y()));
      }
    }
    std::sort(xs.begin(), xs.end());
    for (std::size_t i = 0; i + 1 < xs.size(); i += 2) {
      const double width = xs[i + 1] - xs[i];
      if (!(width > best_width)) continue;
      const VECTOR2 c(0.5 * (xs[i] + xs[i + 1]), y);
      if (classify_point_in_rings(rings, c, 0.0) != POLYGON_POINT_CLASS::INSIDE) continue;
      best_width = width;
      out = c;
      found = true;
    }
  }
  return found;
}

}  // namespace

double signed_area(const std::vector<VECTOR2>& ring) {
  const std::size_t n = ring.size();
  if (n < 3) return 0.0;
  const VECTOR2 o = ring[0];
  double sum = 0;
  for (std::size_t i = 1; i + 1 < n; ++i) sum += cross(ring[i] - o, ring[i + 1] - o);
  return 0.5 * sum;
}

bool interior_point_of_rings(const std::vector<std::vector<VECTOR2>>& rings, VECTOR2& p) {
  std::vector<std::array<std::uint32_t, 3>> triangles;
  if (triangulate_rings(rings, triangles)) {
    std::vector<VECTOR2> all;
    for (const auto& ring : rings) all.insert(all.end(), ring.begin(), ring.end());
    double best = 0;
    VECTOR2 centre;
    for (const auto& t : triangles) {
      const VECTOR2& a = all[t[0]];
      const VECTOR2& b = all[t[1]];
      const VECTOR2& c = all[t[2]];
      const double la = (c - b).len(), lb = (a - c).len(), lc = (b - a).len();
      const double perimeter = la + lb + lc;
      const double radius = cross(b - a, c - a) / perimeter;  // 2 * area / perimeter
      if (!(radius > best)) continue;
      best = radius;
      centre = (la * a + lb * b + lc * c) / perimeter;
    }
    if (best > 0 && classify_point_in_rings(rings, centre, 0.0) == POLYGON_POINT_CLASS::INSIDE) {
      p = centre;
      return true;
    }
  }
  return scan_line_interior_point(rings, p);
}
