// The entity registry's reuse of free slots: scattered free slots across
// many words and groups of words are all found, in ascending order from
// where the search stands (one wrap at most), before the table grows.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <vector>

#include "host/kernel/entity/entity.h"
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
