#pragma once
// Model files (.lmx) on the command line: bodies that a conversion read
// become parts of the model and are saved; a model file's parts become
// placed bodies for the writers, or a report of `lumesh import`.

#include <string>
#include <vector>

#include "host/exchange/step_export.h"

class NPARCEL;

// True for a name ending in .lmx, in any case.
bool is_model_file_name(const std::string& file);

// One part per body under the root, named and coloured as the item says and
// placed by its placement; a body placed twice gives two instances of one
// part. The parts own the bodies afterwards. Returns the new top objects.
std::vector<NPARCEL*> parts_of_items(const std::vector<STEP_EXPORT_ITEM>& items);

// Every body that the given objects reach, with its placement in the model,
// its part's path as the name and its part's colour. Throws
// std::runtime_error past a million placed bodies.
std::vector<STEP_EXPORT_ITEM> items_of_model(const std::vector<NPARCEL*>& tops);

// `lumesh import FILE.lmx [--json]`: loads the model file and prints its
// bodies; 0 on success, 1 with the reason on standard error.
int run_model_file_import(const std::string& file, bool json);
