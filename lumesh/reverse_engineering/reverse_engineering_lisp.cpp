// The reverse engineering subsystem's start-up: its keywords, the type symbols
// of facet sets and fitted surfaces, and its units. The facet set and fitting
// functions join with the facet sets.

#include "host/lisp/packages.h"
#include "host/lisp/unit_loader.h"
#include "lumesh/core/module_entry.h"

void reverse_engineering_lisp_initialize() {
  for (const char* k : {"MIN-ANGLE", "MAX-ANGLE", "MODEL-FACE", "MESH-PART", "FORCE-RECOGNITION",
                        "BOUNDARY", "GRADIENT-DESCENT-STEPS", "ENERGY-EVALUATIONS", "ENERGY",
                        "SURFACE", "FITTING-PRECISION", "RESOLUTION"}) {
    make_keyword(k);
  }
  hcl_find_symbol("SUBSHELL", "K2");
  hcl_find_symbol("PLANE", "GEO");
  hcl_find_symbol("CYLINDER", "GEO");
  for (const char* unit : {"lumesh/reverse_engineering/lsp/recognize_faces_dia",
                           "lumesh/reverse_engineering/lsp/delete_recognition_dia",
                           "lumesh/reverse_engineering/lsp/reverse_engineering_doc"}) {
    hcl_load_and_compile_lisp(unit, "lumesh/l", 0, 1);
  }
}
