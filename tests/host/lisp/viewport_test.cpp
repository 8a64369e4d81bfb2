// Viewports as commands and studies use them: draw lists of parts and
// assemblies, the triangles they draw in world coordinates with colours and
// transparency, show settings, highlights, feedback elements, the view and
// fitting, several viewports, and stale items after undo.

#include "host/kernel/history/history.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"
#include "host/lisp/native_function.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/lisp/values.h"
#include "host/ui/output_box.h"
#include "host/ui/viewport.h"
#include "lisp_fixture.h"

namespace {

LAOBJ* test_box(NATIVE_CALL& call) {
  call.check_count(1, 1);
  return make_ptr(make_triangle_cube(object_to_double(call.arg(0))));
}

class ViewportTest : public LispTest {
 protected:
  static void SetUpTestSuite() {
    LispTest::SetUpTestSuite();
    LAOBJ* frame = find_package("FRAME2");
    make_package_function("%TEST-BOX", &test_box, &frame, 1);
  }
  static std::string run(const std::string& text) { return eval(text, "FRAME2"); }
  void SetUp() override {
    viewports().reset();
    // An assembly moved by 100 in x holding a cube part of side 10 and a
    // second instance of it moved by 50 in y; a part without a body.
    ASSERT_EQ(run(R"((progn
      (defparameter *asm* (create-nasmb3 "frame"))
      (insert-in-graph *asm*)
      (set-tm *asm* (make-matrix-3d :t0 100))
      (defparameter *box* (create-npart3 "box"))
      (add-body-to-part *box* (%test-box 10))
      (insert-child *asm* *box*)
      (defparameter *twin* (create-instance *box* "twin"))
      (set-tm *twin* (make-matrix-3d :t1 50))
      (insert-child *asm* *twin*)
      (defparameter *empty* (create-npart3 "empty"))
      (insert-in-graph *empty*)
      t))"),
              "T");
  }
  void TearDown() override {
    run("(progn (destroy-parcel *asm*) (destroy-parcel *empty*))");
    viewports().reset();
    HISTORY::instance().forget();
  }
};

TEST_F(ViewportTest, AnAssemblyDrawsItsPartsInWorldCoordinates) {
  EXPECT_EQ(run("(getf (vp-picture) :triangles)"), "0");
  EXPECT_EQ(run("(add-to-vp-drawlist (sel-item-of *asm*))"), "T");
  // Adding the same item twice keeps one entry.
  run("(add-to-vp-drawlist (sel-item-of *asm*))");
  EXPECT_EQ(run("(length (vp-drawlist))"), "1");
  // Two instances of a box of 12 triangles.
  EXPECT_EQ(run("(getf (vp-picture) :triangles)"), "24");
  EXPECT_EQ(run("(mapcar (lambda (p) (tv-inq-obj-pathname (first p))) (getf (vp-picture) :parts))"),
            "(\"/frame/box\" \"/frame/twin\")");
  EXPECT_EQ(run("(let ((b (getf (vp-picture) :box)))"
                "  (list (k2:gpnt3d-x (first b)) (k2:gpnt3d-y (first b)) (k2:gpnt3d-x (second b))"
                "        (k2:gpnt3d-y (second b)) (k2:gpnt3d-z (second b))))"),
            "(100.0d0 0.0d0 110.0d0 60.0d0 10.0d0)");
}

TEST_F(ViewportTest, ColoursTransparencyShowSettingsAndHighlights) {
  run("(add-to-vp-drawlist (sel-item-of *box*))");
  EXPECT_EQ(run("(third (first (getf (vp-picture) :parts)))"), "(0.7d0 0.7d0 0.75d0)");
  run("(set-part-color *box* 1 0 0)");
  run("(set-part-transparency *box* 0.25)");
  EXPECT_EQ(run("(subseq (first (getf (vp-picture) :parts)) 2)"), "((1.0d0 0.0d0 0.0d0) 0.25d0 T)");
  run("(prim-add-show-part-setting *box* :3dgeo_edged nil)");
  run("(prim-add-show-part-setting (sel-item-of *box*) :3dgeo_part_transparency t)");
  EXPECT_EQ(run("(subseq (first (getf (vp-picture) :parts)) 3)"), "(0.5d0 NIL)");
  EXPECT_EQ(run("(handler-case (prim-add-show-part-setting *box* :3dgeo_wobbly t) (error () :unknown))"),
            ":UNKNOWN");
  EXPECT_EQ(run("(handler-case (prim-add-show-part-setting *asm* :3dgeo_edged t) (error () :not-a-part))"),
            ":NOT-A-PART");
  // A highlighted part draws in the feedback colour, until unhighlighted.
  run("(persistent-hilite-entity (sel-item-of *box*) (get-modeling-settings-feedback-color :selected-face))");
  EXPECT_EQ(run("(third (first (getf (vp-picture) :parts)))"), "(1.0d0 0.55d0 0.0d0)");
  EXPECT_EQ(run("(persistent-unhilite-entity *box*)"), "T");
  EXPECT_EQ(run("(persistent-unhilite-entity *box*)"), "NIL");
  EXPECT_EQ(run("(handler-case (persistent-hilite-entity *box* '(2 0 0)) (error () :bad-colour))"),
            ":BAD-COLOUR");
}

TEST_F(ViewportTest, ViewWindowFitAndFeedback) {
  run("(add-to-vp-drawlist (sel-item-of *box*))");
  EXPECT_EQ(run("(fit_vp)"), "T");
  EXPECT_EQ(run("(let ((w (getf (vp-view) :window))) (list (k2:gpnt3d-x (second w)) (k2:gpnt3d-y (second w))))"),
            "(110.0d0 10.0d0)");
  // Looking along x: right is y, up is z.
  run("(set-vp-view nil '(0 1 0) '(0 0 1))");
  run("(fit_vp)");
  EXPECT_EQ(run("(let ((w (getf (vp-view) :window))) (list (k2:gpnt3d-x (second w)) (k2:gpnt3d-y (second w))))"),
            "(10.0d0 10.0d0)");
  EXPECT_EQ(run("(handler-case (set-vp-view nil '(0 1 0) '(0 2 0)) (error () :parallel))"), ":PARALLEL");
  run("(window_vp nil (gpntwc 0 0 0) (gpntwc 5 5 5))");
  EXPECT_EQ(run("(k2:gpnt3d-x (second (getf (vp-view) :window)))"), "5.0d0");
  run("(defparameter *fb* (tv-create-feedback-elem \"LMX_BOX_FEEDBACK\"))");
  run("(tv-create-feedback-elem-line *fb* (gpntwc 0 0 0) (gpntwc 0 0 500) '(0 1 0))");
  EXPECT_EQ(run("(getf (vp-picture) :feedback)"), "((\"LMX_BOX_FEEDBACK\" 1))");
  EXPECT_EQ(run("(handler-case (tv-create-feedback-elem-line 999 (gpntwc 0 0 0) (gpntwc 1 1 1))"
                "  (error () :unknown))"),
            ":UNKNOWN");
  EXPECT_EQ(run("(list (tv-delete-feedback-elem *fb*) (tv-delete-feedback-elem *fb*))"), "(T NIL)");
  run("(clear_vp)");
  EXPECT_EQ(run("(fit_vp)"), "NIL");
}

TEST_F(ViewportTest, SeveralViewportsAndTheCurrentOne) {
  EXPECT_EQ(run("(tv-inq-current-vp)"), "1");
  EXPECT_EQ(run("(create-viewport)"), "2");
  run("(add-to-vp-drawlist (sel-item-of *box*) 2)");
  run("(add-to-vp-drawlist (sel-item-of *twin*) 1)");
  run("(set_vp_drawlist 1 (list (sel-item-of *twin*) (sel-item-of *empty*)))");
  EXPECT_EQ(run("(list (length (vp-drawlist 1)) (length (vp-drawlist 2)))"), "(2 1)");
  EXPECT_EQ(run("(remove-from-all-vp-drawlists *twin*)"), "1");
  EXPECT_EQ(run("(set-current-vp 2)"), "T");
  EXPECT_EQ(run("(getf (vp-picture) :triangles)"), "12");
  EXPECT_EQ(run("(handler-case (vp-picture 7) (error () :no-viewport))"), ":NO-VIEWPORT");
  EXPECT_EQ(run("(handler-case (vp-picture (expt 10 30)) (error () :no-viewport))"), ":NO-VIEWPORT");
  EXPECT_EQ(run("(remove-from-vp-drawlist *twin* 2)"), "NIL");
  const std::string text = run("(with-output-to-string (s) (viewport nil s))");
  EXPECT_NE(text.find("/frame/box  12 triangles"), std::string::npos) << text;
}

TEST_F(ViewportTest, ItemsUndoneOrDestroyedAreSkipped) {
  const auto noted = HISTORY::instance().note_state();
  run("(defparameter *later* (create-npart3 \"later\"))");
  run("(add-body-to-part *later* (%test-box 1))");
  run("(insert-in-graph *later*)");
  EXPECT_EQ(run("(add-to-vp-drawlist-with-checking (sel-item-of *later*))"), "T");
  EXPECT_EQ(run("(getf (vp-picture) :triangles)"), "12");
  ASSERT_TRUE(HISTORY::instance().recover_state(noted));
  EXPECT_EQ(run("(getf (vp-picture) :triangles)"), "0");
  EXPECT_EQ(run("(vp-drawlist)"), "NIL");
  EXPECT_EQ(run("(add-to-vp-drawlist-with-checking (list 1 2))"), "NIL");
  EXPECT_EQ(run("(handler-case (add-to-vp-drawlist 42) (error () :refused))"), ":REFUSED");
}

TEST_F(ViewportTest, BoxesColoursResolutionsAndTheCurrentPart) {
  EXPECT_EQ(run("(let ((b (inq_box (sel-item-of *asm*))))"
                "  (list (k2:gpnt3d-x (first b)) (k2:gpnt3d-y (second b))))"),
            "(100.0d0 60.0d0)");
  EXPECT_EQ(run("(inq_box *empty*)"), "NIL");
  EXPECT_EQ(run("(get_rgb_color *box*)"), "(0.7d0 0.7d0 0.75d0)");
  run("(set-part-color *box* 0 1 0)");
  EXPECT_EQ(run("(get_rgb_color (sel-item-of *twin*))"), "(0.0d0 1.0d0 0.0d0)");
  EXPECT_EQ(run("(handler-case (get_rgb_color *asm*) (error () :not-a-part))"), ":NOT-A-PART");
  EXPECT_EQ(run("(numberp (tv-inq-part-geo-resolution *box*))"), "T");
  EXPECT_EQ(run("(tv-inq-part-geo-resolution *empty*)"), "NIL");
  // The two instances share one body: one body below the assembly.
  EXPECT_EQ(run("(length (get-entities *asm* :body))"), "2");
  EXPECT_EQ(run("(length (remove-duplicates (get-entities *asm* :body) :key #'k2:entity-handle-sysid))"), "1");
  EXPECT_EQ(run("(get-entities *empty* :body)"), "NIL");
  EXPECT_EQ(run("(handler-case (get-entities *box* :face) (error () :unknown))"), ":UNKNOWN");
  EXPECT_EQ(run("(tv-inq-curr-part)"), "NIL");
  run("(tv-set-curr-part (sel-item-of *box*))");
  EXPECT_EQ(run("(tv-inq-obj-pathname (tv-inq-curr-part))"), "\"/frame/box\"");
  EXPECT_EQ(run("(handler-case (tv-set-curr-part *asm*) (error () :no-part))"), ":NO-PART");
  EXPECT_EQ(run("(k2:entity-handle-type (convert-entity (sel-item-of *box*)))"), "FRAME2:NPART3");
  run("(tv-set-curr-part nil)");
}

}  // namespace
