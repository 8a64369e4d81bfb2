// The data exchange subsystem's start-up: its package, keywords and units.
// WRITE-3MF-DATA joins with the 3MF writer.

#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/lisp/unit_loader.h"
#include "lumesh/core/module_entry.h"
#include "lumesh/data_exchange/read_manufacturing_data.h"

void mf_data_import_initialize() {
  for (const char* k : {"TM", "TARGET", "ID", "COMPONENTS", "NAME", "TYPE", "STL", "3MF",
                        "RESOLUTION", "SURFACE-RECONSTRUCTION", "PLANES", "CYLINDERS",
                        "FACECOUNT-LIMIT", "COLOR", "TRANSPARENCY", "META-DATA", "VALUE", "BODY",
                        "FACET-COUNT", "FACE-COUNT", "REPAIRED-FACET-COUNT",
                        "DEGENERATE-FACET-COUNT", "PROGRESS"}) {
    make_keyword(k);
  }
  register_read_manufacturing_data();
}

void mf_data_export_initialize() {
  for (const char* k : {"ID", "NAME", "COMPONENTS", "MESH", "BUILD", "METADATA", "RESOURCE-OBJECTS"}) {
    make_keyword(k);
  }
}

void mf_data_exchange_initialize() {
  make_package(make_string("LUMESH.DATA-EXCHANGE"), make_list({make_string("LMX.X")}),
               hcl_default_uselist(), 0, 0, 0);
  mf_data_import_initialize();
  mf_data_export_initialize();
  for (const char* unit : {"lumesh/data_exchange/lsp/mf_feature",
                           "lumesh/data_exchange/lsp/assembly_builder",
                           "lumesh/data_exchange/lsp/3mf_model_builder",
                           "lumesh/data_exchange/lsp/load_mf_data_dia",
                           "lumesh/data_exchange/lsp/save_mf_data_dia"}) {
    hcl_load_and_compile_lisp(unit, "lumesh/l", 0, 1);
  }
}
