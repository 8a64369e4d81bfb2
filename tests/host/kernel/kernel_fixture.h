#pragma once
// A test fixture for kernel tests: starts and ends each test with an empty
// history, counts the host's assertion reports, and checks that the test left
// no entity behind beyond the ones it says it keeps.

#include <gtest/gtest.h>

#include <cstdint>

#include "host/base/assertion.h"
#include "host/geometry/resolution.h"
#include "host/kernel/entity/entity.h"
#include "host/kernel/history/history.h"

class KernelTest : public ::testing::Test {
 protected:
  void SetUp() override {
    HISTORY::instance().forget();
    saved_resolution_ = get_k2_geores();
    entities_at_start_ = ENTITY::registered_count();
    asserts_at_start_ = assertion_failure_count();
    previous_handler_ = set_assertion_handler(&count_quietly);
  }
  void TearDown() override {
    set_assertion_handler(previous_handler_);
    get_k2_geores() = saved_resolution_;
    HISTORY::instance().forget();
    EXPECT_EQ(new_entities(), 0u) << "the test left entities behind";
  }
  std::uint64_t assertions() const { return assertion_failure_count() - asserts_at_start_; }
  std::uint64_t new_entities() const { return ENTITY::registered_count() - entities_at_start_; }

 private:
  static void count_quietly(const ASSERTION_REPORT&) {}
  resolution saved_resolution_;
  std::uint64_t entities_at_start_ = 0;
  std::uint64_t asserts_at_start_ = 0;
  ASSERTION_HANDLER previous_handler_ = nullptr;
};
