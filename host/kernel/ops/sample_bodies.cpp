#include "host/kernel/ops/sample_bodies.h"

#include <cmath>
#include <vector>

#include "host/geometry/constants.h"
#include "host/geometry/resolution.h"
#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/ops/polyhedron_builder.h"
#include "host/kernel/topology/body.h"

int bridge_vertex(const POSITION3& centre, int segments) {
  const double towards_origin = std::atan2(-centre.y(), -centre.x());
  const double step = HOST_TWO_PI / segments;
  double a = towards_origin < 0 ? towards_origin + HOST_TWO_PI : towards_origin;
  return static_cast<int>(std::lround(a / step)) % segments;
}

BODY* make_bored_block(double sx, double sy, double sz, double r, int segments) {
  POLYHEDRON_BUILDER b;
  const int c0 = b.add_vertex(POSITION3(0, 0, 0));
  const int c1 = b.add_vertex(POSITION3(sx, 0, 0));
  const int c2 = b.add_vertex(POSITION3(sx, sy, 0));
  const int c3 = b.add_vertex(POSITION3(0, sy, 0));
  const int t0 = b.add_vertex(POSITION3(0, 0, sz));
  const int t1 = b.add_vertex(POSITION3(sx, 0, sz));
  const int t2 = b.add_vertex(POSITION3(sx, sy, sz));
  const int t3 = b.add_vertex(POSITION3(0, sy, sz));
  const POSITION3 centre(sx / 2, sy / 2, 0);
  std::vector<int> top, bottom;  // hole vertices, counter-clockwise seen from +z
  for (int i = 0; i < segments; ++i) {
    const double a = HOST_TWO_PI * i / segments;
    const double x = centre.x() + r * std::cos(a), y = centre.y() + r * std::sin(a);
    bottom.push_back(b.add_vertex(POSITION3(x, y, 0)));
    top.push_back(b.add_vertex(POSITION3(x, y, sz)));
  }
  MOD_INFO* status = nullptr;
  // The bridges run from the corner at the origin to the hole vertex that
  // faces it, so that they cross nothing.
  const int k = bridge_vertex(centre, segments);
  auto at = [segments](const std::vector<int>& circle, int i) {
    return circle[static_cast<std::size_t>(((i % segments) + segments) % segments)];
  };
  // Top: periphery counter-clockwise about +z, bridge to the hole, hole clockwise, back.
  std::vector<int> ring{t0, t1, t2, t3, t0};
  for (int i = 0; i <= segments; ++i) ring.push_back(at(top, k - i));
  b.add_face(ring, status);
  // Bottom: seen from -z, so the periphery runs the other way round.
  ring = {c0, c3, c2, c1, c0};
  for (int i = 0; i <= segments; ++i) ring.push_back(at(bottom, k + i));
  b.add_face(ring, status);
  b.add_face({c0, c1, t1, t0}, status);
  b.add_face({c1, c2, t2, t1}, status);
  b.add_face({c2, c3, t3, t2}, status);
  b.add_face({c3, c0, t0, t3}, status);
  // The hole's wall faces the axis: the face is reversed against the cylinder.
  ring.clear();
  for (int i = 0; i < segments; ++i) ring.push_back(top[static_cast<std::size_t>(i)]);
  ring.push_back(top[0]);
  ring.push_back(bottom[0]);
  for (int i = segments - 1; i >= 1; --i) ring.push_back(bottom[static_cast<std::size_t>(i)]);
  ring.push_back(bottom[0]);
  b.add_face(ring, new cylinder(centre, UNITVEC3(0, 0, 1), r), true, status);
  return b.finish(get_k2_geores().resabs());
}

BODY* make_triangle_cube(double s) {
  POLYHEDRON_BUILDER b;
  int v[8];
  for (int i = 0; i < 8; ++i) v[i] = b.add_vertex(POSITION3(i & 1 ? s : 0, i & 2 ? s : 0, i & 4 ? s : 0));
  // Two triangles per side, counter-clockwise seen from outside.
  const int quads[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4},
                           {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
  MOD_INFO* status = nullptr;
  for (const auto& q : quads) {
    b.add_face({v[q[0]], v[q[1]], v[q[2]]}, status);
    b.add_face({v[q[0]], v[q[2]], v[q[3]]}, status);
  }
  return b.finish(get_k2_geores().resabs());
}

BODY* make_triangle_torus(int nu, int nv, double major, double minor) {
  POLYHEDRON_BUILDER b;
  b.reserve(static_cast<std::size_t>(nu) * nv, 2 * static_cast<std::size_t>(nu) * nv);
  for (int i = 0; i < nu; ++i) {
    const double a = HOST_TWO_PI * i / nu;
    for (int j = 0; j < nv; ++j) {
      const double c = HOST_TWO_PI * j / nv;
      const double rr = major + minor * std::cos(c);
      b.add_vertex(POSITION3(rr * std::cos(a), rr * std::sin(a), minor * std::sin(c)));
    }
  }
  auto id = [&](int i, int j) { return ((i + nu) % nu) * nv + (j + nv) % nv; };
  MOD_INFO* status = nullptr;
  std::vector<int> tri(3);
  for (int i = 0; i < nu; ++i) {
    for (int j = 0; j < nv; ++j) {
      tri = {id(i, j), id(i + 1, j), id(i + 1, j + 1)};
      b.add_face(tri, status);
      tri = {id(i, j), id(i + 1, j + 1), id(i, j + 1)};
      b.add_face(tri, status);
    }
  }
  return b.finish(get_k2_geores().resabs());
}

BODY* make_perforated_plate(int nx, int ny, double pitch, double thickness, double r,
                            int segments) {
  POLYHEDRON_BUILDER b;
  const std::size_t cells = static_cast<std::size_t>(nx) * static_cast<std::size_t>(ny);
  b.reserve(2 * (cells * static_cast<std::size_t>(segments) + cells + nx + ny + 1), 3 * cells + 4);
  // Corners on the lattice, bottom and top.
  auto corner = [&](int i, int j, int level) { return 2 * (j * (nx + 1) + i) + level; };
  for (int j = 0; j <= ny; ++j) {
    for (int i = 0; i <= nx; ++i) {
      b.add_vertex(POSITION3(i * pitch, j * pitch, 0));
      b.add_vertex(POSITION3(i * pitch, j * pitch, thickness));
    }
  }
  MOD_INFO* status = nullptr;
  std::vector<int> top(static_cast<std::size_t>(segments)), bottom(top.size()), ring;
  // The hole vertex that faces the cell's corner nearest the origin.
  const int k = bridge_vertex(POSITION3(1, 1, 0), segments);
  auto at = [segments](const std::vector<int>& circle, int i) {
    return circle[static_cast<std::size_t>(((i % segments) + segments) % segments)];
  };
  for (int j = 0; j < ny; ++j) {
    for (int i = 0; i < nx; ++i) {
      const POSITION3 centre((i + 0.5) * pitch, (j + 0.5) * pitch, 0);
      for (int s = 0; s < segments; ++s) {
        const double a = HOST_TWO_PI * s / segments;
        const double x = centre.x() + r * std::cos(a), y = centre.y() + r * std::sin(a);
        bottom[static_cast<std::size_t>(s)] = b.add_vertex(POSITION3(x, y, 0));
        top[static_cast<std::size_t>(s)] = b.add_vertex(POSITION3(x, y, thickness));
      }
      ring = {corner(i, j, 1), corner(i + 1, j, 1), corner(i + 1, j + 1, 1), corner(i, j + 1, 1),
              corner(i, j, 1)};
      for (int s = 0; s <= segments; ++s) ring.push_back(at(top, k - s));
      b.add_face(ring, status);
      ring = {corner(i, j, 0), corner(i, j + 1, 0), corner(i + 1, j + 1, 0), corner(i + 1, j, 0),
              corner(i, j, 0)};
      for (int s = 0; s <= segments; ++s) ring.push_back(at(bottom, k + s));
      b.add_face(ring, status);
      ring.clear();
      for (int s = 0; s < segments; ++s) ring.push_back(top[static_cast<std::size_t>(s)]);
      ring.push_back(top[0]);
      ring.push_back(bottom[0]);
      for (int s = segments - 1; s >= 1; --s) ring.push_back(bottom[static_cast<std::size_t>(s)]);
      ring.push_back(bottom[0]);
      b.add_face(ring, new cylinder(centre, UNITVEC3(0, 0, 1), r), true, status);
    }
  }
  // Outer walls, counter-clockwise seen from outside: along the bottom edge,
  // then back along the top.
  auto wall = [&](int i0, int j0, int di, int dj, int steps) {
    ring.clear();
    for (int s = 0; s <= steps; ++s) ring.push_back(corner(i0 + s * di, j0 + s * dj, 0));
    for (int s = steps; s >= 0; --s) ring.push_back(corner(i0 + s * di, j0 + s * dj, 1));
    b.add_face(ring, status);
  };
  wall(0, 0, 1, 0, nx);
  wall(nx, 0, 0, 1, ny);
  wall(nx, ny, -1, 0, nx);
  wall(0, ny, 0, -1, ny);
  return b.finish(get_k2_geores().resabs());
}
