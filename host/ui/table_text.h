#pragma once
// The terminal's picture of a display table: lines of plain text that only
// read the table. The title (with the sort column's marker, "^" rising, "v"
// falling), a header of the shown columns' titles, a rule, then one line per
// shown row: its display position (what a selection names), ">" before the
// selected row, the cells; numbers right-aligned, other cells left; no line
// ends in a space. Below,
// when the table has them: the bottom line (rows shown of all), the filter
// status line, and the tables of the custom bottom form's areas, indented.

#include <cstddef>
#include <string>
#include <vector>

#include "host/ui/table_value.h"

class DISPLAY_TABLE;
class TABLE_REGISTRY;

// At most `max_rows` rows (0: all); a line says how many were left out.
// Cells longer than 60 characters are cut with "...". Lengths are shown in
// `unit`. `registry` finds the tables of the bottom form; without it they are
// left out.
std::vector<std::string> display_table_text(const DISPLAY_TABLE& t, TABLE_REGISTRY* registry,
                                            std::size_t max_rows = 0,
                                            const LENGTH_UNIT& unit = LENGTH_UNIT());
