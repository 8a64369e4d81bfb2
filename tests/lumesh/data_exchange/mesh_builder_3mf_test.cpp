// The mesh builder on 3MF mesh objects: a cube, a unit other than the
// millimetre, degenerate triangles, and indices past the vertices.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "host/geometry/resolution.h"
#include "lumesh/core/load_module.h"
#include "lumesh/data_exchange/lib3mf_adapter.h"
#include "lumesh/data_exchange/lib3mf_binding.h"
#include "lumesh/mesh/mesh.h"
#include "lumesh/reverse_engineering/mesh_builder.h"
#include "support/lib3mf_test_files.h"
#include "support/mesh_expect.h"
#include "support/module_error.h"

namespace {

using namespace Lib3MF;
using lib3mf_test::cube_triangles;
using lib3mf_test::cube_vertices;

// A mesh object lib3mf would never hand out: its own vertices and triangles,
// indices unchecked.
class STAND_IN_MESH : public CMeshObject {
 public:
  STAND_IN_MESH(std::vector<sPosition> vertices, std::vector<sTriangle> triangles)
      : vertices_(std::move(vertices)), triangles_(std::move(triangles)) {}
  std::uint32_t GetVertexCount() override { return static_cast<std::uint32_t>(vertices_.size()); }
  std::uint32_t GetTriangleCount() override {
    return static_cast<std::uint32_t>(triangles_.size());
  }
  sPosition GetVertex(std::uint32_t i) override { return vertices_.at(i); }
  sTriangle GetTriangle(std::uint32_t i) override { return triangles_.at(i); }

 private:
  std::vector<sPosition> vertices_;
  std::vector<sTriangle> triangles_;
};

PMeshObject lib3mf_cube(const PModel& model, float size) {
  PMeshObject mesh = model->AddMeshObject();
  mesh->SetGeometry(cube_vertices(size), cube_triangles());
  return mesh;
}

// The extent of a mesh along each axis, from its vertices.
struct EXTENT {
  double lo[3] = {1e300, 1e300, 1e300};
  double hi[3] = {-1e300, -1e300, -1e300};
};

SCAN_CNTRL grow(STL_OCTREE_NODE* node, void* data) {
  auto* e = static_cast<EXTENT*>(data);
  const POSITION3& p = node->location();
  for (int k = 0; k < 3; ++k) {
    e->lo[k] = std::min(e->lo[k], p[k]);
    e->hi[k] = std::max(e->hi[k], p[k]);
  }
  return SCAN_CONTINUE;
}

class MeshBuilder3mf : public ::testing::Test {
 protected:
  MESH_BUILDER builder_{resolution::inq_min_resabs()};
  PModel model_ = Lib3mfAdapter::GetInstance()->CreateModel();
};

TEST_F(MeshBuilder3mf, CubeGivesTwelvePolygons) {
  PMeshObject cube = lib3mf_cube(model_, 10.0f);
  std::unique_ptr<MESH> mesh = builder_.make_mesh(cube, eModelUnit::MilliMeter);
  ASSERT_NE(mesh, nullptr);
  EXPECT_EQ(mesh->get_polygon_count(), 12u);
  EXPECT_EQ(mesh->get_vertex_count(), 8u);
  EXPECT_EQ(mesh->get_degenerate_polygon_count(), 0u);
  EXPECT_MESH_OK(*mesh);
  EXPECT_EQ(mesh->get_mesh_resolution().resabs(), builder_.get_mesh_import_resolution().resabs());
}

TEST_F(MeshBuilder3mf, InchCoordinatesBecomeMillimetres) {
  PMeshObject cube = lib3mf_cube(model_, 1.0f);
  std::unique_ptr<MESH> mesh = builder_.make_mesh(cube, eModelUnit::Inch);
  ASSERT_NE(mesh, nullptr);
  EXPECT_EQ(mesh->get_polygon_count(), 12u);
  EXTENT e;
  mesh->scan_vertices(grow, &e);
  for (int k = 0; k < 3; ++k) {
    EXPECT_DOUBLE_EQ(e.lo[k], 0.0);
    EXPECT_DOUBLE_EQ(e.hi[k], 25.4);
  }
}

TEST_F(MeshBuilder3mf, EmptyObjectGivesAnEmptyMesh) {
  PMeshObject empty = model_->AddMeshObject();
  std::unique_ptr<MESH> mesh = builder_.make_mesh(empty, eModelUnit::MilliMeter);
  ASSERT_NE(mesh, nullptr);
  EXPECT_EQ(mesh->get_polygon_count(), 0u);
}

// lib3mf itself refuses such a triangle; other sources may not.
TEST_F(MeshBuilder3mf, TriangleWithARepeatedIndexIsDroppedByTheRepair) {
  std::vector<sTriangle> triangles = cube_triangles();
  triangles.push_back(sTriangle{{0, 0, 5}});
  PMeshObject cube = std::make_shared<STAND_IN_MESH>(cube_vertices(10.0f), triangles);
  std::unique_ptr<MESH> mesh = builder_.make_mesh(cube, eModelUnit::MilliMeter);
  ASSERT_NE(mesh, nullptr);
  EXPECT_EQ(mesh->get_polygon_count(), 12u);
  EXPECT_EQ(mesh->get_degenerate_polygon_count(), 1u);
}

TEST_F(MeshBuilder3mf, IndexPastTheVerticesIsAClearError) {
  std::vector<sTriangle> triangles = cube_triangles();
  triangles[4].m_Indices[1] = 8;
  PMeshObject bad = std::make_shared<STAND_IN_MESH>(cube_vertices(10.0f), triangles);
  EXPECT_EQ(module_error([&] { builder_.make_mesh(bad, eModelUnit::MilliMeter); }),
            MSG_FILE_UNKNOWN_FORMAT);
  triangles[4].m_Indices[1] = 0xFFFFFFFFu;
  bad = std::make_shared<STAND_IN_MESH>(cube_vertices(10.0f), triangles);
  EXPECT_EQ(module_error([&] { builder_.make_mesh(bad, eModelUnit::MilliMeter); }),
            MSG_FILE_UNKNOWN_FORMAT);
}

TEST_F(MeshBuilder3mf, NoObjectIsAClearError) {
  PMeshObject none;
  EXPECT_EQ(module_error([&] { builder_.make_mesh(none, eModelUnit::MilliMeter); }),
            MSG_FILE_UNKNOWN_FORMAT);
}

TEST_F(MeshBuilder3mf, StandInWithoutHandleRefusesLib3mfCalls) {
  STAND_IN_MESH stand_in(cube_vertices(1.0f), cube_triangles());
  EXPECT_THROW(stand_in.GetName(), ELib3MFException);
  EXPECT_THROW(stand_in.GetResourceID(), ELib3MFException);
}

}  // namespace
