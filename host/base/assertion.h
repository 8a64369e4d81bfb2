#pragma once
// The host's assertion service. A failed check is reported with its condition
// text, a message and the source position, and the program goes on: checks
// guard internal consistency, and the caller decides what a failure costs.

#include <cstdint>
#include <string>

struct ASSERTION_REPORT {
  const char* condition;
  const char* message;
  const char* file;
  int line;
};

using ASSERTION_HANDLER = void (*)(const ASSERTION_REPORT&);

// Reports one failed check through the installed handler (by default a line on
// standard error) and counts it.
void host_assertion_failed(const char* condition, const char* message, const char* file, int line);

// Installs a handler; returns the previous one. Null restores the default.
ASSERTION_HANDLER set_assertion_handler(ASSERTION_HANDLER handler);

// Number of failed checks since the program started.
std::uint64_t assertion_failure_count();

#define HOST_ASSERT(cond, msg) \
  ((cond) ? static_cast<void>(0) : host_assertion_failed(#cond, (msg), __FILE__, __LINE__))
