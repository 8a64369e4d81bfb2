// POOLED<T>: objects of T come from T's pool; objects of another size, and all
// objects in builds without pools (LUMESH_NO_POOLS), from the system allocator;
// deletion through a base pointer returns the object where it came from.
// Every test uses classes of its own, so each starts with an unused pool.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "host/base/pool.h"

namespace {

bool aligned_to(const void* p, std::size_t alignment) {
  return reinterpret_cast<std::uintptr_t>(p) % alignment == 0;
}

struct POOLED_POINT : POOLED<POOLED_POINT> {
  double x = 0, y = 0, z = 0;
  int tag = 0;
};

TEST(Pooled, NewAndDeleteGoThroughThePool) {
  FIXED_POOL& pool = POOLED_POINT::pool();
  ASSERT_EQ(pool.live(), 0u);
  auto* a = new POOLED_POINT;
  a->x = 1.5;
  a->tag = 7;
  auto* b = new POOLED_POINT;
  EXPECT_NE(a, b);
#ifdef LUMESH_NO_POOLS
  EXPECT_EQ(pool.live(), 0u);
  EXPECT_EQ(pool.reserved_bytes(), 0u);
#else
  EXPECT_EQ(pool.live(), 2u);
  EXPECT_GT(pool.reserved_bytes(), 0u);
#endif
  EXPECT_EQ(a->x, 1.5);
  EXPECT_EQ(a->tag, 7);
  delete b;
#ifndef LUMESH_NO_POOLS
  EXPECT_EQ(pool.live(), 1u);
#endif
  delete a;
  EXPECT_EQ(pool.live(), 0u);
}

struct POOLED_REUSED : POOLED<POOLED_REUSED> {
  long value[3] = {0, 0, 0};
};

TEST(Pooled, ADeletedObjectsSlotIsReusedByTheNextNew) {
  auto* a = new POOLED_REUSED;
  auto* keep = new POOLED_REUSED;
  void* const where = a;
  delete a;
  auto* b = new POOLED_REUSED;
#ifndef LUMESH_NO_POOLS
  EXPECT_EQ(static_cast<void*>(b), where);
  EXPECT_EQ(POOLED_REUSED::pool().live(), 2u);
#else
  (void)where;
  EXPECT_EQ(POOLED_REUSED::pool().live(), 0u);
#endif
  EXPECT_EQ(b->value[0], 0);  // constructed afresh
  delete b;
  delete keep;
  EXPECT_EQ(POOLED_REUSED::pool().live(), 0u);
}

struct POOLED_MANY : POOLED<POOLED_MANY> {
  explicit POOLED_MANY(std::size_t i) : index(i), check(~i) {}
  std::size_t index;
  std::size_t check;
};

TEST(Pooled, ManyObjectsKeepTheirValues) {
  constexpr std::size_t kCount = 100000;
  std::vector<std::unique_ptr<POOLED_MANY>> objects;
  objects.reserve(kCount);
  for (std::size_t i = 0; i < kCount; ++i) objects.push_back(std::make_unique<POOLED_MANY>(i));
#ifndef LUMESH_NO_POOLS
  EXPECT_EQ(POOLED_MANY::pool().live(), kCount);
#endif
  std::size_t broken = 0;
  for (std::size_t i = 0; i < kCount; ++i) {
    if (objects[i]->index != i || objects[i]->check != ~i) ++broken;
  }
  EXPECT_EQ(broken, 0u);
  objects.clear();
  EXPECT_EQ(POOLED_MANY::pool().live(), 0u);
}

// A polymorphic base with a pool of its own.
struct POOLED_SHAPE : POOLED<POOLED_SHAPE> {
  virtual ~POOLED_SHAPE() = default;
  virtual int sides() const { return 0; }
  double area = 0;
};

// Bigger than the base: not made for the base's pool.
struct POOLED_BIG_SHAPE : POOLED_SHAPE {
  int sides() const override { return 100; }
  double extra[16] = {};
};

// Same size as the base: fits the base's slots.
struct POOLED_SAME_SHAPE : POOLED_SHAPE {
  int sides() const override { return 3; }
};
static_assert(sizeof(POOLED_BIG_SHAPE) != sizeof(POOLED_SHAPE));
static_assert(sizeof(POOLED_SAME_SHAPE) == sizeof(POOLED_SHAPE));

TEST(Pooled, DerivedClassOfAnotherSizeUsesTheSystemAllocator) {
  FIXED_POOL& pool = POOLED_SHAPE::pool();
  ASSERT_EQ(pool.live(), 0u);
  const std::size_t reserved = pool.reserved_bytes();
  auto* big = new POOLED_BIG_SHAPE;
  EXPECT_EQ(pool.live(), 0u);
  EXPECT_EQ(pool.reserved_bytes(), reserved);
  big->extra[15] = 2.5;  // the whole object is usable
  EXPECT_EQ(big->extra[15], 2.5);
  POOLED_SHAPE* as_base = big;
  EXPECT_EQ(as_base->sides(), 100);
  // Deleting through the base must not hand the block to the base's pool: the
  // count would then drop below zero.
  delete as_base;
  EXPECT_EQ(pool.live(), 0u);
  EXPECT_EQ(pool.reserved_bytes(), reserved);
}

TEST(Pooled, DeletingThroughTheBaseReturnsPooledObjectsToThePool) {
  FIXED_POOL& pool = POOLED_SHAPE::pool();
  ASSERT_EQ(pool.live(), 0u);
  std::vector<POOLED_SHAPE*> shapes;
  for (int i = 0; i < 10; ++i) {
    if (i % 3 == 0) {
      shapes.push_back(new POOLED_SAME_SHAPE);
    } else if (i % 3 == 1) {
      shapes.push_back(new POOLED_BIG_SHAPE);
    } else {
      shapes.push_back(new POOLED_SHAPE);
    }
  }
#ifdef LUMESH_NO_POOLS
  EXPECT_EQ(pool.live(), 0u);
#else
  // Base objects and same-size derived ones share the base's pool.
  EXPECT_EQ(pool.live(), 7u);
#endif
  EXPECT_EQ(shapes[0]->sides(), 3);
  EXPECT_EQ(shapes[1]->sides(), 100);
  EXPECT_EQ(shapes[2]->sides(), 0);
  for (POOLED_SHAPE* s : shapes) delete s;
  EXPECT_EQ(pool.live(), 0u);
}

// The layout of the kernel's classes: a polymorphic base that knows nothing of
// pools, a pool for the final class, and a base that does not start the object
// (the first polymorphic base does).
struct POOLED_HEADER {
  virtual ~POOLED_HEADER() = default;
  int header = 0x1234;
};
struct POOLED_CURVE {
  virtual ~POOLED_CURVE() = default;
  virtual double length() const = 0;
};
struct POOLED_LINE final : POOLED_HEADER, POOLED_CURVE, POOLED<POOLED_LINE> {
  double length() const override { return len; }
  double len = 0;
};

TEST(Pooled, DeletingThroughANonPooledBaseUsesTheFinalClassPool) {
  FIXED_POOL& pool = POOLED_LINE::pool();
  ASSERT_EQ(pool.live(), 0u);
  auto* line = new POOLED_LINE;
  line->len = 4.0;
  POOLED_CURVE* curve = line;
  // The base sub-object does not start the object: delete must still give the
  // pool the start of the block.
  EXPECT_NE(static_cast<void*>(curve), static_cast<void*>(line));
  EXPECT_EQ(curve->length(), 4.0);
#ifndef LUMESH_NO_POOLS
  EXPECT_EQ(pool.live(), 1u);
#endif
  void* const where = line;
  delete curve;
  EXPECT_EQ(pool.live(), 0u);
#ifndef LUMESH_NO_POOLS
  // The slot went back whole: the next object gets exactly that block.
  auto* again = new POOLED_LINE;
  EXPECT_EQ(static_cast<void*>(again), where);
  EXPECT_EQ(again->header, 0x1234);
  delete again;
#else
  (void)where;
#endif
}

struct alignas(16) POOLED_QUAD : POOLED<POOLED_QUAD> {
  float v[4] = {};
};
struct alignas(32) POOLED_OCTET : POOLED<POOLED_OCTET> {
  double v[4] = {};
};

TEST(Pooled, SixteenByteAlignedObjectsAreAligned) {
  std::vector<std::unique_ptr<POOLED_QUAD>> quads;
  for (int i = 0; i < 1000; ++i) quads.push_back(std::make_unique<POOLED_QUAD>());
  for (int i = 0; i < 1000; ++i) ASSERT_TRUE(aligned_to(quads[i].get(), 16)) << i;
#ifndef LUMESH_NO_POOLS
  EXPECT_EQ(POOLED_QUAD::pool().live(), 1000u);
#endif
  quads.clear();
  EXPECT_EQ(POOLED_QUAD::pool().live(), 0u);
}

// Alignment beyond the default of operator new. The memory is only asked for
// here, not used as an object, so that a misaligned block is reported as a
// failure rather than as undefined behaviour.
TEST(Pooled, ThirtyTwoByteAlignedBlocksAreAligned) {
  std::vector<void*> blocks;
  std::size_t misaligned = 0;
  for (int i = 0; i < 1000; ++i) {
    blocks.push_back(POOLED_OCTET::operator new(sizeof(POOLED_OCTET)));
    if (!aligned_to(blocks.back(), 32)) ++misaligned;
  }
  EXPECT_EQ(misaligned, 0u);
  for (void* p : blocks) POOLED_OCTET::operator delete(p, sizeof(POOLED_OCTET));
  EXPECT_EQ(POOLED_OCTET::pool().live(), 0u);
}

TEST(Pooled, PoolIsOnePerClass) {
  EXPECT_EQ(&POOLED_POINT::pool(), &POOLED_POINT::pool());
  EXPECT_NE(static_cast<void*>(&POOLED_POINT::pool()), static_cast<void*>(&POOLED_SHAPE::pool()));
}

TEST(Pooled, DeletingNullIsHarmless) {
  POOLED_POINT* none = nullptr;
  delete none;
  POOLED_SHAPE* no_shape = nullptr;
  delete no_shape;
  EXPECT_EQ(POOLED_POINT::pool().live(), 0u);
  EXPECT_EQ(POOLED_SHAPE::pool().live(), 0u);
}

}  // namespace
