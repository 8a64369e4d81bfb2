#pragma once
// The 3MF binding: a small C++ face over lib3mf 1.8's C interface, shaped
// like lib3mf's published 2.x C++ binding (class and method names, shared
// pointers, exceptions), limited to what the module reads and writes.
//
// Every object owns one lib3mf handle and releases it in its destructor; every
// object made from a model also keeps that model's handle alive, so objects
// may be dropped in any order. Every lib3mf call is checked: a failure throws
// ELib3MFException with lib3mf's code and text. lib3mf's headers stay in the
// binding's .cpp files; here a handle is an opaque pointer.
//
// Where 1.8 and 2.x differ, the binding answers as 2.x would, and the methods
// below say how:
// - Resource ids are the ones lib3mf 1.8 assigns while reading (it numbers the
//   resources of a file from 1 in document order), not the file's own ids.
// - A property id of a base material group is the material's index in it.
// - lib3mf 1.8 keeps no colour group: it resolves an object's m:colorgroup
//   reference into a plain colour while reading, and writes plain colours back
//   as a colour group of its own making. The binding therefore shows every
//   object colour as a member of one virtual colour group, kColorGroupID,
//   whose property id is the colour itself, packed 0xRRGGBBAA. Real resource
//   ids are positive 31-bit numbers, so that id never names anything else.
// - Metadata entries are key/value pairs; a namespaced key reads
//   "namespace:name", the metadata type and the preserve flag are not kept.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "lumesh/data_exchange/lib3mf_types.h"

namespace Lib3MF {

class CWrapper;
class CBase;
class CModel;
class CReader;
class CWriter;
class CResource;
class CObject;
class CMeshObject;
class CComponentsObject;
class CComponent;
class CBuildItem;
class CBuildItemIterator;
class CResourceIterator;
class CMeshObjectIterator;
class CComponentsObjectIterator;
class CBaseMaterialGroup;
class CColorGroup;
class CMetaDataGroup;
class CMetaData;

using PWrapper = std::shared_ptr<CWrapper>;
using PModel = std::shared_ptr<CModel>;
using PReader = std::shared_ptr<CReader>;
using PWriter = std::shared_ptr<CWriter>;
using PResource = std::shared_ptr<CResource>;
using PObject = std::shared_ptr<CObject>;
using PMeshObject = std::shared_ptr<CMeshObject>;
using PComponentsObject = std::shared_ptr<CComponentsObject>;
using PComponent = std::shared_ptr<CComponent>;
using PBuildItem = std::shared_ptr<CBuildItem>;
using PBuildItemIterator = std::shared_ptr<CBuildItemIterator>;
using PMeshObjectIterator = std::shared_ptr<CMeshObjectIterator>;
using PComponentsObjectIterator = std::shared_ptr<CComponentsObjectIterator>;
using PBaseMaterialGroup = std::shared_ptr<CBaseMaterialGroup>;
using PColorGroup = std::shared_ptr<CColorGroup>;
using PMetaDataGroup = std::shared_ptr<CMetaDataGroup>;
using PMetaData = std::shared_ptr<CMetaData>;

// The resource id of the virtual colour group (see above).
inline constexpr std::uint32_t kColorGroupID = 0xFFFFFFFFu;

// The entry point: makes models.
class CWrapper {
 public:
  CWrapper() = default;
  virtual ~CWrapper() = default;
  CWrapper(const CWrapper&) = delete;
  CWrapper& operator=(const CWrapper&) = delete;

  static PWrapper loadLibrary();

  // The interface version of the lib3mf library linked.
  void GetLibraryVersion(std::uint32_t& nMajor, std::uint32_t& nMinor, std::uint32_t& nMicro);
  PModel CreateModel();
};

// One lib3mf handle and the model it belongs to. Not copyable: a copy would
// release the handle twice.
class CBase {
 public:
  virtual ~CBase();
  CBase(const CBase&) = delete;
  CBase& operator=(const CBase&) = delete;

  // The raw lib3mf handle, for the binding's own files.
  void* handle() const { return handle_.get(); }

 protected:
  // handle: this object's own (null for one that has none), released by the
  // destructor. model: shared, keeps the model's handle alive for as long as
  // this object lives. Handles come owned by a shared pointer from the start
  // (lib3mf_call.h, own), so that no path between lib3mf handing one out
  // and this object taking it can leak it.
  CBase(std::shared_ptr<void> model, std::shared_ptr<void> handle);
  const std::shared_ptr<void>& model() const { return model_; }

 private:
  std::shared_ptr<void> model_;   // shared with the model and its other objects
  std::shared_ptr<void> handle_;  // owned; destroyed before model_
};

class CModel : public CBase {
 public:
  // model: the model's handle, shared with every object made from it.
  explicit CModel(std::shared_ptr<void> model);

  // reader or writer class: "3mf" or "stl".
  PReader QueryReader(const std::string& sReaderClass);
  PWriter QueryWriter(const std::string& sWriterClass);

  eModelUnit GetUnit();
  void SetUnit(eModelUnit eUnit);

  PBuildItemIterator GetBuildItems();
  PMeshObjectIterator GetMeshObjects();
  PComponentsObjectIterator GetComponentsObjects();
  // Throw when the id names no object of that kind. O(number of objects).
  PMeshObject GetMeshObjectByID(std::uint32_t nResourceID);
  PComponentsObject GetComponentsObjectByID(std::uint32_t nResourceID);

  PMeshObject AddMeshObject();
  PComponentsObject AddComponentsObject();
  // An identity transform makes an item without a transform.
  PBuildItem AddBuildItem(CObject* pObject, const sTransform& Transform);

  // The kind of property resource the id names: BaseMaterial for a base
  // material group, Colors for kColorGroupID, TexCoord for a texture,
  // NoPropertyType for any other resource. Throws for an id that names none.
  ePropertyType GetPropertyTypeByID(std::uint32_t nResourceID);
  // Throws unless the id names a base material group.
  PBaseMaterialGroup GetBaseMaterialGroupByID(std::uint32_t nResourceID);
  PBaseMaterialGroup AddBaseMaterialGroup();
  // Throws unless the id is kColorGroupID.
  PColorGroup GetColorGroupByID(std::uint32_t nResourceID);
  // The virtual colour group, for writing colours.
  PColorGroup AddColorGroup();

  PMetaDataGroup GetMetaDataGroup();
};

// Reads a file into the model it came from. A failed read may leave part of
// the file in the model: drop the model on failure.
class CReader : public CBase {
 public:
  CReader(std::shared_ptr<void> model, std::shared_ptr<void> reader);

  // pTheCallback may be null (no reports). pUserData is passed through.
  void SetProgressCallback(ProgressCallback pTheCallback, void* pUserData);
  // sFilename in UTF-8.
  void ReadFromFile(const std::string& sFilename);
  // A whole package (or STL file) in memory. lib3mf copies the bytes before
  // it reads; the buffer may go when the call returns. An empty buffer is
  // refused.
  void ReadFromBuffer(const std::vector<std::uint8_t>& Buffer);

  // What lib3mf 1.8 reports through its integer progress interface, relayed
  // as 2.x reports it. Lives in this object: lib3mf holds its address while
  // the reader does.
  struct PROGRESS_RELAY {
    ProgressCallback callback = nullptr;
    void* user_data = nullptr;  // not owned
    double last_value = 0.0;
  };

 private:
  PROGRESS_RELAY relay_;
};

class CWriter : public CBase {
 public:
  CWriter(std::shared_ptr<void> model, std::shared_ptr<void> writer);

  void SetProgressCallback(ProgressCallback pTheCallback, void* pUserData);
  // sFilename in UTF-8.
  void WriteToFile(const std::string& sFilename);

 private:
  CReader::PROGRESS_RELAY relay_;
};

class CResource : public CBase {
 public:
  CResource(std::shared_ptr<void> model, std::shared_ptr<void> resource);
  std::uint32_t GetResourceID();
};

// A mesh or components object.
class CObject : public CResource {
 public:
  CObject(std::shared_ptr<void> model, std::shared_ptr<void> object);

  std::string GetName();
  void SetName(const std::string& sName);
  bool IsMeshObject();
  bool IsComponentsObject();

  // The object's own colour or material, if it has one: the group's resource
  // id and the property id in it. A base material gives its group and index;
  // a colour gives kColorGroupID and the packed colour. A texture coordinate
  // is not reported (false): the module takes no colour from textures.
  bool GetObjectLevelProperty(std::uint32_t& nUniqueResourceID, std::uint32_t& nPropertyID);
  // The reverse, for a base material group or kColorGroupID; throws for any
  // other id.
  void SetObjectLevelProperty(std::uint32_t nUniqueResourceID, std::uint32_t nPropertyID);
};

// The element reads are virtual so that a test can stand in for a mesh that
// lib3mf itself would refuse (an index past the vertices).
class CMeshObject : public CObject {
 public:
  CMeshObject(std::shared_ptr<void> model, std::shared_ptr<void> mesh);

  virtual std::uint32_t GetVertexCount();
  virtual std::uint32_t GetTriangleCount();
  // Throw for an index past the end.
  virtual sPosition GetVertex(std::uint32_t nIndex);
  virtual sTriangle GetTriangle(std::uint32_t nIndex);
  void GetVertices(std::vector<sPosition>& VerticesBuffer);
  void GetTriangleIndices(std::vector<sTriangle>& IndicesBuffer);

  // Replaces the whole geometry. Throws for an index past the vertices.
  void SetGeometry(const std::vector<sPosition>& VerticesBuffer,
                   const std::vector<sTriangle>& IndicesBuffer);
  // Return the new element's index.
  std::uint32_t AddVertex(const sPosition& Coordinates);
  std::uint32_t AddTriangle(const sTriangle& Indices);

 protected:
  // For stand-ins: a mesh object with no handle. Every non-virtual method
  // throws on it.
  CMeshObject();
};

class CComponentsObject : public CObject {
 public:
  CComponentsObject(std::shared_ptr<void> model, std::shared_ptr<void> components);

  // An identity transform makes a component without a transform.
  PComponent AddComponent(CObject* pObjectResource, const sTransform& Transform);
  // Throws for an index past the end.
  PComponent GetComponent(std::uint32_t nIndex);
  std::uint32_t GetComponentCount();
};

class CComponent : public CBase {
 public:
  CComponent(std::shared_ptr<void> model, std::shared_ptr<void> component);

  std::uint32_t GetObjectResourceID();
  // False for the identity.
  bool HasTransform();
  sTransform GetTransform();
};

class CBuildItem : public CBase {
 public:
  CBuildItem(std::shared_ptr<void> model, std::shared_ptr<void> item);

  PObject GetObjectResource();
  std::uint32_t GetObjectResourceID();
  // False for the identity.
  bool HasObjectTransform();
  sTransform GetObjectTransform();
};

class CBuildItemIterator : public CBase {
 public:
  CBuildItemIterator(std::shared_ptr<void> model, std::shared_ptr<void> iterator);

  // Starts before the first item; false once past the last.
  bool MoveNext();
  // Throws unless MoveNext last answered true.
  PBuildItem GetCurrent();
  // The number of items, independent of the position. O(n).
  std::uint64_t Count();
};

class CResourceIterator : public CBase {
 public:
  // What the iterator walks: kind fixes how Count() recounts it.
  enum class KIND { MESH_OBJECTS, COMPONENTS_OBJECTS };
  CResourceIterator(std::shared_ptr<void> model, std::shared_ptr<void> iterator, KIND kind);

  bool MoveNext();
  // The number of resources, independent of the position. O(n).
  std::uint64_t Count();

 protected:
  // The current resource's handle. Throws unless MoveNext last answered true.
  std::shared_ptr<void> current_();

 private:
  KIND kind_;
};

class CMeshObjectIterator : public CResourceIterator {
 public:
  CMeshObjectIterator(std::shared_ptr<void> model, std::shared_ptr<void> iterator);
  PMeshObject GetCurrentMeshObject();
};

class CComponentsObjectIterator : public CResourceIterator {
 public:
  CComponentsObjectIterator(std::shared_ptr<void> model, std::shared_ptr<void> iterator);
  PComponentsObject GetCurrentComponentsObject();
};

class CBaseMaterialGroup : public CBase {
 public:
  CBaseMaterialGroup(std::shared_ptr<void> model, std::shared_ptr<void> group);

  std::uint32_t GetResourceID();
  std::uint32_t GetCount();
  // Returns the new material's property id (its index).
  std::uint32_t AddMaterial(const std::string& sName, const sColor& DisplayColor);
  // Throws for a property id that names no material.
  sColor GetDisplayColor(std::uint32_t nPropertyID);
};

// The virtual colour group (see above): no handle, no state.
class CColorGroup : public CBase {
 public:
  explicit CColorGroup(std::shared_ptr<void> model);

  std::uint32_t GetResourceID() const { return kColorGroupID; }
  // The property id of the colour: the colour itself, packed 0xRRGGBBAA.
  std::uint32_t AddColor(const sColor& TheColor);
  // Any property id is a colour.
  sColor GetColor(std::uint32_t nPropertyID) const;
};

// The model's metadata.
class CMetaDataGroup : public CBase {
 public:
  explicit CMetaDataGroup(std::shared_ptr<void> model);

  std::uint32_t GetMetaDataCount();
  // Throws for an index past the end.
  PMetaData GetMetaData(std::uint32_t nIndex);
  // The key written is sName, or "sNameSpace:sName" when a namespace is
  // given. sType and bMustPreserve are not kept by lib3mf 1.8.
  PMetaData AddMetaData(const std::string& sNameSpace, const std::string& sName,
                        const std::string& sValue, const std::string& sType, bool bMustPreserve);
};

// One metadata entry, as it was when the group handed it out.
class CMetaData : public CBase {
 public:
  CMetaData(std::shared_ptr<void> model, std::string key, std::string value);

  // The key up to its last ':' (empty when it has none).
  std::string GetNameSpace() const;
  // The key after its last ':'.
  std::string GetName() const;
  // The whole key as the file states it.
  const std::string& GetKey() const { return key_; }
  // The text, with XML character references resolved.
  const std::string& GetValue() const { return value_; }

 private:
  std::string key_;
  std::string value_;
};

}  // namespace Lib3MF
