#include "host/kernel/entity/entity_registry.h"

#include <algorithm>
#include <new>

#include "host/base/assertion.h"
#include "host/base/large_alloc.h"
#include "host/kernel/entity/entity.h"

ENTITY_REGISTRY& ENTITY_REGISTRY::instance() {
  // Never destroyed: entities may outlive static destruction order.
  static ENTITY_REGISTRY* registry = new ENTITY_REGISTRY();
  return *registry;
}

void ENTITY_REGISTRY::CHUNK_DELETER::operator()(CHUNK* c) const noexcept {
  large_free(c, sizeof(CHUNK));
}

std::unique_ptr<ENTITY_REGISTRY::CHUNK, ENTITY_REGISTRY::CHUNK_DELETER> ENTITY_REGISTRY::new_chunk() {
  // Slots are written before they are read, so the chunk is left uninitialised.
  return std::unique_ptr<CHUNK, CHUNK_DELETER>(static_cast<CHUNK*>(large_allocate(sizeof(CHUNK))));
}

ENTITY_REGISTRY::ENTITY_REGISTRY() {
  chunks_.push_back(new_chunk());
  word(0) = 0;
}

void ENTITY_REGISTRY::enter(ENTITY* e) {
  if (requested_ != 0) {
    const std::uint64_t sysid = requested_;
    requested_ = 0;
    const auto slot = static_cast<std::uint32_t>(sysid);
    if (slot != 0 && slot < used_ && (word(slot) & 3) == kReserved) {
      word(slot) = reinterpret_cast<std::uintptr_t>(e);
      e->sysid_ = sysid;
      ++registered_;
      return;
    }
    // Not kept (taken by an entity of this run, or a file that names one
    // sysid twice): a fresh one.
  }
  std::uint32_t slot;
  std::uint32_t generation = 0;
  if (free_count_ > 0) {
    slot = take_free_slot();
    generation = static_cast<std::uint32_t>(word(slot) >> 2);
  } else {
    if (used_ >= kMaxSlots) throw std::bad_alloc();
    slot = used_++;
    if ((slot >> kChunkBits) >= chunks_.size()) chunks_.push_back(new_chunk());
  }
  word(slot) = reinterpret_cast<std::uintptr_t>(e);
  e->sysid_ = (static_cast<std::uint64_t>(generation) << 32) | slot;
  ++registered_;
}

void ENTITY_REGISTRY::remove(ENTITY* e) {
  const auto slot = static_cast<std::uint32_t>(e->sysid_);
  const bool ok = slot != 0 && slot < used_ &&
                  (word(slot) & ~kDormant) == reinterpret_cast<std::uintptr_t>(e);
  HOST_ASSERT(ok, "entity not registered");
  if (!ok) return;
  const auto generation = static_cast<std::uint32_t>(e->sysid_ >> 32);
  mark_free(slot, std::max(generation + 1, floor_));
  --registered_;
}

void ENTITY_REGISTRY::mark_free(std::uint32_t slot, std::uint32_t generation) {
  word(slot) = free_word(generation);
  const std::size_t w = slot >> 6;
  if (w >= free_bits_.size()) {
    free_bits_.resize(w + 1 + free_bits_.size() / 2, 0);
    words_with_free_.resize((free_bits_.size() + 63) / 64, 0);
    groups_with_free_.resize((words_with_free_.size() + 63) / 64, 0);
  }
  free_bits_[w] |= std::uint64_t{1} << (slot & 63);
  words_with_free_[w >> 6] |= std::uint64_t{1} << (w & 63);
  groups_with_free_[w >> 12] |= std::uint64_t{1} << ((w >> 6) & 63);
  ++free_count_;
}

void ENTITY_REGISTRY::take_slot(std::uint32_t slot) {
  const std::size_t w = slot >> 6;
  std::uint64_t& bits = free_bits_[w];
  bits &= ~(std::uint64_t{1} << (slot & 63));
  if (bits == 0) {
    words_with_free_[w >> 6] &= ~(std::uint64_t{1} << (w & 63));
    if (words_with_free_[w >> 6] == 0) {
      groups_with_free_[w >> 12] &= ~(std::uint64_t{1} << ((w >> 6) & 63));
    }
  }
  --free_count_;
}

bool ENTITY_REGISTRY::reserve(std::uint64_t sysid) {
  const auto slot = static_cast<std::uint32_t>(sysid);
  const auto generation = static_cast<std::uint32_t>(sysid >> 32);
  if (slot == 0 || slot >= kMaxSlots) return false;
  std::uint32_t next = 0;  // the generation the slot would hand out next
  if (slot < used_) {
    if ((word(slot) & 3) != kFree) return false;
    next = static_cast<std::uint32_t>(word(slot) >> 2);
    take_slot(slot);
  } else {
    if (slot - used_ >= kMaxGap) return false;
    while ((slot >> kChunkBits) >= chunks_.size()) chunks_.push_back(new_chunk());
    for (std::uint32_t s = used_; s < slot; ++s) mark_free(s, floor_);
    used_ = slot + 1;
    next = floor_;
  }
  // Handing back a generation below the slot's next one: fresh sysids must
  // stay above what this slot handed out already.
  if (generation < next) floor_ = std::max(floor_, next);
  word(slot) = (static_cast<std::uint64_t>(next) << 2) | kReserved;
  return true;
}

void ENTITY_REGISTRY::request(std::uint64_t sysid) { requested_ = sysid; }

void ENTITY_REGISTRY::release(std::uint64_t sysid) {
  const auto slot = static_cast<std::uint32_t>(sysid);
  if (slot == 0 || slot >= used_ || (word(slot) & 3) != kReserved) return;
  mark_free(slot, std::max(static_cast<std::uint32_t>(word(slot) >> 2), floor_));
}

std::size_t ENTITY_REGISTRY::next_word_with_free(std::size_t from) const {
  const auto above = [](std::size_t bit) { return ~std::uint64_t{0} << bit; };
  if (from >= free_bits_.size()) return kNoWord;
  if (free_bits_[from] != 0) return from;
  // The rest of from's group of 64 words, then the next groups with a free
  // slot, through the summaries: O(1) up to 64³ words, a short loop beyond.
  const std::size_t g = from >> 6;
  const std::uint64_t in_group = words_with_free_[g] & above(from & 63);
  if (in_group != 0) return (g << 6) | static_cast<std::size_t>(__builtin_ctzll(in_group));
  for (std::size_t top = g >> 6; top < groups_with_free_.size(); ++top) {
    std::uint64_t groups = groups_with_free_[top];
    if (top == g >> 6) groups &= (g & 63) == 63 ? 0 : above((g & 63) + 1);
    if (groups == 0) continue;
    const std::size_t next_g = (top << 6) | static_cast<std::size_t>(__builtin_ctzll(groups));
    return (next_g << 6) | static_cast<std::size_t>(__builtin_ctzll(words_with_free_[next_g]));
  }
  return kNoWord;
}

std::uint32_t ENTITY_REGISTRY::take_free_slot() {
  // The first free slot at or after the cursor, wrapping once.
  std::size_t w = next_word_with_free(cursor_);
  if (w == kNoWord) w = next_word_with_free(0);
  if (w == kNoWord) {
    HOST_ASSERT(false, "free slot count and bitmap disagree");
    throw std::bad_alloc();
  }
  cursor_ = w;
  std::uint64_t& bits = free_bits_[w];
  const auto bit = static_cast<unsigned>(__builtin_ctzll(bits));
  bits &= bits - 1;
  if (bits == 0) {
    words_with_free_[w >> 6] &= ~(std::uint64_t{1} << (w & 63));
    if (words_with_free_[w >> 6] == 0) {
      groups_with_free_[w >> 12] &= ~(std::uint64_t{1} << ((w >> 6) & 63));
    }
  }
  --free_count_;
  return static_cast<std::uint32_t>((w << 6) | bit);
}

void ENTITY_REGISTRY::set_dormant(ENTITY* e, bool dormant) {
  const auto slot = static_cast<std::uint32_t>(e->sysid_);
  const auto address = reinterpret_cast<std::uintptr_t>(e);
  word(slot) = dormant ? (address | kDormant) : address;
}

ENTITY* ENTITY_REGISTRY::lookup(std::uint64_t sysid) const {
  const auto slot = static_cast<std::uint32_t>(sysid);
  if (slot == 0 || slot >= used_) return nullptr;
  const std::uint64_t w = word(slot);
  if ((w & (kDormant | kFree)) != 0) return nullptr;
  auto* e = reinterpret_cast<ENTITY*>(w);
  // The slot's occupant: the sysid tells whether it is the one asked for.
  return e->sysid_ == sysid ? e : nullptr;
}

bool ENTITY_REGISTRY::is_live(const ENTITY* e) const {
  return e != nullptr && lookup(e->sysid_) == e;
}
