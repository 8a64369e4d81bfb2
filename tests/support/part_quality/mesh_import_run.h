#pragma once
// The import of a part's mesh as a user runs it: the STL file read, welded
// and repaired by MESH_BUILDER, then made a body by BODY_FACTORY with planes
// and cylinders at the given precision or, for NaN, the one the import
// estimates from the mesh, under the factory default face count limit.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>

#include "host/kernel/topology/topology_fwd.h"

namespace part_quality {

// The factory setting of *lmx-face-count-limit*: meshes of more facets get
// planes at 0.001 mm whatever was asked.
constexpr std::uint64_t kFaceCountLimit = 157000;

struct MESH_IMPORT {
  BODY* body = nullptr;  // owned by the caller (BODY::lose) when not null
  double precision = std::numeric_limits<double>::quiet_NaN();  // the body's resolution
  double seconds = 0.0;  // reading, welding, repair, recognition and the body
  std::uint64_t facets = 0;
  std::uint64_t faces = 0;
  std::size_t meshes = 0;  // solids of the file; the body is made of the first
  std::string error;       // what the import threw; empty when it made a body
};

// Imports `stl` with the given precision (NaN for the estimate). Errors are
// caught and named in `error`; the global resolution is the same afterwards.
MESH_IMPORT import_part_mesh(const std::filesystem::path& stl, double precision);

// The text of an exception for a report: a host error's key and message,
// else what() of a standard exception.
std::string exception_text(const std::exception& e);

}  // namespace part_quality
