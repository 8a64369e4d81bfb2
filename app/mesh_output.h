#pragma once
// Placed bodies written as facets: binary STL, or 3MF with one mesh object
// per body. A body read from a CAD model is meshed as a whole, so that its
// facets close up (host/exchange/body_mesh.h); any other body's faces are
// tessellated by the kernel one by one. The triangles are moved by the body's
// own transform and then its placement. The file appears whole or not at
// all (a temporary file in the same folder, renamed when complete).

#include <string>
#include <vector>

#include "host/exchange/step_export.h"

// Throw std::runtime_error when a face can't be tessellated, TV_EXCEPTION
// (CANNOT_WRITE_FILE) when the file can't be written, and lib3mf's error
// when it refuses the model. Return the triangles written.
std::size_t write_bodies_as_stl(const std::vector<STEP_EXPORT_ITEM>& items, const std::string& path);
std::size_t write_bodies_as_3mf(const std::vector<STEP_EXPORT_ITEM>& items, const std::string& path);
