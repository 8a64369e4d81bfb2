#pragma once
// Small meshes with known surfaces for recognition tests: tessellated
// cylinders (open strips, tubes, closed with caps) and prisms, all around
// the z axis and outward facing; and single polygons of many corners.

#include <cmath>
#include <cstddef>
#include <vector>

#include "host/geometry/constants.h"
#include "host/geometry/position3.h"
#include "lumesh/mesh/mesh.h"
#include "lumesh/mesh/mesh_polygon.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"

namespace mesh_shapes {

// The corner at angle a (radians) and height z on the circle of radius r.
inline POSITION3 on_circle(double r, double a, double z) {
  return POSITION3(r * std::cos(a), r * std::sin(a), z);
}

// `facets` strips of a cylinder of radius r and height h between the
// angles a0 and a0 + span, each strip two triangles, facing out.
inline void add_cylinder_strips(MESH& mesh, double r, double h, int facets, double a0,
                                double span) {
  const bool closed = std::fabs(span - HOST_TWO_PI) < 1e-12;
  for (int i = 0; i < facets; ++i) {
    const double a = a0 + span * i / facets;
    // The last strip of a full turn ends on the first corner exactly.
    const double b = closed && i + 1 == facets ? a0 : a0 + span * (i + 1) / facets;
    const POSITION3 p0 = on_circle(r, a, 0), p1 = on_circle(r, b, 0);
    const POSITION3 q0 = on_circle(r, a, h), q1 = on_circle(r, b, h);
    mesh.add_triangle(p0, p1, q1, MESH::computed_normal());
    mesh.add_triangle(p0, q1, q0, MESH::computed_normal());
  }
}

// A closed prism (a cylinder when `facets` is large) with two caps, each cap
// a fan around its centre.
inline void add_closed_prism(MESH& mesh, double r, double h, int facets) {
  add_cylinder_strips(mesh, r, h, facets, 0.0, HOST_TWO_PI);
  const POSITION3 bottom(0, 0, 0), top(0, 0, h);
  for (int i = 0; i < facets; ++i) {
    const double a = HOST_TWO_PI * i / facets;
    const double b = i + 1 == facets ? 0.0 : HOST_TWO_PI * (i + 1) / facets;
    mesh.add_triangle(bottom, on_circle(r, b, 0), on_circle(r, a, 0), MESH::computed_normal());
    mesh.add_triangle(top, on_circle(r, a, h), on_circle(r, b, h), MESH::computed_normal());
  }
}

// The 12 outward-facing triangles of the box between lo and hi, two per
// side; the triangle numbered `skip` (0 to 11) is left out, which opens the
// box.
inline void add_box(MESH& mesh, const POSITION3& lo, const POSITION3& hi, int skip = -1) {
  const double x[2] = {lo.x(), hi.x()}, y[2] = {lo.y(), hi.y()}, z[2] = {lo.z(), hi.z()};
  auto c = [&](int i, int j, int k) { return POSITION3(x[i], y[j], z[k]); };
  // Each side as a quad a-b-c-d, counter-clockwise seen from outside.
  const POSITION3 quads[6][4] = {
      {c(0, 0, 0), c(0, 1, 0), c(1, 1, 0), c(1, 0, 0)},  // bottom, -z
      {c(0, 0, 1), c(1, 0, 1), c(1, 1, 1), c(0, 1, 1)},  // top, +z
      {c(0, 0, 0), c(1, 0, 0), c(1, 0, 1), c(0, 0, 1)},  // front, -y
      {c(0, 1, 0), c(0, 1, 1), c(1, 1, 1), c(1, 1, 0)},  // back, +y
      {c(0, 0, 0), c(0, 0, 1), c(0, 1, 1), c(0, 1, 0)},  // left, -x
      {c(1, 0, 0), c(1, 1, 0), c(1, 1, 1), c(1, 0, 1)},  // right, +x
  };
  int n = 0;
  for (const auto& q : quads) {
    if (n++ != skip) mesh.add_triangle(q[0], q[1], q[2], MESH::computed_normal());
    if (n++ != skip) mesh.add_triangle(q[0], q[2], q[3], MESH::computed_normal());
  }
}

// One polygon through the corners in order (at least three): a triangle of
// the first three, then each further corner inserted before the closing
// coedge.
inline MESH_POLYGON& add_ring_polygon(MESH& mesh, const std::vector<POSITION3>& corners) {
  MESH_POLYGON& p = mesh.add_triangle(corners[0], corners[1], corners[2], MESH::computed_normal());
  MESH_POLYGON_COEDGE* last = p.get_start_coedge()->get_previous();
  for (std::size_t i = 3; i < corners.size(); ++i) {
    last = p.insert_coedge_after(last, mesh.get_mesh_vertex(corners[i]));
  }
  return p;
}

}  // namespace mesh_shapes
