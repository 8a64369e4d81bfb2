#pragma once
// Logic units: Lisp source files of the module and the host, addressed by a
// path ("lumesh/core/lsp/lmx_core"). Their texts are embedded in the program
// at build time; the table maps each path to its initialisation function,
// which evaluates the text form by form (a unit begins with IN-PACKAGE).

#include <cstddef>
#include <string>
#include <vector>

#include "host/lisp/laobj.h"

using UNIT_INITIALIZE = void (*)(const char* text, std::size_t length, LAOBJ* unit);

struct LISP_UNIT {
  const char* path;            // "lumesh/core/lsp/lmx_core"
  const char* function_name;   // "lmx_core_initialize"
  const char* text;
  std::size_t length;
  UNIT_INITIALIZE initialize;
};

// Enters a unit in the table (the generated table does this at start-up).
void register_lisp_unit(const LISP_UNIT& unit);
const LISP_UNIT* find_lisp_unit(const std::string& path);
std::vector<std::string> lisp_unit_paths();

// Brings in the unit named by `path`: runs its initialisation function. The
// tree name and the two flags are kept for the call's form. Throws
// std::runtime_error with the unit's path and the condition's text when the
// unit is unknown or one of its forms fails; what the unit did before the
// failing form stays.
void hcl_load_and_compile_lisp(const char* path, const char* tree, int, int);

// The initialisation every embedded unit uses: evaluate all forms of the text.
void evaluate_unit_text(const char* text, std::size_t length, LAOBJ* unit);
// Enters the units embedded in the program (generated at build time).
void register_embedded_units();
// Units loaded so far, in order.
const std::vector<std::string>& loaded_lisp_units();
