// The cylinder fitter on points of known cylinders, on degenerate input, and
// through the refit / undo cycle of region growing.
//
// Accuracy on exact data: the energy sums the circle residuals directly, so
// the descent ends within 1e-9 of the true axis, radius and precision
// (relative to the radius); any real fault shows far above that.

#include "lumesh/reverse_engineering/cylinder_fitter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "host/geometry/constants.h"
#include "host/kernel/geometry/cylinder.h"
#include "lumesh/reverse_engineering/cylinder_energy.h"
#include "support/cylinder_samples.h"

namespace {

using fit_test::CYLINDER_DEF;
using fit_test::line_angle;
using fit_test::tilted;

constexpr double kFloor = 1e-9;

std::vector<CYLINDER_DEF> test_cylinders() {
  std::vector<CYLINDER_DEF> cylinders;
  for (double r : {1.0, 0.01, 1000.0}) {
    for (double beta : {0.3, 1.0, 1.5}) {
      cylinders.push_back(CYLINDER_DEF{POSITION3(1 * r, -2 * r, 0.5 * r),
                                       tilted(UNITVEC3(0, 0, 1), beta, VECTOR3(1, 0.3, 0)), r});
    }
  }
  return cylinders;
}

VECTOR2 polar(const UNITVEC3& a) {
  return GRADIENT_DESCENT_FITTER::compute_polar_coordinates(a);
}

UNITVEC3 axis_of(const VECTOR2& p) {
  return UNITVEC3(std::cos(p.x()) * std::sin(p.y()), std::sin(p.x()) * std::sin(p.y()),
                  std::cos(p.y()));
}

void add_all(SURFACE_FITTER& f, const std::vector<POSITION3>& points) {
  for (const POSITION3& p : points) f.add_point(p);
}

const cylinder* fitted_cylinder(const SURFACE_FITTER& f) {
  return entity_cast<cylinder>(f.get_fitted_surface());
}

// The fitted cylinder is `c` to within tol, relative to its radius.
void expect_cylinder(const SURFACE_FITTER& f, const CYLINDER_DEF& c, double tol) {
  const cylinder* cy = fitted_cylinder(f);
  ASSERT_NE(cy, nullptr);
  EXPECT_LT(line_angle(cy->axis(), c.axis), tol);
  EXPECT_NEAR(cy->radius(), c.radius, tol * c.radius);
  const VECTOR3 off = cy->root() - c.root;
  EXPECT_LT((off - dot(off, c.axis) * c.axis).len(), tol * c.radius);
  EXPECT_GE(f.get_fitting_precision(), 0.0);
  EXPECT_LT(f.get_fitting_precision(), tol * c.radius);
}

TEST(CylinderFitter, TrueAxisStartEndsAtOnceNextToIt) {
  for (const CYLINDER_DEF& c : test_cylinders()) {
    SCOPED_TRACE(testing::Message() << "radius " << c.radius << " axis z " << c.axis.z());
    const std::vector<POSITION3> points = fit_test::sample_cylinder(c, 60, 1.5 * c.radius, 7);
    CYLINDER_FITTER f;
    add_all(f, points);
    const VECTOR2 start = polar(c.axis);
    f.set_initial_fitting_parameters(start);
    ASSERT_TRUE(f.fit_surface());
    EXPECT_LE(f.get_gradient_descent_step_count(), 10u);
    const VECTOR2 end = f.get_fitting_parameters();
    EXPECT_LT(line_angle(axis_of(end), axis_of(start)), kFloor);
    EXPECT_NEAR(end.y(), start.y(), kFloor);
    expect_cylinder(f, c, kFloor);
  }
}

TEST(CylinderFitter, TrueAxisEnergyIsNearZero) {
  const CYLINDER_DEF c = test_cylinders()[1];
  std::vector<POSITION3> points = fit_test::sample_cylinder(c, 60, 1.5 * c.radius, 7);
  double sx = 0, sy = 0, sz = 0;
  for (const POSITION3& p : points) {
    sx += p.x();
    sy += p.y();
    sz += p.z();
  }
  const VECTOR3 cog(sx / 60, sy / 60, sz / 60);
  double scale = 0.0;  // Σ|p|⁴, the size of the sums that cancel in E
  for (POSITION3& p : points) {
    p -= cog;
    scale += VECTOR3(p).len2() * VECTOR3(p).len2();
  }
  EXPECT_LT(std::fabs(CYLINDER_ENERGY(polar(c.axis), points).get_energy()), 1e-14 * scale);
  EXPECT_GT(CYLINDER_ENERGY(polar(c.axis) + VECTOR2(0.0, 1e-3), points).get_energy(), 1e-8 * scale);
}

TEST(CylinderFitter, PolygonalCylinderFromAdjacentFacetNormals) {
  for (const CYLINDER_DEF& c : test_cylinders()) {
    SCOPED_TRACE(testing::Message() << "radius " << c.radius << " axis z " << c.axis.z());
    const fit_test::POLYGONAL_CYLINDER m = fit_test::polygonal_cylinder(c, 24, 3, c.radius);
    CYLINDER_FITTER f;
    add_all(f, m.vertices);
    // The start the region growing takes: across two neighbouring sides.
    f.set_initial_fitting_parameters(polar(UNITVEC3(cross(m.side_normals[3], m.side_normals[4]))));
    ASSERT_TRUE(f.fit_surface());
    expect_cylinder(f, c, kFloor);
    EXPECT_LT(f.get_gradient_descent_step_count(), 801u);
  }
}

TEST(CylinderFitter, ModeratelyFarStartsConverge) {
  for (const CYLINDER_DEF& c : test_cylinders()) {
    const std::vector<POSITION3> points = fit_test::sample_cylinder(c, 60, 1.5 * c.radius, 7);
    for (double off : {0.05, 0.3}) {
      SCOPED_TRACE(testing::Message()
                   << "radius " << c.radius << " axis z " << c.axis.z() << " start off by " << off);
      CYLINDER_FITTER f;
      add_all(f, points);
      f.set_initial_fitting_parameters(polar(tilted(c.axis, off, VECTOR3(0.2, 1, 0.4))));
      ASSERT_TRUE(f.fit_surface());
      expect_cylinder(f, c, kFloor);
      // It ended by itself, not by the budget.
      EXPECT_LT(f.get_gradient_descent_step_count(), 801u);
      EXPECT_GT(f.get_energy_evaluation_count(), f.get_gradient_descent_step_count());
    }
  }
}

TEST(CylinderFitter, ArcOfAQuarterTurn) {
  const CYLINDER_DEF c{POSITION3(-3, 4, 1), UNITVEC3(0.6, 0.0, 0.8), 5.0};
  const std::vector<POSITION3> points =
      fit_test::sample_cylinder(c, 80, 4.0, 21, 0.3, 0.3 + HOST_HALF_PI);
  CYLINDER_FITTER f;
  add_all(f, points);
  f.set_initial_fitting_parameters(polar(tilted(c.axis, 0.02, VECTOR3(0, 1, 0))));
  ASSERT_TRUE(f.fit_surface());
  expect_cylinder(f, c, kFloor);
}

TEST(CylinderFitter, NoisyPointsFitToTheirNoise) {
  const CYLINDER_DEF c{POSITION3(0, 0, 0), UNITVEC3(1, -1, 2), 2.0};
  const double noise = 1e-3 * c.radius;
  const std::vector<POSITION3> points =
      fit_test::sample_cylinder(c, 200, 3.0, 5, 0.0, HOST_TWO_PI, noise);
  CYLINDER_FITTER f;
  add_all(f, points);
  f.set_initial_fitting_parameters(polar(tilted(c.axis, 0.1, VECTOR3(1, 0, 0))));
  ASSERT_TRUE(f.fit_surface());
  const cylinder* cy = fitted_cylinder(f);
  ASSERT_NE(cy, nullptr);
  EXPECT_LT(line_angle(cy->axis(), c.axis), 10 * noise / c.radius);
  EXPECT_NEAR(cy->radius(), c.radius, 2 * noise);
  // The farthest point is about as far as the noise reaches, and no farther
  // than it from the true surface.
  EXPECT_GT(f.get_fitting_precision(), 0.5 * noise);
  EXPECT_LT(f.get_fitting_precision(), 2 * noise);
}

TEST(CylinderFitter, RefitStartsAfreshButSpendsFromTheSameBudget) {
  const CYLINDER_DEF c = test_cylinders()[1];
  const std::vector<POSITION3> points = fit_test::sample_cylinder(c, 60, 1.5 * c.radius, 7);
  const VECTOR2 start = polar(tilted(c.axis, 0.3, VECTOR3(0.2, 1, 0.4)));
  CYLINDER_FITTER grown;
  grown.set_initial_fitting_parameters(start);
  for (int i = 0; i < 30; ++i) grown.add_point(points[i]);
  ASSERT_TRUE(grown.fit_surface());
  const unsigned int first_steps = grown.get_gradient_descent_step_count();
  ASSERT_GT(first_steps, 1u);
  for (int i = 30; i < 60; ++i) grown.add_point(points[i]);
  ASSERT_TRUE(grown.fit_surface());

  CYLINDER_FITTER whole;
  whole.set_initial_fitting_parameters(start);
  add_all(whole, points);
  ASSERT_TRUE(whole.fit_surface());
  // The second fit of `grown` is the descent of `whole`, step for step.
  EXPECT_EQ(grown.get_fitting_parameters(), whole.get_fitting_parameters());
  EXPECT_EQ(grown.get_energy_evaluation_count(), whole.get_energy_evaluation_count());
  EXPECT_EQ(grown.get_gradient_descent_step_count(),
            first_steps + whole.get_gradient_descent_step_count());
  EXPECT_EQ(grown.get_fitting_precision(), whole.get_fitting_precision());

  // Undo gives back the second fit's steps and its points.
  ASSERT_TRUE(grown.undo());
  EXPECT_EQ(grown.get_gradient_descent_step_count(), first_steps);
  EXPECT_EQ(grown.get_point_count(), 30u);
}

TEST(CylinderFitter, BudgetSpentNearThePoleLeavesOneStepPerFit) {
  // Near the pole alpha moves the axis by sin(beta) only: a far start
  // crawls and the first fit spends the whole budget.
  const CYLINDER_DEF c{POSITION3(1, -2, 0.5), tilted(UNITVEC3(0, 0, 1), 0.02, VECTOR3(1, 0.3, 0)),
                       1.0};
  const std::vector<POSITION3> points = fit_test::sample_cylinder(c, 61, 1.5, 7);
  CYLINDER_FITTER f;
  for (int i = 0; i < 60; ++i) f.add_point(points[i]);
  f.set_initial_fitting_parameters(polar(tilted(c.axis, 0.3, VECTOR3(0.2, 1, 0.4))));
  ASSERT_TRUE(f.fit_surface());
  ASSERT_EQ(f.get_gradient_descent_step_count(), 801u);
  const double precision = f.get_fitting_precision();

  f.add_point(points[60]);
  ASSERT_TRUE(f.fit_surface());
  EXPECT_EQ(f.get_gradient_descent_step_count(), 802u);
  EXPECT_GE(f.get_energy_evaluation_count(), 2u);
  // One step from the initial parameters again: far from the first answer.
  EXPECT_GT(f.get_fitting_precision(), 10 * precision);
}

TEST(CylinderFitter, UndoRightAfterTheFirstFitDoesNothing) {
  const CYLINDER_DEF c = test_cylinders()[4];
  CYLINDER_FITTER f;
  add_all(f, fit_test::sample_cylinder(c, 30, 1.0, 3));
  f.set_initial_fitting_parameters(polar(c.axis));
  ASSERT_TRUE(f.fit_surface());
  const surface* s = f.get_fitted_surface();
  EXPECT_FALSE(f.undo());
  EXPECT_EQ(f.get_fitted_surface(), s);
  EXPECT_EQ(f.get_point_count(), 30u);
}

TEST(CylinderFitter, UndoBringsBackTheCylinderBefore) {
  const CYLINDER_DEF c = test_cylinders()[4];
  const std::vector<POSITION3> points = fit_test::sample_cylinder(c, 40, 1.0, 3);
  CYLINDER_FITTER f;
  f.set_initial_fitting_parameters(polar(tilted(c.axis, 0.05, VECTOR3(1, 0, 0))));
  for (int i = 0; i < 30; ++i) f.add_point(points[i]);
  ASSERT_TRUE(f.fit_surface());
  surface* first = f.get_fitted_surface();
  const double first_precision = f.get_fitting_precision();
  const VECTOR2 first_parameters = f.get_fitting_parameters();
  // A point off the cylinder spoils the second fit.
  f.add_point(c.root + 3.0 * c.axis + VECTOR3(5, 5, 5));
  ASSERT_TRUE(f.fit_surface());
  EXPECT_NE(f.get_fitted_surface(), first);
  EXPECT_GT(f.get_fitting_precision(), 1e3 * first_precision);
  EXPECT_EQ(first->use_count(), 1u);  // kept by the saved state
  ASSERT_TRUE(f.undo());
  EXPECT_EQ(f.get_fitted_surface(), first);
  EXPECT_EQ(f.get_fitting_precision(), first_precision);
  EXPECT_EQ(f.get_fitting_parameters(), first_parameters);
  EXPECT_EQ(f.get_point_count(), 30u);
  EXPECT_FALSE(f.undo());
  // The fitter goes on from there.
  for (int i = 30; i < 40; ++i) f.add_point(points[i]);
  ASSERT_TRUE(f.fit_surface());
  expect_cylinder(f, c, kFloor);
}

TEST(CylinderFitter, FitWithoutNewPointsKeepsEverything) {
  const CYLINDER_DEF c = test_cylinders()[4];
  const std::vector<POSITION3> points = fit_test::sample_cylinder(c, 40, 1.0, 3);
  CYLINDER_FITTER f;
  f.set_initial_fitting_parameters(polar(c.axis));
  for (int i = 0; i < 30; ++i) f.add_point(points[i]);
  ASSERT_TRUE(f.fit_surface());
  surface* first = f.get_fitted_surface();
  for (int i = 30; i < 40; ++i) f.add_point(points[i]);
  ASSERT_TRUE(f.fit_surface());
  surface* second = f.get_fitted_surface();
  const unsigned int steps = f.get_gradient_descent_step_count();
  const unsigned int evaluations = f.get_energy_evaluation_count();
  const double precision = f.get_fitting_precision();

  EXPECT_TRUE(f.fit_surface());
  EXPECT_EQ(f.get_fitted_surface(), second);
  EXPECT_EQ(f.get_gradient_descent_step_count(), steps);
  EXPECT_EQ(f.get_energy_evaluation_count(), evaluations);
  EXPECT_EQ(f.get_fitting_precision(), precision);
  // The saved state is still the first fit's.
  ASSERT_TRUE(f.undo());
  EXPECT_EQ(f.get_fitted_surface(), first);
}

TEST(CylinderFitter, FitterHoldsOneReferencePerSurfaceAndNoneWhenGone) {
  const CYLINDER_DEF c = test_cylinders()[4];
  const std::vector<POSITION3> points = fit_test::sample_cylinder(c, 40, 1.0, 3);
  GEOM_REF<surface> first, second;
  {
    CYLINDER_FITTER f;
    f.set_initial_fitting_parameters(polar(c.axis));
    for (int i = 0; i < 30; ++i) f.add_point(points[i]);
    ASSERT_TRUE(f.fit_surface());
    first = f.get_fitted_surface();
    EXPECT_EQ(first->use_count(), 2u);
    for (int i = 30; i < 40; ++i) f.add_point(points[i]);
    ASSERT_TRUE(f.fit_surface());
    second = f.get_fitted_surface();
    EXPECT_EQ(first->use_count(), 2u);
    EXPECT_EQ(second->use_count(), 2u);
    // Saving makes fitted and saved the same surface, on one reference.
    f.note_state();
    EXPECT_EQ(first->use_count(), 1u);
    EXPECT_EQ(second->use_count(), 2u);
  }
  EXPECT_EQ(first->use_count(), 1u);
  EXPECT_EQ(second->use_count(), 1u);
}

TEST(CylinderFitter, CollinearPointsEndTheDescentAtOnce) {
  // Along x, seen along z: every projection has v = 0 exactly, so D = 0 and
  // the energy is NaN from the start.
  CYLINDER_FITTER f;
  for (int i = 0; i < 8; ++i) f.add_point(POSITION3(i, 0, 0));
  f.set_initial_fitting_parameters(VECTOR2(0.0, 0.0));
  bool fitted = true;
  EXPECT_NO_THROW(fitted = f.fit_surface());
  EXPECT_FALSE(fitted);
  EXPECT_EQ(f.get_fitted_surface(), nullptr);
  EXPECT_EQ(f.get_gradient_descent_step_count(), 1u);
  EXPECT_EQ(f.get_energy_evaluation_count(), 2u);
  EXPECT_EQ(f.get_fitting_precision(), host_pos_inf());
}

TEST(CylinderFitter, CollinearPointsInAnyDirectionDoNoHarm) {
  // Rounding may leave D a little off zero: whatever comes out, nothing
  // throws and the descent ends.
  CYLINDER_FITTER f;
  for (int i = 0; i < 8; ++i) f.add_point(POSITION3(0.3 * i + 1, -0.7 * i, 0.2 * i - 4));
  f.set_initial_fitting_parameters(VECTOR2(1.1, 0.7));
  EXPECT_NO_THROW(f.fit_surface());
  EXPECT_LE(f.get_gradient_descent_step_count(), 801u);
}

TEST(CylinderFitter, CoincidentPointsGiveNoSurface) {
  CYLINDER_FITTER f;
  for (int i = 0; i < 5; ++i) f.add_point(POSITION3(1.5, -2.0, 7.0));
  f.set_initial_fitting_parameters(VECTOR2(0.5, 0.5));
  bool fitted = true;
  EXPECT_NO_THROW(fitted = f.fit_surface());
  EXPECT_FALSE(fitted);
  EXPECT_EQ(f.get_fitted_surface(), nullptr);
  EXPECT_EQ(f.get_gradient_descent_step_count(), 1u);
}

TEST(CylinderFitter, NaNCoordinateGivesNoSurface) {
  const CYLINDER_DEF c = test_cylinders()[4];
  CYLINDER_FITTER f;
  add_all(f, fit_test::sample_cylinder(c, 20, 1.0, 3));
  f.add_point(POSITION3(0.0, host_nan(), 1.0));
  f.set_initial_fitting_parameters(polar(c.axis));
  bool fitted = true;
  EXPECT_NO_THROW(fitted = f.fit_surface());
  EXPECT_FALSE(fitted);
  EXPECT_EQ(f.get_fitted_surface(), nullptr);
  EXPECT_TRUE(host_is_nan(f.measure_distance(POSITION3(1, 2, 3))));
}

TEST(CylinderFitter, FewerThanThreePointsGiveNoSurface) {
  // No point: nothing to fit.
  CYLINDER_FITTER none;
  none.set_initial_fitting_parameters(VECTOR2(0.5, 0.5));
  EXPECT_FALSE(none.fit_surface());
  EXPECT_EQ(none.get_gradient_descent_step_count(), 0u);
  // One point: centred, it is the origin.
  CYLINDER_FITTER one;
  one.add_point(POSITION3(1, 2, 3));
  one.set_initial_fitting_parameters(VECTOR2(0.5, 0.5));
  EXPECT_FALSE(one.fit_surface());
  // Two points across the start axis: their projections lie on one line.
  CYLINDER_FITTER two;
  two.add_point(POSITION3(-1, 0, 0));
  two.add_point(POSITION3(1, 0, 0));
  two.set_initial_fitting_parameters(VECTOR2(0.0, 0.0));
  bool fitted = true;
  EXPECT_NO_THROW(fitted = two.fit_surface());
  EXPECT_FALSE(fitted);
  EXPECT_EQ(two.get_fitted_surface(), nullptr);
}

TEST(CylinderFitter, NaNInitialParametersGiveNoSurface) {
  const CYLINDER_DEF c = test_cylinders()[4];
  CYLINDER_FITTER f;
  add_all(f, fit_test::sample_cylinder(c, 20, 1.0, 3));
  EXPECT_FALSE(f.fit_surface());  // never set: NaN
  EXPECT_EQ(f.get_fitted_surface(), nullptr);
  EXPECT_EQ(f.get_gradient_descent_step_count(), 0u);
  EXPECT_EQ(f.get_fitting_precision(), host_pos_inf());
  EXPECT_FALSE(f.undo());
  // With a start, the same fitter succeeds with the points it kept.
  f.add_point(c.root + c.radius * fit_test::tilted(c.axis, HOST_HALF_PI, VECTOR3(1, 0, 0)));
  f.set_initial_fitting_parameters(polar(c.axis));
  EXPECT_TRUE(f.fit_surface());
  expect_cylinder(f, c, kFloor);
}

}  // namespace
