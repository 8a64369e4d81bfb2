#pragma once
// The geometry support subsystem's Lisp face: boxes as Lisp lists
// (lower upper) of two points, and the registration of its native functions.

#include "host/geometry/box3.h"
#include "host/lisp/laobj.h"

// A box from a list (lower upper) of two points (a GPNT3D or a list or
// vector of three reals each). A box whose lower corner lies above its upper
// one on some axis, or that has a NaN coordinate, is empty. Throws the
// host's Lisp type error for anything else.
BOX3 object_to_box(LAOBJ* x);
// The list (lower upper) of the box's corners as two GPNT3D. An empty box
// comes out as the host's nil box, (+inf +inf +inf) to (-inf -inf -inf),
// which reads back as empty.
LAOBJ* make_box(const BOX3& box);

// MAKE-BODY-BOXTREE, DESTROY-BOXTREE, GET-BOXTREE-COLLISIONS, internal to
// `package`, in this order.
void register_boxtree_functions(LAOBJ* package);
// TRANSFORM-BOX, BOX-UNION, BOX-INTERSECTION, BOX-CONTAINS-P, INFLATE-BOX,
// GET-VIEWPORT-XFORM, internal to `package`, in this order.
void register_box_functions(LAOBJ* package);
