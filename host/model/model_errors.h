#pragma once
// The model tree's own failure records (module "frame2"). Tree operations that
// can be refused return one of these; null means success. The tree is left
// unchanged by a refused operation.

#include "host/base/mod_info.h"

enum class MODEL_ERROR {
  NULL_ARGUMENT,     // an object the operation needs is missing
  PARENT_IS_PART,    // a part holds containers only, never parts or assemblies
  ALREADY_IN_TREE,   // the child already sits in a contents
  CYCLE,             // the insertion would make a contents contain itself
  NOT_A_CHILD,       // the object is not a child of that parent
  ROOT_PARCEL,       // the root parcel cannot be changed this way
  NOT_A_PART,        // the operation needs a part
  BAD_COLOR,         // a colour component outside [0, 1]
  BAD_TRANSPARENCY,  // a transparency outside [0, 1]
  BODY_IN_USE,       // the body belongs to something other than a part
  WRONG_ITEM,        // an entity that cannot be a selection item
  BAD_SEL_PATH,      // a path that does not lead from the root to the item
  GRAPHICS_ONLY,     // the part holds stored graphics and no solid body
  NO_BODY,           // the part has no body to work on
};

// The record of an error; the same pointer every time.
MOD_INFO* model_error(MODEL_ERROR e);

[[noreturn]] inline void model_throw(MODEL_ERROR e) { throw TV_EXCEPTION(model_error(e)); }
