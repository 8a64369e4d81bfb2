#pragma once
// MESH_VERTEX: a welded corner of a mesh. It is also a node of its mesh's weld
// octree, so the tree of a mesh is made of its vertices. A vertex knows the
// coedges that start at it; two coedges are neighbours when they run between
// the same two vertices, and that is found through these sets, so a mesh has
// no edge objects and a non-manifold edge needs no special form.

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "host/base/pool.h"
#include "lumesh/mesh/growth_mark.h"
#include "lumesh/mesh/stl_octree_node.h"

class MESH_POLYGON_COEDGE;
class VERTEX;

// The set of coedges that start at one vertex. Its order has no meaning;
// count and membership are what is used. Kept as a small array, the first
// kInline entries inside the vertex: a vertex of a triangle mesh has about six
// outgoing coedges, and a hash set per vertex would cost a heap block each
// and several times the memory. Membership, insertion and erasure are
// O(degree), a handful of compares for the degrees of real meshes; a set
// that grows beyond kIndexed members (a fan of thousands of facets, or
// garbage that welds everything into one point) gets a hash index of member
// positions, which keeps them O(1), so no vertex degree makes building
// quadratic.
class MESH_COEDGE_SET {
 public:
  static constexpr std::uint32_t kInline = 6;
  static constexpr std::uint32_t kIndexed = 32;

  MESH_COEDGE_SET() = default;
  ~MESH_COEDGE_SET() = default;
  MESH_COEDGE_SET(const MESH_COEDGE_SET&) = delete;
  MESH_COEDGE_SET& operator=(const MESH_COEDGE_SET&) = delete;

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  bool contains(const MESH_POLYGON_COEDGE* c) const {
    if (index_ != nullptr) return index_->count(c) != 0;
    for (MESH_POLYGON_COEDGE* const* p = begin(); p != end(); ++p) {
      if (*p == c) return true;
    }
    return false;
  }
  // False (and nothing done) when c is already a member.
  bool insert(MESH_POLYGON_COEDGE* c) {
    if (size_ >= kInline) return insert_spilled(c);
    for (std::uint32_t i = 0; i < size_; ++i) {
      if (inline_[i] == c) return false;
    }
    inline_[size_++] = c;
    return true;
  }
  // False when c is not a member. May reorder the other members.
  bool erase(const MESH_POLYGON_COEDGE* c);

  // Contiguous; invalidated by insert and erase.
  MESH_POLYGON_COEDGE* const* begin() const { return size_ <= kInline ? inline_ : spill_.data(); }
  MESH_POLYGON_COEDGE* const* end() const { return begin() + size_; }

 private:
  MESH_POLYGON_COEDGE** data() { return size_ <= kInline ? inline_ : spill_.data(); }
  // insert once the inline entries are all taken.
  bool insert_spilled(MESH_POLYGON_COEDGE* c);

  // The members are in inline_ while there are at most kInline of them, and
  // all in spill_ (then never empty) while there are more.
  MESH_POLYGON_COEDGE* inline_[kInline] = {};  // not owned
  std::vector<MESH_POLYGON_COEDGE*> spill_;    // not owned
  // Position of each member in spill_, while the set is large.
  std::unique_ptr<std::unordered_map<const MESH_POLYGON_COEDGE*, std::uint32_t>> index_;
  std::uint32_t size_ = 0;
};

class MESH_VERTEX : public STL_OCTREE_NODE, public POOLED<MESH_VERTEX> {
 public:
  explicit MESH_VERTEX(const POSITION3& location) : STL_OCTREE_NODE(location) {}
  // Gives up the B-rep vertex if no edge uses it yet (a mesh dropped before
  // its body was made); one that edges use belongs to their body.
  ~MESH_VERTEX() override;

  // Identity is object identity.
  friend bool operator==(const MESH_VERTEX& a, const MESH_VERTEX& b) { return &a == &b; }
  friend bool operator!=(const MESH_VERTEX& a, const MESH_VERTEX& b) { return &a != &b; }

  // The coedges that start here; not owned. Kept by the coedges themselves
  // (their constructor, destructor and set_start_vertex).
  const MESH_COEDGE_SET& get_outgoing_coedges() const { return outgoing_; }
  std::size_t outgoing_count() const { return outgoing_.size(); }
  void add_outgoing_coedge(MESH_POLYGON_COEDGE* c) { outgoing_.insert(c); }
  void remove_outgoing_coedge(MESH_POLYGON_COEDGE* c) { outgoing_.erase(c); }

  // Makes `other` the start vertex of every coedge that starts here, until
  // none is left; nothing when other is this vertex. The emptied vertex stays
  // in the octree and can still answer a weld. O(degree).
  void transfer_coedges_to(MESH_VERTEX& other);

  // Appends to `list` each outgoing coedge of `from` whose end vertex is `to`.
  static void find_connecting_coedges(const MESH_VERTEX& from, const MESH_VERTEX& to,
                                      std::vector<MESH_POLYGON_COEDGE*>& list);

  // The B-rep vertex made from this one. Null when none was made and create
  // is false; with create, a point3 at the location and a VERTEX on it are
  // made once and kept. A vertex that is no longer live (its body was lost)
  // counts as none: it is never touched again.
  //
  // A vertex that shares its B-rep vertex with others (vertex_clusters.h)
  // answers with the one of its cluster's root.
  VERTEX* get_vertex(bool create);

  // The average of the closest points, on the surface of the owner polygon of
  // each outgoing coedge, to this location. Coedges whose polygon has no
  // surface, and failed projections, are left out; with none left every
  // coordinate is NaN.
  POSITION3 get_fitted_location() const;

  // The vertex whose B-rep vertex this one uses: itself, unless
  // join_brep_vertices put it into the cluster of another. O(alias chain),
  // shortened on the way.
  MESH_VERTEX* brep_root();
  // Makes this vertex (a root) use the B-rep vertex of `root`. Only before
  // either has a B-rep vertex.
  void set_brep_alias(MESH_VERTEX* root) { brep_alias_ = root; }

  // Bookkeeping of region growing (growth_mark.h), not part of the vertex's
  // state: a region's set of vertices holds them const.
  GROWTH_MARK growth_mark() const { return growth_mark_; }
  void set_growth_mark(GROWTH_MARK m) const { growth_mark_ = m; }

 private:
  friend struct MESH_TEST_ACCESS;

  MESH_COEDGE_SET outgoing_;
  mutable GROWTH_MARK growth_mark_ = 0;
  // Whether vertex_ still stands for a live entity, asked of the registry
  // by sysid, so that a vertex freed with its body is never read.
  bool vertex_is_live() const;

  VERTEX* vertex_ = nullptr;  // not owned once an edge uses it; see the destructor
  MESH_VERTEX* brep_alias_ = nullptr;  // not owned; the cluster's next vertex towards its root
  std::uint64_t vertex_sysid_ = 0;
};
