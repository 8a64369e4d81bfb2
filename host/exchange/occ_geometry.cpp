// occ_surface and occ_curve through OpenCASCADE. Evaluation is Geom's D0/D1;
// projections are GeomAPI's extrema searches over the geometry's own range.
// Every call into the library is guarded: non-finite parameters never reach
// it (a spline's span search does not expect NaN), and a Standard_Failure
// turns into the query's documented NaN answer or failure status.

#include "host/exchange/occ_geometry_occt.h"

#include <GeomAPI_ProjectPointOnCurve.hxx>
#include <GeomAPI_ProjectPointOnSurf.hxx>
#include <GeomLProp_SLProps.hxx>
#include <Geom_BSplineSurface.hxx>
#include <Geom_BezierSurface.hxx>
#include <Geom_BSplineCurve.hxx>
#include <Geom_BezierCurve.hxx>
#include <Geom_Circle.hxx>
#include <Geom_ConicalSurface.hxx>
#include <Geom_CylindricalSurface.hxx>
#include <Geom_Ellipse.hxx>
#include <Geom_Line.hxx>
#include <Geom_Plane.hxx>
#include <Geom_SphericalSurface.hxx>
#include <Geom_ToroidalSurface.hxx>
#include <Geom_TrimmedCurve.hxx>
#include <Geom_RectangularTrimmedSurface.hxx>
#include <Standard_Failure.hxx>
#include <gp_Pnt.hxx>
#include <gp_Vec.hxx>

#include <algorithm>
#include <cmath>

#include "host/kernel/kernel_errors.h"

const ENTITY_TYPE occ_surface::type("OCC-SURFACE", "geo", &surface::type);
const ENTITY_TYPE occ_curve::type("OCC-CURVE", "geo", &curve::type);

namespace {

gp_Pnt pnt(const POSITION3& p) { return gp_Pnt(p.x(), p.y(), p.z()); }
POSITION3 pos(const gp_Pnt& p) { return POSITION3(p.X(), p.Y(), p.Z()); }
VECTOR3 vec(const gp_Vec& v) { return VECTOR3(v.X(), v.Y(), v.Z()); }

POSITION3 nan_position() { return POSITION3(host_nan(), host_nan(), host_nan()); }
VECTOR3 nan_vector() { return VECTOR3(host_nan(), host_nan(), host_nan()); }

bool finite(double a, double b = 0.0) { return std::isfinite(a) && std::isfinite(b); }

// A finite stand-in for an unbounded parameter range, for sampling.
void finite_range(double& lo, double& hi) {
  constexpr double kReach = 100.0;
  if (!std::isfinite(lo) || lo < -1e100) lo = -kReach;
  if (!std::isfinite(hi) || hi > 1e100) hi = kReach;
  if (hi < lo) std::swap(lo, hi);
}

}  // namespace

const char* occ_surface_kind_name(OCC_SURFACE_KIND k) {
  switch (k) {
    case OCC_SURFACE_KIND::PLANE: return "plane";
    case OCC_SURFACE_KIND::CYLINDER: return "cylinder";
    case OCC_SURFACE_KIND::CONE: return "cone";
    case OCC_SURFACE_KIND::SPHERE: return "sphere";
    case OCC_SURFACE_KIND::TORUS: return "torus";
    case OCC_SURFACE_KIND::BSPLINE: return "bspline";
    case OCC_SURFACE_KIND::OTHER: break;
  }
  return "other";
}

OCC_SURFACE_KIND occ_kind_of(const Handle(Geom_Surface)& s) {
  Handle(Geom_Surface) b = s;
  if (Handle(Geom_RectangularTrimmedSurface) t = Handle(Geom_RectangularTrimmedSurface)::DownCast(b)) {
    b = t->BasisSurface();
  }
  if (b.IsNull()) return OCC_SURFACE_KIND::OTHER;
  if (b->IsKind(STANDARD_TYPE(Geom_Plane))) return OCC_SURFACE_KIND::PLANE;
  if (b->IsKind(STANDARD_TYPE(Geom_CylindricalSurface))) return OCC_SURFACE_KIND::CYLINDER;
  if (b->IsKind(STANDARD_TYPE(Geom_ConicalSurface))) return OCC_SURFACE_KIND::CONE;
  if (b->IsKind(STANDARD_TYPE(Geom_SphericalSurface))) return OCC_SURFACE_KIND::SPHERE;
  if (b->IsKind(STANDARD_TYPE(Geom_ToroidalSurface))) return OCC_SURFACE_KIND::TORUS;
  if (b->IsKind(STANDARD_TYPE(Geom_BSplineSurface)) || b->IsKind(STANDARD_TYPE(Geom_BezierSurface))) {
    return OCC_SURFACE_KIND::BSPLINE;
  }
  return OCC_SURFACE_KIND::OTHER;
}

gp_Trsf occ_trsf(const TRANSFORM3& t, K2_ERROR err) {
  // Row-vector convention: image_j = sum_i p_i M[i][j] + t_j.
  const VECTOR3 r0 = t.row(0), r1 = t.row(1), r2 = t.row(2);
  const VECTOR3 tr = t.translation_vector();
  gp_Trsf out;
  try {
    out.SetValues(r0.x(), r1.x(), r2.x(), tr.x(),  //
                  r0.y(), r1.y(), r2.y(), tr.y(),  //
                  r0.z(), r1.z(), r2.z(), tr.z());
  } catch (const Standard_Failure&) {
    k2_throw(err);
  }
  // SetValues accepts only similarities; check that the result reproduces t.
  for (const POSITION3& p : {POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(0, 1, 0),
                             POSITION3(0, 0, 1)}) {
    const POSITION3 want = p * t;
    gp_Pnt got = pnt(p);
    got.Transform(out);
    if ((pos(got) - want).len() > 1e-9 * std::max(1.0, VECTOR3(want).len())) k2_throw(err);
  }
  return out;
}

// --- occ_surface ---

occ_surface* make_occ_surface(const Handle(Geom_Surface)& s) {
  auto impl = std::make_unique<occ_surface::IMPL>();
  impl->s = s;
  return new occ_surface(std::move(impl));
}

occ_surface::occ_surface(std::unique_ptr<IMPL> impl) : impl_(std::move(impl)) {
  if (!impl_ || impl_->s.IsNull()) k2_throw(K2_ERROR::BAD_SURFACE);
}

occ_surface::~occ_surface() = default;

OCC_SURFACE_KIND occ_surface::kind() const { return occ_kind_of(impl_->s); }

SURFACE_KIND occ_surface::surface_kind() const {
  switch (kind()) {
    case OCC_SURFACE_KIND::PLANE: return SURFACE_KIND::PLANE;
    case OCC_SURFACE_KIND::CYLINDER: return SURFACE_KIND::CYLINDER;
    case OCC_SURFACE_KIND::CONE: return SURFACE_KIND::CONE;
    case OCC_SURFACE_KIND::SPHERE: return SURFACE_KIND::SPHERE;
    case OCC_SURFACE_KIND::TORUS: return SURFACE_KIND::TORUS;
    case OCC_SURFACE_KIND::BSPLINE:
    case OCC_SURFACE_KIND::OTHER: break;
  }
  return SURFACE_KIND::OTHER;
}

void occ_surface::param_range(double& u0, double& u1, double& v0, double& v1) const {
  impl_->s->Bounds(u0, u1, v0, v1);
}

POSITION3 occ_surface::eval(double u, double v) const {
  if (!finite(u, v)) return nan_position();
  try {
    return pos(impl_->s->Value(u, v));
  } catch (const Standard_Failure&) {
    return nan_position();
  }
}

void occ_surface::eval_derivs(double u, double v, VECTOR3& du, VECTOR3& dv) const {
  du = dv = nan_vector();
  if (!finite(u, v)) return;
  try {
    gp_Pnt p;
    gp_Vec a, b;
    impl_->s->D1(u, v, p, a, b);
    du = vec(a);
    dv = vec(b);
  } catch (const Standard_Failure&) {
  }
}

UNITVEC3 occ_surface::eval_normal(double u, double v) const {
  VECTOR3 du, dv;
  eval_derivs(u, v, du, dv);
  const VECTOR3 n = cross(du, dv);
  // Near a singular point one derivative vanishes and the cross product is
  // rounding noise, hence the bound against the larger derivative.
  const double big = std::max(du.len(), dv.len());
  if (std::isfinite(big) && big > 0.0 && n.len() > 1e-9 * big * big) return UNITVEC3(n);
  if (!finite(u, v)) return UNITVEC3(VECTOR3(0, 0, 0));
  // A singular point: the library finds the limit normal from higher
  // derivatives where there is one.
  try {
    GeomLProp_SLProps props(impl_->s, u, v, 2, 1e-9);
    if (props.IsNormalDefined()) {
      const gp_Dir d = props.Normal();
      return UNITVEC3(VECTOR3(d.X(), d.Y(), d.Z()));
    }
  } catch (const Standard_Failure&) {
  }
  return UNITVEC3(VECTOR3(0, 0, 0));
}

VECTOR2 occ_surface::param(const POSITION3& p) const {
  pt_on_sf foot;
  double dist = 0.0;
  closest_point(p, foot, dist);
  return foot.uv();
}

MOD_INFO* occ_surface::closest_point(const POSITION3& p, pt_on_sf& foot, double& dist,
                                     double limit, void*, void*) const {
  foot = pt_on_sf(this, host_nan(), host_nan());
  dist = host_nan();
  if (!p.is_finite()) return k2_error(K2_ERROR::NO_CLOSEST_POINT);
  try {
    GeomAPI_ProjectPointOnSurf proj(pnt(p), impl_->s);
    if (!proj.IsDone() || proj.NbPoints() == 0) return k2_error(K2_ERROR::NO_CLOSEST_POINT);
    double u = 0.0, v = 0.0;
    proj.LowerDistanceParameters(u, v);
    foot = pt_on_sf(this, u, v);
    dist = proj.LowerDistance();
  } catch (const Standard_Failure&) {
    foot = pt_on_sf(this, host_nan(), host_nan());
    dist = host_nan();
    return k2_error(K2_ERROR::NO_CLOSEST_POINT);
  }
  return apply_limit(dist, limit);
}

bool occ_surface::periodic_u() const { return impl_->s->IsUPeriodic(); }

double occ_surface::period_u() const {
  if (!impl_->s->IsUPeriodic()) return 0.0;
  return impl_->s->UPeriod();
}

occ_surface* occ_surface::transform_copy(const TRANSFORM3& t) const {
  const gp_Trsf g = occ_trsf(t, K2_ERROR::BAD_SURFACE);
  Handle(Geom_Surface) img;
  try {
    img = Handle(Geom_Surface)::DownCast(impl_->s->Transformed(g));
  } catch (const Standard_Failure&) {
    k2_throw(K2_ERROR::BAD_SURFACE);
  }
  if (img.IsNull()) k2_throw(K2_ERROR::BAD_SURFACE);
  // The surface keeps its parameters under the map, so compare the normal at
  // one regular point with the image of the old one: a reflection may have
  // turned it to the other side.
  double u0, u1, v0, v1;
  impl_->s->Bounds(u0, u1, v0, v1);
  finite_range(u0, u1);
  finite_range(v0, v1);
  const double u = u0 + 0.37 * (u1 - u0), v = v0 + 0.41 * (v1 - v0);
  const UNITVEC3 before = eval_normal(u, v);
  occ_surface* copy = make_occ_surface(img);
  const UNITVEC3 after = copy->eval_normal(u, v);
  const VECTOR3 want = static_cast<const VECTOR3&>(before) * t;
  if (dot(want, after) < 0.0) {
    copy->acquire();
    Handle(Geom_Surface) flipped = img->UReversed();
    copy->release();
    copy = make_occ_surface(flipped);
  }
  return copy;
}

bool occ_surface::same_geometry(const surface& other, double tol) const {
  const occ_surface* o = entity_cast<occ_surface>(&other);
  if (o == nullptr || o->kind() != kind()) return false;
  if (o->impl_->s == impl_->s) return true;
  auto covers = [tol](const occ_surface& a, const occ_surface& b) {
    double u0, u1, v0, v1;
    a.param_range(u0, u1, v0, v1);
    finite_range(u0, u1);
    finite_range(v0, v1);
    for (int i = 0; i < 5; ++i) {
      for (int j = 0; j < 5; ++j) {
        const POSITION3 p = a.eval(u0 + (u1 - u0) * i / 4.0, v0 + (v1 - v0) * j / 4.0);
        pt_on_sf foot;
        double d = 0.0;
        if (b.closest_point(p, foot, d, tol) != nullptr) return false;
      }
    }
    return true;
  };
  return covers(*this, *o) && covers(*o, *this);
}

double occ_surface::signed_distance(const POSITION3& p) const {
  pt_on_sf foot;
  double dist = 0.0;
  if (closest_point(p, foot, dist) != nullptr) return host_nan();
  const UNITVEC3 n = eval_normal(foot.u(), foot.v());
  const double side = dot(p - eval(foot.u(), foot.v()), n);
  return side < 0.0 ? -dist : dist;
}

// --- occ_curve ---

occ_curve* make_occ_curve(const Handle(Geom_Curve)& c, double first, double last) {
  auto impl = std::make_unique<occ_curve::IMPL>();
  impl->c = c;
  impl->first = first;
  impl->last = last;
  return new occ_curve(std::move(impl));
}

occ_curve::occ_curve(std::unique_ptr<IMPL> impl) : impl_(std::move(impl)) {
  if (!impl_ || impl_->c.IsNull()) k2_throw(K2_ERROR::BAD_CURVE);
}

occ_curve::~occ_curve() = default;

OCC_CURVE_KIND occ_curve::kind() const {
  Handle(Geom_Curve) b = impl_->c;
  if (Handle(Geom_TrimmedCurve) t = Handle(Geom_TrimmedCurve)::DownCast(b)) b = t->BasisCurve();
  if (b->IsKind(STANDARD_TYPE(Geom_Line))) return OCC_CURVE_KIND::LINE;
  if (b->IsKind(STANDARD_TYPE(Geom_Circle))) return OCC_CURVE_KIND::CIRCLE;
  if (b->IsKind(STANDARD_TYPE(Geom_Ellipse))) return OCC_CURVE_KIND::ELLIPSE;
  if (b->IsKind(STANDARD_TYPE(Geom_BSplineCurve)) || b->IsKind(STANDARD_TYPE(Geom_BezierCurve))) {
    return OCC_CURVE_KIND::BSPLINE;
  }
  return OCC_CURVE_KIND::OTHER;
}

double occ_curve::first() const { return impl_->first; }
double occ_curve::last() const { return impl_->last; }

POSITION3 occ_curve::eval(double t) const {
  if (!std::isfinite(t)) return nan_position();
  try {
    return pos(impl_->c->Value(t));
  } catch (const Standard_Failure&) {
    return nan_position();
  }
}

VECTOR3 occ_curve::eval_deriv(double t) const {
  if (!std::isfinite(t)) return nan_vector();
  try {
    gp_Pnt p;
    gp_Vec d;
    impl_->c->D1(t, p, d);
    return vec(d);
  } catch (const Standard_Failure&) {
    return nan_vector();
  }
}

double occ_curve::param(const POSITION3& p) const {
  POSITION3 foot;
  double t = 0.0, dist = 0.0;
  closest_point(p, foot, t, dist);
  return t;
}

MOD_INFO* occ_curve::closest_point(const POSITION3& p, POSITION3& foot, double& t,
                                   double& dist) const {
  foot = nan_position();
  t = dist = host_nan();
  if (!p.is_finite()) return k2_error(K2_ERROR::NO_CLOSEST_POINT);
  try {
    GeomAPI_ProjectPointOnCurve proj(pnt(p), impl_->c);
    if (proj.NbPoints() == 0) return k2_error(K2_ERROR::NO_CLOSEST_POINT);
    t = proj.LowerDistanceParameter();
    foot = pos(proj.NearestPoint());
    dist = proj.LowerDistance();
  } catch (const Standard_Failure&) {
    foot = nan_position();
    t = dist = host_nan();
    return k2_error(K2_ERROR::NO_CLOSEST_POINT);
  }
  return nullptr;
}

occ_curve* occ_curve::transform_copy(const TRANSFORM3& t) const {
  const gp_Trsf g = occ_trsf(t, K2_ERROR::BAD_CURVE);
  Handle(Geom_Curve) img;
  try {
    img = Handle(Geom_Curve)::DownCast(impl_->c->Transformed(g));
  } catch (const Standard_Failure&) {
    k2_throw(K2_ERROR::BAD_CURVE);
  }
  if (img.IsNull()) k2_throw(K2_ERROR::BAD_CURVE);
  // A scaling changes the parameters of some kinds (a line's is arc length).
  const double f = impl_->c->TransformedParameter(impl_->first, g);
  const double l = impl_->c->TransformedParameter(impl_->last, g);
  return make_occ_curve(img, f, l);
}
