// Mesh vertices: the outgoing coedge sets and the operations around a vertex.

#include "lumesh/mesh/mesh_vertex.h"

#include <algorithm>
#include <vector>

#include "host/kernel/geometry/point.h"
#include "host/kernel/geometry/pt_on_sf.h"
#include "host/kernel/geometry/surface.h"
#include "host/kernel/topology/edge.h"
#include "host/kernel/topology/vertex.h"
#include "lumesh/mesh/mesh_polygon.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"

bool MESH_COEDGE_SET::insert_spilled(MESH_POLYGON_COEDGE* c) {
  if (contains(c)) return false;
  if (size_ == kInline) {
    // Room first, so that a failed allocation leaves the set as it was.
    std::vector<MESH_POLYGON_COEDGE*> spill;
    spill.reserve(2 * kInline);
    spill.assign(inline_, inline_ + size_);
    spill.push_back(c);
    spill_.swap(spill);
  } else {
    spill_.push_back(c);
    if (index_ != nullptr) {
      index_->emplace(c, size_);
    } else if (size_ + 1 > kIndexed) {
      index_ = std::make_unique<std::unordered_map<const MESH_POLYGON_COEDGE*, std::uint32_t>>();
      for (std::uint32_t i = 0; i < spill_.size(); ++i) index_->emplace(spill_[i], i);
    }
  }
  ++size_;
  return true;
}

bool MESH_COEDGE_SET::erase(const MESH_POLYGON_COEDGE* c) {
  MESH_POLYGON_COEDGE** d = data();
  MESH_POLYGON_COEDGE** hit = nullptr;
  if (index_ != nullptr) {
    auto it = index_->find(c);
    if (it == index_->end()) return false;
    hit = d + it->second;
    index_->erase(it);
    if (hit != d + size_ - 1) (*index_)[d[size_ - 1]] = static_cast<std::uint32_t>(hit - d);
  } else {
    hit = std::find(d, d + size_, c);
    if (hit == d + size_) return false;
  }
  *hit = d[size_ - 1];
  if (size_ > kInline) {
    spill_.pop_back();
    // Small again: the index goes below half its threshold, so that a set
    // moving around the threshold doesn't rebuild it each time.
    if (index_ != nullptr && size_ - 1 < kIndexed / 2) index_.reset();
    // Back inside the vertex once the members fit again.
    if (size_ - 1 <= kInline) {
      std::copy(spill_.begin(), spill_.end(), inline_);
      std::vector<MESH_POLYGON_COEDGE*>().swap(spill_);
    }
  }
  --size_;
  return true;
}

namespace {

SCAN_CNTRL collect_unused_edge(EDGE* e, void* data) {
  if (e->coedge() == nullptr) static_cast<std::vector<EDGE*>*>(data)->push_back(e);
  return SCAN_CONTINUE;
}

}  // namespace

bool MESH_VERTEX::vertex_is_live() const {
  return ENTITY::is_live(vertex_, vertex_sysid_);
}

MESH_VERTEX::~MESH_VERTEX() {
  // A body made from the mesh and lost before it took its vertices along.
  if (!vertex_is_live()) return;
  // Recognition makes the edges of region boundaries ahead of any body. An
  // edge that no body took up (no coedge) has nobody but this mesh, which
  // is going away: it goes too, or every recognition of a mesh that is then
  // dropped would leave its edges, their curves and vertices behind. Edges
  // that a body uses stay, and so does the vertex under them.
  std::vector<EDGE*> unused;
  vertex_->scan_edges(collect_unused_edge, &unused);
  for (EDGE* e : unused) e->lose();
  vertex_->lose();  // refused when an edge still uses it
}

void MESH_VERTEX::transfer_coedges_to(MESH_VERTEX& other) {
  if (&other == this) return;
  // Taking the last member makes each removal O(1) apart from the search.
  while (!outgoing_.empty()) outgoing_.end()[-1]->set_start_vertex(other);
}

void MESH_VERTEX::find_connecting_coedges(const MESH_VERTEX& from, const MESH_VERTEX& to,
                                          std::vector<MESH_POLYGON_COEDGE*>& list) {
  for (MESH_POLYGON_COEDGE* c : from.outgoing_) {
    if (c->get_end_vertex() == &to) list.push_back(c);
  }
}

VERTEX* MESH_VERTEX::get_vertex(bool create) {
  MESH_VERTEX* const root = brep_root();
  if (root != this) return root->get_vertex(create);
  if (vertex_ != nullptr && !vertex_is_live()) vertex_ = nullptr;
  if (vertex_ == nullptr && create) {
    vertex_ = new VERTEX(new point3(location_));
    vertex_sysid_ = vertex_->sysid();
  }
  return vertex_;
}

MESH_VERTEX* MESH_VERTEX::brep_root() {
  MESH_VERTEX* v = this;
  while (v->brep_alias_ != nullptr) {
    // Path halving keeps later lookups short.
    if (v->brep_alias_->brep_alias_ != nullptr) v->brep_alias_ = v->brep_alias_->brep_alias_;
    v = v->brep_alias_;
  }
  return v;
}

POSITION3 MESH_VERTEX::get_fitted_location() const {
  VECTOR3 sum;
  int count = 0;
  for (const MESH_POLYGON_COEDGE* c : outgoing_) {
    const MESH_POLYGON* owner = c->get_owner_polygon();
    const surface* sf = owner != nullptr ? owner->get_surface() : nullptr;
    if (sf == nullptr) continue;
    pt_on_sf foot;
    double d = 0.0;
    if (sf->closest_point(location_, foot, d) != nullptr) continue;
    sum += VECTOR3(foot.evaluate());
    ++count;
  }
  return POSITION3(sum / static_cast<double>(count));
}
