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
// The grid owns its nodes: it deletes them with itself. A find remembers what
// it found (see find_recent), so even finds must not run concurrently.

#include <cstddef>
#include <cstdint>
#include <cstring>
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

  // Where a position lies: its cell and the cell's hash, worked out once for
  // a find and the insert that may follow it. Made by probe(); valid for the
  // grid that made it as long as the grid lives (growth of the table does
  // not change it).
  class PROBE {
   private:
    friend class WELD_GRID;
    std::int64_t cell_[3] = {0, 0, 0};
    std::uint64_t hash_ = 0;
    bool in_cells_ = false;  // false: a coordinate isn't finite or is out of range
    // Left by find for an insert that follows: the table index where the
    // search for the cell's entry ended, and the table size it was for; and
    // the node count when the search found no node within the tolerance.
    // Only hints; insert checks that they still hold.
    mutable std::size_t slot_ = 0;
    mutable std::size_t table_size_ = 0;
    mutable std::size_t none_at_size_ = SIZE_MAX;
  };

  // The probe of `position`. Also asks the processor to fetch the table entry
  // of its cell, so that the probes of several positions taken before their
  // finds overlap their memory accesses. Changes nothing.
  PROBE probe(const POSITION3& position) const;

  // The node nearest to `position` among those within the tolerance (the one
  // met first on a tie), or null. Expected O(1).
  STL_OCTREE_NODE* find(const POSITION3& position) const {
    if (STL_OCTREE_NODE* n = find_recent(position)) return n;
    return find(position, probe(position));
  }
  // The same with the probe of `position`.
  STL_OCTREE_NODE* find(const POSITION3& position, const PROBE& probe) const;

  // A node at exactly `position` (equal coordinates) that the grid remembers
  // from a recent find or insert, or null, which says nothing. Such a node is
  // what find answers: nothing is nearer, and of two nodes at one position
  // the one filed first lies above the other in their cell's tree and is met
  // first. A few instructions where find computes a cell and searches it: a
  // vertex of a mesh is looked for about six times, mostly soon after it
  // was made.
  STL_OCTREE_NODE* find_recent(const POSITION3& position) const {
    if (recent_.empty()) return nullptr;
    const RECENT& r = recent_[recent_index(position)];
    return (r.x == position.x() && r.y == position.y() && r.z == position.z()) ? r.node : nullptr;
  }

  // Takes ownership of `node` (no parent, no children) and files it under its
  // location, on the insertion path of its cell's tree. Should it throw
  // (memory), the node stays the caller's. The grid doesn't
  // check for a weld: callers insert what find didn't find.
  void insert(STL_OCTREE_NODE* node) { insert(node, probe(node->location())); }
  // The same with the probe of the node's location.
  void insert(STL_OCTREE_NODE* node, const PROBE& probe);

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

  // A remembered node at its exact location; node null for an empty one.
  struct RECENT {
    double x = 0.0, y = 0.0, z = 0.0;
    STL_OCTREE_NODE* node = nullptr;  // not owned
  };

  // The slot of `position` in recent_ (not empty): a hash of the bits of the
  // coordinates.
  std::size_t recent_index(const POSITION3& position) const {
    std::uint64_t b[3];
    static_assert(sizeof(b) == 3 * sizeof(double));
    const double c[3] = {position.x(), position.y(), position.z()};
    std::memcpy(b, c, sizeof b);
    std::uint64_t h =
        b[0] * 0x9E3779B97F4A7C15ULL ^ b[1] * 0xC2B2AE3D27D4EB4FULL ^ b[2] * 0x165667B19E3779F9ULL;
    h ^= h >> 29;
    h *= 0xBF58476D1CE4E5B9ULL;
    return static_cast<std::size_t>(h >> 32) & (recent_.size() - 1);
  }
  // Remembers `node` at its location, in place of what its slot held.
  void remember(STL_OCTREE_NODE* node) const;

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
  // Nodes at their exact locations, direct-mapped, a power-of-two size that
  // grows with the nodes up to a bound; only a shortcut for find.
  mutable std::vector<RECENT> recent_;
};
