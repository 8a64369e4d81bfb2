#pragma once
// Point clouds for the fitting tests: points on known cylinders, polygonal
// cylinders as a facet model has them, and plain random clouds. Every cloud
// comes from a fixed seed through integer arithmetic only, so it is the same
// on every platform.

#include <cmath>
#include <cstdint>
#include <vector>

#include "host/geometry/constants.h"
#include "host/geometry/position3.h"
#include "host/geometry/unitvec3.h"
#include "host/geometry/vector3.h"

namespace fit_test {

// A small, portable generator (splitmix64): uniform doubles in [0, 1).
class RANDOM {
 public:
  explicit RANDOM(std::uint64_t seed) : state_(seed) {}
  std::uint64_t next() {
    std::uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }
  double uniform() { return static_cast<double>(next() >> 11) * 0x1.0p-53; }
  double uniform(double lo, double hi) { return lo + (hi - lo) * uniform(); }
  VECTOR3 direction() {
    for (;;) {
      const VECTOR3 v(uniform(-1, 1), uniform(-1, 1), uniform(-1, 1));
      const double l2 = v.len2();
      if (l2 > 0.01 && l2 <= 1.0) return v / std::sqrt(l2);
    }
  }

 private:
  std::uint64_t state_;
};

struct CYLINDER_DEF {
  POSITION3 root;
  UNITVEC3 axis;
  double radius;
};

// Two unit directions that make (e1, e2, axis) right-handed and orthonormal.
inline void frame_of(const UNITVEC3& axis, VECTOR3& e1, VECTOR3& e2) {
  const VECTOR3 helper = std::fabs(axis.x()) < 0.6 ? VECTOR3(1, 0, 0) : VECTOR3(0, 1, 0);
  e1 = cross(helper, axis).norm();
  e2 = cross(axis, e1);
}

inline POSITION3 on_cylinder(const CYLINDER_DEF& c, double angle, double height) {
  VECTOR3 e1, e2;
  frame_of(c.axis, e1, e2);
  return c.root + height * c.axis + c.radius * (std::cos(angle) * e1 + std::sin(angle) * e2);
}

// n points at random angles in [angle_lo, angle_hi) and heights in
// [-half_height, half_height); `noise` moves each radially by up to that much.
inline std::vector<POSITION3> sample_cylinder(const CYLINDER_DEF& c, int n, double half_height,
                                              std::uint64_t seed, double angle_lo = 0.0,
                                              double angle_hi = HOST_TWO_PI, double noise = 0.0) {
  RANDOM rnd(seed);
  std::vector<POSITION3> points;
  for (int i = 0; i < n; ++i) {
    const double angle = rnd.uniform(angle_lo, angle_hi);
    const double height = rnd.uniform(-half_height, half_height);
    CYLINDER_DEF moved = c;
    moved.radius = c.radius + noise * rnd.uniform(-1, 1);
    points.push_back(on_cylinder(moved, angle, height));
  }
  return points;
}

// A facet model of a cylinder: `sides` vertices on each of `rings` circles
// from -half_height to +half_height, and the unit normal of one triangle of
// each side, as a mesh importer computes it from the triangle's corners.
struct POLYGONAL_CYLINDER {
  std::vector<POSITION3> vertices;
  std::vector<UNITVEC3> side_normals;
};

inline POLYGONAL_CYLINDER polygonal_cylinder(const CYLINDER_DEF& c, int sides, int rings,
                                             double half_height) {
  POLYGONAL_CYLINDER m;
  auto at = [&](int k, int ring) {
    const double h = -half_height + 2.0 * half_height * ring / (rings - 1);
    return on_cylinder(c, HOST_TWO_PI * k / sides, h);
  };
  for (int ring = 0; ring < rings; ++ring) {
    for (int k = 0; k < sides; ++k) m.vertices.push_back(at(k, ring));
  }
  for (int k = 0; k < sides; ++k) {
    const POSITION3 p0 = at(k, 0), p1 = at(k + 1, 0), p2 = at(k + 1, 1);
    m.side_normals.push_back(UNITVEC3(cross(p1 - p0, p2 - p0)));
  }
  return m;
}

// The angle between two lines, whatever their senses; 0 to π/2.
inline double line_angle(const VECTOR3& a, const VECTOR3& b) {
  return std::atan2(cross(a, b).len(), std::fabs(dot(a, b)));
}

// A unit direction at `angle` radians from `axis`, turned towards `towards`
// (which must not be parallel to it).
inline UNITVEC3 tilted(const UNITVEC3& axis, double angle, const VECTOR3& towards) {
  const VECTOR3 side = (towards - dot(towards, axis) * axis).norm();
  return UNITVEC3(std::cos(angle) * axis + std::sin(angle) * side);
}

}  // namespace fit_test
