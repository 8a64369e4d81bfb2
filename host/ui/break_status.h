#pragma once
// BREAK_STATUS: the user's request to break off a long operation (Ctrl-C).
//
// Long operations poll cheaply and consume the request where they stop:
//
//   if (BREAK_STATUS::mState && BREAK_STATUS::get_doer()) { ...stop... }
//
// mState is non-zero while a break may be pending. It is written from the
// SIGINT handler, so it is a volatile sig_atomic_t and nothing else happens
// in the handler but reading the clock and setting flags.
//
// With install_break_handler(), Ctrl-C sets the break status instead of ending
// the process. So that a hung process can still be stopped from the keyboard,
// a second Ctrl-C within kBreakEscalationSeconds of the first, while that
// first request is still pending (nobody consumed it), restores the default
// disposition of SIGINT and raises it again: the process then ends as if no
// handler had been installed. A Ctrl-C later than that, or after the request
// was consumed, is an ordinary new request.
//
// The handler is installed with SA_RESTART: a blocking read or wait goes on
// after Ctrl-C, and the break is seen at the next poll.

#include <csignal>

struct BREAK_STATUS {
  // Non-zero while a break may be pending.
  static volatile std::sig_atomic_t mState;

  // True if the user asked to break; consumes the request (clears mState).
  static bool get_doer();
  // Makes a break pending. Async-signal-safe.
  static void request();
  // Drops a pending break without acting on it.
  static void clear();
};

// Time window of the second Ctrl-C that ends the process.
inline constexpr int kBreakEscalationSeconds = 1;

// Installs the SIGINT handler (sigaction) that sets the break status.
// Idempotent. Throws std::system_error if the system refuses.
void install_break_handler();

// Gives SIGINT its default disposition (the process ends). Idempotent.
void restore_default_break_handler();

// True between install_break_handler() and restore_default_break_handler(),
// and false again after a second Ctrl-C restored the default.
bool break_handler_installed();
