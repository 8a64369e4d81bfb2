#include "host/geometry/vector3.h"

#include <gtest/gtest.h>

#include <cmath>

#include "host/base/assertion.h"
#include "host/geometry/position3.h"
#include "host/geometry/unitvec3.h"

namespace {

bool all_nan(const VECTOR3& v) {
  return host_is_nan(v.x()) && host_is_nan(v.y()) && host_is_nan(v.z());
}

int g_reports = 0;
void count_report(const ASSERTION_REPORT&) {
  ++g_reports;
}

}  // namespace

TEST(Vector3, ConstructionAndAccess) {
  constexpr VECTOR3 zero;
  static_assert(zero.x() == 0.0 && zero.y() == 0.0 && zero.z() == 0.0);
  constexpr VECTOR3 v(1.0, -2.0, 3.5);
  static_assert(v.x() == 1.0 && v.y() == -2.0 && v.z() == 3.5);
  EXPECT_EQ(v[0], 1.0);
  EXPECT_EQ(v[1], -2.0);
  EXPECT_EQ(v[2], 3.5);

  VECTOR3 w;
  w[0] = 4.0;
  w[2] = -1.0;
  EXPECT_EQ(w, VECTOR3(4.0, 0.0, -1.0));
}

TEST(Vector3, FromPosition) {
  const POSITION3 p(1.0, 2.0, 3.0);
  EXPECT_EQ(VECTOR3(p), VECTOR3(1.0, 2.0, 3.0));
  EXPECT_EQ(POSITION3(VECTOR3(p)), p);
}

TEST(Vector3, Arithmetic) {
  const VECTOR3 a(1.0, 2.0, 3.0), b(4.0, 6.0, 8.0);
  EXPECT_EQ(a + b, VECTOR3(5.0, 8.0, 11.0));
  EXPECT_EQ(b - a, VECTOR3(3.0, 4.0, 5.0));
  EXPECT_EQ(-a, VECTOR3(-1.0, -2.0, -3.0));
  EXPECT_EQ(a * 2.0, VECTOR3(2.0, 4.0, 6.0));
  EXPECT_EQ(2.0 * a, VECTOR3(2.0, 4.0, 6.0));
  EXPECT_EQ(b / 2.0, VECTOR3(2.0, 3.0, 4.0));

  VECTOR3 c = a;
  c += b;
  EXPECT_EQ(c, VECTOR3(5.0, 8.0, 11.0));
  c -= b;
  EXPECT_EQ(c, a);
  c *= 3.0;
  EXPECT_EQ(c, VECTOR3(3.0, 6.0, 9.0));
  c /= 3.0;
  EXPECT_EQ(c, a);
}

TEST(Vector3, LengthDotCross) {
  const VECTOR3 v(2.0, 3.0, 6.0);
  EXPECT_EQ(v.len2(), 49.0);
  EXPECT_EQ(v.len(), 7.0);
  EXPECT_EQ(dot(VECTOR3(1.0, 2.0, 3.0), VECTOR3(4.0, -5.0, 6.0)), 12.0);

  const VECTOR3 ex(1.0, 0.0, 0.0), ey(0.0, 1.0, 0.0), ez(0.0, 0.0, 1.0);
  EXPECT_EQ(cross(ex, ey), ez);
  EXPECT_EQ(cross(ey, ez), ex);
  EXPECT_EQ(cross(ez, ex), ey);
  EXPECT_EQ(cross(ey, ex), -ez);
  const VECTOR3 a(1.0, 2.0, 3.0), b(-2.0, 0.5, 4.0);
  const VECTOR3 c = cross(a, b);
  EXPECT_EQ(dot(c, a), 0.0);
  EXPECT_EQ(dot(c, b), 0.0);
  EXPECT_EQ(cross(a, a), VECTOR3());
}

TEST(Vector3, EqualityIsExact) {
  const VECTOR3 a(0.1, 0.2, 0.3);
  EXPECT_TRUE(a == VECTOR3(0.1, 0.2, 0.3));
  EXPECT_FALSE(a == VECTOR3(0.1, 0.2, std::nextafter(0.3, 1.0)));
  EXPECT_TRUE(a != VECTOR3(0.1, 0.2, std::nextafter(0.3, 1.0)));
  const VECTOR3 n(host_nan(), 0.0, 0.0);
  EXPECT_FALSE(n == n);
  EXPECT_EQ(VECTOR3(0.0, 0.0, 0.0), VECTOR3(-0.0, 0.0, -0.0));
}

TEST(Vector3, NormOfProperVector) {
  const VECTOR3 n = VECTOR3(3.0, 0.0, 4.0).norm();
  EXPECT_DOUBLE_EQ(n.x(), 0.6);
  EXPECT_EQ(n.y(), 0.0);
  EXPECT_DOUBLE_EQ(n.z(), 0.8);
  EXPECT_NEAR(n.len(), 1.0, 1e-15);
  EXPECT_EQ(VECTOR3(0.0, -5.0, 0.0).norm(), VECTOR3(0.0, -1.0, 0.0));
}

TEST(Vector3, NormOfTinyAndHugeVectors) {
  // Their squares underflow or overflow; the direction must survive anyway.
  const VECTOR3 tiny = VECTOR3(3e-200, 4e-200, 0.0).norm();
  EXPECT_NEAR(tiny.x(), 0.6, 1e-15);
  EXPECT_NEAR(tiny.y(), 0.8, 1e-15);
  const VECTOR3 sub = VECTOR3(0.0, 0.0, 5e-324).norm();
  EXPECT_EQ(sub, VECTOR3(0.0, 0.0, 1.0));
  const VECTOR3 huge = VECTOR3(-3e200, 0.0, 4e200).norm();
  EXPECT_NEAR(huge.x(), -0.6, 1e-15);
  EXPECT_NEAR(huge.z(), 0.8, 1e-15);
}

TEST(Vector3, NormOfDegenerateVectorIsNan) {
  EXPECT_TRUE(all_nan(VECTOR3().norm()));
  EXPECT_TRUE(all_nan(VECTOR3(-0.0, 0.0, -0.0).norm()));
  EXPECT_TRUE(all_nan(VECTOR3(host_nan(), 1.0, 0.0).norm()));
  EXPECT_TRUE(all_nan(VECTOR3(0.0, host_pos_inf(), 0.0).norm()));
  EXPECT_TRUE(all_nan(VECTOR3(1.0, 1.0, host_neg_inf()).norm()));
  EXPECT_TRUE(all_nan(VECTOR3().uvec3()));
  EXPECT_FALSE(VECTOR3().norm().is_finite());
}

TEST(Vector3, Uvec3MatchesNorm) {
  const VECTOR3 v(1.0, -2.0, 2.0);
  const UNITVEC3 u = v.uvec3();
  EXPECT_EQ(static_cast<const VECTOR3&>(u), v.norm());
  EXPECT_NEAR(u.len(), 1.0, 1e-15);
}

TEST(Vector3, IsFinite) {
  EXPECT_TRUE(VECTOR3(1.0, 2.0, 3.0).is_finite());
  EXPECT_FALSE(VECTOR3(1.0, host_nan(), 3.0).is_finite());
  EXPECT_FALSE(VECTOR3(1.0, 2.0, host_pos_inf()).is_finite());
}

TEST(Vector3, BadIndexIsReportedAndHarmless) {
  g_reports = 0;
  const ASSERTION_HANDLER old = set_assertion_handler(&count_report);
  VECTOR3 v(1.0, 2.0, 3.0);
  const VECTOR3& cv = v;
  EXPECT_TRUE(host_is_nan(cv[3]));
  EXPECT_TRUE(host_is_nan(cv[-1]));
  v[7] = 42.0;  // lands nowhere
  set_assertion_handler(old);
  EXPECT_EQ(g_reports, 3);
  EXPECT_EQ(v, VECTOR3(1.0, 2.0, 3.0));
}
