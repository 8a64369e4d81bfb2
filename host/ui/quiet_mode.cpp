#include "host/ui/quiet_mode.h"

#include <atomic>

namespace {

std::atomic<bool> g_quiet{false};

}  // namespace

bool host_quiet_mode() {
  return g_quiet.load(std::memory_order_relaxed);
}

void set_host_quiet_mode(bool quiet) {
  g_quiet.store(quiet, std::memory_order_relaxed);
}
