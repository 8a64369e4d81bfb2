#pragma once
// STL_OCTREE_NODE: a point octree whose nodes are the points themselves. Each
// node holds one location; its eight children are the roots of the points
// that fall into the eight octants around it. There is no fixed cell grid,
// no balancing and no depth limit: insertion order decides the shape, and a
// file sorted along one axis makes a deep chain. Every walk of the tree
// (find, insert, scan, destruction) therefore runs on an explicit stack, never
// on the call stack, so that the depth of a tree costs heap, not stack.
//
// Mesh vertices derive from this class (the weld tree of a mesh is made of its
// vertices), so a weld allocates nothing beyond the new vertex.

#include "host/base/mod_info.h"
#include "host/geometry/box3.h"
#include "host/geometry/position3.h"
#include "host/geometry/resolution.h"
#include "host/kernel/scan.h"

class STL_OCTREE_NODE {
 public:
  // The index of a child, 0..7. get_octant sets bit 1 when the node's x is
  // greater than the point's, bit 2 for y and bit 4 for z: a coordinate equal
  // to the node's keeps its bit clear.
  using OCTANT = int;

  // Answer of a scan callback: SCAN_CONTINUE goes on, SCAN_SKIP does not
  // descend below the node, SCAN_STOP ends the whole scan.
  using SCAN_FUNCTION = SCAN_CNTRL (*)(STL_OCTREE_NODE* node, void* data);

  explicit STL_OCTREE_NODE(const POSITION3& location);
  // Makes the node and inserts it under root (see insert).
  STL_OCTREE_NODE(const POSITION3& location, STL_OCTREE_NODE*& root);
  // Deletes the whole subtree below this node, iteratively. O(subtree size).
  virtual ~STL_OCTREE_NODE();

  STL_OCTREE_NODE(const STL_OCTREE_NODE&) = delete;
  STL_OCTREE_NODE& operator=(const STL_OCTREE_NODE&) = delete;

  const POSITION3& location() const { return location_; }
  // The child in octant i (owned by this node); null for an empty slot or an
  // index outside 0..7.
  STL_OCTREE_NODE* get_child(OCTANT i) const {
    return (0 <= i && i < 8) ? children_[i] : nullptr;
  }

  // The octant of p around this node.
  OCTANT get_octant(const POSITION3& p) const;

  // The box from this node's location to a corner at infinity. Its table
  // counts with z in the lowest bit and x in the highest (bit set: -inf on
  // that axis), the reverse of get_octant: octants 0, 2, 5 and 7 agree, 1 and
  // 4 are exchanged, and so are 3 and 6. find and the box scan rely on the
  // pair as it stands. Nil for an index outside 0..7.
  BOX3 get_octant_box(OCTANT i) const;

  // The slot of the weld of `position` below `node`: an occupied slot holds a
  // node within res.resabs() of the position; an empty slot is where a new
  // node for it belongs on the regular insertion path. Octants next to the
  // home octant are looked into first, where the box of resabs around the
  // position overlaps the child's own octant box for its index; the home
  // octant comes last. The look into neighbours is a heuristic: a point
  // within resabs can be missed, which makes two nodes where one was meant.
  // Cost: the depth of the tree, more near octant borders.
  static STL_OCTREE_NODE*& find(const POSITION3& position, STL_OCTREE_NODE*& node,
                                const resolution& res);

  // The node of the tree under `root` nearest to `position` among those within
  // `tol` of it, with its squared distance in d2; null when there is none. A
  // complete search: a child is entered whenever its octant (by get_octant's
  // rule) can hold a point within tol, so nothing within reach is missed.
  // The first one met wins a tie. Cost: the depth of the tree in the common
  // case of a small search box.
  static STL_OCTREE_NODE* find_nearest(const POSITION3& position, STL_OCTREE_NODE* root,
                                       double tol, double& d2);

  // Stores this node in root if root is empty; otherwise walks from root by
  // get_octant of this location to the first empty slot and stores it there.
  // No equality test. Precondition: this node has no parent yet.
  void insert(STL_OCTREE_NODE*& root);

  // Pre-order walk of this subtree, children in index order. SCAN_SKIP skips
  // the node's subtree (siblings go on); SCAN_STOP ends the walk and answers
  // scan_stopped(). Null when the walk ran to its end.
  MOD_INFO* scan(SCAN_FUNCTION fn, void* data);
  // The same, but fn is called only for nodes whose location `box` contains,
  // and the child in octant i is entered only when `box` overlaps the
  // intersection of this node's get_octant_box(i) with `box`.
  MOD_INFO* scan(SCAN_FUNCTION fn, void* data, const BOX3& box);

  // The record a stopped scan answers (host error number 1); the same pointer
  // every time, never to be freed.
  static MOD_INFO* scan_stopped();

 protected:
  POSITION3 location_;
  STL_OCTREE_NODE* children_[8] = {};  // owned; indexed by OCTANT
};
