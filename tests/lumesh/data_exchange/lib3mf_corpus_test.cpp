// The adapter on the generated 3MF files of the shared corpus, checked
// against the facts their .json companions state: build items and their
// transforms, assemblies, colours, unit, metadata, empty models, and the
// corrupt files that must fail cleanly.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "lumesh/data_exchange/lib3mf_adapter.h"
#include "lumesh/data_exchange/lib3mf_binding.h"
#include "support/lib3mf_test_files.h"

namespace fs = std::filesystem;

namespace {

using namespace Lib3MF;

class Lib3mfCorpus : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = lib3mf_test::generated_3mf_dir();
    if (!fs::is_directory(dir_)) GTEST_SKIP() << "no shared corpus at " << dir_;
  }
  PModel load(const std::string& name) {
    const fs::path file = dir_ / name;
    EXPECT_TRUE(fs::exists(file)) << file;
    return Lib3mfAdapter::GetInstance()->LoadModel(file.wstring(), Lib3mfAdapter::LIB3MF_3MF,
                                                   nullptr);
  }
  // The companion .json as text, for the facts the tests look up in it.
  std::string facts(const std::string& name) {
    return lib3mf_test::read_text(dir_ / (fs::path(name).stem().string() + ".json"));
  }
  fs::path dir_;
};

std::vector<PMeshObject> meshes_of(const PModel& model) {
  std::vector<PMeshObject> out;
  PMeshObjectIterator it = model->GetMeshObjects();
  while (it->MoveNext()) out.push_back(it->GetCurrentMeshObject());
  return out;
}

std::vector<PBuildItem> items_of(const PModel& model) {
  std::vector<PBuildItem> out;
  PBuildItemIterator it = model->GetBuildItems();
  while (it->MoveNext()) out.push_back(it->GetCurrent());
  return out;
}

// The column-vector 4x4 matrix of the .json as the row-vector TRANSFORM3.
TRANSFORM3 from_column_matrix(const double m[3][4]) {
  const double rows[3][3] = {{m[0][0], m[1][0], m[2][0]},
                             {m[0][1], m[1][1], m[2][1]},
                             {m[0][2], m[1][2], m[2][2]}};
  return TRANSFORM3::from_matrix(rows, VECTOR3(m[0][3], m[1][3], m[2][3]));
}

TEST_F(Lib3mfCorpus, SingleObject) {
  PModel model = load("single_object.3mf");
  EXPECT_NE(facts("single_object.3mf").find("\"triangles\": 540"), std::string::npos);
  EXPECT_EQ(model->GetUnit(), eModelUnit::MilliMeter);
  const std::vector<PMeshObject> meshes = meshes_of(model);
  ASSERT_EQ(meshes.size(), 1u);
  EXPECT_EQ(meshes[0]->GetTriangleCount(), 540u);
  EXPECT_EQ(meshes[0]->GetVertexCount(), 264u);
  const std::vector<PBuildItem> items = items_of(model);
  ASSERT_EQ(items.size(), 1u);
  EXPECT_EQ(items[0]->GetObjectResourceID(), meshes[0]->GetResourceID());
  EXPECT_FALSE(items[0]->HasObjectTransform());
  std::uint32_t group = 0, property = 0;
  EXPECT_FALSE(meshes[0]->GetObjectLevelProperty(group, property));
}

TEST_F(Lib3mfCorpus, BuildItemTransforms) {
  PModel model = load("build_items_transforms.3mf");
  const std::vector<PBuildItem> items = items_of(model);
  ASSERT_EQ(items.size(), 3u);
  // transform_4x4_column_vector of the three instances.
  const double want[3][3][4] = {
      {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}},
      {{1, 0, 0, 50}, {0, 1, 0, 0}, {0, 0, 1, 0}},
      {{1, 0, 0, 0}, {0, 0, -1, 100}, {0, 1, 0, 10}},
  };
  // transforms_3mf_strings, in the file's order.
  const float fields[3][12] = {{1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0},
                               {1, 0, 0, 0, 1, 0, 0, 0, 1, 50, 0, 0},
                               {1, 0, 0, 0, 0, 1, 0, -1, 0, 0, 100, 10}};
  EXPECT_NE(facts("build_items_transforms.3mf").find("1 0 0 0 0 1 0 -1 0 0 100 10"),
            std::string::npos);
  for (int k = 0; k < 3; ++k) {
    EXPECT_EQ(items[k]->HasObjectTransform(), k != 0) << k;
    const sTransform t = items[k]->GetObjectTransform();
    for (int f = 0; f < 12; ++f) EXPECT_EQ(t.m_Fields[f / 3][f % 3], fields[k][f]) << k << "/" << f;
    const TRANSFORM3 host = Lib3mfAdapter::from_3mf_transform(t, model->GetUnit());
    EXPECT_TRUE(equal(host, from_column_matrix(want[k]), 1e-12)) << k;
  }
  // The third item lays the shaft (axis z, length 90) along -y from y = 100.
  const TRANSFORM3 third = Lib3mfAdapter::from_3mf_transform(items[2]->GetObjectTransform(),
                                                             model->GetUnit());
  const POSITION3 top = POSITION3(0, 0, 90) * third;
  EXPECT_NEAR(top.x(), 0.0, 1e-12);
  EXPECT_NEAR(top.y(), 10.0, 1e-12);
  EXPECT_NEAR(top.z(), 10.0, 1e-12);
  const std::vector<PMeshObject> meshes = meshes_of(model);
  ASSERT_EQ(meshes.size(), 1u);
  EXPECT_EQ(meshes[0]->GetTriangleCount(), 764u);
  EXPECT_EQ(meshes[0]->GetName(), "stepped shaft");
}

TEST_F(Lib3mfCorpus, AssemblyComponents) {
  PModel model = load("assembly_components.3mf");
  const std::vector<PMeshObject> meshes = meshes_of(model);
  ASSERT_EQ(meshes.size(), 1u);
  EXPECT_EQ(meshes[0]->GetTriangleCount(), 676u);
  PComponentsObjectIterator it = model->GetComponentsObjects();
  ASSERT_TRUE(it->MoveNext());
  PComponentsObject assembly = it->GetCurrentComponentsObject();
  EXPECT_FALSE(it->MoveNext());
  ASSERT_EQ(assembly->GetComponentCount(), 2u);
  EXPECT_EQ(assembly->GetComponent(0)->GetObjectResourceID(), meshes[0]->GetResourceID());
  EXPECT_FALSE(assembly->GetComponent(0)->HasTransform());
  PComponent turned = assembly->GetComponent(1);
  EXPECT_EQ(turned->GetObjectResourceID(), meshes[0]->GetResourceID());
  ASSERT_TRUE(turned->HasTransform());
  const double want[3][4] = {{-1, 0, 0, 130}, {0, -1, 0, 40}, {0, 0, 1, 0}};
  EXPECT_TRUE(equal(Lib3mfAdapter::from_3mf_transform(turned->GetTransform(), model->GetUnit()),
                    from_column_matrix(want), 1e-12));
  const std::vector<PBuildItem> items = items_of(model);
  ASSERT_EQ(items.size(), 1u);
  EXPECT_EQ(items[0]->GetObjectResourceID(), assembly->GetResourceID());
}

TEST_F(Lib3mfCorpus, AssemblyNestedComposesFourInstances) {
  PModel model = load("assembly_nested.3mf");
  const std::vector<PBuildItem> items = items_of(model);
  ASSERT_EQ(items.size(), 1u);
  // Walk item -> components -> ... -> meshes, composing first the inner
  // component's map, then the outer one's (row vectors: inner * outer).
  struct FOUND {
    std::uint32_t mesh;
    TRANSFORM3 placement;
  };
  std::vector<FOUND> found;
  struct PENDING {
    std::uint32_t object;
    TRANSFORM3 placement;
    int depth;
  };
  const std::vector<PMeshObject> meshes = meshes_of(model);
  ASSERT_EQ(meshes.size(), 1u);
  std::vector<PENDING> stack{{items[0]->GetObjectResourceID(), TRANSFORM3(), 0}};
  while (!stack.empty()) {
    const PENDING p = stack.back();
    stack.pop_back();
    ASSERT_LT(p.depth, 8);
    if (p.object == meshes[0]->GetResourceID()) {
      found.push_back({p.object, p.placement});
      continue;
    }
    PComponentsObject c = model->GetComponentsObjectByID(p.object);
    for (std::uint32_t i = c->GetComponentCount(); i-- > 0;) {
      PComponent component = c->GetComponent(i);
      const TRANSFORM3 local =
          Lib3mfAdapter::from_3mf_transform(component->GetTransform(), model->GetUnit());
      stack.push_back({component->GetObjectResourceID(), local * p.placement, p.depth + 1});
    }
  }
  ASSERT_EQ(found.size(), 4u);
  const double want[4][3][4] = {
      {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}},
      {{-1, 0, 0, 130}, {0, -1, 0, 40}, {0, 0, 1, 0}},
      {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 60}},
      {{-1, 0, 0, 130}, {0, -1, 0, 40}, {0, 0, 1, 60}},
  };
  for (int k = 0; k < 4; ++k)
    EXPECT_TRUE(equal(found[k].placement, from_column_matrix(want[k]), 1e-12)) << k;
}

TEST_F(Lib3mfCorpus, ColorsFromBaseMaterials) {
  PModel model = load("colors_basematerials.3mf");
  const std::vector<PMeshObject> meshes = meshes_of(model);
  ASSERT_EQ(meshes.size(), 2u);
  // object 1 "Steel" #A0A0A0FF, object 2 "PLA red" #C00000FF.
  const std::uint32_t want[2] = {0xA0A0A0FFu, 0xC00000FFu};
  for (int k = 0; k < 2; ++k) {
    std::uint32_t group = 0, property = 0;
    ASSERT_TRUE(meshes[k]->GetObjectLevelProperty(group, property)) << k;
    ASSERT_EQ(model->GetPropertyTypeByID(group), ePropertyType::BaseMaterial);
    const sColor c = model->GetBaseMaterialGroupByID(group)->GetDisplayColor(property);
    const std::uint32_t packed = (std::uint32_t{c.m_Red} << 24) | (std::uint32_t{c.m_Green} << 16) |
                                 (std::uint32_t{c.m_Blue} << 8) | c.m_Alpha;
    EXPECT_EQ(packed, want[k]) << k;
  }
  EXPECT_EQ(meshes[0]->GetName(), "steel cube");
  const RGBA_COLOR steel = Lib3mfAdapter::from_3mf_color(sColor{0xA0, 0xA0, 0xA0, 0xFF});
  EXPECT_EQ(static_cast<std::uint32_t>(static_cast<int>(steel)), 0xFFA0A0A0u);
}

TEST_F(Lib3mfCorpus, ObjectColourFromAColourGroup) {
  PModel model = load("colors_colorgroup.3mf");
  EXPECT_NE(facts("colors_colorgroup.3mf").find("#1E90FF"), std::string::npos);
  const std::vector<PMeshObject> meshes = meshes_of(model);
  ASSERT_EQ(meshes.size(), 1u);
  std::uint32_t group = 0, property = 0;
  ASSERT_TRUE(meshes[0]->GetObjectLevelProperty(group, property));
  ASSERT_EQ(model->GetPropertyTypeByID(group), ePropertyType::Colors);
  const sColor c = model->GetColorGroupByID(group)->GetColor(property);
  EXPECT_EQ(c.m_Red, 0x1E);
  EXPECT_EQ(c.m_Green, 0x90);
  EXPECT_EQ(c.m_Blue, 0xFF);
  EXPECT_EQ(c.m_Alpha, 0xFF);
  EXPECT_EQ(static_cast<std::uint32_t>(static_cast<int>(Lib3mfAdapter::from_3mf_color(c))),
            0xFF1E90FFu);
}

TEST_F(Lib3mfCorpus, UnitInch) {
  PModel model = load("unit_inch_cube.3mf");
  EXPECT_EQ(model->GetUnit(), eModelUnit::Inch);
  EXPECT_EQ(static_cast<int>(model->GetUnit()), 3);
  const std::vector<PMeshObject> meshes = meshes_of(model);
  ASSERT_EQ(meshes.size(), 1u);
  float top = 0.0f;
  for (std::uint32_t i = 0; i < meshes[0]->GetVertexCount(); ++i)
    top = std::fmax(top, meshes[0]->GetVertex(i).m_Coordinates[2]);
  EXPECT_EQ(top, 1.0f);
  EXPECT_DOUBLE_EQ(Lib3mfAdapter::from_3mf_length(top, model->GetUnit()), 25.4);
}

TEST_F(Lib3mfCorpus, Metadata) {
  PModel model = load("metadata.3mf");
  PMetaDataGroup metadata = model->GetMetaDataGroup();
  // The ten model-level entries; the object-level group is not read by
  // lib3mf 1.8.
  ASSERT_EQ(metadata->GetMetaDataCount(), 10u);
  std::map<std::string, std::string> entries;
  for (std::uint32_t i = 0; i < metadata->GetMetaDataCount(); ++i) {
    PMetaData m = metadata->GetMetaData(i);
    entries[m->GetName()] = m->GetValue();
    if (m->GetName() == "PartNumber") {
      EXPECT_EQ(m->GetNameSpace(), "http://example.com/corpus/2024");
      EXPECT_EQ(m->GetKey(), "http://example.com/corpus/2024:PartNumber");
    }
  }
  EXPECT_EQ(entries["Title"], "Corpus metadata test");
  EXPECT_EQ(entries["Designer"], "Corpus Generator");
  EXPECT_EQ(entries["Description"],
            "Cube with core metadata, a custom namespaced entry & special chars <&>\"'");
  EXPECT_EQ(entries["Copyright"], "(c) 2024 nobody, CC0");
  EXPECT_EQ(entries["LicenseTerms"], "CC0-1.0");
  EXPECT_EQ(entries["Rating"], "5");
  EXPECT_EQ(entries["CreationDate"], "2024-01-01");
  EXPECT_EQ(entries["ModificationDate"], "2024-01-02");
  EXPECT_EQ(entries["Application"], "corpus gen_3mf.py");
  EXPECT_EQ(entries["PartNumber"], "CG-0001");
  EXPECT_EQ(meshes_of(model).at(0)->GetName(), "meta cube");
}

TEST_F(Lib3mfCorpus, NoMeshObjects) {
  PModel model = load("no_mesh_objects.3mf");
  EXPECT_EQ(model->GetMeshObjects()->Count(), 0u);
  EXPECT_EQ(model->GetComponentsObjects()->Count(), 0u);
  EXPECT_EQ(model->GetBuildItems()->Count(), 0u);
  EXPECT_FALSE(model->GetMeshObjects()->MoveNext());
}

TEST_F(Lib3mfCorpus, ObjectNotInBuild) {
  PModel model = load("object_not_in_build.3mf");
  const std::vector<PMeshObject> meshes = meshes_of(model);
  ASSERT_EQ(meshes.size(), 1u);
  EXPECT_EQ(meshes[0]->GetTriangleCount(), 12u);
  EXPECT_TRUE(items_of(model).empty());
}

TEST_F(Lib3mfCorpus, ModelPartAtANonstandardPath) {
  PModel model = load("model_path_nonstandard.3mf");
  ASSERT_EQ(meshes_of(model).size(), 1u);
  EXPECT_EQ(items_of(model).size(), 1u);
}

TEST_F(Lib3mfCorpus, EveryCorruptFileThrows) {
  int seen = 0;
  for (const fs::directory_entry& entry : fs::directory_iterator(dir_)) {
    const std::string name = entry.path().filename().string();
    if (name.rfind("corrupt_", 0) != 0 || entry.path().extension() != ".3mf") continue;
    ++seen;
    EXPECT_NE(facts(name).find("\"reader_error_expected\": true"), std::string::npos) << name;
    EXPECT_THROW(load(name), ELib3MFException) << name;
  }
  EXPECT_EQ(seen, 6);
}

}  // namespace
