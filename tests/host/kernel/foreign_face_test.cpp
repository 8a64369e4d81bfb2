// Faces that carry a FOREIGN_FACE_ATT are answered by it: the kernel's face
// queries must hand over to the attribute, and leave other faces alone.

#include "host/kernel/ops/foreign_face.h"

#include <gtest/gtest.h>

#include "host/kernel/kernel_errors.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "tests/host/kernel/kernel_fixture.h"

namespace {

// Answers that no face of a unit cube would give by itself.
class STUB_FACE_ATT final : public FOREIGN_FACE_ATT {
 public:
  BOX3 box() const override { return BOX3(POSITION3(-7, -7, -7), POSITION3(7, 7, 7)); }
  int classify(const POSITION3& p, double tol) const override {
    last_tol = tol;
    return p.x() > 100.0 ? POINT_OUTSIDE_FACE : POINT_ON_BOUNDARY;
  }
  MOD_INFO* inner_point(POSITION3& p) const override {
    p = POSITION3(0.25, 0.5, 0.0);
    return nullptr;
  }
  MOD_INFO* tessellate(FACE_TESSELLATION& out) const override {
    out.positions = {POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(0, 1, 0)};
    out.normals.assign(3, UNITVEC3(0, 0, 1));
    out.triangles = {{0, 1, 2}};
    return nullptr;
  }
  mutable double last_tol = 0.0;
};

// Fails every query, as a face that cannot be meshed would.
class FAILING_FACE_ATT final : public FOREIGN_FACE_ATT {
 public:
  BOX3 box() const override { return BOX3::nil(); }
  int classify(const POSITION3&, double) const override { return POINT_UNKNOWN; }
  MOD_INFO* inner_point(POSITION3&) const override { return k2_error(K2_ERROR::NOT_ON_FACE); }
  MOD_INFO* tessellate(FACE_TESSELLATION& out) const override {
    out.positions.emplace_back(1, 2, 3);  // partial output must not leak out
    return k2_error(K2_ERROR::BAD_FACE);
  }
};

// The face of the cube lying in z = 0.
FACE* bottom_face(BODY* cube) {
  FACE* found = nullptr;
  cube->scan_faces(
      [](FACE* f, void* d) {
        const BOX3 b = f->box();
        if (b.upper().z() < 1e-9) {
          *static_cast<FACE**>(d) = f;
          return SCAN_STOP;
        }
        return SCAN_CONTINUE;
      },
      &found);
  return found;
}

class ForeignFaceTest : public KernelTest {};

TEST_F(ForeignFaceTest, QueriesGoToTheAttribute) {
  BODY* cube = make_triangle_cube(1.0);
  FACE* f = bottom_face(cube);
  ASSERT_NE(f, nullptr);
  EXPECT_EQ(foreign_face(f), nullptr);
  const BOX3 own = f->box();
  auto stub = std::make_shared<STUB_FACE_ATT>();
  f->add_attribute(stub);
  EXPECT_EQ(foreign_face(f), stub.get());

  EXPECT_NEAR(f->box().lower().x(), -7.0, 0.0);
  EXPECT_EQ(f->classify(POSITION3(0.2, 0.1, 0.0)), POINT_ON_BOUNDARY);
  EXPECT_EQ(stub->last_tol, get_k2_geores().resabs());
  EXPECT_EQ(f->classify(POSITION3(200, 0, 0)), POINT_OUTSIDE_FACE);
  const VECTOR2 uv = f->geometry()->param(POSITION3(0.2, 0.1, 0.0));
  EXPECT_EQ(f->point_test(pt_on_sf(f->geometry(), uv.x(), uv.y())), POINT_ON_BOUNDARY);
  pt_on_sf p;
  ASSERT_EQ(f->innerPoint(p), nullptr);
  EXPECT_EQ(p.get_surface(), f->geometry());
  EXPECT_NEAR((p.evaluate() - POSITION3(0.25, 0.5, 0.0)).len(), 0.0, 1e-12);
  FACE_TESSELLATION t;
  ASSERT_EQ(f->tessellate(t), nullptr);
  EXPECT_EQ(t.triangles.size(), 1u);

  // Without the attribute the kernel answers by itself again.
  f->remove_attribute(FOREIGN_FACE_ATT::kName);
  EXPECT_EQ(foreign_face(f), nullptr);
  EXPECT_NEAR(f->box().lower().x(), own.lower().x(), 0.0);
  EXPECT_EQ(f->classify(POSITION3(200, 0, 0)), POINT_OUTSIDE_FACE);
  cube->lose();
}

TEST_F(ForeignFaceTest, FailuresOfTheAttributeAreReported) {
  BODY* cube = make_triangle_cube(1.0);
  FACE* f = bottom_face(cube);
  ASSERT_NE(f, nullptr);
  f->add_attribute(std::make_shared<FAILING_FACE_ATT>());
  EXPECT_TRUE(f->box().is_nil());
  EXPECT_EQ(f->classify(POSITION3(0.5, 0.5, 0)), POINT_UNKNOWN);
  pt_on_sf p;
  EXPECT_EQ(f->innerPoint(p), k2_error(K2_ERROR::NOT_ON_FACE));
  FACE_TESSELLATION t;
  EXPECT_EQ(f->tessellate(t), k2_error(K2_ERROR::BAD_FACE));
  EXPECT_TRUE(t.positions.empty());
  cube->lose();
}

}  // namespace
