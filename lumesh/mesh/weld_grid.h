#pragma once
// WELD_GRID: the weld index of a mesh. Space is cut into cubic cells of 1024
// times the welding tolerance, found through a hash table; the points of one
// cell form a point octree of STL_OCTREE_NODE under the cell's root. A file
// holds its vertices far apart compared with the tolerance, so nearly every
// cell holds one point and nearly every search touches one cell: welding
// costs O(1) per position whatever the order of the file, where one octree
// over the whole mesh, shaped by insertion order, degrades into a chain (and
// quadratic time) on a file sorted along an axis.
//
// The search is complete: it finds a point within the tolerance wherever it
// lies, in the position's own cell or a neighbouring one, and answers the
// nearest of them. A point with a coordinate that isn't finite never welds
// (no distance to it is within a tolerance) and is kept aside, outside every
// cell, so that such points cost no search either.
//
// The grid owns its nodes: it deletes them with itself.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/base/mod_info.h"
#include "host/geometry/box3.h"
#include "host/geometry/position3.h"
#include "lumesh/mesh/stl_octree_node.h"

class WELD_GRID {
 public:
  // tolerance: the welding distance, resolution::equal's; 0 welds only equal
  // positions.
  explicit WELD_GRID(double tolerance);
  ~WELD_GRID();

  WELD_GRID(const WELD_GRID&) = delete;
  WELD_GRID& operator=(const WELD_GRID&) = delete;

  // The node nearest to `position` among those within the tolerance (the one
  // met first on a tie), or null. Expected O(1).
  STL_OCTREE_NODE* find(const POSITION3& position) const;

  // Takes ownership of `node` (no parent, no children) and files it under its
  // location, on the insertion path of its cell's tree. Should it throw
  // (memory), the node stays the caller's. The grid doesn't
  // check for a weld: callers insert what find didn't find.
  void insert(STL_OCTREE_NODE* node);

  std::size_t size() const { return size_; }

  // Every node once: each cell's tree in pre-order (STL_OCTREE_NODE::scan,
  // with its SCAN_SKIP and SCAN_STOP), cells in table order, then the nodes
  // kept aside. Answers STL_OCTREE_NODE::scan_stopped() when stopped, null
  // otherwise.
  MOD_INFO* scan(STL_OCTREE_NODE::SCAN_FUNCTION fn, void* data) const;
  // The same for nodes whose location `box` contains; cells and subtrees that
  // can't hold one are passed over.
  MOD_INFO* scan(STL_OCTREE_NODE::SCAN_FUNCTION fn, void* data, const BOX3& box) const;

  // The roots of the cells' trees, in table order; for checkers.
  std::vector<STL_OCTREE_NODE*> roots() const;

 private:
  struct CELL {
    std::int64_t i[3];
  };
  struct ENTRY {
    std::uint64_t hash = 0;
    STL_OCTREE_NODE* root = nullptr;  // owned; null for a free entry
  };

  // False when a coordinate isn't finite or lies beyond the cell index range.
  bool cell_of(const POSITION3& p, CELL& cell) const;
  static std::uint64_t hash_of(const CELL& cell);
  // The entry of `cell`: its own, or the free one where it belongs.
  ENTRY& entry_of(const CELL& cell, std::uint64_t hash) const;
  void grow();

  double tolerance_;
  double cell_size_;
  double inverse_cell_size_;
  std::vector<ENTRY> table_;                 // open addressing, power-of-two size
  std::size_t cells_ = 0;                    // entries in use
  std::size_t size_ = 0;                     // nodes, aside ones included
  std::vector<STL_OCTREE_NODE*> aside_;      // owned; non-finite locations
};
