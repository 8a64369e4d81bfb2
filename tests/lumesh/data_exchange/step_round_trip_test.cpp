// Imported meshes leave as STEP: each generated part, imported with planes
// and cylinders, is written with the host's STEP writer and read back by
// OpenCASCADE's own reader and shape checker, which say whether the solid
// is valid and closed, what its faces are and what volume it holds.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "examples/flanged_plate.h"
#include "host/exchange/step_check.h"
#include "host/exchange/step_export.h"
#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/plane.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "lumesh/data_exchange/manufacturing_import.h"
#include "support/lib3mf_test_files.h"
#include "support/face_kinds.h"
#include "support/stl_test_files.h"

namespace {

namespace fs = std::filesystem;

using face_kinds_test::face_kinds;

class StepRoundTrip : public ::testing::Test {
 protected:
  void SetUp() override { saved_ = get_k2_geores(); }
  void TearDown() override {
    get_k2_geores() = saved_;
    for (BODY* b : bodies_) b->lose();
  }

  // The one body of the STL file, imported with the given recognition.
  BODY* import(const fs::path& file, MESH::SURFACE_RECONSTRUCTION what) {
    MF_IMPORT_OPTIONS o;
    o.reconstruction = what;
    o.resolution = std::nan("");
    MF_MODEL_DESCRIPTION spec = read_stl_model(file.wstring(), o);
    EXPECT_EQ(spec.size(), 2u) << file;
    if (spec.size() < 2) return nullptr;
    bodies_.push_back(spec[1].body);
    return spec[1].body;
  }

  STEP_SHAPE_SUMMARY export_and_check(BODY* body, const std::string& name) {
    const fs::path out = dir_.path() / (name + ".step");
    STEP_EXPORT_ITEM item;
    item.body = body;
    item.name = name;
    write_step({item}, out.string());
    return check_step_file(out.string());
  }

  // Compares the recognised body's STEP with the mesh's own: valid, one
  // closed solid, the faces the import reported, and the mesh's volume
  // within `volume_tolerance` (relative).
  void check_part(const fs::path& file, double volume_tolerance) {
    const std::string name = file.stem().string();
    BODY* mesh_body = import(file, MESH::NONE);
    BODY* body = import(file, static_cast<MESH::SURFACE_RECONSTRUCTION>(MESH::PLANES | MESH::CYLINDERS));
    ASSERT_TRUE(mesh_body != nullptr && body != nullptr) << name;
    const STEP_SHAPE_SUMMARY mesh = export_and_check(mesh_body, name + "_mesh");
    const STEP_SHAPE_SUMMARY step = export_and_check(body, name);
    const auto k = face_kinds(body);
    EXPECT_TRUE(step.valid) << name;
    EXPECT_TRUE(step.closed) << name;
    EXPECT_EQ(step.solids, 1) << name;
    EXPECT_EQ(step.planar_faces, k.planes) << name;
    EXPECT_EQ(step.cylindrical_faces, k.cylinders) << name;
    EXPECT_EQ(step.faces, body->number_of_faces()) << name;
    ASSERT_GT(mesh.volume, 0.0) << name;
    EXPECT_NEAR(step.volume / mesh.volume, 1.0, volume_tolerance) << name;
  }

  stl_test::SCRATCH_DIR dir_{"step_rt_"};
  resolution saved_;
  std::vector<BODY*> bodies_;
};

// The 12 facets of the box between lo and hi as STL text, facing out (or
// in, for a void); the facet numbered `skip` is left out.
std::string box_facets(const double lo[3], const double hi[3], bool inwards, int skip = -1) {
  auto corner = [&](int i) {
    return std::to_string(i & 1 ? hi[0] : lo[0]) + " " + std::to_string(i & 2 ? hi[1] : lo[1]) +
           " " + std::to_string(i & 4 ? hi[2] : lo[2]);
  };
  const int quads[6][4] = {{0, 2, 3, 1}, {0, 1, 5, 4}, {2, 6, 7, 3},
                           {0, 4, 6, 2}, {1, 3, 7, 5}, {4, 5, 7, 6}};
  std::string out;
  int n = 0;
  for (const auto& q : quads) {
    for (const auto& t : {std::array<int, 3>{q[0], q[1], q[2]}, std::array<int, 3>{q[0], q[2], q[3]}}) {
      if (n++ == skip) continue;
      out += inwards ? stl_test::text_facet("0 0 0", corner(t[0]), corner(t[2]), corner(t[1]))
                     : stl_test::text_facet("0 0 0", corner(t[0]), corner(t[1]), corner(t[2]));
    }
  }
  return out;
}

TEST_F(StepRoundTrip, SeparatePiecesOfOneMeshAreSeparateSolids) {
  const double a0[3] = {0, 0, 0}, a1[3] = {10, 10, 10};
  const double b0[3] = {20, 0, 0}, b1[3] = {25, 5, 5};
  const fs::path file = dir_.write(
      "two.stl", "solid two\n" + box_facets(a0, a1, false) + box_facets(b0, b1, false) + "endsolid two\n");
  BODY* body = import(file, static_cast<MESH::SURFACE_RECONSTRUCTION>(MESH::PLANES | MESH::CYLINDERS));
  ASSERT_NE(body, nullptr);
  EXPECT_EQ(body->number_of_shells(), 2);
  const STEP_SHAPE_SUMMARY step = export_and_check(body, "two");
  EXPECT_TRUE(step.valid);
  EXPECT_TRUE(step.closed);
  EXPECT_EQ(step.solids, 2);
  EXPECT_EQ(step.free_shells, 0);
  EXPECT_EQ(step.faces, 12);
  EXPECT_NEAR(step.volume, 1000.0 + 125.0, 1e-6);
}

TEST_F(StepRoundTrip, AnInwardPieceInsideAnotherIsItsVoid) {
  const double a0[3] = {0, 0, 0}, a1[3] = {10, 10, 10};
  const double v0[3] = {2, 2, 2}, v1[3] = {8, 8, 8};
  const fs::path file = dir_.write(
      "void.stl", "solid v\n" + box_facets(a0, a1, false) + box_facets(v0, v1, true) + "endsolid v\n");
  BODY* body = import(file, MESH::PLANES);
  ASSERT_NE(body, nullptr);
  EXPECT_EQ(body->number_of_shells(), 2);
  const STEP_SHAPE_SUMMARY step = export_and_check(body, "void");
  EXPECT_TRUE(step.valid);
  EXPECT_EQ(step.solids, 1);
  EXPECT_EQ(step.shells, 2);
  EXPECT_NEAR(step.volume, 1000.0 - 216.0, 1e-6);
}

TEST_F(StepRoundTrip, APieceInsideAnotherIsItsVoidWhicheverWayItFaces) {
  // Meshes bring voids facing out as often as in: nesting decides. A piece
  // inside the void is a solid of its own again.
  const double a0[3] = {0, 0, 0}, a1[3] = {10, 10, 10};
  const double v0[3] = {2, 2, 2}, v1[3] = {8, 8, 8};
  const double i0[3] = {4, 4, 4}, i1[3] = {6, 6, 6};
  const fs::path file = dir_.write("nested.stl", "solid n\n" + box_facets(a0, a1, false) +
                                                     box_facets(v0, v1, false) +
                                                     box_facets(i0, i1, false) + "endsolid n\n");
  BODY* body = import(file, MESH::PLANES);
  ASSERT_NE(body, nullptr);
  EXPECT_EQ(body->number_of_shells(), 3);
  const STEP_SHAPE_SUMMARY step = export_and_check(body, "nested");
  EXPECT_TRUE(step.valid);
  EXPECT_EQ(step.solids, 2);
  EXPECT_EQ(step.shells, 3);
  EXPECT_NEAR(step.volume, 1000.0 - 216.0 + 8.0, 1e-6);
}

TEST_F(StepRoundTrip, AClosedPieceBesideAnOpenOneStaysASolid) {
  const double a0[3] = {0, 0, 0}, a1[3] = {10, 10, 10};
  const double b0[3] = {20, 0, 0}, b1[3] = {25, 5, 5};
  const fs::path file = dir_.write("open.stl", "solid o\n" + box_facets(a0, a1, false) +
                                                   box_facets(b0, b1, false, 11) + "endsolid o\n");
  BODY* body = import(file, MESH::NONE);
  ASSERT_NE(body, nullptr);
  const STEP_SHAPE_SUMMARY step = export_and_check(body, "open");
  EXPECT_TRUE(step.valid);
  EXPECT_EQ(step.solids, 1);
  EXPECT_EQ(step.free_shells, 1);
  EXPECT_NEAR(step.volume, 1000.0, 1e-6);
}

TEST_F(StepRoundTrip, TheSamplePartIsAValidSolidOfSevenPlanesAndSixCylinders) {
  const fs::path file = dir_.write("plate.stl", flanged_plate::binary_stl(flanged_plate::triangles()));
  check_part(file, 0.01);
  BODY* body = bodies_.back();
  const STEP_SHAPE_SUMMARY step = export_and_check(body, "again");
  EXPECT_EQ(step.planar_faces, 7);
  EXPECT_EQ(step.cylindrical_faces, 6);
  // Holes and flange come out with exact circular rims.
  EXPECT_GE(step.circular_edges, 12);
}

TEST_F(StepRoundTrip, GeneratedPartsOfTheCorpus) {
  const fs::path parts = lib3mf_test::generated_3mf_dir().parent_path() / "stl" / "parts";
  if (!fs::is_directory(parts)) GTEST_SKIP() << "the shared corpus is absent: " << parts;
  int checked = 0;
  for (const char* name : {"plate4_fn32", "plate4_fn64", "plate4_fn128", "lbracket", "flange",
                           "stepped_shaft", "half_cylinder", "hex_prism", "oct_prism",
                           "thin_box_closed", "thin_slab"}) {
    const fs::path file = parts / (std::string(name) + ".stl");
    if (!fs::exists(file)) continue;
    check_part(file, 0.01);
    ++checked;
  }
  EXPECT_GE(checked, 8);
}

TEST_F(StepRoundTrip, AnOpenMeshLeavesAsAShell) {
  // The sample part with one side facet taken out.
  std::vector<flanged_plate::TRIANGLE> tris = flanged_plate::triangles();
  tris.pop_back();
  const fs::path file = dir_.write("open.stl", flanged_plate::binary_stl(tris));
  BODY* body = import(file, static_cast<MESH::SURFACE_RECONSTRUCTION>(MESH::PLANES | MESH::CYLINDERS));
  ASSERT_NE(body, nullptr);
  EXPECT_TRUE(is_face_part(body));
  const STEP_SHAPE_SUMMARY step = export_and_check(body, "open");
  EXPECT_TRUE(step.valid);
  EXPECT_EQ(step.solids, 0);
  EXPECT_EQ(step.free_shells, 1);
  EXPECT_FALSE(step.closed);
  EXPECT_EQ(step.faces, body->number_of_faces());
}

}  // namespace
