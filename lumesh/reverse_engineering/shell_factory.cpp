// Mesh polygons to B-rep faces.

#include "lumesh/reverse_engineering/shell_factory.h"

#include <cmath>
#include <cstddef>
#include <vector>

#include "host/base/assertion.h"
#include "host/kernel/entity/geometry_entity.h"
#include "host/kernel/geometry/plane.h"
#include "host/kernel/ops/face_components.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"
#include "host/kernel/topology/shell.h"
#include "host/kernel/topology/vertex.h"
#include "lumesh/mesh/mesh.h"
#include "lumesh/mesh/mesh_polygon.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"
#include "lumesh/mesh/mesh_region.h"
#include "lumesh/mesh/mesh_vertex.h"

namespace {

bool finite(const UNITVEC3& n) {
  return std::isfinite(n.x()) && std::isfinite(n.y()) && std::isfinite(n.z());
}

struct RING_STEP {
  EDGE* edge;
  bool sense;
};

// The edges of the polygon's ring, in order, for the loop of its face; false
// when they don't bound an area (fewer than three are left).
//
// At the recognition resolution two corners of a short mesh edge can be one
// B-rep vertex (MESH_VERTEX::get_vertex): that coedge has no edge and is left
// out, and where that makes the ring run along an edge and straight back,
// both steps go too. What is left is a closed ring of edges, or nothing: a
// facet narrower than the resolution yields no face, and its neighbours meet
// along the edge it leaves behind. A coedge without an edge for any other
// reason is a fault of the building, and the assertion service says so.
// O(ring length).
bool ring_of_edges(MESH_POLYGON& polygon, std::vector<RING_STEP>& ring) {
  MESH_POLYGON_COEDGE* const start = polygon.get_start_coedge();
  MESH_POLYGON_COEDGE* c = start;
  do {
    bool sense = false;
    if (EDGE* edge = c->get_edge(sense, true)) {
      if (!ring.empty() && ring.back().edge == edge && ring.back().sense != sense) {
        ring.pop_back();
      } else {
        ring.push_back({edge, sense});
      }
    } else {
      VERTEX* vs = c->get_start_vertex()->get_vertex(false);
      HOST_ASSERT(vs != nullptr && vs == c->get_end_vertex()->get_vertex(false),
                  "No edge could be generated");
    }
    c = c->get_next();
  } while (c != nullptr && c != start);
  // Spurs across the ring's start.
  std::size_t head = 0;
  while (ring.size() - head >= 2 && ring[head].edge == ring.back().edge &&
         ring[head].sense != ring.back().sense) {
    ++head;
    ring.pop_back();
  }
  ring.erase(ring.begin(), ring.begin() + static_cast<std::ptrdiff_t>(head));
  return ring.size() >= 3;
}

}  // namespace

SHELL_FACTORY::SHELL_FACTORY() : resolution_(get_k2_geores()) {}

MOD_INFO* SHELL_FACTORY::make_outer_shells(MESH& mesh, const resolution& res,
                                           std::forward_list<SHELL*>& shells) {
  resolution_ = res;
  std::vector<FACE*> faces;
  if (!mesh.get_regions().empty()) {
    for (MESH_REGION* region : mesh.get_regions()) {
      if (region->get_surface() == nullptr) continue;
      const bool sense = region->get_face_sense();
      for (MESH_POLYGON* polygon : region->get_polygons()) {
        if (FACE* face = make_face(polygon, sense)) faces.push_back(face);
      }
    }
  } else {
    for (MESH_POLYGON* polygon : mesh.get_polygons()) {
      if (FACE* face = make_face(polygon, false)) faces.push_back(face);
    }
  }
  // One shell per piece of faces that hang together: the separate solids of
  // one mesh must not be one shell, which no solid could be made of. The
  // pieces come in the order of their first faces, and the list is in that
  // order too. A mesh without faces still gives one (empty) shell.
  std::vector<std::vector<FACE*>> pieces = connected_face_groups(faces);
  if (pieces.empty()) pieces.emplace_back();
  for (auto it = pieces.rbegin(); it != pieces.rend(); ++it) {
    auto* shell = new SHELL();
    shell->set_shell_type(2);  // an outer shell
    for (FACE* face : *it) shell->add_face(face);
    shells.push_front(shell);
  }
  return nullptr;
}

FACE* SHELL_FACTORY::make_face(MESH_POLYGON* polygon, bool sense) {
  if (polygon->get_polygon_type() != REGULAR || polygon->get_start_coedge() == nullptr) {
    return nullptr;
  }
  // Held here until the face takes its own reference, so a polygon that
  // yields no face leaves no plane behind.
  GEOM_REF<surface> sf(polygon->get_surface());
  if (!sf) {
    // A polygon computes its normal from its corners, so a NaN normal means
    // non-finite corners: no plane can carry it, and it is left out rather
    // than failing the whole body.
    const UNITVEC3 n = polygon->get_normal();
    if (!finite(n)) return nullptr;
    sf = GEOM_REF<surface>(
        new plane(polygon->get_start_coedge()->get_start_vertex()->location(), n));
    sense = false;
  }

  std::vector<RING_STEP> ring;
  if (!ring_of_edges(*polygon, ring)) return nullptr;
  COEDGE* first = nullptr;
  COEDGE* last = nullptr;
  for (const RING_STEP& step : ring) {
    last = new COEDGE(step.edge, step.sense, last, nullptr);
    if (first == nullptr) first = last;
  }
  last->set_next(first);
  first->set_previous(last);

  auto* face = new FACE(sf.get(), sense);
  new LOOP(first, face, LOOP_OUTER, true, true);
  return face;
}
