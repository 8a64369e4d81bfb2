// The perimeter queue: steepest candidate first under a moving reference
// normal, checked against a brute-force model; the comparator; and which
// partners go in.

#include "lumesh/mesh/perimeter_queue.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>
#include <set>
#include <vector>

#include "lumesh/mesh/mesh.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"

namespace {

// An n by n grid of cells in z = 0, two triangles each, with stated normals
// drawn around +z.
void add_grid(MESH& mesh, int n, std::mt19937& rng, double spread) {
  std::normal_distribution<double> tilt(0.0, spread);
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) {
      const POSITION3 a(i, j, 0), b(i + 1, j, 0), c(i + 1, j + 1, 0), d(i, j + 1, 0);
      mesh.add_triangle(a, b, c, UNITVEC3(tilt(rng), tilt(rng), 1.0));
      mesh.add_triangle(a, c, d, UNITVEC3(tilt(rng), tilt(rng), 1.0));
    }
  }
}

double key(const MESH_POLYGON_COEDGE* c, const UNITVEC3& r) {
  return dot(c->get_owner_polygon()->get_normal(), r);
}

TEST(NormalComparator, GreaterDotComesFirst) {
  MESH mesh(resolution(1e-6, -1.0));
  MESH_POLYGON& flat = mesh.add_triangle(POSITION3(0, 0, 0), POSITION3(1, 0, 0),
                                         POSITION3(0, 1, 0), UNITVEC3(0, 0, 1));
  MESH_POLYGON& steep = mesh.add_triangle(POSITION3(0, 0, 1), POSITION3(1, 0, 1),
                                          POSITION3(0, 1, 1), UNITVEC3(0, 1, 1));
  const NORMAL_COMPARATOR cmp{UNITVEC3(0, 0, 1)};
  EXPECT_TRUE(cmp(flat.get_start_coedge(), steep.get_start_coedge()));
  EXPECT_FALSE(cmp(steep.get_start_coedge(), flat.get_start_coedge()));
  EXPECT_FALSE(cmp(flat.get_start_coedge(), flat.get_start_coedge()));
}

TEST(PerimeterQueue, SeedQueuesThePartnersOfFreeNeighbours) {
  MESH mesh(resolution(1e-6, -1.0));
  std::mt19937 rng(1);
  add_grid(mesh, 3, rng, 0.0);
  // The triangle a c d of the middle cell has three neighbours.
  MESH_POLYGON* seed = nullptr;
  for (MESH_POLYGON* p : mesh.get_polygons()) {
    if ((p->get_center_of_gravity() - POSITION3(1 + 1.0 / 3, 1 + 2.0 / 3, 0)).len() < 1e-12) seed = p;
  }
  ASSERT_NE(seed, nullptr);
  PERIMETER_QUEUE queue(seed);
  EXPECT_EQ(queue.size(), 3u);
  EXPECT_EQ(queue.get_reference_normal(), seed->get_normal());
  std::set<MESH_POLYGON*> owners;
  while (!queue.empty()) {
    MESH_POLYGON_COEDGE* e = queue.pop_flattest_perimeter_coedge();
    ASSERT_NE(e, nullptr);
    // A queued coedge is the partner of one of the seed's.
    EXPECT_EQ(e->get_partner_coedge()->get_owner_polygon(), seed);
    owners.insert(e->get_owner_polygon());
  }
  EXPECT_EQ(owners.size(), 3u);
  EXPECT_EQ(queue.pop_flattest_perimeter_coedge(), nullptr);
}

// Random growth with a reference normal that moves by small and large
// amounts: every pop that passes the angle test must be the minimum of the
// keys under the present normal (up to rounding), every other pop must fail
// the test, and nothing may be lost or invented.
TEST(PerimeterQueue, PopsTheSteepestUnderAMovingNormal) {
  for (double spread : {0.0, 1e-9, 1e-4, 0.08}) {
    MESH mesh(resolution(1e-6, -1.0));
    std::mt19937 rng(42);
    add_grid(mesh, 40, rng, spread);
    MESH_POLYGON* seed = mesh.get_polygons().front();
    PERIMETER_QUEUE queue(seed);
    std::multiset<MESH_POLYGON_COEDGE*> model;
    {
      const MESH_POLYGON_COEDGE* c = seed->get_start_coedge();
      do {
        if (MESH_POLYGON_COEDGE* q = c->get_partner_coedge()) model.insert(q);
        c = c->get_next();
      } while (c != seed->get_start_coedge());
    }
    std::set<MESH_POLYGON*> extended{seed};
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::normal_distribution<double> jitter(0.0, 1.0);
    UNITVEC3 r = seed->get_normal();
    int pops = 0;
    while (!queue.empty()) {
      ASSERT_EQ(queue.size(), model.size());
      MESH_POLYGON_COEDGE* e = queue.pop_flattest_perimeter_coedge();
      ASSERT_NE(e, nullptr);
      auto it = model.find(e);
      ASSERT_NE(it, model.end()) << "popped an entry that was never queued";
      model.erase(it);
      const double k = key(e, r);
      if (k > 0.985) {
        for (MESH_POLYGON_COEDGE* other : model) {
          ASSERT_GE(key(other, r), k - 4e-15)
              << "pop " << pops << " spread " << spread << " diff " << key(other, r) - k;
        }
      }
      ++pops;
      MESH_POLYGON* p = e->get_owner_polygon();
      if (extended.insert(p).second) {
        queue.extend_to_partner_polygon(e);
        for (const MESH_POLYGON_COEDGE* c = e->get_next(); c != e; c = c->get_next()) {
          if (MESH_POLYGON_COEDGE* q = c->get_partner_coedge()) model.insert(q);
        }
        // The reference follows a fit: mostly tiny moves, now and then a
        // big one.
        const double size = unit(rng) < 0.05 ? 0.05 : std::pow(10.0, -4.0 - 10.0 * unit(rng));
        r = UNITVEC3(r + VECTOR3(jitter(rng), jitter(rng), jitter(rng)) * size);
        queue.set_reference_normal(r);
      }
    }
    EXPECT_TRUE(model.empty());
    EXPECT_GT(pops, 3000);
  }
}

TEST(PerimeterQueue, NanNormalsGoFirstAndNeverAsTheFlattest) {
  MESH mesh(resolution(1e-6, -1.0));
  // A centre triangle with three neighbours, one with a NaN normal.
  const POSITION3 a(0, 0, 0), b(1, 0, 0), c(0, 1, 0);
  mesh.add_triangle(b, a, POSITION3(0.5, -1, 0), UNITVEC3(0, 0, 1));
  mesh.add_triangle(c, b, POSITION3(1, 1, 0), UNITVEC3(0, 0, 1));
  // Collinear corners: the normal can't be computed and stays NaN.
  MESH_POLYGON& odd = mesh.add_triangle(a, c, POSITION3(0, 2, 0), MESH::computed_normal());
  ASSERT_TRUE(host_is_nan(odd.get_normal().x()));
  MESH_POLYGON& seed = mesh.add_triangle(a, b, c, UNITVEC3(0, 0, 1));
  PERIMETER_QUEUE queue(&seed);
  queue.set_reference_normal(UNITVEC3(0, 0.01, 1));
  ASSERT_EQ(queue.size(), 3u);
  EXPECT_EQ(queue.pop_flattest_perimeter_coedge()->get_owner_polygon(), &odd);
}

}  // namespace
