#pragma once
// The progress bar of a terminal: one line, redrawn in place with a carriage
// return, ended by a line end when the operation is finalized.

#include <cstdio>
#include <string>

#include "host/ui/progress.h"

// Cells of the bar between the brackets.
inline constexpr int kProgressBarCells = 30;
// Longest title kept, in bytes; a longer one is cut at a character boundary
// so that the line fits a usual terminal and the carriage return works.
inline constexpr std::size_t kProgressBarTitleBytes = 40;

// The text of the bar, without carriage return or line end:
// "title [#########.....................]  42%". percent is clamped to [0, 100].
std::string format_progress_bar(const std::string& title, int percent);

// A renderer that draws the bar on `stream` (not owned; must outlive the
// renderer). The final call redraws if needed and ends the line; if nothing
// was drawn before, it draws nothing.
PROGRESS_RENDERER make_progress_bar_renderer(std::string title, std::FILE* stream);
