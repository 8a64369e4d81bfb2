#include "host/lisp/objects.h"

#include <ecl/ecl.h>

#include "host/lisp/lisp_error.h"
#include "host/lisp/lisp_text.h"

LAOBJ* make_cons(LAOBJ* car, LAOBJ* cdr) { return ecl_cons(car, cdr); }
LAOBJ* make_simple_string(const wchar_t* text) {
  return wide_to_lisp_string(text != nullptr ? std::wstring(text) : std::wstring());
}
LAOBJ* make_string(const std::string& utf8) { return utf8_to_lisp_string(utf8); }
LAOBJ* make_fixnum(long long v) { return ecl_make_int64_t(v); }
LAOBJ* make_double(double v) { return ecl_make_double_float(v); }
LAOBJ* make_bool(bool v) { return v ? ECL_T : ECL_NIL; }

LAOBJ* make_list(const std::vector<LAOBJ*>& items) {
  cl_object list = ECL_NIL;
  for (auto it = items.rbegin(); it != items.rend(); ++it) list = ecl_cons(*it, list);
  return list;
}

bool is_cons(LAOBJ* x) { return ECL_CONSP(x); }
bool is_list(LAOBJ* x) { return ECL_LISTP(x); }
bool is_keyword(LAOBJ* x) { return ecl_keywordp(x); }
bool is_symbol(LAOBJ* x) { return ECL_SYMBOLP(x); }
bool is_string(LAOBJ* x) { return ecl_stringp(x); }
bool is_number(LAOBJ* x) { return ecl_realp(x); }
// Asked of ECL's own function rather than by reading the object's type
// field here: ECL boxes some objects on 8-byte boundaries, which the
// undefined-behaviour checker takes for a misaligned object of its 16-byte
// union.
bool is_integer(LAOBJ* x) { return ECL_FIXNUMP(x) || !Null(cl_integerp(x)); }

LAOBJ* lisp_car(LAOBJ* x) {
  if (!ECL_LISTP(x)) hcl_wrong_type("LIST", x);
  return x == ECL_NIL ? ECL_NIL : ecl_car(x);
}

LAOBJ* lisp_cdr(LAOBJ* x) {
  if (!ECL_LISTP(x)) hcl_wrong_type("LIST", x);
  return x == ECL_NIL ? ECL_NIL : ecl_cdr(x);
}

// Conses are read with ECL's functions, not its macros: the macros' tagged
// address arithmetic, inlined here, looks misaligned to the sanitizers.
std::vector<LAOBJ*> list_elements(LAOBJ* list) {
  std::vector<LAOBJ*> out;
  // Floyd's walk: a circular list is refused instead of walked for ever.
  cl_object slow = list;
  cl_object fast = list;
  while (ECL_CONSP(fast)) {
    out.push_back(ecl_car(fast));
    fast = ecl_cdr(fast);
    if (!ECL_CONSP(fast)) break;
    out.push_back(ecl_car(fast));
    fast = ecl_cdr(fast);
    slow = ecl_cdr(slow);
    if (fast == slow) hcl_wrong_type("LIST", list);
  }
  if (fast != ECL_NIL) hcl_wrong_type("LIST", list);
  return out;
}

std::size_t list_length(LAOBJ* list) { return list_elements(list).size(); }

double object_to_double(LAOBJ* x) {
  if (!ecl_realp(x)) hcl_wrong_type("REAL", x);
  return ecl_to_double(x);
}

long long object_to_integer(LAOBJ* x) {
  if (ECL_FIXNUMP(x)) return ecl_fixnum(x);
  if (!Null(cl_integerp(x))) hcl_error("The integer ~A does not fit in 64 bits.", {x});
  hcl_wrong_type("INTEGER", x);
}

std::string object_to_string(LAOBJ* x) {
  if (!ecl_stringp(x)) hcl_wrong_type("STRING", x);
  return lisp_string_to_utf8(x);
}

std::wstring object_to_wstring(LAOBJ* x) {
  if (!ecl_stringp(x)) hcl_wrong_type("STRING", x);
  return lisp_string_to_wide(x);
}

LAOBJ* plist_get(LAOBJ* plist, LAOBJ* key, LAOBJ* fallback) {
  const std::vector<LAOBJ*> items = list_elements(plist);
  for (std::size_t i = 0; i + 1 < items.size(); i += 2) {
    if (items[i] == key) return items[i + 1];
  }
  return fallback;
}
