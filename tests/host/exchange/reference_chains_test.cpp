// The reference-chain check on hand-made graphs: chains, shared entities,
// cycles of every length, the limit exactly, a chain of a million that
// must not recurse, and indexes out of range.

#include "host/exchange/reference_chains.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

// Entity i refers to entity i + 1, the last to nothing.
REFERENCE_GRAPH chain(std::size_t n) {
  REFERENCE_GRAPH g;
  for (std::size_t i = 0; i < n; ++i) {
    if (i + 1 < n) {
      g.add({static_cast<std::uint32_t>(i + 1)});
    } else {
      g.add({});
    }
  }
  return g;
}

TEST(ReferenceChains, EmptyGraphIsSound) {
  const REFERENCE_CHECK c = check_reference_chains(REFERENCE_GRAPH());
  EXPECT_EQ(c.verdict, REFERENCE_VERDICT::SOUND);
  EXPECT_EQ(c.longest_chain, 0u);
}

TEST(ReferenceChains, LongestChainCountsEntities) {
  EXPECT_EQ(check_reference_chains(chain(1)).longest_chain, 1u);
  EXPECT_EQ(check_reference_chains(chain(7)).longest_chain, 7u);
}

TEST(ReferenceChains, SharedEntitiesAreNoCycle) {
  // A diamond (0 → 1, 0 → 2, 1 → 3, 2 → 3) and a point that many refer to,
  // in an order that finds the shared ones done before their second user.
  REFERENCE_GRAPH g;
  g.add({3});        // 0
  g.add({0, 3});     // 1
  g.add({0, 1, 3});  // 2
  g.add({});         // 3
  const REFERENCE_CHECK c = check_reference_chains(g);
  EXPECT_EQ(c.verdict, REFERENCE_VERDICT::SOUND);
  EXPECT_EQ(c.longest_chain, 4u);  // 2 → 1 → 0 → 3
}

TEST(ReferenceChains, SelfReferenceIsACycle) {
  REFERENCE_GRAPH g;
  g.add({});
  g.add({1});
  const REFERENCE_CHECK c = check_reference_chains(g);
  EXPECT_EQ(c.verdict, REFERENCE_VERDICT::CYCLE);
  EXPECT_EQ(c.entity, 1u);
}

TEST(ReferenceChains, CyclesOfEveryLengthAreFound) {
  for (std::size_t n : {2u, 3u, 10u, 5000u}) {
    REFERENCE_GRAPH g = chain(n);
    // The last one points back to the first, behind an entry that reaches
    // the cycle from outside.
    g.targets.push_back(0);
    g.first.back() = g.targets.size();
    g.add({static_cast<std::uint32_t>(n / 2)});
    const REFERENCE_CHECK c = check_reference_chains(g, 1u << 20);
    EXPECT_EQ(c.verdict, REFERENCE_VERDICT::CYCLE) << n;
  }
}

TEST(ReferenceChains, TheLimitIsTheLongestChainAllowed) {
  EXPECT_EQ(check_reference_chains(chain(50), 50).verdict, REFERENCE_VERDICT::SOUND);
  EXPECT_EQ(check_reference_chains(chain(51), 50).verdict, REFERENCE_VERDICT::TOO_DEEP);
  EXPECT_EQ(check_reference_chains(chain(kMaxReferenceChain)).verdict, REFERENCE_VERDICT::SOUND);
  EXPECT_EQ(check_reference_chains(chain(kMaxReferenceChain + 1)).verdict,
            REFERENCE_VERDICT::TOO_DEEP);
}

TEST(ReferenceChains, ChainReachedThroughDoneEntitiesIsMeasuredWhole) {
  // Entity 0 is walked first and finishes a chain of 40; entity 41 then
  // reaches it through 1 more: 41 → 40 → 0 → ... is 42 entities long, and
  // only the stored lengths can tell.
  REFERENCE_GRAPH g = chain(40);  // 0 → ... → 39
  g.add({});                      // 40, alone so far
  g.targets.push_back(0);         // 40 → 0
  g.first.back() = g.targets.size();
  g.add({40});  // 41
  EXPECT_EQ(check_reference_chains(g).longest_chain, 42u);
  EXPECT_EQ(check_reference_chains(g, 41).verdict, REFERENCE_VERDICT::TOO_DEEP);
}

TEST(ReferenceChains, AMillionLongChainDoesNotRecurse) {
  const REFERENCE_GRAPH g = chain(1000000);
  EXPECT_EQ(check_reference_chains(g).verdict, REFERENCE_VERDICT::TOO_DEEP);
  const REFERENCE_CHECK all = check_reference_chains(g, 2000000);
  EXPECT_EQ(all.verdict, REFERENCE_VERDICT::SOUND);
  EXPECT_EQ(all.longest_chain, 1000000u);
}

TEST(ReferenceChains, TargetOutsideTheGraphIsRefused) {
  REFERENCE_GRAPH g;
  g.add({1});
  EXPECT_EQ(check_reference_chains(g).verdict, REFERENCE_VERDICT::BAD_INDEX);
}

}  // namespace
