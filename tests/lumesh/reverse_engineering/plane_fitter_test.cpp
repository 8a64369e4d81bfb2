// The plane fit: exact planes, the incremental moments against a fit from
// all points, the distance bound against exact measurement, undo, and bad
// input.

#include "lumesh/reverse_engineering/plane_fitter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "host/geometry/constants.h"
#include "host/kernel/geometry/plane.h"

namespace {

// The same fitter, but every fit recomputed from all points, centred, and
// every point measured: the plain definition that the incremental one must
// agree with.
class FROM_ALL_POINTS : public PLANE_FITTER {
 protected:
  void fit_points() override { SURFACE_FITTER::fit_points(); }
};

const plane& fitted(const SURFACE_FITTER& f) { return *entity_cast<plane>(f.get_fitted_surface()); }

// A random orthonormal frame (u, v, n) and points on the plane through
// `root` with normal n, plus noise along n.
struct PLANE_SAMPLER {
  std::mt19937 rng;
  POSITION3 root;
  UNITVEC3 u, v, n;
  explicit PLANE_SAMPLER(unsigned seed) : rng(seed) {
    std::normal_distribution<double> g(0.0, 1.0);
    n = UNITVEC3(g(rng), g(rng), g(rng));
    u = UNITVEC3(cross(n, VECTOR3(g(rng), g(rng), g(rng))));
    v = UNITVEC3(cross(n, u));
    root = POSITION3(100 * g(rng), 100 * g(rng), 100 * g(rng));
  }
  POSITION3 sample(double size, double noise) {
    std::uniform_real_distribution<double> s(-size, size);
    std::uniform_real_distribution<double> e(-noise, noise);
    return root + u * s(rng) + v * s(rng) + n * e(rng);
  }
};

TEST(PlaneFitter, ExactPlaneIsFoundToRounding) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    PLANE_SAMPLER s(seed);
    PLANE_FITTER f;
    for (int i = 0; i < 200; ++i) f.add_point(s.sample(50.0, 0.0));
    ASSERT_TRUE(f.fit_surface());
    const UNITVEC3 n = fitted(f).nor();
    EXPECT_NEAR(std::fabs(dot(n, s.n)), 1.0, 1e-12);
    EXPECT_LT(cross(n, s.n).len(), 1e-12);
    EXPECT_LE(f.get_fitting_precision(), 1e-12 * 150.0);
    EXPECT_EQ(f.get_fitted_normal(), n);
    EXPECT_LE(std::fabs(fitted(f).signed_distance(s.root)), 1e-9 * 150.0);
  }
}

TEST(PlaneFitter, IncrementalFitAgreesWithTheFitFromAllPoints) {
  PLANE_SAMPLER s(7);
  PLANE_FITTER f;
  FROM_ALL_POINTS g;
  for (int round = 0; round < 60; ++round) {
    for (int i = 0; i < 7; ++i) {
      const POSITION3 p = s.sample(20.0, 0.01);
      f.add_point(p);
      g.add_point(p);
    }
    ASSERT_EQ(f.fit_surface(), g.fit_surface());
    // Agreement to rounding: points 0.01 off a plane over 40 mm condition
    // the normal at about (40 / 0.01)² ε.
    EXPECT_LT(cross(fitted(f).nor(), fitted(g).nor()).len(), 1e-10);
    EXPECT_LT((fitted(f).root() - fitted(g).root()).len(), 1e-11);
    // No goal: both measure every point, over a span of 40 mm.
    EXPECT_NEAR(f.get_fitting_precision(), g.get_fitting_precision(), 40 * 1e-10);
  }
}

// Growth as a region does it: add a candidate's points, fit, keep the fit
// if it is within the tolerance, otherwise undo. With a goal, the fitter
// may answer a bound instead of the exact precision: the decisions must
// not change, and the bound must hold.
TEST(PlaneFitter, PrecisionGoalKeepsEveryDecision) {
  for (unsigned seed = 1; seed <= 6; ++seed) {
    PLANE_SAMPLER s(seed);
    const double tol = 0.01;
    PLANE_FITTER fast;
    fast.set_precision_goal(tol);
    PLANE_FITTER exact;
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    int accepted = 0, rejected = 0;
    for (int i = 0; i < 3; ++i) {
      const POSITION3 p = s.sample(1.0, 0.0);
      fast.add_point(p);
      exact.add_point(p);
    }
    ASSERT_TRUE(fast.fit_surface() && exact.fit_surface());
    for (int step = 0; step < 1500; ++step) {
      // Mostly close to the plane, sometimes a bit farther out, on a slowly
      // widening patch; a slight warp makes the precision creep up.
      const double size = 1.0 + step * 0.02;
      POSITION3 p = s.sample(size, unit(s.rng) < 0.1 ? 0.012 : 0.004);
      p = p + s.n * (1e-6 * (p - s.root).len2());
      fast.add_point(p);
      exact.add_point(p);
      const bool a = fast.fit_surface() && resolution::zero(fast.get_fitting_precision(), tol);
      const bool b = exact.fit_surface() && resolution::zero(exact.get_fitting_precision(), tol);
      ASSERT_EQ(a, b) << "seed " << seed << " step " << step;
      if (a) {
        EXPECT_GE(fast.get_fitting_precision(), exact.get_fitting_precision());
        EXPECT_LE(fast.get_fitting_precision(), tol);
        ++accepted;
      } else {
        EXPECT_EQ(fast.get_fitting_precision(), exact.get_fitting_precision());
        fast.undo();
        exact.undo();
        ++rejected;
      }
      EXPECT_EQ(fast.get_point_count(), exact.get_point_count());
    }
    EXPECT_GT(accepted, 100);
    EXPECT_GT(rejected, 10);
  }
}

TEST(PlaneFitter, FewerThanThreePointsGiveNoPlane) {
  PLANE_FITTER f;
  EXPECT_FALSE(f.fit_surface());
  f.add_point(POSITION3(0, 0, 0));
  f.add_point(POSITION3(1, 0, 0));
  EXPECT_FALSE(f.fit_surface());
  EXPECT_EQ(f.get_fitted_surface(), nullptr);
  EXPECT_EQ(f.get_fitting_precision(), host_pos_inf());
  EXPECT_EQ(f.get_fitted_normal(), UNITVEC3(1, 0, 0));
  f.add_point(POSITION3(0, 1, 0));
  EXPECT_TRUE(f.fit_surface());
  EXPECT_NEAR(std::fabs(fitted(f).nor().z()), 1.0, 1e-15);
}

TEST(PlaneFitter, CollinearAndCoincidentPointsStillGiveAPlaneThroughThem) {
  PLANE_FITTER line;
  for (int i = 0; i < 5; ++i) line.add_point(POSITION3(i, 2 * i, 3 * i));
  ASSERT_TRUE(line.fit_surface());
  EXPECT_LE(line.get_fitting_precision(), 1e-12);
  PLANE_FITTER point;
  for (int i = 0; i < 4; ++i) point.add_point(POSITION3(1, 2, 3));
  ASSERT_TRUE(point.fit_surface());
  EXPECT_EQ(point.get_fitting_precision(), 0.0);
  EXPECT_EQ(fitted(point).root(), POSITION3(1, 2, 3));
}

TEST(PlaneFitter, NanPointGivesNoPlaneAndUndoRecovers) {
  PLANE_FITTER f;
  f.set_precision_goal(0.01);
  for (const POSITION3& p : {POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(0, 1, 0)}) {
    f.add_point(p);
  }
  ASSERT_TRUE(f.fit_surface());
  surface* const before = f.get_fitted_surface();
  f.add_point(POSITION3(host_nan(), 0, 0));
  EXPECT_FALSE(f.fit_surface());
  EXPECT_EQ(f.get_fitted_surface(), nullptr);
  EXPECT_TRUE(f.undo());
  EXPECT_EQ(f.get_fitted_surface(), before);
  EXPECT_EQ(f.get_point_count(), 3u);
  // Growth goes on from the restored moments.
  f.add_point(POSITION3(1, 1, 0));
  ASSERT_TRUE(f.fit_surface());
  EXPECT_NEAR(std::fabs(fitted(f).nor().z()), 1.0, 1e-15);
  EXPECT_NEAR(fitted(f).root().x(), 0.5, 1e-15);
}

TEST(PlaneFitter, RefitWithoutNewPointsChangesNothing) {
  PLANE_FITTER f;
  for (const POSITION3& p : {POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(0, 1, 0)}) {
    f.add_point(p);
  }
  ASSERT_TRUE(f.fit_surface());
  EXPECT_FALSE(f.undo());  // the first fit can't be undone
  f.add_point(POSITION3(1, 1, 0.001));
  ASSERT_TRUE(f.fit_surface());
  surface* const s = f.get_fitted_surface();
  const double precision = f.get_fitting_precision();
  EXPECT_TRUE(f.fit_surface());
  EXPECT_EQ(f.get_fitted_surface(), s);
  EXPECT_EQ(f.get_fitting_precision(), precision);
  // The saved state is still that of the fit before: undo goes back to the
  // three points.
  EXPECT_TRUE(f.undo());
  EXPECT_EQ(f.get_point_count(), 3u);
  EXPECT_EQ(f.get_fitting_precision(), 0.0);
  EXPECT_FALSE(f.undo());
}

}  // namespace
