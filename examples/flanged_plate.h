#pragma once
// The flanged plate: the sample mechanical part that `make run` imports. A
// square plate of 3 x 3 cells, 30 mm each and 6 mm thick; the four corner
// cells carry mounting holes of radius 4, the middle cell a flange: a tube
// of outer radius 10 standing 12 mm above the plate, with a bore of radius 6
// through flange and plate. The other cells are solid.
//
// Its true surfaces: 7 planes (top, bottom, four sides, the flange's top
// ring) and 6 cylinders (four holes, the flange's outside, the bore). The
// mesh is closed and every vertex is shared, as a CAD program writes it;
// circles have 64 segments, so their chords deviate 0.03 mm at most.

#include <cmath>
#include <numbers>
#include <string>
#include <vector>

#include "host/exchange/stl_writer.h"

namespace flanged_plate {

struct P3 {
  double x, y, z;
};

struct TRIANGLE {
  P3 v[3];  // counter-clockwise seen from outside
};

inline constexpr int kCells = 3;
inline constexpr double kPitch = 30.0;
inline constexpr double kThickness = 6.0;
inline constexpr int kSegments = 64;         // of every circle and cell border
inline constexpr int kSide = kSegments / 4;  // border segments a cell side
inline constexpr double kHoleRadius = 4.0;
inline constexpr double kFlangeRadius = 10.0;
inline constexpr double kBoreRadius = 6.0;
inline constexpr double kFlangeHeight = 12.0;

enum CELL { SOLID, HOLE, FLANGE };

inline CELL cell_kind(int i, int j) {
  if (i == 1 && j == 1) return FLANGE;
  if (i != 1 && j != 1) return HOLE;
  return SOLID;
}

inline P3 lattice(int I, int J, double z) {
  return P3{I * kPitch / kSide, J * kPitch / kSide, z};
}

// Border point k of cell (i, j), counter-clockwise from the middle of its
// right side, on the lattice shared with the neighbours.
inline P3 border(int i, int j, int k, double z) {
  const int h = kSide / 2;
  int di, dj;
  if (k < h) {
    di = kSide, dj = h + k;
  } else if (k < h + kSide) {
    di = kSide - (k - h), dj = kSide;
  } else if (k < h + 2 * kSide) {
    di = 0, dj = kSide - (k - h - kSide);
  } else if (k < h + 3 * kSide) {
    di = k - h - 2 * kSide, dj = 0;
  } else {
    di = kSide, dj = k - h - 3 * kSide;
  }
  return lattice(kSide * i + di, kSide * j + dj, z);
}

// Point k of the circle of radius r around the middle of cell (i, j).
inline P3 circle(int i, int j, int k, double r, double z) {
  const double a = 2.0 * std::numbers::pi * (k % kSegments) / kSegments;
  return P3{(i + 0.5) * kPitch + r * std::cos(a), (j + 0.5) * kPitch + r * std::sin(a), z};
}

inline std::vector<TRIANGLE> triangles() {
  std::vector<TRIANGLE> out;
  auto add = [&out](const P3& a, const P3& b, const P3& c) { out.push_back(TRIANGLE{{a, b, c}}); };
  // The quad a-b-c-d as two triangles.
  auto quad = [&add](const P3& a, const P3& b, const P3& c, const P3& d) {
    add(a, b, c);
    add(a, c, d);
  };
  const double t = kThickness, top = kThickness + kFlangeHeight;
  for (int j = 0; j < kCells; ++j) {
    for (int i = 0; i < kCells; ++i) {
      const CELL kind = cell_kind(i, j);
      const P3 centre_top{(i + 0.5) * kPitch, (j + 0.5) * kPitch, t};
      const P3 centre_bottom{centre_top.x, centre_top.y, 0.0};
      for (int k = 0; k < kSegments; ++k) {
        const int k1 = k + 1;
        const P3 bt0 = border(i, j, k, t), bt1 = border(i, j, k1 % kSegments, t);
        const P3 bb0 = border(i, j, k, 0), bb1 = border(i, j, k1 % kSegments, 0);
        if (kind == SOLID) {
          add(centre_top, bt0, bt1);
          add(centre_bottom, bb1, bb0);
          continue;
        }
        // The ring of the plate's top ends at the flange's foot or the hole.
        const double r_top = kind == FLANGE ? kFlangeRadius : kHoleRadius;
        const double r_hole = kind == FLANGE ? kBoreRadius : kHoleRadius;
        quad(bt0, bt1, circle(i, j, k1, r_top, t), circle(i, j, k, r_top, t));
        quad(bb1, bb0, circle(i, j, k, r_hole, 0), circle(i, j, k1, r_hole, 0));
        const double hole_top = kind == FLANGE ? top : t;
        // The hole's wall faces the axis.
        quad(circle(i, j, k, r_hole, 0), circle(i, j, k, r_hole, hole_top),
             circle(i, j, k1, r_hole, hole_top), circle(i, j, k1, r_hole, 0));
        if (kind == FLANGE) {
          quad(circle(i, j, k, kFlangeRadius, t), circle(i, j, k1, kFlangeRadius, t),
               circle(i, j, k1, kFlangeRadius, top), circle(i, j, k, kFlangeRadius, top));
          quad(circle(i, j, k, kFlangeRadius, top), circle(i, j, k1, kFlangeRadius, top),
               circle(i, j, k1, kBoreRadius, top), circle(i, j, k, kBoreRadius, top));
        }
      }
    }
  }
  // The plate's sides, counter-clockwise seen from +z, facing outwards.
  const int n = kSide * kCells;
  std::vector<std::pair<int, int>> outline;
  for (int I = 0; I < n; ++I) outline.emplace_back(I, 0);
  for (int J = 0; J < n; ++J) outline.emplace_back(n, J);
  for (int I = n; I > 0; --I) outline.emplace_back(I, n);
  for (int J = n; J > 0; --J) outline.emplace_back(0, J);
  for (std::size_t s = 0; s < outline.size(); ++s) {
    const auto [I0, J0] = outline[s];
    const auto [I1, J1] = outline[(s + 1) % outline.size()];
    quad(lattice(I0, J0, 0), lattice(I1, J1, 0), lattice(I1, J1, t), lattice(I0, J0, t));
  }
  return out;
}

// The part as a binary STL file's bytes.
inline std::string binary_stl(const std::vector<TRIANGLE>& tris) {
  std::vector<STL_TRIANGLE> out;
  out.reserve(tris.size());
  for (const TRIANGLE& t : tris) {
    STL_TRIANGLE s;
    for (std::size_t k = 0; k < 3; ++k) s[k] = POSITION3(t.v[k].x, t.v[k].y, t.v[k].z);
    out.push_back(s);
  }
  return binary_stl_bytes(out, "flanged plate, made by the lumesh examples");
}

}  // namespace flanged_plate
