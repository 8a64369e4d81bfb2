// The 3MF branch of the import: build items, components objects and mesh
// objects of a 3MF package to the nodes of a model description.

#include <algorithm>
#include <memory>
#include <vector>

#include "host/base/file_names.h"
#include "host/kernel/topology/body.h"
#include "lumesh/core/load_module.h"
#include "lumesh/core/resource_id.h"
#include "lumesh/data_exchange/lib3mf_adapter.h"
#include "lumesh/data_exchange/lib3mf_binding.h"
#include "lumesh/data_exchange/manufacturing_import.h"
#include "lumesh/data_exchange/rgb_color.h"
#include "lumesh/reverse_engineering/body_factory.h"
#include "lumesh/reverse_engineering/mesh_builder.h"

namespace {

MF_INSTANCE_REF instance_ref(bool has_transform, const Lib3MF::sTransform& transform,
                             std::uint32_t target, Lib3MF::eModelUnit unit) {
  MF_INSTANCE_REF ref;
  ref.has_transform = has_transform;
  if (has_transform) ref.transform = Lib3mfAdapter::from_3mf_transform(transform, unit);
  ref.target = target;
  return ref;
}

// The colour of the whole object, from its object-level property: the
// display colour of a base material or a colour of a colour group. Colours
// of single triangles are not read. Transparent black (packed 0) when the
// object has none.
RGBA_COLOR object_color(Lib3MF::CModel& model, Lib3MF::CMeshObject& object) {
  const RGBA_COLOR none(0.0f, 0.0f, 0.0f, 0.0f);
  std::uint32_t resource = 0, property = 0;
  if (!object.GetObjectLevelProperty(resource, property)) return none;
  Lib3MF::sColor color{};
  switch (model.GetPropertyTypeByID(resource)) {
    case Lib3MF::ePropertyType::BaseMaterial:
      color = model.GetBaseMaterialGroupByID(resource)->GetDisplayColor(property);
      break;
    case Lib3MF::ePropertyType::Colors:
      color = model.GetColorGroupByID(resource)->GetColor(property);
      break;
    default:
      return none;
  }
  return Lib3mfAdapter::from_3mf_color(color);
}

std::wstring name_or(const std::string& utf8, const wchar_t* fallback) {
  std::wstring name = Lib3mfAdapter::utf8_to_utf16(utf8);
  return name.empty() ? std::wstring(fallback) : name;
}

}  // namespace

MF_MODEL_DESCRIPTION read_3mf_model(const std::wstring& path, MF_IMPORT_OPTIONS& options) {
  // lib3mf's failures all end as the unknown error; a file that isn't there
  // at all deserves the message that says so.
  if (!is_readable_file(path)) sModule.get_error_info(MSG_CANNOT_OPEN_FILE)->throw_error();
  const std::shared_ptr<Lib3mfAdapter> adapter = Lib3mfAdapter::GetInstance();
  const std::shared_ptr<Lib3MF::CModel> model =
      adapter->LoadModel(path, Lib3mfAdapter::LIB3MF_3MF, options.progress);
  const Lib3MF::eModelUnit unit = model->GetUnit();

  MF_MODEL_NODE root;
  root.kind = MF_MODEL_NODE::ROOT;
  root.id = -1;
  {
    const Lib3MF::PBuildItemIterator items = model->GetBuildItems();
    while (items->MoveNext()) {
      const Lib3MF::PBuildItem item = items->GetCurrent();
      const bool has = item->HasObjectTransform();
      root.components.push_back(instance_ref(
          has, has ? item->GetObjectTransform() : Lib3MF::sTransform{}, item->GetObjectResourceID(), unit));
    }
    // Each new reference goes to the front: reverse file order.
    std::reverse(root.components.begin(), root.components.end());
  }

  std::vector<MF_MODEL_NODE> components_nodes;
  {
    const Lib3MF::PComponentsObjectIterator objects = model->GetComponentsObjects();
    while (objects->MoveNext()) {
      const Lib3MF::PComponentsObject object = objects->GetCurrentComponentsObject();
      MF_MODEL_NODE node;
      node.kind = MF_MODEL_NODE::COMPONENTS;
      node.id = object->GetResourceID();
      const std::uint32_t n = object->GetComponentCount();
      for (std::uint32_t i = 0; i < n; ++i) {
        const Lib3MF::PComponent c = object->GetComponent(i);
        const bool has = c->HasTransform();
        node.components.push_back(instance_ref(
            has, has ? c->GetTransform() : Lib3MF::sTransform{}, c->GetObjectResourceID(), unit));
      }
      std::reverse(node.components.begin(), node.components.end());
      node.name = name_or(object->GetName(), L"Components");
      components_nodes.push_back(std::move(node));
    }
  }

  std::vector<MF_MODEL_NODE> mesh_nodes;
  {
    const Lib3MF::PMeshObjectIterator objects = model->GetMeshObjects();
    const std::uint64_t n = objects->Count();
    // Without a mesh there is nothing to share the body ticks among: a
    // package without mesh objects is its own clear error.
    if (n == 0) sModule.get_error_info(MSG_NO_MESH_DATA)->throw_error();
    MESH_BUILDER builder(resolution::_min_resabs);
    BODY_FACTORY factory(options.progress, static_cast<int>(100 / n));
    while (objects->MoveNext()) {
      Lib3MF::PMeshObject object = objects->GetCurrentMeshObject();
      std::unique_ptr<MESH> mesh = builder.make_mesh(object, unit);
      MF_MODEL_NODE node;
      node.kind = MF_MODEL_NODE::MESH_BODY;
      node.id = object->GetResourceID();
      node.facet_count = mesh->get_polygon_count();
      node.repaired_facet_count = mesh->get_repaired_polygon_count();
      node.degenerate_facet_count = mesh->get_degenerate_polygon_count();
      node.body = factory.make_body(*mesh, options.resolution, options.face_count_limit,
                                    options.reconstruction, node.face_count);
      node.resolution = node.body->getResolution().resabs();
      node.reconstruction = options.reconstruction;
      // Packed 0, no colour or a fully transparent black, gives no keys.
      const RGBA_COLOR color = object_color(*model, *object);
      const std::int32_t packed = static_cast<int>(color);
      if (packed != 0) {
        node.has_color = true;
        node.packed_color = packed;
        node.transparency = 1.0 - static_cast<double>(color.Alpha());
      }
      node.name = name_or(object->GetName(), L"Mesh");
      mesh_nodes.push_back(std::move(node));
      mesh.reset();  // one mesh alive at a time
    }
  }

  // The metadata is read, and by the import's rule not handed on: the
  // root's list stays empty whatever the file holds.
  root.has_meta_data = true;
  {
    const Lib3MF::PMetaDataGroup group = model->GetMetaDataGroup();
    const std::uint32_t n = group->GetMetaDataCount();
    for (std::uint32_t i = 0; i < n; ++i) {
      const Lib3MF::PMetaData entry = group->GetMetaData(i);
      (void)entry->GetValue();
      (void)entry->GetName();
    }
  }

  std::wstring directory;
  me_filenamesplit(path, directory, root.name);
  if (root.name.empty()) root.name = path;

  MF_MODEL_DESCRIPTION spec;
  spec.reserve(1 + mesh_nodes.size() + components_nodes.size());
  spec.push_back(std::move(root));
  for (auto it = mesh_nodes.rbegin(); it != mesh_nodes.rend(); ++it) spec.push_back(std::move(*it));
  for (auto it = components_nodes.rbegin(); it != components_nodes.rend(); ++it) {
    spec.push_back(std::move(*it));
  }
  return spec;
}
