// Geometry values and entity handles between Lisp and C++.

#include "host/kernel/geometry/plane.h"
#include "host/kernel/history/history.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/shell.h"
#include "host/lisp/lisp_error.h"
#include "host/lisp/native_function.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/lisp/values.h"
#include "lisp_fixture.h"

namespace {

BODY* g_body = nullptr;

LAOBJ* test_body(NATIVE_CALL& call) {
  call.check_count(0, 0);
  return make_ptr(g_body);
}

LAOBJ* face_count(NATIVE_CALL& call) {
  call.check_count(1, 1);
  return make_fixnum(object_to_entity<BODY>(call.arg(0))->number_of_faces());
}

LAOBJ* first_face(NATIVE_CALL& call) {
  call.check_count(1, 1);
  BODY* b = object_to_entity<BODY>(call.arg(0), true);
  return make_ptr(b != nullptr ? b->shell(0)->first_face() : nullptr);
}

LAOBJ* lose_body(NATIVE_CALL& call) {
  object_to_entity<BODY>(call.arg(0))->lose();
  return lisp_t();
}

LAOBJ* moved(NATIVE_CALL& call) {
  call.check_count(2, 2);
  return make_gpnt3d(object_to_POSITION3(call.arg(0)) * object_to_transf(call.arg(1)));
}

LAOBJ* rotation(NATIVE_CALL& call) {
  call.check_count(1, 1);
  return make_transf(TRANSFORM3::rotation(POSITION3(0, 0, 0), VECTOR3(0, 0, 1), object_to_double(call.arg(0))));
}

class ValuesTest : public LispTest {
 protected:
  static void SetUpTestSuite() {
    LispTest::SetUpTestSuite();
    LAOBJ* pkg = make_package("VALUES-TEST", nullptr);
    make_package_function("TEST-BODY", &test_body, &pkg, 1);
    make_package_function("FACE-COUNT", &face_count, &pkg, 1);
    make_package_function("FIRST-FACE", &first_face, &pkg, 1);
    make_package_function("LOSE-BODY", &lose_body, &pkg, 1);
    make_package_function("MOVED", &moved, &pkg, 1);
    make_package_function("ROTATION", &rotation, &pkg, 1);
  }
  static std::string run(const std::string& text) { return eval(text, "VALUES-TEST"); }
};

TEST_F(ValuesTest, PointsComeInSeveralFormsAndGoOutAsGpnt3d) {
  EXPECT_EQ(run("(k2:gpnt3d-x (moved '(1 2 3) (rotation 0)))"), "1.0d0");
  EXPECT_EQ(run("(k2:gpnt3d-y (moved #(1 0 0) (rotation (/ pi 2))))"), "1.0d0");
  EXPECT_EQ(run("(k2:gpnt3d-z (moved (k2:make-gpnt3d 0d0 0d0 7d0) (rotation 1)))"), "7.0d0");
  EXPECT_EQ(run("(handler-case (moved '(1 2) (rotation 0)) (type-error () :refused))"), ":REFUSED");
  EXPECT_EQ(run("(handler-case (moved '(1 \"a\" 3) (rotation 0)) (type-error () :refused))"), ":REFUSED");
  EXPECT_EQ(run("(handler-case (moved '(1 2 3) '(1 2 3)) (type-error () :refused))"), ":REFUSED");
  EXPECT_EQ(run("(handler-case (moved 5 (rotation 0)) (type-error () :refused))"), ":REFUSED");
}

TEST_F(ValuesTest, HandlesAreTypedAndStaleHandlesAreErrors) {
  g_body = make_triangle_cube(1);
  EXPECT_EQ(run("(face-count (test-body))"), "12");
  EXPECT_EQ(run("(k2:entity-handle-type (test-body))"), "K2:BODY");
  EXPECT_EQ(run("(k2:entity-handle-type (first-face (test-body)))"), "K2:FACE");
  // A face is not a body.
  EXPECT_EQ(run("(handler-case (face-count (first-face (test-body))) (error () :wrong-type))"),
            ":WRONG-TYPE");
  EXPECT_EQ(run("(handler-case (face-count nil) (error () :refused))"), ":REFUSED");
  EXPECT_EQ(run("(first-face nil)"), "NIL");  // a null entity is NIL
  // Keep a handle, destroy the body: the handle is stale, not a crash.
  EXPECT_EQ(run("(progn (defparameter *b* (test-body)) (defparameter *f* (first-face *b*)) (lose-body *b*))"),
            "T");
  EXPECT_NE(run("(handler-case (face-count *b*) (error (c) (princ-to-string c)))").find("was deleted"),
            std::string::npos);
  EXPECT_NE(run("(handler-case (lose-body *b*) (error (c) (princ-to-string c)))").find("was deleted"),
            std::string::npos);
  g_body = nullptr;
  HISTORY::instance().forget();
}

TEST_F(ValuesTest, AHandleComesBackToLifeWithItsEntity) {
  HISTORY& h = HISTORY::instance();
  g_body = make_triangle_cube(1);
  const auto before = h.note_state();
  EXPECT_EQ(run("(progn (defparameter *b2* (test-body)) (lose-body *b2*))"), "T");
  EXPECT_EQ(run("(handler-case (face-count *b2*) (error () :stale))"), ":STALE");
  ASSERT_TRUE(h.recover_state(before));
  EXPECT_EQ(run("(face-count *b2*)"), "12");
  g_body->lose();
  g_body = nullptr;
  h.forget();
}

TEST_F(ValuesTest, TheStateManagerTakesChangesBackFromLisp) {
  g_body = make_triangle_cube(1);
  EXPECT_EQ(run("(progn (defparameter *s0* (k2:current-state k2:*k2-state-manager*))"
                "       (defparameter *b3* (test-body))"
                "       (lose-body *b3*)"
                "       (defparameter *s1* (k2:note-state k2:*k2-state-manager*))"
                "       (handler-case (face-count *b3*) (error () :gone)))"),
            ":GONE");
  EXPECT_EQ(run("(k2:recover-state k2:*k2-state-manager* *s0*)"), "T");
  EXPECT_EQ(run("(face-count *b3*)"), "12");
  EXPECT_EQ(run("(k2:recover-state k2:*k2-state-manager* *s1*)"), "T");  // and forward again
  EXPECT_EQ(run("(handler-case (face-count *b3*) (error () :gone))"), ":GONE");
  EXPECT_EQ(run("(k2:recover-state k2:*k2-state-manager* *s0*)"), "T");
  EXPECT_EQ(run("(k2:rm-future k2:*k2-state-manager*)"), "T");
  EXPECT_EQ(run("(k2:recover-state k2:*k2-state-manager* *s1*)"), "NIL");
  EXPECT_EQ(run("(handler-case (k2:note-state 7) (type-error () :not-the-manager))"),
            ":NOT-THE-MANAGER");
  g_body->lose();
  g_body = nullptr;
  HISTORY::instance().forget();
}

}  // namespace
