#pragma once
// Cutting a line of a text STL file into at most five words.

#include <string>
#include <string_view>

// The number of word slots that split_string fills at most.
inline constexpr int kSplitStringSlots = 5;

// Cuts `line` at blanks and tabs into `tokens` (room for five strings) and
// returns the count it reports:
// - a line with more than five words reports 5; the rest is not looked at;
// - an empty line or one of separators only reports 5 and stores nothing,
//   so the slots keep what an earlier line left in them;
// - a line ending in a blank or tab after its last word reports 5 too,
//   because the count runs on through the empty tail;
// - carriage returns are no separators; they are trimmed from the end of
//   the line only when the last word runs to the end of the line.
// O(length of the line).
int split_string(std::string line, std::string* const tokens);

// The same on a view, so that no line is copied.
int split_string_view(std::string_view line, std::string* const tokens);

// The same rules again, storing views into `line` instead of copies: what the
// text reader calls, so that no word is copied either. A slot that is not
// stored keeps its view, which the caller must keep valid (or replace) when
// the line it points into goes.
int split_string_views(std::string_view line, std::string_view* const tokens);
