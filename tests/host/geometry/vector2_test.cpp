#include "host/geometry/vector2.h"

#include <gtest/gtest.h>

#include "host/geometry/constants.h"

TEST(Vector2, ConstructionAndAccess) {
  constexpr VECTOR2 zero;
  EXPECT_EQ(zero.x(), 0.0);
  EXPECT_EQ(zero.y(), 0.0);
  constexpr VECTOR2 v(3.0, -4.0);
  EXPECT_EQ(v.x(), 3.0);
  EXPECT_EQ(v.y(), -4.0);
  EXPECT_EQ(v.len2(), 25.0);
  EXPECT_EQ(v.len(), 5.0);
}

TEST(Vector2, Arithmetic) {
  const VECTOR2 a(1.0, 2.0), b(3.0, 5.0);
  EXPECT_EQ(a + b, VECTOR2(4.0, 7.0));
  EXPECT_EQ(b - a, VECTOR2(2.0, 3.0));
  EXPECT_EQ(-a, VECTOR2(-1.0, -2.0));
  EXPECT_EQ(a * 2.0, VECTOR2(2.0, 4.0));
  EXPECT_EQ(2.0 * a, VECTOR2(2.0, 4.0));
  EXPECT_EQ(b / 2.0, VECTOR2(1.5, 2.5));
  VECTOR2 c = a;
  c += b;
  EXPECT_EQ(c, VECTOR2(4.0, 7.0));
  c -= b;
  EXPECT_EQ(c, a);
}

TEST(Vector2, DotAndCross) {
  const VECTOR2 ex(1.0, 0.0), ey(0.0, 1.0);
  EXPECT_EQ(dot(ex, ey), 0.0);
  EXPECT_EQ(dot(VECTOR2(1.0, 2.0), VECTOR2(3.0, 4.0)), 11.0);
  // Counter-clockwise is positive, the z of the 3D cross product.
  EXPECT_EQ(cross(ex, ey), 1.0);
  EXPECT_EQ(cross(ey, ex), -1.0);
  EXPECT_EQ(cross(VECTOR2(2.0, 4.0), VECTOR2(1.0, 2.0)), 0.0);
}

TEST(Vector2, NanIsUnequal) {
  const VECTOR2 n(host_nan(), 0.0);
  EXPECT_FALSE(n == n);
}
