// A table's row and a browser's popup entry reach a dialog the way the
// module's browsers do: they put a line into the input buffer, and the
// interpreter gives it to the active dialog, or starts one.

#include <string>

#include "host/kernel/history/history.h"
#include "host/ui/output_box.h"
#include "lisp_fixture.h"

namespace {

class BrowserInputTest : public LispTest {
 protected:
  static std::string run(const std::string& text) { return eval(text, "FRAME2"); }
  void SetUp() override {
    output_box().set_sink([](const std::string&) {});
    output_box().set_error_sink([](const std::string&) {});
    ASSERT_EQ(run(R"LISP((progn
      (defparameter *m1* (create-nasmb3 "m1"))
      (insert-in-graph *m1*)
      (insert-child *m1* (create-npart3 "e1"))
      (define-dialog "TEST_FOCUS" :title "Test Focus"
        :variables '((:study :type :parcel) (:focus_objects :type :parcel :multiple t))
        :action 'identity)
      (tv-create-logical-table "INPUT-LTAB" '((:name :string "Name") (:path :string "Path")))
      (tv-create-display-table "INPUT-DTAB" "INPUT-LTAB"
        :selection-action (lambda (tbl)
                            (let ((row (first (tv-get-display-table-selection tbl))))
                              (when row
                                (tv-put-buffer (format nil ":FOCUS_OBJECTS ~S" (getf row :path)))))))
      (tv-change-logical-table-contents "INPUT-LTAB"
        '((:name "m1" :path "/m1") (:name "e1" :path "/m1/e1")))
      (tv-browser-add-popup-entry *structure-gbrowser* :label "Focus Here"
        :is-entry-visible (lambda (node name) (declare (ignore name)) (eq (browsernode-kind node) :assembly))
        :menu-action (lambda (node name) (declare (ignore name))
                       (tv-put-buffer (format nil "TEST_FOCUS :STUDY ~S" (browsernode-objpath node))))
        :place-at-top t)
      t))LISP"),
              "T");
  }
  void TearDown() override {
    run("(progn (setf *active-dialog* nil) (tv-delete-logical-table \"INPUT-LTAB\")"
        "  (tv-browser-remove-popup-entry *structure-gbrowser* \"Focus Here\")"
        "  (dolist (p (tv-inq-obj-children (root-parcel))) (destroy-parcel p)))");
    HISTORY::instance().forget();
    output_box().set_sink(nullptr);
    output_box().set_error_sink(nullptr);
  }
};

TEST_F(BrowserInputTest, APopupEntryStartsTheDialogAndARowGivesItsObjects) {
  EXPECT_EQ(run("(tv-browser-run-popup-entry *structure-gbrowser* \"/m1\" \"Focus Here\")"), "T");
  EXPECT_EQ(run("(getf (dialog-state) :dialog)"), "\"TEST_FOCUS\"");
  EXPECT_EQ(run("(tv-inq-obj-pathname (sel_item-item (dialog-value :study)))"), "\"/m1\"");
  EXPECT_EQ(run("(tv-select-display-table-row \"INPUT-DTAB\" 1)"), "T");
  EXPECT_EQ(run("(mapcar (lambda (s) (tv-inq-obj-pathname (sel_item-item s))) (dialog-value "
                ":focus_objects))"),
            "(\"/m1/e1\")");
  // The entry is not offered on a part.
  EXPECT_EQ(run("(member \"Focus Here\" (tv-browser-popup-entries *structure-gbrowser* \"/m1/e1\")"
                "  :test #'string=)"),
            "NIL");
}

}  // namespace
