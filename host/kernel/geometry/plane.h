#pragma once
// plane: the unbounded plane through root with unit normal nor. Its parameters
// are lengths along two fixed perpendicular unit directions:
//   eval(u, v) = root + u·u_dir + v·v_dir,  v_dir = nor × u_dir,
// so (u_dir, v_dir, nor) is a right-handed orthonormal frame and the normal is
// nor everywhere. Every query is O(1) and exact up to rounding.

#include "host/base/pool.h"
#include "host/kernel/geometry/surface.h"

class plane final : public surface, public POOLED<plane> {
 public:
  static const ENTITY_TYPE type;
  const ENTITY_TYPE& identity() const override { return type; }
  SURFACE_KIND surface_kind() const override { return SURFACE_KIND::PLANE; }

  // u_dir is chosen from the normal alone (surface::default_perpendicular), so
  // equal normals give equal parameterisations. Throws TV_EXCEPTION
  // (BAD_SURFACE) for a NaN normal (a UNITVEC3 made from a zero vector) or a
  // non-finite root.
  plane(const POSITION3& root, const UNITVEC3& normal);
  // The same with u_dir the unit part of `u_hint` perpendicular to the normal;
  // a NaN, zero or parallel hint falls back to the default.
  plane(const POSITION3& root, const UNITVEC3& normal, const VECTOR3& u_hint);

  const POSITION3& root() const { return root_; }
  const UNITVEC3& nor() const { return nor_; }
  const UNITVEC3& u_dir() const { return u_dir_; }
  UNITVEC3 v_dir() const { return UNITVEC3(v_vector()); }

  POSITION3 eval(double u, double v) const override;
  void eval_derivs(double u, double v, VECTOR3& du, VECTOR3& dv) const override;
  UNITVEC3 eval_normal(double u, double v) const override;
  VECTOR2 param(const POSITION3& p) const override;
  // The orthogonal projection; fails only for a non-finite p or the limit.
  MOD_INFO* closest_point(const POSITION3& p, pt_on_sf& foot, double& dist, double limit = -1.0,
                          void* reserved1 = nullptr, void* reserved2 = nullptr) const override;
  // The image keeps the parameterisation's directions where t allows: u_dir of
  // the copy is the image of u_dir (so parameters scale with t).
  plane* transform_copy(const TRANSFORM3& t) const override;
  // Another plane whose normal is parallel or antiparallel to nor (the sine of
  // the angle at most tol) and whose root lies within tol of this plane, and
  // this root within tol of it.
  bool same_geometry(const surface& other, double tol) const override;
  double signed_distance(const POSITION3& p) const override;

 private:
  ~plane() override = default;

  // nor × u_dir: unit already, since the two are orthonormal. Not stored, so
  // that a plane per facet of a large mesh stays small.
  VECTOR3 v_vector() const { return cross(nor_, u_dir_); }

  POSITION3 root_;
  UNITVEC3 nor_;
  UNITVEC3 u_dir_;
};
