// The import's last step: recognition at the right resolution, then the body.

#include "lumesh/reverse_engineering/body_factory.h"

#include <cmath>
#include <forward_list>

#include "host/base/mod_info.h"
#include "host/kernel/topology/attrib.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"
#include "host/kernel/topology/shell.h"
#include "host/ui/progress.h"
#include "lumesh/core/load_module.h"
#include "lumesh/core/resource_id.h"
#include "lumesh/mesh/mesh_resolution.h"
#include "lumesh/mesh/vertex_clusters.h"

namespace {

// The resolution with which a forced recognition runs when none was given.
constexpr double kEnforcedResolution = 0.001;

// Face scan: stops at the first coedge without a partner of its own.
SCAN_CNTRL find_open_boundary(FACE* face, void* found) {
  for (LOOP* loop = face->loop(); loop != nullptr; loop = loop->next()) {
    COEDGE* first = loop->start();
    COEDGE* c = first;
    while (c != nullptr) {
      if (c->partner() == nullptr || c->partner() == c) {
        *static_cast<bool*>(found) = true;
        return SCAN_STOP;
      }
      c = c->next();
      if (c == first) break;
    }
  }
  return SCAN_CONTINUE;
}

}  // namespace

bool has_open_boundary(const BODY* body) {
  bool found = false;
  body->scan_faces(&find_open_boundary, &found);
  return found;
}

BODY_FACTORY::BODY_FACTORY(PROGRESS* progress, int ticks)
    : progress_(progress), ticks_per_body_(ticks) {}

BODY* BODY_FACTORY::make_body(MESH& mesh, double res, std::uint64_t limit,
                              MESH::SURFACE_RECONSTRUCTION& options, std::uint64_t& face_count) {
  const GLOBAL_RESOLUTION_SCOPE restore;
  resolution& global = get_k2_geores();

  if (options != MESH::NONE) options = static_cast<MESH::SURFACE_RECONSTRUCTION>(options | MESH::PLANES);
  if (limit <= mesh.get_polygon_count()) {
    options = static_cast<MESH::SURFACE_RECONSTRUCTION>(options | MESH::PLANES);
    if (std::isnan(res)) res = kEnforcedResolution;
  }
  if (options != MESH::NONE) {
    if (std::isnan(res)) res = estimate_mesh_resolution(mesh).resolution;
    global.set_resolution(res, 2);
  }

  const std::uint64_t mesh_polygons = mesh.get_polygon_count();
  BODY* body = nullptr;
  try {
    join_brep_vertices(mesh, global);
    mesh.recognize_surfaces(options, global, progress_);
    std::forward_list<SHELL*> shells;
    make_outer_shells(mesh, global, shells);
    for (SHELL* shell : shells) {
      if (body == nullptr) {
        body = new BODY(shell, global.resabs());
      } else {
        body->add_shell(shell);
      }
    }
    face_count = 0;
    bool open = false;
    for (SHELL* shell : body->shells()) {
      face_count += static_cast<std::uint64_t>(shell->number_of_faces());
      if (!open) shell->scan_faces(&find_open_boundary, &open);
    }
    if (open) body->add_attribute(std::make_shared<FACE_PART_ATT>());
    // At a resolution coarser than the mesh every edge shrinks to a point
    // and no face stands: a body without faces would lose the whole mesh
    // without a word, so it is an error instead.
    if (face_count == 0 && mesh_polygons > 0) {
      body->lose();
      body = nullptr;
      sModule.get_error_info(MSG_NO_FACES_BUILT)->throw_error();
    }
  } catch (const TV_EXCEPTION& e) {
    throw TV_EXCEPTION(e.info());
  } catch (...) {
    sModule.get_error_info(MSK_UNKNOWN_ERROR)->throw_error();
  }
  if (progress_ != nullptr) progress_->add_ticks(ticks_per_body_);
  return body;
}
