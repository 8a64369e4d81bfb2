// Logical and display tables as Lisp code uses them: the two tables of a
// measurement browser with a details table in the form below, filled, sorted,
// filtered by the user and by the program, selected with actions, and every
// kind of bad input answered by an error while the session goes on.

#include <string>
#include <vector>

#include "host/lisp/lisp_ref.h"
#include "host/ui/output_box.h"
#include "host/ui/table_registry.h"
#include "lisp_fixture.h"

namespace {

class TableBindingsTest : public LispTest {
 protected:
  static std::string run(const std::string& text) { return eval(text, "FRAME2"); }
  void SetUp() override {
    errors_.clear();
    output_box().set_error_sink([](const std::string& l) { errors_.push_back(l); });
    ASSERT_EQ(run(R"LISP(
      (progn
        (defstruct (part-measurement) part (area 0.0) (max-distance 0.0))
        (defvar *picked* nil)
        (defun row-selected (tbl)
          (let ((row (first (tv-get-display-table-selection tbl))))
            (when row
              (tv-change-logical-table-contents "T-DETAILS-LTAB"
                (mapcar (lambda (m) (list :name (part-measurement-part m)
                                          :max-distance (part-measurement-max-distance m)
                                          :area (part-measurement-area m)))
                        (append (getf row :error-parts) (getf row :warning-parts))))
              (push (format nil ":FOCUS_OBJECTS ~S" (getf row :path)) *picked*))))
        (tv-create-logical-table "T-MEASUREMENT-LTAB"
          '((:name :string "Name") (:path :string "Path") (:errors :number "Errors")
            (:error-area :number "Error Area") (:warning-area :number "Warning Area")
            (:max-distance :length "Max. Deviation") (:selected :boolean "Selected")
            (:error-parts nil "Error Parts") (:warning-parts nil "Warning Parts")))
        (tv-create-display-table "T-MEASUREMENT-DTAB" "T-MEASUREMENT-LTAB"
          :selection-mode :single-row :selection-action 'row-selected
          :double-click-action 'row-selected :bottom-line nil :custom-bottom-form t
          :filter-status-line nil :sort-by-header t :title "Measurements"
          :columns '(:name :max-distance :error-area :warning-area))
        (tv-allow-display-table-user-filter "T-MEASUREMENT-DTAB" '(:name :error-area :warning-area))
        (let ((form (tv-get-display-table-custom-bottom-form "T-MEASUREMENT-DTAB"
                      :frame nil :width 250 :height 115 :margin 3 :spacing 0 :cell-size '(5.0 10.0))))
          (tv-append-grid-area form "T-ERROR-GA" :x 0 :y 0 :width 49 :height 10))
        (tv-create-logical-table "T-DETAILS-LTAB"
          '((:name :string "Name") (:path :string "Path") (:max-distance :length "Max. Deviation")
            (:area :number "Area")))
        (tv-create-display-table-control "T-ERROR-GA" "T-DETAILS-DTAB" "T-DETAILS-LTAB"
          :columns '(:name :max-distance :area) :selection-action 'row-selected)
        (tv-change-logical-table-contents "T-MEASUREMENT-LTAB"
          (list (list :name "m1" :path "/s/m1" :errors 2 :error-area 12.5d0 :warning-area 0 :max-distance 0.4d0
                      :selected t
                      :error-parts (list (make-part-measurement :part "e1" :area 10 :max-distance 0.4d0)
                                         (make-part-measurement :part "e2" :area 2.5d0 :max-distance 0.2d0))
                      :warning-parts nil)
                (list :name "m2" :path "/s/m2" :errors 1 :error-area 40 :warning-area 3 :max-distance 0.9d0
                      :selected t
                      :error-parts (list (make-part-measurement :part "e3" :area 40 :max-distance 0.9d0))
                      :warning-parts (list (make-part-measurement :part "w1" :area 3 :max-distance 0.05d0)))
                (list :name "unassigned facets" :path "/s/f" :errors 1 :error-area 0.5d0 :warning-area 0
                      :max-distance 0 :selected t
                      :error-parts (list (make-part-measurement :part "f1" :area 0.5d0)))))
        (tv-sort-display-table "T-MEASUREMENT-DTAB" :error-area :reverse t)
        (setq *picked* nil)
        t))LISP"),
              "T");
  }
  void TearDown() override {
    run("(progn (tv-delete-logical-table \"T-MEASUREMENT-LTAB\") (tv-delete-logical-table "
        "\"T-DETAILS-LTAB\"))");
    output_box().set_error_sink(nullptr);
  }
  static std::vector<std::string> errors_;
};
std::vector<std::string> TableBindingsTest::errors_;

std::string names(const char* table) {
  return "(mapcar (lambda (r) (tv-read-logical-table-cell (if (search \"DETAILS\" \"" +
         std::string(table) +
         "\") \"T-DETAILS-LTAB\" \"T-MEASUREMENT-LTAB\") r :name)) (tv-get-display-table-rows \"" +
         table + "\"))";
}

TEST_F(TableBindingsTest, TheWorstRowsComeFirst) {
  EXPECT_EQ(run(names("T-MEASUREMENT-DTAB")), "(\"m2\" \"m1\" \"unassigned facets\")");
  EXPECT_EQ(run("(tv-get-logical-table-number-of-rows \"T-MEASUREMENT-LTAB\")"), "3");
  EXPECT_EQ(run("(progn (tv-sort-display-table \"T-MEASUREMENT-DTAB\" :name) " +
                names("T-MEASUREMENT-DTAB") + ")"),
            "(\"m1\" \"m2\" \"unassigned facets\")");
  EXPECT_EQ(run("(progn (tv-sort-display-table \"T-MEASUREMENT-DTAB\" nil) " +
                names("T-MEASUREMENT-DTAB") + ")"),
            "(\"m1\" \"m2\" \"unassigned facets\")");
}

TEST_F(TableBindingsTest, RowsReadBackAsTheyWereWritten) {
  EXPECT_EQ(run("(let ((r (tv-read-logical-table-row \"T-MEASUREMENT-LTAB\" 0)))"
                "  (list (getf r :name) (getf r :errors) (getf r :error-area) (getf r :selected)"
                "        (mapcar #'part-measurement-part (getf r :error-parts)) (getf r "
                ":warning-parts)))"),
            "(\"m1\" 2 12.5d0 T (\"e1\" \"e2\") NIL)");
  // The structures in a column without a type are the very objects given.
  EXPECT_EQ(
      run("(let ((p (make-part-measurement :part \"x\")))"
          "  (tv-write-logical-table-cell \"T-MEASUREMENT-LTAB\" 2 :warning-parts (list p))"
          "  (eq p (first (tv-read-logical-table-cell \"T-MEASUREMENT-LTAB\" 2 :warning-parts))))"),
      "T");
  // An unknown distance is a real 0, not an empty cell.
  EXPECT_EQ(run("(tv-read-logical-table-cell \"T-MEASUREMENT-LTAB\" 2 :max-distance)"), "0");
  EXPECT_EQ(run("(progn (tv-write-logical-table-cell \"T-MEASUREMENT-LTAB\" 2 :max-distance 0.0d0)"
                "  (tv-read-logical-table-cell \"T-MEASUREMENT-LTAB\" 2 :max-distance))"),
            "0.0d0");
}

TEST_F(TableBindingsTest, PickingARowFillsTheDetailsAndNamesTheFocus) {
  // Row 1 on the screen is m1, which has no warnings: only its error parts.
  EXPECT_EQ(run("(tv-select-display-table-row \"T-MEASUREMENT-DTAB\" 1)"), "T");
  EXPECT_EQ(run("*picked*"), "(\":FOCUS_OBJECTS \\\"/s/m1\\\"\")");
  EXPECT_EQ(run(names("T-DETAILS-DTAB")), "(\"e1\" \"e2\")");
  EXPECT_EQ(run("(tv-select-display-table-row \"T-MEASUREMENT-DTAB\" 0 :double-click t)"), "T");
  EXPECT_EQ(run(names("T-DETAILS-DTAB")), "(\"e3\" \"w1\")");
  EXPECT_EQ(run("(getf (first (tv-get-display-table-selection \"T-MEASUREMENT-DTAB\")) :path)"),
            "\"/s/m2\"");
  // Clearing the selection leaves the details as they are.
  EXPECT_EQ(run("(progn (tv-reset-display-table-selection \"T-MEASUREMENT-DTAB\")"
                "  (tv-reset-display-table-selection \"T-DETAILS-DTAB\")"
                "  (list (tv-get-display-table-selection \"T-MEASUREMENT-DTAB\")"
                "        (tv-get-logical-table-number-of-rows \"T-DETAILS-LTAB\")))"),
            "(NIL 2)");
  // A selection event without a row does nothing.
  EXPECT_EQ(run("(progn (setq *picked* nil) (row-selected \"T-MEASUREMENT-DTAB\") *picked*)"),
            "NIL");
}

TEST_F(TableBindingsTest, TheProgramsFilterWorksByAHiddenColumn) {
  EXPECT_EQ(run("(tv-set-display-table-user-filter \"T-MEASUREMENT-DTAB\" :name :test1 "
                ":starts-with :value1 \"M\")"),
            "2");
  // Marks for one assembly only, then the filter by the mark.
  EXPECT_EQ(
      run("(dotimes (r (tv-get-logical-table-number-of-rows \"T-MEASUREMENT-LTAB\"))"
          "  (tv-write-logical-table-cell \"T-MEASUREMENT-LTAB\" r :selected"
          "    (equal (tv-read-logical-table-cell \"T-MEASUREMENT-LTAB\" r :path) \"/s/m1\")))"),
      "NIL");
  EXPECT_EQ(run("(tv-filter-display-table \"T-MEASUREMENT-DTAB\" :column :selected :test1 :equal "
                ":value1 t)"),
            "1");
  EXPECT_EQ(run(names("T-MEASUREMENT-DTAB")), "(\"m1\")");
  // No assembly at all: every row hidden.
  EXPECT_EQ(run("(progn (dotimes (r 3) (tv-write-logical-table-cell \"T-MEASUREMENT-LTAB\" r "
                ":selected nil))"
                "  (tv-filter-display-table \"T-MEASUREMENT-DTAB\" :column :selected :test1 :equal "
                ":value1 t))"),
            "0");
  // All marks back: the user's own filter is still in force.
  EXPECT_EQ(run("(progn (dotimes (r 3) (tv-write-logical-table-cell \"T-MEASUREMENT-LTAB\" r "
                ":selected t))"
                "  (tv-filter-display-table \"T-MEASUREMENT-DTAB\" :column :selected :test1 :equal "
                ":value1 t))"),
            "2");
  EXPECT_EQ(run("(tv-set-display-table-user-filter \"T-MEASUREMENT-DTAB\" :name)"), "3");
  EXPECT_EQ(run("(tv-set-display-table-user-filter \"T-MEASUREMENT-DTAB\" :error-area"
                "  :test1 :greater-equal :value1 1 :test2 :less :value2 20 :operator :and)"),
            "1");
  EXPECT_EQ(run("(tv-filter-display-table \"T-MEASUREMENT-DTAB\")"), "1");
  EXPECT_EQ(run("(tv-set-display-table-user-filter \"T-MEASUREMENT-DTAB\" :error-area)"), "3");
}

TEST_F(TableBindingsTest, NewContentsKeepTheUsersSorting) {
  run("(tv-sort-display-table \"T-MEASUREMENT-DTAB\" :name :reverse t)");
  EXPECT_EQ(run("(tv-change-logical-table-contents \"T-MEASUREMENT-LTAB\""
                "  (list (list :name \"a\") (list :name \"c\") (list :name \"b\")))"),
            "3");
  EXPECT_EQ(run(names("T-MEASUREMENT-DTAB")), "(\"c\" \"b\" \"a\")");
  // Rows go one at a time from the top.
  EXPECT_EQ(run("(progn (tv-append-logical-table-row \"T-MEASUREMENT-LTAB\" '(:name \"z\"))"
                "  (loop while (plusp (tv-get-logical-table-number-of-rows \"T-MEASUREMENT-LTAB\"))"
                "        do (tv-remove-logical-table-row \"T-MEASUREMENT-LTAB\" 0))"
                "  (tv-get-display-table-rows \"T-MEASUREMENT-DTAB\"))"),
            "NIL");
}

TEST_F(TableBindingsTest, AStudyWithOnlyUnassignedFacetsHasOneRow) {
  run("(tv-sort-display-table \"T-MEASUREMENT-DTAB\" :error-area :reverse t)");
  EXPECT_EQ(
      run("(progn (tv-change-logical-table-contents \"T-MEASUREMENT-LTAB\""
          "         (list (list :name \"unassigned facets\" :path \"/s/f\" :errors 1 :selected t"
          "                     :error-parts (list (make-part-measurement :part \"f1\" :area "
          "0.5d0)))))"
          "  (tv-get-display-table-rows \"T-MEASUREMENT-DTAB\"))"),
      "(0)");
  EXPECT_EQ(run("(tv-select-display-table-row \"T-MEASUREMENT-DTAB\" 0)"), "T");
  EXPECT_EQ(run("*picked*"), "(\":FOCUS_OBJECTS \\\"/s/f\\\"\")");
  EXPECT_EQ(run(names("T-DETAILS-DTAB")), "(\"f1\")");
}

TEST_F(TableBindingsTest, ShowHideTitleAndTheTerminalPicture) {
  EXPECT_EQ(run("(list (tv-display-table-visible-p \"T-MEASUREMENT-DTAB\")"
                "      (tv-show-display-table \"T-MEASUREMENT-DTAB\" :right)"
                "      (tv-display-table-visible-p \"T-MEASUREMENT-DTAB\")"
                "      (tv-set-display-table-title \"T-MEASUREMENT-DTAB\" \"Measurements of s\")"
                "      (tv-hide-display-table \"T-MEASUREMENT-DTAB\")"
                "      (tv-display-table-visible-p \"T-MEASUREMENT-DTAB\"))"),
            "(NIL T T \"Measurements of s\" T NIL)");
  EXPECT_EQ(table_registry().display_table("T-MEASUREMENT-DTAB").position(), ":RIGHT");
  const BOTTOM_FORM* form = table_registry().display_table("T-MEASUREMENT-DTAB").bottom_form();
  ASSERT_NE(form, nullptr);
  EXPECT_FALSE(form->frame);
  EXPECT_EQ(form->width, 250);
  EXPECT_EQ(form->cell_height, 10.0);
  ASSERT_EQ(form->areas.size(), 1u);
  EXPECT_EQ(form->areas[0].width, 49);
  EXPECT_EQ(form->areas[0].control, "T-DETAILS-DTAB");

  std::vector<std::string> lines;
  output_box().set_sink([&](const std::string& l) { lines.push_back(l); });
  run("(progn (tv-select-display-table-row \"T-MEASUREMENT-DTAB\" 0) (tv-print-display-table "
      "\"T-MEASUREMENT-DTAB\"))");
  output_box().set_sink(nullptr);
  ASSERT_GE(lines.size(), 7u);
  EXPECT_EQ(lines[0], "Measurements of s");
  EXPECT_EQ(lines[1], "   | Name              | Max. Deviation | Error Area v | Warning Area");
  EXPECT_EQ(lines[3], ">0 | m2                |         0.9 mm |           40 |            3");
  EXPECT_EQ(lines[5], " 2 | unassigned facets |           0 mm |          0.5 |            0");
  // The details table of the form, indented below.
  EXPECT_EQ(lines[7], "  T-DETAILS-DTAB");
}

TEST_F(TableBindingsTest, LengthsShowInTheUsersUnit) {
  std::vector<std::string> lines;
  output_box().set_sink([&](const std::string& l) { lines.push_back(l); });
  run("(progn (tv-set-length-units \"CM\") (tv-print-display-table \"T-MEASUREMENT-DTAB\" "
      ":max-rows 1)"
      "  (tv-set-length-units \"MM\"))");
  output_box().set_sink(nullptr);
  ASSERT_GE(lines.size(), 4u);
  EXPECT_EQ(lines[1], "   | Name | Max. Deviation | Error Area v | Warning Area");
  EXPECT_EQ(lines[3], " 0 | m2   |        0.09 cm |           40 |            3");
  // The stored value stays in millimetres.
  EXPECT_EQ(run("(tv-read-logical-table-cell \"T-MEASUREMENT-LTAB\" 1 :max-distance)"), "0.9d0");
}

TEST_F(TableBindingsTest, BadInputIsAnErrorAndChangesNothing) {
  const char* bad[] = {
      "(tv-get-logical-table-number-of-rows \"NO-SUCH-LTAB\")",
      "(tv-sort-display-table \"NO-SUCH-DTAB\" :name)",
      "(tv-sort-display-table \"T-MEASUREMENT-DTAB\" :colour)",
      "(tv-read-logical-table-row \"T-MEASUREMENT-LTAB\" 3)",
      "(tv-read-logical-table-row \"T-MEASUREMENT-LTAB\" -1)",
      "(tv-read-logical-table-cell \"T-MEASUREMENT-LTAB\" 0 :colour)",
      "(tv-write-logical-table-cell \"T-MEASUREMENT-LTAB\" 0 :errors \"two\")",
      "(tv-write-logical-table-cell \"T-MEASUREMENT-LTAB\" 0 :name 7)",
      "(tv-remove-logical-table-row \"T-MEASUREMENT-LTAB\" 9)",
      "(tv-change-logical-table-contents \"T-MEASUREMENT-LTAB\" '((:name \"ok\") (:name 3)))",
      "(tv-change-logical-table-contents \"T-MEASUREMENT-LTAB\" '((:colour \"red\")))",
      "(tv-change-logical-table-contents \"T-MEASUREMENT-LTAB\" '((:name)))",
      "(tv-select-display-table-row \"T-MEASUREMENT-DTAB\" 3)",
      "(tv-set-display-table-user-filter \"T-MEASUREMENT-DTAB\" :path :test1 :equal :value1 "
      "\"/s\")",
      "(tv-set-display-table-user-filter \"T-MEASUREMENT-DTAB\" :error-area :test1 :contains "
      ":value1 \"1\")",
      "(tv-set-display-table-user-filter \"T-MEASUREMENT-DTAB\" :name :test1 :like :value1 \"m\")",
      "(tv-filter-display-table \"T-MEASUREMENT-DTAB\" :test1 :equal :value1 t)",
      "(tv-create-logical-table \"T-MEASUREMENT-LTAB\" '(:a))",
      "(tv-create-logical-table \"T-OTHER\" '((:a :colour)))",
      "(tv-create-display-table \"T-MEASUREMENT-DTAB\" \"T-MEASUREMENT-LTAB\")",
      "(tv-create-display-table \"T-OTHER-DTAB\" \"T-MEASUREMENT-LTAB\" :columns '(:colour))",
      "(tv-create-display-table \"T-OTHER-DTAB\" \"T-MEASUREMENT-LTAB\" :selection-action 42)",
      "(tv-get-display-table-custom-bottom-form \"T-DETAILS-DTAB\")",
      "(tv-append-grid-area \"T-MEASUREMENT-DTAB\" \"T-ERROR-GA\" :x 0 :y 0 :width 1 :height 1)",
      "(tv-create-display-table-control \"NO-SUCH-GA\" \"T-OTHER-DTAB\" \"T-DETAILS-LTAB\")",
      "(tv-sort-display-table 'measurements :name)",
  };
  for (const char* form : bad) {
    const std::string answer = run(form);
    EXPECT_EQ(answer.rfind("ERROR: ", 0), 0u) << form << " gave " << answer;
  }
  EXPECT_NE(run("(tv-get-logical-table-number-of-rows \"NO-SUCH-LTAB\")")
                .find("no logical table named \"NO-SUCH-LTAB\""),
            std::string::npos);
  EXPECT_NE(run("(tv-read-logical-table-row \"T-MEASUREMENT-LTAB\" 3)").find("has no row 3"),
            std::string::npos);
  EXPECT_EQ(run("(tv-get-logical-table-number-of-rows \"T-MEASUREMENT-LTAB\")"), "3");
  EXPECT_EQ(run(names("T-MEASUREMENT-DTAB")), "(\"m2\" \"m1\" \"unassigned facets\")");
  EXPECT_EQ(run("(tv-read-logical-table-cell \"T-MEASUREMENT-LTAB\" 0 :errors)"), "2");
  EXPECT_EQ(table_registry().find_display_table("T-OTHER-DTAB"), nullptr);
}

TEST_F(TableBindingsTest, AFailingActionIsReportedAndTheSessionGoesOn) {
  run("(defun row-selected (tbl) (error \"The focus dialog of ~A is not open.\" tbl))");
  EXPECT_EQ(run("(tv-select-display-table-row \"T-MEASUREMENT-DTAB\" 2)"), "NIL");
  ASSERT_EQ(errors_.size(), 1u);
  EXPECT_NE(errors_[0].find("The focus dialog of T-MEASUREMENT-DTAB is not open."),
            std::string::npos);
  EXPECT_EQ(run("(getf (first (tv-get-display-table-selection \"T-MEASUREMENT-DTAB\")) :name)"),
            "\"unassigned facets\"");
}

TEST_F(TableBindingsTest, ObjectsInCellsAreLetGoWithTheirRows) {
  const std::size_t before = lisp_ref_slots_in_use();
  run("(tv-change-logical-table-contents \"T-MEASUREMENT-LTAB\" (list (list :name \"x\" "
      ":error-parts (list 1 2))))");
  EXPECT_EQ(lisp_ref_slots_in_use(), before - 3);  // four lists of parts went, one came
  run("(tv-remove-logical-table-row \"T-MEASUREMENT-LTAB\" 0)");
  EXPECT_EQ(lisp_ref_slots_in_use(), before - 4);
}

}  // namespace
