#include "host/kernel/geometry/cylinder.h"

#include <algorithm>
#include <cmath>

#include "host/kernel/kernel_errors.h"

const ENTITY_TYPE cylinder::type("CYLINDER", "geo", &surface::type);

namespace {

// A point closer than this to the axis, relative to max(1, radius), is on it.
constexpr double kOnAxisRelative = 1e-12;

// Throws unless the definition is usable; called before any member is set.
const UNITVEC3& checked_axis(const POSITION3& root, const UNITVEC3& axis, double radius) {
  if (!root.is_finite() || !axis.is_finite() || !std::isfinite(radius) || radius <= 0.0) {
    k2_throw(K2_ERROR::BAD_SURFACE);
  }
  return axis;
}

}  // namespace

cylinder::cylinder(const POSITION3& axis_root, const UNITVEC3& axis, double radius)
    : root_(axis_root),
      axis_(checked_axis(axis_root, axis, radius)),
      radius_(radius),
      ref_dir_(default_perpendicular(axis_)),
      binormal_(cross(axis_, ref_dir_)) {}

cylinder::cylinder(const POSITION3& axis_root, const UNITVEC3& axis, double radius,
                   const VECTOR3& ref_dir)
    : root_(axis_root),
      axis_(checked_axis(axis_root, axis, radius)),
      radius_(radius),
      ref_dir_(perpendicular_from(axis_, ref_dir)),
      binormal_(cross(axis_, ref_dir_)) {}

POSITION3 cylinder::eval(double u, double v) const {
  return root_ + v * axis_ + radius_ * (std::cos(u) * ref_dir_ + std::sin(u) * binormal_);
}

void cylinder::eval_derivs(double u, double, VECTOR3& du, VECTOR3& dv) const {
  du = radius_ * (std::cos(u) * binormal_ - std::sin(u) * ref_dir_);
  dv = axis_;
}

UNITVEC3 cylinder::eval_normal(double u, double) const {
  return UNITVEC3(std::cos(u) * ref_dir_ + std::sin(u) * binormal_);
}

VECTOR3 cylinder::radial(const POSITION3& p, double& height) const {
  const VECTOR3 d = p - root_;
  height = dot(d, axis_);
  return d - height * axis_;
}

double cylinder::angle_of(const VECTOR3& radial_part) const {
  double u = std::atan2(dot(radial_part, binormal_), dot(radial_part, ref_dir_));
  if (u < 0.0) u += HOST_TWO_PI;
  // A tiny negative angle rounds up to exactly 2π; the seam belongs to 0.
  if (u >= HOST_TWO_PI) u = 0.0;
  return u;
}

VECTOR2 cylinder::param(const POSITION3& p) const {
  double h = 0.0;
  const VECTOR3 r = radial(p, h);
  return VECTOR2(angle_of(r), h);
}

MOD_INFO* cylinder::closest_point(const POSITION3& p, pt_on_sf& foot, double& dist, double limit,
                                  void*, void*) const {
  if (!p.is_finite()) {
    foot = pt_on_sf(this, host_nan(), host_nan());
    dist = host_nan();
    return k2_error(K2_ERROR::NO_CLOSEST_POINT);
  }
  double h = 0.0;
  const VECTOR3 r = radial(p, h);
  const double r_len = r.len();
  if (r_len < kOnAxisRelative * std::max(1.0, radius_)) {
    foot = pt_on_sf(this, 0.0, h);
    dist = radius_;
    return k2_error(K2_ERROR::NO_CLOSEST_POINT);
  }
  foot = pt_on_sf(this, angle_of(r), h);
  dist = std::fabs(r_len - radius_);
  return apply_limit(dist, limit);
}

MOD_INFO* cylinder::distance(const POSITION3& p, double& dist) const {
  if (!p.is_finite()) {
    dist = host_nan();
    return k2_error(K2_ERROR::NO_CLOSEST_POINT);
  }
  double h = 0.0;
  const double r_len = radial(p, h).len();
  if (r_len < kOnAxisRelative * std::max(1.0, radius_)) {
    dist = radius_;
    return k2_error(K2_ERROR::NO_CLOSEST_POINT);
  }
  dist = std::fabs(r_len - radius_);
  return nullptr;
}

double cylinder::period_u() const {
  return HOST_TWO_PI;
}

cylinder* cylinder::transform_copy(const TRANSFORM3& t) const {
  const VECTOR3 axis_img = static_cast<const VECTOR3&>(axis_) * t;
  const VECTOR3 ref_img = static_cast<const VECTOR3&>(ref_dir_) * t;
  const VECTOR3 bin_img = static_cast<const VECTOR3&>(binormal_) * t;
  const UNITVEC3 new_axis(axis_img);
  // The unit circle of the cross-section maps to an ellipse spanned by the
  // images of ref_dir and binormal; its area across the new axis is π·a·b.
  const VECTOR3 ref_perp = ref_img - dot(ref_img, new_axis) * new_axis;
  const VECTOR3 bin_perp = bin_img - dot(bin_img, new_axis) * new_axis;
  HOST_ASSERT(std::fabs(ref_perp.len() - bin_perp.len()) <= 1e-9 * ref_perp.len() &&
                  std::fabs(dot(ref_perp, bin_perp)) <= 1e-9 * ref_perp.len2(),
              "cylinder moved by a map that does not scale evenly across its axis");
  const double area_scale = std::fabs(dot(cross(ref_img, bin_img), new_axis));
  return new cylinder(root_ * t, new_axis, radius_ * std::sqrt(area_scale), ref_img);
}

bool cylinder::same_geometry(const surface& other, double tol) const {
  const cylinder* o = entity_cast<cylinder>(&other);
  if (o == nullptr) return false;
  if (std::fabs(radius_ - o->radius_) > tol) return false;
  if (cross(axis_, o->axis_).len() > tol) return false;
  double h = 0.0;
  return radial(o->root_, h).len() <= tol && o->radial(root_, h).len() <= tol;
}

double cylinder::signed_distance(const POSITION3& p) const {
  double h = 0.0;
  return radial(p, h).len() - radius_;
}
