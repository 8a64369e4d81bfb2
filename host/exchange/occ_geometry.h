#pragma once
// occ_surface and occ_curve: surfaces and curves of imported CAD models that
// the kernel has no kind of its own for (cones, spheres, tori, splines,
// circles, ellipses). Each holds the exact geometry of the model as read, and
// answers the kernel's queries through OpenCASCADE; the modelling library
// stays behind a private implementation, so code that includes this header
// sees only the kernel's interfaces.
//
// Parameters are those of the model's own geometry: (u, v) of the surface and
// t of the curve as OpenCASCADE defines them for its kind (a sphere's u is the
// longitude, v the latitude; a circle's t is the angle). Queries are exact up
// to OpenCASCADE's iterative projection (about 1e-9 relative) and cost O(1)
// for elementary kinds, more for splines.
//
// Objects are made by the exchange layer (occ_geometry_occt.h); like all
// geometry they are immutable and shared by reference count.

#include <memory>

#include "host/kernel/geometry/curve.h"
#include "host/kernel/geometry/surface.h"

// The kind of an imported surface, as the model states it.
enum class OCC_SURFACE_KIND { PLANE, CYLINDER, CONE, SPHERE, TORUS, BSPLINE, OTHER };
// "plane", "cylinder", "cone", "sphere", "torus", "bspline" or "other".
const char* occ_surface_kind_name(OCC_SURFACE_KIND k);

// The kind of an imported curve.
enum class OCC_CURVE_KIND { LINE, CIRCLE, ELLIPSE, BSPLINE, OTHER };

class occ_surface final : public surface {
 public:
  static const ENTITY_TYPE type;
  const ENTITY_TYPE& identity() const override { return type; }

  struct IMPL;  // the modelling library's surface; see occ_geometry_occt.h
  // Takes the implementation. Throws TV_EXCEPTION (BAD_SURFACE) for a null
  // one or one without a surface.
  explicit occ_surface(std::unique_ptr<IMPL> impl);
  const IMPL& impl() const { return *impl_; }

  OCC_SURFACE_KIND kind() const;
  // The kind above in the kernel's terms (splines and the rest are OTHER).
  SURFACE_KIND surface_kind() const override;
  // The parameter ranges of the surface; infinite where it is unbounded.
  void param_range(double& u0, double& u1, double& v0, double& v1) const;

  // NaN parameters give NaN answers.
  POSITION3 eval(double u, double v) const override;
  void eval_derivs(double u, double v, VECTOR3& du, VECTOR3& dv) const override;
  // du × dv normalised; at a singular point (a sphere's pole, a cone's apex)
  // the limit normal where the surface defines one, NaN otherwise.
  UNITVEC3 eval_normal(double u, double v) const override;
  // The parameters of the closest point; NaN when projection fails.
  VECTOR2 param(const POSITION3& p) const override;
  // The closest point over the surface's parameter range. Where it is not
  // unique (the centre of a sphere) one of the closest points is given with
  // success. NO_CLOSEST_POINT with NaN answers for a non-finite point or when
  // the projection finds no point.
  MOD_INFO* closest_point(const POSITION3& p, pt_on_sf& foot, double& dist, double limit = -1.0,
                          void* reserved1 = nullptr, void* reserved2 = nullptr) const override;
  bool periodic_u() const override;
  double period_u() const override;
  // A similarity or a reflection; the copy's normal is flipped back where the
  // modelling library's image would point to the other side. Throws
  // TV_EXCEPTION (BAD_SURFACE) for a map that is not a similarity.
  occ_surface* transform_copy(const TRANSFORM3& t) const override;
  // Another occ_surface of the same kind such that a 5 x 5 grid of points
  // over each one's (finite part of the) parameter range lies within tol of
  // the other. Plane and cylinder surfaces of the kernel are never the same.
  bool same_geometry(const surface& other, double tol) const override;
  // The distance to the closest point, positive on the normal's side; NaN
  // when there is no closest point.
  double signed_distance(const POSITION3& p) const override;

 private:
  ~occ_surface() override;
  std::unique_ptr<IMPL> impl_;  // owned
};

class occ_curve final : public curve {
 public:
  static const ENTITY_TYPE type;
  const ENTITY_TYPE& identity() const override { return type; }

  struct IMPL;  // the modelling library's curve; see occ_geometry_occt.h
  // Takes the implementation. Throws TV_EXCEPTION (BAD_CURVE) for a null one
  // or one without a curve.
  explicit occ_curve(std::unique_ptr<IMPL> impl);
  const IMPL& impl() const { return *impl_; }

  OCC_CURVE_KIND kind() const;
  // The parameter range of the edge the curve was read for.
  double first() const;
  double last() const;

  POSITION3 eval(double t) const override;
  VECTOR3 eval_deriv(double t) const override;
  double param(const POSITION3& p) const override;
  // The closest point over the curve's whole range (a closed curve's period,
  // a spline's knots). NO_CLOSEST_POINT with NaN answers for a non-finite
  // point or when the projection finds no point.
  MOD_INFO* closest_point(const POSITION3& p, POSITION3& foot, double& t,
                          double& dist) const override;
  occ_curve* transform_copy(const TRANSFORM3& t) const override;

 private:
  ~occ_curve() override;
  std::unique_ptr<IMPL> impl_;  // owned
};
