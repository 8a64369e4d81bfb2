#pragma once
// LISP_REF: a Lisp object held by C++ memory. The collector does not scan the
// C++ heap, so an object that a C++ container keeps (a table cell's value, a
// menu entry's function) sits in a slot of one rooted vector while a
// LISP_REF names it; the slot is freed when the last copy of the reference
// goes. References are made, copied and dropped on the Lisp thread only.

#include <cstddef>
#include <memory>

#include "host/lisp/laobj.h"

class LISP_REF {
 public:
  LISP_REF() = default;  // refers to nothing; get() answers NIL
  explicit LISP_REF(LAOBJ* x);

  // The object, or NIL for an empty reference.
  LAOBJ* get() const;
  bool empty() const { return slot_ == nullptr; }

 private:
  struct KEEPER;
  std::shared_ptr<KEEPER> slot_;  // shared by copies; frees the Lisp slot with the last
};

// Slots in use, for tests: every reference dropped gives its slot back.
std::size_t lisp_ref_slots_in_use();
