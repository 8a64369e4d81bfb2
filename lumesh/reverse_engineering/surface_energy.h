#pragma once
// SURFACE_ENERGY: one value of a fitting functional at one point of its
// parameter space. The parameters are the polar coordinates (alpha, beta) of
// the fitted surface's axis,
//   A = (cos alpha sin beta, sin alpha sin beta, cos beta),
// and every other quantity of the surface (centre, radius) is solved in
// closed form for that axis by the derived energy, so a descent searches two
// dimensions only.
//
// An energy owns nothing: it points at the centred points of the fit that
// made it, and that pointer is valid only while that fit runs. Afterwards the
// parameters and the value may still be read; the derivatives and the
// surface may not.

#include <vector>

#include "host/geometry/position3.h"
#include "host/geometry/unitvec3.h"
#include "host/geometry/vector2.h"
#include "host/geometry/vector3.h"

class surface;

class SURFACE_ENERGY {
 public:
  // Energies own nothing, so a release through the base is always complete;
  // the destructor is virtual all the same.
  virtual ~SURFACE_ENERGY() = default;

  // A new energy equal to this one; the caller owns it.
  virtual SURFACE_ENERGY* clone() const = 0;
  // The gradient (dE/dalpha, dE/dbeta) at the parameters. O(n) in the points;
  // they must still be alive.
  virtual VECTOR2 compute_partial_derivatives() const = 0;
  // A new surface without references, placed for points that were centred on
  // center_of_gravity; null when the values don't make a surface (a degenerate
  // point set). Never throws a kernel error.
  virtual surface* get_surface(const POSITION3& center_of_gravity) const = 0;

  // By energy value. A NaN energy is neither below nor above anything, which
  // is what ends a descent on degenerate data.
  bool operator<(const SURFACE_ENERGY& other) const { return energy_ < other.energy_; }
  bool operator>(const SURFACE_ENERGY& other) const { return energy_ > other.energy_; }

  const VECTOR2& get_parameters() const { return parameters_; }
  // Not owned; valid only during the fit that made this energy.
  const std::vector<POSITION3>* get_points() const { return points_; }
  double get_energy() const { return energy_; }

 protected:
  // The derived constructor sets the energy; until then it is NaN.
  SURFACE_ENERGY(const VECTOR2& parameters, const std::vector<POSITION3>& points)
      : points_(&points), parameters_(parameters) {}
  SURFACE_ENERGY(const SURFACE_ENERGY&) = default;
  SURFACE_ENERGY& operator=(const SURFACE_ENERGY&) = default;

  void set_energy(double energy) { energy_ = energy; }

  // The right-handed frame (U, V, A) around the axis at p = (alpha, beta):
  //   A = (cos alpha sin beta, sin alpha sin beta, cos beta)
  //   U = (cos alpha cos beta, sin alpha cos beta, -sin beta) = dA/dbeta
  //   V = (-sin alpha, cos alpha, 0)
  // U × V = A. The three are normalised once more after evaluation, so that
  // rounding in the trigonometry doesn't leave them off unit length.
  static UNITVEC3 A(const VECTOR2& p);
  static UNITVEC3 U(const VECTOR2& p);
  static UNITVEC3 V(const VECTOR2& p);
  // Exact derivatives of U and V by the parameters (of the unnormalised
  // formulas); dV/dbeta is zero.
  static VECTOR3 dU_dalpha(const VECTOR2& p);
  static VECTOR3 dU_dbeta(const VECTOR2& p);
  static VECTOR3 dV_dalpha(const VECTOR2& p);
  static VECTOR3 dV_dbeta(const VECTOR2& p);

 private:
  const std::vector<POSITION3>* points_;  // not owned: the centred points of one fit
  VECTOR2 parameters_;                    // (alpha, beta)
  double energy_ = host_nan();
};
