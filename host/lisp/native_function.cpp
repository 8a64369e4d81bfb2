#include "host/lisp/native_function.h"

#include <ecl/ecl.h>

#include <deque>
#include <string>

#include "host/base/mod_info.h"
#include "host/lisp/lisp_error.h"
#include "host/lisp/lisp_text.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"

namespace {

struct ENTRY {
  std::string name;
  NATIVE_FUNCTION function;
  FOREIGN_EXCEPTION_INFO foreign;
};

// A deque: entries never move, so a running call may register more functions.
std::deque<ENTRY>& table() {
  static std::deque<ENTRY>* t = new std::deque<ENTRY>();
  return *t;
}

enum OUTCOME_KIND { RETURNED, SIMPLE_ERROR, TYPE_ERROR, COUNT_ERROR, MODULE_ERROR };

// What the C++ side hands back to the trampoline: Lisp objects only, no
// object with a destructor, so the trampoline can raise from a plain frame.
struct BORDER_OUTCOME {
  cl_object value;
  OUTCOME_KIND kind;
  cl_object a;  // format string, expected type, function name, message
  cl_object b;  // format arguments, datum, -, module name
  cl_object c;  // -, -, -, key
};

BORDER_OUTCOME module_outcome(MOD_INFO* info, const std::string& message) {
  return {ECL_NIL, MODULE_ERROR, utf8_to_lisp_string(message),
          utf8_to_lisp_string(info != nullptr ? info->module() : ""),
          utf8_to_lisp_string(info != nullptr ? info->key() : "")};
}

BORDER_OUTCOME from_lisp_error(const LISP_ERROR& e) {
  switch (e.kind()) {
    case LISP_ERROR::SIMPLE:
      return {ECL_NIL, SIMPLE_ERROR, utf8_to_lisp_string(e.what()), make_list(e.objects), ECL_NIL};
    case LISP_ERROR::WRONG_TYPE: {
      // "KEYWORD" names a standard type; "K2:GPNT3D" one of the host's.
      const std::size_t colon = e.expected.find(':');
      cl_object type = colon == std::string::npos
                           ? ecl_make_symbol(e.expected.c_str(), "CL")
                           : ecl_make_symbol(e.expected.substr(colon + 1).c_str(),
                                             e.expected.substr(0, colon).c_str());
      return {ECL_NIL, TYPE_ERROR, type, e.objects.empty() ? ECL_NIL : e.objects.front(), ECL_NIL};
    }
    case LISP_ERROR::ARGUMENT_COUNT:
      return {ECL_NIL, COUNT_ERROR, utf8_to_lisp_string(e.function), ECL_NIL, ECL_NIL};
    case LISP_ERROR::MODULE:
      return module_outcome(e.info, e.what());
  }
  return {ECL_NIL, SIMPLE_ERROR, utf8_to_lisp_string(e.what()), ECL_NIL, ECL_NIL};
}

BORDER_OUTCOME foreign_outcome(const ENTRY& entry, const char* what) {
  if (entry.foreign != nullptr) {
    MOD_INFO* info = entry.foreign();
    return module_outcome(info, info != nullptr ? info->message() : std::string(what));
  }
  return {ECL_NIL, SIMPLE_ERROR, utf8_to_lisp_string(std::string("~A")),
          ecl_list1(utf8_to_lisp_string(what)), ECL_NIL};
}

BORDER_OUTCOME run_native(std::size_t index, cl_narg narg, ecl_va_list args) noexcept {
  const ENTRY& entry = table()[index];
  try {
    std::vector<cl_object> argv(static_cast<std::size_t>(narg));
    for (cl_narg i = 0; i < narg; ++i) argv[static_cast<std::size_t>(i)] = ecl_va_arg(args);
    NATIVE_CALL call(entry.name.c_str(), static_cast<int>(narg), argv.data());
    return {entry.function(call), RETURNED, ECL_NIL, ECL_NIL, ECL_NIL};
  } catch (const LISP_ERROR& e) {
    return from_lisp_error(e);
  } catch (const TV_EXCEPTION& e) {
    return module_outcome(e.info(), e.what());
  } catch (const std::exception& e) {
    return foreign_outcome(entry, e.what());
  } catch (...) {
    return foreign_outcome(entry, "unknown exception");
  }
}

[[noreturn]] void raise(const BORDER_OUTCOME& o) {
  switch (o.kind) {
    case TYPE_ERROR:
      FEwrong_type_argument(o.a, o.b);
    case COUNT_ERROR:
      FEwrong_num_arguments(cl_intern(1, o.a));
    case MODULE_ERROR:
      cl_error(9, ecl_make_symbol("MODULE-ERROR", "K2"), ecl_make_keyword("FORMAT-CONTROL"),
               utf8_to_lisp_string("~A"), ecl_make_keyword("FORMAT-ARGUMENTS"), ecl_list1(o.a),
               ecl_make_keyword("MODULE"), o.b, ecl_make_keyword("KEY"), o.c);
    default:
      cl_error(5, ecl_make_symbol("SIMPLE-ERROR", "CL"), ecl_make_keyword("FORMAT-CONTROL"), o.a,
               ecl_make_keyword("FORMAT-ARGUMENTS"), o.b);
  }
  FEerror("unreachable", 0);
}

// The one C entry of every native function: the closure's environment is the
// index of its entry. No C++ object with a destructor lives in this frame.
cl_object native_trampoline(cl_narg narg, ...) {
  cl_env_ptr env = ecl_process_env();
  const auto index = static_cast<std::size_t>(ecl_fixnum(env->function->cclosure.env));
  ecl_va_list args;
  ecl_va_start(args, narg, narg, 0);
  const BORDER_OUTCOME outcome = run_native(index, narg, args);
  ecl_va_end(args);
  if (outcome.kind != RETURNED) raise(outcome);
  ecl_return1(env, outcome.value);
}

}  // namespace

void NATIVE_CALL::check_count(int min, int max) const {
  if (narg_ < min || narg_ > max) check_arg_failed(name_, narg_);
}

void NATIVE_CALL::parse_keys(int first, std::initializer_list<LAOBJ*> allowed) {
  keys_.clear();
  if (first > narg_) return;
  if ((narg_ - first) % 2 != 0) {
    hcl_error("Odd number of keyword arguments to ~A.", {make_string(name_)});
  }
  for (int i = first; i + 1 < narg_; i += 2) {
    LAOBJ* k = args_[i];
    check_type_keyword(k);
    bool ok = false;
    for (LAOBJ* a : allowed) ok = ok || a == k;
    if (!ok) hcl_error("Unknown keyword ~S in a call of ~A.", {k, make_string(name_)});
    if (!has_key(k)) keys_.emplace_back(k, args_[i + 1]);
  }
}

LAOBJ* NATIVE_CALL::key(LAOBJ* k, LAOBJ* fallback) const {
  for (const auto& [name, value] : keys_) {
    if (name == k) return value;
  }
  return fallback;
}

bool NATIVE_CALL::has_key(LAOBJ* k) const {
  for (const auto& kv : keys_) {
    if (kv.first == k) return true;
  }
  return false;
}

LAOBJ* make_package_function(const char* name, NATIVE_FUNCTION fn, LAOBJ** package, int kind,
                             FOREIGN_EXCEPTION_INFO foreign) {
  const std::size_t index = table().size();
  table().push_back({name, fn, foreign});
  cl_object sym = intern_symbol(name, *package, kind == 2);
  cl_object closure = ecl_make_cclosure_va(reinterpret_cast<cl_objectfn>(native_trampoline),
                                           ecl_make_fixnum(static_cast<cl_fixnum>(index)), ECL_NIL, 0);
  si_fset(2, sym, closure);
  return sym;
}

std::size_t native_function_count() { return table().size(); }
