#pragma once
// INTERVAL: a closed range of reals [lower, upper], possibly unbounded at
// either end, or empty ("nil"). An interval is nil when lower > upper or when a
// bound is NaN; every operation treats all nil intervals alike, and the ones
// that produce an empty result produce the canonical nil (+inf, -inf).
//
// NaN is no value: adding it to an interval changes nothing, and no interval
// contains it.

#include <algorithm>

#include "host/geometry/constants.h"

class INTERVAL {
 public:
  constexpr INTERVAL() = default;  // nil
  // Stored as given; lower > upper gives a nil interval.
  constexpr INTERVAL(double lower, double upper) : lo_(lower), hi_(upper) {}

  static constexpr INTERVAL nil() { return INTERVAL(); }
  static constexpr INTERVAL inf() { return INTERVAL(host_neg_inf(), host_pos_inf()); }

  constexpr double lower() const { return lo_; }
  constexpr double upper() const { return hi_; }

  // upper - lower; 0 for nil, +inf for an unbounded interval.
  constexpr double len() const { return is_nil() ? 0.0 : hi_ - lo_; }
  // The midpoint; NaN for nil and for an interval unbounded at both ends,
  // +-inf for one unbounded at one end. Halved before adding, so that finite
  // bounds near the largest double do not overflow.
  constexpr double mid() const {
    if (is_nil()) return host_nan();
    if (lo_ == hi_) return lo_;
    return 0.5 * lo_ + 0.5 * hi_;
  }

  constexpr bool is_nil() const { return !(lo_ <= hi_); }
  // Unbounded at both ends: the whole real line.
  constexpr bool is_lropen() const { return lo_ == host_neg_inf() && hi_ == host_pos_inf(); }
  // Not nil, and both bounds are finite numbers.
  constexpr bool is_finite() const {
    return !is_nil() && lo_ > host_neg_inf() && hi_ < host_pos_inf();
  }

  // Contains v, ends included. False for NaN and for a nil interval.
  constexpr bool operator>=(double v) const { return lo_ <= v && v <= hi_; }
  // Contains every point of o, ends included. A nil o is contained in anything,
  // a nil interval contains nothing else.
  constexpr bool operator>=(const INTERVAL& o) const {
    if (o.is_nil()) return true;
    return !is_nil() && lo_ <= o.lo_ && o.hi_ <= hi_;
  }

  // The smallest interval holding this one and v. NaN is ignored.
  constexpr INTERVAL& operator|=(double v) {
    if (host_is_nan(v)) return *this;
    if (is_nil()) {
      lo_ = hi_ = v;
    } else {
      lo_ = std::min(lo_, v);
      hi_ = std::max(hi_, v);
    }
    return *this;
  }
  // The smallest interval holding both; nil is the neutral element.
  constexpr INTERVAL& operator|=(const INTERVAL& o) {
    if (o.is_nil()) return *this;
    if (is_nil()) return *this = o;
    lo_ = std::min(lo_, o.lo_);
    hi_ = std::max(hi_, o.hi_);
    return *this;
  }
  // The common part. Intervals that share only an end meet in a single point
  // (lower == upper), which is not nil.
  constexpr INTERVAL& operator&=(const INTERVAL& o) {
    if (is_nil() || o.is_nil()) return *this = nil();
    lo_ = std::max(lo_, o.lo_);
    hi_ = std::min(hi_, o.hi_);
    if (is_nil()) *this = nil();
    return *this;
  }

  // Moves each end outwards by d (inwards for negative d, which may empty the
  // interval). A nil interval stays nil; a NaN d makes it nil.
  constexpr INTERVAL& grow_abs(double d) {
    if (is_nil()) return *this;
    lo_ -= d;
    hi_ += d;
    if (is_nil()) *this = nil();
    return *this;
  }

  // Equal as sets: the same bounds, or both nil.
  friend constexpr bool operator==(const INTERVAL& a, const INTERVAL& b) {
    if (a.is_nil() || b.is_nil()) return a.is_nil() && b.is_nil();
    return a.lo_ == b.lo_ && a.hi_ == b.hi_;
  }

 private:
  double lo_ = host_pos_inf();
  double hi_ = host_neg_inf();
};

constexpr INTERVAL operator&(INTERVAL a, const INTERVAL& b) {
  return a &= b;
}
constexpr INTERVAL operator|(INTERVAL a, const INTERVAL& b) {
  return a |= b;
}
constexpr INTERVAL operator|(INTERVAL a, double v) {
  return a |= v;
}
