#include "host/base/large_alloc.h"

#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>
#include <new>

namespace {
constexpr std::size_t kHuge = std::size_t{2} << 20;

std::size_t rounded(std::size_t bytes) { return (bytes + kHuge - 1) / kHuge * kHuge; }
}  // namespace

// In sanitizer builds every block comes from the heap, which the leak checker
// scans: objects reachable only through a mapped block would look leaked.
#ifdef LUMESH_NO_POOLS
constexpr bool kMapLargeBlocks = false;
#else
constexpr bool kMapLargeBlocks = true;
#endif

void* large_allocate(std::size_t bytes) {
  // Sizes within a huge page of the largest size would wrap when rounded.
  if (bytes > SIZE_MAX - 2 * kHuge) throw std::bad_alloc();
  if (bytes < kHuge || !kMapLargeBlocks) return ::operator new(bytes, std::align_val_t(64));
  const std::size_t size = rounded(bytes);
  // Map one huge page more than needed and cut the unaligned ends away.
  void* raw = mmap(nullptr, size + kHuge, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (raw == MAP_FAILED) throw std::bad_alloc();
  const auto start = reinterpret_cast<std::uintptr_t>(raw);
  const std::uintptr_t aligned = (start + kHuge - 1) / kHuge * kHuge;
  if (aligned > start) munmap(raw, aligned - start);
  const std::uintptr_t end = start + size + kHuge;
  if (end > aligned + size) munmap(reinterpret_cast<void*>(aligned + size), end - (aligned + size));
  void* p = reinterpret_cast<void*>(aligned);
#ifdef MADV_HUGEPAGE
  madvise(p, size, MADV_HUGEPAGE);
#endif
  return p;
}

void large_free(void* p, std::size_t bytes) noexcept {
  if (p == nullptr) return;
  if (bytes < kHuge || !kMapLargeBlocks) {
    ::operator delete(p, std::align_val_t(64));
    return;
  }
  munmap(p, rounded(bytes));
}
