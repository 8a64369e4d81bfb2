// Lisp objects held by C++ memory alone survive the collector while a
// reference names them, and give their slot back with the last copy.

#include "host/lisp/lisp_ref.h"

#include <memory>
#include <string>
#include <vector>

#include "host/lisp/lisp_runtime.h"
#include "host/lisp/objects.h"
#include "lisp_fixture.h"

namespace {

class LispRefTest : public LispTest {};

TEST_F(LispRefTest, ObjectsHeldOnlyByReferencesSurviveACollection) {
  const std::size_t before = lisp_ref_slots_in_use();
  // Many references on the C++ heap, to objects nothing else holds; enough
  // of them that the slot vector grows while they are made.
  auto refs = std::make_unique<std::vector<LISP_REF>>();
  for (int i = 0; i < 300; ++i) {
    LISP_OUTCOME o = lisp_eval_string(
        "(list (make-string 1000 :initial-element #\\x) " + std::to_string(i) + ")",
        "COMMON-LISP-USER");
    ASSERT_TRUE(o.ok) << o.error;
    refs->emplace_back(o.value);
  }
  EXPECT_EQ(lisp_ref_slots_in_use(), before + 300);
  // Garbage, then a full collection.
  ASSERT_TRUE(lisp_eval_string("(progn (dotimes (i 2000) (make-string 5000)) (si:gc t) t)").ok);
  for (int i = 0; i < 300; ++i) {
    LAOBJ* x = (*refs)[static_cast<std::size_t>(i)].get();
    ASSERT_EQ(lisp_prin1(lisp_car(lisp_cdr(x))), std::to_string(i));
    ASSERT_EQ(object_to_string(lisp_car(x)).size(), 1000u);
  }
  // Copies share one slot; the last copy gives it back.
  LISP_REF copy = refs->front();
  refs.reset();
  EXPECT_EQ(lisp_ref_slots_in_use(), before + 1);
  EXPECT_EQ(lisp_prin1(lisp_car(lisp_cdr(copy.get()))), "0");
  copy = LISP_REF();
  EXPECT_EQ(lisp_ref_slots_in_use(), before);
  EXPECT_TRUE(copy.empty());
  EXPECT_EQ(copy.get(), lisp_nil());
}

}  // namespace
