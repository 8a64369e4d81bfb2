#include "host/kernel/geometry/surface.h"

#include <cmath>

#include "host/kernel/kernel_errors.h"

const ENTITY_TYPE surface::type("SURFACE", "geo", &GEOMETRY_ENTITY::type);

namespace {

// Below this sine of the angle between a hint and the normal, the hint's
// perpendicular part is mostly rounding noise and is not trusted.
constexpr double kParallelSine = 1e-10;

}  // namespace

UNITVEC3 surface::default_perpendicular(const UNITVEC3& n) {
  const double ax = std::fabs(n.x());
  const double ay = std::fabs(n.y());
  const double az = std::fabs(n.z());
  VECTOR3 e(1.0, 0.0, 0.0);
  if (ay < ax && ay <= az) {
    e = VECTOR3(0.0, 1.0, 0.0);
  } else if (az < ax && az < ay) {
    e = VECTOR3(0.0, 0.0, 1.0);
  }
  // The chosen component is at most 1/sqrt(3) in size, so the perpendicular
  // part has length at least sqrt(2/3): no cancellation.
  return UNITVEC3(e - dot(e, n) * n);
}

UNITVEC3 surface::perpendicular_from(const UNITVEC3& n, const VECTOR3& hint) {
  const UNITVEC3 h(hint);
  if (h.is_finite()) {
    const VECTOR3 perp = h - dot(h, n) * n;
    if (perp.len() > kParallelSine) return UNITVEC3(perp);
  }
  return default_perpendicular(n);
}

MOD_INFO* surface::apply_limit(double dist, double limit) {
  return (limit >= 0.0 && dist > limit) ? k2_error(K2_ERROR::OUT_OF_LIMIT) : nullptr;
}
