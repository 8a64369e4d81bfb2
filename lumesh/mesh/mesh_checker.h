#pragma once
// The invariants of a mesh, checked from scratch: for tests and for debugging
// an algorithm that edits rings. O(vertices + coedges) time and memory.
//
// - every polygon of the list (none of them claimed by a region) and of the
//   regions' member sets (each naming its region) appears once; a MERGED polygon has no coedges,
//   any other has a start coedge that is a member of its ring;
// - every ring is closed and doubly linked (next->previous is the coedge),
//   its coedges name the polygon as owner and a vertex of the mesh as start;
// - each coedge is in exactly one ring and in the outgoing set of exactly its
//   start vertex, and every member of an outgoing set is such a coedge;
// - each node of a cell tree of the weld grid lies in the octant of its
//   parent that its index names, and the grid holds as many vertices as the
//   mesh counts.

#include <string>
#include <vector>

class MESH;

struct MESH_CHECK_RESULT {
  std::vector<std::string> problems;  // one line each, empty when all holds
  bool ok() const { return problems.empty(); }
  // All problems, one a line.
  std::string text() const;
};

MESH_CHECK_RESULT check_mesh(const MESH& mesh);
