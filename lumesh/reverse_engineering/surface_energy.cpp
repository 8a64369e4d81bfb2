// The axis frame shared by the fitting energies.

#include "lumesh/reverse_engineering/surface_energy.h"

#include <cmath>

UNITVEC3 SURFACE_ENERGY::A(const VECTOR2& p) {
  const double sb = std::sin(p.y());
  return UNITVEC3(std::cos(p.x()) * sb, std::sin(p.x()) * sb, std::cos(p.y()));
}

UNITVEC3 SURFACE_ENERGY::U(const VECTOR2& p) {
  const double cb = std::cos(p.y());
  return UNITVEC3(std::cos(p.x()) * cb, std::sin(p.x()) * cb, -std::sin(p.y()));
}

UNITVEC3 SURFACE_ENERGY::V(const VECTOR2& p) {
  return UNITVEC3(-std::sin(p.x()), std::cos(p.x()), 0.0);
}

VECTOR3 SURFACE_ENERGY::dU_dalpha(const VECTOR2& p) {
  const double cb = std::cos(p.y());
  return VECTOR3(-std::sin(p.x()) * cb, std::cos(p.x()) * cb, 0.0);
}

VECTOR3 SURFACE_ENERGY::dU_dbeta(const VECTOR2& p) {
  const double sb = std::sin(p.y());
  return VECTOR3(-std::cos(p.x()) * sb, -std::sin(p.x()) * sb, -std::cos(p.y()));
}

VECTOR3 SURFACE_ENERGY::dV_dalpha(const VECTOR2& p) {
  return VECTOR3(-std::cos(p.x()), -std::sin(p.x()), 0.0);
}

VECTOR3 SURFACE_ENERGY::dV_dbeta(const VECTOR2&) {
  return VECTOR3(0.0, 0.0, 0.0);
}
