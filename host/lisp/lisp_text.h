#pragma once
// Strings between C++ (UTF-8, wide) and Lisp (strings of characters).
// Internal to host/lisp.

#include <string>

#include "host/lisp/laobj.h"

LAOBJ* utf8_to_lisp_string(const std::string& text);
LAOBJ* wide_to_lisp_string(const std::wstring& text);
// The characters of a Lisp string (any string type); "" for a non-string.
std::string lisp_string_to_utf8(LAOBJ* s);
std::wstring lisp_string_to_wide(LAOBJ* s);
