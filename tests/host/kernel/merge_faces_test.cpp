// merge_3d: faces of one surface become one face of one loop, the body stays
// valid, and nothing else is touched.

#include "host/kernel/ops/merge_faces.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/plane.h"
#include "host/kernel/history/history.h"
#include "host/kernel/kernel_errors.h"
#include "host/kernel/ops/body_checker.h"
#include "host/kernel/ops/mass_props.h"
#include "host/kernel/ops/polyhedron_builder.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"
#include "host/kernel/topology/shell.h"
#include "kernel_fixture.h"
#include "support/split_bodies.h"

namespace {

class MergeFacesTest : public KernelTest {};

void expect_valid(const BODY* body) {
  const BODY_CHECK check = check_body(body);
  EXPECT_TRUE(check.ok()) << (check.problems.empty() ? "" : check.problems.front());
}

void expect_one_loop_each(const BODY* body) {
  for (const FACE* f : body->shell(0)->faces()) EXPECT_EQ(f->number_of_loops(), 1);
}

double tessellated_area(const FACE* f) {
  FACE_TESSELLATION t;
  EXPECT_EQ(f->tessellate(t), nullptr);
  double a = 0.0;
  for (const auto& tri : t.triangles) {
    a += 0.5 *
         cross(t.positions[tri[1]] - t.positions[tri[0]], t.positions[tri[2]] - t.positions[tri[0]])
             .len();
  }
  return a;
}

TEST_F(MergeFacesTest, PlanesSplitAroundAHoleBecomeOneFaceWithABridge) {
  BODY* body = make_cut_holed_block();
  ASSERT_EQ(body->number_of_faces(), 16);
  expect_valid(body);
  MERGE_3D_RESULT r;
  ASSERT_EQ(merge_3d(body, {}, &r), nullptr);
  EXPECT_EQ(r.faces_removed, 6);
  EXPECT_EQ(body->number_of_faces(), 10);
  expect_valid(body);
  expect_one_loop_each(body);
  const BODY_CHECK check = check_body(body);
  EXPECT_EQ(check.open_edges, 0);
  MASS_PROPS mp;
  ASSERT_EQ(mass_props(body, TRANSFORM3(), mp), nullptr);
  EXPECT_NEAR(mp.volume, 15.0, 1e-12);
  EXPECT_NEAR(mp.closed_area, 50.0, 1e-12);
  // The top is one face whose single loop reaches the hole through a bridge,
  // and it is still a face the kernel can mesh and classify.
  const FACE* top = nullptr;
  for (const FACE* f : body->shell(0)->faces()) {
    const auto* pl = dynamic_cast<const plane*>(f->geometry());
    if (pl != nullptr && std::fabs(pl->signed_distance(POSITION3(0, 0, 1))) < 1e-9 &&
        f->box().lower().z() > 0.5) {
      top = f;
    }
  }
  ASSERT_NE(top, nullptr);
  EXPECT_NEAR(tessellated_area(top), 15.0, 1e-9);
  EXPECT_EQ(top->classify(POSITION3(1, 1, 1)), POINT_ON_FACE);
  EXPECT_EQ(top->classify(POSITION3(2, 2, 1)), POINT_OUTSIDE_FACE);
  EXPECT_EQ(top->classify(POSITION3(3, 3, 1)), POINT_ON_FACE);
  // A second merge finds nothing left to join.
  MERGE_3D_RESULT again;
  ASSERT_EQ(merge_3d(body, {}, &again), nullptr);
  EXPECT_EQ(again.faces_removed, 0);
  body->lose();
}

TEST_F(MergeFacesTest, CylinderInTwoHalvesOnOneSurfaceBecomesOneBand) {
  BODY* body = make_split_tube(3.0, 5.0, 32, false);
  expect_valid(body);
  MERGE_3D_RESULT r;
  ASSERT_EQ(merge_3d(body, {}, &r), nullptr);
  EXPECT_EQ(r.faces_removed, 1);
  EXPECT_EQ(r.edges_removed, 1);  // one seam goes, the other is the band's bridge
  ASSERT_EQ(body->number_of_faces(), 1);
  expect_valid(body);
  const FACE* band = body->shell(0)->first_face();
  EXPECT_EQ(band->number_of_loops(), 1);
  double area = 0, flux = 0;
  ASSERT_EQ(face_area_flux(band, POSITION3(0, 0, 0), area, flux), nullptr);
  EXPECT_NEAR(area, 2.0 * std::numbers::pi * 3.0 * 5.0, 1e-9);
  // The band still meshes: the chords of the facets, a little less than the patch.
  const double t = tessellated_area(band);
  EXPECT_GT(t, 0.99 * area);
  EXPECT_LT(t, area);
  body->lose();
}

TEST_F(MergeFacesTest, CylinderHalvesOnSurfacesWithinTheResolutionJoin) {
  BODY* near = make_split_tube(3.0, 5.0, 16, true, 1e-7);
  MERGE_3D_RESULT r;
  ASSERT_EQ(merge_3d(near, {}, &r), nullptr);
  EXPECT_EQ(near->number_of_faces(), 1);
  expect_valid(near);
  near->lose();
  // A radius that differs by more than the body's resolution is another surface.
  BODY* far = make_split_tube(3.0, 5.0, 16, true, 1e-3);
  ASSERT_EQ(merge_3d(far, {}, &r), nullptr);
  EXPECT_EQ(far->number_of_faces(), 2);
  expect_valid(far);
  far->lose();
}

TEST_F(MergeFacesTest, ColoursKeepFacesApartUnlessIgnored) {
  BODY* body = make_split_tube(3.0, 5.0, 16, false);
  body->shell(0)->first_face()->set_color(1, 0, 0);
  MERGE_3D_RESULT r;
  ASSERT_EQ(merge_3d(body, {}, &r), nullptr);
  EXPECT_EQ(body->number_of_faces(), 2);
  ASSERT_EQ(merge_3d(body, {.ignore_attributes = true}, &r), nullptr);
  EXPECT_EQ(body->number_of_faces(), 1);
  // The face first in the shell survives, with its colour.
  double red = 0, g = 0, b = 0;
  EXPECT_TRUE(body->shell(0)->first_face()->get_color(red, g, b));
  EXPECT_EQ(red, 1.0);
  body->lose();
}

TEST_F(MergeFacesTest, FacesOfDifferentPlanesOrShellsStayApart) {
  // A cube of triangles: two coplanar triangles per side join, sides do not.
  BODY* cube = make_triangle_cube(2.0);
  MERGE_3D_RESULT r;
  ASSERT_EQ(merge_3d(cube, {}, &r), nullptr);
  EXPECT_EQ(cube->number_of_faces(), 6);
  expect_valid(cube);
  expect_one_loop_each(cube);
  MASS_PROPS mp;
  ASSERT_EQ(mass_props(cube, TRANSFORM3(), mp), nullptr);
  EXPECT_NEAR(mp.volume, 8.0, 1e-12);
  cube->lose();
  // The same two halves, one moved into a subshell: a facet set is not merged
  // into the shell around it.
  BODY* tube = make_split_tube(3.0, 5.0, 16, false);
  auto* sub = new SUBSHELL();
  sub->add_face(tube->shell(0)->last_face());
  tube->shell(0)->add_subshell(sub);
  ASSERT_EQ(merge_3d(tube, {.ignore_attributes = true}, &r), nullptr);
  EXPECT_EQ(tube->number_of_faces(), 2);
  tube->lose();
}

TEST_F(MergeFacesTest, BoredBlockIsAlreadyMergedAndAnEmptyBodyIsRefused) {
  BODY* block = make_bored_block(40, 30, 10, 5, 32);
  MERGE_3D_RESULT r;
  ASSERT_EQ(merge_3d(block, {}, &r), nullptr);
  EXPECT_EQ(r.faces_removed, 0);
  EXPECT_EQ(block->number_of_faces(), 7);
  expect_valid(block);
  block->lose();
  BODY* empty = new BODY();
  EXPECT_EQ(merge_3d(empty, {}, &r), k2_error(K2_ERROR::EMPTY_BODY));
  EXPECT_EQ(merge_3d(nullptr, {}, &r), k2_error(K2_ERROR::MISSING_GEOMETRY));
  empty->lose();
}

TEST_F(MergeFacesTest, AStripOfCoplanarFacetsBecomesOnePolygon) {
  // Facets of a flat 3 x 2 grid, each on a plane of its own: spurs of the
  // inner edges are followed back to the rim.
  POLYHEDRON_BUILDER b;
  for (int j = 0; j <= 2; ++j) {
    for (int i = 0; i <= 3; ++i) b.add_vertex(POSITION3(i, j, 0));
  }
  MOD_INFO* status = nullptr;
  for (int j = 0; j < 2; ++j) {
    for (int i = 0; i < 3; ++i) {
      const int v = j * 4 + i;
      b.add_face({v, v + 1, v + 5}, status);
      b.add_face({v, v + 5, v + 4}, status);
    }
  }
  BODY* sheet = b.finish(1e-6);
  MERGE_3D_RESULT r;
  ASSERT_EQ(merge_3d(sheet, {}, &r), nullptr);
  EXPECT_EQ(sheet->number_of_faces(), 1);
  EXPECT_EQ(r.faces_removed, 11);
  expect_valid(sheet);
  const FACE* f = sheet->shell(0)->first_face();
  EXPECT_EQ(f->number_of_loops(), 1);
  EXPECT_EQ(f->loop()->number_of_coedges(), 10);  // the rim of the grid
  const BODY_CHECK check = check_body(sheet);
  EXPECT_EQ(check.vertices, 10);  // the middle vertices went with their edges
  EXPECT_NEAR(tessellated_area(f), 6.0, 1e-12);
  sheet->lose();
}


TEST_F(MergeFacesTest, PerforatedPlateTopsBecomeOneFaceAroundEveryHole) {
  // Cells of 5 with a hole each: every cell's top and bottom reach their hole
  // through a bridge; joined, the top is one face whose loop reaches twelve
  // holes, and the body encloses what it did.
  const int nx = 4, ny = 3, segments = 24;
  const double pitch = 5, t = 1, r = 1.5;
  BODY* plate = make_perforated_plate(nx, ny, pitch, t, r, segments);
  MASS_PROPS before;
  ASSERT_EQ(mass_props(plate, TRANSFORM3(), before), nullptr);
  MERGE_3D_RESULT res;
  ASSERT_EQ(merge_3d(plate, {}, &res), nullptr);
  EXPECT_EQ(plate->number_of_faces(), 2 + 4 + nx * ny);
  expect_valid(plate);
  expect_one_loop_each(plate);
  EXPECT_EQ(check_body(plate).open_edges, 0);
  MASS_PROPS after;
  ASSERT_EQ(mass_props(plate, TRANSFORM3(), after), nullptr);
  EXPECT_NEAR(after.volume, before.volume, 1e-9 * before.volume);
  EXPECT_NEAR(after.closed_area, before.closed_area, 1e-9 * before.closed_area);
  const double polygon = 0.5 * segments * r * r * std::sin(2 * std::numbers::pi / segments);
  const double top = nx * ny * (pitch * pitch - polygon);
  int planar_tops = 0;
  for (const FACE* f : plate->shell(0)->faces()) {
    if (f->geometry()->surface_kind() != SURFACE_KIND::PLANE) continue;
    const BOX3 b = f->box();
    if (b.upper().z() - b.lower().z() > 1e-9) continue;  // a wall
    ++planar_tops;
    EXPECT_NEAR(tessellated_area(f), top, 1e-9 * top);
    EXPECT_EQ(f->classify(POSITION3(pitch / 2, pitch / 2, b.lower().z())), POINT_OUTSIDE_FACE);
    // Off the bridges, which run diagonally from the cells' corners.
    EXPECT_EQ(f->classify(POSITION3(0.5, 2.0, b.lower().z())), POINT_ON_FACE);
  }
  EXPECT_EQ(planar_tops, 2);
  plate->lose();
}


TEST_F(MergeFacesTest, RandomPatchesOfAGridStayValidAndComeBackOnUndo) {
  // A flat grid of triangles with some left out and the rest coloured at
  // random: the pieces of one colour join into faces with holes, pinches
  // and bridges of every sort. Fixed seeds: the same faces every run.
  const int n = 14;
  for (unsigned seed = 1; seed <= 12; ++seed) {
    std::uint32_t state = seed * 2654435761u;
    auto next = [&state]() {
      state ^= state << 13;
      state ^= state >> 17;
      state ^= state << 5;
      return state;
    };
    POLYHEDRON_BUILDER b;
    for (int j = 0; j <= n; ++j) {
      for (int i = 0; i <= n; ++i) b.add_vertex(POSITION3(i, j, 0));
    }
    MOD_INFO* status = nullptr;
    std::vector<FACE*> faces;
    for (int j = 0; j < n; ++j) {
      for (int i = 0; i < n; ++i) {
        const int v = j * (n + 1) + i;
        for (const std::vector<int>& tri : {std::vector<int>{v, v + 1, v + n + 2},
                                           std::vector<int>{v, v + n + 2, v + n + 1}}) {
          if (next() % 7 == 0) continue;
          FACE* f = b.add_face(tri, status);
          ASSERT_NE(f, nullptr);
          faces.push_back(f);
        }
      }
    }
    for (FACE* f : faces) f->set_color(static_cast<double>(next() % 2), 0, 0);
    BODY* sheet = b.finish(1e-6);
    MASS_PROPS before;
    ASSERT_EQ(mass_props(sheet, TRANSFORM3(), before), nullptr);
    const HISTORY::STATE_ID noted = HISTORY::instance().note_state();
    const int count = sheet->number_of_faces();
    for (bool ignore : {false, true}) {
      MERGE_3D_RESULT r;
      ASSERT_EQ(merge_3d(sheet, {.ignore_attributes = ignore}, &r), nullptr);
      expect_valid(sheet);
      expect_one_loop_each(sheet);
      MASS_PROPS after;
      ASSERT_EQ(mass_props(sheet, TRANSFORM3(), after), nullptr);
      EXPECT_NEAR(after.area(), before.area(), 1e-9) << "seed " << seed;
      EXPECT_LT(sheet->number_of_faces(), count / (ignore ? 8 : 2)) << "seed " << seed;
      for (const FACE* f : sheet->shell(0)->faces()) {
        double area = 0, flux = 0;
        ASSERT_EQ(face_area_flux(f, POSITION3(0, 0, 0), area, flux), nullptr);
        EXPECT_NEAR(tessellated_area(f), area, 1e-9) << "seed " << seed;
      }
    }
    ASSERT_TRUE(HISTORY::instance().recover_state(noted));
    EXPECT_EQ(sheet->number_of_faces(), count);
    expect_valid(sheet);
    sheet->lose();
    HISTORY::instance().forget();
  }
}


TEST_F(MergeFacesTest, ACylinderOfManyPatchesBecomesOneBandWithOneSeam) {
  // 16 segments around, 3 rows up: 48 quads on one cylinder, each a face.
  const int around = 16, rows = 3;
  const double r = 2.0, h = 1.5;
  POLYHEDRON_BUILDER b;
  for (int j = 0; j <= rows; ++j) {
    for (int k = 0; k < around; ++k) {
      const double a = 2 * std::numbers::pi * k / around;
      b.add_vertex(POSITION3(r * std::cos(a), r * std::sin(a), j * h));
    }
  }
  auto* cyl = new cylinder(POSITION3(0, 0, 0), UNITVEC3(0, 0, 1), r);
  MOD_INFO* status = nullptr;
  auto id = [&](int k, int j) { return j * around + k % around; };
  for (int j = 0; j < rows; ++j) {
    for (int k = 0; k < around; ++k) {
      ASSERT_NE(b.add_face({id(k, j), id(k + 1, j), id(k + 1, j + 1), id(k, j + 1)}, cyl, false, status),
                nullptr);
    }
  }
  BODY* tube = b.finish(1e-6);
  MERGE_3D_RESULT res;
  ASSERT_EQ(merge_3d(tube, {}, &res), nullptr);
  ASSERT_EQ(tube->number_of_faces(), 1);
  expect_valid(tube);
  const FACE* band = tube->shell(0)->first_face();
  EXPECT_EQ(band->number_of_loops(), 1);
  // The rims, and one seam up the band walked both ways.
  EXPECT_EQ(band->loop()->number_of_coedges(), 2 * around + 2 * rows);
  double area = 0, flux = 0;
  ASSERT_EQ(face_area_flux(band, POSITION3(0, 0, 0), area, flux), nullptr);
  EXPECT_NEAR(area, 2 * std::numbers::pi * r * rows * h, 1e-9);
  EXPECT_GT(tessellated_area(band), 0.97 * area);
  EXPECT_EQ(band->classify(POSITION3(-r, 0, 2.0)), POINT_ON_FACE);
  tube->lose();
}

}  // namespace
