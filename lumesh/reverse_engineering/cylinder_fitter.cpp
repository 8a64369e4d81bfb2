// The cylinder fitter: the descent of GRADIENT_DESCENT_FITTER on the
// cylinder energy.

#include "lumesh/reverse_engineering/cylinder_fitter.h"

#include "lumesh/reverse_engineering/cylinder_energy.h"

SURFACE_ENERGY* CYLINDER_FITTER::compute_surface_energy(
    const VECTOR2& parameters, const std::vector<POSITION3>& points) const {
  return new CYLINDER_ENERGY(parameters, points);
}
