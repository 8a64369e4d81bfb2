// Building meshes by welding: the same position gives the same vertex, a
// welded closed cube pairs every coedge, and a non-manifold edge has no
// partner. The invariant checker runs after every operation.

#include "lumesh/mesh/mesh.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

#include "host/geometry/constants.h"
#include "lumesh/mesh/mesh_checker.h"
#include "support/mesh_expect.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"

namespace {

SCAN_CNTRL count_node(STL_OCTREE_NODE*, void* data) {
  ++*static_cast<std::size_t*>(data);
  return SCAN_CONTINUE;
}

// Counted by a scan, and checked against the mesh's own count.
std::size_t vertex_count(const MESH& mesh) {
  std::size_t n = 0;
  mesh.scan_vertices(count_node, &n);
  EXPECT_EQ(n, mesh.get_vertex_count());
  return n;
}

std::vector<MESH_POLYGON_COEDGE*> all_coedges(const MESH& mesh) {
  std::vector<MESH_POLYGON_COEDGE*> out;
  for (MESH_POLYGON* p : mesh.get_polygons()) {
    MESH_POLYGON_COEDGE* c = p->get_start_coedge();
    do {
      out.push_back(c);
      c = c->get_next();
    } while (c != p->get_start_coedge());
  }
  return out;
}

// A unit cube as 12 outward-oriented triangles; `jitter` moves each corner
// of each triangle by a different small offset.
void add_cube(MESH& mesh, double jitter) {
  const std::array<POSITION3, 8> v = {POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(1, 1, 0),
                                      POSITION3(0, 1, 0), POSITION3(0, 0, 1), POSITION3(1, 0, 1),
                                      POSITION3(1, 1, 1), POSITION3(0, 1, 1)};
  const int quads[6][4] = {{0, 3, 2, 1}, {4, 5, 6, 7}, {0, 1, 5, 4},
                           {1, 2, 6, 5}, {2, 3, 7, 6}, {3, 0, 4, 7}};
  int k = 0;
  auto corner = [&](int i) {
    ++k;
    const double s = jitter * ((k % 7) - 3) / 3.0;
    return v[i] + VECTOR3(s, -s * 0.5, s * 0.25);
  };
  for (const auto& q : quads) {
    mesh.add_triangle(corner(q[0]), corner(q[1]), corner(q[2]), MESH::computed_normal());
    mesh.add_triangle(corner(q[0]), corner(q[2]), corner(q[3]), MESH::computed_normal());
  }
}

const resolution kRes(1e-3, -1.0);

}  // namespace

TEST(MeshBuilding, SamePositionTwiceGivesTheSameVertexAndNoNode) {
  MESH mesh(kRes);
  MESH_VERTEX& a = mesh.get_mesh_vertex(POSITION3(1, 2, 3));
  EXPECT_EQ(vertex_count(mesh), 1u);
  EXPECT_EQ(&mesh.get_mesh_vertex(POSITION3(1, 2, 3)), &a);
  EXPECT_EQ(vertex_count(mesh), 1u);
  EXPECT_EQ(&mesh.get_mesh_vertex(POSITION3(1.0006, 2, 3)), &a);  // within resabs
  EXPECT_NE(&mesh.get_mesh_vertex(POSITION3(1.002, 2, 3)), &a);
  EXPECT_EQ(vertex_count(mesh), 2u);
  EXPECT_MESH_OK(mesh);
}

TEST(MeshBuilding, WeldAtExactlyResabsFollowsResolutionEqual) {
  const resolution res(0.5, -1.0);
  MESH mesh(res);
  MESH_VERTEX& a = mesh.get_mesh_vertex(POSITION3(0, 0, 0));
  const bool equal = res.equal(POSITION3(0, 0, 0), POSITION3(0, 0.5, 0));
  EXPECT_EQ(&mesh.get_mesh_vertex(POSITION3(0, 0.5, 0)) == &a, equal);
}

TEST(MeshBuilding, AddTriangleCountsAndPushesToTheFront) {
  MESH mesh(kRes);
  MESH_POLYGON& p = mesh.add_triangle(POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(0, 1, 0),
                                      UNITVEC3(0, 0, 1));
  EXPECT_MESH_OK(mesh);
  MESH_POLYGON& q = mesh.add_triangle(POSITION3(1, 0, 0), POSITION3(1, 1, 0), POSITION3(0, 1, 0),
                                      UNITVEC3(0, 0, 1));
  EXPECT_MESH_OK(mesh);
  EXPECT_EQ(mesh.get_polygon_count(), 2u);
  EXPECT_EQ(mesh.get_polygons().front(), &q);
  EXPECT_EQ(*std::next(mesh.get_polygons().begin()), &p);
  EXPECT_EQ(vertex_count(mesh), 4u);
}

TEST(MeshBuilding, WeldedClosedCubePairsEveryCoedge) {
  {
    MESH mesh(kRes);
    add_cube(mesh, 0.0);
    EXPECT_MESH_OK(mesh);
    EXPECT_EQ(mesh.get_polygon_count(), 12u);
    EXPECT_EQ(vertex_count(mesh), 8u);
    const auto coedges = all_coedges(mesh);
    ASSERT_EQ(coedges.size(), 36u);
    for (MESH_POLYGON_COEDGE* c : coedges) {
      MESH_POLYGON_COEDGE* partner = c->get_partner_coedge();
      ASSERT_NE(partner, nullptr);
      EXPECT_EQ(partner->get_start_vertex(), c->get_end_vertex());
      EXPECT_EQ(partner->get_end_vertex(), c->get_start_vertex());
      EXPECT_EQ(partner->get_partner_coedge(), c);
      EXPECT_NE(partner->get_owner_polygon(), c->get_owner_polygon());
      MESH_COEDGE_LIST aligned;
      c->get_partner_coedges(aligned, MESH_POLYGON_COEDGE::ALIGNED);
      EXPECT_TRUE(aligned.empty());
    }
    // Computed normals point out of the cube.
    for (const MESH_POLYGON* p : mesh.get_polygons()) {
      const POSITION3 g = p->get_center_of_gravity();
      EXPECT_GT(dot(g - POSITION3(0.5, 0.5, 0.5), p->get_normal()), 0.0);
    }
  }
}

SCAN_CNTRL collect_node(STL_OCTREE_NODE* n, void* data) {
  static_cast<std::vector<STL_OCTREE_NODE*>*>(data)->push_back(n);
  return SCAN_CONTINUE;
}

TEST(MeshBuilding, WeldFindsEveryCornerWithinResabs) {
  // Corners moved by a hundredth of resabs, in all directions: each of the
  // eight corners becomes one vertex, the octant borders notwithstanding.
  MESH mesh(kRes);
  add_cube(mesh, 1e-5);
  EXPECT_MESH_OK(mesh);
  EXPECT_EQ(vertex_count(mesh), 8u);
  std::vector<STL_OCTREE_NODE*> nodes;
  mesh.scan_vertices(collect_node, &nodes);
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    for (std::size_t j = i + 1; j < nodes.size(); ++j) {
      EXPECT_FALSE(kRes.equal(nodes[i]->location(), nodes[j]->location()));
    }
  }
}

TEST(MeshBuilding, WeldTakesTheNearestOfTwoCandidates) {
  MESH mesh(kRes);
  MESH_VERTEX& a = mesh.get_mesh_vertex(POSITION3(0, 0, 0));
  MESH_VERTEX& b = mesh.get_mesh_vertex(POSITION3(0.0015, 0, 0));
  ASSERT_NE(&a, &b);
  EXPECT_EQ(&mesh.get_mesh_vertex(POSITION3(0.0009, 0, 0)), &b);
  EXPECT_EQ(&mesh.get_mesh_vertex(POSITION3(0.0006, 0, 0)), &a);
  EXPECT_EQ(vertex_count(mesh), 2u);
}

TEST(MeshBuilding, WeldAcrossACellBorder) {
  // Cells are 1024 tolerances wide; positions on both sides of a border (and
  // of a corner where eight cells meet) still weld.
  MESH mesh(kRes);
  const double border = 1.024 * 5;
  MESH_VERTEX& a = mesh.get_mesh_vertex(POSITION3(border - 2e-4, border + 2e-4, -border - 1e-4));
  EXPECT_EQ(&mesh.get_mesh_vertex(POSITION3(border + 2e-4, border - 2e-4, -border + 1e-4)), &a);
  EXPECT_EQ(vertex_count(mesh), 1u);
}

TEST(MeshBuilding, NonFinitePositionsNeverWeld) {
  MESH mesh(kRes);
  const double nan = host_nan();
  MESH_VERTEX& a = mesh.get_mesh_vertex(POSITION3(nan, 0, 0));
  EXPECT_NE(&mesh.get_mesh_vertex(POSITION3(nan, 0, 0)), &a);
  MESH_VERTEX& inf = mesh.get_mesh_vertex(POSITION3(host_pos_inf(), 0, 0));
  EXPECT_NE(&mesh.get_mesh_vertex(POSITION3(host_pos_inf(), 0, 0)), &inf);
  mesh.add_triangle(POSITION3(nan, 0, 0), POSITION3(1, 0, 0), POSITION3(0, 1, 0),
                    MESH::computed_normal());
  EXPECT_EQ(vertex_count(mesh), 7u);
  EXPECT_MESH_OK(mesh);
  std::size_t in_box = 0;
  mesh.scan_vertices(count_node, &in_box, BOX3(POSITION3(-10, -10, -10), POSITION3(10, 10, 10)));
  EXPECT_EQ(in_box, 2u);
}

TEST(MeshBuilding, ThreeTrianglesOnOneEdge) {
  // Two triangles use a -> b, one uses b -> a.
  MESH mesh(kRes);
  const POSITION3 a(0, 0, 0), b(1, 0, 0);
  MESH_POLYGON& t1 = mesh.add_triangle(a, b, POSITION3(0.5, 1, 0), UNITVEC3(0, 0, 1));
  MESH_POLYGON& t2 = mesh.add_triangle(b, a, POSITION3(0.5, -1, 0), UNITVEC3(0, 0, 1));
  MESH_POLYGON& t3 = mesh.add_triangle(a, b, POSITION3(0.5, 0, 1), UNITVEC3(0, -1, 0));
  EXPECT_MESH_OK(mesh);
  MESH_POLYGON_COEDGE* c1 = t1.get_start_coedge();
  MESH_POLYGON_COEDGE* c2 = t2.get_start_coedge();
  MESH_POLYGON_COEDGE* c3 = t3.get_start_coedge();
  // b -> a has two opposed coedges: no partner, it behaves as a boundary.
  EXPECT_EQ(c2->get_partner_coedge(), nullptr);
  MESH_COEDGE_LIST opposed;
  c2->get_partner_coedges(opposed, MESH_POLYGON_COEDGE::OPPOSED);
  EXPECT_EQ(opposed.size(), 2u);
  // Every one of the three lists the other two with ANY_ALIGNMENT.
  for (MESH_POLYGON_COEDGE* c : {c1, c2, c3}) {
    MESH_COEDGE_LIST any;
    c->get_partner_coedges(any, MESH_POLYGON_COEDGE::ANY_ALIGNMENT);
    EXPECT_EQ(any.size(), 2u);
    for (MESH_POLYGON_COEDGE* o : {c1, c2, c3}) {
      EXPECT_EQ(std::count(any.begin(), any.end(), o), o == c ? 0 : 1);
    }
    MESH_COEDGE_LIST opp;
    c->get_partner_coedges(opp, MESH_POLYGON_COEDGE::OPPOSED);
    EXPECT_EQ(c->get_partner_coedge(), opp.size() == 1 ? opp[0] : nullptr);
  }
  MESH_COEDGE_LIST aligned;
  c1->get_partner_coedges(aligned, MESH_POLYGON_COEDGE::ALIGNED);
  ASSERT_EQ(aligned.size(), 1u);
  EXPECT_EQ(aligned[0], c3);
}

TEST(MeshBuilding, NonManifoldEdgeHasNoPartnerForAnyCoedge) {
  // Three triangles on a -> b in the same direction, and a fin of four with
  // two each way: no coedge has exactly one opposed coedge.
  for (const int layout : {0, 1}) {
    MESH mesh(kRes);
    const POSITION3 a(0, 0, 0), b(1, 0, 0);
    const POSITION3 apex[4] = {POSITION3(0.5, 1, 0), POSITION3(0.5, -1, 0), POSITION3(0.5, 0, 1),
                               POSITION3(0.5, 0, -1)};
    std::vector<MESH_POLYGON*> fan;
    const int n = layout == 0 ? 3 : 4;
    for (int i = 0; i < n; ++i) {
      const bool forward = layout == 0 || i % 2 == 0;
      fan.push_back(&mesh.add_triangle(forward ? a : b, forward ? b : a, apex[i],
                                       MESH::computed_normal()));
      EXPECT_MESH_OK(mesh);
    }
    for (MESH_POLYGON* p : fan) {
      MESH_POLYGON_COEDGE* c = p->get_start_coedge();
      EXPECT_EQ(c->get_partner_coedge(), nullptr);
      MESH_COEDGE_LIST any;
      c->get_partner_coedges(any, MESH_POLYGON_COEDGE::ANY_ALIGNMENT);
      EXPECT_EQ(any.size(), static_cast<std::size_t>(n - 1));
    }
  }
}

TEST(MeshBuilding, SortedPositionsWeldInLinearTime) {
  // The worst order for a tree shaped by insertion: every position beyond
  // the last on all three axes. The grid doesn't care about order.
  constexpr int kCount = 200000;
  auto diag = [](int i) { return POSITION3(i * 0.01, i * 0.01, i * 0.01); };
  MESH mesh(kRes);
  for (int i = 0; i < kCount; ++i) mesh.get_mesh_vertex(diag(i));
  for (int i = 0; i < kCount; i += 97) mesh.get_mesh_vertex(diag(i) + VECTOR3(0, 0, 1e-4));
  EXPECT_EQ(vertex_count(mesh), static_cast<std::size_t>(kCount));
  for (int i = 0; i + 2 < kCount; i += 3) {
    mesh.add_triangle(diag(i), diag(i + 1), diag(i + 2), UNITVEC3(0, 0, 1));
  }
  EXPECT_EQ(vertex_count(mesh), static_cast<std::size_t>(kCount));
  EXPECT_MESH_OK(mesh);
}
