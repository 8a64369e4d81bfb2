// The cylinder fitting functional: Kåsa's algebraic circle fit across a trial
// axis, its residual, and the exact gradient of that residual by the axis.
//
// Every formula below relies on the points being centred (Σu = Σv = 0 for any
// axis); that is what lets the circle's constant term be the mean of w and
// drops the linear sums from the energy.

#include "lumesh/reverse_engineering/cylinder_energy.h"

#include <cmath>

#include "host/base/mod_info.h"
#include "host/geometry/constants.h"
#include "host/kernel/geometry/cylinder.h"

CYLINDER_ENERGY::CYLINDER_ENERGY(const VECTOR2& parameters, const std::vector<POSITION3>& points)
    : SURFACE_ENERGY(parameters, points), u_(U(parameters)), v_(V(parameters)) {
  const UNITVEC3& Up = u_;
  const UNITVEC3& Vp = v_;
  for (const POSITION3& p : points) {
    const VECTOR3 q(p);
    const double u = dot(q, Up);
    const double v = dot(q, Vp);
    const double uu = u * u;
    const double vv = v * v;
    const double w = uu + vv;
    Suu_ += uu;
    Svv_ += vv;
    Suv_ += u * v;
    Swu_ += w * u;
    Swv_ += w * v;
  }
  const double n = static_cast<double>(points.size());
  const double D = Suv_ * Suv_ - Suu_ * Svv_;
  a_ = -(Swu_ * Svv_ - Swv_ * Suv_) / (2.0 * D);
  b_ = (Swu_ * Suv_ - Swv_ * Suu_) / (2.0 * D);
  r2_ = (Suu_ + Svv_) / n + a_ * a_ + b_ * b_;
  // The energy is half the sum of the squared circle residuals. Expanded
  // into sums over the points it reads
  //   Sww/2 - (Suu+Svv)²/(2n) + 2 (2ab Suv + a² Suu + b² Svv)
  //         - 2 (b Svvv + a Suuu) - 2 (b Suuv + a Svvu),
  // but that cancels down to about ε·Sww, which blurs axes closer than
  // 1e-8 or so; the residuals are summed directly instead, the same number
  // at full precision. A zero D gives NaN either way.
  double energy = 0.0;
  for (const POSITION3& p : points) {
    const VECTOR3 q(p);
    const double du = dot(q, Up) - a_;
    const double dv = dot(q, Vp) - b_;
    const double rho = du * du + dv * dv - r2_;
    energy += rho * rho;
  }
  // No circle (no points, collinear projections): no energy either.
  if (!std::isfinite(a_) || !std::isfinite(b_) || !std::isfinite(r2_)) energy = host_nan();
  set_energy(energy / 2.0);
}

CYLINDER_ENERGY* CYLINDER_ENERGY::clone() const {
  return new CYLINDER_ENERGY(*this);
}

CYLINDER_ENERGY::FRAME CYLINDER_ENERGY::frame() const {
  const VECTOR2& p = get_parameters();
  return {u_, v_, dU_dalpha(p), dU_dbeta(p), dV_dalpha(p)};
}

void CYLINDER_ENERGY::Puv1(double (&P)[2][2]) const { centre_jacobian(frame(), P); }

void CYLINDER_ENERGY::centre_jacobian(const FRAME& f, double (&P)[2][2]) const {
  // Derivatives of the sums by alpha (index 0) and beta (index 1).
  double dSuu[2] = {0.0, 0.0}, dSvv[2] = {0.0, 0.0}, dSuv[2] = {0.0, 0.0};
  double dSwu[2] = {0.0, 0.0}, dSwv[2] = {0.0, 0.0};
  for (const POSITION3& pt : *get_points()) {
    const auto [u, v, ua, ub, va] = f.project(pt);
    dSuu[0] += 2.0 * u * ua;
    dSuu[1] += 2.0 * u * ub;
    dSvv[0] += 2.0 * v * va;
    dSuv[0] += va * u + ua * v;
    dSuv[1] += ub * v;
    dSwu[0] += 3.0 * ua * u * u + ua * v * v + 2.0 * va * u * v;
    dSwu[1] += 3.0 * ub * u * u + ub * v * v;
    dSwv[0] += 3.0 * va * v * v + va * u * u + 2.0 * ua * u * v;
    dSwv[1] += 2.0 * ub * u * v;
  }
  const double Na = Swu_ * Svv_ - Swv_ * Suv_;
  const double Nb = Swu_ * Suv_ - Swv_ * Suu_;
  const double D = Suv_ * Suv_ - Suu_ * Svv_;
  const double D2 = 2.0 * D * D;
  for (int k = 0; k < 2; ++k) {
    const double dNa = dSwu[k] * Svv_ + Swu_ * dSvv[k] - dSwv[k] * Suv_ - Swv_ * dSuv[k];
    const double dNb = dSwu[k] * Suv_ + Swu_ * dSuv[k] - dSwv[k] * Suu_ - Swv_ * dSuu[k];
    const double dD = 2.0 * Suv_ * dSuv[k] - dSuu[k] * Svv_ - Suu_ * dSvv[k];
    P[0][k] = -(dNa * D - Na * dD) / D2;
    P[1][k] = (dNb * D - Nb * dD) / D2;
  }
}

VECTOR2 CYLINDER_ENERGY::compute_partial_derivatives() const {
  // One frame for both passes: its sines and cosines are most of a pass's
  // cost on the small point sets of a seed pair.
  const FRAME f = frame();
  double P[2][2];
  centre_jacobian(f, P);
  const std::vector<POSITION3>& points = *get_points();
  const double n = static_cast<double>(points.size());
  const double r2 = (Suu_ + Svv_ + n * (a_ * a_ + b_ * b_)) / n;
  double Sa_rho = 0.0, Sa = 0.0, Sa_g = 0.0;  // the three sums of dE/dalpha
  double Sb_rho = 0.0, Sb = 0.0, Sb_g = 0.0;  // and of dE/dbeta
  for (const POSITION3& pt : points) {
    const auto [u, v, ua, ub, va] = f.project(pt);
    const double du = u - a_;
    const double dv = v - b_;
    const double rho = du * du + dv * dv;
    const double g = u * u + v * v - 2.0 * a_ * u - 2.0 * b_ * v;
    const double ta = v * va + u * ua;
    const double tb = u * ub;
    Sa_rho += ta * rho;
    Sa += ta;
    Sa_g += (b_ * va + a_ * ua + P[1][0] * v + P[0][0] * u) * g;
    Sb_rho += tb * rho;
    Sb += tb;
    Sb_g += (P[1][1] * v + a_ * ub + P[0][1] * u) * g;
  }
  return VECTOR2(2.0 * (Sa_rho - r2 * Sa - Sa_g), 2.0 * (Sb_rho - r2 * Sb - Sb_g));
}

surface* CYLINDER_ENERGY::get_surface(const POSITION3& center_of_gravity) const {
  const VECTOR2& p = get_parameters();
  const POSITION3 center = center_of_gravity + a_ * U(p) + b_ * V(p);
  try {
    return new cylinder(center, A(p), std::sqrt(r2_));
  } catch (const TV_EXCEPTION&) {
    // The kernel refuses a NaN or non-positive radius and a NaN centre or
    // axis: degenerate data, which is a failed fit and not an error.
    return nullptr;
  }
}
