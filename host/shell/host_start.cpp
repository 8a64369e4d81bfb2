#include "host/shell/host_start.h"

#include <stdexcept>

#include "host/lisp/lisp_runtime.h"
#include "host/lisp/unit_loader.h"
#include "host/shell/browser_bindings.h"
#include "host/shell/document_bindings.h"
#include "host/shell/feature_bindings.h"
#include "host/shell/kernel_bindings.h"
#include "host/shell/kernel_ops_bindings.h"
#include "host/shell/model_bindings.h"
#include "host/shell/model_file_bindings.h"
#include "host/shell/step_bindings.h"
#include "host/shell/table_bindings.h"
#include "host/shell/ui_bindings.h"
#include "host/shell/viewport_bindings.h"
#include "host/ui/break_status.h"

namespace {
bool g_started = false;
}

void host_start(int argc, char** argv) {
  if (g_started) return;
  lisp_boot(argc, argv);
  register_embedded_units();
  for (const std::string& path : lisp_unit_paths()) {
    if (path.rfind("host/lsp/", 0) == 0) hcl_load_and_compile_lisp(path.c_str(), "host/l", 0, 1);
  }
  register_ui_bindings();
  register_kernel_bindings();
  register_kernel_ops_bindings();
  register_model_bindings();
  register_feature_bindings();
  register_step_bindings();
  register_document_bindings();
  register_model_file_bindings();
  register_viewport_bindings();
  register_table_bindings();
  register_browser_bindings();
  // Ctrl-C asks long operations to break off instead of ending the program.
  install_break_handler();
  g_started = true;
}

std::string host_load_module(MODULE_ENTRY entry) {
  if (entry == nullptr) return "no module entry was given";
  try {
    entry();
  } catch (const std::exception& e) {
    return e.what();
  }
  return "";
}
