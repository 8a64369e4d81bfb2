#pragma once
// The live-entity registry: a table of slots indexed by the low 32 bits of a
// sysid; the high 32 bits count how often the slot was reused, so a stale
// sysid never finds the slot's new occupant. Lookups and updates are O(1).
// Slot 0 is never used: sysid 0 means "none".
//
// Memory: one word per slot, in chunks of 256K slots that are never moved, so
// a growing table neither copies itself nor reserves twice what it holds. An
// occupied slot holds its entity's address (the entity carries its full
// sysid); a free slot holds the next free slot and the slot's next generation.

#include <cstdint>
#include <memory>
#include <vector>

class ENTITY;

class ENTITY_REGISTRY {
 public:
  static ENTITY_REGISTRY& instance();

  // Gives `e` a fresh sysid and marks it live.
  void enter(ENTITY* e);
  // Frees the slot of `e`; its sysid is dead from now on.
  void remove(ENTITY* e);
  // Dormant entities are kept in memory (by the history) but are not live.
  void set_dormant(ENTITY* e, bool dormant);

  ENTITY* lookup(std::uint64_t sysid) const;
  bool is_live(const ENTITY* e) const;
  std::uint64_t registered() const { return registered_; }

 private:
  ENTITY_REGISTRY();

  // Tags in the low bits of a slot word (entity addresses are 8-aligned).
  static constexpr std::uint64_t kDormant = 1;
  static constexpr std::uint64_t kFree = 2;
  static constexpr unsigned kChunkBits = 18;
  static constexpr std::uint32_t kChunkSize = 1u << kChunkBits;
  static constexpr std::uint32_t kNoFree = 0;  // slot 0 is never free
  static constexpr std::uint32_t kMaxSlots = 0x7FFFFFFFu;

  struct CHUNK {
    std::uint64_t word[kChunkSize];
  };
  struct CHUNK_DELETER {
    void operator()(CHUNK* c) const noexcept;
  };
  static std::unique_ptr<CHUNK, CHUNK_DELETER> new_chunk();

  std::uint64_t& word(std::uint32_t slot) const {
    return chunks_[slot >> kChunkBits]->word[slot & (kChunkSize - 1)];
  }
  // A free slot's word: next free slot in bits 33..63, generation in 2..32.
  static std::uint64_t free_word(std::uint32_t next, std::uint32_t generation) {
    return (static_cast<std::uint64_t>(next) << 33) |
           (static_cast<std::uint64_t>(generation & 0x7FFFFFFFu) << 2) | kFree;
  }

  std::vector<std::unique_ptr<CHUNK, CHUNK_DELETER>> chunks_;
  std::uint32_t used_ = 1;  // slots handed out so far (slot 0 included)
  std::uint32_t free_head_ = kNoFree;
  std::uint64_t registered_ = 0;
};
