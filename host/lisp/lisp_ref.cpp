#include "host/lisp/lisp_ref.h"

#include <ecl/ecl.h>

#include <vector>

namespace {

// One Lisp vector holds every referenced object; it is a collector root.
// Freed slots are reused first, so the vector grows to the largest number of
// references alive at once.
cl_object g_slots = ECL_NIL;
bool g_rooted = false;
std::vector<std::size_t>& free_slots() {
  static auto* list = new std::vector<std::size_t>();
  return *list;
}
std::size_t g_used = 0;
std::size_t g_capacity = 0;

std::size_t take_slot(cl_object x) {
  if (!g_rooted) {
    ecl_register_root(&g_slots);
    g_rooted = true;
  }
  if (free_slots().empty()) {
    const std::size_t grown = g_capacity == 0 ? 64 : g_capacity * 2;
    cl_object bigger = si_make_vector(ECL_T, ecl_make_fixnum(static_cast<cl_fixnum>(grown)),
                                      ECL_NIL, ECL_NIL, ECL_NIL, ECL_NIL);
    for (std::size_t i = 0; i < grown; ++i) {
      ecl_aset1(bigger, i, i < g_capacity ? ecl_aref1(g_slots, i) : ECL_NIL);
    }
    g_slots = bigger;
    for (std::size_t i = grown; i-- > g_capacity;) free_slots().push_back(i);
    g_capacity = grown;
  }
  const std::size_t i = free_slots().back();
  free_slots().pop_back();
  ecl_aset1(g_slots, i, x);
  ++g_used;
  return i;
}

}  // namespace

struct LISP_REF::KEEPER {
  explicit KEEPER(cl_object x) : index(take_slot(x)) {}
  ~KEEPER() {
    ecl_aset1(g_slots, index, ECL_NIL);
    free_slots().push_back(index);
    --g_used;
  }
  KEEPER(const KEEPER&) = delete;
  KEEPER& operator=(const KEEPER&) = delete;
  std::size_t index;
};

LISP_REF::LISP_REF(LAOBJ* x) : slot_(std::make_shared<KEEPER>(x)) {}

LAOBJ* LISP_REF::get() const {
  return slot_ ? ecl_aref1(g_slots, slot_->index) : ECL_NIL;
}

std::size_t lisp_ref_slots_in_use() {
  return g_used;
}
