// Body construction: how much recognition a mesh gets, the resolution rule,
// the faces, edges and vertices of the body, the face-part marker, and the
// global resolution on every path.

#include "lumesh/reverse_engineering/body_factory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/base/assertion.h"
#include "host/base/mod_info.h"
#include "host/kernel/entity/entity.h"
#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/point.h"
#include "host/kernel/geometry/plane.h"
#include "host/kernel/geometry/pt_on_sf.h"
#include "host/kernel/geometry/straight.h"
#include "host/kernel/ops/body_checker.h"
#include "host/kernel/topology/attrib.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/edge.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"
#include "host/kernel/topology/shell.h"
#include "host/kernel/topology/vertex.h"
#include "host/ui/progress.h"
#include "lumesh/core/load_module.h"
#include "lumesh/mesh/mesh.h"
#include "lumesh/mesh/mesh_polygon.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"
#include "lumesh/mesh/mesh_resolution.h"
#include "lumesh/mesh/mesh_vertex.h"
#include "support/mesh_shapes.h"
#include "support/mesh_test_access.h"
#include "support/module_error.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr std::uint64_t kNoLimit = 150000;

using OPTIONS = MESH::SURFACE_RECONSTRUCTION;

// Keeps the global resolution of the test program as it was.
class BodyFactoryTest : public ::testing::Test {
 protected:
  void SetUp() override { saved_ = get_k2_geores(); }
  void TearDown() override {
    get_k2_geores() = saved_;
    for (BODY* b : bodies_) b->lose();
  }
  // The body, lost at the end of the test.
  BODY* keep(BODY* b) {
    if (b != nullptr) bodies_.push_back(b);
    return b;
  }

  resolution saved_;
  std::vector<BODY*> bodies_;
};

// A welded, repaired cube mesh of side 10, as the import hands it over.
std::unique_ptr<MESH> cube_mesh(int skip = -1) {
  auto mesh = std::make_unique<MESH>(resolution(1e-6, -1.0));
  mesh_shapes::add_box(*mesh, POSITION3(0, 0, 0), POSITION3(10, 10, 10), skip);
  mesh->optimize(mesh->get_import_resolution());
  return mesh;
}

// A closed cylinder of 32 facets with its caps.
std::unique_ptr<MESH> cylinder_mesh() {
  auto mesh = std::make_unique<MESH>(resolution(1e-6, -1.0));
  mesh_shapes::add_closed_prism(*mesh, 5.0, 10.0, 32);
  mesh->optimize(mesh->get_import_resolution());
  return mesh;
}

struct FACE_KINDS {
  int faces = 0, planes = 0, cylinders = 0, loops_not_one = 0;
};

SCAN_CNTRL count_face(FACE* f, void* data) {
  auto* k = static_cast<FACE_KINDS*>(data);
  ++k->faces;
  if (f->geometry()->is_a(plane::type)) ++k->planes;
  if (f->geometry()->is_a(cylinder::type)) ++k->cylinders;
  if (f->number_of_loops() != 1) ++k->loops_not_one;
  return SCAN_CONTINUE;
}

FACE_KINDS kinds(const BODY* body) {
  FACE_KINDS k;
  body->scan_faces(&count_face, &k);
  return k;
}

SCAN_CNTRL count(EDGE*, void* n) {
  ++*static_cast<int*>(n);
  return SCAN_CONTINUE;
}
SCAN_CNTRL count_vertex(VERTEX*, void* n) {
  ++*static_cast<int*>(n);
  return SCAN_CONTINUE;
}

TEST_F(BodyFactoryTest, WithoutRecognitionEveryTriangleIsAPlaneFaceAtTheGlobalResolution) {
  get_k2_geores().set_resolution(2e-5, 0);
  auto mesh = cube_mesh();
  BODY_FACTORY factory(nullptr, 100);
  OPTIONS options = MESH::NONE;
  std::uint64_t faces = 99;
  BODY* body = keep(factory.make_body(*mesh, kNaN, kNoLimit, options, faces));
  ASSERT_NE(body, nullptr);
  EXPECT_EQ(options, MESH::NONE);
  EXPECT_EQ(faces, 12u);
  const FACE_KINDS k = kinds(body);
  EXPECT_EQ(k.faces, 12);
  EXPECT_EQ(k.planes, 12);
  EXPECT_EQ(k.loops_not_one, 0);
  // The global resolution wasn't touched: the body is made at it.
  EXPECT_DOUBLE_EQ(body->resabs(), 2e-5);
  EXPECT_DOUBLE_EQ(get_k2_geores().resabs(), 2e-5);
  EXPECT_DOUBLE_EQ(factory.get_resolution().resabs(), 2e-5);
  // One edge per pair of partner coedges, one vertex per mesh vertex: a
  // closed triangulated cube has 18 edges and 8 vertices.
  int edges = 0, vertices = 0;
  body->scan_edges(&count, &edges);
  body->scan_vertices(&count_vertex, &vertices);
  EXPECT_EQ(edges, 18);
  EXPECT_EQ(vertices, 8);
  EXPECT_FALSE(is_face_part(body));
}

TEST_F(BodyFactoryTest, ReachingTheLimitEnforcesPlanesAtTheFixedResolution) {
  auto mesh = cube_mesh();
  ASSERT_EQ(mesh->get_polygon_count(), 12u);
  BODY_FACTORY factory(nullptr, 100);
  OPTIONS options = MESH::NONE;
  std::uint64_t faces = 0;
  BODY* body = keep(factory.make_body(*mesh, kNaN, 12, options, faces));
  EXPECT_EQ(options, MESH::PLANES);
  EXPECT_DOUBLE_EQ(body->resabs(), 0.001);
  EXPECT_EQ(faces, 6u);
}

TEST_F(BodyFactoryTest, BelowTheLimitNothingIsEnforced) {
  auto mesh = cube_mesh();
  BODY_FACTORY factory(nullptr, 100);
  OPTIONS options = MESH::NONE;
  std::uint64_t faces = 0;
  keep(factory.make_body(*mesh, kNaN, 13, options, faces));
  EXPECT_EQ(options, MESH::NONE);
  EXPECT_EQ(faces, 12u);
}

TEST_F(BodyFactoryTest, PlanesWithoutResolutionUseTheAutomaticEstimate) {
  auto mesh = cube_mesh();
  const double estimate = estimate_mesh_resolution(*mesh).resolution;
  ASSERT_GT(estimate, 0.0);
  ASSERT_NE(estimate, 0.001);
  BODY_FACTORY factory(nullptr, 100);
  OPTIONS options = MESH::PLANES;
  std::uint64_t faces = 0;
  BODY* body = keep(factory.make_body(*mesh, kNaN, kNoLimit, options, faces));
  EXPECT_EQ(options, MESH::PLANES);
  EXPECT_DOUBLE_EQ(body->resabs(), estimate);
  EXPECT_DOUBLE_EQ(factory.get_resolution().resabs(), estimate);
}

TEST_F(BodyFactoryTest, CylindersAloneAreWidenedToBoth) {
  auto mesh = cylinder_mesh();
  BODY_FACTORY factory(nullptr, 100);
  OPTIONS options = MESH::CYLINDERS;
  std::uint64_t faces = 0;
  // Above the 0.024 by which the 32 facets sag between their corners.
  BODY* body = keep(factory.make_body(*mesh, 0.05, kNoLimit, options, faces));
  EXPECT_EQ(options, MESH::PLANES | MESH::CYLINDERS);
  const FACE_KINDS k = kinds(body);
  EXPECT_EQ(k.cylinders, 1);
  EXPECT_EQ(k.planes, 2);
  EXPECT_EQ(faces, 3u);
  EXPECT_FALSE(is_face_part(body));
}

TEST_F(BodyFactoryTest, AGivenResolutionWinsOverTheEstimateAndTheEnforcedValue) {
  {
    auto mesh = cube_mesh();
    BODY_FACTORY factory(nullptr, 100);
    OPTIONS options = MESH::PLANES;
    std::uint64_t faces = 0;
    BODY* body = keep(factory.make_body(*mesh, 0.02, kNoLimit, options, faces));
    EXPECT_DOUBLE_EQ(body->resabs(), 0.02);
  }
  {
    auto mesh = cube_mesh();
    BODY_FACTORY factory(nullptr, 100);
    OPTIONS options = MESH::NONE;
    std::uint64_t faces = 0;
    BODY* body = keep(factory.make_body(*mesh, 0.02, 1, options, faces));
    EXPECT_EQ(options, MESH::PLANES);
    EXPECT_DOUBLE_EQ(body->resabs(), 0.02);
  }
  {
    // Without recognition a given resolution changes nothing: the faces are
    // made at the global one.
    get_k2_geores().set_resolution(3e-6, 0);
    auto mesh = cube_mesh();
    BODY_FACTORY factory(nullptr, 100);
    OPTIONS options = MESH::NONE;
    std::uint64_t faces = 0;
    BODY* body = keep(factory.make_body(*mesh, 0.02, kNoLimit, options, faces));
    EXPECT_EQ(options, MESH::NONE);
    EXPECT_DOUBLE_EQ(body->resabs(), 3e-6);
  }
}

TEST_F(BodyFactoryTest, ClosedCubeWithPlanesHasSixFacesAndIsASolid) {
  auto mesh = cube_mesh();
  BODY_FACTORY factory(nullptr, 100);
  OPTIONS options = MESH::PLANES;
  std::uint64_t faces = 0;
  BODY* body = keep(factory.make_body(*mesh, kNaN, kNoLimit, options, faces));
  EXPECT_EQ(faces, 6u);
  EXPECT_EQ(body->number_of_shells(), 1);
  EXPECT_EQ(body->shell(0)->shell_type(), 2);
  const FACE_KINDS k = kinds(body);
  EXPECT_EQ(k.planes, 6);
  EXPECT_EQ(k.loops_not_one, 0);
  EXPECT_FALSE(is_face_part(body));
  EXPECT_FALSE(has_open_boundary(body));
  int edges = 0;
  body->scan_edges(&count, &edges);
  EXPECT_EQ(edges, 12);
}

// The closed cylinder recognised with planes and cylinders: 3 faces.
BODY* recognised_cylinder(MESH& mesh) {
  BODY_FACTORY factory(nullptr, 100);
  OPTIONS options = static_cast<OPTIONS>(MESH::PLANES | MESH::CYLINDERS);
  std::uint64_t faces = 0;
  BODY* body = factory.make_body(mesh, kNaN, kNoLimit, options, faces);
  EXPECT_EQ(faces, 3u);
  return body;
}

// The mesh goes first, as after an import: the body keeps every edge and
// vertex it uses, and losing it leaves nothing registered.
TEST_F(BodyFactoryTest, BodyOutlivesItsMeshAndLosingItLeavesNothing) {
  const std::uint64_t before = ENTITY::registered_count();
  auto mesh = cylinder_mesh();
  BODY* body = recognised_cylinder(*mesh);
  ASSERT_NE(body, nullptr);
  mesh.reset();
  const BODY_CHECK check = check_body(body);
  EXPECT_TRUE(check.ok()) << (check.problems.empty() ? "" : check.problems.front());
  EXPECT_EQ(check.faces, 3);
  EXPECT_EQ(check.open_edges, 0);
  body->lose();
  EXPECT_EQ(ENTITY::registered_count(), before);
}

// The other order: the body is lost while its mesh still stands. The mesh
// must not touch the vertices that went with the body.
TEST_F(BodyFactoryTest, LosingTheBodyBeforeItsMeshIsSafe) {
  const std::uint64_t before = ENTITY::registered_count();
  auto mesh = cylinder_mesh();
  BODY* body = recognised_cylinder(*mesh);
  ASSERT_NE(body, nullptr);
  body->lose();
  mesh.reset();
  EXPECT_EQ(ENTITY::registered_count(), before);
}

TEST_F(BodyFactoryTest, CubeWithATriangleMissingIsAFacePart) {
  for (OPTIONS asked : {MESH::NONE, MESH::PLANES}) {
    auto mesh = cube_mesh(/*skip=*/5);
    ASSERT_EQ(mesh->get_polygon_count(), 11u);
    BODY_FACTORY factory(nullptr, 100);
    OPTIONS options = asked;
    std::uint64_t faces = 0;
    BODY* body = keep(factory.make_body(*mesh, kNaN, kNoLimit, options, faces));
    ASSERT_NE(body, nullptr);
    EXPECT_TRUE(is_face_part(body)) << "options " << asked;
    const auto* marker = body->attributes().find<FACE_PART_ATT>();
    ASSERT_NE(marker, nullptr);
    EXPECT_TRUE(marker->part_name().empty());
    EXPECT_TRUE(has_open_boundary(body));
  }
}

TEST_F(BodyFactoryTest, FacesPointOutOfTheCube) {
  auto mesh = cube_mesh();
  BODY_FACTORY factory(nullptr, 100);
  OPTIONS options = MESH::PLANES;
  std::uint64_t faces = 0;
  BODY* body = keep(factory.make_body(*mesh, kNaN, kNoLimit, options, faces));
  struct CHECK {
    int outward = 0, faces = 0;
  } check;
  body->scan_faces(
      [](FACE* f, void* data) {
        auto* c = static_cast<CHECK*>(data);
        ++c->faces;
        pt_on_sf p;
        UNITVEC3 n;
        if (f->innerPoint(p) != nullptr || f->normal(p, n) != nullptr) return SCAN_CONTINUE;
        const POSITION3 q = p.evaluate();
        const VECTOR3 from_centre = q - POSITION3(5, 5, 5);
        if (dot(from_centre, VECTOR3(n)) > 4.9) ++c->outward;
        return SCAN_CONTINUE;
      },
      &check);
  EXPECT_EQ(check.faces, 6);
  EXPECT_EQ(check.outward, 6);
}

TEST_F(BodyFactoryTest, AFacetWithANaNCornerIsLeftOutAndTheRestStands) {
  for (OPTIONS asked : {MESH::NONE, MESH::PLANES}) {
    auto mesh = std::make_unique<MESH>(resolution(1e-6, -1.0));
    mesh_shapes::add_box(*mesh, POSITION3(0, 0, 0), POSITION3(10, 10, 10));
    mesh->add_triangle(POSITION3(20, 0, 0), POSITION3(21, 0, 0), POSITION3(20, kNaN, 0),
                       MESH::computed_normal());
    mesh->optimize(mesh->get_import_resolution());
    // The repair keeps the broken facet (its height is NaN, not small).
    ASSERT_EQ(mesh->get_polygon_count(), 13u);
    BODY_FACTORY factory(nullptr, 100);
    OPTIONS options = asked;
    std::uint64_t faces = 0;
    BODY* body = keep(factory.make_body(*mesh, kNaN, kNoLimit, options, faces));
    ASSERT_NE(body, nullptr);
    // The cube's faces stand; the broken facet carries no plane.
    EXPECT_EQ(faces, asked == MESH::NONE ? 12u : 6u) << asked;
    EXPECT_EQ(kinds(body).faces, static_cast<int>(faces));
  }
}

TEST_F(BodyFactoryTest, ProgressGetsTheShareOfEachBody) {
  PROGRESS progress("import", nullptr);
  progress.set_max_ticks(205);
  BODY_FACTORY factory(&progress, 33);
  for (int i = 0; i < 3; ++i) {
    auto mesh = cube_mesh();
    OPTIONS options = MESH::NONE;
    std::uint64_t faces = 0;
    keep(factory.make_body(*mesh, kNaN, kNoLimit, options, faces));
  }
  EXPECT_EQ(progress.ticks(), 99);
}

// The assertion service is where the kernel reports a coedge that yields no
// edge; a handler that throws turns that report into a failure inside the
// guarded steps.
[[noreturn]] void throw_runtime_error(const ASSERTION_REPORT& r) {
  throw std::runtime_error(r.message);
}
MOD_INFO* kernel_error_info() {
  static MOD_INFO info("k2", 77, ":TEST-KERNEL-ERROR", "test kernel error");
  return &info;
}
[[noreturn]] void throw_tv_exception(const ASSERTION_REPORT&) {
  throw TV_EXCEPTION(kernel_error_info());
}
std::vector<std::string>& reports() {
  static std::vector<std::string> r;
  return r;
}
void record(const ASSERTION_REPORT& r) { reports().emplace_back(r.message); }

// A mesh with one REGULAR polygon whose ring has a zero-length coedge (both
// ends one vertex), which no import produces but a damaged mesh might.
std::unique_ptr<MESH> mesh_with_zero_length_coedge() {
  auto mesh = std::make_unique<MESH>(resolution(1e-6, -1.0));
  mesh_shapes::add_box(*mesh, POSITION3(0, 0, 0), POSITION3(1, 1, 1));
  mesh->optimize(mesh->get_import_resolution());
  // a -> b becomes a -> b -> b: the inserted coedge starts and ends at b.
  MESH_POLYGON* p = mesh->get_polygons().front();
  MESH_POLYGON_COEDGE* c = p->get_start_coedge();
  p->insert_coedge_after(c, *c->get_end_vertex());
  return mesh;
}

// A box whose box edge a -> b has, at b, a B-rep vertex standing on a: no
// edge can join a and b. No import makes vertices ahead of the body; this
// stands for any fault that leaves a coedge without its edge.
std::unique_ptr<MESH> mesh_with_an_edge_that_cannot_be_made() {
  auto mesh = std::make_unique<MESH>(resolution(1e-6, -1.0));
  mesh_shapes::add_box(*mesh, POSITION3(0, 0, 0), POSITION3(1, 1, 1));
  mesh->optimize(mesh->get_import_resolution());
  // The newest triangle starts with its diagonal; the next coedge is an edge
  // of the box, which every build of the body needs.
  MESH_POLYGON_COEDGE* c = mesh->get_polygons().front()->get_start_coedge()->get_next();
  MESH_VERTEX& a = *c->get_start_vertex();
  MESH_VERTEX& b = *c->get_end_vertex();
  a.get_vertex(true);
  MESH_TEST_ACCESS::set_brep_vertex(b, new VERTEX(new point3(a.location())));
  return mesh;
}

// A 10 mm box whose vertical edge at x = y = 10 is bevelled by `bevel`, as
// quads split into triangles, outward facing.
std::unique_ptr<MESH> bevelled_box_mesh(double bevel) {
  auto mesh = std::make_unique<MESH>(resolution(1e-6, -1.0));
  const double e = 10.0 - bevel;
  auto quad = [&](POSITION3 a, POSITION3 b, POSITION3 c, POSITION3 d) {
    mesh->add_triangle(a, b, c, MESH::computed_normal());
    mesh->add_triangle(a, c, d, MESH::computed_normal());
  };
  auto at = [](double x, double y, double z) { return POSITION3(x, y, z); };
  for (double z : {0.0, 10.0}) {
    // The pentagon of the bottom (seen from below) or top, as a fan.
    const POSITION3 ring[5] = {at(0, 0, z), at(10, 0, z), at(10, e, z), at(e, 10, z), at(0, 10, z)};
    for (int i = 1; i + 1 < 5; ++i) {
      if (z == 0.0) {
        mesh->add_triangle(ring[0], ring[i + 1], ring[i], MESH::computed_normal());
      } else {
        mesh->add_triangle(ring[0], ring[i], ring[i + 1], MESH::computed_normal());
      }
    }
  }
  quad(at(0, 0, 0), at(10, 0, 0), at(10, 0, 10), at(0, 0, 10));     // y = 0
  quad(at(10, 0, 0), at(10, e, 0), at(10, e, 10), at(10, 0, 10));   // x = 10
  quad(at(10, e, 0), at(e, 10, 0), at(e, 10, 10), at(10, e, 10));   // the bevel
  quad(at(e, 10, 0), at(0, 10, 0), at(0, 10, 10), at(e, 10, 10));   // y = 10
  quad(at(0, 10, 0), at(0, 0, 0), at(0, 0, 10), at(0, 10, 10));     // x = 0
  mesh->optimize(mesh->get_import_resolution());
  return mesh;
}

TEST_F(BodyFactoryTest, ABevelNarrowerThanTheResolutionLeavesAClosedSoundBody) {
  // At 0.05 the bevel's 0.01 mm edges join points that are one: the bevel
  // yields no face and its neighbours meet, with no assertion on the way.
  reports().clear();
  const ASSERTION_HANDLER previous = set_assertion_handler(&record);
  auto mesh = bevelled_box_mesh(0.01);
  BODY_FACTORY factory(nullptr, 100);
  OPTIONS options = MESH::PLANES;
  std::uint64_t faces = 0;
  BODY* body = keep(factory.make_body(*mesh, 0.05, kNoLimit, options, faces));
  set_assertion_handler(previous);
  ASSERT_NE(body, nullptr);
  EXPECT_TRUE(reports().empty()) << reports().front();
  EXPECT_FALSE(is_face_part(body));
  const BODY_CHECK check = check_body(body);
  EXPECT_TRUE(check.ok());
  EXPECT_EQ(check.open_edges, 0);
  EXPECT_EQ(check.euler(), 2);
  EXPECT_EQ(faces, 6u);

  // At a resolution finer than the bevel it stays a face of its own.
  auto fine = bevelled_box_mesh(0.01);
  BODY* kept = keep(factory.make_body(*fine, 0.001, kNoLimit, options, faces));
  EXPECT_EQ(faces, 7u);
  EXPECT_TRUE(check_body(kept).ok());
}

TEST_F(BodyFactoryTest, AZeroLengthCoedgeIsLeftOutOfTheRingWithoutAWord) {
  reports().clear();
  const ASSERTION_HANDLER previous = set_assertion_handler(&record);
  auto mesh = mesh_with_zero_length_coedge();
  BODY_FACTORY factory(nullptr, 100);
  OPTIONS options = MESH::NONE;
  std::uint64_t faces = 0;
  BODY* body = keep(factory.make_body(*mesh, kNaN, kNoLimit, options, faces));
  set_assertion_handler(previous);
  ASSERT_NE(body, nullptr);
  EXPECT_EQ(faces, 12u);
  EXPECT_FALSE(is_face_part(body));
  EXPECT_TRUE(reports().empty());
  EXPECT_TRUE(check_body(body).ok());
}

TEST_F(BodyFactoryTest, ACoedgeWithoutEdgeIsReportedAndLeftOutOfTheRing) {
  reports().clear();
  const ASSERTION_HANDLER previous = set_assertion_handler(&record);
  auto mesh = mesh_with_an_edge_that_cannot_be_made();
  BODY_FACTORY factory(nullptr, 100);
  OPTIONS options = MESH::PLANES;
  std::uint64_t faces = 0;
  BODY* body = keep(factory.make_body(*mesh, 0.05, kNoLimit, options, faces));
  set_assertion_handler(previous);
  ASSERT_NE(body, nullptr);
  // The kernel refuses the edge, the face leaves the coedge out and says so;
  // the loop that then does not close is reported too. The body stands.
  EXPECT_GE(std::count(reports().begin(), reports().end(), "!status"), 1);
  EXPECT_GE(std::count(reports().begin(), reports().end(), "No edge could be generated"), 1);
}

TEST_F(BodyFactoryTest, TheGlobalResolutionIsBackAfterAnUnknownFailure) {
  get_k2_geores().set_resolution(4e-6, 0);
  const ASSERTION_HANDLER previous = set_assertion_handler(&throw_runtime_error);
  auto mesh = mesh_with_an_edge_that_cannot_be_made();
  BODY_FACTORY factory(nullptr, 100);
  OPTIONS options = MESH::PLANES;
  std::uint64_t faces = 0;
  const RESOURCE_ID id =
      module_error([&] { keep(factory.make_body(*mesh, 0.05, kNoLimit, options, faces)); });
  set_assertion_handler(previous);
  EXPECT_EQ(id, MSK_UNKNOWN_ERROR);
  EXPECT_DOUBLE_EQ(get_k2_geores().resabs(), 4e-6);
  EXPECT_EQ(get_k2_geores().grid_mode(), 0);
}

TEST_F(BodyFactoryTest, AKernelFailurePassesWithItsDescriptorAndTheResolutionIsBack) {
  get_k2_geores().set_resolution(4e-6, 0);
  const ASSERTION_HANDLER previous = set_assertion_handler(&throw_tv_exception);
  auto mesh = mesh_with_an_edge_that_cannot_be_made();
  BODY_FACTORY factory(nullptr, 100);
  OPTIONS options = MESH::PLANES;
  std::uint64_t faces = 0;
  MOD_INFO* info = nullptr;
  try {
    keep(factory.make_body(*mesh, 0.05, kNoLimit, options, faces));
  } catch (const TV_EXCEPTION& e) {
    info = e.info();
  }
  set_assertion_handler(previous);
  EXPECT_EQ(info, kernel_error_info());
  EXPECT_DOUBLE_EQ(get_k2_geores().resabs(), 4e-6);
}

TEST_F(BodyFactoryTest, AnExistingEdgeIsReusedInTheReverseDirection) {
  auto mesh = std::make_unique<MESH>(resolution(1e-6, -1.0));
  MESH_VERTEX& a = mesh->get_mesh_vertex(POSITION3(0, 0, 0));
  MESH_VERTEX& b = mesh->get_mesh_vertex(POSITION3(1, 0, 0));
  MESH_VERTEX& c = mesh->get_mesh_vertex(POSITION3(0, 1, 0));
  MESH_POLYGON& t = mesh->add_triangle(a, b, c);
  ASSERT_EQ(t.classify(mesh->get_import_resolution()), REGULAR);
  // An edge from b to a, made outside the mesh's coedges.
  VERTEX* va = a.get_vertex(true);
  VERTEX* vb = b.get_vertex(true);
  MOD_INFO* status = nullptr;
  auto* existing = new EDGE(vb, va, new straight(b.location(), UNITVEC3(-1, 0, 0)), status);
  ASSERT_EQ(status, nullptr);
  MESH_POLYGON_COEDGE* ab = t.get_start_coedge();
  while (ab->get_start_vertex() != &a) ab = ab->get_next();
  bool sense = false;
  EDGE* found = ab->get_edge(sense, false);
  EXPECT_EQ(found, existing);
  EXPECT_TRUE(sense);
  // Asked again, the coedge answers from what it stored.
  sense = false;
  EXPECT_EQ(ab->get_edge(sense, true), existing);
  EXPECT_TRUE(sense);
  // The face built over the triangle uses it, once.
  BODY_FACTORY factory(nullptr, 100);
  OPTIONS options = MESH::NONE;
  std::uint64_t faces = 0;
  BODY* body = keep(factory.make_body(*mesh, kNaN, kNoLimit, options, faces));
  int edges = 0;
  body->scan_edges(&count, &edges);
  EXPECT_EQ(edges, 3);
  EXPECT_TRUE(is_face_part(body));
}

TEST_F(BodyFactoryTest, PartnersShareOneEdgeWithTheirOwnSenses) {
  auto mesh = std::make_unique<MESH>(resolution(1e-6, -1.0));
  MESH_VERTEX& a = mesh->get_mesh_vertex(POSITION3(0, 0, 0));
  MESH_VERTEX& b = mesh->get_mesh_vertex(POSITION3(1, 0, 0));
  MESH_VERTEX& c = mesh->get_mesh_vertex(POSITION3(0, 1, 0));
  MESH_VERTEX& d = mesh->get_mesh_vertex(POSITION3(0, -1, 0));
  MESH_POLYGON& upper = mesh->add_triangle(a, b, c);
  MESH_POLYGON& lower = mesh->add_triangle(b, a, d);
  auto coedge_from = [](MESH_POLYGON& p, MESH_VERTEX& v) {
    MESH_POLYGON_COEDGE* e = p.get_start_coedge();
    while (e->get_start_vertex() != &v) e = e->get_next();
    return e;
  };
  bool s1 = true, s2 = false;
  EDGE* e1 = coedge_from(upper, a)->get_edge(s1, true);
  ASSERT_NE(e1, nullptr);
  EXPECT_FALSE(s1);
  // The partner got the edge at the same stroke, running against it.
  MESH_POLYGON_COEDGE* ba = coedge_from(lower, b);
  EXPECT_TRUE(ba->has_edge());
  EXPECT_EQ(ba->get_edge(s2, false), e1);
  EXPECT_TRUE(s2);
  // Without create, nothing is made for a coedge whose vertices don't exist.
  bool s3 = true;
  EXPECT_EQ(coedge_from(lower, a)->get_edge(s3, false), nullptr);
  EXPECT_FALSE(s3);
  // Nothing of the kernel was handed to a body: lose the edge by hand.
  coedge_from(upper, a)->set_edge(nullptr, false);
  ba->set_edge(nullptr, false);
  e1->lose();
}

}  // namespace
