// Facet files to meshes: the read, weld and repair path, and the stitch of
// cut corners.

#include "lumesh/reverse_engineering/mesh_builder.h"

#include <algorithm>
#include <string>
#include <vector>

#include "lumesh/core/load_module.h"
#include "lumesh/core/resource_id.h"
#include "lumesh/data_exchange/facet_reader.h"
#include "lumesh/data_exchange/stl_reader.h"
#include "lumesh/mesh/mesh.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"
#include "lumesh/mesh/mesh_vertex.h"

MESH_BUILDER::MESH_BUILDER(double res) : import_resolution_(1e-6, -1.0) {
  import_resolution_.set_resolution(res, 0);
}

void MESH_BUILDER::import_stl(const wchar_t* path, std::list<std::unique_ptr<MESH>>& meshes,
                              PROGRESS* progress) {
  std::unique_ptr<FACET_READER> reader(
      STL_READER::make_stl_reader(std::wstring(path != nullptr ? path : L""), progress));
  if (reader == nullptr) sModule.get_error_info(MSG_CANNOT_OPEN_FILE)->throw_error();
  for (std::unique_ptr<MESH> mesh = make_mesh(*reader); mesh != nullptr; mesh = make_mesh(*reader)) {
    mesh->optimize(import_resolution_);
    meshes.push_front(std::move(mesh));
  }
}

std::unique_ptr<MESH> MESH_BUILDER::make_mesh(FACET_READER& reader) {
  auto mesh = std::make_unique<MESH>(import_resolution_);
  // A truncated binary file owes zero facets up to its stated count, which
  // may be billions: they are counted, not built.
  TRIANGLULAR_FACET facet;
  for (;;) {
    mesh->add_collapsed_facets(reader.skip_facets_past_end());
    if (!reader.read_facet(facet)) break;
    // A corner at NaN or infinity has no place to weld to; the facet is
    // dropped and counted, as a degenerate one would be.
    if (!facet.vertex1.is_finite() || !facet.vertex2.is_finite() || !facet.vertex3.is_finite()) {
      mesh->add_unusable_facet();
      continue;
    }
    mesh->add_triangle(facet.vertex1, facet.vertex2, facet.vertex3, facet.normal.uvec3());
  }
  if (mesh->get_polygon_count() == 0) return nullptr;
  return mesh;
}

namespace {

// The open coedges at a vertex: those leaving it and those arriving at it
// that have no neighbour of either alignment, in the order of the vertex's
// set.
void collect_open_coedges(const MESH_VERTEX& v, std::vector<MESH_POLYGON_COEDGE*>& outgoing,
                          std::vector<MESH_POLYGON_COEDGE*>& incoming) {
  MESH_COEDGE_LIST partners;
  auto open = [&partners](const MESH_POLYGON_COEDGE* c) {
    partners.clear();
    c->get_partner_coedges(partners, MESH_POLYGON_COEDGE::ANY_ALIGNMENT);
    return partners.empty();
  };
  for (MESH_POLYGON_COEDGE* c : v.get_outgoing_coedges()) {
    if (open(c)) outgoing.push_back(c);
    if (open(c->get_previous())) incoming.push_back(c->get_previous());
  }
}

}  // namespace

SCAN_CNTRL MESH_BUILDER::stitch_cut_corner(STL_OCTREE_NODE* node, void* data) {
  auto* builder = static_cast<MESH_BUILDER*>(data);
  const double tol = builder->import_resolution_.resabs();
  // A stitch carries the repair on at the vertex it inserted, before the
  // vertex that made it looks at its next coedge: depth first along the
  // seam. The frames of that walk live on this stack, not the call stack.
  struct FRAME {
    std::vector<MESH_POLYGON_COEDGE*> outgoing;  // taken from the front
    std::vector<MESH_POLYGON_COEDGE*> incoming;  // loses what was stitched
    std::size_t next_outgoing = 0;
  };
  std::vector<FRAME> frames(1);
  collect_open_coedges(*static_cast<MESH_VERTEX*>(node), frames.back().outgoing,
                       frames.back().incoming);
  while (!frames.empty()) {
    FRAME& f = frames.back();
    if (f.next_outgoing >= f.outgoing.size() || f.incoming.empty()) {
      frames.pop_back();
      continue;
    }
    MESH_POLYGON_COEDGE* a = f.outgoing[f.next_outgoing++];
    MESH_VERTEX* e = a->get_end_vertex();
    MESH_VERTEX* stitched = nullptr;
    for (auto it = f.incoming.begin(); it != f.incoming.end(); ++it) {
      MESH_POLYGON_COEDGE* b = *it;
      MESH_VERTEX* v = b->get_start_vertex();
      double t = 0.0, dist = 0.0;
      a->relax(*v, t, dist);
      if (!resolution::zero(dist, tol)) continue;
      if (t > 0.0 && 1.0 > t) {
        // v lies inside a.
        f.incoming.erase(it);
        a->insert_after(*v);
        stitched = v;
      } else if (t > 1.0) {
        // e lies inside b.
        f.incoming.erase(it);
        b->insert_after(*e);
        stitched = e;
      } else {
        continue;
      }
      ++builder->repaired_count_;
      break;
    }
    if (stitched != nullptr) {
      FRAME inner;
      collect_open_coedges(*stitched, inner.outgoing, inner.incoming);
      frames.push_back(std::move(inner));  // f is not used after this
    }
  }
  return SCAN_CONTINUE;
}
