// Jacobi eigen solver of symmetric 3 by 3 matrices.

#include "lumesh/reverse_engineering/energy_matrix3x3.h"

#include <cmath>

#include "host/geometry/constants.h"

EIGENSYSTEM3x3::EIGENSYSTEM3x3() {
  for (auto& p : pairs_) p = {0.0, UNITVEC3()};
  pairs_[0].first = host_nan();
}

EIGENSYSTEM3x3::EIGENSYSTEM3x3(const double (&d)[3][3], const double (&q)[3][3]) {
  for (int k = 0; k < 3; ++k) {
    pairs_[k] = {d[k][k], UNITVEC3(q[0][k], q[1][k], q[2][k])};
  }
}

bool EIGENSYSTEM3x3::IsValid() const {
  for (const auto& p : pairs_) {
    if (host_is_nan(p.first)) return false;
  }
  return true;
}

ENERGY_MATRIX3x3::ENERGY_MATRIX3x3(const std::vector<POSITION3>& points) {
  zero(matrix_);
  for (const POSITION3& p : points) {
    const double c[3] = {p.x(), p.y(), p.z()};
    for (int i = 0; i < 3; ++i) {
      for (int j = i; j < 3; ++j) matrix_[i][j] += c[i] * c[j];
    }
  }
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < i; ++j) matrix_[i][j] = matrix_[j][i];
  }
  identity(rotation_);
}

ENERGY_MATRIX3x3::ENERGY_MATRIX3x3(const double (&symmetric)[3][3]) {
  copy(symmetric, matrix_);
  identity(rotation_);
}

EIGENSYSTEM3x3 ENERGY_MATRIX3x3::compute_eigensystem() {
  constexpr int kMaxRotations = 20;
  constexpr double kLimit = 1e-12;
  for (int k = 0; k < kMaxRotations; ++k) {
    const double m12 = std::fabs(matrix_[0][1]);
    const double m13 = std::fabs(matrix_[0][2]);
    const double m23 = std::fabs(matrix_[1][2]);
    GIVENS_ROTATION pivot = ROTATE23;
    double value = m23;
    if (m12 > m13 && m12 > m23) {
      pivot = ROTATE12;
      value = m12;
    } else if (m13 > m12 && m13 > m23) {
      pivot = ROTATE13;
      value = m13;
    }
    if (value < kLimit) return EIGENSYSTEM3x3(matrix_, rotation_);
    Grotate(pivot);
  }
  return EIGENSYSTEM3x3();
}

void ENERGY_MATRIX3x3::givens(int i, int j, MATRIX& g) const {
  const double d = matrix_[i][i] - matrix_[j][j];
  const double o = matrix_[i][j];
  // t = |d| / r with r = sqrt(4 o² + d²): the cosine of twice the angle.
  // c = sqrt((1 + t) / 2), s = sqrt((1 - t) / 2) · sgn(o) · sgn(d); for a
  // small angle 1 - t cancels to a multiple of ε, which would quantise s to
  // steps of about 2^-27, so it is taken as 4 o² / (r (r + |d|)), the same
  // number without the cancellation.
  const double r = std::sqrt(4.0 * o * o + d * d);
  const double t = std::fabs(d / r);
  const double c = std::sqrt((1.0 + t) / 2.0);
  const double one_minus_t = 4.0 * o * o / (r * (r + std::fabs(d)));
  const double sgn_o = o < 0.0 ? -1.0 : 1.0;
  const double sgn_d = d < 0.0 ? -1.0 : 1.0;
  const double s = std::sqrt(one_minus_t / 2.0) * sgn_o * sgn_d;
  identity(g);
  g[i][i] = c;
  g[j][j] = c;
  g[j][i] = s;
  g[i][j] = -s;
}

void ENERGY_MATRIX3x3::Grotate(GIVENS_ROTATION pivot) {
  MATRIX g;
  int i = 1, j = 2;
  switch (pivot) {
    case ROTATE12:
      Q12(g);
      i = 0;
      j = 1;
      break;
    case ROTATE13:
      Q13(g);
      i = 0;
      j = 2;
      break;
    case ROTATE23:
      Q23(g);
      break;
  }
  multiply(rotation_, g, rotation_);
  MATRIX gt;
  transpose(g, gt);
  multiply(matrix_, g, matrix_);
  multiply(gt, matrix_, matrix_);
  matrix_[i][j] = 0.0;
  matrix_[j][i] = 0.0;
  // Rounding leaves the other pairs slightly unsymmetric; each takes the
  // value of smaller magnitude (the lower one on a tie).
  for (int a = 0; a < 3; ++a) {
    for (int b = a + 1; b < 3; ++b) {
      if (a == i && b == j) continue;
      if (std::fabs(matrix_[a][b]) > std::fabs(matrix_[b][a])) {
        matrix_[a][b] = matrix_[b][a];
      } else if (std::fabs(matrix_[b][a]) > std::fabs(matrix_[a][b])) {
        matrix_[b][a] = matrix_[a][b];
      } else {
        matrix_[a][b] = matrix_[b][a];
      }
    }
  }
}

void ENERGY_MATRIX3x3::transpose(const MATRIX& a, MATRIX& result) {
  MATRIX t;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) t[j][i] = a[i][j];
  }
  copy(t, result);
}

void ENERGY_MATRIX3x3::multiply(const MATRIX& a, const MATRIX& b, MATRIX& result) {
  MATRIX t;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      t[i][j] = a[i][0] * b[0][j] + a[i][1] * b[1][j] + a[i][2] * b[2][j];
    }
  }
  copy(t, result);
}

void ENERGY_MATRIX3x3::identity(MATRIX& a) {
  zero(a);
  for (int i = 0; i < 3; ++i) a[i][i] = 1.0;
}

void ENERGY_MATRIX3x3::zero(MATRIX& a) {
  for (auto& row : a) {
    for (double& v : row) v = 0.0;
  }
}

void ENERGY_MATRIX3x3::copy(const MATRIX& from, MATRIX& to) {
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) to[i][j] = from[i][j];
  }
}
