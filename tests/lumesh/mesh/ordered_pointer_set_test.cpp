// The insertion-ordered pointer set: order, membership and erasure, small and
// large, against a reference model.

#include "lumesh/mesh/ordered_pointer_set.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <vector>

namespace {

std::vector<int*> members(const ORDERED_POINTER_SET<int*>& s) {
  return std::vector<int*>(s.begin(), s.end());
}

TEST(OrderedPointerSet, IteratesInInsertionOrderWhateverTheAddresses) {
  std::vector<int> storage(100);
  ORDERED_POINTER_SET<int*> s;
  std::vector<int*> expected;
  // Insert in descending address order: a hash or address order would differ.
  for (int i = 99; i >= 0; --i) {
    EXPECT_TRUE(s.insert(&storage[i]));
    expected.push_back(&storage[i]);
  }
  EXPECT_EQ(members(s), expected);
  EXPECT_EQ(s.front(), &storage[99]);
  EXPECT_EQ(s.size(), 100u);
}

TEST(OrderedPointerSet, DuplicateAndNullAreRefused) {
  int a = 0;
  ORDERED_POINTER_SET<int*> s;
  EXPECT_TRUE(s.insert(&a));
  EXPECT_FALSE(s.insert(&a));
  EXPECT_FALSE(s.insert(nullptr));
  EXPECT_EQ(s.size(), 1u);
  EXPECT_FALSE(s.contains(nullptr));
  EXPECT_FALSE(s.erase(nullptr));
}

TEST(OrderedPointerSet, EraseKeepsTheOrderOfTheRestAndReinsertGoesLast) {
  std::vector<int> storage(5);
  ORDERED_POINTER_SET<int*> s;
  for (int& x : storage) s.insert(&x);
  EXPECT_TRUE(s.erase(&storage[1]));
  EXPECT_FALSE(s.erase(&storage[1]));
  EXPECT_FALSE(s.contains(&storage[1]));
  EXPECT_EQ(members(s), (std::vector<int*>{&storage[0], &storage[2], &storage[3], &storage[4]}));
  s.insert(&storage[1]);
  EXPECT_EQ(members(s).back(), &storage[1]);
  EXPECT_TRUE(s.erase(&storage[0]));
  EXPECT_EQ(s.front(), &storage[2]);
}

TEST(OrderedPointerSet, EmptySetHasNoFrontAndIteratesNothing) {
  ORDERED_POINTER_SET<int*> s;
  EXPECT_TRUE(s.empty());
  EXPECT_EQ(s.front(), nullptr);
  EXPECT_EQ(s.begin(), s.end());
  int a = 0;
  s.insert(&a);
  s.erase(&a);
  EXPECT_TRUE(s.empty());
  EXPECT_EQ(s.begin(), s.end());
}

// Random inserts and erases against std::set plus an order list: exercises
// the table's growth, the backward-shift deletion and the squeeze.
TEST(OrderedPointerSet, AgreesWithAReferenceUnderRandomChurn) {
  std::vector<int> storage(3000);
  std::mt19937 rng(7);
  std::uniform_int_distribution<int> pick(0, 2999);
  ORDERED_POINTER_SET<int*> s;
  std::vector<int*> order;
  for (int step = 0; step < 60000; ++step) {
    int* p = &storage[pick(rng)];
    const bool member = std::find(order.begin(), order.end(), p) != order.end();
    ASSERT_EQ(s.contains(p), member);
    if (rng() % 3 != 0) {
      EXPECT_EQ(s.insert(p), !member);
      if (!member) order.push_back(p);
    } else {
      EXPECT_EQ(s.erase(p), member);
      if (member) order.erase(std::find(order.begin(), order.end(), p));
    }
    if (step % 997 == 0) {
      ASSERT_EQ(members(s), order);
    }
  }
  EXPECT_EQ(members(s), order);
  EXPECT_EQ(s.size(), order.size());
  // Drain completely: every erase must find its member.
  for (int* p : order) EXPECT_TRUE(s.erase(p));
  EXPECT_TRUE(s.empty());
  for (int& x : storage) EXPECT_FALSE(s.contains(&x));
}

}  // namespace
