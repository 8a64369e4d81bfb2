#include "host/base/pool.h"

#include <algorithm>
#include <stdexcept>

#include "host/base/large_alloc.h"

namespace {
// Chunks double from 64 objects until they reach this size, then stay there.
constexpr std::size_t kMaxChunkBytes = std::size_t{4} << 20;
// The same without huge pages: below the 2 MB from which large_allocate
// advises them.
constexpr std::size_t kMaxSmallPageChunkBytes = (std::size_t{2} << 20) - 4096;
}

FIXED_POOL::FIXED_POOL(std::size_t object_size, std::size_t alignment)
    : size_(std::max(object_size, sizeof(FREE_NODE))),
      align_(std::max(alignment, alignof(FREE_NODE))),
      max_chunk_bytes_(kMaxChunkBytes) {
  // Chunks are 64-byte aligned (2 MB for large ones), so slots can be too.
  if (alignment == 0 || (alignment & (alignment - 1)) != 0 || alignment > 64) {
    throw std::invalid_argument("pool alignment must be a power of two up to 64");
  }
  size_ = (size_ + align_ - 1) / align_ * align_;
  // The first chunk holds 64 objects, fewer for objects so big that 64 of
  // them would pass the largest chunk size.
  next_chunk_objects_ = std::clamp<std::size_t>(max_chunk_bytes_ / size_, 1, 64);
}

FIXED_POOL::~FIXED_POOL() { release_all(); }

void FIXED_POOL::grow() {
  // Chunks kept from before come first.
  if (!chunks_.empty() && current_ + 1 < chunks_.size()) {
    ++current_;
    bump_ = static_cast<char*>(chunks_[current_].memory);
    bump_end_ = bump_ + chunks_[current_].bytes / size_ * size_;
    return;
  }
  const std::size_t bytes = size_ * next_chunk_objects_;
  chunks_.reserve(chunks_.size() + 1);  // so that recording the chunk cannot throw
  void* chunk = large_allocate(bytes);
  chunks_.push_back({chunk, bytes});
  current_ = chunks_.size() - 1;
  reserved_ += bytes;
  bump_ = static_cast<char*>(chunk);
  bump_end_ = bump_ + bytes;
  // Big chunks fill their pages: a whole number of objects in the largest chunk size.
  next_chunk_objects_ =
      std::min(next_chunk_objects_ * 2, std::max<std::size_t>(max_chunk_bytes_ / size_, 1));
}

void* FIXED_POOL::allocate() {
  void* p;
  if (free_ != nullptr) {
    p = free_;
    free_ = free_->next;
  } else {
    if (bump_ == bump_end_) grow();
    p = bump_;
    bump_ += size_;
  }
  ++live_;
  return p;
}

void FIXED_POOL::release(void* p) noexcept {
  auto* node = static_cast<FREE_NODE*>(p);
  node->next = free_;
  free_ = node;
  if (--live_ == 0 && !chunks_.empty()) {
    free_ = nullptr;
    current_ = 0;
    bump_ = static_cast<char*>(chunks_[0].memory);
    bump_end_ = bump_ + chunks_[0].bytes / size_ * size_;
  }
}

bool FIXED_POOL::trim() noexcept {
  if (live_ != 0) return false;
  release_all();
  return true;
}

void FIXED_POOL::release_all() noexcept {
  for (const CHUNK& c : chunks_) large_free(c.memory, c.bytes);
  chunks_.clear();
  free_ = nullptr;
  bump_ = bump_end_ = nullptr;
  current_ = 0;
  reserved_ = 0;
  next_chunk_objects_ = std::clamp<std::size_t>(max_chunk_bytes_ / size_, 1, 64);
}

void FIXED_POOL::set_huge_pages(bool huge) {
  max_chunk_bytes_ = huge ? kMaxChunkBytes : kMaxSmallPageChunkBytes;
  next_chunk_objects_ = std::clamp<std::size_t>(next_chunk_objects_, 1,
                                                std::max<std::size_t>(max_chunk_bytes_ / size_, 1));
}
