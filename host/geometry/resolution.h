#pragma once
// resolution: the tolerances of geometric decisions. resabs is a length: two
// points no farther apart are the same point, a value no larger in magnitude
// is zero. resnor is an angle in radians: directions closer than it are the
// same direction. No resabs is finer than _min_resabs.
//
// The kernel decides through the one global instance, get_k2_geores(); an
// operation that needs other tolerances saves it, assigns its own and restores
// the saved one.

#include "host/geometry/position3.h"

class resolution {
 public:
  static constexpr double _min_resabs = 1e-6;
  static constexpr double _default_resnor = 1e-10;

  resolution() = default;
  // resabs below _min_resabs, or NaN, is raised to _min_resabs. A negative or
  // NaN resnor stands for the default, 1e-10.
  resolution(double resabs, double resnor);

  // Sets resabs with the same clamping as the constructor and records
  // grid_mode, a hint for the code that reads the tolerance: 0 while building
  // geometry, 2 while recognising shapes in measured data. grid_mode itself
  // changes no tolerance.
  void set_resolution(double value, int grid_mode);

  double resabs() const { return resabs_; }
  double resabs_sqr() const { return resabs_sqr_; }
  double resnor() const { return resnor_; }
  int grid_mode() const { return grid_mode_; }

  // |v| <= resabs: the edge belongs to zero. NaN is never zero.
  bool zero(double v) const { return zero(v, resabs_); }
  // dist(a, b) <= resabs, tested on squares so no root is taken. A NaN
  // coordinate makes points unequal.
  bool equal(const POSITION3& a, const POSITION3& b) const { return dist2(a, b) <= resabs_sqr_; }

  static bool zero(double v, double tol) { return v <= tol && -v <= tol; }
  static bool equal(const POSITION3& a, const POSITION3& b, double tol) {
    return dist2(a, b) <= tol * tol;
  }

  static double inq_min_resabs() { return _min_resabs; }

 private:
  static double clamp_resabs(double v);

  double resabs_ = _min_resabs;
  double resabs_sqr_ = _min_resabs * _min_resabs;
  double resnor_ = _default_resnor;
  int grid_mode_ = 0;
};

// The kernel's tolerances: one instance for the program, at the defaults until
// someone assigns to it.
resolution& get_k2_geores();

// Keeps the global resolution of the moment it was made and puts it back
// when the scope ends, on every path: an operation that works at tolerances
// of its own assigns them in between.
class GLOBAL_RESOLUTION_SCOPE {
 public:
  GLOBAL_RESOLUTION_SCOPE() : saved_(get_k2_geores()) {}
  ~GLOBAL_RESOLUTION_SCOPE() { get_k2_geores() = saved_; }
  GLOBAL_RESOLUTION_SCOPE(const GLOBAL_RESOLUTION_SCOPE&) = delete;
  GLOBAL_RESOLUTION_SCOPE& operator=(const GLOBAL_RESOLUTION_SCOPE&) = delete;

 private:
  resolution saved_;
};
