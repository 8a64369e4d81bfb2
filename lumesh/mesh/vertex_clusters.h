#pragma once
// Mesh vertices that are one point at the recognition resolution share one
// B-rep vertex.
//
// A body is made at the recognition resolution, where two points closer than
// it are equal and no edge can join them. A mesh has such pairs wherever it
// is finer than that resolution: short edges of small features, slivers that
// the welding left. Deciding which corners are one point must come before
// any B-rep vertex is made (recognition makes them while it simplifies the
// region boundaries), or two vertices that a short edge joins could each get
// their own and the edge between them could not be made.
//
// Vertices joined by a coedge shorter than the resolution go into one
// cluster; then clusters whose root points, joined by a coedge, lie within
// the resolution go into one, until no such pair is left (at most
// kClusterRounds rounds; each takes O(coedges)). A cluster's root is its
// vertex that comes first in x, then y, then z: the same input gives the
// same clusters. Coedges inside a cluster get no edge; faces leave them out.

#include <cstddef>

#include "host/geometry/resolution.h"

class MESH;

constexpr int kClusterRounds = 32;

// Clusters the vertices of the mesh's unclaimed polygons at `res`. Returns
// the number of vertices that now use another's B-rep vertex. Call before
// recognition and before any B-rep vertex is made.
std::size_t join_brep_vertices(MESH& mesh, const resolution& res);
