#pragma once
// surface: base of the kernel's surfaces. A surface is an unbounded,
// parametric, oriented point set: eval(u, v) maps parameters to positions and
// eval_normal gives the surface's own normal, which a face may flip through its
// sense. Surfaces are immutable after construction and shared by reference
// count (see GEOMETRY_ENTITY), so a query never changes one and any number of
// faces may use the same surface.
//
// Lengths are in model units, angles in radians.

#include "host/base/mod_info.h"
#include "host/geometry/position3.h"
#include "host/geometry/transform3.h"
#include "host/geometry/unitvec3.h"
#include "host/geometry/vector2.h"
#include "host/geometry/vector3.h"
#include "host/kernel/entity/geometry_entity.h"
#include "host/kernel/geometry/pt_on_sf.h"

// The analytic kind of a surface as its model states it. Code that treats
// kinds differently (a search for faces like a given one) asks this instead
// of the entity type, because an imported model's cone and the kernel's own
// plane are different classes with the same vocabulary.
enum class SURFACE_KIND { PLANE, CYLINDER, CONE, SPHERE, TORUS, OTHER };

class surface : public GEOMETRY_ENTITY {
 public:
  static const ENTITY_TYPE type;

  // OTHER unless the surface is one of the analytic kinds.
  virtual SURFACE_KIND surface_kind() const { return SURFACE_KIND::OTHER; }

  // The position at (u, v). NaN parameters give NaN coordinates.
  virtual POSITION3 eval(double u, double v) const = 0;
  // The first partial derivatives at (u, v).
  virtual void eval_derivs(double u, double v, VECTOR3& du, VECTOR3& dv) const = 0;
  // The unit normal at (u, v); the same direction as du × dv.
  virtual UNITVEC3 eval_normal(double u, double v) const = 0;
  // The parameters of the point of the surface closest to p. Where the closest
  // point is not unique the surface documents its choice; a NaN point gives
  // NaN parameters.
  virtual VECTOR2 param(const POSITION3& p) const = 0;

  // The point `foot` of the whole unbounded surface closest to p, and its
  // distance dist = |p - foot| >= 0. A negative (or NaN) limit means no limit;
  // with limit >= 0 and dist > limit the answer is OUT_OF_LIMIT, and foot and
  // dist are still set (dist == limit succeeds). A point with a non-finite
  // coordinate gives NO_CLOSEST_POINT with NaN foot and dist. A surface may
  // also answer NO_CLOSEST_POINT where the closest point is not unique, with a
  // documented choice of foot. Null on success. The reserved arguments must
  // be null.
  virtual MOD_INFO* closest_point(const POSITION3& p, pt_on_sf& foot, double& dist,
                                  double limit = -1.0, void* reserved1 = nullptr,
                                  void* reserved2 = nullptr) const = 0;

  // The dist of closest_point with no limit, and its status, without the
  // foot: the same value, for callers that measure only how far points lie.
  // A surface overrides it where the foot costs more than the distance.
  virtual MOD_INFO* distance(const POSITION3& p, double& dist) const {
    pt_on_sf foot;
    return closest_point(p, foot, dist);
  }

  // Periodic in u: eval(u + period_u(), v) == eval(u, v). Not periodic by
  // default, with period 0.
  virtual bool periodic_u() const { return false; }
  virtual double period_u() const { return 0.0; }

  // A new surface, without references, that is this one moved by t: every
  // point p of this surface maps to p * t, and the normal still points to the
  // image of the side it pointed to (also under a reflection). Lengths scale
  // with t. Throws TV_EXCEPTION (BAD_SURFACE) when the image is degenerate.
  virtual surface* transform_copy(const TRANSFORM3& t) const = 0;

  // True when `other` is the same point set to within tol (model units),
  // whatever the parameterisation and the orientation of the normals. Surfaces
  // of different kinds are never the same.
  virtual bool same_geometry(const surface& other, double tol) const = 0;

  // The distance of p from the surface, positive on the side the normal points
  // to, negative on the other; NaN for a NaN point.
  virtual double signed_distance(const POSITION3& p) const = 0;

 protected:
  surface() = default;
  ~surface() override = default;

  // A unit direction perpendicular to the unit direction n, fixed by n alone:
  // the basis axis of n's smallest absolute component (the first on a tie),
  // made perpendicular to n. For n = +z it is +x. NaN for a NaN n.
  static UNITVEC3 default_perpendicular(const UNITVEC3& n);
  // The unit part of `hint` perpendicular to n, or default_perpendicular(n)
  // when hint is NaN, infinite, zero or within about 1e-10 radians of
  // parallel to n.
  static UNITVEC3 perpendicular_from(const UNITVEC3& n, const VECTOR3& hint);
  // Shared tail of closest_point: applies the limit rule to a computed dist.
  static MOD_INFO* apply_limit(double dist, double limit);
};
