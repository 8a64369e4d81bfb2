// Geometric queries of faces on planes and cylinders: point classification
// (inside, in a bridged hole, on the boundary, off the surface), inner points,
// exact boxes, normals, tessellation and loop types.

#include <cmath>
#include <vector>

#include "host/geometry/constants.h"
#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/plane.h"
#include "host/kernel/geometry/point.h"
#include "host/kernel/geometry/straight.h"
#include "host/kernel/kernel_errors.h"
#include "host/kernel/ops/loop_types.h"
#include "host/kernel/ops/polyhedron_builder.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/edge.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"
#include "host/kernel/topology/shell.h"
#include "host/kernel/topology/vertex.h"
#include "kernel_fixture.h"
#include "support/tessellated_volume.h"

namespace {

constexpr double kR = 6.0;

class FaceGeometryTest : public KernelTest {
 protected:
  void SetUp() override {
    KernelTest::SetUp();
    body_ = make_bored_block(40, 30, 10, kR, kSegments);
    for (FACE* f = body_->shell(0)->first_face(); f != nullptr; f = f->next_in_shell()) {
      if (f->geometry()->is_a(cylinder::type)) hole_ = f;
      else if (f->box().lower().z() == 10.0) top_ = f;
      else if (f->box().upper().z() == 0.0) bottom_ = f;
    }
    ASSERT_NE(hole_, nullptr);
    ASSERT_NE(top_, nullptr);
    ASSERT_NE(bottom_, nullptr);
  }
  void TearDown() override {
    body_->lose();
    KernelTest::TearDown();
  }
  // The area of the polygon that stands for the hole.
  static double polygon_area() { return 0.5 * kSegments * kR * kR * std::sin(HOST_TWO_PI / kSegments); }

  static constexpr int kSegments = 7;
  BODY* body_ = nullptr;
  FACE* top_ = nullptr;
  FACE* bottom_ = nullptr;
  FACE* hole_ = nullptr;
};

TEST_F(FaceGeometryTest, PlaneFaceWithBridgedHoleClassifiesPoints) {
  EXPECT_EQ(top_->classify(POSITION3(5, 5, 10)), POINT_ON_FACE);
  EXPECT_EQ(top_->classify(POSITION3(20, 15, 10)), POINT_OUTSIDE_FACE);      // in the hole
  EXPECT_EQ(top_->classify(POSITION3(20 + kR, 15, 10)), POINT_ON_BOUNDARY);  // a hole vertex
  EXPECT_EQ(top_->classify(POSITION3(0, 0, 10)), POINT_ON_BOUNDARY);         // a corner
  EXPECT_EQ(top_->classify(POSITION3(20, 0, 10)), POINT_ON_BOUNDARY);        // an edge
  // The bridge from the corner (0,0) to the hole vertex that faces it.
  const double a = HOST_TWO_PI * bridge_vertex(POSITION3(20, 15, 0), kSegments) / kSegments;
  const POSITION3 mid(0.5 * (20 + kR * std::cos(a)), 0.5 * (15 + kR * std::sin(a)), 10);
  EXPECT_EQ(top_->classify(mid), POINT_ON_BOUNDARY);
  EXPECT_EQ(top_->classify(mid + VECTOR3(0.1, -0.1, 0)), POINT_ON_FACE);
  EXPECT_EQ(top_->classify(mid + VECTOR3(-0.1, 0.1, 0)), POINT_ON_FACE);
  EXPECT_EQ(top_->classify(POSITION3(50, 5, 10)), POINT_OUTSIDE_FACE);
  // Off the surface: no answer.
  EXPECT_EQ(top_->classify(POSITION3(5, 5, 11)), POINT_UNKNOWN);
  EXPECT_EQ(top_->classify(POSITION3(5, 5, 10 + 1e-7)), POINT_ON_FACE);
  // The same through a point of the surface and the free function.
  pt_on_sf foot;
  double d = 0;
  ASSERT_EQ(top_->geometry()->closest_point(POSITION3(5, 5, 10), foot, d), nullptr);
  EXPECT_EQ(top_->point_test(foot), POINT_ON_FACE);
  EXPECT_EQ(test_point_face(foot, top_, 0, true, nullptr), POINT_ON_FACE);
  EXPECT_EQ(test_point_face(foot, nullptr, 0, true, nullptr), POINT_UNKNOWN);
}

TEST_F(FaceGeometryTest, CylinderFaceWithSeamBridgeClassifiesPoints) {
  auto on_wall = [](double angle, double z) {
    return POSITION3(20 + kR * std::cos(angle), 15 + kR * std::sin(angle), z);
  };
  for (double a : {0.3, 1.0, 2.0, 3.0, 4.5, 6.0}) {
    EXPECT_EQ(hole_->classify(on_wall(a, 5)), POINT_ON_FACE) << a;
    EXPECT_EQ(hole_->classify(on_wall(a, 12)), POINT_OUTSIDE_FACE) << a;
    EXPECT_EQ(hole_->classify(on_wall(a, -0.5)), POINT_OUTSIDE_FACE) << a;
  }
  EXPECT_EQ(hole_->classify(on_wall(1.0, 10)), POINT_ON_BOUNDARY);  // the top circle
  EXPECT_EQ(hole_->classify(on_wall(1.0, 0)), POINT_ON_BOUNDARY);   // the bottom circle
  EXPECT_EQ(hole_->classify(on_wall(0.0, 5)), POINT_ON_BOUNDARY);   // the seam bridge
  EXPECT_EQ(hole_->classify(POSITION3(20, 15, 5)), POINT_UNKNOWN);  // on the axis
  EXPECT_EQ(hole_->classify(on_wall(1.0, 5) + VECTOR3(0, 0, 0) + VECTOR3(1, 0, 0)),
            POINT_UNKNOWN);  // off the wall
}

TEST_F(FaceGeometryTest, InnerPointsLieInside) {
  for (FACE* f = body_->shell(0)->first_face(); f != nullptr; f = f->next_in_shell()) {
    pt_on_sf p;
    ASSERT_EQ(f->innerPoint(p, nullptr), nullptr);
    EXPECT_EQ(f->point_test(p), POINT_ON_FACE);
    EXPECT_EQ(f->classify(p.evaluate()), POINT_ON_FACE);
  }
}

TEST_F(FaceGeometryTest, BoxesHoldTheTrueArcsOfACylinderFace) {
  // With 7 segments no vertex sits at 180 degrees, yet the box reaches the
  // full circle: the wall between the vertices bulges beyond the chords.
  const BOX3 b = hole_->box();
  EXPECT_NEAR(b.lower().x(), 20 - kR, 1e-9);
  EXPECT_NEAR(b.upper().x(), 20 + kR, 1e-9);
  EXPECT_NEAR(b.lower().y(), 15 - kR, 1e-9);
  EXPECT_NEAR(b.upper().y(), 15 + kR, 1e-9);
  EXPECT_NEAR(b.lower().z(), 0, 1e-12);
  EXPECT_NEAR(b.upper().z(), 10, 1e-12);
  const BOX3 t = top_->box();
  EXPECT_EQ(t.lower(), POSITION3(0, 0, 10));
  EXPECT_EQ(t.upper(), POSITION3(40, 30, 10));
  const BOX3 all = body_->bound();
  EXPECT_EQ(all.lower(), POSITION3(0, 0, 0));
  EXPECT_EQ(all.upper(), POSITION3(40, 30, 10));
}

TEST_F(FaceGeometryTest, NormalsPointOutOfTheMaterial) {
  pt_on_sf p;
  UNITVEC3 n;
  ASSERT_EQ(top_->innerPoint(p), nullptr);
  ASSERT_EQ(top_->normal(p, n), nullptr);
  EXPECT_NEAR(n.z(), 1, 1e-12);
  ASSERT_EQ(bottom_->innerPoint(p), nullptr);
  ASSERT_EQ(bottom_->normal(p, n), nullptr);
  EXPECT_NEAR(n.z(), -1, 1e-12);
  // On the hole's wall the material's outside is the hole: towards the axis.
  double d = 0;
  ASSERT_EQ(hole_->geometry()->closest_point(POSITION3(20 + kR, 15, 5), p, d), nullptr);
  ASSERT_EQ(hole_->normal(p, n), nullptr);
  EXPECT_NEAR(n.x(), -1, 1e-12);
}

TEST_F(FaceGeometryTest, TessellationCoversEachFaceAndEnclosesTheVolume) {
  double volume = 0;
  for (FACE* f = body_->shell(0)->first_face(); f != nullptr; f = f->next_in_shell()) {
    FACE_TESSELLATION t;
    ASSERT_EQ(f->tessellate(t), nullptr);
    ASSERT_EQ(t.positions.size(), t.normals.size());
    double area = 0;
    for (const auto& tri : t.triangles) {
      const VECTOR3 a(t.positions[tri[0]]), b(t.positions[tri[1]]), c(t.positions[tri[2]]);
      const VECTOR3 n = cross(b - a, c - a);
      area += 0.5 * n.len();
      volume += cone_volume(t.positions[tri[0]], t.positions[tri[1]], t.positions[tri[2]]);
      // Each triangle turns about the face's outward normal.
      EXPECT_GT(dot(n, t.normals[tri[0]]), 0);
    }
    if (f == top_ || f == bottom_) {
      EXPECT_NEAR(area, 1200 - polygon_area(), 1e-9);
    }
    if (f == hole_) {
      EXPECT_NEAR(area, kSegments * 2 * kR * std::sin(HOST_PI / kSegments) * 10, 1e-9);
    }
  }
  EXPECT_NEAR(volume, 12000 - 10 * polygon_area(), 1e-8);
}

TEST_F(FaceGeometryTest, LoopTypesOfTheBlockAreAllPeripheries) {
  ASSERT_EQ(set_loop_types(body_), nullptr);
  for (FACE* f = body_->shell(0)->first_face(); f != nullptr; f = f->next_in_shell()) {
    EXPECT_EQ(f->loop()->loop_type(), LOOP_OUTER);
  }
}

// Faces made loop by loop: a planar square with a separate square hole, and a
// cylindrical band bounded by two circles that each run around the axis.
class SeparateLoopsTest : public KernelTest {
 protected:
  static LOOP* add_loop(FACE* f, const std::vector<POSITION3>& pts) {
    std::vector<VERTEX*> v;
    for (const auto& p : pts) v.push_back(new VERTEX(new point3(p)));
    COEDGE* first = nullptr;
    COEDGE* last = nullptr;
    for (std::size_t i = 0; i < v.size(); ++i) {
      VERTEX* a = v[i];
      VERTEX* b = v[(i + 1) % v.size()];
      MOD_INFO* status = nullptr;
      auto* e = new EDGE(a, b, new straight(a->pt3(), (b->pt3() - a->pt3()).uvec3()), status);
      EXPECT_EQ(status, nullptr);
      last = new COEDGE(e, false, last, nullptr);
      if (first == nullptr) first = last;
    }
    last->set_next(first);
    return new LOOP(first, f, LOOP_UNKNOWN);
  }
  static std::vector<POSITION3> circle(double z, int n, bool ccw) {
    std::vector<POSITION3> pts;
    for (int i = 0; i < n; ++i) {
      const double a = HOST_TWO_PI * i / n * (ccw ? 1 : -1);
      pts.emplace_back(3 * std::cos(a), 3 * std::sin(a), z);
    }
    return pts;
  }
};

TEST_F(SeparateLoopsTest, SquareWithASeparateHoleLoop) {
  auto* f = new FACE(new plane(POSITION3(0, 0, 0), UNITVEC3(0, 0, 1)), false);
  LOOP* outer = add_loop(f, {{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 10, 0}});
  LOOP* inner = add_loop(f, {{4, 4, 0}, {4, 6, 0}, {6, 6, 0}, {6, 4, 0}});
  ASSERT_EQ(set_loop_types(f), nullptr);
  EXPECT_EQ(outer->loop_type(), LOOP_OUTER);
  EXPECT_EQ(inner->loop_type(), LOOP_INNER);
  EXPECT_EQ(f->number_of_loops(), 2);
  EXPECT_EQ(f->classify(POSITION3(5, 5, 0)), POINT_OUTSIDE_FACE);
  EXPECT_EQ(f->classify(POSITION3(2, 5, 0)), POINT_ON_FACE);
  EXPECT_EQ(f->classify(POSITION3(4, 5, 0)), POINT_ON_BOUNDARY);
  FACE_TESSELLATION t;
  ASSERT_EQ(f->tessellate(t), nullptr);
  double area = 0;
  for (const auto& tri : t.triangles) {
    area += 0.5 * cross(t.positions[tri[1]] - t.positions[tri[0]],
                        t.positions[tri[2]] - t.positions[tri[0]]).len();
  }
  EXPECT_NEAR(area, 96, 1e-9);
  // A reversed face sees the same loops the other way round.
  auto* g = new FACE(new plane(POSITION3(0, 0, 0), UNITVEC3(0, 0, 1)), true);
  LOOP* g_outer = add_loop(g, {{0, 0, 0}, {0, 10, 0}, {10, 10, 0}, {10, 0, 0}});
  ASSERT_EQ(set_loop_types(g), nullptr);
  EXPECT_EQ(g_outer->loop_type(), LOOP_OUTER);
  f->lose();
  g->lose();
  EXPECT_EQ(new_entities(), 0u);
}

TEST_F(SeparateLoopsTest, CylindricalBandBetweenTwoSeparationLoops) {
  auto* f = new FACE(new cylinder(POSITION3(0, 0, 0), UNITVEC3(0, 0, 1), 3), false);
  LOOP* top = add_loop(f, circle(4, 24, false));
  LOOP* bottom = add_loop(f, circle(1, 24, true));
  ASSERT_EQ(set_loop_types(f), nullptr);
  EXPECT_EQ(top->loop_type(), LOOP_SEPARATION);
  EXPECT_EQ(bottom->loop_type(), LOOP_SEPARATION);
  for (double a : {0.0, 0.1, 1.7, 3.2, 5.9}) {
    const double c = 3 * std::cos(a), s = 3 * std::sin(a);
    EXPECT_EQ(f->classify(POSITION3(c, s, 2.5)), POINT_ON_FACE) << a;
    EXPECT_EQ(f->classify(POSITION3(c, s, 5)), POINT_OUTSIDE_FACE) << a;
    EXPECT_EQ(f->classify(POSITION3(c, s, 0)), POINT_OUTSIDE_FACE) << a;
  }
  EXPECT_EQ(f->classify(POSITION3(3, 0, 4)), POINT_ON_BOUNDARY);
  pt_on_sf p;
  ASSERT_EQ(f->innerPoint(p), nullptr);
  EXPECT_EQ(f->point_test(p), POINT_ON_FACE);
  const BOX3 b = f->box();
  EXPECT_NEAR(b.lower().x(), -3, 1e-9);
  EXPECT_NEAR(b.upper().y(), 3, 1e-9);
  EXPECT_NEAR(b.lower().z(), 1, 1e-12);
  EXPECT_NEAR(b.upper().z(), 4, 1e-12);
  // The band tessellates into the prism wall between the two polygons.
  FACE_TESSELLATION t;
  ASSERT_EQ(f->tessellate(t), nullptr);
  double area = 0;
  for (const auto& tri : t.triangles) {
    const VECTOR3 n = cross(t.positions[tri[1]] - t.positions[tri[0]],
                            t.positions[tri[2]] - t.positions[tri[0]]);
    area += 0.5 * n.len();
    EXPECT_GT(dot(n, t.normals[tri[0]]), 0);
  }
  EXPECT_NEAR(area, 24 * 2 * 3 * std::sin(HOST_PI / 24) * 3, 1e-9);
  f->lose();
  EXPECT_EQ(new_entities(), 0u);
}

// Half a cylinder wall (angles 0 to pi, heights 0 to 10) with a window
// (angles pi/3 to 2pi/3, heights 3 to 7) reached by a bridge along the ruling
// at pi/2: the same bridged-hole shape as on a plane, on a curved surface.
TEST_F(SeparateLoopsTest, CylinderFaceWithABridgedWindow) {
  constexpr double r = 5;
  POLYHEDRON_BUILDER b;
  auto at = [&](double a, double z) {
    return b.add_vertex(POSITION3(r * std::cos(a), r * std::sin(a), z));
  };
  std::vector<int> ring;
  const int segments = 12;  // of the half circle; vertex 6 sits at pi/2
  for (int i = 0; i <= segments / 2; ++i) ring.push_back(at(HOST_PI * i / segments, 0));
  const int bridge_foot = ring.back();
  // Into the window and round it clockwise (seen against the outer normal).
  const int w0 = at(HOST_PI / 2, 3);
  ring.push_back(w0);
  for (int i = 1; i <= 2; ++i) ring.push_back(at(HOST_PI / 2 - HOST_PI / 12 * i, 3));
  for (int i = 0; i <= 4; ++i) ring.push_back(at(HOST_PI / 3 + HOST_PI / 12 * i, 7));
  for (int i = 0; i <= 1; ++i) ring.push_back(at(2 * HOST_PI / 3 - HOST_PI / 12 * i, 3));
  ring.push_back(w0);
  ring.push_back(bridge_foot);
  for (int i = segments / 2 + 1; i <= segments; ++i) ring.push_back(at(HOST_PI * i / segments, 0));
  for (int i = segments; i >= 0; --i) ring.push_back(at(HOST_PI * i / segments, 10));
  // (the ring closes from the top at angle 0 down to the start)
  MOD_INFO* status = nullptr;
  FACE* f = b.add_face(ring, new cylinder(POSITION3(0, 0, 0), UNITVEC3(0, 0, 1), r), false, status);
  ASSERT_NE(f, nullptr) << (status != nullptr ? status->message() : "");
  BODY* body = b.finish(1e-6);
  auto wall = [&](double a, double z) { return POSITION3(r * std::cos(a), r * std::sin(a), z); };
  EXPECT_EQ(f->classify(wall(HOST_PI / 6, 5)), POINT_ON_FACE);
  EXPECT_EQ(f->classify(wall(5 * HOST_PI / 6, 1)), POINT_ON_FACE);
  EXPECT_EQ(f->classify(wall(HOST_PI / 2, 5)), POINT_OUTSIDE_FACE);   // in the window
  EXPECT_EQ(f->classify(wall(HOST_PI / 2, 1.5)), POINT_ON_BOUNDARY);  // on the bridge
  EXPECT_EQ(f->classify(wall(HOST_PI / 3, 5)), POINT_ON_BOUNDARY);    // the window's side
  EXPECT_EQ(f->classify(wall(HOST_PI / 4, 0)), POINT_ON_BOUNDARY);    // the bottom
  EXPECT_EQ(f->classify(wall(3 * HOST_PI / 2, 5)), POINT_OUTSIDE_FACE);  // the other half
  EXPECT_EQ(f->classify(wall(HOST_PI / 6, 11)), POINT_OUTSIDE_FACE);
  EXPECT_EQ(f->classify(POSITION3(0, 0, 5)), POINT_UNKNOWN);  // on the axis
  pt_on_sf p;
  ASSERT_EQ(f->innerPoint(p), nullptr);
  EXPECT_EQ(f->point_test(p), POINT_ON_FACE);
  ASSERT_EQ(set_loop_types(f), nullptr);
  EXPECT_EQ(f->loop()->loop_type(), LOOP_OUTER);
  FACE_TESSELLATION t;
  ASSERT_EQ(f->tessellate(t), nullptr);
  for (const auto& tri : t.triangles) {
    const POSITION3 c = POSITION3((VECTOR3(t.positions[tri[0]]) + VECTOR3(t.positions[tri[1]]) +
                                   VECTOR3(t.positions[tri[2]])) / 3.0);
    // Each triangle lies on the face, not in the window, and faces outwards.
    const double a = std::atan2(c.y(), c.x());
    EXPECT_FALSE(a > HOST_PI / 3 + 1e-9 && a < 2 * HOST_PI / 3 - 1e-9 && c.z() > 3 + 1e-9 &&
                 c.z() < 7 - 1e-9);
    const VECTOR3 n = cross(t.positions[tri[1]] - t.positions[tri[0]], t.positions[tri[2]] - t.positions[tri[0]]);
    EXPECT_GT(dot(n, VECTOR3(c.x(), c.y(), 0)), 0);
  }
  body->lose();
  EXPECT_EQ(new_entities(), 0u);
}

TEST_F(SeparateLoopsTest, AFaceWithoutLoopsAnswersWithoutCrashing) {
  auto* f = new FACE(new plane(POSITION3(0, 0, 0), UNITVEC3(0, 0, 1)), false);
  EXPECT_TRUE(f->box().is_nil());
  EXPECT_EQ(f->classify(POSITION3(0, 0, 0)), POINT_UNKNOWN);
  pt_on_sf p;
  EXPECT_EQ(f->innerPoint(p), k2_error(K2_ERROR::BAD_FACE));
  FACE_TESSELLATION t;
  EXPECT_EQ(f->tessellate(t), k2_error(K2_ERROR::BAD_FACE));
  EXPECT_EQ(set_loop_types(f), nullptr);
  f->lose();
}

}  // namespace
