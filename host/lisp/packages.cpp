#include "host/lisp/packages.h"

#include <ecl/ecl.h>

#include <algorithm>
#include <cctype>

#include "host/lisp/lisp_error.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/lisp_text.h"

namespace {
cl_object name_string(const char* name) { return utf8_to_lisp_string(name); }
}  // namespace

LAOBJ* hcl_default_uselist() {
  // The host's user-interface services are external symbols of FRAME2, so
  // module code calls them without a prefix.
  return cl_list(2, ecl_find_package("COMMON-LISP"), ecl_find_package("FRAME2"));
}

LAOBJ* make_package(LAOBJ* name, LAOBJ* nicknames, LAOBJ* use_list, int, int, int) {
  // Through MAKE-PACKAGE, protected: a name clash is a Lisp error, reported
  // here as one instead of unwinding the caller.
  cl_object existing = cl_find_package(name);
  if (existing != ECL_NIL) return existing;
  cl_object args = cl_list(5, name, ecl_make_keyword("NICKNAMES"), nicknames,
                           ecl_make_keyword("USE"), use_list);
  LISP_OUTCOME o = lisp_apply(ecl_make_symbol("MAKE-PACKAGE", "CL"), args);
  if (!o.ok) hcl_error(("cannot make package: " + o.error).c_str());
  return o.value;
}

LAOBJ* make_package(const char* name, const char* nickname) {
  cl_object nicks = nickname != nullptr ? ecl_list1(name_string(nickname)) : ECL_NIL;
  return make_package(name_string(name), nicks, hcl_default_uselist(), 0, 0, 0);
}

LAOBJ* find_package(const char* name) { return cl_find_package(name_string(name)); }

LAOBJ* find_symbol(const char* name, LAOBJ* package, bool* found) {
  if (package == ECL_NIL || Null(cl_packagep(package))) {
    if (found != nullptr) *found = false;
    return ECL_NIL;
  }
  int flag = 0;
  cl_object s = ecl_find_symbol(name_string(name), package, &flag);
  if (found != nullptr) *found = flag != 0;
  return flag != 0 ? s : ECL_NIL;
}

LAOBJ* hcl_find_symbol(const char* name, const char* package_name, bool* found) {
  return find_symbol(name, find_package(package_name), found);
}

LAOBJ* intern_symbol(const char* name, LAOBJ* package, bool external) {
  int flag = 0;
  cl_object s = ecl_intern(name_string(name), package, &flag);
  if (external) cl_export2(s, package);
  return s;
}

LAOBJ* make_keyword(const char* name) {
  std::string upper(name);
  if (!upper.empty() && upper[0] == ':') upper.erase(0, 1);
  std::transform(upper.begin(), upper.end(), upper.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  int flag = 0;
  return ecl_intern(name_string(upper.c_str()), cl_core.keyword_package, &flag);
}

std::string symbol_name(LAOBJ* symbol) {
  if (!ECL_SYMBOLP(symbol)) return "";
  return lisp_string_to_utf8(ecl_symbol_name(symbol));
}

std::string symbol_package_name(LAOBJ* symbol) {
  if (!ECL_SYMBOLP(symbol)) return "";
  return package_name(ecl_symbol_package(symbol));
}

std::string package_name(LAOBJ* package) {
  if (Null(cl_packagep(package))) return "";
  return lisp_string_to_utf8(package->pack.name);
}
