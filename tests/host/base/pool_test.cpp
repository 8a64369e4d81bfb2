// FIXED_POOL: distinct, aligned, writable slots; last-in-first-out reuse of
// released slots; live and reserved counts; chunked growth up to chunks of
// several megabytes; trim only when empty.

#include <stdexcept>
#include "host/base/pool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <set>
#include <vector>

namespace {

bool aligned_to(const void* p, std::size_t alignment) {
  return reinterpret_cast<std::uintptr_t>(p) % alignment == 0;
}

// Fills `bytes` bytes at `p` with a pattern derived from `tag`.
void fill(void* p, std::size_t bytes, std::size_t tag) {
  auto* c = static_cast<unsigned char*>(p);
  for (std::size_t i = 0; i < bytes; ++i) c[i] = static_cast<unsigned char>((tag * 131 + i * 7) & 0xff);
}

// True if the pattern of `fill(p, bytes, tag)` is still intact.
bool intact(const void* p, std::size_t bytes, std::size_t tag) {
  const auto* c = static_cast<const unsigned char*>(p);
  for (std::size_t i = 0; i < bytes; ++i) {
    if (c[i] != static_cast<unsigned char>((tag * 131 + i * 7) & 0xff)) return false;
  }
  return true;
}

// Allocates `count` slots of `object_size` bytes, fills each one whole with its
// own pattern and checks afterwards that every slot is distinct, aligned and
// still holds its pattern: any overlap between slots would break one of them.
void check_slots(FIXED_POOL& pool, std::size_t count, std::size_t object_size, std::size_t alignment) {
  std::vector<void*> slots;
  slots.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    void* p = pool.allocate();
    ASSERT_NE(p, nullptr);
    ASSERT_TRUE(aligned_to(p, alignment)) << "slot " << i << " at " << p;
    fill(p, object_size, i);
    slots.push_back(p);
  }
  EXPECT_EQ(pool.live(), count);
  std::size_t broken = 0;
  for (std::size_t i = 0; i < count; ++i) {
    if (!intact(slots[i], object_size, i)) ++broken;
  }
  EXPECT_EQ(broken, 0u);
  std::vector<void*> sorted = slots;
  std::sort(sorted.begin(), sorted.end(), [](void* a, void* b) {
    return reinterpret_cast<std::uintptr_t>(a) < reinterpret_cast<std::uintptr_t>(b);
  });
  for (std::size_t i = 1; i < sorted.size(); ++i) {
    const auto gap = reinterpret_cast<std::uintptr_t>(sorted[i]) -
                     reinterpret_cast<std::uintptr_t>(sorted[i - 1]);
    ASSERT_GE(gap, object_size) << "slots overlap at " << sorted[i - 1];
  }
  for (void* p : slots) pool.release(p);
  EXPECT_EQ(pool.live(), 0u);
}

TEST(FixedPool, StartsEmpty) {
  FIXED_POOL pool(24, 8);
  EXPECT_EQ(pool.live(), 0u);
  EXPECT_EQ(pool.reserved_bytes(), 0u);
}

TEST(FixedPool, AllocateGivesDistinctAlignedWritableSlots) {
  FIXED_POOL pool(24, 8);
  check_slots(pool, 1000, 24, 8);
}

TEST(FixedPool, SlotsOfTinyObjectsStillHoldTheirBytes) {
  // Objects smaller than a pointer: the free list must not share their bytes
  // with a live neighbour.
  FIXED_POOL pool(1, 1);
  check_slots(pool, 500, 1, 1);
  void* a = pool.allocate();
  void* b = pool.allocate();
  *static_cast<unsigned char*>(a) = 0x5a;
  pool.release(b);
  EXPECT_EQ(*static_cast<unsigned char*>(a), 0x5a);
  pool.release(a);
}

TEST(FixedPool, OddSizeIsPaddedToTheAlignment) {
  FIXED_POOL pool(20, 16);
  check_slots(pool, 300, 20, 16);
}

TEST(FixedPool, ReleasedSlotIsReusedLastInFirstOut) {
  FIXED_POOL pool(32, 8);
  void* a = pool.allocate();
  void* b = pool.allocate();
  void* c = pool.allocate();
  ASSERT_NE(a, b);
  ASSERT_NE(b, c);
  ASSERT_NE(a, c);
  pool.release(b);
  pool.release(c);
  EXPECT_EQ(pool.live(), 1u);
  EXPECT_EQ(pool.allocate(), c);
  EXPECT_EQ(pool.allocate(), b);
  // With the free list empty, the next slot is a fresh one.
  void* d = pool.allocate();
  EXPECT_NE(d, a);
  EXPECT_NE(d, b);
  EXPECT_NE(d, c);
  EXPECT_EQ(pool.live(), 4u);
  for (void* p : {a, b, c, d}) pool.release(p);
}

TEST(FixedPool, ReusedSlotIsWritableWithoutDisturbingOthers) {
  FIXED_POOL pool(48, 16);
  std::vector<void*> slots;
  for (std::size_t i = 0; i < 10; ++i) {
    slots.push_back(pool.allocate());
    fill(slots.back(), 48, i);
  }
  pool.release(slots[4]);
  void* again = pool.allocate();
  EXPECT_EQ(again, slots[4]);
  fill(again, 48, 99);
  for (std::size_t i = 0; i < 10; ++i) {
    EXPECT_TRUE(intact(slots[i], 48, i == 4 ? 99 : i)) << "slot " << i;
  }
  for (void* p : slots) pool.release(p);
}

TEST(FixedPool, LiveCountsAllocationsMinusReleases) {
  FIXED_POOL pool(16, 8);
  std::vector<void*> slots;
  for (std::size_t i = 1; i <= 200; ++i) {
    slots.push_back(pool.allocate());
    EXPECT_EQ(pool.live(), i);
  }
  for (std::size_t i = 0; i < 50; ++i) {
    pool.release(slots.back());
    slots.pop_back();
  }
  EXPECT_EQ(pool.live(), 150u);
  // Reused slots count as live again.
  for (std::size_t i = 0; i < 10; ++i) slots.push_back(pool.allocate());
  EXPECT_EQ(pool.live(), 160u);
  for (void* p : slots) pool.release(p);
  EXPECT_EQ(pool.live(), 0u);
}

TEST(FixedPool, ReservedBytesGrowInChunksNotPerObject) {
  constexpr std::size_t kSize = 32;
  FIXED_POOL pool(kSize, 8);
  std::vector<void*> slots;
  std::vector<std::size_t> steps;  // each growth of reserved_bytes
  std::size_t reserved = 0;
  for (std::size_t i = 0; i < 20000; ++i) {
    slots.push_back(pool.allocate());
    const std::size_t now = pool.reserved_bytes();
    ASSERT_GE(now, reserved);
    if (now > reserved) steps.push_back(now - reserved);
    reserved = now;
    ASSERT_GE(reserved, pool.live() * kSize);
  }
  // The first allocation already reserves a chunk for many objects.
  ASSERT_FALSE(steps.empty());
  EXPECT_GE(steps.front(), 2 * kSize);
  // Few chunks for many objects, each at least as big as the one before.
  EXPECT_LT(steps.size(), 20u);
  EXPECT_GT(steps.size(), 1u);
  for (std::size_t i = 1; i < steps.size(); ++i) {
    EXPECT_GE(steps[i], steps[i - 1]) << "chunk " << i;
    EXPECT_EQ(steps[i] % kSize, 0u);
  }
  // Releasing keeps the memory with the pool.
  for (void* p : slots) pool.release(p);
  EXPECT_EQ(pool.reserved_bytes(), reserved);
}

TEST(FixedPool, WithoutHugePagesChunksStayBelowTwoMegabytes) {
  constexpr std::size_t kSize = 48;
  constexpr std::size_t kCount = 200000;  // 9.6 MB: many chunks of the largest size
  FIXED_POOL pool(kSize, 16);
  pool.set_huge_pages(false);
  std::vector<void*> slots;
  slots.reserve(2 * kCount);
  std::vector<std::size_t> steps;
  std::size_t reserved = 0;
  const auto take = [&](std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      void* p = pool.allocate();
      ASSERT_TRUE(aligned_to(p, 16));
      std::memset(p, static_cast<int>(i & 0xff), kSize);
      slots.push_back(p);
      if (pool.reserved_bytes() != reserved) {
        steps.push_back(pool.reserved_bytes() - reserved);
        reserved = pool.reserved_bytes();
      }
    }
  };
  take(kCount);
  ASSERT_GE(steps.size(), 3u);
  for (std::size_t step : steps) EXPECT_LT(step, std::size_t{2} << 20);
  EXPECT_GE(steps.back(), std::size_t{1} << 20);
  EXPECT_GE(std::count(steps.begin(), steps.end(), steps.back()), 2);
  // Back to huge pages: the chunks grow on past 2 MB.
  pool.set_huge_pages(true);
  steps.clear();
  take(kCount);
  EXPECT_GE(steps.back(), std::size_t{2} << 20);
  EXPECT_EQ(pool.live(), 2 * kCount);
  std::set<void*> distinct(slots.begin(), slots.end());
  EXPECT_EQ(distinct.size(), slots.size());
  for (void* p : slots) pool.release(p);
  EXPECT_TRUE(pool.trim());
}

TEST(FixedPool, ReservedBytesStayWhileReleasedSlotsAreReused) {
  FIXED_POOL pool(64, 8);
  void* a = pool.allocate();
  const std::size_t reserved = pool.reserved_bytes();
  EXPECT_GE(reserved, 64u);
  for (int i = 0; i < 1000; ++i) {
    pool.release(a);
    a = pool.allocate();
  }
  EXPECT_EQ(pool.reserved_bytes(), reserved);
  EXPECT_EQ(pool.live(), 1u);
  pool.release(a);
}

TEST(FixedPool, TrimReturnsMemoryOnlyWhenEmpty) {
  FIXED_POOL pool(40, 8);
  std::vector<void*> slots;
  for (int i = 0; i < 100; ++i) slots.push_back(pool.allocate());
  const std::size_t reserved = pool.reserved_bytes();
  ASSERT_GT(reserved, 0u);

  EXPECT_FALSE(pool.trim());
  EXPECT_EQ(pool.reserved_bytes(), reserved);
  EXPECT_EQ(pool.live(), 100u);

  for (int i = 0; i < 99; ++i) pool.release(slots[i]);
  EXPECT_FALSE(pool.trim());  // one object is still live
  EXPECT_EQ(pool.reserved_bytes(), reserved);
  // The live object is untouched by the failed trim.
  fill(slots[99], 40, 7);
  EXPECT_TRUE(intact(slots[99], 40, 7));

  pool.release(slots[99]);
  EXPECT_TRUE(pool.trim());
  EXPECT_EQ(pool.reserved_bytes(), 0u);
  EXPECT_EQ(pool.live(), 0u);

  // The pool works again after a trim, from a fresh chunk.
  check_slots(pool, 300, 40, 8);
  EXPECT_GT(pool.reserved_bytes(), 0u);
  EXPECT_TRUE(pool.trim());
  EXPECT_EQ(pool.reserved_bytes(), 0u);
}

TEST(FixedPool, TrimOfAnUnusedPoolSucceedsAndReservesNothing) {
  FIXED_POOL pool(8, 8);
  EXPECT_TRUE(pool.trim());
  EXPECT_EQ(pool.reserved_bytes(), 0u);
}

TEST(FixedPool, ManyAllocationsReachTheBiggestChunks) {
  // 64-byte objects: enough of them to go through every chunk size and then
  // fill several chunks of the biggest size (megabytes each).
  constexpr std::size_t kSize = 64;
  constexpr std::size_t kCount = 400000;
  FIXED_POOL pool(kSize, 64);
  std::vector<void*> slots;
  slots.reserve(kCount);
  std::vector<std::size_t> steps;
  std::size_t reserved = 0;
  for (std::size_t i = 0; i < kCount; ++i) {
    void* p = pool.allocate();
    ASSERT_TRUE(aligned_to(p, 64)) << "slot " << i;
    std::memcpy(p, &i, sizeof i);
    std::memset(static_cast<char*>(p) + sizeof i, static_cast<int>(i & 0xff), kSize - sizeof i);
    slots.push_back(p);
    if (pool.reserved_bytes() != reserved) {
      steps.push_back(pool.reserved_bytes() - reserved);
      reserved = pool.reserved_bytes();
    }
  }
  EXPECT_EQ(pool.live(), kCount);
  EXPECT_GE(reserved, kCount * kSize);
  // Several chunk sizes, and the biggest one used more than once.
  ASSERT_GE(steps.size(), 3u);
  EXPECT_LT(steps.front(), steps.back());
  EXPECT_GE(steps.back(), std::size_t{1} << 20);
  EXPECT_GE(std::count(steps.begin(), steps.end(), steps.back()), 2);

  std::size_t broken = 0;
  for (std::size_t i = 0; i < kCount; ++i) {
    std::size_t stored = 0;
    std::memcpy(&stored, slots[i], sizeof stored);
    const auto* tail = static_cast<const unsigned char*>(slots[i]) + sizeof stored;
    if (stored != i || tail[0] != (i & 0xff) || tail[kSize - sizeof stored - 1] != (i & 0xff)) ++broken;
  }
  EXPECT_EQ(broken, 0u);
  std::set<void*> distinct(slots.begin(), slots.end());
  EXPECT_EQ(distinct.size(), kCount);

  for (void* p : slots) pool.release(p);
  EXPECT_EQ(pool.live(), 0u);
  EXPECT_TRUE(pool.trim());
  EXPECT_EQ(pool.reserved_bytes(), 0u);
}

TEST(FixedPool, BigObjectsLiveInChunksOfMoreThanFourMegabytes) {
  // 96 KB objects: a chunk for more than a few dozen of them exceeds 4 MB.
  constexpr std::size_t kSize = 96 * 1024;
  FIXED_POOL pool(kSize, 64);
  check_slots(pool, 120, kSize, 64);
  EXPECT_GT(pool.reserved_bytes(), std::size_t{4} << 20);
  EXPECT_GE(pool.reserved_bytes(), 120 * kSize);
}

TEST(FixedPool, ObjectsBiggerThanFourMegabytes) {
  constexpr std::size_t kSize = (std::size_t{4} << 20) + 4096;
  FIXED_POOL pool(kSize, 16);
  check_slots(pool, 3, kSize, 16);
  EXPECT_GE(pool.reserved_bytes(), 3 * kSize);
  EXPECT_TRUE(pool.trim());
}

struct alignas(16) QUAD {
  float v[4];
};
struct alignas(32) OCTET {
  double v[4];
};
struct alignas(32) SMALL_ALIGNED {
  char c;
};

TEST(FixedPool, SixteenByteAlignedObjects) {
  FIXED_POOL pool(sizeof(QUAD), alignof(QUAD));
  check_slots(pool, 5000, sizeof(QUAD), 16);
  std::vector<QUAD*> quads;
  for (int i = 0; i < 100; ++i) {
    auto* q = new (pool.allocate()) QUAD{{float(i), float(i) + 1, float(i) + 2, float(i) + 3}};
    quads.push_back(q);
  }
  for (int i = 0; i < 100; ++i) EXPECT_EQ(quads[i]->v[3], float(i) + 3);
  for (QUAD* q : quads) pool.release(q);
}

TEST(FixedPool, ThirtyTwoByteAlignedObjects) {
  FIXED_POOL pool(sizeof(OCTET), alignof(OCTET));
  check_slots(pool, 5000, sizeof(OCTET), 32);
  FIXED_POOL small(sizeof(SMALL_ALIGNED), alignof(SMALL_ALIGNED));
  check_slots(small, 5000, sizeof(SMALL_ALIGNED), 32);
}

TEST(FixedPool, AlignmentHoldsInChunksOfHugePages) {
  // Enough 32-byte aligned objects to need chunks of 2 MB and more.
  FIXED_POOL pool(sizeof(OCTET), alignof(OCTET));
  check_slots(pool, 200000, sizeof(OCTET), 32);
  EXPECT_GE(pool.reserved_bytes(), std::size_t{2} << 20);
}

TEST(FixedPool, DestructorFreesChunksWithLiveObjects) {
  // Leak checkers in sanitizer builds flag this test if the chunks stay.
  FIXED_POOL pool(128, 8);
  for (int i = 0; i < 1000; ++i) fill(pool.allocate(), 128, i);
  EXPECT_EQ(pool.live(), 1000u);
}

}  // namespace

TEST(FixedPool, RefusesAlignmentsItCannotHonour) {
  EXPECT_THROW(FIXED_POOL(64, 128), std::invalid_argument);
  EXPECT_THROW(FIXED_POOL(64, 24), std::invalid_argument);
  EXPECT_THROW(FIXED_POOL(64, 0), std::invalid_argument);
  FIXED_POOL ok(64, 64);
  void* p = ok.allocate();
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 64, 0u);
  ok.release(p);
}

TEST(FixedPool, HugeObjectsStartWithASmallChunk) {
  FIXED_POOL pool(std::size_t{5} << 20, 8);
  void* p = pool.allocate();
  EXPECT_LT(pool.reserved_bytes(), std::size_t{16} << 20);
  pool.release(p);
}
