// Chord-side proofs over ring snapshots: a proof is never wrong (checked
// against every point of the range), convex rings are proved, rings that
// lost coedges are still answered soundly, odd coordinates fall back to the
// points, and boundary reduction decides alike with and without indexes.

#include "lumesh/mesh/ring_side_index.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <random>
#include <set>
#include <vector>

#include "host/geometry/constants.h"
#include "host/geometry/resolution.h"
#include "lumesh/mesh/mesh.h"
#include "lumesh/mesh/mesh_polygon.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"
#include "lumesh/mesh/mesh_region.h"
#include "lumesh/mesh/mesh_vertex.h"
#include "support/mesh_expect.h"
#include "support/mesh_shapes.h"
#include "support/mesh_test_access.h"
#include "support/sieve_plate.h"

namespace {

const resolution kWeld(1e-9, -1.0);
const VECTOR3 kUp(0, 0, 1);

MESH_POLYGON& polygon(MESH& mesh, const std::vector<POSITION3>& corners) {
  return mesh_shapes::add_ring_polygon(mesh, corners);
}

std::vector<MESH_POLYGON_COEDGE*> coedges(const MESH_POLYGON& p) {
  std::vector<MESH_POLYGON_COEDGE*> out;
  MESH_POLYGON_COEDGE* c = p.get_start_coedge();
  do {
    out.push_back(c);
    c = c->get_next();
  } while (c != p.get_start_coedge());
  return out;
}

// Counter-clockwise seen from +z.
std::vector<POSITION3> regular(int n, double r) {
  std::vector<POSITION3> out;
  for (int i = 0; i < n; ++i) {
    const double a = 2.0 * HOST_PI * i / n;
    out.emplace_back(r * std::cos(a), r * std::sin(a), 0.0);
  }
  return out;
}

// What walking the ring finds: no start vertex strictly between after and
// before (going on from after) with a negative side.
bool walk_inside(const MESH_POLYGON_COEDGE* after, const MESH_POLYGON_COEDGE* before,
                 const POSITION3& origin, const VECTOR3& chord, const VECTOR3& n) {
  for (const MESH_POLYGON_COEDGE* c = after->get_next(); c != before && c != after;
       c = c->get_next()) {
    if (chord_side(origin, chord, n, c->get_start_vertex()->location()) < 0.0) return false;
  }
  return true;
}

TEST(RingSideIndex, ConvexRingIsProvedForTheChordOfEveryEdge) {
  MESH mesh(kWeld);
  MESH_POLYGON& p = polygon(mesh, regular(1000, 50.0));
  const RING_SIDE_INDEX index(p);
  ASSERT_EQ(index.size(), 1000u);
  const std::vector<MESH_POLYGON_COEDGE*> ring = coedges(p);
  for (std::size_t k = 0; k < ring.size(); ++k) {
    MESH_POLYGON_COEDGE* run = ring[k];
    const POSITION3 o = run->get_start_vertex()->location();
    const VECTOR3 chord = run->get_end_vertex()->location() - o;
    // The run is one coedge: the rest lies between its next and itself.
    EXPECT_TRUE(index.all_inside(run->get_next(), run, o, chord, kUp)) << k;
    // Seen from below, every other corner is outside.
    EXPECT_FALSE(index.all_inside(run->get_next(), run, o, chord, -kUp)) << k;
    EXPECT_FALSE(walk_inside(run->get_next(), run, o, chord, -kUp)) << k;
  }
}

TEST(RingSideIndex, AProofIsNeverWrong) {
  // A star-shaped ring with spikes in and out: many chords have corners on
  // both sides, some have none outside.
  std::mt19937 random(7);
  std::uniform_real_distribution<double> jitter(-3.0, 3.0);
  std::vector<POSITION3> corners = regular(700, 40.0);
  for (std::size_t i = 0; i < corners.size(); i += 7) {
    corners[i] = POSITION3(corners[i].x() * 0.9 + jitter(random), corners[i].y() * 0.9, 0.0);
  }
  MESH mesh(kWeld);
  MESH_POLYGON& p = polygon(mesh, corners);
  const RING_SIDE_INDEX index(p);
  const std::vector<MESH_POLYGON_COEDGE*> ring = coedges(p);
  std::uniform_int_distribution<std::size_t> pick(0, ring.size() - 1);
  int proved = 0, inside = 0;
  for (int trial = 0; trial < 3000; ++trial) {
    MESH_POLYGON_COEDGE* first = ring[pick(random)];
    MESH_POLYGON_COEDGE* last = first;
    const std::size_t length = pick(random) % 5;
    for (std::size_t s = 0; s < length; ++s) last = last->get_next();
    const POSITION3 o = first->get_start_vertex()->location();
    const VECTOR3 chord = last->get_end_vertex()->location() - o;
    const VECTOR3 n = trial % 3 == 0 ? -kUp : kUp;
    const bool truth = walk_inside(last->get_next(), first, o, chord, n);
    const bool proof = index.all_inside(last->get_next(), first, o, chord, n);
    if (proof) {
      EXPECT_TRUE(truth) << "trial " << trial;
    }
    proved += proof ? 1 : 0;
    inside += truth ? 1 : 0;
  }
  // The index is worth having: it proves the cases it should.
  EXPECT_GT(inside, 100);
  EXPECT_GT(proved, inside / 2);
}

TEST(RingSideIndex, RingThatLostCoedgesIsAnsweredSoundly) {
  MESH mesh(kWeld);
  std::vector<POSITION3> corners = regular(400, 30.0);
  // The edge from corner 0, (30, 0), runs up along x = 30 and has the ring
  // on its left; a corner moved out to (40, -35) lies on its right.
  corners[300] = POSITION3(40.0, -35.0, 0.0);
  MESH_POLYGON& p = polygon(mesh, corners);
  const RING_SIDE_INDEX index(p);
  std::vector<MESH_POLYGON_COEDGE*> ring = coedges(p);
  MESH_POLYGON_COEDGE* run = ring[0];
  const POSITION3 o = run->get_start_vertex()->location();
  const VECTOR3 chord = run->get_end_vertex()->location() - o;
  ASSERT_FALSE(walk_inside(run->get_next(), run, o, chord, kUp));
  EXPECT_FALSE(index.all_inside(run->get_next(), run, o, chord, kUp));
  // Taking the outside corner away: the walk now passes; the snapshot
  // still holds the corner, so it may not prove it, and it never claims
  // more than the walk.
  p.remove_coedge(ring[300]);
  EXPECT_TRUE(walk_inside(run->get_next(), run, o, chord, kUp));
  EXPECT_FALSE(index.all_inside(run->get_next(), run, o, chord, kUp));
  // The edge from corner 100, (0, 30), runs in -x with the ring below it,
  // stale corner included: still proved, with the ring shorter than the
  // snapshot.
  MESH_POLYGON_COEDGE* far = ring[100];
  const POSITION3 fo = far->get_start_vertex()->location();
  const VECTOR3 fchord = far->get_end_vertex()->location() - fo;
  EXPECT_TRUE(walk_inside(far->get_next(), far, fo, fchord, kUp));
  EXPECT_TRUE(index.all_inside(far->get_next(), far, fo, fchord, kUp));
}

TEST(RingSideIndex, CornerAHairOutsideIsNotProvedInside) {
  // The chord from (0, 0) to (1, 0) with the ring above it on a half
  // circle, except one corner a hair below the chord's line. Its block's
  // box is a hair from the line as well: only the point itself can tell.
  std::vector<POSITION3> corners = {POSITION3(0, 0, 0), POSITION3(1, 0, 0)};
  for (int i = 1; i < 200; ++i) {
    const double a = HOST_PI * i / 200;
    corners.emplace_back(0.5 + 0.5 * std::cos(a), 0.5 * std::sin(a), 0.0);
  }
  corners[100] = POSITION3(0.3, -1e-13, 0.0);
  MESH mesh(kWeld);
  MESH_POLYGON& p = polygon(mesh, corners);
  const RING_SIDE_INDEX index(p);
  MESH_POLYGON_COEDGE* run = p.get_start_coedge();
  ASSERT_EQ(run->get_start_vertex()->location(), POSITION3(0, 0, 0));
  const POSITION3 o(0, 0, 0);
  const VECTOR3 chord(1, 0, 0);
  EXPECT_FALSE(walk_inside(run->get_next(), run, o, chord, kUp));
  EXPECT_FALSE(index.all_inside(run->get_next(), run, o, chord, kUp));
  // On the line exactly, it passes, as in the walk.
  MESH other(kWeld);
  corners[100] = POSITION3(0.3, 0.0, 0.0);
  MESH_POLYGON& q = polygon(other, corners);
  const RING_SIDE_INDEX on_line(q);
  EXPECT_TRUE(walk_inside(q.get_start_coedge()->get_next(), q.get_start_coedge(), o, chord, kUp));
  EXPECT_TRUE(on_line.all_inside(q.get_start_coedge()->get_next(), q.get_start_coedge(), o, chord,
                                 kUp));
}

TEST(RingSideIndex, NanCornerPassesAsInTheWalk) {
  MESH mesh(kWeld);
  std::vector<POSITION3> corners = regular(200, 10.0);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  corners[120] = POSITION3(nan, nan, nan);
  MESH_POLYGON& p = polygon(mesh, corners);
  const RING_SIDE_INDEX index(p);
  MESH_POLYGON_COEDGE* run = coedges(p)[0];
  const POSITION3 o = run->get_start_vertex()->location();
  const VECTOR3 chord = run->get_end_vertex()->location() - o;
  EXPECT_TRUE(walk_inside(run->get_next(), run, o, chord, kUp));
  EXPECT_TRUE(index.all_inside(run->get_next(), run, o, chord, kUp));
}

TEST(RingSideIndex, InfiniteCornerIsTestedPointByPoint) {
  const double inf = std::numeric_limits<double>::infinity();
  for (const POSITION3& odd : {POSITION3(0.0, inf, 0.0), POSITION3(0.0, -inf, 0.0),
                               POSITION3(inf, 0.0, 0.0)}) {
    MESH mesh(kWeld);
    std::vector<POSITION3> corners = regular(200, 10.0);
    corners[120] = odd;
    MESH_POLYGON& p = polygon(mesh, corners);
    const RING_SIDE_INDEX index(p);
    MESH_POLYGON_COEDGE* run = coedges(p)[0];
    const POSITION3 o = run->get_start_vertex()->location();
    const VECTOR3 chord = run->get_end_vertex()->location() - o;
    const bool truth = walk_inside(run->get_next(), run, o, chord, kUp);
    EXPECT_EQ(index.all_inside(run->get_next(), run, o, chord, kUp), truth);
  }
}

TEST(RingSideIndex, EmptyRangeAndForeignCoedges) {
  MESH mesh(kWeld);
  MESH_POLYGON& p = polygon(mesh, regular(100, 10.0));
  MESH_POLYGON& q = polygon(mesh, regular(100, 20.0));
  const RING_SIDE_INDEX index(p);
  MESH_POLYGON_COEDGE* c = p.get_start_coedge();
  const POSITION3 o = c->get_start_vertex()->location();
  // Nothing between a coedge and itself.
  EXPECT_TRUE(index.all_inside(c, c, o, VECTOR3(1, 0, 0), kUp));
  // Neighbours: nothing strictly between either.
  EXPECT_TRUE(index.all_inside(c, c->get_next(), o, VECTOR3(1, 0, 0), -kUp));
  // A coedge of another ring proves nothing.
  EXPECT_FALSE(index.all_inside(q.get_start_coedge(), c, o, VECTOR3(1, 0, 0), kUp));
  EXPECT_FALSE(index.all_inside(c, q.get_start_coedge(), o, VECTOR3(1, 0, 0), kUp));
}

TEST(RingSideIndexes, ShortRingsGetNoIndexAndLongOnesOne) {
  MESH mesh(kWeld);
  MESH_POLYGON& small = polygon(mesh, regular(RING_SIDE_INDEXES::kSmallRing, 10.0));
  MESH_POLYGON& large = polygon(mesh, regular(RING_SIDE_INDEXES::kSmallRing + 1, 20.0));
  RING_SIDE_INDEXES indexes;
  EXPECT_EQ(indexes.index_for(small), nullptr);
  const RING_SIDE_INDEX* made = indexes.index_for(large);
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->size(), RING_SIDE_INDEXES::kSmallRing + 1);
  EXPECT_EQ(indexes.index_for(large), made);  // made once
  EXPECT_EQ(indexes.size(), 1u);
  indexes.forget(&large);
  EXPECT_EQ(indexes.size(), 0u);
}

// The ring vertices of every polygon of every region, in order.
std::vector<std::vector<POSITION3>> boundaries(const MESH& mesh) {
  std::vector<std::vector<POSITION3>> out;
  for (const MESH_REGION* r : mesh.get_regions()) {
    for (const MESH_POLYGON* p : r->get_polygons()) {
      std::vector<POSITION3> ring;
      if (const MESH_POLYGON_COEDGE* start = p->get_start_coedge()) {
        const MESH_POLYGON_COEDGE* c = start;
        do {
          ring.push_back(c->get_start_vertex()->location());
          c = c->get_next();
        } while (c != start);
      }
      out.push_back(ring);
    }
  }
  return out;
}

void build_plate(MESH& mesh, int cells) {
  for (const TRI& t : SIEVE_PLATE(cells, cells).facets()) {
    mesh.add_triangle(POSITION3(t.v[0][0], t.v[0][1], t.v[0][2]),
                      POSITION3(t.v[1][0], t.v[1][1], t.v[1][2]),
                      POSITION3(t.v[2][0], t.v[2][1], t.v[2][2]),
                      UNITVEC3(t.n[0], t.n[1], t.n[2]));
  }
  mesh.optimize(kWeld);
}

TEST(RingSideIndexes, BoundaryReductionDecidesAlikeWithAndWithout) {
  // The top and bottom of a plate of 3 x 3 holes are rings of hundreds of
  // coedges, and the outline runs along the outer walls are reduced to one
  // edge each: the case the indexes are for.
  const resolution res(0.01, -1.0);
  MESH plain(kWeld), indexed(kWeld);
  build_plate(plain, 3);
  build_plate(indexed, 3);
  MESH_TEST_ACCESS::recognize_flat_regions(plain, res);
  MESH_TEST_ACCESS::recognize_flat_regions(indexed, res);
  ASSERT_EQ(boundaries(plain), boundaries(indexed));
  int removed_plain = 0, removed_indexed = 0;
  for (MESH_REGION* r : plain.get_regions()) removed_plain += r->merge_coedges();
  RING_SIDE_INDEXES indexes;
  for (MESH_REGION* r : indexed.get_regions()) removed_indexed += r->merge_coedges(&indexes);
  EXPECT_GE(indexes.size(), 2u);  // at least the top and the bottom
  EXPECT_GT(removed_plain, 0);
  EXPECT_EQ(removed_indexed, removed_plain);
  EXPECT_EQ(boundaries(indexed), boundaries(plain));
  EXPECT_MESH_OK(indexed);
}

}  // namespace
