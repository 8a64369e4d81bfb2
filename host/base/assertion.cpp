#include "host/base/assertion.h"

#include <cstdio>

namespace {

void print_report(const ASSERTION_REPORT& r) {
  std::fprintf(stderr, "assertion failed: %s: %s (%s:%d)\n", r.condition,
               r.message != nullptr ? r.message : "", r.file, r.line);
}

ASSERTION_HANDLER g_handler = &print_report;
std::uint64_t g_failures = 0;

}  // namespace

void host_assertion_failed(const char* condition, const char* message, const char* file, int line) {
  ++g_failures;
  g_handler(ASSERTION_REPORT{condition, message, file, line});
}

ASSERTION_HANDLER set_assertion_handler(ASSERTION_HANDLER handler) {
  ASSERTION_HANDLER old = g_handler;
  g_handler = handler != nullptr ? handler : &print_report;
  return old;
}

std::uint64_t assertion_failure_count() { return g_failures; }
