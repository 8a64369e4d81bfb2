// Merging on small hand-made regions: coedge merges that splice rings,
// region merges down to one polygon, spurs, local convexity, and runs of
// coedges reduced to straight edges.

#include <gtest/gtest.h>

#include <memory>
#include <initializer_list>
#include <set>
#include <utility>
#include <vector>

#include "host/kernel/geometry/plane.h"
#include "host/kernel/geometry/straight.h"
#include "host/kernel/topology/edge.h"
#include "host/kernel/topology/vertex.h"
#include "lumesh/mesh/mesh.h"
#include "lumesh/mesh/mesh_checker.h"
#include "support/mesh_expect.h"
#include "support/mesh_shapes.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"
#include "lumesh/mesh/mesh_region.h"

struct MESH_POLYGON_TEST_ACCESS {
  static bool locally_convex(const MESH_POLYGON& p, MESH_POLYGON_COEDGE* first,
                             MESH_POLYGON_COEDGE* last) {
    return p.locally_convex(first, last);
  }
};

namespace {

const resolution kRes(1e-6, -1.0);

// A region on a given plane that doesn't grow by itself: members are added
// by hand.
class HAND_REGION : public MESH_REGION {
 public:
  HAND_REGION(const POSITION3& root, const UNITVEC3& normal, const UNITVEC3& facet_normal)
      : MESH_REGION(root, facet_normal, kRes) {
    set_surface(new plane(root, normal), 0.0);
  }
  bool extend_region() override { return false; }
};

MESH_POLYGON& polygon(MESH& mesh, const std::vector<POSITION3>& corners) {
  return mesh_shapes::add_ring_polygon(mesh, corners);
}

std::vector<POSITION3> ring(const MESH_POLYGON& p) {
  std::vector<POSITION3> out;
  const MESH_POLYGON_COEDGE* c = p.get_start_coedge();
  if (c == nullptr) return out;
  do {
    out.push_back(c->get_start_vertex()->location());
    c = c->get_next();
  } while (c != p.get_start_coedge());
  return out;
}

MESH_POLYGON_COEDGE* coedge_from(const MESH_POLYGON& p, const POSITION3& start) {
  MESH_POLYGON_COEDGE* c = p.get_start_coedge();
  do {
    if (c->get_start_vertex()->location() == start) return c;
    c = c->get_next();
  } while (c != p.get_start_coedge());
  return nullptr;
}

HAND_REGION* region_z(MESH& mesh) {
  auto r = std::make_unique<HAND_REGION>(POSITION3(0, 0, 0), UNITVEC3(0, 0, 1), UNITVEC3(0, 0, 1));
  HAND_REGION* raw = r.get();
  mesh.add_region(std::move(r));
  return raw;
}

// Triangles of an n x n grid of unit squares in z = 0, counter-clockwise
// seen from +z.
std::vector<MESH_POLYGON*> grid(MESH& mesh, int n) {
  std::vector<MESH_POLYGON*> out;
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < n; ++i) {
      const POSITION3 a(i, j, 0), b(i + 1, j, 0), c(i + 1, j + 1, 0), d(i, j + 1, 0);
      out.push_back(&mesh.add_triangle(a, b, c, MESH::computed_normal()));
      out.push_back(&mesh.add_triangle(a, c, d, MESH::computed_normal()));
    }
  }
  return out;
}

// Claims the polygons for r; the mesh's list lets go of them.
void hand_over(MESH& mesh, MESH_REGION& r, const std::vector<MESH_POLYGON*>& polygons) {
  for (MESH_POLYGON* p : polygons) r.add_polygon(p);
  mesh.release_claimed_polygons();
}

// The B-rep edges of p's coedges.
void collect_edges(const MESH_POLYGON& p, std::set<EDGE*>& edges) {
  const MESH_POLYGON_COEDGE* c = p.get_start_coedge();
  if (c == nullptr) return;
  do {
    if (c->has_edge()) edges.insert(c->edge());
    c = c->get_next();
  } while (c != p.get_start_coedge());
}

// Edges made by merge_coedges live outside any body: the tests take them off
// the coedges and free them. Their number.
std::size_t free_edges(std::initializer_list<MESH_POLYGON*> polygons) {
  std::set<EDGE*> edges;
  for (MESH_POLYGON* x : polygons) {
    collect_edges(*x, edges);
    MESH_POLYGON_COEDGE* c = x->get_start_coedge();
    if (c == nullptr) continue;
    do {
      c->set_edge(nullptr, false);
      c = c->get_next();
    } while (c != x->get_start_coedge());
  }
  for (EDGE* e : edges) e->lose();
  return edges.size();
}

}  // namespace

namespace {

// The unit square in z = 0 as two triangles over the diagonal (0,0)-(1,1).
std::pair<MESH_POLYGON&, MESH_POLYGON&> unit_square(MESH& mesh) {
  MESH_POLYGON& a = mesh.add_triangle(POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(1, 1, 0),
                                      MESH::computed_normal());
  MESH_POLYGON& b = mesh.add_triangle(POSITION3(0, 0, 0), POSITION3(1, 1, 0), POSITION3(0, 1, 0),
                                      MESH::computed_normal());
  return {a, b};
}

// The unit square with each triangle in a region of its own.
std::pair<MESH_POLYGON&, MESH_POLYGON&> split_square(MESH& mesh) {
  auto [a, b] = unit_square(mesh);
  region_z(mesh)->add_polygon(&a);
  region_z(mesh)->add_polygon(&b);
  mesh.release_claimed_polygons();
  return {a, b};
}

}  // namespace

TEST(MeshMerge, CoedgeMergeSplicesTheNeighbourIn) {
  MESH mesh(kRes);
  HAND_REGION* r = region_z(mesh);
  auto [a, b] = unit_square(mesh);
  r->add_polygon(&a);
  r->add_polygon(&b);
  mesh.release_claimed_polygons();
  MESH_POLYGON_COEDGE* diagonal = coedge_from(a, POSITION3(1, 1, 0));
  MESH_POLYGON_COEDGE* resume = diagonal->merge();
  ASSERT_NE(resume, nullptr);
  EXPECT_EQ(resume->get_start_vertex()->location(), POSITION3(1, 1, 0));
  EXPECT_EQ(resume->get_owner_polygon(), &a);
  EXPECT_EQ(b.get_polygon_type(), MERGED);
  EXPECT_EQ(b.get_start_coedge(), nullptr);
  EXPECT_EQ(ring(a).size(), 4u);
  EXPECT_MESH_OK(mesh);
}

TEST(MeshMerge, CoedgeMergeIsRefusedAcrossRegionsAndWithoutAUniquePartner) {
  MESH mesh(kRes);
  auto [a, b] = split_square(mesh);
  EXPECT_EQ(coedge_from(a, POSITION3(1, 1, 0))->merge(), nullptr);  // other region
  EXPECT_EQ(coedge_from(a, POSITION3(0, 0, 0))->merge(), nullptr);  // no partner
  // A third polygon on the diagonal: no unique partner any more.
  MESH_POLYGON& c = mesh.add_triangle(POSITION3(0, 0, 0), POSITION3(1, 1, 0), POSITION3(0, 0, 1),
                                      MESH::computed_normal());
  MESH_REGION* r1 = a.get_region();
  MESH_REGION* r2 = b.get_region();
  r1->add_polygon(&c);
  r1->add_polygon(&b);
  mesh.release_claimed_polygons();
  EXPECT_EQ(r2->get_polygon_count(), 0u);
  EXPECT_EQ(coedge_from(a, POSITION3(1, 1, 0))->merge(), nullptr);
  EXPECT_MESH_OK(mesh);
}

TEST(MeshMerge, MovingAPolygonBetweenRegionsUpdatesBothSets) {
  MESH mesh(kRes);
  HAND_REGION* r1 = region_z(mesh);
  HAND_REGION* r2 = region_z(mesh);
  auto [a, b] = unit_square(mesh);
  r1->add_polygon(&a);
  r1->add_polygon(&b);
  EXPECT_FALSE(r1->add_polygon(&a));
  r2->add_polygon(&b);
  mesh.release_claimed_polygons();
  EXPECT_FALSE(r1->contains_polygon(&b));
  EXPECT_TRUE(r2->contains_polygon(&b));
  EXPECT_EQ(b.get_region(), r2);
  // (0, 1) was b's alone; (0, 0) and (1, 1) are still a's.
  EXPECT_FALSE(r1->contains_vertex(&mesh.get_mesh_vertex(POSITION3(0, 1, 0))));
  EXPECT_TRUE(r1->contains_vertex(&mesh.get_mesh_vertex(POSITION3(0, 0, 0))));
  EXPECT_TRUE(r1->contains_vertex(&mesh.get_mesh_vertex(POSITION3(1, 1, 0))));
  EXPECT_NE(a.get_surface(), nullptr);
  EXPECT_EQ(a.get_surface(), r1->get_surface());
}

TEST(MeshMerge, RegionOfAGridMergesIntoOnePolygonOnItsBoundary) {
  MESH mesh(kRes);
  HAND_REGION* r = region_z(mesh);
  hand_over(mesh, *r, grid(mesh, 3));
  r->merge_polygons();
  EXPECT_MESH_OK(mesh);
  ASSERT_EQ(r->get_polygon_count(), 1u);
  MESH_POLYGON* p = *r->get_polygons().begin();
  const std::vector<POSITION3> boundary = ring(*p);
  EXPECT_EQ(boundary.size(), 12u);  // the 12 unit steps round the 3 x 3 square
  for (const POSITION3& v : boundary) {
    EXPECT_TRUE(v.x() == 0 || v.x() == 3 || v.y() == 0 || v.y() == 3) << v.x() << " " << v.y();
  }
}

TEST(MeshMerge, RegionOfAFanLosesTheSpurToItsCentre) {
  MESH mesh(kRes);
  HAND_REGION* r = region_z(mesh);
  std::vector<MESH_POLYGON*> fan;
  const POSITION3 centre(0, 0, 0);
  const int n = 6;
  for (int k = 0; k < n; ++k) {
    const double a0 = 2 * M_PI * k / n, a1 = 2 * M_PI * (k + 1) / n;
    fan.push_back(&mesh.add_triangle(centre, POSITION3(std::cos(a0), std::sin(a0), 0),
                                     POSITION3(std::cos(a1), std::sin(a1), 0),
                                     MESH::computed_normal()));
  }
  hand_over(mesh, *r, fan);
  r->merge_polygons();
  EXPECT_MESH_OK(mesh);
  ASSERT_EQ(r->get_polygon_count(), 1u);
  const std::vector<POSITION3> hexagon = ring(**r->get_polygons().begin());
  EXPECT_EQ(hexagon.size(), 6u);
  for (const POSITION3& v : hexagon) EXPECT_NEAR(dist(v, centre), 1.0, 1e-12);
}

TEST(MeshMerge, MembersThatCannotReachOneAnotherEndTheLoop) {
  MESH mesh(kRes);
  HAND_REGION* r = region_z(mesh);
  r->add_polygon(&mesh.add_triangle(POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(0, 1, 0),
                                    MESH::computed_normal()));
  r->add_polygon(&mesh.add_triangle(POSITION3(5, 0, 0), POSITION3(6, 0, 0), POSITION3(5, 1, 0),
                                    MESH::computed_normal()));
  mesh.release_claimed_polygons();
  r->merge_polygons();  // returns: the two can never merge
  EXPECT_EQ(r->get_polygon_count(), 2u);
  EXPECT_MESH_OK(mesh);
}

TEST(MeshMerge, MergeBetweenTwoCoedgesRemovesThoseStrictlyBetween) {
  MESH mesh(kRes);
  MESH_POLYGON& p = polygon(mesh, {POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(2, 0, 0),
                                   POSITION3(3, 0, 0), POSITION3(3, 1, 0)});
  MESH_POLYGON_COEDGE* first = coedge_from(p, POSITION3(0, 0, 0));
  MESH_POLYGON_COEDGE* last = coedge_from(p, POSITION3(3, 0, 0));
  EXPECT_EQ(p.merge(first, first->get_next()), 0);
  EXPECT_EQ(p.merge(first, last), 2);
  EXPECT_EQ(ring(p).size(), 3u);
  EXPECT_EQ(first->get_next(), last);
  EXPECT_MESH_OK(mesh);
}

TEST(MeshMerge, SpursAreCutAsFarInAsTheyGo) {
  // A square with a spur of two steps in from its corner (1, 1): out to s1
  // and s2 and back the same way.
  MESH mesh(kRes);
  const POSITION3 a(0, 0, 0), b(1, 0, 0), c(1, 1, 0), d(0, 1, 0), s1(0.5, 0.5, 0), s2(0.6, 0.4, 0);
  MESH_POLYGON& p = polygon(mesh, {a, b, c, s1, s2, s1, c, d});
  EXPECT_EQ(ring(p).size(), 8u);
  EXPECT_EQ(p.merge_spurs(), 4);
  EXPECT_EQ(ring(p).size(), 4u);
  EXPECT_NE(p.get_polygon_type(), MERGED);
  EXPECT_MESH_OK(mesh);
  // The spur's vertices stay in the mesh.
  EXPECT_EQ(mesh.get_mesh_vertex(s2).location(), s2);
}

TEST(MeshMerge, APolygonThatIsOnlyASpurBecomesMerged) {
  MESH mesh(kRes);
  MESH_POLYGON& p = polygon(mesh, {POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(2, 0, 0),
                                   POSITION3(1, 0, 0)});
  p.merge_spurs();
  EXPECT_EQ(p.get_polygon_type(), MERGED);
  EXPECT_EQ(p.get_start_coedge(), nullptr);
  EXPECT_MESH_OK(mesh);
}

TEST(MeshMerge, LocalConvexityOfAChord) {
  MESH mesh(kRes);
  HAND_REGION* r = region_z(mesh);
  // An L: the chord from (2,0) round to (1,2) cuts the notch.
  MESH_POLYGON& l = polygon(mesh, {POSITION3(0, 0, 0), POSITION3(2, 0, 0), POSITION3(2, 1, 0),
                                   POSITION3(1, 1, 0), POSITION3(1, 2, 0), POSITION3(0, 2, 0)});
  r->add_polygon(&l);
  mesh.release_claimed_polygons();
  MESH_POLYGON_COEDGE* e0 = coedge_from(l, POSITION3(0, 0, 0));
  MESH_POLYGON_COEDGE* e1 = coedge_from(l, POSITION3(2, 0, 0));
  MESH_POLYGON_COEDGE* e2 = coedge_from(l, POSITION3(2, 1, 0));
  MESH_POLYGON_COEDGE* e3 = coedge_from(l, POSITION3(1, 1, 0));
  EXPECT_FALSE(MESH_POLYGON_TEST_ACCESS::locally_convex(l, e1, e1));
  // (0,0) -> (2,1): everything else lies to the left.
  EXPECT_TRUE(MESH_POLYGON_TEST_ACCESS::locally_convex(l, e0, e1));
  MESH_POLYGON_COEDGE* e4 = coedge_from(l, POSITION3(1, 2, 0));
  // (1,2) round to (2,1): the notch corner (1,1), which the rest of the ring
  // passes, lies on the wrong side of the chord.
  EXPECT_FALSE(MESH_POLYGON_TEST_ACCESS::locally_convex(l, e4, e1));
  // (2,0) -> (1,2): the notch lies inside the run; the rest is convex.
  EXPECT_TRUE(MESH_POLYGON_TEST_ACCESS::locally_convex(l, e1, e3));
  // (2,1) -> (1,2) cuts off the notch corner only, which lies on the left.
  EXPECT_TRUE(MESH_POLYGON_TEST_ACCESS::locally_convex(l, e2, e3));
  // Seen from the other side (face sense flipped), the answers turn.
  EXPECT_FALSE(r->get_face_sense());
  auto flipped_region = std::make_unique<HAND_REGION>(POSITION3(0, 0, 0), UNITVEC3(0, 0, 1),
                                                      UNITVEC3(0, 0, -1));
  flipped_region->add_polygon(&l);
  EXPECT_TRUE(flipped_region->get_face_sense());
  EXPECT_FALSE(MESH_POLYGON_TEST_ACCESS::locally_convex(l, e0, e1));
  r->add_polygon(&l);  // back, before the stand-alone region dies
  mesh.release_claimed_polygons();
}

namespace {

// P below the x axis, Q above it, sharing the chain (2,0) .. (0,0) in steps
// of 0.5; each in a region of its own on z = 0.
struct TWO_PLATES {
  MESH mesh{kRes};
  HAND_REGION* rp = region_z(mesh);
  HAND_REGION* rq = region_z(mesh);
  MESH_POLYGON* p = nullptr;
  MESH_POLYGON* q = nullptr;

  TWO_PLATES() {
    p = &polygon(mesh, {POSITION3(0, -1, 0), POSITION3(2, -1, 0), POSITION3(2, 0, 0),
                        POSITION3(1.5, 0, 0), POSITION3(1, 0, 0), POSITION3(0.5, 0, 0),
                        POSITION3(0, 0, 0)});
    q = &polygon(mesh, {POSITION3(0, 0, 0), POSITION3(0.5, 0, 0), POSITION3(1, 0, 0),
                        POSITION3(1.5, 0, 0), POSITION3(2, 0, 0), POSITION3(2, 1, 0),
                        POSITION3(0, 1, 0)});
    rp->add_polygon(p);
    rq->add_polygon(q);
    mesh.release_claimed_polygons();
  }
  // The polygons go with the mesh's regions; the edges first.
  ~TWO_PLATES() { free_edges({p, q}); }
};

int count_edges(const MESH_POLYGON& p) {
  std::set<EDGE*> edges;
  collect_edges(p, edges);
  return static_cast<int>(edges.size());
}

}  // namespace

TEST(MeshMergeCoedges, CollinearChainBetweenTwoPlanePolygonsBecomesOneEdge) {
  TWO_PLATES t;
  EXPECT_EQ(t.p->merge_coedges(kRes), 3);
  EXPECT_MESH_OK(t.mesh);
  EXPECT_EQ(ring(*t.p).size(), 4u);
  EXPECT_EQ(ring(*t.q).size(), 4u);
  MESH_POLYGON_COEDGE* shared = coedge_from(*t.p, POSITION3(2, 0, 0));
  ASSERT_TRUE(shared->has_edge());
  MESH_POLYGON_COEDGE* other = coedge_from(*t.q, POSITION3(0, 0, 0));
  EXPECT_EQ(other->edge(), shared->edge());
  EXPECT_NE(other->edge_sense(), shared->edge_sense());
  EXPECT_TRUE(shared->edge()->geometry()->identity() <= straight::type);
  EXPECT_NEAR(shared->edge()->length(), 2.0, 1e-12);
  // Every coedge of P has its edge; the open ones their own.
  EXPECT_EQ(count_edges(*t.p), 4);
  // Q's turn finds the run done: nothing more is removed.
  EXPECT_EQ(t.q->merge_coedges(kRes), 0);
  EXPECT_MESH_OK(t.mesh);
}

TEST(MeshMergeCoedges, AVertexWithThreeOutgoingCoedgesBreaksTheChain) {
  TWO_PLATES t;
  // A stray triangle in no region at (1, 0) gives it a third outgoing coedge.
  MESH_POLYGON& stray = t.mesh.add_triangle(POSITION3(1, 0, 0), POSITION3(1.2, 0, 1),
                                            POSITION3(0.8, 0, 1), MESH::computed_normal());
  EXPECT_EQ(t.p->merge_coedges(kRes), 2);  // one coedge removed from each half
  EXPECT_MESH_OK(t.mesh);
  EXPECT_EQ(ring(*t.p).size(), 5u);
  EXPECT_NE(coedge_from(*t.p, POSITION3(1, 0, 0)), nullptr);
  (void)stray;
}

TEST(MeshMergeCoedges, ARunOfOneCoedgeKeepsItsOwnEdge) {
  MESH mesh(kRes);
  auto [a, b] = split_square(mesh);
  EXPECT_EQ(a.merge_coedges(kRes), 0);
  MESH_POLYGON_COEDGE* diagonal = coedge_from(a, POSITION3(1, 1, 0));
  ASSERT_TRUE(diagonal->has_edge());
  EXPECT_EQ(coedge_from(b, POSITION3(0, 0, 0))->edge(), diagonal->edge());
  EXPECT_EQ(ring(a).size(), 3u);
  EXPECT_EQ(free_edges({&a, &b}), 3u);  // a's three, b's diagonal among them
}
