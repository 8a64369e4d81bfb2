// libFuzzer target of the STL facet readers. Every input is read three times:
// as an importer reads it (the reader that the first 80 bytes choose), then by
// the text reader and by the binary reader directly, so that both readers see
// every input whatever its header says.
//
// A malformed input may end a reading with one of the errors the readers
// document; any other exception escapes and ends the run as a finding, as do
// crashes, sanitizer reports, leaks, hangs and a broken progress contract.

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>

#include "fuzz/memory_input_file.h"
#include "host/base/mod_info.h"
#include "host/ui/progress.h"
#include "lumesh/core/load_module.h"
#include "lumesh/data_exchange/stl_reader.h"

namespace {

[[noreturn]] void fail(const char* what) {
  std::fprintf(stderr, "stl_reader_fuzz: %s\n", what);
  std::abort();
}


// Runs `read`, letting through only the errors of malformed input: the
// module's unknown-format error and the two conversion errors of stl_stod,
// told apart by their texts from the same exception types thrown elsewhere.
template <typename READ>
void read_tolerating_format_errors(READ&& read) {
  try {
    read();
  } catch (const TV_EXCEPTION& e) {
    if (e.info() == nullptr || e.info()->module() != "LUMESH" ||
        sModule.current_error_id() != MSG_FILE_UNKNOWN_FORMAT) {
      throw;
    }
  } catch (const std::invalid_argument& e) {
    if (std::strcmp(e.what(), "invalid stod argument") != 0) throw;
  } catch (const std::out_of_range& e) {
    if (std::strcmp(e.what(), "stod argument out of range") != 0) throw;
  }
}

// How read_all decides that a reader is done.
enum class UNTIL {
  // The importer's rule: the input is used up, or two false answers in a row
  // (a binary count that ends before the file does).
  kEndOrTwoFalses,
  // The input is used up. Only for the text reader, which consumes at least
  // the "endsolid" line with every false answer: a false that consumes
  // nothing would loop here, and the hang is reported as a finding.
  kEnd,
  // The first false answer or the end of the input. A binary count may
  // promise four billion facets to a short file; past the end they are all
  // padding and bring no new coverage.
  kFalseOrEnd,
};

void read_all(STL_READER& reader, UNTIL until) {
  TRIANGLULAR_FACET facet;
  int delivered = 0;
  int falses_in_a_row = 0;
  const auto read_one = [&] {
    if (reader.read_facet(facet)) {
      ++delivered;
      falses_in_a_row = 0;
    } else {
      ++falses_in_a_row;
    }
    if (reader.update_count() != delivered) fail("update_count differs from the facets delivered");
    if (reader.progress_ticks() < 0 || reader.progress_ticks() > 100) fail("ticks out of 0..100");
  };
  while (!reader.at_end_of_input()) {
    read_one();
    if (falses_in_a_row == 2 && until == UNTIL::kEndOrTwoFalses) return;
    if (falses_in_a_row == 1 && until == UNTIL::kFalseOrEnd) return;
  }
  // Once more at the end: a truncated binary record is padded with zeros
  // there, and a text reader reads from a stream with nothing left.
  read_one();
}

// One reading with its own progress: whether it ends normally or by a format
// error, the reader must have handed exactly 100 ticks when it is gone.
template <typename MAKE>
void read_with_progress(MAKE&& make, UNTIL until) {
  PROGRESS progress("stl_reader_fuzz", PROGRESS_RENDERER{});
  progress.set_max_ticks(100);
  read_tolerating_format_errors([&] {
    const std::unique_ptr<STL_READER> reader(make(&progress));
    if (reader == nullptr) fail("the input file could not be opened");
    read_all(*reader, until);
  });
  if (progress.ticks() != 100) fail("a reader left the progress short of 100 ticks");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static MEMORY_INPUT_FILE input("stl_reader_fuzz");
  input.assign(data, size);
  const std::wstring path = input.wide_path();

  read_with_progress(
      [&](PROGRESS* progress) { return STL_READER::make_stl_reader(path, progress); },
      UNTIL::kEndOrTwoFalses);
  read_with_progress([&](PROGRESS* progress) { return new STL_TEXT_READER(path, progress); },
                     UNTIL::kEnd);
  read_with_progress([&](PROGRESS* progress) { return new STL_BIN_READER(path, progress); },
                     UNTIL::kFalseOrEnd);
  return 0;
}
