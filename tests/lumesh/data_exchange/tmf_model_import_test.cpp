// The 3MF branch of the import: build items, components and mesh objects to
// the nodes of a model description; names, ids, targets, transforms,
// units, colours and counts, on packages the tests write and on the corpus,
// packages that repeat a production UUID included.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "host/base/mod_info.h"
#include "host/kernel/topology/body.h"
#include "lumesh/core/load_module.h"
#include "lumesh/data_exchange/lib3mf_adapter.h"
#include "lumesh/data_exchange/manufacturing_import.h"
#include "support/lib3mf_test_files.h"
#include "support/module_error.h"
#include "support/stl_test_files.h"
#include "support/threemf_package.h"

namespace {

namespace fs = std::filesystem;
using threemf_test::cube_object;
using threemf_test::model;

class TmfModelImport : public ::testing::Test {
 protected:
  void SetUp() override { saved_ = get_k2_geores(); }
  void TearDown() override {
    get_k2_geores() = saved_;
    for (BODY* b : bodies_) b->lose();
  }

  // Reads the package with the given model XML.
  MF_MODEL_DESCRIPTION read_xml(const std::string& xml, MF_IMPORT_OPTIONS options = plain()) {
    const fs::path file = dir_.path() / ("m" + std::to_string(count_++) + ".3mf");
    EXPECT_TRUE(threemf_test::write_package(file, xml));
    return read(file, options);
  }
  MF_MODEL_DESCRIPTION read(const fs::path& file, MF_IMPORT_OPTIONS options = plain()) {
    MF_MODEL_DESCRIPTION spec = read_3mf_model(file.wstring(), options);
    for (const MF_MODEL_NODE& n : spec) {
      if (n.body != nullptr) bodies_.push_back(n.body);
    }
    return spec;
  }
  static MF_IMPORT_OPTIONS plain() {
    MF_IMPORT_OPTIONS o;
    o.resolution = std::nan("");
    return o;
  }
  // The node of that kind and id.
  static const MF_MODEL_NODE* find(const MF_MODEL_DESCRIPTION& spec, MF_MODEL_NODE::KIND kind, std::int64_t id) {
    for (const MF_MODEL_NODE& n : spec) {
      if (n.kind == kind && n.id == id) return &n;
    }
    return nullptr;
  }

  stl_test::SCRATCH_DIR dir_{"tmf_"};
  int count_ = 0;
  resolution saved_;
  std::vector<BODY*> bodies_;
};

TEST_F(TmfModelImport, RootFirstThenMeshesThenComponentsEachInReverseFileOrder) {
  const MF_MODEL_DESCRIPTION spec = read_xml(model(
      cube_object(1, "name=\"first\"") + cube_object(2, "name=\"second\"") +
          "<object id=\"3\" type=\"model\" name=\"pair\"><components>"
          "<component objectid=\"1\"/><component objectid=\"2\" transform=\"1 0 0 0 1 0 0 0 1 20 0 0\"/>"
          "</components></object>"
          "<object id=\"4\" type=\"model\"><components><component objectid=\"3\"/></components></object>",
      "<item objectid=\"3\"/><item objectid=\"4\" transform=\"1 0 0 0 1 0 0 0 1 0 0 50\"/>"));
  ASSERT_EQ(spec.size(), 5u);
  EXPECT_EQ(spec[0].kind, MF_MODEL_NODE::ROOT);
  EXPECT_EQ(spec[0].id, -1);
  EXPECT_TRUE(spec[0].has_meta_data);
  EXPECT_TRUE(spec[0].meta_data.empty());
  // Build items in reverse file order.
  ASSERT_EQ(spec[0].components.size(), 2u);
  EXPECT_EQ(spec[0].components[0].target, spec[3].id);
  EXPECT_TRUE(spec[0].components[0].has_transform);
  EXPECT_FALSE(spec[0].components[1].has_transform);
  // Mesh nodes, last of the file first; then the components nodes likewise.
  EXPECT_EQ(spec[1].kind, MF_MODEL_NODE::MESH_BODY);
  EXPECT_EQ(spec[1].name, L"second");
  EXPECT_EQ(spec[2].name, L"first");
  EXPECT_EQ(spec[3].kind, MF_MODEL_NODE::COMPONENTS);
  EXPECT_EQ(spec[3].name, L"Components");  // object 4 has no name
  EXPECT_EQ(spec[4].name, L"pair");
  // The component list, in reverse order: the moved second cube first.
  ASSERT_EQ(spec[4].components.size(), 2u);
  EXPECT_EQ(spec[4].components[0].target, spec[1].id);
  ASSERT_TRUE(spec[4].components[0].has_transform);
  VECTOR3 t, rows[3];
  double scale = 0;
  spec[4].components[0].transform.enquire(t, rows, scale);
  EXPECT_DOUBLE_EQ(t.x(), 20.0);
  EXPECT_EQ(spec[4].components[1].target, spec[2].id);
  EXPECT_FALSE(spec[4].components[1].has_transform);
  // Targets name nodes that exist: ids are consistent within the model.
  EXPECT_EQ(spec[0].components[1].target, spec[4].id);
  EXPECT_EQ(spec[3].components[0].target, spec[4].id);
  EXPECT_EQ(spec[0].components[0].target, spec[3].id);
}

TEST_F(TmfModelImport, MeshNodesCarryTheirBodyAndCounts) {
  const MF_MODEL_DESCRIPTION spec = read_xml(model(cube_object(1, ""), "<item objectid=\"1\"/>"));
  ASSERT_EQ(spec.size(), 2u);
  const MF_MODEL_NODE& mesh = spec[1];
  EXPECT_EQ(mesh.name, L"Mesh");  // no name in the file
  EXPECT_EQ(mesh.facet_count, 12u);
  EXPECT_EQ(mesh.face_count, 12u);
  EXPECT_EQ(mesh.repaired_facet_count, 0u);
  EXPECT_EQ(mesh.degenerate_facet_count, 0u);
  ASSERT_NE(mesh.body, nullptr);
  EXPECT_FALSE(is_face_part(mesh.body));
  EXPECT_FALSE(mesh.has_color);
  EXPECT_DOUBLE_EQ(mesh.resolution, mesh.body->resabs());
}

TEST_F(TmfModelImport, AClosedCubeWithPlanesIsSixFaces) {
  MF_IMPORT_OPTIONS o = plain();
  o.reconstruction = MESH::PLANES;
  const MF_MODEL_DESCRIPTION spec = read_xml(model(cube_object(1, ""), "<item objectid=\"1\"/>"), o);
  EXPECT_EQ(spec[1].face_count, 6u);
  EXPECT_EQ(spec[1].reconstruction, MESH::PLANES);
  EXPECT_FALSE(is_face_part(spec[1].body));
}

TEST_F(TmfModelImport, AFileWithoutBuildItemsHasAnEmptyRoot) {
  const MF_MODEL_DESCRIPTION spec = read_xml(model(cube_object(1, ""), ""));
  ASSERT_EQ(spec.size(), 2u);
  EXPECT_TRUE(spec[0].components.empty());
  EXPECT_EQ(spec[1].kind, MF_MODEL_NODE::MESH_BODY);
}

TEST_F(TmfModelImport, IdentityAndNoTransformAreBothTheIdentity) {
  const MF_MODEL_DESCRIPTION spec = read_xml(
      model(cube_object(1, ""),
            "<item objectid=\"1\" transform=\"1 0 0 0 1 0 0 0 1 0 0 0\"/><item objectid=\"1\"/>"));
  ASSERT_EQ(spec[0].components.size(), 2u);
  for (const MF_INSTANCE_REF& r : spec[0].components) {
    EXPECT_TRUE(!r.has_transform || r.transform.is_identity());
  }
}

TEST_F(TmfModelImport, AFileWithoutMeshObjectsSaysSo) {
  const fs::path file = dir_.path() / "nomesh.3mf";
  ASSERT_TRUE(threemf_test::write_package(file, model("", "")));
  MF_IMPORT_OPTIONS o = plain();
  EXPECT_EQ(module_error([&] { read_3mf_model(file.wstring(), o); }), MSG_NO_MESH_DATA);
}

TEST_F(TmfModelImport, OpaqueBlackKeepsItsColourAndTransparentBlackIsNone) {
  const MF_MODEL_DESCRIPTION spec = read_xml(model(
      "<basematerials id=\"9\"><base name=\"black\" displaycolor=\"#000000FF\"/>"
      "<base name=\"nothing\" displaycolor=\"#00000000\"/>"
      "<base name=\"glass\" displaycolor=\"#3366CC80\"/></basematerials>" +
          cube_object(1, "name=\"black\" pid=\"9\" pindex=\"0\"") +
          cube_object(2, "name=\"nothing\" pid=\"9\" pindex=\"1\"") +
          cube_object(3, "name=\"glass\" pid=\"9\" pindex=\"2\"") + cube_object(4, "name=\"plain\""),
      "<item objectid=\"1\"/><item objectid=\"2\"/><item objectid=\"3\"/><item objectid=\"4\"/>"));
  ASSERT_EQ(spec.size(), 5u);
  auto by_name = [&](const wchar_t* name) -> const MF_MODEL_NODE& {
    for (const MF_MODEL_NODE& n : spec) {
      if (n.name == name) return n;
    }
    ADD_FAILURE() << "no node";
    return spec[0];
  };
  const MF_MODEL_NODE& black = by_name(L"black");
  EXPECT_TRUE(black.has_color);
  EXPECT_EQ(static_cast<std::uint32_t>(black.packed_color), 0xFF000000u);
  EXPECT_EQ(black.transparency, 0.0);  // present, and 0 for an opaque colour
  EXPECT_FALSE(by_name(L"nothing").has_color);
  EXPECT_FALSE(by_name(L"plain").has_color);
  const MF_MODEL_NODE& glass = by_name(L"glass");
  EXPECT_TRUE(glass.has_color);
  EXPECT_EQ(static_cast<std::uint32_t>(glass.packed_color), 0x803366CCu);
  EXPECT_NEAR(glass.transparency, 1.0 - 128.0 / 255.0, 1e-7);
}

TEST_F(TmfModelImport, InchesScaleCoordinatesAndTranslationsButNotTheMatrix) {
  const MF_MODEL_DESCRIPTION spec = read_xml(
      model(cube_object(1, "", 1.0),
            "<item objectid=\"1\" transform=\"2 0 0 0 1 0 0 0 1 1 0 0\"/>", "inch"));
  ASSERT_EQ(spec.size(), 2u);
  const BOX3 box = spec[1].body->bound();
  EXPECT_NEAR(box.upper().x(), 25.4, 1e-5);
  EXPECT_NEAR(box.upper().z(), 25.4, 1e-5);
  ASSERT_TRUE(spec[0].components[0].has_transform);
  VECTOR3 t, rows[3];
  double scale = 0;
  spec[0].components[0].transform.enquire(t, rows, scale);
  EXPECT_NEAR(t.x(), 25.4, 1e-5);
  const POSITION3 p = POSITION3(1, 1, 1) * spec[0].components[0].transform;
  EXPECT_NEAR(p.x(), 2.0 + 25.4, 1e-5);  // the matrix's 2 stays a 2
  EXPECT_NEAR(p.y(), 1.0, 1e-6);
}

TEST_F(TmfModelImport, MetadataNeverReachesTheResult) {
  const MF_MODEL_DESCRIPTION spec = read_xml(
      model(cube_object(1, ""), "<item objectid=\"1\"/>", "millimeter",
            "<metadata name=\"Title\">A title</metadata><metadata name=\"Designer\">Someone</metadata>"));
  EXPECT_TRUE(spec[0].has_meta_data);
  EXPECT_TRUE(spec[0].meta_data.empty());
}

TEST_F(TmfModelImport, TheLimitAndTheOptionsCarryOverToLaterMeshes) {
  MF_IMPORT_OPTIONS o = plain();
  o.face_count_limit = 12;
  const MF_MODEL_DESCRIPTION spec = read_xml(
      model(cube_object(1, "name=\"a\"") + cube_object(2, "name=\"b\""),
            "<item objectid=\"1\"/><item objectid=\"2\"/>"),
      o);
  ASSERT_EQ(spec.size(), 3u);
  for (int i = 1; i <= 2; ++i) {
    EXPECT_EQ(spec[i].reconstruction, MESH::PLANES);
    EXPECT_EQ(spec[i].face_count, 6u);
    EXPECT_DOUBLE_EQ(spec[i].resolution, 0.001);
  }
}

TEST_F(TmfModelImport, BrokenPackagesAreErrorsAndKeepNothingHalfMade) {
  const fs::path not_zip = dir_.write("text.3mf", "this is not a zip file");
  MF_IMPORT_OPTIONS o = plain();
  EXPECT_THROW(read_3mf_model(not_zip.wstring(), o), Lib3MF::ELib3MFException);
  // Nothing to read at all: the module's own message.
  EXPECT_EQ(module_error([&] { read_3mf_model((dir_.path() / "missing.3mf").wstring(), o); }),
            MSG_CANNOT_OPEN_FILE);
  EXPECT_EQ(module_error([&] { read_3mf_model(dir_.path().wstring(), o); }), MSG_CANNOT_OPEN_FILE);
  const fs::path bad_xml = dir_.path() / "badxml.3mf";
  ASSERT_TRUE(threemf_test::write_package(bad_xml, "<model unit=\"millimeter\"><resources>"));
  EXPECT_THROW(read_3mf_model(bad_xml.wstring(), o), Lib3MF::ELib3MFException);
  // A triangle naming a vertex that doesn't exist.
  const fs::path bad_index = dir_.path() / "badindex.3mf";
  std::string xml = model(cube_object(1, ""), "<item objectid=\"1\"/>");
  xml.replace(xml.find("v3=\"1\""), 6, "v3=\"99\"");
  ASSERT_TRUE(threemf_test::write_package(bad_index, xml));
  EXPECT_ANY_THROW(read_3mf_model(bad_index.wstring(), o));
  // A build item or component naming an object that isn't there.
  const fs::path missing_object = dir_.path() / "missingobject.3mf";
  ASSERT_TRUE(threemf_test::write_package(missing_object,
                                          model(cube_object(1, ""), "<item objectid=\"42\"/>")));
  EXPECT_ANY_THROW(read_3mf_model(missing_object.wstring(), o));
  const fs::path missing_component = dir_.path() / "missingcomponent.3mf";
  ASSERT_TRUE(threemf_test::write_package(
      missing_component,
      model(cube_object(1, "") +
                "<object id=\"2\" type=\"model\"><components><component objectid=\"42\"/></components></object>",
            "<item objectid=\"2\"/>")));
  EXPECT_ANY_THROW(read_3mf_model(missing_component.wstring(), o));
  // A singular transform.
  const fs::path singular = dir_.path() / "singular.3mf";
  ASSERT_TRUE(threemf_test::write_package(
      singular, model(cube_object(1, ""), "<item objectid=\"1\" transform=\"0 0 0 0 0 0 0 0 0 1 2 3\"/>")));
  EXPECT_ANY_THROW(read_3mf_model(singular.wstring(), o));
}

// An assembly of an assembly of a coloured cube, each level placed by a
// transform, where a component repeats the production UUID of the assembly
// it names: lib3mf refuses the file as it stands.
TEST_F(TmfModelImport, AComponentRepeatingAUuidStillImportsEveryLevel) {
  const std::string a = "1e7d5b51-c1d5-489f-bd1d-72ff9833cf1a";
  const std::string b = "2d42b7c6-02ba-4615-be0a-dd39c7c31d09";
  const std::string c = "6b7e4b0e-1e3d-43ad-833b-f54d99f05616";
  const std::string d = "51ac1c96-3bf7-4358-b4d6-519626a8d3d7";
  const MF_MODEL_DESCRIPTION nodes = read_xml(threemf_test::production_model(
      "<m:colorgroup id=\"6\"><m:color color=\"#9E9E9E\"/></m:colorgroup>" +
          cube_object(1, "name=\"cube\" pid=\"6\" pindex=\"0\" p:UUID=\"" + c + "\"") +
          "<object id=\"4\" name=\"Father\" type=\"model\" p:UUID=\"" + a + "\"><components>"
          "<component objectid=\"1\" p:UUID=\"" + d + "\" transform=\"1 0 0 0 1 0 0 0 1 0 0 5\"/>"
          "</components></object>"
          "<object id=\"5\" name=\"Grandfather\" type=\"model\" p:UUID=\"" + b + "\"><components>"
          "<component p:UUID=\"" + a + "\" objectid=\"4\" transform=\"0 1 0 -1 0 0 0 0 1 30 0 0\"/>"
          "</components></object>",
      "<item objectid=\"5\" transform=\"1 0 0 0 1 0 0 0 1 0 100 0\"/>"));
  ASSERT_EQ(nodes.size(), 4u);
  const MF_MODEL_NODE& cube = nodes[1];
  const MF_MODEL_NODE& grandfather = nodes[2];
  const MF_MODEL_NODE& father = nodes[3];
  EXPECT_EQ(cube.kind, MF_MODEL_NODE::MESH_BODY);
  EXPECT_EQ(cube.name, L"cube");
  EXPECT_EQ(cube.facet_count, 12u);
  ASSERT_NE(cube.body, nullptr);
  ASSERT_TRUE(cube.has_color);
  EXPECT_EQ(static_cast<std::uint32_t>(cube.packed_color), 0xFF9E9E9Eu);
  EXPECT_EQ(grandfather.name, L"Grandfather");
  EXPECT_EQ(father.name, L"Father");
  ASSERT_EQ(nodes[0].components.size(), 1u);
  EXPECT_EQ(nodes[0].components[0].target, grandfather.id);
  ASSERT_EQ(grandfather.components.size(), 1u);
  EXPECT_EQ(grandfather.components[0].target, father.id);
  ASSERT_EQ(father.components.size(), 1u);
  EXPECT_EQ(father.components[0].target, cube.id);
  // The cube's corner (10, 0, 0) through all three placements: up 5, a
  // quarter turn about z and 30 along x, 100 along y.
  ASSERT_TRUE(nodes[0].components[0].has_transform);
  ASSERT_TRUE(grandfather.components[0].has_transform);
  ASSERT_TRUE(father.components[0].has_transform);
  const POSITION3 p = POSITION3(10, 0, 0) * father.components[0].transform *
                      grandfather.components[0].transform * nodes[0].components[0].transform;
  EXPECT_NEAR(p.x(), 30.0, 1e-5);
  EXPECT_NEAR(p.y(), 110.0, 1e-5);
  EXPECT_NEAR(p.z(), 5.0, 1e-5);
}

// ---- the corpus ------------------------------------------------------------

class TmfCorpusImport : public TmfModelImport {
 protected:
  void SetUp() override {
    TmfModelImport::SetUp();
    dir3mf_ = lib3mf_test::generated_3mf_dir();
    if (!fs::exists(dir3mf_)) GTEST_SKIP() << "the shared corpus is absent: " << dir3mf_;
  }
  fs::path dir3mf_;
};

TEST_F(TmfCorpusImport, ComponentsUseOneMeshTwice) {
  const MF_MODEL_DESCRIPTION spec = read(dir3mf_ / "assembly_components.3mf");
  ASSERT_EQ(spec.size(), 3u);
  EXPECT_EQ(spec[0].name, L"assembly_components.3mf");
  ASSERT_EQ(spec[0].components.size(), 1u);
  const MF_MODEL_NODE& mesh = spec[1];
  const MF_MODEL_NODE& pair = spec[2];
  EXPECT_EQ(mesh.kind, MF_MODEL_NODE::MESH_BODY);
  EXPECT_EQ(mesh.facet_count, 676u);
  EXPECT_EQ(pair.kind, MF_MODEL_NODE::COMPONENTS);
  EXPECT_EQ(spec[0].components[0].target, pair.id);
  EXPECT_FALSE(spec[0].components[0].has_transform && !spec[0].components[0].transform.is_identity());
  ASSERT_EQ(pair.components.size(), 2u);
  // Reverse file order: the rotated and moved instance first.
  EXPECT_EQ(pair.components[0].target, mesh.id);
  EXPECT_EQ(pair.components[1].target, mesh.id);
  ASSERT_TRUE(pair.components[0].has_transform);
  const POSITION3 p = POSITION3(10, 0, 0) * pair.components[0].transform;
  EXPECT_NEAR(p.x(), 120.0, 1e-5);
  EXPECT_NEAR(p.y(), 40.0, 1e-5);
  EXPECT_TRUE(!pair.components[1].has_transform || pair.components[1].transform.is_identity());
}

TEST_F(TmfCorpusImport, BuildItemsCarryTheirTransforms) {
  MF_IMPORT_OPTIONS o = plain();
  o.reconstruction = MESH::CYLINDERS;
  const MF_MODEL_DESCRIPTION spec = read(dir3mf_ / "build_items_transforms.3mf", o);
  ASSERT_EQ(spec.size(), 2u);
  ASSERT_EQ(spec[0].components.size(), 3u);
  for (const MF_INSTANCE_REF& r : spec[0].components) EXPECT_EQ(r.target, spec[1].id);
  // The last item of the file comes first: rotated +90 about x, then moved.
  ASSERT_TRUE(spec[0].components[0].has_transform);
  const POSITION3 axis_point = POSITION3(0, 0, 90) * spec[0].components[0].transform;
  EXPECT_NEAR(axis_point.x(), 0.0, 1e-5);
  EXPECT_NEAR(axis_point.y(), 10.0, 1e-4);
  EXPECT_NEAR(axis_point.z(), 10.0, 1e-4);
  ASSERT_TRUE(spec[0].components[1].has_transform);
  const POSITION3 moved = POSITION3(0, 0, 0) * spec[0].components[1].transform;
  EXPECT_NEAR(moved.x(), 50.0, 1e-6);
  EXPECT_FALSE(spec[0].components[2].has_transform && !spec[0].components[2].transform.is_identity());
  EXPECT_EQ(spec[1].facet_count, 764u);
  EXPECT_EQ(spec[1].reconstruction, MESH::PLANES | MESH::CYLINDERS);
}

TEST_F(TmfCorpusImport, NestedComponentsKeepBothLevels) {
  const MF_MODEL_DESCRIPTION spec = read(dir3mf_ / "assembly_nested.3mf");
  int meshes = 0, assemblies = 0;
  for (const MF_MODEL_NODE& n : spec) {
    meshes += n.kind == MF_MODEL_NODE::MESH_BODY;
    assemblies += n.kind == MF_MODEL_NODE::COMPONENTS;
  }
  EXPECT_EQ(meshes, 1);
  EXPECT_EQ(assemblies, 2);
  ASSERT_EQ(spec[0].components.size(), 1u);
  // Every target is a node of the list.
  for (const MF_MODEL_NODE& n : spec) {
    for (const MF_INSTANCE_REF& r : n.components) {
      EXPECT_TRUE(find(spec, MF_MODEL_NODE::MESH_BODY, r.target) != nullptr ||
                  find(spec, MF_MODEL_NODE::COMPONENTS, r.target) != nullptr)
          << r.target;
    }
  }
}

TEST_F(TmfCorpusImport, ColoursOfBaseMaterialsAndColourGroups) {
  const MF_MODEL_DESCRIPTION materials = read(dir3mf_ / "colors_basematerials.3mf");
  ASSERT_EQ(materials.size(), 3u);
  for (const MF_MODEL_NODE* n : {&materials[1], &materials[2]}) {
    ASSERT_TRUE(n->has_color) << n->id;
    EXPECT_EQ(n->transparency, 0.0);
    const std::uint32_t packed = static_cast<std::uint32_t>(n->packed_color);
    if (n->name == L"steel cube") {
      EXPECT_EQ(packed, 0xFFA0A0A0u);
    } else {
      EXPECT_EQ(n->name, L"red cube");
      EXPECT_EQ(packed, 0xFFC00000u);
    }
  }
  const MF_MODEL_DESCRIPTION group = read(dir3mf_ / "colors_colorgroup.3mf");
  ASSERT_EQ(group.size(), 2u);
  ASSERT_TRUE(group[1].has_color);
  // The object's colour; the red of two triangles is theirs alone.
  EXPECT_EQ(static_cast<std::uint32_t>(group[1].packed_color), 0xFF1E90FFu);
}

TEST_F(TmfCorpusImport, InchFilesComeInMillimetres) {
  const MF_MODEL_DESCRIPTION cube = read(dir3mf_ / "unit_inch_cube.3mf");
  ASSERT_EQ(cube.size(), 2u);
  EXPECT_NEAR(cube[1].body->bound().upper().x(), 25.4, 1e-5);
  const MF_MODEL_DESCRIPTION plate = read(dir3mf_ / "unit_inch_plate4.3mf");
  const BOX3 box = plate[1].body->bound();
  EXPECT_NEAR(box.upper().x() - box.lower().x(), 100.0, 1e-4);
  EXPECT_NEAR(box.upper().y() - box.lower().y(), 60.0, 1e-4);
  EXPECT_NEAR(box.upper().z() - box.lower().z(), 10.0, 1e-4);
}

TEST_F(TmfCorpusImport, MetadataFilesGiveAnEmptyList) {
  const MF_MODEL_DESCRIPTION spec = read(dir3mf_ / "metadata.3mf");
  EXPECT_TRUE(spec[0].has_meta_data);
  EXPECT_TRUE(spec[0].meta_data.empty());
}

TEST_F(TmfCorpusImport, PlainFilesReadAsOneBody) {
  for (const char* name : {"single_object.3mf", "openscad_plate4_fn32.3mf", "model_path_nonstandard.3mf"}) {
    const MF_MODEL_DESCRIPTION spec = read(dir3mf_ / name);
    ASSERT_GE(spec.size(), 2u) << name;
    EXPECT_EQ(spec[0].components.size(), 1u) << name;
    EXPECT_EQ(spec[1].kind, MF_MODEL_NODE::MESH_BODY) << name;
    EXPECT_GT(spec[1].facet_count, 0u) << name;
    EXPECT_FALSE(is_face_part(spec[1].body)) << name;
  }
  const MF_MODEL_DESCRIPTION single = read(dir3mf_ / "single_object.3mf");
  EXPECT_EQ(single[1].facet_count, 540u);
}

TEST_F(TmfCorpusImport, AnObjectOutsideTheBuildIsStillAMeshNode) {
  const MF_MODEL_DESCRIPTION spec = read(dir3mf_ / "object_not_in_build.3mf");
  ASSERT_EQ(spec.size(), 2u);
  EXPECT_TRUE(spec[0].components.empty());
  EXPECT_EQ(spec[1].facet_count, 12u);
}

TEST_F(TmfCorpusImport, NoMeshObjectsAndCorruptPackagesAreErrors) {
  MF_IMPORT_OPTIONS o = plain();
  EXPECT_EQ(module_error([&] { read_3mf_model((dir3mf_ / "no_mesh_objects.3mf").wstring(), o); }),
            MSG_NO_MESH_DATA);
  for (const char* name : {"corrupt_bad_deflate.3mf", "corrupt_bad_index.3mf", "corrupt_bad_xml.3mf",
                           "corrupt_missing_model.3mf", "corrupt_not_zip.3mf", "corrupt_truncated.3mf"}) {
    EXPECT_ANY_THROW(read_3mf_model((dir3mf_ / name).wstring(), o)) << name;
  }
}


// ---- files of real producers -------------------------------------------------

class TmfProducerImport : public TmfModelImport {
 protected:
  void SetUp() override {
    TmfModelImport::SetUp();
    dir_ = lib3mf_test::public_3mf_dir() / "producers";
    if (!fs::exists(dir_)) GTEST_SKIP() << "the shared corpus is absent: " << dir_;
  }
  fs::path dir_;
};

// Materialise Magics writes the UUID of an assembly again on the component
// that places it: three meshes, each in its own colour group, two
// assemblies, three build items, every one of them transformed.
TEST_F(TmfProducerImport, MagicsInstancesImportWithTheirPartsComponentsAndColours) {
  const fs::path file = dir_ / "mgx-transformed_instances.3mf";
  ASSERT_TRUE(fs::exists(file)) << file;
  std::size_t dropped = 0;
  Lib3mfAdapter::GetInstance()->LoadModel(file.wstring(), Lib3mfAdapter::LIB3MF_3MF, nullptr,
                                          &dropped);
  EXPECT_EQ(dropped, 1u);

  const MF_MODEL_DESCRIPTION nodes = read(file);
  ASSERT_FALSE(nodes.empty());
  EXPECT_EQ(nodes[0].kind, MF_MODEL_NODE::ROOT);
  std::vector<const MF_MODEL_NODE*> meshes, assemblies;
  std::size_t instances = 0;
  for (const MF_MODEL_NODE& n : nodes) {
    if (n.kind == MF_MODEL_NODE::MESH_BODY) meshes.push_back(&n);
    if (n.kind == MF_MODEL_NODE::COMPONENTS) {
      assemblies.push_back(&n);
      instances += n.components.size();
    }
    // Every target is a node of the list.
    for (const MF_INSTANCE_REF& r : n.components) {
      EXPECT_TRUE(find(nodes, MF_MODEL_NODE::MESH_BODY, r.target) != nullptr ||
                  find(nodes, MF_MODEL_NODE::COMPONENTS, r.target) != nullptr)
          << r.target;
    }
  }
  ASSERT_EQ(meshes.size(), 3u);
  ASSERT_EQ(assemblies.size(), 2u);
  EXPECT_EQ(instances, 3u);
  std::size_t facets = 0;
  for (const MF_MODEL_NODE* m : meshes) {
    ASSERT_NE(m->body, nullptr);
    facets += m->facet_count;
    // Each object's colour group starts with the same grey.
    EXPECT_TRUE(m->has_color) << m->id;
    EXPECT_EQ(static_cast<std::uint32_t>(m->packed_color), 0xFF9E9E9Eu) << m->id;
  }
  EXPECT_EQ(facets, 248u);
  ASSERT_EQ(nodes[0].components.size(), 3u);
  for (const MF_INSTANCE_REF& r : nodes[0].components) {
    EXPECT_TRUE(r.has_transform && !r.transform.is_identity());
  }
  // The grandfather holds the cylinder and the father, the father one slider.
  const MF_MODEL_NODE* grandfather =
      assemblies[0]->name == L"Grandfather" ? assemblies[0] : assemblies[1];
  const MF_MODEL_NODE* father = grandfather == assemblies[0] ? assemblies[1] : assemblies[0];
  EXPECT_EQ(grandfather->name, L"Grandfather");
  EXPECT_EQ(father->name, L"Father");
  ASSERT_EQ(grandfather->components.size(), 2u);
  ASSERT_EQ(father->components.size(), 1u);
  const MF_MODEL_NODE* slider = find(nodes, MF_MODEL_NODE::MESH_BODY, father->components[0].target);
  ASSERT_NE(slider, nullptr);
  EXPECT_EQ(slider->name, L"Slider_2");
  std::vector<std::wstring> held;
  for (const MF_INSTANCE_REF& r : grandfather->components) {
    const MF_MODEL_NODE* n = find(nodes, MF_MODEL_NODE::MESH_BODY, r.target);
    if (n == nullptr) n = find(nodes, MF_MODEL_NODE::COMPONENTS, r.target);
    ASSERT_NE(n, nullptr);
    held.push_back(n->name);
  }
  std::sort(held.begin(), held.end());
  EXPECT_EQ(held, (std::vector<std::wstring>{L"Cylinder", L"Father"}));
}

}  // namespace
