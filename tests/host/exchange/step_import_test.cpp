#include "host/exchange/step_import.h"

#include <BRepPrimAPI_MakeCone.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <BRepPrimAPI_MakeTorus.hxx>
#include <BRep_Builder.hxx>
#include <STEPControl_Writer.hxx>
#include <TopoDS_Compound.hxx>
#include <gp_Ax2.hxx>

#include <cmath>
#include <fstream>
#include <sstream>

#include "host/exchange/occ_geometry.h"
#include "host/exchange/occt_setup.h"
#include "host/exchange/step_check.h"
#include "host/exchange/step_export.h"
#include "host/kernel/geometry/straight.h"
#include "host/kernel/kernel_errors.h"
#include "host/kernel/ops/body_checker.h"
#include "host/kernel/ops/foreign_face.h"
#include "host/kernel/ops/mass_props.h"
#include "host/kernel/ops/merge_faces.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/edge.h"
#include "host/kernel/topology/loop.h"
#include "host/kernel/topology/vertex.h"
#include "tests/host/exchange/exchange_fixture.h"

namespace {

std::vector<FACE*> faces_of(const BODY* body) {
  std::vector<FACE*> out;
  body->scan_faces(
      [](FACE* f, void* d) {
        static_cast<std::vector<FACE*>*>(d)->push_back(f);
        return SCAN_CONTINUE;
      },
      &out);
  return out;
}

void lose_all(std::vector<BODY*>& bodies) {
  for (BODY* b : bodies) b->lose();
  bodies.clear();
}

bool unreadable(const std::string& path) {
  try {
    std::vector<BODY*> bodies = read_step(path);
    lose_all(bodies);
  } catch (const TV_EXCEPTION& e) {
    return e.info() == k2_error(K2_ERROR::UNREADABLE_FILE);
  }
  return false;
}

void write_text(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

std::string read_text(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

class StepImportTest : public ExchangeTest {
 protected:
  void TearDown() override {
    EXPECT_EQ(assertions(), 0u) << "the import broke a kernel invariant";
    ExchangeTest::TearDown();
  }
  // A body written with the exporter, read back: one body, checked.
  BODY* round_trip(BODY* body, const std::string& name) {
    write_step({{body, TRANSFORM3(), name, false, 0, 0, 0}}, path(name));
    std::vector<BODY*> back = read_step(path(name));
    EXPECT_EQ(back.size(), 1u);
    if (back.size() != 1) {
      lose_all(back);
      return nullptr;
    }
    return back[0];
  }
};

// The read-back body has the original's faces by kind and the volume of the
// file's exact solid (the exporter turns chords along a circle into the
// circle, so the volume is that of the round holes, not of the polygons).
void expect_same_body(const BODY* original, const BODY* back, const std::string& file) {
  const BODY_MEASURES a = measure(original), b = measure(back);
  EXPECT_EQ(a.faces, b.faces);
  EXPECT_EQ(a.planes, b.planes);
  EXPECT_EQ(a.cylinders, b.cylinders);
  const double exact = check_step_file(file).volume;
  EXPECT_NEAR(b.volume, exact, 1e-3 * exact);
  const BODY_CHECK c = check_body(back);
  EXPECT_TRUE(c.ok()) << (c.problems.empty() ? "" : c.problems.front());
  EXPECT_EQ(c.open_edges, 0);
  EXPECT_EQ(c.nonmanifold_edges, 0);
  EXPECT_FALSE(is_face_part(back));
}

TEST_F(StepImportTest, BoxComesBackOnKernelPlanesAndStraightEdges) {
  BODY* box = make_box(10, 20, 30);
  BODY* back = round_trip(box, "box.step");
  ASSERT_NE(back, nullptr);
  expect_same_body(box, back, path("box.step"));
  const BODY_CHECK c = check_body(back);
  EXPECT_EQ(c.edges, 12);
  EXPECT_EQ(c.vertices, 8);
  EXPECT_EQ(c.euler(), 2);
  for (FACE* f : faces_of(back)) {
    EXPECT_EQ(foreign_face(f), nullptr);  // the kernel answers by itself
    EXPECT_EQ(f->number_of_loops(), 1);
    EXPECT_EQ(f->loop()->loop_type(), LOOP_OUTER);
    EXPECT_TRUE(f->loop()->start()->edge()->geometry()->is_a(straight::type));
  }
  EXPECT_NEAR(measure(back).volume, 6000.0, 1e-9 * 6000.0);
  back->lose();
  box->lose();
}

TEST_F(StepImportTest, BoredBlockRoundTripKeepsFacesAndVolume) {
  BODY* block = make_bored_block(40, 30, 10, 5, 32);
  BODY* back = round_trip(block, "block.step");
  ASSERT_NE(back, nullptr);
  expect_same_body(block, back, path("block.step"));
  EXPECT_NEAR(measure(back).volume, 40.0 * 30.0 * 10.0 - M_PI * 25.0 * 10.0, 1e-3 * 10000.0);
  // The hole comes back as an exact cylinder of radius 5 bounded by circles,
  // so its face and the top and bottom answer through the source face.
  int foreign = 0;
  for (FACE* f : faces_of(back)) {
    if (foreign_face(f) != nullptr) ++foreign;
    if (const cylinder* c = entity_cast<cylinder>(f->geometry())) {
      EXPECT_NEAR(c->radius(), 5.0, 1e-9);
      // One loop: along the bottom circle, up the seam, back along the top
      // circle and down the seam, each circle as two halves.
      EXPECT_EQ(f->number_of_loops(), 1);
      EXPECT_EQ(f->loop()->number_of_coedges(), 6);
      // The hole's wall faces the axis: its outward normal points inward.
      pt_on_sf p;
      ASSERT_EQ(f->innerPoint(p), nullptr);
      UNITVEC3 n;
      ASSERT_EQ(f->normal(p, n), nullptr);
      const POSITION3 q = p.evaluate();
      EXPECT_LT(dot(n, VECTOR3(q.x() - 20.0, q.y() - 15.0, 0.0)), 0.0);
      EXPECT_EQ(f->point_test(p), POINT_ON_FACE);
    }
  }
  EXPECT_EQ(foreign, 3);
  back->lose();
  block->lose();
}

TEST_F(StepImportTest, PerforatedPlateRoundTripKeepsFacesAndVolume) {
  BODY* plate = make_perforated_plate(3, 2, 4.0, 2.0, 1.2, 16);
  BODY* back = round_trip(plate, "plate.step");
  ASSERT_NE(back, nullptr);
  expect_same_body(plate, back, path("plate.step"));
  EXPECT_NEAR(measure(back).volume, 12.0 * 8.0 * 2.0 - 6.0 * M_PI * 1.44 * 2.0, 1e-3 * 192.0);
  EXPECT_EQ(back->number_of_faces(), 3 * 3 * 2 + 4);
  back->lose();
  plate->lose();
}

// A sphere, a cone and a torus made and written with OCCT itself.
class StepImportCurvedTest : public StepImportTest {
 protected:
  static constexpr double kSphereR = 3.0;
  static constexpr double kConeR1 = 2.0, kConeR2 = 1.0, kConeH = 4.0;
  static constexpr double kTorusR = 5.0, kTorusr = 1.0;

  void SetUp() override {
    StepImportTest::SetUp();
    prepare_occt();
    TopoDS_Compound all;
    BRep_Builder b;
    b.MakeCompound(all);
    b.Add(all, BRepPrimAPI_MakeSphere(gp_Pnt(0, 0, 0), kSphereR).Shape());
    b.Add(all, BRepPrimAPI_MakeCone(gp_Ax2(gp_Pnt(20, 0, 0), gp_Dir(0, 0, 1)), kConeR1, kConeR2,
                                    kConeH)
                   .Shape());
    b.Add(all, BRepPrimAPI_MakeTorus(gp_Ax2(gp_Pnt(0, 30, 0), gp_Dir(0, 0, 1)), kTorusR, kTorusr)
                   .Shape());
    STEPControl_Writer w;
    ASSERT_EQ(w.Transfer(all, STEPControl_AsIs), IFSelect_RetDone);
    ASSERT_EQ(w.Write(path("curved.step").c_str()), IFSelect_RetDone);
    bodies_ = read_step(path("curved.step"));
  }
  void TearDown() override {
    lose_all(bodies_);
    StepImportTest::TearDown();
  }

  // The face of the body on an occ_surface.
  static FACE* curved_face(const BODY* body) {
    for (FACE* f : faces_of(body)) {
      if (f->geometry()->is_a(occ_surface::type)) return f;
    }
    return nullptr;
  }

  std::vector<BODY*> bodies_;
};

TEST_F(StepImportCurvedTest, EachSolidIsABodyWithItsKindOfSurface) {
  ASSERT_EQ(bodies_.size(), 3u);
  const OCC_SURFACE_KIND kinds[3] = {OCC_SURFACE_KIND::SPHERE, OCC_SURFACE_KIND::CONE,
                                     OCC_SURFACE_KIND::TORUS};
  const SURFACE_KIND surface_kinds[3] = {SURFACE_KIND::SPHERE, SURFACE_KIND::CONE,
                                          SURFACE_KIND::TORUS};
  const int faces[3] = {1, 3, 1};
  for (int i = 0; i < 3; ++i) {
    const BODY* b = bodies_[static_cast<std::size_t>(i)];
    EXPECT_EQ(b->number_of_faces(), faces[i]);
    const FACE* f = curved_face(b);
    ASSERT_NE(f, nullptr);
    const auto* sf = entity_cast<occ_surface>(f->geometry());
    ASSERT_NE(sf, nullptr);
    EXPECT_EQ(sf->kind(), kinds[i]) << occ_surface_kind_name(sf->kind());
    EXPECT_EQ(f->geometry()->surface_kind(), surface_kinds[i]);
    EXPECT_TRUE(sf->identity() <= surface::type);
    EXPECT_NE(foreign_face(f), nullptr);
    const BODY_CHECK c = check_body(b);
    EXPECT_TRUE(c.ok()) << (c.problems.empty() ? "" : c.problems.front());
    EXPECT_EQ(c.open_edges, 0);
    EXPECT_GE(b->resabs(), resolution::_min_resabs);
  }
  EXPECT_STREQ(occ_surface_kind_name(OCC_SURFACE_KIND::TORUS), "torus");
  // The cone's ends are the kernel's planes, bounded by circles.
  int planes = 0;
  for (FACE* f : faces_of(bodies_[1])) {
    if (f->geometry()->is_a(plane::type)) {
      ++planes;
      EXPECT_NE(foreign_face(f), nullptr);
      EXPECT_EQ(f->geometry()->surface_kind(), SURFACE_KIND::PLANE);
    }
  }
  EXPECT_EQ(planes, 2);
}

TEST_F(StepImportCurvedTest, TessellationGivesTheAnalyticVolumes) {
  ASSERT_EQ(bodies_.size(), 3u);
  const double volumes[3] = {
      4.0 / 3.0 * M_PI * kSphereR * kSphereR * kSphereR,
      M_PI * kConeH / 3.0 * (kConeR1 * kConeR1 + kConeR1 * kConeR2 + kConeR2 * kConeR2),
      2.0 * M_PI * M_PI * kTorusR * kTorusr * kTorusr};
  for (int i = 0; i < 3; ++i) {
    const BODY_MEASURES m = measure(bodies_[static_cast<std::size_t>(i)]);
    EXPECT_NEAR(m.volume, volumes[i], 0.01 * volumes[i]) << "body " << i;
  }
  // Normals of the tessellation point out of the sphere.
  FACE_TESSELLATION t;
  ASSERT_EQ(curved_face(bodies_[0])->tessellate(t), nullptr);
  ASSERT_EQ(t.normals.size(), t.positions.size());
  for (std::size_t i = 0; i < t.positions.size(); ++i) {
    EXPECT_GT(dot(t.normals[i], VECTOR3(t.positions[i])), 0.9 * kSphereR);
  }
}

// Mass properties of faces read from a model go through their tessellation;
// merge-3d leaves such faces as they are.
TEST_F(StepImportCurvedTest, MassPropertiesOfImportedFacesComeFromTheirTessellation) {
  ASSERT_EQ(bodies_.size(), 3u);
  const double slant = std::hypot(kConeR1 - kConeR2, kConeH);
  const double volumes[3] = {
      4.0 / 3.0 * M_PI * kSphereR * kSphereR * kSphereR,
      M_PI * kConeH / 3.0 * (kConeR1 * kConeR1 + kConeR1 * kConeR2 + kConeR2 * kConeR2),
      2.0 * M_PI * M_PI * kTorusR * kTorusr * kTorusr};
  const double areas[3] = {4.0 * M_PI * kSphereR * kSphereR,
                           M_PI * (kConeR1 + kConeR2) * slant + M_PI * (kConeR1 * kConeR1 + kConeR2 * kConeR2),
                           4.0 * M_PI * M_PI * kTorusR * kTorusr};
  for (int i = 0; i < 3; ++i) {
    BODY* b = bodies_[static_cast<std::size_t>(i)];
    MASS_PROPS mp;
    ASSERT_EQ(mass_props(b, TRANSFORM3(), mp), nullptr);
    EXPECT_EQ(mp.closed_shells, 1);
    EXPECT_NEAR(mp.volume, volumes[i], 0.01 * volumes[i]) << "body " << i;
    EXPECT_NEAR(mp.closed_area, areas[i], 0.01 * areas[i]) << "body " << i;
    const int faces = b->number_of_faces();
    MERGE_3D_RESULT r;
    ASSERT_EQ(merge_3d(b, {.ignore_attributes = true}, &r), nullptr);
    EXPECT_EQ(r.faces_removed, 0);
    EXPECT_EQ(b->number_of_faces(), faces);
  }
}

TEST_F(StepImportCurvedTest, ClosestPointLandsOnTheSurface) {
  ASSERT_EQ(bodies_.size(), 3u);
  // Sphere: the foot of (10, 0, 0) is (3, 0, 0), at distance 7.
  const surface* sphere = curved_face(bodies_[0])->geometry();
  pt_on_sf foot;
  double dist = 0;
  ASSERT_EQ(sphere->closest_point(POSITION3(10, 0, 0), foot, dist), nullptr);
  EXPECT_NEAR(dist, 7.0, 1e-9);
  EXPECT_NEAR((foot.evaluate() - POSITION3(3, 0, 0)).len(), 0.0, 1e-9);
  EXPECT_NEAR(sphere->signed_distance(POSITION3(10, 0, 0)), 7.0, 1e-9);
  EXPECT_NEAR(sphere->signed_distance(POSITION3(1, 0, 0)), -2.0, 1e-9);
  // The limit rule of the base class.
  EXPECT_EQ(sphere->closest_point(POSITION3(10, 0, 0), foot, dist, 1.0),
            k2_error(K2_ERROR::OUT_OF_LIMIT));
  EXPECT_NEAR(dist, 7.0, 1e-9);
  EXPECT_EQ(sphere->closest_point(POSITION3(10, 0, 0), foot, dist, 7.0 + 1e-9), nullptr);
  EXPECT_EQ(sphere->closest_point(POSITION3(host_nan(), 0, 0), foot, dist),
            k2_error(K2_ERROR::NO_CLOSEST_POINT));
  EXPECT_TRUE(std::isnan(dist));
  EXPECT_TRUE(std::isnan(sphere->eval(host_nan(), 0).x()));

  // Torus and cone: every foot lies on the surface, at the stated distance,
  // and nearer than the surface's points around it.
  for (int i = 1; i < 3; ++i) {
    const surface* sf = curved_face(bodies_[static_cast<std::size_t>(i)])->geometry();
    for (const POSITION3& p : {POSITION3(23, 1, 2), POSITION3(17, -2, 5), POSITION3(2, 33, 1),
                               POSITION3(-7, 30, -0.5)}) {
      ASSERT_EQ(sf->closest_point(p, foot, dist), nullptr);
      const POSITION3 q = foot.evaluate();
      EXPECT_NEAR((p - q).len(), dist, 1e-9);
      pt_on_sf again;
      double d2 = 0;
      ASSERT_EQ(sf->closest_point(q, again, d2), nullptr);
      EXPECT_LT(d2, 1e-9);  // the foot is on the surface
      // p - q is along the normal there.
      const UNITVEC3 n = sf->eval_normal(foot.u(), foot.v());
      EXPECT_NEAR(std::fabs(dot(n, p - q)), dist, 1e-7 * std::max(1.0, dist));
    }
  }
  // The torus is periodic in u with period 2π.
  const surface* torus = curved_face(bodies_[2])->geometry();
  EXPECT_TRUE(torus->periodic_u());
  EXPECT_NEAR(torus->period_u(), 2 * M_PI, 1e-12);
  EXPECT_NEAR((torus->eval(1.0, 2.0) - torus->eval(1.0 + 2 * M_PI, 2.0)).len(), 0.0, 1e-9);
}

TEST_F(StepImportCurvedTest, PointTestAndInnerPoint) {
  ASSERT_EQ(bodies_.size(), 3u);
  // The cone's side: inside between its rims, outside beyond them.
  FACE* side = curved_face(bodies_[1]);
  const surface* cone = side->geometry();
  pt_on_sf foot;
  double dist = 0;
  // A point level with the middle of the cone, on its side (away from the
  // seam, which runs along +x and is the face's boundary).
  ASSERT_EQ(cone->closest_point(POSITION3(20, 1.5, 2), foot, dist), nullptr);
  EXPECT_LT(dist, 1e-9);
  EXPECT_EQ(side->point_test(foot), POINT_ON_FACE);
  EXPECT_EQ(side->classify(foot.evaluate()), POINT_ON_FACE);
  // The same cone continued above its top: on the surface, off the face.
  ASSERT_EQ(cone->closest_point(POSITION3(20 + 0.5, 0, 6), foot, dist), nullptr);
  EXPECT_LT(dist, 1e-9);
  EXPECT_EQ(side->point_test(foot), POINT_OUTSIDE_FACE);
  // On the seam: the boundary.
  ASSERT_EQ(cone->closest_point(POSITION3(20 + 1.5, 0, 2), foot, dist), nullptr);
  EXPECT_EQ(side->point_test(foot), POINT_ON_BOUNDARY);
  // A point away from the surface cannot be classified.
  EXPECT_EQ(side->classify(POSITION3(20, 0, 2)), POINT_UNKNOWN);

  for (const BODY* b : bodies_) {
    for (FACE* f : faces_of(b)) {
      pt_on_sf p;
      ASSERT_EQ(f->innerPoint(p), nullptr);
      EXPECT_EQ(p.get_surface(), f->geometry());
      EXPECT_EQ(f->point_test(p), POINT_ON_FACE);
      ASSERT_EQ(f->geometry()->closest_point(p.evaluate(), foot, dist), nullptr);
      EXPECT_LT(dist, 1e-7);
      // The face's box holds the inner point and its tessellation.
      BOX3 box = f->box();
      EXPECT_FALSE(box.is_nil());
      box.grow_abs(1e-7);
      EXPECT_TRUE(box >= p.evaluate());
    }
  }
  // The sphere's box is the cube around it.
  const BOX3 sb = curved_face(bodies_[0])->box();
  EXPECT_NEAR(sb.lower().x(), -kSphereR, 1e-6);
  EXPECT_NEAR(sb.upper().z(), kSphereR, 1e-6);
}

TEST_F(StepImportCurvedTest, OccSurfaceMovesAndCompares) {
  ASSERT_EQ(bodies_.size(), 3u);
  const surface* sphere = curved_face(bodies_[0])->geometry();
  GEOM_REF<surface> moved(sphere->transform_copy(TRANSFORM3::translation(VECTOR3(1, 2, 3))));
  pt_on_sf foot;
  double dist = 0;
  ASSERT_EQ(moved->closest_point(POSITION3(1, 2, 13), foot, dist), nullptr);
  EXPECT_NEAR(dist, 7.0, 1e-9);
  EXPECT_FALSE(moved->same_geometry(*sphere, 1e-6));
  EXPECT_TRUE(sphere->same_geometry(*sphere, 1e-6));
  GEOM_REF<surface> back(moved->transform_copy(TRANSFORM3::translation(VECTOR3(-1, -2, -3))));
  EXPECT_TRUE(back->same_geometry(*sphere, 1e-6));
  // A reflection keeps the normal outward.
  const double m[3][3] = {{-1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  GEOM_REF<surface> mirrored(sphere->transform_copy(TRANSFORM3::from_matrix(m, VECTOR3(0, 0, 0))));
  EXPECT_NEAR(mirrored->signed_distance(POSITION3(5, 0, 0)), 2.0, 1e-9);
  EXPECT_NEAR(mirrored->signed_distance(POSITION3(0, 0, 0.5)), -2.5, 1e-9);
  // A map that is not a similarity is refused.
  const double shear[3][3] = {{1, 0, 0}, {1, 1, 0}, {0, 0, 1}};
  try {
    GEOM_REF<surface> bad(sphere->transform_copy(TRANSFORM3::from_matrix(shear, VECTOR3(0, 0, 0))));
    ADD_FAILURE() << "no error";
  } catch (const TV_EXCEPTION& e) {
    EXPECT_EQ(e.info(), k2_error(K2_ERROR::BAD_SURFACE));
  }
  // Edges off lines are occ_curves whose ends are the edge's vertices.
  int curves = 0;
  bodies_[1]->scan_edges(
      [](EDGE* e, void* d) {
        if (const auto* c = entity_cast<occ_curve>(e->geometry())) {
          ++*static_cast<int*>(d);
          POSITION3 on_curve;
          double t = 0, gap = 0;
          EXPECT_EQ(c->closest_point(e->start()->pt3(), on_curve, t, gap), nullptr);
          EXPECT_LT(gap, 1e-7);
        }
        return SCAN_CONTINUE;
      },
      &curves);
  EXPECT_GT(curves, 0);
}

TEST_F(StepImportTest, OpenShellBecomesAFacePart) {
  BODY* open_box = make_box(10, 20, 30, true);
  BODY* back = round_trip(open_box, "open.step");
  ASSERT_NE(back, nullptr);
  EXPECT_TRUE(is_face_part(back));
  EXPECT_EQ(back->number_of_faces(), 5);
  const BODY_CHECK c = check_body(back);
  EXPECT_TRUE(c.ok());
  EXPECT_EQ(c.open_edges, 4);
  back->lose();
  open_box->lose();
}

TEST_F(StepImportTest, SeveralBodiesComeBackInOrder) {
  BODY* a = make_box(1, 1, 1);
  BODY* b = make_bored_block(40, 30, 10, 5, 16);
  write_step({{a, TRANSFORM3(), "a", false, 0, 0, 0},
              {b, TRANSFORM3::translation(VECTOR3(100, 0, 0)), "b", false, 0, 0, 0}},
             path("two.step"));
  std::vector<BODY*> back = read_step(path("two.step"));
  ASSERT_EQ(back.size(), 2u);
  EXPECT_EQ(back[0]->number_of_faces(), 6);
  EXPECT_EQ(back[1]->number_of_faces(), 7);
  // The placement is applied: the block lies beyond x = 100.
  EXPECT_GE(back[1]->bound().lower().x(), 100.0 - 1e-6);
  lose_all(back);
  a->lose();
  b->lose();
}

TEST_F(StepImportTest, BadFilesAreUnreadable) {
  EXPECT_TRUE(unreadable(path("missing.step")));
  EXPECT_TRUE(unreadable(dir_));  // a folder
  write_text(path("empty.step"), "");
  EXPECT_TRUE(unreadable(path("empty.step")));
  write_text(path("junk.step"), "this is not a STEP file\n\x01\x02\x03 at all");
  EXPECT_TRUE(unreadable(path("junk.step")));
  // A well-formed file without any shape.
  write_text(path("nothing.step"),
             "ISO-10303-21;\nHEADER;\nFILE_DESCRIPTION((''),'2;1');\n"
             "FILE_NAME('','',(''),(''),'','','');\nFILE_SCHEMA(('AUTOMOTIVE_DESIGN'));\n"
             "ENDSEC;\nDATA;\n#1=CARTESIAN_POINT('',(0.,0.,0.));\nENDSEC;\n"
             "END-ISO-10303-21;\n");
  EXPECT_TRUE(unreadable(path("nothing.step")));
}

TEST_F(StepImportTest, TruncatedFilesNeverCrash) {
  BODY* block = make_bored_block(40, 30, 10, 5, 8);
  write_step({{block, TRANSFORM3(), "block", false, 0, 0, 0}}, path("block.step"));
  block->lose();
  const std::string text = read_text(path("block.step"));
  ASSERT_GT(text.size(), 100u);
  // Cut at a spread of lengths: each read either fails cleanly or gives
  // bodies that pass the checker.
  const std::size_t cuts = 256;
  for (std::size_t k = 0; k < cuts; ++k) {
    const std::size_t n = text.size() * k / cuts;
    write_text(path("cut.step"), text.substr(0, n));
    try {
      std::vector<BODY*> bodies = read_step(path("cut.step"));
      for (BODY* b : bodies) EXPECT_TRUE(check_body(b).ok()) << "cut at " << n;
      lose_all(bodies);
    } catch (const TV_EXCEPTION& e) {
      EXPECT_EQ(e.info(), k2_error(K2_ERROR::UNREADABLE_FILE)) << "cut at " << n;
    }
  }
  // Garbage in the middle of the data.
  std::string broken = text;
  for (std::size_t i = broken.size() / 3; i < broken.size() / 3 + 200 && i < broken.size(); ++i) {
    broken[i] = static_cast<char>('#' + (i * 7) % 50);
  }
  write_text(path("broken.step"), broken);
  try {
    std::vector<BODY*> bodies = read_step(path("broken.step"));
    lose_all(bodies);
  } catch (const TV_EXCEPTION& e) {
    EXPECT_EQ(e.info(), k2_error(K2_ERROR::UNREADABLE_FILE));
  }
}

}  // namespace
