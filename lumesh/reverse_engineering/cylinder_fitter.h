#pragma once
// CYLINDER_FITTER: fits a circular cylinder to a cloud of points by a descent
// over its axis direction; centre and radius come in closed form for each
// axis (CYLINDER_ENERGY). Give it a start with set_initial_fitting_parameters
// before the first fit, or every fit fails.

#include <vector>

#include "lumesh/reverse_engineering/gradient_descent_fitter.h"

class CYLINDER_FITTER : public GRADIENT_DESCENT_FITTER {
 public:
  CYLINDER_FITTER() = default;
  ~CYLINDER_FITTER() override = default;

 protected:
  // A new CYLINDER_ENERGY; the caller owns it.
  SURFACE_ENERGY* compute_surface_energy(const VECTOR2& parameters,
                                         const std::vector<POSITION3>& points) const override;
};
