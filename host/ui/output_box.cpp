#include "host/ui/output_box.h"

#include <cstdio>
#include <deque>
#include <mutex>

namespace {

// The box's state lives here rather than in the class, so that the header
// needs neither <deque> nor <mutex>. Guarded by `lock`.
struct BOX_STATE {
  std::recursive_mutex lock;
  std::deque<std::string> lines;
  OUTPUT_BOX::SINK sink;        // null: standard output
  OUTPUT_BOX::SINK error_sink;  // null: standard error
  std::size_t shows = 0;
};

BOX_STATE& state() {
  // Never destroyed, like the box itself.
  static BOX_STATE* s = new BOX_STATE;
  return *s;
}

void write_line(std::FILE* stream, const std::string& line) {
  std::fwrite(line.data(), 1, line.size(), stream);
  std::fputc('\n', stream);
  std::fflush(stream);
}

}  // namespace

void OUTPUT_BOX::remember_(const std::string& line) {
  std::deque<std::string>& lines = state().lines;
  if (lines.size() == kRecentLines) lines.pop_front();
  lines.push_back(line);
}

void OUTPUT_BOX::display(const std::string& line) {
  BOX_STATE& s = state();
  std::lock_guard<std::recursive_mutex> guard(s.lock);
  remember_(line);
  // A copy, so that a sink may replace itself while it runs.
  const SINK sink = s.sink;
  if (sink) {
    sink(line);
  } else {
    write_line(stdout, line);
  }
}

void OUTPUT_BOX::display_error(const std::string& message) {
  BOX_STATE& s = state();
  std::lock_guard<std::recursive_mutex> guard(s.lock);
  const std::string line = "Error: " + message;
  remember_(line);
  const SINK sink = s.error_sink;
  if (sink) {
    sink(line);
  } else {
    write_line(stderr, line);
  }
}

void OUTPUT_BOX::show() {
  BOX_STATE& s = state();
  std::lock_guard<std::recursive_mutex> guard(s.lock);
  ++s.shows;
  std::fflush(stdout);
}

std::size_t OUTPUT_BOX::show_count() const {
  BOX_STATE& s = state();
  std::lock_guard<std::recursive_mutex> guard(s.lock);
  return s.shows;
}

std::vector<std::string> OUTPUT_BOX::recent(std::size_t n) const {
  BOX_STATE& s = state();
  std::lock_guard<std::recursive_mutex> guard(s.lock);
  const std::size_t count = n < s.lines.size() ? n : s.lines.size();
  return std::vector<std::string>(s.lines.end() - static_cast<std::ptrdiff_t>(count),
                                  s.lines.end());
}

void OUTPUT_BOX::set_sink(SINK sink) {
  BOX_STATE& s = state();
  std::lock_guard<std::recursive_mutex> guard(s.lock);
  s.sink = std::move(sink);
}

void OUTPUT_BOX::set_error_sink(SINK sink) {
  BOX_STATE& s = state();
  std::lock_guard<std::recursive_mutex> guard(s.lock);
  s.error_sink = std::move(sink);
}

OUTPUT_BOX& output_box() {
  static OUTPUT_BOX* box = new OUTPUT_BOX;
  return *box;
}
