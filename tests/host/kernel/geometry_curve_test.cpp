// Straight lines and points: evaluation, closest points, transforms, bad
// definitions and types.

#include <gtest/gtest.h>

#include <cmath>

#include "host/geometry/constants.h"
#include "host/geometry/transform3.h"
#include "host/kernel/entity/entity.h"
#include "host/kernel/entity/geometry_entity.h"
#include "host/kernel/geometry/curve.h"
#include "host/kernel/geometry/point.h"
#include "host/kernel/geometry/straight.h"
#include "host/kernel/geometry/surface.h"
#include "host/kernel/kernel_errors.h"

namespace {

// Sanitizer builds take every object from the system allocator.
#ifdef LUMESH_NO_POOLS
constexpr bool kPooled = false;
#else
constexpr bool kPooled = true;
#endif

void expect_near(const VECTOR3& a, const VECTOR3& b, double tol) {
  EXPECT_NEAR(a.x(), b.x(), tol);
  EXPECT_NEAR(a.y(), b.y(), tol);
  EXPECT_NEAR(a.z(), b.z(), tol);
}
void expect_near(const POSITION3& a, const POSITION3& b, double tol) {
  expect_near(VECTOR3(a), VECTOR3(b), tol);
}

// The record of the TV_EXCEPTION that f throws, or null when it throws none.
// A curve made without throwing is released again.
template <class F>
MOD_INFO* thrown_info(F f) {
  try {
    GEOM_REF<curve> made(f());
  } catch (const TV_EXCEPTION& e) {
    return e.info();
  }
  return nullptr;
}

}  // namespace

TEST(GeometryStraight, EvalIsArcLength) {
  GEOM_REF<straight> s(new straight(POSITION3(1.0, 2.0, 3.0), UNITVEC3(0.0, 3.0, 4.0)));
  expect_near(s->direction(), VECTOR3(0.0, 0.6, 0.8), 1e-15);
  EXPECT_EQ(s->eval(0.0), POSITION3(1.0, 2.0, 3.0));
  expect_near(s->eval(5.0), POSITION3(1.0, 5.0, 7.0), 1e-14);
  expect_near(s->eval(-5.0), POSITION3(1.0, -1.0, -1.0), 1e-14);
  expect_near(s->eval_deriv(17.0), s->direction(), 0.0);
  for (double t : {-3.5, 0.0, 0.1, 100.0}) {
    EXPECT_NEAR(s->param(s->eval(t)), t, 1e-12);
    const VECTOR3 fd = (s->eval(t + 1e-6) - s->eval(t - 1e-6)) / 2e-6;
    expect_near(fd, s->eval_deriv(t), 1e-8);
  }
}

TEST(GeometryStraight, ClosestPointIsTheOrthogonalProjection) {
  GEOM_REF<straight> s(new straight(POSITION3(0.0, 0.0, 1.0), UNITVEC3(1.0, 0.0, 0.0)));
  POSITION3 foot;
  double t = 0.0;
  double dist = -1.0;
  EXPECT_EQ(s->closest_point(POSITION3(4.0, 3.0, 5.0), foot, t, dist), nullptr);
  EXPECT_EQ(t, 4.0);
  EXPECT_EQ(foot, POSITION3(4.0, 0.0, 1.0));
  EXPECT_EQ(dist, 5.0);
  EXPECT_EQ(s->param(POSITION3(-2.0, 9.0, 9.0)), -2.0);
  EXPECT_EQ(s->closest_point(POSITION3(-7.0, 0.0, 1.0), foot, t, dist), nullptr);
  EXPECT_EQ(dist, 0.0);
  EXPECT_EQ(t, -7.0);

  EXPECT_EQ(s->closest_point(POSITION3(host_nan(), 0.0, 0.0), foot, t, dist),
            k2_error(K2_ERROR::NO_CLOSEST_POINT));
  EXPECT_TRUE(host_is_nan(t));
  EXPECT_TRUE(host_is_nan(dist));
  EXPECT_TRUE(host_is_nan(foot.x()));
  EXPECT_TRUE(host_is_nan(s->param(POSITION3(0.0, host_nan(), 0.0))));
}

TEST(GeometryStraight, TransformCopy) {
  const TRANSFORM3 t = TRANSFORM3::rotation(POSITION3(), VECTOR3(0.0, 0.0, 1.0), HOST_HALF_PI) *
                       TRANSFORM3::translation(VECTOR3(1.0, 1.0, 1.0)) * TRANSFORM3::scaling(3.0);
  GEOM_REF<straight> s(new straight(POSITION3(1.0, 0.0, 0.0), UNITVEC3(1.0, 0.0, 0.0)));
  straight* raw = s->transform_copy(t);
  EXPECT_EQ(raw->use_count(), 0u);
  GEOM_REF<curve> copy(raw);
  expect_near(raw->root(), POSITION3(3.0, 6.0, 3.0), 1e-12);
  expect_near(raw->direction(), VECTOR3(0.0, 1.0, 0.0), 1e-12);
  // The copy's parameter is arc length again: 2 along the original is 6 along it.
  expect_near(copy->eval(6.0), s->eval(2.0) * t, 1e-12);
}

TEST(GeometryStraight, BadDefinitionsThrowAndLeakNothing) {
  const std::uint64_t registered = ENTITY::registered_count();
  const std::size_t live = straight::pool().live();
  const MOD_INFO* bad = k2_error(K2_ERROR::BAD_CURVE);
  EXPECT_EQ(thrown_info([] { return new straight(POSITION3(), UNITVEC3(VECTOR3())); }), bad);
  EXPECT_EQ(thrown_info(
                [] { return new straight(POSITION3(), UNITVEC3(VECTOR3(host_nan(), 1.0, 0.0))); }),
            bad);
  EXPECT_EQ(thrown_info([] {
              return new straight(POSITION3(host_pos_inf(), 0.0, 0.0), UNITVEC3(0.0, 0.0, 1.0));
            }),
            bad);
  EXPECT_EQ(thrown_info([] { return new straight(POSITION3(), UNITVEC3(0.0, 0.0, 1.0)); }),
            nullptr);
  EXPECT_EQ(ENTITY::registered_count(), registered);
  EXPECT_EQ(straight::pool().live(), live);
}

TEST(GeometryStraight, LastReleaseFrees) {
  const std::uint64_t registered = ENTITY::registered_count();
  const std::size_t live = straight::pool().live();
  {
    GEOM_REF<curve> a(new straight(POSITION3(), UNITVEC3(0.0, 0.0, 1.0)));
    GEOM_REF<curve> b = a;
    EXPECT_EQ(a->use_count(), 2u);
    if (kPooled) {
      EXPECT_EQ(straight::pool().live(), live + 1);
    }
  }
  EXPECT_EQ(ENTITY::registered_count(), registered);
  EXPECT_EQ(straight::pool().live(), live);
}

TEST(GeometryPoint, Point3HoldsItsPosition) {
  const std::uint64_t registered = ENTITY::registered_count();
  {
    GEOM_REF<point> p(new point3(POSITION3(1.0, -2.0, 3.5)));
    EXPECT_EQ(p->position(), POSITION3(1.0, -2.0, 3.5));
    EXPECT_TRUE(static_cast<point3*>(p.get())->is_finite());
    const TRANSFORM3 t = TRANSFORM3::translation(VECTOR3(1.0, 1.0, 1.0)) * TRANSFORM3::scaling(2.0);
    GEOM_REF<point> moved(p->transform_copy(t));
    EXPECT_EQ(moved->use_count(), 1u);
    expect_near(moved->position(), POSITION3(4.0, -2.0, 9.0), 1e-12);
    EXPECT_EQ(p->position(), POSITION3(1.0, -2.0, 3.5));

    // A non-finite position is kept, and said to be one.
    GEOM_REF<point3> odd(new point3(POSITION3(host_nan(), 0.0, host_pos_inf())));
    EXPECT_FALSE(odd->is_finite());
    EXPECT_TRUE(host_is_nan(odd->position().x()));
    EXPECT_EQ(odd->position().z(), host_pos_inf());
    EXPECT_EQ(ENTITY::registered_count(), registered + 3);
  }
  EXPECT_EQ(ENTITY::registered_count(), registered);
}

TEST(GeometryCurve, TypesFormATree) {
  EXPECT_STREQ(curve::type.name(), "CURVE");
  EXPECT_STREQ(straight::type.name(), "STRAIGHT");
  EXPECT_STREQ(point::type.name(), "POINT");
  EXPECT_STREQ(point3::type.name(), "POINT3");
  for (const ENTITY_TYPE* t : {&curve::type, &straight::type, &point::type, &point3::type}) {
    EXPECT_STREQ(t->package(), "geo");
  }
  EXPECT_EQ(curve::type.parent(), &GEOMETRY_ENTITY::type);
  EXPECT_EQ(straight::type.parent(), &curve::type);
  EXPECT_EQ(point::type.parent(), &GEOMETRY_ENTITY::type);
  EXPECT_EQ(point3::type.parent(), &point::type);
  EXPECT_TRUE(straight::type <= curve::type);
  EXPECT_TRUE(straight::type <= GEOMETRY_ENTITY::type);
  EXPECT_FALSE(straight::type <= surface::type);
  EXPECT_TRUE(point3::type <= point::type);
  EXPECT_FALSE(point3::type <= curve::type);

  GEOM_REF<straight> s(new straight(POSITION3(), UNITVEC3(0.0, 0.0, 1.0)));
  GEOM_REF<point3> p(new point3(POSITION3()));
  EXPECT_EQ(&s->identity(), &straight::type);
  EXPECT_EQ(&p->identity(), &point3::type);
  ENTITY* e = s.get();
  EXPECT_EQ(entity_cast<curve>(e), s.get());
  EXPECT_EQ(entity_cast<surface>(e), nullptr);
  EXPECT_EQ(entity_cast<point>(static_cast<ENTITY*>(p.get())), p.get());
}
