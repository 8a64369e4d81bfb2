#include "host/geometry/position3.h"

#include <gtest/gtest.h>

#include <cmath>
#include <type_traits>

#include "host/base/assertion.h"

namespace {

int g_reports = 0;
void count_report(const ASSERTION_REPORT&) {
  ++g_reports;
}

}  // namespace

TEST(Position3, ConstructionAndAccess) {
  constexpr POSITION3 o;
  static_assert(o.x() == 0.0 && o.y() == 0.0 && o.z() == 0.0);
  POSITION3 p(1.0, 2.0, 3.0);
  EXPECT_EQ(p[0], 1.0);
  EXPECT_EQ(p[1], 2.0);
  EXPECT_EQ(p[2], 3.0);
  p[1] = -5.0;
  EXPECT_EQ(p, POSITION3(1.0, -5.0, 3.0));
  EXPECT_EQ(POSITION3(VECTOR3(4.0, 5.0, 6.0)), POSITION3(4.0, 5.0, 6.0));
}

TEST(Position3, AffineRules) {
  const POSITION3 p(1.0, 2.0, 3.0);
  const VECTOR3 v(0.5, -1.0, 2.0);
  static_assert(std::is_same_v<decltype(p + v), POSITION3>);
  static_assert(std::is_same_v<decltype(p - v), POSITION3>);
  static_assert(std::is_same_v<decltype(p - p), VECTOR3>);
  static_assert(!std::is_convertible_v<POSITION3, VECTOR3>);
  static_assert(!std::is_convertible_v<VECTOR3, POSITION3>);
  EXPECT_EQ(p + v, POSITION3(1.5, 1.0, 5.0));
  EXPECT_EQ(v + p, POSITION3(1.5, 1.0, 5.0));
  EXPECT_EQ(p - v, POSITION3(0.5, 3.0, 1.0));
  EXPECT_EQ((p + v) - p, v);
  POSITION3 q = p;
  q += v;
  EXPECT_EQ(q, p + v);
  q -= v;
  EXPECT_EQ(q, p);
}

TEST(Position3, Distance) {
  const POSITION3 a(1.0, 1.0, 1.0), b(3.0, 4.0, 7.0);
  EXPECT_EQ(dist2(a, b), 49.0);
  EXPECT_EQ(dist(a, b), 7.0);
  EXPECT_EQ(dist(b, a), 7.0);
  EXPECT_EQ(dist(a, a), 0.0);
  EXPECT_TRUE(host_is_nan(dist(a, POSITION3(host_nan(), 0.0, 0.0))));
}

TEST(Position3, InterpolateHitsEndsExactly) {
  const POSITION3 a(0.1, -0.7, 3.3), b(2.9, 1.3, -8.1);
  EXPECT_EQ(interpolate(0.0, a, b), a);
  EXPECT_EQ(interpolate(1.0, a, b), b);
  const POSITION3 m = interpolate(0.5, a, b);
  EXPECT_DOUBLE_EQ(m.x(), 1.5);
  EXPECT_DOUBLE_EQ(m.y(), 0.3);
  EXPECT_DOUBLE_EQ(m.z(), -2.4);
  const POSITION3 e = interpolate(2.0, POSITION3(0, 0, 0), POSITION3(1, 2, 3));
  EXPECT_EQ(e, POSITION3(2.0, 4.0, 6.0));
}

TEST(Position3, EqualityIsExact) {
  const POSITION3 p(1.0, 2.0, 3.0);
  EXPECT_TRUE(p == POSITION3(1.0, 2.0, 3.0));
  EXPECT_FALSE(p == POSITION3(1.0, 2.0, std::nextafter(3.0, 4.0)));
  const POSITION3 n(0.0, host_nan(), 0.0);
  EXPECT_FALSE(n == n);
  EXPECT_FALSE(n.is_finite());
  EXPECT_TRUE(p.is_finite());
}

TEST(Position3, BadIndexIsReportedAndHarmless) {
  g_reports = 0;
  const ASSERTION_HANDLER old = set_assertion_handler(&count_report);
  POSITION3 p(1.0, 2.0, 3.0);
  EXPECT_TRUE(host_is_nan(static_cast<const POSITION3&>(p)[3]));
  p[-1] = 9.0;
  set_assertion_handler(old);
  EXPECT_EQ(g_reports, 2);
  EXPECT_EQ(p, POSITION3(1.0, 2.0, 3.0));
}
