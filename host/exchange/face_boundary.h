#pragma once
// The boundary of a body's faces as exchange formats want it: every loop cut
// into its closed sub-rings. The kernel lets one loop reach a hole through a
// bridge, an edge walked twice in opposite senses; exchange formats want the
// hole as a loop of its own, so the bridges are dropped.
//
// Pure kernel code: no OCCT type appears here.

#include <unordered_set>
#include <vector>

#include "host/kernel/topology/topology_fwd.h"

class surface;

struct FACE_BOUNDARY {
  const FACE* face = nullptr;                     // not owned
  std::vector<std::vector<const COEDGE*>> rings;  // not owned; closed, in loop order
};

struct BODY_BOUNDARY {
  std::vector<FACE_BOUNDARY> faces;         // every face of the body, in scan order
  std::unordered_set<const EDGE*> bridges;  // not owned; edges dropped as bridges
};

// Splits every loop of every face. Throws TV_EXCEPTION (CANNOT_CONVERT_BODY)
// for a face that is neither on a plane nor on a cylinder, an edge that is
// not straight, a loop that does not close, an edge walked twice in one
// loop in the same sense or more than twice, or a face left without a ring.
// O(coedges) expected.
BODY_BOUNDARY body_boundary(const BODY& body);

// The faces of all shells and subshells, in scan order.
std::vector<const FACE*> body_faces(const BODY& body);

// Splits one loop's ring at its bridges: the closed sub-rings, each in ring
// order, and the bridge edges in `bridges`. Throws as body_boundary does.
std::vector<std::vector<const COEDGE*>> split_at_bridges(const LOOP& loop,
                                                         std::unordered_set<const EDGE*>& bridges);
