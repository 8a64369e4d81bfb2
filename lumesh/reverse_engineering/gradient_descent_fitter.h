#pragma once
// GRADIENT_DESCENT_FITTER: a fitter whose surface is the minimum of an energy
// over the axis direction (alpha, beta), found by steepest descent from a
// start that the caller gives (typically the cross product of two adjacent
// facet normals). The derived fitter supplies the energy.
//
// Descent. A step moves against the gradient by step · gradient, where the
// step length lives through the whole fit: it starts at 1, grows by a tenth
// after a move that needed no shortening, is halved until the energy drops,
// and is cut so that no single move exceeds a full turn. The descent stops
// at the first step that finds no strictly lower energy (equal or NaN
// energies included) or when the fitter's step budget is spent.
//
// The budget. The step count is never reset by a fit, only by undo (which
// gives back the steps of the fit it takes back). A fitter may take 801 steps
// over its whole life; after that every fit still takes exactly one. Region
// growing refits one fitter many times, so the budget bounds the cost of the
// whole growth, not of one fit.

#include <memory>
#include <vector>

#include "host/geometry/position3.h"
#include "host/geometry/unitvec3.h"
#include "host/geometry/vector2.h"
#include "lumesh/reverse_engineering/surface_energy.h"
#include "lumesh/reverse_engineering/surface_fitter.h"

class GRADIENT_DESCENT_FITTER : public SURFACE_FITTER {
 public:
  ~GRADIENT_DESCENT_FITTER() override;

  // The start of the descent of the next fits: the polar coordinates of an
  // axis guess (see compute_polar_coordinates). A NaN component makes every
  // fit fail.
  void set_initial_fitting_parameters(const VECTOR2& parameters) {
    initial_parameters_ = parameters;
  }
  // The parameters where the last descent ended; (NaN, NaN) when there is no
  // current energy (before a fit, after a failed one, after note_state).
  const VECTOR2& get_fitting_parameters() const;

  // The polar coordinates (alpha, beta) of a unit direction, with alpha in
  // [0, 2π) and beta in [0, π]; alpha is 0 for directions within about
  // 1.4e-5 radians of ±z.
  static VECTOR2 compute_polar_coordinates(const UNITVEC3& axis);

  // Energies evaluated by the last fit, its start included.
  unsigned int get_energy_evaluation_count() const { return evaluation_count_; }
  // Steps taken over the fitter's life (see the budget above).
  unsigned int get_gradient_descent_step_count() const { return step_count_; }

 protected:
  GRADIENT_DESCENT_FITTER();

  // A new energy at `parameters` over `points` (centred); the caller owns it.
  virtual SURFACE_ENERGY* compute_surface_energy(const VECTOR2& parameters,
                                                 const std::vector<POSITION3>& points) const = 0;

  // The descent from the initial parameters; the surface of its last energy.
  // Null for NaN initial parameters, or when that energy makes no surface.
  // O(steps · n) energy evaluations of O(n) each.
  surface* compute_fitted_surface(std::vector<POSITION3>& centered_points) override;
  // Also keep the initial parameters, both counts and the current energy
  // (moved: the current energy is null afterwards); the base runs last.
  void save_current_state() override;
  // The reverse: the saved values come back and the saved energy becomes
  // the current one; the base runs last.
  void restore_saved_state() override;

  // One step from `current` with the step length `step`, which it updates
  // for the next step. Counts one step and every energy it evaluates. A new
  // energy strictly below the current one, or null when none was found.
  std::unique_ptr<SURFACE_ENERGY> gradient_descent_step(const SURFACE_ENERGY& current,
                                                        double& step);

 private:
  VECTOR2 initial_parameters_;
  VECTOR2 saved_initial_parameters_;
  std::unique_ptr<SURFACE_ENERGY> current_energy_;  // owned; last state of the descent
  std::unique_ptr<SURFACE_ENERGY> saved_energy_;    // owned; what undo brings back
  unsigned int evaluation_count_ = 0;
  unsigned int saved_evaluation_count_ = 0;
  unsigned int step_count_ = 0;
  unsigned int saved_step_count_ = 0;
};
