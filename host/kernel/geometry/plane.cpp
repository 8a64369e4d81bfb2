#include "host/kernel/geometry/plane.h"

#include <cmath>

#include "host/kernel/kernel_errors.h"

const ENTITY_TYPE plane::type("PLANE", "geo", &surface::type);

namespace {

// Throws unless the definition is usable; called before any member is set.
const UNITVEC3& checked_normal(const POSITION3& root, const UNITVEC3& normal) {
  if (!root.is_finite() || !normal.is_finite()) k2_throw(K2_ERROR::BAD_SURFACE);
  return normal;
}

}  // namespace

plane::plane(const POSITION3& root, const UNITVEC3& normal)
    : root_(root),
      nor_(checked_normal(root, normal)),
      u_dir_(default_perpendicular(nor_)) {}

plane::plane(const POSITION3& root, const UNITVEC3& normal, const VECTOR3& u_hint)
    : root_(root),
      nor_(checked_normal(root, normal)),
      u_dir_(perpendicular_from(nor_, u_hint)) {}

POSITION3 plane::eval(double u, double v) const {
  return root_ + u * u_dir_ + v * v_vector();
}

void plane::eval_derivs(double, double, VECTOR3& du, VECTOR3& dv) const {
  du = u_dir_;
  dv = v_vector();
}

UNITVEC3 plane::eval_normal(double, double) const {
  return nor_;
}

VECTOR2 plane::param(const POSITION3& p) const {
  const VECTOR3 d = p - root_;
  return VECTOR2(dot(d, u_dir_), dot(d, v_vector()));
}

MOD_INFO* plane::closest_point(const POSITION3& p, pt_on_sf& foot, double& dist, double limit,
                               void*, void*) const {
  if (!p.is_finite()) {
    foot = pt_on_sf(this, host_nan(), host_nan());
    dist = host_nan();
    return k2_error(K2_ERROR::NO_CLOSEST_POINT);
  }
  const VECTOR2 uv = param(p);
  foot = pt_on_sf(this, uv.x(), uv.y());
  dist = std::fabs(signed_distance(p));
  return apply_limit(dist, limit);
}

plane* plane::transform_copy(const TRANSFORM3& t) const {
  // The image of the plane is spanned by the images of u_dir and v_dir; their
  // cross product is normal to it under any affine map (it is the inverse
  // transpose applied to nor, times det), and a reflection reverses it.
  const VECTOR3 u_img = static_cast<const VECTOR3&>(u_dir_) * t;
  const VECTOR3 v_img = v_vector() * t;
  VECTOR3 n_img = cross(u_img, v_img);
  if (t.reflects()) n_img = -n_img;
  return new plane(root_ * t, UNITVEC3(n_img), u_img);
}

bool plane::same_geometry(const surface& other, double tol) const {
  const plane* o = entity_cast<plane>(&other);
  if (o == nullptr) return false;
  if (cross(nor_, o->nor_).len() > tol) return false;
  return std::fabs(signed_distance(o->root_)) <= tol && std::fabs(o->signed_distance(root_)) <= tol;
}

double plane::signed_distance(const POSITION3& p) const {
  return dot(p - root_, nor_);
}
