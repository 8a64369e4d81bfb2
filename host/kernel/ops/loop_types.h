#pragma once
// Loop types from geometry: a loop that runs around a periodic surface is a
// separation; otherwise a loop that turns counter-clockwise about the face's
// outward normal is the periphery, and one that turns clockwise bounds a hole.

#include "host/base/mod_info.h"
#include "host/kernel/topology/topology_fwd.h"

MOD_INFO* set_loop_types(FACE* face);
// Every face of the body; the first failure is returned, the rest still typed.
MOD_INFO* set_loop_types(BODY* body);
