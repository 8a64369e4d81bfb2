// Flat region growing on small hand-made meshes: the seed plane, the angle
// limit, the fit that ends a region, pockets, and the full flat phase of
// recognition on closed and open meshes.

#include "lumesh/mesh/flat_mesh_region.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "host/geometry/constants.h"
#include "host/kernel/geometry/plane.h"
#include "lumesh/mesh/mesh.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"
#include "support/mesh_expect.h"
#include "support/mesh_test_access.h"

namespace {

const resolution kRes(0.01, -1.0);

double deg(double d) { return d * HOST_PI / 180.0; }

// A unit normal tilted from +z by `angle` about the x axis.
UNITVEC3 tilted(double angle) { return UNITVEC3(0.0, std::sin(angle), std::cos(angle)); }

const plane& plane_of(const MESH_REGION& r) {
  return *entity_cast<plane>(r.get_surface());
}

TEST(FlatMeshRegion, IsolatedTriangleKeepsItsSeedPlane) {
  MESH mesh(resolution(1e-6, -1.0));
  MESH_POLYGON& t = mesh.add_triangle(POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(0, 1, 0),
                                      MESH::computed_normal());
  t.set_polygon_type(REGULAR);
  auto region = std::make_unique<FLAT_MESH_REGION>(&t, kRes);
  EXPECT_FALSE(region->extend_region());
  EXPECT_EQ(region->get_polygon_count(), 1u);
  EXPECT_EQ(region->get_fitting_precision(), 0.0);
  const plane& pl = plane_of(*region);
  EXPECT_EQ(pl.nor(), t.get_normal());
  EXPECT_EQ(pl.root(), t.get_center_of_gravity());
  EXPECT_EQ(region->get_reference_normal(), t.get_normal());
  // The triangle faces +z and so does the plane.
  EXPECT_FALSE(region->get_face_sense());
  EXPECT_NEAR(region->get_normal().z(), 1.0, 1e-15);
  mesh.add_region(std::move(region));
  mesh.release_claimed_polygons();
}

// The twelve triangles of the cube [0,1]³, outward.
void add_cube(MESH& mesh) {
  const POSITION3 v[8] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0},
                          {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
  const int quads[6][4] = {{0, 3, 2, 1}, {4, 5, 6, 7}, {0, 1, 5, 4},
                           {1, 2, 6, 5}, {2, 3, 7, 6}, {3, 0, 4, 7}};
  for (const auto& q : quads) {
    mesh.add_triangle(v[q[0]], v[q[1]], v[q[2]], MESH::computed_normal());
    mesh.add_triangle(v[q[0]], v[q[2]], v[q[3]], MESH::computed_normal());
  }
}

TEST(FlatMeshRegion, ClosedCubeGivesSixRegionsOfOnePolygon) {
  for (double r : {1e-6, 1e-3, 0.01, 0.1}) {
    MESH mesh(resolution(1e-6, -1.0));
    add_cube(mesh);
    mesh.optimize(resolution(1e-6, -1.0));
    MESH_TEST_ACCESS::recognize_flat_regions(mesh, resolution(r, -1.0));
    EXPECT_TRUE(mesh.get_polygons().empty());
    ASSERT_EQ(mesh.get_regions().size(), 6u) << "resolution " << r;
    for (const MESH_REGION* region : mesh.get_regions()) {
      ASSERT_EQ(region->get_polygon_count(), 1u);
      const MESH_POLYGON* p = region->get_polygons().front();
      EXPECT_EQ(p->get_region(), region);
      // The two triangles became one quadrilateral.
      int n = 0;
      const MESH_POLYGON_COEDGE* c = p->get_start_coedge();
      do {
        ++n;
        c = c->get_next();
      } while (c != p->get_start_coedge());
      EXPECT_EQ(n, 4);
      // The face normal points out of the cube.
      const UNITVEC3 normal = static_cast<const FLAT_MESH_REGION*>(region)->get_normal();
      const VECTOR3 out = p->get_center_of_gravity() - POSITION3(0.5, 0.5, 0.5);
      EXPECT_GT(dot(normal, out), 0.49);
    }
    EXPECT_MESH_OK(mesh);
  }
}

TEST(FlatMeshRegion, EdgeOfThreePolygonsIsNoWayAcross) {
  MESH mesh(resolution(1e-6, -1.0));
  // Two coplanar triangles on the edge (0,0,0)-(1,0,0), and a fin on it.
  mesh.add_triangle(POSITION3(1, 0, 0), POSITION3(0, 0, 0), POSITION3(0.5, -1, 0),
                    MESH::computed_normal());
  mesh.add_triangle(POSITION3(1, 0, 0), POSITION3(0, 0, 0), POSITION3(0.5, 0, 1),
                    MESH::computed_normal());
  MESH_POLYGON& seed = mesh.add_triangle(POSITION3(0, 0, 0), POSITION3(1, 0, 0),
                                         POSITION3(0.5, 1, 0), MESH::computed_normal());
  ASSERT_EQ(seed.get_start_coedge()->get_partner_coedge(), nullptr);
  mesh.optimize(resolution(1e-6, -1.0));
  MESH_TEST_ACCESS::recognize_flat_regions(mesh, kRes);
  EXPECT_EQ(mesh.get_regions().size(), 3u);
  for (const MESH_REGION* r : mesh.get_regions()) EXPECT_EQ(r->get_polygon_count(), 1u);
  EXPECT_MESH_OK(mesh);
}

// Seed triangle (0,0)-(1,0)-(0,1) and its neighbour across the hypotenuse,
// coplanar, but with the neighbour's normal as given.
struct PAIR {
  MESH mesh{resolution(1e-6, -1.0)};
  MESH_POLYGON* seed;
  MESH_POLYGON* neighbor;
  explicit PAIR(const UNITVEC3& neighbor_normal) {
    neighbor = &mesh.add_triangle(POSITION3(1, 0, 0), POSITION3(1, 1, 0), POSITION3(0, 1, 0),
                                  neighbor_normal);
    seed = &mesh.add_triangle(POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(0, 1, 0),
                              UNITVEC3(0, 0, 1));
    mesh.optimize(resolution(1e-6, -1.0));
  }
};

TEST(FlatMeshRegion, NeighbourAtExactlyTheLimitIsRejected) {
  // A normal whose z component is exactly 0.985 after normalisation.
  UNITVEC3 at_limit(0.0, std::sqrt(1.0 - 0.985 * 0.985), 0.985);
  for (int i = 0; i < 64 && at_limit.z() != 0.985; ++i) {
    at_limit = UNITVEC3(0.0, std::nextafter(at_limit.y(), 1.0), 0.985);
  }
  ASSERT_EQ(dot(at_limit, UNITVEC3(0, 0, 1)), 0.985);
  EXPECT_FALSE(reasonably_parallel(at_limit, UNITVEC3(0, 0, 1)));
  PAIR at(at_limit);
  auto region = std::make_unique<FLAT_MESH_REGION>(at.seed, kRes);
  EXPECT_FALSE(region->extend_region());
  EXPECT_FALSE(region->contains_polygon(at.neighbor));
  at.mesh.add_region(std::move(region));
  at.mesh.release_claimed_polygons();

  // Just inside the limit the same neighbour joins.
  PAIR inside(UNITVEC3(0.0, std::sqrt(1.0 - 0.9851 * 0.9851), 0.9851));
  auto grown = std::make_unique<FLAT_MESH_REGION>(inside.seed, kRes);
  EXPECT_TRUE(grown->extend_region());
  EXPECT_TRUE(grown->contains_polygon(inside.neighbor));
  inside.mesh.add_region(std::move(grown));
  inside.mesh.release_claimed_polygons();
}

// A polygon through the corners in order (a triangle, then inserted corners).
MESH_POLYGON& polygon(MESH& mesh, const std::vector<POSITION3>& corners, const UNITVEC3& normal) {
  MESH_POLYGON& p = mesh.add_triangle(corners[0], corners[1], corners[2], normal);
  MESH_POLYGON_COEDGE* last = p.get_start_coedge()->get_previous();
  for (std::size_t i = 3; i < corners.size(); ++i) {
    last = p.insert_coedge_after(last, mesh.get_mesh_vertex(corners[i]));
  }
  return p;
}

// A quadrilateral whose fourth corner stands 0.05 off the plane of the
// others, and, if asked, a flat triangle beside it.
struct WARPED_QUAD {
  MESH mesh{resolution(1e-6, -1.0)};
  MESH_POLYGON* quad;
  explicit WARPED_QUAD(bool with_neighbor) {
    if (with_neighbor) {
      mesh.add_triangle(POSITION3(1, 0, 0), POSITION3(2, 0, 0), POSITION3(1, 1, 0.05),
                        UNITVEC3(0, 0, 1));
    }
    quad = &polygon(
        mesh, {POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(1, 1, 0.05), POSITION3(0, 1, 0)},
        UNITVEC3(0, 0, 1));
    for (MESH_POLYGON* p : mesh.get_polygons()) p->set_polygon_type(REGULAR);
  }
  resolution res_{0.01, -1.0};  // regions keep a pointer to their resolution
  FLAT_MESH_REGION* grow(double res) {
    res_ = resolution(res, -1.0);
    auto region = std::make_unique<FLAT_MESH_REGION>(quad, res_);
    region->extend_region();
    FLAT_MESH_REGION* raw = region.get();
    mesh.add_region(std::move(region));
    mesh.release_claimed_polygons();
    return raw;
  }
};

TEST(FlatMeshRegion, WarpedQuadSeedKeepsItsPlaneUntilANeighbourJoins) {
  // Alone: ten times the resolution off its plane, yet a seed is never
  // tested, and the region keeps the seed plane.
  WARPED_QUAD alone(false);
  const FLAT_MESH_REGION* r = alone.grow(0.005);
  EXPECT_EQ(r->get_polygon_count(), 1u);
  EXPECT_EQ(plane_of(*r).nor(), UNITVEC3(0, 0, 1));
  EXPECT_EQ(r->get_fitting_precision(), 0.0);

  // With a neighbour the first accepted fit must hold all corners, the
  // seed's included: at 0.005 it can't, and the seed plane stays.
  WARPED_QUAD tight(true);
  r = tight.grow(0.005);
  EXPECT_EQ(r->get_polygon_count(), 1u);
  EXPECT_EQ(plane_of(*r).nor(), UNITVEC3(0, 0, 1));

  // At 0.05 it joins, and the region takes the fitted plane, which leans.
  WARPED_QUAD loose(true);
  r = loose.grow(0.05);
  EXPECT_EQ(r->get_polygon_count(), 2u);
  EXPECT_GT(r->get_fitting_precision(), 0.0);
  EXPECT_LE(r->get_fitting_precision(), 0.05);
  EXPECT_LT(std::fabs(plane_of(*r).nor().z()), 1.0 - 1e-6);
}

TEST(FlatMeshRegion, PolygonOnRegionVerticesOnlyJoinsWithoutNewPoints) {
  MESH mesh(resolution(1e-6, -1.0));
  // A closed fan around the centre c: three triangles covering a bigger one.
  const POSITION3 c(0.3, 0.3, 0), a(0, 0, 0), b(1, 0, 0), d(0, 1, 0);
  MESH_POLYGON& t3 = mesh.add_triangle(c, d, a, MESH::computed_normal());
  MESH_POLYGON& t2 = mesh.add_triangle(c, b, d, MESH::computed_normal());
  MESH_POLYGON& t1 = mesh.add_triangle(c, a, b, MESH::computed_normal());
  mesh.optimize(resolution(1e-6, -1.0));
  auto region = std::make_unique<FLAT_MESH_REGION>(&t1, kRes);
  EXPECT_TRUE(region->extend_region());
  EXPECT_EQ(region->get_polygon_count(), 3u);
  EXPECT_TRUE(region->contains_polygon(&t2));
  EXPECT_TRUE(region->contains_polygon(&t3));
  EXPECT_EQ(region->get_vertices().size(), 4u);
  // Within the resolution by a proven bound; the points are exactly in z = 0.
  EXPECT_LE(region->get_fitting_precision(), 1e-12);
  mesh.add_region(std::move(region));
  mesh.release_claimed_polygons();
}

// A strip of quads (two triangles each) bent along an arc of radius R about
// the y axis, `n` steps of `step` radians.
void add_arc_strip(MESH& mesh, double radius, double step, int n) {
  auto at = [&](int i, double y) {
    const double t = i * step;
    return POSITION3(radius * std::sin(t), y, radius * (1.0 - std::cos(t)));
  };
  for (int i = n - 1; i >= 0; --i) {
    mesh.add_triangle(at(i, 0), at(i + 1, 0), at(i + 1, 1), MESH::computed_normal());
    mesh.add_triangle(at(i, 0), at(i + 1, 1), at(i, 1), MESH::computed_normal());
  }
}

TEST(FlatMeshRegion, GentlyCurvedStripEndsWhereTheSagittaPassesTheResolution) {
  // Steps of 0.5 degrees: each is far below the angle limit.
  const double radius = 100.0, step = deg(0.5);
  MESH mesh(resolution(1e-6, -1.0));
  add_arc_strip(mesh, radius, step, 60);
  mesh.optimize(resolution(1e-6, -1.0));
  MESH_TEST_ACCESS::recognize_flat_regions(mesh, kRes);
  EXPECT_GT(mesh.get_regions().size(), 2u);
  // A least-squares plane over an arc of chord L stays within L²/(16 R) or
  // so: the regions can't span much more than sqrt(16 R res) = 4 mm.
  for (const MESH_REGION* r : mesh.get_regions()) {
    EXPECT_LE(r->get_fitting_precision(), 0.01);
    const plane& pl = plane_of(*r);
    for (const MESH_VERTEX* v : r->get_vertices()) {
      EXPECT_LE(std::fabs(pl.signed_distance(v->location())), 0.01 + 1e-12);
    }
  }
  EXPECT_MESH_OK(mesh);
}

// A tiny triangle abc inside the big triangle PQR, with six triangles
// between them; everything in z = 0.
struct TINY_FAN {
  MESH mesh{resolution(1e-6, -1.0)};
  MESH_POLYGON* tiny;
  TINY_FAN(bool connected) {
    const POSITION3 a(0, 0, 0), b(0.001, 0, 0), c(0, 0.001, 0);
    const POSITION3 p(-1, -1, 0), q(2, -1, 0), r(-1, 2, 0);
    if (connected) {
      for (auto t : {std::vector<POSITION3>{p, q, b}, {p, b, a}, {q, r, c}, {q, c, b}, {r, p, a},
                     {r, a, c}}) {
        mesh.add_triangle(t[0], t[1], t[2], MESH::computed_normal()).set_polygon_type(REGULAR);
      }
    } else {
      mesh.add_triangle(p, q, r, MESH::computed_normal()).set_polygon_type(REGULAR);
      // Far from the big one, so that nothing reaches it.
    }
    const VECTOR3 away = connected ? VECTOR3() : VECTOR3(10, 10, 0);
    tiny = &mesh.add_triangle(a + away, b + away, c + away, MESH::computed_normal());
    tiny->set_polygon_type(TINY);
  }
};

TEST(FlatMeshRegion, TinyTriangleNotReachedIsDestroyed) {
  // (Reached across a partner it joins: see the next test.)
  TINY_FAN alone(false);
  const MESH_VERTEX* corner = alone.tiny->get_start_coedge()->get_start_vertex();
  MESH_TEST_ACCESS::recognize_flat_regions(alone.mesh, kRes);
  EXPECT_EQ(alone.mesh.get_regions().size(), 1u);
  EXPECT_EQ(corner->outgoing_count(), 0u);  // the tiny triangle was destroyed
  EXPECT_TRUE(alone.mesh.get_polygons().empty());
  EXPECT_MESH_OK(alone.mesh);
}

TEST(FlatMeshRegion, TinyTriangleReachedAcrossAPartnerIsTakenIn) {
  TINY_FAN fan(true);
  MESH_POLYGON* seed = fan.mesh.get_polygons().front() == fan.tiny
                           ? *std::next(fan.mesh.get_polygons().begin())
                           : fan.mesh.get_polygons().front();
  auto region = std::make_unique<FLAT_MESH_REGION>(seed, kRes);
  region->extend_region();
  EXPECT_TRUE(region->contains_polygon(fan.tiny));
  EXPECT_EQ(region->get_polygon_count(), 7u);
  fan.mesh.add_region(std::move(region));
  fan.mesh.release_claimed_polygons();
}

// The corners of 3 by 3 unit cells in z = 0, each cell split along its
// diagonal into a lower (i,j)-(i+1,j)-(i+1,j+1) and an upper
// (i,j)-(i+1,j+1)-(i,j+1) triangle. All geometry is flat; the facet normals,
// as a file states them, decide. The seed, the lower triangle of cell
// (0,0), leans 9 degrees towards +y; its upper neighbour 6 degrees towards
// -y (15 from the seed); the lower triangle of cell (1,1) 12 degrees
// towards +y (3 from the seed); all others face +z.
struct TILTED_GRID {
  MESH mesh{resolution(1e-6, -1.0)};
  MESH_POLYGON* seed = nullptr;
  MESH_POLYGON* leans_away = nullptr;
  MESH_POLYGON* leans_toward = nullptr;
  TILTED_GRID() {
    auto v = [](int i, int j) { return POSITION3(i, j, 0); };
    for (int i = 2; i >= 0; --i) {
      for (int j = 2; j >= 0; --j) {
        if (i == 0 && j == 0) continue;
        mesh.add_triangle(v(i, j), v(i + 1, j + 1), v(i, j + 1), UNITVEC3(0, 0, 1));
        const bool toward = i == 1 && j == 1;
        MESH_POLYGON& lo = mesh.add_triangle(v(i, j), v(i + 1, j), v(i + 1, j + 1),
                                             toward ? tilted(deg(12)) : UNITVEC3(0, 0, 1));
        if (toward) leans_toward = &lo;
      }
    }
    leans_away = &mesh.add_triangle(v(0, 0), v(1, 1), v(0, 1), tilted(deg(-6)));
    seed = &mesh.add_triangle(v(0, 0), v(1, 0), v(1, 1), tilted(deg(9)));
    for (MESH_POLYGON* p : mesh.get_polygons()) p->set_polygon_type(REGULAR);
  }
};

TEST(FlatMeshRegion, ConvexifyJudgesBySeedNormalNotTheMovingOne) {
  TILTED_GRID grid;
  auto region = std::make_unique<FLAT_MESH_REGION>(grid.seed, kRes);
  EXPECT_TRUE(region->extend_region());
  // 12 degrees from the fitted +z fails the moving test, but all its corners
  // lie on the region and it is 3 degrees from the seed: convexify takes it.
  EXPECT_TRUE(region->contains_polygon(grid.leans_toward));
  // 6 degrees from +z would pass the moving test, but it was judged (and
  // rejected, 15 degrees) against the seed's normal first, and convexify
  // compares with the seed too.
  EXPECT_FALSE(region->contains_polygon(grid.leans_away));
  EXPECT_EQ(region->get_polygon_count(), 17u);
  // The stored reference normal stays the seed's.
  EXPECT_EQ(region->get_reference_normal(), grid.seed->get_normal());
  EXPECT_NEAR(std::fabs(plane_of(*region).nor().z()), 1.0, 1e-15);
  grid.mesh.add_region(std::move(region));
  grid.mesh.release_claimed_polygons();
}

TEST(FlatMeshRegion, PolygonOfAnEarlierRegionIsNotACandidate) {
  TILTED_GRID grid;
  // The leaning-toward triangle is a region of its own already: it is never
  // queued, so neither the growth nor the pocket filling reaches it.
  auto first = std::make_unique<FLAT_MESH_REGION>(grid.leans_toward, kRes);
  FLAT_MESH_REGION* first_raw = first.get();
  grid.mesh.add_region(std::move(first));
  auto region = std::make_unique<FLAT_MESH_REGION>(grid.seed, kRes);
  EXPECT_TRUE(region->extend_region());
  EXPECT_FALSE(region->contains_polygon(grid.leans_toward));
  EXPECT_EQ(grid.leans_toward->get_region(), first_raw);
  EXPECT_EQ(first_raw->get_polygon_count(), 1u);
  EXPECT_EQ(region->get_polygon_count(), 16u);
  grid.mesh.add_region(std::move(region));
  grid.mesh.release_claimed_polygons();
}

TEST(FlatMeshRegion, SetMergedEmptiesTheRegionButLeavesThePolygons) {
  PAIR pair(UNITVEC3(0, 0, 1));
  auto region = std::make_unique<FLAT_MESH_REGION>(pair.seed, kRes);
  region->extend_region();
  ASSERT_EQ(region->get_polygon_count(), 2u);
  region->set_merged();
  EXPECT_TRUE(region->is_merged());
  EXPECT_EQ(region->get_polygon_count(), 0u);
  EXPECT_TRUE(region->get_vertices().empty());
  EXPECT_TRUE(host_is_nan(region->get_fitting_precision()));
  EXPECT_EQ(pair.seed->get_region(), region.get());  // the links are untouched
  EXPECT_TRUE(host_is_nan(region->get_normal().x()));
  pair.seed->set_region(nullptr);
  pair.neighbor->set_region(nullptr);
}

TEST(FlatMeshRegion, NanCornerSeedHasNoPlaneAndNoCrash) {
  MESH mesh(resolution(1e-6, -1.0));
  const double nan = host_nan();
  MESH_POLYGON& bad = mesh.add_triangle(POSITION3(0, 0, 0), POSITION3(nan, 0, 0),
                                        POSITION3(0, 1, 0), MESH::computed_normal());
  mesh.add_triangle(POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(0, 1, 0),
                    MESH::computed_normal());
  for (MESH_POLYGON* p : mesh.get_polygons()) p->set_polygon_type(REGULAR);
  (void)bad;
  MESH_TEST_ACCESS::recognize_flat_regions(mesh, kRes);
  // The good triangle is a region; the one on a NaN corner had no plane and
  // went with its region.
  ASSERT_EQ(mesh.get_regions().size(), 1u);
  EXPECT_NE(mesh.get_regions().front()->get_surface(), nullptr);
  EXPECT_TRUE(mesh.get_polygons().empty());
}

TEST(FlatMeshRegion, OneHugeFlatRegionMergesIntoOnePolygon) {
  // A 200 by 200 grid: 80,000 coplanar triangles, one region, one polygon.
  MESH mesh(resolution(1e-6, -1.0));
  const int n = 200;
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) {
      mesh.add_triangle(POSITION3(i, j, 0), POSITION3(i + 1, j, 0), POSITION3(i + 1, j + 1, 0),
                        MESH::computed_normal());
      mesh.add_triangle(POSITION3(i, j, 0), POSITION3(i + 1, j + 1, 0), POSITION3(i, j + 1, 0),
                        MESH::computed_normal());
    }
  }
  mesh.optimize(resolution(1e-6, -1.0));
  mesh.recognize_surfaces(MESH::PLANES, kRes);
  ASSERT_EQ(mesh.get_regions().size(), 1u);
  const MESH_REGION* r = mesh.get_regions().front();
  EXPECT_EQ(r->get_polygon_count(), 1u);
  EXPECT_EQ(r->get_vertices().size(), static_cast<std::size_t>((n + 1) * (n + 1)));
  // The inner coedges are all gone; the open border has no neighbour to
  // share a straight edge with, so each border coedge keeps its own.
  const MESH_POLYGON* p = r->get_polygons().front();
  int corners = 0;
  const MESH_POLYGON_COEDGE* c = p->get_start_coedge();
  do {
    ++corners;
    c = c->get_next();
  } while (c != p->get_start_coedge());
  EXPECT_EQ(corners, 4 * n);
  EXPECT_MESH_OK(mesh);
}

}  // namespace
