#pragma once
// Memory for big, long-lived blocks (pool chunks, registry chunks). Blocks of
// 2 MB or more are aligned to 2 MB and advised for transparent huge pages: a
// mesh body of a million facets then costs a few hundred page faults instead
// of a few hundred thousand. Smaller blocks come from the system allocator.

#include <cstddef>

// Throws std::bad_alloc when the system has no memory.
void* large_allocate(std::size_t bytes);
// `bytes` must be what was asked of large_allocate.
void large_free(void* p, std::size_t bytes) noexcept;
