// Word splitting of text STL lines. The counting rule is deliberately
// literal (see the header): the text reader depends on the exact counts to
// tell well-formed lines from malformed ones.

#include "lumesh/data_exchange/split_string.h"

#include <utility>

namespace {

std::string_view separators() {
  static const std::string_view kSeparators(" \t");
  return kSeparators;
}

}  // namespace

int split_string_view(std::string_view line, std::string* const tokens) {
  const std::string_view seps = separators();
  std::size_t pos = 0;
  int n = 0;
  for (;;) {
    const std::size_t start =
        pos < line.size() ? line.find_first_not_of(seps, pos) : std::string_view::npos;
    if (start != std::string_view::npos) {
      const std::size_t sep = line.find_first_of(seps, start + 1);
      if (sep == std::string_view::npos) {
        // The last word: it runs to the last character that is not a
        // carriage return (empty if there is none behind its start).
        const std::size_t last = line.find_last_not_of('\r');
        if (last != std::string_view::npos && last >= start) {
          tokens[n].assign(line.data() + start, last - start + 1);
        } else {
          tokens[n].clear();
        }
        return n + 1;
      }
      tokens[n].assign(line.data() + start, sep - start);
      pos = sep;
    }
    ++n;
    if (n == kSplitStringSlots) return kSplitStringSlots;
  }
}

int split_string(std::string line, std::string* const tokens) {
  return split_string_view(std::string_view(line), tokens);
}
