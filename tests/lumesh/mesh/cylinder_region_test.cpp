// Cylinder recognition over flat regions: prisms stay flat, strips of a
// cylinder become one region of at least three, the seed pair's tests, and
// the phase switch.

#include "lumesh/mesh/cylinder_region.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <vector>

#include "host/geometry/constants.h"
#include "host/kernel/entity/entity.h"
#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/plane.h"
#include "lumesh/mesh/flat_mesh_region.h"
#include "lumesh/mesh/mesh.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"
#include "support/mesh_expect.h"
#include "support/mesh_test_access.h"
#include "support/mesh_shapes.h"

namespace {

using mesh_shapes::add_closed_prism;
using mesh_shapes::add_cylinder_strips;
using mesh_shapes::on_circle;

const resolution kWeld(1e-6, -1.0);
// Above the sag of every tessellated cylinder below (at most 0.086, the
// half cylinder of 12 strips): a cylinder must stay within the resolution of
// its facets, not only of their corners.
const resolution kRes(0.1, -1.0);

int count_cylinders(const MESH& mesh) {
  int n = 0;
  for (const MESH_REGION* r : mesh.get_regions()) {
    if (dynamic_cast<const CYLINDER_REGION*>(r) != nullptr) ++n;
  }
  return n;
}

const cylinder* cylinder_of(const MESH_REGION* r) {
  return entity_cast<cylinder>(r->get_surface());
}

void recognize(MESH& mesh, MESH::SURFACE_RECONSTRUCTION options, const resolution& res) {
  mesh.optimize(kWeld);
  mesh.recognize_surfaces(options, res);
}

const auto kBoth = static_cast<MESH::SURFACE_RECONSTRUCTION>(MESH::PLANES | MESH::CYLINDERS);

TEST(CylinderRegion, PrismFacesStayFlat) {
  for (int sides : {3, 4, 6, 8}) {
    MESH mesh(kWeld);
    add_closed_prism(mesh, 10.0, 10.0, sides);
    recognize(mesh, kBoth, kRes);
    EXPECT_EQ(count_cylinders(mesh), 0) << sides << " sides";
    EXPECT_EQ(mesh.get_regions().size(), static_cast<std::size_t>(sides + 2)) << sides << " sides";
    EXPECT_MESH_OK(mesh);
  }
}

TEST(CylinderRegion, HalfCylinderOfTwelveStripsIsOneRegion) {
  MESH mesh(kWeld);
  add_cylinder_strips(mesh, 10.0, 5.0, 12, 0.0, HOST_PI);
  recognize(mesh, kBoth, kRes);
  ASSERT_EQ(mesh.get_regions().size(), 1u);
  const MESH_REGION* r = mesh.get_regions().front();
  ASSERT_NE(dynamic_cast<const CYLINDER_REGION*>(r), nullptr);
  const cylinder* cyl = cylinder_of(r);
  ASSERT_NE(cyl, nullptr);
  // The corners lie on a radius-10 cylinder about z: the fit is exact.
  EXPECT_NEAR(cyl->radius(), 10.0, 1e-6);
  EXPECT_NEAR(std::fabs(cyl->axis().z()), 1.0, 1e-9);
  EXPECT_LE(r->get_fitting_precision(), 0.01);
  // Every polygon was taken over and merged into one.
  EXPECT_EQ(r->get_polygon_count(), 1u);
  EXPECT_EQ(r->get_polygons().front()->get_region(), r);
  EXPECT_MESH_OK(mesh);
}

TEST(CylinderRegion, PlanesAloneNeverLookForCylinders) {
  MESH mesh(kWeld);
  add_cylinder_strips(mesh, 10.0, 5.0, 12, 0.0, HOST_PI);
  recognize(mesh, MESH::PLANES, kRes);
  EXPECT_EQ(count_cylinders(mesh), 0);
  EXPECT_EQ(mesh.get_regions().size(), 12u);
}

TEST(CylinderRegion, ValueTwoRunsBothPhasesAsThree) {
  MESH mesh(kWeld);
  add_cylinder_strips(mesh, 10.0, 5.0, 12, 0.0, HOST_PI);
  recognize(mesh, MESH::CYLINDERS, kRes);
  EXPECT_EQ(count_cylinders(mesh), 1);
  EXPECT_EQ(mesh.get_regions().size(), 1u);
}

TEST(CylinderRegion, TwoStripsAloneStayFlat) {
  MESH mesh(kWeld);
  add_cylinder_strips(mesh, 10.0, 5.0, 2, 0.0, HOST_PI / 6);
  recognize(mesh, kBoth, kRes);
  EXPECT_EQ(count_cylinders(mesh), 0);
  ASSERT_EQ(mesh.get_regions().size(), 2u);
  for (const MESH_REGION* r : mesh.get_regions()) {
    EXPECT_NE(entity_cast<plane>(r->get_surface()), nullptr);
    EXPECT_EQ(r->get_polygon_count(), 1u);
  }
  EXPECT_MESH_OK(mesh);
}

// A cylinder only a few resolutions round is no surface the facets can
// tell: a long strip narrower than the resolution lies within it of such a
// cylinder whatever its true shape, and the corners' angles round the axis
// are noise (on a real fillet strip the face came out crossing itself). At
// a finer resolution the same tube is a cylinder.
TEST(CylinderRegion, CylindersOnlyAFewResolutionsRoundStayFlat) {
  {
    MESH mesh(kWeld);
    add_cylinder_strips(mesh, 0.3, 50.0, 6, 0.0, HOST_PI);
    recognize(mesh, kBoth, kRes);
    EXPECT_EQ(count_cylinders(mesh), 0);
    EXPECT_MESH_OK(mesh);
  }
  {
    MESH mesh(kWeld);
    add_cylinder_strips(mesh, 0.3, 50.0, 6, 0.0, HOST_PI);
    recognize(mesh, kBoth, resolution(0.05, -1.0));
    ASSERT_EQ(count_cylinders(mesh), 1);
    EXPECT_NEAR(cylinder_of(mesh.get_regions().front())->radius(), 0.3, 1e-6);
  }
}

TEST(CylinderRegion, FullTubeClosesItsWalk) {
  MESH mesh(kWeld);
  add_cylinder_strips(mesh, 5.0, 20.0, 32, 0.0, HOST_TWO_PI);
  recognize(mesh, kBoth, kRes);
  ASSERT_EQ(mesh.get_regions().size(), 1u);
  const MESH_REGION* r = mesh.get_regions().front();
  ASSERT_NE(cylinder_of(r), nullptr);
  EXPECT_NEAR(cylinder_of(r)->radius(), 5.0, 1e-6);
  EXPECT_MESH_OK(mesh);
}

// Recognition makes B-rep vertices and edges for the region boundaries; a
// mesh dropped before any body took them up must take them along.
TEST(CylinderRegion, MeshDroppedAfterRecognitionLeavesNoKernelEntities) {
  const std::uint64_t before = ENTITY::registered_count();
  {
    MESH mesh(kWeld);
    add_closed_prism(mesh, 5.0, 20.0, 48);
    recognize(mesh, kBoth, kRes);
    ASSERT_EQ(mesh.get_regions().size(), 3u);
    EXPECT_GT(ENTITY::registered_count(), before);
  }
  EXPECT_EQ(ENTITY::registered_count(), before);
}

TEST(CylinderRegion, ClosedCylinderWithCapsGivesOneCylinderAndTwoPlanes) {
  MESH mesh(kWeld);
  add_closed_prism(mesh, 5.0, 20.0, 48);
  recognize(mesh, kBoth, kRes);
  EXPECT_EQ(count_cylinders(mesh), 1);
  EXPECT_EQ(mesh.get_regions().size(), 3u);
  EXPECT_MESH_OK(mesh);
}

// A closed half cylinder as CAD programs write it: the curved side in
// strips, each half-disc cap a fan from a rim corner, and the flat cut
// through the axis as two triangles, so every corner of the caps and the
// cut lies on the cylinder's rim.
void add_closed_half_cylinder(MESH& mesh, double r, double h, int strips) {
  add_cylinder_strips(mesh, r, h, strips, 0.0, HOST_PI);
  auto rim = [&](int i, double z) { return on_circle(r, HOST_PI * i / strips, z); };
  for (int i = 1; i + 1 <= strips; ++i) {
    mesh.add_triangle(rim(0, 0), rim(i + 1, 0), rim(i, 0), MESH::computed_normal());
    mesh.add_triangle(rim(0, h), rim(i, h), rim(i + 1, h), MESH::computed_normal());
  }
  mesh.add_triangle(rim(0, 0), rim(strips, 0), rim(strips, h), MESH::computed_normal());
  mesh.add_triangle(rim(0, 0), rim(strips, h), rim(0, h), MESH::computed_normal());
}

TEST(CylinderRegion, CapsAndCutWithCornersOnTheRimStayPlanes) {
  for (int strips : {16, 48}) {
    MESH mesh(kWeld);
    add_closed_half_cylinder(mesh, 10.0, 30.0, strips);
    recognize(mesh, kBoth, kRes);
    int planes = 0, cylinders = 0;
    for (const MESH_REGION* r : mesh.get_regions()) {
      if (entity_cast<plane>(r->get_surface()) != nullptr) ++planes;
      if (cylinder_of(r) != nullptr) ++cylinders;
      // Nothing merges away into an empty region: every region keeps a
      // polygon to become a face.
      EXPECT_GE(r->get_polygon_count(), 1u) << strips << " strips";
    }
    EXPECT_EQ(cylinders, 1) << strips << " strips";
    EXPECT_EQ(planes, 3) << strips << " strips";
    EXPECT_MESH_OK(mesh);
  }
}

TEST(CylinderRegion, StripsWhoseFacetsLeaveTheCylinderByMoreThanTheResolutionStayFlat) {
  // Six strips of a half cylinder of radius 10 sag by 0.34 between their
  // corners. Every corner lies on the cylinder, but its surface would leave
  // the facets by more than the resolution of 0.1: no fit, the strips stay
  // planes. At a resolution above the sag the same strips are one cylinder.
  for (const double res : {0.1, 0.5}) {
    MESH mesh(kWeld);
    add_closed_half_cylinder(mesh, 10.0, 30.0, 6);
    recognize(mesh, kBoth, resolution(res, -1.0));
    int planes = 0, cylinders = 0;
    for (const MESH_REGION* r : mesh.get_regions()) {
      if (entity_cast<plane>(r->get_surface()) != nullptr) ++planes;
      if (cylinder_of(r) != nullptr) ++cylinders;
    }
    EXPECT_EQ(cylinders, res < 0.34 ? 0 : 1) << res;
    EXPECT_EQ(planes, res < 0.34 ? 3 + 6 : 3) << res;
    EXPECT_MESH_OK(mesh);
  }
}

// Two strips, each one quadrilateral whose stated normal is the bisector of
// its chord, on a radius-10 cylinder about z: strip 0 faces +x, strip 1 is
// turned by `turn` radians. One-polygon regions keep their seed planes, so
// the region normals are the stated ones.
struct QUAD_PAIR {
  MESH mesh{kWeld};
  FLAT_MESH_REGION* first = nullptr;
  QUAD_PAIR(const UNITVEC3& n0, const UNITVEC3& n1, double turn, const resolution& res = kRes) {
    const double h = 5.0;
    const double a[3] = {-turn / 2, turn / 2, 3 * turn / 2};
    const UNITVEC3 normals[2] = {n0, n1};
    for (int i = 1; i >= 0; --i) {
      MESH_POLYGON& q = mesh.add_triangle(on_circle(10, a[i], 0), on_circle(10, a[i + 1], 0),
                                          on_circle(10, a[i + 1], h), normals[i]);
      q.insert_coedge_after(q.get_start_coedge()->get_previous(),
                            mesh.get_mesh_vertex(on_circle(10, a[i], h)));
    }
    for (MESH_POLYGON* p : mesh.get_polygons()) p->set_polygon_type(REGULAR);
    MESH_TEST_ACCESS::recognize_flat_regions(mesh, res);
    // The list is newest first: strip 0 was added last.
    for (MESH_REGION* r : mesh.get_regions()) {
      auto* f = dynamic_cast<FLAT_MESH_REGION*>(r);
      if (f != nullptr && f->get_normal().x() > 0.99999) first = f;
    }
  }
};

TEST(CylinderRegion, NeighbourAtExactlyPointEightIsSkipped) {
  UNITVEC3 n1(0.8, 0.6, 0.0);
  for (int i = 0; i < 64 && dot(UNITVEC3(1, 0, 0), n1) != 0.8; ++i) {
    n1 = UNITVEC3(0.8, std::nextafter(n1.y(), 0.0), 0.0);
  }
  ASSERT_EQ(dot(UNITVEC3(1, 0, 0), n1), 0.8);
  // Strips this wide sag by 0.5 between their corners: the resolution is
  // above that, so the pair that is tried fits.
  const resolution wide(1.0, -1.0);
  QUAD_PAIR at(UNITVEC3(1, 0, 0), n1, std::acos(0.8), wide);
  ASSERT_EQ(at.mesh.get_regions().size(), 2u);
  ASSERT_NE(at.first, nullptr);
  ASSERT_EQ(at.first->get_normal().x(), 1.0);
  CYLINDER_REGION skipped(at.first);
  EXPECT_FALSE(skipped.extend_region());
  EXPECT_EQ(skipped.get_aggregation_count(), 1u);

  // A hair inside the limit the same pair is tried, and fits exactly.
  const double turn = std::acos(0.8) - 1e-6;
  QUAD_PAIR inside(UNITVEC3(1, 0, 0), UNITVEC3(std::cos(turn), std::sin(turn), 0), turn, wide);
  ASSERT_NE(inside.first, nullptr);
  CYLINDER_REGION tried(inside.first);
  EXPECT_TRUE(tried.extend_region());
  EXPECT_EQ(tried.get_aggregation_count(), 2u);
  ASSERT_NE(cylinder_of(&tried), nullptr);
  EXPECT_NEAR(cylinder_of(&tried)->radius(), 10.0, 1e-6);
}

TEST(CylinderRegion, ParallelNeighbourIsSkipped) {
  // Both quads state the same normal: the cross product is zero, its unit
  // vector NaN, and no pair is tried although the corners lie on a cylinder.
  const double turn = 0.5;
  QUAD_PAIR same(UNITVEC3(1, 0, 0), UNITVEC3(1, 0, 0), turn);
  // Both regions face +x; take the one that is strip 0 by its position.
  FLAT_MESH_REGION* strip0 = nullptr;
  for (MESH_REGION* r : same.mesh.get_regions()) {
    auto* f = dynamic_cast<FLAT_MESH_REGION*>(r);
    if (f != nullptr && std::fabs(f->get_reference_position().y()) < 1e-9) strip0 = f;
  }
  ASSERT_NE(strip0, nullptr);
  ASSERT_EQ(same.mesh.get_regions().size(), 2u);
  CYLINDER_REGION region(strip0);
  EXPECT_FALSE(region.extend_region());
  EXPECT_EQ(region.get_aggregation_count(), 1u);
}

TEST(CylinderRegion, RejectedCompositeLeavesTheFlatRegionsAsTheyWere) {
  MESH mesh(kWeld);
  add_cylinder_strips(mesh, 10.0, 5.0, 2, 0.0, HOST_PI / 6);
  mesh.optimize(kWeld);
  MESH_TEST_ACCESS::recognize_flat_regions(mesh, kRes);
  ASSERT_EQ(mesh.get_regions().size(), 2u);
  auto* f = dynamic_cast<FLAT_MESH_REGION*>(mesh.get_regions().front());
  ASSERT_NE(f, nullptr);
  surface* const before = f->get_surface();
  const auto members = f->get_polygon_count();
  {
    CYLINDER_REGION pair(f);
    EXPECT_TRUE(pair.extend_region());
    EXPECT_EQ(pair.get_aggregation_count(), 2u);
    // Under construction the polygons still name their flat regions.
    for (const MESH_POLYGON* p : pair.get_polygons()) {
      EXPECT_NE(p->get_region(), static_cast<const MESH_REGION*>(&pair));
    }
  }
  EXPECT_EQ(f->get_surface(), before);
  EXPECT_EQ(f->get_polygon_count(), members);
  for (const MESH_POLYGON* p : f->get_polygons()) EXPECT_EQ(p->get_region(), f);
  EXPECT_MESH_OK(mesh);
}

}  // namespace
