#pragma once
// DISPLAY_TABLE: a view of a logical table (logical_table.h) that a user sees
// as a table window: a title, some of the logical table's columns, the rows
// that pass its filters in the order of its sort, a selection, actions for a
// selection and a double click, and optionally a form below the rows with grid
// areas that hold further display tables.
//
// Filters come in two kinds that never touch each other: the user's own, only
// on the columns the program allowed, and the program's, on any column
// (shown or not). A row is shown when it passes every filter of both kinds.
//
// The rows shown are worked out when asked for after a change: O(n) to
// filter, O(n log n) to sort, n the logical table's rows. Sorting is stable,
// so rows that compare equal keep their logical order.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host/ui/logical_table.h"

class TABLE_REGISTRY;
enum class TABLE_CHANGE;

enum class FILTER_TEST {
  EQUAL,
  NOT_EQUAL,
  LESS,
  LESS_EQUAL,
  GREATER,
  GREATER_EQUAL,
  CONTAINS,
  STARTS_WITH
};

// "equal", "not-equal", "less", "less-equal", "greater", "greater-equal",
// "contains", "starts-with".
const char* filter_test_name(FILTER_TEST t);

struct FILTER_CONDITION {
  FILTER_TEST test = FILTER_TEST::EQUAL;
  TABLE_VALUE value;
};

// One or two conditions on one column; two are joined by `any_of` (or) or
// else by and.
struct COLUMN_FILTER {
  std::string column;
  FILTER_CONDITION first;
  std::optional<FILTER_CONDITION> second;
  bool any_of = false;
};

// Whether a cell passes a condition. Comparisons of text ignore ASCII case;
// CONTAINS and STARTS_WITH are for text only. An empty cell equals only an
// empty value and passes no ordering test; a number compares with numbers.
bool passes(const TABLE_VALUE& cell, const FILTER_CONDITION& c);

enum class SELECTION_MODE { NONE, SINGLE_ROW };

struct DISPLAY_TABLE_OPTIONS {
  std::vector<std::string> columns;  // keys shown, in order; empty: all
  std::string title;
  SELECTION_MODE selection_mode = SELECTION_MODE::SINGLE_ROW;
  bool bottom_line = true;          // a line with the number of rows
  bool filter_status_line = true;   // a line naming the filters in force
  bool custom_bottom_form = false;  // a form with grid areas below the rows
  bool sort_by_header = true;       // a click on a column's title sorts by it
};

// A cell grid below a table's rows; its areas hold further display tables.
// Sizes are the front end's units; an area's place and size count cells.
struct GRID_AREA {
  std::string name;
  int x = 0, y = 0, width = 1, height = 1;
  std::string control;  // the display table placed in the area, or ""
};

struct BOTTOM_FORM {
  bool frame = true;
  double width = 0.0, height = 0.0, margin = 0.0, spacing = 0.0;
  double cell_width = 1.0, cell_height = 1.0;
  std::vector<GRID_AREA> areas;
};

class DISPLAY_TABLE {
 public:
  // Called with the table after a selection or a double click; may throw,
  // and the caller of select() hears of it.
  using ACTION = std::function<void(DISPLAY_TABLE& table)>;

  DISPLAY_TABLE(const DISPLAY_TABLE&) = delete;
  DISPLAY_TABLE& operator=(const DISPLAY_TABLE&) = delete;

  const std::string& name() const { return name_; }
  const LOGICAL_TABLE& logical_table() const { return *ltab_; }
  const DISPLAY_TABLE_OPTIONS& options() const { return options_; }
  // The shown columns as indices into the logical table's columns.
  const std::vector<int>& shown_columns() const { return shown_; }

  const std::string& title() const { return options_.title; }
  void set_title(std::string title);

  bool visible() const { return visible_; }
  // Where a front end is asked to put the window ("" for its own choice).
  const std::string& position() const { return position_; }
  void show(std::string position = "");
  void hide();

  // Sorts by a column of the logical table, shown or not; "" sorts by
  // logical order. The sort stays in force over changes of the rows.
  void sort(const std::string& column, bool reverse = false);
  const std::string& sort_column() const { return sort_column_; }
  bool sort_reversed() const { return sort_reverse_; }

  // The columns on which the user may filter.
  void allow_user_filter(const std::vector<std::string>& columns);
  const std::vector<std::string>& user_filter_columns() const { return user_filter_columns_; }
  // Sets the user's filter on its column, replacing an earlier one there;
  // refused for a column not allowed.
  void set_user_filter(COLUMN_FILTER f);
  // Clears the user's filter on `column`, or all of them for "".
  void clear_user_filter(const std::string& column = "");
  // Sets the program's filter on its column, replacing an earlier one there.
  void set_program_filter(COLUMN_FILTER f);
  // Clears the program's filter on `column`, or all of them for "".
  void clear_program_filter(const std::string& column = "");
  const std::map<std::string, COLUMN_FILTER>& user_filters() const { return user_filters_; }
  const std::map<std::string, COLUMN_FILTER>& program_filters() const { return program_filters_; }

  // The logical indices of the rows shown, in display order.
  const std::vector<std::size_t>& rows() const;

  // Selects the row at display position `position` (0-based among rows())
  // and runs the selection action, or for a double click the double-click
  // action: each event has its one action. Refused with TABLE_ERROR for a position out of range or
  // a table without selection. Returns the text of an action's error, "" when the actions ran
  // through; the selection stands either way.
  std::string select(std::size_t position, bool double_click = false);
  // The selected row's logical index, if a shown row is selected.
  std::optional<std::size_t> selected_row() const;
  void reset_selection();
  void set_selection_action(ACTION a) { on_select_ = std::move(a); }
  void set_double_click_action(ACTION a) { on_double_click_ = std::move(a); }

  // The custom bottom form; null when the table was made without one.
  const BOTTOM_FORM* bottom_form() const { return options_.custom_bottom_form ? &form_ : nullptr; }
  // The grid area of another table in which this one lies, or "".
  const std::string& grid_area() const { return grid_area_; }

 private:
  friend class TABLE_REGISTRY;
  DISPLAY_TABLE(TABLE_REGISTRY* owner, std::string name, const LOGICAL_TABLE* ltab,
                DISPLAY_TABLE_OPTIONS options);

  void check_filter(const COLUMN_FILTER& f) const;
  void changed(TABLE_CHANGE what);
  void invalidate() { view_revision_ = UINT64_MAX; }
  // Row bookkeeping told by the registry when the logical table changes.
  void rows_removed(std::size_t row);
  void rows_replaced();

  TABLE_REGISTRY* owner_;  // not owned: the registry that owns this table
  std::string name_;
  const LOGICAL_TABLE* ltab_;  // not owned: lives in the same registry, longer
  DISPLAY_TABLE_OPTIONS options_;
  std::vector<int> shown_;
  bool visible_ = false;
  std::string position_;
  std::string sort_column_;
  bool sort_reverse_ = false;
  std::vector<std::string> user_filter_columns_;
  std::map<std::string, COLUMN_FILTER> user_filters_;
  std::map<std::string, COLUMN_FILTER> program_filters_;
  mutable std::optional<std::size_t> selected_;  // logical index; dropped when its row is hidden
  ACTION on_select_;
  ACTION on_double_click_;
  BOTTOM_FORM form_;
  std::string grid_area_;

  // The rows shown, worked out for the logical table's revision.
  mutable std::vector<std::size_t> view_;
  mutable std::uint64_t view_revision_ = UINT64_MAX;
};
