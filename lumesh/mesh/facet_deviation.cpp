// The deviation of a polygon's area from a cylinder: corners and boundary
// segments measured in the plane across the axis.

#include "lumesh/mesh/facet_deviation.h"

#include <algorithm>
#include <cmath>

#include "host/kernel/geometry/cylinder.h"
#include "lumesh/mesh/mesh_polygon.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"
#include "lumesh/mesh/mesh_vertex.h"

namespace {

// p relative to the axis, with its component along the axis removed.
VECTOR3 across_axis(const POSITION3& p, const cylinder& c) {
  const VECTOR3 w = p - c.root();
  return w - dot(w, VECTOR3(c.axis())) * VECTOR3(c.axis());
}

// Distance from the origin to the segment a-b.
double distance_to_segment(const VECTOR3& a, const VECTOR3& b) {
  const VECTOR3 d = b - a;
  const double l2 = d.len2();
  double t = l2 > 0.0 ? -dot(a, d) / l2 : 0.0;
  t = std::clamp(t, 0.0, 1.0);
  return (a + t * d).len();
}

}  // namespace

double polygon_deviation_from_cylinder(const MESH_POLYGON& polygon, const cylinder& c) {
  const MESH_POLYGON_COEDGE* const start = polygon.get_start_coedge();
  if (start == nullptr) return 0.0;
  const double r = c.radius();
  double corners = 0.0;
  double nearest = HUGE_VAL;
  const MESH_POLYGON_COEDGE* e = start;
  do {
    const VECTOR3 a = across_axis(e->get_start_vertex()->location(), c);
    const VECTOR3 b = across_axis(e->get_end_vertex()->location(), c);
    corners = std::max(corners, std::fabs(a.len() - r));
    nearest = std::min(nearest, distance_to_segment(a, b));
    e = e->get_next();
  } while (e != nullptr && e != start);
  return std::max(corners, r - nearest);
}
