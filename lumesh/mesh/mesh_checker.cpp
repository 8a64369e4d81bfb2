// The mesh invariant checker. Walks the cell trees and the rings on explicit
// stacks and cross-checks them through hash sets of what it has seen.

#include "lumesh/mesh/mesh_checker.h"

#include <cstddef>
#include <sstream>
#include <unordered_set>

#include "lumesh/mesh/mesh.h"
#include "lumesh/mesh/mesh_polygon.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"
#include "lumesh/mesh/mesh_vertex.h"

namespace {

constexpr std::size_t kMaxProblems = 50;

void report(MESH_CHECK_RESULT& r, const std::string& s) {
  if (r.problems.size() < kMaxProblems) r.problems.push_back(s);
}

std::string name(const void* p) {
  std::ostringstream out;
  out << p;
  return out.str();
}

}  // namespace

std::string MESH_CHECK_RESULT::text() const {
  std::string all;
  for (const std::string& p : problems) all += p + "\n";
  return all;
}

MESH_CHECK_RESULT check_mesh(const MESH& mesh) {
  MESH_CHECK_RESULT r;

  // The vertices, with the octant rule of each cell's tree.
  std::unordered_set<const MESH_VERTEX*> vertices;
  std::size_t outgoing_total = 0;
  std::vector<const STL_OCTREE_NODE*> pending;
  for (const STL_OCTREE_NODE* root : mesh.get_weld_grid().roots()) pending.push_back(root);
  while (!pending.empty()) {
    const STL_OCTREE_NODE* n = pending.back();
    pending.pop_back();
    const auto* v = dynamic_cast<const MESH_VERTEX*>(n);
    if (v == nullptr) {
      report(r, "octree node " + name(n) + " is not a mesh vertex");
    } else {
      vertices.insert(v);
      outgoing_total += v->outgoing_count();
    }
    for (int i = 0; i < 8; ++i) {
      const STL_OCTREE_NODE* c = n->get_child(i);
      if (c == nullptr) continue;
      if (n->get_octant(c->location()) != i) {
        report(r, "octree node " + name(c) + " is not in the octant of its index");
      }
      pending.push_back(c);
    }
  }

  // Vertices with a coordinate that isn't finite lie outside the cells.
  struct ASIDE {
    std::unordered_set<const MESH_VERTEX*>* vertices;
    std::size_t* outgoing_total;
  } aside{&vertices, &outgoing_total};
  mesh.scan_vertices(
      [](STL_OCTREE_NODE* n, void* data) {
        auto* a = static_cast<ASIDE*>(data);
        const auto* v = dynamic_cast<const MESH_VERTEX*>(n);
        if (v != nullptr && a->vertices->insert(v).second) *a->outgoing_total += v->outgoing_count();
        return SCAN_CONTINUE;
      },
      &aside);
  if (vertices.size() != mesh.get_vertex_count()) {
    report(r, "the grid holds " + std::to_string(vertices.size()) + " vertices, the mesh counts " +
                  std::to_string(mesh.get_vertex_count()));
  }

  // The rings: of the listed polygons, which no region may have claimed,
  // and of the regions' members, which must name their region.
  std::vector<const MESH_POLYGON*> all;
  for (const MESH_POLYGON* p : mesh.get_polygons()) {
    if (p->member_of_region()) report(r, "listed polygon " + name(p) + " is claimed by a region");
    all.push_back(p);
  }
  for (const MESH_REGION* region : mesh.get_regions()) {
    for (const MESH_POLYGON* p : region->get_polygons()) {
      if (p->get_region() != region) {
        report(r, "member " + name(p) + " of region " + name(region) + " names another region");
      }
      all.push_back(p);
    }
  }
  std::unordered_set<const MESH_POLYGON*> polygons;
  std::unordered_set<const MESH_POLYGON_COEDGE*> coedges;
  for (const MESH_POLYGON* p : all) {
    if (!polygons.insert(p).second) {
      report(r, "polygon " + name(p) + " is twice in the mesh");
      continue;
    }
    const MESH_POLYGON_COEDGE* start = p->get_start_coedge();
    if (p->get_polygon_type() == MERGED) {
      if (start != nullptr) report(r, "MERGED polygon " + name(p) + " has coedges");
      continue;
    }
    if (start == nullptr) {
      report(r, "polygon " + name(p) + " has no start coedge");
      continue;
    }
    // A closed ring returns to its start within as many steps as the mesh
    // has coedges in its vertex sets.
    const MESH_POLYGON_COEDGE* c = start;
    std::size_t steps = 0;
    do {
      if (!coedges.insert(c).second) {
        report(r, "coedge " + name(c) + " is in more than one ring or its ring misses the start");
        break;
      }
      if (c->get_owner_polygon() != p) report(r, "coedge " + name(c) + " names another owner");
      const MESH_VERTEX* v = c->get_start_vertex();
      if (v == nullptr || vertices.count(v) == 0) {
        report(r, "coedge " + name(c) + " starts at a vertex the mesh doesn't hold");
      } else if (!v->get_outgoing_coedges().contains(c)) {
        report(r, "coedge " + name(c) + " is missing from its start vertex's set");
      }
      const MESH_POLYGON_COEDGE* next = c->get_next();
      if (next == nullptr) {
        report(r, "coedge " + name(c) + " has no next: open ring");
        break;
      }
      if (next->get_previous() != c) report(r, "coedge " + name(c) + ": next->previous differs");
      c = next;
      if (++steps > outgoing_total) {
        report(r, "ring of polygon " + name(p) + " does not close");
        break;
      }
    } while (c != start);
  }

  // Every member of a vertex set is a ring coedge starting there; with the
  // counts equal, each ring coedge is in exactly one set.
  for (const MESH_VERTEX* v : vertices) {
    for (const MESH_POLYGON_COEDGE* c : v->get_outgoing_coedges()) {
      if (coedges.count(c) == 0) {
        report(r, "vertex " + name(v) + " lists a coedge of no ring");
      } else if (c->get_start_vertex() != v) {
        report(r, "vertex " + name(v) + " lists a coedge that starts elsewhere");
      }
    }
  }
  if (outgoing_total != coedges.size()) {
    report(r, "vertex sets hold " + std::to_string(outgoing_total) + " coedges, rings " +
                  std::to_string(coedges.size()));
  }
  return r;
}
