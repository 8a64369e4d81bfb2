#pragma once
// Native Lisp-callable functions and their border.
//
// A native function is a plain C++ function that reads its arguments from a
// NATIVE_CALL and returns a Lisp value. It may throw: LISP_ERROR (from the
// host's error functions, argument checks and conversions), TV_EXCEPTION (a
// failed host or module operation) or any other exception. The border that
// calls it catches everything, leaves every C++ scope, and only then raises
// the matching Lisp condition, so a Lisp error never skips a C++ destructor
// and a C++ exception never unwinds Lisp frames:
//   LISP_ERROR      -> its condition (simple error, type error, argument count, module error)
//   TV_EXCEPTION    -> the module error of its MOD_INFO
//   anything else   -> the function's fall-back descriptor if it has one,
//                      otherwise a simple error with the exception's text.

#include <cstddef>
#include <initializer_list>
#include <vector>

#include "host/lisp/laobj.h"

class MOD_INFO;

class NATIVE_CALL {
 public:
  NATIVE_CALL(const char* name, int narg, LAOBJ* const* args) : name_(name), narg_(narg), args_(args) {}

  const char* name() const { return name_; }
  int narg() const { return narg_; }
  // The i-th argument (0-based); check the count first.
  LAOBJ* arg(int i) const { return args_[i]; }
  // Throws the argument-count error unless min <= narg <= max.
  void check_count(int min, int max) const;

  // Keyword arguments from position `first` on: pairs of a keyword out of
  // `allowed` and a value. An odd count, a non-keyword or a key that is not
  // allowed is an error. The first occurrence of a key wins.
  void parse_keys(int first, std::initializer_list<LAOBJ*> allowed);
  // The value given for `key`, or `fallback`.
  LAOBJ* key(LAOBJ* key, LAOBJ* fallback) const;
  bool has_key(LAOBJ* key) const;

 private:
  const char* name_;
  int narg_;
  LAOBJ* const* args_;
  std::vector<std::pair<LAOBJ*, LAOBJ*>> keys_;
};

using NATIVE_FUNCTION = LAOBJ* (*)(NATIVE_CALL& call);
// Gives the descriptor for an exception that is neither LISP_ERROR nor TV_EXCEPTION.
using FOREIGN_EXCEPTION_INFO = MOD_INFO* (*)();

// Interns `name` in `*package` and binds the native function to it. kind 2
// exports the symbol; kind 1 leaves it internal. Registering a name again
// rebinds it. Returns the symbol.
LAOBJ* make_package_function(const char* name, NATIVE_FUNCTION fn, LAOBJ** package, int kind,
                             FOREIGN_EXCEPTION_INFO foreign = nullptr);

// Number of native functions registered so far (each registration counts).
std::size_t native_function_count();
