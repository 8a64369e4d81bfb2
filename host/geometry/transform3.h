#pragma once
// TRANSFORM3: an affine map of model space, held as a 3x3 matrix M (by rows)
// and a translation t.
//
// Row-vector convention: points, vectors and directions multiply a transform
// from the left.
//   p * T = p·M + t        (a point moves with the translation)
//   v * T = v·M            (a displacement does not)
//   u * T = (u·M) / |u·M|  (a direction stays unit)
// Row i of M is therefore the image of the i-th basis vector. Composition reads
// left to right in the order of application: A * B is "first A, then B", so
// (p * A) * B == p * (A * B) up to rounding.
//
// Invariant: every factory checks its input, so a TRANSFORM3 holds finite
// entries and an invertible matrix, and inverse() cannot fail. Bad input throws
// std::invalid_argument, because it is a programming or data error at the
// caller, not a numerical outcome. Products are not checked again: the product
// of valid maps is valid unless composing extreme scales overflows.
//
// A direction transformed this way is the image of a direction. A surface
// normal under a non-uniform map needs the inverse transpose instead.

#include "host/geometry/position3.h"
#include "host/geometry/unitvec3.h"
#include "host/geometry/vector3.h"

class TRANSFORM3 {
 public:
  TRANSFORM3() = default;  // identity

  static TRANSFORM3 identity() { return TRANSFORM3(); }
  // Throws std::invalid_argument unless every component of v is finite.
  static TRANSFORM3 translation(const VECTOR3& v);
  // Rotation by angle (radians) about the axis through point with direction
  // axis, counter-clockwise when the axis points at the viewer (right-hand
  // rule). Throws std::invalid_argument for a zero, NaN or infinite axis and a
  // non-finite point or angle.
  static TRANSFORM3 rotation(const POSITION3& point, const VECTOR3& axis, double angle);
  // Uniform scaling by s about the origin; a negative s also reflects through
  // the origin. Throws std::invalid_argument unless s is finite and non-zero.
  static TRANSFORM3 scaling(double s);
  // The placement of a local frame: local (0,0,0) goes to origin, local x to the
  // unit x_axis, local y to the unit part of y_axis orthogonal to x_axis, and
  // local z to their cross product, so the frame is right-handed and rigid.
  // Throws std::invalid_argument for a non-finite origin, a zero or non-finite
  // axis, or a y_axis within 1e-10 radians of parallel to x_axis.
  static TRANSFORM3 from_axes(const POSITION3& origin, const VECTOR3& x_axis,
                              const VECTOR3& y_axis);
  // A general affine map, p -> p·rows + translation. Throws
  // std::invalid_argument when an entry is not finite or |det| < 1e-300.
  static TRANSFORM3 from_matrix(const double rows[3][3], const VECTOR3& translation);

  // Exactly the identity: M == I and t == 0, no tolerance.
  bool is_identity() const;
  // The cube root of |det M|: the linear scale of a uniform scaling, the
  // volume-preserving average otherwise.
  double scale() const;
  double determinant() const;
  // True when the map reverses orientation (det M < 0).
  bool reflects() const { return determinant() < 0.0; }
  // Splits the map into its translation, the rows of M divided by scale(), and
  // scale(). For a similarity the rows come out orthonormal.
  void enquire(VECTOR3& translation, VECTOR3 rows[3], double& scale) const;

  const VECTOR3& translation_vector() const { return t_; }
  // Row i (0..2) of M, the image of the i-th basis vector. A bad index is
  // reported and answers NaN components.
  VECTOR3 row(int i) const;

  // The map that undoes this one: (p * T) * T.inverse() == p up to rounding.
  TRANSFORM3 inverse() const;

  // *this = *this * b: first this map, then b.
  TRANSFORM3& operator*=(const TRANSFORM3& b);

  // Exact, entry by entry.
  friend bool operator==(const TRANSFORM3& a, const TRANSFORM3& b);
  friend TRANSFORM3 operator*(const TRANSFORM3& a, const TRANSFORM3& b);
  friend VECTOR3 operator*(const VECTOR3& v, const TRANSFORM3& t);
  friend POSITION3 operator*(const POSITION3& p, const TRANSFORM3& t);

 private:
  TRANSFORM3(const VECTOR3& r0, const VECTOR3& r1, const VECTOR3& r2, const VECTOR3& t)
      : m_{r0, r1, r2}, t_(t) {}

  VECTOR3 m_[3] = {VECTOR3(1.0, 0.0, 0.0), VECTOR3(0.0, 1.0, 0.0), VECTOR3(0.0, 0.0, 1.0)};
  VECTOR3 t_;
};

// First a, then b. The product of two valid maps is not checked again, so
// composition never throws; composing extreme scalings can still overflow.
TRANSFORM3 operator*(const TRANSFORM3& a, const TRANSFORM3& b);

// p·M + t.
POSITION3 operator*(const POSITION3& p, const TRANSFORM3& t);
POSITION3& operator*=(POSITION3& p, const TRANSFORM3& t);
// v·M; the translation does not apply to displacements.
VECTOR3 operator*(const VECTOR3& v, const TRANSFORM3& t);
VECTOR3& operator*=(VECTOR3& v, const TRANSFORM3& t);
// u·M renormalised, so the result is unit under any scaling.
UNITVEC3 operator*(const UNITVEC3& u, const TRANSFORM3& t);
UNITVEC3& operator*=(UNITVEC3& u, const TRANSFORM3& t);

// True when every matrix entry and every translation component of a and b
// differ by at most tol.
bool equal(const TRANSFORM3& a, const TRANSFORM3& b, double tol);
