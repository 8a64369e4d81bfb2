// The weld grid: cells by hash, a point octree per cell.

#include "lumesh/mesh/weld_grid.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

// Cells are this many tolerances wide: a search box (two tolerances wide)
// straddles a cell border on an axis with a chance of 1 in 512.
constexpr double kCellsPerTolerance = 1024.0;
// Below this a tolerance of 0 would make cells of size 0.
constexpr double kSmallestCell = 1e-9;
// Cell indices beyond this are not represented (2^62).
constexpr double kIndexLimit = 4611686018427387904.0;

constexpr std::size_t kInitialTableSize = 1024;

// The memory of recent nodes: from this many slots, doubled while the grid
// holds more nodes than slots, up to the largest size (512 KB).
constexpr std::size_t kFirstRecentSize = 256;
constexpr std::size_t kLargestRecentSize = std::size_t{1} << 14;

// std::floor's value (bar the sign of a zero), in a few instructions where the
// library's portable form takes twenty: below 2^52 in magnitude through the
// integer truncation, above it every double is whole already. NaN and the
// infinities come back as they are.
inline double floor_of(double v) {
  if (!(std::fabs(v) < 4503599627370496.0)) return v;
  const double t = static_cast<double>(static_cast<std::int64_t>(v));
  return t > v ? t - 1.0 : t;
}

}  // namespace

WELD_GRID::WELD_GRID(double tolerance)
    : tolerance_(tolerance > 0.0 ? tolerance : 0.0),
      cell_size_(std::max(kCellsPerTolerance * tolerance_, kSmallestCell)),
      inverse_cell_size_(1.0 / cell_size_),
      table_(kInitialTableSize) {}

WELD_GRID::~WELD_GRID() {
  for (ENTRY& e : table_) delete e.root;  // each tree deletes itself iteratively
  for (STL_OCTREE_NODE* n : aside_) delete n;
}

bool WELD_GRID::cell_of(const POSITION3& p, CELL& cell) const {
  const double c[3] = {p.x(), p.y(), p.z()};
  for (int k = 0; k < 3; ++k) {
    const double f = floor_of(c[k] * inverse_cell_size_);
    // Also false for NaN and the infinities.
    if (!(std::fabs(f) < kIndexLimit)) return false;
    cell.i[k] = static_cast<std::int64_t>(f);
  }
  return true;
}

std::uint64_t WELD_GRID::hash_of(const CELL& cell) {
  // Each index through its own odd multiplier, then the finaliser of
  // splitmix64 so that neighbouring cells land far apart in the table.
  std::uint64_t h = static_cast<std::uint64_t>(cell.i[0]) * 0x9E3779B97F4A7C15ULL;
  h ^= static_cast<std::uint64_t>(cell.i[1]) * 0xC2B2AE3D27D4EB4FULL;
  h ^= static_cast<std::uint64_t>(cell.i[2]) * 0x165667B19E3779F9ULL;
  h ^= h >> 30;
  h *= 0xBF58476D1CE4E5B9ULL;
  h ^= h >> 27;
  h *= 0x94D049BB133111EBULL;
  h ^= h >> 31;
  return h;
}

WELD_GRID::ENTRY& WELD_GRID::entry_of(const CELL& cell, std::uint64_t hash) const {
  const std::size_t mask = table_.size() - 1;
  for (std::size_t k = hash & mask;; k = (k + 1) & mask) {
    // The table is never full (grow keeps it at most half used), so the probe
    // ends at a free entry at the latest.
    ENTRY& e = const_cast<ENTRY&>(table_[k]);
    if (e.root == nullptr) return e;
    if (e.hash != hash) continue;
    // The root lies in its cell by construction: its cell is the entry's.
    CELL root_cell{};
    cell_of(e.root->location(), root_cell);
    if (root_cell.i[0] == cell.i[0] && root_cell.i[1] == cell.i[1] &&
        root_cell.i[2] == cell.i[2]) {
      return e;
    }
  }
}

WELD_GRID::PROBE WELD_GRID::probe(const POSITION3& position) const {
  PROBE p;
  CELL cell{};
  p.in_cells_ = cell_of(position, cell);
  if (p.in_cells_) {
    for (int k = 0; k < 3; ++k) p.cell_[k] = cell.i[k];
    p.hash_ = hash_of(cell);
    __builtin_prefetch(&table_[p.hash_ & (table_.size() - 1)]);
  }
  return p;
}

STL_OCTREE_NODE* WELD_GRID::find(const POSITION3& position, const PROBE& probe) const {
  if (!probe.in_cells_) return nullptr;
  const CELL home{{probe.cell_[0], probe.cell_[1], probe.cell_[2]}};

  // The home cell first. A point at distance 0 can only lie there, and it is
  // the answer whatever the other cells hold: the usual weld of a corner
  // shared by several facets ends here, without a look at the neighbours.
  // The entry is looked for as entry_of does; a root at the very position
  // needs no cell comparison (it lies in the home cell) and is what the
  // search of its tree would answer, since nothing is nearer and the root
  // is met first.
  const std::size_t mask = table_.size() - 1;
  std::size_t slot = probe.hash_ & mask;
  const ENTRY* home_entry = nullptr;
  for (;; slot = (slot + 1) & mask) {
    const ENTRY& e = table_[slot];
    if (e.root == nullptr) break;
    if (e.hash != probe.hash_) continue;
    const POSITION3& r = e.root->location();
    if (r.x() == position.x() && r.y() == position.y() && r.z() == position.z()) {
      remember(e.root);
      return e.root;
    }
    CELL root_cell{};
    cell_of(r, root_cell);
    if (root_cell.i[0] == home.i[0] && root_cell.i[1] == home.i[1] && root_cell.i[2] == home.i[2]) {
      home_entry = &e;
      break;
    }
  }
  probe.slot_ = slot;
  probe.table_size_ = table_.size();

  STL_OCTREE_NODE* home_best = nullptr;
  double home_d2 = 0.0;
  if (home_entry != nullptr) {
    home_best = STL_OCTREE_NODE::find_nearest(position, home_entry->root, tolerance_, home_d2);
    if (home_best != nullptr && home_d2 == 0.0) {
      remember(home_best);
      return home_best;
    }
  }

  // The cells that the box of one tolerance around the position reaches:
  // usually the home cell alone, at most two a side.
  CELL lo{}, hi{};
  const double c[3] = {position.x(), position.y(), position.z()};
  bool home_only = true;
  for (int k = 0; k < 3; ++k) {
    lo.i[k] = home.i[k];
    hi.i[k] = home.i[k];
    if (floor_of((c[k] - tolerance_) * inverse_cell_size_) < static_cast<double>(home.i[k])) {
      --lo.i[k];
      home_only = false;
    }
    if (floor_of((c[k] + tolerance_) * inverse_cell_size_) > static_cast<double>(home.i[k])) {
      ++hi.i[k];
      home_only = false;
    }
  }
  if (home_only) {
    if (home_best == nullptr) probe.none_at_size_ = size_;
    return home_best;
  }

  // In table order of the cells, the nearest wins and the first one met wins
  // a tie; the home cell's answer is taken where the home cell comes.
  STL_OCTREE_NODE* best = nullptr;
  double best_d2 = std::numeric_limits<double>::infinity();
  CELL cell{};
  for (cell.i[0] = lo.i[0]; cell.i[0] <= hi.i[0]; ++cell.i[0]) {
    for (cell.i[1] = lo.i[1]; cell.i[1] <= hi.i[1]; ++cell.i[1]) {
      for (cell.i[2] = lo.i[2]; cell.i[2] <= hi.i[2]; ++cell.i[2]) {
        STL_OCTREE_NODE* n = nullptr;
        double d2 = 0.0;
        if (cell.i[0] == home.i[0] && cell.i[1] == home.i[1] && cell.i[2] == home.i[2]) {
          n = home_best;
          d2 = home_d2;
        } else {
          const ENTRY& e = entry_of(cell, hash_of(cell));
          if (e.root == nullptr) continue;
          n = STL_OCTREE_NODE::find_nearest(position, e.root, tolerance_, d2);
        }
        if (n != nullptr && d2 < best_d2) {
          best = n;
          best_d2 = d2;
          if (d2 == 0.0) return best;
        }
      }
    }
  }
  if (best == nullptr) probe.none_at_size_ = size_;
  return best;
}

void WELD_GRID::insert(STL_OCTREE_NODE* node, const PROBE& probe) {
  // Ownership passes only when nothing can throw any more: a failed
  // allocation leaves the node with the caller.
  if (!probe.in_cells_) {
    aside_.push_back(node);
    ++size_;
    return;
  }
  const CELL cell{{probe.cell_[0], probe.cell_[1], probe.cell_[2]}};
  // Where the find before it stopped, if that was at a free entry that is
  // still free in a table of the same size: inserts fill free entries and
  // never empty one, so the search would stop there again.
  ENTRY* e = nullptr;
  if (probe.table_size_ == table_.size() && probe.slot_ < table_.size() &&
      table_[probe.slot_].root == nullptr) {
    e = &table_[probe.slot_];
  } else {
    e = &entry_of(cell, probe.hash_);
  }
  if (e->root == nullptr) {
    if (2 * (cells_ + 1) > table_.size()) {
      grow();
      e = &entry_of(cell, probe.hash_);
    }
    e->hash = probe.hash_;
    ++cells_;
  }
  node->insert(e->root);
  // The node is what find answers at its location only if there was no node
  // there before, which the find just before this insert knows.
  const bool alone = probe.none_at_size_ == size_;
  ++size_;
  if (recent_.size() < kLargestRecentSize && size_ > recent_.size()) {
    // A larger memory, empty again; it fills as it is used.
    std::vector<RECENT>(std::max(kFirstRecentSize, 2 * recent_.size())).swap(recent_);
  }
  if (alone) remember(node);
}

void WELD_GRID::remember(STL_OCTREE_NODE* node) const {
  if (recent_.empty()) return;
  const POSITION3& p = node->location();
  recent_[recent_index(p)] = RECENT{p.x(), p.y(), p.z(), node};
}

void WELD_GRID::grow() {
  std::vector<ENTRY> old(table_.size() * 2);
  old.swap(table_);
  const std::size_t mask = table_.size() - 1;
  for (const ENTRY& e : old) {
    if (e.root == nullptr) continue;
    std::size_t k = e.hash & mask;
    while (table_[k].root != nullptr) k = (k + 1) & mask;
    table_[k] = e;
  }
}

MOD_INFO* WELD_GRID::scan(STL_OCTREE_NODE::SCAN_FUNCTION fn, void* data) const {
  for (const ENTRY& e : table_) {
    if (e.root == nullptr) continue;
    if (MOD_INFO* stop = e.root->scan(fn, data)) return stop;
  }
  for (STL_OCTREE_NODE* n : aside_) {
    if (fn(n, data) == SCAN_STOP) return STL_OCTREE_NODE::scan_stopped();
  }
  return nullptr;
}

namespace {

struct BOX_FILTER {
  STL_OCTREE_NODE::SCAN_FUNCTION fn;
  void* data;
  const BOX3* box;
};

// Calls the user's function for the nodes inside the box only; a node outside
// says nothing about its subtree, which is walked on.
SCAN_CNTRL call_inside_box(STL_OCTREE_NODE* node, void* data) {
  const auto* f = static_cast<const BOX_FILTER*>(data);
  return (*f->box >= node->location()) ? f->fn(node, f->data) : SCAN_CONTINUE;
}

}  // namespace

MOD_INFO* WELD_GRID::scan(STL_OCTREE_NODE::SCAN_FUNCTION fn, void* data, const BOX3& box) const {
  // Cells are tested against the box exactly; inside a cell every node is
  // looked at, since a cell holds a point or two.
  BOX_FILTER filter{fn, data, &box};
  for (const ENTRY& e : table_) {
    if (e.root == nullptr) continue;
    CELL cell{};
    cell_of(e.root->location(), cell);
    const POSITION3 low(static_cast<double>(cell.i[0]) * cell_size_,
                        static_cast<double>(cell.i[1]) * cell_size_,
                        static_cast<double>(cell.i[2]) * cell_size_);
    // The margin covers the rounding of the index computation.
    const double margin = cell_size_ * 1e-6 + 1e-14 * std::max({std::fabs(low.x()), std::fabs(low.y()),
                                                               std::fabs(low.z())});
    const VECTOR3 lower(margin, margin, margin);
    const VECTOR3 upper(cell_size_ + margin, cell_size_ + margin, cell_size_ + margin);
    if (!box.overlaps(BOX3(low - lower, low + upper))) continue;
    if (MOD_INFO* stop = e.root->scan(call_inside_box, &filter)) return stop;
  }
  // A box holds no point with a coordinate that isn't finite.
  return nullptr;
}

std::vector<STL_OCTREE_NODE*> WELD_GRID::roots() const {
  std::vector<STL_OCTREE_NODE*> out;
  out.reserve(cells_);
  for (const ENTRY& e : table_) {
    if (e.root != nullptr) out.push_back(e.root);
  }
  return out;
}
