// The terminal prints a display table when the program shows it, and only then.

#include "app/terminal_tables.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/ui/output_box.h"
#include "host/ui/table_registry.h"

namespace {

TEST(TerminalTablesTest, AShownTableIsPrintedOnce) {
  attach_terminal_tables();
  attach_terminal_tables();  // a second attachment prints nothing twice
  std::vector<std::string> lines;
  output_box().set_sink([&](const std::string& l) { lines.push_back(l); });
  TABLE_REGISTRY& r = table_registry();
  r.create_logical_table("TERMINAL-LT", {{"NAME", COLUMN_TYPE::STRING, "Name"}});
  r.logical_table("TERMINAL-LT").replace_rows({{TABLE_VALUE::string("bolt")}});
  DISPLAY_TABLE_OPTIONS o;
  o.title = "Parts";
  DISPLAY_TABLE& t = r.create_display_table("TERMINAL-DT", "TERMINAL-LT", o);
  t.select(0);
  EXPECT_TRUE(lines.empty());
  t.show();
  t.hide();
  output_box().set_sink(nullptr);
  r.delete_logical_table("TERMINAL-LT");
  EXPECT_EQ(lines,
            (std::vector<std::string>{"Parts", "   | Name", "---+-----", ">0 | bolt", "1 row"}));
}

}  // namespace
