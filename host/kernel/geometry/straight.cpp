#include "host/kernel/geometry/straight.h"

#include "host/kernel/kernel_errors.h"

const ENTITY_TYPE straight::type("STRAIGHT", "geo", &curve::type);

namespace {

// Throws unless the definition is usable; called before any member is set.
const UNITVEC3& checked_direction(const POSITION3& root, const UNITVEC3& direction) {
  if (!root.is_finite() || !direction.is_finite()) k2_throw(K2_ERROR::BAD_CURVE);
  return direction;
}

}  // namespace

straight::straight(const POSITION3& root, const UNITVEC3& direction)
    : root_(root), dir_(checked_direction(root, direction)) {}

POSITION3 straight::eval(double t) const {
  return root_ + t * dir_;
}

VECTOR3 straight::eval_deriv(double) const {
  return dir_;
}

double straight::param(const POSITION3& p) const {
  return dot(p - root_, dir_);
}

MOD_INFO* straight::closest_point(const POSITION3& p, POSITION3& foot, double& t,
                                  double& dist) const {
  if (!p.is_finite()) {
    foot = POSITION3(host_nan(), host_nan(), host_nan());
    t = host_nan();
    dist = host_nan();
    return k2_error(K2_ERROR::NO_CLOSEST_POINT);
  }
  t = param(p);
  foot = eval(t);
  dist = (p - root_ - t * dir_).len();
  return nullptr;
}

straight* straight::transform_copy(const TRANSFORM3& t) const {
  return new straight(root_ * t, dir_ * t);
}
