// The entity registry's reuse of free slots: scattered free slots across
// many words and groups of words are all found, in ascending order from
// where the search stands (one wrap at most), before the table grows.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <vector>

#include "host/kernel/entity/entity.h"
#include "host/kernel/entity/entity_registry.h"
#include "host/kernel/geometry/point.h"

namespace {

std::uint32_t slot_of(const ENTITY* e) { return static_cast<std::uint32_t>(e->sysid()); }

TEST(EntityRegistry, ScatteredFreeSlotsAreReusedInOrderBeforeTheTableGrows) {
  // 600k slots: more than 64 x 64 words of 64 slots, so the search has to
  // pass from one summary group to another.
  const int n = 600000;
  std::vector<point3*> points;
  points.reserve(n);
  for (int i = 0; i < n; ++i) {
    points.push_back(new point3(POSITION3(i, 0, 0)));
    points.back()->acquire();
  }
  std::uint32_t highest = 0;
  for (const point3* p : points) highest = std::max(highest, slot_of(p));
  // Free a few slots far apart, and a run of neighbours.
  std::set<std::uint32_t> freed;
  for (int i : {7, 4099, 262143, 262144, 300001, 599990, 599991, 599992, 12}) {
    freed.insert(slot_of(points[i]));
    points[i]->release();
    points[i] = nullptr;
  }
  // Take slots until every freed one is back; no slot beyond the table may
  // be handed out while one is still free.
  std::vector<std::uint32_t> reused;
  std::vector<point3*> fresh;
  while (reused.size() < freed.size()) {
    point3* p = new point3(POSITION3());
    p->acquire();
    fresh.push_back(p);
    const std::uint32_t s = slot_of(p);
    ASSERT_LE(s, highest) << "the table grew while slots were free";
    if (freed.count(s) != 0) reused.push_back(s);
    ASSERT_LT(fresh.size(), 1000000u);
    EXPECT_EQ(ENTITY::lookup(p->sysid()), p);
  }
  // Ascending from the search position: a rotation of the sorted slots.
  const auto wrap = std::is_sorted_until(reused.begin(), reused.end());
  EXPECT_TRUE(std::is_sorted(wrap, reused.end()));
  if (wrap != reused.end()) {
    EXPECT_LT(reused.back(), reused.front());
  }
  for (point3* p : points) {
    if (p != nullptr) p->release();
  }
  for (point3* p : fresh) p->release();
}

}  // namespace

namespace {

// A point that asks for `sysid`; the caller releases it.
point3* point_with(std::uint64_t sysid) {
  ENTITY_REGISTRY::instance().request(sysid);
  auto* p = new point3(POSITION3());
  p->acquire();
  return p;
}

TEST(EntityRegistry, AFreedSysidComesBackToTheEntityThatAsksForIt) {
  point3* p = point_with(0);
  const std::uint64_t saved = p->sysid();
  p->release();
  EXPECT_EQ(ENTITY::lookup(saved), nullptr);
  ASSERT_TRUE(ENTITY_REGISTRY::instance().reserve(saved));
  EXPECT_FALSE(ENTITY_REGISTRY::instance().reserve(saved)) << "kept twice";
  // A fresh entity made meanwhile does not take the kept slot.
  point3* other = point_with(0);
  EXPECT_NE(static_cast<std::uint32_t>(other->sysid()), static_cast<std::uint32_t>(saved));
  point3* back = point_with(saved);
  EXPECT_EQ(back->sysid(), saved);
  EXPECT_EQ(ENTITY::lookup(saved), back);
  // Once it dies again, the slot's next fresh sysid is one never handed out.
  back->release();
  point3* next = nullptr;
  for (int i = 0; i < 100000 && next == nullptr; ++i) {
    point3* q = point_with(0);
    if (static_cast<std::uint32_t>(q->sysid()) == static_cast<std::uint32_t>(saved)) {
      next = q;
    } else {
      q->release();
    }
  }
  ASSERT_NE(next, nullptr);
  EXPECT_GT(next->sysid() >> 32, saved >> 32);
  next->release();
  other->release();
}

TEST(EntityRegistry, ALiveSysidIsNotKeptAndAskingForItGivesAFreshOne) {
  point3* p = point_with(0);
  EXPECT_FALSE(ENTITY_REGISTRY::instance().reserve(p->sysid()));
  point3* q = point_with(p->sysid());
  EXPECT_NE(q->sysid(), p->sysid());
  EXPECT_EQ(ENTITY::lookup(p->sysid()), p);
  EXPECT_EQ(ENTITY::lookup(q->sysid()), q);
  q->release();
  p->release();
}

TEST(EntityRegistry, SlotsBeyondTheTableCanBeKeptAndReleased) {
  point3* p = point_with(0);
  const std::uint32_t top = static_cast<std::uint32_t>(p->sysid());
  p->release();
  const std::uint64_t far = (std::uint64_t{3} << 32) | (top + 1000);
  ASSERT_TRUE(ENTITY_REGISTRY::instance().reserve(far));
  point3* q = point_with(far);
  EXPECT_EQ(q->sysid(), far);
  // The slots in between are free for fresh entities.
  point3* r = point_with(0);
  EXPECT_LT(static_cast<std::uint32_t>(r->sysid()), top + 1000);
  q->release();
  r->release();
  // A kept slot that nobody took goes back to the free ones.
  const std::uint64_t unused = (std::uint64_t{1} << 32) | (top + 2000);
  ASSERT_TRUE(ENTITY_REGISTRY::instance().reserve(unused));
  ENTITY_REGISTRY::instance().release(unused);
  EXPECT_TRUE(ENTITY_REGISTRY::instance().reserve(unused));
  ENTITY_REGISTRY::instance().release(unused);
  // Slot 0, and slots absurdly far beyond the table, are never kept.
  EXPECT_FALSE(ENTITY_REGISTRY::instance().reserve(0));
  EXPECT_FALSE(ENTITY_REGISTRY::instance().reserve(0x7FFFFFF0u));
}

}  // namespace
