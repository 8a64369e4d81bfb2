#pragma once
// The faces of a shell grouped into the pieces that hang together: two faces
// are in one piece when they share an edge. A mesh of several separate solids
// arrives as one soup of facets; each piece is a shell of its own, a solid
// when it closes.

#include <vector>

#include "host/kernel/topology/topology_fwd.h"

// The groups in the order of their first face in `faces`, each in the order
// of `faces`. Faces that share only a vertex are apart. A coedge's partner
// ring leading to a face not in `faces` is passed over. O(faces + coedges)
// with a hash lookup per partner; no recursion.
std::vector<std::vector<FACE*>> connected_face_groups(const std::vector<FACE*>& faces);
