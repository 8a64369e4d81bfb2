#include "host/ui/break_status.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <thread>

namespace {

class BreakStatusTest : public ::testing::Test {
 protected:
  void SetUp() override { BREAK_STATUS::clear(); }
  void TearDown() override {
    restore_default_break_handler();
    BREAK_STATUS::clear();
  }
};

TEST_F(BreakStatusTest, RequestIsPendingUntilConsumed) {
  EXPECT_EQ(BREAK_STATUS::mState, 0);
  EXPECT_FALSE(BREAK_STATUS::get_doer());
  BREAK_STATUS::request();
  EXPECT_NE(BREAK_STATUS::mState, 0);
  EXPECT_TRUE(BREAK_STATUS::mState && BREAK_STATUS::get_doer());
  EXPECT_EQ(BREAK_STATUS::mState, 0);
  EXPECT_FALSE(BREAK_STATUS::get_doer());
}

TEST_F(BreakStatusTest, ClearDropsAPendingRequest) {
  BREAK_STATUS::request();
  BREAK_STATUS::clear();
  EXPECT_EQ(BREAK_STATUS::mState, 0);
  EXPECT_FALSE(BREAK_STATUS::get_doer());
}

TEST_F(BreakStatusTest, InterruptSetsTheStatusAndTheProcessSurvives) {
  install_break_handler();
  EXPECT_TRUE(break_handler_installed());
  ASSERT_EQ(std::raise(SIGINT), 0);
  EXPECT_NE(BREAK_STATUS::mState, 0);
  EXPECT_TRUE(BREAK_STATUS::get_doer());
  EXPECT_EQ(BREAK_STATUS::mState, 0);
}

TEST_F(BreakStatusTest, InstallIsIdempotent) {
  install_break_handler();
  install_break_handler();
  ASSERT_EQ(std::raise(SIGINT), 0);
  EXPECT_TRUE(BREAK_STATUS::get_doer());
}

TEST_F(BreakStatusTest, InterruptAfterTheRequestWasConsumedIsANewRequest) {
  install_break_handler();
  ASSERT_EQ(std::raise(SIGINT), 0);
  EXPECT_TRUE(BREAK_STATUS::get_doer());
  ASSERT_EQ(std::raise(SIGINT), 0);  // within the window, but nothing pending
  EXPECT_TRUE(break_handler_installed());
  EXPECT_TRUE(BREAK_STATUS::get_doer());
}

TEST_F(BreakStatusTest, LateSecondInterruptIsAnOrdinaryRequest) {
  install_break_handler();
  ASSERT_EQ(std::raise(SIGINT), 0);
  std::this_thread::sleep_for(std::chrono::milliseconds(kBreakEscalationSeconds * 1000 + 100));
  ASSERT_EQ(std::raise(SIGINT), 0);  // pending, but the first is too old
  EXPECT_TRUE(break_handler_installed());
  EXPECT_TRUE(BREAK_STATUS::get_doer());
}

TEST_F(BreakStatusTest, RestoreGivesSigintItsDefaultDisposition) {
  install_break_handler();
  restore_default_break_handler();
  EXPECT_FALSE(break_handler_installed());
  struct sigaction current {};
  ASSERT_EQ(sigaction(SIGINT, nullptr, &current), 0);
  EXPECT_EQ(current.sa_handler, SIG_DFL);
  EXPECT_EXIT(std::raise(SIGINT), ::testing::KilledBySignal(SIGINT), "");
}

TEST_F(BreakStatusTest, SecondInterruptWhilePendingEndsTheProcess) {
  EXPECT_EXIT(
      {
        install_break_handler();
        std::raise(SIGINT);
        std::raise(SIGINT);  // pending, within the window: default action
        std::_Exit(0);
      },
      ::testing::KilledBySignal(SIGINT), "");
  EXPECT_EQ(BREAK_STATUS::mState, 0);  // the parent never saw a signal
}

}  // namespace
