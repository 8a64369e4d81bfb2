// The binding's base: the exception, the checks every call goes through, the
// ownership of handles, and the model with what it makes and finds.

#include <cstdio>
#include <string>
#include <utility>

#include "lumesh/data_exchange/lib3mf_binding.h"
#include "lumesh/data_exchange/lib3mf_call.h"

namespace Lib3MF {

namespace {

std::string describe(std::uint32_t code, const std::string& message) {
  char hex[16];
  std::snprintf(hex, sizeof hex, "0x%08X", static_cast<unsigned>(code));
  return "lib3mf error " + std::string(hex) + ": " + message;
}

}  // namespace

ELib3MFException::ELib3MFException(std::uint32_t errorCode, const std::string& errorMessage)
    : errorCode_(errorCode), errorMessage_(errorMessage), what_(describe(errorCode, errorMessage)) {}

namespace detail {

void check(int result, void* instance) {
  if (result == LIB3MF_OK) return;
  DWORD code = 0;
  LPCSTR message = nullptr;
  // The error sits on the instance the call was made on; without one (or
  // without a record on it) the call's own result is all there is.
  if (instance == nullptr ||
      NMR::lib3mf_getlasterror(static_cast<NMR::PLib3MFBase*>(instance), &code, &message) != LIB3MF_OK ||
      code == 0) {
    code = static_cast<std::uint32_t>(result);
    message = nullptr;
  }
  throw ELib3MFException(code, message != nullptr && *message != '\0' ? std::string(message)
                                                                       : "lib3mf call failed");
}

void refuse(const std::string& message) {
  throw ELib3MFException(ELib3MFException::kInvalidParam, message);
}

std::shared_ptr<void> own(void* handle) {
  if (handle == nullptr) return nullptr;
  return std::shared_ptr<void>(
      handle, [](void* h) { NMR::lib3mf_release(static_cast<NMR::PLib3MFBase*>(h)); });
}

NMR::MODELTRANSFORM to_model_transform(const sTransform& transform) {
  NMR::MODELTRANSFORM out;
  for (int j = 0; j < 3; ++j) {
    for (int i = 0; i < 3; ++i) out.m_fFields[j][i] = transform.m_Fields[i][j];
    out.m_fFields[j][3] = transform.m_Fields[3][j];
  }
  return out;
}

sTransform from_model_transform(const NMR::MODELTRANSFORM& transform) {
  sTransform out;
  for (int j = 0; j < 3; ++j) {
    for (int i = 0; i < 3; ++i) out.m_Fields[i][j] = transform.m_fFields[j][i];
    out.m_Fields[3][j] = transform.m_fFields[j][3];
  }
  return out;
}

std::shared_ptr<void> produced(int result, void* instance, void* handle) {
  std::shared_ptr<void> owner = own(handle);
  check(result, instance);
  if (owner == nullptr) refuse("lib3mf handed out no object");
  return owner;
}

std::shared_ptr<void> resource_iterator(void* model, RESOURCE_KIND kind) {
  auto* m = static_cast<NMR::PLib3MFModel*>(model);
  NMR::PLib3MFModelResourceIterator* it = nullptr;
  int result = static_cast<int>(ELib3MFException::kGenericError);
  switch (kind) {
    case RESOURCE_KIND::MESH_OBJECTS: result = NMR::lib3mf_model_getmeshobjects(m, &it); break;
    case RESOURCE_KIND::COMPONENTS_OBJECTS:
      result = NMR::lib3mf_model_getcomponentsobjects(m, &it);
      break;
  }
  return produced(result, model, it);
}

// lib3mf 1.8's lookups of objects by id (getmeshobjectbyid and the like)
// hand out a handle for a resource of any kind, which then fails every call;
// a walk over the objects of the wanted kind is the sure answer. O(n).
std::shared_ptr<void> find_resource(void* model, RESOURCE_KIND kind, std::uint32_t id) {
  std::shared_ptr<void> it = resource_iterator(model, kind);
  auto* iterator = static_cast<NMR::PLib3MFModelResourceIterator*>(it.get());
  for (;;) {
    BOOL has_next = 0;
    check(NMR::lib3mf_resourceiterator_movenext(iterator, &has_next), iterator);
    if (!has_next) return nullptr;
    NMR::PLib3MFModelResource* raw = nullptr;
    const int result = NMR::lib3mf_resourceiterator_getcurrent(iterator, &raw);
    std::shared_ptr<void> resource = produced(result, iterator, raw);
    DWORD resource_id = 0;
    check(NMR::lib3mf_resource_getresourceid(raw, &resource_id), raw);
    if (resource_id == id) return resource;
  }
}

// Base material groups and textures have no walk in lib3mf 1.8 (its
// iterator hands out nothing for them), and their lookups by id answer for
// a resource of any kind. A call that only a resource of the right kind
// answers tells them apart.
std::shared_ptr<void> find_base_material_group(void* model, std::uint32_t id) {
  NMR::PLib3MFModelBaseMaterial* group = nullptr;
  const int result =
      NMR::lib3mf_model_getbasematerialbyid(static_cast<NMR::PLib3MFModel*>(model), id, &group);
  std::shared_ptr<void> owner = own(group);
  if (result != LIB3MF_OK || owner == nullptr) return nullptr;
  DWORD group_id = 0;
  if (NMR::lib3mf_basematerial_getresourceid(group, &group_id) != LIB3MF_OK || group_id != id)
    return nullptr;
  DWORD count = 0;
  if (NMR::lib3mf_basematerial_getcount(group, &count) != LIB3MF_OK) return nullptr;
  return owner;
}

std::shared_ptr<void> find_texture(void* model, std::uint32_t id) {
  NMR::PLib3MFModelTexture2D* texture = nullptr;
  const int result =
      NMR::lib3mf_model_gettexture2dbyid(static_cast<NMR::PLib3MFModel*>(model), id, &texture);
  std::shared_ptr<void> owner = own(texture);
  if (result != LIB3MF_OK || owner == nullptr) return nullptr;
  NMR::eModelTexture2DType type = NMR::MODELTEXTURETYPE_UNKNOWN;
  if (NMR::lib3mf_texture2d_getcontenttype(texture, &type) != LIB3MF_OK) return nullptr;
  return owner;
}

}  // namespace detail

// ---- CBase, CWrapper ---------------------------------------------------------

CBase::CBase(std::shared_ptr<void> model, std::shared_ptr<void> handle)
    : model_(std::move(model)), handle_(std::move(handle)) {}

CBase::~CBase() = default;

PWrapper CWrapper::loadLibrary() { return std::make_shared<CWrapper>(); }

void CWrapper::GetLibraryVersion(std::uint32_t& nMajor, std::uint32_t& nMinor,
                                 std::uint32_t& nMicro) {
  DWORD major = 0, minor = 0, micro = 0;
  detail::check(NMR::lib3mf_getinterfaceversion(&major, &minor, &micro), nullptr);
  nMajor = major;
  nMinor = minor;
  nMicro = micro;
}

PModel CWrapper::CreateModel() {
  NMR::PLib3MFModel* model = nullptr;
  const int result = NMR::lib3mf_createmodel(&model);
  return std::make_shared<CModel>(detail::produced(result, nullptr, model));
}

// ---- CModel ------------------------------------------------------------------

namespace {

NMR::PLib3MFModel* as_model(void* handle) { return static_cast<NMR::PLib3MFModel*>(handle); }

}  // namespace

// The model's handle is both its own and the one it shares.
CModel::CModel(std::shared_ptr<void> model) : CBase(model, model) {}

PReader CModel::QueryReader(const std::string& sReaderClass) {
  NMR::PLib3MFModel* m = as_model(handle());
  NMR::PLib3MFModelReader* reader = nullptr;
  const int result = NMR::lib3mf_model_queryreader(m, sReaderClass.c_str(), &reader);
  return std::make_shared<CReader>(model(), detail::produced(result, m, reader));
}

PWriter CModel::QueryWriter(const std::string& sWriterClass) {
  NMR::PLib3MFModel* m = as_model(handle());
  NMR::PLib3MFModelWriter* writer = nullptr;
  const int result = NMR::lib3mf_model_querywriter(m, sWriterClass.c_str(), &writer);
  return std::make_shared<CWriter>(model(), detail::produced(result, m, writer));
}

eModelUnit CModel::GetUnit() {
  NMR::PLib3MFModel* m = as_model(handle());
  DWORD unit = 0;
  detail::check(NMR::lib3mf_model_getunit(m, &unit), m);
  return static_cast<eModelUnit>(unit);
}

void CModel::SetUnit(eModelUnit eUnit) {
  NMR::PLib3MFModel* m = as_model(handle());
  detail::check(NMR::lib3mf_model_setunit(m, static_cast<DWORD>(eUnit)), m);
}

PBuildItemIterator CModel::GetBuildItems() {
  NMR::PLib3MFModel* m = as_model(handle());
  NMR::PLib3MFModelBuildItemIterator* it = nullptr;
  const int result = NMR::lib3mf_model_getbuilditems(m, &it);
  return std::make_shared<CBuildItemIterator>(model(), detail::produced(result, m, it));
}

PMeshObjectIterator CModel::GetMeshObjects() {
  return std::make_shared<CMeshObjectIterator>(
      model(), detail::resource_iterator(handle(), detail::RESOURCE_KIND::MESH_OBJECTS));
}

PComponentsObjectIterator CModel::GetComponentsObjects() {
  return std::make_shared<CComponentsObjectIterator>(
      model(), detail::resource_iterator(handle(), detail::RESOURCE_KIND::COMPONENTS_OBJECTS));
}

PMeshObject CModel::GetMeshObjectByID(std::uint32_t nResourceID) {
  std::shared_ptr<void> mesh =
      detail::find_resource(handle(), detail::RESOURCE_KIND::MESH_OBJECTS, nResourceID);
  if (mesh == nullptr) detail::refuse("no mesh object with id " + std::to_string(nResourceID));
  return std::make_shared<CMeshObject>(model(), std::move(mesh));
}

PComponentsObject CModel::GetComponentsObjectByID(std::uint32_t nResourceID) {
  std::shared_ptr<void> components =
      detail::find_resource(handle(), detail::RESOURCE_KIND::COMPONENTS_OBJECTS, nResourceID);
  if (components == nullptr)
    detail::refuse("no components object with id " + std::to_string(nResourceID));
  return std::make_shared<CComponentsObject>(model(), std::move(components));
}

PMeshObject CModel::AddMeshObject() {
  NMR::PLib3MFModel* m = as_model(handle());
  NMR::PLib3MFModelMeshObject* mesh = nullptr;
  const int result = NMR::lib3mf_model_addmeshobject(m, &mesh);
  return std::make_shared<CMeshObject>(model(), detail::produced(result, m, mesh));
}

PComponentsObject CModel::AddComponentsObject() {
  NMR::PLib3MFModel* m = as_model(handle());
  NMR::PLib3MFModelComponentsObject* components = nullptr;
  const int result = NMR::lib3mf_model_addcomponentsobject(m, &components);
  return std::make_shared<CComponentsObject>(model(), detail::produced(result, m, components));
}

PBuildItem CModel::AddBuildItem(CObject* pObject, const sTransform& Transform) {
  NMR::PLib3MFModel* m = as_model(handle());
  if (pObject == nullptr || pObject->handle() == nullptr)
    detail::refuse("a build item needs an object");
  NMR::MODELTRANSFORM transform = detail::to_model_transform(Transform);
  NMR::PLib3MFModelBuildItem* item = nullptr;
  const int result = NMR::lib3mf_model_addbuilditem(
      m, static_cast<NMR::PLib3MFModelObjectResource*>(pObject->handle()), &transform, &item);
  return std::make_shared<CBuildItem>(model(), detail::produced(result, m, item));
}

ePropertyType CModel::GetPropertyTypeByID(std::uint32_t nResourceID) {
  if (nResourceID == kColorGroupID) return ePropertyType::Colors;
  if (detail::find_base_material_group(handle(), nResourceID)) return ePropertyType::BaseMaterial;
  if (detail::find_texture(handle(), nResourceID)) return ePropertyType::TexCoord;
  NMR::PLib3MFModelResource* resource = nullptr;
  const int result = NMR::lib3mf_model_getresourcebyid(as_model(handle()), nResourceID, &resource);
  const std::shared_ptr<void> owner = detail::own(resource);
  if (result != LIB3MF_OK || owner == nullptr)
    detail::refuse("no resource with id " + std::to_string(nResourceID));
  return ePropertyType::NoPropertyType;
}

PBaseMaterialGroup CModel::GetBaseMaterialGroupByID(std::uint32_t nResourceID) {
  std::shared_ptr<void> group = detail::find_base_material_group(handle(), nResourceID);
  if (group == nullptr)
    detail::refuse("no base material group with id " + std::to_string(nResourceID));
  return std::make_shared<CBaseMaterialGroup>(model(), std::move(group));
}

PBaseMaterialGroup CModel::AddBaseMaterialGroup() {
  NMR::PLib3MFModel* m = as_model(handle());
  NMR::PLib3MFModelBaseMaterial* group = nullptr;
  const int result = NMR::lib3mf_model_addbasematerialgroup(m, &group);
  return std::make_shared<CBaseMaterialGroup>(model(), detail::produced(result, m, group));
}

PColorGroup CModel::GetColorGroupByID(std::uint32_t nResourceID) {
  if (nResourceID != kColorGroupID)
    detail::refuse("no colour group with id " + std::to_string(nResourceID));
  return std::make_shared<CColorGroup>(model());
}

PColorGroup CModel::AddColorGroup() { return std::make_shared<CColorGroup>(model()); }

PMetaDataGroup CModel::GetMetaDataGroup() { return std::make_shared<CMetaDataGroup>(model()); }

}  // namespace Lib3MF

// lib3mf 1.8 leaks libzip's records on every read: it never closes the
// archive entries it opens (COpcPackageReader::openZIPEntryIndexed), and it
// drops the zip source of a file that turns out not to be an archive. Nothing
// outside lib3mf can free them. Sanitizer builds therefore suppress leaks
// allocated inside libzip, which only lib3mf uses here, so that every leak
// report still means a leak of ours. The match is on the library, not on
// lib3mf's functions: the fast unwinder of those builds stops inside libzip.
#if defined(__SANITIZE_ADDRESS__)
#define LUMESH_LEAK_CHECKED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define LUMESH_LEAK_CHECKED 1
#endif
#endif
#ifdef LUMESH_LEAK_CHECKED
extern "C" const char* __lsan_default_suppressions() { return "leak:libzip.so\n"; }
#endif
