#pragma once
// split_body_3d: one body per top-level shell of a body.

#include <vector>

#include "host/kernel/topology/topology_fwd.h"

class MOD_INFO;

// The body keeps its first shell; every further shell, in order, goes into a
// new BODY(shell, resolution of the body) with the body's transform and
// attributes (a face part stays a face part). Subshells travel with their
// shell. `bodies` receives the body itself, then the new ones. The new
// bodies belong to the caller (a part, or BODY::lose); the body's owner
// keeps the body. EMPTY_BODY for a body without shells, MISSING_GEOMETRY
// for null; nothing changes then. O(shells). Through the history.
MOD_INFO* split_body_3d(BODY* body, std::vector<BODY*>& bodies);
