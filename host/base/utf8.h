#pragma once
// UTF-8 to and from code points and wide strings. Bytes that are not UTF-8
// become U+FFFD, so any input gives a string and nothing is dropped silently.

#include <string>

std::u32string decode_utf8(const std::string& text);
void append_utf8(char32_t code_point, std::string& out);
std::string wide_to_utf8(const std::wstring& text);
std::wstring utf8_to_wide(const std::string& text);
