#pragma once
// PLANE_FITTER: the least-squares plane of a point cloud, in closed form. The
// normal is the eigenvector of the smallest (in magnitude) eigenvalue of the
// scatter matrix about the centre of gravity, the plane goes through that
// centre; the sign of the normal is whatever the eigenvector has.
//
// A region grows one polygon at a time and refits after each, so the fitter
// keeps its work incremental: the centre and the scatter matrix are updated
// per new point (Welford's update, stable where sums of squares cancel), so a
// refit costs O(new points), not O(all points). The precision (the largest
// distance of any point from the plane) needs every point in general; with a
// precision goal set, a fit is measured point by point only when a cheap
// bound cannot prove that the precision is within the goal (see
// set_precision_goal).

#include <cstdint>
#include <vector>

#include "host/geometry/position3.h"
#include "host/geometry/unitvec3.h"
#include "lumesh/reverse_engineering/surface_fitter.h"

class ENERGY_MATRIX3x3;
class plane;

class PLANE_FITTER : public SURFACE_FITTER {
 public:
  // Fitted and saved normal (1, 0, 0); no goal.
  PLANE_FITTER();

  // The normal of the last fit that made a plane.
  const UNITVEC3& get_fitted_normal() const { return normal_; }

  // Lets fits whose largest distance is provably within `goal` skip the
  // measurement of every point: the precision is then an upper bound of the
  // largest distance that is itself within the goal. A fit that is not within
  // the goal is always measured exactly, so "precision <= goal" has the same
  // answer either way, and an exact measurement costs O(points) only when the
  // bound, carried from the last exact one, has worn out. NaN (the default)
  // measures every fit.
  void set_precision_goal(double goal) { goal_ = goal; }

 protected:
  // Fewer than 3 points, or an eigensystem that does not converge: null.
  surface* compute_fitted_surface(std::vector<POSITION3>& centered_points) override;
  void save_current_state() override;
  void restore_saved_state() override;
  void fit_points() override;

 private:
  // Centre and scatter of the first `count` points, relative to `origin`
  // (the first point), by Welford's update.
  struct MOMENTS {
    std::uint64_t count = 0;
    POSITION3 origin;
    double mean[3] = {0.0, 0.0, 0.0};
    double scatter[3][3] = {{0.0, 0.0, 0.0}, {0.0, 0.0, 0.0}, {0.0, 0.0, 0.0}};
  };
  // The frame of the last exactly measured plane and, per axis, the range of
  // the coordinates in it of the first `count` points: from these a bound of
  // every point's distance from any other plane follows in O(1).
  struct BOUND_FRAME {
    bool valid = false;
    std::uint64_t count = 0;
    POSITION3 root;
    UNITVEC3 axis[3];  // u, v, normal of that plane
    double lo[3] = {0.0, 0.0, 0.0};
    double hi[3] = {0.0, 0.0, 0.0};
    double reach = 0.0;  // largest |coordinate|, for the rounding allowance
  };

  // The plane through center normal to the axis of the matrix's smallest
  // eigenvalue; sets normal_. Null when the eigensystem is invalid or the
  // plane can't be made (NaN data).
  plane* plane_of(ENERGY_MATRIX3x3& matrix, const POSITION3& center);
  void add_moments(std::uint64_t upto);
  // An upper bound of the distance of every point from pl, or +inf when the
  // frame can't give one. Extends the frame over the points it lacks.
  double bound_distance(const plane& pl);
  // The largest distance of every point from pl, and the frame made anew.
  double measure_exactly(const plane& pl);

  UNITVEC3 normal_;
  UNITVEC3 saved_normal_;
  MOMENTS moments_;
  MOMENTS saved_moments_;
  BOUND_FRAME frame_;
  BOUND_FRAME saved_frame_;
  double goal_;
};
