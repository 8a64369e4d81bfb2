#include "host/ui/break_status.h"

#include <signal.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <ctime>
#include <system_error>

namespace {

// Monotonic time of the Ctrl-C that made the current break pending, in
// milliseconds. Lock-free atomics are the only shared state besides mState
// that a signal handler may touch.
std::atomic<std::int64_t> g_request_ms{0};
static_assert(std::atomic<std::int64_t>::is_always_lock_free);

std::atomic<bool> g_installed{false};
static_assert(std::atomic<bool>::is_always_lock_free);

constexpr std::int64_t kEscalationMs = kBreakEscalationSeconds * std::int64_t{1000};

// clock_gettime is async-signal-safe.
std::int64_t now_ms() {
  timespec t{};
  ::clock_gettime(CLOCK_MONOTONIC, &t);
  return static_cast<std::int64_t>(t.tv_sec) * 1000 + t.tv_nsec / 1000000;
}

void set_default_disposition() {
  struct sigaction action {};
  action.sa_handler = SIG_DFL;
  sigemptyset(&action.sa_mask);
  ::sigaction(SIGINT, &action, nullptr);
  g_installed.store(false);
}

// Only async-signal-safe calls here: clock_gettime, sigaction, raise, and
// lock-free atomics. errno is kept for the interrupted code.
void on_sigint(int) {
  const int saved_errno = errno;
  const std::int64_t now = now_ms();
  if (BREAK_STATUS::mState != 0 && now - g_request_ms.load() < kEscalationMs) {
    // SIGINT is blocked while this handler runs, so the raised signal is
    // delivered, with its default action, as soon as the handler returns.
    set_default_disposition();
    std::raise(SIGINT);
  } else {
    g_request_ms.store(now);
    BREAK_STATUS::request();
  }
  errno = saved_errno;
}

}  // namespace

volatile std::sig_atomic_t BREAK_STATUS::mState = 0;

bool BREAK_STATUS::get_doer() {
  if (mState == 0) return false;
  // A Ctrl-C between the test and the store is merged into this request.
  mState = 0;
  return true;
}

void BREAK_STATUS::request() {
  mState = 1;
}

void BREAK_STATUS::clear() {
  mState = 0;
}

void install_break_handler() {
  struct sigaction action {};
  action.sa_handler = &on_sigint;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  if (::sigaction(SIGINT, &action, nullptr) != 0) {
    throw std::system_error(errno, std::generic_category(), "cannot install the break handler");
  }
  g_installed.store(true);
}

void restore_default_break_handler() {
  set_default_disposition();
}

bool break_handler_installed() {
  return g_installed.load();
}
