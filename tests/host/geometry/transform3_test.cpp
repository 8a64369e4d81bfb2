#include "host/geometry/transform3.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <type_traits>

#include "host/base/assertion.h"
#include "host/geometry/constants.h"

namespace {

constexpr double kTol = 1e-12;

::testing::AssertionResult near(const VECTOR3& a, const VECTOR3& b, double tol = kTol) {
  if (std::fabs(a.x() - b.x()) <= tol && std::fabs(a.y() - b.y()) <= tol &&
      std::fabs(a.z() - b.z()) <= tol) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure() << "(" << a.x() << ", " << a.y() << ", " << a.z() << ") vs ("
                                       << b.x() << ", " << b.y() << ", " << b.z() << ")";
}

::testing::AssertionResult near(const POSITION3& a, const POSITION3& b, double tol = kTol) {
  return near(VECTOR3(a), VECTOR3(b), tol);
}

// A general map: rotation, non-uniform shear-ish matrix, translation.
TRANSFORM3 skewed() {
  const double rows[3][3] = {{2.0, 0.5, 0.0}, {0.0, 1.5, -0.25}, {0.3, 0.0, 0.75}};
  return TRANSFORM3::from_matrix(rows, VECTOR3(1.0, -2.0, 3.0));
}

int g_reports = 0;
void count_report(const ASSERTION_REPORT&) {
  ++g_reports;
}

}  // namespace

TEST(Transform3, DefaultIsIdentity) {
  const TRANSFORM3 t;
  EXPECT_TRUE(t.is_identity());
  EXPECT_TRUE(TRANSFORM3::identity().is_identity());
  EXPECT_EQ(t.scale(), 1.0);
  EXPECT_FALSE(t.reflects());
  const POSITION3 p(1.5, -2.5, 3.25);
  EXPECT_EQ(p * t, p);
  EXPECT_EQ(VECTOR3(1.0, 2.0, 3.0) * t, VECTOR3(1.0, 2.0, 3.0));
  EXPECT_EQ(t.row(0), VECTOR3(1.0, 0.0, 0.0));
  EXPECT_EQ(t.row(1), VECTOR3(0.0, 1.0, 0.0));
  EXPECT_EQ(t.row(2), VECTOR3(0.0, 0.0, 1.0));
  EXPECT_EQ(t.translation_vector(), VECTOR3());
  EXPECT_TRUE(t.inverse().is_identity());
  EXPECT_TRUE((t * t).is_identity());
}

TEST(Transform3, IsIdentityIsExact) {
  EXPECT_FALSE(TRANSFORM3::translation(VECTOR3(0.0, 0.0, 1e-300)).is_identity());
  EXPECT_FALSE(TRANSFORM3::scaling(std::nextafter(1.0, 2.0)).is_identity());
  EXPECT_TRUE(TRANSFORM3::translation(VECTOR3()).is_identity());
  EXPECT_TRUE(TRANSFORM3::scaling(1.0).is_identity());
}

TEST(Transform3, TranslationMovesPointsOnly) {
  const TRANSFORM3 t = TRANSFORM3::translation(VECTOR3(1.0, 2.0, 3.0));
  EXPECT_EQ(POSITION3(1.0, 1.0, 1.0) * t, POSITION3(2.0, 3.0, 4.0));
  EXPECT_EQ(VECTOR3(1.0, 1.0, 1.0) * t, VECTOR3(1.0, 1.0, 1.0));
  EXPECT_EQ(UNITVEC3(0.0, 1.0, 0.0) * t, VECTOR3(0.0, 1.0, 0.0));
  EXPECT_EQ(t.translation_vector(), VECTOR3(1.0, 2.0, 3.0));
  EXPECT_EQ(t.scale(), 1.0);
  EXPECT_THROW(TRANSFORM3::translation(VECTOR3(host_nan(), 0.0, 0.0)), std::invalid_argument);
  EXPECT_THROW(TRANSFORM3::translation(VECTOR3(0.0, host_pos_inf(), 0.0)), std::invalid_argument);
}

TEST(Transform3, RotationFollowsRightHandRule) {
  const TRANSFORM3 r = TRANSFORM3::rotation(POSITION3(), VECTOR3(0.0, 0.0, 1.0), HOST_HALF_PI);
  EXPECT_TRUE(near(VECTOR3(1.0, 0.0, 0.0) * r, VECTOR3(0.0, 1.0, 0.0)));
  EXPECT_TRUE(near(VECTOR3(0.0, 1.0, 0.0) * r, VECTOR3(-1.0, 0.0, 0.0)));
  EXPECT_TRUE(near(VECTOR3(0.0, 0.0, 1.0) * r, VECTOR3(0.0, 0.0, 1.0)));
  EXPECT_TRUE(near(r.row(0), VECTOR3(0.0, 1.0, 0.0)));

  // About the opposite axis, or by the opposite angle, the turn reverses.
  const TRANSFORM3 down = TRANSFORM3::rotation(POSITION3(), VECTOR3(0.0, 0.0, -1.0), HOST_HALF_PI);
  EXPECT_TRUE(near(VECTOR3(1.0, 0.0, 0.0) * down, VECTOR3(0.0, -1.0, 0.0)));
  const TRANSFORM3 back = TRANSFORM3::rotation(POSITION3(), VECTOR3(0.0, 0.0, 1.0), -HOST_HALF_PI);
  EXPECT_TRUE(near(VECTOR3(1.0, 0.0, 0.0) * back, VECTOR3(0.0, -1.0, 0.0)));

  // Cyclic axes: x about x-axis takes y to z, about y takes z to x.
  const TRANSFORM3 rx = TRANSFORM3::rotation(POSITION3(), VECTOR3(3.0, 0.0, 0.0), HOST_HALF_PI);
  EXPECT_TRUE(near(VECTOR3(0.0, 1.0, 0.0) * rx, VECTOR3(0.0, 0.0, 1.0)));
  const TRANSFORM3 ry = TRANSFORM3::rotation(POSITION3(), VECTOR3(0.0, 0.5, 0.0), HOST_HALF_PI);
  EXPECT_TRUE(near(VECTOR3(0.0, 0.0, 1.0) * ry, VECTOR3(1.0, 0.0, 0.0)));
}

TEST(Transform3, RotationAboutDiagonalPermutesAxes) {
  const TRANSFORM3 r = TRANSFORM3::rotation(POSITION3(), VECTOR3(1.0, 1.0, 1.0), HOST_TWO_PI / 3.0);
  EXPECT_TRUE(near(VECTOR3(1.0, 0.0, 0.0) * r, VECTOR3(0.0, 1.0, 0.0)));
  EXPECT_TRUE(near(VECTOR3(0.0, 1.0, 0.0) * r, VECTOR3(0.0, 0.0, 1.0)));
  EXPECT_TRUE(near(VECTOR3(0.0, 0.0, 1.0) * r, VECTOR3(1.0, 0.0, 0.0)));
  EXPECT_NEAR(r.scale(), 1.0, kTol);
  EXPECT_FALSE(r.reflects());
}

TEST(Transform3, RotationAboutOffsetAxisFixesTheAxis) {
  const POSITION3 c(1.0, 2.0, 0.0);
  const TRANSFORM3 r = TRANSFORM3::rotation(c, VECTOR3(0.0, 0.0, 1.0), HOST_HALF_PI);
  EXPECT_TRUE(near(c * r, c));
  EXPECT_TRUE(near(POSITION3(1.0, 2.0, 5.0) * r, POSITION3(1.0, 2.0, 5.0)));
  EXPECT_TRUE(near(POSITION3(2.0, 2.0, 0.0) * r, POSITION3(1.0, 3.0, 0.0)));
  // Displacements do not see the axis position.
  EXPECT_TRUE(near(VECTOR3(1.0, 0.0, 0.0) * r, VECTOR3(0.0, 1.0, 0.0)));
}

TEST(Transform3, SmallRotationKeepsItsDigits) {
  const double a = 1e-9;
  const TRANSFORM3 r = TRANSFORM3::rotation(POSITION3(), VECTOR3(0.0, 0.0, 1.0), a);
  const VECTOR3 v = VECTOR3(1.0, 0.0, 0.0) * r;
  EXPECT_DOUBLE_EQ(v.y(), std::sin(a));
  EXPECT_DOUBLE_EQ(std::atan2(v.y(), v.x()), a);
}

TEST(Transform3, RotationRejectsBadInput) {
  EXPECT_THROW(TRANSFORM3::rotation(POSITION3(), VECTOR3(), 1.0), std::invalid_argument);
  EXPECT_THROW(TRANSFORM3::rotation(POSITION3(), VECTOR3(host_nan(), 0.0, 1.0), 1.0),
               std::invalid_argument);
  EXPECT_THROW(TRANSFORM3::rotation(POSITION3(), VECTOR3(0.0, host_pos_inf(), 0.0), 1.0),
               std::invalid_argument);
  EXPECT_THROW(TRANSFORM3::rotation(POSITION3(), VECTOR3(0.0, 0.0, 1.0), host_nan()),
               std::invalid_argument);
  EXPECT_THROW(TRANSFORM3::rotation(POSITION3(host_nan(), 0, 0), VECTOR3(0.0, 0.0, 1.0), 1.0),
               std::invalid_argument);
  // A tiny axis still has a direction.
  EXPECT_NO_THROW(TRANSFORM3::rotation(POSITION3(), VECTOR3(0.0, 0.0, 1e-200), 1.0));
}

TEST(Transform3, Scaling) {
  const TRANSFORM3 s = TRANSFORM3::scaling(2.5);
  EXPECT_EQ(POSITION3(1.0, -2.0, 4.0) * s, POSITION3(2.5, -5.0, 10.0));
  EXPECT_EQ(VECTOR3(1.0, 0.0, 0.0) * s, VECTOR3(2.5, 0.0, 0.0));
  EXPECT_DOUBLE_EQ(s.scale(), 2.5);
  EXPECT_DOUBLE_EQ(s.determinant(), 2.5 * 2.5 * 2.5);
  EXPECT_FALSE(s.reflects());

  const TRANSFORM3 m = TRANSFORM3::scaling(-2.0);
  EXPECT_TRUE(m.reflects());
  EXPECT_DOUBLE_EQ(m.scale(), 2.0);
  EXPECT_EQ(POSITION3(1.0, 2.0, 3.0) * m, POSITION3(-2.0, -4.0, -6.0));

  EXPECT_THROW(TRANSFORM3::scaling(0.0), std::invalid_argument);
  EXPECT_THROW(TRANSFORM3::scaling(-0.0), std::invalid_argument);
  EXPECT_THROW(TRANSFORM3::scaling(host_nan()), std::invalid_argument);
  EXPECT_THROW(TRANSFORM3::scaling(host_pos_inf()), std::invalid_argument);
  // So small that the matrix is numerically singular.
  EXPECT_THROW(TRANSFORM3::scaling(1e-120), std::invalid_argument);
}

TEST(Transform3, CompositionAppliesLeftOperandFirst) {
  const TRANSFORM3 a = TRANSFORM3::translation(VECTOR3(1.0, 0.0, 0.0));
  const TRANSFORM3 b = TRANSFORM3::rotation(POSITION3(), VECTOR3(0.0, 0.0, 1.0), HOST_HALF_PI);
  const POSITION3 o;
  // First move to (1,0,0), then turn to (0,1,0).
  EXPECT_TRUE(near(o * (a * b), POSITION3(0.0, 1.0, 0.0)));
  // The other order turns the origin (which stays) and then moves it.
  EXPECT_TRUE(near(o * (b * a), POSITION3(1.0, 0.0, 0.0)));
  EXPECT_TRUE(near((o * a) * b, o * (a * b)));

  TRANSFORM3 c = a;
  c *= b;
  EXPECT_TRUE(equal(c, a * b, 0.0));
}

TEST(Transform3, CompositionIsAssociativeWithApplication) {
  const TRANSFORM3 a = skewed();
  const TRANSFORM3 b =
      TRANSFORM3::rotation(POSITION3(1.0, -1.0, 2.0), VECTOR3(1.0, 2.0, -0.5), 0.7);
  const TRANSFORM3 c = TRANSFORM3::scaling(-1.5) * TRANSFORM3::translation(VECTOR3(0.0, 4.0, 0.0));
  const POSITION3 pts[] = {POSITION3(), POSITION3(1.0, 2.0, 3.0), POSITION3(-7.0, 0.5, 11.0)};
  for (const POSITION3& p : pts) {
    EXPECT_TRUE(near((p * a) * b, p * (a * b), 1e-11));
    EXPECT_TRUE(near(((p * a) * b) * c, p * (a * (b * c)), 1e-11));
    EXPECT_TRUE(near(p * ((a * b) * c), p * (a * (b * c)), 1e-11));
    POSITION3 q = p;
    q *= a;
    q *= b;
    EXPECT_TRUE(near(q, p * (a * b), 1e-11));
  }
  const VECTOR3 v(0.3, -0.2, 0.9);
  EXPECT_TRUE(near((v * a) * b, v * (a * b)));
  VECTOR3 w = v;
  w *= a;
  EXPECT_EQ(w, v * a);
}

TEST(Transform3, InverseUndoes) {
  const TRANSFORM3 maps[] = {
      skewed(),
      TRANSFORM3::rotation(POSITION3(3.0, 0.0, -1.0), VECTOR3(0.2, 1.0, 0.4), 2.1),
      TRANSFORM3::scaling(-0.25) * TRANSFORM3::translation(VECTOR3(5.0, 6.0, 7.0)),
      TRANSFORM3::from_axes(POSITION3(1.0, 1.0, 1.0), VECTOR3(1.0, 1.0, 0.0),
                            VECTOR3(0.0, 0.0, 1.0)),
  };
  for (const TRANSFORM3& t : maps) {
    EXPECT_TRUE(equal(t * t.inverse(), TRANSFORM3(), 1e-12));
    EXPECT_TRUE(equal(t.inverse() * t, TRANSFORM3(), 1e-12));
    EXPECT_TRUE(equal(t.inverse().inverse(), t, 1e-12));
    EXPECT_NEAR(t.scale() * t.inverse().scale(), 1.0, 1e-12);
    EXPECT_EQ(t.reflects(), t.inverse().reflects());
    const POSITION3 p(1.25, -3.5, 0.75);
    EXPECT_TRUE(near((p * t) * t.inverse(), p));
    EXPECT_TRUE(near((p * t.inverse()) * t, p));
    const VECTOR3 v(-2.0, 0.5, 1.0);
    EXPECT_TRUE(near((v * t) * t.inverse(), v));
  }
}

TEST(Transform3, UnitVectorStaysUnit) {
  const TRANSFORM3 s = TRANSFORM3::scaling(7.0);
  const UNITVEC3 u(1.0, 2.0, 2.0);
  const UNITVEC3 us = u * s;
  static_assert(std::is_same_v<decltype(u * s), UNITVEC3>);
  EXPECT_NEAR(us.len(), 1.0, 1e-15);
  EXPECT_TRUE(near(us, u, 1e-15));

  // Under a non-uniform map the direction changes but the length does not.
  const UNITVEC3 uk = u * skewed();
  EXPECT_NEAR(uk.len(), 1.0, 1e-15);
  EXPECT_TRUE(near(uk, (static_cast<const VECTOR3&>(u) * skewed()).norm(), 1e-15));

  UNITVEC3 m = u;
  m *= TRANSFORM3::scaling(-3.0);
  EXPECT_TRUE(near(m, -u, 1e-15));
  EXPECT_NEAR(m.len(), 1.0, 1e-15);

  // A translation does not move a direction.
  EXPECT_TRUE(near(u * TRANSFORM3::translation(VECTOR3(9.0, 9.0, 9.0)), u, 1e-15));
}

TEST(Transform3, Enquire) {
  const TRANSFORM3 r = TRANSFORM3::rotation(POSITION3(), VECTOR3(0.0, 0.0, 1.0), HOST_HALF_PI);
  const TRANSFORM3 t =
      r * TRANSFORM3::scaling(3.0) * TRANSFORM3::translation(VECTOR3(1.0, 2.0, 3.0));
  VECTOR3 tr;
  VECTOR3 rows[3];
  double scale = 0.0;
  t.enquire(tr, rows, scale);
  EXPECT_NEAR(scale, 3.0, kTol);
  EXPECT_TRUE(near(tr, VECTOR3(1.0, 2.0, 3.0)));
  EXPECT_TRUE(near(rows[0], VECTOR3(0.0, 1.0, 0.0)));
  EXPECT_TRUE(near(rows[1], VECTOR3(-1.0, 0.0, 0.0)));
  EXPECT_TRUE(near(rows[2], VECTOR3(0.0, 0.0, 1.0)));
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(near(rows[i] * scale, t.row(i)));
  }
}

TEST(Transform3, FromAxes) {
  const POSITION3 o(10.0, 20.0, 30.0);
  const TRANSFORM3 f = TRANSFORM3::from_axes(o, VECTOR3(2.0, 0.0, 0.0), VECTOR3(1.0, 1.0, 0.0));
  EXPECT_EQ(POSITION3() * f, o);
  EXPECT_EQ(POSITION3(1.0, 0.0, 0.0) * f, POSITION3(11.0, 20.0, 30.0));
  EXPECT_EQ(POSITION3(0.0, 1.0, 0.0) * f, POSITION3(10.0, 21.0, 30.0));
  EXPECT_EQ(POSITION3(0.0, 0.0, 1.0) * f, POSITION3(10.0, 20.0, 31.0));
  EXPECT_DOUBLE_EQ(f.scale(), 1.0);
  EXPECT_FALSE(f.reflects());

  // A slanted frame is rigid and right-handed.
  const TRANSFORM3 g =
      TRANSFORM3::from_axes(POSITION3(), VECTOR3(1.0, 1.0, 0.0), VECTOR3(0.0, 1.0, 1.0));
  const VECTOR3 x = g.row(0), y = g.row(1), z = g.row(2);
  EXPECT_NEAR(x.len(), 1.0, kTol);
  EXPECT_NEAR(y.len(), 1.0, kTol);
  EXPECT_NEAR(z.len(), 1.0, kTol);
  EXPECT_NEAR(dot(x, y), 0.0, kTol);
  EXPECT_NEAR(dot(x, z), 0.0, kTol);
  EXPECT_TRUE(near(cross(x, y), z));
  EXPECT_TRUE(near(x, VECTOR3(1.0, 1.0, 0.0).norm()));
  EXPECT_GT(dot(y, VECTOR3(0.0, 1.0, 1.0)), 0.0);
  EXPECT_NEAR(g.determinant(), 1.0, kTol);
}

TEST(Transform3, FromAxesRejectsDegenerateFrames) {
  const POSITION3 o;
  EXPECT_THROW(TRANSFORM3::from_axes(o, VECTOR3(), VECTOR3(0.0, 1.0, 0.0)), std::invalid_argument);
  EXPECT_THROW(TRANSFORM3::from_axes(o, VECTOR3(1.0, 0.0, 0.0), VECTOR3()), std::invalid_argument);
  EXPECT_THROW(TRANSFORM3::from_axes(o, VECTOR3(1.0, 0.0, 0.0), VECTOR3(-3.0, 0.0, 0.0)),
               std::invalid_argument);
  EXPECT_THROW(TRANSFORM3::from_axes(o, VECTOR3(1.0, 0.0, 0.0), VECTOR3(1.0, 1e-13, 0.0)),
               std::invalid_argument);
  EXPECT_THROW(TRANSFORM3::from_axes(o, VECTOR3(host_nan(), 0.0, 0.0), VECTOR3(0.0, 1.0, 0.0)),
               std::invalid_argument);
  EXPECT_THROW(TRANSFORM3::from_axes(POSITION3(0.0, host_pos_inf(), 0.0), VECTOR3(1.0, 0.0, 0.0),
                                     VECTOR3(0.0, 1.0, 0.0)),
               std::invalid_argument);
  EXPECT_NO_THROW(TRANSFORM3::from_axes(o, VECTOR3(1.0, 0.0, 0.0), VECTOR3(1.0, 1e-6, 0.0)));
}

TEST(Transform3, FromMatrix) {
  const TRANSFORM3 t = skewed();
  EXPECT_EQ(t.row(0), VECTOR3(2.0, 0.5, 0.0));
  EXPECT_EQ(t.row(1), VECTOR3(0.0, 1.5, -0.25));
  EXPECT_EQ(t.row(2), VECTOR3(0.3, 0.0, 0.75));
  EXPECT_EQ(t.translation_vector(), VECTOR3(1.0, -2.0, 3.0));
  // Row vector times matrix, plus translation.
  EXPECT_EQ(POSITION3(1.0, 0.0, 0.0) * t, POSITION3(3.0, -1.5, 3.0));
  EXPECT_EQ(POSITION3(0.0, 2.0, 0.0) * t, POSITION3(1.0, 1.0, 2.5));
  EXPECT_DOUBLE_EQ(t.determinant(), 2.0 * (1.5 * 0.75) - 0.5 * (0.0 * 0.75 + 0.25 * 0.3) + 0.0);
  EXPECT_DOUBLE_EQ(t.scale(), std::cbrt(std::fabs(t.determinant())));

  const double mirror[3][3] = {{1.0, 0.0, 0.0}, {0.0, -1.0, 0.0}, {0.0, 0.0, 1.0}};
  const TRANSFORM3 m = TRANSFORM3::from_matrix(mirror, VECTOR3());
  EXPECT_TRUE(m.reflects());
  EXPECT_EQ(m.scale(), 1.0);
  EXPECT_EQ(POSITION3(1.0, 2.0, 3.0) * m, POSITION3(1.0, -2.0, 3.0));
}

TEST(Transform3, FromMatrixRejectsBadInput) {
  const double singular[3][3] = {{1.0, 2.0, 3.0}, {2.0, 4.0, 6.0}, {0.0, 0.0, 1.0}};
  EXPECT_THROW(TRANSFORM3::from_matrix(singular, VECTOR3()), std::invalid_argument);
  const double tiny[3][3] = {{1e-101, 0.0, 0.0}, {0.0, 1e-101, 0.0}, {0.0, 0.0, 1e-101}};
  EXPECT_THROW(TRANSFORM3::from_matrix(tiny, VECTOR3()), std::invalid_argument);
  const double nan_entry[3][3] = {{1.0, 0.0, 0.0}, {0.0, host_nan(), 0.0}, {0.0, 0.0, 1.0}};
  EXPECT_THROW(TRANSFORM3::from_matrix(nan_entry, VECTOR3()), std::invalid_argument);
  const double inf_entry[3][3] = {{1.0, host_pos_inf(), 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}};
  EXPECT_THROW(TRANSFORM3::from_matrix(inf_entry, VECTOR3()), std::invalid_argument);
  const double ok[3][3] = {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}};
  EXPECT_THROW(TRANSFORM3::from_matrix(ok, VECTOR3(0.0, 0.0, host_nan())), std::invalid_argument);
  EXPECT_TRUE(TRANSFORM3::from_matrix(ok, VECTOR3()).is_identity());
}

TEST(Transform3, EqualWithTolerance) {
  const TRANSFORM3 a = TRANSFORM3::translation(VECTOR3(1.0, 0.0, 0.0));
  const TRANSFORM3 b = TRANSFORM3::translation(VECTOR3(1.0 + 1e-9, 0.0, 0.0));
  EXPECT_TRUE(equal(a, b, 1e-8));
  EXPECT_FALSE(equal(a, b, 1e-10));
  EXPECT_FALSE(a == b);
  EXPECT_TRUE(a == TRANSFORM3::translation(VECTOR3(1.0, 0.0, 0.0)));
  EXPECT_FALSE(equal(TRANSFORM3(), TRANSFORM3::scaling(1.001), 1e-6));
}

TEST(Transform3, BadRowIndexIsReported) {
  g_reports = 0;
  const ASSERTION_HANDLER old = set_assertion_handler(&count_report);
  const VECTOR3 r = TRANSFORM3().row(3);
  set_assertion_handler(old);
  EXPECT_EQ(g_reports, 1);
  EXPECT_FALSE(r.is_finite());
}
