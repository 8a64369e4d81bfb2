// The point octree: weld search, insertion, scans and destruction, each on an
// explicit stack. The tree has no balancing, so its depth is bounded only by
// the input (a sorted file makes a chain as long as the file); the call stack
// is never used for depth.

#include "lumesh/mesh/stl_octree_node.h"

#include <cstddef>
#include <vector>

#include "host/geometry/constants.h"

namespace {

// A stack that keeps its first N entries inline and spills to the heap beyond,
// so that the common shallow walk allocates nothing.
template <class T, std::size_t N>
class SMALL_STACK {
 public:
  bool empty() const { return size_ == 0; }
  void push(const T& v) {
    if (size_ < N) {
      inline_[size_] = v;
    } else {
      spill_.push_back(v);
    }
    ++size_;
  }
  T& top() { return size_ <= N ? inline_[size_ - 1] : spill_.back(); }
  T pop() {
    T v = top();
    if (size_ > N) spill_.pop_back();
    --size_;
    return v;
  }

 private:
  T inline_[N];  // only the first size_ entries are ever read
  std::vector<T> spill_;
  std::size_t size_ = 0;
};

// Corner of get_octant_box: z in the lowest bit, x in the highest, a set bit
// meaning -inf on that axis.
POSITION3 octant_corner(STL_OCTREE_NODE::OCTANT i) {
  const double inf = host_pos_inf();
  return POSITION3((i & 4) ? -inf : inf, (i & 2) ? -inf : inf, (i & 1) ? -inf : inf);
}

}  // namespace

STL_OCTREE_NODE::STL_OCTREE_NODE(const POSITION3& location) : location_(location) {}

STL_OCTREE_NODE::STL_OCTREE_NODE(const POSITION3& location, STL_OCTREE_NODE*& root)
    : location_(location) {
  insert(root);
}

STL_OCTREE_NODE::~STL_OCTREE_NODE() {
  // Each node is detached from its children before it is deleted, so its own
  // destructor finds nothing to do and no destructor nests in another.
  SMALL_STACK<STL_OCTREE_NODE*, 64> pending;
  for (STL_OCTREE_NODE*& c : children_) {
    if (c != nullptr) pending.push(c);
    c = nullptr;
  }
  while (!pending.empty()) {
    STL_OCTREE_NODE* n = pending.pop();
    for (STL_OCTREE_NODE*& c : n->children_) {
      if (c != nullptr) pending.push(c);
      c = nullptr;
    }
    delete n;
  }
}

STL_OCTREE_NODE::OCTANT STL_OCTREE_NODE::get_octant(const POSITION3& p) const {
  OCTANT o = 0;
  if (location_.x() > p.x()) o |= 1;
  if (location_.y() > p.y()) o |= 2;
  if (location_.z() > p.z()) o |= 4;
  return o;
}

BOX3 STL_OCTREE_NODE::get_octant_box(OCTANT i) const {
  if (i < 0 || i > 7) return BOX3::nil();
  return BOX3(location_, octant_corner(i));
}

STL_OCTREE_NODE*& STL_OCTREE_NODE::find(const POSITION3& position, STL_OCTREE_NODE*& node,
                                        const resolution& res) {
  const double tol = res.resabs();
  const VECTOR3 half(tol, tol, tol);
  const BOX3 query(position - half, position + half);

  // One frame per search that is looking into the neighbours of its node:
  // `next` is the first octant index not yet looked at. The search of the
  // home octant replaces its frame (it is the frame's last act), so frames
  // only pile up for the looks into neighbours.
  struct FRAME {
    STL_OCTREE_NODE* node;
    OCTANT home;
    OCTANT next;
  };
  SMALL_STACK<FRAME, 32> frames;

  STL_OCTREE_NODE** slot = &node;
  for (;;) {
    // Enter the search of *slot.
    STL_OCTREE_NODE* n = *slot;
    if (n != nullptr && resolution::equal(position, n->location_, tol)) return *slot;
    if (n == nullptr) {
      // An empty slot ends this search without a weld: it is the answer of
      // the outermost search; a look into a neighbour resumes its caller.
      if (frames.empty()) return *slot;
    } else {
      frames.push(FRAME{n, n->get_octant(position), 0});
    }

    // Run the innermost frame until it enters a child.
    slot = nullptr;
    while (slot == nullptr) {
      FRAME& f = frames.top();
      for (; f.next < 8; ++f.next) {
        const OCTANT i = f.next;
        STL_OCTREE_NODE* c = f.node->children_[i];
        if (i != f.home && c != nullptr && query.overlaps(c->get_octant_box(i))) {
          ++f.next;
          slot = &f.node->children_[i];
          break;
        }
      }
      if (slot != nullptr) break;
      // Neighbours done: the home octant is this search's last word.
      STL_OCTREE_NODE*& home = f.node->children_[f.home];
      frames.pop();
      if (home != nullptr) {
        slot = &home;
      } else if (frames.empty()) {
        return home;
      }
      // Otherwise the empty answer goes back to the caller's loop.
    }
  }
}

STL_OCTREE_NODE* STL_OCTREE_NODE::find_nearest(const POSITION3& position, STL_OCTREE_NODE* root,
                                               double tol, double& d2) {
  STL_OCTREE_NODE* best = nullptr;
  double best_d2 = tol * tol;
  const double q[3] = {position.x(), position.y(), position.z()};
  SMALL_STACK<STL_OCTREE_NODE*, 32> pending;
  if (root != nullptr) pending.push(root);
  while (!pending.empty()) {
    STL_OCTREE_NODE* n = pending.pop();
    const double nd2 = dist2(position, n->location_);
    if (nd2 <= best_d2 && (best == nullptr || nd2 < best_d2)) {
      best = n;
      best_d2 = nd2;
    }
    // Per axis, which sides of the node the box of tol around the position
    // reaches: the set bit of get_octant stands for "below the node".
    const double l[3] = {n->location_.x(), n->location_.y(), n->location_.z()};
    int below = 0, above = 0;
    for (int k = 0; k < 3; ++k) {
      if (q[k] - tol < l[k]) below |= 1 << k;
      if (q[k] + tol >= l[k]) above |= 1 << k;
    }
    for (OCTANT i = 7; i >= 0; --i) {
      STL_OCTREE_NODE* c = n->children_[i];
      // Octant i lies below the node on the axes of its set bits and at or
      // above it on the others.
      if (c != nullptr && (i & ~below) == 0 && (~i & 7 & ~above) == 0) pending.push(c);
    }
  }
  d2 = best_d2;
  return best;
}

void STL_OCTREE_NODE::insert(STL_OCTREE_NODE*& root) {
  STL_OCTREE_NODE** slot = &root;
  while (*slot != nullptr) slot = &(*slot)->children_[(*slot)->get_octant(location_)];
  *slot = this;
}

MOD_INFO* STL_OCTREE_NODE::scan(SCAN_FUNCTION fn, void* data) {
  SMALL_STACK<STL_OCTREE_NODE*, 64> pending;
  pending.push(this);
  while (!pending.empty()) {
    STL_OCTREE_NODE* n = pending.pop();
    const SCAN_CNTRL answer = fn(n, data);
    if (answer == SCAN_STOP) return scan_stopped();
    if (answer == SCAN_SKIP) continue;
    // Pushed from the last index down, so that index order comes out first.
    for (OCTANT i = 7; i >= 0; --i) {
      if (n->children_[i] != nullptr) pending.push(n->children_[i]);
    }
  }
  return nullptr;
}

MOD_INFO* STL_OCTREE_NODE::scan(SCAN_FUNCTION fn, void* data, const BOX3& box) {
  SMALL_STACK<STL_OCTREE_NODE*, 64> pending;
  pending.push(this);
  while (!pending.empty()) {
    STL_OCTREE_NODE* n = pending.pop();
    if (box >= n->location_) {
      const SCAN_CNTRL answer = fn(n, data);
      if (answer == SCAN_STOP) return scan_stopped();
      if (answer == SCAN_SKIP) continue;
    }
    for (OCTANT i = 7; i >= 0; --i) {
      if (n->children_[i] != nullptr && box.overlaps(n->get_octant_box(i) & box)) {
        pending.push(n->children_[i]);
      }
    }
  }
  return nullptr;
}

MOD_INFO* STL_OCTREE_NODE::scan_stopped() {
  // Never destroyed: a caller may hold the pointer to the end of the program.
  static MOD_INFO* info =
      new MOD_INFO("k2", 1, ":MSG-SCAN-STOPPED", "The scan was stopped by its callback.");
  return info;
}
