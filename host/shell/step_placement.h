#pragma once
// A STEP model description (host/exchange/step_model.h) put into the model
// tree: parts become part instances with the part's body and colour,
// assemblies assembly instances, and a part or assembly that the file places
// several times becomes one contents with several instances, each with its
// placement as tm. Plain C++: the Lisp entry (load-step-file) is a thin
// border around read_step_model and this.

#include <string>

#include "host/exchange/step_model.h"
#include "host/model/nparcel.h"

// Inserts the model as the last child of `parent` (the root when null) and
// returns the new top instance: the file's one top-level product, or, for a
// file with several, a new assembly named `top_name` that holds them. A
// product or instance without a name is named after the product it shows,
// else by the model's system names; clashing names among siblings get the
// model's suffixes.
//
// On success the tree owns every body of the model (model.release_bodies()).
// Every change goes through the history, so recovering the state before the
// call takes the whole import back. Throws TV_EXCEPTION with the model's
// refusal (a part as parent, a dead parent); then the model is brought back
// to the state before the call, nothing of the import is left in the tree,
// and the bodies remain the model's. Cost: O(nodes + components), plus the
// name checks among siblings.
NPARCEL* place_step_model(STEP_MODEL& model, NPARCEL* parent, const std::string& top_name);
