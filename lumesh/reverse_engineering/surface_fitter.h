#pragma once
// SURFACE_FITTER: fits one analytic surface to a growing cloud of points and
// tells how far the farthest point lies from it. Region growing adds the
// points of a candidate, fits, and takes one step back when the answer is
// bad, so a fitter keeps one level of undo.
//
// Cycle: add_point any number of times; fit_surface; read the surface and
// the precision; then add more points or undo. The fitted and the saved
// surface are kernel surfaces shared by reference count: the fitter holds
// one reference on each while they differ, and releases both when it dies.
//
// The first fit of a fitter saves a point count of 0, so a failed first fit
// cannot be undone, whatever note_state stored before: its points stay.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/base/assertion.h"
#include "host/geometry/constants.h"
#include "host/geometry/position3.h"
#include "lumesh/mesh/mesh_vertex.h"

class surface;

class SURFACE_FITTER {
 public:
  virtual ~SURFACE_FITTER();

  SURFACE_FITTER(const SURFACE_FITTER&) = delete;
  SURFACE_FITTER& operator=(const SURFACE_FITTER&) = delete;

  // Appends; no fit.
  void add_point(const POSITION3& p) { points_.push_back(p); }

  // Fits all points added so far. When nothing was added since the last fit,
  // answers whether a fitted surface exists and changes nothing (the saved
  // state included). Otherwise arms the undo (save_current_state), fits, and
  // measures the precision: the largest distance of any point from the new
  // surface (NaN when a distance is NaN). True when a surface came out; a
  // poor precision is not a failure here, the caller judges it.
  bool fit_surface();

  // NaN without a fitted surface; otherwise the distance that the surface's
  // closest-point operation delivers. A point that the surface can't
  // measure is reported through the assertion service (a point on a
  // cylinder's axis has a distance, the radius, and is not); the distance is
  // used as it is.
  double measure_distance(const POSITION3& p) const;
  // The largest measure_distance of the vertices' locations; 0.0 for none.
  // Any range of MESH_VERTEX pointers.
  template <class VERTEX_RANGE>
  double measure_max_distance(const VERTEX_RANGE& vertices) const {
    double d = 0.0;
    for (const MESH_VERTEX* v : vertices) {
      const double dv = measure_distance(v->location());
      if (dv > d || host_is_nan(dv)) d = dv;
      if (host_is_nan(d)) break;
    }
    return d;
  }

  // True when some vertex lies farther than `limit` from the fitted surface
  // or can't be measured: measure_max_distance(vertices) > limit (or NaN),
  // but it stops at the first such vertex, so a far region costs O(1)
  // instead of O(its vertices).
  template <class VERTEX_RANGE>
  bool any_farther_than(const VERTEX_RANGE& vertices, double limit) const {
    for (const MESH_VERTEX* v : vertices) {
      if (!(measure_distance(v->location()) <= limit)) return true;
    }
    return false;
  }

  // Takes back the last fit: the points added since the fit before, the
  // surface, centre and precision of that fit. False, and nothing done, when
  // there is nothing to undo (before the second fit, or twice in a row).
  bool undo();
  // Arms the undo at the present state with the present number of points,
  // fitted or not. The next fit_surface overwrites what this stored.
  void note_state();

  // The fitter's surface (it keeps its reference); null before the first fit
  // and after a failed one.
  surface* get_fitted_surface() const { return fitted_surface_; }
  // Largest distance of a fitted point; +infinity before the first fit.
  double get_fitting_precision() const { return precision_; }
  std::size_t get_point_count() const { return points_.size(); }
  const std::vector<POSITION3>& get_points() const { return points_; }

 protected:
  // Room for 100 points; no surface; precision +infinity; centre NaN.
  SURFACE_FITTER();

  const POSITION3& get_center_of_gravity() const { return center_; }
  std::uint64_t get_fitted_point_count() const { return fitted_count_; }

  // The surface through the points, given centred on their centre of
  // gravity (the caller's copy; it may be changed). A new surface without
  // references, or null when there is none.
  virtual surface* compute_fitted_surface(std::vector<POSITION3>& centered_points) = 0;
  // Derived fitters that keep state of their own extend these two, calling
  // the base last.
  virtual void save_current_state();
  virtual void restore_saved_state();

  // The fit proper, after fit_surface has armed the undo and counted the
  // points: sets the centre, the surface and the precision through
  // set_fit_result. By default it centres a copy of all points, calls
  // compute_fitted_surface on it and measures every point; a fitter that can
  // do the same work incrementally overrides it and must give the same
  // answers.
  virtual void fit_points();
  // Stores the result of a fit. `s` is new (no references) or null; the
  // fitter takes its reference.
  void set_fit_result(const POSITION3& center, surface* s, double precision);

 private:
  std::vector<POSITION3> points_;
  POSITION3 center_;        // of the last fit; NaN before the first
  POSITION3 saved_center_;
  surface* fitted_surface_ = nullptr;  // one reference held; null before a fit, after a failed one
  surface* saved_surface_ = nullptr;   // one reference held while it differs from fitted_surface_
  double precision_;
  double saved_precision_;
  std::uint64_t fitted_count_ = 0;  // points used by the last fit
  std::uint64_t saved_count_ = 0;   // where undo cuts the points; 0: nothing to undo
};
