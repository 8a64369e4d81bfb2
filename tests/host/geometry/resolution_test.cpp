#include "host/geometry/resolution.h"

#include <gtest/gtest.h>

#include <cmath>
#include <type_traits>

#include "host/geometry/constants.h"

TEST(Resolution, Defaults) {
  const resolution r;
  EXPECT_EQ(r.resabs(), 1e-6);
  EXPECT_EQ(r.resabs(), resolution::_min_resabs);
  EXPECT_EQ(r.resabs_sqr(), 1e-6 * 1e-6);
  EXPECT_EQ(r.resnor(), 1e-10);
  EXPECT_EQ(r.grid_mode(), 0);
  EXPECT_EQ(resolution::inq_min_resabs(), 1e-6);
}

TEST(Resolution, ResabsIsClampedToTheMinimum) {
  EXPECT_EQ(resolution(1e-9, 1e-8).resabs(), 1e-6);
  EXPECT_EQ(resolution(0.0, 1e-8).resabs(), 1e-6);
  EXPECT_EQ(resolution(-1.0, 1e-8).resabs(), 1e-6);
  EXPECT_EQ(resolution(host_nan(), 1e-8).resabs(), 1e-6);
  EXPECT_EQ(resolution(host_nan(), 1e-8).resabs_sqr(), 1e-12);
  EXPECT_EQ(resolution(1e-6, 1e-8).resabs(), 1e-6);
  const resolution coarse(1e-3, 1e-8);
  EXPECT_EQ(coarse.resabs(), 1e-3);
  EXPECT_EQ(coarse.resabs_sqr(), 1e-3 * 1e-3);
  EXPECT_EQ(coarse.resnor(), 1e-8);
}

TEST(Resolution, NegativeResnorMeansDefault) {
  EXPECT_EQ(resolution(1e-3, -1.0).resnor(), 1e-10);
  EXPECT_EQ(resolution(1e-3, host_nan()).resnor(), 1e-10);
  EXPECT_EQ(resolution(1e-3, 0.0).resnor(), 0.0);
  EXPECT_EQ(resolution(1e-3, 0.01).resnor(), 0.01);
}

TEST(Resolution, SetResolution) {
  resolution r;
  r.set_resolution(0.01, 2);
  EXPECT_EQ(r.resabs(), 0.01);
  EXPECT_EQ(r.resabs_sqr(), 0.01 * 0.01);
  EXPECT_EQ(r.grid_mode(), 2);
  EXPECT_EQ(r.resnor(), 1e-10);
  r.set_resolution(1e-12, 0);
  EXPECT_EQ(r.resabs(), 1e-6);
  EXPECT_EQ(r.resabs_sqr(), 1e-12);
  EXPECT_EQ(r.grid_mode(), 0);
  r.set_resolution(host_nan(), 0);
  EXPECT_EQ(r.resabs(), 1e-6);
}

TEST(Resolution, ZeroOnTheEdge) {
  const resolution r(1e-3, -1.0);
  EXPECT_TRUE(r.zero(0.0));
  EXPECT_TRUE(r.zero(1e-3));
  EXPECT_TRUE(r.zero(-1e-3));
  EXPECT_FALSE(r.zero(std::nextafter(1e-3, 1.0)));
  EXPECT_FALSE(r.zero(-std::nextafter(1e-3, 1.0)));
  EXPECT_FALSE(r.zero(host_nan()));
  EXPECT_FALSE(r.zero(host_pos_inf()));

  EXPECT_TRUE(resolution::zero(0.5, 0.5));
  EXPECT_FALSE(resolution::zero(std::nextafter(0.5, 1.0), 0.5));
  EXPECT_FALSE(resolution::zero(host_nan(), 1.0));
  EXPECT_FALSE(resolution::zero(0.0, host_nan()));
}

TEST(Resolution, EqualOnTheEdge) {
  const resolution r(1e-3, -1.0);
  const POSITION3 o;
  EXPECT_TRUE(r.equal(o, o));
  EXPECT_TRUE(r.equal(o, POSITION3(1e-3, 0.0, 0.0)));
  EXPECT_TRUE(r.equal(POSITION3(0.0, 0.0, -1e-3), o));
  EXPECT_FALSE(r.equal(o, POSITION3(std::nextafter(1e-3, 1.0), 0.0, 0.0)));
  // Within resabs on every axis is not enough: the distance counts.
  EXPECT_FALSE(r.equal(o, POSITION3(0.8e-3, 0.8e-3, 0.0)));
  EXPECT_TRUE(r.equal(o, POSITION3(0.6e-3, 0.0, 0.8e-3 * (1.0 - 1e-12))));
  EXPECT_FALSE(r.equal(o, POSITION3(host_nan(), 0.0, 0.0)));

  EXPECT_TRUE(resolution::equal(o, POSITION3(0.0, 0.25, 0.0), 0.25));
  EXPECT_FALSE(resolution::equal(o, POSITION3(0.0, std::nextafter(0.25, 1.0), 0.0), 0.25));
  EXPECT_TRUE(resolution::equal(o, POSITION3(3.0, 4.0, 0.0), 5.0));
}

TEST(Resolution, GlobalInstance) {
  resolution& g = get_k2_geores();
  EXPECT_EQ(&g, &get_k2_geores());
  const resolution saved = g;
  EXPECT_EQ(saved.resabs(), 1e-6);

  get_k2_geores() = resolution(0.5, 0.1);
  EXPECT_EQ(get_k2_geores().resabs(), 0.5);
  EXPECT_EQ(get_k2_geores().resnor(), 0.1);
  EXPECT_TRUE(get_k2_geores().zero(0.4));
  EXPECT_TRUE(get_k2_geores().equal(POSITION3(), POSITION3(0.3, 0.4, 0.0)));

  get_k2_geores() = saved;
  EXPECT_EQ(get_k2_geores().resabs(), 1e-6);
  EXPECT_EQ(get_k2_geores().resnor(), 1e-10);
  EXPECT_FALSE(get_k2_geores().zero(0.4));
}

TEST(Resolution, IsACopyableValue) {
  static_assert(std::is_nothrow_copy_constructible_v<resolution>);
  static_assert(std::is_nothrow_copy_assignable_v<resolution>);
  resolution a(0.01, 0.02);
  a.set_resolution(0.03, 2);
  const resolution b = a;
  EXPECT_EQ(b.resabs(), 0.03);
  EXPECT_EQ(b.resnor(), 0.02);
  EXPECT_EQ(b.grid_mode(), 2);
}
