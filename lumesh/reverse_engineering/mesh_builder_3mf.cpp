// 3MF mesh objects to meshes: every vertex entered once in the order the
// object holds them, then every triangle on those vertices, then the repair
// of degenerate triangles.

#include <vector>

#include "lumesh/core/load_module.h"
#include "lumesh/core/resource_id.h"
#include "lumesh/data_exchange/lib3mf_adapter.h"
#include "lumesh/data_exchange/lib3mf_binding.h"
#include "lumesh/mesh/mesh.h"
#include "lumesh/mesh/mesh_vertex.h"
#include "lumesh/reverse_engineering/mesh_builder.h"

std::unique_ptr<MESH> MESH_BUILDER::make_mesh(std::shared_ptr<Lib3MF::CMeshObject>& object,
                                              Lib3MF::eModelUnit unit) {
  if (object == nullptr) sModule.get_error_info(MSG_FILE_UNKNOWN_FORMAT)->throw_error();
  auto mesh = std::make_unique<MESH>(import_resolution_);
  // Vertices that weld together share one MESH_VERTEX; the table keeps the
  // object's numbering so that triangles find theirs in O(1).
  const std::uint32_t vertex_count = object->GetVertexCount();
  std::vector<MESH_VERTEX*> vertices;  // not owned: the mesh's
  vertices.reserve(vertex_count);
  for (std::uint32_t i = 0; i < vertex_count; ++i) {
    const Lib3MF::sPosition p = object->GetVertex(i);
    const POSITION3 position(Lib3mfAdapter::from_3mf_length(p.m_Coordinates[0], unit),
                             Lib3mfAdapter::from_3mf_length(p.m_Coordinates[1], unit),
                             Lib3mfAdapter::from_3mf_length(p.m_Coordinates[2], unit));
    vertices.push_back(&mesh->get_mesh_vertex(position));
  }
  const std::uint32_t triangle_count = object->GetTriangleCount();
  for (std::uint32_t t = 0; t < triangle_count; ++t) {
    const Lib3MF::sTriangle triangle = object->GetTriangle(t);
    for (std::uint32_t index : triangle.m_Indices) {
      if (index >= vertices.size()) sModule.get_error_info(MSG_FILE_UNKNOWN_FORMAT)->throw_error();
    }
    mesh->add_triangle(*vertices[triangle.m_Indices[0]], *vertices[triangle.m_Indices[1]],
                       *vertices[triangle.m_Indices[2]]);
  }
  mesh->optimize(import_resolution_);
  return mesh;
}
