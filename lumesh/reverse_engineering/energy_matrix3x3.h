#pragma once
// ENERGY_MATRIX3x3 and EIGENSYSTEM3x3: the symmetric 3 by 3 eigenproblem of
// a point cloud's scatter matrix, solved by Jacobi rotations. The smallest
// eigenvalue's axis is the normal of the best plane through the points.
//
// Method: cyclic Jacobi with the largest off-diagonal entry as pivot (the
// classical choice, Golub and Van Loan 8.5), at most 20 rotations, stopping
// when the pivot is below an absolute 1e-12 (squared length units, not
// scaled to the data: a large cloud can fail to converge, which its caller
// treats as a failed fit).

#include <utility>
#include <vector>

#include "host/geometry/position3.h"
#include "host/geometry/unitvec3.h"

class EIGENSYSTEM3x3 {
 public:
  // Invalid: the first eigenvalue NaN, the others 0, the vectors (1, 0, 0).
  EIGENSYSTEM3x3();
  // Eigenvalue k is diagonalized[k][k]; eigenvector k is column k of
  // rotation, normalised.
  EIGENSYSTEM3x3(const double (&diagonalized)[3][3], const double (&rotation)[3][3]);
  EIGENSYSTEM3x3(const EIGENSYSTEM3x3&) = default;
  EIGENSYSTEM3x3& operator=(const EIGENSYSTEM3x3&) = default;

  // True when no eigenvalue is NaN.
  bool IsValid() const;
  // k in 0..2: (eigenvalue, unit eigenvector).
  std::pair<double, UNITVEC3>& operator[](int k) { return pairs_[k]; }
  const std::pair<double, UNITVEC3>& operator[](int k) const { return pairs_[k]; }

 private:
  std::pair<double, UNITVEC3> pairs_[3];
};

class ENERGY_MATRIX3x3 {
 public:
  // The scatter matrix of points centred on their centre of gravity: the sum
  // of p pᵀ, upper triangle summed and mirrored. Rotation: the identity.
  explicit ENERGY_MATRIX3x3(const std::vector<POSITION3>& points);
  // A symmetric matrix given whole (the scatter kept by an incremental fit).
  explicit ENERGY_MATRIX3x3(const double (&symmetric)[3][3]);

  // At most 20 rotations; the invalid system when the largest off-diagonal
  // entry is still at least 1e-12 before the 21st would be due. Pivot: (1,2)
  // when its magnitude is strictly above both others, else (1,3) when
  // strictly above both others, else (2,3).
  EIGENSYSTEM3x3 compute_eigensystem();

 private:
  enum GIVENS_ROTATION { ROTATE12, ROTATE13, ROTATE23 };
  using MATRIX = double[3][3];

  void Grotate(GIVENS_ROTATION pivot);
  // The rotation that zeroes the pivot (i, j) of the working matrix.
  void Q12(MATRIX& g) const { givens(0, 1, g); }
  void Q13(MATRIX& g) const { givens(0, 2, g); }
  void Q23(MATRIX& g) const { givens(1, 2, g); }
  void givens(int i, int j, MATRIX& g) const;

  static void transpose(const MATRIX& a, MATRIX& result);
  // result = a · b; result may be a or b.
  static void multiply(const MATRIX& a, const MATRIX& b, MATRIX& result);
  static void identity(MATRIX& a);
  static void zero(MATRIX& a);
  static void copy(const MATRIX& from, MATRIX& to);

  MATRIX matrix_;    // the working matrix, symmetric up to rounding
  MATRIX rotation_;  // accumulated: the columns are the eigenvectors
};
