// The STL branch of the import, file to bodies, on the project's own sample
// part: what its recognised body is made of.

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <string>

#include "examples/flanged_plate.h"
#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/plane.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "lumesh/data_exchange/manufacturing_import.h"
#include "support/face_kinds.h"
#include "support/stl_test_files.h"

namespace {

using face_kinds_test::face_kinds;

class StlModelImport : public ::testing::Test {
 protected:
  void SetUp() override { saved_ = get_k2_geores(); }
  void TearDown() override { get_k2_geores() = saved_; }
  resolution saved_;
};

TEST_F(StlModelImport, TheSamplePartBecomesSevenPlanesAndSixCylinders) {
  stl_test::SCRATCH_DIR dir("smi_");
  const auto file =
      dir.write("plate.stl", flanged_plate::binary_stl(flanged_plate::triangles()));
  MF_IMPORT_OPTIONS options;
  options.reconstruction = MESH::CYLINDERS;
  options.resolution = std::nan("");
  MF_MODEL_DESCRIPTION spec = read_stl_model(file.wstring(), options);
  ASSERT_EQ(spec.size(), 2u);
  EXPECT_EQ(spec[0].kind, MF_MODEL_NODE::ROOT);
  EXPECT_EQ(spec[0].name, L"plate.stl");
  ASSERT_EQ(spec[0].components.size(), 1u);
  EXPECT_FALSE(spec[0].components[0].has_transform);
  EXPECT_EQ(spec[0].components[0].target, 0);
  const MF_MODEL_NODE& node = spec[1];
  EXPECT_EQ(node.kind, MF_MODEL_NODE::MESH_BODY);
  EXPECT_EQ(node.facet_count, 3072u);
  EXPECT_EQ(node.face_count, 13u);
  EXPECT_EQ(node.reconstruction, MESH::PLANES | MESH::CYLINDERS);
  EXPECT_EQ(options.reconstruction, MESH::PLANES | MESH::CYLINDERS);
  ASSERT_NE(node.body, nullptr);
  const auto k = face_kinds(node.body);
  EXPECT_EQ(k.planes, 7);
  EXPECT_EQ(k.cylinders, 6);
  EXPECT_FALSE(is_face_part(node.body));
  EXPECT_DOUBLE_EQ(node.resolution, node.body->resabs());
  const BOX3 box = node.body->bound();
  EXPECT_NEAR(box.upper().x(), 90.0, 1e-4);
  EXPECT_NEAR(box.upper().z(), 18.0, 1e-4);
  node.body->lose();
}

TEST_F(StlModelImport, WithoutRecognitionEveryFacetIsAFace) {
  stl_test::SCRATCH_DIR dir("smi_");
  const auto file =
      dir.write("plate.stl", flanged_plate::binary_stl(flanged_plate::triangles()));
  MF_IMPORT_OPTIONS options;
  options.resolution = std::nan("");
  MF_MODEL_DESCRIPTION spec = read_stl_model(file.wstring(), options);
  ASSERT_EQ(spec.size(), 2u);
  EXPECT_EQ(spec[1].face_count, 3072u);
  EXPECT_EQ(spec[1].reconstruction, MESH::NONE);
  EXPECT_FALSE(is_face_part(spec[1].body));
  spec[1].body->lose();
}

}  // namespace
