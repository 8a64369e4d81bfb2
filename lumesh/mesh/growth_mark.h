#pragma once
// GROWTH_MARK: a number unique to one pass of region growing. Vertices and
// polygons carry the mark of the last pass that took them in or turned them
// away, so the pass asks "already mine?" by reading a field of an object it
// touches anyway, instead of probing a hash set far away in memory. On a mesh
// of a million triangles those probes were cache misses that made growth
// slower per triangle the larger the mesh; the sets stay, for their order.
//
// A mark is only meaningful during the pass that drew it: the pass marks
// every object it puts into its sets, and nothing else writes that number.

#include <cstdint>

using GROWTH_MARK = std::uint64_t;

// A mark no object carries yet (never 0, the mark of an untouched object).
// Recognition runs on one thread; the counter is not shared between threads.
inline GROWTH_MARK next_growth_mark() {
  static GROWTH_MARK last = 0;
  return ++last;
}
