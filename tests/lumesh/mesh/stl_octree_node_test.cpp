// The weld octree: octant tables, weld search, insertion and both scans,
// and the depth of a tree built from sorted points.

#include "lumesh/mesh/stl_octree_node.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

#include "host/geometry/constants.h"

namespace {

// Owns a tree through its root.
struct TREE {
  STL_OCTREE_NODE* root = nullptr;
  ~TREE() { delete root; }
  STL_OCTREE_NODE* add(double x, double y, double z) {
    return new STL_OCTREE_NODE(POSITION3(x, y, z), root);
  }
};

// Access to a child slot by reference, as find hands it out.
struct SLOT_ACCESS : STL_OCTREE_NODE {
  static STL_OCTREE_NODE* const& slot(const STL_OCTREE_NODE& n, int i) {
    return static_cast<const SLOT_ACCESS&>(n).children_[i];
  }
};
STL_OCTREE_NODE* const& child_slot(const STL_OCTREE_NODE& n, int i) {
  return SLOT_ACCESS::slot(n, i);
}

struct VISITS {
  std::vector<STL_OCTREE_NODE*> seen;
  STL_OCTREE_NODE* skip_at = nullptr;
  STL_OCTREE_NODE* stop_at = nullptr;
};

SCAN_CNTRL record(STL_OCTREE_NODE* n, void* data) {
  auto* v = static_cast<VISITS*>(data);
  v->seen.push_back(n);
  if (n == v->stop_at) return SCAN_STOP;
  if (n == v->skip_at) return SCAN_SKIP;
  return SCAN_CONTINUE;
}

SCAN_CNTRL count(STL_OCTREE_NODE*, void* data) {
  ++*static_cast<std::size_t*>(data);
  return SCAN_CONTINUE;
}

// The weld search read directly, recursively, for comparison on small trees.
STL_OCTREE_NODE*& reference_find(const POSITION3& p, STL_OCTREE_NODE*& node, const resolution& res) {
  if (node == nullptr || resolution::equal(p, node->location(), res.resabs())) return node;
  const double tol = res.resabs();
  const BOX3 query(p - VECTOR3(tol, tol, tol), p + VECTOR3(tol, tol, tol));
  const STL_OCTREE_NODE::OCTANT home = node->get_octant(p);
  for (int i = 0; i < 8; ++i) {
    if (i == home) continue;
    STL_OCTREE_NODE*& child = const_cast<STL_OCTREE_NODE*&>(child_slot(*node, i));
    if (child != nullptr && query.overlaps(child->get_octant_box(i))) {
      STL_OCTREE_NODE*& r = reference_find(p, child, res);
      if (r != nullptr) return r;
    }
  }
  STL_OCTREE_NODE*& h = const_cast<STL_OCTREE_NODE*&>(child_slot(*node, home));
  if (h == nullptr) return h;
  return reference_find(p, h, res);
}

}  // namespace

TEST(StlOctreeNode, OctantBitsAreSetWhereTheNodeIsGreater) {
  const STL_OCTREE_NODE n(POSITION3(0, 0, 0));
  EXPECT_EQ(n.get_octant(POSITION3(1, 1, 1)), 0);
  EXPECT_EQ(n.get_octant(POSITION3(-1, 1, 1)), 1);
  EXPECT_EQ(n.get_octant(POSITION3(1, -1, 1)), 2);
  EXPECT_EQ(n.get_octant(POSITION3(-1, -1, 1)), 3);
  EXPECT_EQ(n.get_octant(POSITION3(1, 1, -1)), 4);
  EXPECT_EQ(n.get_octant(POSITION3(-1, 1, -1)), 5);
  EXPECT_EQ(n.get_octant(POSITION3(1, -1, -1)), 6);
  EXPECT_EQ(n.get_octant(POSITION3(-1, -1, -1)), 7);
}

TEST(StlOctreeNode, EqualCoordinateKeepsItsBitClear) {
  const STL_OCTREE_NODE n(POSITION3(1, 2, 3));
  EXPECT_EQ(n.get_octant(POSITION3(1, 2, 3)), 0);
  EXPECT_EQ(n.get_octant(POSITION3(1, 0, 0)), 6);  // x equal: bit 1 clear
  EXPECT_EQ(n.get_octant(POSITION3(0, 2, 0)), 5);  // y equal: bit 2 clear
  EXPECT_EQ(n.get_octant(POSITION3(0, 0, 3)), 3);  // z equal: bit 4 clear
}

TEST(StlOctreeNode, OctantBoxTableCountsZInTheLowestBit) {
  const STL_OCTREE_NODE n(POSITION3(1, 2, 3));
  const double inf = host_pos_inf();
  const double corners[8][3] = {{inf, inf, inf},   {inf, inf, -inf},  {inf, -inf, inf},
                                {inf, -inf, -inf}, {-inf, inf, inf},  {-inf, inf, -inf},
                                {-inf, -inf, inf}, {-inf, -inf, -inf}};
  for (int i = 0; i < 8; ++i) {
    const BOX3 expected(POSITION3(1, 2, 3), POSITION3(corners[i][0], corners[i][1], corners[i][2]));
    EXPECT_EQ(n.get_octant_box(i), expected) << "octant " << i;
    EXPECT_FALSE(n.get_octant_box(i).is_nil());
  }
  EXPECT_TRUE(n.get_octant_box(-1).is_nil());
  EXPECT_TRUE(n.get_octant_box(8).is_nil());
}

TEST(StlOctreeNode, OctantTablesAgreeOnlyFor0257) {
  const STL_OCTREE_NODE n(POSITION3(0, 0, 0));
  // A point strictly inside each get_octant octant.
  const POSITION3 p[8] = {{1, 1, 1},   {-1, 1, 1},  {1, -1, 1},  {-1, -1, 1},
                          {1, 1, -1},  {-1, 1, -1}, {1, -1, -1}, {-1, -1, -1}};
  for (int i = 0; i < 8; ++i) {
    ASSERT_EQ(n.get_octant(p[i]), i);
    const bool agree = i == 0 || i == 2 || i == 5 || i == 7;
    EXPECT_EQ(n.get_octant_box(i) >= p[i], agree) << "octant " << i;
  }
  // 1 and 4 are exchanged, and so are 3 and 6.
  EXPECT_TRUE(n.get_octant_box(4) >= p[1]);
  EXPECT_TRUE(n.get_octant_box(1) >= p[4]);
  EXPECT_TRUE(n.get_octant_box(6) >= p[3]);
  EXPECT_TRUE(n.get_octant_box(3) >= p[6]);
}

TEST(StlOctreeNode, InsertWalksByOctantWithoutEqualityTest) {
  TREE t;
  STL_OCTREE_NODE* a = t.add(0, 0, 0);
  EXPECT_EQ(t.root, a);
  STL_OCTREE_NODE* b = t.add(-1, 1, 1);  // octant 1 of a
  STL_OCTREE_NODE* c = t.add(-2, 2, 2);  // octant 1 of a, then octant 1 of b
  STL_OCTREE_NODE* d = t.add(0, 0, 0);   // same place: still a new node, octant 0
  EXPECT_EQ(a->get_child(1), b);
  EXPECT_EQ(b->get_child(1), c);
  EXPECT_EQ(a->get_child(0), d);
  for (int i = 0; i < 8; ++i) EXPECT_EQ(d->get_child(i), nullptr);
  EXPECT_EQ(a->get_child(-1), nullptr);
  EXPECT_EQ(a->get_child(8), nullptr);
}

TEST(StlOctreeNode, FindInEmptyTreeAnswersTheRootSlot) {
  STL_OCTREE_NODE* root = nullptr;
  const resolution res(1e-3, -1.0);
  STL_OCTREE_NODE*& slot = STL_OCTREE_NODE::find(POSITION3(1, 2, 3), root, res);
  EXPECT_EQ(&slot, &root);
  EXPECT_EQ(slot, nullptr);
}

TEST(StlOctreeNode, FindWeldsWithinResolution) {
  TREE t;
  const resolution res(1e-3, -1.0);
  STL_OCTREE_NODE* a = t.add(0, 0, 0);
  STL_OCTREE_NODE* b = t.add(1, 1, 1);
  STL_OCTREE_NODE* c = t.add(-1, 1, 1);
  EXPECT_EQ(STL_OCTREE_NODE::find(POSITION3(0, 0, 0), t.root, res), a);
  EXPECT_EQ(STL_OCTREE_NODE::find(POSITION3(1.0005, 1, 1), t.root, res), b);
  EXPECT_EQ(STL_OCTREE_NODE::find(POSITION3(-1, 1.0004, 0.9996), t.root, res), c);
  // Not within resabs: an empty slot on the insertion path.
  STL_OCTREE_NODE*& slot = STL_OCTREE_NODE::find(POSITION3(1.01, 1, 1), t.root, res);
  EXPECT_EQ(slot, nullptr);
  slot = new STL_OCTREE_NODE(POSITION3(1.01, 1, 1));
  EXPECT_EQ(b->get_child(0), slot);
  EXPECT_EQ(STL_OCTREE_NODE::find(POSITION3(1.01, 1, 1), t.root, res), slot);
}

TEST(StlOctreeNode, FindLooksAcrossAnOctantBorder) {
  TREE t;
  const resolution res(1e-3, -1.0);
  t.add(0, 0, 0);
  // Just below the root's x: octant 1. The query lies just above it, so its
  // home octant is 0 and the weld is found in the neighbour.
  STL_OCTREE_NODE* b = t.add(-2e-4, 5, 5);
  ASSERT_EQ(t.root->get_child(1), b);
  const POSITION3 q(2e-4, 5, 5);
  ASSERT_EQ(t.root->get_octant(q), 0);
  EXPECT_EQ(STL_OCTREE_NODE::find(q, t.root, res), b);
}

TEST(StlOctreeNode, FindAtExactlyResabsFollowsResolutionEqual) {
  TREE t;
  const resolution res(0.5, -1.0);  // exact in binary
  STL_OCTREE_NODE* a = t.add(0, 0, 0);
  const POSITION3 q(0.5, 0, 0);
  const bool welds = resolution::equal(q, a->location(), res.resabs());
  EXPECT_EQ(STL_OCTREE_NODE::find(q, t.root, res) == a, welds);
}

TEST(StlOctreeNode, ScanIsPreOrderInIndexOrder) {
  TREE t;
  STL_OCTREE_NODE* r = t.add(0, 0, 0);
  STL_OCTREE_NODE* a = t.add(1, 1, 1);    // octant 0 of r
  STL_OCTREE_NODE* b = t.add(-1, 1, 1);   // octant 1 of r
  STL_OCTREE_NODE* c = t.add(2, 2, 2);    // octant 0 of a
  STL_OCTREE_NODE* d = t.add(0.5, 2, 2);  // octant 1 of a
  VISITS v;
  EXPECT_EQ(r->scan(record, &v), nullptr);
  EXPECT_EQ(v.seen, (std::vector<STL_OCTREE_NODE*>{r, a, c, d, b}));

  VISITS skip;
  skip.skip_at = a;  // a is called, its subtree skipped, its sibling goes on
  EXPECT_EQ(r->scan(record, &skip), nullptr);
  EXPECT_EQ(skip.seen, (std::vector<STL_OCTREE_NODE*>{r, a, b}));

  VISITS stop;
  stop.stop_at = c;
  MOD_INFO* info = r->scan(record, &stop);
  ASSERT_NE(info, nullptr);
  EXPECT_EQ(info, STL_OCTREE_NODE::scan_stopped());
  EXPECT_EQ(info->id(), 1);
  EXPECT_EQ(stop.seen, (std::vector<STL_OCTREE_NODE*>{r, a, c}));
}

TEST(StlOctreeNode, BoxScanCallsOnlyForContainedNodes) {
  TREE t;
  STL_OCTREE_NODE* r = t.add(0, 0, 0);
  STL_OCTREE_NODE* a = t.add(1, 1, 1);
  STL_OCTREE_NODE* c = t.add(2, 2, 2);
  STL_OCTREE_NODE* e = t.add(-1, -1, -1);  // octant 7, agrees with its box

  VISITS all;
  EXPECT_EQ(r->scan(record, &all, BOX3::inf()), nullptr);
  EXPECT_EQ(all.seen, (std::vector<STL_OCTREE_NODE*>{r, a, c, e}));

  // Around c only: r and a are passed through, not called; e's octant is
  // not entered.
  VISITS near_c;
  const BOX3 box(POSITION3(1.5, 1.5, 1.5), POSITION3(2.5, 2.5, 2.5));
  EXPECT_EQ(r->scan(record, &near_c, box), nullptr);
  EXPECT_EQ(near_c.seen, (std::vector<STL_OCTREE_NODE*>{c}));

  VISITS skip;
  skip.skip_at = a;
  const BOX3 big(POSITION3(-3, -3, -3), POSITION3(3, 3, 3));
  EXPECT_EQ(r->scan(record, &skip, big), nullptr);
  EXPECT_EQ(skip.seen, (std::vector<STL_OCTREE_NODE*>{r, a, e}));

  VISITS stop;
  stop.stop_at = a;
  EXPECT_EQ(r->scan(record, &stop, big), STL_OCTREE_NODE::scan_stopped());
  EXPECT_EQ(stop.seen, (std::vector<STL_OCTREE_NODE*>{r, a}));
}

TEST(StlOctreeNode, SortedPointsMakeADeepChainWithoutStackOverflow) {
  // Points sorted along x make a chain: each goes to octant 0 of the one
  // before. Inserting from the tail builds the same tree as inserting from
  // the root (the walk is fixed by the octants) without the quadratic walk.
  constexpr std::size_t kCount = 200000;
  TREE t;
  STL_OCTREE_NODE* tail = t.add(0, 0, 0);
  for (std::size_t i = 1; i < kCount; ++i) {
    auto* n = new STL_OCTREE_NODE(POSITION3(static_cast<double>(i), 0, 0));
    STL_OCTREE_NODE* from = tail;
    n->insert(from);
    ASSERT_EQ(tail->get_child(0), n);
    tail = n;
  }
  // Full-depth walks from the root: find, insert, both scans.
  const resolution res(1e-3, -1.0);
  EXPECT_EQ(STL_OCTREE_NODE::find(POSITION3(kCount - 1, 0, 0), t.root, res), tail);
  STL_OCTREE_NODE*& slot = STL_OCTREE_NODE::find(POSITION3(kCount, 0, 0), t.root, res);
  EXPECT_EQ(slot, nullptr);
  STL_OCTREE_NODE* last = t.add(static_cast<double>(kCount), 0, 0);
  EXPECT_EQ(tail->get_child(0), last);
  std::size_t n = 0;
  EXPECT_EQ(t.root->scan(count, &n), nullptr);
  EXPECT_EQ(n, kCount + 1);
  n = 0;
  EXPECT_EQ(t.root->scan(count, &n, BOX3(POSITION3(kCount - 10.0, -1, -1),
                                         POSITION3(kCount + 10.0, 1, 1))),
            nullptr);
  EXPECT_EQ(n, 11u);
  // ~TREE deletes the chain iteratively.
}

TEST(StlOctreeNode, FindAgreesWithTheRecursiveReadingOnRandomClusters) {
  // Points on a coarse grid, each repeated with small offsets, so that
  // searches cross octant borders at every level.
  std::mt19937_64 rng(12345);
  std::uniform_int_distribution<int> cell(0, 4);
  std::uniform_real_distribution<double> off(-1.5e-3, 1.5e-3);
  const resolution res(1e-3, -1.0);
  TREE t;
  std::size_t welds = 0;
  for (int k = 0; k < 5000; ++k) {
    const POSITION3 p(cell(rng) + off(rng), cell(rng) + off(rng), cell(rng) + off(rng));
    STL_OCTREE_NODE*& expected = reference_find(p, t.root, res);
    STL_OCTREE_NODE*& got = STL_OCTREE_NODE::find(p, t.root, res);
    ASSERT_EQ(&got, &expected) << "query " << k;
    if (got == nullptr) {
      got = new STL_OCTREE_NODE(p);
    } else {
      ++welds;
      EXPECT_TRUE(res.equal(p, got->location()));
    }
  }
  EXPECT_GT(welds, 0u);
}

TEST(StlOctreeNode, FindNearestIsCompleteWhereFindIsAHeuristic) {
  // Random clusters around octant borders: find_nearest agrees with brute
  // force on every query, and answers the nearest node within reach.
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  TREE tree;
  std::vector<STL_OCTREE_NODE*> all;
  for (int i = 0; i < 2000; ++i) all.push_back(tree.add(u(rng), u(rng), u(rng)));
  const double tol = 0.05;
  for (int q = 0; q < 2000; ++q) {
    const POSITION3 p(u(rng), u(rng), u(rng));
    STL_OCTREE_NODE* brute = nullptr;
    double brute_d2 = tol * tol;
    for (STL_OCTREE_NODE* n : all) {
      const double d2 = dist2(p, n->location());
      if (d2 <= brute_d2 && (brute == nullptr || d2 < brute_d2)) {
        brute = n;
        brute_d2 = d2;
      }
    }
    double d2 = -1.0;
    STL_OCTREE_NODE* found = STL_OCTREE_NODE::find_nearest(p, tree.root, tol, d2);
    ASSERT_EQ(found, brute) << "query " << q;
    if (found != nullptr) {
      EXPECT_EQ(d2, brute_d2);
    }
  }
  double d2 = 0.0;
  EXPECT_EQ(STL_OCTREE_NODE::find_nearest(POSITION3(0, 0, 0), nullptr, 1.0, d2), nullptr);
}

TEST(StlOctreeNode, FindMissesAWeldBehindAFarChild) {
  // The look into a neighbouring octant judges the whole subtree by the box
  // of its first node, from the box table. Here the weld candidate N lies in
  // octant 1 of the root, below a child C whose box (y >= 5) doesn't reach
  // the query: the weld within resabs is missed, where the complete search
  // finds it.
  TREE tree;
  tree.add(0, 0, 0);
  STL_OCTREE_NODE* c = tree.add(-5, 5, 5);
  STL_OCTREE_NODE* near = tree.add(-1e-4, 1, 1);
  ASSERT_EQ(tree.root->get_child(1), c);
  ASSERT_EQ(c->get_child(6), near);
  const resolution res(1e-3, -1.0);
  const POSITION3 q(1e-4, 1, 1);
  ASSERT_TRUE(res.equal(q, near->location()));
  STL_OCTREE_NODE*& slot = STL_OCTREE_NODE::find(q, tree.root, res);
  EXPECT_EQ(slot, nullptr);  // a new node would be made
  EXPECT_EQ(&slot, &child_slot(*tree.root, 0));
  double d2 = 0.0;
  EXPECT_EQ(STL_OCTREE_NODE::find_nearest(q, tree.root, res.resabs(), d2), near);
}
