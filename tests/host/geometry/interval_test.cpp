#include "host/geometry/interval.h"

#include <gtest/gtest.h>

#include <cmath>

TEST(Interval, DefaultIsNil) {
  constexpr INTERVAL n;
  static_assert(n.is_nil());
  EXPECT_EQ(n.lower(), host_pos_inf());
  EXPECT_EQ(n.upper(), host_neg_inf());
  EXPECT_TRUE(INTERVAL::nil().is_nil());
  EXPECT_EQ(n.len(), 0.0);
  EXPECT_TRUE(host_is_nan(n.mid()));
  EXPECT_FALSE(n.is_lropen());
  EXPECT_FALSE(n.is_finite());
}

TEST(Interval, StoredAsGiven) {
  const INTERVAL a(1.0, 3.0);
  EXPECT_EQ(a.lower(), 1.0);
  EXPECT_EQ(a.upper(), 3.0);
  EXPECT_FALSE(a.is_nil());
  EXPECT_EQ(a.len(), 2.0);
  EXPECT_EQ(a.mid(), 2.0);
  EXPECT_TRUE(a.is_finite());

  const INTERVAL reversed(3.0, 1.0);
  EXPECT_EQ(reversed.lower(), 3.0);
  EXPECT_EQ(reversed.upper(), 1.0);
  EXPECT_TRUE(reversed.is_nil());
  EXPECT_EQ(reversed.len(), 0.0);
  EXPECT_FALSE(reversed.is_finite());
  EXPECT_EQ(reversed, INTERVAL::nil());

  const INTERVAL point(2.0, 2.0);
  EXPECT_FALSE(point.is_nil());
  EXPECT_EQ(point.len(), 0.0);
  EXPECT_EQ(point.mid(), 2.0);
}

TEST(Interval, Unbounded) {
  const INTERVAL all = INTERVAL::inf();
  EXPECT_TRUE(all.is_lropen());
  EXPECT_FALSE(all.is_nil());
  EXPECT_FALSE(all.is_finite());
  EXPECT_EQ(all.len(), host_pos_inf());
  EXPECT_TRUE(host_is_nan(all.mid()));
  EXPECT_TRUE(all >= 1e308);
  EXPECT_TRUE(all >= host_neg_inf());

  const INTERVAL right(0.0, host_pos_inf());
  EXPECT_FALSE(right.is_lropen());
  EXPECT_FALSE(right.is_finite());
  EXPECT_EQ(right.len(), host_pos_inf());
  EXPECT_EQ(right.mid(), host_pos_inf());
  const INTERVAL left(host_neg_inf(), 0.0);
  EXPECT_FALSE(left.is_lropen());
  EXPECT_EQ(left.mid(), host_neg_inf());
}

TEST(Interval, MidDoesNotOverflow) {
  const INTERVAL big(1e308, 1.7e308);
  EXPECT_DOUBLE_EQ(big.mid(), 1.35e308);
  EXPECT_EQ(INTERVAL(-1.7e308, 1.7e308).mid(), 0.0);
}

TEST(Interval, NanBoundsMakeNil) {
  EXPECT_TRUE(INTERVAL(host_nan(), 1.0).is_nil());
  EXPECT_TRUE(INTERVAL(0.0, host_nan()).is_nil());
  EXPECT_EQ(INTERVAL(host_nan(), host_nan()).len(), 0.0);
  EXPECT_FALSE(INTERVAL(host_nan(), 1.0) >= 0.5);
}

TEST(Interval, ContainsValueEndsIncluded) {
  const INTERVAL a(1.0, 2.0);
  EXPECT_TRUE(a >= 1.0);
  EXPECT_TRUE(a >= 2.0);
  EXPECT_TRUE(a >= 1.5);
  EXPECT_FALSE(a >= std::nextafter(1.0, 0.0));
  EXPECT_FALSE(a >= std::nextafter(2.0, 3.0));
  EXPECT_FALSE(a >= host_nan());
  EXPECT_FALSE(INTERVAL() >= 0.0);
  EXPECT_FALSE(INTERVAL(2.0, 1.0) >= 1.5);
}

TEST(Interval, ContainsInterval) {
  const INTERVAL a(0.0, 10.0);
  EXPECT_TRUE(a >= INTERVAL(0.0, 10.0));
  EXPECT_TRUE(a >= INTERVAL(2.0, 3.0));
  EXPECT_FALSE(a >= INTERVAL(-1.0, 3.0));
  EXPECT_FALSE(a >= INTERVAL(5.0, 11.0));
  EXPECT_TRUE(a >= INTERVAL::nil());
  EXPECT_TRUE(INTERVAL::nil() >= INTERVAL::nil());
  EXPECT_TRUE(a >= INTERVAL(20.0, 15.0));  // nil, whatever its bounds
  EXPECT_FALSE(INTERVAL::nil() >= a);
  EXPECT_FALSE(INTERVAL(10.0, 0.0) >= INTERVAL(2.0, 3.0));
  EXPECT_TRUE(INTERVAL::inf() >= a);
  EXPECT_FALSE(a >= INTERVAL::inf());
}

TEST(Interval, UnionWithValue) {
  INTERVAL a;
  a |= 3.0;
  EXPECT_EQ(a, INTERVAL(3.0, 3.0));
  a |= -1.0;
  a |= 2.0;
  EXPECT_EQ(a, INTERVAL(-1.0, 3.0));
  a |= host_nan();
  EXPECT_EQ(a, INTERVAL(-1.0, 3.0));
  INTERVAL reversed(5.0, 4.0);
  reversed |= 7.0;
  EXPECT_EQ(reversed, INTERVAL(7.0, 7.0));
  EXPECT_EQ(INTERVAL() | 1.0 | 2.0, INTERVAL(1.0, 2.0));
  INTERVAL only_nan;
  only_nan |= host_nan();
  EXPECT_TRUE(only_nan.is_nil());
}

TEST(Interval, UnionHull) {
  EXPECT_EQ(INTERVAL(0.0, 1.0) | INTERVAL(3.0, 4.0), INTERVAL(0.0, 4.0));
  EXPECT_EQ(INTERVAL(0.0, 5.0) | INTERVAL(1.0, 2.0), INTERVAL(0.0, 5.0));
  EXPECT_EQ(INTERVAL() | INTERVAL(1.0, 2.0), INTERVAL(1.0, 2.0));
  EXPECT_EQ(INTERVAL(1.0, 2.0) | INTERVAL(), INTERVAL(1.0, 2.0));
  // A nil operand with finite bounds must not widen the result.
  EXPECT_EQ(INTERVAL(1.0, 2.0) | INTERVAL(10.0, -10.0), INTERVAL(1.0, 2.0));
  EXPECT_EQ(INTERVAL(10.0, -10.0) | INTERVAL(1.0, 2.0), INTERVAL(1.0, 2.0));
  EXPECT_TRUE((INTERVAL() | INTERVAL()).is_nil());
  EXPECT_TRUE((INTERVAL(0.0, 1.0) | INTERVAL::inf()).is_lropen());
  INTERVAL a(0.0, 1.0);
  a |= INTERVAL(-2.0, 0.5);
  EXPECT_EQ(a, INTERVAL(-2.0, 1.0));
}

TEST(Interval, Intersection) {
  EXPECT_EQ(INTERVAL(0.0, 2.0) & INTERVAL(1.0, 3.0), INTERVAL(1.0, 2.0));
  EXPECT_EQ(INTERVAL(0.0, 5.0) & INTERVAL(1.0, 2.0), INTERVAL(1.0, 2.0));
  // Touching intervals meet in a point.
  const INTERVAL touch = INTERVAL(0.0, 1.0) & INTERVAL(1.0, 2.0);
  EXPECT_FALSE(touch.is_nil());
  EXPECT_EQ(touch.lower(), 1.0);
  EXPECT_EQ(touch.upper(), 1.0);
  // Disjoint ones do not, and the result is the canonical nil.
  const INTERVAL apart = INTERVAL(0.0, 1.0) & INTERVAL(std::nextafter(1.0, 2.0), 2.0);
  EXPECT_TRUE(apart.is_nil());
  EXPECT_EQ(apart.lower(), host_pos_inf());
  EXPECT_EQ(apart.upper(), host_neg_inf());
  EXPECT_TRUE((INTERVAL() & INTERVAL(0.0, 1.0)).is_nil());
  EXPECT_TRUE((INTERVAL(0.0, 1.0) & INTERVAL()).is_nil());
  EXPECT_TRUE((INTERVAL(0.0, 1.0) & INTERVAL(host_nan(), 5.0)).is_nil());
  EXPECT_TRUE((INTERVAL(host_nan(), 5.0) & INTERVAL(0.0, 1.0)).is_nil());
  EXPECT_EQ(INTERVAL::inf() & INTERVAL(1.0, 2.0), INTERVAL(1.0, 2.0));
  INTERVAL a(0.0, 4.0);
  a &= INTERVAL(2.0, 8.0);
  EXPECT_EQ(a, INTERVAL(2.0, 4.0));
}

TEST(Interval, GrowAbs) {
  INTERVAL a(1.0, 2.0);
  a.grow_abs(0.5);
  EXPECT_EQ(a, INTERVAL(0.5, 2.5));
  a.grow_abs(-0.5);
  EXPECT_EQ(a, INTERVAL(1.0, 2.0));
  EXPECT_TRUE(INTERVAL(1.0, 2.0).grow_abs(-0.6).is_nil());
  EXPECT_FALSE(INTERVAL(1.0, 2.0).grow_abs(-0.5).is_nil());
  INTERVAL n;
  n.grow_abs(100.0);
  EXPECT_TRUE(n.is_nil());
  INTERVAL r(3.0, 1.0);
  r.grow_abs(5.0);  // nil stays nil even where growing would cross the bounds
  EXPECT_TRUE(r.is_nil());
  EXPECT_TRUE(INTERVAL(0.0, 1.0).grow_abs(host_nan()).is_nil());
  EXPECT_TRUE(INTERVAL::inf().grow_abs(1.0).is_lropen());
}

TEST(Interval, EqualityTreatsAllNilAlike) {
  EXPECT_EQ(INTERVAL(), INTERVAL(4.0, 3.0));
  EXPECT_EQ(INTERVAL(host_nan(), 0.0), INTERVAL());
  EXPECT_NE(INTERVAL(), INTERVAL(0.0, 0.0));
  EXPECT_NE(INTERVAL(0.0, 1.0), INTERVAL(0.0, 2.0));
}
