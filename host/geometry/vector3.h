#pragma once
// VECTOR3: a displacement in model space (a difference of positions, an axis, a
// scaled direction). Arithmetic is plain IEEE arithmetic on the components;
// only the normalising operations look at degenerate input, and they answer
// with NaN components rather than an error, because a zero direction is an
// expected numerical outcome that the caller tests for.

#include <cmath>

#include "host/base/assertion.h"
#include "host/geometry/constants.h"

class POSITION3;
class UNITVEC3;

class VECTOR3 {
 public:
  constexpr VECTOR3() = default;  // zero
  constexpr VECTOR3(double x, double y, double z) : c_{x, y, z} {}
  // The displacement from the origin to p. Defined in position3.h.
  constexpr explicit VECTOR3(const POSITION3& p);

  constexpr double x() const { return c_[0]; }
  constexpr double y() const { return c_[1]; }
  constexpr double z() const { return c_[2]; }

  // i in 0..2. A bad index is reported through the assertion service; the
  // read then answers NaN and the write lands nowhere.
  double operator[](int i) const {
    HOST_ASSERT(0 <= i && i < 3, "VECTOR3 component index out of range");
    return (0 <= i && i < 3) ? c_[i] : host_nan();
  }
  double& operator[](int i) {
    HOST_ASSERT(0 <= i && i < 3, "VECTOR3 component index out of range");
    return (0 <= i && i < 3) ? c_[i] : lost_write_slot();
  }

  // Euclidean length. Computed as sqrt(len2()): components beyond about 1e154
  // overflow to infinity; norm() does not have that limit.
  double len() const { return std::sqrt(len2()); }
  constexpr double len2() const { return c_[0] * c_[0] + c_[1] * c_[1] + c_[2] * c_[2]; }

  // The unit vector of the same direction. A zero vector, or one with a NaN or
  // infinite component, has no direction: every component of the answer is NaN.
  // Tiny and huge finite vectors are rescaled first, so they normalise well.
  VECTOR3 norm() const;
  // norm() as a UNITVEC3, with the same rule. Defined in unitvec3.h.
  inline UNITVEC3 uvec3() const;

  constexpr VECTOR3 operator-() const { return VECTOR3(-c_[0], -c_[1], -c_[2]); }
  constexpr VECTOR3& operator+=(const VECTOR3& v) {
    c_[0] += v.c_[0];
    c_[1] += v.c_[1];
    c_[2] += v.c_[2];
    return *this;
  }
  constexpr VECTOR3& operator-=(const VECTOR3& v) {
    c_[0] -= v.c_[0];
    c_[1] -= v.c_[1];
    c_[2] -= v.c_[2];
    return *this;
  }
  constexpr VECTOR3& operator*=(double s) {
    c_[0] *= s;
    c_[1] *= s;
    c_[2] *= s;
    return *this;
  }
  constexpr VECTOR3& operator/=(double s) {
    c_[0] /= s;
    c_[1] /= s;
    c_[2] /= s;
    return *this;
  }

  // Exact, component by component; a NaN component makes vectors unequal.
  friend constexpr bool operator==(const VECTOR3& a, const VECTOR3& b) {
    return a.c_[0] == b.c_[0] && a.c_[1] == b.c_[1] && a.c_[2] == b.c_[2];
  }

  // True when every component is a finite number.
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

constexpr VECTOR3 operator+(VECTOR3 a, const VECTOR3& b) {
  return a += b;
}
constexpr VECTOR3 operator-(VECTOR3 a, const VECTOR3& b) {
  return a -= b;
}
constexpr VECTOR3 operator*(VECTOR3 v, double s) {
  return v *= s;
}
constexpr VECTOR3 operator*(double s, VECTOR3 v) {
  return v *= s;
}
constexpr VECTOR3 operator/(VECTOR3 v, double s) {
  return v /= s;
}

constexpr double dot(const VECTOR3& a, const VECTOR3& b) {
  return a.x() * b.x() + a.y() * b.y() + a.z() * b.z();
}

// Right-handed: cross((1,0,0), (0,1,0)) == (0,0,1).
constexpr VECTOR3 cross(const VECTOR3& a, const VECTOR3& b) {
  return VECTOR3(a.y() * b.z() - a.z() * b.y(), a.z() * b.x() - a.x() * b.z(),
                 a.x() * b.y() - a.y() * b.x());
}
