// The fitter base: the point list, one level of undo, and the precision.

#include "lumesh/reverse_engineering/surface_fitter.h"

#include <cmath>

#include "host/kernel/geometry/pt_on_sf.h"
#include "host/kernel/geometry/surface.h"

SURFACE_FITTER::SURFACE_FITTER()
    : center_(host_nan(), host_nan(), host_nan()),
      saved_center_(host_nan(), host_nan(), host_nan()),
      precision_(host_pos_inf()),
      saved_precision_(host_pos_inf()) {
  points_.reserve(100);
}

SURFACE_FITTER::~SURFACE_FITTER() {
  if (saved_surface_ != nullptr && saved_surface_ != fitted_surface_) saved_surface_->release();
  if (fitted_surface_ != nullptr) fitted_surface_->release();
}

bool SURFACE_FITTER::fit_surface() {
  if (fitted_count_ >= points_.size()) return fitted_surface_ != nullptr;
  save_current_state();
  fitted_count_ = points_.size();
  fit_points();
  return fitted_surface_ != nullptr;
}

void SURFACE_FITTER::fit_points() {
  double sx = 0.0, sy = 0.0, sz = 0.0;
  for (const POSITION3& p : points_) {
    sx += p.x();
    sy += p.y();
    sz += p.z();
  }
  const double n = static_cast<double>(points_.size());
  const POSITION3 center(sx / n, sy / n, sz / n);
  std::vector<POSITION3> centered;
  centered.reserve(points_.size());
  for (const POSITION3& p : points_) {
    centered.emplace_back(p.x() - center.x(), p.y() - center.y(), p.z() - center.z());
  }
  // Publish the centre first: compute_fitted_surface places the surface
  // through get_center_of_gravity().
  center_ = center;
  surface* const s = compute_fitted_surface(centered);
  set_fit_result(center, s, 0.0);
  if (s == nullptr) return;
  double precision = 0.0;
  for (const POSITION3& p : points_) {
    const double d = measure_distance(p);
    if (d > precision || host_is_nan(d)) precision = d;
    if (host_is_nan(precision)) break;
  }
  precision_ = precision;
}

void SURFACE_FITTER::set_fit_result(const POSITION3& center, surface* s, double precision) {
  center_ = center;
  if (s != nullptr) s->acquire();
  // The old fitted surface was handed to the saved state by
  // save_current_state; release it only if it is not the saved one.
  if (fitted_surface_ != nullptr && fitted_surface_ != saved_surface_) fitted_surface_->release();
  fitted_surface_ = s;
  precision_ = s != nullptr ? precision : precision_;
}

double SURFACE_FITTER::measure_distance(const POSITION3& p) const {
  if (fitted_surface_ == nullptr) return host_nan();
  double d = host_nan();
  MOD_INFO* const status = fitted_surface_->distance(p, d);
  // Only the distance is wanted: a point without a unique foot (on a
  // cylinder's axis) still has one, and is no failure here. A point that
  // can't be measured at all is.
  if (status != nullptr && host_is_nan(d)) {
    host_assertion_failed("!status", "surface closest point failed", __FILE__, __LINE__);
  }
  return d;
}

bool SURFACE_FITTER::undo() {
  if (saved_count_ == 0) return false;
  restore_saved_state();
  return true;
}

void SURFACE_FITTER::note_state() {
  save_current_state();
  saved_count_ = points_.size();
}

void SURFACE_FITTER::save_current_state() {
  saved_count_ = fitted_count_;
  if (saved_surface_ != nullptr && saved_surface_ != fitted_surface_) saved_surface_->release();
  // The fitted surface stays in place until the fit replaces it; the two
  // pointers then share the one reference that the fitter holds.
  saved_surface_ = fitted_surface_;
  saved_center_ = center_;
  saved_precision_ = precision_;
}

void SURFACE_FITTER::restore_saved_state() {
  fitted_count_ = saved_count_;
  saved_count_ = 0;
  if (points_.size() > fitted_count_) points_.resize(fitted_count_);
  if (fitted_surface_ != nullptr && fitted_surface_ != saved_surface_) fitted_surface_->release();
  fitted_surface_ = saved_surface_;
  center_ = saved_center_;
  precision_ = saved_precision_;
  saved_surface_ = nullptr;
}
