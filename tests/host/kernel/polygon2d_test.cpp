// Regions bounded by polygonal rings: classification, area, triangulation and
// interior points, on shapes built in code.

#include "host/kernel/polygon2d.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace {

using RINGS = std::vector<std::vector<VECTOR2>>;
using TRIANGLES = std::vector<std::array<std::uint32_t, 3>>;

constexpr double kPi = 3.14159265358979323846;

std::vector<VECTOR2> rect(double x0, double y0, double x1, double y1, bool ccw = true) {
  std::vector<VECTOR2> r{{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}};
  if (!ccw) r = {{x0, y0}, {x0, y1}, {x1, y1}, {x1, y0}};
  return r;
}

std::vector<VECTOR2> circle(double cx, double cy, double radius, int n, bool ccw = true) {
  std::vector<VECTOR2> r;
  r.reserve(n);
  for (int i = 0; i < n; ++i) {
    const double t = 2 * kPi * i / n * (ccw ? 1 : -1);
    r.emplace_back(cx + radius * std::cos(t), cy + radius * std::sin(t));
  }
  return r;
}

std::vector<VECTOR2> concat(const RINGS& rings) {
  std::vector<VECTOR2> all;
  for (const auto& r : rings) all.insert(all.end(), r.begin(), r.end());
  return all;
}

double tri_area2(const std::vector<VECTOR2>& all, const std::array<std::uint32_t, 3>& t) {
  return cross(all[t[1]] - all[t[0]], all[t[2]] - all[t[0]]);
}

// Triangulates a valid region and checks the result: success, indices in
// range, every triangle counter-clockwise with positive area, the areas
// summing to `area`, centroids INSIDE (of at most about 500 triangles, spread
// over the list; a centroid may fall on a zero-width slit when `slits`). With
// `coverage`, also that sample points strictly inside the region lie in exactly
// one triangle and those outside in none.
TRIANGLES check_region(const RINGS& rings, double area, bool coverage = true, bool slits = false) {
  TRIANGLES tris;
  EXPECT_TRUE(triangulate_rings(rings, tris));
  const std::vector<VECTOR2> all = concat(rings);
  double sum = 0;
  const std::size_t stride = tris.size() / 500 + 1;
  for (std::size_t k = 0; k < tris.size(); ++k) {
    const auto& t = tris[k];
    for (std::uint32_t i : t) EXPECT_LT(i, all.size());
    if (t[0] >= all.size() || t[1] >= all.size() || t[2] >= all.size()) return tris;
    const double a2 = tri_area2(all, t);
    EXPECT_GT(a2, 0.0);
    sum += 0.5 * a2;
    if (k % stride != 0) continue;
    const VECTOR2 g = (all[t[0]] + all[t[1]] + all[t[2]]) / 3.0;
    const POLYGON_POINT_CLASS c = classify_point_in_rings(rings, g, 0.0);
    if (slits && c == POLYGON_POINT_CLASS::BOUNDARY) continue;
    EXPECT_EQ(c, POLYGON_POINT_CLASS::INSIDE) << "centroid " << g.x() << " " << g.y();
  }
  EXPECT_NEAR(sum, area, 1e-9 * std::abs(area));

  VECTOR2 p;
  EXPECT_TRUE(interior_point_of_rings(rings, p));
  EXPECT_EQ(classify_point_in_rings(rings, p, 0.0), POLYGON_POINT_CLASS::INSIDE);

  if (coverage) {
    double xlo = 1e300, xhi = -1e300, ylo = 1e300, yhi = -1e300;
    for (const VECTOR2& v : all) {
      xlo = std::min(xlo, v.x());
      xhi = std::max(xhi, v.x());
      ylo = std::min(ylo, v.y());
      yhi = std::max(yhi, v.y());
    }
    std::mt19937 rng(12345);
    std::uniform_real_distribution<double> ux(xlo, xhi), uy(ylo, yhi);
    for (int k = 0; k < 300; ++k) {
      const VECTOR2 q(ux(rng), uy(rng));
      const POLYGON_POINT_CLASS c = classify_point_in_rings(rings, q, 1e-9);
      if (c == POLYGON_POINT_CLASS::BOUNDARY) continue;
      int hits = 0;
      for (const auto& t : tris) {
        const VECTOR2 &a = all[t[0]], &b = all[t[1]], &d = all[t[2]];
        if (cross(b - a, q - a) > 0 && cross(d - b, q - b) > 0 && cross(a - d, q - d) > 0) ++hits;
      }
      EXPECT_EQ(hits, c == POLYGON_POINT_CLASS::INSIDE ? 1 : 0)
          << "sample " << q.x() << " " << q.y();
    }
  }
  return tris;
}

// Outer square [0,10]^2 walked counter-clockwise, a bridge from (0,0) to
// (3,3), the hole [3,7]^2 walked clockwise and the bridge back.
std::vector<VECTOR2> bridged_square() {
  return {{0, 0}, {10, 0}, {10, 10}, {0, 10}, {0, 0}, {3, 3}, {3, 7}, {7, 7}, {7, 3}, {3, 3}};
}

// Comb of n teeth [2k, 2k+1] x [1, 10] on a bar [0, 2n-1] x [0, 1].
std::vector<VECTOR2> comb(int n) {
  std::vector<VECTOR2> r{{0, 0}, {2.0 * n - 1, 0}};
  for (int k = n - 1; k >= 0; --k) {
    r.emplace_back(2.0 * k + 1, 10);
    r.emplace_back(2.0 * k, 10);
    if (k > 0) {
      r.emplace_back(2.0 * k, 1);
      r.emplace_back(2.0 * k - 1, 1);
    }
  }
  return r;
}

// A band of width 0.6 around the spiral r = 1 + t / (2 pi), t in [0, turns * 2 pi].
std::vector<VECTOR2> spiral(int turns, int per_turn) {
  std::vector<VECTOR2> out, in;
  const int n = turns * per_turn;
  for (int i = 0; i <= n; ++i) {
    const double t = 2 * kPi * i / per_turn;
    const double r = 1 + t / (2 * kPi);
    out.emplace_back((r + 0.3) * std::cos(t), (r + 0.3) * std::sin(t));
    in.emplace_back((r - 0.3) * std::cos(t), (r - 0.3) * std::sin(t));
  }
  std::vector<VECTOR2> ring(out.rbegin(), out.rend());
  ring.insert(ring.end(), in.begin(), in.end());
  return ring;
}

TEST(Polygon2dArea, SignedArea) {
  EXPECT_DOUBLE_EQ(signed_area(rect(0, 0, 2, 3)), 6.0);
  EXPECT_DOUBLE_EQ(signed_area(rect(0, 0, 2, 3, false)), -6.0);
  EXPECT_DOUBLE_EQ(signed_area(rect(1e8, 1e8, 1e8 + 2, 1e8 + 3)), 6.0);
  EXPECT_DOUBLE_EQ(signed_area({}), 0.0);
  EXPECT_DOUBLE_EQ(signed_area({{0, 0}, {1, 1}}), 0.0);
  EXPECT_DOUBLE_EQ(signed_area(bridged_square()), 84.0);
}

TEST(Polygon2dClassify, Square) {
  const RINGS rings{rect(0, 0, 10, 10)};
  EXPECT_EQ(classify_point_in_rings(rings, {5, 5}, 0), POLYGON_POINT_CLASS::INSIDE);
  EXPECT_EQ(classify_point_in_rings(rings, {11, 5}, 0), POLYGON_POINT_CLASS::OUTSIDE);
  EXPECT_EQ(classify_point_in_rings(rings, {10, 5}, 0), POLYGON_POINT_CLASS::BOUNDARY);
  EXPECT_EQ(classify_point_in_rings(rings, {0, 0}, 0), POLYGON_POINT_CLASS::BOUNDARY);
  EXPECT_EQ(classify_point_in_rings(rings, {10.05, 5}, 0.1), POLYGON_POINT_CLASS::BOUNDARY);
  EXPECT_EQ(classify_point_in_rings(rings, {9.95, 5}, 0.1), POLYGON_POINT_CLASS::BOUNDARY);
  EXPECT_EQ(classify_point_in_rings(rings, {9.95, 5}, 0.01), POLYGON_POINT_CLASS::INSIDE);
  // A point level with a vertex is counted once.
  EXPECT_EQ(classify_point_in_rings(rings, {-1, 10}, 0), POLYGON_POINT_CLASS::OUTSIDE);
  EXPECT_EQ(classify_point_in_rings(rings, {-1, 0}, 0), POLYGON_POINT_CLASS::OUTSIDE);
  EXPECT_EQ(classify_point_in_rings(rings, {NAN, 0}, 0), POLYGON_POINT_CLASS::OUTSIDE);
}

TEST(Polygon2dClassify, BridgedHole) {
  const RINGS rings{bridged_square()};
  EXPECT_EQ(classify_point_in_rings(rings, {1, 5}, 0), POLYGON_POINT_CLASS::INSIDE);
  EXPECT_EQ(classify_point_in_rings(rings, {2, 1}, 0), POLYGON_POINT_CLASS::INSIDE);
  EXPECT_EQ(classify_point_in_rings(rings, {5, 5}, 0), POLYGON_POINT_CLASS::OUTSIDE);
  EXPECT_EQ(classify_point_in_rings(rings, {1.5, 1.5}, 0), POLYGON_POINT_CLASS::BOUNDARY);
  EXPECT_EQ(classify_point_in_rings(rings, {5, 0}, 0), POLYGON_POINT_CLASS::BOUNDARY);
  EXPECT_EQ(classify_point_in_rings(rings, {5, 7}, 0), POLYGON_POINT_CLASS::BOUNDARY);
  EXPECT_EQ(classify_point_in_rings(rings, {-1, 1.5}, 0), POLYGON_POINT_CLASS::OUTSIDE);
  EXPECT_EQ(classify_point_in_rings(rings, {1.6, 1.5}, 0.01), POLYGON_POINT_CLASS::INSIDE);
}

TEST(Polygon2dClassify, SeparateHoleAnyOrientation) {
  for (bool ccw : {true, false}) {
    const RINGS rings{rect(0, 0, 10, 10, ccw), rect(3, 3, 7, 7, ccw)};
    EXPECT_EQ(classify_point_in_rings(rings, {1, 1}, 0), POLYGON_POINT_CLASS::INSIDE);
    EXPECT_EQ(classify_point_in_rings(rings, {5, 5}, 0), POLYGON_POINT_CLASS::OUTSIDE);
    EXPECT_EQ(classify_point_in_rings(rings, {3, 5}, 0), POLYGON_POINT_CLASS::BOUNDARY);
  }
}

TEST(Polygon2dClassify, DegenerateRings) {
  EXPECT_EQ(classify_point_in_rings({}, {0, 0}, 0), POLYGON_POINT_CLASS::OUTSIDE);
  EXPECT_EQ(classify_point_in_rings({{}}, {0, 0}, 0), POLYGON_POINT_CLASS::OUTSIDE);
  EXPECT_EQ(classify_point_in_rings({{{1, 1}}}, {0, 0}, 0), POLYGON_POINT_CLASS::OUTSIDE);
  EXPECT_EQ(classify_point_in_rings({{{1, 1}}}, {1, 1}, 0), POLYGON_POINT_CLASS::BOUNDARY);
  const RINGS segment{{{0, 0}, {2, 0}}};
  EXPECT_EQ(classify_point_in_rings(segment, {1, 1}, 0), POLYGON_POINT_CLASS::OUTSIDE);
  EXPECT_EQ(classify_point_in_rings(segment, {1, -1}, 0), POLYGON_POINT_CLASS::OUTSIDE);
  EXPECT_EQ(classify_point_in_rings(segment, {1, 0}, 0), POLYGON_POINT_CLASS::BOUNDARY);
  const RINGS line{{{0, 0}, {1, 0}, {2, 0}, {3, 0}}};
  EXPECT_EQ(classify_point_in_rings(line, {1.5, 0.5}, 0), POLYGON_POINT_CLASS::OUTSIDE);
}

TEST(Polygon2dTriangulate, Square) {
  for (bool ccw : {true, false}) {
    const RINGS rings{rect(0, 0, 10, 10, ccw)};
    EXPECT_EQ(check_region(rings, 100).size(), 2u);
  }
}

TEST(Polygon2dTriangulate, LShape) {
  const RINGS rings{{{0, 0}, {6, 0}, {6, 2}, {2, 2}, {2, 6}, {0, 6}}};
  EXPECT_EQ(check_region(rings, 20).size(), 4u);
  std::vector<VECTOR2> cw(rings[0].rbegin(), rings[0].rend());
  check_region({cw}, 20);
}

TEST(Polygon2dTriangulate, SquareWithHoleAsTwoRings) {
  for (bool outer_ccw : {true, false}) {
    for (bool hole_ccw : {true, false}) {
      SCOPED_TRACE(std::to_string(outer_ccw) + std::to_string(hole_ccw));
      const RINGS rings{rect(0, 0, 10, 10, outer_ccw), rect(3, 3, 7, 7, hole_ccw)};
      EXPECT_EQ(check_region(rings, 84).size(), 8u);
      // Hole listed first.
      check_region({rings[1], rings[0]}, 84);
    }
  }
}

TEST(Polygon2dTriangulate, BridgedHole) {
  const RINGS rings{bridged_square()};
  EXPECT_EQ(check_region(rings, 84).size(), 8u);
  // The same with the closing point repeated and the bridge entered elsewhere.
  const RINGS again{{{3, 3},
                     {3, 7},
                     {7, 7},
                     {7, 3},
                     {3, 3},
                     {10, 0},
                     {10, 10},
                     {0, 10},
                     {0, 0},
                     {10, 0},
                     {3, 3}}};
  check_region(again, 84);
}

TEST(Polygon2dTriangulate, TwoHolesBridged) {
  const RINGS rings{{{0, 0},
                     {3, 3},
                     {3, 7},
                     {7, 7},
                     {7, 3},
                     {3, 3},
                     {0, 0},
                     {20, 0},
                     {17, 3},
                     {13, 3},
                     {13, 7},
                     {17, 7},
                     {17, 3},
                     {20, 0},
                     {20, 10},
                     {0, 10}}};
  EXPECT_DOUBLE_EQ(signed_area(rings[0]), 168.0);
  check_region(rings, 168);
  // One hole bridged, the other a separate ring.
  const RINGS mixed{
      {{0, 0}, {3, 3}, {3, 7}, {7, 7}, {7, 3}, {3, 3}, {0, 0}, {20, 0}, {20, 10}, {0, 10}},
      rect(13, 3, 17, 7)};
  check_region(mixed, 168);
}

TEST(Polygon2dTriangulate, HolesTouchingBoundaryAndEachOther) {
  // A hole touching the outer ring at a vertex, two holes touching at a corner.
  const RINGS touching{{{0, 0}, {10, 0}, {10, 5}, {10, 10}, {0, 10}},
                       {{10, 5}, {8, 4}, {6, 5}, {8, 6}},
                       rect(1, 1, 3, 3),
                       rect(3, 3, 5, 5)};
  check_region(touching, 100 - 4 - 4 - 4);
  // Holes touching an outer side inside it (no vertex of the outer ring there),
  // and a hole sharing a stretch of the outer ring's side, in both orientations.
  const RINGS on_side{
      rect(0, 0, 4, 4), {{2, 0}, {1, 1}, {2, 2}, {3, 1}}, {{4, 2}, {3, 1.5}, {3, 2.5}}};
  check_region(on_side, 16 - 2 - 0.5);
  for (bool ccw : {true, false}) check_region({rect(0, 0, 4, 4), rect(0, 0, 2, 2, ccw)}, 12);
  // An island inside a hole.
  const RINGS island{rect(0, 0, 10, 10), rect(2, 2, 8, 8, false), rect(4, 4, 6, 6)};
  check_region(island, 100 - 36 + 4);
  // Two separate pieces.
  const RINGS pieces{rect(0, 0, 1, 1), rect(2, 0, 3, 1, false)};
  check_region(pieces, 2);
}

TEST(Polygon2dTriangulate, CollinearAndRepeatedPoints) {
  const RINGS rings{{{0, 0},
                     {0, 0},
                     {5, 0},
                     {10, 0},
                     {10, 0},
                     {10, 5},
                     {10, 10},
                     {5, 10},
                     {2.5, 10},
                     {0, 10},
                     {0, 5},
                     {0, 0}}};
  const TRIANGLES tris = check_region(rings, 100);
  // Collinear points stay corners: no triangle side passes through (5, 0).
  bool uses_mid = false;
  for (const auto& t : tris) {
    for (std::uint32_t i : t) uses_mid = uses_mid || i == 2;
  }
  EXPECT_TRUE(uses_mid);
  // A spike out of the right side and one into the region.
  const RINGS spikes{
      {{0, 0}, {10, 0}, {10, 5}, {15, 5}, {10, 5}, {10, 10}, {5, 10}, {5, 6}, {5, 10}, {0, 10}}};
  EXPECT_EQ(classify_point_in_rings(spikes, {12, 5}, 0), POLYGON_POINT_CLASS::BOUNDARY);
  EXPECT_EQ(classify_point_in_rings(spikes, {5, 8}, 0), POLYGON_POINT_CLASS::BOUNDARY);
  check_region(spikes, 100, true, true);
}

TEST(Polygon2dTriangulate, CombAndSpiral) {
  const RINGS teeth{comb(50)};
  check_region(teeth, 99 + 9 * 50);
  const RINGS coil{spiral(5, 64)};
  const double area = std::abs(signed_area(coil[0]));
  EXPECT_GT(area, 0);
  check_region(coil, area);
}

TEST(Polygon2dTriangulate, RegularPolygon100000) {
  const RINGS rings{circle(1e3, -2e3, 5, 100000)};
  const TRIANGLES tris = check_region(rings, signed_area(rings[0]), false);
  EXPECT_EQ(tris.size(), 99998u);
}

TEST(Polygon2dTriangulate, CircleWith200Holes) {
  RINGS rings{circle(0, 0, 100, 720)};
  double area = signed_area(rings[0]);
  int count = 0;
  for (int i = -9; i <= 9 && count < 200; ++i) {
    for (int j = -9; j <= 9 && count < 200; ++j) {
      const double x = i * 9.0, y = j * 9.0;
      if (std::hypot(x, y) > 85) continue;
      rings.push_back(circle(x, y, 3, 48, (i + j) % 2 == 0));
      area -= std::abs(signed_area(rings.back()));
      ++count;
    }
  }
  ASSERT_EQ(count, 200);
  check_region(rings, area, false);
}

TEST(Polygon2dTriangulate, RandomHolesAndStars) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> u(0, 1);
  for (int round = 0; round < 20; ++round) {
    SCOPED_TRACE(round);
    // A star-shaped outer ring with random radii, and holes on a jittered grid.
    std::vector<VECTOR2> outer;
    const int n = 40 + round * 10;
    for (int i = 0; i < n; ++i) {
      const double t = 2 * kPi * i / n;
      const double r = 60 + 40 * u(rng);
      outer.emplace_back(r * std::cos(t), r * std::sin(t));
    }
    RINGS rings{outer};
    double area = signed_area(outer);
    for (int i = -2; i <= 2; ++i) {
      for (int j = -2; j <= 2; ++j) {
        if (std::abs(i) + std::abs(j) > 3 || u(rng) < 0.3) continue;  // well inside the star
        const double cx = i * 20 + 4 * u(rng), cy = j * 20 + 4 * u(rng);
        std::vector<VECTOR2> hole;
        const int m = 3 + static_cast<int>(8 * u(rng));
        for (int k = 0; k < m; ++k) {
          const double t = 2 * kPi * k / m;
          const double r = 3 + 4 * u(rng);
          hole.emplace_back(cx + r * std::cos(t), cy + r * std::sin(t));
        }
        if (u(rng) < 0.5) std::reverse(hole.begin(), hole.end());
        area -= std::abs(signed_area(hole));
        rings.push_back(hole);
      }
    }
    check_region(rings, area);
  }
}

TEST(Polygon2dNesting, DepthsAndParents) {
  const RINGS rings{rect(0, 0, 10, 10),
                    rect(1, 1, 9, 9, false),
                    rect(2, 2, 4, 4),
                    rect(20, 0, 21, 1),
                    {{0, 0}, {5, 0}, {0, 0}},
                    {{10, 5}, {9.5, 4.5}, {9, 5}, {9.5, 5.5}}};  // touches rings 0 and 1
  std::vector<RING_NESTING> nesting;
  ASSERT_TRUE(nest_rings(rings, nesting));
  ASSERT_EQ(nesting.size(), rings.size());
  const int depth[] = {0, 1, 2, 0, -1, 1};
  const int parent[] = {-1, 0, 1, -1, -1, 0};
  for (std::size_t r = 0; r < rings.size(); ++r) {
    EXPECT_EQ(nesting[r].depth, depth[r]) << r;
    EXPECT_EQ(nesting[r].parent, parent[r]) << r;
  }
  EXPECT_FALSE(nest_rings({rect(0, 0, 1, 1), rect(0, 0, 1, 1, false)}, nesting));
  EXPECT_FALSE(nest_rings({{{0, 0}, {1, 0}, {NAN, 1}}}, nesting));
  EXPECT_TRUE(nest_rings({}, nesting));
  EXPECT_TRUE(nesting.empty());
}

TEST(Polygon2dCrossing, Kinds) {
  // Segments crossing.
  EXPECT_TRUE(rings_cross({{{0, 0}, {2, 2}, {2, 0}, {0, 2}}}));
  EXPECT_TRUE(rings_cross({rect(0, 0, 10, 10), rect(8, 4, 12, 6)}));
  // A vertex inside a segment, its neighbours on both sides.
  EXPECT_TRUE(rings_cross({rect(0, 0, 4, 4), {{2, 0}, {3, 1}, {5, 1}, {5, -1}, {3, -1}}}));
  // Two passes through one vertex crossing there.
  EXPECT_TRUE(rings_cross({{{0, 0}, {2, 2}, {2, -2}, {0, 0}, {-1, 1}, {-1, -1}}}));
  // A ring walking a stretch twice the same way.
  EXPECT_TRUE(rings_cross({{{1, 4}, {3, 3}, {4, 0}, {1, 0}, {3, 2}, {2, 1}, {3, 0}, {0, 0}}}));
  // Touching, bridges and spikes are not crossings.
  EXPECT_FALSE(rings_cross({bridged_square()}));
  EXPECT_FALSE(rings_cross({rect(0, 0, 4, 4), {{2, 0}, {1, 1}, {2, 2}, {3, 1}}}));
  EXPECT_FALSE(rings_cross({{{0, 0}, {10, 0}, {10, 5}, {15, 5}, {10, 5}, {10, 10}, {0, 10}}}));
  EXPECT_FALSE(rings_cross({comb(10)}));
  EXPECT_FALSE(rings_cross({}));
  // A hole sharing a side stretch with its outer ring: fine as given, but
  // walked the same way as the outer ring it is not a region's boundary.
  const RINGS shared{rect(0, 0, 4, 4), rect(0, 0, 2, 2)};
  EXPECT_FALSE(rings_cross(shared));
  EXPECT_TRUE(rings_cross(shared, true));
  EXPECT_FALSE(rings_cross({rect(0, 0, 4, 4), rect(0, 0, 2, 2, false)}, true));
  // Oriented: a walk that runs along its own side there and back and comes
  // out on the other side crosses it.
  const RINGS along{{{0, 4},
                     {1, 0},
                     {0, 0},
                     {4, 0},
                     {5, 0},
                     {5, 5},
                     {2, 2},
                     {3, 0},
                     {3, 3},
                     {4, 4},
                     {3, 5},
                     {1, 4}}};
  RINGS walked = along;
  if (signed_area(walked[0]) < 0) std::reverse(walked[0].begin(), walked[0].end());
  EXPECT_TRUE(rings_cross(walked, true));
  TRIANGLES tris;
  EXPECT_FALSE(triangulate_rings(along, tris));
}

TEST(Polygon2dTriangulate, SelfCrossingFails) {
  TRIANGLES tris;
  EXPECT_FALSE(triangulate_rings({{{0, 0}, {2, 2}, {2, 0}, {0, 2}}}, tris));
  EXPECT_FALSE(triangulate_rings({{{0, 0}, {4, 4}, {4, 0}, {0, 1}}}, tris));
  // Crossing at a shared vertex, with unequal lobes.
  EXPECT_FALSE(triangulate_rings({{{0, 0}, {2, 2}, {2, -2}, {0, 0}, {-1, 1}, {-1, -1}}}, tris));
  // A hole sticking out of its outer ring.
  EXPECT_FALSE(triangulate_rings({rect(0, 0, 10, 10), rect(8, 4, 12, 6)}, tris));
  EXPECT_TRUE(rings_cross({{{0, 0}, {2, 2}, {2, 0}, {0, 2}}}));
  EXPECT_FALSE(rings_cross({bridged_square()}));
  EXPECT_FALSE(rings_cross({comb(10)}));
}

TEST(Polygon2dTriangulate, DegenerateInputs) {
  TRIANGLES tris;
  VECTOR2 p(7, 7);
  const std::vector<RINGS> cases{
      {},
      {{}},
      {{{1, 1}}},
      {{{0, 0}, {1, 1}}},
      {{{0, 0}, {1, 1}, {2, 2}, {3, 3}}},
      {{{0, 0}, {1, 0}, {0, 0}}},
      {{{0, 0}, {0, 0}, {0, 0}, {0, 0}}},
      {rect(0, 0, 1, 1), rect(0, 0, 1, 1, false)},
      {{{0, 0}, {1, 0}, {NAN, 1}}},
  };
  for (const RINGS& rings : cases) {
    EXPECT_FALSE(triangulate_rings(rings, tris));
    EXPECT_TRUE(tris.empty());
    EXPECT_FALSE(interior_point_of_rings(rings, p));
    EXPECT_EQ(classify_point_in_rings(rings, {0.5, 0.25}, 0), POLYGON_POINT_CLASS::OUTSIDE);
  }
  EXPECT_EQ(p.x(), 7);
  EXPECT_EQ(p.y(), 7);
}

TEST(Polygon2dInteriorPoint, FarFromBoundary) {
  VECTOR2 p;
  ASSERT_TRUE(interior_point_of_rings({rect(0, 0, 10, 10)}, p));
  // The incentre of half the square: at least 10 / (2 + sqrt 2) from each side.
  const double r = 10 / (2 + std::sqrt(2.0));
  EXPECT_GE(std::min({p.x(), p.y(), 10 - p.x(), 10 - p.y()}), r - 1e-9);
  ASSERT_TRUE(interior_point_of_rings({bridged_square()}, p));
  EXPECT_EQ(classify_point_in_rings({bridged_square()}, p, 0.5), POLYGON_POINT_CLASS::INSIDE);
}

}  // namespace
