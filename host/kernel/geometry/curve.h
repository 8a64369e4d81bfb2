#pragma once
// curve: base of the kernel's curves. A curve is an unbounded parametric point
// set, eval(t); an edge bounds it by its vertices. Curves are immutable after
// construction and shared by reference count (see GEOMETRY_ENTITY).
//
// Lengths are in model units.

#include "host/base/mod_info.h"
#include "host/geometry/position3.h"
#include "host/geometry/transform3.h"
#include "host/geometry/vector3.h"
#include "host/kernel/entity/geometry_entity.h"

class curve : public GEOMETRY_ENTITY {
 public:
  static const ENTITY_TYPE type;

  // The position at t. A NaN t gives NaN coordinates.
  virtual POSITION3 eval(double t) const = 0;
  // The first derivative at t.
  virtual VECTOR3 eval_deriv(double t) const = 0;
  // The parameter of the point of the curve closest to p; NaN for a NaN p.
  virtual double param(const POSITION3& p) const = 0;
  // The point `foot` of the whole unbounded curve closest to p, its parameter
  // t and its distance dist = |p - foot| >= 0. A point with a non-finite
  // coordinate gives NO_CLOSEST_POINT with NaN answers. Null on success.
  virtual MOD_INFO* closest_point(const POSITION3& p, POSITION3& foot, double& t,
                                  double& dist) const = 0;
  // A new curve, without references, that is this one moved by t: every point
  // p of this curve maps to p * t. Throws TV_EXCEPTION (BAD_CURVE) when the
  // image is degenerate.
  virtual curve* transform_copy(const TRANSFORM3& t) const = 0;

 protected:
  curve() = default;
  ~curve() override = default;
};
