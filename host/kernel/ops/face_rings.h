#pragma once
// The boundary of a face in its surface's developed parameter plane. For a
// plane that is the plane's own (u, v); for a periodic surface of constant
// metric (a cylinder) u is scaled to arc length and unwrapped continuously
// along each loop, so that distances in the developed plane are distances on
// the surface. A loop that runs once around the surface has a winding of
// plus or minus one period: a separation loop.

#include <vector>

#include "host/geometry/position3.h"
#include "host/geometry/vector2.h"
#include "host/kernel/topology/topology_fwd.h"

class surface;

struct FACE_RINGS {
  std::vector<std::vector<VECTOR2>> rings;      // one per loop, in ring order
  std::vector<std::vector<POSITION3>> points;   // the vertex positions behind them
  std::vector<double> winding;                  // developed u gained around each ring
  double u_scale = 1.0;                         // developed u = u_scale * surface u
  double period = 0.0;                          // developed period; 0 when not periodic
  bool has_separation = false;                  // some loop runs around the surface
};

// Fills `out` for the face; false when the face has no loop with a vertex.
bool face_rings(const FACE* face, FACE_RINGS& out);

// Developed coordinates of a surface parameter pair (u, v).
VECTOR2 developed(const FACE_RINGS& r, double u, double v);

// Even-odd classification in the developed plane, periodic in x when
// r.period > 0: 0 outside, 1 inside, 2 within tol of the boundary.
int classify_developed(const FACE_RINGS& r, const VECTOR2& p, double tol);

// A point inside the region, found on vertical scan lines: the midpoint of
// the longest inside stretch. False when there is none.
bool scanline_inner_point(const FACE_RINGS& r, VECTOR2& p);
