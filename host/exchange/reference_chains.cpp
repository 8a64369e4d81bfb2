// The chain check: a colouring depth-first walk that keeps, for every
// entity, the number of entities on the longest chain it starts.

#include "host/exchange/reference_chains.h"

#include <algorithm>
#include <utility>

REFERENCE_CHECK check_reference_chains(const REFERENCE_GRAPH& graph, std::size_t max_chain) {
  REFERENCE_CHECK check;
  const std::size_t n = graph.size();
  for (std::uint32_t t : graph.targets) {
    if (t >= n) {
      check.verdict = REFERENCE_VERDICT::BAD_INDEX;
      return check;
    }
  }
  enum : std::uint8_t { FRESH, OPEN, DONE };
  std::vector<std::uint8_t> state(n, FRESH);
  std::vector<std::size_t> chain(n, 1);
  std::vector<std::pair<std::size_t, std::size_t>> stack;  // entity, next reference
  for (std::size_t root = 0; root < n; ++root) {
    if (state[root] != FRESH) continue;
    state[root] = OPEN;
    stack.emplace_back(root, graph.first[root]);
    while (!stack.empty()) {
      const std::size_t v = stack.back().first;
      std::size_t& next = stack.back().second;
      if (next < graph.first[v + 1]) {
        const std::size_t w = graph.targets[next++];
        if (state[w] == OPEN) {
          check.verdict = REFERENCE_VERDICT::CYCLE;
          check.entity = w;
          return check;
        }
        if (state[w] == FRESH) {
          state[w] = OPEN;
          stack.emplace_back(w, graph.first[w]);  // `next` is invalid from here
          // The stack is a chain: refuse it before it grows any further.
          if (stack.size() > max_chain) {
            check.verdict = REFERENCE_VERDICT::TOO_DEEP;
            check.entity = root;
            return check;
          }
        } else {
          chain[v] = std::max(chain[v], chain[w] + 1);
        }
        continue;
      }
      state[v] = DONE;
      stack.pop_back();
      if (chain[v] > max_chain) {
        check.verdict = REFERENCE_VERDICT::TOO_DEEP;
        check.entity = v;
        return check;
      }
      check.longest_chain = std::max(check.longest_chain, chain[v]);
      if (!stack.empty()) {
        const std::size_t parent = stack.back().first;
        chain[parent] = std::max(chain[parent], chain[v] + 1);
      }
    }
  }
  return check;
}
