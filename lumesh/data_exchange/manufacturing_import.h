#pragma once
// The two branches of the manufacturing data import: a facet file (STL, text
// or binary) or a 3MF package to a model description with one body per
// mesh. Both read, weld and repair each mesh, hand it to BODY_FACTORY with
// the same options, and give the progress 100 ticks for reading and 100 for
// the bodies.
//
// Errors are thrown, not returned: TV_EXCEPTION for the module's own
// (:MSG-CANNOT-OPEN-FILE, :MSG-FILE_UNKNOWN-FORMAT, :MSG-CANCELLED,
// :MSG-NO-MESH-DATA for a file without facets or mesh objects), anything
// else for failures of the readers. Bodies made before an error stay with
// the host. The global resolution may be changed when these throw; the
// caller keeps it.

#include <cstdint>
#include <string>

#include "lumesh/data_exchange/mf_model_description.h"
#include "lumesh/mesh/mesh.h"

class PROGRESS;

struct MF_IMPORT_OPTIONS {
  std::uint64_t face_count_limit = 150000;
  // Widened by each body to what was really done; a widening stays for the
  // later meshes of the file.
  MESH::SURFACE_RECONSTRUCTION reconstruction = MESH::NONE;
  double resolution = 0.0;  // NaN: not given
  PROGRESS* progress = nullptr;  // not owned; may be null
};

// Root (only when there is a mesh) with one instance per mesh, last index
// first; then the mesh nodes, last index first. Index 0 is the file's last
// solid, each named "Mesh".
MF_MODEL_DESCRIPTION read_stl_model(const std::wstring& path, MF_IMPORT_OPTIONS& options);

// Root with one instance per build item (in reverse file order) and an empty
// metadata list; the mesh nodes in reverse file order with their colours;
// the components nodes in reverse file order.
MF_MODEL_DESCRIPTION read_3mf_model(const std::wstring& path, MF_IMPORT_OPTIONS& options);
