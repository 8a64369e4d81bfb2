// The geometry support subsystem's start-up: its unit and the symbol of box
// tree handles. The box functions join with the box trees.

#include "host/lisp/packages.h"
#include "host/lisp/unit_loader.h"
#include "lumesh/core/load_module.h"
#include "lumesh/core/module_entry.h"

void mfgeo_intialize() {
  hcl_load_and_compile_lisp("lumesh/geo/lsp/lmx_boxtree", "lumesh/l", 0, 1);
  find_symbol("BOXTREE", sModule.get_main_package());
}
