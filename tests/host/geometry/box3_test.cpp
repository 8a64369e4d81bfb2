#include "host/geometry/box3.h"

#include <gtest/gtest.h>

#include <cmath>

#include "host/geometry/constants.h"
#include "host/geometry/transform3.h"

namespace {

const BOX3 kUnit(POSITION3(0.0, 0.0, 0.0), POSITION3(1.0, 1.0, 1.0));

void expect_range(const INTERVAL& r, double lo, double hi, double tol = 1e-15) {
  EXPECT_FALSE(r.is_nil());
  EXPECT_NEAR(r.lower(), lo, tol);
  EXPECT_NEAR(r.upper(), hi, tol);
}

}  // namespace

TEST(Box3, DefaultIsNil) {
  const BOX3 b;
  EXPECT_TRUE(b.is_nil());
  EXPECT_FALSE(b.is_inf());
  EXPECT_TRUE(b.x_range().is_nil());
  EXPECT_TRUE(b.yi().is_nil());
  EXPECT_TRUE(BOX3::nil().is_nil());
  EXPECT_TRUE(host_is_nan(b.center().x()));
}

TEST(Box3, NilOnAnyAxisMakesTheBoxNil) {
  const INTERVAL ok(0.0, 1.0), empty(1.0, 0.0);
  EXPECT_TRUE(BOX3(empty, ok, ok).is_nil());
  EXPECT_TRUE(BOX3(ok, empty, ok).is_nil());
  EXPECT_TRUE(BOX3(ok, ok, empty).is_nil());
  EXPECT_FALSE(BOX3(ok, ok, ok).is_nil());
  EXPECT_TRUE(BOX3(ok, INTERVAL(host_nan(), 1.0), ok).is_nil());
}

TEST(Box3, FromPoints) {
  const BOX3 b(POSITION3(3.0, -1.0, 2.0), POSITION3(1.0, 4.0, 2.0));
  expect_range(b.x_range(), 1.0, 3.0, 0.0);
  expect_range(b.y_range(), -1.0, 4.0, 0.0);
  expect_range(b.z_range(), 2.0, 2.0, 0.0);
  EXPECT_EQ(b.lower(), POSITION3(1.0, -1.0, 2.0));
  EXPECT_EQ(b.upper(), POSITION3(3.0, 4.0, 2.0));
  EXPECT_EQ(b.center(), POSITION3(2.0, 1.5, 2.0));
  EXPECT_EQ(&b.x_range(), &b.xi());
  EXPECT_EQ(&b.y_range(), &b.yi());
  EXPECT_EQ(&b.z_range(), &b.zi());

  const BOX3 p(POSITION3(1.0, 2.0, 3.0));
  EXPECT_FALSE(p.is_nil());
  EXPECT_EQ(p.lower(), p.upper());
  EXPECT_TRUE(p >= POSITION3(1.0, 2.0, 3.0));

  EXPECT_TRUE(BOX3(POSITION3(host_nan(), 0.0, 0.0)).is_nil());
  EXPECT_EQ(BOX3(POSITION3(host_nan(), 0.0, 0.0), POSITION3(1.0, 1.0, 1.0)),
            BOX3(POSITION3(1.0, 1.0, 1.0)));
}

TEST(Box3, Infinite) {
  const BOX3 b = BOX3::inf();
  EXPECT_TRUE(b.is_inf());
  EXPECT_FALSE(b.is_nil());
  EXPECT_TRUE(b >= kUnit);
  EXPECT_TRUE(b >= POSITION3(1e300, -1e300, 0.0));
  EXPECT_FALSE(BOX3(INTERVAL::inf(), INTERVAL::inf(), INTERVAL(0.0, 1.0)).is_inf());
}

TEST(Box3, PointContainmentIncludesTheBoundary) {
  EXPECT_TRUE(kUnit >= POSITION3(0.5, 0.5, 0.5));
  EXPECT_TRUE(kUnit >= POSITION3(0.0, 0.0, 0.0));
  EXPECT_TRUE(kUnit >= POSITION3(1.0, 1.0, 1.0));
  EXPECT_TRUE(kUnit >= POSITION3(1.0, 0.5, 0.0));
  EXPECT_FALSE(kUnit >= POSITION3(std::nextafter(1.0, 2.0), 0.5, 0.5));
  EXPECT_FALSE(kUnit >= POSITION3(0.5, std::nextafter(0.0, -1.0), 0.5));
  EXPECT_FALSE(kUnit >= POSITION3(0.5, 0.5, host_nan()));
  EXPECT_FALSE(BOX3() >= POSITION3());
  // A nil box contains no point, even one inside its two proper axes.
  EXPECT_FALSE(BOX3(INTERVAL(0.0, 1.0), INTERVAL(0.0, 1.0), INTERVAL(1.0, 0.0)) >=
               POSITION3(0.5, 0.5, 0.5));
}

TEST(Box3, BoxContainment) {
  const BOX3 inner(POSITION3(0.25, 0.25, 0.25), POSITION3(0.75, 1.0, 0.75));
  EXPECT_TRUE(kUnit >= inner);
  EXPECT_TRUE(kUnit >= kUnit);
  EXPECT_FALSE(inner >= kUnit);
  EXPECT_TRUE(kUnit >= BOX3());
  EXPECT_TRUE(BOX3() >= BOX3());
  EXPECT_FALSE(BOX3() >= inner);
  EXPECT_FALSE(kUnit >= BOX3(POSITION3(0.5, 0.5, 0.5), POSITION3(1.5, 0.5, 0.5)));
}

TEST(Box3, TouchingBoxesMeet) {
  const BOX3 right(POSITION3(1.0, 0.0, 0.0), POSITION3(2.0, 1.0, 1.0));
  const BOX3 meet = kUnit & right;
  EXPECT_FALSE(meet.is_nil());
  expect_range(meet.x_range(), 1.0, 1.0, 0.0);
  expect_range(meet.y_range(), 0.0, 1.0, 0.0);
  EXPECT_TRUE(kUnit.overlaps(right));
  EXPECT_TRUE(right.overlaps(kUnit));

  // Corner contact only.
  const BOX3 corner(POSITION3(1.0, 1.0, 1.0), POSITION3(2.0, 2.0, 2.0));
  const BOX3 c = kUnit & corner;
  EXPECT_FALSE(c.is_nil());
  EXPECT_EQ(c.lower(), POSITION3(1.0, 1.0, 1.0));
  EXPECT_EQ(c.upper(), POSITION3(1.0, 1.0, 1.0));
  EXPECT_TRUE(kUnit.overlaps(corner));

  const BOX3 apart(POSITION3(std::nextafter(1.0, 2.0), 0.0, 0.0), POSITION3(2.0, 1.0, 1.0));
  EXPECT_TRUE((kUnit & apart).is_nil());
  EXPECT_FALSE(kUnit.overlaps(apart));
  // Separated on z only.
  const BOX3 above(POSITION3(0.0, 0.0, 2.0), POSITION3(1.0, 1.0, 3.0));
  EXPECT_FALSE(kUnit.overlaps(above));
  EXPECT_TRUE((kUnit & above).is_nil());
}

TEST(Box3, NilNeverMeets) {
  const BOX3 n;
  EXPECT_TRUE((kUnit & n).is_nil());
  EXPECT_TRUE((n & kUnit).is_nil());
  EXPECT_TRUE((n & BOX3::inf()).is_nil());
  EXPECT_FALSE(kUnit.overlaps(n));
  EXPECT_FALSE(n.overlaps(kUnit));
  EXPECT_FALSE(n.overlaps(n));
  // A nil box whose other axes cover everything still meets nothing.
  const BOX3 odd(INTERVAL::inf(), INTERVAL::inf(), INTERVAL(1.0, 0.0));
  EXPECT_FALSE(odd.overlaps(kUnit));
  EXPECT_TRUE((odd & kUnit).is_nil());
  BOX3 a = kUnit;
  a &= n;
  EXPECT_TRUE(a.is_nil());
}

TEST(Box3, HullWithNilIsNeutral) {
  EXPECT_EQ(BOX3() | kUnit, kUnit);
  EXPECT_EQ(kUnit | BOX3(), kUnit);
  const BOX3 odd(INTERVAL(-100.0, 100.0), INTERVAL(-100.0, 100.0), INTERVAL(1.0, 0.0));
  EXPECT_EQ(kUnit | odd, kUnit);
  EXPECT_EQ(odd | kUnit, kUnit);
  EXPECT_TRUE((BOX3() | BOX3()).is_nil());

  const BOX3 far(POSITION3(5.0, -1.0, 0.5), POSITION3(6.0, 0.0, 0.5));
  const BOX3 h = kUnit | far;
  EXPECT_EQ(h.lower(), POSITION3(0.0, -1.0, 0.0));
  EXPECT_EQ(h.upper(), POSITION3(6.0, 1.0, 1.0));
  EXPECT_TRUE(h >= kUnit && h >= far);
}

TEST(Box3, HullWithPoints) {
  BOX3 b;
  b |= POSITION3(1.0, 2.0, 3.0);
  EXPECT_EQ(b, BOX3(POSITION3(1.0, 2.0, 3.0)));
  b |= POSITION3(-1.0, 5.0, 3.0);
  b |= POSITION3(host_nan(), 100.0, 100.0);  // not a place: ignored
  EXPECT_EQ(b.lower(), POSITION3(-1.0, 2.0, 3.0));
  EXPECT_EQ(b.upper(), POSITION3(1.0, 5.0, 3.0));
  EXPECT_EQ(kUnit | POSITION3(2.0, 0.5, 0.5), BOX3(POSITION3(), POSITION3(2.0, 1.0, 1.0)));
}

TEST(Box3, GrowAbs) {
  BOX3 b = kUnit;
  BOX3& r = b.grow_abs(0.5);
  EXPECT_EQ(&r, &b);
  EXPECT_EQ(b.lower(), POSITION3(-0.5, -0.5, -0.5));
  EXPECT_EQ(b.upper(), POSITION3(1.5, 1.5, 1.5));
  BOX3 n;
  n.grow_abs(10.0);
  EXPECT_TRUE(n.is_nil());
  BOX3 odd(INTERVAL(0.0, 1.0), INTERVAL(0.0, 1.0), INTERVAL(0.5, 0.0));
  odd.grow_abs(1.0);  // would make z proper if nil did not stay nil
  EXPECT_TRUE(odd.is_nil());
  EXPECT_TRUE(BOX3(kUnit).grow_abs(-0.6).is_nil());
  EXPECT_TRUE(BOX3::inf().grow_abs(1.0).is_inf());
}

TEST(Box3, TranslatedBoxMovesExactly) {
  const BOX3 b = kUnit * TRANSFORM3::translation(VECTOR3(1.0, -2.0, 0.5));
  EXPECT_EQ(b.lower(), POSITION3(1.0, -2.0, 0.5));
  EXPECT_EQ(b.upper(), POSITION3(2.0, -1.0, 1.5));
}

TEST(Box3, RotatedBoxGrows) {
  const TRANSFORM3 r = TRANSFORM3::rotation(POSITION3(), VECTOR3(0.0, 0.0, 1.0), HOST_PI / 4.0);
  const double h = std::sqrt(0.5);

  // The unit cube turned 45 degrees about z: a diamond of width sqrt(2).
  const BOX3 b = kUnit * r;
  expect_range(b.x_range(), -h, h);
  expect_range(b.y_range(), 0.0, 2.0 * h);
  expect_range(b.z_range(), 0.0, 1.0);

  // A centred cube grows by sqrt(2) in x and y.
  const BOX3 c(POSITION3(-1.0, -1.0, -1.0), POSITION3(1.0, 1.0, 1.0));
  BOX3 cr = c;
  cr *= r;
  expect_range(cr.x_range(), -std::sqrt(2.0), std::sqrt(2.0));
  expect_range(cr.y_range(), -std::sqrt(2.0), std::sqrt(2.0));
  expect_range(cr.z_range(), -1.0, 1.0);
  EXPECT_TRUE(cr >= c);

  // Turning back does not shrink it to the original: boxes only grow.
  const BOX3 back = cr * r.inverse();
  expect_range(back.x_range(), -2.0, 2.0, 1e-15);
}

TEST(Box3, TransformedBoxHoldsEveryTransformedCorner) {
  const double rows[3][3] = {{0.8, -0.3, 0.1}, {0.2, 1.7, -0.4}, {-0.6, 0.05, 0.9}};
  const TRANSFORM3 maps[] = {
      TRANSFORM3::rotation(POSITION3(0.3, -0.7, 1.1), VECTOR3(0.3, 0.5, -0.8), 0.917),
      TRANSFORM3::from_matrix(rows, VECTOR3(-3.0, 0.1, 7.0)),
      TRANSFORM3::scaling(-2.0),
  };
  const BOX3 b(POSITION3(-1.3, 0.2, 5.0), POSITION3(2.7, 0.9, 6.1));
  for (const TRANSFORM3& t : maps) {
    const BOX3 tb = b * t;
    BOX3 hull;
    for (int i = 0; i < 8; ++i) {
      const POSITION3 corner((i & 1) ? b.upper().x() : b.lower().x(),
                             (i & 2) ? b.upper().y() : b.lower().y(),
                             (i & 4) ? b.upper().z() : b.lower().z());
      EXPECT_TRUE(tb >= corner * t);
      hull |= corner * t;
    }
    // And it is the smallest such box.
    EXPECT_EQ(tb, hull);
  }
}

TEST(Box3, TransformKeepsNilAndInfinity) {
  const TRANSFORM3 r = TRANSFORM3::rotation(POSITION3(1.0, 2.0, 3.0), VECTOR3(1.0, 1.0, 0.0), 0.6);
  EXPECT_TRUE((BOX3() * r).is_nil());
  EXPECT_TRUE((BOX3::inf() * r).is_inf());
  EXPECT_TRUE((BOX3::inf() * TRANSFORM3::scaling(-3.0)).is_inf());
  EXPECT_TRUE((BOX3::inf() * TRANSFORM3::translation(VECTOR3(1.0, 2.0, 3.0))).is_inf());

  // A half-open slab under an exact quarter turn: the unbounded axis moves to
  // y, and zero matrix entries do not smear it into x.
  const double quarter[3][3] = {{0.0, 1.0, 0.0}, {-1.0, 0.0, 0.0}, {0.0, 0.0, 1.0}};
  const BOX3 slab(INTERVAL(0.0, host_pos_inf()), INTERVAL(0.0, 1.0), INTERVAL(0.0, 1.0));
  const BOX3 turned = slab * TRANSFORM3::from_matrix(quarter, VECTOR3());
  expect_range(turned.x_range(), -1.0, 0.0, 0.0);
  EXPECT_EQ(turned.y_range().lower(), 0.0);
  EXPECT_EQ(turned.y_range().upper(), host_pos_inf());
  expect_range(turned.z_range(), 0.0, 1.0, 0.0);
}

TEST(Box3, EqualityTreatsAllNilAlike) {
  EXPECT_EQ(BOX3(), BOX3(INTERVAL(0.0, 1.0), INTERVAL(1.0, 0.0), INTERVAL(0.0, 1.0)));
  EXPECT_NE(BOX3(), kUnit);
  EXPECT_EQ(kUnit, BOX3(POSITION3(1.0, 1.0, 1.0), POSITION3()));
}
