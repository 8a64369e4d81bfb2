// The start-up of the module. The order of the steps is part of the module's
// contract: the customization files are read by the unit lmx (step 9), after
// the settings and reverse engineering units exist and before data exchange
// and mesh analysis do, so a customization can set every setting but cannot
// call into those subsystems.

#include "lumesh/core/module_entry.h"

#include "host/lisp/lisp_runtime.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/lisp/unit_loader.h"
#include "lumesh/core/load_module.h"

namespace {

std::int32_t g_load_counter = 0;
LAOBJ* g_progress_symbol = nullptr;   // a symbol: interned, lives for the run
LAOBJ* g_progress_keyword = nullptr;  // a keyword: likewise

void load_unit(const char* path) { hcl_load_and_compile_lisp(path, "lumesh/l", 0, 1); }

}  // namespace

std::int32_t lumesh_load_counter() { return g_load_counter; }
LAOBJ* progress_symbol() { return g_progress_symbol; }
LAOBJ* progress_keyword() { return g_progress_keyword; }

extern "C" void init_load_init() {
  if (g_load_counter != 0) {
    ++g_load_counter;
    return;
  }
  LAOBJ* package = make_package(make_string("LUMESH"), make_list({make_string("LMX")}),
                                hcl_default_uselist(), 0, 0, 0);
  core_initialize(package);
  load_unit("lumesh/lsp/lmx_config");
  load_unit("lumesh/lsp/lmx_features");
  load_unit("lumesh/lsp/dialogs/lmx_settings_dia");
  g_progress_symbol = hcl_find_symbol("PROGRESS", "FRAME2");
  g_progress_keyword = make_keyword("PROGRESS");
  mfgeo_intialize();
  reverse_engineering_lisp_initialize();
  load_unit("lumesh/lsp/lmx");
  mf_data_exchange_initialize();
  mesh_analysis_lisp_initialize();
  ++g_load_counter;
}

extern "C" void load_customization() {
  bool found = false;
  LAOBJ* sym = find_symbol("LOAD-MODULE-CUSTOMIZATION", sModule.get_main_package(), &found);
  if (!found) return;
  LISP_OUTCOME o = lisp_apply(sym, make_list({lisp_t()}));
  (void)o;  // the function reports its own problems
}

void core_initialize(LAOBJ* package) {
  sModule.set_main_package(package);
  tv_doc_initialize();
  config_initialize();
  load_unit("lumesh/core/lsp/lmx_core");
}

void tv_doc_initialize() {
  if (!lisp_null(find_package("TV-DOC-TOOLS"))) return;
  make_package("TV-DOC-TOOLS", "TVDT");
  load_unit("lumesh/core/lsp/lmx_doctools");
}
