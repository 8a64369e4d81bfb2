// Models written through the binding and read back through the adapter:
// meshes, names, components, build items, unit, colours and metadata; what
// a load does with files it cannot read; and packages that repeat a
// production UUID, read from a copy without the repeats.

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/ui/break_status.h"
#include "host/ui/progress.h"
#include "lumesh/data_exchange/lib3mf_adapter.h"
#include "lumesh/data_exchange/lib3mf_binding.h"
#include "support/lib3mf_test_files.h"
#include "support/stl_test_files.h"
#include "support/threemf_package.h"

namespace fs = std::filesystem;

namespace {

using namespace Lib3MF;
using lib3mf_test::cube_triangles;
using lib3mf_test::cube_vertices;
using lib3mf_test::identity_transform;

// A translation by (x, y, z) in the file's layout.
sTransform moved(float x, float y, float z) {
  sTransform t = identity_transform();
  t.m_Fields[3][0] = x;
  t.m_Fields[3][1] = y;
  t.m_Fields[3][2] = z;
  return t;
}

// A quarter turn about z, then (5, 6, 7).
sTransform turned() { return sTransform{{{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}, {5, 6, 7}}}; }

void expect_transform(const sTransform& got, const sTransform& want) {
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 3; ++j) EXPECT_EQ(got.m_Fields[i][j], want.m_Fields[i][j]) << i << "," << j;
}

class Lib3mfModel : public ::testing::Test {
 protected:
  void SetUp() override { BREAK_STATUS::clear(); }
  void TearDown() override { BREAK_STATUS::clear(); }

  std::shared_ptr<Lib3mfAdapter> adapter_ = Lib3mfAdapter::GetInstance();
  stl_test::SCRATCH_DIR scratch_{"lumesh_3mf_"};
};

// The model every round trip writes: two meshes (a 10 mm cube "cube" with a
// base material, a 2 mm cube "small" with a plain colour), an assembly of
// both with transformed components, three build items (cube with no
// transform, assembly moved, small turned), unit inch, two metadata entries.
PModel make_model(const std::shared_ptr<Lib3mfAdapter>& adapter) {
  PModel model = adapter->CreateModel();
  model->SetUnit(eModelUnit::Inch);

  PMeshObject cube = model->AddMeshObject();
  cube->SetName("cube");
  cube->SetGeometry(cube_vertices(10.0f), cube_triangles());
  PMeshObject small = model->AddMeshObject();
  small->SetName("small \xC3\xBC & <co>");  // ü, and characters XML must escape
  for (const sPosition& p : cube_vertices(2.0f)) small->AddVertex(p);
  for (const sTriangle& t : cube_triangles()) small->AddTriangle(t);

  PBaseMaterialGroup materials = model->AddBaseMaterialGroup();
  materials->AddMaterial("PLA red", sColor{0xC0, 0x00, 0x00, 0xFF});
  const std::uint32_t steel = materials->AddMaterial("Steel", sColor{0xA0, 0xA0, 0xA0, 0xFF});
  cube->SetObjectLevelProperty(materials->GetResourceID(), steel);
  PColorGroup colors = model->AddColorGroup();
  small->SetObjectLevelProperty(colors->GetResourceID(),
                                colors->AddColor(sColor{0x1E, 0x90, 0xFF, 0x80}));

  PComponentsObject assembly = model->AddComponentsObject();
  assembly->SetName("assembly");
  assembly->AddComponent(cube.get(), identity_transform());
  assembly->AddComponent(small.get(), moved(20, 0, 0));

  model->AddBuildItem(cube.get(), identity_transform());
  model->AddBuildItem(assembly.get(), moved(0, 50, 0));
  model->AddBuildItem(small.get(), turned());

  PMetaDataGroup metadata = model->GetMetaDataGroup();
  metadata->AddMetaData("", "Title", "Round trip <&> test", "xs:string", false);
  metadata->AddMetaData("", "Designer", "Lumesh", "xs:string", false);
  return model;
}

TEST_F(Lib3mfModel, WrittenModelReadsBackWhole) {
  const fs::path file = scratch_.path() / "round_trip.3mf";
  adapter_->SaveModel(make_model(adapter_), file.wstring(), Lib3mfAdapter::LIB3MF_3MF, nullptr);
  ASSERT_TRUE(fs::exists(file));

  PModel model = adapter_->LoadModel(file.wstring(), Lib3mfAdapter::LIB3MF_3MF, nullptr);
  EXPECT_EQ(model->GetUnit(), eModelUnit::Inch);

  // Meshes, in the order written.
  PMeshObjectIterator meshes = model->GetMeshObjects();
  EXPECT_EQ(meshes->Count(), 2u);
  std::vector<PMeshObject> mesh;
  while (meshes->MoveNext()) mesh.push_back(meshes->GetCurrentMeshObject());
  ASSERT_EQ(mesh.size(), 2u);
  EXPECT_EQ(mesh[0]->GetName(), "cube");
  EXPECT_EQ(mesh[1]->GetName(), "small \xC3\xBC & <co>");
  for (const PMeshObject& m : mesh) {
    EXPECT_TRUE(m->IsMeshObject());
    EXPECT_FALSE(m->IsComponentsObject());
    EXPECT_EQ(m->GetVertexCount(), 8u);
    EXPECT_EQ(m->GetTriangleCount(), 12u);
  }
  EXPECT_EQ(mesh[0]->GetVertex(7).m_Coordinates[0], 10.0f);
  EXPECT_EQ(mesh[1]->GetVertex(7).m_Coordinates[2], 2.0f);
  EXPECT_EQ(mesh[1]->GetTriangle(11).m_Indices[1], 7u);
  std::vector<sPosition> vertices;
  std::vector<sTriangle> triangles;
  mesh[0]->GetVertices(vertices);
  mesh[0]->GetTriangleIndices(triangles);
  ASSERT_EQ(vertices.size(), 8u);
  ASSERT_EQ(triangles.size(), 12u);
  const std::vector<sPosition> want_vertices = cube_vertices(10.0f);
  const std::vector<sTriangle> want_triangles = cube_triangles();
  for (std::size_t i = 0; i < 8; ++i)
    for (int k = 0; k < 3; ++k)
      EXPECT_EQ(vertices[i].m_Coordinates[k], want_vertices[i].m_Coordinates[k]);
  for (std::size_t i = 0; i < 12; ++i)
    for (int k = 0; k < 3; ++k) EXPECT_EQ(triangles[i].m_Indices[k], want_triangles[i].m_Indices[k]);

  // Object-level properties: a base material and a colour.
  std::uint32_t group = 0, property = 0;
  ASSERT_TRUE(mesh[0]->GetObjectLevelProperty(group, property));
  EXPECT_EQ(model->GetPropertyTypeByID(group), ePropertyType::BaseMaterial);
  const sColor steel = model->GetBaseMaterialGroupByID(group)->GetDisplayColor(property);
  EXPECT_EQ(steel.m_Red, 0xA0);
  EXPECT_EQ(steel.m_Green, 0xA0);
  EXPECT_EQ(steel.m_Blue, 0xA0);
  EXPECT_EQ(steel.m_Alpha, 0xFF);
  EXPECT_EQ(model->GetBaseMaterialGroupByID(group)->GetCount(), 2u);
  ASSERT_TRUE(mesh[1]->GetObjectLevelProperty(group, property));
  EXPECT_EQ(group, kColorGroupID);
  EXPECT_EQ(model->GetPropertyTypeByID(group), ePropertyType::Colors);
  const sColor blue = model->GetColorGroupByID(group)->GetColor(property);
  EXPECT_EQ(blue.m_Red, 0x1E);
  EXPECT_EQ(blue.m_Green, 0x90);
  EXPECT_EQ(blue.m_Blue, 0xFF);
  EXPECT_EQ(blue.m_Alpha, 0x80);
  EXPECT_EQ(model->GetPropertyTypeByID(mesh[0]->GetResourceID()), ePropertyType::NoPropertyType);

  // The assembly.
  PComponentsObjectIterator assemblies = model->GetComponentsObjects();
  EXPECT_EQ(assemblies->Count(), 1u);
  ASSERT_TRUE(assemblies->MoveNext());
  PComponentsObject assembly = assemblies->GetCurrentComponentsObject();
  EXPECT_FALSE(assemblies->MoveNext());
  EXPECT_EQ(assembly->GetName(), "assembly");
  EXPECT_TRUE(assembly->IsComponentsObject());
  ASSERT_EQ(assembly->GetComponentCount(), 2u);
  PComponent first = assembly->GetComponent(0);
  PComponent second = assembly->GetComponent(1);
  EXPECT_EQ(first->GetObjectResourceID(), mesh[0]->GetResourceID());
  EXPECT_FALSE(first->HasTransform());
  EXPECT_EQ(second->GetObjectResourceID(), mesh[1]->GetResourceID());
  EXPECT_TRUE(second->HasTransform());
  expect_transform(second->GetTransform(), moved(20, 0, 0));
  EXPECT_THROW(assembly->GetComponent(2), ELib3MFException);
  EXPECT_EQ(model->GetComponentsObjectByID(assembly->GetResourceID())->GetComponentCount(), 2u);
  EXPECT_EQ(model->GetMeshObjectByID(mesh[1]->GetResourceID())->GetName(), mesh[1]->GetName());

  // The build.
  PBuildItemIterator items = model->GetBuildItems();
  EXPECT_EQ(items->Count(), 3u);
  std::vector<PBuildItem> item;
  while (items->MoveNext()) item.push_back(items->GetCurrent());
  ASSERT_EQ(item.size(), 3u);
  EXPECT_EQ(item[0]->GetObjectResourceID(), mesh[0]->GetResourceID());
  EXPECT_FALSE(item[0]->HasObjectTransform());
  expect_transform(item[0]->GetObjectTransform(), identity_transform());
  EXPECT_EQ(item[1]->GetObjectResourceID(), assembly->GetResourceID());
  EXPECT_TRUE(item[1]->HasObjectTransform());
  expect_transform(item[1]->GetObjectTransform(), moved(0, 50, 0));
  EXPECT_TRUE(item[1]->GetObjectResource()->IsComponentsObject());
  EXPECT_EQ(item[2]->GetObjectResourceID(), mesh[1]->GetResourceID());
  expect_transform(item[2]->GetObjectTransform(), turned());
  // The turn as the host sees it: x goes to y, y to -x, then the move in inch.
  const TRANSFORM3 t =
      Lib3mfAdapter::from_3mf_transform(item[2]->GetObjectTransform(), model->GetUnit());
  const POSITION3 p = POSITION3(1, 0, 0) * t;
  EXPECT_NEAR(p.x(), 5 * 25.4, 1e-9);
  EXPECT_NEAR(p.y(), 1 + 6 * 25.4, 1e-9);

  // Metadata, with the characters XML escapes.
  PMetaDataGroup metadata = model->GetMetaDataGroup();
  ASSERT_EQ(metadata->GetMetaDataCount(), 2u);
  EXPECT_EQ(metadata->GetMetaData(0)->GetName(), "Title");
  EXPECT_EQ(metadata->GetMetaData(0)->GetNameSpace(), "");
  EXPECT_EQ(metadata->GetMetaData(0)->GetValue(), "Round trip <&> test");
  EXPECT_EQ(metadata->GetMetaData(1)->GetKey(), "Designer");
  EXPECT_EQ(metadata->GetMetaData(1)->GetValue(), "Lumesh");
  EXPECT_THROW(metadata->GetMetaData(2), ELib3MFException);
}

TEST_F(Lib3mfModel, ObjectsOutliveTheirModel) {
  PMeshObject mesh;
  PBuildItem item;
  {
    PModel model = make_model(adapter_);
    PMeshObjectIterator meshes = model->GetMeshObjects();
    ASSERT_TRUE(meshes->MoveNext());
    mesh = meshes->GetCurrentMeshObject();
    PBuildItemIterator items = model->GetBuildItems();
    ASSERT_TRUE(items->MoveNext());
    item = items->GetCurrent();
  }
  EXPECT_EQ(mesh->GetTriangleCount(), 12u);
  EXPECT_EQ(mesh->GetName(), "cube");
  EXPECT_EQ(item->GetObjectResourceID(), mesh->GetResourceID());
}

TEST_F(Lib3mfModel, LoadTicksTheProgressToTheEnd) {
  const fs::path file = scratch_.path() / "progress.3mf";
  PROGRESS save_progress("save", nullptr);
  save_progress.set_max_ticks(100);
  adapter_->SaveModel(make_model(adapter_), file.wstring(), Lib3mfAdapter::LIB3MF_3MF,
                      &save_progress);
  EXPECT_EQ(save_progress.ticks(), 100);
  PROGRESS progress("load", nullptr);
  progress.set_max_ticks(100);
  PModel model = adapter_->LoadModel(file.wstring(), Lib3mfAdapter::LIB3MF_3MF, &progress);
  EXPECT_EQ(progress.ticks(), 100);
}

TEST_F(Lib3mfModel, BreakStopsTheLoad) {
  const fs::path file = scratch_.path() / "break.3mf";
  adapter_->SaveModel(make_model(adapter_), file.wstring(), Lib3mfAdapter::LIB3MF_3MF, nullptr);
  PROGRESS progress("load", nullptr);
  progress.set_max_ticks(100);
  BREAK_STATUS::request();
  EXPECT_THROW(adapter_->LoadModel(file.wstring(), Lib3mfAdapter::LIB3MF_3MF, &progress),
               ELib3MFException);
  EXPECT_EQ(static_cast<int>(BREAK_STATUS::mState), 0);  // consumed
  // Without a progress object nobody watches the break: the load goes through.
  BREAK_STATUS::request();
  EXPECT_NO_THROW(adapter_->LoadModel(file.wstring(), Lib3mfAdapter::LIB3MF_3MF, nullptr));
}

TEST_F(Lib3mfModel, StlWrittenAndReadThroughLib3mf) {
  const fs::path file = scratch_.path() / "cube.stl";
  PModel model = adapter_->CreateModel();
  PMeshObject cube = model->AddMeshObject();
  cube->SetGeometry(cube_vertices(10.0f), cube_triangles());
  model->AddBuildItem(cube.get(), identity_transform());
  adapter_->SaveModel(model, file.wstring(), Lib3mfAdapter::LIB3MF_STL, nullptr);
  PModel back = adapter_->LoadModel(file.wstring(), Lib3mfAdapter::LIB3MF_STL, nullptr);
  PMeshObjectIterator meshes = back->GetMeshObjects();
  ASSERT_TRUE(meshes->MoveNext());
  EXPECT_EQ(meshes->GetCurrentMeshObject()->GetTriangleCount(), 12u);
}

TEST_F(Lib3mfModel, FilesThatCannotBeReadThrow) {
  const fs::path missing = scratch_.path() / "missing.3mf";
  EXPECT_THROW(adapter_->LoadModel(missing.wstring(), Lib3mfAdapter::LIB3MF_3MF, nullptr),
               ELib3MFException);
  EXPECT_THROW(adapter_->LoadModel(scratch_.path().wstring(), Lib3mfAdapter::LIB3MF_3MF, nullptr),
               ELib3MFException);
  const fs::path empty = scratch_.write("empty.3mf", "");
  EXPECT_THROW(adapter_->LoadModel(empty.wstring(), Lib3mfAdapter::LIB3MF_3MF, nullptr),
               ELib3MFException);
  const fs::path text = scratch_.write("text.3mf", "solid nothing\nendsolid nothing\n");
  try {
    adapter_->LoadModel(text.wstring(), Lib3mfAdapter::LIB3MF_3MF, nullptr);
    ADD_FAILURE() << "a text file read as 3MF";
  } catch (const ELib3MFException& e) {
    EXPECT_NE(e.getErrorCode(), 0u);
    EXPECT_FALSE(e.getErrorMessage().empty());
    EXPECT_NE(std::string(e.what()).find("lib3mf error"), std::string::npos);
  }
  // An unknown content type has no reader.
  EXPECT_THROW(adapter_->LoadModel(text.wstring(),
                                   static_cast<Lib3mfAdapter::LIB3MF_CONTENT_TYPE>(9), nullptr),
               ELib3MFException);
  // A path that is not valid wide text never reaches lib3mf.
  std::wstring bad = scratch_.path().wstring() + L"/x";
  bad += static_cast<wchar_t>(0xDC00);
  EXPECT_THROW(adapter_->LoadModel(bad, Lib3mfAdapter::LIB3MF_3MF, nullptr), std::invalid_argument);
}

TEST_F(Lib3mfModel, SavingWhereNoFileCanBeThrows) {
  const fs::path nowhere = scratch_.path() / "no_such_dir" / "x.3mf";
  EXPECT_THROW(adapter_->SaveModel(make_model(adapter_), nowhere.wstring(),
                                   Lib3mfAdapter::LIB3MF_3MF, nullptr),
               ELib3MFException);
}

TEST_F(Lib3mfModel, BindingRefusesWhatLib3mfWouldMishandle) {
  PModel model = make_model(adapter_);
  PMeshObjectIterator meshes = model->GetMeshObjects();
  ASSERT_TRUE(meshes->MoveNext());
  PMeshObject cube = meshes->GetCurrentMeshObject();
  const std::uint32_t cube_id = cube->GetResourceID();

  // Lookups by id of the wrong kind.
  EXPECT_THROW(model->GetBaseMaterialGroupByID(cube_id), ELib3MFException);
  EXPECT_THROW(model->GetComponentsObjectByID(cube_id), ELib3MFException);
  EXPECT_THROW(model->GetColorGroupByID(cube_id), ELib3MFException);
  EXPECT_THROW(model->GetPropertyTypeByID(9999), ELib3MFException);
  std::uint32_t group = 0, property = 0;
  ASSERT_TRUE(cube->GetObjectLevelProperty(group, property));
  EXPECT_THROW(model->GetMeshObjectByID(group), ELib3MFException);

  // Properties that name nothing.
  EXPECT_THROW(cube->SetObjectLevelProperty(cube_id, 0), ELib3MFException);
  EXPECT_THROW(cube->SetObjectLevelProperty(group, 7), ELib3MFException);
  EXPECT_THROW(model->GetBaseMaterialGroupByID(group)->GetDisplayColor(7), ELib3MFException);

  // Elements past the end and indices past the vertices.
  EXPECT_THROW(cube->GetVertex(8), ELib3MFException);
  EXPECT_THROW(cube->GetTriangle(12), ELib3MFException);
  EXPECT_THROW(cube->AddTriangle(sTriangle{{0, 1, 8}}), ELib3MFException);
  std::vector<sTriangle> bad = cube_triangles();
  bad[3].m_Indices[2] = 100;
  EXPECT_THROW(cube->SetGeometry(cube_vertices(1.0f), bad), ELib3MFException);

  // Metadata lib3mf 1.8 would write but not read back.
  PMetaDataGroup metadata = model->GetMetaDataGroup();
  EXPECT_THROW(metadata->AddMetaData("http://example.com/ns", "Part", "1", "xs:string", true),
               ELib3MFException);
  EXPECT_THROW(metadata->AddMetaData("", "MyKey", "1", "xs:string", false), ELib3MFException);
  EXPECT_EQ(metadata->GetMetaDataCount(), 2u);

  // A build item needs an object.
  EXPECT_THROW(model->AddBuildItem(nullptr, identity_transform()), ELib3MFException);
}

TEST_F(Lib3mfModel, VirtualColourGroupPacksTheColour) {
  PModel model = adapter_->CreateModel();
  PColorGroup colors = model->AddColorGroup();
  EXPECT_EQ(colors->GetResourceID(), kColorGroupID);
  const std::uint32_t id = colors->AddColor(sColor{0x12, 0x34, 0x56, 0x78});
  EXPECT_EQ(id, 0x12345678u);
  const sColor back = model->GetColorGroupByID(kColorGroupID)->GetColor(id);
  EXPECT_EQ(back.m_Red, 0x12);
  EXPECT_EQ(back.m_Green, 0x34);
  EXPECT_EQ(back.m_Blue, 0x56);
  EXPECT_EQ(back.m_Alpha, 0x78);
}

// ---- packages that repeat a production UUID ---------------------------------

// A distinct UUID for each n.
std::string uuid(int n) { return "cc29d456-44e5-47d2-a177-65f529b711d" + std::to_string(n); }

// A cube (object 1) and an assembly (object 2) that places it moved by
// (20, 0, 0); the component repeats the UUID of the object it names, as one
// producer writes it. `tail` goes after the assembly among the resources.
std::string repeating_model(const std::string& tail = "") {
  return threemf_test::production_model(
      threemf_test::cube_object(1, "name=\"cube\" p:UUID=\"" + uuid(1) + "\"") +
          "<object id=\"2\" type=\"model\" name=\"assembly\" p:UUID=\"" + uuid(2) +
          "\"><components><component objectid=\"1\" p:UUID=\"" + uuid(1) +
          "\" transform=\"1 0 0 0 1 0 0 0 1 20 0 0\"/></components></object>" + tail,
      "<item objectid=\"2\" p:UUID=\"" + uuid(3) + "\"/>");
}

// The error lib3mf itself gives for the file, read as it stands.
ELib3MFException direct_error(Lib3mfAdapter& adapter, const fs::path& file) {
  try {
    adapter.CreateModel()->QueryReader("3mf")->ReadFromFile(file.string());
  } catch (const ELib3MFException& e) {
    return e;
  }
  ADD_FAILURE() << "lib3mf read " << file;
  return ELib3MFException(0, "");
}

ELib3MFException load_error(Lib3mfAdapter& adapter, const fs::path& file) {
  try {
    adapter.LoadModel(file.wstring(), Lib3mfAdapter::LIB3MF_3MF, nullptr);
  } catch (const ELib3MFException& e) {
    return e;
  }
  ADD_FAILURE() << "loaded " << file;
  return ELib3MFException(0, "");
}

TEST_F(Lib3mfModel, APackageRepeatingAUuidIsReadFromACopyWithoutTheRepeat) {
  const fs::path file = scratch_.path() / "repeat.3mf";
  ASSERT_TRUE(threemf_test::write_package(file, repeating_model()));
  // As it stands, lib3mf refuses it.
  EXPECT_EQ(direct_error(*adapter_, file).getErrorCode(), ELib3MFException::kUUIDNotUnique);

  PROGRESS progress("load", nullptr);
  progress.set_max_ticks(100);
  std::size_t dropped = 0;
  PModel model =
      adapter_->LoadModel(file.wstring(), Lib3mfAdapter::LIB3MF_3MF, &progress, &dropped);
  EXPECT_EQ(dropped, 1u);
  // Two reads, one hundred ticks.
  EXPECT_EQ(progress.ticks(), 100);
  PMeshObjectIterator meshes = model->GetMeshObjects();
  ASSERT_TRUE(meshes->MoveNext());
  const PMeshObject cube = meshes->GetCurrentMeshObject();
  EXPECT_EQ(cube->GetName(), "cube");
  EXPECT_EQ(cube->GetTriangleCount(), 12u);
  EXPECT_FALSE(meshes->MoveNext());
  PComponentsObjectIterator assemblies = model->GetComponentsObjects();
  ASSERT_TRUE(assemblies->MoveNext());
  const PComponentsObject assembly = assemblies->GetCurrentComponentsObject();
  EXPECT_EQ(assembly->GetName(), "assembly");
  ASSERT_EQ(assembly->GetComponentCount(), 1u);
  const PComponent component = assembly->GetComponent(0);
  EXPECT_EQ(component->GetObjectResourceID(), cube->GetResourceID());
  ASSERT_TRUE(component->HasTransform());
  expect_transform(component->GetTransform(), moved(20, 0, 0));
  PBuildItemIterator items = model->GetBuildItems();
  ASSERT_TRUE(items->MoveNext());
  EXPECT_EQ(items->GetCurrent()->GetObjectResourceID(), assembly->GetResourceID());
  EXPECT_FALSE(items->MoveNext());
}

TEST_F(Lib3mfModel, UniqueUuidsAreReadAsTheyStand) {
  std::string xml = repeating_model();
  const std::string repeat = "objectid=\"1\" p:UUID=\"" + uuid(1) + "\"";
  xml.replace(xml.find(repeat), repeat.size(), "objectid=\"1\" p:UUID=\"" + uuid(4) + "\"");
  const fs::path file = scratch_.path() / "unique.3mf";
  ASSERT_TRUE(threemf_test::write_package(file, xml));
  std::size_t dropped = 99;
  PModel model = adapter_->LoadModel(file.wstring(), Lib3mfAdapter::LIB3MF_3MF, nullptr, &dropped);
  EXPECT_EQ(dropped, 0u);
  EXPECT_EQ(model->GetComponentsObjects()->Count(), 1u);
}

TEST_F(Lib3mfModel, ACorruptPackageGivesLib3mfsOwnErrorUnchanged) {
  for (const auto& [name, bytes] :
       {std::pair<std::string, std::string>{"text.3mf", "this is not a zip file"},
        {"truncated.3mf", std::string("PK\x03\x04\x14\x00\x00\x00\x08\x00", 10)}}) {
    const fs::path file = scratch_.write(name, bytes);
    const ELib3MFException direct = direct_error(*adapter_, file);
    const ELib3MFException loaded = load_error(*adapter_, file);
    EXPECT_EQ(loaded.getErrorCode(), direct.getErrorCode()) << name;
    EXPECT_STREQ(loaded.what(), direct.what()) << name;
  }
}

TEST_F(Lib3mfModel, WhenTheCopyFailsTooTheFilesOwnErrorLeadsTheMessage) {
  // Past the repeat, the build names an object that isn't there: the copy
  // fails where the file did not get to.
  std::string xml = repeating_model();
  xml.replace(xml.find("<item objectid=\"2\""), 20, "<item objectid=\"42\"");
  const fs::path missing = scratch_.path() / "missing.3mf";
  ASSERT_TRUE(threemf_test::write_package(missing, xml));
  const ELib3MFException original = direct_error(*adapter_, missing);
  ASSERT_EQ(original.getErrorCode(), ELib3MFException::kUUIDNotUnique);
  ELib3MFException e = load_error(*adapter_, missing);
  EXPECT_EQ(e.getErrorCode(), ELib3MFException::kUUIDNotUnique);
  EXPECT_EQ(e.getErrorMessage().rfind(original.getErrorMessage() + " (", 0), 0u) << e.what();
  EXPECT_NE(e.getErrorMessage().find("can't be read either"), std::string::npos) << e.what();

  // An entry lib3mf never opens fails its checksum: the copy can't be made.
  const fs::path damaged = scratch_.path() / "damaged.3mf";
  const std::string thumbnail(400, 'x');
  ASSERT_TRUE(threemf_test::write_entries(
      damaged, {{"[Content_Types].xml", threemf_test::kContentTypes},
                {"_rels/.rels", threemf_test::kRelationships},
                {"3D/3dmodel.model", repeating_model()},
                {"Metadata/thumbnail.png", thumbnail}}));
  std::string bytes = lib3mf_test::read_text(damaged);
  // The checksum of the last entry, in its local header and the directory.
  const std::size_t local = bytes.rfind("PK\x03\x04");
  const std::size_t central = bytes.rfind("PK\x01\x02");
  ASSERT_NE(local, std::string::npos);
  ASSERT_NE(central, std::string::npos);
  for (const std::size_t at : {local + 14, central + 16}) {
    bytes[at] = static_cast<char>(bytes[at] ^ 0x5A);
  }
  const fs::path damaged_file = scratch_.write("damaged2.3mf", bytes);
  e = load_error(*adapter_, damaged_file);
  EXPECT_EQ(e.getErrorCode(), ELib3MFException::kUUIDNotUnique) << e.what();
  EXPECT_NE(e.getErrorMessage().find("Metadata/thumbnail.png"), std::string::npos) << e.what();

  // A repeat the copy can't see: the model part is not named *.model.
  const fs::path hidden = scratch_.path() / "hidden.3mf";
  std::string relationships = threemf_test::kRelationships;
  relationships.replace(relationships.find("3dmodel.model"), 13, "3dmodel.xml");
  std::string types = threemf_test::kContentTypes;
  types.replace(types.find("Extension=\"model\""), 17, "Extension=\"xml\"");
  ASSERT_TRUE(threemf_test::write_entries(hidden, {{"[Content_Types].xml", types},
                                                   {"_rels/.rels", relationships},
                                                   {"3D/3dmodel.xml", repeating_model()}}));
  ASSERT_EQ(direct_error(*adapter_, hidden).getErrorCode(), ELib3MFException::kUUIDNotUnique);
  e = load_error(*adapter_, hidden);
  EXPECT_EQ(e.getErrorCode(), ELib3MFException::kUUIDNotUnique);
  EXPECT_NE(e.getErrorMessage().find("no repeated production UUID"), std::string::npos) << e.what();
}

TEST_F(Lib3mfModel, LibraryVersionIsOneEight) {
  std::uint32_t major = 0, minor = 0, micro = 0;
  adapter_->GetLibraryVersion(major, minor, micro);
  EXPECT_EQ(major, 1u);
  EXPECT_EQ(minor, 8u);
}

}  // namespace
