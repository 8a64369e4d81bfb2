// The small host services commands and dialogs call: transformations,
// strings and numbers for the user, units, checks, modification marks,
// generated names, groups of parcels, the error object and guarded actions.

#include "host/kernel/history/history.h"
#include "host/ui/output_box.h"
#include "lisp_fixture.h"

namespace {

class ServicesTest : public LispTest {
 protected:
  static std::string run(const std::string& text) { return eval(text, "FRAME2"); }
  void TearDown() override { HISTORY::instance().forget(); }
};

TEST_F(ServicesTest, TransformationsComposeInvertAndMovePoints) {
  run("(defparameter *shift* (make-matrix-3d :t0 10 :t1 0 :t2 0))");
  run("(defparameter *turn* (make-matrix-3d :a11 0 :a12 1 :a21 -1 :a22 0))");  // x -> y
  EXPECT_EQ(run("(let ((p (pos-transformation-3d '(1 0 0) (mult-transformation-3d *turn* *shift*))))"
                "  (list (k2:gpnt3d-x p) (k2:gpnt3d-y p) (k2:gpnt3d-z p)))"),
            "(10.0d0 1.0d0 0.0d0)");
  // Turn first, then shift; the other order differs.
  EXPECT_EQ(run("(let ((p (pos-transformation-3d '(1 0 0) (mult-transformation-3d *shift* *turn*))))"
                "  (list (k2:gpnt3d-x p) (k2:gpnt3d-y p)))"),
            "(0.0d0 11.0d0)");
  EXPECT_EQ(run("(let* ((m (mult-transformation-3d *turn* *shift*))"
                "       (p (pos-transformation-3d (pos-transformation-3d '(3 4 5) m)"
                "                                 (inverse-transformation-3d m))))"
                "  (list (k2:gpnt3d-x p) (k2:gpnt3d-y p) (k2:gpnt3d-z p)))"),
            "(3.0d0 4.0d0 5.0d0)");
  EXPECT_EQ(run("(let ((p (pos-transformation-3d (gpntwc 1 2 3) (make-matrix-3d :scale 2))))"
                "  (k2:gpnt3d-z p))"),
            "6.0d0");
  EXPECT_EQ(run("(handler-case (inverse-transformation-3d (make-matrix-3d :scale 0)) (error () :singular))"),
            ":SINGULAR");
  EXPECT_EQ(run("(handler-case (pos-transformation-3d '(1 2) *shift*) (error () :no-point))"), ":NO-POINT");
  // The kernel takes these values as they are.
  EXPECT_EQ(run("(let ((p (create-npart3 \"moved\")))"
                "  (set-tm p (mult-transformation-3d *turn* *shift*))"
                "  (prog1 (k2:transformation-p (inq-tm p)) (destroy-parcel p)))"),
            "T");
}

TEST_F(ServicesTest, StringsNumbersAndUnits) {
  EXPECT_EQ(run("(tv-read-from-string \"(:a 1 \\\"b\\\")\")"), "(:A 1 \"b\")");
  EXPECT_EQ(run("(tv-read-from-string \"\")"), "NIL");
  EXPECT_EQ(run("(handler-case (tv-read-from-string \"#.(quit)\") (error () :refused))"), ":REFUSED");
  EXPECT_EQ(run("(tv-string-split \"/asm/part/face\" #\\/)"), "(\"asm\" \"part\" \"face\")");
  EXPECT_EQ(run("(tv-string-split \"  a  b \")"), "(\"a\" \"b\")");
  EXPECT_EQ(run("(tv-string-split \"\")"), "NIL");
  EXPECT_EQ(run("(mapcar #'tv-num-to-string '(24 0.5 0.1d0 1234.5678d0 0 -2.5 1d-7 3/4))"),
            "(\"24\" \"0.5\" \"0.1\" \"1234.57\" \"0\" \"-2.5\" \"1.00000e-7\" \"0.75\")");
  EXPECT_EQ(run("(handler-case (tv-num-to-string nil) (error () :no-number))"), ":NO-NUMBER");
  EXPECT_EQ(run("(let ((inf ext:double-float-positive-infinity))"
                "  (mapcar #'tv-num-to-string (list (- inf inf) inf (- inf))))"),
            "(\"NaN\" \"inf\" \"-inf\")");
  EXPECT_EQ(run("(multiple-value-list (tv-inq-length-units))"), "(\"MM\" 1.0d0)");
  EXPECT_EQ(run("(tv-sys-to-user-units :length 25)"), "25.0d0");
  EXPECT_EQ(run("(progn (tv-set-length-units \"cm\")"
                "  (prog1 (list (tv-sys-to-user-units :length 25) (tv-sys-to-user-units :area 100)"
                "               (tv-sys-to-user-units :angle 90))"
                "    (tv-set-length-units \"MM\")))"),
            "(2.5d0 1.0d0 90)");
  EXPECT_EQ(run("(handler-case (tv-set-length-units \"furlong\") (error () :unknown))"), ":UNKNOWN");
}

TEST_F(ServicesTest, ChecksAnswerNilOrTheReason) {
  EXPECT_EQ(run("(check-positive-number 2)"), "NIL");
  EXPECT_EQ(run("(check-positive-number 0)"), "\"0 is not a positive number.\"");
  EXPECT_EQ(run("(check-positive-number \"x\")"), "\"\\\"x\\\" is not a positive number.\"");
  run("(defparameter *p* (create-npart3 \"empty\"))");
  run("(insert-in-graph *p*)");
  EXPECT_EQ(run("(check-part-with-body (sel-item-of *p*))"), "\"The part /empty has no body.\"");
  EXPECT_EQ(run("(check-modifiable (sel-item-of *p*) :contents)"), "NIL");
  run("(defparameter *a* (create-nasmb3 \"group\"))");
  run("(insert-in-graph *a*)");
  EXPECT_EQ(run("(check-part-with-body *a*)"), "\"/group is not a part.\"");
  run("(destroy-parcel *p*)");
  EXPECT_EQ(run("(stringp (check-modifiable *p*))"), "T");
  run("(destroy-parcel *a*)");
  // A dialog takes them as checks, with their extra arguments.
  run("(define-dialog \"CHECKED\" :variables '((:n :type :number :check check-positive-number)"
      "                                          (:o :type :parcel :check (check-modifiable :contents))))");
  run("(start-dialog \"CHECKED\")");
  EXPECT_EQ(run("(handler-case (dialog-input :n -1) (dialog-input-error (c) (format nil \"~A\" c)))"),
            "\"-1 is not a positive number.\"");
  run("(cancel-dialog)");
}

TEST_F(ServicesTest, NamesGroupsAndModificationMarks) {
  run("(defparameter *top* (create-nasmb3 \"top\"))");
  run("(insert-in-graph *top*)");
  run("(defparameter *sub* (create-nasmb3 \"sub\"))");
  run("(insert-child *top* *sub*)");
  run("(insert-child *top* (create-npart3 \"a\"))");
  run("(insert-child *sub* (create-npart3 \"b\"))");
  run("(insert-child *sub* (create-cont \"study\"))");
  EXPECT_EQ(run("(mapcar #'tv-inq-obj-basename (select_by_grouping *top* s_part))"), "(\"a\")");
  EXPECT_EQ(run("(mapcar #'tv-inq-obj-basename (select_by_grouping *top* s_part :recursive t))"),
            "(\"a\" \"b\")");
  EXPECT_EQ(run("(mapcar #'tv-inq-obj-basename (select_by_grouping (sel-item-of *top*) :container :recursive t))"),
            "(\"study\")");
  EXPECT_EQ(run("(list (structure-subtype-p *sub* :assembly) (structure-subtype-p *sub* s_part))"), "(T NIL)");
  EXPECT_EQ(run("(tv-gen-obj-basename :container :parent *sub* :prefix \"study\")"), "\"study-1\"");
  EXPECT_EQ(run("(tv-gen-obj-basename :container :parent *sub* :prefix \"other\")"), "\"other\"");
  EXPECT_EQ(run("(= (k2:entity-handle-sysid (get-contents *sub*)) "
                "   (k2:entity-handle-sysid (inq-shared-data *sub*)))"),
            "T");
  run("(clear-modified-marks)");
  EXPECT_EQ(run("(parcel-modified-p *sub*)"), "NIL");
  run("(set-path-modified (sel-item-of (tv-pathname-to-obj \"/top/sub/b\")) :contents)");
  EXPECT_EQ(run("(mapcar #'parcel-modified-p (list *top* *sub* (tv-pathname-to-obj \"/top/a\")))"),
            "(T T NIL)");
  run("(destroy-parcel *top*)");
  EXPECT_EQ(run("(handler-case (select_by_grouping *top* s_part) (error () :stale))"), ":STALE");
}

TEST_F(ServicesTest, ActionsAreGuardedAndTheirErrorsKept) {
  EXPECT_EQ(run("(tv-call-action (lambda (x) (* x 2)) 21)"), "42");
  EXPECT_EQ(run("(multiple-value-bind (v e) (tv-call-action (lambda () (error \"the file is locked\")))"
                "  (list v (read-error-object e :error-mesg) (tv-inq-error-obj :message)))"),
            "(NIL \"the file is locked\" \"the file is locked\")");
  // An action inside another is refused, not run.
  EXPECT_EQ(run("(tv-call-action (lambda () (multiple-value-bind (v e) (tv-call-action (lambda () :ran))"
                "                              (list v (getf e :error-mesg)))))"),
            "(NIL OLI:TV-CALL-ACTION-ILLEGAL-CALL)");
  std::vector<std::string> errors;
  output_box().set_error_sink([&](const std::string& l) { errors.push_back(l); });
  run("(display-error (tv-inq-error-obj))");
  output_box().set_error_sink(nullptr);
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0], "Error: the file is locked");
  EXPECT_EQ(run("(list (tv-inq-cluster-symbolic-name) (stringp (tv-inq-version-string)))"), "(\"Lumesh\" T)");
}

TEST_F(ServicesTest, NewPartsJoinTheViewSetsWhenTheSettingSaysSo) {
  run("(create-view-set \"front\")");
  run("(create-view-set \"top\")");
  run("(defparameter *v* (create-npart3 \"viewed\"))");
  run("(insert-in-graph *v*)");
  EXPECT_EQ(run("(add-parts-automatically-to-all-view-sets (sel-item-of *v*))"), "2");
  EXPECT_EQ(run("(add-parts-automatically-to-all-view-sets (sel-item-of *v*))"), "0");
  EXPECT_EQ(run("(length (view-set-items \"top\"))"), "1");
  run("(defparameter *w* (create-npart3 \"not\"))");
  run("(insert-in-graph *w*)");
  EXPECT_EQ(run("(let ((*add_new_parts_automatically_to_view_sets* nil))"
                "  (add-parts-automatically-to-all-view-sets (sel-item-of *w*)))"),
            "0");
  run("(destroy-parcel *w*)");
  run("(destroy-parcel *v*)");
  EXPECT_EQ(run("(view-set-items \"top\")"), "NIL");
}

// Module code calls the host's operations by their underscore names.
TEST_F(ServicesTest, UnderscoreNamesCallTheSameOperations) {
  run("(defparameter *u* (create_npart3 \"u\"))");
  run("(insert_in_graph *u*)");
  run("(set_tm *u* (make-matrix-3d :t0 7))");
  EXPECT_EQ(run("(aref (k2:transformation-elements (inq_tm *u*)) 9)"), "7.0d0");
  EXPECT_EQ(run("(= (tv-inq-sysid *u*) (tv-inq-obj-sysid *u*))"), "T");
  EXPECT_EQ(run("(list (inq_num_children (root-parcel)) (tv-inq-obj-basename (inq_child (root-parcel) 0)))"),
            "(1 \"u\")");
  EXPECT_EQ(run("(get_system_name :part)"), "\"part\"");
  EXPECT_EQ(run("(get_part_body *u*)"), "NIL");
  EXPECT_EQ(run("(handler-case (insert_child *u* (create_nasmb3)) (error () :refused))"), ":REFUSED");
  run("(destroy-parcel *u*)");
}

TEST_F(ServicesTest, UndoAndRedoStepThroughNotedCommands) {
  // The root exists before the first step, as in a session: made later, it
  // would be a change of its own, and making it after an undo would cut
  // the steps that redo needs.
  run("(root-parcel)");
  run("(note-command-state)");
  run("(insert-in-graph (create-npart3 \"first\"))");
  run("(note-command-state)");
  run("(insert-in-graph (create-npart3 \"second\"))");
  run("(note-command-state)");
  auto names = [] { return run("(mapcar #'tv-inq-obj-basename (tv-inq-obj-children (root-parcel)))"); };
  EXPECT_EQ(names(), "(\"first\" \"second\")");
  EXPECT_EQ(run("(undo)"), "T");
  EXPECT_EQ(names(), "(\"first\")");
  EXPECT_EQ(run("(undo)"), "T");
  EXPECT_EQ(names(), "NIL");
  EXPECT_EQ(run("(redo 2)"), "T");
  EXPECT_EQ(names(), "(\"first\" \"second\")");
  EXPECT_EQ(run("(redo)"), "NIL");  // nothing left to redo
  EXPECT_EQ(run("(undo 100000)"), "NIL");
  EXPECT_EQ(names(), "(\"first\" \"second\")");
  run("(dolist (c (tv-inq-obj-children (root-parcel))) (destroy-parcel c))");
}

}  // namespace
