#pragma once
// CYLINDER_ENERGY: the cylinder fitting functional at one axis direction.
//
// Method. Project the centred points onto the plane across the axis, with
// coordinates u = p·U and v = p·V of the axis frame (see SURFACE_ENERGY), and
// fit the circle algebraically: w = u² + v² ≈ 2 a u + 2 b v + c in the least
// squares sense (Kåsa's circle fit). With the points centred the normal
// equations give the centre offsets (a, b) in closed form and c = mean(w), so
// the squared radius is r2 = mean(w) + a² + b². The energy is the residual
//   E = ½ Σ ((u - a)² + (v - b)² - r2)²,
// the circle from power sums in one pass over the points, E summed directly
// in a second (its expansion into power sums cancels to about ε of the sums).
// Since the circle is solved exactly for every axis, E depends on (alpha,
// beta) alone.
//
// Degenerate data (all projections on one line, fewer than three distinct
// projections) makes the normal equations singular: the centre, the radius
// and the energy are then NaN or infinite, which ends a descent at once.

#include <vector>

#include "lumesh/reverse_engineering/surface_energy.h"

class CYLINDER_ENERGY : public SURFACE_ENERGY {
 public:
  // Two passes over the points, which must be centred on their centre of
  // gravity. The energy keeps a pointer to them (not owned).
  CYLINDER_ENERGY(const VECTOR2& parameters, const std::vector<POSITION3>& points);

  CYLINDER_ENERGY* clone() const override;
  // The exact gradient of E, including the motion of the circle's centre
  // with the axis (Puv1). Two passes over the points.
  VECTOR2 compute_partial_derivatives() const override;
  // A new cylinder: centre center_of_gravity + a U + b V, the axis A and the
  // radius sqrt(r2). Null when those don't make a cylinder (a NaN or
  // non-positive radius, a NaN centre or axis).
  surface* get_surface(const POSITION3& center_of_gravity) const override;

  double get_squared_radius() const { return r2_; }
  // The circle's centre in the frame (U, V) at the parameters.
  double get_center_offset_u() const { return a_; }
  double get_center_offset_v() const { return b_; }

 protected:
  // The Jacobian of the centre offsets by the parameters, exact by the
  // quotient rule on the closed forms of a and b:
  //   P[0][0] = da/dalpha, P[0][1] = da/dbeta,
  //   P[1][0] = db/dalpha, P[1][1] = db/dbeta.
  // One pass over the points. Its terms in the gradient cancel in exact
  // arithmetic (a and b minimise E), so it moves the gradient by rounding
  // only; it is kept so that the gradient doesn't depend on that cancellation.
  void Puv1(double (&P)[2][2]) const;

 private:
  // A point's coordinates in the axis frame and their derivatives by the
  // parameters: u, v, and u by alpha, u by beta, v by alpha (v doesn't
  // depend on beta).
  struct PROJECTION {
    double u, v, ua, ub, va;
  };
  // The frame at the parameters, evaluated once for a pass over the points.
  struct FRAME {
    UNITVEC3 u, v;
    VECTOR3 ua, ub, va;
    PROJECTION project(const POSITION3& p) const {
      const VECTOR3 q(p);
      return {dot(q, u), dot(q, v), dot(q, ua), dot(q, ub), dot(q, va)};
    }
  };
  // The frame at this energy's parameters, from the axis vectors kept by the
  // constructor: the same values as evaluating it afresh.
  FRAME frame() const;
  // Puv1 over a frame the caller has already evaluated.
  void centre_jacobian(const FRAME& f, double (&P)[2][2]) const;

  UNITVEC3 u_;              // U at the parameters
  UNITVEC3 v_;              // V at the parameters
  double r2_ = host_nan();  // squared radius
  double a_ = host_nan();   // centre offset along U
  double b_ = host_nan();   // centre offset along V
  // The power sums over the projected points that the derivatives need
  // again; w = u² + v².
  double Suu_ = 0.0;
  double Svv_ = 0.0;
  double Suv_ = 0.0;
  double Swu_ = 0.0;
  double Swv_ = 0.0;
};
