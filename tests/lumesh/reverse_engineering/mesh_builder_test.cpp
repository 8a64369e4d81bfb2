// The mesh builder: STL files to welded, repaired meshes (one per solid), and
// the stitch of cut corners along open seams.

#include "lumesh/reverse_engineering/mesh_builder.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <filesystem>
#include <fstream>
#include <list>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/base/mod_info.h"
#include "host/ui/progress.h"
#include "lumesh/core/load_module.h"
#include "lumesh/mesh/mesh.h"
#include "lumesh/mesh/mesh_checker.h"
#include "support/mesh_expect.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"
#include "support/module_error.h"
#include "support/stl_test_files.h"

namespace fs = std::filesystem;

namespace {

using MESHES = std::list<std::unique_ptr<MESH>>;

using stl_test::binary_stl;
using stl_test::BIN_RECORD;

std::string facet(const std::string& normal, const std::string& v1, const std::string& v2,
                  const std::string& v3) {
  return stl_test::text_facet(normal, v1, v2, v3);
}

// Two triangles of the unit square, sharing the diagonal.
std::string square_facets(double z) {
  const std::string zs = std::to_string(z);
  return facet("0 0 1", "0 0 " + zs, "1 0 " + zs, "1 1 " + zs) +
         facet("0 0 1", "0 0 " + zs, "1 1 " + zs, "0 1 " + zs);
}

class MeshBuilder : public ::testing::Test {
 protected:
  fs::path write(const std::string& name, const std::string& bytes) {
    return scratch_.write(name, bytes);
  }
  MESHES import(const fs::path& path, MESH_BUILDER* builder = nullptr) {
    MESH_BUILDER own(resolution::inq_min_resabs());
    MESHES meshes;
    (builder != nullptr ? builder : &own)->import_stl(path.wstring().c_str(), meshes, nullptr);
    return meshes;
  }

  stl_test::SCRATCH_DIR scratch_{"lumesh_builder_"};
  const fs::path& dir_ = scratch_.path();
};

}  // namespace

TEST_F(MeshBuilder, ResolutionStartsAtTheHostsSmallest) {
  EXPECT_EQ(MESH_BUILDER(resolution::inq_min_resabs()).get_mesh_import_resolution().resabs(), 1e-6);
  EXPECT_EQ(MESH_BUILDER(1e-9).get_mesh_import_resolution().resabs(), 1e-6);
  EXPECT_EQ(MESH_BUILDER(0.01).get_mesh_import_resolution().resabs(), 0.01);
  EXPECT_EQ(MESH_BUILDER(0.01).get_mesh_import_resolution().grid_mode(), 0);
  EXPECT_EQ(MESH_BUILDER(0.01).get_repaired_count(), 0);
}

TEST_F(MeshBuilder, TextSolidBecomesOneWeldedMesh) {
  MESHES meshes = import(write("square.stl", "solid sq\n" + square_facets(0) + "endsolid sq\n"));
  ASSERT_EQ(meshes.size(), 1u);
  const MESH& mesh = *meshes.front();
  EXPECT_MESH_OK(mesh);
  EXPECT_EQ(mesh.get_polygon_count(), 2u);
  EXPECT_EQ(mesh.get_vertex_count(), 4u);
  EXPECT_EQ(mesh.get_degenerate_polygon_count(), 0u);
  for (const MESH_POLYGON* p : mesh.get_polygons()) EXPECT_EQ(p->get_polygon_type(), REGULAR);
}

TEST_F(MeshBuilder, SeveralSolidsGiveOneMeshEachLastFirstWithoutWeldAcross) {
  const std::string one = "solid a\n" + square_facets(0) + "endsolid a\n";
  const std::string two = "solid b\n" + square_facets(0) + facet("0 0 1", "5 5 0", "6 5 0", "5 6 0") +
                          "endsolid b\n";
  MESHES meshes = import(write("two.stl", one + two));
  ASSERT_EQ(meshes.size(), 2u);
  EXPECT_EQ(meshes.front()->get_polygon_count(), 3u);  // the last solid first
  EXPECT_EQ(meshes.back()->get_polygon_count(), 2u);
  // The same square in both solids: each mesh has its own vertices.
  EXPECT_EQ(meshes.back()->get_vertex_count(), 4u);
  EXPECT_EQ(meshes.front()->get_vertex_count(), 7u);
}

TEST_F(MeshBuilder, ASolidWithoutFacetsHidesTheSolidsBehindIt) {
  const std::string text = "solid a\n" + square_facets(0) + "endsolid a\nsolid empty\nendsolid empty\n" +
                           "solid c\n" + square_facets(1) + "endsolid c\n";
  MESHES meshes = import(write("hidden.stl", text));
  ASSERT_EQ(meshes.size(), 1u);
  EXPECT_EQ(meshes.front()->get_polygon_count(), 2u);
}

TEST_F(MeshBuilder, BinaryOfZeroFacetsLeavesTheListEmptyAndRaisesNothing) {
  MESHES meshes;
  EXPECT_NO_THROW(meshes = import(write("zero.stl", binary_stl(0, {}))));
  EXPECT_TRUE(meshes.empty());
  EXPECT_TRUE(import(write("empty.stl", "")).empty());
}

TEST_F(MeshBuilder, BinaryStatingFourBillionFacetsOverNoBytesCostsNothing) {
  // The owed facets are zeros: each a tiny triangle at the origin, counted
  // as added, then as degenerate and repaired, without being built.
  MESHES meshes = import(write("liar.stl", binary_stl(0xFFFFFFFFu, {})));
  ASSERT_EQ(meshes.size(), 1u);
  EXPECT_EQ(meshes.front()->get_polygon_count(), 0u);
  EXPECT_EQ(meshes.front()->get_degenerate_polygon_count(), 0xFFFFFFFFu);
  EXPECT_EQ(meshes.front()->get_repaired_polygon_count(), 0xFFFFFFFFu);
  EXPECT_MESH_OK(*meshes.front());
  // One real facet, then a tail that the file doesn't have.
  MESHES short_meshes = import(write("short.stl", binary_stl(1000, {BIN_RECORD{{0, 0, 1, 1, 1, 0, 2, 1, 0, 1, 2, 0}, ""}})));
  ASSERT_EQ(short_meshes.size(), 1u);
  EXPECT_EQ(short_meshes.front()->get_polygon_count(), 1u);
  EXPECT_EQ(short_meshes.front()->get_degenerate_polygon_count(), 999u);
}

TEST_F(MeshBuilder, AllZeroFacetsInTheFileWeldIntoOnePointWithoutQuadraticCost) {
  // 200,000 zero facets really in the file: the vertex at the origin gets
  // 600,000 coedges before they are all dropped.
  const std::vector<BIN_RECORD> zeros(200000, BIN_RECORD{});
  MESHES meshes = import(write("zeros.stl", binary_stl(200000, zeros)));
  ASSERT_EQ(meshes.size(), 1u);
  EXPECT_EQ(meshes.front()->get_polygon_count(), 0u);
  EXPECT_EQ(meshes.front()->get_degenerate_polygon_count(), 200000u);
  EXPECT_EQ(meshes.front()->get_vertex_count(), 1u);
  EXPECT_MESH_OK(*meshes.front());
}

TEST_F(MeshBuilder, MissingFileRaisesCannotOpenFile) {
  EXPECT_EQ(module_error([&] { import(dir_ / "no_such.stl"); }), MSG_CANNOT_OPEN_FILE);
  MESH_BUILDER builder(resolution::inq_min_resabs());
  MESHES meshes;
  EXPECT_EQ(module_error([&] { builder.import_stl(nullptr, meshes, nullptr); }), MSG_CANNOT_OPEN_FILE);
  EXPECT_TRUE(meshes.empty());
}

TEST_F(MeshBuilder, ReaderErrorsPassThroughKeepingTheMeshesReadSoFar) {
  const std::string text = "solid a\n" + square_facets(0) + "endsolid a\nsolid b\n" +
                           "facet normal 0 0 1\n outer loop\n  vertex 0 0 zero\n";
  MESH_BUILDER builder(resolution::inq_min_resabs());
  MESHES meshes;
  EXPECT_THROW(builder.import_stl(write("bad.stl", text).wstring().c_str(), meshes, nullptr),
               std::invalid_argument);
  ASSERT_EQ(meshes.size(), 1u);
  EXPECT_EQ(meshes.front()->get_polygon_count(), 2u);
  const std::string truncated = "solid a\nfacet normal 0 0 1\n outer loop\n  vertex 0 0 0\n";
  EXPECT_EQ(module_error([&] { import(write("short.stl", truncated)); }), MSG_FILE_UNKNOWN_FORMAT);
}

TEST_F(MeshBuilder, ZeroAndWrongNormals) {
  // A zero normal makes the polygon compute its own; a stated normal that
  // disagrees with the corner order stays as stated.
  const std::vector<BIN_RECORD> facets = {
      {{0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0}, ""},
      {{0, 0, -2, 10, 0, 0, 11, 0, 0, 10, 1, 0}, ""},
  };
  MESHES meshes = import(write("normals.stl", binary_stl(2, facets)));
  ASSERT_EQ(meshes.size(), 1u);
  std::vector<UNITVEC3> normals;
  for (const MESH_POLYGON* p : meshes.front()->get_polygons()) normals.push_back(p->get_normal());
  ASSERT_EQ(normals.size(), 2u);
  // Newest first.
  EXPECT_EQ(normals[0].z(), -1.0);
  EXPECT_EQ(normals[1].z(), 1.0);
}

TEST_F(MeshBuilder, DegenerateFacetsAreRepairedAndCounted) {
  // A square whose two triangles are joined by a needle: a zero-area facet
  // with two corners welded into one.
  const std::string text = "solid d\n" + square_facets(0) + facet("0 0 1", "0 0 0", "1 0 0", "1 0 0") +
                           "endsolid d\n";
  MESHES meshes = import(write("degenerate.stl", text));
  ASSERT_EQ(meshes.size(), 1u);
  EXPECT_MESH_OK(*meshes.front());
  EXPECT_EQ(meshes.front()->get_polygon_count(), 2u);
  EXPECT_EQ(meshes.front()->get_degenerate_polygon_count(), 1u);
  EXPECT_EQ(meshes.front()->get_repaired_polygon_count(), 1u);
}

TEST_F(MeshBuilder, FacetsWithCornersAtNanOrInfinityAreDroppedAndCounted) {
  // Text and binary alike: "nan" and "inf" convert, and float bytes may hold
  // them. No vertex is made for them, and the rest of the mesh stands.
  const std::string text = "solid n\n" + square_facets(0) + facet("0 0 1", "0 0 0", "1 0 0", "nan 1 0") +
                           facet("0 0 1", "inf 0 0", "1 0 0", "1 1 0") + "endsolid n\n";
  BIN_RECORD good{{0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0}, ""};
  BIN_RECORD bad{{0, 0, 1, 0, 0, 0, 1, 0, 0, 0, std::nanf(""), 0}, ""};
  BIN_RECORD huge{{0, 0, 1, 0, 0, 0, -INFINITY, 0, 0, 0, 1, 0}, ""};
  for (const fs::path& path :
       {write("nan.stl", text), write("nan_bin.stl", binary_stl(3, {good, bad, huge}))}) {
    SCOPED_TRACE(path.string());
    MESHES meshes = import(path);
    ASSERT_EQ(meshes.size(), 1u);
    const MESH& mesh = *meshes.front();
    EXPECT_MESH_OK(mesh);
    EXPECT_EQ(mesh.get_degenerate_polygon_count(), 2u);
    EXPECT_EQ(mesh.get_repaired_polygon_count(), 2u);
    EXPECT_EQ(mesh.get_polygon_count() + mesh.get_degenerate_polygon_count(),
              path.filename() == "nan.stl" ? 4u : 3u);
    mesh.scan_vertices(
        [](STL_OCTREE_NODE* n, void*) {
          EXPECT_TRUE(n->location().is_finite());
          return SCAN_CONTINUE;
        },
        nullptr);
  }
}

TEST_F(MeshBuilder, ProgressAddsUpToAHundredAcrossSolids) {
  const std::string text = "solid a\n" + square_facets(0) + "endsolid a\nsolid b\n" + square_facets(1) +
                           "endsolid b\n";
  PROGRESS progress("import", PROGRESS_RENDERER{});
  progress.set_max_ticks(100);
  MESH_BUILDER builder(resolution::inq_min_resabs());
  MESHES meshes;
  builder.import_stl(write("p.stl", text).wstring().c_str(), meshes, &progress);
  EXPECT_EQ(meshes.size(), 2u);
  EXPECT_EQ(progress.ticks(), 100);
}

// ---- stitch_cut_corner ------------------------------------------------------

namespace {

const resolution kRes(1e-6, -1.0);

MESH_POLYGON& tri(MESH& mesh, const POSITION3& a, const POSITION3& b, const POSITION3& c) {
  return mesh.add_triangle(a, b, c, MESH::computed_normal());
}

std::size_t ring_size(const MESH_POLYGON& p) {
  std::size_t n = 0;
  const MESH_POLYGON_COEDGE* c = p.get_start_coedge();
  do {
    ++n;
    c = c->get_next();
  } while (c != p.get_start_coedge());
  return n;
}

std::size_t open_coedges(const MESH& mesh) {
  std::size_t n = 0;
  for (const MESH_POLYGON* p : mesh.get_polygons()) {
    const MESH_POLYGON_COEDGE* c = p->get_start_coedge();
    do {
      if (c->get_partner_coedge() == nullptr) ++n;
      c = c->get_next();
    } while (c != p->get_start_coedge());
  }
  return n;
}

// One triangle above the edge (0,0)-(3,0), three below it meeting it at
// (1,0) and (2,0): two cut corners along one seam. Answers the one above.
MESH_POLYGON& seam_cut_twice(MESH& mesh) {
  const POSITION3 a(0, 0, 0), b(3, 0, 0), m1(1, 0, 0), m2(2, 0, 0);
  MESH_POLYGON& top = tri(mesh, a, b, POSITION3(1.5, 1, 0));
  tri(mesh, m1, a, POSITION3(0.5, -1, 0));
  tri(mesh, m2, m1, POSITION3(1.5, -1, 0));
  tri(mesh, b, m2, POSITION3(2.5, -1, 0));
  return top;
}

}  // namespace

TEST(StitchCutCorner, SplitsTheLongCoedgeAtTheCutCorner) {
  // Above: one triangle over A-B. Below: two triangles meeting at M, the
  // midpoint of A-B, so A-B has no partner: a T-junction.
  MESH mesh(kRes);
  const POSITION3 a(0, 0, 0), b(2, 0, 0), m(1, 0, 0);
  MESH_POLYGON& top = tri(mesh, a, b, POSITION3(1, 1, 0));
  tri(mesh, m, a, POSITION3(0.5, -1, 0));
  tri(mesh, b, m, POSITION3(1.5, -1, 0));
  const std::size_t open_before = open_coedges(mesh);
  MESH_BUILDER builder(resolution::inq_min_resabs());
  EXPECT_EQ(MESH_BUILDER::stitch_cut_corner(&mesh.get_mesh_vertex(a), &builder), SCAN_CONTINUE);
  EXPECT_MESH_OK(mesh);
  EXPECT_EQ(builder.get_repaired_count(), 1);
  EXPECT_EQ(ring_size(top), 4u);
  EXPECT_EQ(open_coedges(mesh), open_before - 3);  // A-B was one, M-A and B-M two
}

TEST(StitchCutCorner, FollowsTheSeamFromOneCorner) {
  // Three triangles below a long edge, meeting it at one and two thirds.
  MESH mesh(kRes);
  MESH_POLYGON& top = seam_cut_twice(mesh);
  const POSITION3 a(0, 0, 0);
  MESH_BUILDER builder(resolution::inq_min_resabs());
  MESH_BUILDER::stitch_cut_corner(&mesh.get_mesh_vertex(a), &builder);
  EXPECT_MESH_OK(mesh);
  EXPECT_EQ(builder.get_repaired_count(), 2);
  EXPECT_EQ(ring_size(top), 5u);
}

TEST(StitchCutCorner, EndInsideTheIncomingCoedgeSplitsThatOne) {
  // Mirrored: the long open edge arrives at A (B->A), the short one leaves A
  // (A->M): M is inserted into the long one.
  MESH mesh(kRes);
  const POSITION3 a(0, 0, 0), b(2, 0, 0), m(1, 0, 0);
  MESH_POLYGON& below = tri(mesh, b, a, POSITION3(1, -1, 0));
  tri(mesh, a, m, POSITION3(0.5, 1, 0));
  tri(mesh, m, b, POSITION3(1.5, 1, 0));
  MESH_BUILDER builder(resolution::inq_min_resabs());
  MESH_BUILDER::stitch_cut_corner(&mesh.get_mesh_vertex(a), &builder);
  EXPECT_MESH_OK(mesh);
  EXPECT_EQ(builder.get_repaired_count(), 1);
  EXPECT_EQ(ring_size(below), 4u);
}

TEST(StitchCutCorner, VertexWithoutOpenCoedgesReturnsAtOnce) {
  // A closed tetrahedron: nothing is open.
  MESH mesh(kRes);
  const POSITION3 p0(0, 0, 0), p1(1, 0, 0), p2(0, 1, 0), p3(0, 0, 1);
  tri(mesh, p0, p2, p1);
  tri(mesh, p0, p1, p3);
  tri(mesh, p1, p2, p3);
  tri(mesh, p2, p0, p3);
  MESH_BUILDER builder(resolution::inq_min_resabs());
  EXPECT_EQ(MESH_BUILDER::stitch_cut_corner(&mesh.get_mesh_vertex(p0), &builder), SCAN_CONTINUE);
  EXPECT_EQ(builder.get_repaired_count(), 0);
  EXPECT_MESH_OK(mesh);
}

TEST(StitchCutCorner, RunsAsAScanOverAllVertices) {
  MESH mesh(kRes);
  seam_cut_twice(mesh);
  MESH_BUILDER builder(resolution::inq_min_resabs());
  EXPECT_EQ(mesh.scan_vertices(MESH_BUILDER::stitch_cut_corner, &builder), nullptr);
  EXPECT_MESH_OK(mesh);
  EXPECT_EQ(builder.get_repaired_count(), 2);  // nothing is stitched twice
}

TEST(StitchCutCorner, ALongSeamCostsNoCallStack) {
  // A seam of many cut corners, followed from one end in one call.
  constexpr int kSteps = 20000;
  MESH mesh(kRes);
  const POSITION3 a(0, 0, 0), b(kSteps, 0, 0);
  MESH_POLYGON& top = tri(mesh, a, b, POSITION3(kSteps / 2.0, 1, 0));
  for (int i = 0; i < kSteps; ++i) {
    tri(mesh, POSITION3(i + 1, 0, 0), POSITION3(i, 0, 0), POSITION3(i + 0.5, -1, 0));
  }
  MESH_BUILDER builder(resolution::inq_min_resabs());
  MESH_BUILDER::stitch_cut_corner(&mesh.get_mesh_vertex(a), &builder);
  EXPECT_EQ(builder.get_repaired_count(), kSteps - 1);
  EXPECT_EQ(ring_size(top), static_cast<std::size_t>(kSteps + 2));
  EXPECT_MESH_OK(mesh);
}
