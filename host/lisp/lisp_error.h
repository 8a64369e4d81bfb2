#pragma once
// Errors that native code raises towards Lisp. Native code never unwinds Lisp
// frames itself: it throws one of these C++ exceptions, and the border of the
// Lisp-callable function (native_function.h) turns it into a Lisp condition
// after every C++ scope of the call has been left.

#include <stdexcept>
#include <string>
#include <vector>

#include "host/lisp/laobj.h"

class MOD_INFO;

// A Lisp error with a text. With format arguments the text is a FORMAT control
// string and the arguments are Lisp objects (as FEerror does).
class LISP_ERROR : public std::runtime_error {
 public:
  enum KIND {
    SIMPLE,         // a SIMPLE-ERROR with the text
    WRONG_TYPE,     // a TYPE-ERROR: `datum` is not of type `expected`
    ARGUMENT_COUNT, // a PROGRAM-ERROR: wrong number of arguments to `function`
    MODULE,         // a module's error: `info` says which
  };

  LISP_ERROR(KIND kind, std::string text) : std::runtime_error(text), kind_(kind) {}

  KIND kind() const { return kind_; }
  // Lisp objects mentioned by the error. They are kept alive by the Lisp
  // arguments of the running call (an error never outlives its call).
  std::vector<LAOBJ*> objects;
  std::string expected;       // WRONG_TYPE: the expected type's name ("KEYWORD")
  std::string function;       // ARGUMENT_COUNT: the function's name
  MOD_INFO* info = nullptr;   // MODULE

 private:
  KIND kind_;
};

// The host's error functions for native code. All of them throw LISP_ERROR.
// A simple error; `format` may use ~A/~S with the objects.
[[noreturn]] void hcl_error(const char* format, std::vector<LAOBJ*> objects = {});
// `datum` is not of the type named `expected` (a Lisp type specifier, e.g. "KEYWORD").
[[noreturn]] void hcl_wrong_type(const char* expected, LAOBJ* datum);
// Checks that `x` is a keyword.
void check_type_keyword(LAOBJ* x);
// A wrong number of arguments to the function named `function`.
[[noreturn]] void check_arg_failed(const char* function, int narg);
// The error of a module: the descriptor's message becomes the condition's text.
[[noreturn]] void me_hcl_set_error(LAOBJ* nil, MOD_INFO* info, int reserved);
