#pragma once
// straight: the unbounded line through root along a unit direction,
//   eval(t) = root + t·direction,
// so t is the signed arc length from root. Every query is O(1).

#include "host/base/pool.h"
#include "host/geometry/unitvec3.h"
#include "host/kernel/geometry/curve.h"

class straight final : public curve, public POOLED<straight> {
 public:
  static const ENTITY_TYPE type;
  const ENTITY_TYPE& identity() const override { return type; }

  // Throws TV_EXCEPTION (BAD_CURVE) for a NaN direction (a UNITVEC3 made from
  // a zero vector) or a non-finite root.
  straight(const POSITION3& root, const UNITVEC3& direction);

  const POSITION3& root() const { return root_; }
  const UNITVEC3& direction() const { return dir_; }

  POSITION3 eval(double t) const override;
  VECTOR3 eval_deriv(double t) const override;
  double param(const POSITION3& p) const override;
  // The orthogonal projection; fails only for a non-finite p.
  MOD_INFO* closest_point(const POSITION3& p, POSITION3& foot, double& t,
                          double& dist) const override;
  // The copy's parameter is again arc length, so it scales with t.
  straight* transform_copy(const TRANSFORM3& t) const override;

 private:
  ~straight() override = default;

  POSITION3 root_;
  UNITVEC3 dir_;
};
