// The weld grid: complete search across cell borders, ownership, scans.

#include "lumesh/mesh/weld_grid.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

#include "host/geometry/constants.h"

namespace {

SCAN_CNTRL collect(STL_OCTREE_NODE* n, void* data) {
  static_cast<std::vector<STL_OCTREE_NODE*>*>(data)->push_back(n);
  return SCAN_CONTINUE;
}

SCAN_CNTRL stop_at_second(STL_OCTREE_NODE*, void* data) {
  return ++*static_cast<int*>(data) == 2 ? SCAN_STOP : SCAN_CONTINUE;
}

STL_OCTREE_NODE* add(WELD_GRID& grid, const POSITION3& p) {
  auto n = std::make_unique<STL_OCTREE_NODE>(p);
  grid.insert(n.get());
  return n.release();
}

}  // namespace

TEST(WeldGrid, AgreesWithBruteForceOnDenseRandomPoints) {
  // Dense enough that many cells hold several points and many queries reach
  // into neighbouring cells.
  const double tol = 1e-3;
  WELD_GRID grid(tol);
  std::mt19937 rng(3);
  std::uniform_real_distribution<double> u(-3.0, 3.0);
  std::vector<STL_OCTREE_NODE*> all;
  for (int i = 0; i < 3000; ++i) all.push_back(add(grid, POSITION3(u(rng), u(rng), u(rng))));
  EXPECT_EQ(grid.size(), all.size());
  for (int q = 0; q < 3000; ++q) {
    // Half the queries near a known point, half anywhere.
    POSITION3 p(u(rng), u(rng), u(rng));
    if (q % 2 == 0) {
      p = all[static_cast<std::size_t>(q)]->location() + VECTOR3(u(rng), u(rng), u(rng)) * 4e-4;
    }
    STL_OCTREE_NODE* brute = nullptr;
    double best = tol * tol;
    for (STL_OCTREE_NODE* n : all) {
      const double d2 = dist2(p, n->location());
      if (d2 <= best && (brute == nullptr || d2 < best)) {
        brute = n;
        best = d2;
      }
    }
    ASSERT_EQ(grid.find(p), brute) << "query " << q;
  }
}

TEST(WeldGrid, ZeroToleranceWeldsOnlyEqualPositions) {
  WELD_GRID grid(0.0);
  STL_OCTREE_NODE* a = add(grid, POSITION3(1, 2, 3));
  EXPECT_EQ(grid.find(POSITION3(1, 2, 3)), a);
  EXPECT_EQ(grid.find(POSITION3(1, 2, 3.0000000001)), nullptr);
}

TEST(WeldGrid, ScansVisitEveryNodeOnceAndStop) {
  WELD_GRID grid(1e-6);
  add(grid, POSITION3(0, 0, 0));
  add(grid, POSITION3(1, 0, 0));
  add(grid, POSITION3(1e-5, 0, 0));  // same cell as the first
  add(grid, POSITION3(host_nan(), 0, 0));
  std::vector<STL_OCTREE_NODE*> seen;
  EXPECT_EQ(grid.scan(collect, &seen), nullptr);
  EXPECT_EQ(seen.size(), 4u);
  seen.clear();
  EXPECT_EQ(grid.scan(collect, &seen, BOX3(POSITION3(-1, -1, -1), POSITION3(0.5, 1, 1))), nullptr);
  EXPECT_EQ(seen.size(), 2u);
  int count = 0;
  EXPECT_EQ(grid.scan(stop_at_second, &count), STL_OCTREE_NODE::scan_stopped());
  EXPECT_EQ(count, 2);
  EXPECT_EQ(grid.roots().size(), 2u);
}

TEST(WeldGrid, HugeCoordinatesStayOutsideTheCells) {
  WELD_GRID grid(1e-6);
  STL_OCTREE_NODE* far = add(grid, POSITION3(1e300, 0, 0));
  EXPECT_EQ(grid.find(POSITION3(1e300, 0, 0)), nullptr);
  std::vector<STL_OCTREE_NODE*> seen;
  grid.scan(collect, &seen);
  ASSERT_EQ(seen.size(), 1u);
  EXPECT_EQ(seen[0], far);
}

namespace {

// The nearest node within tol by brute force; of nodes at equal distance the
// one inserted first.
STL_OCTREE_NODE* nearest(const std::vector<STL_OCTREE_NODE*>& all, const POSITION3& p, double tol) {
  STL_OCTREE_NODE* best = nullptr;
  double best_d2 = tol * tol;
  for (STL_OCTREE_NODE* n : all) {
    const double d2 = dist2(p, n->location());
    if (d2 <= best_d2 && (best == nullptr || d2 < best_d2)) {
      best = n;
      best_d2 = d2;
    }
  }
  return best;
}

}  // namespace

// Finds of positions met again and again, as a mesh's corners are, answered
// partly from the memory of recent nodes, between inserts that file nodes
// at positions that already have one (which a weld never does): the node
// filed first keeps answering, with or without the memory.
TEST(WeldGrid, RepeatedFindsAgreeWithBruteForceAlsoForDuplicates) {
  const double tol = 1e-3;
  WELD_GRID grid(tol);
  std::mt19937 rng(11);
  std::uniform_real_distribution<double> u(-0.5, 0.5);
  std::uniform_int_distribution<int> pick(0, 1 << 30);
  std::vector<STL_OCTREE_NODE*> all;
  std::vector<POSITION3> known;
  for (int step = 0; step < 6000; ++step) {
    POSITION3 p(u(rng), u(rng), u(rng));
    const int kind = step % 4;
    if (!known.empty() && kind != 0) {
      p = known[static_cast<std::size_t>(pick(rng)) % known.size()];
      if (kind == 3) p = p + VECTOR3(u(rng), u(rng), u(rng)) * 2e-3;
    }
    STL_OCTREE_NODE* expected = nearest(all, p, tol);
    ASSERT_EQ(grid.find(p), expected) << "step " << step;
    if (STL_OCTREE_NODE* r = grid.find_recent(p)) {
      ASSERT_EQ(r, expected) << "step " << step;
    }
    if (expected == nullptr || step % 7 == 0) {
      // A new node, or every seventh step one more at the same position.
      all.push_back(add(grid, p));
      known.push_back(p);
    }
  }
  EXPECT_EQ(grid.size(), all.size());
}

TEST(WeldGrid, ProbedFindAndInsertAgreeWithThePlainOnes) {
  WELD_GRID grid(1e-6);
  std::vector<STL_OCTREE_NODE*> made;
  for (int i = 0; i < 5000; ++i) {
    // Far more points than the first table and memory hold: both grow.
    const POSITION3 p(i % 17, (i / 17) % 19, i / 323 + 0.25);
    const WELD_GRID::PROBE probe = grid.probe(p);
    ASSERT_EQ(grid.find(p, probe), nullptr);
    auto n = std::make_unique<STL_OCTREE_NODE>(p);
    grid.insert(n.get(), probe);
    made.push_back(n.release());
  }
  for (STL_OCTREE_NODE* n : made) {
    ASSERT_EQ(grid.find(n->location()), n);
    ASSERT_EQ(grid.find(n->location() + VECTOR3(4e-7, 0, 0)), n);
  }
  EXPECT_EQ(grid.roots().size(), made.size());
  EXPECT_EQ(grid.find(POSITION3(host_nan(), 0, 0)), nullptr);
}
