// Mesh vertices that are one point at the recognition resolution share their
// B-rep vertex.

#include "lumesh/mesh/vertex_clusters.h"

#include <gtest/gtest.h>

#include <memory>

#include "host/kernel/topology/vertex.h"
#include "lumesh/mesh/mesh.h"
#include "lumesh/mesh/mesh_vertex.h"

namespace {

std::unique_ptr<MESH> new_mesh() { return std::make_unique<MESH>(resolution(1e-6, -1.0)); }

const resolution kRes(0.1, -1.0);

TEST(VertexClusters, TheEndsOfAShortEdgeShareOneVertex) {
  auto mesh = new_mesh();
  MESH_VERTEX& a = mesh->get_mesh_vertex(POSITION3(0, 0, 0));
  MESH_VERTEX& b = mesh->get_mesh_vertex(POSITION3(0.05, 0, 0));
  MESH_VERTEX& c = mesh->get_mesh_vertex(POSITION3(0, 5, 0));
  mesh->add_triangle(a, b, c);
  EXPECT_EQ(join_brep_vertices(*mesh, kRes), 1u);
  EXPECT_EQ(b.brep_root(), &a);  // a comes first in x
  EXPECT_EQ(c.brep_root(), &c);
  VERTEX* va = a.get_vertex(true);
  EXPECT_EQ(b.get_vertex(false), va);
  EXPECT_NE(c.get_vertex(true), va);
  // The shared vertex stands where the root is.
  EXPECT_EQ(va->pt3(), a.location());
}

TEST(VertexClusters, EdgesOfTheResolutionOrLongerKeepTheirEnds) {
  auto mesh = new_mesh();
  MESH_VERTEX& a = mesh->get_mesh_vertex(POSITION3(0, 0, 0));
  MESH_VERTEX& b = mesh->get_mesh_vertex(POSITION3(0.1001, 0, 0));
  MESH_VERTEX& c = mesh->get_mesh_vertex(POSITION3(0, 5, 0));
  mesh->add_triangle(a, b, c);
  EXPECT_EQ(join_brep_vertices(*mesh, kRes), 0u);
  EXPECT_EQ(b.brep_root(), &b);
}

TEST(VertexClusters, RootsThatTheFirstJoinsBringTogetherJoinToo) {
  // a-b and c-d are short; b-d is long, but the roots a and c are 0.058
  // apart: one point at the resolution, so all four share a's vertex.
  auto mesh = new_mesh();
  MESH_VERTEX& a = mesh->get_mesh_vertex(POSITION3(0, 0, 0));
  MESH_VERTEX& b = mesh->get_mesh_vertex(POSITION3(0.05, 0.08, 0));
  MESH_VERTEX& c = mesh->get_mesh_vertex(POSITION3(0.03, -0.05, 0));
  MESH_VERTEX& d = mesh->get_mesh_vertex(POSITION3(0.09, -0.11, 0));
  MESH_VERTEX& p1 = mesh->get_mesh_vertex(POSITION3(-5, 5, 0));
  MESH_VERTEX& p2 = mesh->get_mesh_vertex(POSITION3(5, -5, 0));
  MESH_VERTEX& p3 = mesh->get_mesh_vertex(POSITION3(5, 5, 0));
  mesh->add_triangle(a, b, p1);
  mesh->add_triangle(d, c, p2);
  mesh->add_triangle(b, d, p3);
  EXPECT_EQ(join_brep_vertices(*mesh, kRes), 3u);
  for (MESH_VERTEX* v : {&a, &b, &c, &d}) EXPECT_EQ(v->brep_root(), &a);
  for (MESH_VERTEX* v : {&p1, &p2, &p3}) EXPECT_EQ(v->brep_root(), v);
}

TEST(VertexClusters, AChainOfShortEdgesIsOneCluster) {
  auto mesh = new_mesh();
  MESH_VERTEX* far = &mesh->get_mesh_vertex(POSITION3(0, 10, 0));
  MESH_VERTEX* previous = &mesh->get_mesh_vertex(POSITION3(0, 0, 0));
  MESH_VERTEX* const first = previous;
  for (int i = 1; i <= 5; ++i) {
    MESH_VERTEX* next = &mesh->get_mesh_vertex(POSITION3(0.06 * i, 0, 0));
    mesh->add_triangle(*previous, *next, *far);
    previous = next;
  }
  EXPECT_EQ(join_brep_vertices(*mesh, kRes), 5u);
  EXPECT_EQ(previous->brep_root(), first);
}

TEST(VertexClusters, AMeshWithoutPolygonsJoinsNothing) {
  auto mesh = new_mesh();
  mesh->get_mesh_vertex(POSITION3(0, 0, 0));
  mesh->get_mesh_vertex(POSITION3(0.01, 0, 0));
  EXPECT_EQ(join_brep_vertices(*mesh, kRes), 0u);
}

}  // namespace
