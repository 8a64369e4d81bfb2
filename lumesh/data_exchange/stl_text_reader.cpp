// The reader of line-oriented STL.
//
// The grammar is checked strictly and literally: keywords are compared with
// the first word only, case-sensitively, and word counts must be exact inside
// a facet. Outside a facet every line that is not a facet line (five words,
// the first "facet") or "endsolid" is skipped without a word, which is how
// "solid" lines, comments and blank lines pass. There is no
// resynchronisation inside a facet: the first bad line is an error.

#include <string_view>
#include <utility>

#include "lumesh/core/load_module.h"
#include "lumesh/data_exchange/split_string.h"
#include "lumesh/data_exchange/stl_reader.h"

namespace {

void raise_unknown_format() {
  sModule.get_error_info(MSG_FILE_UNKNOWN_FORMAT)->throw_error();
}

}  // namespace

STL_TEXT_READER::STL_TEXT_READER(std::wstring path, PROGRESS* const progress)
    : STL_READER(std::move(path), kOpenText, progress) {}

bool STL_TEXT_READER::read_facet(TRIANGLULAR_FACET& facet) {
  // The words live for this call only: a line that stores nothing leaves the
  // words of an earlier line of this call, never of an earlier call. They
  // are views into the current line; a line left behind in the search has
  // its words copied first, since a later line may leave some of them.
  std::string_view words[kSplitStringSlots];
  STL_STREAM& stream = get_stl_stream();
  std::string_view line;

  // Search for a facet line.
  for (;;) {
    if (!stream.getline(line)) return false;
    const int count = split_string_views(line, words);
    if (count > 0 && words[0] == "endsolid") return false;
    if (count == 5 && words[0] == "facet") break;
    for (int i = 0; i < kSplitStringSlots; ++i) {
      tokens_[i].assign(words[i]);
      words[i] = tokens_[i];
    }
  }
  facet.normal = VECTOR3(stl_stod_view(words[2]), stl_stod_view(words[3]), stl_stod_view(words[4]));

  // Reads the next line and demands `count` words, the first `keyword`. A
  // count below five means that every one of the words was stored.
  const auto expect = [&](int count, std::string_view keyword) {
    if (!stream.getline(line)) raise_unknown_format();
    if (split_string_views(line, words) != count || words[0] != keyword) raise_unknown_format();
  };

  expect(2, "outer");
  POSITION3* const corners[3] = {&facet.vertex1, &facet.vertex2, &facet.vertex3};
  for (POSITION3* corner : corners) {
    expect(4, "vertex");
    *corner = POSITION3(stl_stod_view(words[1]), stl_stod_view(words[2]), stl_stod_view(words[3]));
  }
  expect(1, "endloop");
  expect(1, "endfacet");
  update_progress();
  return true;
}
