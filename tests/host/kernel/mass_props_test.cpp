// Mass properties: exact areas and volumes for planes and cylinders.

#include "host/kernel/ops/mass_props.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "host/kernel/kernel_errors.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/shell.h"
#include "kernel_fixture.h"
#include "support/sieve_plate_body.h"
#include "support/split_bodies.h"

namespace {

constexpr double kPi = std::numbers::pi;

class MassPropsTest : public KernelTest {};

TEST_F(MassPropsTest, CubeOfTrianglesAnywhereAndScaled) {
  BODY* cube = make_triangle_cube(3.0);
  MASS_PROPS mp;
  ASSERT_EQ(mass_props(cube, TRANSFORM3(), mp), nullptr);
  EXPECT_NEAR(mp.volume, 27.0, 1e-12);
  EXPECT_NEAR(mp.closed_area, 54.0, 1e-12);
  EXPECT_EQ(mp.open_area, 0.0);
  EXPECT_EQ(mp.closed_shells, 1);
  EXPECT_EQ(mp.faces, 12);
  // Far from the origin and doubled in size: volume times 8, area times 4.
  MASS_PROPS moved;
  const TRANSFORM3 t = TRANSFORM3::scaling(2.0) * TRANSFORM3::translation(VECTOR3(1e4, -2e4, 3e4));
  ASSERT_EQ(mass_props(cube, t, moved), nullptr);
  EXPECT_NEAR(moved.volume, 216.0, 1e-9);
  EXPECT_NEAR(moved.closed_area, 216.0, 1e-9);
  cube->lose();
}

TEST_F(MassPropsTest, CylinderPatchIsExactForAreaAndFlux) {
  const double r = 3.0, h = 5.0;
  BODY* tube = make_split_tube(r, h, 16, false);
  const FACE* half = tube->shell(0)->first_face();  // u from 0 to pi
  double area = 0, flux = 0;
  ASSERT_EQ(face_area_flux(half, POSITION3(0, 0, 0), area, flux), nullptr);
  EXPECT_NEAR(area, kPi * r * h, 1e-12);
  EXPECT_NEAR(flux, r * kPi * r * h, 1e-11);
  // Off the axis: the flux loses c . (integral of n dA) = c . (0, 2 r h, 0).
  const POSITION3 c(0.3, -0.7, 5.0);
  ASSERT_EQ(face_area_flux(half, c, area, flux), nullptr);
  EXPECT_NEAR(flux, kPi * r * r * h + 1.4 * r * h, 1e-11);
  // The whole tube: an open shell, whose area counts apart from any volume.
  MASS_PROPS mp;
  ASSERT_EQ(mass_props(tube, TRANSFORM3(), mp), nullptr);
  EXPECT_NEAR(mp.open_area, 2.0 * kPi * r * h, 1e-11);
  EXPECT_EQ(mp.closed_area, 0.0);
  EXPECT_EQ(mp.volume, 0.0);
  EXPECT_EQ(mp.open_shells, 1);
  tube->lose();
}

TEST_F(MassPropsTest, BoredBlockLiesBetweenItsPolygonAndItsCylinder) {
  // The hole's wall is the true cylinder, its rims on the top and bottom are
  // polygons of 32 chords: the volume lies between the block less a round
  // hole and the block less a polygonal hole.
  const double sx = 40, sy = 30, sz = 10, r = 5;
  BODY* block = make_bored_block(sx, sy, sz, r, 32);
  MASS_PROPS mp;
  ASSERT_EQ(mass_props(block, TRANSFORM3(), mp), nullptr);
  const double polygon = 0.5 * 32 * r * r * std::sin(2 * kPi / 32);
  EXPECT_LT(mp.volume, sx * sy * sz - polygon * sz);
  EXPECT_GT(mp.volume, sx * sy * sz - kPi * r * r * sz);
  const double area = 2 * (sx * sy - polygon) + 2 * (sx + sy) * sz + 2 * kPi * r * sz;
  EXPECT_NEAR(mp.closed_area, area, 1e-9);
  block->lose();
}

TEST_F(MassPropsTest, SievePlateOfFacetsHasItsVolume) {
  BODY* plate = make_sieve_plate_body(3, 2);
  MASS_PROPS mp;
  ASSERT_EQ(mass_props(plate, TRANSFORM3(), mp), nullptr);
  EXPECT_EQ(mp.closed_shells, 1);
  // Corners are stored as floats: that much rounding and no more.
  EXPECT_NEAR(mp.volume, sieve_plate_volume(3, 2), 1e-5 * sieve_plate_volume(3, 2));
  plate->lose();
}

TEST_F(MassPropsTest, FacePartsAreOpenAndEmptyBodiesAreRefused) {
  BODY* cube = make_triangle_cube(1.0);
  cube->add_attribute(std::make_shared<FACE_PART_ATT>());
  MASS_PROPS mp;
  ASSERT_EQ(mass_props(cube, TRANSFORM3(), mp), nullptr);
  EXPECT_EQ(mp.volume, 0.0);
  EXPECT_NEAR(mp.open_area, 6.0, 1e-12);
  cube->lose();
  BODY* empty = new BODY();
  MASS_PROPS untouched;
  EXPECT_EQ(mass_props(empty, TRANSFORM3(), untouched), k2_error(K2_ERROR::EMPTY_BODY));
  EXPECT_EQ(untouched.faces, 0);
  EXPECT_EQ(mass_props(nullptr, TRANSFORM3(), untouched), k2_error(K2_ERROR::MISSING_GEOMETRY));
  empty->lose();
}

}  // namespace
