#pragma once
// UNITVEC3: a direction. Every constructor normalises, and the operations that
// could change the length are withheld, so a UNITVEC3 built from a proper
// direction has length 1 to rounding. Built from a zero, NaN or infinite vector
// it has NaN components: the caller tests with is_finite() (or host_is_nan on a
// component) instead of catching an error.
//
// A UNITVEC3 is a VECTOR3, so it goes wherever a const VECTOR3& is expected;
// arithmetic on it (u * 2.0, u + v) gives a plain VECTOR3.

#include "host/geometry/vector3.h"

class UNITVEC3 : public VECTOR3 {
 public:
  constexpr UNITVEC3() : VECTOR3(1.0, 0.0, 0.0) {}
  UNITVEC3(double x, double y, double z) : VECTOR3(VECTOR3(x, y, z).norm()) {}
  explicit UNITVEC3(const VECTOR3& v) : VECTOR3(v.norm()) {}

  constexpr UNITVEC3 operator-() const { return UNITVEC3(VECTOR3::operator-(), kAlreadyUnit); }

  // Reading a component is allowed; writing one would break the unit length.
  double operator[](int i) const { return VECTOR3::operator[](i); }

  UNITVEC3& operator+=(const VECTOR3&) = delete;
  UNITVEC3& operator-=(const VECTOR3&) = delete;
  UNITVEC3& operator*=(double) = delete;
  UNITVEC3& operator/=(double) = delete;

 private:
  enum ALREADY_UNIT { kAlreadyUnit };
  // For values known to be unit already (the negation of a unit vector).
  constexpr UNITVEC3(const VECTOR3& v, ALREADY_UNIT) : VECTOR3(v) {}
};

inline UNITVEC3 VECTOR3::uvec3() const {
  return UNITVEC3(*this);
}
