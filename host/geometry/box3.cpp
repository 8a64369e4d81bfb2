#include "host/geometry/box3.h"

#include "host/geometry/transform3.h"

BOX3::BOX3(const POSITION3& a, const POSITION3& b) {
  *this |= a;
  *this |= b;
}

BOX3::BOX3(const POSITION3& p) : x_(p.x(), p.x()), y_(p.y(), p.y()), z_(p.z(), p.z()) {}

BOX3& BOX3::grow_abs(double d) {
  if (is_nil()) return *this;
  x_.grow_abs(d);
  y_.grow_abs(d);
  z_.grow_abs(d);
  if (is_nil()) *this = nil();
  return *this;
}

BOX3& BOX3::operator&=(const BOX3& b) {
  if (is_nil() || b.is_nil()) return *this = nil();
  x_ &= b.x_;
  y_ &= b.y_;
  z_ &= b.z_;
  if (is_nil()) *this = nil();
  return *this;
}

BOX3& BOX3::operator|=(const BOX3& b) {
  if (b.is_nil()) return *this;
  if (is_nil()) return *this = b;
  x_ |= b.x_;
  y_ |= b.y_;
  z_ |= b.z_;
  return *this;
}

BOX3& BOX3::operator|=(const POSITION3& p) {
  if (host_is_nan(p.x()) || host_is_nan(p.y()) || host_is_nan(p.z())) return *this;
  if (is_nil()) return *this = BOX3(p);
  x_ |= p.x();
  y_ |= p.y();
  z_ |= p.z();
  return *this;
}

bool BOX3::operator>=(const BOX3& b) const {
  if (b.is_nil()) return true;
  return !is_nil() && x_ >= b.x_ && y_ >= b.y_ && z_ >= b.z_;
}

bool BOX3::operator>=(const POSITION3& p) const {
  return x_ >= p.x() && y_ >= p.y() && z_ >= p.z();
}

BOX3& BOX3::operator*=(const TRANSFORM3& t) {
  if (is_nil()) return *this;
  const INTERVAL* in[3] = {&x_, &y_, &z_};
  const VECTOR3 rows[3] = {t.row(0), t.row(1), t.row(2)};
  const VECTOR3& tv = t.translation_vector();
  double lo[3];
  double hi[3];
  for (int j = 0; j < 3; ++j) {
    // Output coordinate j is sum_i x_i * M[i][j] + t_j: separable, so its
    // extremes over the box are the sums of each term's extremes. A zero entry
    // contributes exactly zero even on an unbounded axis.
    double l = 0.0;
    double h = 0.0;
    for (int i = 0; i < 3; ++i) {
      const double m = rows[i][j];
      double a = 0.0;
      double b = 0.0;
      if (m > 0.0) {
        a = in[i]->lower() * m;
        b = in[i]->upper() * m;
      } else if (m < 0.0) {
        a = in[i]->upper() * m;
        b = in[i]->lower() * m;
      }
      if (i == 0) {
        l = a;
        h = b;
      } else {
        l += a;
        h += b;
      }
    }
    lo[j] = l + tv[j];
    hi[j] = h + tv[j];
  }
  x_ = INTERVAL(lo[0], hi[0]);
  y_ = INTERVAL(lo[1], hi[1]);
  z_ = INTERVAL(lo[2], hi[2]);
  return *this;
}

bool BOX3::overlaps(const BOX3& b) const {
  return !(*this & b).is_nil();
}

bool operator==(const BOX3& a, const BOX3& b) {
  if (a.is_nil() || b.is_nil()) return a.is_nil() && b.is_nil();
  return a.x_ == b.x_ && a.y_ == b.y_ && a.z_ == b.z_;
}

BOX3 operator&(const BOX3& a, const BOX3& b) {
  BOX3 r = a;
  return r &= b;
}

BOX3 operator|(const BOX3& a, const BOX3& b) {
  BOX3 r = a;
  return r |= b;
}

BOX3 operator|(const BOX3& a, const POSITION3& p) {
  BOX3 r = a;
  return r |= p;
}

BOX3 operator*(const BOX3& b, const TRANSFORM3& t) {
  BOX3 r = b;
  return r *= t;
}
