#include "host/lisp/lisp_runtime.h"

#include <ecl/ecl.h>

#include <unistd.h>

#include <stdexcept>

#include "host/lisp/lisp_text.h"

namespace {

bool g_booted = false;
cl_object g_kept = ECL_NIL;  // a collector root: every object handed to lisp_keep

// The host's own packages and the condition of module errors, defined before
// anything else runs. %EVAL-STRING and %LOAD-FILE read and evaluate with
// *PACKAGE* bound, so an IN-PACKAGE in the text stays inside the call.
const char* const kBootstrap = R"LISP(
(defpackage "K2" (:use "COMMON-LISP"))
(defpackage "GEO" (:use "COMMON-LISP"))
(defpackage "FRAME2" (:use "COMMON-LISP"))
(defpackage "MEI" (:use "COMMON-LISP"))
(defpackage "OLI" (:use "COMMON-LISP"))
(in-package "K2")
;; Output is for people and for scripts: one value on one line, no chatter
;; from LOAD.
(setq *print-pretty* nil *load-verbose* nil *compile-verbose* nil)
(define-condition module-error (simple-error)
  ((module :initarg :module :initform nil :reader module-error-module)
   (key :initarg :key :initform nil :reader module-error-key)))
(defun %package-or-user (name)
  (or (and name (find-package name)) (find-package "COMMON-LISP-USER")))
(defun %eval-string (text package)
  (let ((*package* (%package-or-user package)) (value nil))
    (with-input-from-string (s text)
      (loop for form = (read s nil s)
            until (eq form s)
            do (setq value (eval form))))
    value))
(defvar *module-file* nil
  "Pathname of the module file: what a unit sees as the file being loaded.")
(defun %eval-unit (text)
  (let ((*load-pathname* *module-file*) (*load-truename* *module-file*))
    (%eval-string text nil)))
(defun %load-file (path package)
  (let ((*package* (%package-or-user package)))
    (load path)))
(export '(module-error module-error-module module-error-key))
)LISP";

cl_object symbol(const char* name, const char* package) { return ecl_make_symbol(name, package); }

// The parts of a protected call that may be left by a non-local exit hold no
// C++ object with a destructor; results travel in volatile locals.
cl_object handle_conditions(cl_object function, cl_object arguments, volatile int* state,
                            volatile cl_object* condition) {
  cl_env_ptr env = ecl_process_env();
  volatile cl_object value = ECL_NIL;
  ECL_HANDLER_CASE_BEGIN(env, ecl_list1(symbol("SERIOUS-CONDITION", "CL"))) {
    value = cl_apply(2, function, arguments);
    *state = 0;
  }
  ECL_HANDLER_CASE(1, c) {
    *condition = c;
    *state = 1;
  }
  ECL_HANDLER_CASE_END;
  return value;
}

cl_object call_catching_all(cl_object function, cl_object arguments, volatile int* state,
                            volatile cl_object* condition) {
  cl_env_ptr env = ecl_process_env();
  volatile cl_object value = ECL_NIL;
  *state = 2;
  ECL_CATCH_ALL_BEGIN(env) { value = handle_conditions(function, arguments, state, condition); }
  ECL_CATCH_ALL_IF_CAUGHT { *state = 2; }
  ECL_CATCH_ALL_END;
  return value;
}

// PRINC of a condition, itself protected: a report can fail too.
std::string report(cl_object condition) {
  volatile int state = 0;
  volatile cl_object inner = ECL_NIL;
  cl_object text = call_catching_all(symbol("PRINC-TO-STRING", "CL"), ecl_list1(condition), &state,
                                     &inner);
  if (state != 0) return "(an error whose report failed)";
  return lisp_string_to_utf8(text);
}

}  // namespace

void lisp_boot(int argc, char** argv) {
  if (g_booted) return;
  // The geometry computes with NaN and infinities; Ctrl-C belongs to the
  // host's break status. Memory faults are left to the system (and to the
  // sanitizers in test builds).
  ecl_set_option(ECL_OPT_TRAP_SIGFPE, 0);
  ecl_set_option(ECL_OPT_TRAP_SIGINT, 0);
  ecl_set_option(ECL_OPT_TRAP_SIGSEGV, 0);
  ecl_set_option(ECL_OPT_TRAP_SIGBUS, 0);
  static char name[] = "lumesh";
  static char* default_argv[] = {name, nullptr};
  if (argc <= 0 || argv == nullptr) {
    argc = 1;
    argv = default_argv;
  }
  cl_boot(argc, argv);
  ecl_register_root(&g_kept);
  g_booted = true;
  // The bootstrap defines %EVAL-STRING, so it is read and evaluated by a
  // function made of standard symbols only.
  cl_object reader = cl_eval(c_string_to_object(
      "(lambda (text) (let ((*package* (find-package \"COMMON-LISP-USER\")))"
      " (with-input-from-string (s text)"
      " (loop for form = (read s nil s) until (eq form s) do (eval form)))))"));
  LISP_OUTCOME boot = lisp_apply(reader, ecl_list1(utf8_to_lisp_string(kBootstrap)));
  if (!boot.ok) {
    g_booted = false;
    throw std::runtime_error("the Lisp runtime did not start: " + boot.error);
  }
  // Units see the program as the file being loaded, so the module finds its
  // installation next to the program.
  char exe[4096];
  const ssize_t n = readlink("/proc/self/exe", exe, sizeof(exe) - 1);
  if (n > 0) set_module_file(std::string(exe, static_cast<std::size_t>(n)));
}

bool lisp_booted() { return g_booted; }

LAOBJ* lisp_nil() { return ECL_NIL; }
LAOBJ* lisp_t() { return ECL_T; }

LISP_OUTCOME lisp_apply(LAOBJ* function, LAOBJ* arguments) {
  volatile int state = 0;
  volatile cl_object condition = ECL_NIL;
  cl_object value = call_catching_all(function, arguments, &state, &condition);
  LISP_OUTCOME out;
  if (state == 0) {
    out.ok = true;
    out.value = value;
  } else if (state == 1) {
    out.error = report(condition);
    out.condition_type = lisp_string_to_utf8(cl_princ_to_string(cl_type_of(condition)));
  } else {
    out.error = "a non-local exit left the call";
    out.condition_type = "CONTROL-ERROR";
  }
  return out;
}

LISP_OUTCOME lisp_eval_string(const std::string& text, const char* package) {
  cl_object args = cl_list(2, utf8_to_lisp_string(text),
                           package != nullptr ? utf8_to_lisp_string(package) : ECL_NIL);
  return lisp_apply(symbol("%EVAL-STRING", "K2"), args);
}

LISP_OUTCOME lisp_eval_unit(const std::string& text) {
  return lisp_apply(symbol("%EVAL-UNIT", "K2"), ecl_list1(utf8_to_lisp_string(text)));
}

void set_module_file(const std::string& path) {
  cl_object file = path.empty() ? ECL_NIL : cl_pathname(utf8_to_lisp_string(path));
  cl_set(symbol("*MODULE-FILE*", "K2"), file);
}

LISP_OUTCOME lisp_load_file(const std::string& path, const char* package) {
  cl_object args = cl_list(2, utf8_to_lisp_string(path),
                           package != nullptr ? utf8_to_lisp_string(package) : ECL_NIL);
  return lisp_apply(symbol("%LOAD-FILE", "K2"), args);
}

std::string lisp_prin1(LAOBJ* x) {
  LISP_OUTCOME o = lisp_apply(symbol("PRIN1-TO-STRING", "CL"), ecl_list1(x));
  return o.ok ? lisp_string_to_utf8(o.value) : "#<unprintable object>";
}

std::string lisp_princ(LAOBJ* x) {
  LISP_OUTCOME o = lisp_apply(symbol("PRINC-TO-STRING", "CL"), ecl_list1(x));
  return o.ok ? lisp_string_to_utf8(o.value) : "#<unprintable object>";
}

LAOBJ* lisp_keep(LAOBJ* x) {
  g_kept = ecl_cons(x, g_kept);
  return x;
}
