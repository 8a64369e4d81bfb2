// The capture swaps the assertion handler for one that keeps the lines, and
// points descriptor 2 at an unlinked temporary file (flushing stdio first, so
// nothing written before lands in it or is lost after).

#include "support/part_quality/output_capture.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace part_quality {

namespace {

std::vector<std::string>* g_lines = nullptr;  // not owned; the active capture's

void keep_report(const ASSERTION_REPORT& r) {
  if (g_lines == nullptr) return;
  g_lines->push_back(std::string("assertion failed: ") + r.condition + ": " +
                     (r.message != nullptr ? r.message : "") + " (" + r.file + ":" +
                     std::to_string(r.line) + ")");
}

std::vector<std::string> g_kept;

}  // namespace

OUTPUT_CAPTURE::OUTPUT_CAPTURE() {
  g_kept.clear();
  g_lines = &g_kept;
  previous_handler_ = set_assertion_handler(&keep_report);
  std::fflush(stderr);
  char name[] = "/tmp/lumesh-stderr-XXXXXX";
  capture_fd_ = ::mkstemp(name);
  if (capture_fd_ >= 0) {
    ::unlink(name);
    saved_stderr_ = ::dup(2);
    if (saved_stderr_ < 0 || ::dup2(capture_fd_, 2) < 0) {
      if (saved_stderr_ >= 0) ::close(saved_stderr_);
      saved_stderr_ = -1;
    }
  }
  active_ = true;
}

OUTPUT_CAPTURE::~OUTPUT_CAPTURE() {
  restore();
  if (capture_fd_ >= 0) ::close(capture_fd_);
}

void OUTPUT_CAPTURE::restore() {
  if (!active_) return;
  active_ = false;
  std::fflush(stderr);
  if (saved_stderr_ >= 0) {
    ::dup2(saved_stderr_, 2);
    ::close(saved_stderr_);
    saved_stderr_ = -1;
  }
  set_assertion_handler(previous_handler_);
  g_lines = nullptr;
}

CAPTURED_OUTPUT OUTPUT_CAPTURE::finish() {
  CAPTURED_OUTPUT out;
  if (!active_) return out;
  restore();
  out.assertions.swap(g_kept);
  if (capture_fd_ >= 0) {
    if (::lseek(capture_fd_, 0, SEEK_SET) == 0) {
      char buffer[4096];
      for (ssize_t n; (n = ::read(capture_fd_, buffer, sizeof buffer)) > 0;) {
        out.error_text.append(buffer, static_cast<std::size_t>(n));
      }
    }
    ::close(capture_fd_);
    capture_fd_ = -1;
  }
  return out;
}

}  // namespace part_quality
