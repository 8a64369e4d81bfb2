// Meshing a model part into an STL file.

#include "support/part_quality/part_mesh.h"

#include <iterator>
#include <vector>

#include "host/exchange/body_mesh.h"
#include "host/exchange/stl_writer.h"
#include "host/kernel/kernel_errors.h"

namespace part_quality {

PART_MESH write_part_mesh(const BODY& model, const std::filesystem::path& stl) {
  std::vector<double> relatives{kPartMeshRelativeDeflection};
  relatives.insert(relatives.end(), std::begin(kPartMeshFallbackDeflections),
                   std::end(kPartMeshFallbackDeflections));
  std::vector<STL_TRIANGLE> triangles;
  PART_MESH m;
  for (std::size_t i = 0; i < relatives.size(); ++i) {
    triangles.clear();
    try {
      if (!mesh_source_body(model, relatives[i], triangles, &m.deflection)) {
        k2_throw(K2_ERROR::BAD_FACE);
      }
    } catch (const TV_EXCEPTION& e) {
      if (e.info() != k2_error(K2_ERROR::BAD_FACE) || i + 1 == relatives.size()) throw;
      continue;
    }
    m.relative = relatives[i];
    break;
  }
  m.triangles = triangles.size();
  write_binary_stl(stl.string(), triangles, "lumesh part mesh");
  return m;
}

}  // namespace part_quality
