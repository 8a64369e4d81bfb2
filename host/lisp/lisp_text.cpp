#include "host/lisp/lisp_text.h"

#include <ecl/ecl.h>

#include "host/base/utf8.h"

namespace {

cl_object make_from_code_points(const std::u32string& cps) {
  cl_object s = cl_make_string(1, ecl_make_fixnum(static_cast<cl_fixnum>(cps.size())));
  for (std::size_t i = 0; i < cps.size(); ++i) {
    const char32_t cp = cps[i] < 0x110000 ? cps[i] : 0xFFFD;
    ecl_char_set(s, static_cast<cl_index>(i), static_cast<ecl_character>(cp));
  }
  return s;
}

}  // namespace

LAOBJ* utf8_to_lisp_string(const std::string& text) { return make_from_code_points(decode_utf8(text)); }

LAOBJ* wide_to_lisp_string(const std::wstring& text) {
  std::u32string cps;
  for (wchar_t c : text) cps.push_back(static_cast<char32_t>(c));
  return make_from_code_points(cps);
}

std::string lisp_string_to_utf8(LAOBJ* s) {
  std::string out;
  if (!ecl_stringp(s)) return out;
  const cl_index n = ecl_length(s);
  for (cl_index i = 0; i < n; ++i) append_utf8(static_cast<char32_t>(ecl_char(s, i)), out);
  return out;
}

std::wstring lisp_string_to_wide(LAOBJ* s) {
  std::wstring out;
  if (!ecl_stringp(s)) return out;
  const cl_index n = ecl_length(s);
  for (cl_index i = 0; i < n; ++i) out.push_back(static_cast<wchar_t>(ecl_char(s, i)));
  return out;
}
