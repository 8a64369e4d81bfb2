#include "host/ui/output_box.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Collects what the box writes and restores the standard streams afterwards.
class OutputBoxTest : public ::testing::Test {
 protected:
  void SetUp() override {
    output_box().set_sink([this](const std::string& line) { out_.push_back(line); });
    output_box().set_error_sink([this](const std::string& line) { err_.push_back(line); });
  }
  void TearDown() override {
    output_box().set_sink(nullptr);
    output_box().set_error_sink(nullptr);
  }
  std::vector<std::string> out_;
  std::vector<std::string> err_;
};

TEST_F(OutputBoxTest, LinesReachTheSinkInOrderAndAreRemembered) {
  output_box().display("first");
  output_box().display("second");
  output_box().display("third");
  EXPECT_EQ(out_, (std::vector<std::string>{"first", "second", "third"}));
  EXPECT_EQ(output_box().recent(2), (std::vector<std::string>{"second", "third"}));
  EXPECT_EQ(output_box().recent(3), (std::vector<std::string>{"first", "second", "third"}));
  EXPECT_TRUE(output_box().recent(0).empty());
}

TEST_F(OutputBoxTest, RemembersTheLastThousandLines) {
  const std::size_t total = OUTPUT_BOX::kRecentLines + 5;
  for (std::size_t i = 0; i < total; ++i) output_box().display("line " + std::to_string(i));
  const std::vector<std::string> kept = output_box().recent(total * 2);
  ASSERT_EQ(kept.size(), OUTPUT_BOX::kRecentLines);
  EXPECT_EQ(kept.front(), "line 5");
  EXPECT_EQ(kept.back(), "line " + std::to_string(total - 1));
}

TEST_F(OutputBoxTest, ErrorsGoToTheErrorSinkAndAreRememberedInOrder) {
  output_box().display("before");
  output_box().display_error("cannot open file");
  output_box().display("after");
  EXPECT_EQ(out_, (std::vector<std::string>{"before", "after"}));
  EXPECT_EQ(err_, (std::vector<std::string>{"Error: cannot open file"}));
  EXPECT_EQ(output_box().recent(3),
            (std::vector<std::string>{"before", "Error: cannot open file", "after"}));
}

TEST_F(OutputBoxTest, ShowIsCounted) {
  const std::size_t before = output_box().show_count();
  output_box().show();
  output_box().show();
  EXPECT_EQ(output_box().show_count(), before + 2);
}

TEST_F(OutputBoxTest, ASinkMayDisplayAndReplaceItself) {
  output_box().set_sink([this](const std::string& line) {
    out_.push_back(line);
    output_box().set_sink([this](const std::string& l) { out_.push_back("later " + l); });
    output_box().display("from the sink");
  });
  output_box().display("outer");
  EXPECT_EQ(out_, (std::vector<std::string>{"outer", "later from the sink"}));
  EXPECT_EQ(output_box().recent(2), (std::vector<std::string>{"outer", "from the sink"}));
}

TEST(OutputBoxStreams, NullSinksWriteToStandardOutputAndStandardError) {
  output_box().set_sink(nullptr);
  output_box().set_error_sink(nullptr);
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  output_box().display("to stdout");
  output_box().display_error("to stderr");
  const std::string err = ::testing::internal::GetCapturedStderr();
  const std::string out = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(out, "to stdout\n");
  EXPECT_EQ(err, "Error: to stderr\n");
}

TEST(OutputBoxStreams, RestoringTheSinkReturnsToStandardOutput) {
  std::vector<std::string> seen;
  output_box().set_sink([&seen](const std::string& line) { seen.push_back(line); });
  output_box().display("captured");
  output_box().set_sink(nullptr);
  ::testing::internal::CaptureStdout();
  output_box().display("printed");
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "printed\n");
  EXPECT_EQ(seen, (std::vector<std::string>{"captured"}));
}

}  // namespace
