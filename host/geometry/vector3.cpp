#include "host/geometry/vector3.h"

#include <algorithm>

namespace {

// Squared lengths inside this range come from components whose squares neither
// underflow nor overflow, so the direct quotient v / |v| is accurate.
constexpr double kSafeLen2Low = 1e-280;
constexpr double kSafeLen2High = 1e280;

}  // namespace

VECTOR3 VECTOR3::norm() const {
  if (!is_finite()) return VECTOR3(host_nan(), host_nan(), host_nan());
  const double l2 = len2();
  if (l2 > kSafeLen2Low && l2 < kSafeLen2High) return *this / std::sqrt(l2);
  // Rescale by the largest magnitude first so that squaring cannot underflow
  // or overflow; the scaled vector has length in [1, sqrt(3)].
  const double m = std::max({std::fabs(c_[0]), std::fabs(c_[1]), std::fabs(c_[2])});
  if (m == 0.0) return VECTOR3(host_nan(), host_nan(), host_nan());
  const VECTOR3 s = *this / m;
  return s / std::sqrt(s.len2());
}
