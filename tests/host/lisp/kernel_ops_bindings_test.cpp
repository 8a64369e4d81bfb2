// The kernel's operations as Lisp code calls them: results, refusals of bad
// arguments (which change nothing), and undo through the state manager and
// model checkpoints.

#include "host/kernel/history/history.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"
#include "host/lisp/native_function.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/lisp/values.h"
#include "lisp_fixture.h"
#include "support/split_bodies.h"

namespace {

LAOBJ* cut_block(NATIVE_CALL& call) {
  call.check_count(0, 0);
  return make_ptr(make_cut_holed_block());
}

LAOBJ* split_tube(NATIVE_CALL& call) {
  call.check_count(0, 0);
  return make_ptr(make_split_tube(3.0, 5.0, 16, false));
}

// The cut block with a cube as a second shell.
LAOBJ* two_shells(NATIVE_CALL& call) {
  call.check_count(0, 0);
  BODY* body = make_cut_holed_block();
  BODY* cube = make_triangle_cube(1.0);
  body->add_shell(cube->shell(0));
  cube->lose();
  return make_ptr(body);
}

class KernelOpsBindingsTest : public LispTest {
 protected:
  static void SetUpTestSuite() {
    LispTest::SetUpTestSuite();
    LAOBJ* pkg = make_package("KERNEL-OPS-TEST", nullptr);
    make_package_function("CUT-BLOCK", &cut_block, &pkg, 1);
    make_package_function("SPLIT-TUBE", &split_tube, &pkg, 1);
    make_package_function("TWO-SHELLS", &two_shells, &pkg, 1);
    eval("(use-package \"K2\" \"KERNEL-OPS-TEST\")");
  }
  void TearDown() override {
    eval("(progn (when (boundp '*b*) (ignore-errors (destroy *b*))) (makunbound '*b*))",
         "KERNEL-OPS-TEST");
    HISTORY::instance().forget();
  }
  static std::string run(const std::string& text) { return eval(text, "KERNEL-OPS-TEST"); }
};

TEST_F(KernelOpsBindingsTest, MergeJoinsFacesOfOneSurface) {
  EXPECT_EQ(run("(progn (defparameter *b* (cut-block)) (length (body-faces *b*)))"), "16");
  EXPECT_EQ(run("(merge-3d *b*)"), "6");
  EXPECT_EQ(run("(length (body-faces *b*))"), "10");
  EXPECT_EQ(run("(merge-3d *b* :ignore-attributes t)"), "0");
  // Colours keep faces apart unless the option says otherwise, alone or with a value.
  EXPECT_EQ(run("(progn (destroy *b*) (setf *b* (split-tube))"
                "       (set-face-color (first (body-faces *b*)) #xFF0000)"
                "       (list (merge-3d *b*) (merge-3d *b* :ignore-attributes nil)"
                "             (merge-3d *b* :ignore-attributes)))"),
            "(0 0 1)");
  EXPECT_EQ(run("(face-color (first (body-faces *b*)))"), "16711680");
}

TEST_F(KernelOpsBindingsTest, MergeRefusesWhatIsNoBodyWithFaces) {
  run("(defparameter *b* (cut-block))");
  EXPECT_EQ(run("(handler-case (merge-3d 5) (type-error () :type))"), ":TYPE");
  EXPECT_EQ(run("(handler-case (merge-3d (first (body-faces *b*))) (error () :not-a-body))"),
            ":NOT-A-BODY");
  EXPECT_EQ(run("(handler-case (merge-3d *b* :color 1) (error () :bad-key))"), ":BAD-KEY");
  EXPECT_EQ(run("(handler-case (merge-3d *b* :planes) (error () :bad-option))"), ":BAD-OPTION");
  EXPECT_EQ(run("(handler-case (merge-3d) (program-error () :count))"), ":COUNT");
  EXPECT_EQ(run("(let ((e (make-body nil 0.001)))"
                "  (prog1 (handler-case (merge-3d e) (k2:module-error (c) (princ-to-string c)))"
                "    (destroy e)))"),
            "\"the body has no face\"");
  EXPECT_EQ(run("(let ((old (cut-block))) (destroy old)"
                "  (handler-case (merge-3d old)"
                "    (error (c) (and (search \"deleted\" (princ-to-string c)) :stale))))"),
            ":STALE");
  EXPECT_EQ(run("(length (body-faces *b*))"), "16");
}

TEST_F(KernelOpsBindingsTest, StaleHandlesAndWrongTypesAreErrorsForEveryOperation) {
  const std::string calls[] = {"(merge-3d x)",
                               "(split-body-3d x)",
                               "(set-face-color x 0)",
                               "(set-face-color (list x) :off)",
                               "(face_prop (list x) :color 0)",
                               "(delete_3d x)",
                               "(destroy x)",
                               "(mass-props-ass x)",
                               "(sfy-face-count x)",
                               "(make-body x 0.1)",
                               "(attach-subshell x x)",
                               "(detach-subshell x)",
                               "(destroy-subshell x)",
                               "(body-shells x)",
                               "(body-faces x)",
                               "(shell-faces x)",
                               "(shell-subshells x)",
                               "(shell-parent x)",
                               "(face-color x)"};
  for (const char* stale : {"(let ((b (cut-block))) (destroy b) b)",
                            "(let* ((b (cut-block)) (f (first (body-faces b)))) (destroy b) f)",
                            "(let* ((b (cut-block)) (s (first (body-shells b)))) (destroy b) s)",
                            "42", "\"text\"", "(list 1 2)"}) {
    for (const std::string& call : calls) {
      EXPECT_EQ(run("(let ((x " + std::string(stale) + ")) (handler-case " + call +
                    " (error () :refused)))"),
                ":REFUSED")
          << call << " with " << stale;
    }
  }
}

TEST_F(KernelOpsBindingsTest, SplitGivesOneBodyPerShell) {
  EXPECT_EQ(run("(progn (defparameter *b* (two-shells))"
                "       (let ((bodies (split-body-3d *b*)))"
                "         (prog1 (list (length bodies) (equalp (first bodies) *b*)"
                "                      (mapcar #'sfy-face-count bodies))"
                "           (destroy (second bodies)))))"),
            "(2 T (16 12))");
  EXPECT_EQ(run("(equalp (first (split-body-3d *b*)) *b*)"), "T");
  EXPECT_EQ(
      run("(let ((e (make-body nil 0.001)))"
          "  (prog1 (handler-case (split-body-3d e) (k2:module-error () :empty)) (destroy e)))"),
      ":EMPTY");
}

TEST_F(KernelOpsBindingsTest, FaceColoursAndTheFacePropAction) {
  run("(defparameter *b* (cut-block))");
  EXPECT_EQ(run("(let ((fs (body-faces *b*)))"
                "  (set-face-color (subseq fs 0 2) #x00FF00)"
                "  (set-face-color (third fs) '(1 0 0.5))"
                "  (mapcar #'face-color (subseq fs 0 4)))"),
            "(65280 65280 16711808 NIL)");
  // :OFF removes the face's own colour.
  EXPECT_EQ(
      run("(let ((fs (body-faces *b*)))"
          "  (face_prop (list (frame2:make-sel_item :item (first fs) :type :face)) :color :off)"
          "  (face_prop (list (frame2:make-sel_item :item (fourth fs) :type :face)) :color "
          "#x0000FF)"
          "  (mapcar #'face-color (subseq fs 0 4)))"),
      "(NIL 65280 16711808 255)");
  // A bad colour or a bad item among good ones changes no face.
  EXPECT_EQ(run("(handler-case (set-face-color (body-faces *b*) #x1000000) (error () :range))"),
            ":RANGE");
  EXPECT_EQ(run("(handler-case (set-face-color (body-faces *b*) '(1 2 3)) (error () :range))"),
            ":RANGE");
  EXPECT_EQ(run("(handler-case (set-face-color (list (first (body-faces *b*)) *b*) 0) (error () "
                ":wrong))"),
            ":WRONG");
  EXPECT_EQ(run("(handler-case (face_prop (body-faces *b*) :colour 0) (error () :key))"), ":KEY");
  EXPECT_EQ(run("(mapcar #'face-color (subseq (body-faces *b*) 0 4))"), "(NIL 65280 16711808 255)");
}

TEST_F(KernelOpsBindingsTest, MassPropertiesOfBodiesAndParts) {
  run("(defparameter *b* (cut-block))");
  EXPECT_EQ(run("(let ((mp (mass-props-ass *b*)))"
                "  (list (round (* 1000 (mp-rs mp 0))) (round (* 1000 (mp-rs mp 1)))"
                "        (mp-rs mp 3) (mp-faces mp) (mp-closed-shells mp)))"),
            "(15000 50000 0.0d0 16 1)");
  // A part's body, with one transformation for all bodies or one each.
  EXPECT_EQ(run("(let ((p (frame2:create-npart3 \"measured\")) (b (cut-block)))"
                "  (frame2:add-body-to-part p b)"
                "  (prog1 (list (round (+ (mp-rs (mass-props-ass p nil \"/measured\") 1)"
                "                         (mp-rs (mass-props-ass p nil \"/measured\") 3)))"
                "               (round (mp-rs (mass-props-ass (list p *b*)"
                "                                             (list nil (frame2:inq-tm p))) 0))"
                "               (sfy-face-count p))"
                "    (frame2:destroy-parcel p)))"),
            "(50 30 16)");
  EXPECT_EQ(run("(handler-case (mass-props-ass nil) (error () :none))"), ":NONE");
  EXPECT_EQ(run("(handler-case (mass-props-ass (frame2:create-nasmb3)) (error () :no-body))"),
            ":NO-BODY");
  EXPECT_EQ(run("(handler-case (mass-props-ass (list *b* *b*) (list nil)) (error () :count))"),
            ":COUNT");
  EXPECT_EQ(
      run("(let ((e (make-body nil 0.001)))"
          "  (prog1 (handler-case (mass-props-ass e) (k2:module-error () :empty)) (destroy e)))"),
      ":EMPTY");
}

TEST_F(KernelOpsBindingsTest, DestroyAndDelete) {
  // A free body goes; a part's body is refused; the part goes with delete_3d.
  EXPECT_EQ(
      run("(let ((b (cut-block))) (destroy b) (handler-case (sfy-face-count b) (error () :gone)))"),
      ":GONE");
  EXPECT_EQ(run("(let ((p (frame2:create-npart3 \"deleted\")) (b (cut-block)))"
                "  (frame2:add-body-to-part p b) (frame2:insert-in-graph p)"
                "  (list (handler-case (destroy b) (error () :refused))"
                "        (delete_3d (list (frame2:make-sel_item :item p :type :part)))"
                "        (handler-case (sfy-face-count b) (error () :gone))"
                "        (frame2:tv-pathname-to-obj \"/deleted\")))"),
            "(:REFUSED T :GONE NIL)");
  EXPECT_EQ(run("(handler-case (delete_3d (frame2:root-parcel)) (error () :root))"), ":ROOT");
  EXPECT_EQ(run("(handler-case (destroy 5) (type-error () :type))"), ":TYPE");
  EXPECT_EQ(run("(handler-case (destroy (frame2:root-parcel)) (k2:module-error () :root))"),
            ":ROOT");
  // Faces: delete_3d of faces of a free body; a face twice is deleted once.
  EXPECT_EQ(
      run("(progn (defparameter *b* (cut-block))"
          "  (let ((f (first (body-faces *b*)))) (delete_3d (list f f (second (body-faces *b*)))))"
          "  (sfy-face-count *b*))"),
      "14");
  EXPECT_EQ(run("(handler-case (delete_3d (list (first (body-faces *b*)) 7)) (error () :bad))"),
            ":BAD");
  EXPECT_EQ(run("(sfy-face-count *b*)"), "14");
}

TEST_F(KernelOpsBindingsTest, SubshellsAttachDetachAndDestroy) {
  EXPECT_EQ(run("(progn (defparameter *b* (cut-block))"
                "  (let* ((shell (first (body-shells *b*)))"
                "         (sub (make-subshell (subseq (body-faces *b*) 0 3))))"
                "    (list (shell-parent sub) (attach-subshell shell sub)"
                "          (eq (type-of (shell-parent sub)) (type-of shell))"
                "          (length (shell-faces shell)) (length (shell-subshells shell))"
                "          (sfy-face-count *b*)"
                "          (handler-case (attach-subshell sub sub) (error () :self))"
                "          (handler-case (make-body sub 0.01) (error () :subshell))"
                "          (detach-subshell sub) (detach-subshell sub)"
                "          (sfy-face-count *b*)"
                "          (progn (attach-subshell shell sub) (destroy-subshell sub) "
                "(sfy-face-count *b*))"
                "          (handler-case (shell-faces sub) (error () :gone)))))"),
            "(NIL T T 13 1 16 :SELF :SUBSHELL T NIL 13 13 :GONE)");
}

TEST_F(KernelOpsBindingsTest, UndoBringsColoursMergeAndSplitBack) {
  EXPECT_EQ(
      run("(progn (defparameter *b* (two-shells))"
          "  (set-face-color (first (body-faces *b*)) #x123456)"
          "  (let ((state (note-state *k2-state-manager*)) (faces (body-faces *b*)))"
          "    (set-face-color (first faces) :off)"
          "    (merge-3d *b* :ignore-attributes t)"
          "    (let ((split (second (split-body-3d *b*))))"
          "      (list (length (body-faces *b*)) (length (body-shells *b*))"
          "            (recover-state *k2-state-manager* state)"
          "            (length (body-faces *b*)) (length (body-shells *b*))"
          "            (face-color (first (body-faces *b*)))"
          "            (every (lambda (f) (handler-case (progn (face-color f) t) (error () nil)))"
          "                   faces)"
          "            (handler-case (sfy-face-count split) (error () :undone))))))"),
      "(10 1 T 28 2 1193046 T :UNDONE)");
  // A model checkpoint does the same for a part's body.
  EXPECT_EQ(
      run("(let ((p (frame2:create-npart3 \"checked\")) (b (cut-block)))"
          "  (frame2:add-body-to-part p b)"
          "  (let ((cp (frame2:tv-set-model-checkpoint)))"
          "    (set-face-color (body-faces b) #xFF00FF)"
          "    (merge-3d b)"
          "    (prog1 (list (sfy-face-count p) (frame2:tv-return-to-model-checkpoint cp)"
          "                 (sfy-face-count p) (remove nil (mapcar #'face-color (body-faces b))))"
          "      (frame2:destroy-parcel p))))"),
      "(10 T 16 NIL)");
}


// The whole round: a feature on a part, a face colour, a merge and a split;
// the merge and the split detach the part's features as their options say;
// recovering the noted state brings every piece back.
TEST_F(KernelOpsBindingsTest, UndoBringsAFeatureColourMergeAndSplitBack) {
  run("(progn (defparameter *p* (frame2:create-npart3 \"featured\"))"
      "  (frame2:add-body-to-part *p* (two-shells))"
      "  (defparameter *kept* (frame2:make-thin-universal-feature-instance"
      "    (list (frame2:inq-shared-data *p*)) :on-split :maintain :on-merge :maintain :kind :kept))"
      "  (defparameter *state* (note-state *k2-state-manager*))"
      "  (defparameter *gone* (frame2:make-thin-universal-feature-instance"
      "    (list (frame2:inq-shared-data *p*)) :kind :default))"
      "  (defparameter *on-instance* (frame2:make-thin-universal-feature-instance (list *p*) :kind :here)))");
  const char* features =
      "(list (length (frame2:universal-features (frame2:inq-shared-data *p*)))"
      "      (length (frame2:universal-features *p*)))";
  EXPECT_EQ(run(features), "(2 1)");
  EXPECT_EQ(run("(let ((b (frame2:get-part-body *p*)))"
                "  (set-face-color (first (body-faces b)) #xABCDEF)"
                "  (list (merge-3d b :ignore-attributes t) (sfy-face-count *p*)))"),
            "(12 16)");
  EXPECT_EQ(run(features), "(1 0)");  // the kept one stays
  EXPECT_EQ(run("(let ((bodies (split-body-3d (frame2:get-part-body *p*))))"
                "  (defparameter *split* (second bodies))"
                "  (list (length bodies) (sfy-face-count *p*)))"),
            "(2 10)");
  EXPECT_EQ(run("(list (recover-state *k2-state-manager* *state*) (sfy-face-count *p*)"
                "      (length (body-shells (frame2:get-part-body *p*)))"
                "      (remove nil (mapcar #'face-color (body-faces (frame2:get-part-body *p*))))"
                "      (handler-case (sfy-face-count *split*) (error () :undone))"
                "      (length (frame2:universal-features (frame2:inq-shared-data *p*))))"),
            "(T 28 2 NIL :UNDONE 1)");
  // The features made after the noted state are gone with it; forward again
  // they are back, and detached again by the merge that follows them.
  EXPECT_EQ(run("(progn (recover-state *k2-state-manager* (+ *state* 1)) " + std::string(features) + ")"),
            "(1 0)");
  run("(frame2:destroy-parcel *p*)");
}

}  // namespace
