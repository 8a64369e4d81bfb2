#include "host/lisp/lisp_error.h"

#include "host/base/mod_info.h"
#include "host/lisp/objects.h"

void hcl_error(const char* format, std::vector<LAOBJ*> objects) {
  LISP_ERROR e(LISP_ERROR::SIMPLE, format);
  e.objects = std::move(objects);
  throw e;
}

void hcl_wrong_type(const char* expected, LAOBJ* datum) {
  LISP_ERROR e(LISP_ERROR::WRONG_TYPE, std::string("wrong type: expected ") + expected);
  e.expected = expected;
  e.objects = {datum};
  throw e;
}

void check_type_keyword(LAOBJ* x) {
  if (!is_keyword(x)) hcl_wrong_type("KEYWORD", x);
}

void check_arg_failed(const char* function, int narg) {
  LISP_ERROR e(LISP_ERROR::ARGUMENT_COUNT,
               std::string("wrong number of arguments (") + std::to_string(narg) + ") to " + function);
  e.function = function;
  throw e;
}

void me_hcl_set_error(LAOBJ*, MOD_INFO* info, int) {
  LISP_ERROR e(LISP_ERROR::MODULE, info != nullptr ? info->message() : std::string("unknown error"));
  e.info = info;
  throw e;
}
