// The box tree, box and viewport functions as Lisp code calls them, through
// the embedded host with the module loaded: their answers, their argument
// checks, and handles of trees that were destroyed, copied or forged, or whose
// body changed.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "host/kernel/history/history.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/native_function.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/lisp/values.h"
#include "host/shell/host_start.h"
#include "host/ui/viewport.h"
#include "lumesh/core/module_entry.h"
#include "lumesh/geo/boxed_object.h"
#include "lumesh/geo/boxtree_handles.h"
#include "lumesh/geo/boxtree_node.h"
#include "lumesh/geo/face_boxes.h"

namespace {

// (%TEST-BORED-BLOCK): a block of 10 x 10 x 4 with a hole, 7 faces.
LAOBJ* test_bored_block(NATIVE_CALL& call) {
  call.check_count(0, 0);
  return make_ptr(make_bored_block(10, 10, 4, 2, 16));
}

// (%TEST-TORUS): a mesh body of 2400 triangles.
LAOBJ* test_torus(NATIVE_CALL& call) {
  call.check_count(0, 0);
  return make_ptr(make_triangle_torus(40, 30, 100.0, 30.0));
}

// (%TEST-VISIT-ORDER body box): the sysids of the faces that a tree of the
// body's faces visits for the box, in the order of the visits.
LAOBJ* test_visit_order(NATIVE_CALL& call) {
  call.check_count(2, 2);
  BODY* body = object_to_entity<BODY>(call.arg(0));
  const std::vector<LAOBJ*> corners = list_elements(call.arg(1));
  const BOX3 box(object_to_POSITION3(corners.at(0)), object_to_POSITION3(corners.at(1)));
  FACE_BOXES faces(body);
  OBJECT_BOXTREE<BOXED_FACE> tree(faces);
  std::vector<long long> sysids;
  tree.collisions(
      box, [&sysids](BOXED_FACE& f) { sysids.push_back(static_cast<long long>(f.get_sysid())); });
  LAOBJ* out = lisp_nil();
  for (auto it = sysids.rbegin(); it != sysids.rend(); ++it) out = make_cons(make_fixnum(*it), out);
  return out;
}

class BoxFunctions : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    host_start(0, nullptr);
    ASSERT_EQ(host_load_module(&init_load_init), "");
    LAOBJ* package = find_package("LUMESH");
    make_package_function("%TEST-BORED-BLOCK", &test_bored_block, &package, 1);
    make_package_function("%TEST-TORUS", &test_torus, &package, 1);
    make_package_function("%TEST-VISIT-ORDER", &test_visit_order, &package, 1);
    ASSERT_EQ(run(R"((progn
      (defun %coords (box)
        (mapcar (lambda (p) (list (k2:gpnt3d-x p) (k2:gpnt3d-y p) (k2:gpnt3d-z p))) box))
      (defun %sysids (faces) (sort (mapcar #'k2:entity-handle-sysid faces) #'<))
      (defmacro %error-of (form)
        `(handler-case (progn ,form :no-error)
           (type-error () :type-error)
           (program-error () :count-error)
           (error (c) (princ-to-string c))))
      t))"),
              "T");
  }
  void TearDown() override {
    viewports().reset();
    HISTORY::instance().forget();
  }
  static std::string run(const std::string& text) {
    LISP_OUTCOME o = lisp_eval_string(text, "LUMESH");
    return o.ok ? lisp_prin1(o.value) : "ERROR: " + o.error;
  }
};

TEST_F(BoxFunctions, TheNineFunctionsAreInternalToTheModulePackage) {
  for (const char* name :
       {"MAKE-BODY-BOXTREE", "DESTROY-BOXTREE", "GET-BOXTREE-COLLISIONS", "TRANSFORM-BOX",
        "BOX-UNION", "BOX-INTERSECTION", "BOX-CONTAINS-P", "INFLATE-BOX", "GET-VIEWPORT-XFORM"}) {
    EXPECT_EQ(run(std::string("(nth-value 1 (find-symbol \"") + name + "\" \"LUMESH\"))"),
              ":INTERNAL")
        << name;
    EXPECT_EQ(run(std::string("(fboundp (find-symbol \"") + name + "\" \"LUMESH\"))"), "T") << name;
  }
}

TEST_F(BoxFunctions, TheHandleIsAStructureWithOneNumber) {
  EXPECT_EQ(run("(boxtree-p (make-boxtree))"), "T");
  EXPECT_EQ(run("(boxtree-ptr (make-boxtree))"), "0");
  EXPECT_EQ(run("(boxtree-ptr (copy-boxtree (make-boxtree :boxtree-ptr 5)))"), "5");
  EXPECT_EQ(run("(boxtree-p 5)"), "NIL");
}

TEST_F(BoxFunctions, ABoxContainingTheBodyFindsEveryFaceOnce) {
  EXPECT_EQ(run(R"((let* ((body (%test-bored-block))
                          (tree (make-body-boxtree body))
                          (found (get-boxtree-collisions tree '((-1 -1 -1) (11 11 5)))))
                     (prog1 (list (length found)
                                  (equal (%sysids found) (%sysids (k2:body-faces body)))
                                  (every (lambda (f) (typep f 'k2:entity-handle)) found))
                       (destroy-boxtree tree))))"),
            "(7 T T)");
  EXPECT_EQ(run(R"((let* ((body (%test-torus)) (tree (make-body-boxtree body))
                          (found (get-boxtree-collisions tree '((-200 -200 -200) (200 200 200)))))
                     (prog1 (list (length found) (equal (%sysids found) (%sysids (k2:body-faces body))))
                       (destroy-boxtree tree))))"),
            "(2400 T)");
}

TEST_F(BoxFunctions, CollisionsComeInTheReverseOrderOfTheVisits) {
  EXPECT_EQ(run(R"((let* ((body (%test-torus)) (tree (make-body-boxtree body))
                          (box '((50 -20 -40) (140 60 40)))
                          (found (get-boxtree-collisions tree box)))
                     (prog1 (list (> (length found) 100) (< (length found) 2400)
                                  (equal (mapcar #'k2:entity-handle-sysid found)
                                         (reverse (%test-visit-order body box))))
                       (destroy-boxtree tree))))"),
            "(T T T)");
}

TEST_F(BoxFunctions, AFaceCountsWhenItsBoxMeetsTheQuery) {
  // The slab above the block's top (z = 4) only touches the top face's box
  // and the boxes of the walls; the bottom face is not among them.
  EXPECT_EQ(run(R"((let* ((body (%test-bored-block)) (tree (make-body-boxtree body)))
                     (prog1 (list (length (get-boxtree-collisions tree '((-1 -1 4) (11 11 6))))
                                  (length (get-boxtree-collisions tree '((-1 -1 4.001) (11 11 6))))
                                  ;; In the hole at the height of the top: no face is
                                  ;; there, but the boxes of the top and of the hole's
                                  ;; wall meet the query.
                                  (length (get-boxtree-collisions tree '((4.9 4.9 3.5) (5.1 5.1 4))))
                                  ;; Lower in the hole: the wall's box alone.
                                  (length (get-boxtree-collisions tree '((4.9 4.9 1) (5.1 5.1 2)))))
                       (destroy-boxtree tree))))"),
            "(6 0 2 1)");
}

TEST_F(BoxFunctions, DestroyedCopiedAndForgedHandlesAreErrorsNotCrashes) {
  EXPECT_EQ(run(R"((progn
      (defparameter *body* (%test-bored-block))
      (defparameter *tree* (make-body-boxtree *body*))
      (defparameter *copy* (copy-boxtree *tree*))
      (list (boxtree-p *tree*) (plusp (boxtree-ptr *tree*))
            (length (get-boxtree-collisions *copy* '((0 0 0) (10 10 4))))
            (destroy-boxtree *tree*))))"),
            "(T T 7 T)");
  // The handle keeps its number, which names nothing now.
  EXPECT_EQ(run("(plusp (boxtree-ptr *tree*))"), "T");
  const std::string gone = "names no box tree: it was destroyed, or not made by MAKE-BODY-BOXTREE.";
  const std::string a = run("(%error-of (get-boxtree-collisions *tree* '((0 0 0) (10 10 4))))");
  EXPECT_NE(a.find(gone), std::string::npos) << a;
  EXPECT_NE(run("(%error-of (get-boxtree-collisions *copy* '((0 0 0) (1 1 1))))").find(gone),
            std::string::npos);
  EXPECT_NE(run("(%error-of (destroy-boxtree *tree*))").find(gone), std::string::npos);
  EXPECT_NE(run("(%error-of (destroy-boxtree *copy*))").find(gone), std::string::npos);
  EXPECT_NE(run("(%error-of (get-boxtree-collisions (make-boxtree :boxtree-ptr 987654321) '((0 0 "
                "0) (1 1 1))))")
                .find(gone),
            std::string::npos);
  EXPECT_NE(run("(%error-of (destroy-boxtree (make-boxtree :boxtree-ptr -3)))").find(gone),
            std::string::npos);
  // The null handle: destroying it does nothing, querying it is an error.
  EXPECT_EQ(run("(destroy-boxtree (make-boxtree))"), "T");
  EXPECT_NE(run("(%error-of (get-boxtree-collisions (make-boxtree) '((0 0 0) (1 1 1))))")
                .find("null box tree"),
            std::string::npos);
  // Other objects are type errors.
  EXPECT_EQ(run("(%error-of (destroy-boxtree 12))"), ":TYPE-ERROR");
  EXPECT_EQ(run("(%error-of (get-boxtree-collisions *body* '((0 0 0) (1 1 1))))"), ":TYPE-ERROR");
  EXPECT_EQ(run("(%error-of (make-body-boxtree *tree*))"), ":TYPE-ERROR");
  const std::string face = run("(%error-of (make-body-boxtree (first (k2:body-faces *body*))))");
  EXPECT_NE(face.find("is not of type k2:BODY"), std::string::npos) << face;
  // And the host goes on.
  EXPECT_EQ(run("(let ((tr (make-body-boxtree *body*))) (prog1 (length (get-boxtree-collisions tr "
                "'((0 0 0) (10 10 4)))) (destroy-boxtree tr)))"),
            "7");
}

TEST_F(BoxFunctions, ATreeOfAChangedOrDestroyedBodyIsRefused) {
  // A face deleted since the tree was made: a query that meets it is an
  // error, one that does not still answers.
  EXPECT_EQ(run(R"((progn
      (defparameter *body* (%test-torus))
      (defparameter *tree* (make-body-boxtree *body*))
      ;; A face on the torus's outer rim at +x.
      (defparameter *face* (first (get-boxtree-collisions *tree* '((129 -1 -1) (131 1 1)))))
      (frame2:destroy *face*)
      (length (k2:body-faces *body*))))"),
            "2399");
  const std::string lost =
      run("(%error-of (get-boxtree-collisions *tree* '((-200 -200 -200) (200 200 200))))");
  EXPECT_NE(lost.find("has lost faces since the tree was made"), std::string::npos) << lost;
  HISTORY::instance().forget();  // the deleted face's memory goes back to its pool
  EXPECT_NE(run("(%error-of (get-boxtree-collisions *tree* '((-200 -200 -200) (200 200 200))))")
                .find("has lost faces"),
            std::string::npos);
  // Far from the deleted face.
  EXPECT_EQ(run("(plusp (length (get-boxtree-collisions *tree* '((-140 -20 -40) (-60 20 40)))))"),
            "T");
  // The whole body destroyed.
  EXPECT_EQ(run("(progn (frame2:destroy *body*) t)"), "T");
  const std::string gone =
      run("(%error-of (get-boxtree-collisions *tree* '((-140 -20 -40) (-60 20 40))))");
  EXPECT_NE(gone.find("no longer exists"), std::string::npos) << gone;
  HISTORY::instance().forget();
  EXPECT_NE(run("(%error-of (get-boxtree-collisions *tree* '((0 0 0) (1 1 1))))")
                .find("no longer exists"),
            std::string::npos);
  // Destroying the tree still works.
  EXPECT_EQ(run("(destroy-boxtree *tree*)"), "T");
}

TEST_F(BoxFunctions, TreesAreReleasedByDestroy) {
  const std::size_t before = BOXTREE_HANDLES::instance().size();
  EXPECT_EQ(run(R"((let ((body (%test-bored-block)))
                     (dotimes (i 50) (destroy-boxtree (make-body-boxtree body)))
                     (defparameter *kept* (make-body-boxtree body))
                     t))"),
            "T");
  EXPECT_EQ(BOXTREE_HANDLES::instance().size(), before + 1);
  EXPECT_EQ(run("(destroy-boxtree *kept*)"), "T");
  EXPECT_EQ(BOXTREE_HANDLES::instance().size(), before);
}

TEST_F(BoxFunctions, FixedArityFunctionsCheckTheirArgumentCount) {
  for (const char* form :
       {"(make-body-boxtree)", "(make-body-boxtree (%test-bored-block) 1)", "(destroy-boxtree)",
        "(get-boxtree-collisions (make-boxtree))", "(transform-box '((0 0 0) (1 1 1)))",
        "(box-contains-p '((0 0 0) (1 1 1)))", "(inflate-box '((0 0 0) (1 1 1)))",
        "(inflate-box '((0 0 0) (1 1 1)) 1 2)", "(get-viewport-xform)",
        "(get-viewport-xform nil nil)", "(box-union)", "(box-intersection)"}) {
    EXPECT_EQ(run(std::string("(%error-of ") + form + ")"), ":COUNT-ERROR") << form;
  }
}

TEST_F(BoxFunctions, BadBoxesAreTypeErrors) {
  EXPECT_EQ(run("(%error-of (box-union 5))"), ":TYPE-ERROR");
  EXPECT_EQ(run("(%error-of (box-union '((0 0 0) \"x\")))"), ":TYPE-ERROR");
  EXPECT_EQ(run("(%error-of (box-union '((0 0) (1 1 1))))"), ":TYPE-ERROR");
  EXPECT_EQ(run("(%error-of (inflate-box '((0 0 0) (1 1 1)) \"1\"))"), ":TYPE-ERROR");
  EXPECT_EQ(run("(%error-of (transform-box '((0 0 0) (1 1 1)) 3))"), ":TYPE-ERROR");
  const std::string one = run("(%error-of (box-union '((0 0 0))))");
  EXPECT_NE(one.find("A box is a list of two points"), std::string::npos) << one;
  EXPECT_NE(run("(%error-of (box-union '((0 0 0) (1 1 1) (2 2 2))))")
                .find("A box is a list of two points"),
            std::string::npos);
}

TEST_F(BoxFunctions, BoxesAreListsOfLowerAndUpperCorner) {
  EXPECT_EQ(run("(%coords (box-union '((0 0 0) (1 2 3))))"),
            "((0.0d0 0.0d0 0.0d0) (1.0d0 2.0d0 3.0d0))");
  EXPECT_EQ(run("(%coords (box-union (list (k2:make-gpnt3d 0d0 0d0 0d0) #(1 5 0))))"),
            "((0.0d0 0.0d0 0.0d0) (1.0d0 5.0d0 0.0d0))");
  EXPECT_EQ(run("(every #'k2:gpnt3d-p (box-union '((0 0 0) (1 1 1))))"), "T");
  // Lower above upper on one axis: an empty box, the neutral box of a union.
  EXPECT_EQ(run("(box-intersection '((0 0 3) (1 1 0)))"), "NIL");
  EXPECT_EQ(run("(%coords (box-union '((0 0 3) (1 1 0)) '((5 5 5) (6 6 6))))"),
            "((5.0d0 5.0d0 5.0d0) (6.0d0 6.0d0 6.0d0))");
  EXPECT_EQ(run("(box-contains-p '((0 0 0) (1 1 1)) '((9 9 9) (8 8 8)))"), "T");
}

TEST_F(BoxFunctions, UnionOfOneBoxIsThatBox) {
  EXPECT_EQ(run("(%coords (box-union '((-1 -2 -3) (4 5 6))))"),
            "((-1.0d0 -2.0d0 -3.0d0) (4.0d0 5.0d0 6.0d0))");
  EXPECT_EQ(
      run("(%coords (box-union '((0 0 0) (1 1 1)) '((5 -1 0) (6 0 0.5)) '((0 0 2) (0 0 2))))"),
      "((0.0d0 -1.0d0 0.0d0) (6.0d0 1.0d0 2.0d0))");
}

TEST_F(BoxFunctions, IntersectionOfTouchingBoxesIsFlat) {
  EXPECT_EQ(run("(%coords (box-intersection '((0 0 0) (1 1 1)) '((1 0 0) (2 1 1))))"),
            "((1.0d0 0.0d0 0.0d0) (1.0d0 1.0d0 1.0d0))");
  // A corner only: a point.
  EXPECT_EQ(run("(%coords (box-intersection '((0 0 0) (1 1 1)) '((1 1 1) (2 2 2))))"),
            "((1.0d0 1.0d0 1.0d0) (1.0d0 1.0d0 1.0d0))");
  EXPECT_EQ(
      run("(%coords (box-intersection '((0 0 0) (4 4 4)) '((1 -1 2) (5 3 3)) '((0 2 0) (9 9 9))))"),
      "((1.0d0 2.0d0 2.0d0) (4.0d0 3.0d0 3.0d0))");
  EXPECT_EQ(run("(%coords (box-intersection '((0 0 0) (1 1 1))))"),
            "((0.0d0 0.0d0 0.0d0) (1.0d0 1.0d0 1.0d0))");
}

TEST_F(BoxFunctions, AnEmptyIntersectionIsNilAndStopsReading) {
  EXPECT_EQ(run("(box-intersection '((0 0 0) (1 1 1)) '((2 0 0) (3 1 1)))"), "NIL");
  // Disjoint on z alone.
  EXPECT_EQ(run("(box-intersection '((0 0 0) (1 1 1)) '((0 0 1.5) (1 1 3)))"), "NIL");
  // The malformed box after the empty step is never read.
  EXPECT_EQ(run("(box-intersection '((0 0 0) (1 1 1)) '((2 0 0) (3 1 1)) \"not a box\")"), "NIL");
  EXPECT_EQ(run("(box-intersection '((0 0 0) (1 1 1)) '((2 0 0) (3 1 1)) '((x y z)))"), "NIL");
  // Before the empty step it is.
  EXPECT_EQ(
      run("(%error-of (box-intersection '((0 0 0) (1 1 1)) \"not a box\" '((2 0 0) (3 1 1))))"),
      ":TYPE-ERROR");
}

TEST_F(BoxFunctions, ASingleEmptyBoxIntersectsToNil) {
  // A box whose corners are both not points (NaN coordinates) is empty.
  EXPECT_EQ(run(R"((let* ((inf ext:double-float-positive-infinity) (nan (- inf inf)))
                     (box-intersection (list (list nan 0 0) (list 0 nan 0)))))"),
            "NIL");
}

TEST_F(BoxFunctions, ContainmentCountsTouchingWalls) {
  EXPECT_EQ(run("(box-contains-p '((0 0 0) (4 4 4)) '((1 1 1) (2 2 2)))"), "T");
  EXPECT_EQ(run("(box-contains-p '((0 0 0) (4 4 4)) '((0 0 0) (4 4 4)))"), "T");
  EXPECT_EQ(run("(box-contains-p '((0 0 0) (4 4 4)) '((0 1 1) (4 2 4)))"), "T");
  EXPECT_EQ(run("(box-contains-p '((0 0 0) (4 4 4)) '((1 1 1) (5 2 2)))"), "NIL");
  EXPECT_EQ(run("(box-contains-p '((1 1 1) (2 2 2)) '((0 0 0) (4 4 4)))"), "NIL");
}

TEST_F(BoxFunctions, InflateMovesEveryWall) {
  EXPECT_EQ(run("(%coords (inflate-box '((0 0 0) (1 2 3)) 0.5d0))"),
            "((-0.5d0 -0.5d0 -0.5d0) (1.5d0 2.5d0 3.5d0))");
  EXPECT_EQ(run("(%coords (inflate-box '((0 0 0) (2 2 2)) -1))"),
            "((1.0d0 1.0d0 1.0d0) (1.0d0 1.0d0 1.0d0))");
  // Shrunk past empty: every later intersection with it is empty.
  EXPECT_EQ(run("(box-intersection (inflate-box '((0 0 0) (2 2 2)) -2) '((-9 -9 -9) (9 9 9)))"),
            "NIL");
  EXPECT_EQ(run("(box-intersection (inflate-box '((0 0 0) (2 2 2)) -1.5))"), "NIL");
  EXPECT_EQ(run("(box-intersection (transform-box (inflate-box '((0 0 0) (2 2 2)) -3) "
                "(frame2:make-matrix-3d :t0 5)))"),
            "NIL");
  EXPECT_EQ(run("(box-contains-p '((0 0 0) (1 1 1)) (inflate-box '((0 0 0) (2 2 2)) -3))"), "T");
}

TEST_F(BoxFunctions, TransformBoxHoldsTheTransformedBox) {
  EXPECT_EQ(
      run("(%coords (transform-box '((0 0 0) (1 2 3)) (frame2:make-matrix-3d :t0 10 :t2 -1)))"),
      "((10.0d0 0.0d0 -1.0d0) (11.0d0 2.0d0 2.0d0))");
  // A quarter turn about z: x goes to y, y to -x.
  EXPECT_EQ(run("(%coords (transform-box '((0 0 0) (1 2 3)) (frame2:make-matrix-3d :a11 0 :a12 1 "
                ":a21 -1 :a22 0)))"),
            "((-2.0d0 0.0d0 0.0d0) (0.0d0 1.0d0 3.0d0))");
  // An eighth of a turn: the unit square's box grows to the square around
  // the turned square.
  EXPECT_EQ(run(R"((let* ((c (cos (/ pi 4))) (s (sin (/ pi 4)))
                          (b (%coords (transform-box '((0 0 0) (1 1 1))
                                                     (frame2:make-matrix-3d :a11 c :a12 s :a21 (- s) :a22 c)))))
                     (list (< (abs (- (first (first b)) (- s))) 1d-12)
                           (< (abs (- (second (second b)) (+ s c))) 1d-12)
                           (< (abs (- (first (second b)) (- c 0))) 1d-12))))"),
            "(T T T)");
}

TEST_F(BoxFunctions, TheViewportTransformationTakesWorldToScreenAxes) {
  // The default view looks down z: world axes are screen axes.
  EXPECT_EQ(run("(%coords (transform-box '((1 2 3) (4 5 6)) (get-viewport-xform :current)))"),
            "((1.0d0 2.0d0 3.0d0) (4.0d0 5.0d0 6.0d0))");
  // Looking along -y from the front: right is x, up is z, and the viewer is
  // at -y, so world y goes into the screen (-z).
  EXPECT_EQ(run("(frame2:set-vp-view :current '(1 0 0) '(0 0 1))"), "T");
  EXPECT_EQ(run("(%coords (transform-box '((1 2 3) (4 5 6)) (get-viewport-xform nil)))"),
            "((1.0d0 3.0d0 -5.0d0) (4.0d0 6.0d0 -2.0d0))");
  // A right vector along y and up along z: world y is the screen's x.
  EXPECT_EQ(run("(frame2:set-vp-view :current '(0 1 0) '(0 0 1))"), "T");
  EXPECT_EQ(run("(%coords (transform-box '((0 5 0) (0 5 0)) (get-viewport-xform :current)))"),
            "((5.0d0 0.0d0 0.0d0) (5.0d0 0.0d0 0.0d0))");
  EXPECT_EQ(run("(k2:transformation-p (get-viewport-xform (frame2:tv-inq-current-vp)))"), "T");
  // Nothing that names a viewport: NIL, no error.
  EXPECT_EQ(run("(get-viewport-xform 9999)"), "NIL");
  EXPECT_EQ(run("(get-viewport-xform \"front\")"), "NIL");
  EXPECT_EQ(run("(get-viewport-xform :top)"), "NIL");
}

}  // namespace
