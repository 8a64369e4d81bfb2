#pragma once
// Bodies whose surfaces are cut into several faces, as recognition and
// construction leave them, for the tests of face merging, mass properties
// and the history of kernel operations.

#include <array>
#include <cmath>
#include <map>
#include <numbers>
#include <vector>

#include "host/geometry/position3.h"
#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/ops/polyhedron_builder.h"
#include "host/kernel/topology/body.h"

// The closed block [0,4] x [0,4] x [0,1] with the square hole
// [1.5,2.5] x [1.5,2.5] through it, its top and bottom each cut at x = 2
// into two faces that meet on both sides of the hole (a plane split by a
// bridge), every wall cut at the vertices of the cut. Each face has a plane
// of its own. 16 faces; merged, 10: top, bottom and eight walls. Volume 15,
// area 50.
inline BODY* make_cut_holed_block() {
  // The two halves in the xy plane, counter-clockwise.
  const std::vector<std::array<double, 2>> left = {{0, 0},     {2, 0},   {2, 1.5}, {1.5, 1.5},
                                                   {1.5, 2.5}, {2, 2.5}, {2, 4},   {0, 4}};
  const std::vector<std::array<double, 2>> right = {{2, 0},   {4, 0},     {4, 4},     {2, 4},
                                                    {2, 2.5}, {2.5, 2.5}, {2.5, 1.5}, {2, 1.5}};
  POLYHEDRON_BUILDER b;
  std::map<std::array<double, 3>, int> index;
  auto vertex = [&](double x, double y, double z) {
    const std::array<double, 3> key{x, y, z};
    auto it = index.find(key);
    if (it != index.end()) return it->second;
    const int i = b.add_vertex(POSITION3(x, y, z));
    index.emplace(key, i);
    return i;
  };
  MOD_INFO* status = nullptr;
  // Directed edges of the halves; an edge whose reverse is absent is on the
  // outline of the region and gets a wall.
  std::map<std::pair<std::array<double, 2>, std::array<double, 2>>, int> directed;
  for (const auto* half : {&left, &right}) {
    const auto& h = *half;
    std::vector<int> top, bottom;
    for (const auto& p : h) top.push_back(vertex(p[0], p[1], 1));
    for (auto it = h.rbegin(); it != h.rend(); ++it)
      bottom.push_back(vertex((*it)[0], (*it)[1], 0));
    b.add_face(top, status);
    b.add_face(bottom, status);
    for (std::size_t i = 0; i < h.size(); ++i) directed[{h[i], h[(i + 1) % h.size()]}] = 1;
  }
  for (const auto& [e, unused] : directed) {
    (void)unused;
    if (directed.count({e.second, e.first}) != 0) continue;
    const auto& a = e.first;
    const auto& c = e.second;
    b.add_face({vertex(a[0], a[1], 0), vertex(c[0], c[1], 0), vertex(c[0], c[1], 1),
                vertex(a[0], a[1], 1)},
               status);
  }
  return b.finish(1e-6);
}

// An open tube: the wall of the cylinder of radius r around the z axis from
// z = 0 to z = h, in two faces, u from 0 to pi and from pi to 2 pi, with
// `segments` straight edges per circle (even). The outward side points away
// from the axis. With `own_surfaces` the second half lies on a cylinder
// object of its own whose radius differs by `radius_offset`.
inline BODY* make_split_tube(double r, double h, int segments, bool own_surfaces,
                             double radius_offset = 0.0) {
  POLYHEDRON_BUILDER b;
  for (int k = 0; k < segments; ++k) {
    const double a = 2.0 * std::numbers::pi * k / segments;
    b.add_vertex(POSITION3(r * std::cos(a), r * std::sin(a), 0));
  }
  for (int k = 0; k < segments; ++k) {
    const double a = 2.0 * std::numbers::pi * k / segments;
    b.add_vertex(POSITION3(r * std::cos(a), r * std::sin(a), h));
  }
  auto* first = new cylinder(POSITION3(0, 0, 0), UNITVEC3(0, 0, 1), r);
  cylinder* second =
      own_surfaces ? new cylinder(POSITION3(0, 0, 0), UNITVEC3(0, 0, 1), r + radius_offset) : first;
  const int half = segments / 2;
  MOD_INFO* status = nullptr;
  for (int part = 0; part < 2; ++part) {
    std::vector<int> ring;
    for (int k = part * half; k <= (part + 1) * half; ++k) ring.push_back(k % segments);
    for (int k = (part + 1) * half; k >= part * half; --k) ring.push_back(segments + k % segments);
    b.add_face(ring, part == 0 ? first : second, false, status);
  }
  return b.finish(1e-6);
}
