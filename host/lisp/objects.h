#pragma once
// Making and reading Lisp objects from native code. Readers check their
// argument and throw LISP_ERROR (a type error) for a wrong one.

#include <cstdint>
#include <string>
#include <vector>

#include "host/lisp/laobj.h"
#include "host/lisp/lisp_runtime.h"

// --- making ---
LAOBJ* make_cons(LAOBJ* car, LAOBJ* cdr);
LAOBJ* make_simple_string(const wchar_t* text);
LAOBJ* make_string(const std::string& utf8);
LAOBJ* make_fixnum(long long v);
LAOBJ* make_double(double v);
LAOBJ* make_bool(bool v);
// A list of the objects in order.
LAOBJ* make_list(const std::vector<LAOBJ*>& items);
// A list of n elements made by make(i), consed from the end: each new object
// is held by the list in a local at once, never only by C++ heap memory that
// the collector does not scan (as a std::vector<LAOBJ*> being filled is).
template <class F>
LAOBJ* list_of(std::size_t n, F make) {
  LAOBJ* list = lisp_nil();
  for (std::size_t i = n; i-- > 0;) list = make_cons(make(i), list);
  return list;
}

// --- testing ---
bool is_cons(LAOBJ* x);
bool is_list(LAOBJ* x);  // NIL or a cons
bool is_keyword(LAOBJ* x);
bool is_symbol(LAOBJ* x);
bool is_string(LAOBJ* x);
bool is_number(LAOBJ* x);
bool is_integer(LAOBJ* x);

// --- reading ---
LAOBJ* lisp_car(LAOBJ* x);  // of a cons; NIL of NIL; a type error otherwise
LAOBJ* lisp_cdr(LAOBJ* x);
// The elements of a proper list; a type error for anything else (also for a
// circular or dotted list).
std::vector<LAOBJ*> list_elements(LAOBJ* list);
std::size_t list_length(LAOBJ* list);
double object_to_double(LAOBJ* x);       // any real number
long long object_to_integer(LAOBJ* x);   // an integer that fits 64 bits
std::string object_to_string(LAOBJ* x);  // a string, as UTF-8
std::wstring object_to_wstring(LAOBJ* x);
// The value of a keyword in a property list, or `fallback` when absent.
LAOBJ* plist_get(LAOBJ* plist, LAOBJ* key, LAOBJ* fallback);
