#include "host/kernel/geometry/pt_on_sf.h"

#include "host/kernel/geometry/surface.h"

POSITION3 pt_on_sf::evaluate(int order, VECTOR3* du, VECTOR3* dv) const {
  if (sf_ == nullptr) {
    const VECTOR3 nan3(host_nan(), host_nan(), host_nan());
    if (order >= 1) {
      if (du != nullptr) *du = nan3;
      if (dv != nullptr) *dv = nan3;
    }
    return POSITION3(nan3);
  }
  if (order >= 1 && (du != nullptr || dv != nullptr)) {
    VECTOR3 d_u;
    VECTOR3 d_v;
    sf_->eval_derivs(u_, v_, d_u, d_v);
    if (du != nullptr) *du = d_u;
    if (dv != nullptr) *dv = d_v;
  }
  return sf_->eval(u_, v_);
}

UNITVEC3 pt_on_sf::evaluate_nor() const {
  if (sf_ == nullptr) return UNITVEC3(VECTOR3());  // a zero vector normalises to NaN
  return sf_->eval_normal(u_, v_);
}
