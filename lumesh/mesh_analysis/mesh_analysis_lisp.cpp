// The mesh analysis subsystem's start-up: the keywords of the deviation
// result and its units. MEASURE-MESH-DEVIATION joins with the measurement.

#include "host/lisp/packages.h"
#include "host/lisp/unit_loader.h"
#include "lumesh/core/module_entry.h"

void mesh_analysis_lisp_initialize() {
  for (const char* k : {"MESH-PART", "ORPHANED-MESH-FACETS", "ORPHANED-MESH-FACET-COUNT",
                        "ORPHANED-MODEL-FACES", "ORPHANED-MODEL-FACE-COUNT", "MODEL-FACE",
                        "ERROR-MESH-FACETS", "WARNING-MESH-FACETS", "WARNING-MESH-FACET-COUNT",
                        "ERROR-MESH-FACET-COUNT", "WARNING-THRESHOLD", "ERROR-THRESHOLD",
                        "MEASUREMENTS"}) {
    make_keyword(k);
  }
  for (const char* unit : {"lumesh/mesh_analysis/lsp/mf_study_feature",
                           "lumesh/mesh_analysis/lsp/mf_measurement_feature",
                           "lumesh/mesh_analysis/lsp/mf_quality_study",
                           "lumesh/mesh_analysis/lsp/mf_measurement_browser",
                           "lumesh/mesh_analysis/lsp/measure_mesh_quality_dia",
                           "lumesh/mesh_analysis/lsp/mf_focus_region_dia"}) {
    hcl_load_and_compile_lisp(unit, "lumesh/l", 0, 1);
  }
}
