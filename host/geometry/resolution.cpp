#include "host/geometry/resolution.h"

double resolution::clamp_resabs(double v) {
  // Written so that NaN fails the test and is raised too.
  return v >= _min_resabs ? v : _min_resabs;
}

resolution::resolution(double resabs, double resnor)
    : resabs_(clamp_resabs(resabs)),
      resabs_sqr_(resabs_ * resabs_),
      resnor_(resnor >= 0.0 ? resnor : _default_resnor) {}

void resolution::set_resolution(double value, int grid_mode) {
  resabs_ = clamp_resabs(value);
  resabs_sqr_ = resabs_ * resabs_;
  grid_mode_ = grid_mode;
}

resolution& get_k2_geores() {
  static resolution global;
  return global;
}
