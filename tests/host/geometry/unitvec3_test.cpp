#include "host/geometry/unitvec3.h"

#include <gtest/gtest.h>

#include <cmath>
#include <type_traits>
#include <utility>

namespace {

double take_vector(const VECTOR3& v) {
  return v.x() + v.y() + v.z();
}

template <class T>
concept add_assignable = requires(T& t, VECTOR3 v) {
  t += v;
};
template <class T>
concept sub_assignable = requires(T& t, VECTOR3 v) {
  t -= v;
};
template <class T>
concept scalable = requires(T& t) {
  t *= 2.0;
};
template <class T>
concept divisible = requires(T& t) {
  t /= 2.0;
};

}  // namespace

TEST(Unitvec3, DefaultIsX) {
  constexpr UNITVEC3 u;
  EXPECT_EQ(u, VECTOR3(1.0, 0.0, 0.0));
}

TEST(Unitvec3, ConstructorsNormalise) {
  const UNITVEC3 a(0.0, 0.0, 7.0);
  EXPECT_EQ(a, VECTOR3(0.0, 0.0, 1.0));
  const UNITVEC3 b(VECTOR3(1.0, 1.0, 1.0));
  EXPECT_NEAR(b.len(), 1.0, 1e-15);
  EXPECT_NEAR(b.x(), 1.0 / std::sqrt(3.0), 1e-15);
  EXPECT_EQ(b.x(), b.y());
  EXPECT_EQ(b.y(), b.z());
}

TEST(Unitvec3, DegenerateInputGivesNan) {
  const UNITVEC3 z(0.0, 0.0, 0.0);
  EXPECT_TRUE(host_is_nan(z.x()) && host_is_nan(z.y()) && host_is_nan(z.z()));
  const UNITVEC3 n(VECTOR3(host_nan(), 1.0, 0.0));
  EXPECT_TRUE(host_is_nan(n.x()) && host_is_nan(n.y()) && host_is_nan(n.z()));
  EXPECT_FALSE(n.is_finite());
}

TEST(Unitvec3, NegationStaysUnit) {
  const UNITVEC3 u(0.0, 3.0, 4.0);
  const UNITVEC3 m = -u;
  EXPECT_EQ(m, -static_cast<const VECTOR3&>(u));
  static_assert(std::is_same_v<decltype(-u), UNITVEC3>);
}

TEST(Unitvec3, UsableAsVector) {
  const UNITVEC3 u(0.0, 1.0, 0.0);
  EXPECT_EQ(take_vector(u), 1.0);
  EXPECT_EQ(dot(u, VECTOR3(5.0, 6.0, 7.0)), 6.0);
  EXPECT_EQ(cross(UNITVEC3(1.0, 0.0, 0.0), u), VECTOR3(0.0, 0.0, 1.0));
  // Arithmetic leaves the unit sphere, so it gives a plain vector.
  static_assert(std::is_same_v<decltype(u * 2.0), VECTOR3>);
  static_assert(std::is_same_v<decltype(u + u), VECTOR3>);
  EXPECT_EQ(u * 2.0, VECTOR3(0.0, 2.0, 0.0));
  EXPECT_EQ(u[1], 1.0);
}

TEST(Unitvec3, LengthChangingOperationsAreWithheld) {
  static_assert(!std::is_assignable_v<decltype(std::declval<UNITVEC3&>()[0]), double>);
  static_assert(std::is_assignable_v<decltype(std::declval<VECTOR3&>()[0]), double>);
  static_assert(add_assignable<VECTOR3> && !add_assignable<UNITVEC3>);
  static_assert(sub_assignable<VECTOR3> && !sub_assignable<UNITVEC3>);
  static_assert(scalable<VECTOR3> && !scalable<UNITVEC3>);
  static_assert(divisible<VECTOR3> && !divisible<UNITVEC3>);
  static_assert(!std::is_assignable_v<UNITVEC3&, VECTOR3>);
  static_assert(std::is_assignable_v<UNITVEC3&, UNITVEC3>);
  static_assert(!std::is_convertible_v<VECTOR3, UNITVEC3>);
  static_assert(std::is_convertible_v<UNITVEC3, VECTOR3>);
  SUCCEED();
}
