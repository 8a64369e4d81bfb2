#pragma once
// Runs of straight edges that stand for a plane's intersection with a
// cylinder. Meshes and the bodies made from them can only follow a circle by
// chords; where every vertex of such a run lies on both surfaces, the exact
// curve is known and an exporter can write it instead, as one edge that both
// faces share.
//
// Pure kernel code: no OCCT type appears here.

#include <unordered_map>
#include <vector>

#include "host/exchange/face_boundary.h"
#include "host/geometry/position3.h"
#include "host/geometry/unitvec3.h"

// The exact curve of a run: the conic c + major·cos t·x_dir + minor·sin t·y_dir
// with y_dir = normal × x_dir, t growing along the run's direction.
struct INTERSECTION_CHAIN {
  std::vector<const EDGE*> edges;       // not owned; in run order
  std::vector<const VERTEX*> vertices;  // not owned; edges.size() + 1, first == last when closed
  bool closed = false;
  bool circle = true;  // else an ellipse
  POSITION3 centre;
  UNITVEC3 normal;
  UNITVEC3 x_dir;
  double major = 0.0, minor = 0.0;    // equal for a circle
  double t_start = 0.0, t_end = 0.0;  // t_end > t_start; t_end - t_start = 2π when closed
};

struct INTERSECTION_CHAINS {
  std::vector<INTERSECTION_CHAIN> chains;
  // Each edge of a chain: the chain's index and the edge's index in it.
  std::unordered_map<const EDGE*, std::pair<int, int>> of_edge;
};

// The runs of the body whose vertices lie within `tol` of both a plane face's
// plane and the neighbouring cylinder face's cylinder. A run ends where a
// vertex has another kept edge (a bridge does not count), where the
// neighbouring face changes, and where the chords stop turning one way; a
// chord must subtend less than half a turn. A plane parallel to the axis
// meets the cylinder in lines and gives no run. O(coedges).
INTERSECTION_CHAINS find_intersection_chains(const BODY_BOUNDARY& boundary, double tol);
