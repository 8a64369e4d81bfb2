// Logical and display tables: typed cells, sorting, the user's and the
// program's filters, selection with its actions, forms with grid areas, the
// observers, and the refusals of bad input.

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/ui/table_registry.h"
#include "host/ui/table_text.h"

namespace {

using ROW = LOGICAL_TABLE::ROW;

TABLE_VALUE s(const char* v) {
  return TABLE_VALUE::string(v);
}
TABLE_VALUE n(double v) {
  return TABLE_VALUE::real(v);
}
TABLE_VALUE i(long long v) {
  return TABLE_VALUE::integer(v);
}
TABLE_VALUE b(bool v) {
  return TABLE_VALUE::boolean(v);
}

COLUMN_FILTER one(const char* column, FILTER_TEST test, TABLE_VALUE v) {
  COLUMN_FILTER f;
  f.column = column;
  f.first = {test, std::move(v)};
  return f;
}
COLUMN_FILTER two(const char* column, FILTER_TEST t1, TABLE_VALUE v1, FILTER_TEST t2,
                  TABLE_VALUE v2, bool any_of) {
  COLUMN_FILTER f = one(column, t1, std::move(v1));
  f.second = FILTER_CONDITION{t2, std::move(v2)};
  f.any_of = any_of;
  return f;
}

struct NOTE final : TABLE_OBJECT {
  explicit NOTE(std::string t) : t_(std::move(t)) {}
  std::string text() const override { return t_; }
  std::string t_;
};

class DisplayTableTest : public ::testing::Test {
 protected:
  void SetUp() override {
    reg_.create_logical_table("LT", {{"NAME", COLUMN_TYPE::STRING, "Name"},
                                     {"AREA", COLUMN_TYPE::NUMBER, "Area"},
                                     {"MAX-DISTANCE", COLUMN_TYPE::LENGTH, "Max"},
                                     {"SELECTED", COLUMN_TYPE::BOOLEAN, "Selected"},
                                     {"PARTS", COLUMN_TYPE::OBJECT, "Parts"}});
    LOGICAL_TABLE& lt = reg_.logical_table("LT");
    lt.replace_rows({{s("beta"), n(12.5), n(0.4), b(true)},
                     {s("Alpha"), i(3), n(0.1), b(true)},
                     {s("gamma"), n(40.0), TABLE_VALUE(), b(true)},
                     {s("delta"), TABLE_VALUE(), n(0.9), b(true)}});
    DISPLAY_TABLE_OPTIONS o;
    o.columns = {"NAME", "MAX-DISTANCE", "AREA"};
    o.title = "Measurements";
    reg_.create_display_table("DT", "LT", o);
  }
  std::vector<std::string> shown_names() {
    const DISPLAY_TABLE& t = reg_.display_table("DT");
    std::vector<std::string> out;
    for (std::size_t r : t.rows()) out.push_back(t.logical_table().cell(r, 0).as_string());
    return out;
  }
  TABLE_REGISTRY reg_;
};

using V = std::vector<std::string>;

TEST_F(DisplayTableTest, RowsShowInLogicalOrderUntilSorted) {
  EXPECT_EQ(shown_names(), (V{"beta", "Alpha", "gamma", "delta"}));
  reg_.display_table("DT").sort("AREA");
  // Integers and reals compare as numbers; the empty cell comes last.
  EXPECT_EQ(shown_names(), (V{"Alpha", "beta", "gamma", "delta"}));
  reg_.display_table("DT").sort("AREA", true);
  EXPECT_EQ(shown_names(), (V{"gamma", "beta", "Alpha", "delta"}));
  // Text ignores case; the empty length stays last in both directions.
  reg_.display_table("DT").sort("NAME");
  EXPECT_EQ(shown_names(), (V{"Alpha", "beta", "delta", "gamma"}));
  reg_.display_table("DT").sort("MAX-DISTANCE", true);
  EXPECT_EQ(shown_names(), (V{"delta", "beta", "Alpha", "gamma"}));
  reg_.display_table("DT").sort("");
  EXPECT_EQ(shown_names(), (V{"beta", "Alpha", "gamma", "delta"}));
}

TEST_F(DisplayTableTest, SortingIsStableAndStaysInForceOverNewContents) {
  DISPLAY_TABLE& t = reg_.display_table("DT");
  t.sort("SELECTED", true);
  EXPECT_EQ(shown_names(), (V{"beta", "Alpha", "gamma", "delta"}));  // all equal: logical order
  t.sort("AREA", true);
  reg_.logical_table("LT").replace_rows({{s("x"), n(1.0)}, {s("y"), n(5.0)}, {s("z"), n(3.0)}});
  EXPECT_EQ(shown_names(), (V{"y", "z", "x"}));
  EXPECT_EQ(t.sort_column(), "AREA");
  EXPECT_TRUE(t.sort_reversed());
}

TEST_F(DisplayTableTest, UserFiltersOnlyOnAllowedColumns) {
  DISPLAY_TABLE& t = reg_.display_table("DT");
  EXPECT_THROW(t.set_user_filter(one("NAME", FILTER_TEST::CONTAINS, s("a"))), TABLE_ERROR);
  t.allow_user_filter({"NAME", "AREA"});
  t.set_user_filter(one("NAME", FILTER_TEST::CONTAINS, s("ALP")));
  EXPECT_EQ(shown_names(), (V{"Alpha"}));
  // A second filter on the same column replaces the first.
  t.set_user_filter(
      two("NAME", FILTER_TEST::STARTS_WITH, s("g"), FILTER_TEST::EQUAL, s("beta"), true));
  EXPECT_EQ(shown_names(), (V{"beta", "gamma"}));
  t.set_user_filter(
      two("AREA", FILTER_TEST::GREATER, n(10.0), FILTER_TEST::LESS_EQUAL, i(40), false));
  EXPECT_EQ(shown_names(), (V{"beta", "gamma"}));
  t.set_user_filter(one("AREA", FILTER_TEST::GREATER, n(20.0)));
  EXPECT_EQ(shown_names(), (V{"gamma"}));
  EXPECT_THROW(t.set_user_filter(one("MAX-DISTANCE", FILTER_TEST::LESS, n(1.0))), TABLE_ERROR);
  // Text tests are for text, and a number column compares with numbers.
  EXPECT_THROW(t.set_user_filter(one("AREA", FILTER_TEST::CONTAINS, s("1"))), TABLE_ERROR);
  EXPECT_THROW(t.set_user_filter(one("AREA", FILTER_TEST::EQUAL, s("1"))), TABLE_ERROR);
  EXPECT_EQ(shown_names(), (V{"gamma"}));  // refused filters changed nothing
  t.clear_user_filter("AREA");
  EXPECT_EQ(shown_names(), (V{"beta", "gamma"}));
  t.clear_user_filter();
  EXPECT_EQ(shown_names().size(), 4u);
}

TEST_F(DisplayTableTest, ProgramFiltersOnHiddenColumnsLeaveTheUsersFiltersAlone) {
  DISPLAY_TABLE& t = reg_.display_table("DT");
  LOGICAL_TABLE& lt = reg_.logical_table("LT");
  t.allow_user_filter({"NAME"});
  t.set_user_filter(one("NAME", FILTER_TEST::NOT_EQUAL, s("delta")));
  // The mark in a hidden column, then a filter by it.
  lt.write_cell(0, lt.column_index("SELECTED"), b(false));
  t.set_program_filter(one("SELECTED", FILTER_TEST::EQUAL, b(true)));
  EXPECT_EQ(shown_names(), (V{"Alpha", "gamma"}));
  // Every mark cleared: the filter hides all rows.
  for (std::size_t r = 0; r < lt.number_of_rows(); ++r) lt.write_cell(r, 3, b(false));
  EXPECT_TRUE(t.rows().empty());
  for (std::size_t r = 0; r < lt.number_of_rows(); ++r) lt.write_cell(r, 3, b(true));
  EXPECT_EQ(shown_names(), (V{"beta", "Alpha", "gamma"}));
  EXPECT_EQ(t.user_filters().size(), 1u);
  t.clear_program_filter();
  EXPECT_EQ(shown_names(), (V{"beta", "Alpha", "gamma"}));
  EXPECT_THROW(t.set_program_filter(one("NOPE", FILTER_TEST::EQUAL, b(true))), TABLE_ERROR);
}

TEST_F(DisplayTableTest, EmptyCellsPassOnlyEqualityWithNothing) {
  EXPECT_TRUE(passes(TABLE_VALUE(), {FILTER_TEST::EQUAL, TABLE_VALUE()}));
  EXPECT_FALSE(passes(TABLE_VALUE(), {FILTER_TEST::EQUAL, n(0.0)}));
  EXPECT_TRUE(passes(TABLE_VALUE(), {FILTER_TEST::NOT_EQUAL, n(0.0)}));
  EXPECT_FALSE(passes(TABLE_VALUE(), {FILTER_TEST::LESS, n(1.0)}));
  EXPECT_FALSE(passes(TABLE_VALUE(), {FILTER_TEST::CONTAINS, s("")}));
  EXPECT_TRUE(passes(i(2), {FILTER_TEST::EQUAL, n(2.0)}));
  EXPECT_TRUE(passes(s("Bolt"), {FILTER_TEST::LESS, s("nut")}));
}

TEST_F(DisplayTableTest, SelectionRunsTheActionOfItsEvent) {
  DISPLAY_TABLE& t = reg_.display_table("DT");
  std::vector<std::string> log;
  t.set_selection_action([&](DISPLAY_TABLE& tbl) {
    log.push_back("select " + tbl.logical_table().cell(*tbl.selected_row(), 0).as_string());
  });
  t.set_double_click_action([&](DISPLAY_TABLE& tbl) {
    log.push_back("double " + tbl.logical_table().cell(*tbl.selected_row(), 0).as_string());
  });
  t.sort("AREA", true);
  EXPECT_EQ(t.select(0), "");
  EXPECT_EQ(t.selected_row(), 2u);  // gamma, the largest area
  EXPECT_EQ(t.select(2, true), "");
  EXPECT_EQ(log, (V{"select gamma", "double Alpha"}));
  EXPECT_THROW(t.select(4), TABLE_ERROR);
  EXPECT_EQ(t.selected_row(), 1u);  // a refused selection keeps the old one
  t.reset_selection();
  EXPECT_FALSE(t.selected_row().has_value());
}

TEST_F(DisplayTableTest, AnActionThatFailsIsReportedAndTheSelectionStands) {
  DISPLAY_TABLE& t = reg_.display_table("DT");
  t.set_selection_action(
      [](DISPLAY_TABLE&) { throw std::runtime_error("no focus dialog is open"); });
  EXPECT_EQ(t.select(1), "no focus dialog is open");
  EXPECT_EQ(t.selected_row(), 1u);
}

TEST_F(DisplayTableTest, AnActionMayDeleteItsOwnTable) {
  DISPLAY_TABLE& t = reg_.display_table("DT");
  t.set_selection_action([this](DISPLAY_TABLE&) { reg_.delete_display_table("DT"); });
  EXPECT_EQ(t.select(0), "");
  EXPECT_EQ(reg_.find_display_table("DT"), nullptr);
}

TEST_F(DisplayTableTest, TheSelectionFollowsItsRow) {
  DISPLAY_TABLE& t = reg_.display_table("DT");
  LOGICAL_TABLE& lt = reg_.logical_table("LT");
  t.select(2);  // gamma
  lt.remove_row(0);
  EXPECT_EQ(t.selected_row(), 1u);
  EXPECT_EQ(lt.cell(*t.selected_row(), 0).as_string(), "gamma");
  lt.remove_row(1);
  EXPECT_FALSE(t.selected_row().has_value());
  t.select(0);
  t.allow_user_filter({"NAME"});
  t.set_user_filter(one("NAME", FILTER_TEST::EQUAL, s("delta")));
  EXPECT_FALSE(t.selected_row().has_value());  // a hidden row is no longer selected
  t.clear_user_filter();
  t.select(1);
  lt.replace_rows({{s("new")}});
  EXPECT_FALSE(t.selected_row().has_value());
}

TEST_F(DisplayTableTest, CellsKeepTheirTypes) {
  LOGICAL_TABLE& lt = reg_.logical_table("LT");
  EXPECT_THROW(lt.write_cell(0, 0, n(1.0)), TABLE_ERROR);
  EXPECT_THROW(lt.write_cell(0, 1, s("big")), TABLE_ERROR);
  EXPECT_THROW(lt.write_cell(0, 3, i(1)), TABLE_ERROR);
  EXPECT_THROW(lt.write_cell(9, 0, s("x")), TABLE_ERROR);
  EXPECT_THROW(lt.write_cell(0, 9, s("x")), TABLE_ERROR);
  EXPECT_THROW(lt.append_row({s("a"), n(1), n(1), b(true), s("x"), s("extra")}), TABLE_ERROR);
  // One bad row refuses the whole replacement.
  EXPECT_THROW(lt.replace_rows({{s("ok")}, {n(3.0)}}), TABLE_ERROR);
  EXPECT_EQ(lt.number_of_rows(), 4u);
  lt.write_cell(0, 4, TABLE_VALUE::object(std::make_shared<NOTE>("(#S(PART-MEASUREMENT))")));
  EXPECT_EQ(lt.cell(0, 4).text(COLUMN_TYPE::OBJECT), "(#S(PART-MEASUREMENT))");
  EXPECT_EQ(lt.cell(0, 2).text(COLUMN_TYPE::LENGTH), "0.4 mm");
  EXPECT_EQ(lt.cell(0, 2).text(COLUMN_TYPE::LENGTH, {"in", 25.4}), "0.015748 in");
  EXPECT_EQ(lt.cell(1, 1).text(COLUMN_TYPE::LENGTH, {"cm", 10.0}), "0.3 cm");
  EXPECT_EQ(lt.cell(1, 1).text(COLUMN_TYPE::NUMBER), "3");
  EXPECT_EQ(lt.append_row({s("epsilon")}), 4u);
  EXPECT_TRUE(lt.cell(4, 1).empty());
}

TEST_F(DisplayTableTest, BadNamesAreRefused) {
  EXPECT_THROW(reg_.display_table("NOPE"), TABLE_ERROR);
  EXPECT_THROW(reg_.create_logical_table("LT", {{"A", COLUMN_TYPE::STRING, ""}}), TABLE_ERROR);
  EXPECT_THROW(reg_.create_logical_table("L2", {}), TABLE_ERROR);
  EXPECT_THROW(reg_.create_logical_table(
                   "L2", {{"A", COLUMN_TYPE::STRING, ""}, {"A", COLUMN_TYPE::NUMBER, ""}}),
               TABLE_ERROR);
  EXPECT_THROW(reg_.create_display_table("DT", "LT", {}), TABLE_ERROR);
  EXPECT_THROW(reg_.create_display_table("D2", "NOPE", {}), TABLE_ERROR);
  DISPLAY_TABLE_OPTIONS o;
  o.columns = {"NAME", "COLOUR"};
  EXPECT_THROW(reg_.create_display_table("D2", "LT", o), TABLE_ERROR);
  EXPECT_EQ(reg_.find_display_table("D2"), nullptr);
  EXPECT_THROW(reg_.display_table("DT").sort("COLOUR"), TABLE_ERROR);
  EXPECT_THROW(reg_.display_table("DT").allow_user_filter({"COLOUR"}), TABLE_ERROR);
}

TEST_F(DisplayTableTest, FormsHoldTablesInGridAreas) {
  reg_.create_logical_table("DETAILS", {{"NAME", COLUMN_TYPE::STRING, "Name"}});
  DISPLAY_TABLE_OPTIONS o;
  o.custom_bottom_form = true;
  reg_.create_display_table("MAIN", "LT", o);
  EXPECT_THROW(reg_.custom_bottom_form("DT"), TABLE_ERROR);  // made without one
  BOTTOM_FORM& form = reg_.custom_bottom_form("MAIN");
  form.frame = false;
  form.width = 250;
  reg_.append_grid_area("MAIN", "GA", 0, 0, 49, 10);
  EXPECT_THROW(reg_.append_grid_area("MAIN", "GA", 0, 0, 1, 1), TABLE_ERROR);
  EXPECT_THROW(reg_.append_grid_area("MAIN", "GB", -1, 0, 1, 1), TABLE_ERROR);
  EXPECT_THROW(reg_.create_display_table_control("NOPE", "INNER", "DETAILS", {}), TABLE_ERROR);
  reg_.create_display_table_control("GA", "INNER", "DETAILS", {});
  EXPECT_THROW(reg_.create_display_table_control("GA", "INNER2", "DETAILS", {}), TABLE_ERROR);
  EXPECT_EQ(reg_.custom_bottom_form("MAIN").areas.at(0).control, "INNER");
  EXPECT_EQ(reg_.display_table("INNER").grid_area(), "GA");
  // The form's tables go with it, and the area's name is free again.
  reg_.delete_display_table("MAIN");
  EXPECT_EQ(reg_.find_display_table("INNER"), nullptr);
  DISPLAY_TABLE_OPTIONS again;
  again.custom_bottom_form = true;
  reg_.create_display_table("MAIN", "LT", again);
  reg_.append_grid_area("MAIN", "GA", 0, 0, 49, 10);
  // A logical table takes its views with it.
  reg_.delete_logical_table("LT");
  EXPECT_EQ(reg_.find_display_table("DT"), nullptr);
  EXPECT_EQ(reg_.find_display_table("MAIN"), nullptr);
}

TEST_F(DisplayTableTest, ObserversHearWhatChanged) {
  std::vector<std::string> heard;
  const int id = reg_.subscribe([&](const std::string& t, TABLE_CHANGE c) {
    heard.push_back(t + ":" + std::to_string(static_cast<int>(c)));
  });
  DISPLAY_TABLE& t = reg_.display_table("DT");
  t.show(":right");
  reg_.logical_table("LT").write_cell(0, 1, n(2.0));
  t.select(0);
  t.sort("AREA");
  t.hide();
  reg_.unsubscribe(id);
  t.show();
  EXPECT_EQ(heard, (V{"DT:4", "DT:1", "DT:3", "DT:2", "DT:5"}));
  EXPECT_TRUE(t.visible());
  EXPECT_EQ(t.position(), "");
}

TEST_F(DisplayTableTest, AnObserverMayDeleteTheTablesItHearsOf) {
  DISPLAY_TABLE_OPTIONS o;
  reg_.create_display_table("DT2", "LT", o);
  std::vector<std::string> heard;
  reg_.subscribe([&](const std::string& t, TABLE_CHANGE c) {
    heard.push_back(t);
    if (c == TABLE_CHANGE::CONTENTS && reg_.find_logical_table("LT") != nullptr)
      reg_.delete_logical_table("LT");
  });
  reg_.logical_table("LT").write_cell(0, 0, s("epsilon"));
  EXPECT_EQ(reg_.find_logical_table("LT"), nullptr);
  EXPECT_EQ(reg_.find_display_table("DT2"), nullptr);
  EXPECT_EQ(heard.front(), "DT");  // then both deletions, and no word of DT2's contents
  EXPECT_EQ(heard.size(), 3u);
}

TEST_F(DisplayTableTest, TextShowsTitleSortMarkAndSelection) {
  DISPLAY_TABLE& t = reg_.display_table("DT");
  t.sort("AREA", true);
  t.select(1);
  const std::vector<std::string> lines = display_table_text(t, &reg_);
  const V expected{
      "Measurements",
      "   | Name  | Max    | Area v",
      "---+-------+--------+-------",
      " 0 | gamma |        |     40",
      ">1 | beta  | 0.4 mm |   12.5",
      " 2 | Alpha | 0.1 mm |      3",
      " 3 | delta | 0.9 mm |",
      "4 rows",
  };
  EXPECT_EQ(lines, expected);
  t.allow_user_filter({"NAME"});
  t.set_user_filter(one("NAME", FILTER_TEST::CONTAINS, s("TA")));
  const std::vector<std::string> filtered = display_table_text(t, &reg_, 1);
  ASSERT_GE(filtered.size(), 3u);
  EXPECT_EQ(filtered[filtered.size() - 4], ">0 | beta | 0.4 mm |   12.5");
  EXPECT_EQ(filtered[filtered.size() - 3], "... 1 more rows");
  EXPECT_EQ(filtered[filtered.size() - 2], "2 of 4 rows");
  EXPECT_EQ(filtered.back(), "Filter: Name contains \"TA\"");
}

}  // namespace
