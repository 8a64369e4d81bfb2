#pragma once
// pt_on_sf: a point of a surface given by its parameters. A plain value of
// three words; evaluating it asks the surface, so it costs one surface
// evaluation each time and caches nothing.

#include "host/geometry/position3.h"
#include "host/geometry/unitvec3.h"
#include "host/geometry/vector2.h"
#include "host/geometry/vector3.h"

class surface;

class pt_on_sf {
 public:
  // No surface; the parameters are NaN and every evaluation answers NaN.
  pt_on_sf() = default;
  // `sf` may be null (then as above, but with the given parameters).
  pt_on_sf(const surface* sf, double u, double v) : sf_(sf), u_(u), v_(v) {}

  // Not owned and not referenced: the surface must outlive the value.
  const surface* get_surface() const { return sf_; }
  double u() const { return u_; }
  double v() const { return v_; }
  VECTOR2 uv() const { return VECTOR2(u_, v_); }

  // The position. With order >= 1, also the first partial derivatives along u
  // and v into the non-null ones of `du` and `dv`; with order <= 0 they are
  // left untouched. Without a surface every answer is NaN.
  POSITION3 evaluate(int order = 0, VECTOR3* du = nullptr, VECTOR3* dv = nullptr) const;

  // The surface's own normal at the point (not a face's outward normal, which
  // also depends on the face's sense). NaN without a surface.
  UNITVEC3 evaluate_nor() const;

 private:
  const surface* sf_ = nullptr;  // not owned
  double u_ = host_nan();
  double v_ = host_nan();
};
