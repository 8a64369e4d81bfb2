// The mesh model: polygons, coedge rings, vertex sets, classification and
// the invariant checker, on tiny meshes built in code. The checker runs after
// every operation.

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>
#include <vector>

#include "host/base/assertion.h"
#include "host/geometry/constants.h"
#include "host/kernel/topology/vertex.h"
#include "lumesh/mesh/mesh.h"
#include "lumesh/mesh/mesh_checker.h"
#include "support/mesh_expect.h"
#include "lumesh/mesh/mesh_polygon.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"
#include "lumesh/mesh/mesh_vertex.h"

namespace {

// Collects the messages of failed checks while alive.
class ASSERTION_CAPTURE {
 public:
  ASSERTION_CAPTURE() : previous_(set_assertion_handler(&record)) { messages().clear(); }
  ~ASSERTION_CAPTURE() { set_assertion_handler(previous_); }
  static std::vector<std::string>& messages() {
    static std::vector<std::string> m;
    return m;
  }

 private:
  static void record(const ASSERTION_REPORT& r) { messages().push_back(r.message); }
  ASSERTION_HANDLER previous_;
};

std::vector<MESH_POLYGON_COEDGE*> ring(const MESH_POLYGON& p) {
  std::vector<MESH_POLYGON_COEDGE*> out;
  MESH_POLYGON_COEDGE* c = p.get_start_coedge();
  if (c == nullptr) return out;
  do {
    out.push_back(c);
    c = c->get_next();
  } while (c != nullptr && c != p.get_start_coedge() && out.size() < 100);
  return out;
}

const resolution kRes(1e-3, -1.0);

}  // namespace

TEST(MeshModel, NewMeshIsEmpty) {
  const resolution res(0.01, -1.0);
  MESH mesh(res);
  EXPECT_EQ(mesh.get_polygon_count(), 0u);
  EXPECT_EQ(mesh.get_degenerate_polygon_count(), 0u);
  EXPECT_EQ(mesh.get_repaired_polygon_count(), 0u);
  EXPECT_EQ(mesh.get_mesh_resolution().resabs(), 0.01);
  EXPECT_EQ(mesh.get_import_resolution().resabs(), 0.01);
  EXPECT_EQ(mesh.get_vertex_count(), 0u);
  EXPECT_TRUE(mesh.get_polygons().empty());
  EXPECT_MESH_OK(mesh);
}

TEST(MeshModel, TriangleRingFollowsArgumentOrder) {
  MESH mesh(kRes);
  MESH_VERTEX& a = mesh.get_mesh_vertex(POSITION3(0, 0, 0));
  MESH_VERTEX& b = mesh.get_mesh_vertex(POSITION3(1, 0, 0));
  MESH_VERTEX& c = mesh.get_mesh_vertex(POSITION3(0, 1, 0));
  MESH_POLYGON& p = mesh.add_triangle(a, b, c);
  EXPECT_MESH_OK(mesh);
  EXPECT_EQ(mesh.get_polygon_count(), 1u);
  EXPECT_EQ(mesh.get_polygons().front(), &p);
  EXPECT_EQ(p.get_polygon_type(), UNCLASSIFIED);
  EXPECT_EQ(p.get_region(), nullptr);
  EXPECT_FALSE(p.member_of_region());
  EXPECT_EQ(p.get_surface(), nullptr);
  const auto r = ring(p);
  ASSERT_EQ(r.size(), 3u);
  EXPECT_EQ(r[0]->get_start_vertex(), &a);
  EXPECT_EQ(r[1]->get_start_vertex(), &b);
  EXPECT_EQ(r[2]->get_start_vertex(), &c);
  EXPECT_EQ(r[0]->get_end_vertex(), &b);
  EXPECT_EQ(r[2]->get_end_vertex(), &a);
  for (MESH_POLYGON_COEDGE* e : r) {
    EXPECT_EQ(e->get_owner_polygon(), &p);
    EXPECT_EQ(e->get_next()->get_previous(), e);
    EXPECT_FALSE(e->has_edge());
  }
  EXPECT_EQ(a.outgoing_count(), 1u);
  EXPECT_TRUE(a.get_outgoing_coedges().contains(r[0]));
  EXPECT_EQ(r[0]->direction(), VECTOR3(1, 0, 0));
  EXPECT_EQ(r[1]->length2(), 2.0);
  EXPECT_TRUE(a == a);
  EXPECT_TRUE(a != b);
  EXPECT_TRUE(p == p);
}

TEST(MeshModel, VertexTriangleGetsNormalByRightHandRule) {
  MESH mesh(kRes);
  MESH_VERTEX& a = mesh.get_mesh_vertex(POSITION3(0, 0, 0));
  MESH_VERTEX& b = mesh.get_mesh_vertex(POSITION3(2, 0, 0));
  MESH_VERTEX& c = mesh.get_mesh_vertex(POSITION3(0, 3, 0));
  const MESH_POLYGON& up = mesh.add_triangle(a, b, c);
  const MESH_POLYGON& down = mesh.add_triangle(a, c, b);
  EXPECT_MESH_OK(mesh);
  EXPECT_NEAR(up.get_normal().z(), 1.0, 1e-15);
  EXPECT_NEAR(down.get_normal().z(), -1.0, 1e-15);
  EXPECT_EQ(up.get_normal().x(), 0.0);
  EXPECT_EQ(mesh.get_polygon_count(), 2u);
  EXPECT_TRUE(std::isnan(MESH::computed_normal().x()));
  EXPECT_TRUE(std::isnan(MESH::computed_normal().y()));
  EXPECT_TRUE(std::isnan(MESH::computed_normal().z()));
}

TEST(MeshModel, GivenNormalIsKeptEvenWhenWrong) {
  MESH mesh(kRes);
  const MESH_POLYGON& p = mesh.add_triangle(POSITION3(0, 0, 0), POSITION3(1, 0, 0),
                                            POSITION3(0, 1, 0), UNITVEC3(0, 0, -1));
  EXPECT_EQ(p.get_normal(), VECTOR3(0, 0, -1));
  // One NaN component is enough to have it computed.
  const MESH_POLYGON& q = mesh.add_triangle(POSITION3(0, 0, 5), POSITION3(1, 0, 5),
                                            POSITION3(0, 1, 5), UNITVEC3(MESH::computed_normal()));
  EXPECT_NEAR(q.get_normal().z(), 1.0, 1e-15);
  EXPECT_MESH_OK(mesh);
}

TEST(MeshModel, NormalStaysNaNWhenAllCornerProductsVanish) {
  MESH mesh(kRes);
  MESH_VERTEX& a = mesh.get_mesh_vertex(POSITION3(0, 0, 0));
  MESH_VERTEX& b = mesh.get_mesh_vertex(POSITION3(1, 1, 1));
  const MESH_POLYGON& p = mesh.add_triangle(a, a, b);
  EXPECT_TRUE(std::isnan(p.get_normal().x()));
  EXPECT_MESH_OK(mesh);
}

TEST(MeshModel, TwoIdenticalCornersWeldIntoOneVertex) {
  MESH mesh(kRes);
  MESH_POLYGON& p = mesh.add_triangle(POSITION3(0, 0, 0), POSITION3(0, 0, 0), POSITION3(1, 0, 0),
                                      UNITVEC3(0, 0, 1));
  EXPECT_MESH_OK(mesh);
  const auto r = ring(p);
  ASSERT_EQ(r.size(), 3u);
  EXPECT_EQ(r[0]->get_start_vertex(), r[1]->get_start_vertex());
  EXPECT_EQ(r[0]->length2(), 0.0);
  EXPECT_EQ(r[0]->get_start_vertex()->outgoing_count(), 2u);
  // L0 is zero: the shortest edge is zero, so step 6 (which divides by L0)
  // is never reached.
  EXPECT_EQ(p.classify(kRes), SHORT_EDGE);
  EXPECT_EQ(p.get_start_coedge(), r[0]);
  // Close corners: all edges short.
  MESH_POLYGON& q = mesh.add_triangle(POSITION3(5, 0, 0), POSITION3(5, 0, 0),
                                      POSITION3(5.0015, 0, 0), UNITVEC3(0, 0, 1));
  EXPECT_EQ(q.classify(kRes), TINY);
  EXPECT_MESH_OK(mesh);
}

TEST(MeshModel, CollinearPointsAreASliver) {
  MESH mesh(kRes);
  MESH_POLYGON& p = mesh.add_triangle(POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(2, 0, 0),
                                      UNITVEC3(0, 0, 1));
  const auto r = ring(p);
  EXPECT_EQ(p.classify(kRes), SLIVER);
  EXPECT_EQ(p.get_start_coedge(), r[2]);  // the longest, from (2,0,0) back to the origin
  EXPECT_MESH_OK(mesh);
}

TEST(MeshModel, SliverHeightIsTakenOverTheFirstStartCoedge) {
  // Height over the long edge 0.008 < resabs 0.01; over the short edges
  // about 0.016 > resabs.
  const resolution res(0.01, -1.0);
  MESH mesh(res);
  const POSITION3 a(0, 0, 0), b(10, 0, 0), c(5, 0.008, 0);
  MESH_POLYGON& long_first = mesh.add_triangle(a, b, c, UNITVEC3(0, 0, 1));
  MESH_POLYGON& short_first = mesh.add_triangle(c, a, b, UNITVEC3(0, 0, 1));
  const auto r_long = ring(long_first);
  const auto r_short = ring(short_first);
  EXPECT_EQ(long_first.classify(res), SLIVER);
  EXPECT_EQ(long_first.get_start_coedge(), r_long[0]);
  EXPECT_EQ(short_first.classify(res), REGULAR);
  EXPECT_EQ(short_first.get_start_coedge(), r_short[1]);  // the longest all the same
  EXPECT_MESH_OK(mesh);
}

TEST(MeshModel, EdgeOfExactlyTwiceTheResolutionIsShort) {
  const resolution res(0.5, -1.0);  // lim = 1.0, exact
  MESH mesh(res);
  MESH_POLYGON& s = mesh.add_triangle(POSITION3(0, 0, 0), POSITION3(0, 5, 0), POSITION3(1, 0, 0),
                                      UNITVEC3(0, 0, 1));
  const auto rs = ring(s);
  EXPECT_EQ(s.classify(res), SHORT_EDGE);
  EXPECT_EQ(s.get_start_coedge(), rs[2]);  // length exactly 1: the shortest
  MESH_POLYGON& t = mesh.add_triangle(POSITION3(10, 0, 0), POSITION3(10.6, 0, 0),
                                      POSITION3(10, 0.6, 0), UNITVEC3(0, 0, 1));
  const auto rt = ring(t);
  EXPECT_EQ(t.classify(res), TINY);
  EXPECT_EQ(t.get_start_coedge(), rt[1]);  // the longest
  MESH_POLYGON& g = mesh.add_triangle(POSITION3(20, 0, 0), POSITION3(25, 0, 0),
                                      POSITION3(20, 5, 0), UNITVEC3(0, 0, 1));
  const auto rg = ring(g);
  EXPECT_EQ(g.classify(res), REGULAR);
  EXPECT_EQ(g.get_start_coedge(), rg[1]);
  EXPECT_MESH_OK(mesh);
}

TEST(MeshModel, ClassifyIsIdempotentAndNonTrianglesAreRegular) {
  MESH mesh(kRes);
  MESH_POLYGON& p = mesh.add_triangle(POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(2, 0, 0),
                                      UNITVEC3(0, 0, 1));
  EXPECT_EQ(p.classify(kRes), SLIVER);
  EXPECT_EQ(p.classify(resolution(1e-6, -1.0)), SLIVER);
  MESH_POLYGON& q = mesh.add_triangle(POSITION3(0, 5, 0), POSITION3(1, 5, 0), POSITION3(1, 6, 0),
                                      UNITVEC3(0, 0, 1));
  MESH_VERTEX& d = mesh.get_mesh_vertex(POSITION3(0, 6, 0));
  MESH_POLYGON_COEDGE* added = q.insert_coedge_after(ring(q)[2], d);
  EXPECT_MESH_OK(mesh);
  EXPECT_EQ(ring(q).size(), 4u);
  EXPECT_EQ(added->get_start_vertex(), &d);
  EXPECT_EQ(added->get_owner_polygon(), &q);
  EXPECT_EQ(q.classify(kRes), REGULAR);
  EXPECT_FALSE(q.is_degenerate());
}

TEST(MeshModel, SetTypeMergedRemovesCoedgesAndIsFinal) {
  MESH mesh(kRes);
  MESH_POLYGON& p = mesh.add_triangle(POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(0, 1, 0),
                                      UNITVEC3(0, 0, 1));
  MESH_VERTEX& a = mesh.get_mesh_vertex(POSITION3(0, 0, 0));
  p.set_polygon_type(MERGED);
  EXPECT_EQ(p.get_polygon_type(), MERGED);
  EXPECT_EQ(p.get_start_coedge(), nullptr);
  EXPECT_EQ(a.outgoing_count(), 0u);
  EXPECT_TRUE(p.is_degenerate());
  EXPECT_MESH_OK(mesh);
  ASSERTION_CAPTURE capture;
  p.set_polygon_type(REGULAR);
  EXPECT_EQ(p.get_polygon_type(), MERGED);
  ASSERT_EQ(ASSERTION_CAPTURE::messages().size(), 1u);
  EXPECT_EQ(ASSERTION_CAPTURE::messages()[0], "_type != MERGED");
  EXPECT_MESH_OK(mesh);
}

TEST(MeshModel, RemoveCoedgeAnswersThePrevious) {
  MESH mesh(kRes);
  MESH_POLYGON& p = mesh.add_triangle(POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(0, 1, 0),
                                      UNITVEC3(0, 0, 1));
  auto r = ring(p);
  EXPECT_EQ(p.remove_coedge(r[0]), r[2]);  // the start moves on to r[1]
  EXPECT_EQ(p.get_start_coedge(), r[1]);
  EXPECT_MESH_OK(mesh);
  EXPECT_TRUE(p.is_degenerate());
  EXPECT_EQ(p.remove_coedge(r[1]), r[2]);
  EXPECT_EQ(p.get_start_coedge(), r[2]);
  EXPECT_EQ(r[2]->get_next(), r[2]);
  EXPECT_TRUE(p.is_degenerate());
  EXPECT_MESH_OK(mesh);
  EXPECT_EQ(p.remove_coedge(r[2]), nullptr);  // alone
  EXPECT_EQ(p.get_start_coedge(), nullptr);
  p.set_polygon_type(MERGED);
  EXPECT_MESH_OK(mesh);
}

TEST(MeshModel, InsertCoedgeAfterChecksTheOwner) {
  MESH mesh(kRes);
  MESH_POLYGON& p = mesh.add_triangle(POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(0, 1, 0),
                                      UNITVEC3(0, 0, 1));
  MESH_POLYGON& q = mesh.add_triangle(POSITION3(0, 0, 1), POSITION3(1, 0, 1), POSITION3(0, 1, 1),
                                      UNITVEC3(0, 0, 1));
  MESH_VERTEX& v = mesh.get_mesh_vertex(POSITION3(0.5, 0, 0));
  ASSERTION_CAPTURE capture;
  MESH_POLYGON_COEDGE* c = p.insert_coedge_after(q.get_start_coedge(), v);
  ASSERT_EQ(ASSERTION_CAPTURE::messages().size(), 1u);
  EXPECT_EQ(ASSERTION_CAPTURE::messages()[0], "coedge->get_owner_polygon() == *this");
  EXPECT_EQ(c->get_owner_polygon(), &q);  // the coedge's own polygon
  EXPECT_MESH_OK(mesh);
}

TEST(MeshModel, CoedgeWithOneNeighbourIsReported) {
  MESH mesh(kRes);
  MESH_POLYGON& p = mesh.add_triangle(POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(0, 1, 0),
                                      UNITVEC3(0, 0, 1));
  MESH_VERTEX& v = mesh.get_mesh_vertex(POSITION3(0, 0, 0));
  ASSERTION_CAPTURE capture;
  auto* lone = new MESH_POLYGON_COEDGE(v, p, p.get_start_coedge(), nullptr);
  ASSERT_EQ(ASSERTION_CAPTURE::messages().size(), 1u);
  EXPECT_EQ(ASSERTION_CAPTURE::messages()[0], "_previous!=0 && _next != 0");
  EXPECT_EQ(lone->get_next(), lone);
  EXPECT_EQ(ring(p).size(), 3u);
  delete lone;
  EXPECT_EQ(v.outgoing_count(), 1u);
  EXPECT_MESH_OK(mesh);
}

TEST(MeshModel, CoedgeWithoutNextEndsWhereItStarts) {
  MESH mesh(kRes);
  MESH_POLYGON& p = mesh.add_triangle(POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(0, 1, 0),
                                      UNITVEC3(0, 0, 1));
  MESH_POLYGON_COEDGE* c = p.get_start_coedge();
  MESH_POLYGON_COEDGE* next = c->get_next();
  c->set_next(nullptr);
  EXPECT_EQ(c->get_end_vertex(), c->get_start_vertex());
  EXPECT_EQ(c->direction(), VECTOR3(0, 0, 0));
  EXPECT_FALSE(check_mesh(mesh).ok());  // the checker sees the open ring
  c->set_next(next);
  EXPECT_MESH_OK(mesh);
}

TEST(MeshModel, RelaxProjectsOnTheInfiniteLine) {
  MESH mesh(kRes);
  MESH_POLYGON& p = mesh.add_triangle(POSITION3(0, 0, 0), POSITION3(2, 0, 0), POSITION3(0, 2, 0),
                                      UNITVEC3(0, 0, 1));
  MESH_VERTEX& v = mesh.get_mesh_vertex(POSITION3(4, 3, 0));
  double t = 0.0, d = 0.0;
  const POSITION3 foot = p.get_start_coedge()->relax(v, t, d);
  EXPECT_DOUBLE_EQ(t, 2.0);  // not clamped
  EXPECT_DOUBLE_EQ(d, 3.0);
  EXPECT_EQ(foot, POSITION3(4, 0, 0));
  const POSITION3 at_end = p.get_start_coedge()->relax(mesh.get_mesh_vertex(POSITION3(2, 0, 0)), t, d);
  EXPECT_DOUBLE_EQ(t, 1.0);
  EXPECT_EQ(at_end, POSITION3(2, 0, 0));
  EXPECT_MESH_OK(mesh);
}

TEST(MeshModel, CenterAndDistance) {
  MESH mesh(kRes);
  MESH_POLYGON& p = mesh.add_triangle(POSITION3(0, 0, 1), POSITION3(3, 0, 1), POSITION3(0, 3, 1),
                                      UNITVEC3(0, 0, 1));
  const POSITION3 g = p.get_center_of_gravity();
  EXPECT_DOUBLE_EQ(g.x(), 1.0);
  EXPECT_DOUBLE_EQ(g.y(), 1.0);
  EXPECT_DOUBLE_EQ(g.z(), 1.0);
  EXPECT_DOUBLE_EQ(p.dist(mesh.get_mesh_vertex(POSITION3(7, 8, -2))), 3.0);
  EXPECT_MESH_OK(mesh);
}

TEST(MeshModel, TransferOfAnEmptyVertexIsANoOp) {
  MESH mesh(kRes);
  mesh.add_triangle(POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(0, 1, 0), UNITVEC3(0, 0, 1));
  MESH_VERTEX& a = mesh.get_mesh_vertex(POSITION3(0, 0, 0));
  MESH_VERTEX& lone = mesh.get_mesh_vertex(POSITION3(9, 9, 9));
  lone.transfer_coedges_to(a);
  EXPECT_EQ(lone.outgoing_count(), 0u);
  EXPECT_EQ(a.outgoing_count(), 1u);
  a.transfer_coedges_to(a);  // onto itself: nothing
  EXPECT_EQ(a.outgoing_count(), 1u);
  EXPECT_MESH_OK(mesh);
}

TEST(MeshModel, TransferMovesEveryCoedgeAndTheVertexStaysWeldable) {
  MESH mesh(kRes);
  // A fan of eight triangles around the centre: more than the inline set.
  const POSITION3 centre(0, 0, 0);
  for (int i = 0; i < 8; ++i) {
    const double a0 = i * 0.25 * std::numbers::pi, a1 = (i + 1) * 0.25 * std::numbers::pi;
    mesh.add_triangle(centre, POSITION3(std::cos(a0), std::sin(a0), 0),
                      POSITION3(std::cos(a1), std::sin(a1), 0), UNITVEC3(0, 0, 1));
  }
  MESH_VERTEX& c = mesh.get_mesh_vertex(centre);
  EXPECT_EQ(c.outgoing_count(), 8u);
  EXPECT_MESH_OK(mesh);
  MESH_VERTEX& other = mesh.get_mesh_vertex(POSITION3(0, 0, 0.5));
  c.transfer_coedges_to(other);
  EXPECT_EQ(c.outgoing_count(), 0u);
  EXPECT_EQ(other.outgoing_count(), 8u);
  EXPECT_MESH_OK(mesh);
  // The emptied vertex still answers a weld and takes new coedges.
  EXPECT_EQ(&mesh.get_mesh_vertex(POSITION3(0, 0, 1e-4)), &c);
  mesh.add_triangle(POSITION3(0, 0, 1e-4), POSITION3(3, 0, 0), POSITION3(3, 3, 0),
                    UNITVEC3(0, 0, 1));
  EXPECT_EQ(c.outgoing_count(), 1u);
  EXPECT_MESH_OK(mesh);
  other.transfer_coedges_to(c);
  EXPECT_EQ(c.outgoing_count(), 9u);
  EXPECT_MESH_OK(mesh);
}

TEST(MeshModel, FindConnectingCoedges) {
  MESH mesh(kRes);
  mesh.add_triangle(POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(0, 1, 0), UNITVEC3(0, 0, 1));
  mesh.add_triangle(POSITION3(1, 0, 0), POSITION3(0, 0, 0), POSITION3(0, -1, 0), UNITVEC3(0, 0, 1));
  MESH_VERTEX& a = mesh.get_mesh_vertex(POSITION3(0, 0, 0));
  MESH_VERTEX& b = mesh.get_mesh_vertex(POSITION3(1, 0, 0));
  MESH_COEDGE_LIST from_a, from_b;
  MESH_VERTEX::find_connecting_coedges(a, b, from_a);
  MESH_VERTEX::find_connecting_coedges(b, a, from_b);
  ASSERT_EQ(from_a.size(), 1u);
  ASSERT_EQ(from_b.size(), 1u);
  EXPECT_EQ(from_a[0]->get_partner_coedge(), from_b[0]);
  EXPECT_MESH_OK(mesh);
}

TEST(MeshModel, BrepVertexIsMadeOnceOnRequest) {
  MESH mesh(kRes);
  MESH_VERTEX& v = mesh.get_mesh_vertex(POSITION3(1, 2, 3));
  EXPECT_EQ(v.get_vertex(false), nullptr);
  VERTEX* made = v.get_vertex(true);
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->pt3(), POSITION3(1, 2, 3));
  EXPECT_EQ(v.get_vertex(false), made);
  EXPECT_EQ(v.get_vertex(true), made);
}

TEST(MeshModel, FittedLocationWithoutSurfacesIsNaN) {
  MESH mesh(kRes);
  mesh.add_triangle(POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(0, 1, 0), UNITVEC3(0, 0, 1));
  EXPECT_TRUE(std::isnan(mesh.get_mesh_vertex(POSITION3(0, 0, 0)).get_fitted_location().x()));
}
