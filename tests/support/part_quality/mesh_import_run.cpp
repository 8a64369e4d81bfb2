// Running one import and timing it.

#include "support/part_quality/mesh_import_run.h"

#include <chrono>
#include <list>
#include <memory>

#include "host/base/mod_info.h"
#include "host/geometry/resolution.h"
#include "host/kernel/topology/body.h"
#include "lumesh/mesh/mesh.h"
#include "lumesh/reverse_engineering/body_factory.h"
#include "lumesh/reverse_engineering/mesh_builder.h"

namespace part_quality {

std::string exception_text(const std::exception& e) {
  if (const auto* tv = dynamic_cast<const TV_EXCEPTION*>(&e);
      tv != nullptr && tv->info() != nullptr) {
    return tv->info()->key() + " " + tv->info()->message();
  }
  return e.what();
}

MESH_IMPORT import_part_mesh(const std::filesystem::path& stl, double precision) {
  const GLOBAL_RESOLUTION_SCOPE keep;
  MESH_IMPORT out;
  const auto start = std::chrono::steady_clock::now();
  try {
    MESH_BUILDER builder(resolution::_min_resabs);
    std::list<std::unique_ptr<MESH>> meshes;
    builder.import_stl(stl.wstring().c_str(), meshes, nullptr);
    out.meshes = meshes.size();
    if (!meshes.empty()) {
      // The builder puts the file's last solid first.
      MESH& mesh = *meshes.back();
      out.facets = mesh.get_polygon_count();
      BODY_FACTORY factory(nullptr, 100);
      auto options = static_cast<MESH::SURFACE_RECONSTRUCTION>(MESH::PLANES | MESH::CYLINDERS);
      out.body = factory.make_body(mesh, precision, kFaceCountLimit, options, out.faces);
      out.precision = out.body->resabs();
    } else {
      out.error = "the file holds no facets";
    }
  } catch (const std::exception& e) {
    out.error = exception_text(e);
  } catch (...) {
    out.error = "an exception of unknown type";
  }
  out.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return out;
}

}  // namespace part_quality
