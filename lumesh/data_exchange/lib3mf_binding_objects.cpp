// Objects, meshes, components, build items and the iterators over them.

#include <string>
#include <utility>
#include <vector>

#include "lumesh/data_exchange/lib3mf_binding.h"
#include "lumesh/data_exchange/lib3mf_call.h"

namespace Lib3MF {

namespace {

NMR::PLib3MFModelObjectResource* as_object(void* handle) {
  if (handle == nullptr) detail::refuse("the object has no lib3mf handle");
  return static_cast<NMR::PLib3MFModelObjectResource*>(handle);
}

NMR::PLib3MFModelMeshObject* as_mesh(void* handle) {
  if (handle == nullptr) detail::refuse("the mesh object has no lib3mf handle");
  return static_cast<NMR::PLib3MFModelMeshObject*>(handle);
}

// An object handle wrapped as the kind it is.
PObject wrap_object(const std::shared_ptr<void>& model, std::shared_ptr<void> object) {
  auto* o = static_cast<NMR::PLib3MFModelObjectResource*>(object.get());
  BOOL is_mesh = 0;
  detail::check(NMR::lib3mf_object_ismeshobject(o, &is_mesh), o);
  if (is_mesh) return std::make_shared<CMeshObject>(model, std::move(object));
  BOOL is_components = 0;
  detail::check(NMR::lib3mf_object_iscomponentsobject(o, &is_components), o);
  if (is_components) return std::make_shared<CComponentsObject>(model, std::move(object));
  return std::make_shared<CObject>(model, std::move(object));
}

}  // namespace

// ---- CResource, CObject ------------------------------------------------------

CResource::CResource(std::shared_ptr<void> model, std::shared_ptr<void> resource)
    : CBase(std::move(model), std::move(resource)) {}

std::uint32_t CResource::GetResourceID() {
  if (handle() == nullptr) detail::refuse("the resource has no lib3mf handle");
  auto* resource = static_cast<NMR::PLib3MFModelResource*>(handle());
  DWORD id = 0;
  detail::check(NMR::lib3mf_resource_getresourceid(resource, &id), resource);
  return id;
}

CObject::CObject(std::shared_ptr<void> model, std::shared_ptr<void> object)
    : CResource(std::move(model), std::move(object)) {}

std::string CObject::GetName() {
  NMR::PLib3MFModelObjectResource* object = as_object(handle());
  return detail::read_string(object, [object](LPSTR buffer, ULONG size, ULONG* needed) {
    return NMR::lib3mf_object_getnameutf8(object, buffer, size, needed);
  });
}

void CObject::SetName(const std::string& sName) {
  NMR::PLib3MFModelObjectResource* object = as_object(handle());
  detail::check(NMR::lib3mf_object_setnameutf8(object, sName.c_str()), object);
}

bool CObject::IsMeshObject() {
  NMR::PLib3MFModelObjectResource* object = as_object(handle());
  BOOL answer = 0;
  detail::check(NMR::lib3mf_object_ismeshobject(object, &answer), object);
  return answer != 0;
}

bool CObject::IsComponentsObject() {
  NMR::PLib3MFModelObjectResource* object = as_object(handle());
  BOOL answer = 0;
  detail::check(NMR::lib3mf_object_iscomponentsobject(object, &answer), object);
  return answer != 0;
}

// ---- CMeshObject -------------------------------------------------------------

CMeshObject::CMeshObject(std::shared_ptr<void> model, std::shared_ptr<void> mesh)
    : CObject(std::move(model), std::move(mesh)) {}

CMeshObject::CMeshObject() : CObject(nullptr, nullptr) {}

std::uint32_t CMeshObject::GetVertexCount() {
  NMR::PLib3MFModelMeshObject* mesh = as_mesh(handle());
  DWORD count = 0;
  detail::check(NMR::lib3mf_meshobject_getvertexcount(mesh, &count), mesh);
  return count;
}

std::uint32_t CMeshObject::GetTriangleCount() {
  NMR::PLib3MFModelMeshObject* mesh = as_mesh(handle());
  DWORD count = 0;
  detail::check(NMR::lib3mf_meshobject_gettrianglecount(mesh, &count), mesh);
  return count;
}

sPosition CMeshObject::GetVertex(std::uint32_t nIndex) {
  NMR::PLib3MFModelMeshObject* mesh = as_mesh(handle());
  NMR::MODELMESHVERTEX vertex;
  detail::check(NMR::lib3mf_meshobject_getvertex(mesh, nIndex, &vertex), mesh);
  sPosition out;
  for (int k = 0; k < 3; ++k) out.m_Coordinates[k] = vertex.m_fPosition[k];
  return out;
}

sTriangle CMeshObject::GetTriangle(std::uint32_t nIndex) {
  NMR::PLib3MFModelMeshObject* mesh = as_mesh(handle());
  NMR::MODELMESHTRIANGLE triangle;
  detail::check(NMR::lib3mf_meshobject_gettriangle(mesh, nIndex, &triangle), mesh);
  sTriangle out;
  for (int k = 0; k < 3; ++k) out.m_Indices[k] = triangle.m_nIndices[k];
  return out;
}

void CMeshObject::GetVertices(std::vector<sPosition>& VerticesBuffer) {
  NMR::PLib3MFModelMeshObject* mesh = as_mesh(handle());
  std::vector<NMR::MODELMESHVERTEX> vertices(GetVertexCount());
  DWORD count = 0;
  detail::check(NMR::lib3mf_meshobject_getvertices(mesh, vertices.data(),
                                                   static_cast<DWORD>(vertices.size()), &count),
                mesh);
  vertices.resize(count < vertices.size() ? count : vertices.size());
  VerticesBuffer.resize(vertices.size());
  for (std::size_t i = 0; i < vertices.size(); ++i)
    for (int k = 0; k < 3; ++k) VerticesBuffer[i].m_Coordinates[k] = vertices[i].m_fPosition[k];
}

void CMeshObject::GetTriangleIndices(std::vector<sTriangle>& IndicesBuffer) {
  NMR::PLib3MFModelMeshObject* mesh = as_mesh(handle());
  std::vector<NMR::MODELMESHTRIANGLE> triangles(GetTriangleCount());
  DWORD count = 0;
  detail::check(NMR::lib3mf_meshobject_gettriangleindices(
                    mesh, triangles.data(), static_cast<DWORD>(triangles.size()), &count),
                mesh);
  triangles.resize(count < triangles.size() ? count : triangles.size());
  IndicesBuffer.resize(triangles.size());
  for (std::size_t i = 0; i < triangles.size(); ++i)
    for (int k = 0; k < 3; ++k) IndicesBuffer[i].m_Indices[k] = triangles[i].m_nIndices[k];
}

void CMeshObject::SetGeometry(const std::vector<sPosition>& VerticesBuffer,
                              const std::vector<sTriangle>& IndicesBuffer) {
  NMR::PLib3MFModelMeshObject* mesh = as_mesh(handle());
  if (VerticesBuffer.size() > 0xFFFFFFFFu || IndicesBuffer.size() > 0xFFFFFFFFu)
    detail::refuse("a mesh object holds at most 2^32 - 1 vertices and triangles");
  std::vector<NMR::MODELMESHVERTEX> vertices(VerticesBuffer.size());
  for (std::size_t i = 0; i < vertices.size(); ++i)
    for (int k = 0; k < 3; ++k) vertices[i].m_fPosition[k] = VerticesBuffer[i].m_Coordinates[k];
  std::vector<NMR::MODELMESHTRIANGLE> triangles(IndicesBuffer.size());
  for (std::size_t i = 0; i < triangles.size(); ++i)
    for (int k = 0; k < 3; ++k) triangles[i].m_nIndices[k] = IndicesBuffer[i].m_Indices[k];
  detail::check(NMR::lib3mf_meshobject_setgeometry(
                    mesh, vertices.data(), static_cast<DWORD>(vertices.size()), triangles.data(),
                    static_cast<DWORD>(triangles.size())),
                mesh);
}

std::uint32_t CMeshObject::AddVertex(const sPosition& Coordinates) {
  NMR::PLib3MFModelMeshObject* mesh = as_mesh(handle());
  NMR::MODELMESHVERTEX vertex;
  for (int k = 0; k < 3; ++k) vertex.m_fPosition[k] = Coordinates.m_Coordinates[k];
  DWORD index = 0;
  detail::check(NMR::lib3mf_meshobject_addvertex(mesh, &vertex, &index), mesh);
  return index;
}

std::uint32_t CMeshObject::AddTriangle(const sTriangle& Indices) {
  NMR::PLib3MFModelMeshObject* mesh = as_mesh(handle());
  NMR::MODELMESHTRIANGLE triangle;
  for (int k = 0; k < 3; ++k) triangle.m_nIndices[k] = Indices.m_Indices[k];
  DWORD index = 0;
  detail::check(NMR::lib3mf_meshobject_addtriangle(mesh, &triangle, &index), mesh);
  return index;
}

// ---- CComponentsObject, CComponent -------------------------------------------

CComponentsObject::CComponentsObject(std::shared_ptr<void> model, std::shared_ptr<void> components)
    : CObject(std::move(model), std::move(components)) {}

PComponent CComponentsObject::AddComponent(CObject* pObjectResource, const sTransform& Transform) {
  auto* components = static_cast<NMR::PLib3MFModelComponentsObject*>(as_object(handle()));
  if (pObjectResource == nullptr || pObjectResource->handle() == nullptr)
    detail::refuse("a component needs an object");
  NMR::MODELTRANSFORM transform = detail::to_model_transform(Transform);
  NMR::PLib3MFModelComponent* component = nullptr;
  const int result = NMR::lib3mf_componentsobject_addcomponent(
      components, static_cast<NMR::PLib3MFModelObjectResource*>(pObjectResource->handle()),
      &transform, &component);
  return std::make_shared<CComponent>(model(), detail::produced(result, components, component));
}

PComponent CComponentsObject::GetComponent(std::uint32_t nIndex) {
  auto* components = static_cast<NMR::PLib3MFModelComponentsObject*>(as_object(handle()));
  NMR::PLib3MFModelComponent* component = nullptr;
  const int result = NMR::lib3mf_componentsobject_getcomponent(components, nIndex, &component);
  return std::make_shared<CComponent>(model(), detail::produced(result, components, component));
}

std::uint32_t CComponentsObject::GetComponentCount() {
  auto* components = static_cast<NMR::PLib3MFModelComponentsObject*>(as_object(handle()));
  DWORD count = 0;
  detail::check(NMR::lib3mf_componentsobject_getcomponentcount(components, &count), components);
  return count;
}

CComponent::CComponent(std::shared_ptr<void> model, std::shared_ptr<void> component)
    : CBase(std::move(model), std::move(component)) {}

std::uint32_t CComponent::GetObjectResourceID() {
  auto* component = static_cast<NMR::PLib3MFModelComponent*>(handle());
  DWORD id = 0;
  detail::check(NMR::lib3mf_component_getobjectresourceid(component, &id), component);
  return id;
}

bool CComponent::HasTransform() {
  auto* component = static_cast<NMR::PLib3MFModelComponent*>(handle());
  BOOL answer = 0;
  detail::check(NMR::lib3mf_component_hastransform(component, &answer), component);
  return answer != 0;
}

sTransform CComponent::GetTransform() {
  auto* component = static_cast<NMR::PLib3MFModelComponent*>(handle());
  NMR::MODELTRANSFORM transform;
  detail::check(NMR::lib3mf_component_gettransform(component, &transform), component);
  return detail::from_model_transform(transform);
}

// ---- CBuildItem, CBuildItemIterator ------------------------------------------

CBuildItem::CBuildItem(std::shared_ptr<void> model, std::shared_ptr<void> item)
    : CBase(std::move(model), std::move(item)) {}

PObject CBuildItem::GetObjectResource() {
  auto* item = static_cast<NMR::PLib3MFModelBuildItem*>(handle());
  NMR::PLib3MFModelObjectResource* object = nullptr;
  const int result = NMR::lib3mf_builditem_getobjectresource(item, &object);
  return wrap_object(model(), detail::produced(result, item, object));
}

std::uint32_t CBuildItem::GetObjectResourceID() {
  auto* item = static_cast<NMR::PLib3MFModelBuildItem*>(handle());
  DWORD id = 0;
  detail::check(NMR::lib3mf_builditem_getobjectresourceid(item, &id), item);
  return id;
}

bool CBuildItem::HasObjectTransform() {
  auto* item = static_cast<NMR::PLib3MFModelBuildItem*>(handle());
  BOOL answer = 0;
  detail::check(NMR::lib3mf_builditem_hasobjecttransform(item, &answer), item);
  return answer != 0;
}

sTransform CBuildItem::GetObjectTransform() {
  auto* item = static_cast<NMR::PLib3MFModelBuildItem*>(handle());
  NMR::MODELTRANSFORM transform;
  detail::check(NMR::lib3mf_builditem_getobjecttransform(item, &transform), item);
  return detail::from_model_transform(transform);
}

CBuildItemIterator::CBuildItemIterator(std::shared_ptr<void> model, std::shared_ptr<void> iterator)
    : CBase(std::move(model), std::move(iterator)) {}

bool CBuildItemIterator::MoveNext() {
  auto* iterator = static_cast<NMR::PLib3MFModelBuildItemIterator*>(handle());
  BOOL has_next = 0;
  detail::check(NMR::lib3mf_builditemiterator_movenext(iterator, &has_next), iterator);
  return has_next != 0;
}

PBuildItem CBuildItemIterator::GetCurrent() {
  auto* iterator = static_cast<NMR::PLib3MFModelBuildItemIterator*>(handle());
  NMR::PLib3MFModelBuildItem* item = nullptr;
  const int result = NMR::lib3mf_builditemiterator_getcurrent(iterator, &item);
  return std::make_shared<CBuildItem>(model(), detail::produced(result, iterator, item));
}

std::uint64_t CBuildItemIterator::Count() {
  auto* m = static_cast<NMR::PLib3MFModel*>(model().get());
  NMR::PLib3MFModelBuildItemIterator* raw = nullptr;
  const int result = NMR::lib3mf_model_getbuilditems(m, &raw);
  const std::shared_ptr<void> fresh = detail::produced(result, m, raw);
  std::uint64_t count = 0;
  for (;;) {
    BOOL has_next = 0;
    detail::check(NMR::lib3mf_builditemiterator_movenext(raw, &has_next), raw);
    if (!has_next) return count;
    ++count;
  }
}

// ---- resource iterators ------------------------------------------------------

CResourceIterator::CResourceIterator(std::shared_ptr<void> model, std::shared_ptr<void> iterator,
                                     KIND kind)
    : CBase(std::move(model), std::move(iterator)), kind_(kind) {}

bool CResourceIterator::MoveNext() {
  auto* iterator = static_cast<NMR::PLib3MFModelResourceIterator*>(handle());
  BOOL has_next = 0;
  detail::check(NMR::lib3mf_resourceiterator_movenext(iterator, &has_next), iterator);
  return has_next != 0;
}

std::uint64_t CResourceIterator::Count() {
  const std::shared_ptr<void> fresh = detail::resource_iterator(
      model().get(), kind_ == KIND::MESH_OBJECTS ? detail::RESOURCE_KIND::MESH_OBJECTS
                                                 : detail::RESOURCE_KIND::COMPONENTS_OBJECTS);
  auto* iterator = static_cast<NMR::PLib3MFModelResourceIterator*>(fresh.get());
  std::uint64_t count = 0;
  for (;;) {
    BOOL has_next = 0;
    detail::check(NMR::lib3mf_resourceiterator_movenext(iterator, &has_next), iterator);
    if (!has_next) return count;
    ++count;
  }
}

std::shared_ptr<void> CResourceIterator::current_() {
  auto* iterator = static_cast<NMR::PLib3MFModelResourceIterator*>(handle());
  NMR::PLib3MFModelResource* resource = nullptr;
  const int result = NMR::lib3mf_resourceiterator_getcurrent(iterator, &resource);
  return detail::produced(result, iterator, resource);
}

CMeshObjectIterator::CMeshObjectIterator(std::shared_ptr<void> model,
                                         std::shared_ptr<void> iterator)
    : CResourceIterator(std::move(model), std::move(iterator), KIND::MESH_OBJECTS) {}

PMeshObject CMeshObjectIterator::GetCurrentMeshObject() {
  return std::make_shared<CMeshObject>(model(), current_());
}

CComponentsObjectIterator::CComponentsObjectIterator(std::shared_ptr<void> model,
                                                     std::shared_ptr<void> iterator)
    : CResourceIterator(std::move(model), std::move(iterator), KIND::COMPONENTS_OBJECTS) {}

PComponentsObject CComponentsObjectIterator::GetCurrentComponentsObject() {
  return std::make_shared<CComponentsObject>(model(), current_());
}

}  // namespace Lib3MF
