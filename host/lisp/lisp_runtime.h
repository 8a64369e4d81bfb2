#pragma once
// The host's Lisp runtime: boot, evaluation of text, protected calls from C++
// into Lisp, and the handful of objects everybody needs (NIL, T).

#include <optional>
#include <string>

#include "host/lisp/laobj.h"

// Starts the runtime once; later calls do nothing. Floating-point traps stay
// off (the geometry relies on NaN and infinities), and SIGINT is left to the
// host's break handling. Defines the host's own packages and conditions.
void lisp_boot(int argc, char** argv);
bool lisp_booted();

LAOBJ* lisp_nil();
LAOBJ* lisp_t();
inline bool lisp_null(LAOBJ* x) { return x == lisp_nil(); }

// The outcome of running Lisp from C++: a value, or the text of the condition
// (or non-local exit) that ended it. The run never unwinds through C++ frames.
struct LISP_OUTCOME {
  LAOBJ* value = nullptr;      // the primary value on success
  bool ok = false;
  std::string error;           // the condition's report when !ok
  std::string condition_type;  // its type name, e.g. "SIMPLE-ERROR"
};

// Reads every form of `text` and evaluates them in order, with *PACKAGE*
// bound to `package` (a package name); the value is that of the last form.
LISP_OUTCOME lisp_eval_string(const std::string& text, const char* package = "LUMESH");
// Calls a Lisp function with the given arguments (a list).
LISP_OUTCOME lisp_apply(LAOBJ* function, LAOBJ* arguments);
// Evaluates the text of a logic unit: as lisp_eval_string from COMMON-LISP-USER,
// with *LOAD-TRUENAME* bound to the module file.
LISP_OUTCOME lisp_eval_unit(const std::string& text);
// Sets what units see as the module file (by default the running program).
void set_module_file(const std::string& path);
// Loads a Lisp source file.
LISP_OUTCOME lisp_load_file(const std::string& path, const char* package = "LUMESH");

// The printed representations (PRIN1 and PRINC) of an object, as UTF-8.
std::string lisp_prin1(LAOBJ* x);
std::string lisp_princ(LAOBJ* x);

// Keeps an object alive for the rest of the run (a root for the collector).
LAOBJ* lisp_keep(LAOBJ* x);
