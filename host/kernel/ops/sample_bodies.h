#pragma once
// Bodies of known shape, for the sample run, tests and benchmarks.

#include "host/geometry/position3.h"
#include "host/kernel/topology/topology_fwd.h"

// A closed block [0,sx] x [0,sy] x [0,sz] with a vertical round hole of radius
// r through its centre, the hole's wall made of `segments` straight edges per
// circle. Top and bottom are planar faces whose single loop reaches the hole
// through a bridge; the hole is one cylindrical face whose loop crosses its
// seam through a bridge. 6 + 1 faces. Needs r < min(sx, sy) / 2 and
// segments >= 3.
BODY* make_bored_block(double sx, double sy, double sz, double r, int segments);
// The index of the hole vertex that the bridges of make_bored_block reach: the
// one closest in angle to the direction from the hole's centre to the origin.
int bridge_vertex(const POSITION3& centre, int segments);

// A closed axis-aligned cube of 12 triangles, from (0,0,0) to (s,s,s).
BODY* make_triangle_cube(double s);

// A closed triangulated torus-like grid of 2 * nu * nv triangles: a mesh body
// with every vertex of degree 6, for size benchmarks.
BODY* make_triangle_torus(int nu, int nv, double major, double minor);

// A closed plate of nx by ny square cells of side `pitch`, `thickness` high,
// with a vertical round hole of radius r in the middle of every cell, its wall
// made of `segments` straight edges per circle. Every cell has a top and a
// bottom planar face whose loop reaches its hole through a bridge from the
// cell's corner nearest the origin, and a cylindrical wall as in
// make_bored_block; the four outer walls are planar faces through every
// cell corner on their side. 3 * nx * ny + 4 faces. Needs
// r < pitch / 2 and segments >= 3.
BODY* make_perforated_plate(int nx, int ny, double pitch, double thickness, double r, int segments);
