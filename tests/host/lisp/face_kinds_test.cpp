// The face predicates by surface kind, as Lisp code asks them.

#include "host/kernel/geometry/surface.h"
#include "host/kernel/history/history.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/shell.h"
#include "host/lisp/native_function.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/lisp/values.h"
#include "lisp_fixture.h"

namespace {

BODY* g_block = nullptr;

// The faces of the bored block: its plane faces first, then its cylinder
// faces, so the test knows which is which without asking the predicates.
LAOBJ* faces_of_kind(NATIVE_CALL& call) {
  call.check_count(1, 1);
  const SURFACE_KIND want =
      object_to_string(call.arg(0)) == "plane" ? SURFACE_KIND::PLANE : SURFACE_KIND::CYLINDER;
  std::vector<LAOBJ*> out;
  for (FACE* f = g_block->shell(0)->first_face(); f != nullptr; f = f->next_in_shell()) {
    if (f->geometry()->surface_kind() == want) out.push_back(make_ptr(f));
  }
  return make_list(out);
}

LAOBJ* lose_block(NATIVE_CALL& call) {
  call.check_count(0, 0);
  g_block->lose();
  g_block = nullptr;
  return lisp_t();
}

class FaceKindsTest : public LispTest {
 protected:
  static void SetUpTestSuite() {
    LispTest::SetUpTestSuite();
    LAOBJ* pkg = make_package("FACE-KINDS-TEST", nullptr);
    make_package_function("FACES-OF-KIND", &faces_of_kind, &pkg, 1);
    make_package_function("LOSE-BLOCK", &lose_block, &pkg, 1);
  }
  void SetUp() override { g_block = make_bored_block(40, 30, 10, 5, 32); }
  void TearDown() override {
    if (g_block != nullptr) g_block->lose();
    g_block = nullptr;
    HISTORY::instance().forget();
  }
  static std::string run(const std::string& text) { return eval(text, "FACE-KINDS-TEST"); }
};

const char* kAllPredicates =
    "(list (frame2:is-plane-face-p f) (frame2:is-cylinder-face-p f) (frame2:is-cone-face-p f)"
    "      (frame2:is-sphere-face-p f) (frame2:is-torus-face-p f))";

TEST_F(FaceKindsTest, PlaneAndCylinderFacesAnswerForTheirKindOnly) {
  EXPECT_EQ(run("(length (faces-of-kind \"plane\"))"), "6");
  EXPECT_EQ(run("(length (faces-of-kind \"cylinder\"))"), "1");
  EXPECT_EQ(run(std::string("(remove-duplicates (mapcar (lambda (f) ") + kAllPredicates +
                ") (faces-of-kind \"plane\")) :test #'equal)"),
            "((T NIL NIL NIL NIL))");
  EXPECT_EQ(run(std::string("(remove-duplicates (mapcar (lambda (f) ") + kAllPredicates +
                ") (faces-of-kind \"cylinder\")) :test #'equal)"),
            "((NIL T NIL NIL NIL))");
  EXPECT_EQ(run("(k2:face-surface-kind (first (faces-of-kind \"cylinder\")))"), ":CYLINDER");
}

TEST_F(FaceKindsTest, SelectionItemsOfFacesAnswerLikeTheirFaces) {
  EXPECT_EQ(run("(frame2:is-plane-face-p (frame2:make-sel_item :item (first (faces-of-kind \"plane\"))"
                "                                              :type :face))"),
            "T");
  EXPECT_EQ(run("(frame2:is-cylinder-face-p"
                "  (frame2:make-sel_item :item (first (faces-of-kind \"cylinder\")) :type :face))"),
            "T");
  // A part is not a face, whatever its item.
  EXPECT_EQ(run("(frame2:is-plane-face-p (frame2:root-parcel-sel-item))"), "NIL");
  EXPECT_EQ(run("(frame2:is-plane-face-p nil)"), "NIL");
}

TEST_F(FaceKindsTest, WrongArgumentsAndDestroyedFacesAreErrors) {
  EXPECT_EQ(run("(handler-case (frame2:is-plane-face-p 5) (type-error () :refused))"), ":REFUSED");
  EXPECT_EQ(run("(handler-case (frame2:is-torus-face-p \"face\") (type-error () :refused))"), ":REFUSED");
  // A body handle is the wrong kind of entity.
  EXPECT_EQ(run("(handler-case (frame2:is-plane-face-p (frame2:root-parcel)) (error () :refused))"),
            ":REFUSED");
  EXPECT_EQ(run("(let ((f (first (faces-of-kind \"plane\"))))"
                "  (lose-block)"
                "  (handler-case (frame2:is-plane-face-p f) (error () :stale)))"),
            ":STALE");
}

}  // namespace
