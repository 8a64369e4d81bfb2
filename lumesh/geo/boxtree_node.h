#pragma once
// The static eight-way box tree.
//
// Method. An inner node splits its objects at one point, the mean of the
// centres of their boxes, into the eight unbounded octants around it, all
// three axes at once. An object goes by the centre of its box alone to the
// first octant (in the order 0 to 7) that contains that centre, so a point on
// a split plane goes to the lower number and a box reaching across the split
// stays whole in one child; a child's superbox grows to cover its objects, and
// siblings' superboxes may overlap. An object whose centre lies in no octant
// (a NaN coordinate) is dropped. A child list of more than kLeafCapacity
// objects becomes an inner node in turn; a shorter one is a leaf.
//
// One guard stops a split that cannot make progress: when every object of a
// node falls into one octant and that octant's mean is the node's own split
// point, splitting it again would give the same node forever (more than
// kLeafCapacity objects with one box centre, such as concentric faces). Such
// a group stays together in one larger leaf. Queries test each object's own
// box in a leaf, so the answers are those of the unguarded rule.
//
// Every walk (building, queries, release) is iterative: a tree of a million
// facets may be arbitrarily deep where the centres are spread unevenly, and
// the walks must not run out of stack.
//
// Cost: building is O(n) per level over compact entries, and each record is
// copied once, into its leaf; a query visits the children whose superbox
// meets the query box.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "host/geometry/box3.h"
#include "host/geometry/constants.h"
#include "host/geometry/position3.h"
#include "lumesh/geo/object_boxes.h"

// The octant of `p` around the split point `c`: bit 0 set for the x interval
// [c.x, +inf], clear for [-inf, c.x]; bits 1 and 2 likewise for y and z. The
// first octant in the order 0 to 7 that contains p, or 8 when none does (a
// coordinate of p or of c is NaN).
inline unsigned boxtree_octant(const POSITION3& p, const POSITION3& c) {
  unsigned octant = 0;
  for (int axis = 0; axis < 3; ++axis) {
    const double v = p[axis];
    const double s = c[axis];
    if (host_neg_inf() <= v && v <= s) continue;
    if (s <= v && v <= host_pos_inf()) {
      octant |= 1u << axis;
      continue;
    }
    return 8;
  }
  return octant;
}

template <class T>
class BOXTREE_NODE : public BOXTREE_NODE_BASE<T> {
 public:
  using typename BOXTREE_NODE_BASE<T>::FUNCTION;
  using BASE = BOXTREE_NODE_BASE<T>;

  // A list of at most this many objects is a leaf.
  static constexpr std::size_t kLeafCapacity = 8;
  // Nodes of at most this many objects fetch their records ahead (build).
  static constexpr std::size_t kPrefetchBelow = 64;

  // Builds the tree of the list's objects below this node. The superbox is
  // the list's, the split point its centre of gravity. Every object is moved
  // into the tree and the list is left empty; only its superbox remains, and
  // the tree does not refer to it. An allocation failure releases what was
  // built, leaves the list as it was and throws std::bad_alloc.
  explicit BOXTREE_NODE(OBJECT_BOXES<T>& boxes) : BASE(boxes.get_superbox(), false) {
    try {
      build(boxes);
    } catch (...) {
      release_children();
      throw;
    }
  }
  // Releases the whole subtree, records included, without recursion.
  ~BOXTREE_NODE() override { release_children(); }

  const POSITION3& get_center() const { return center_; }
  // The element of octant i (0 to 7): null, an inner node or a leaf.
  BASE* get_child(int i) const { return children_[static_cast<std::size_t>(i)]; }

  void collisions(const BOX3& box, FUNCTION fn) override {
    if (!this->superbox_.overlaps(box)) return;
    walk([&box](const BASE* child) { return child->get_superbox().overlaps(box); },
         [&box, &fn](OBJECT_BOXES<T>& leaf) {
           for (std::size_t i = leaf.head_; i < leaf.objects_.size(); ++i) {
             T& object = leaf.objects_[i];
             if (object.get_box().overlaps(box)) fn(object);
           }
         });
  }

  void for_each(FUNCTION fn) override {
    walk([](const BASE*) { return true; },
         [&fn](OBJECT_BOXES<T>& leaf) {
           for (std::size_t i = leaf.head_; i < leaf.objects_.size(); ++i) fn(leaf.objects_[i]);
         });
  }

 private:
  // An inner node below the root, while the tree is built: its superbox
  // grows from its children.
  explicit BOXTREE_NODE(const POSITION3& center) : BASE(false), center_(center) {}

  static OBJECT_BOXES<T>* as_leaf(BASE* e) { return static_cast<OBJECT_BOXES<T>*>(e); }
  static BOXTREE_NODE* as_node(BASE* e) { return static_cast<BOXTREE_NODE*>(e); }

  // The split rule, level by level with a work list. The records stay where
  // they are in the input list until they reach their leaf; what moves from
  // level to level is a compact entry (box centre and record number), in two
  // buffers used in turn, so a level costs one pass over 32-byte entries and
  // no allocation. Each child's entries keep their arrival order, so its
  // centre sum adds the same terms in the same order as appending its objects
  // one by one would, and a leaf receives its objects in that order. A
  // node's superbox is the union of its objects' boxes: of its children's
  // superboxes and of the boxes of objects it dropped. Unions are exact, so
  // it is gathered bottom-up once the children are built.
  void build(OBJECT_BOXES<T>& list) {
    // Plain data, so that the buffers are not filled before they are written.
    struct ENTRY {
      double x, y, z;  // the centre of the record's box
      std::size_t record;
    };
    struct TASK {
      BOXTREE_NODE* node;
      std::size_t lo, hi;  // its entries
      int buffer;          // which buffer holds them
    };
    center_ = list.get_center_of_gravity();
    const std::size_t first = list.head_;
    const std::size_t n = list.get_size();
    std::vector<T>& records = list.objects_;
    std::array<std::unique_ptr<ENTRY[]>, 2> entries{std::unique_ptr<ENTRY[]>(new ENTRY[n]),
                                                    std::unique_ptr<ENTRY[]>(new ENTRY[n])};
    for (std::size_t k = 0; k < n; ++k) {
      const POSITION3 c = records[first + k].get_box().center();
      entries[0][k] = {c.x(), c.y(), c.z(), first + k};
    }
    std::vector<std::uint8_t> octant(n);
    // Inner nodes below the root with their parents, in order of making:
    // every node comes after its parent.
    std::vector<std::pair<BOXTREE_NODE*, BOXTREE_NODE*>> made;
    std::vector<TASK> work{{this, 0, n, 0}};
    while (!work.empty()) {
      const TASK t = work.back();
      work.pop_back();
      BOXTREE_NODE* node = t.node;
      const ENTRY* from = entries[static_cast<std::size_t>(t.buffer)].get();
      ENTRY* to = entries[static_cast<std::size_t>(1 - t.buffer)].get();
      std::array<std::size_t, 9> count{};
      std::array<VECTOR3, 8> sum{};
      if (t.hi - t.lo <= kPrefetchBelow) {
        // The children of a node this small are mostly leaves, which copy
        // their records from all over the input: ask for them now, so that
        // the misses overlap with the split below.
        for (std::size_t k = t.lo; k < t.hi; ++k) __builtin_prefetch(&records[from[k].record]);
      }
      for (std::size_t k = t.lo; k < t.hi; ++k) {
        const POSITION3 c(from[k].x, from[k].y, from[k].z);
        const unsigned o = boxtree_octant(c, node->center_);
        octant[k] = static_cast<std::uint8_t>(o);
        ++count[o];
        if (o < 8) {
          sum[o] += VECTOR3(c.x(), c.y(), c.z());
        } else if (node != this) {
          node->superbox_ |= records[from[k].record].get_box();
        }
      }
      std::array<std::size_t, 8> begin{};
      std::size_t at = t.lo;
      for (std::size_t i = 0; i < 8; ++i) {
        begin[i] = at;
        at += count[i];
      }
      std::array<std::size_t, 8> next = begin;
      for (std::size_t k = t.lo; k < t.hi; ++k) {
        if (octant[k] < 8) to[next[octant[k]]++] = from[k];
      }
      const std::size_t size = t.hi - t.lo;
      for (std::size_t i = 0; i < 8; ++i) {
        if (count[i] == 0) continue;
        const POSITION3 mean(sum[i] / static_cast<double>(static_cast<std::uint64_t>(count[i])));
        // No progress possible: all of the node's objects in one octant
        // around their own mean would split exactly as this node did.
        const bool stuck = count[i] == size && mean == node->center_;
        if (count[i] > kLeafCapacity && !stuck) {
          auto* inner = new BOXTREE_NODE(mean);
          node->children_[i] = inner;
          made.emplace_back(inner, node);
          work.push_back({inner, begin[i], begin[i] + count[i], 1 - t.buffer});
          continue;
        }
        auto* leaf = new OBJECT_BOXES<T>();
        node->children_[i] = leaf;
        leaf->objects_.reserve(count[i]);
        for (std::size_t k = begin[i]; k < begin[i] + count[i]; ++k) {
          leaf->add_boxed_entity(records[to[k].record]);
        }
        if (node != this) node->superbox_ |= leaf->superbox_;
      }
    }
    for (auto it = made.rbegin(); it != made.rend(); ++it) {
      if (it->second != this) it->second->superbox_ |= it->first->superbox_;
    }
    list.release_objects();
  }

  // Depth-first in octant order, as a recursive walk would go: `enter`
  // decides whether a child is visited, `leaf` handles each visited leaf.
  template <class ENTER, class LEAF>
  void walk(ENTER&& enter, LEAF&& leaf) {
    std::vector<BASE*> stack;
    stack.push_back(this);
    while (!stack.empty()) {
      BASE* e = stack.back();
      stack.pop_back();
      if (e->is_leaf()) {
        leaf(*as_leaf(e));
        continue;
      }
      BOXTREE_NODE* node = as_node(e);
      for (std::size_t i = 8; i-- > 0;) {
        BASE* c = node->children_[i];
        if (c != nullptr && enter(c)) stack.push_back(c);
      }
    }
  }

  // Frees every element below this node. Inner nodes waiting for release are
  // chained through next_to_release_, so the release needs neither recursion
  // nor memory of its own.
  void release_children() noexcept {
    BOXTREE_NODE* pending = this;
    while (pending != nullptr) {
      BOXTREE_NODE* node = pending;
      pending = node->next_to_release_;
      node->next_to_release_ = nullptr;
      for (BASE*& c : node->children_) {
        if (c == nullptr) continue;
        if (c->is_leaf()) {
          delete c;
        } else {
          BOXTREE_NODE* inner = as_node(c);
          inner->next_to_release_ = pending;
          pending = inner;
        }
        c = nullptr;
      }
      // Its children are gone, so its destructor has nothing left to walk.
      if (node != this) delete node;
    }
  }

  POSITION3 center_;
  std::array<BASE*, 8> children_{};          // owned; by octant, null where no object fell
  BOXTREE_NODE* next_to_release_ = nullptr;  // not owned; link while the tree is released
};

// The handle of a whole tree over the objects of one list.
template <class T>
class OBJECT_BOXTREE {
 public:
  using FUNCTION = typename BOXTREE_NODE_BASE<T>::FUNCTION;

  // Moves every object of `boxes` into the tree (see BOXTREE_NODE).
  explicit OBJECT_BOXTREE(OBJECT_BOXES<T>& boxes) : root_(new BOXTREE_NODE<T>(boxes)) {}
  OBJECT_BOXTREE(const OBJECT_BOXTREE&) = delete;
  OBJECT_BOXTREE& operator=(const OBJECT_BOXTREE&) = delete;
  ~OBJECT_BOXTREE() = default;

  // The box must be in the frame of the indexed body: a tree knows no
  // transformation.
  void collisions(const BOX3& box, FUNCTION fn) {
    if (root_) root_->collisions(box, std::move(fn));
  }
  void for_each(FUNCTION fn) {
    if (root_) root_->for_each(std::move(fn));
  }
  BOXTREE_NODE<T>* get_root() const { return root_.get(); }

 private:
  std::unique_ptr<BOXTREE_NODE<T>> root_;  // owned
};

// The shape of a built tree, for tests and benchmarks. O(elements).
struct BOXTREE_SHAPE {
  std::size_t nodes = 0;  // inner nodes, the root included
  std::size_t leaves = 0;
  std::size_t objects = 0;
  std::size_t largest_leaf = 0;
  std::size_t depth = 0;  // inner nodes on the longest path from the root
};

template <class T>
BOXTREE_SHAPE boxtree_shape(const BOXTREE_NODE<T>& root) {
  BOXTREE_SHAPE s;
  std::vector<std::pair<const BOXTREE_NODE_BASE<T>*, std::size_t>> stack{{&root, 1}};
  while (!stack.empty()) {
    const auto [e, level] = stack.back();
    stack.pop_back();
    if (e->is_leaf()) {
      const auto* leaf = static_cast<const OBJECT_BOXES<T>*>(e);
      ++s.leaves;
      s.objects += leaf->get_size();
      if (leaf->get_size() > s.largest_leaf) s.largest_leaf = leaf->get_size();
      continue;
    }
    ++s.nodes;
    if (level > s.depth) s.depth = level;
    const auto* node = static_cast<const BOXTREE_NODE<T>*>(e);
    for (int i = 0; i < 8; ++i) {
      if (node->get_child(i) != nullptr) stack.emplace_back(node->get_child(i), level + 1);
    }
  }
  return s;
}
