#pragma once
// The kernel's own failure records. Kernel operations that can fail return one
// of these (null means success) or throw it in a TV_EXCEPTION.

#include "host/base/mod_info.h"

enum class K2_ERROR {
  COINCIDENT_VERTICES,   // an edge whose two ends are one point
  EMPTY_LOOP,            // a loop without coedges
  OPEN_LOOP,             // a coedge ring that does not close
  BAD_SURFACE,           // a surface with a degenerate definition (radius 0, NaN axis)
  BAD_CURVE,             // a curve with a degenerate definition
  NO_CLOSEST_POINT,      // the closest point is not defined (a point on a cylinder's axis)
  OUT_OF_LIMIT,          // no point of the surface within the distance limit
  OFF_SURFACE,           // a point too far from a face's surface to classify
  NOT_ON_FACE,           // no point of the face where one is needed
  BAD_FACE,              // a face that cannot be worked on (no loop, degenerate loop)
  DEAD_ENTITY,           // an entity that was destroyed
  WRONG_TYPE,            // an entity of another type than the operation needs
  NO_SUCH_STATE,         // a state the history does not keep
  MISSING_GEOMETRY,      // a null point, curve or surface where one is needed
  BAD_TOPOLOGY,          // a link that would break the structure (a face in no shell, a foreign coedge)
  CANNOT_WRITE_FILE,     // an output file that cannot be created or completed
  CANNOT_CONVERT_BODY,   // a body that cannot be expressed in an exchange format
  UNREADABLE_FILE,       // an exchange file that cannot be read as a model
  BAD_PRODUCT_STRUCTURE, // assemblies of a file that refer in a circle, nest or multiply too far
  MIXED_BODY_FACES,      // a body of faces read from a model and faces built by the kernel
  EMPTY_BODY,            // a body without faces where an operation needs some
  UNMEASURABLE_FACE,     // a face whose area can be neither computed nor tessellated
};

// The record of an error; the same pointer every time.
MOD_INFO* k2_error(K2_ERROR e);

[[noreturn]] inline void k2_throw(K2_ERROR e) { throw TV_EXCEPTION(k2_error(e)); }
