// Steepest descent over the axis direction, with a step length carried from
// step to step, and the fitter's state for undo.

#include "lumesh/reverse_engineering/gradient_descent_fitter.h"

#include <cmath>

#include "host/geometry/constants.h"

namespace {

// A fitter's whole life may take this many steps and one more; beyond it
// every fit takes one step.
constexpr unsigned int kStepBudget = 800;

// Halving ends when the last move was at most 1e-12 radians long.
constexpr double kSmallestMove2 = 1e-24;

// Directions this close to ±z take alpha = 0: atan2 of two tiny components
// is noise.
constexpr double kPoleZ = 0.9999999999;

// Folds into [0, 2π] from either side; a value already inside is unchanged.
double fold_two_pi(double x) {
  if (x < 0.0) return std::fmod(x, HOST_TWO_PI) + HOST_TWO_PI;
  if (x > HOST_TWO_PI) return std::fmod(x, HOST_TWO_PI);
  return x;
}

}  // namespace

GRADIENT_DESCENT_FITTER::GRADIENT_DESCENT_FITTER()
    : initial_parameters_(host_nan(), host_nan()),
      saved_initial_parameters_(host_nan(), host_nan()) {}

GRADIENT_DESCENT_FITTER::~GRADIENT_DESCENT_FITTER() = default;

const VECTOR2& GRADIENT_DESCENT_FITTER::get_fitting_parameters() const {
  static const VECTOR2 none(host_nan(), host_nan());
  return current_energy_ != nullptr ? current_energy_->get_parameters() : none;
}

VECTOR2 GRADIENT_DESCENT_FITTER::compute_polar_coordinates(const UNITVEC3& a) {
  double alpha = std::fabs(a.z()) > kPoleZ ? 0.0 : std::atan2(a.y(), a.x());
  double beta = std::acos(a.z());
  // acos answers in [0, π]; the two corrections only guard that range.
  if (beta < 0.0) beta += HOST_TWO_PI;
  if (beta > HOST_PI) {
    beta -= HOST_PI;
    alpha += HOST_PI;
  }
  alpha = std::fmod(alpha, HOST_TWO_PI);
  if (alpha < 0.0) alpha += HOST_TWO_PI;
  return VECTOR2(alpha, beta);
}

surface* GRADIENT_DESCENT_FITTER::compute_fitted_surface(std::vector<POSITION3>& centered_points) {
  if (host_is_nan(initial_parameters_.x()) || host_is_nan(initial_parameters_.y())) return nullptr;
  current_energy_.reset(compute_surface_energy(initial_parameters_, centered_points));
  evaluation_count_ = 1;
  double step = 1.0;
  for (;;) {
    std::unique_ptr<SURFACE_ENERGY> next = gradient_descent_step(*current_energy_, step);
    if (next == nullptr) break;
    current_energy_ = std::move(next);
    if (step_count_ > kStepBudget) break;
  }
  return current_energy_->get_surface(get_center_of_gravity());
}

std::unique_ptr<SURFACE_ENERGY> GRADIENT_DESCENT_FITTER::gradient_descent_step(
    const SURFACE_ENERGY& current, double& step) {
  ++step_count_;
  const VECTOR2 gradient = current.compute_partial_derivatives();
  const double gx = gradient.x();
  const double gy = gradient.y();
  double dx = gx * step;
  double dy = gy * step;
  // No move longer than a full turn: keep its remainder, and scale the other
  // component with it so that the direction stays the gradient's.
  if (std::fabs(dx) > HOST_TWO_PI) {
    step = std::fmod(dx, HOST_TWO_PI) / gx;
    dx = gx * step;
    dy = gy * step;
  }
  if (std::fabs(dy) > HOST_TWO_PI) {
    step = std::fmod(dy, HOST_TWO_PI) / gy;
    dx = gx * step;
    dy = gy * step;
  }

  const VECTOR2& from = current.get_parameters();
  double alpha = from.x() - dx;
  double beta = fold_two_pi(from.y() - dy);
  // beta in (π, 2π] is the same line with the sense reversed; a cylinder
  // doesn't care about the sense, so alpha stays.
  if (beta > HOST_PI) beta -= HOST_PI;
  // Keep the axis in the upper half space: turn it over.
  if (beta > HOST_HALF_PI) {
    alpha += HOST_PI;
    beta = HOST_PI - beta;
  }
  alpha = fold_two_pi(alpha);

  const std::vector<POSITION3>& points = *current.get_points();
  std::unique_ptr<SURFACE_ENERGY> next(compute_surface_energy(VECTOR2(alpha, beta), points));
  ++evaluation_count_;
  double s = step;
  // Shorten the move until the energy no longer rises. The shortened moves
  // are not folded into range: every (alpha, beta) names an axis, so the
  // energy doesn't need it, but the parameters that the descent reports may
  // then lie outside the folded range.
  while (*next > current) {
    if (!(dx * dx + dy * dy > kSmallestMove2)) break;
    s *= 0.5;
    dx = gx * s;
    dy = gy * s;
    next.reset(compute_surface_energy(from - VECTOR2(dx, dy), points));
    ++evaluation_count_;
  }
  step = s == step ? s * 1.1 : s;
  if (current > *next) return next;
  return nullptr;
}

void GRADIENT_DESCENT_FITTER::save_current_state() {
  saved_initial_parameters_ = initial_parameters_;
  saved_evaluation_count_ = evaluation_count_;
  saved_step_count_ = step_count_;
  saved_energy_ = std::move(current_energy_);
  SURFACE_FITTER::save_current_state();
}

void GRADIENT_DESCENT_FITTER::restore_saved_state() {
  initial_parameters_ = saved_initial_parameters_;
  evaluation_count_ = saved_evaluation_count_;
  step_count_ = saved_step_count_;
  current_energy_ = std::move(saved_energy_);
  SURFACE_FITTER::restore_saved_state();
}
