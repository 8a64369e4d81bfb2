#pragma once
// The model description that an import hands to the assembly builder: a
// flat list of nodes, each a part (a body made from one mesh), an assembly
// of instances (a components object), or the file's root. Nodes refer to one
// another by id; nothing is looked up here, so a reference to a missing id
// stays as the file had it.
//
// This is the native form; the Lisp entry turns it into property lists.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "host/geometry/transform3.h"
#include "lumesh/mesh/mesh.h"

class BODY;

// One placed use of another node.
struct MF_INSTANCE_REF {
  bool has_transform = false;  // false: the identity
  TRANSFORM3 transform;
  std::int64_t target = 0;
};

struct MF_MODEL_NODE {
  enum KIND { ROOT, COMPONENTS, MESH_BODY };

  KIND kind = ROOT;
  std::int64_t id = -1;
  std::wstring name;
  // ROOT and COMPONENTS: the instances, in the order of the list.
  std::vector<MF_INSTANCE_REF> components;
  // ROOT of a 3MF file: the metadata list is there (and empty).
  bool has_meta_data = false;
  std::vector<std::pair<std::wstring, std::wstring>> meta_data;

  // MESH_BODY:
  BODY* body = nullptr;  // not owned: the body belongs to the host
  double resolution = 0.0;
  std::uint64_t facet_count = 0;
  std::uint64_t face_count = 0;
  std::uint64_t repaired_facet_count = 0;
  std::uint64_t degenerate_facet_count = 0;
  MESH::SURFACE_RECONSTRUCTION reconstruction = MESH::NONE;
  bool has_color = false;  // then the two below
  std::int32_t packed_color = 0;
  double transparency = 0.0;
};

// In the order of the Lisp list: the root first.
using MF_MODEL_DESCRIPTION = std::vector<MF_MODEL_NODE>;
