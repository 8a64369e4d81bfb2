#pragma once
// A test fixture for model-tree tests: the root parcel exists before the test
// and outlives it (it is made, then the history is emptied so that no state
// predates it); each test starts and ends with an empty history, counts the
// host's assertion reports, and must leave no entity behind and the root
// without children.

#include <gtest/gtest.h>

#include <cstdint>

#include "host/base/assertion.h"
#include "host/kernel/entity/entity.h"
#include "host/kernel/history/history.h"
#include "host/model/model_tree.h"

class ModelTest : public ::testing::Test {
 protected:
  void SetUp() override {
    HISTORY::instance().forget();
    root_parcel();
    HISTORY::instance().forget();
    entities_at_start_ = ENTITY::registered_count();
    asserts_at_start_ = assertion_failure_count();
    previous_handler_ = set_assertion_handler(&count_quietly);
  }
  void TearDown() override {
    set_assertion_handler(previous_handler_);
    HISTORY::instance().forget();
    EXPECT_EQ(inq_num_children(root_parcel()), 0) << "the test left objects in the tree";
    EXPECT_EQ(new_entities(), 0u) << "the test left entities behind";
  }
  std::uint64_t assertions() const { return assertion_failure_count() - asserts_at_start_; }
  std::uint64_t new_entities() const { return ENTITY::registered_count() - entities_at_start_; }

 private:
  static void count_quietly(const ASSERTION_REPORT&) {}
  std::uint64_t entities_at_start_ = 0;
  std::uint64_t asserts_at_start_ = 0;
  ASSERTION_HANDLER previous_handler_ = nullptr;
};
