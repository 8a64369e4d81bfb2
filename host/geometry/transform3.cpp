#include "host/geometry/transform3.h"

#include <cmath>
#include <stdexcept>
#include <string>

#include "host/base/assertion.h"
#include "host/geometry/constants.h"

namespace {

// Matrices with a smaller |det| are treated as singular: their inverse would
// overflow or lose every significant digit.
constexpr double kMinAbsDet = 1e-300;
// from_axes refuses axes closer to parallel than this many radians.
constexpr double kMinAxisAngle = 1e-10;

// v·M for M given by its rows. Each component is summed in row order, the same
// order BOX3 uses for its bounds, so a point of a box maps into the mapped box.
VECTOR3 times_rows(const VECTOR3& v, const VECTOR3& r0, const VECTOR3& r1, const VECTOR3& r2) {
  return VECTOR3(v.x() * r0.x() + v.y() * r1.x() + v.z() * r2.x(),
                 v.x() * r0.y() + v.y() * r1.y() + v.z() * r2.y(),
                 v.x() * r0.z() + v.y() * r1.z() + v.z() * r2.z());
}

double det_of(const VECTOR3& r0, const VECTOR3& r1, const VECTOR3& r2) {
  return dot(r0, cross(r1, r2));
}

[[noreturn]] void reject(const char* what) {
  throw std::invalid_argument(std::string(what));
}

void check_matrix(const VECTOR3& r0, const VECTOR3& r1, const VECTOR3& r2, const VECTOR3& t,
                  const char* who) {
  if (!(r0.is_finite() && r1.is_finite() && r2.is_finite() && t.is_finite())) {
    reject((std::string(who) + ": transform entries must be finite").c_str());
  }
  const double d = det_of(r0, r1, r2);
  if (!(std::fabs(d) >= kMinAbsDet) || !std::isfinite(d)) {
    reject((std::string(who) + ": transform matrix is singular").c_str());
  }
}

}  // namespace

TRANSFORM3 TRANSFORM3::translation(const VECTOR3& v) {
  if (!v.is_finite()) reject("TRANSFORM3::translation: vector must be finite");
  TRANSFORM3 r;
  r.t_ = v;
  return r;
}

TRANSFORM3 TRANSFORM3::rotation(const POSITION3& point, const VECTOR3& axis, double angle) {
  const VECTOR3 k = axis.norm();
  if (!k.is_finite()) reject("TRANSFORM3::rotation: axis must be a finite non-zero vector");
  if (!point.is_finite() || !std::isfinite(angle)) {
    reject("TRANSFORM3::rotation: point and angle must be finite");
  }
  const double c = std::cos(angle);
  const double s = std::sin(angle);
  // 1 - cos written through the half angle keeps its digits for small angles.
  const double h = std::sin(0.5 * angle);
  const double omc = 2.0 * h * h;
  const double kx = k.x(), ky = k.y(), kz = k.z();
  // Rodrigues' formula, transposed for row vectors: row i is the image of the
  // i-th basis vector.
  const VECTOR3 r0(c + omc * kx * kx, omc * kx * ky + s * kz, omc * kx * kz - s * ky);
  const VECTOR3 r1(omc * ky * kx - s * kz, c + omc * ky * ky, omc * ky * kz + s * kx);
  const VECTOR3 r2(omc * kz * kx + s * ky, omc * kz * ky - s * kx, c + omc * kz * kz);
  // The axis point is fixed: p·M + t == p there.
  const VECTOR3 pv(point);
  const VECTOR3 t = pv - times_rows(pv, r0, r1, r2);
  return TRANSFORM3(r0, r1, r2, t);
}

TRANSFORM3 TRANSFORM3::scaling(double s) {
  if (!std::isfinite(s) || s == 0.0) {
    reject("TRANSFORM3::scaling: factor must be finite and non-zero");
  }
  const VECTOR3 r0(s, 0.0, 0.0), r1(0.0, s, 0.0), r2(0.0, 0.0, s);
  check_matrix(r0, r1, r2, VECTOR3(), "TRANSFORM3::scaling");
  return TRANSFORM3(r0, r1, r2, VECTOR3());
}

TRANSFORM3 TRANSFORM3::from_axes(const POSITION3& origin, const VECTOR3& x_axis,
                                 const VECTOR3& y_axis) {
  if (!origin.is_finite()) reject("TRANSFORM3::from_axes: origin must be finite");
  const VECTOR3 ux = x_axis.norm();
  const VECTOR3 yu = y_axis.norm();
  if (!ux.is_finite() || !yu.is_finite()) {
    reject("TRANSFORM3::from_axes: axes must be finite non-zero vectors");
  }
  // Gram-Schmidt on unit inputs: |yp| is the sine of the angle between axes.
  const VECTOR3 yp = yu - dot(yu, ux) * ux;
  if (!(yp.len() > kMinAxisAngle)) reject("TRANSFORM3::from_axes: axes are parallel");
  const VECTOR3 uy = yp.norm();
  const VECTOR3 uz = cross(ux, uy);
  return TRANSFORM3(ux, uy, uz, VECTOR3(origin));
}

TRANSFORM3 TRANSFORM3::from_matrix(const double rows[3][3], const VECTOR3& translation) {
  const VECTOR3 r0(rows[0][0], rows[0][1], rows[0][2]);
  const VECTOR3 r1(rows[1][0], rows[1][1], rows[1][2]);
  const VECTOR3 r2(rows[2][0], rows[2][1], rows[2][2]);
  check_matrix(r0, r1, r2, translation, "TRANSFORM3::from_matrix");
  return TRANSFORM3(r0, r1, r2, translation);
}

bool TRANSFORM3::is_identity() const {
  return m_[0] == VECTOR3(1.0, 0.0, 0.0) && m_[1] == VECTOR3(0.0, 1.0, 0.0) &&
         m_[2] == VECTOR3(0.0, 0.0, 1.0) && t_ == VECTOR3();
}

double TRANSFORM3::determinant() const {
  return det_of(m_[0], m_[1], m_[2]);
}

double TRANSFORM3::scale() const {
  return std::cbrt(std::fabs(determinant()));
}

void TRANSFORM3::enquire(VECTOR3& translation, VECTOR3 rows[3], double& scale_out) const {
  const double s = scale();
  translation = t_;
  for (int i = 0; i < 3; ++i) rows[i] = m_[i] / s;
  scale_out = s;
}

VECTOR3 TRANSFORM3::row(int i) const {
  HOST_ASSERT(0 <= i && i < 3, "TRANSFORM3 row index out of range");
  if (i < 0 || i >= 3) return VECTOR3(host_nan(), host_nan(), host_nan());
  return m_[i];
}

TRANSFORM3 TRANSFORM3::inverse() const {
  // The inverse's columns are the cross products of pairs of rows over det.
  const double d = determinant();
  const VECTOR3 c0 = cross(m_[1], m_[2]) / d;
  const VECTOR3 c1 = cross(m_[2], m_[0]) / d;
  const VECTOR3 c2 = cross(m_[0], m_[1]) / d;
  const VECTOR3 r0(c0.x(), c1.x(), c2.x());
  const VECTOR3 r1(c0.y(), c1.y(), c2.y());
  const VECTOR3 r2(c0.z(), c1.z(), c2.z());
  // p = (q - t)·M⁻¹ = q·M⁻¹ - t·M⁻¹.
  return TRANSFORM3(r0, r1, r2, -times_rows(t_, r0, r1, r2));
}

TRANSFORM3& TRANSFORM3::operator*=(const TRANSFORM3& b) {
  *this = *this * b;
  return *this;
}

bool operator==(const TRANSFORM3& a, const TRANSFORM3& b) {
  return a.m_[0] == b.m_[0] && a.m_[1] == b.m_[1] && a.m_[2] == b.m_[2] && a.t_ == b.t_;
}

TRANSFORM3 operator*(const TRANSFORM3& a, const TRANSFORM3& b) {
  // p·Ma·Mb + (ta·Mb + tb). The product of two valid maps is not checked again,
  // so composition never throws.
  const VECTOR3& b0 = b.m_[0];
  const VECTOR3& b1 = b.m_[1];
  const VECTOR3& b2 = b.m_[2];
  return TRANSFORM3(times_rows(a.m_[0], b0, b1, b2), times_rows(a.m_[1], b0, b1, b2),
                    times_rows(a.m_[2], b0, b1, b2), times_rows(a.t_, b0, b1, b2) + b.t_);
}

VECTOR3 operator*(const VECTOR3& v, const TRANSFORM3& t) {
  return times_rows(v, t.m_[0], t.m_[1], t.m_[2]);
}

VECTOR3& operator*=(VECTOR3& v, const TRANSFORM3& t) {
  return v = v * t;
}

POSITION3 operator*(const POSITION3& p, const TRANSFORM3& t) {
  return POSITION3(times_rows(VECTOR3(p), t.m_[0], t.m_[1], t.m_[2]) + t.t_);
}

POSITION3& operator*=(POSITION3& p, const TRANSFORM3& t) {
  return p = p * t;
}

UNITVEC3 operator*(const UNITVEC3& u, const TRANSFORM3& t) {
  return UNITVEC3(static_cast<const VECTOR3&>(u) * t);
}

UNITVEC3& operator*=(UNITVEC3& u, const TRANSFORM3& t) {
  return u = u * t;
}

bool equal(const TRANSFORM3& a, const TRANSFORM3& b, double tol) {
  const auto near = [tol](const VECTOR3& u, const VECTOR3& v) {
    return std::fabs(u.x() - v.x()) <= tol && std::fabs(u.y() - v.y()) <= tol &&
           std::fabs(u.z() - v.z()) <= tol;
  };
  return near(a.row(0), b.row(0)) && near(a.row(1), b.row(1)) && near(a.row(2), b.row(2)) &&
         near(a.translation_vector(), b.translation_vector());
}
