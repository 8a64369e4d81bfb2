// Bodies read from STEP go back out as STEP: every kind of surface and curve
// that OCCT's own primitives and fillets make comes back from the second file
// as it was in the first, in a valid closed solid of the same volume.

#include <BRepFilletAPI_MakeFillet.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCone.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <BRepPrimAPI_MakeTorus.hxx>
#include <STEPControl_Writer.hxx>
#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <gp_Ax2.hxx>

#include "host/exchange/occ_face_occt.h"
#include "host/exchange/occt_setup.h"
#include "host/exchange/step_check.h"
#include "host/exchange/step_export.h"
#include "host/exchange/step_import.h"
#include "host/kernel/kernel_errors.h"
#include "host/kernel/ops/foreign_face.h"
#include "tests/host/exchange/exchange_fixture.h"

namespace {

// A box with all twelve edges rounded: cylinders along the edges and a
// sphere at every corner.
TopoDS_Shape filleted_box() {
  const TopoDS_Shape box = BRepPrimAPI_MakeBox(20.0, 15.0, 10.0).Shape();
  BRepFilletAPI_MakeFillet fillet(box);
  TopTools_IndexedMapOfShape edges;
  TopExp::MapShapes(box, TopAbs_EDGE, edges);
  for (int i = 1; i <= edges.Extent(); ++i) fillet.Add(2.0, TopoDS::Edge(edges(i)));
  return fillet.Shape();
}

class SourceExportTest : public ExchangeTest {
 protected:
  void SetUp() override {
    ExchangeTest::SetUp();
    prepare_occt();
  }
  void TearDown() override {
    for (BODY* b : bodies_) b->lose();
    EXPECT_EQ(assertions(), 0u);
    ExchangeTest::TearDown();
  }

  // Writes `shape` with OCCT's writer as `name`.step and reads it back.
  void read_model(const TopoDS_Shape& shape, const std::string& name) {
    STEPControl_Writer w;
    ASSERT_EQ(w.Transfer(shape, STEPControl_AsIs), IFSelect_RetDone);
    ASSERT_EQ(w.Write(path(name + ".step").c_str()), IFSelect_RetDone);
    bodies_ = read_step(path(name + ".step"));
  }

  // The model written by OCCT, read and written again by the host: the same
  // solid by every count the checker makes, and the same volume.
  void expect_round_trip(const TopoDS_Shape& shape, const std::string& name) {
    read_model(shape, name);
    ASSERT_EQ(bodies_.size(), 1u) << name;
    write_step({{bodies_[0], TRANSFORM3(), name, false, 0, 0, 0}}, path(name + "-out.step"));
    const STEP_SHAPE_SUMMARY a = check_step_file(path(name + ".step"));
    const STEP_SHAPE_SUMMARY b = check_step_file(path(name + "-out.step"));
    EXPECT_TRUE(b.valid) << name;
    EXPECT_TRUE(b.closed) << name;
    EXPECT_EQ(b.solids, 1) << name;
    EXPECT_EQ(b.free_shells, 0) << name;
    EXPECT_EQ(b.faces, a.faces) << name;
    EXPECT_EQ(b.planar_faces, a.planar_faces) << name;
    EXPECT_EQ(b.cylindrical_faces, a.cylindrical_faces) << name;
    EXPECT_EQ(b.conical_faces, a.conical_faces) << name;
    EXPECT_EQ(b.spherical_faces, a.spherical_faces) << name;
    EXPECT_EQ(b.toroidal_faces, a.toroidal_faces) << name;
    EXPECT_EQ(b.bspline_faces, a.bspline_faces) << name;
    EXPECT_EQ(b.edges, a.edges) << name;
    EXPECT_EQ(b.circular_edges, a.circular_edges) << name;
    EXPECT_EQ(b.straight_edges, a.straight_edges) << name;
    ASSERT_GT(a.volume, 0.0) << name;
    EXPECT_NEAR(b.volume, a.volume, 1e-6 * a.volume) << name;
    for (int k = 0; k < 3; ++k) {
      EXPECT_NEAR(b.min[k], a.min[k], 1e-6) << name;
      EXPECT_NEAR(b.max[k], a.max[k], 1e-6) << name;
    }
  }

  std::vector<BODY*> bodies_;
};

TEST_F(SourceExportTest, SphereKeepsItsExactSurface) {
  expect_round_trip(BRepPrimAPI_MakeSphere(gp_Pnt(1, 2, 3), 5.0).Shape(), "sphere");
  const STEP_SHAPE_SUMMARY s = check_step_file(path("sphere-out.step"));
  EXPECT_EQ(s.spherical_faces, 1);
  EXPECT_NEAR(s.volume, 4.0 / 3.0 * M_PI * 125.0, 1e-6 * s.volume);
}

TEST_F(SourceExportTest, ConeKeepsItsCircles) {
  expect_round_trip(
      BRepPrimAPI_MakeCone(gp_Ax2(gp_Pnt(0, 0, 0), gp_Dir(0, 0, 1)), 4.0, 2.0, 6.0).Shape(), "cone");
  const STEP_SHAPE_SUMMARY s = check_step_file(path("cone-out.step"));
  EXPECT_EQ(s.conical_faces, 1);
  EXPECT_EQ(s.planar_faces, 2);
  EXPECT_EQ(s.circular_edges, 2);
}

TEST_F(SourceExportTest, TorusKeepsItsExactSurface) {
  expect_round_trip(
      BRepPrimAPI_MakeTorus(gp_Ax2(gp_Pnt(0, 0, 0), gp_Dir(0, 1, 1)), 6.0, 1.5).Shape(), "torus");
  const STEP_SHAPE_SUMMARY s = check_step_file(path("torus-out.step"));
  EXPECT_EQ(s.toroidal_faces, 1);
  EXPECT_NEAR(s.volume, 2.0 * M_PI * M_PI * 6.0 * 1.5 * 1.5, 1e-6 * s.volume);
}

TEST_F(SourceExportTest, FilletedBoxKeepsItsRounds) {
  const TopoDS_Shape shape = filleted_box();
  expect_round_trip(shape, "filleted");
  const STEP_SHAPE_SUMMARY s = check_step_file(path("filleted-out.step"));
  EXPECT_EQ(s.planar_faces, 6);
  EXPECT_EQ(s.cylindrical_faces, 12);
  EXPECT_EQ(s.faces, 6 + 12 + 8);
}

TEST_F(SourceExportTest, PlacementMovesTheModel) {
  read_model(BRepPrimAPI_MakeSphere(gp_Pnt(0, 0, 0), 2.0).Shape(), "ball");
  ASSERT_EQ(bodies_.size(), 1u);
  STEP_EXPORT_ITEM item{bodies_[0], TRANSFORM3::translation(VECTOR3(10, 0, 0)), "ball", false, 0, 0, 0};
  write_step({item}, path("moved.step"));
  const STEP_SHAPE_SUMMARY s = check_step_file(path("moved.step"));
  EXPECT_TRUE(s.valid);
  EXPECT_EQ(s.spherical_faces, 1);
  EXPECT_NEAR(s.min[0], 8.0, 1e-6);
  EXPECT_NEAR(s.max[0], 12.0, 1e-6);
}

// Planes bounded by straight edges stay the kernel's to answer; the source
// face rides along without taking over.
TEST_F(SourceExportTest, KernelFacesKeepTheirOwnAnswers) {
  read_model(BRepPrimAPI_MakeBox(3.0, 4.0, 5.0).Shape(), "box");
  ASSERT_EQ(bodies_.size(), 1u);
  bodies_[0]->scan_faces(
      [](FACE* f, void*) {
        EXPECT_TRUE(f->geometry()->is_a(plane::type));
        EXPECT_EQ(foreign_face(f), nullptr);
        EXPECT_NE(occ_source_face(f), nullptr);
        return SCAN_CONTINUE;
      },
      nullptr);
}

TEST_F(SourceExportTest, MixedBodyIsRefusedAndLeavesNoFile) {
  read_model(BRepPrimAPI_MakeBox(3.0, 4.0, 5.0).Shape(), "box");
  ASSERT_EQ(bodies_.size(), 1u);
  FACE* first = nullptr;
  bodies_[0]->scan_faces(
      [](FACE* f, void* d) {
        *static_cast<FACE**>(d) = f;
        return SCAN_STOP;
      },
      &first);
  ASSERT_NE(first, nullptr);
  first->set_attributes(first->attributes().without("source-face"));
  try {
    write_step({{bodies_[0], TRANSFORM3(), "mixed", false, 0, 0, 0}}, path("mixed.step"));
    ADD_FAILURE() << "no error";
  } catch (const TV_EXCEPTION& e) {
    EXPECT_EQ(e.info(), k2_error(K2_ERROR::MIXED_BODY_FACES));
  }
  EXPECT_EQ(files(), std::vector<std::string>{"box.step"});
}

}  // namespace
