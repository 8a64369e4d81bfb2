// config_initialize and the manifest function.

#include "host/lisp/lisp_error.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/native_function.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/lisp/unit_loader.h"
#include "lumesh/core/load_module.h"
#include "lumesh/core/module_entry.h"

namespace {

LAOBJ* get_module_manifest(NATIVE_CALL& call) {
  call.check_count(0, 0);
  // Built last pair first, so that :MODULE-NAME comes first.
  LAOBJ* plist = lisp_nil();
  plist = make_cons(make_string(lumesh_copyright()), plist);
  plist = make_cons(make_keyword("COPYRIGHT"), plist);
  plist = make_cons(make_string(lumesh_build_date()), plist);
  plist = make_cons(make_keyword("BUILD-DATE"), plist);
  plist = make_cons(make_string(lumesh_version()), plist);
  plist = make_cons(make_keyword("VERSION"), plist);
  plist = make_cons(make_string("lumesh"), plist);
  plist = make_cons(make_keyword("MODULE-NAME"), plist);
  return plist;
}

MOD_INFO* unknown_error() { return sModule.get_error_info(MSK_UNKNOWN_ERROR); }

}  // namespace

void config_initialize() {
  for (const char* k : {"VERSION", "BUILD-DATE", "COPYRIGHT", "MODULE-NAME"}) make_keyword(k);
  LAOBJ* package = sModule.get_main_package();
  make_package_function("GET-MODULE-MANIFEST", &get_module_manifest, &package, 2, &unknown_error);
  resources_initialize();
  hcl_load_and_compile_lisp("lumesh/core/lsp/lmx_core_config", "lumesh/l", 0, 1);
}
