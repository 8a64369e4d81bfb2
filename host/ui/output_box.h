#pragma once
// OUTPUT_BOX: the host's output box, where the user reads what commands say.
// Headless, it is standard output: every line is written and flushed at once,
// so that it interleaves correctly with standard error and reaches a pipe
// without delay. Errors for the user go to standard error as "Error: <text>".
// The box also keeps the last kRecentLines lines, messages and errors alike,
// in the order they were shown, for tests and for showing the box again.
//
// All members are safe to call from any thread; lines of different threads do
// not interleave within a line. A sink may itself display (the lock is
// recursive), but must not do so unconditionally.

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

class OUTPUT_BOX {
 public:
  // Receives one line, without its line end.
  using SINK = std::function<void(const std::string& line)>;

  // How many lines the box remembers; older ones are dropped first.
  static constexpr std::size_t kRecentLines = 1000;

  OUTPUT_BOX(const OUTPUT_BOX&) = delete;
  OUTPUT_BOX& operator=(const OUTPUT_BOX&) = delete;

  // Appends one line: remembered, then written to the sink (standard output by
  // default). A line that itself contains line ends counts as one line.
  void display(const std::string& line);

  // Reports an error to the user: the line "Error: <message>" is remembered and
  // written to the error sink (standard error by default).
  void display_error(const std::string& message);

  // Brings the box to the front. Headless: flushes standard output. Counted.
  void show();
  std::size_t show_count() const;

  // The last min(n, remembered) lines, oldest first.
  std::vector<std::string> recent(std::size_t n) const;

  // Redirects lines (set_sink) or error lines (set_error_sink); a null sink
  // restores the standard stream.
  void set_sink(SINK sink);
  void set_error_sink(SINK sink);

 private:
  OUTPUT_BOX() = default;
  friend OUTPUT_BOX& output_box();
  void remember_(const std::string& line);
};

// The one output box of the process. Never destroyed, so that it can be used
// during static destruction.
OUTPUT_BOX& output_box();
