#pragma once
// VECTOR2: a displacement in a plane, for parameter spaces and 2D work. A plain
// value: every operation is exact IEEE arithmetic on the two components, and
// nothing checks for NaN or infinity.

#include <cmath>

class VECTOR2 {
 public:
  constexpr VECTOR2() = default;  // zero
  constexpr VECTOR2(double x, double y) : x_(x), y_(y) {}

  constexpr double x() const { return x_; }
  constexpr double y() const { return y_; }

  double len() const { return std::sqrt(len2()); }
  constexpr double len2() const { return x_ * x_ + y_ * y_; }

  constexpr VECTOR2 operator-() const { return VECTOR2(-x_, -y_); }
  constexpr VECTOR2& operator+=(const VECTOR2& v) {
    x_ += v.x_;
    y_ += v.y_;
    return *this;
  }
  constexpr VECTOR2& operator-=(const VECTOR2& v) {
    x_ -= v.x_;
    y_ -= v.y_;
    return *this;
  }
  constexpr VECTOR2& operator*=(double s) {
    x_ *= s;
    y_ *= s;
    return *this;
  }
  constexpr VECTOR2& operator/=(double s) {
    x_ /= s;
    y_ /= s;
    return *this;
  }

  // Exact comparison; a NaN component makes vectors unequal.
  friend constexpr bool operator==(const VECTOR2& a, const VECTOR2& b) {
    return a.x_ == b.x_ && a.y_ == b.y_;
  }

 private:
  double x_ = 0.0;
  double y_ = 0.0;
};

constexpr VECTOR2 operator+(VECTOR2 a, const VECTOR2& b) {
  return a += b;
}
constexpr VECTOR2 operator-(VECTOR2 a, const VECTOR2& b) {
  return a -= b;
}
constexpr VECTOR2 operator*(VECTOR2 v, double s) {
  return v *= s;
}
constexpr VECTOR2 operator*(double s, VECTOR2 v) {
  return v *= s;
}
constexpr VECTOR2 operator/(VECTOR2 v, double s) {
  return v /= s;
}

constexpr double dot(const VECTOR2& a, const VECTOR2& b) {
  return a.x() * b.x() + a.y() * b.y();
}

// The z component of the 3D cross product of (a, 0) and (b, 0): positive when
// b lies counter-clockwise of a, zero when they are parallel.
constexpr double cross(const VECTOR2& a, const VECTOR2& b) {
  return a.x() * b.y() - a.y() * b.x();
}
