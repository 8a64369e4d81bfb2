// The assertion service: HOST_ASSERT reports failed checks only, once each,
// with condition text, message and source position; handlers can be replaced
// and the default restored; failures are counted.

#include "host/base/assertion.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

struct RECORDED {
  std::string condition;
  std::string message;
  std::string file;
  int line;
  bool message_null;
};

std::vector<RECORDED>& recorded() {
  static std::vector<RECORDED> r;
  return r;
}

void record(const ASSERTION_REPORT& r) {
  recorded().push_back({r.condition != nullptr ? r.condition : "", r.message != nullptr ? r.message : "",
                        r.file != nullptr ? r.file : "", r.line, r.message == nullptr});
}

int other_calls = 0;
void count_other(const ASSERTION_REPORT&) { ++other_calls; }

// Installs the recording handler for one test and restores the previous one.
class AssertionService : public ::testing::Test {
 protected:
  void SetUp() override {
    recorded().clear();
    other_calls = 0;
    previous_ = set_assertion_handler(&record);
    count_at_start_ = assertion_failure_count();
  }
  void TearDown() override { set_assertion_handler(previous_); }
  std::uint64_t failures() const { return assertion_failure_count() - count_at_start_; }

 private:
  ASSERTION_HANDLER previous_ = nullptr;  // not owned
  std::uint64_t count_at_start_ = 0;
};

bool ends_with(const std::string& s, const std::string& tail) {
  return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

TEST_F(AssertionService, TrueConditionReportsNothing) {
  const int value = 3;
  HOST_ASSERT(value == 3, "value must be three");
  HOST_ASSERT(true, "always holds");
  EXPECT_TRUE(recorded().empty());
  EXPECT_EQ(failures(), 0u);
}

TEST_F(AssertionService, FalseConditionCallsTheHandlerOnceWithItsReport) {
  const int value = 2;
  const int line = __LINE__ + 1;
  HOST_ASSERT(value == 3, "value must be three");
  ASSERT_EQ(recorded().size(), 1u);
  const RECORDED& r = recorded().front();
  EXPECT_EQ(r.condition, "value == 3");
  EXPECT_EQ(r.message, "value must be three");
  EXPECT_TRUE(ends_with(r.file, "assertion_test.cpp")) << r.file;
  EXPECT_EQ(r.line, line);
  EXPECT_EQ(failures(), 1u);
}

TEST_F(AssertionService, ProgramGoesOnAfterAFailure) {
  int reached = 0;
  HOST_ASSERT(reached == 1, "first");
  reached = 1;
  HOST_ASSERT(reached == 2, "second");
  reached = 2;
  EXPECT_EQ(reached, 2);
  ASSERT_EQ(recorded().size(), 2u);
  EXPECT_EQ(recorded()[0].message, "first");
  EXPECT_EQ(recorded()[1].message, "second");
}

TEST_F(AssertionService, CountRisesByOnePerFailure) {
  const std::uint64_t before = assertion_failure_count();
  for (int i = 0; i < 5; ++i) HOST_ASSERT(i < 0, "negative");
  HOST_ASSERT(1 > 0, "holds");
  EXPECT_EQ(assertion_failure_count(), before + 5);
  EXPECT_EQ(recorded().size(), 5u);
}

TEST_F(AssertionService, ConditionIsEvaluatedOnce) {
  int evaluations = 0;
  HOST_ASSERT(++evaluations == 1, "holds");
  EXPECT_EQ(evaluations, 1);
  HOST_ASSERT(++evaluations == 0, "fails");
  EXPECT_EQ(evaluations, 2);
  EXPECT_EQ(recorded().size(), 1u);
}

TEST_F(AssertionService, MessageIsOnlyEvaluatedOnFailure) {
  int built = 0;
  auto message = [&built] {
    ++built;
    return "built";
  };
  HOST_ASSERT(true, message());
  EXPECT_EQ(built, 0);
  HOST_ASSERT(false, message());
  EXPECT_EQ(built, 1);
  ASSERT_EQ(recorded().size(), 1u);
  EXPECT_EQ(recorded()[0].message, "built");
  EXPECT_EQ(recorded()[0].condition, "false");
}

TEST_F(AssertionService, NullMessageReachesTheHandler) {
  HOST_ASSERT(1 == 2, nullptr);
  ASSERT_EQ(recorded().size(), 1u);
  EXPECT_TRUE(recorded()[0].message_null);
  EXPECT_EQ(recorded()[0].condition, "1 == 2");
}

TEST_F(AssertionService, DirectReportKeepsItsArguments) {
  host_assertion_failed("a < b", "direct", "some/file.cpp", 1234);
  ASSERT_EQ(recorded().size(), 1u);
  EXPECT_EQ(recorded()[0].condition, "a < b");
  EXPECT_EQ(recorded()[0].message, "direct");
  EXPECT_EQ(recorded()[0].file, "some/file.cpp");
  EXPECT_EQ(recorded()[0].line, 1234);
  EXPECT_EQ(failures(), 1u);
}

TEST_F(AssertionService, SetHandlerReturnsThePreviousOne) {
  EXPECT_EQ(set_assertion_handler(&count_other), &record);
  HOST_ASSERT(false, "to the other handler");
  EXPECT_EQ(other_calls, 1);
  EXPECT_TRUE(recorded().empty());
  EXPECT_EQ(set_assertion_handler(&record), &count_other);
  HOST_ASSERT(false, "back to the recorder");
  EXPECT_EQ(other_calls, 1);
  EXPECT_EQ(recorded().size(), 1u);
  EXPECT_EQ(failures(), 2u);
}

TEST_F(AssertionService, NullRestoresTheDefaultHandler) {
  EXPECT_EQ(set_assertion_handler(nullptr), &record);
  testing::internal::CaptureStderr();
  const int line = __LINE__ + 1;
  HOST_ASSERT(2 + 2 == 5, "arithmetic");
  const std::string err = testing::internal::GetCapturedStderr();
  EXPECT_TRUE(recorded().empty());
  EXPECT_NE(err.find("2 + 2 == 5"), std::string::npos) << err;
  EXPECT_NE(err.find("arithmetic"), std::string::npos) << err;
  EXPECT_NE(err.find("assertion_test.cpp:" + std::to_string(line)), std::string::npos) << err;
  EXPECT_EQ(failures(), 1u);

  // The default handler is a real handler: it comes back from the next call
  // and can be installed again.
  const ASSERTION_HANDLER default_handler = set_assertion_handler(&record);
  ASSERT_NE(default_handler, nullptr);
  EXPECT_NE(default_handler, &record);
  EXPECT_EQ(set_assertion_handler(default_handler), &record);
  testing::internal::CaptureStderr();
  host_assertion_failed("c", nullptr, "f.cpp", 1);
  const std::string again = testing::internal::GetCapturedStderr();
  EXPECT_NE(again.find("f.cpp:1"), std::string::npos) << again;
  EXPECT_TRUE(recorded().empty());
}

}  // namespace
