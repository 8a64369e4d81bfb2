#pragma once
// Fixed-size object pools. A body of a million facets has several million small
// entities; a pool per class turns their allocation into a pointer bump or a
// free-list pop and keeps them packed. A class takes part by deriving from
// POOLED<T>. In sanitizer builds (LUMESH_NO_POOLS) every object goes to the
// system allocator instead, so that the sanitizers see each lifetime.

#include <cstddef>
#include <new>
#include <vector>

class FIXED_POOL {
 public:
  // alignment: a power of two up to 64; anything else throws std::invalid_argument.
  FIXED_POOL(std::size_t object_size, std::size_t alignment);
  ~FIXED_POOL();
  FIXED_POOL(const FIXED_POOL&) = delete;
  FIXED_POOL& operator=(const FIXED_POOL&) = delete;

  // O(1). Throws std::bad_alloc when the system has no memory.
  void* allocate();
  // O(1). Memory stays with the pool for the next objects, as with any
  // allocator; trim() gives it back once the pool is empty. A pool that
  // empties starts handing out its chunks from the beginning again, in
  // address order, so that a body built after another was destroyed is laid
  // out as compactly as the first.
  void release(void* p) noexcept;
  // Returns every chunk to the system if no object is live; false otherwise.
  bool trim() noexcept;

  // Whether chunks taken from now on may be big enough (up to 4 MB) to be
  // advised for transparent huge pages (see large_alloc.h): the default. With
  // false they stay below the huge-page size and come in ordinary pages. Huge
  // pages save page faults and address translations for data that is walked
  // again and again; but where the memory behind them must be supplied anew
  // when first touched, as for a virtual machine whose host takes back free
  // guest memory, a huge page's first touch can cost several times that of the
  // same memory in ordinary pages, and data built once and soon dropped pays
  // mostly for that first touch. Chunks already held keep their pages.
  void set_huge_pages(bool huge);

  std::size_t live() const { return live_; }
  std::size_t reserved_bytes() const { return reserved_; }

 private:
  struct FREE_NODE {
    FREE_NODE* next;
  };
  void grow();
  void release_all() noexcept;

  std::size_t size_;
  std::size_t align_;
  struct CHUNK {
    void* memory;  // owned, from large_allocate
    std::size_t bytes;
  };
  std::vector<CHUNK> chunks_;
  FREE_NODE* free_ = nullptr;  // list threaded through released slots
  char* bump_ = nullptr;       // next unused slot of the current chunk
  char* bump_end_ = nullptr;
  std::size_t current_ = 0;    // index of the chunk bump_ runs in
  std::size_t next_chunk_objects_ = 64;
  std::size_t max_chunk_bytes_;  // chunks grow up to this size
  std::size_t live_ = 0;
  std::size_t reserved_ = 0;
};

template <class T>
class POOLED {
 public:
  // Both forms honour alignof(T): a pool slot is aligned for T, and so is a
  // block of the system allocator (sanitizer builds, or a derived class of
  // another size that did not ask for a pool of its own).
  static void* operator new(std::size_t n) { return allocate(n); }
  static void* operator new(std::size_t n, std::align_val_t) { return allocate(n); }
  static void operator delete(void* p, std::size_t n) noexcept { deallocate(p, n); }
  static void operator delete(void* p, std::size_t n, std::align_val_t) noexcept {
    deallocate(p, n);
  }
  static FIXED_POOL& pool() {
    // Never destroyed: objects may still be freed during static destruction.
    static FIXED_POOL* p = new FIXED_POOL(sizeof(T), alignof(T));
    return *p;
  }

 private:
  static constexpr std::align_val_t kAlign{alignof(T) > 16 ? alignof(T) : 16};

  static void* allocate(std::size_t n) {
#ifndef LUMESH_NO_POOLS
    if (n == sizeof(T)) return pool().allocate();
#endif
    return ::operator new(n, kAlign);
  }
  static void deallocate(void* p, std::size_t n) noexcept {
    if (p == nullptr) return;
#ifndef LUMESH_NO_POOLS
    if (n == sizeof(T)) {
      pool().release(p);
      return;
    }
#endif
    (void)n;
    ::operator delete(p, kAlign);
  }
};
