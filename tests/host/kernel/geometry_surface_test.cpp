// Planes, cylinders and points on surfaces: evaluation, closest points with
// and without a limit, transforms, comparison, and the reference-counted
// lifetime of geometry entities.

#include <gtest/gtest.h>

#include <cmath>

#include "host/geometry/constants.h"
#include "host/geometry/transform3.h"
#include "host/kernel/entity/entity.h"
#include "host/kernel/entity/geometry_entity.h"
#include "host/kernel/geometry/curve.h"
#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/plane.h"
#include "host/kernel/geometry/pt_on_sf.h"
#include "host/kernel/geometry/surface.h"
#include "host/kernel/kernel_errors.h"

namespace {

// Sanitizer builds take every object from the system allocator.
#ifdef LUMESH_NO_POOLS
constexpr bool kPooled = false;
#else
constexpr bool kPooled = true;
#endif

constexpr double kTight = 1e-12;

void expect_near(const VECTOR3& a, const VECTOR3& b, double tol) {
  EXPECT_NEAR(a.x(), b.x(), tol);
  EXPECT_NEAR(a.y(), b.y(), tol);
  EXPECT_NEAR(a.z(), b.z(), tol);
}
void expect_near(const POSITION3& a, const POSITION3& b, double tol) {
  expect_near(VECTOR3(a), VECTOR3(b), tol);
}
bool all_nan(const VECTOR3& v) {
  return host_is_nan(v.x()) && host_is_nan(v.y()) && host_is_nan(v.z());
}

// The record of the TV_EXCEPTION that f throws, or null when it throws none.
// A surface made without throwing is released again.
template <class F>
MOD_INFO* thrown_info(F f) {
  try {
    GEOM_REF<surface> made(f());
  } catch (const TV_EXCEPTION& e) {
    return e.info();
  }
  return nullptr;
}

// Central differences of eval against eval_derivs at (u, v).
void expect_derivs_match(const surface& sf, double u, double v) {
  const double h = 1e-6;
  VECTOR3 du;
  VECTOR3 dv;
  sf.eval_derivs(u, v, du, dv);
  const VECTOR3 fd_u = (sf.eval(u + h, v) - sf.eval(u - h, v)) / (2.0 * h);
  const VECTOR3 fd_v = (sf.eval(u, v + h) - sf.eval(u, v - h)) / (2.0 * h);
  expect_near(du, fd_u, 1e-7);
  expect_near(dv, fd_v, 1e-7);
}

TRANSFORM3 rigid_and_scale() {
  return TRANSFORM3::rotation(POSITION3(1.0, -2.0, 0.5), VECTOR3(1.0, 2.0, 3.0), 0.7) *
         TRANSFORM3::translation(VECTOR3(3.0, -1.0, 2.0)) * TRANSFORM3::scaling(2.5);
}

}  // namespace

// --- plane ---

TEST(GeometryPlane, ClosestPointIsTheOrthogonalProjection) {
  GEOM_REF<plane> pl(new plane(POSITION3(1.0, 2.0, 3.0), UNITVEC3(0.0, 0.0, 1.0)));
  pt_on_sf foot;
  double dist = -1.0;
  EXPECT_EQ(pl->closest_point(POSITION3(4.0, 5.0, 10.0), foot, dist), nullptr);
  EXPECT_EQ(foot.get_surface(), pl.get());
  expect_near(foot.evaluate(), POSITION3(4.0, 5.0, 3.0), kTight);
  EXPECT_EQ(dist, 7.0);
  // Below the plane the distance is still positive.
  EXPECT_EQ(pl->closest_point(POSITION3(0.0, 0.0, -1.0), foot, dist), nullptr);
  EXPECT_EQ(dist, 4.0);
}

TEST(GeometryPlane, LimitInsideAtAndBeyond) {
  GEOM_REF<plane> pl(new plane(POSITION3(1.0, 2.0, 3.0), UNITVEC3(0.0, 0.0, 1.0)));
  const POSITION3 p(4.0, 5.0, 10.0);
  pt_on_sf foot;
  double dist = -1.0;
  EXPECT_EQ(pl->closest_point(p, foot, dist, 8.0), nullptr);
  EXPECT_EQ(pl->closest_point(p, foot, dist, 7.0), nullptr);  // dist == limit succeeds
  EXPECT_EQ(dist, 7.0);
  foot = pt_on_sf();
  dist = -1.0;
  EXPECT_EQ(pl->closest_point(p, foot, dist, 6.5), k2_error(K2_ERROR::OUT_OF_LIMIT));
  EXPECT_EQ(dist, 7.0);
  EXPECT_EQ(foot.get_surface(), pl.get());
  expect_near(foot.evaluate(), POSITION3(4.0, 5.0, 3.0), kTight);
  // limit 0: only points on the plane succeed.
  EXPECT_EQ(pl->closest_point(POSITION3(9.0, 9.0, 3.0), foot, dist, 0.0), nullptr);
  EXPECT_EQ(pl->closest_point(p, foot, dist, 0.0), k2_error(K2_ERROR::OUT_OF_LIMIT));
}

TEST(GeometryPlane, NanPointHasNoClosestPoint) {
  GEOM_REF<plane> pl(new plane(POSITION3(), UNITVEC3(0.0, 0.0, 1.0)));
  pt_on_sf foot;
  double dist = 0.0;
  EXPECT_EQ(pl->closest_point(POSITION3(host_nan(), 0.0, 0.0), foot, dist),
            k2_error(K2_ERROR::NO_CLOSEST_POINT));
  EXPECT_TRUE(host_is_nan(dist));
  EXPECT_TRUE(all_nan(VECTOR3(foot.evaluate())));
  EXPECT_EQ(pl->closest_point(POSITION3(0.0, host_pos_inf(), 0.0), foot, dist),
            k2_error(K2_ERROR::NO_CLOSEST_POINT));
  EXPECT_TRUE(host_is_nan(pl->signed_distance(POSITION3(0.0, 0.0, host_nan()))));
}

TEST(GeometryPlane, FrameIsRightHandedAndDeterministic) {
  const UNITVEC3 normals[] = {UNITVEC3(0.0, 0.0, 1.0), UNITVEC3(1.0, 0.0, 0.0),
                              UNITVEC3(0.0, -1.0, 0.0), UNITVEC3(1.0, 2.0, -3.0),
                              UNITVEC3(-0.3, 1e-9, 0.2)};
  for (const UNITVEC3& n : normals) {
    GEOM_REF<plane> pl(new plane(POSITION3(1.0, 1.0, 1.0), n));
    expect_near(pl->nor(), n, 0.0);
    EXPECT_NEAR(pl->u_dir().len(), 1.0, kTight);
    EXPECT_NEAR(dot(pl->u_dir(), n), 0.0, kTight);
    expect_near(pl->v_dir(), cross(n, pl->u_dir()), kTight);
    EXPECT_NEAR(dot(cross(pl->u_dir(), pl->v_dir()), n), 1.0, kTight);
    GEOM_REF<plane> again(new plane(POSITION3(-5.0, 0.0, 2.0), n));
    EXPECT_EQ(again->u_dir(), pl->u_dir());
    expect_near(pl->eval_normal(3.0, -4.0), n, 0.0);
  }
  GEOM_REF<plane> z(new plane(POSITION3(), UNITVEC3(0.0, 0.0, 1.0)));
  EXPECT_EQ(z->u_dir(), VECTOR3(1.0, 0.0, 0.0));
  expect_near(z->v_dir(), VECTOR3(0.0, 1.0, 0.0), 0.0);
}

TEST(GeometryPlane, UHintIsMadePerpendicular) {
  GEOM_REF<plane> pl(new plane(POSITION3(), UNITVEC3(0.0, 0.0, 1.0), VECTOR3(0.0, 3.0, 5.0)));
  expect_near(pl->u_dir(), VECTOR3(0.0, 1.0, 0.0), kTight);
  expect_near(pl->v_dir(), VECTOR3(-1.0, 0.0, 0.0), kTight);
  GEOM_REF<plane> parallel(
      new plane(POSITION3(), UNITVEC3(0.0, 0.0, 1.0), VECTOR3(0.0, 0.0, -2.0)));
  EXPECT_EQ(parallel->u_dir(), VECTOR3(1.0, 0.0, 0.0));
}

TEST(GeometryPlane, EvalParamRoundTripAndDerivatives) {
  GEOM_REF<plane> pl(new plane(POSITION3(1.0, -2.0, 3.0), UNITVEC3(1.0, 2.0, 2.0)));
  for (double u : {-7.5, 0.0, 0.25, 12.0}) {
    for (double v : {-3.0, 0.0, 1e-3, 40.0}) {
      const POSITION3 p = pl->eval(u, v);
      EXPECT_NEAR(pl->signed_distance(p), 0.0, 1e-12);
      const VECTOR2 uv = pl->param(p);
      EXPECT_NEAR(uv.x(), u, 1e-12);
      EXPECT_NEAR(uv.y(), v, 1e-12);
      // A point off the plane goes to its projection's parameters.
      const VECTOR2 off = pl->param(p + 4.0 * pl->nor());
      EXPECT_NEAR(off.x(), u, 1e-12);
      EXPECT_NEAR(off.y(), v, 1e-12);
      expect_derivs_match(*pl, u, v);
    }
  }
}

TEST(GeometryPlane, SignedDistanceIsPositiveOnTheNormalSide) {
  GEOM_REF<plane> pl(new plane(POSITION3(0.0, 0.0, 2.0), UNITVEC3(0.0, 0.0, 1.0)));
  EXPECT_EQ(pl->signed_distance(POSITION3(5.0, 5.0, 3.5)), 1.5);
  EXPECT_EQ(pl->signed_distance(POSITION3(5.0, 5.0, 0.0)), -2.0);
  EXPECT_EQ(pl->signed_distance(POSITION3(5.0, 5.0, 2.0)), 0.0);
}

TEST(GeometryPlane, SameGeometry) {
  const double tol = 1e-6;
  GEOM_REF<plane> a(new plane(POSITION3(0.0, 0.0, 1.0), UNITVEC3(0.0, 0.0, 1.0)));
  GEOM_REF<plane> moved_root(new plane(POSITION3(7.0, -3.0, 1.0), UNITVEC3(0.0, 0.0, 1.0)));
  GEOM_REF<plane> flipped(new plane(POSITION3(1.0, 1.0, 1.0), UNITVEC3(0.0, 0.0, -1.0)));
  GEOM_REF<plane> near(new plane(POSITION3(0.0, 0.0, 1.0 + 0.5 * tol), UNITVEC3(0.0, 0.0, 1.0)));
  GEOM_REF<plane> offset(new plane(POSITION3(0.0, 0.0, 1.0 + 2.0 * tol), UNITVEC3(0.0, 0.0, 1.0)));
  GEOM_REF<plane> tilted(new plane(POSITION3(0.0, 0.0, 1.0), UNITVEC3(1e-3, 0.0, 1.0)));
  GEOM_REF<cylinder> cyl(new cylinder(POSITION3(), UNITVEC3(0.0, 0.0, 1.0), 1.0));
  EXPECT_TRUE(a->same_geometry(*a, tol));
  EXPECT_TRUE(a->same_geometry(*moved_root, tol));
  EXPECT_TRUE(a->same_geometry(*flipped, tol));
  EXPECT_TRUE(a->same_geometry(*near, tol));
  EXPECT_FALSE(a->same_geometry(*offset, tol));
  EXPECT_FALSE(a->same_geometry(*tilted, tol));
  EXPECT_FALSE(a->same_geometry(*cyl, tol));
  EXPECT_FALSE(cyl->same_geometry(*a, tol));
}

TEST(GeometryPlane, TransformCopyMovesEveryPoint) {
  const TRANSFORM3 t = rigid_and_scale();
  GEOM_REF<plane> pl(new plane(POSITION3(1.0, 2.0, 3.0), UNITVEC3(0.0, 1.0, 1.0)));
  plane* raw = pl->transform_copy(t);
  EXPECT_EQ(raw->use_count(), 0u);
  GEOM_REF<plane> copy(raw);
  EXPECT_NE(copy.get(), pl.get());
  expect_near(copy->nor(), pl->nor() * t, kTight);
  expect_near(copy->u_dir(), pl->u_dir() * t, kTight);
  for (double u : {-2.0, 0.0, 3.0}) {
    for (double v : {-1.0, 0.5}) {
      const POSITION3 image = pl->eval(u, v) * t;
      EXPECT_NEAR(copy->signed_distance(image), 0.0, 1e-11);
      // The parameterisation follows the map: lengths scale by 2.5.
      expect_near(copy->eval(2.5 * u, 2.5 * v), image, 1e-11);
    }
  }
  // A point 1 above the plane lands 2.5 above the copy.
  const POSITION3 above = pl->root() + 1.0 * pl->nor();
  EXPECT_NEAR(copy->signed_distance(above * t), 2.5, 1e-11);
  EXPECT_EQ(pl->root(), POSITION3(1.0, 2.0, 3.0));  // the original is unchanged
}

TEST(GeometryPlane, TransformCopyUnderAReflectionKeepsTheSides) {
  GEOM_REF<plane> pl(new plane(POSITION3(0.0, 0.0, 1.0), UNITVEC3(0.0, 0.0, 1.0)));
  const TRANSFORM3 mirror = TRANSFORM3::scaling(-1.0);
  GEOM_REF<plane> copy(pl->transform_copy(mirror));
  const POSITION3 above(0.3, 0.4, 2.0);
  EXPECT_NEAR(copy->signed_distance(above * mirror), pl->signed_distance(above), kTight);
  expect_near(copy->nor(), VECTOR3(0.0, 0.0, -1.0), kTight);
}

TEST(GeometryPlane, BadDefinitionsThrowAndLeakNothing) {
  const std::uint64_t registered = ENTITY::registered_count();
  const std::size_t live = plane::pool().live();
  const MOD_INFO* bad = k2_error(K2_ERROR::BAD_SURFACE);
  EXPECT_EQ(thrown_info([] { return new plane(POSITION3(), UNITVEC3(VECTOR3())); }), bad);
  EXPECT_EQ(thrown_info([] {
              return new plane(POSITION3(), UNITVEC3(host_nan(), 0.0, 1.0), VECTOR3(1, 0, 0));
            }),
            bad);
  EXPECT_EQ(thrown_info(
                [] { return new plane(POSITION3(host_nan(), 0.0, 0.0), UNITVEC3(0.0, 0.0, 1.0)); }),
            bad);
  EXPECT_EQ(thrown_info([] {
              return new plane(POSITION3(0.0, host_neg_inf(), 0.0), UNITVEC3(0.0, 0.0, 1.0));
            }),
            bad);
  EXPECT_EQ(thrown_info([] { return new plane(POSITION3(), UNITVEC3(0.0, 0.0, 1.0)); }), nullptr);
  EXPECT_EQ(ENTITY::registered_count(), registered);
  EXPECT_EQ(plane::pool().live(), live);
}

// --- cylinder ---

TEST(GeometryCylinder, ClosestPointIsTheRadialProjection) {
  GEOM_REF<cylinder> cyl(new cylinder(POSITION3(), UNITVEC3(0.0, 0.0, 1.0), 2.0));
  EXPECT_EQ(cyl->ref_dir(), VECTOR3(1.0, 0.0, 0.0));
  expect_near(cyl->binormal(), VECTOR3(0.0, 1.0, 0.0), 0.0);
  pt_on_sf foot;
  double dist = -1.0;
  EXPECT_EQ(cyl->closest_point(POSITION3(5.0, 0.0, 7.0), foot, dist), nullptr);
  EXPECT_EQ(dist, 3.0);
  EXPECT_EQ(foot.u(), 0.0);
  EXPECT_EQ(foot.v(), 7.0);
  expect_near(foot.evaluate(), POSITION3(2.0, 0.0, 7.0), kTight);

  EXPECT_EQ(cyl->closest_point(POSITION3(0.0, -4.0, 1.0), foot, dist), nullptr);
  EXPECT_EQ(dist, 2.0);
  EXPECT_NEAR(foot.u(), 1.5 * HOST_PI, kTight);
  expect_near(foot.evaluate(), POSITION3(0.0, -2.0, 1.0), kTight);

  // From inside.
  EXPECT_EQ(cyl->closest_point(POSITION3(-0.5, 0.0, -3.0), foot, dist), nullptr);
  EXPECT_EQ(dist, 1.5);
  EXPECT_NEAR(foot.u(), HOST_PI, kTight);
  expect_near(foot.evaluate(), POSITION3(-2.0, 0.0, -3.0), kTight);
}

TEST(GeometryCylinder, DistanceIsClosestPointsDistanceToTheBit) {
  GEOM_REF<cylinder> cyl(new cylinder(POSITION3(1.5, -2.0, 0.25), UNITVEC3(0.3, -0.4, 0.8), 7.25));
  const POSITION3 points[] = {POSITION3(5.0, 0.0, 7.0),     POSITION3(-3.1, 4.7, -2.2),
                              POSITION3(1.5, -2.0, 0.25),   // on the axis
                              POSITION3(1e6, -3e5, 2e4),    POSITION3(host_nan(), 0.0, 0.0),
                              POSITION3(7.0, 1.0 / 3.0, 0.1)};
  for (const POSITION3& p : points) {
    pt_on_sf foot;
    double expected = -1.0, got = -1.0;
    MOD_INFO* const a = cyl->closest_point(p, foot, expected);
    MOD_INFO* const b = cyl->distance(p, got);
    EXPECT_EQ(a, b);
    if (std::isnan(expected)) {
      EXPECT_TRUE(std::isnan(got));
    } else {
      EXPECT_EQ(got, expected);
    }
  }
  // The plane answers through closest_point itself.
  GEOM_REF<plane> pl(new plane(POSITION3(0, 0, 1), UNITVEC3(0, 0, 1)));
  double d = -1.0;
  EXPECT_EQ(pl->distance(POSITION3(3, 4, -2), d), nullptr);
  EXPECT_EQ(d, 3.0);
}

TEST(GeometryCylinder, LimitInsideAtAndBeyond) {
  GEOM_REF<cylinder> cyl(new cylinder(POSITION3(), UNITVEC3(0.0, 0.0, 1.0), 2.0));
  const POSITION3 p(0.0, 5.0, 1.0);
  pt_on_sf foot;
  double dist = -1.0;
  EXPECT_EQ(cyl->closest_point(p, foot, dist, 10.0), nullptr);
  EXPECT_EQ(cyl->closest_point(p, foot, dist, 3.0), nullptr);  // dist == limit succeeds
  EXPECT_EQ(dist, 3.0);
  foot = pt_on_sf();
  dist = -1.0;
  EXPECT_EQ(cyl->closest_point(p, foot, dist, 2.5), k2_error(K2_ERROR::OUT_OF_LIMIT));
  EXPECT_EQ(dist, 3.0);
  EXPECT_EQ(foot.get_surface(), cyl.get());
  expect_near(foot.evaluate(), POSITION3(0.0, 2.0, 1.0), kTight);
  EXPECT_EQ(cyl->closest_point(p, foot, dist, -1.0), nullptr);  // negative: no limit
}

TEST(GeometryCylinder, PointOnTheAxisHasNoUniqueFoot) {
  GEOM_REF<cylinder> cyl(new cylinder(POSITION3(1.0, 1.0, 0.0), UNITVEC3(0.0, 0.0, 1.0), 3.0));
  pt_on_sf foot;
  double dist = -1.0;
  EXPECT_EQ(cyl->closest_point(POSITION3(1.0, 1.0, 4.0), foot, dist),
            k2_error(K2_ERROR::NO_CLOSEST_POINT));
  EXPECT_EQ(foot.get_surface(), cyl.get());
  EXPECT_EQ(foot.u(), 0.0);
  EXPECT_EQ(foot.v(), 4.0);
  EXPECT_EQ(dist, 3.0);
  expect_near(foot.evaluate(), POSITION3(4.0, 1.0, 4.0), kTight);
  // Within the on-axis band (1e-12 · radius) it is still on the axis ...
  EXPECT_EQ(cyl->closest_point(POSITION3(1.0 + 1e-12, 1.0, 4.0), foot, dist),
            k2_error(K2_ERROR::NO_CLOSEST_POINT));
  // ... and beyond it there is a foot again.
  EXPECT_EQ(cyl->closest_point(POSITION3(1.0, 1.0 + 1e-9, 4.0), foot, dist), nullptr);
  EXPECT_NEAR(foot.u(), HOST_HALF_PI, kTight);
  EXPECT_NEAR(dist, 3.0 - 1e-9, 1e-12);
  const VECTOR2 uv = cyl->param(POSITION3(1.0, 1.0, -2.0));
  EXPECT_EQ(uv.x(), 0.0);
  EXPECT_EQ(uv.y(), -2.0);
}

TEST(GeometryCylinder, NanPointHasNoClosestPoint) {
  GEOM_REF<cylinder> cyl(new cylinder(POSITION3(), UNITVEC3(0.0, 0.0, 1.0), 1.0));
  pt_on_sf foot;
  double dist = 0.0;
  EXPECT_EQ(cyl->closest_point(POSITION3(1.0, host_nan(), 0.0), foot, dist, 5.0),
            k2_error(K2_ERROR::NO_CLOSEST_POINT));
  EXPECT_TRUE(host_is_nan(dist));
  EXPECT_TRUE(host_is_nan(cyl->signed_distance(POSITION3(host_nan(), 0.0, 0.0))));
  EXPECT_TRUE(host_is_nan(cyl->param(POSITION3(0.0, 0.0, host_nan())).y()));
}

TEST(GeometryCylinder, NormalPointsAwayFromTheAxis) {
  GEOM_REF<cylinder> cyl(new cylinder(POSITION3(1.0, 2.0, 3.0), UNITVEC3(1.0, 1.0, 0.0), 0.75));
  for (double u : {0.0, 0.5, 2.0, 3.5, 6.0}) {
    for (double v : {-2.0, 0.0, 3.0}) {
      const POSITION3 p = cyl->eval(u, v);
      const POSITION3 on_axis = cyl->root() + v * cyl->axis();
      const UNITVEC3 n = cyl->eval_normal(u, v);
      expect_near(n, (p - on_axis) / 0.75, 1e-12);
      VECTOR3 du;
      VECTOR3 dv;
      cyl->eval_derivs(u, v, du, dv);
      EXPECT_GT(dot(cross(du, dv), n), 0.0);
      EXPECT_NEAR(cyl->signed_distance(p + 0.5 * n), 0.5, 1e-12);
      EXPECT_NEAR(cyl->signed_distance(p - 0.5 * n), -0.5, 1e-12);
    }
  }
}

TEST(GeometryCylinder, EvalParamRoundTripWithUInZeroTwoPi) {
  GEOM_REF<cylinder> cyl(new cylinder(POSITION3(0.5, -1.0, 2.0), UNITVEC3(0.0, 1.0, 1.0), 4.0,
                                      VECTOR3(1.0, 0.0, 0.0)));
  for (int i = 0; i < 64; ++i) {
    const double u = HOST_TWO_PI * i / 64.0;
    for (double v : {-5.0, 0.0, 2.5}) {
      const VECTOR2 uv = cyl->param(cyl->eval(u, v));
      EXPECT_GE(uv.x(), 0.0);
      EXPECT_LT(uv.x(), HOST_TWO_PI);
      EXPECT_NEAR(uv.x(), u, 1e-12);
      EXPECT_NEAR(uv.y(), v, 1e-12);
      expect_derivs_match(*cyl, u, v);
    }
  }
  // Just before the seam the angle stays just below 2π ...
  const double before = HOST_TWO_PI - 1e-9;
  EXPECT_NEAR(cyl->param(cyl->eval(before, 1.0)).x(), before, 1e-12);
  // ... and a negative angle comes back in [0, 2π).
  EXPECT_NEAR(cyl->param(cyl->eval(-0.25, 1.0)).x(), HOST_TWO_PI - 0.25, 1e-12);
  // An angle so slightly negative that adding 2π rounds to 2π belongs to 0.
  GEOM_REF<cylinder> z(new cylinder(POSITION3(), UNITVEC3(0.0, 0.0, 1.0), 1.0));
  const double seam = z->param(POSITION3(1.0, -1e-30, 0.0)).x();
  EXPECT_GE(seam, 0.0);
  EXPECT_LT(seam, HOST_TWO_PI);
  EXPECT_EQ(seam, 0.0);
  EXPECT_TRUE(z->periodic_u());
  EXPECT_EQ(z->period_u(), HOST_TWO_PI);
  expect_near(z->eval(0.3 + HOST_TWO_PI, 1.0), z->eval(0.3, 1.0), 1e-12);
}

TEST(GeometryCylinder, RefDirIsMadePerpendicularOrDefaulted) {
  GEOM_REF<cylinder> skew(
      new cylinder(POSITION3(), UNITVEC3(0.0, 0.0, 1.0), 1.0, VECTOR3(0.0, 2.0, 7.0)));
  expect_near(skew->ref_dir(), VECTOR3(0.0, 1.0, 0.0), kTight);
  expect_near(skew->binormal(), VECTOR3(-1.0, 0.0, 0.0), kTight);
  GEOM_REF<cylinder> parallel(
      new cylinder(POSITION3(), UNITVEC3(0.0, 0.0, 1.0), 1.0, VECTOR3(0.0, 0.0, -3.0)));
  EXPECT_EQ(parallel->ref_dir(), VECTOR3(1.0, 0.0, 0.0));
  GEOM_REF<cylinder> nan_ref(
      new cylinder(POSITION3(), UNITVEC3(0.0, 0.0, 1.0), 1.0, VECTOR3(host_nan(), 0.0, 0.0)));
  EXPECT_EQ(nan_ref->ref_dir(), VECTOR3(1.0, 0.0, 0.0));
  GEOM_REF<plane> never_periodic(new plane(POSITION3(), UNITVEC3(0.0, 0.0, 1.0)));
  EXPECT_FALSE(never_periodic->periodic_u());
  EXPECT_EQ(never_periodic->period_u(), 0.0);
}

TEST(GeometryCylinder, TransformCopyScalesTheRadius) {
  const TRANSFORM3 t = rigid_and_scale();
  GEOM_REF<cylinder> cyl(new cylinder(POSITION3(1.0, 0.0, -1.0), UNITVEC3(0.0, 1.0, 2.0), 1.5));
  GEOM_REF<cylinder> copy(cyl->transform_copy(t));
  EXPECT_EQ(copy->use_count(), 1u);
  EXPECT_NEAR(copy->radius(), 1.5 * 2.5, 1e-12);
  expect_near(copy->axis(), cyl->axis() * t, kTight);
  expect_near(copy->ref_dir(), cyl->ref_dir() * t, kTight);
  for (double u : {0.0, 1.0, 4.0}) {
    for (double v : {-1.0, 2.0}) {
      const POSITION3 image = cyl->eval(u, v) * t;
      EXPECT_NEAR(copy->signed_distance(image), 0.0, 1e-11);
      // Same angle, height scaled.
      expect_near(copy->eval(u, 2.5 * v), image, 1e-11);
      // The outward side stays outward.
      const POSITION3 outside = cyl->eval(u, v) + 0.1 * cyl->eval_normal(u, v);
      EXPECT_NEAR(copy->signed_distance(outside * t), 0.25, 1e-11);
    }
  }
  GEOM_REF<cylinder> mirrored(cyl->transform_copy(TRANSFORM3::scaling(-2.0)));
  EXPECT_NEAR(mirrored->radius(), 3.0, 1e-12);
  EXPECT_NEAR(mirrored->signed_distance(cyl->eval(1.0, 1.0) * TRANSFORM3::scaling(-2.0)), 0.0,
              1e-12);
}

TEST(GeometryCylinder, SameGeometry) {
  const double tol = 1e-6;
  GEOM_REF<cylinder> a(new cylinder(POSITION3(), UNITVEC3(0.0, 0.0, 1.0), 2.0));
  GEOM_REF<cylinder> reversed(new cylinder(POSITION3(0.0, 0.0, 9.0), UNITVEC3(0.0, 0.0, -1.0), 2.0,
                                           VECTOR3(0.0, 1.0, 0.0)));
  GEOM_REF<cylinder> wider(new cylinder(POSITION3(), UNITVEC3(0.0, 0.0, 1.0), 2.0 + 3.0 * tol));
  GEOM_REF<cylinder> shifted(
      new cylinder(POSITION3(3.0 * tol, 0.0, 0.0), UNITVEC3(0.0, 0.0, 1.0), 2.0));
  GEOM_REF<cylinder> tilted(new cylinder(POSITION3(), UNITVEC3(1e-3, 0.0, 1.0), 2.0));
  GEOM_REF<cylinder> close(
      new cylinder(POSITION3(0.5 * tol, 0.0, 0.0), UNITVEC3(0.0, 0.0, 1.0), 2.0 + 0.5 * tol));
  EXPECT_TRUE(a->same_geometry(*reversed, tol));
  EXPECT_TRUE(a->same_geometry(*close, tol));
  EXPECT_FALSE(a->same_geometry(*wider, tol));
  EXPECT_FALSE(a->same_geometry(*shifted, tol));
  EXPECT_FALSE(a->same_geometry(*tilted, tol));
}

TEST(GeometryCylinder, BadDefinitionsThrowAndLeakNothing) {
  const std::uint64_t registered = ENTITY::registered_count();
  const std::size_t live = cylinder::pool().live();
  const MOD_INFO* bad = k2_error(K2_ERROR::BAD_SURFACE);
  const UNITVEC3 z(0.0, 0.0, 1.0);
  for (double r : {0.0, -1.0, host_nan(), host_pos_inf()}) {
    EXPECT_EQ(thrown_info([&] { return new cylinder(POSITION3(), z, r); }), bad) << r;
    EXPECT_EQ(thrown_info([&] { return new cylinder(POSITION3(), z, r, VECTOR3(1, 0, 0)); }), bad);
  }
  EXPECT_EQ(thrown_info([] { return new cylinder(POSITION3(), UNITVEC3(VECTOR3()), 1.0); }), bad);
  EXPECT_EQ(thrown_info([&] { return new cylinder(POSITION3(0.0, 0.0, host_nan()), z, 1.0); }),
            bad);
  EXPECT_EQ(thrown_info([&] { return new cylinder(POSITION3(), z, 1e-300); }), nullptr);
  EXPECT_EQ(ENTITY::registered_count(), registered);
  EXPECT_EQ(cylinder::pool().live(), live);
}

// --- pt_on_sf ---

TEST(GeometryPtOnSf, EvaluatesThroughItsSurface) {
  GEOM_REF<cylinder> cyl(new cylinder(POSITION3(), UNITVEC3(0.0, 0.0, 1.0), 2.0));
  const pt_on_sf p(cyl.get(), HOST_HALF_PI, 3.0);
  EXPECT_EQ(p.get_surface(), cyl.get());
  EXPECT_EQ(p.uv(), VECTOR2(HOST_HALF_PI, 3.0));
  expect_near(p.evaluate(), POSITION3(0.0, 2.0, 3.0), kTight);
  VECTOR3 du(9.0, 9.0, 9.0);
  VECTOR3 dv(9.0, 9.0, 9.0);
  p.evaluate(0, &du, &dv);  // order 0 leaves the derivatives alone
  EXPECT_EQ(du, VECTOR3(9.0, 9.0, 9.0));
  expect_near(p.evaluate(1, &du, &dv), POSITION3(0.0, 2.0, 3.0), kTight);
  expect_near(du, VECTOR3(-2.0, 0.0, 0.0), kTight);
  expect_near(dv, VECTOR3(0.0, 0.0, 1.0), kTight);
  expect_near(p.evaluate(1, nullptr, &dv), POSITION3(0.0, 2.0, 3.0), kTight);
  expect_near(p.evaluate_nor(), VECTOR3(0.0, 1.0, 0.0), kTight);

  GEOM_REF<plane> pl(new plane(POSITION3(), UNITVEC3(0.0, -1.0, 0.0)));
  expect_near(pt_on_sf(pl.get(), 1.0, 2.0).evaluate_nor(), VECTOR3(0.0, -1.0, 0.0), 0.0);
}

TEST(GeometryPtOnSf, WithoutSurfaceEverythingIsNan) {
  const pt_on_sf none;
  EXPECT_EQ(none.get_surface(), nullptr);
  EXPECT_TRUE(host_is_nan(none.u()));
  EXPECT_TRUE(host_is_nan(none.v()));
  VECTOR3 du;
  VECTOR3 dv;
  EXPECT_TRUE(all_nan(VECTOR3(none.evaluate(1, &du, &dv))));
  EXPECT_TRUE(all_nan(du));
  EXPECT_TRUE(all_nan(dv));
  EXPECT_TRUE(all_nan(none.evaluate_nor()));
  const pt_on_sf params_only(nullptr, 1.0, 2.0);
  EXPECT_EQ(params_only.u(), 1.0);
  EXPECT_TRUE(all_nan(VECTOR3(params_only.evaluate())));
}

// --- lifetime and types ---

TEST(GeometryEntity, LastReleaseFrees) {
  const std::uint64_t registered = ENTITY::registered_count();
  const std::size_t live = plane::pool().live();
  plane* pl = new plane(POSITION3(), UNITVEC3(0.0, 0.0, 1.0));
  const std::uint64_t id = pl->sysid();
  EXPECT_EQ(pl->use_count(), 0u);
  EXPECT_EQ(ENTITY::registered_count(), registered + 1);
  if (kPooled) {
    EXPECT_EQ(plane::pool().live(), live + 1);
  }
  EXPECT_TRUE(ENTITY::is_live(pl, id));
  pl->acquire();
  pl->acquire();
  EXPECT_EQ(pl->use_count(), 2u);
  pl->release();
  EXPECT_TRUE(ENTITY::is_live(pl, id));
  EXPECT_EQ(ENTITY::lookup(id), pl);
  pl->release();
  EXPECT_FALSE(ENTITY::is_live(pl, id));
  EXPECT_EQ(ENTITY::lookup(id), nullptr);
  EXPECT_EQ(ENTITY::registered_count(), registered);
  EXPECT_EQ(plane::pool().live(), live);
}

TEST(GeometryEntity, GeomRefCopyAndMove) {
  const std::uint64_t registered = ENTITY::registered_count();
  {
    GEOM_REF<surface> a(new cylinder(POSITION3(), UNITVEC3(0.0, 0.0, 1.0), 1.0));
    EXPECT_EQ(a->use_count(), 1u);
    GEOM_REF<surface> b(a);
    EXPECT_EQ(a->use_count(), 2u);
    EXPECT_EQ(b.get(), a.get());
    GEOM_REF<surface> c(std::move(b));
    EXPECT_FALSE(b);  // NOLINT: a moved-from reference is empty
    EXPECT_EQ(c->use_count(), 2u);
    GEOM_REF<surface> d;
    d = c;
    EXPECT_EQ(a->use_count(), 3u);
    d = GEOM_REF<surface>();
    EXPECT_EQ(a->use_count(), 2u);
    d = std::move(c);
    EXPECT_FALSE(c);  // NOLINT
    EXPECT_EQ(a->use_count(), 2u);
    a = GEOM_REF<surface>(new plane(POSITION3(), UNITVEC3(1.0, 0.0, 0.0)));
    EXPECT_EQ(d->use_count(), 1u);
    EXPECT_EQ(ENTITY::registered_count(), registered + 2);
    swap(a, d);
    EXPECT_TRUE(d->is_a(plane::type));
  }
  EXPECT_EQ(ENTITY::registered_count(), registered);
}

TEST(GeometryEntity, TypesFormATree) {
  EXPECT_STREQ(surface::type.name(), "SURFACE");
  EXPECT_STREQ(plane::type.name(), "PLANE");
  EXPECT_STREQ(cylinder::type.name(), "CYLINDER");
  EXPECT_STREQ(plane::type.package(), "geo");
  EXPECT_STREQ(surface::type.package(), "geo");
  EXPECT_STREQ(cylinder::type.package(), "geo");
  EXPECT_EQ(plane::type.parent(), &surface::type);
  EXPECT_EQ(cylinder::type.parent(), &surface::type);
  EXPECT_EQ(surface::type.parent(), &GEOMETRY_ENTITY::type);
  EXPECT_TRUE(plane::type <= surface::type);
  EXPECT_TRUE(plane::type <= GEOMETRY_ENTITY::type);
  EXPECT_TRUE(plane::type <= ENTITY::type);
  EXPECT_FALSE(plane::type <= curve::type);
  EXPECT_FALSE(plane::type <= cylinder::type);
  EXPECT_FALSE(surface::type <= plane::type);

  GEOM_REF<plane> pl(new plane(POSITION3(), UNITVEC3(0.0, 0.0, 1.0)));
  GEOM_REF<cylinder> cyl(new cylinder(POSITION3(), UNITVEC3(0.0, 0.0, 1.0), 1.0));
  EXPECT_EQ(&pl->identity(), &plane::type);
  EXPECT_EQ(&cyl->identity(), &cylinder::type);
  EXPECT_TRUE(pl->is_a(surface::type));
  EXPECT_FALSE(pl->is_a(curve::type));
  ENTITY* e = cyl.get();
  EXPECT_EQ(entity_cast<surface>(e), cyl.get());
  EXPECT_EQ(entity_cast<plane>(e), nullptr);
  EXPECT_EQ(entity_cast<curve>(e), nullptr);
}
