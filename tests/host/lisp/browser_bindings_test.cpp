// The structure browser as Lisp code uses it: nodes of the model tree and of
// named features, their path strings read back as a feature lookup reads
// them, the tree following changes and undo, popup entries offered by their
// tests, failing tests and actions reported while the session goes on, and
// the terminal's (browser).

#include <string>
#include <vector>

#include "host/kernel/history/history.h"
#include "host/ui/output_box.h"
#include "lisp_fixture.h"

namespace {

class BrowserBindingsTest : public LispTest {
 protected:
  static std::string run(const std::string& text) { return eval(text, "FRAME2"); }
  void SetUp() override {
    errors_.clear();
    output_box().set_error_sink([](const std::string& l) { errors_.push_back(l); });
    ASSERT_EQ(run("(progn (defparameter *asm* (create-nasmb3 \"asm\")) (insert-in-graph *asm*)"
                  "  (defparameter *bolt* (create-npart3 \"bolt\")) (insert-child *asm* *bolt*)"
                  "  (defun same (a b) (= (k2:entity-handle-sysid a) (k2:entity-handle-sysid b)))"
                  "  (defun kids (path) (mapcar #'browsernode-objpath"
                  "                       (tv-browser-node-children *structure-gbrowser* path)))"
                  "  t)"),
              "T");
  }
  void TearDown() override {
    run("(dolist (p (tv-inq-obj-children (root-parcel))) (destroy-parcel p))");
    for (const char* label : {"Show Study", "Align", "Broken", "Fails", "Everywhere"}) {
      run(std::string("(tv-browser-remove-popup-entry *structure-gbrowser* \"") + label + "\")");
    }
    HISTORY::instance().forget();
    output_box().set_error_sink(nullptr);
  }
  static std::vector<std::string> errors_;
};
std::vector<std::string> BrowserBindingsTest::errors_;

TEST_F(BrowserBindingsTest, NodesOfTheTreeAndTheirObjects) {
  EXPECT_EQ(run("(kids \"/\")"), "(\"/asm\")");
  EXPECT_EQ(run("(kids \"/asm\")"), "(\"/asm/bolt\")");
  EXPECT_EQ(run("(let ((n (tv-browser-node *structure-gbrowser* \"/asm/bolt\")))"
                "  (list (browsernode-label n) (browsernode-kind n)"
                "        (same (tv-pathname-to-obj (browsernode-objpath n)) *bolt*)))"),
            "(\"bolt\" :PART T)");
  EXPECT_EQ(run("(browsernode-kind (tv-browser-node *structure-gbrowser* \"/\"))"), ":ROOT");
  EXPECT_EQ(run("(tv-browser-node *structure-gbrowser* \"/nothing\")"), "NIL");
}

TEST_F(BrowserBindingsTest, NamedFeaturesAreNodesWhosePathsReadBack) {
  ASSERT_EQ(run("(progn"
                "  (defparameter *study* (make-thin-universal-feature-instance (list "
                "(inq-shared-data *bolt*))"
                "     :feature-type :lmx-mesh-quality-study))"
                "  (assign-name *study* \"Quality Study\")"
                "  (make-thin-universal-feature-instance (list *bolt*) :feature-type "
                ":study-measurement-result)"
                "  t)"),
            "T");
  // The hidden feature is no node.
  EXPECT_EQ(run("(kids \"/asm/bolt\")"), "(\"\\\"/asm/bolt\\\" :FEATURE \\\"Quality Study\\\"\")");
  // Read as a feature lookup reads it: path, node type, key; then the parcel
  // and the feature of the type on it.
  EXPECT_EQ(
      run("(let* ((node (first (tv-browser-node-children *structure-gbrowser* \"/asm/bolt\")))"
          "       (path (browsernode-objpath node)))"
          "  (destructuring-bind (parcel-path type key)"
          "      (read-from-string (concatenate 'string \"(\" path \")\"))"
          "    (let ((parcel (tv-pathname-to-obj parcel-path)))"
          "      (list (char= (char path 0) #\\\") type key (browsernode-kind node)"
          "            (same parcel *bolt*)"
          "            (length (search-universal-feature (list (inq-shared-data parcel))"
          "                                              '(:feature-type)))))))"),
      "(T :FEATURE \"Quality Study\" :FEATURE T 1)");
  // Hidden again: the node goes.
  EXPECT_EQ(run("(progn (assign-name *study* nil) (kids \"/asm/bolt\"))"), "NIL");
}

TEST_F(BrowserBindingsTest, TheTreeFollowsRenamesDestructionAndUndo) {
  EXPECT_EQ(run("(progn (tv-browser-refresh *structure-gbrowser*) (tv-browser-refresh "
                "*structure-gbrowser*))"),
            "NIL");
  EXPECT_EQ(run("(let ((s (k2:note-state k2:*k2-state-manager*)))"
                "  (assign-name *bolt* \"nut\")"
                "  (let ((renamed (kids \"/asm\")))"
                "    (destroy-parcel *asm*)"
                "    (let ((gone (kids \"/\")))"
                "      (k2:recover-state k2:*k2-state-manager* s)"
                "      (list renamed gone (kids \"/asm\")))))"),
            "((\"/asm/nut\") NIL (\"/asm/bolt\"))");
  EXPECT_EQ(run("(let ((cp (tv-set-model-checkpoint)))"
                "  (insert-child *asm* (create-npart3 \"washer\"))"
                "  (let ((more (kids \"/asm\")))"
                "    (tv-return-to-model-checkpoint cp)"
                "    (list more (kids \"/asm\"))))"),
            "((\"/asm/bolt\" \"/asm/washer\") (\"/asm/bolt\"))");
}

TEST_F(BrowserBindingsTest, PopupEntriesAreOfferedByTheirTests) {
  ASSERT_EQ(run("(progn"
                "  (defvar *calls* nil)"
                "  (defun feature-node-p (node name) (push (list :test name) *calls*)"
                "    (char= (char (browsernode-objpath node) 0) #\\\"))"
                "  (defun show-study (node name) (push (list :show (browsernode-objpath node) "
                "name) *calls*) t)"
                "  (defun part-node-p (node name) (declare (ignore name)) (eq (browsernode-kind "
                "node) :part))"
                "  (tv-browser-add-popup-entry *structure-gbrowser* :label \"Show Study\""
                "    :is-entry-visible 'feature-node-p :menu-action 'show-study :place-at-top t)"
                "  (tv-browser-add-popup-entry *structure-gbrowser* :label \"Everywhere\""
                "    :menu-action (lambda (node name) (declare (ignore node name)) t))"
                "  (tv-browser-add-popup-entry *structure-gbrowser* :label \"Align\""
                "    :is-entry-visible #'part-node-p :menu-action 'show-study :place-at-top t)"
                "  (let ((f (make-thin-universal-feature-instance (list *bolt*) :feature-type :x)))"
                "    (assign-name f \"Study\"))"
                "  t)"),
            "T");
  const std::string feature = "\"\\\"/asm/bolt\\\" :FEATURE \\\"Study\\\"\"";
  // The last entry placed at the top comes first.
  EXPECT_EQ(run("(remove-if-not (lambda (l) (member l '(\"Show Study\" \"Align\" \"Everywhere\") "
                ":test #'string=))"
                "  (tv-browser-popup-entries *structure-gbrowser* \"/asm/bolt\"))"),
            "(\"Align\" \"Everywhere\")");
  EXPECT_EQ(run("(remove-if-not (lambda (l) (member l '(\"Show Study\" \"Align\" \"Everywhere\") "
                ":test #'string=))"
                "  (tv-browser-popup-entries *structure-gbrowser* " +
                feature + "))"),
            "(\"Show Study\" \"Everywhere\")");
  // The test and the action get the node and its label.
  EXPECT_EQ(run("(progn (setq *calls* nil)"
                "  (tv-browser-run-popup-entry *structure-gbrowser*"
                "    (tv-browser-node *structure-gbrowser* " +
                feature +
                ") \"Show Study\")"
                "  (reverse *calls*))"),
            "((:TEST \"Study\") (:SHOW \"\\\"/asm/bolt\\\" :FEATURE \\\"Study\\\"\" \"Study\"))");
  // Not offered there: an error, and nothing ran.
  EXPECT_EQ(
      run("(progn (setq *calls* nil)"
          "  (handler-case (tv-browser-run-popup-entry *structure-gbrowser* \"/asm\" \"Align\")"
          "    (error (c) (list :refused (search \"not offered\" (princ-to-string c)) *calls*))))")
          .substr(0, 9),
      "(:REFUSED");
  EXPECT_EQ(run("*calls*"), "NIL");
}

TEST_F(BrowserBindingsTest, FailingTestsAndActionsAreReportedAndTheSessionGoesOn) {
  ASSERT_EQ(run("(progn"
                "  (tv-browser-add-popup-entry *structure-gbrowser* :label \"Broken\""
                "    :is-entry-visible (lambda (node name) (declare (ignore node name)) (car 5))"
                "    :menu-action 'identity)"
                "  (tv-browser-add-popup-entry *structure-gbrowser* :label \"Fails\""
                "    :menu-action (lambda (node name) (error \"No study under ~A.\" name)))"
                "  t)"),
            "T");
  EXPECT_EQ(run("(member \"Broken\" (tv-browser-popup-entries *structure-gbrowser* \"/asm\") :test "
                "#'string=)"),
            "NIL");
  ASSERT_EQ(errors_.size(), 1u);
  EXPECT_NE(errors_[0].find("Broken"), std::string::npos);
  EXPECT_EQ(run("(tv-browser-run-popup-entry *structure-gbrowser* \"/asm\" \"Fails\")"), "NIL");
  ASSERT_EQ(errors_.size(), 2u);
  EXPECT_NE(errors_[1].find("No study under asm."), std::string::npos);
  EXPECT_NE(errors_[1].find("Fails"), std::string::npos);
  EXPECT_EQ(run("(kids \"/asm\")"), "(\"/asm/bolt\")");
}

TEST_F(BrowserBindingsTest, SelectionFoldingAndTheTerminalPicture) {
  EXPECT_EQ(
      run("(progn (tv-browser-select-node *structure-gbrowser* \"/asm/bolt\")"
          "  (mapcar #'browsernode-objpath (tv-browser-selected-nodes *structure-gbrowser*)))"),
      "(\"/asm/bolt\")");
  std::vector<std::string> lines;
  output_box().set_sink([&](const std::string& l) { lines.push_back(l); });
  run("(browser)");
  run("(progn (tv-browser-expand-node *structure-gbrowser* \"/asm\" nil) (browser))");
  output_box().set_sink(nullptr);
  EXPECT_EQ(lines, (std::vector<std::string>{"- /", "  - asm (assembly)", "      bolt (part) *",
                                             "- /", "  + asm (assembly)"}));
  run("(progn (tv-browser-expand-node *structure-gbrowser* \"/asm\" t)"
      "  (tv-browser-clear-selection *structure-gbrowser*))");
  EXPECT_EQ(run("(tv-browser-selected-nodes *structure-gbrowser*)"), "NIL");
}

TEST_F(BrowserBindingsTest, BadInputIsAnError) {
  const char* bad[] = {
      "(tv-browser-node-children *structure-gbrowser* \"/nothing\")",
      "(tv-browser-select-node *structure-gbrowser* \"/nothing\")",
      "(tv-browser-popup-entries *structure-gbrowser* \"/nothing\")",
      "(tv-browser-popup-entries :structure \"/asm\")",
      "(tv-browser-popup-entries *structure-gbrowser* 42)",
      "(tv-browser-add-popup-entry *structure-gbrowser* :label \"Fails\")",
      "(tv-browser-add-popup-entry *structure-gbrowser* :label :fails :menu-action 'identity)",
      "(tv-browser-add-popup-entry *structure-gbrowser* :label \"Fails\" :menu-action 42)",
      "(tv-browser-add-popup-entry *structure-gbrowser* :label \"Fails\" :menu-action 'identity "
      ":colour 1)",
      "(tv-browser-run-popup-entry *structure-gbrowser* \"/asm\" \"No such entry\")",
  };
  for (const char* form : bad) {
    const std::string answer = run(form);
    EXPECT_EQ(answer.rfind("ERROR: ", 0), 0u) << form << " gave " << answer;
  }
  EXPECT_EQ(run("(tv-browser-popup-entries *structure-gbrowser* \"/asm\")").rfind("ERROR", 0),
            std::string::npos);
}

}  // namespace
