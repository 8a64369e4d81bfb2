#include "host/exchange/intersection_chains.h"

#include "host/exchange/face_boundary.h"
#include "host/exchange/step_check.h"
#include "host/exchange/step_export.h"
#include "host/kernel/kernel_errors.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/edge.h"
#include "host/kernel/topology/vertex.h"
#include "tests/host/exchange/exchange_fixture.h"

namespace {

class IntersectionChainsTest : public ExchangeTest {};

TEST_F(IntersectionChainsTest, BoredBlockLosesItsBridgesAndGetsTwoClosedRims) {
  BODY* block = make_bored_block(40, 30, 10, 5, 32);
  const BODY_BOUNDARY b = body_boundary(*block);
  ASSERT_EQ(b.faces.size(), 7u);
  // Top and bottom reach the hole through one bridge each; the wall crosses
  // its seam through a third.
  EXPECT_EQ(b.bridges.size(), 3u);
  int with_hole = 0, walls = 0;
  for (const FACE_BOUNDARY& f : b.faces) {
    if (f.rings.size() == 2 && f.rings[0].size() == 4 && f.rings[1].size() == 32) ++with_hole;
    if (f.rings.size() == 2 && f.rings[0].size() == 32 && f.rings[1].size() == 32) ++walls;
    if (f.rings.size() == 1) {
      EXPECT_EQ(f.rings[0].size(), 4u);
    }
  }
  EXPECT_EQ(with_hole, 2);
  EXPECT_EQ(walls, 1);

  const INTERSECTION_CHAINS c = find_intersection_chains(b, 1e-5);
  ASSERT_EQ(c.chains.size(), 2u);
  EXPECT_EQ(c.of_edge.size(), 64u);
  for (const INTERSECTION_CHAIN& ch : c.chains) {
    EXPECT_TRUE(ch.closed);
    EXPECT_TRUE(ch.circle);
    EXPECT_EQ(ch.edges.size(), 32u);
    EXPECT_EQ(ch.vertices.front(), ch.vertices.back());
    EXPECT_DOUBLE_EQ(ch.major, 5.0);
    EXPECT_NEAR(ch.t_end - ch.t_start, 2 * M_PI, 1e-12);
    EXPECT_NEAR(ch.centre.x(), 20, 1e-12);
    EXPECT_NEAR(ch.centre.y(), 15, 1e-12);
    // The rim starts where the wall's seam bridge ends.
    bool at_seam = false;
    const VERTEX* v = ch.vertices.front();
    for (const EDGE* e = v->first_edge(); e != nullptr; e = e->next_edge_at(v)) {
      if (b.bridges.count(e) != 0 && e->coedge()->face()->geometry()->is_a(cylinder::type)) {
        at_seam = true;
      }
    }
    EXPECT_TRUE(at_seam);
  }
  block->lose();
}

TEST_F(IntersectionChainsTest, ObliqueCutIsAnEllipse) {
  BODY* post = make_slanted_post(3, 5, 0.5, 24);
  const INTERSECTION_CHAINS c = find_intersection_chains(body_boundary(*post), 1e-5);
  ASSERT_EQ(c.chains.size(), 2u);
  int ellipses = 0;
  for (const INTERSECTION_CHAIN& ch : c.chains) {
    EXPECT_TRUE(ch.closed);
    if (ch.circle) continue;
    ++ellipses;
    EXPECT_NEAR(ch.major, 3 * std::sqrt(1.25), 1e-12);
    EXPECT_DOUBLE_EQ(ch.minor, 3.0);
    EXPECT_NEAR(ch.centre.z(), 5, 1e-12);
  }
  EXPECT_EQ(ellipses, 1);
  post->lose();
}

TEST_F(IntersectionChainsTest, RoundedEdgeGivesOpenQuarterArcs) {
  BODY* block = make_rounded_block(10, 4, 3, 12);
  const INTERSECTION_CHAINS c = find_intersection_chains(body_boundary(*block), 1e-5);
  ASSERT_EQ(c.chains.size(), 2u);
  for (const INTERSECTION_CHAIN& ch : c.chains) {
    EXPECT_FALSE(ch.closed);
    EXPECT_TRUE(ch.circle);
    EXPECT_EQ(ch.edges.size(), 12u);
    EXPECT_NEAR(ch.t_end - ch.t_start, M_PI / 2, 1e-12);
  }
  block->lose();
}

TEST_F(IntersectionChainsTest, VerticesOffTheCylinderGiveNoChainButStillExport) {
  // The wall's cylinder is 0.05 wider than the circle of its vertices.
  BODY* post = make_slanted_post(3, 5, 0.0, 24, 3.05);
  EXPECT_EQ(find_intersection_chains(body_boundary(*post), 1e-5).chains.size(), 0u);
  EXPECT_EQ(find_intersection_chains(body_boundary(*post), 0.1).chains.size(), 2u);
  write_step({{post, TRANSFORM3(), "", false, 0, 0, 0}}, path("loose.step"));
  const STEP_SHAPE_SUMMARY s = check_step_file(path("loose.step"));
  EXPECT_EQ(s.solids, 1);
  EXPECT_EQ(s.cylindrical_faces, 1);
  EXPECT_EQ(s.circular_edges, 0);
  EXPECT_TRUE(s.valid);
  // The wall bulges out to its own cylinder between the chords.
  EXPECT_GT(s.volume, measure(post).volume);
  EXPECT_LT(s.volume, M_PI * 3.05 * 3.05 * 5);
  post->lose();
}

TEST_F(IntersectionChainsTest, RingWalkedTwiceTheSameWayIsRefused) {
  POLYHEDRON_BUILDER pb;
  const int a = pb.add_vertex(POSITION3(0, 0, 0));
  const int b = pb.add_vertex(POSITION3(1, 0, 0));
  const int c = pb.add_vertex(POSITION3(0, 1, 0));
  MOD_INFO* status = nullptr;
  FACE* f = pb.add_face({a, b, c, a, b, c}, status);
  BODY* body = pb.finish(1e-6);
  if (f != nullptr) {
    EXPECT_THROW(body_boundary(*body), TV_EXCEPTION);
    try {
      write_step({{body, TRANSFORM3(), "", false, 0, 0, 0}}, path("bad.step"));
      ADD_FAILURE() << "written";
    } catch (const TV_EXCEPTION& e) {
      EXPECT_EQ(e.info(), k2_error(K2_ERROR::CANNOT_CONVERT_BODY));
    }
    EXPECT_TRUE(files().empty());
  }
  body->lose();
}

}  // namespace
