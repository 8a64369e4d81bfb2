#pragma once
// The STEP output of `lumesh import --out`: the model description that an
// import returned, flattened into placed bodies and written as one STEP file.

#include <string>
#include <vector>

#include "host/exchange/step_export.h"
#include "host/lisp/laobj.h"

// Every body that the root's instances reach, through components at any
// depth, with its accumulated placement, name and colour. Throws
// std::runtime_error when the instances nest absurdly deep or multiply past
// a million.
std::vector<STEP_EXPORT_ITEM> placed_bodies(LAOBJ* spec);

// Writes every body that the root's instances reach, through components at
// any depth, with its accumulated placement, name and colour. Returns the
// number of bodies written; throws TV_EXCEPTION when the file can't be
// written or a body can't be converted, std::runtime_error when the root
// reaches no body (nothing to write) or the instances nest absurdly deep.
int write_spec_as_step(LAOBJ* spec, const std::string& path);
