#pragma once
// The mesh a user would get from a CAD part: the whole model body meshed by
// OpenCASCADE at a chord deflection relative to its size, written as a
// binary STL file (coordinates in float32, as real files carry them).

#include <cstddef>
#include <filesystem>

#include "host/kernel/topology/topology_fwd.h"

namespace part_quality {

// The chord deflection of the part meshes, as a fraction of the diagonal of
// the part's box; the angular rule is the mesher's usual half radian.
constexpr double kPartMeshRelativeDeflection = 5e-4;
// OCCT 7.6's mesher fails on a few faces of real parts at one deflection and
// not at a neighbouring one (a small plane, a cone of the Prusa extruder
// parts at 5e-4). Such a part is meshed at the first of these that works,
// and its report says which.
constexpr double kPartMeshFallbackDeflections[] = {4e-4, 7e-4, 1e-3};

struct PART_MESH {
  double relative = 0.0;    // the fraction of the diagonal the mesh was made at
  double deflection = 0.0;  // the chord deflection in model units (mm)
  std::size_t triangles = 0;
};

// Meshes `model` (a body read by read_step) and writes the file `stl`.
// Throws TV_EXCEPTION (BAD_FACE) when the body can't be meshed at any of the
// deflections or has no source faces, and what write_binary_stl throws.
PART_MESH write_part_mesh(const BODY& model, const std::filesystem::path& stl);

}  // namespace part_quality
