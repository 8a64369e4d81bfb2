#include "host/base/utf8.h"

std::u32string decode_utf8(const std::string& s) {
  std::u32string out;
  for (std::size_t i = 0; i < s.size();) {
    const auto c = static_cast<unsigned char>(s[i]);
    const int extra = c < 0x80 ? 0 : (c >> 5) == 6 ? 1 : (c >> 4) == 14 ? 2 : (c >> 3) == 30 ? 3 : -1;
    bool bad = extra < 0 || i + static_cast<std::size_t>(extra) >= s.size() + (extra == 0 ? 1 : 0);
    char32_t cp = 0;
    if (!bad) {
      cp = extra == 0 ? c : (c & (0x3F >> extra));
      for (int k = 1; k <= extra; ++k) {
        const auto d = static_cast<unsigned char>(s[i + static_cast<std::size_t>(k)]);
        if ((d >> 6) != 2) bad = true;
        cp = (cp << 6) | (d & 0x3F);
      }
    }
    if (bad || cp >= 0x110000) {
      out.push_back(0xFFFD);
      ++i;
      continue;
    }
    out.push_back(cp);
    i += static_cast<std::size_t>(extra) + 1;
  }
  return out;
}

void append_utf8(char32_t cp, std::string& out) {
  if (cp >= 0x110000) cp = 0xFFFD;
  if (cp < 0x80) {
    out.push_back(static_cast<char>(cp));
  } else if (cp < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else if (cp < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  }
}

std::string wide_to_utf8(const std::wstring& text) {
  std::string out;
  for (wchar_t c : text) append_utf8(static_cast<char32_t>(c), out);
  return out;
}

std::wstring utf8_to_wide(const std::string& text) {
  std::wstring out;
  for (char32_t c : decode_utf8(text)) out.push_back(static_cast<wchar_t>(c));
  return out;
}
