// Distances to the exact faces of a model read from STEP: to the surface
// inside the face, to the boundary outside it, across the seam of periodic
// surfaces, around holes, and the limit beyond which no distance is told.

#include "host/exchange/model_face_distance.h"

#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepBuilderAPI_MakePolygon.hxx>
#include <BRepBuilderAPI_MakeWire.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <STEPControl_Writer.hxx>
#include <TopoDS.hxx>
#include <cmath>
#include <functional>
#include <gp_Ax2.hxx>
#include <gp_Circ.hxx>
#include <gp_Pln.hxx>
#include <limits>

#include "host/exchange/occt_setup.h"
#include "host/exchange/step_import.h"
#include "host/kernel/kernel_errors.h"
#include "tests/host/exchange/exchange_fixture.h"

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kExact = 1e-7;

class ModelFaceDistanceTest : public ExchangeTest {
 protected:
  void TearDown() override {
    for (BODY* b : bodies_) b->lose();
    ExchangeTest::TearDown();
  }

  // The faces of the shape, written to STEP and read back.
  std::vector<FACE*> read_faces(const TopoDS_Shape& shape, const std::string& name) {
    prepare_occt();
    STEPControl_Writer w;
    EXPECT_EQ(w.Transfer(shape, STEPControl_AsIs), IFSelect_RetDone);
    EXPECT_EQ(w.Write(path(name).c_str()), IFSelect_RetDone);
    std::vector<BODY*> read = read_step(path(name));
    std::vector<FACE*> faces;
    for (BODY* b : read) {
      bodies_.push_back(b);
      b->scan_faces(
          [](FACE* f, void* data) {
            static_cast<std::vector<FACE*>*>(data)->push_back(f);
            return SCAN_CONTINUE;
          },
          &faces);
    }
    return faces;
  }

  // The one face whose box satisfies `pick`.
  static const FACE* face_where(const std::vector<FACE*>& faces,
                                const std::function<bool(const BOX3&, SURFACE_KIND)>& pick) {
    const FACE* found = nullptr;
    for (const FACE* f : faces) {
      if (!pick(f->box(), f->geometry()->surface_kind())) continue;
      EXPECT_EQ(found, nullptr) << "two faces fit";
      found = f;
    }
    EXPECT_NE(found, nullptr) << "no face fits";
    return found;
  }

  std::vector<BODY*> bodies_;
};

TEST_F(ModelFaceDistanceTest, BoxFaceMeasuresToItsPlaneInsideAndToItsEdgesOutside) {
  const std::vector<FACE*> faces = read_faces(BRepPrimAPI_MakeBox(10, 20, 30).Shape(), "box.step");
  const FACE* top = face_where(faces, [](const BOX3& b, SURFACE_KIND k) {
    return k == SURFACE_KIND::PLANE && std::abs(b.zi().lower() - 30) < 1e-6;
  });
  ASSERT_NE(top, nullptr);
  const MODEL_FACE_DISTANCE d(top, 1e-3);
  EXPECT_NEAR(d.area(), 200.0, 1e-9);
  EXPECT_NEAR(d.distance(POSITION3(5, 5, 31), 10), 1.0, kExact);
  EXPECT_NEAR(d.distance(POSITION3(5, 5, 29.5), 10), 0.5, kExact);
  EXPECT_NEAR(d.distance(POSITION3(5, 5, 30), 10), 0.0, kExact);
  // Off the face beside an edge, and beside a corner.
  EXPECT_NEAR(d.distance(POSITION3(-1, 5, 30), 10), 1.0, kExact);
  EXPECT_NEAR(d.distance(POSITION3(-3, -4, 30), 10), 5.0, kExact);
  EXPECT_NEAR(d.distance(POSITION3(13, 24, 30), 10), 5.0, kExact);
  // The limit: a distance equal to it is told, one beyond it is not.
  EXPECT_NEAR(d.distance(POSITION3(5, 5, 31), 1.0), 1.0, kExact);
  EXPECT_EQ(d.distance(POSITION3(5, 5, 31), 0.5), kInf);
  EXPECT_EQ(d.distance(POSITION3(std::nan(""), 5, 31), 10), kInf);
}

TEST_F(ModelFaceDistanceTest, CylinderWallAcrossItsSeamAndBeyondItsRims) {
  const std::vector<FACE*> faces =
      read_faces(BRepPrimAPI_MakeCylinder(5.0, 10.0).Shape(), "cylinder.step");
  const FACE* wall =
      face_where(faces, [](const BOX3&, SURFACE_KIND k) { return k == SURFACE_KIND::CYLINDER; });
  ASSERT_NE(wall, nullptr);
  const MODEL_FACE_DISTANCE d(wall, 1e-4);
  EXPECT_NEAR(d.area(), 100.0 * M_PI, 1e-6);
  EXPECT_NEAR(d.distance(POSITION3(7, 0, 5), 10), 2.0, kExact);
  EXPECT_NEAR(d.distance(POSITION3(0, 3, 5), 10), 2.0, kExact);
  // Just before the seam, at an angle of -0.1: in the face's period.
  EXPECT_NEAR(d.distance(POSITION3(5 * std::cos(-0.1), 5 * std::sin(-0.1), 5), 10), 0.0, kExact);
  // Above the top rim: to the circle, within the boundary's deflection.
  EXPECT_NEAR(d.distance(POSITION3(7, 0, 12), 10), std::sqrt(8.0), 1e-4);
}

TEST_F(ModelFaceDistanceTest, QuarterCylinderIsMeasuredToItsStraightEdgeFromOutside) {
  const std::vector<FACE*> faces =
      read_faces(BRepPrimAPI_MakeCylinder(5.0, 10.0, M_PI / 2).Shape(), "quarter.step");
  const FACE* wall =
      face_where(faces, [](const BOX3&, SURFACE_KIND k) { return k == SURFACE_KIND::CYLINDER; });
  ASSERT_NE(wall, nullptr);
  const MODEL_FACE_DISTANCE d(wall, 1e-4);
  EXPECT_NEAR(d.area(), 25.0 * M_PI, 1e-6);
  EXPECT_NEAR(d.distance(POSITION3(5 * std::cos(0.7), 5 * std::sin(0.7), 5), 10), 0.0, kExact);
  // At -0.3 rad, outside the quarter: the chord to the edge at angle 0.
  EXPECT_NEAR(d.distance(POSITION3(5 * std::cos(-0.3), 5 * std::sin(-0.3), 5), 10),
              10.0 * std::sin(0.15), kExact);
}

TEST_F(ModelFaceDistanceTest, SphereMeasuresToItsSurface) {
  const std::vector<FACE*> faces = read_faces(BRepPrimAPI_MakeSphere(3.0).Shape(), "sphere.step");
  ASSERT_EQ(faces.size(), 1u);
  const MODEL_FACE_DISTANCE d(faces[0], 1e-4);
  EXPECT_NEAR(d.area(), 36.0 * M_PI, 1e-6);
  EXPECT_NEAR(d.distance(POSITION3(0, 0, 5), 10), 2.0, kExact);
  EXPECT_NEAR(d.distance(POSITION3(4, 0, 0), 10), 1.0, kExact);
  EXPECT_NEAR(d.distance(POSITION3(0, -1, 0.5), 10), 3.0 - std::sqrt(1.25), kExact);
}

TEST_F(ModelFaceDistanceTest, PlaneWithAHoleMeasuresAcrossTheHoleToItsRim) {
  BRepBuilderAPI_MakePolygon square(gp_Pnt(-10, -10, 0), gp_Pnt(10, -10, 0), gp_Pnt(10, 10, 0),
                                    gp_Pnt(-10, 10, 0), Standard_True);
  BRepBuilderAPI_MakeFace make(gp_Pln(), square.Wire());
  const TopoDS_Edge rim = BRepBuilderAPI_MakeEdge(gp_Circ(gp_Ax2(), 2.0)).Edge();
  make.Add(TopoDS::Wire(BRepBuilderAPI_MakeWire(rim).Wire().Reversed()));
  const std::vector<FACE*> faces = read_faces(make.Face(), "holed.step");
  ASSERT_EQ(faces.size(), 1u);
  const MODEL_FACE_DISTANCE d(faces[0], 1e-5);
  EXPECT_NEAR(d.area(), 400.0 - 4.0 * M_PI, 1e-6);
  EXPECT_NEAR(d.distance(POSITION3(0, 0, 0), 10), 2.0, 1e-5);
  EXPECT_NEAR(d.distance(POSITION3(0, 0, 1), 10), std::sqrt(5.0), 1e-5);
  EXPECT_NEAR(d.distance(POSITION3(5, 3, 1), 10), 1.0, kExact);
  // On the line through the rim's extremes, where its curve starts and ends:
  // in the material on both sides of the hole.
  EXPECT_NEAR(d.distance(POSITION3(-8, 0, 0), 10), 0.0, kExact);
  EXPECT_NEAR(d.distance(POSITION3(5, 0, 0), 10), 0.0, kExact);
}

TEST_F(ModelFaceDistanceTest, KernelFaceWithoutModelIsRefused) {
  BODY* box = make_box(1, 2, 3);
  bodies_.push_back(box);
  FACE* face = nullptr;
  box->scan_faces(
      [](FACE* f, void* data) {
        *static_cast<FACE**>(data) = f;
        return SCAN_STOP;
      },
      &face);
  ASSERT_NE(face, nullptr);
  try {
    const MODEL_FACE_DISTANCE d(face, 1e-3);
    FAIL() << "a face without a model was prepared";
  } catch (const TV_EXCEPTION& e) {
    EXPECT_EQ(e.info(), k2_error(K2_ERROR::BAD_FACE));
  }
}

}  // namespace
