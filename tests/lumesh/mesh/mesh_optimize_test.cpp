// The repair of degenerate triangles (tiny, short edge, sliver) and the
// estimate of a recognition resolution. The invariant checker runs after
// every repair.

#include <gtest/gtest.h>

#include <cstddef>
#include <random>
#include <set>
#include <vector>

#include "lumesh/mesh/mesh.h"
#include "lumesh/mesh/mesh_checker.h"
#include "support/mesh_expect.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"

namespace {

const resolution kWeld(1e-6, -1.0);

MESH_POLYGON& tri(MESH& mesh, const POSITION3& a, const POSITION3& b, const POSITION3& c) {
  return mesh.add_triangle(a, b, c, MESH::computed_normal());
}

std::vector<MESH_VERTEX*> ring_vertices(const MESH_POLYGON& p) {
  std::vector<MESH_VERTEX*> out;
  const MESH_POLYGON_COEDGE* c = p.get_start_coedge();
  do {
    out.push_back(c->get_start_vertex());
    c = c->get_next();
  } while (c != p.get_start_coedge());
  return out;
}

// The corner of p nearest to `near` (classification may rotate a ring, so
// corners are found by place, not by index).
MESH_VERTEX* corner(const MESH_POLYGON& p, const POSITION3& near) {
  MESH_VERTEX* best = nullptr;
  for (MESH_VERTEX* v : ring_vertices(p)) {
    if (best == nullptr || dist(v->location(), near) < dist(best->location(), near)) best = v;
  }
  return best;
}

std::size_t list_size(const MESH& mesh) {
  std::size_t n = 0;
  for (const MESH_POLYGON* p : mesh.get_polygons()) {
    EXPECT_EQ(p->get_polygon_type(), REGULAR);
    ++n;
  }
  return n;
}

}  // namespace

TEST(MeshOptimize, TinyTriangleDisappearsAndItsCornersBecomeOneVertex) {
  MESH mesh(kWeld);
  const POSITION3 a(0, 0, 0), b(0.01, 0, 0), c(0, 0.01, 0);
  // Three triangles that touch one corner each, then the tiny one.
  MESH_POLYGON& na = tri(mesh, a, POSITION3(-1, -0.5, 0), POSITION3(-0.5, -1, 0));
  MESH_POLYGON& nb = tri(mesh, b, POSITION3(1, -0.5, 0), POSITION3(1, 0.5, 0));
  MESH_POLYGON& nc = tri(mesh, c, POSITION3(0.5, 1, 0), POSITION3(-0.5, 1, 0));
  tri(mesh, a, b, c);
  mesh.optimize(resolution(0.01, -1.0));
  EXPECT_MESH_OK(mesh);
  EXPECT_EQ(mesh.get_polygon_count(), 3u);
  EXPECT_EQ(list_size(mesh), 3u);
  EXPECT_EQ(mesh.get_degenerate_polygon_count(), 1u);
  EXPECT_EQ(mesh.get_repaired_polygon_count(), 1u);
  MESH_VERTEX* v = corner(na, a);
  EXPECT_EQ(corner(nb, b), v);
  EXPECT_EQ(corner(nc, c), v);
  // The vertex at the centre of gravity, which no vertex stood in for.
  EXPECT_LT(dist(v->location(), POSITION3(0.01 / 3, 0.01 / 3, 0)), 1e-12);
  EXPECT_EQ(v->outgoing_count(), 3u);
  EXPECT_EQ(mesh.get_mesh_resolution().resabs(), 0.01);
  EXPECT_EQ(mesh.get_import_resolution().resabs(), 1e-6);
}

TEST(MeshOptimize, ShortEdgeIsJoinedAtItsMidpoint) {
  MESH mesh(kWeld);
  const POSITION3 s(0, 0, 0), e(0.01, 0, 0);
  MESH_POLYGON& ns = tri(mesh, s, POSITION3(-1, -1, 0), POSITION3(-1, 1, 0));
  MESH_POLYGON& ne = tri(mesh, e, POSITION3(1, 1, 0), POSITION3(1, -1, 0));
  tri(mesh, POSITION3(0.5, 1, 0), s, e);  // the short edge is not the first
  mesh.optimize(resolution(0.01, -1.0));
  EXPECT_MESH_OK(mesh);
  EXPECT_EQ(mesh.get_polygon_count(), 2u);
  MESH_VERTEX* v = corner(ns, s);
  EXPECT_EQ(corner(ne, e), v);
  EXPECT_LT(dist(v->location(), POSITION3(0.005, 0, 0)), 1e-15);
  EXPECT_EQ(mesh.get_degenerate_polygon_count(), 1u);
}

TEST(MeshOptimize, ShortEdgeKeepsItsFirstCornerWhenTheMidpointWeldsToACorner) {
  // Welding at 0.01: the midpoint of an edge of 0.012 lies within the
  // welding resolution of both ends, so the look-up hands out one of them;
  // then the first corner survives and no new vertex is made.
  MESH mesh(resolution(0.01, -1.0));
  const POSITION3 s(0, 0, 0), e(0.012, 0, 0);
  MESH_POLYGON& ns = tri(mesh, s, POSITION3(-1, -1, 0), POSITION3(-1, 1, 0));
  MESH_POLYGON& ne = tri(mesh, e, POSITION3(1, 1, 0), POSITION3(1, -1, 0));
  tri(mesh, s, e, POSITION3(0.5, 1, 0));
  MESH_VERTEX* first = corner(ns, s);
  const std::size_t vertices = mesh.get_vertex_count();
  mesh.optimize(resolution(0.01, -1.0));
  EXPECT_MESH_OK(mesh);
  EXPECT_EQ(mesh.get_vertex_count(), vertices);
  EXPECT_EQ(corner(ns, s), first);
  EXPECT_EQ(corner(ne, e), first);
  EXPECT_EQ(first->location(), s);
}

TEST(MeshOptimize, SliverNearAnEndJoinsThatEndWithoutSplitting) {
  MESH mesh(kWeld);
  const POSITION3 a(0, 0, 0), b(1, 0, 0), c(0.0019, 0.0009, 0);
  MESH_POLYGON& below = tri(mesh, b, a, POSITION3(0.5, -1, 0));
  MESH_POLYGON& beside = tri(mesh, c, POSITION3(0.3, 1, 0), POSITION3(0, 1, 0));
  tri(mesh, a, b, c);
  MESH_VERTEX* va = corner(below, a);
  mesh.optimize(resolution(0.001, -1.0));
  EXPECT_MESH_OK(mesh);
  EXPECT_EQ(mesh.get_polygon_count(), 2u);
  EXPECT_EQ(ring_vertices(below).size(), 3u);  // not split
  EXPECT_EQ(corner(beside, c), va);            // the apex joined A
  EXPECT_EQ(mesh.get_degenerate_polygon_count(), 1u);
  // The foot was looked up (and so filed), but no polygon uses it.
  std::size_t unused = 0;
  mesh.scan_vertices(
      [](STL_OCTREE_NODE* n, void* data) {
        if (static_cast<MESH_VERTEX*>(n)->outgoing_count() == 0) ++*static_cast<std::size_t*>(data);
        return SCAN_CONTINUE;
      },
      &unused);
  EXPECT_EQ(unused, 2u);  // the foot and the emptied apex
}

TEST(MeshOptimize, SliverInTheMiddleSplitsTheNeighbourAcrossItsLongEdge) {
  for (bool neighbour_first : {true, false}) {
    SCOPED_TRACE(neighbour_first ? "neighbour classified first" : "neighbour classified later");
    MESH mesh(kWeld);
    const POSITION3 a(0, 0, 0), b(1, 0, 0), c(0.5, 0.0005, 0);
    MESH_POLYGON* below = nullptr;
    if (!neighbour_first) below = &tri(mesh, b, a, POSITION3(0.5, -1, 0));
    MESH_POLYGON& left = tri(mesh, a, c, POSITION3(0, 1, 0));
    MESH_POLYGON& right = tri(mesh, c, b, POSITION3(1, 1, 0));
    tri(mesh, a, b, c);
    if (neighbour_first) below = &tri(mesh, b, a, POSITION3(0.5, -1, 0));
    mesh.optimize(resolution(0.001, -1.0));
    EXPECT_MESH_OK(mesh);
    EXPECT_EQ(mesh.get_polygon_count(), 3u);
    EXPECT_EQ(below->get_polygon_type(), REGULAR);
    const std::vector<MESH_VERTEX*> ring = ring_vertices(*below);
    ASSERT_EQ(ring.size(), 4u);
    MESH_VERTEX* foot = corner(*below, POSITION3(0.5, 0, 0));
    EXPECT_LT(dist(foot->location(), POSITION3(0.5, 0, 0)), 1e-15);
    // The apex moved to the foot in its other triangles, which now pair
    // with the split neighbour.
    EXPECT_EQ(corner(left, c), foot);
    EXPECT_EQ(corner(right, c), foot);
    std::vector<MESH_POLYGON_COEDGE*> joined;
    MESH_VERTEX::find_connecting_coedges(*corner(left, a), *foot, joined);
    ASSERT_EQ(joined.size(), 1u);
    EXPECT_NE(joined[0]->get_partner_coedge(), nullptr);
    EXPECT_EQ(mesh.get_degenerate_polygon_count(), 1u);
    EXPECT_EQ(mesh.get_repaired_polygon_count(), 1u);
  }
}

TEST(MeshOptimize, CollapsedNeighboursOfATinyTriangleAreDroppedToo) {
  // Neighbours across the edges of a tiny triangle lose an edge when it
  // collapses; classified after it, they are dropped as well.
  MESH mesh(kWeld);
  const POSITION3 a(0, 0, 0), b(0.01, 0, 0), c(0, 0.01, 0);
  tri(mesh, b, a, POSITION3(0.005, -1, 0));
  tri(mesh, c, b, POSITION3(1, 1, 0));
  tri(mesh, a, c, POSITION3(-1, 0.005, 0));
  tri(mesh, a, b, c);
  mesh.optimize(resolution(0.01, -1.0));
  EXPECT_MESH_OK(mesh);
  EXPECT_EQ(mesh.get_polygon_count(), 0u);
  EXPECT_EQ(mesh.get_degenerate_polygon_count(), 4u);
  EXPECT_EQ(mesh.get_repaired_polygon_count(), 4u);
}

TEST(MeshOptimize, DegenerateAndRepairedCountsAlwaysAgree) {
  // A jittered grid with many near-degenerate triangles at a coarse
  // resolution: whatever the repairs do, both counts move together, the
  // polygon count is the number of REGULAR polygons left, and the mesh stays
  // sound.
  std::mt19937 rng(11);
  std::uniform_real_distribution<double> jitter(-0.004, 0.004);
  constexpr int kN = 40;
  std::vector<POSITION3> grid;
  for (int j = 0; j <= kN; ++j) {
    for (int i = 0; i <= kN; ++i) {
      // Columns squeezed together every fifth step make short edges.
      const double x = i * 0.1 - ((i % 5 == 0) ? 0.098 : 0.0);
      grid.emplace_back(x + jitter(rng), j * 0.1 + jitter(rng), jitter(rng));
    }
  }
  MESH mesh(kWeld);
  auto at = [&](int i, int j) { return grid[static_cast<std::size_t>(j * (kN + 1) + i)]; };
  for (int j = 0; j < kN; ++j) {
    for (int i = 0; i < kN; ++i) {
      tri(mesh, at(i, j), at(i + 1, j), at(i + 1, j + 1));
      tri(mesh, at(i, j), at(i + 1, j + 1), at(i, j + 1));
    }
  }
  mesh.optimize(resolution(0.005, -1.0));
  EXPECT_MESH_OK(mesh);
  EXPECT_GT(mesh.get_degenerate_polygon_count(), 0u);
  EXPECT_EQ(mesh.get_degenerate_polygon_count(), mesh.get_repaired_polygon_count());
  EXPECT_EQ(mesh.get_polygon_count() + mesh.get_degenerate_polygon_count(),
            static_cast<std::uint64_t>(2 * kN * kN));
  EXPECT_EQ(list_size(mesh), mesh.get_polygon_count());
}

TEST(MeshOptimize, RegularMeshIsLeftAlone) {
  MESH mesh(kWeld);
  tri(mesh, POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(0, 1, 0));
  tri(mesh, POSITION3(1, 0, 0), POSITION3(1, 1, 0), POSITION3(0, 1, 0));
  mesh.optimize(kWeld);
  EXPECT_MESH_OK(mesh);
  EXPECT_EQ(mesh.get_polygon_count(), 2u);
  EXPECT_EQ(mesh.get_degenerate_polygon_count(), 0u);
}

TEST(MeshOptimize, EmptyMeshStaysEmpty) {
  MESH mesh(kWeld);
  mesh.optimize(kWeld);
  EXPECT_EQ(mesh.get_polygon_count(), 0u);
  EXPECT_EQ(mesh.estimate_resolution(), 0.5);
}

TEST(MeshEstimateResolution, AThirdOfTheShortestEdgeAboveTwiceTheImportResolution) {
  MESH mesh(resolution(0.01, -1.0));
  // Edges 0.3, 0.4, 0.5 and, in a second triangle, one of 0.015 (below
  // 0.02, left out).
  tri(mesh, POSITION3(0, 0, 0), POSITION3(0.3, 0, 0), POSITION3(0, 0.4, 0));
  tri(mesh, POSITION3(5, 0, 0), POSITION3(5.015, 0, 0), POSITION3(5, 1, 0));
  EXPECT_DOUBLE_EQ(mesh.estimate_resolution(), std::sqrt(0.3 * 0.3) / 3.0);
}

TEST(MeshEstimateResolution, CappedAtHalfAMillimetre) {
  MESH mesh(kWeld);
  tri(mesh, POSITION3(0, 0, 0), POSITION3(3, 0, 0), POSITION3(0, 4, 0));
  EXPECT_EQ(mesh.estimate_resolution(), 0.5);
}

TEST(MeshEstimateResolution, AllEdgesShorterThanTwiceTheImportResolutionGiveHalf) {
  MESH mesh(resolution(0.01, -1.0));
  tri(mesh, POSITION3(0, 0, 0), POSITION3(0.012, 0, 0), POSITION3(0, 0.013, 0));
  EXPECT_EQ(mesh.estimate_resolution(), 0.5);
}
