// The fitting energies: the axis frame, the closed-form circle of the
// cylinder energy, its value and its exact gradient.

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "host/geometry/constants.h"
#include "host/kernel/geometry/cylinder.h"
#include "lumesh/reverse_engineering/cylinder_energy.h"
#include "lumesh/reverse_engineering/gradient_descent_fitter.h"
#include "support/cylinder_samples.h"

namespace {

using fit_test::CYLINDER_DEF;
using fit_test::RANDOM;

// Opens the protected frame and Jacobian to the checks.
class ENERGY_PROBE : public CYLINDER_ENERGY {
 public:
  ENERGY_PROBE(const VECTOR2& p, const std::vector<POSITION3>& points)
      : CYLINDER_ENERGY(p, points) {}
  using CYLINDER_ENERGY::Puv1;
  using SURFACE_ENERGY::A;
  using SURFACE_ENERGY::dU_dalpha;
  using SURFACE_ENERGY::dU_dbeta;
  using SURFACE_ENERGY::dV_dalpha;
  using SURFACE_ENERGY::dV_dbeta;
  using SURFACE_ENERGY::U;
  using SURFACE_ENERGY::V;
};

std::vector<POSITION3> centered(std::vector<POSITION3> points) {
  double sx = 0, sy = 0, sz = 0;
  for (const POSITION3& p : points) {
    sx += p.x();
    sy += p.y();
    sz += p.z();
  }
  const double n = static_cast<double>(points.size());
  const VECTOR3 c(sx / n, sy / n, sz / n);
  for (POSITION3& p : points) p -= c;
  return points;
}

POSITION3 center_of(const std::vector<POSITION3>& points) {
  double sx = 0, sy = 0, sz = 0;
  for (const POSITION3& p : points) {
    sx += p.x();
    sy += p.y();
    sz += p.z();
  }
  const double n = static_cast<double>(points.size());
  return POSITION3(sx / n, sy / n, sz / n);
}

// Clouds on which the energy is well away from zero (the axis is off, or the
// points are noisy), so its value carries many significant digits.
std::vector<std::vector<POSITION3>> test_clouds() {
  std::vector<std::vector<POSITION3>> clouds;
  RANDOM rnd(11);
  for (int k = 0; k < 3; ++k) {
    const CYLINDER_DEF c{POSITION3(rnd.uniform(-5, 5), rnd.uniform(-5, 5), rnd.uniform(-5, 5)),
                         UNITVEC3(rnd.direction()), rnd.uniform(0.5, 3.0)};
    clouds.push_back(centered(
        fit_test::sample_cylinder(c, 40 + 20 * k, 2.0, 100 + k, 0.0, HOST_TWO_PI, 0.1 * c.radius)));
  }
  // A quarter of a cylinder: the circle's centre lies far from the points.
  clouds.push_back(centered(fit_test::sample_cylinder(
      CYLINDER_DEF{POSITION3(1, 2, 3), UNITVEC3(1, 2, 2), 4.0}, 50, 3.0, 7, 0.2, 1.8, 0.05)));
  // A shapeless blob.
  std::vector<POSITION3> blob;
  for (int i = 0; i < 35; ++i) {
    blob.emplace_back(rnd.uniform(-1, 1), rnd.uniform(-2, 2), rnd.uniform(-0.5, 3));
  }
  clouds.push_back(centered(blob));
  return clouds;
}

std::vector<VECTOR2> test_parameters() {
  std::vector<VECTOR2> params;
  RANDOM rnd(5);
  for (int i = 0; i < 5; ++i)
    params.emplace_back(rnd.uniform(0, HOST_TWO_PI), rnd.uniform(0.1, 1.5));
  // Outside the range the descent folds into: the energy is defined there too.
  params.emplace_back(-0.7, 2.6);
  return params;
}

// Half the sum of the squared residuals of the circle, from its definition.
double direct_energy(const ENERGY_PROBE& e, const std::vector<POSITION3>& points) {
  const UNITVEC3 u_dir = ENERGY_PROBE::U(e.get_parameters());
  const UNITVEC3 v_dir = ENERGY_PROBE::V(e.get_parameters());
  double sum = 0.0;
  for (const POSITION3& p : points) {
    const double du = dot(VECTOR3(p), u_dir) - e.get_center_offset_u();
    const double dv = dot(VECTOR3(p), v_dir) - e.get_center_offset_v();
    const double r = du * du + dv * dv - e.get_squared_radius();
    sum += r * r;
  }
  return 0.5 * sum;
}

void expect_vector_near(const VECTOR3& got, const VECTOR3& want, double tol) {
  EXPECT_NEAR(got.x(), want.x(), tol);
  EXPECT_NEAR(got.y(), want.y(), tol);
  EXPECT_NEAR(got.z(), want.z(), tol);
}

TEST(SurfaceEnergyFrame, RightHandedOrthonormalAroundTheAxis) {
  for (const VECTOR2& p : test_parameters()) {
    const UNITVEC3 a = ENERGY_PROBE::A(p), u = ENERGY_PROBE::U(p), v = ENERGY_PROBE::V(p);
    EXPECT_NEAR(a.len(), 1.0, 1e-15);
    EXPECT_NEAR(u.len(), 1.0, 1e-15);
    EXPECT_NEAR(v.len(), 1.0, 1e-15);
    EXPECT_NEAR(dot(a, u), 0.0, 1e-15);
    EXPECT_NEAR(dot(a, v), 0.0, 1e-15);
    EXPECT_NEAR(dot(u, v), 0.0, 1e-15);
    expect_vector_near(cross(u, v), a, 1e-15);
    const double ca = std::cos(p.x()), sa = std::sin(p.x());
    const double cb = std::cos(p.y()), sb = std::sin(p.y());
    expect_vector_near(a, VECTOR3(ca * sb, sa * sb, cb), 1e-15);
    expect_vector_near(u, VECTOR3(ca * cb, sa * cb, -sb), 1e-15);
    expect_vector_near(v, VECTOR3(-sa, ca, 0.0), 1e-15);
  }
}

TEST(SurfaceEnergyFrame, DerivativesAgreeWithFiniteDifferences) {
  const double h = 1e-6;
  for (const VECTOR2& p : test_parameters()) {
    const VECTOR2 da(h, 0.0), db(0.0, h);
    const VECTOR3 fd_ua = (ENERGY_PROBE::U(p + da) - ENERGY_PROBE::U(p - da)) / (2 * h);
    const VECTOR3 fd_ub = (ENERGY_PROBE::U(p + db) - ENERGY_PROBE::U(p - db)) / (2 * h);
    const VECTOR3 fd_va = (ENERGY_PROBE::V(p + da) - ENERGY_PROBE::V(p - da)) / (2 * h);
    const VECTOR3 fd_vb = (ENERGY_PROBE::V(p + db) - ENERGY_PROBE::V(p - db)) / (2 * h);
    expect_vector_near(ENERGY_PROBE::dU_dalpha(p), fd_ua, 1e-9);
    expect_vector_near(ENERGY_PROBE::dU_dbeta(p), fd_ub, 1e-9);
    expect_vector_near(ENERGY_PROBE::dV_dalpha(p), fd_va, 1e-9);
    expect_vector_near(ENERGY_PROBE::dV_dbeta(p), fd_vb, 1e-9);
    EXPECT_EQ(ENERGY_PROBE::dV_dbeta(p), VECTOR3(0, 0, 0));
    // U is the derivative of the axis by beta.
    const VECTOR3 fd_ab = (ENERGY_PROBE::A(p + db) - ENERGY_PROBE::A(p - db)) / (2 * h);
    expect_vector_near(ENERGY_PROBE::U(p), fd_ab, 1e-9);
  }
}

TEST(CylinderEnergy, TrueAxisGivesTheCircleAndNearZeroEnergy) {
  const CYLINDER_DEF c{POSITION3(3, -1, 2), UNITVEC3(0.3, -0.5, 0.8), 2.5};
  // Half a turn only, so that the circle's centre is far from the points'.
  const std::vector<POSITION3> raw = fit_test::sample_cylinder(c, 40, 4.0, 3, 0.0, HOST_PI);
  const POSITION3 cog = center_of(raw);
  const std::vector<POSITION3> points = centered(raw);
  const VECTOR2 p = GRADIENT_DESCENT_FITTER::compute_polar_coordinates(c.axis);
  const ENERGY_PROBE e(p, points);
  EXPECT_NEAR(e.get_squared_radius(), c.radius * c.radius, 1e-12 * c.radius * c.radius);
  double sww = 0.0;
  for (const POSITION3& q : points) sww += VECTOR3(q).len2() * VECTOR3(q).len2();
  EXPECT_LT(std::fabs(e.get_energy()), 1e-13 * sww);

  surface* s = e.get_surface(cog);
  ASSERT_NE(s, nullptr);
  GEOM_REF<surface> keep(s);
  EXPECT_EQ(s->use_count(), 1u);
  const cylinder* cy = entity_cast<cylinder>(s);
  ASSERT_NE(cy, nullptr);
  EXPECT_NEAR(cy->radius(), c.radius, 1e-12 * c.radius);
  EXPECT_LT(fit_test::line_angle(cy->axis(), c.axis), 1e-14);
  // The centre lies on the true axis, across from the points' centre.
  const VECTOR3 off = cy->root() - c.root;
  EXPECT_LT((off - dot(off, c.axis) * c.axis).len(), 1e-12 * c.radius);
  EXPECT_NEAR(dot(cy->root() - cog, c.axis), 0.0, 1e-12 * c.radius);
}

TEST(CylinderEnergy, EnergyIsHalfTheSumOfSquaredCircleResiduals) {
  for (const std::vector<POSITION3>& points : test_clouds()) {
    for (const VECTOR2& p : test_parameters()) {
      const ENERGY_PROBE e(p, points);
      const double direct = direct_energy(e, points);
      ASSERT_GT(direct, 0.0);
      EXPECT_NEAR(e.get_energy(), direct, 1e-9 * direct) << p.x() << " " << p.y();
    }
  }
}

TEST(CylinderEnergy, CenterOffsetsSolveTheAlgebraicCircleFit) {
  // The normal equations of w ≈ 2 a u + 2 b v + c with c = mean(w).
  for (const std::vector<POSITION3>& points : test_clouds()) {
    for (const VECTOR2& p : test_parameters()) {
      const ENERGY_PROBE e(p, points);
      const UNITVEC3 u_dir = ENERGY_PROBE::U(p), v_dir = ENERGY_PROBE::V(p);
      const double a = e.get_center_offset_u(), b = e.get_center_offset_v();
      double mean_w = 0.0;
      for (const POSITION3& q : points) {
        const double u = dot(VECTOR3(q), u_dir), v = dot(VECTOR3(q), v_dir);
        mean_w += u * u + v * v;
      }
      mean_w /= static_cast<double>(points.size());
      double ru = 0.0, rv = 0.0, scale = 0.0;
      for (const POSITION3& q : points) {
        const double u = dot(VECTOR3(q), u_dir), v = dot(VECTOR3(q), v_dir);
        const double r = u * u + v * v - 2 * a * u - 2 * b * v - mean_w;
        ru += r * u;
        rv += r * v;
        scale += std::fabs((u * u + v * v) * u) + std::fabs((u * u + v * v) * v);
      }
      EXPECT_LT(std::fabs(ru), 1e-12 * scale);
      EXPECT_LT(std::fabs(rv), 1e-12 * scale);
      EXPECT_NEAR(e.get_squared_radius(), mean_w + a * a + b * b, 1e-14 * mean_w);
    }
  }
}

TEST(CylinderEnergy, GradientAgreesWithCentralDifferences) {
  const double h = 1e-6;
  for (const std::vector<POSITION3>& points : test_clouds()) {
    for (const VECTOR2& p : test_parameters()) {
      const ENERGY_PROBE e(p, points);
      const VECTOR2 g = e.compute_partial_derivatives();
      const VECTOR2 da(h, 0.0), db(0.0, h);
      const VECTOR2 fd(
          (ENERGY_PROBE(p + da, points).get_energy() - ENERGY_PROBE(p - da, points).get_energy()) /
              (2 * h),
          (ENERGY_PROBE(p + db, points).get_energy() - ENERGY_PROBE(p - db, points).get_energy()) /
              (2 * h));
      ASSERT_GT(g.len(), 0.0);
      EXPECT_LT((g - fd).len(), 1e-6 * g.len())
          << "at (" << p.x() << ", " << p.y() << "): " << g.x() << " " << g.y() << " vs " << fd.x()
          << " " << fd.y();
    }
  }
}

TEST(CylinderEnergy, CenterJacobianAgreesWithCentralDifferences) {
  const double h = 1e-6;
  for (const std::vector<POSITION3>& points : test_clouds()) {
    for (const VECTOR2& p : test_parameters()) {
      const ENERGY_PROBE e(p, points);
      double P[2][2];
      e.Puv1(P);
      const VECTOR2 step[2] = {VECTOR2(h, 0.0), VECTOR2(0.0, h)};
      double norm = 0.0, err = 0.0;
      for (int k = 0; k < 2; ++k) {
        const ENERGY_PROBE plus(p + step[k], points), minus(p - step[k], points);
        const double fa = (plus.get_center_offset_u() - minus.get_center_offset_u()) / (2 * h);
        const double fb = (plus.get_center_offset_v() - minus.get_center_offset_v()) / (2 * h);
        err = std::fmax(err, std::fmax(std::fabs(P[0][k] - fa), std::fabs(P[1][k] - fb)));
        norm = std::fmax(norm, std::fmax(std::fabs(P[0][k]), std::fabs(P[1][k])));
      }
      ASSERT_GT(norm, 0.0);
      EXPECT_LT(err, 1e-6 * norm) << "at (" << p.x() << ", " << p.y() << ")";
    }
  }
}

TEST(CylinderEnergy, ComparesByEnergyValue) {
  const CYLINDER_DEF c{POSITION3(0, 0, 0), UNITVEC3(1, 1, 1), 1.0};
  const std::vector<POSITION3> points = centered(fit_test::sample_cylinder(c, 30, 1.0, 9));
  const VECTOR2 good = GRADIENT_DESCENT_FITTER::compute_polar_coordinates(c.axis);
  const CYLINDER_ENERGY low(good, points);
  const CYLINDER_ENERGY high(good + VECTOR2(0.2, 0.1), points);
  EXPECT_TRUE(low < high);
  EXPECT_TRUE(high > low);
  EXPECT_FALSE(low > high);
  EXPECT_FALSE(high < low);
  EXPECT_FALSE(low < low);
  EXPECT_FALSE(low > low);
}

TEST(CylinderEnergy, CloneIsAnEqualIndependentEnergy) {
  const std::vector<POSITION3> points = test_clouds()[0];
  const VECTOR2 p(0.4, 0.9);
  auto original = std::make_unique<CYLINDER_ENERGY>(p, points);
  std::unique_ptr<SURFACE_ENERGY> copy(original->clone());
  const VECTOR2 g = original->compute_partial_derivatives();
  original.reset();
  EXPECT_EQ(copy->get_parameters(), p);
  EXPECT_EQ(copy->get_points(), &points);
  EXPECT_EQ(copy->get_energy(), CYLINDER_ENERGY(p, points).get_energy());
  EXPECT_EQ(copy->compute_partial_derivatives(), g);
}

TEST(CylinderEnergy, CollinearProjectionsGiveNaNAndNoSurface) {
  // Points along x seen along z: every projection has v = 0, so D = 0.
  std::vector<POSITION3> points;
  for (int i = 0; i < 6; ++i) points.emplace_back(i - 2.5, 0.0, 0.0);
  const CYLINDER_ENERGY e(VECTOR2(0.0, 0.0), points);
  EXPECT_TRUE(host_is_nan(e.get_energy()));
  EXPECT_TRUE(host_is_nan(e.get_center_offset_u()));
  EXPECT_FALSE(e < e);
  EXPECT_FALSE(e > e);
  const VECTOR2 g = e.compute_partial_derivatives();
  EXPECT_TRUE(host_is_nan(g.x()) || host_is_nan(g.y()));
  surface* s = nullptr;
  EXPECT_NO_THROW(s = e.get_surface(POSITION3(1, 2, 3)));
  EXPECT_EQ(s, nullptr);
}

TEST(CylinderEnergy, NoPointsGiveNoSurface) {
  const std::vector<POSITION3> none;
  const CYLINDER_ENERGY e(VECTOR2(0.3, 0.3), none);
  EXPECT_TRUE(host_is_nan(e.get_energy()));
  EXPECT_EQ(e.get_surface(POSITION3()), nullptr);
}

}  // namespace
