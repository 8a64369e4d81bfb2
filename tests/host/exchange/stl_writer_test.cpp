// The host's STL writer and the whole-or-nothing file it writes through.

#include "host/exchange/stl_writer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "exchange_fixture.h"
#include "host/base/mod_info.h"
#include "host/exchange/atomic_file.h"
#include "host/kernel/kernel_errors.h"

namespace {

std::string slurp(const std::string& p) {
  std::ifstream in(p, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

float f32_at(const std::string& bytes, std::size_t offset) {
  float f;
  std::memcpy(&f, bytes.data() + offset, 4);
  return f;
}

std::uint32_t u32_at(const std::string& bytes, std::size_t offset) {
  std::uint32_t v = 0;
  for (int i = 3; i >= 0; --i) v = (v << 8) | static_cast<unsigned char>(bytes[offset + static_cast<std::size_t>(i)]);
  return v;
}

bool cannot_write(const std::function<void()>& f) {
  try {
    f();
  } catch (const TV_EXCEPTION& e) {
    return e.info() == k2_error(K2_ERROR::CANNOT_WRITE_FILE);
  }
  return false;
}

class StlWriterTest : public ExchangeTest {};

TEST_F(StlWriterTest, RecordsCarryTheUnitNormalAndTheCorners) {
  const std::vector<STL_TRIANGLE> tris = {
      {POSITION3(0, 0, 0), POSITION3(2, 0, 0), POSITION3(0, 2, 0)},
      {POSITION3(1, 1, 1), POSITION3(1, 1, 1), POSITION3(1, 1, 1)}};
  const std::string bytes = binary_stl_bytes(tris, "a header");
  ASSERT_EQ(bytes.size(), 84u + 2 * 50u);
  EXPECT_EQ(bytes.substr(0, 8), "a header");
  EXPECT_EQ(bytes.substr(8, 72), std::string(72, ' '));
  EXPECT_EQ(u32_at(bytes, 80), 2u);
  EXPECT_EQ(f32_at(bytes, 84 + 8), 1.0f);   // normal z of the first
  EXPECT_EQ(f32_at(bytes, 84 + 12 + 12), 2.0f);  // second corner's x
  // A triangle of no area gets a zero normal, not NaN.
  for (int k = 0; k < 3; ++k) EXPECT_EQ(f32_at(bytes, 84 + 50 + 4 * k), 0.0f);
  // A header longer than 80 bytes is cut.
  EXPECT_EQ(binary_stl_bytes({}, std::string(100, 'h')).size(), 84u);
}

TEST_F(StlWriterTest, AFileIsReplacedWholeAndNothingElseStays) {
  const std::string p = path("out.stl");
  write_file_atomically(p, "old");
  write_binary_stl(p, {{POSITION3(0, 0, 0), POSITION3(1, 0, 0), POSITION3(0, 1, 0)}}, "new");
  EXPECT_EQ(slurp(p).size(), 134u);
  EXPECT_EQ(files(), std::vector<std::string>{"out.stl"});
}

TEST_F(StlWriterTest, UnwritablePathsLeaveNothing) {
  EXPECT_TRUE(cannot_write([&] { write_file_atomically(path("no-folder/x.stl"), "x"); }));
  EXPECT_TRUE(cannot_write([&] { write_file_atomically(dir_, "x"); }));
  EXPECT_TRUE(cannot_write([&] { write_file_atomically(dir_ + "/", "x"); }));
  EXPECT_TRUE(cannot_write([&] { write_file_atomically("", "x"); }));
  EXPECT_TRUE(files().empty());
  // A writer that gives up before commit leaves no temporary file either.
  {
    ATOMIC_FILE f(path("abandoned.stl"));
    std::ofstream(f.temporary_name()) << "half";
  }
  EXPECT_TRUE(files().empty());
}

}  // namespace
