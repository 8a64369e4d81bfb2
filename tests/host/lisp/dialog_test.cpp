// Dialogs driven through the input line exactly as a user types them: values
// checked by type and by the dialog's own checks, must-variables, enabling
// that follows another variable, push actions, session values, Complete's
// deferred end and Cancel back to the start's checkpoint, and Lisp forms
// mixed in.

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "host/kernel/history/history.h"
#include "host/ui/output_box.h"
#include "lisp_fixture.h"

namespace {

// A file that exists, for the input file checks of the dialogs below.
std::string input_file() { return ::testing::TempDir() + "lumesh-dialog-test-input.stl"; }

class DialogTest : public LispTest {
 protected:
  static std::string run(const std::string& text) { return eval(text, "FRAME2"); }
  // Types a line; true when the interpreter took it whole.
  static bool type(const std::string& line) {
    std::string quoted;
    for (char c : line) {
      if (c == '"' || c == '\\') quoted += '\\';
      quoted += c;
    }
    return run("(interpret-line \"" + quoted + "\")") == "T";
  }
  static std::string last_line() {
    const auto lines = output_box().recent(1);
    return lines.empty() ? "" : lines.back();
  }
  void SetUp() override {
    output_box().set_sink([](const std::string&) {});
    output_box().set_error_sink([](const std::string&) {});
    std::ofstream(input_file()) << "solid x\nendsolid x\n";
    // A dialog in the way the module writes its own: a file, switches whose
    // enabling follows another, a positive number, a range, a colour, a part,
    // a push action, session values.
    ASSERT_EQ(run(R"((progn
      (clrhash *session-values*)
      (defvar *applied* nil)
      (defvar *helped* 0)
      (define-dialog "TEST_LOAD"
        :title "Test Load"
        :cancel-to-checkpoint t
        :variables
        '((:file :type :filename :must t :direction :input)
          (:planes :type :boolean :default t :pds :session
           :after-input test-load-planes-changed)
          (:cylinders :type :boolean :default t :pds :session)
          (:precision :type :positive-number :pds :session)
          (:mode :type :range :range (:fast :exact) :default :fast)
          (:color :type :rgb)
          (:target :type :part)
          (:help :type :push :action test-load-help))
        :before-ok 'test-load-ready-p
        :action 'test-load-apply)
      (defun test-load-planes-changed (on)
        (set-dialog-variable-enabled :cylinders on)
        (set-dialog-variable-enabled :precision on)
        (unless on (setf (gethash :cylinders (dialog-run-values *active-dialog*)) nil)))
      (defun test-load-help () (incf *helped*))
      (defun test-load-ready-p () (not (equal (dialog-value :file) "refuse")))
      (defun test-load-apply ()
        (when (eq (dialog-value :mode) :exact) (error "exact mode is not ready"))
        (setf *applied* (list (dialog-value :file) (dialog-value :planes)
                              (dialog-value :cylinders) (dialog-value :precision))))
      t))"),
              "T");
  }
  void TearDown() override {
    run("(when *active-dialog* (setf *active-dialog* nil))");
    output_box().set_sink(nullptr);
    output_box().set_error_sink(nullptr);
    HISTORY::instance().forget();
  }
};

TEST_F(DialogTest, ALineOfTokensFillsAndCompletesTheDialog) {
  const std::string file = "\"" + input_file() + "\"";
  ASSERT_TRUE(type("TEST_LOAD :file " + file + " :precision 0.05 :planes :on COMPLETE"));
  EXPECT_EQ(run("*active-dialog*"), "NIL");
  EXPECT_EQ(run("*applied*"), "(" + file + " T T 0.05)");
}

TEST_F(DialogTest, OneValuePerLineFollowsTheInput) {
  ASSERT_TRUE(type("TEST_LOAD"));
  EXPECT_EQ(run("(getf (dialog-state) :focus)"), ":FILE");
  ASSERT_TRUE(type("\"" + input_file() + "\"")) << last_line();
  // The input moves on to the next variable to fill.
  EXPECT_EQ(run("(getf (dialog-state) :focus)"), ":PLANES");
  ASSERT_TRUE(type(":off"));
  EXPECT_EQ(run("(dialog-value :planes)"), "NIL");
  ASSERT_TRUE(type("COMPLETE"));
  EXPECT_EQ(run("*applied*"), "(\"" + input_file() + "\" NIL NIL NIL)");
}

TEST_F(DialogTest, RefusedValuesKeepTheDialogOnTheVariableWithTheReason) {
  ASSERT_TRUE(type("TEST_LOAD :precision 0.1"));
  EXPECT_FALSE(type(":precision -2"));
  EXPECT_EQ(run("(dialog-value :precision)"), "0.1");
  EXPECT_EQ(run("(getf (dialog-state) :focus)"), ":PRECISION");
  EXPECT_EQ(run("(getf (dialog-state) :message)"), "\"Precision must be a positive number, not -2.\"");
  EXPECT_EQ(last_line(), "Error: Precision must be a positive number, not -2.");
  EXPECT_FALSE(type(":planes :maybe"));
  EXPECT_FALSE(type(":mode :slow"));
  EXPECT_FALSE(type(":color (1 2 3)"));
  EXPECT_TRUE(type(":color (1 0.5 0)"));
  EXPECT_FALSE(type(":file \"/no/such/file\""));
  EXPECT_FALSE(type(":target \"/no/such/part\""));
  // A keyword that names no variable is a value for the one that has the
  // input, and unknown as a variable when none has it.
  EXPECT_FALSE(type(":nothing"));
  EXPECT_EQ(last_line(), "Error: :NOTHING is no object of the model.");
  run("(set-dialog-focus nil)");
  EXPECT_FALSE(type(":nothing 1"));
  EXPECT_NE(last_line().find("no variable :NOTHING"), std::string::npos) << last_line();
  EXPECT_FALSE(type(":precision"));  // a variable without its value
  EXPECT_FALSE(type("NO_SUCH_DIALOG_OR_VARIABLE"));
  // The dialog is still there, as it was.
  EXPECT_EQ(run("(getf (dialog-state) :dialog)"), "\"TEST_LOAD\"");
  EXPECT_EQ(run("(dialog-value :color)"), "(1 0.5 0)");
}

TEST_F(DialogTest, CompleteChecksMustVariablesBeforeOkAndTheAction) {
  ASSERT_TRUE(type("TEST_LOAD"));
  EXPECT_FALSE(type("COMPLETE"));
  EXPECT_EQ(last_line(), "Error: File must be given.");
  EXPECT_EQ(run("(getf (dialog-state) :focus)"), ":FILE");
  // The before-ok function keeps the dialog open.
  run("(setf (gethash :file (dialog-run-values *active-dialog*)) \"refuse\")");
  EXPECT_FALSE(type("COMPLETE"));
  EXPECT_EQ(run("(null *active-dialog*)"), "NIL");
  // An action that fails leaves the dialog open with its error.
  ASSERT_TRUE(type(":file \"" + input_file() + "\" :mode :exact"));
  EXPECT_FALSE(type("COMPLETE"));
  EXPECT_EQ(run("(getf (dialog-state) :message)"), "\"exact mode is not ready\"");
  ASSERT_TRUE(type(":mode :fast COMPLETE"));
  EXPECT_EQ(run("*active-dialog*"), "NIL");
}

TEST_F(DialogTest, EnablingFollowsAnotherVariable) {
  ASSERT_TRUE(type("TEST_LOAD :planes :off"));
  EXPECT_EQ(run("(list (dialog-variable-enabled-p :cylinders) (dialog-value :cylinders))"), "(NIL NIL)");
  EXPECT_FALSE(type(":cylinders :on"));
  EXPECT_EQ(last_line(), "Error: Cylinders cannot be changed now.");
  ASSERT_TRUE(type(":planes :on :cylinders :on"));
  EXPECT_EQ(run("(dialog-value :cylinders)"), "T");
  // Disabled variables are skipped when the input moves on.
  ASSERT_TRUE(type(":planes :off"));
  EXPECT_EQ(run("(getf (dialog-state) :focus)"), ":MODE");
}

TEST_F(DialogTest, PushActionsRunAtOnceAndHoldNoValue) {
  run("(setf *helped* 0)");
  ASSERT_TRUE(type("TEST_LOAD :help :help"));
  EXPECT_EQ(run("*helped*"), "2");
  EXPECT_FALSE(type(":help 3 :planes"));
}

TEST_F(DialogTest, SessionValuesComeBackAtTheNextStart) {
  ASSERT_TRUE(type("TEST_LOAD :file \"" + input_file() + "\" :planes :on :cylinders :off :precision 0.2 COMPLETE"));
  ASSERT_TRUE(type("TEST_LOAD"));
  EXPECT_EQ(run("(list (dialog-value :cylinders) (dialog-value :precision) (dialog-value :file))"),
            "(NIL 0.2 NIL)");
  // A cancelled run stores nothing.
  ASSERT_TRUE(type(":precision 0.7 CANCEL"));
  ASSERT_TRUE(type("TEST_LOAD"));
  EXPECT_EQ(run("(dialog-value :precision)"), "0.2");
}

// Persistent values outlive the session: they go to the user's persistent
// data (here in a folder of the test's own), and come back when the
// session's own are gone.
TEST_F(DialogTest, PersistentValuesComeBackInALaterSession) {
  std::string dir = ::testing::TempDir() + "/lumesh-dialog-XXXXXX";
  ASSERT_NE(::mkdtemp(dir.data()), nullptr);
  ::setenv("APPDATA", dir.c_str(), 1);
  run("(define-dialog \"KEPT\" :variables '((:tolerance :type :positive-number :default 0.1 :pds :persistent)"
      "                                       (:target :type :part :pds :persistent)))");
  ASSERT_TRUE(type("KEPT :tolerance 0.02 COMPLETE"));
  run("(clrhash *session-values*)");  // as after a restart
  ASSERT_TRUE(type("KEPT"));
  EXPECT_EQ(run("(dialog-value :tolerance)"), "0.02");
  ASSERT_TRUE(type("CANCEL"));
  EXPECT_EQ(run("(tv-get-persistent-data \"DIALOGS\" \"KEPT\")"), "(:TOLERANCE 0.02)");
  // A value that has no lasting form is kept for the session only; the
  // dialog completes all the same.
  run("(defparameter *kept-part* (create-npart3 \"kept\"))");
  run("(insert-in-graph *kept-part*)");
  EXPECT_TRUE(type("KEPT :target \"/kept\" COMPLETE"));
  EXPECT_EQ(run("*active-dialog*"), "NIL");
  EXPECT_EQ(run("(tv-get-persistent-data \"DIALOGS\" \"KEPT\")"), "(:TOLERANCE 0.02)");
  run("(destroy-parcel *kept-part*)");
  ::unsetenv("APPDATA");
  std::filesystem::remove_all(dir);
}

TEST_F(DialogTest, CancelReturnsTheModelToTheStart) {
  run("(defparameter *keep* (create-npart3 \"kept\"))");
  run("(insert-in-graph *keep*)");
  ASSERT_TRUE(type("TEST_LOAD"));
  // What the dialog did to the model is undone by Cancel.
  ASSERT_TRUE(type("(insert-in-graph (create-npart3 \"made-in-dialog\"))"));
  EXPECT_NE(run("(tv-pathname-to-obj \"/made-in-dialog\")"), "NIL");
  ASSERT_TRUE(type("CANCEL"));
  EXPECT_EQ(run("(tv-pathname-to-obj \"/made-in-dialog\")"), "NIL");
  EXPECT_NE(run("(tv-pathname-to-obj \"/kept\")"), "NIL");
  EXPECT_EQ(run("*active-dialog*"), "NIL");
  run("(destroy-parcel *keep*)");
}

TEST_F(DialogTest, SelectionsAreCheckedAndGoStaleWithTheirObject) {
  run("(defparameter *p* (create-npart3 \"plate\"))");
  run("(insert-in-graph *p*)");
  run("(defparameter *a* (create-nasmb3 \"frame\"))");
  run("(insert-in-graph *a*)");
  ASSERT_TRUE(type("TEST_LOAD :target \"/plate\""));
  EXPECT_EQ(run("(sel_item-type (dialog-value :target))"), ":PART");
  EXPECT_FALSE(type(":target \"/frame\""));
  EXPECT_EQ(last_line(), "Error: Target takes part, not /frame.");
  // A form's value goes to the variable named before it.
  ASSERT_TRUE(type(":target (sel-item-of *p*)"));
  run("(destroy-parcel *a*)");
  run("(destroy-parcel *p*)");
  EXPECT_FALSE(type(":target (sel-item-of *p*)"));
  // Cancel brings back what existed at the start, the two objects too.
  ASSERT_TRUE(type("CANCEL"));
  EXPECT_NE(run("(tv-pathname-to-obj \"/frame\")"), "NIL");
  run("(destroy-parcel (tv-pathname-to-obj \"/frame\"))");
  run("(destroy-parcel (tv-pathname-to-obj \"/plate\"))");
  EXPECT_EQ(run("(tv-inq-obj-children (root-parcel))"), "NIL");
}

TEST_F(DialogTest, FormsAndTheInputBufferMixWithDialogInput) {
  // Without a dialog a line is Lisp.
  ASSERT_TRUE(type("(+ 1 2)"));
  EXPECT_EQ(last_line(), "3");
  // A command can put the next input into the buffer; it runs after the
  // current line.
  ASSERT_TRUE(type("(tv-put-buffer \":planes :off\") TEST_LOAD"));
  EXPECT_EQ(run("(dialog-value :planes)"), "NIL");
  EXPECT_EQ(run("*input-buffer*"), "NIL");
  EXPECT_FALSE(type("COMPLETE COMPLETE"));  // the second finds no dialog
  EXPECT_EQ(last_line(), "Error: File must be given.");
  ASSERT_TRUE(type("CANCEL"));
  EXPECT_FALSE(type("COMPLETE"));
  EXPECT_EQ(last_line(), "Error: No dialog is active.");
  EXPECT_FALSE(type("(car 5)"));
  EXPECT_FALSE(type("(unbalanced"));
}

TEST_F(DialogTest, StateIsDataForAnyFrontEnd) {
  ASSERT_TRUE(type("TEST_LOAD :precision 0.5"));
  EXPECT_EQ(run("(getf (dialog-state) :title)"), "\"Test Load\"");
  EXPECT_EQ(run("(mapcar (lambda (v) (getf v :name)) (getf (dialog-state) :variables))"),
            "(:FILE :PLANES :CYLINDERS :PRECISION :MODE :COLOR :TARGET :HELP)");
  EXPECT_EQ(run("(getf (find :precision (getf (dialog-state) :variables) :key #'cadr) :text)"),
            "\"0.5\"");
  EXPECT_EQ(run("(getf (find :file (getf (dialog-state) :variables) :key #'cadr) :must)"), "T");
  const std::string panel = run("(with-output-to-string (s) (print-dialog-panel s))");
  EXPECT_NE(panel.find("== Test Load =="), std::string::npos) << panel;
  EXPECT_NE(panel.find("Precision"), std::string::npos) << panel;
  ASSERT_TRUE(type("CANCEL"));
  EXPECT_EQ(run("(dialog-state)"), "NIL");
}

// The dialog's own rules: where the input goes next, variables of its own
// that the user never sees, lengths typed in the user's unit.
TEST_F(DialogTest, NextInputLocalVariablesAndLengthsInUserUnits) {
  run("(define-dialog \"RULED\" :next-input (lambda () (if (dialog-value :by-angle) :angle nil))"
      "  :variables '((:by-angle :type :boolean)"
      "               (:angle :type :angle :half t :section \"Limits\")"
      "               (:gap :type :length)"
      "               (:count :type :integer :local t :default 0)))");
  ASSERT_TRUE(type("RULED :by-angle :on"));
  EXPECT_EQ(run("(getf (dialog-state) :focus)"), ":ANGLE");
  ASSERT_TRUE(type(":by-angle :off"));
  EXPECT_EQ(run("(getf (dialog-state) :focus)"), "NIL");
  // A local variable is neither shown nor typed; the code sets it.
  EXPECT_FALSE(type(":count 5"));
  EXPECT_EQ(run("(mapcar (lambda (v) (getf v :name)) (getf (dialog-state) :variables))"),
            "(:BY-ANGLE :ANGLE :GAP)");
  EXPECT_EQ(run("(progn (set-dialog-value :count (1+ (dialog-value :count))) (dialog-value :count))"), "1");
  EXPECT_EQ(run("(getf (find :angle (getf (dialog-state) :variables) :key #'cadr) :half)"), "T");
  // A length is typed in the user's unit and kept in millimetres.
  run("(tv-set-length-units \"cm\")");
  ASSERT_TRUE(type(":gap 2.5"));
  EXPECT_EQ(run("(dialog-value :gap)"), "25.0d0");
  EXPECT_EQ(run("(getf (find :gap (getf (dialog-state) :variables) :key #'cadr) :text)"), "\"2.5 cm\"");
  run("(tv-set-length-units \"mm\")");
  ASSERT_TRUE(type("CANCEL"));
}

TEST_F(DialogTest, DefinitionsAreChecked) {
  EXPECT_NE(run("(define-dialog \"BAD\" :variables '((:a :type :colour)))").find("ERROR"), std::string::npos);
  EXPECT_NE(run("(define-dialog \"BAD\" :variables '((\"a\")))").find("ERROR"), std::string::npos);
  EXPECT_NE(run("(define-dialog \"BAD\" :variables '((:a) (:a)))").find("ERROR"), std::string::npos);
  EXPECT_NE(run("(define-dialog \"BAD\" :variables '((:a :type :range)))").find("ERROR"), std::string::npos);
  EXPECT_EQ(run("(find-dialog \"BAD\")"), "NIL");
  // The command is known to the input line's packages.
  EXPECT_EQ(run("(list (symbol-package (find-symbol \"TEST_LOAD\" \"MEI\")) "
                "(nth-value 1 (find-symbol \"TEST_LOAD\" \"OLI\")))"),
            "(#<\"MEI\" package> :EXTERNAL)");
}

}  // namespace
