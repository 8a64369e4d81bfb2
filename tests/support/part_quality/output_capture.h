#pragma once
// What an operation says while it runs: every report of the host's assertion
// service (as the default handler would print it) and everything written to
// standard error, the file descriptor itself, so that OCCT's and the C
// library's output are caught as well as the host's.

#include <string>
#include <vector>

#include "host/base/assertion.h"

namespace part_quality {

struct CAPTURED_OUTPUT {
  std::vector<std::string> assertions;  // one line per failed check
  std::string error_text;               // what reached standard error
};

// Captures from construction until finish() (or destruction, which drops
// what was caught). One capture at a time in a process: the assertion
// service has one handler, and standard error is one descriptor.
class OUTPUT_CAPTURE {
 public:
  OUTPUT_CAPTURE();
  ~OUTPUT_CAPTURE();
  OUTPUT_CAPTURE(const OUTPUT_CAPTURE&) = delete;
  OUTPUT_CAPTURE& operator=(const OUTPUT_CAPTURE&) = delete;

  // Restores the handler and standard error and returns what was caught.
  // Later calls return nothing.
  CAPTURED_OUTPUT finish();

 private:
  void restore();
  bool active_ = false;
  int saved_stderr_ = -1;  // owned descriptor: standard error as it was
  int capture_fd_ = -1;    // owned descriptor: the unlinked file that takes it
  ASSERTION_HANDLER previous_handler_ = nullptr;
};

}  // namespace part_quality
