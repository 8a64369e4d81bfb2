#pragma once
// Numerical constants of the host's geometry. The special values are spelled
// through functions so that code reads as intent (host_nan() for "no answer")
// rather than as numeric_limits plumbing.

#include <limits>

inline constexpr double HOST_PI = 3.141592653589793238462643383279502884;
inline constexpr double HOST_TWO_PI = 2.0 * HOST_PI;
inline constexpr double HOST_HALF_PI = 0.5 * HOST_PI;

// A quiet NaN: the answer of a numerical question that has none (the direction
// of a zero vector, the middle of an empty interval).
constexpr double host_nan() {
  return std::numeric_limits<double>::quiet_NaN();
}
constexpr double host_pos_inf() {
  return std::numeric_limits<double>::infinity();
}
constexpr double host_neg_inf() {
  return -std::numeric_limits<double>::infinity();
}

// True for every NaN, quiet or signalling. Written as a self-comparison so that
// it also works in constant expressions.
constexpr bool host_is_nan(double v) {
  return v != v;
}
