#pragma once
// POSITION3: a point in model space. Points and vectors are different types so
// that the affine rules are checked by the compiler: point - point is a vector,
// point + vector is a point, and point + point does not compile. A transform
// moves a point by its translation and leaves a vector's position alone.

#include <cmath>

#include "host/base/assertion.h"
#include "host/geometry/constants.h"
#include "host/geometry/vector3.h"

class POSITION3 {
 public:
  constexpr POSITION3() = default;  // the origin
  constexpr POSITION3(double x, double y, double z) : c_{x, y, z} {}
  // The origin displaced by v.
  constexpr explicit POSITION3(const VECTOR3& v) : c_{v.x(), v.y(), v.z()} {}

  constexpr double x() const { return c_[0]; }
  constexpr double y() const { return c_[1]; }
  constexpr double z() const { return c_[2]; }

  // i in 0..2. A bad index is reported through the assertion service; the
  // read then answers NaN and the write lands nowhere.
  double operator[](int i) const {
    HOST_ASSERT(0 <= i && i < 3, "POSITION3 coordinate index out of range");
    return (0 <= i && i < 3) ? c_[i] : host_nan();
  }
  double& operator[](int i) {
    HOST_ASSERT(0 <= i && i < 3, "POSITION3 coordinate index out of range");
    return (0 <= i && i < 3) ? c_[i] : lost_write_slot();
  }

  constexpr POSITION3& operator+=(const VECTOR3& v) {
    c_[0] += v.x();
    c_[1] += v.y();
    c_[2] += v.z();
    return *this;
  }
  constexpr POSITION3& operator-=(const VECTOR3& v) {
    c_[0] -= v.x();
    c_[1] -= v.y();
    c_[2] -= v.z();
    return *this;
  }

  // Exact, coordinate by coordinate; a NaN coordinate makes points unequal.
  // Tolerant comparison belongs to resolution::equal.
  friend constexpr bool operator==(const POSITION3& a, const POSITION3& b) {
    return a.c_[0] == b.c_[0] && a.c_[1] == b.c_[1] && a.c_[2] == b.c_[2];
  }

  // True when every coordinate is a finite number.
  bool is_finite() const {
    return std::isfinite(c_[0]) && std::isfinite(c_[1]) && std::isfinite(c_[2]);
  }

 private:
  // Target of writes through a bad index: one per thread, never read back.
  static double& lost_write_slot() {
    thread_local double slot = 0.0;
    return slot;
  }

  double c_[3] = {0.0, 0.0, 0.0};
};

constexpr VECTOR3::VECTOR3(const POSITION3& p) : c_{p.x(), p.y(), p.z()} {}

constexpr POSITION3 operator+(POSITION3 p, const VECTOR3& v) {
  return p += v;
}
constexpr POSITION3 operator+(const VECTOR3& v, POSITION3 p) {
  return p += v;
}
constexpr POSITION3 operator-(POSITION3 p, const VECTOR3& v) {
  return p -= v;
}
constexpr VECTOR3 operator-(const POSITION3& a, const POSITION3& b) {
  return VECTOR3(a.x() - b.x(), a.y() - b.y(), a.z() - b.z());
}

constexpr double dist2(const POSITION3& a, const POSITION3& b) {
  return (a - b).len2();
}
inline double dist(const POSITION3& a, const POSITION3& b) {
  return std::sqrt(dist2(a, b));
}

// The point at parameter t on the line through a (t = 0) and b (t = 1); t
// outside [0, 1] extrapolates. Written as (1-t)·a + t·b so that the ends are
// reproduced exactly for finite points: interpolate(1, a, b) == b, bit for bit.
constexpr POSITION3 interpolate(double t, const POSITION3& a, const POSITION3& b) {
  const double s = 1.0 - t;
  return POSITION3(s * a.x() + t * b.x(), s * a.y() + t * b.y(), s * a.z() + t * b.z());
}
