// The plane fit: closed form through the scatter matrix, kept incrementally,
// with the distance bound that spares most full measurements.

#include "lumesh/reverse_engineering/plane_fitter.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "host/base/mod_info.h"
#include "host/geometry/constants.h"
#include "host/kernel/geometry/plane.h"
#include "lumesh/reverse_engineering/energy_matrix3x3.h"

PLANE_FITTER::PLANE_FITTER() : goal_(host_nan()) {}

plane* PLANE_FITTER::plane_of(ENERGY_MATRIX3x3& matrix, const POSITION3& center) {
  EIGENSYSTEM3x3 system = matrix.compute_eigensystem();
  if (!system.IsValid()) return nullptr;
  // The smallest magnitude; the lower index on a tie.
  int smallest = 0;
  for (int k = 1; k < 3; ++k) {
    if (std::fabs(system[k].first) < std::fabs(system[smallest].first)) smallest = k;
  }
  const UNITVEC3 n = system[smallest].second;
  try {
    plane* const pl = new plane(center, n);
    normal_ = n;
    return pl;
  } catch (const TV_EXCEPTION&) {
    return nullptr;  // a NaN centre or normal: no plane through these points
  }
}

surface* PLANE_FITTER::compute_fitted_surface(std::vector<POSITION3>& centered_points) {
  if (centered_points.size() < 3) return nullptr;
  ENERGY_MATRIX3x3 matrix(centered_points);
  return plane_of(matrix, get_center_of_gravity());
}

void PLANE_FITTER::add_moments(std::uint64_t upto) {
  const std::vector<POSITION3>& points = get_points();
  MOMENTS& m = moments_;
  if (m.count == 0 && upto > 0) m.origin = points[0];
  for (std::uint64_t i = m.count; i < upto; ++i) {
    const VECTOR3 d = points[i] - m.origin;
    const double x[3] = {d.x(), d.y(), d.z()};
    const double n = static_cast<double>(i + 1);
    double before[3];
    for (int k = 0; k < 3; ++k) {
      before[k] = x[k] - m.mean[k];
      m.mean[k] += before[k] / n;
    }
    for (int r = 0; r < 3; ++r) {
      const double after = x[r] - m.mean[r];
      for (int c = r; c < 3; ++c) m.scatter[r][c] += before[c] * after;
    }
  }
  m.count = std::max(m.count, upto);
}

void PLANE_FITTER::fit_points() {
  const std::uint64_t n = get_point_count();
  if (n < moments_.count) moments_ = MOMENTS();  // points were taken back under us
  add_moments(n);
  const MOMENTS& m = moments_;
  const POSITION3 center = m.origin + VECTOR3(m.mean[0], m.mean[1], m.mean[2]);
  if (n < 3) {
    set_fit_result(center, nullptr, 0.0);
    return;
  }
  double scatter[3][3];
  for (int r = 0; r < 3; ++r) {
    for (int c = r; c < 3; ++c) scatter[r][c] = scatter[c][r] = m.scatter[r][c];
  }
  ENERGY_MATRIX3x3 matrix(scatter);
  plane* const pl = plane_of(matrix, center);
  if (pl == nullptr) {
    set_fit_result(center, nullptr, 0.0);
    return;
  }
  double precision = host_pos_inf();
  if (goal_ >= 0.0) precision = bound_distance(*pl);
  if (!(precision <= goal_)) precision = measure_exactly(*pl);
  set_fit_result(center, pl, precision);
}

double PLANE_FITTER::bound_distance(const plane& pl) {
  BOUND_FRAME& f = frame_;
  if (!f.valid) return host_pos_inf();
  const std::vector<POSITION3>& points = get_points();
  for (std::uint64_t i = f.count; i < points.size(); ++i) {
    const VECTOR3 d = points[i] - f.root;
    for (int k = 0; k < 3; ++k) {
      const double c = dot(d, f.axis[k]);
      f.lo[k] = std::min(f.lo[k], c);
      f.hi[k] = std::max(f.hi[k], c);
      f.reach = std::max(f.reach, std::fabs(c));
    }
  }
  f.count = points.size();
  // p = root + Σ c_k axis_k, so n·(p - r) = n·(root - r) + Σ (n·axis_k) c_k,
  // and over the box of the ranges each term takes its extremes at an end.
  const UNITVEC3& n = pl.nor();
  double lo = dot(f.root - pl.root(), n);
  double hi = lo;
  for (int k = 0; k < 3; ++k) {
    const double w = dot(n, f.axis[k]);
    lo += std::min(w * f.lo[k], w * f.hi[k]);
    hi += std::max(w * f.lo[k], w * f.hi[k]);
  }
  // Rounding: the frame is orthonormal to a few ulps, and the kernel's own
  // distance is rounded too; both errors scale with the coordinates.
  const double scale = f.reach + (f.root - pl.root()).len() +
                       std::fabs(f.root.x()) + std::fabs(f.root.y()) + std::fabs(f.root.z());
  const double allowance = 64.0 * std::numeric_limits<double>::epsilon() * scale;
  const double bound = std::max(std::fabs(lo), std::fabs(hi)) + allowance;
  return host_is_nan(bound) ? host_pos_inf() : bound;
}

double PLANE_FITTER::measure_exactly(const plane& pl) {
  BOUND_FRAME& f = frame_;
  f = BOUND_FRAME();
  f.root = pl.root();
  f.axis[0] = pl.u_dir();
  f.axis[1] = pl.v_dir();
  f.axis[2] = pl.nor();
  for (int k = 0; k < 3; ++k) {
    f.lo[k] = host_pos_inf();
    f.hi[k] = host_neg_inf();
  }
  double precision = 0.0;
  for (const POSITION3& p : get_points()) {
    // The kernel's distance: |signed_distance|, as its closest point gives.
    const double d = std::fabs(pl.signed_distance(p));
    if (d > precision || host_is_nan(d)) precision = d;
    if (host_is_nan(precision)) break;
    const VECTOR3 r = p - f.root;
    for (int k = 0; k < 3; ++k) {
      const double c = dot(r, f.axis[k]);
      f.lo[k] = std::min(f.lo[k], c);
      f.hi[k] = std::max(f.hi[k], c);
      f.reach = std::max(f.reach, std::fabs(c));
    }
  }
  f.count = get_point_count();
  f.valid = !host_is_nan(precision) && std::isfinite(f.reach);
  return precision;
}

void PLANE_FITTER::save_current_state() {
  saved_normal_ = normal_;
  saved_moments_ = moments_;
  saved_frame_ = frame_;
  SURFACE_FITTER::save_current_state();
}

void PLANE_FITTER::restore_saved_state() {
  normal_ = saved_normal_;
  moments_ = saved_moments_;
  frame_ = saved_frame_;
  SURFACE_FITTER::restore_saved_state();
}
