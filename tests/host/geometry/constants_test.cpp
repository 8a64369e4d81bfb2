#include "host/geometry/constants.h"

#include <gtest/gtest.h>

#include <cmath>

TEST(HostConstants, AnglesAreConsistent) {
  EXPECT_DOUBLE_EQ(HOST_PI, std::acos(-1.0));
  EXPECT_EQ(HOST_TWO_PI, 2.0 * HOST_PI);
  EXPECT_EQ(HOST_HALF_PI, HOST_PI / 2.0);
  static_assert(HOST_HALF_PI < HOST_PI && HOST_PI < HOST_TWO_PI);
}

TEST(HostConstants, SpecialValues) {
  EXPECT_TRUE(std::isnan(host_nan()));
  EXPECT_TRUE(host_is_nan(host_nan()));
  EXPECT_TRUE(host_is_nan(-host_nan()));
  EXPECT_TRUE(host_is_nan(host_pos_inf() - host_pos_inf()));
  EXPECT_FALSE(host_is_nan(0.0));
  EXPECT_FALSE(host_is_nan(host_pos_inf()));
  EXPECT_FALSE(host_is_nan(host_neg_inf()));
  EXPECT_TRUE(std::isinf(host_pos_inf()) && host_pos_inf() > 0.0);
  EXPECT_TRUE(std::isinf(host_neg_inf()) && host_neg_inf() < 0.0);
  static_assert(host_is_nan(host_nan()));
  static_assert(!host_is_nan(1.0));
}
