#pragma once
// BOX3: an axis-aligned box, the product of three closed INTERVALs. A box is
// nil (empty) when any of its axes is nil; every operation treats all nil
// boxes alike, whatever their other axes hold, and the ones that produce an
// empty result produce the canonical nil box. Boundaries belong to the box:
// boxes that touch overlap, and a point on a face is inside.

#include "host/geometry/interval.h"
#include "host/geometry/position3.h"

class TRANSFORM3;

class BOX3 {
 public:
  BOX3() = default;  // nil
  BOX3(const INTERVAL& x, const INTERVAL& y, const INTERVAL& z) : x_(x), y_(y), z_(z) {}
  // The smallest box holding both points, whatever their order. Like |=, it
  // ignores a point with a NaN coordinate.
  BOX3(const POSITION3& a, const POSITION3& b);
  // The box of the single point p (zero extent on each axis); nil when a
  // coordinate is NaN.
  explicit BOX3(const POSITION3& p);

  static BOX3 nil() { return BOX3(); }
  static BOX3 inf() { return BOX3(INTERVAL::inf(), INTERVAL::inf(), INTERVAL::inf()); }

  const INTERVAL& x_range() const { return x_; }
  const INTERVAL& y_range() const { return y_; }
  const INTERVAL& z_range() const { return z_; }
  const INTERVAL& xi() const { return x_; }
  const INTERVAL& yi() const { return y_; }
  const INTERVAL& zi() const { return z_; }

  // The corners of least and greatest coordinates, and the middle. For a nil
  // box they are the stored bounds, which mean nothing; center() is NaN on a
  // nil axis.
  POSITION3 lower() const { return POSITION3(x_.lower(), y_.lower(), z_.lower()); }
  POSITION3 upper() const { return POSITION3(x_.upper(), y_.upper(), z_.upper()); }
  POSITION3 center() const { return POSITION3(x_.mid(), y_.mid(), z_.mid()); }

  // Empty: x, then y, then z is tested for lower > upper (or a NaN bound).
  bool is_nil() const { return x_.is_nil() || y_.is_nil() || z_.is_nil(); }
  // Unbounded at both ends on all three axes.
  bool is_inf() const { return x_.is_lropen() && y_.is_lropen() && z_.is_lropen(); }

  // Moves every face outwards by d. A nil box stays nil.
  BOX3& grow_abs(double d);

  // Intersection. Boxes that share only a face, edge or corner meet in a
  // degenerate box (lower == upper on the touching axes), which is not nil.
  BOX3& operator&=(const BOX3& b);
  // Hull: the smallest box holding both; a nil box is the neutral element.
  BOX3& operator|=(const BOX3& b);
  // The smallest box holding this one and p. A point with a NaN coordinate is
  // not a place and changes nothing.
  BOX3& operator|=(const POSITION3& p);

  // Contains every point of b, boundary included; a nil b is contained in
  // anything, a nil box contains nothing else.
  bool operator>=(const BOX3& b) const;
  // Contains p, boundary included. False for a nil box and a NaN coordinate.
  bool operator>=(const POSITION3& p) const;

  // The smallest axis-aligned box holding the image of this box. Each bound is
  // summed in the order a transformed point's coordinate is, so that p * t of
  // every point p of the box lies in the result (as long as the compiler does
  // not fuse the multiply-adds). A rotated box grows; nil stays nil, and an
  // unbounded axis spreads to every axis the matrix mixes it into.
  BOX3& operator*=(const TRANSFORM3& t);

  // The boxes share at least one point: !(*this & b).is_nil().
  bool overlaps(const BOX3& b) const;

  // Equal as sets: the same intervals, or both nil.
  friend bool operator==(const BOX3& a, const BOX3& b);

 private:
  INTERVAL x_;
  INTERVAL y_;
  INTERVAL z_;
};

BOX3 operator&(const BOX3& a, const BOX3& b);
BOX3 operator|(const BOX3& a, const BOX3& b);
BOX3 operator|(const BOX3& a, const POSITION3& p);
BOX3 operator*(const BOX3& b, const TRANSFORM3& t);
