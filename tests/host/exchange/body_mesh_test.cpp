// Whole-body meshes of bodies read from STEP: every edge between two
// triangles is met once each way by corners equal bit for bit, so the facets
// close without welding; bodies of the kernel's own are left to it.

#include "host/exchange/body_mesh.h"

#include <BRepPrimAPI_MakeCone.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepPrimAPI_MakeTorus.hxx>
#include <STEPControl_Writer.hxx>
#include <gp_Ax2.hxx>

#include <cmath>
#include <map>
#include <tuple>

#include "host/exchange/occt_setup.h"
#include "host/exchange/step_check.h"
#include "host/exchange/step_import.h"
#include "host/kernel/kernel_errors.h"
#include "tests/host/exchange/exchange_fixture.h"

namespace {

using CORNER = std::tuple<double, double, double>;

CORNER corner(const POSITION3& p) { return {p.x(), p.y(), p.z()}; }

// Directed edges that have no reverse twin, and the enclosed volume.
void closure(const std::vector<STL_TRIANGLE>& tris, int& unmatched, double& volume) {
  std::map<std::pair<CORNER, CORNER>, int> uses;
  volume = 0.0;
  for (const STL_TRIANGLE& t : tris) {
    for (int k = 0; k < 3; ++k) ++uses[{corner(t[k]), corner(t[(k + 1) % 3])}];
    volume += dot(VECTOR3(t[0]), cross(VECTOR3(t[1]), VECTOR3(t[2]))) / 6.0;
  }
  unmatched = 0;
  for (const auto& [edge, n] : uses) {
    auto twin = uses.find({edge.second, edge.first});
    if (n != 1 || twin == uses.end() || twin->second != 1) ++unmatched;
  }
}

class BodyMeshTest : public ExchangeTest {
 protected:
  std::vector<BODY*> read_shape(const TopoDS_Shape& shape, const std::string& name) {
    prepare_occt();
    STEPControl_Writer w;
    EXPECT_EQ(w.Transfer(shape, STEPControl_AsIs), IFSelect_RetDone);
    EXPECT_EQ(w.Write(path(name).c_str()), IFSelect_RetDone);
    return read_step(path(name));
  }
};

TEST_F(BodyMeshTest, KernelBodyIsLeftToTheKernel) {
  BODY* box = make_box(1, 2, 3);
  std::vector<STL_TRIANGLE> out;
  EXPECT_FALSE(mesh_source_body(*box, out));
  EXPECT_TRUE(out.empty());
  box->lose();
}

TEST_F(BodyMeshTest, ConeAndTorusCloseUpWithTheirVolumes) {
  std::vector<BODY*> bodies =
      read_shape(BRepPrimAPI_MakeCone(gp_Ax2(gp_Pnt(0, 0, 0), gp_Dir(1, 0, 0)), 3.0, 0.0, 5.0).Shape(),
                 "cone.step");
  const double cone = M_PI * 9.0 * 5.0 / 3.0;
  ASSERT_EQ(bodies.size(), 1u);
  std::vector<STL_TRIANGLE> tris;
  ASSERT_TRUE(mesh_source_body(*bodies[0], tris));
  int unmatched = -1;
  double volume = 0.0;
  closure(tris, unmatched, volume);
  EXPECT_EQ(unmatched, 0);
  EXPECT_NEAR(volume, cone, 0.01 * cone);
  bodies[0]->lose();

  bodies = read_shape(BRepPrimAPI_MakeTorus(gp_Ax2(gp_Pnt(1, 2, 3), gp_Dir(0, 0, 1)), 10.0, 2.0).Shape(),
                      "torus.step");
  const double torus = 2.0 * M_PI * M_PI * 10.0 * 4.0;
  ASSERT_EQ(bodies.size(), 1u);
  tris.clear();
  ASSERT_TRUE(mesh_source_body(*bodies[0], tris));
  closure(tris, unmatched, volume);
  EXPECT_EQ(unmatched, 0);
  // The deflection follows the body's size, not the tube's: a tube a tenth
  // of the body across loses about 1.2% of its volume to the chords.
  EXPECT_NEAR(volume, torus, 0.02 * torus);
  bodies[0]->lose();
}

TEST_F(BodyMeshTest, AFinerDeflectionIsHeldAndTheUsualOneStaysTheSame) {
  std::vector<BODY*> bodies = read_shape(BRepPrimAPI_MakeCylinder(10.0, 20.0).Shape(), "cyl.step");
  ASSERT_EQ(bodies.size(), 1u);
  const BODY& body = *bodies[0];
  std::vector<STL_TRIANGLE> usual, same, fine;
  ASSERT_TRUE(mesh_source_body(body, usual));
  double deflection = 0.0;
  ASSERT_TRUE(mesh_source_body(body, kBodyMeshRelativeDeflection, same, &deflection));
  EXPECT_EQ(usual, same);
  const double diagonal = std::sqrt(3.0) * 20.0;
  EXPECT_NEAR(deflection, kBodyMeshRelativeDeflection * diagonal, 1e-3 * deflection);

  ASSERT_TRUE(mesh_source_body(body, 5e-4, fine, &deflection));
  EXPECT_NEAR(deflection, 5e-4 * diagonal, 1e-3 * deflection);
  EXPECT_GT(fine.size(), usual.size());
  int unmatched = -1;
  double volume = 0.0;
  closure(fine, unmatched, volume);
  EXPECT_EQ(unmatched, 0);
  // Triangles of the wall (all corners on it, and not all on one rim, as
  // the caps' are): their middles sag inside the wall by no more than the
  // deflection.
  int wall = 0;
  for (const STL_TRIANGLE& t : fine) {
    bool on_wall = t[0].z() != t[1].z() || t[1].z() != t[2].z();
    for (const POSITION3& p : t) on_wall = on_wall && std::abs(std::hypot(p.x(), p.y()) - 10.0) < 1e-9;
    if (!on_wall) continue;
    ++wall;
    const double mx = (t[0].x() + t[1].x() + t[2].x()) / 3.0;
    const double my = (t[0].y() + t[1].y() + t[2].y()) / 3.0;
    EXPECT_GE(std::hypot(mx, my), 10.0 - deflection - 1e-9);
  }
  EXPECT_GT(wall, 0);

  std::vector<STL_TRIANGLE> none;
  try {
    mesh_source_body(body, std::nan(""), none);
    ADD_FAILURE() << "a NaN deflection made a mesh";
  } catch (const TV_EXCEPTION& e) {
    EXPECT_EQ(e.info(), k2_error(K2_ERROR::BAD_FACE));
  }
  EXPECT_TRUE(none.empty());
  bodies[0]->lose();
}

}  // namespace
