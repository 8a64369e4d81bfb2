// The repair of degenerate triangles after welding, and the estimate of a
// recognition resolution from the edge lengths.

#include <algorithm>
#include <cmath>
#include <limits>

#include "lumesh/mesh/mesh.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"

namespace {

// The start coedge is the longest edge, A to B; C is the apex. The apex is
// joined to the foot of its perpendicular, or to an end of the long edge when
// the foot is that close to it; a foot inside the edge splits the long edge
// of every neighbour across it, so that they stay joined.
void repair_sliver(MESH& mesh, MESH_POLYGON& p) {
  MESH_POLYGON_COEDGE* long_edge = p.get_start_coedge();
  MESH_VERTEX& a = *long_edge->get_start_vertex();
  MESH_VERTEX& b = *long_edge->get_end_vertex();
  MESH_VERTEX& c = *long_edge->get_previous()->get_start_vertex();

  double t = 0.0;
  double height = 0.0;
  const POSITION3 foot = long_edge->relax(c, t, height);
  if (t < 0.0 || t > 1.0) return;  // nothing to join: the triangle is only dropped

  MESH_VERTEX& v = mesh.get_mesh_vertex(foot);
  const double join2 = 4.0 * mesh.get_mesh_resolution().resabs_sqr();
  if (dist2(v.location(), a.location()) <= join2) {
    c.transfer_coedges_to(a);
  } else if (dist2(v.location(), b.location()) <= join2) {
    c.transfer_coedges_to(b);
  } else {
    MESH_COEDGE_LIST partners;
    long_edge->get_partner_coedges(partners, MESH_POLYGON_COEDGE::ANY_ALIGNMENT);
    for (MESH_POLYGON_COEDGE* q : partners) q->get_owner_polygon()->insert_coedge_after(q, v);
    p.insert_coedge_after(long_edge, v);
    c.transfer_coedges_to(v);
  }
}

// The start coedge is the short edge, S to E: both ends become the vertex at
// its midpoint, or S where that vertex is one of the two.
void repair_short_edge(MESH& mesh, MESH_POLYGON& p) {
  MESH_POLYGON_COEDGE* short_edge = p.get_start_coedge();
  MESH_VERTEX& s = *short_edge->get_start_vertex();
  MESH_VERTEX& e = *short_edge->get_end_vertex();
  const POSITION3 mid = s.location() + (e.location() - s.location()) * 0.5;
  MESH_VERTEX& v = mesh.get_mesh_vertex(mid);
  if (v != s && v != e) {
    s.transfer_coedges_to(v);
    e.transfer_coedges_to(v);
  } else {
    e.transfer_coedges_to(s);
  }
}

// All corners become the vertex at the centre of gravity.
void repair_tiny(MESH& mesh, MESH_POLYGON& p) {
  MESH_VERTEX& v = mesh.get_mesh_vertex(p.get_center_of_gravity());
  // The ring stays as it is while its start vertices change; it is walked
  // once from the start.
  MESH_POLYGON_COEDGE* const start = p.get_start_coedge();
  MESH_POLYGON_COEDGE* c = start;
  do {
    MESH_VERTEX* corner = c->get_start_vertex();
    if (*corner != v) corner->transfer_coedges_to(v);
    c = c->get_next();
  } while (c != start);
}

}  // namespace

void MESH::optimize(const resolution& res) {
  mesh_resolution_ = res;
  polygon_count_ = 0;
  // Facets counted but never built are tiny triangles at the origin.
  degenerate_polygon_count_ += collapsed_facets_;
  repaired_polygon_count_ += collapsed_facets_;
  collapsed_facets_ = 0;
  std::size_t merged = 0;  // MERGED polygons in the list, old ones included
  for (MESH_POLYGON* p : polygons_) {
    const MESH_POLYGON_TYPE type = p->classify(mesh_resolution_);
    switch (type) {
      case REGULAR:
        p->set_polygon_type(REGULAR);
        ++polygon_count_;
        continue;
      case SLIVER:
        repair_sliver(*this, *p);
        break;
      case SHORT_EDGE:
        repair_short_edge(*this, *p);
        break;
      case TINY:
        repair_tiny(*this, *p);
        break;
      case MERGED:
        ++merged;
        continue;
      case UNCLASSIFIED:
        continue;
    }
    ++degenerate_polygon_count_;
    ++repaired_polygon_count_;
    p->set_polygon_type(MERGED);
    ++merged;
  }
  // A clean mesh, the usual case, is not walked a second time.
  if (merged == 0) return;
  polygons_.remove_if([](MESH_POLYGON* p) {
    if (p->get_polygon_type() != MERGED) return false;
    delete p;
    return true;
  });
}

double MESH::estimate_resolution() const {
  const double floor2 = 4.0 * import_resolution_.resabs_sqr();
  double smallest = std::numeric_limits<double>::infinity();
  for (const MESH_POLYGON* p : polygons_) {
    const MESH_POLYGON_COEDGE* const start = p->get_start_coedge();
    if (start == nullptr) continue;
    const MESH_POLYGON_COEDGE* c = start;
    do {
      const double l2 = c->length2();
      if (l2 > floor2 && l2 < smallest) smallest = l2;
      c = c->get_next();
    } while (c != start);
  }
  return std::min(std::sqrt(smallest) / 3.0, 0.5);
}
