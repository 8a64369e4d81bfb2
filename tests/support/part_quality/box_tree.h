#pragma once
// A static box tree: the items' boxes in a bounding volume hierarchy split
// at the median of the longest side, for "which items' boxes come within r
// of this point". Built and searched with explicit stacks.

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <vector>

#include "host/geometry/box3.h"
#include "host/geometry/position3.h"

namespace part_quality {

class BOX_TREE {
 public:
  BOX_TREE() = default;
  // One item per box, numbered as given; nil boxes are left out.
  explicit BOX_TREE(const std::vector<BOX3>& boxes) {
    for (std::size_t i = 0; i < boxes.size(); ++i) {
      if (boxes[i].is_nil()) continue;
      items_.push_back(ITEM{{boxes[i].xi().lower(), boxes[i].yi().lower(), boxes[i].zi().lower()},
                            {boxes[i].xi().upper(), boxes[i].yi().upper(), boxes[i].zi().upper()},
                            i});
    }
    if (items_.empty()) return;
    nodes_.push_back(NODE{{}, {}, 0, items_.size(), 0, 0});
    std::vector<std::size_t> todo{0};
    while (!todo.empty()) {
      const std::size_t at = todo.back();
      todo.pop_back();
      NODE n = nodes_[at];
      n.lo.fill(std::numeric_limits<double>::infinity());
      n.hi.fill(-std::numeric_limits<double>::infinity());
      for (std::size_t i = n.begin; i < n.end; ++i) {
        for (int k = 0; k < 3; ++k) {
          n.lo[k] = std::min(n.lo[k], items_[i].lo[k]);
          n.hi[k] = std::max(n.hi[k], items_[i].hi[k]);
        }
      }
      if (n.end - n.begin > kLeafItems) {
        int axis = 0;
        for (int k = 1; k < 3; ++k) {
          if (n.hi[k] - n.lo[k] > n.hi[axis] - n.lo[axis]) axis = k;
        }
        const std::size_t mid = n.begin + (n.end - n.begin) / 2;
        std::nth_element(items_.begin() + static_cast<std::ptrdiff_t>(n.begin),
                         items_.begin() + static_cast<std::ptrdiff_t>(mid),
                         items_.begin() + static_cast<std::ptrdiff_t>(n.end),
                         [axis](const ITEM& a, const ITEM& b) {
                           return a.lo[axis] + a.hi[axis] < b.lo[axis] + b.hi[axis];
                         });
        n.left = nodes_.size();
        nodes_.push_back(NODE{{}, {}, n.begin, mid, 0, 0});
        n.right = nodes_.size();
        nodes_.push_back(NODE{{}, {}, mid, n.end, 0, 0});
        todo.push_back(n.left);
        todo.push_back(n.right);
      }
      nodes_[at] = n;
    }
  }

  // Calls fn(item) for every item whose box lies within r of p, in no
  // particular order. `stack` is scratch space kept by the caller.
  template <class FN>
  void near(const POSITION3& p, double r, std::vector<std::size_t>& stack, FN&& fn) const {
    if (nodes_.empty()) return;
    const std::array<double, 3> q{p.x(), p.y(), p.z()};
    const double r2 = r * r;
    stack.assign(1, 0);
    while (!stack.empty()) {
      const NODE& n = nodes_[stack.back()];
      stack.pop_back();
      if (square_distance(q, n.lo, n.hi) > r2) continue;
      if (n.left == 0) {
        for (std::size_t i = n.begin; i < n.end; ++i) {
          if (square_distance(q, items_[i].lo, items_[i].hi) <= r2) fn(items_[i].index);
        }
      } else {
        stack.push_back(n.left);
        stack.push_back(n.right);
      }
    }
  }

 private:
  static constexpr std::size_t kLeafItems = 4;
  struct ITEM {
    std::array<double, 3> lo, hi;
    std::size_t index;
  };
  struct NODE {
    std::array<double, 3> lo, hi;
    std::size_t begin, end;   // the node's range of items_
    std::size_t left, right;  // children; 0 for a leaf (the root is no child)
  };

  static double square_distance(const std::array<double, 3>& q, const std::array<double, 3>& lo,
                                const std::array<double, 3>& hi) {
    double d2 = 0.0;
    for (int k = 0; k < 3; ++k) {
      const double d = std::max({lo[k] - q[k], 0.0, q[k] - hi[k]});
      d2 += d * d;
    }
    return d2;
  }

  std::vector<ITEM> items_;
  std::vector<NODE> nodes_;
};

}  // namespace part_quality
