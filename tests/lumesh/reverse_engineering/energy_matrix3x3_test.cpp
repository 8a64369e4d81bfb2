// The Jacobi eigen solver of 3 by 3 scatter matrices.

#include "lumesh/reverse_engineering/energy_matrix3x3.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "host/geometry/constants.h"
#include "support/cylinder_samples.h"

namespace {

using MATRIX = double[3][3];

// How well Q D Qᵀ gives the matrix back, relative to its largest entry. The
// iteration stops at an absolute off-diagonal of 1e-12, which dominates for
// matrices of small entries.
constexpr double kReproduction = 1e-9;

// max |Q D Qᵀ - m| over the entries.
double reconstruction_error(const EIGENSYSTEM3x3& es, const MATRIX& m) {
  double err = 0.0;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      double sum = 0.0;
      for (int k = 0; k < 3; ++k) sum += es[k].second[i] * es[k].first * es[k].second[j];
      err = std::fmax(err, std::fabs(sum - m[i][j]));
    }
  }
  return err;
}

double max_abs(const MATRIX& m) {
  double a = 0.0;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) a = std::fmax(a, std::fabs(m[i][j]));
  }
  return a;
}

void expect_orthonormal(const EIGENSYSTEM3x3& es) {
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      EXPECT_NEAR(dot(es[i].second, es[j].second), i == j ? 1.0 : 0.0, 1e-14);
    }
  }
}

TEST(EnergyMatrixEigen, RandomSymmetricMatricesAreReproduced) {
  fit_test::RANDOM rnd(42);
  for (int trial = 0; trial < 200; ++trial) {
    MATRIX m;
    const double scale = std::pow(10.0, rnd.uniform(-2, 2));
    for (int i = 0; i < 3; ++i) {
      for (int j = i; j < 3; ++j) m[i][j] = m[j][i] = scale * rnd.uniform(-1, 1);
    }
    ENERGY_MATRIX3x3 em(m);
    const EIGENSYSTEM3x3 es = em.compute_eigensystem();
    ASSERT_TRUE(es.IsValid()) << "trial " << trial;
    EXPECT_LT(reconstruction_error(es, m), kReproduction * max_abs(m)) << "trial " << trial;
    expect_orthonormal(es);
  }
}

TEST(EnergyMatrixEigen, ScatterMatrixOfCentredPoints) {
  fit_test::RANDOM rnd(3);
  std::vector<POSITION3> points;
  for (int i = 0; i < 50; ++i) {
    points.emplace_back(rnd.uniform(-3, 3), rnd.uniform(-1, 1), 0.1 * rnd.uniform(-1, 1));
  }
  MATRIX m = {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}};
  for (const POSITION3& p : points) {
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) m[i][j] += p[i] * p[j];
    }
  }
  const EIGENSYSTEM3x3 es = ENERGY_MATRIX3x3(points).compute_eigensystem();
  ASSERT_TRUE(es.IsValid());
  EXPECT_LT(reconstruction_error(es, m), kReproduction * max_abs(m));
  expect_orthonormal(es);
  // The flat direction has the smallest eigenvalue, along z.
  int smallest = 0;
  for (int k = 1; k < 3; ++k) {
    if (es[k].first < es[smallest].first) smallest = k;
  }
  EXPECT_GT(std::fabs(es[smallest].second.z()), 0.99);
}

TEST(EnergyMatrixEigen, EqualOffDiagonalsPivotOnTwoThreeFirst) {
  // 0.5·I + 0.5·11ᵀ: eigenvalues 2, 0.5, 0.5. A first rotation in the plane
  // of axes 2 and 3 sends (0, -1, 1)/√2 to slot 3 for good; the rotation
  // that follows (pivot (1,2)) gives slots 1 and 2 the values 0.5 and 2.
  const MATRIX m = {{1.0, 0.5, 0.5}, {0.5, 1.0, 0.5}, {0.5, 0.5, 1.0}};
  ENERGY_MATRIX3x3 em(m);
  const EIGENSYSTEM3x3 es = em.compute_eigensystem();
  ASSERT_TRUE(es.IsValid());
  EXPECT_NEAR(es[0].first, 0.5, 1e-14);
  EXPECT_NEAR(es[1].first, 2.0, 1e-14);
  EXPECT_NEAR(es[2].first, 0.5, 1e-14);
  EXPECT_NEAR(std::fabs(es[2].second.x()), 0.0, 1e-14);
  EXPECT_NEAR(es[2].second.y(), -es[2].second.z(), 1e-14);
  EXPECT_NEAR(std::fabs(es[2].second.z()), std::sqrt(0.5), 1e-14);
  EXPECT_LT(reconstruction_error(es, m), 1e-12);
}

TEST(EnergyMatrixEigen, TieOfTheFirstTwoTakesTheThirdPairsValue) {
  // |m12| == |m13| > m23 = 0: no strict winner, so the pivot is (2,3) with
  // its own value 0, below the limit: the matrix comes back as it is.
  const MATRIX m = {{1.0, 0.25, -0.25}, {0.25, 2.0, 0.0}, {-0.25, 0.0, 3.0}};
  ENERGY_MATRIX3x3 em(m);
  const EIGENSYSTEM3x3 es = em.compute_eigensystem();
  ASSERT_TRUE(es.IsValid());
  for (int k = 0; k < 3; ++k) {
    EXPECT_EQ(es[k].first, m[k][k]);
    EXPECT_EQ(es[k].second[k], 1.0);
  }
}

TEST(EnergyMatrixEigen, ZeroMatrixGivesZerosOnTheUnitAxes) {
  const std::vector<POSITION3> points(4, POSITION3(0, 0, 0));
  const EIGENSYSTEM3x3 es = ENERGY_MATRIX3x3(points).compute_eigensystem();
  ASSERT_TRUE(es.IsValid());
  const VECTOR3 axes[3] = {VECTOR3(1, 0, 0), VECTOR3(0, 1, 0), VECTOR3(0, 0, 1)};
  for (int k = 0; k < 3; ++k) {
    EXPECT_EQ(es[k].first, 0.0);
    EXPECT_EQ(VECTOR3(es[k].second), axes[k]);
  }
}

TEST(EnergyMatrixEigen, LargeFiniteCloudsConverge) {
  // The off-diagonal entries are mixed only among themselves (the big
  // diagonal meets exact zeros of the rotation), so they shrink to zero at
  // any scale, far below the absolute limit, well within 20 rotations.
  for (double scale : {1e3, 1e6, 1e9, 1e12}) {
    fit_test::RANDOM rnd(8);
    std::vector<POSITION3> points;
    for (int i = 0; i < 1000; ++i) {
      points.emplace_back(scale * rnd.uniform(-1, 1), 0.5 * scale * rnd.uniform(-1, 1),
                          0.2 * scale * rnd.uniform(-1, 1));
    }
    const EIGENSYSTEM3x3 es = ENERGY_MATRIX3x3(points).compute_eigensystem();
    EXPECT_TRUE(es.IsValid()) << scale;
  }
}

TEST(EnergyMatrixEigen, CloudTooLargeForTheArithmeticDoesNotConverge) {
  // Squares beyond the double range: infinite entries and NaN rotations,
  // which leave a NaN eigenvalue whichever way the iteration ends.
  fit_test::RANDOM rnd(8);
  std::vector<POSITION3> points;
  for (int i = 0; i < 10; ++i) {
    points.emplace_back(1e160 * rnd.uniform(-1, 1), 1e160 * rnd.uniform(-1, 1), rnd.uniform(-1, 1));
  }
  EXPECT_FALSE(ENERGY_MATRIX3x3(points).compute_eigensystem().IsValid());
}

TEST(EnergyMatrixEigen, NaNCoordinateDoesNotConverge) {
  std::vector<POSITION3> points = {POSITION3(1, 2, 3), POSITION3(-1, 0, host_nan()),
                                   POSITION3(0, -2, -3)};
  EXPECT_FALSE(ENERGY_MATRIX3x3(points).compute_eigensystem().IsValid());
}

TEST(EnergyMatrixEigen, DefaultSystemIsInvalid) {
  const EIGENSYSTEM3x3 es;
  EXPECT_FALSE(es.IsValid());
  EXPECT_TRUE(host_is_nan(es[0].first));
  for (int k = 0; k < 3; ++k) EXPECT_EQ(VECTOR3(es[k].second), VECTOR3(1, 0, 0));
}

TEST(EnergyMatrixEigen, SystemTakesTheDiagonalAndNormalisedColumns) {
  const MATRIX d = {{4, 9, 9}, {9, 5, 9}, {9, 9, 6}};
  const MATRIX q = {{2, 0, 0}, {0, 0, 3}, {0, 0.5, 0}};
  const EIGENSYSTEM3x3 es(d, q);
  EXPECT_TRUE(es.IsValid());
  EXPECT_EQ(es[0].first, 4.0);
  EXPECT_EQ(es[1].first, 5.0);
  EXPECT_EQ(es[2].first, 6.0);
  EXPECT_EQ(VECTOR3(es[0].second), VECTOR3(1, 0, 0));
  EXPECT_EQ(VECTOR3(es[1].second), VECTOR3(0, 0, 1));
  EXPECT_EQ(VECTOR3(es[2].second), VECTOR3(0, 1, 0));
}

}  // namespace
