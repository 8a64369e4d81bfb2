// The B-rep edge of a mesh coedge: found among the straight edges at its
// B-rep start vertex, or made and shared with its partners.

#include "host/base/assertion.h"
#include "host/kernel/geometry/straight.h"
#include "host/kernel/topology/edge.h"
#include "host/kernel/topology/vertex.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"
#include "lumesh/mesh/mesh_vertex.h"

namespace {

struct BRIDGE_SEARCH {
  const VERTEX* start;
  const VERTEX* end;
  EDGE* edge = nullptr;
  bool sense = false;
};

// A straight edge between the two vertices of the search, in either
// direction.
SCAN_CNTRL find_bridge(EDGE* edge, void* data) {
  auto* search = static_cast<BRIDGE_SEARCH*>(data);
  const curve* g = edge->geometry();
  if (g == nullptr || !(g->identity() <= straight::type)) return SCAN_CONTINUE;
  if (edge->start() == search->start && edge->end() == search->end) {
    search->edge = edge;
    search->sense = false;
    return SCAN_STOP;
  }
  if (edge->start() == search->end && edge->end() == search->start) {
    search->edge = edge;
    search->sense = true;
    return SCAN_STOP;
  }
  return SCAN_CONTINUE;
}

}  // namespace

EDGE* MESH_POLYGON_COEDGE::get_edge(bool& sense, bool create) {
  if (edge_ != nullptr) {
    sense = sense_;
    return edge_;
  }
  VERTEX* vs = start_->get_vertex(create);
  VERTEX* ve = get_end_vertex()->get_vertex(create);
  if (vs != nullptr && ve != nullptr) {
    BRIDGE_SEARCH search{vs, ve};
    vs->scan_edges(find_bridge, &search);
    edge_ = search.edge;
    sense_ = search.sense;
  } else {
    sense_ = false;
  }
  if (edge_ != nullptr || vs == ve || !create) {
    sense = sense_;
    return edge_;
  }

  const VECTOR3 d = get_end_vertex()->location() - start_->location();
  MOD_INFO* status = nullptr;
  auto* e = new EDGE(vs, ve, new straight(start_->location(), d.uvec3()), status);
  if (status != nullptr) {
    e->lose();
    edge_ = nullptr;
    sense_ = false;
    HOST_ASSERT(status == nullptr, "!status");
    sense = false;
    return nullptr;
  }
  edge_ = e;
  sense_ = false;
  MESH_COEDGE_LIST partners;
  get_partner_coedges(partners, ANY_ALIGNMENT);
  for (MESH_POLYGON_COEDGE* p : partners) p->set_edge(e, p->start_ != start_);
  sense = false;
  return edge_;
}
