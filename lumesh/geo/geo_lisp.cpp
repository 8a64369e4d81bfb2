// The geometry support subsystem's start-up: its unit with the BOXTREE
// handle structure, then the box tree, box and viewport functions.

#include "lumesh/geo/geo_lisp.h"

#include "host/lisp/packages.h"
#include "host/lisp/unit_loader.h"
#include "lumesh/core/load_module.h"
#include "lumesh/core/module_entry.h"

void mfgeo_intialize() {
  hcl_load_and_compile_lisp("lumesh/geo/lsp/lmx_boxtree", "lumesh/l", 0, 1);
  find_symbol("BOXTREE", sModule.get_main_package());
  LAOBJ* package = sModule.get_main_package();
  register_boxtree_functions(package);
  register_box_functions(package);
}
