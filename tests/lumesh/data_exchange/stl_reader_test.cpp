// The STL facet readers on small files written by the tests: the choice of
// reader, text grammar, binary records, truncation, progress and break.

#include "lumesh/data_exchange/stl_reader.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/base/mod_info.h"
#include "host/ui/break_status.h"
#include "host/ui/progress.h"
#include "lumesh/core/load_module.h"
#include "support/module_error.h"
#include "support/stl_test_files.h"

namespace fs = std::filesystem;

namespace {

using stl_test::binary_stl;
using stl_test::BIN_RECORD;
using stl_test::text_facet;

BIN_RECORD record(float base, std::string attributes = "") {
  BIN_RECORD r;
  for (int i = 0; i < 12; ++i) r.values[i] = base + 0.1f * static_cast<float>(i);
  r.attributes = std::move(attributes);
  return r;
}

// ---- fixture ------------------------------------------------------------------

class StlReader : public ::testing::Test {
 protected:
  void SetUp() override { BREAK_STATUS::clear(); }
  void TearDown() override { BREAK_STATUS::clear(); }

  fs::path write(const std::string& name, const std::string& bytes) {
    return scratch_.write(name, bytes);
  }

  static std::unique_ptr<FACET_READER> open(const fs::path& path, PROGRESS* progress = nullptr) {
    return std::unique_ptr<FACET_READER>(STL_READER::make_stl_reader(path.wstring(), progress));
  }

  static bool is_text(const FACET_READER* r) {
    return dynamic_cast<const STL_TEXT_READER*>(r) != nullptr;
  }
  static bool is_binary(const FACET_READER* r) {
    return dynamic_cast<const STL_BIN_READER*>(r) != nullptr;
  }

  // Facets up to the next false answer.
  static int count_solid(FACET_READER& reader) {
    TRIANGLULAR_FACET f;
    int n = 0;
    while (reader.read_facet(f)) ++n;
    return n;
  }

  stl_test::SCRATCH_DIR scratch_{"lumesh_stl_"};
  const fs::path& dir_ = scratch_.path();
};

std::string stod_error(const std::function<void()>& action) {
  try {
    action();
  } catch (const TV_EXCEPTION&) {
    return "module error";
  } catch (const std::exception& e) {
    return e.what();
  }
  return "";
}

// ---- choosing the reader -----------------------------------------------------

TEST_F(StlReader, MissingFileGivesNull) {
  PROGRESS progress("t", PROGRESS_RENDERER{});
  EXPECT_EQ(open(dir_ / "no_such_file.stl", &progress), nullptr);
  EXPECT_EQ(progress.ticks(), 0);
}

TEST_F(StlReader, EightyFourBytesWithCountZeroIsBinaryAndEmpty) {
  const fs::path p = write("zero.stl", binary_stl(0, {}));
  ASSERT_EQ(fs::file_size(p), 84u);
  auto r = open(p);
  ASSERT_NE(r, nullptr);
  EXPECT_TRUE(is_binary(r.get()));
  TRIANGLULAR_FACET f;
  EXPECT_FALSE(r->read_facet(f));
  EXPECT_FALSE(r->read_facet(f));
}

TEST_F(StlReader, EmptyFileIsBinaryAndEmpty) {
  PROGRESS progress("t", PROGRESS_RENDERER{});
  {
    auto r = open(write("empty.stl", ""), &progress);
    ASSERT_NE(r, nullptr);
    EXPECT_TRUE(is_binary(r.get()));
    TRIANGLULAR_FACET f;
    EXPECT_FALSE(r->read_facet(f));
  }
  EXPECT_EQ(progress.ticks(), 100);
}

TEST_F(StlReader, SolidWithoutFacetNormalInHeaderIsBinary) {
  // Short: the count bytes are missing and read as zero.
  auto a = open(write("a.stl", "solid a\nendsolid a\n"));
  ASSERT_NE(a, nullptr);
  EXPECT_TRUE(is_binary(a.get()));
  TRIANGLULAR_FACET f;
  EXPECT_FALSE(a->read_facet(f));
  // Long enough: the count is the four bytes at offset 80.
  std::string text = "solid a\nendsolid a\n";
  text.resize(80, ' ');
  text += std::string("\x02\x00\x00\x00", 4);
  text += std::string(100, '\0');
  auto b = open(write("b.stl", text));
  ASSERT_NE(b, nullptr);
  ASSERT_TRUE(is_binary(b.get()));
  EXPECT_EQ(static_cast<STL_BIN_READER*>(b.get())->remaining_facet_count(), 2u);
  EXPECT_EQ(count_solid(*b), 2);
}

TEST_F(StlReader, HeaderRuleAndItsTextFallback) {
  const std::string body = text_facet("0 0 1", "0 0 0", "1 0 0", "0 1 0") + "endsolid x\n";
  EXPECT_TRUE(is_text(open(write("ok.stl", "solid x\n" + body)).get()));
  EXPECT_TRUE(is_binary(open(write("upper.stl", "SOLID x\n" + body)).get()));
  EXPECT_TRUE(is_binary(open(write("zero.stl", std::string("solid x\0\n", 9) + body)).get()));
  // A binary file whose header happens to hold both strings is read as text.
  EXPECT_TRUE(
      is_text(open(write("bin.stl", binary_stl(1, {record(1)}, "solid x facet normal"))).get()));
  // The header's rule calls these binary, but the count at offset 80 (text
  // characters) needs far more bytes than the file has, and the text reading
  // holds: they are text, and every facet is read.
  for (const std::string& start : {std::string("solid\n"), std::string("solid\tx\n"),
                                    "solid " + std::string(80, 'n') + "\n", std::string("solid\r\n"),
                                    "  solid x\n" + std::string(200, '\n')}) {
    SCOPED_TRACE(start);
    auto r = open(write("fallback.stl", start + body));
    ASSERT_TRUE(is_text(r.get()));
    EXPECT_EQ(count_solid(*r), 1);
  }
}

TEST_F(StlReader, TextFallbackNeedsAFacetLineAndACountThatCannotHold) {
  const std::string body = text_facet("0 0 1", "0 0 0", "1 0 0", "0 1 0") + "endsolid x\n";
  // No facet line within the probe: binary, as the header's rule says.
  EXPECT_TRUE(is_binary(open(write("far.stl", "solid\n" + std::string(5000, ' ') + "\n" + body)).get()));
  // "solid" must be a word of its own.
  EXPECT_TRUE(is_binary(open(write("solidx.stl", "solidified\n" + body)).get()));
  // A binary file whose header starts "solid" and a line end, with a count that
  // its records fill, stays binary even though a facet line follows in it.
  std::string header = "solid\nfacet normal in a binary header";
  const std::string bin = binary_stl(2, {record(1), record(2)}, header);
  auto r = open(write("binsolid.stl", bin));
  ASSERT_TRUE(is_binary(r.get()));
  EXPECT_EQ(count_solid(*r), 2);
}

TEST_F(StlReader, FileThatIsNotStl) {
  auto a = open(write("note.txt", "This is not a mesh.\n"));
  ASSERT_NE(a, nullptr);
  EXPECT_TRUE(is_binary(a.get()));
  TRIANGLULAR_FACET f;
  EXPECT_FALSE(a->read_facet(f));
  // Long enough for a count: it is taken as it stands, and every stated facet
  // is delivered (zeros past the end), without error.
  std::string junk(80, 'x');
  junk += std::string("\x05\x00\x00\x00", 4);
  junk += "tail";
  PROGRESS progress("t", PROGRESS_RENDERER{});
  {
    auto b = open(write("junk.bin", junk), &progress);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(count_solid(*b), 5);
    EXPECT_FALSE(b->read_facet(f));
  }
  EXPECT_EQ(progress.ticks(), 100);
}

// ---- text ----------------------------------------------------------------------

TEST_F(StlReader, TextFacetValues) {
  auto r =
      open(write("one.stl", "solid one\n" + text_facet("0 0 2", "1 2 3", "4.5 -5 6e1", "7 8 9") +
                                "endsolid one\n"));
  ASSERT_TRUE(is_text(r.get()));
  TRIANGLULAR_FACET f;
  ASSERT_TRUE(r->read_facet(f));
  EXPECT_EQ(f.normal, VECTOR3(0, 0, 2));  // not normalised
  EXPECT_EQ(f.vertex1, POSITION3(1, 2, 3));
  EXPECT_EQ(f.vertex2, POSITION3(4.5, -5, 60));
  EXPECT_EQ(f.vertex3, POSITION3(7, 8, 9));
  EXPECT_FALSE(r->read_facet(f));
  EXPECT_FALSE(r->read_facet(f));
  EXPECT_EQ(r->update_count(), 1);
}

TEST_F(StlReader, TextWithCrlf) {
  std::string text = "solid crlf\r\n";
  for (int i = 0; i < 3; ++i)
    text += text_facet("0 0 1", "0 0 0", "1 0 0", "0 1 " + std::to_string(i), "\r\n");
  text += "endsolid crlf\r\n";
  auto r = open(write("crlf.stl", text));
  ASSERT_TRUE(is_text(r.get()));
  TRIANGLULAR_FACET f;
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(r->read_facet(f));
    EXPECT_EQ(f.vertex3, POSITION3(0, 1, i));
  }
  EXPECT_FALSE(r->read_facet(f));
}

TEST_F(StlReader, TextLastLineWithoutLineFeed) {
  auto r = open(write(
      "nolf.stl",
      "solid x\n" + text_facet("0 0 1", "0 0 0", "1 0 0", "0 1 0")
                        .substr(0, text_facet("0 0 1", "0 0 0", "1 0 0", "0 1 0").size() - 1)));
  ASSERT_TRUE(is_text(r.get()));
  EXPECT_EQ(count_solid(*r), 1);
}

TEST_F(StlReader, TextWithSeveralSolids) {
  const std::string text = "solid a\n" + text_facet("0 0 1", "1 1 1", "2 2 2", "3 3 3") +
                           text_facet("0 0 1", "1 1 1", "2 2 2", "3 3 4") +
                           "endsolid a\nsolid b\n" +
                           text_facet("0 0 1", "5 5 5", "6 6 6", "7 7 7") + "endsolid b\n";
  auto r = open(write("two.stl", text));
  ASSERT_TRUE(is_text(r.get()));
  EXPECT_EQ(count_solid(*r), 2);
  TRIANGLULAR_FACET f;
  ASSERT_TRUE(r->read_facet(f));  // the first facet of the second solid
  EXPECT_EQ(f.vertex1, POSITION3(5, 5, 5));
  EXPECT_FALSE(r->read_facet(f));
  EXPECT_TRUE(static_cast<STL_READER*>(r.get())->at_end_of_input());
  for (int i = 0; i < 3; ++i) EXPECT_FALSE(r->read_facet(f));
}

TEST_F(StlReader, EmptySolidEndsWithOneFalseAnswer) {
  auto r = open(write("empty_first.stl", "solid a facet normal\nendsolid a\nsolid b\n" +
                                             text_facet("0 0 1", "1 2 3", "0 0 0", "0 0 0") +
                                             "endsolid b\n"));
  ASSERT_TRUE(is_text(r.get()));
  TRIANGLULAR_FACET f;
  EXPECT_FALSE(r->read_facet(f));
  ASSERT_TRUE(r->read_facet(f));
  EXPECT_EQ(f.vertex1, POSITION3(1, 2, 3));
  EXPECT_FALSE(r->read_facet(f));
}

// Lines cross the stream's block boundaries, and one line is longer than a
// block.
TEST_F(StlReader, TextLargerThanTheReadBlock) {
  std::string text = "solid big facet normal\n";
  text += "comment " + std::string(200000, 'c') + "\n";
  const int facets = 3000;
  for (int i = 0; i < facets; ++i) {
    text +=
        text_facet("0 0 1", std::to_string(i) + " 0 0", "1 0 0", "0 1 0", i % 2 ? "\r\n" : "\n");
  }
  text += "endsolid big\n";
  ASSERT_GT(text.size(), 4 * STL_STREAM::kBlockSize);
  PROGRESS progress("t", PROGRESS_RENDERER{});
  {
    auto r = open(write("big.stl", text), &progress);
    ASSERT_TRUE(is_text(r.get()));
    TRIANGLULAR_FACET f;
    for (int i = 0; i < facets; ++i) {
      ASSERT_TRUE(r->read_facet(f)) << i;
      ASSERT_EQ(f.vertex1.x(), i);
    }
    EXPECT_FALSE(r->read_facet(f));
  }
  EXPECT_EQ(progress.ticks(), 100);
}

TEST_F(StlReader, TextWithNoFacet) {
  auto r = open(write("nofacet.stl", "solid has no facet normal at all\nendsolid\n"));
  ASSERT_TRUE(is_text(r.get()));
  TRIANGLULAR_FACET f;
  EXPECT_FALSE(r->read_facet(f));
  EXPECT_FALSE(r->read_facet(f));
  EXPECT_EQ(r->update_count(), 0);
}

TEST_F(StlReader, TextEndingDuringSearchIsPlainFalse) {
  auto r = open(
      write("noend.stl", "solid x\n" + text_facet("0 0 1", "0 0 0", "1 0 0", "0 1 0") + "\n\n"));
  EXPECT_EQ(count_solid(*r), 1);
}

TEST_F(StlReader, FacetLineIsRecognisedByWordCountAndFirstWord) {
  const std::string tail =
      "    outer loop\n      vertex 0 0 0\n      vertex 1 0 0\n      vertex 0 1 0\n"
      "    endloop\n  endfacet\n";
  auto a = open(write("foo.stl", "solid x facet normal\nfacet foo 1 2 3\n" + tail));
  TRIANGLULAR_FACET f;
  ASSERT_TRUE(a->read_facet(f));
  EXPECT_EQ(f.normal, VECTOR3(1, 2, 3));
  auto b = open(write("extra.stl", "solid x facet normal\nfacet normal 1 2 3 extra\n" + tail));
  ASSERT_TRUE(b->read_facet(f));
  EXPECT_EQ(f.normal, VECTOR3(1, 2, 3));
}

TEST_F(StlReader, FourWordFacetLineIsSkippedWithItsFacet) {
  const std::string text =
      "solid x\n  facet normal 1 2\n    outer loop\n      vertex 9 9 9\n      vertex 9 9 9\n"
      "      vertex 9 9 9\n    endloop\n  endfacet\n" +
      text_facet("0 0 1", "1 2 3", "4 5 6", "7 8 9") + "endsolid x\n";
  auto r = open(write("four.stl", text));
  ASSERT_TRUE(is_text(r.get()));
  TRIANGLULAR_FACET f;
  ASSERT_TRUE(r->read_facet(f));
  EXPECT_EQ(f.vertex1, POSITION3(1, 2, 3));
  EXPECT_FALSE(r->read_facet(f));
}

TEST_F(StlReader, StaleWordsOfAnEmptyLineEndInInvalidStod) {
  auto r = open(write("stale.stl", "solid x\n  facet normal 0 0\n\n  outer loop\nendsolid\n"));
  ASSERT_TRUE(is_text(r.get()));
  TRIANGLULAR_FACET f;
  EXPECT_EQ(stod_error([&] { r->read_facet(f); }), "invalid stod argument");
}

TEST_F(StlReader, VertexWithTrailingBlankIsUnknownFormat) {
  const std::string bad = "solid x\n  facet normal 0 0 1\n    outer loop\n      vertex 1 2 3 \n";
  auto r = open(write("blank.stl",
                      bad + "      vertex 1 2 3\n      vertex 1 2 3\n    endloop\n  endfacet\n"));
  TRIANGLULAR_FACET f;
  EXPECT_EQ(module_error([&] { r->read_facet(f); }), MSG_FILE_UNKNOWN_FORMAT);
}

TEST_F(StlReader, VertexWithTrailingCarriageReturnIsAccepted) {
  auto r = open(write("cr.stl",
                      "solid x\n  facet normal 0 0 1\n    outer loop\n      vertex 1 2 3\r\n"
                      "      vertex 4 5 6\n      vertex 7 8 9\n    endloop\n  endfacet\n"));
  TRIANGLULAR_FACET f;
  ASSERT_TRUE(r->read_facet(f));
  EXPECT_EQ(f.vertex1, POSITION3(1, 2, 3));
}

TEST_F(StlReader, NumberWithTrailingTextAndNoNumber) {
  auto a =
      open(write("abc1.stl", "solid x\n" + text_facet("0 0 1", "1.5abc 2 3", "0 0 0", "0 0 0")));
  TRIANGLULAR_FACET f;
  ASSERT_TRUE(a->read_facet(f));
  EXPECT_EQ(f.vertex1.x(), 1.5);
  auto b = open(write("abc2.stl", "solid x\n" + text_facet("0 0 1", "abc 2 3", "0 0 0", "0 0 0")));
  EXPECT_EQ(stod_error([&] { b->read_facet(f); }), "invalid stod argument");
  auto c =
      open(write("range.stl", "solid x\n" + text_facet("0 0 1e999", "0 0 0", "0 0 0", "0 0 0")));
  EXPECT_EQ(stod_error([&] { c->read_facet(f); }), "stod argument out of range");
}

TEST_F(StlReader, MalformedFacetLinesAreUnknownFormat) {
  const std::vector<std::string> bodies = {
      // blank line inside a facet
      "  facet normal 0 0 1\n\n    outer loop\n",
      // wrong case of a keyword
      "  facet normal 0 0 1\n    OUTER loop\n",
      // wrong word count
      "  facet normal 0 0 1\n    outer loop now\n",
      "  facet normal 0 0 1\n    outer loop\n      vertex 1 2\n",
      "  facet normal 0 0 1\n    outer loop\n      vertex 1 2 3\n      vertex 1 2 3\n      vertex "
      "1 2 3\n"
      "    endloop now\n",
      // endloop with a trailing blank
      "  facet normal 0 0 1\n    outer loop\n      vertex 1 2 3\n      vertex 1 2 3\n      vertex "
      "1 2 3\n"
      "    endloop \n  endfacet\n",
      // missing endfacet: the file ends
      "  facet normal 0 0 1\n    outer loop\n      vertex 1 2 3\n      vertex 1 2 3\n      vertex "
      "1 2 3\n"
      "    endloop\n",
      // truncated in the middle
      "  facet normal 0 0 1\n    outer loop\n      vertex 1 2 3\n",
  };
  int i = 0;
  for (const std::string& body : bodies) {
    auto r = open(write("bad" + std::to_string(i++) + ".stl", "solid x\n" + body));
    ASSERT_TRUE(is_text(r.get())) << body;
    TRIANGLULAR_FACET f;
    EXPECT_EQ(module_error([&] { r->read_facet(f); }), MSG_FILE_UNKNOWN_FORMAT) << body;
  }
}

// ---- binary -------------------------------------------------------------------

TEST_F(StlReader, BinaryValuesAreWidenedFloats) {
  auto r = open(write("bin.stl", binary_stl(2, {record(1), record(-3)})));
  ASSERT_TRUE(is_binary(r.get()));
  TRIANGLULAR_FACET f;
  ASSERT_TRUE(r->read_facet(f));
  EXPECT_EQ(f.normal.x(), static_cast<double>(1.0f));
  EXPECT_EQ(f.normal.y(), static_cast<double>(1.0f + 0.1f));
  EXPECT_EQ(f.vertex3.z(), static_cast<double>(1.0f + 0.1f * 11.0f));
  ASSERT_TRUE(r->read_facet(f));
  EXPECT_EQ(f.vertex1.x(), static_cast<double>(-3.0f + 0.1f * 3.0f));
  EXPECT_FALSE(r->read_facet(f));
  EXPECT_FALSE(r->read_facet(f));
}

TEST_F(StlReader, BinaryAttributeBytesAreSkipped) {
  const std::string bytes = binary_stl(2, {record(1, "abc"), record(7)});
  ASSERT_EQ(bytes.size(), 84u + 53u + 50u);
  auto r = open(write("attr.stl", bytes));
  TRIANGLULAR_FACET f;
  ASSERT_TRUE(r->read_facet(f));
  ASSERT_TRUE(r->read_facet(f));
  EXPECT_EQ(f.normal.x(), 7.0);  // the second record starts behind the three bytes
  EXPECT_FALSE(r->read_facet(f));
}

TEST_F(StlReader, AttributeBytesOfAFileOfPlainRecordsAreNotLengths) {
  // Writers that colour facets put the colour into the two bytes: a file of
  // exactly 84 + 50 n bytes is read as n records of 50 bytes.
  std::string bytes = binary_stl(3, {record(1), record(2), record(3)});
  ASSERT_EQ(bytes.size(), 84u + 150u);
  for (std::size_t r = 0; r < 3; ++r) {
    bytes[84 + 50 * r + 48] = '\x1f';
    bytes[84 + 50 * r + 49] = '\x7c';  // 0x7c1f, a colour
  }
  auto r = open(write("colour.stl", bytes));
  ASSERT_TRUE(is_binary(r.get()));
  TRIANGLULAR_FACET f;
  for (float base : {1.0f, 2.0f, 3.0f}) {
    ASSERT_TRUE(r->read_facet(f));
    EXPECT_EQ(f.normal.x(), static_cast<double>(base));
    EXPECT_EQ(f.vertex3.z(), static_cast<double>(base + 0.1f * 11.0f));
  }
  EXPECT_FALSE(r->read_facet(f));
}

TEST_F(StlReader, BinaryTailBeyondCountIsIgnored) {
  auto r = open(write("tail.stl", binary_stl(1, {record(1), record(2), record(3)})));
  EXPECT_EQ(count_solid(*r), 1);
  TRIANGLULAR_FACET f;
  EXPECT_FALSE(r->read_facet(f));
}

// Every truncation of a small binary file, from 0 bytes to past its end:
// never an error, exactly the stated count of facets, the bytes present as
// they are and zeros for the missing ones, and 100 ticks in all.
TEST_F(StlReader, BinaryTruncatedAtEveryLength) {
  const std::vector<BIN_RECORD> records = {record(1, "xyz"), record(2), record(3), record(4)};
  const std::string full = binary_stl(4, records);
  for (std::size_t length = 0; length <= full.size() + 20; ++length) {
    SCOPED_TRACE(length);
    std::string bytes = full.substr(0, std::min(length, full.size()));
    if (length > full.size()) bytes += std::string(length - full.size(), '\x7f');
    // What the reader must see: the file, zero-padded.
    std::string padded = bytes;
    padded.resize(full.size() + 64, '\0');
    std::uint32_t count = 0;
    for (int i = 0; i < 4; ++i)
      count |= static_cast<std::uint32_t>(static_cast<unsigned char>(padded[80 + i])) << (8 * i);

    // A file exactly as long as its stated records of 50 bytes has no
    // attribute bytes.
    const bool fixed_records = bytes.size() >= 84 && (bytes.size() - 84) % 50 == 0 &&
                               (bytes.size() - 84) / 50 == count;
    PROGRESS progress("t", PROGRESS_RENDERER{});
    {
      auto r = open(write("trunc.stl", bytes), &progress);
      ASSERT_NE(r, nullptr);
      ASSERT_TRUE(is_binary(r.get()));
      std::size_t at = 84;
      TRIANGLULAR_FACET f;
      std::uint32_t delivered = 0;
      int last_ticks = 0;
      while (r->read_facet(f)) {
        ASSERT_LT(delivered, count);
        float expected[12];
        std::memcpy(expected, padded.data() + at, sizeof(expected));
        EXPECT_EQ(f.normal.x(), static_cast<double>(expected[0]));
        EXPECT_EQ(f.vertex2.y(), static_cast<double>(expected[7]));
        EXPECT_EQ(f.vertex3.z(), static_cast<double>(expected[11]));
        const unsigned attributes = static_cast<unsigned char>(padded[at + 48]) |
                                    (static_cast<unsigned char>(padded[at + 49]) << 8);
        at += 50 + (fixed_records ? 0 : attributes);
        ++delivered;
        EXPECT_GE(r->progress_ticks(), last_ticks);
        EXPECT_LE(r->progress_ticks(), 100);
        last_ticks = r->progress_ticks();
      }
      EXPECT_EQ(delivered, count);
      EXPECT_EQ(r->update_count(), static_cast<int>(count));
    }
    EXPECT_EQ(progress.ticks(), 100);
  }
}

// ---- progress and break ---------------------------------------------------------

TEST_F(StlReader, TicksReachOneHundredAtTheEndOfAFile) {
  std::vector<BIN_RECORD> records;
  for (int i = 0; i < 300; ++i) records.push_back(record(static_cast<float>(i)));
  PROGRESS progress("t", PROGRESS_RENDERER{});
  auto r = open(write("many.stl", binary_stl(300, records)), &progress);
  int last = 0;
  TRIANGLULAR_FACET f;
  while (r->read_facet(f)) {
    EXPECT_GE(r->progress_ticks(), last);
    last = r->progress_ticks();
    EXPECT_EQ(progress.ticks(), last);
  }
  EXPECT_EQ(last, 100);
  r.reset();
  EXPECT_EQ(progress.ticks(), 100);
}

TEST_F(StlReader, TextTicksAddUpToOneHundred) {
  std::string text = "solid x\n";
  for (int i = 0; i < 50; ++i) text += text_facet("0 0 1", "0 0 0", "1 0 0", "0 1 0");
  text += "endsolid x\n";
  PROGRESS progress("t", PROGRESS_RENDERER{});
  {
    auto r = open(write("ticks.stl", text), &progress);
    EXPECT_EQ(count_solid(*r), 50);
    EXPECT_GT(r->progress_ticks(), 95);
    EXPECT_LT(r->progress_ticks(), 100);  // "endsolid x" is still unread
  }
  EXPECT_EQ(progress.ticks(), 100);
}

TEST_F(StlReader, TicksCompleteWhenReadingFails) {
  PROGRESS progress("t", PROGRESS_RENDERER{});
  {
    auto r = open(write("fail.stl", "solid x\n" + text_facet("0 0 1", "0 0 0", "1 0 0", "0 1 0") +
                                        "  facet normal 0 0 1\n    outer\n"),
                  &progress);
    TRIANGLULAR_FACET f;
    ASSERT_TRUE(r->read_facet(f));
    EXPECT_EQ(module_error([&] { r->read_facet(f); }), MSG_FILE_UNKNOWN_FORMAT);
  }
  EXPECT_EQ(progress.ticks(), 100);
}

TEST_F(StlReader, BreakBeforeReadingCancels) {
  const fs::path bin = write("b.stl", binary_stl(2, {record(1), record(2)}));
  const fs::path txt = write("t.stl", "solid x\n" + text_facet("0 0 1", "0 0 0", "1 0 0", "0 1 0"));
  for (const fs::path& p : {bin, txt}) {
    PROGRESS progress("t", PROGRESS_RENDERER{});
    {
      auto r = open(p, &progress);
      BREAK_STATUS::request();
      TRIANGLULAR_FACET f;
      EXPECT_EQ(module_error([&] { r->read_facet(f); }), MSG_CANCELLED) << p;
      EXPECT_EQ(BREAK_STATUS::mState, 0);  // the request is consumed
      EXPECT_EQ(r->update_count(), 1);
    }
    EXPECT_EQ(progress.ticks(), 100);
  }
}

TEST_F(StlReader, NullProgressStillCountsAndChecksBreak) {
  auto r = open(write("b.stl", binary_stl(3, {record(1), record(2), record(3)})), nullptr);
  TRIANGLULAR_FACET f;
  ASSERT_TRUE(r->read_facet(f));
  EXPECT_EQ(r->update_count(), 1);
  EXPECT_EQ(r->progress_ticks(), 0);
  BREAK_STATUS::request();
  EXPECT_EQ(module_error([&] { r->read_facet(f); }), MSG_CANCELLED);
  EXPECT_EQ(r->update_count(), 2);
  ASSERT_TRUE(r->read_facet(f));  // the break was consumed
  EXPECT_EQ(r->update_count(), 3);
}

}  // namespace
