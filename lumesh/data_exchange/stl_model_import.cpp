// The STL branch of the import: solids to meshes to bodies.

#include <list>
#include <memory>

#include "host/base/file_names.h"
#include "host/kernel/topology/body.h"
#include "lumesh/core/load_module.h"
#include "lumesh/core/resource_id.h"
#include "lumesh/data_exchange/manufacturing_import.h"
#include "lumesh/reverse_engineering/body_factory.h"
#include "lumesh/reverse_engineering/mesh_builder.h"

MF_MODEL_DESCRIPTION read_stl_model(const std::wstring& path, MF_IMPORT_OPTIONS& options) {
  MESH_BUILDER builder(resolution::_min_resabs);
  std::list<std::unique_ptr<MESH>> meshes;
  builder.import_stl(path.c_str(), meshes, options.progress);
  // Without a mesh there is nothing to share the body ticks among: a file
  // without facets is its own clear error.
  if (meshes.empty()) sModule.get_error_info(MSG_NO_MESH_DATA)->throw_error();

  const int n = static_cast<int>(meshes.size());
  BODY_FACTORY factory(options.progress, 100 / n);
  std::vector<MF_MODEL_NODE> mesh_nodes;
  mesh_nodes.reserve(meshes.size());
  std::int64_t index = 0;
  while (!meshes.empty()) {
    MESH& mesh = *meshes.front();
    MF_MODEL_NODE node;
    node.kind = MF_MODEL_NODE::MESH_BODY;
    node.id = index++;
    node.name = L"Mesh";
    node.facet_count = mesh.get_polygon_count();
    node.repaired_facet_count = mesh.get_repaired_polygon_count();
    node.degenerate_facet_count = mesh.get_degenerate_polygon_count();
    node.body = factory.make_body(mesh, options.resolution, options.face_count_limit,
                                  options.reconstruction, node.face_count);
    node.resolution = node.body->getResolution().resabs();
    node.reconstruction = options.reconstruction;
    mesh_nodes.push_back(std::move(node));
    // Only one mesh at a time needs to be alive once its body stands.
    meshes.pop_front();
  }

  MF_MODEL_DESCRIPTION spec;
  spec.reserve(mesh_nodes.size() + 1);
  MF_MODEL_NODE root;
  root.kind = MF_MODEL_NODE::ROOT;
  root.id = -1;
  std::wstring directory;
  me_filenamesplit(path, directory, root.name);
  if (root.name.empty()) root.name = path;
  for (auto it = mesh_nodes.rbegin(); it != mesh_nodes.rend(); ++it) {
    MF_INSTANCE_REF ref;
    ref.target = it->id;
    root.components.push_back(ref);
  }
  spec.push_back(std::move(root));
  for (auto it = mesh_nodes.rbegin(); it != mesh_nodes.rend(); ++it) spec.push_back(std::move(*it));
  return spec;
}
