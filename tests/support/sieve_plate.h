#pragma once
// The sieve plate: a generated mechanical part for benchmarks and tests, a rectangular
// plate 2 mm thick with a grid of round through holes of 32 segments each,
// triangulated cell by cell (top and bottom annulus between the cell's
// square and its hole, and the hole's wall), plus the plate's outer walls.
// Every vertex is shared by the triangles around it, as in a file written
// by a CAD program. Its surfaces: top, bottom and four outer walls are
// planes, each hole's wall a cylinder of radius 1.2 mm.

#include <cmath>
#include <numbers>
#include <utility>
#include <vector>

struct TRI {
  float n[3];
  float v[3][3];
};

struct P3 {
  float x, y, z;
};

// The sieve plate of nx by ny cells. A cell is a square of 4 mm with a hole
// of radius 1.2 mm in its middle; the square's border is cut into 32
// segments (8 a side, on a lattice of 0.5 mm shared with the neighbours), and
// segment k of the border faces segment k of the hole. 192 triangles a cell,
// and 2 for each lattice segment of the plate's outline.
class SIEVE_PLATE {
 public:
  static constexpr int kSegments = 32;
  static constexpr double kPitch = 4.0;
  static constexpr double kLattice = kPitch / 8.0;
  static constexpr double kRadius = 1.2;
  static constexpr double kThickness = 2.0;

  SIEVE_PLATE(int nx, int ny) : nx_(nx), ny_(ny) {}

  std::vector<TRI> facets() const {
    std::vector<TRI> out;
    out.reserve(static_cast<std::size_t>(nx_) * ny_ * 6 * kSegments + 4 * 8 * (nx_ + ny_));
    for (int j = 0; j < ny_; ++j) {
      for (int i = 0; i < nx_; ++i) {
        for (int k = 0; k < kSegments; ++k) {
          const int k1 = (k + 1) % kSegments;
          const P3 bt0 = border(i, j, k, kThickness), bt1 = border(i, j, k1, kThickness);
          const P3 ht0 = hole(i, j, k, kThickness), ht1 = hole(i, j, k1, kThickness);
          const P3 bb0 = border(i, j, k, 0.0), bb1 = border(i, j, k1, 0.0);
          const P3 hb0 = hole(i, j, k, 0.0), hb1 = hole(i, j, k1, 0.0);
          // Top, seen from +z counter-clockwise; bottom the other way round;
          // the wall facing the hole's axis.
          add(out, bt0, bt1, ht1);
          add(out, bt0, ht1, ht0);
          add(out, bb0, hb1, bb1);
          add(out, bb0, hb0, hb1);
          add(out, hb0, ht1, hb1);
          add(out, hb0, ht0, ht1);
        }
      }
    }
    // The outline, counter-clockwise seen from +z, walls facing outwards.
    std::vector<std::pair<int, int>> outline;
    for (int I = 0; I < 8 * nx_; ++I) outline.emplace_back(I, 0);
    for (int J = 0; J < 8 * ny_; ++J) outline.emplace_back(8 * nx_, J);
    for (int I = 8 * nx_; I > 0; --I) outline.emplace_back(I, 8 * ny_);
    for (int J = 8 * ny_; J > 0; --J) outline.emplace_back(0, J);
    for (std::size_t s = 0; s < outline.size(); ++s) {
      const auto [I0, J0] = outline[s];
      const auto [I1, J1] = outline[(s + 1) % outline.size()];
      const P3 b0 = lattice(I0, J0, 0.0), b1 = lattice(I1, J1, 0.0);
      const P3 t0 = lattice(I0, J0, kThickness), t1 = lattice(I1, J1, kThickness);
      add(out, b0, b1, t1);
      add(out, b0, t1, t0);
    }
    return out;
  }

 private:
  static P3 lattice(int I, int J, double z) {
    return P3{static_cast<float>(I * kLattice), static_cast<float>(J * kLattice),
              static_cast<float>(z)};
  }
  // Border point k of cell (i, j): from the middle of the right side,
  // counter-clockwise, 8 lattice steps a side.
  static P3 border(int i, int j, int k, double z) {
    int di, dj;
    if (k < 4) {
      di = 8, dj = 4 + k;
    } else if (k < 12) {
      di = 12 - k, dj = 8;
    } else if (k < 20) {
      di = 0, dj = 20 - k;
    } else if (k < 28) {
      di = k - 20, dj = 0;
    } else {
      di = 8, dj = k - 28;
    }
    return lattice(8 * i + di, 8 * j + dj, z);
  }
  static P3 hole(int i, int j, int k, double z) {
    const double a = 2.0 * std::numbers::pi * k / kSegments;
    const double cx = (8 * i + 4) * kLattice;
    const double cy = (8 * j + 4) * kLattice;
    return P3{static_cast<float>(cx + kRadius * std::cos(a)),
              static_cast<float>(cy + kRadius * std::sin(a)), static_cast<float>(z)};
  }
  static void add(std::vector<TRI>& out, const P3& a, const P3& b, const P3& c) {
    TRI t{};
    const P3* p[3] = {&a, &b, &c};
    for (int k = 0; k < 3; ++k) {
      t.v[k][0] = p[k]->x;
      t.v[k][1] = p[k]->y;
      t.v[k][2] = p[k]->z;
    }
    set_normal(t);
    out.push_back(t);
  }

 public:
  static void set_normal(TRI& t) {
    const double u[3] = {double(t.v[1][0]) - t.v[0][0], double(t.v[1][1]) - t.v[0][1],
                         double(t.v[1][2]) - t.v[0][2]};
    const double w[3] = {double(t.v[2][0]) - t.v[0][0], double(t.v[2][1]) - t.v[0][1],
                         double(t.v[2][2]) - t.v[0][2]};
    const double n[3] = {u[1] * w[2] - u[2] * w[1], u[2] * w[0] - u[0] * w[2],
                         u[0] * w[1] - u[1] * w[0]};
    const double len = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    for (int k = 0; k < 3; ++k) t.n[k] = static_cast<float>(len > 0.0 ? n[k] / len : 0.0);
  }

 private:
  int nx_, ny_;
};

