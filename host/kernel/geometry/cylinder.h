#pragma once
// cylinder: the unbounded circular cylinder of the given radius around the
// line through root along the unit axis. Parameters: u is the angle in radians
// from ref_dir towards binormal = axis × ref_dir, v the height along the axis
// from root:
//   eval(u, v) = root + v·axis + radius·(cos u·ref_dir + sin u·binormal).
// The surface's normal points away from the axis, so du × dv is outward.
// Periodic in u with period 2π; param and closest_point give u in [0, 2π).
// Every query is O(1).

#include "host/base/pool.h"
#include "host/kernel/geometry/surface.h"

class cylinder final : public surface, public POOLED<cylinder> {
 public:
  static const ENTITY_TYPE type;
  const ENTITY_TYPE& identity() const override { return type; }
  SURFACE_KIND surface_kind() const override { return SURFACE_KIND::CYLINDER; }

  // ref_dir is chosen from the axis alone (surface::default_perpendicular).
  // Throws TV_EXCEPTION (BAD_SURFACE) for a radius that is not a finite number
  // > 0, a NaN axis (a UNITVEC3 made from a zero vector) or a non-finite root.
  cylinder(const POSITION3& axis_root, const UNITVEC3& axis, double radius);
  // The same with ref_dir the unit part of `ref_dir` perpendicular to the
  // axis; a NaN, zero or parallel one falls back to the default.
  cylinder(const POSITION3& axis_root, const UNITVEC3& axis, double radius, const VECTOR3& ref_dir);

  const POSITION3& root() const { return root_; }
  const UNITVEC3& axis() const { return axis_; }
  double radius() const { return radius_; }
  const UNITVEC3& ref_dir() const { return ref_dir_; }
  UNITVEC3 binormal() const { return binormal_; }

  POSITION3 eval(double u, double v) const override;
  void eval_derivs(double u, double v, VECTOR3& du, VECTOR3& dv) const override;
  UNITVEC3 eval_normal(double u, double v) const override;
  // u in [0, 2π); a point on the axis gets u = 0.
  VECTOR2 param(const POSITION3& p) const override;
  // The radial projection. A point whose distance from the axis is below
  // 1e-12·max(1, radius) has no unique foot: the answer is NO_CLOSEST_POINT
  // with foot at u = 0 on the point's height and dist = radius (the limit is
  // not looked at then).
  // closest_point's dist and status, without the foot's angle (an atan2).
  MOD_INFO* distance(const POSITION3& p, double& dist) const override;
  MOD_INFO* closest_point(const POSITION3& p, pt_on_sf& foot, double& dist, double limit = -1.0,
                          void* reserved1 = nullptr, void* reserved2 = nullptr) const override;
  bool periodic_u() const override { return true; }
  double period_u() const override;
  // The radius scales with t. ref_dir of the copy is the image of ref_dir.
  // Precondition: t scales evenly across the axis (a similarity does);
  // otherwise the image is elliptic and the copy is the circular cylinder of
  // the same cross-section area.
  cylinder* transform_copy(const TRANSFORM3& t) const override;
  // Another cylinder whose radius differs by at most tol, whose axis is
  // parallel or antiparallel (the sine of the angle at most tol), and whose
  // root lies within tol of this axis line.
  bool same_geometry(const surface& other, double tol) const override;
  // Distance from the axis minus the radius: positive outside.
  double signed_distance(const POSITION3& p) const override;

 private:
  ~cylinder() override = default;

  // The part of p - root perpendicular to the axis, and the height along it.
  VECTOR3 radial(const POSITION3& p, double& height) const;
  // Angle of a radial vector in [0, 2π); 0 for a zero vector.
  double angle_of(const VECTOR3& radial_part) const;

  POSITION3 root_;
  UNITVEC3 axis_;
  double radius_;
  UNITVEC3 ref_dir_;
  UNITVEC3 binormal_;  // cached axis × ref_dir
};
