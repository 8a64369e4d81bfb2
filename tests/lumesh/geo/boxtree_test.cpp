// Box trees over boxes of the tests' own: the split rule, collisions and
// for_each against brute force, the edge cases of small and degenerate
// inputs, the guard against endless splits of identical centres, and the
// release of every record. Trees over bodies: face_boxes_test.cpp.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "host/geometry/box3.h"
#include "host/geometry/constants.h"
#include "lumesh/geo/boxed_object.h"
#include "lumesh/geo/boxtree_node.h"

namespace {

// A boxed object of the tests: a box and a number, counting the records alive
// so that a test can see that a tree releases every one of them.
class TEST_BOX final : public BOXED_OBJECT {
 public:
  TEST_BOX(int id, const BOX3& box) : id_(id), box_(box) { ++alive; }
  TEST_BOX(const TEST_BOX& o) : BOXED_OBJECT(o), id_(o.id_), box_(o.box_) { ++alive; }
  TEST_BOX& operator=(const TEST_BOX&) = default;
  ~TEST_BOX() { --alive; }
  const BOX3& get_box() const override { return box_; }
  int id() const { return id_; }

  static inline long alive = 0;

 private:
  int id_;
  BOX3 box_;
};

using LIST = OBJECT_BOXES<TEST_BOX>;
using NODE = BOXTREE_NODE<TEST_BOX>;
using TREE = OBJECT_BOXTREE<TEST_BOX>;

BOX3 box(double x0, double y0, double z0, double x1, double y1, double z1) {
  return BOX3(POSITION3(x0, y0, z0), POSITION3(x1, y1, z1));
}

// The numbers of the objects a query reports, sorted; each at most once is
// checked by the callers comparing with brute force.
std::vector<int> hits(TREE& tree, const BOX3& query) {
  std::vector<int> out;
  tree.collisions(query, [&out](TEST_BOX& b) { out.push_back(b.id()); });
  std::sort(out.begin(), out.end());
  return out;
}

std::vector<int> brute_force(const std::vector<TEST_BOX>& all, const BOX3& query) {
  std::vector<int> out;
  for (const TEST_BOX& b : all) {
    if (!(b.get_box() & query).is_nil()) out.push_back(b.id());
  }
  std::sort(out.begin(), out.end());
  return out;
}

std::vector<TEST_BOX> random_boxes(std::mt19937& rng, int n, double extent, double max_size) {
  std::uniform_real_distribution<double> pos(-extent, extent);
  std::uniform_real_distribution<double> size(0.0, max_size);
  std::vector<TEST_BOX> out;
  out.reserve(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) {
    const POSITION3 lo(pos(rng), pos(rng), pos(rng));
    const POSITION3 hi(lo.x() + size(rng), lo.y() + size(rng), lo.z() + size(rng));
    out.emplace_back(i, BOX3(lo, hi));
  }
  return out;
}

// The reference octant rule, with the host's boxes: the first of the eight
// unbounded octant boxes around c that contains p, or 8.
unsigned reference_octant(const POSITION3& p, const POSITION3& c) {
  for (unsigned i = 0; i < 8; ++i) {
    const INTERVAL x = (i & 1) ? INTERVAL(c.x(), host_pos_inf()) : INTERVAL(host_neg_inf(), c.x());
    const INTERVAL y = (i & 2) ? INTERVAL(c.y(), host_pos_inf()) : INTERVAL(host_neg_inf(), c.y());
    const INTERVAL z = (i & 4) ? INTERVAL(c.z(), host_pos_inf()) : INTERVAL(host_neg_inf(), c.z());
    if (BOX3(x, y, z) >= p) return i;
  }
  return 8;
}

// Every element below `node` keeps the tree's invariants: a child's superbox
// holds the boxes of its objects, and a leaf holds at most 8 objects unless
// all of them share one box centre.
void expect_invariants(const NODE& root) {
  std::vector<const BOXTREE_NODE_BASE<TEST_BOX>*> stack{&root};
  while (!stack.empty()) {
    const auto* e = stack.back();
    stack.pop_back();
    if (e->is_leaf()) {
      const auto* leaf = static_cast<const LIST*>(e);
      auto* l = const_cast<LIST*>(leaf);
      std::vector<POSITION3> centres;
      l->for_each([&](TEST_BOX& b) {
        EXPECT_TRUE(leaf->get_superbox() >= b.get_box());
        centres.push_back(b.get_box().center());
      });
      if (centres.size() > NODE::kLeafCapacity) {
        for (const POSITION3& c : centres) EXPECT_EQ(c, centres.front());
      }
      continue;
    }
    const auto* node = static_cast<const NODE*>(e);
    for (int i = 0; i < 8; ++i) {
      if (node->get_child(i) != nullptr) stack.push_back(node->get_child(i));
    }
  }
}

// The split rule applied literally, one list at a time, as a plain
// recursion over copies (test inputs are small): the tree that the builder
// must reproduce exactly, split points, superboxes and leaf order included.
struct REFERENCE_NODE {
  bool leaf = false;
  POSITION3 center;
  BOX3 superbox;
  std::vector<int> ids;  // of a leaf, in order
  std::array<std::unique_ptr<REFERENCE_NODE>, 8> children;
};

std::unique_ptr<REFERENCE_NODE> reference_tree(const std::vector<TEST_BOX>& objects,
                                               const BOX3& superbox, const POSITION3& center) {
  auto node = std::make_unique<REFERENCE_NODE>();
  node->superbox = superbox;
  node->center = center;
  std::array<std::vector<TEST_BOX>, 8> lists;
  std::array<VECTOR3, 8> sums{};
  std::array<BOX3, 8> boxes;
  for (const TEST_BOX& o : objects) {
    const POSITION3 c = o.get_box().center();
    const unsigned i = reference_octant(c, center);
    if (i == 8) continue;
    lists[i].push_back(o);
    sums[i] += VECTOR3(c.x(), c.y(), c.z());
    boxes[i] |= o.get_box();
  }
  for (std::size_t i = 0; i < 8; ++i) {
    if (lists[i].empty()) continue;
    const POSITION3 mean(sums[i] / static_cast<double>(lists[i].size()));
    const bool stuck = lists[i].size() == objects.size() && mean == center;
    if (lists[i].size() > 8 && !stuck) {
      node->children[i] = reference_tree(lists[i], boxes[i], mean);
      continue;
    }
    auto leaf = std::make_unique<REFERENCE_NODE>();
    leaf->leaf = true;
    leaf->superbox = boxes[i];
    for (const TEST_BOX& o : lists[i]) leaf->ids.push_back(o.id());
    node->children[i] = std::move(leaf);
  }
  return node;
}

void expect_same_tree(const REFERENCE_NODE& want, const BOXTREE_NODE_BASE<TEST_BOX>& got,
                      const std::string& path) {
  ASSERT_EQ(got.is_leaf(), want.leaf) << path;
  EXPECT_EQ(got.get_superbox(), want.superbox) << path;
  if (want.leaf) {
    std::vector<int> ids;
    const_cast<BOXTREE_NODE_BASE<TEST_BOX>&>(got).for_each(
        [&ids](TEST_BOX& b) { ids.push_back(b.id()); });
    EXPECT_EQ(ids, want.ids) << path;
    return;
  }
  const auto& node = static_cast<const NODE&>(got);
  const bool same_center = node.get_center() == want.center ||
                           (std::isnan(want.center.x()) && std::isnan(node.get_center().x()));
  EXPECT_TRUE(same_center) << path;
  for (int i = 0; i < 8; ++i) {
    const REFERENCE_NODE* w = want.children[static_cast<std::size_t>(i)].get();
    const BOXTREE_NODE_BASE<TEST_BOX>* g = node.get_child(i);
    ASSERT_EQ(g == nullptr, w == nullptr) << path << "/" << i;
    if (w != nullptr) expect_same_tree(*w, *g, path + "/" + std::to_string(i));
  }
}

// Builds the tree of `all` both ways, from a list that sums its centres.
void expect_reference_tree(const std::vector<TEST_BOX>& all) {
  LIST list;
  for (const TEST_BOX& b : all) list.add_boxed_entity(b);
  const BOX3 superbox = list.get_superbox();
  const POSITION3 center = list.get_center_of_gravity();
  TREE tree(list);
  const auto want = reference_tree(all, superbox, center);
  expect_same_tree(*want, *tree.get_root(), "root");
}

class BoxTree : public ::testing::Test {
 protected:
  void SetUp() override { TEST_BOX::alive = 0; }
  void TearDown() override { EXPECT_EQ(TEST_BOX::alive, 0) << "records left alive"; }
};

TEST_F(BoxTree, TheOctantRuleIsTheFirstContainingOctant) {
  std::mt19937 rng(7);
  // Few distinct values, so that ties with the split point are common.
  const double values[] = {host_neg_inf(), -1.0, 0.0, 0.5, 1.0, host_pos_inf(), host_nan()};
  std::uniform_int_distribution<int> pick(0, 6);
  for (int k = 0; k < 20000; ++k) {
    const POSITION3 p(values[pick(rng)], values[pick(rng)], values[pick(rng)]);
    const POSITION3 c(values[pick(rng)], values[pick(rng)], values[pick(rng)]);
    ASSERT_EQ(boxtree_octant(p, c), reference_octant(p, c))
        << p.x() << " " << p.y() << " " << p.z() << " around " << c.x() << " " << c.y() << " "
        << c.z();
  }
  // A point on a split plane goes to the lower octant.
  EXPECT_EQ(boxtree_octant(POSITION3(1, 1, 1), POSITION3(1, 1, 1)), 0u);
  EXPECT_EQ(boxtree_octant(POSITION3(2, 1, 3), POSITION3(1, 1, 1)), 5u);
}

TEST_F(BoxTree, BuildsTheTreeOfTheSplitRuleExactly) {
  std::mt19937 rng(2024);
  // Spread boxes of several sizes and counts.
  for (int n : {1, 8, 9, 64, 65, 500, 4000})
    expect_reference_tree(random_boxes(rng, n, 100.0, 10.0));
  // A coarse lattice: many centres on split planes, many duplicates.
  std::vector<TEST_BOX> lattice;
  std::uniform_int_distribution<int> cell(0, 3);
  for (int i = 0; i < 3000; ++i) {
    const double x = cell(rng), y = cell(rng), z = cell(rng) * 0.5;
    lattice.emplace_back(i, box(x - cell(rng), y, z, x + cell(rng), y + 1, z));
  }
  expect_reference_tree(lattice);
  // Groups of concentric boxes among others, and a very uneven spread.
  std::vector<TEST_BOX> mixed = random_boxes(rng, 200, 10.0, 1.0);
  for (int i = 0; i < 40; ++i) mixed.emplace_back(1000 + i, box(3 - i, 3, 3, 3 + i, 3, 3));
  for (int i = 0; i < 40; ++i) mixed.emplace_back(2000 + i, box(-7, -7 - i, -7, -7, -7 + i, -7));
  for (int k = 0; k < 100; ++k)
    mixed.emplace_back(3000 + k, box(std::pow(10.0, k), 0, 0, std::pow(10.0, k), 0, 0));
  expect_reference_tree(mixed);
}

TEST_F(BoxTree, AListSumsItsCentresAndKeepsArrivalOrder) {
  LIST list;
  EXPECT_TRUE(list.empty());
  EXPECT_TRUE(list.get_superbox().is_nil());
  list.add_boxed_entity(TEST_BOX(1, box(0, 0, 0, 2, 2, 2)));
  list.add_boxed_entity(TEST_BOX(2, box(4, 0, 0, 6, 2, 4)));
  EXPECT_EQ(list.get_size(), 2u);
  EXPECT_EQ(list.get_center_of_gravity(), POSITION3(3, 1, 1.5));
  EXPECT_EQ(list.get_superbox(), box(0, 0, 0, 6, 2, 4));
  EXPECT_EQ(list.peek().id(), 1);
  list.pop();
  EXPECT_EQ(list.peek().id(), 2);
  // Popping does not change the sum or the superbox.
  EXPECT_EQ(list.get_center_of_gravity(), POSITION3(6, 2, 3));
  list.pop();
  EXPECT_TRUE(list.empty());
  EXPECT_EQ(list.get_size(), 0u);
  EXPECT_EQ(TEST_BOX::alive, 0);
  EXPECT_THROW(list.peek(), std::logic_error);
}

TEST_F(BoxTree, AnEmptyListGivesARootWithoutChildren) {
  LIST list;
  TREE tree(list);
  ASSERT_NE(tree.get_root(), nullptr);
  for (int i = 0; i < 8; ++i) EXPECT_EQ(tree.get_root()->get_child(i), nullptr);
  EXPECT_TRUE(hits(tree, BOX3::inf()).empty());
  int visits = 0;
  tree.for_each([&visits](TEST_BOX&) { ++visits; });
  EXPECT_EQ(visits, 0);
}

TEST_F(BoxTree, EightObjectsOrFewerStillGetAnInnerRootOverLeaves) {
  LIST list;
  for (int i = 0; i < 8; ++i) {
    const double x = (i & 1) ? 1 : -2, y = (i & 2) ? 1 : -2, z = (i & 4) ? 1 : -2;
    list.add_boxed_entity(TEST_BOX(i, box(x, y, z, x + 1, y + 1, z + 1)));
  }
  TREE tree(list);
  const NODE* root = tree.get_root();
  ASSERT_FALSE(root->is_leaf());
  int children = 0;
  for (int i = 0; i < 8; ++i) {
    if (root->get_child(i) == nullptr) continue;
    ++children;
    EXPECT_TRUE(root->get_child(i)->is_leaf());
  }
  EXPECT_EQ(children, 8);
  EXPECT_EQ(boxtree_shape(*root).depth, 1u);
}

TEST_F(BoxTree, TheInputListIsEmptiedAndKeepsItsSuperbox) {
  LIST list;
  std::mt19937 rng(3);
  for (const TEST_BOX& b : random_boxes(rng, 500, 100.0, 5.0)) list.add_boxed_entity(b);
  const BOX3 superbox = list.get_superbox();
  TREE tree(list);
  EXPECT_TRUE(list.empty());
  EXPECT_EQ(list.get_size(), 0u);
  EXPECT_EQ(list.get_superbox(), superbox);
  EXPECT_EQ(tree.get_root()->get_superbox(), superbox);
  EXPECT_EQ(TEST_BOX::alive, 500);
}

TEST_F(BoxTree, CollisionsMatchBruteForceOnRandomBoxes) {
  std::mt19937 rng(42);
  for (int round = 0; round < 4; ++round) {
    const int n = round == 0 ? 9 : 3000 * round;
    const std::vector<TEST_BOX> all = random_boxes(rng, n, 100.0, round == 3 ? 60.0 : 8.0);
    LIST list;
    for (const TEST_BOX& b : all) list.add_boxed_entity(b);
    TREE tree(list);
    expect_invariants(*tree.get_root());
    EXPECT_EQ(boxtree_shape(*tree.get_root()).objects, all.size());
    std::uniform_real_distribution<double> pos(-120.0, 120.0);
    std::uniform_real_distribution<double> size(0.0, 40.0);
    for (int q = 0; q < 200; ++q) {
      const POSITION3 lo(pos(rng), pos(rng), pos(rng));
      const BOX3 query(lo, POSITION3(lo.x() + size(rng), lo.y() + size(rng), lo.z() + size(rng)));
      ASSERT_EQ(hits(tree, query), brute_force(all, query)) << "round " << round << " query " << q;
    }
    // Queries that are whole objects' boxes: each must at least find itself.
    for (int q = 0; q < 100; ++q) {
      const TEST_BOX& b = all[static_cast<std::size_t>(q) % all.size()];
      const std::vector<int> found = hits(tree, b.get_box());
      EXPECT_TRUE(std::binary_search(found.begin(), found.end(), b.id()));
      EXPECT_EQ(found, brute_force(all, b.get_box()));
    }
  }
}

TEST_F(BoxTree, ForEachVisitsEveryObjectOnce) {
  std::mt19937 rng(5);
  const std::vector<TEST_BOX> all = random_boxes(rng, 5000, 50.0, 3.0);
  LIST list;
  for (const TEST_BOX& b : all) list.add_boxed_entity(b);
  TREE tree(list);
  std::vector<int> seen;
  tree.for_each([&seen](TEST_BOX& b) { seen.push_back(b.id()); });
  std::sort(seen.begin(), seen.end());
  ASSERT_EQ(seen.size(), all.size());
  for (std::size_t i = 0; i < seen.size(); ++i) EXPECT_EQ(seen[i], static_cast<int>(i));
  // An infinite query reports the same, each once.
  EXPECT_EQ(hits(tree, BOX3::inf()), seen);
}

TEST_F(BoxTree, ABoxThatOnlyTouchesIsReported) {
  LIST list;
  for (int i = 0; i < 20; ++i) list.add_boxed_entity(TEST_BOX(i, box(i, 0, 0, i + 0.5, 1, 1)));
  TREE tree(list);
  // Touches object 3 at its right wall (x = 3.5), and object 4 not at all.
  EXPECT_EQ(hits(tree, box(3.5, 1, 1, 3.9, 2, 2)), std::vector<int>{3});
  // A corner touch.
  EXPECT_EQ(hits(tree, box(-1, -1, -1, 0, 0, 0)), std::vector<int>{0});
  EXPECT_TRUE(hits(tree, box(3.6, 0, 0, 3.9, 1, 1)).empty());
}

TEST_F(BoxTree, ANilQueryReportsNothing) {
  std::mt19937 rng(11);
  LIST list;
  for (const TEST_BOX& b : random_boxes(rng, 100, 10.0, 20.0)) list.add_boxed_entity(b);
  TREE tree(list);
  EXPECT_TRUE(hits(tree, BOX3::nil()).empty());
  // A box nil on one axis only is nil too.
  EXPECT_TRUE(hits(tree, BOX3(INTERVAL::inf(), INTERVAL(5, 1), INTERVAL::inf())).empty());
}

TEST_F(BoxTree, ALargeBoxIsFoundFromEveryOctant) {
  // Many small boxes spread over [-10, 10]^3, and one box over all of it
  // whose centre lies in the octant of the positive corner.
  LIST list;
  int id = 0;
  for (int i = -10; i < 10; i += 2) {
    for (int j = -10; j < 10; j += 2) {
      for (int k = -10; k < 10; k += 2)
        list.add_boxed_entity(TEST_BOX(id++, box(i, j, k, i + 1, j + 1, k + 1)));
    }
  }
  const int large = id;
  list.add_boxed_entity(TEST_BOX(large, box(-10, -10, -10, 12, 12, 12)));
  TREE tree(list);
  for (int i = 0; i < 8; ++i) {
    const double x = (i & 1) ? 8.2 : -9.8, y = (i & 2) ? 8.2 : -9.8, z = (i & 4) ? 8.2 : -9.8;
    const std::vector<int> found = hits(tree, box(x, y, z, x + 0.1, y + 0.1, z + 0.1));
    EXPECT_TRUE(std::binary_search(found.begin(), found.end(), large)) << "octant " << i;
  }
}

TEST_F(BoxTree, IdenticalCentresStayTogetherInOneLeaf) {
  // Fifty concentric boxes (one centre, growing size) among scattered ones:
  // splitting them can never separate them.
  LIST list;
  std::vector<TEST_BOX> all;
  for (int i = 0; i < 50; ++i) all.emplace_back(i, box(5 - i, 5 - i, 5 - i, 5 + i, 5 + i, 5 + i));
  std::mt19937 rng(9);
  for (TEST_BOX b : random_boxes(rng, 300, 100.0, 2.0))
    all.emplace_back(1000 + b.id(), b.get_box());
  for (const TEST_BOX& b : all) list.add_boxed_entity(b);
  TREE tree(list);
  const BOXTREE_SHAPE shape = boxtree_shape(*tree.get_root());
  EXPECT_EQ(shape.objects, all.size());
  EXPECT_GE(shape.largest_leaf, 50u);
  expect_invariants(*tree.get_root());
  for (int q = 0; q < 100; ++q) {
    std::uniform_real_distribution<double> pos(-110.0, 110.0);
    const POSITION3 lo(pos(rng), pos(rng), pos(rng));
    const BOX3 query(lo, POSITION3(lo.x() + 10, lo.y() + 10, lo.z() + 10));
    ASSERT_EQ(hits(tree, query), brute_force(all, query));
  }
}

TEST_F(BoxTree, OnlyIdenticalCentresGiveOneLeafEvenFromAnUninformedRoot) {
  // All objects share one centre, away from the origin, in a list without a
  // centre sum (as the lists of a body are): the root splits at the origin,
  // its one child holds everything, and that child is a single large leaf.
  class UNSUMMED : public LIST {
   public:
    explicit UNSUMMED(const BOX3& b) : LIST(b) {}
    void add(const TEST_BOX& o) { add_boxed_object_direct(o); }
  };
  UNSUMMED list(box(0, 0, 0, 20, 20, 20));
  for (int i = 0; i < 30; ++i)
    list.add(TEST_BOX(i, box(10 - i * 0.125, 10, 10, 10 + i * 0.125, 10, 10)));
  TREE tree(list);
  const NODE* root = tree.get_root();
  EXPECT_EQ(root->get_center(), POSITION3(0, 0, 0));
  ASSERT_NE(root->get_child(7), nullptr);
  const auto* child = root->get_child(7);
  ASSERT_FALSE(child->is_leaf());
  const BOXTREE_SHAPE shape = boxtree_shape(*root);
  EXPECT_EQ(shape.largest_leaf, 30u);
  EXPECT_EQ(shape.depth, 2u);
  // Half-widths from 0 to 3.625 in steps of 0.125: 25 of them reach x = 10.55.
  EXPECT_EQ(hits(tree, box(10.55, 0, 0, 11, 20, 20)).size(), 25u);
}

TEST_F(BoxTree, CentresThatRoundToOneMeanAreKeptTogether) {
  // Two neighbouring doubles as centres: their mean rounds onto one of them,
  // so a split puts them all on one side. The guard must stop there too.
  const double a = 1.0, b = std::nextafter(1.0, 2.0);
  LIST list;
  std::vector<TEST_BOX> all;
  for (int i = 0; i < 40; ++i) {
    const double c = (i % 3 == 0) ? b : a;
    all.emplace_back(i, box(c, 0, 0, c, 0, 0));
    list.add_boxed_entity(all.back());
  }
  TREE tree(list);
  EXPECT_EQ(boxtree_shape(*tree.get_root()).objects, 40u);
  EXPECT_EQ(hits(tree, box(b, 0, 0, b, 0, 0)), brute_force(all, box(b, 0, 0, b, 0, 0)));
  EXPECT_EQ(hits(tree, box(a, 0, 0, a, 0, 0)), brute_force(all, box(a, 0, 0, a, 0, 0)));
}

TEST_F(BoxTree, ObjectsWithoutACentreAreDropped) {
  LIST list;
  for (int i = 0; i < 20; ++i) list.add_boxed_entity(TEST_BOX(i, box(i, 0, 0, i + 1, 1, 1)));
  // A NaN box centre in a list without a sum: the root still splits at the
  // origin, and the object falls in no octant.
  class UNSUMMED : public LIST {
   public:
    UNSUMMED() : LIST(BOX3::nil()) {}
    void add(const TEST_BOX& o) { add_boxed_object_direct(o); }
  };
  UNSUMMED raw;
  raw.add(TEST_BOX(0, box(0, 0, 0, 1, 1, 1)));
  raw.add(TEST_BOX(1, BOX3(INTERVAL(0, 1), INTERVAL::inf(), INTERVAL(0, 1))));
  TREE tree(raw);
  int visits = 0;
  tree.for_each([&visits](TEST_BOX& b) {
    ++visits;
    EXPECT_EQ(b.id(), 0);
  });
  EXPECT_EQ(visits, 1);
  TREE other(list);
  EXPECT_EQ(boxtree_shape(*other.get_root()).objects, 20u);
}

TEST_F(BoxTree, AVeryUnevenSpreadBuildsADeepTreeAndReleasesIt) {
  // Centres 10^k: at each level only the three largest lie above the mean,
  // so the tree is a third as deep as the list is long. Building, querying
  // and releasing walk it without recursion.
  LIST list;
  std::vector<TEST_BOX> all;
  for (int k = 0; k < 300; ++k) {
    const double c = std::pow(10.0, k);
    all.emplace_back(k, box(c, 0, 0, c, 1, 1));
    list.add_boxed_entity(all.back());
  }
  {
    TREE tree(list);
    const BOXTREE_SHAPE shape = boxtree_shape(*tree.get_root());
    EXPECT_GT(shape.depth, 90u);
    EXPECT_EQ(shape.objects, 300u);
    EXPECT_EQ(hits(tree, box(0, 0, 0, 1e5, 1, 1)), (std::vector<int>{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(hits(tree, BOX3::inf()).size(), 300u);
  }
  all.clear();
  EXPECT_EQ(TEST_BOX::alive, 0);
}

TEST_F(BoxTree, ATreeReleasesEveryRecord) {
  std::mt19937 rng(1);
  {
    LIST list;
    for (const TEST_BOX& b : random_boxes(rng, 20000, 100.0, 1.0)) list.add_boxed_entity(b);
    EXPECT_EQ(TEST_BOX::alive, 20000);
    TREE tree(list);
    EXPECT_EQ(TEST_BOX::alive, 20000);
  }
  EXPECT_EQ(TEST_BOX::alive, 0);
}

TEST_F(BoxTree, ANullCallbackInALeafIsTheStandardError) {
  LIST list;
  for (int i = 0; i < 3; ++i) list.add_boxed_entity(TEST_BOX(i, box(i, 0, 0, i + 1, 1, 1)));
  TREE tree(list);
  EXPECT_THROW(tree.collisions(BOX3::inf(), nullptr), std::bad_function_call);
  EXPECT_THROW(tree.for_each(nullptr), std::bad_function_call);
  // A query that reaches no object never calls it.
  EXPECT_NO_THROW(tree.collisions(box(100, 100, 100, 101, 101, 101), nullptr));
}

}  // namespace
