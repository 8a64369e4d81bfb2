// Word splitting of text STL lines. The counting rule is deliberately
// literal (see the header): the text reader depends on the exact counts to
// tell well-formed lines from malformed ones.

#include "lumesh/data_exchange/split_string.h"

#include <cstddef>

namespace {

bool is_separator(char c) {
  return c == ' ' || c == '\t';
}

void store(std::string& slot, const char* word, std::size_t length) {
  slot.assign(word, length);
}
void store(std::string_view& slot, const char* word, std::size_t length) {
  slot = std::string_view(word, length);
}

// The one splitting rule, for both kinds of slot.
template <class SLOT>
int split_into(std::string_view line, SLOT* const tokens) {
  const char* const d = line.data();
  const std::size_t size = line.size();
  std::size_t pos = 0;
  int n = 0;
  for (;;) {
    std::size_t start = pos;
    while (start < size && is_separator(d[start])) ++start;
    if (start < size) {
      std::size_t sep = start + 1;
      while (sep < size && !is_separator(d[sep])) ++sep;
      if (sep == size) {
        // The last word: it runs to the last character of the line that is
        // not a carriage return (empty if there is none behind its start).
        std::size_t end = size;
        while (end > 0 && d[end - 1] == '\r') --end;
        store(tokens[n], d + start, end > start ? end - start : 0);
        return n + 1;
      }
      store(tokens[n], d + start, sep - start);
      pos = sep;
    }
    ++n;
    if (n == kSplitStringSlots) return kSplitStringSlots;
  }
}

}  // namespace

int split_string_view(std::string_view line, std::string* const tokens) {
  return split_into(line, tokens);
}

int split_string_views(std::string_view line, std::string_view* const tokens) {
  return split_into(line, tokens);
}

int split_string(std::string line, std::string* const tokens) {
  return split_string_view(std::string_view(line), tokens);
}
