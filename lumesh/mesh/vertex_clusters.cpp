// Union-find of mesh vertices over coedges shorter than the resolution, kept
// in the vertices' own alias links.

#include "lumesh/mesh/vertex_clusters.h"

#include "lumesh/mesh/mesh.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"
#include "lumesh/mesh/mesh_vertex.h"

namespace {

// The root of the two that stays: the first in x, then y, then z.
bool goes_first(const MESH_VERTEX* a, const MESH_VERTEX* b) {
  const POSITION3& p = a->location();
  const POSITION3& q = b->location();
  if (p.x() != q.x()) return p.x() < q.x();
  if (p.y() != q.y()) return p.y() < q.y();
  return p.z() < q.z();
}

// Joins the clusters of the coedge's ends when `close` says their points are
// one; true when it joined two.
template <class CLOSE>
bool join(MESH_POLYGON_COEDGE* c, CLOSE&& close) {
  MESH_VERTEX* a = c->get_start_vertex()->brep_root();
  MESH_VERTEX* b = c->get_end_vertex()->brep_root();
  if (a == b || !close(a, b)) return false;
  if (goes_first(b, a)) std::swap(a, b);
  b->set_brep_alias(a);
  return true;
}

template <class FN>
void for_each_coedge(const MESH& mesh, FN&& fn) {
  for (MESH_POLYGON* p : mesh.get_polygons()) {
    MESH_POLYGON_COEDGE* const start = p->get_start_coedge();
    if (start == nullptr) continue;
    MESH_POLYGON_COEDGE* c = start;
    do {
      fn(c);
      c = c->get_next();
    } while (c != nullptr && c != start);
  }
}

}  // namespace

std::size_t join_brep_vertices(MESH& mesh, const resolution& res) {
  std::size_t joined = 0;
  // Coedges shorter than the resolution.
  for_each_coedge(mesh, [&](MESH_POLYGON_COEDGE* c) {
    if (join(c, [&](const MESH_VERTEX*, const MESH_VERTEX*) {
          return res.equal(c->get_start_vertex()->location(), c->get_end_vertex()->location());
        })) {
      ++joined;
    }
  });
  // Roots that the first joins brought within the resolution of each other.
  for (int round = 0; round < kClusterRounds; ++round) {
    std::size_t more = 0;
    for_each_coedge(mesh, [&](MESH_POLYGON_COEDGE* c) {
      if (join(c, [&](const MESH_VERTEX* a, const MESH_VERTEX* b) {
            return res.equal(a->location(), b->location());
          })) {
        ++more;
      }
    });
    joined += more;
    if (more == 0) break;
  }
  return joined;
}
