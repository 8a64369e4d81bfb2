#pragma once
// The live-entity registry: a table of slots indexed by the low 32 bits of a
// sysid; the high 32 bits count how often the slot was reused, so a stale
// sysid never finds the slot's new occupant. Lookups and updates are O(1).
// Slot 0 is never used: sysid 0 means "none".
//
// Memory: one word per slot, in chunks of 256K slots that are never moved, so
// a growing table neither copies itself nor reserves twice what it holds. An
// occupied slot holds its entity's address (the entity carries its full
// sysid); a free slot holds the slot's next generation. Free slots are marked
// in a bitmap that a cursor scans forward, so new entities get free slots in
// ascending order: a body built after another was destroyed walks the table
// sequentially, where a free list would send every access to a random place.
//
// Sysids read back from a model file. A fresh sysid is never handed out twice
// in a run (entity.h: "never handed out twice" speaks of fresh ones). A loaded entity asks for the sysid it was saved with: it gets it
// when no entity of this run holds it (live, or dormant for undo) and its slot
// is free; otherwise it gets a fresh one. So loading one file twice gives the
// second copy fresh sysids, and a sysid whose entity died earlier in the run
// can come back to the entity that a file saved with it (a handle is a
// pointer and a sysid, so an old handle reaches the loaded entity only if
// both agree). Giving back a dead sysid would let its slot's generation fall
// behind what was handed out; a floor that every freed slot's next generation
// is raised to keeps fresh sysids unique.

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

  // Keeps `sysid` for an entity about to be made, so that no fresh entity
  // takes its slot meanwhile: true when its slot is free, or lies less than
  // 2^24 slots beyond those handed out so far; false (nothing kept) when an
  // entity holds the slot, the slot is kept already, or it lies farther.
  // O(1), or O(gap) when the table grows to the slot.
  bool reserve(std::uint64_t sysid);
  // The next entity entered takes the kept `sysid` instead of a fresh one.
  // Make the entity's own sub-entities (its geometry) first.
  void request(std::uint64_t sysid);
  // Gives a kept slot that no entity took back to the free slots.
  void release(std::uint64_t sysid);

  ENTITY* lookup(std::uint64_t sysid) const;
  bool is_live(const ENTITY* e) const;
  std::uint64_t registered() const { return registered_; }

 private:
  ENTITY_REGISTRY();

  // Tags in the low bits of a slot word (entity addresses are 8-aligned).
  static constexpr std::uint64_t kDormant = 1;
  static constexpr std::uint64_t kFree = 2;
  // Both tags: a slot kept by reserve(), with the generation it had when free.
  static constexpr std::uint64_t kReserved = kDormant | kFree;
  static constexpr std::uint32_t kMaxGap = 1u << 24;
  static constexpr unsigned kChunkBits = 18;
  static constexpr std::uint32_t kChunkSize = 1u << kChunkBits;
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
  // A free slot's word: the generation its next occupant gets, in bits 2..33.
  static std::uint64_t free_word(std::uint32_t generation) {
    return (static_cast<std::uint64_t>(generation) << 2) | kFree;
  }

  // Marks a slot free with that next generation. O(1) amortised.
  void mark_free(std::uint32_t slot, std::uint32_t generation);
  // Takes one given free slot out of the free set. O(1).
  void take_slot(std::uint32_t slot);

  std::vector<std::unique_ptr<CHUNK, CHUNK_DELETER>> chunks_;
  std::uint64_t requested_ = 0;  // sysid the next enter() takes; 0 for a fresh one
  std::uint32_t floor_ = 0;      // no freed slot's next generation is below it
  std::uint32_t used_ = 1;  // slots handed out so far (slot 0 included)
  // Finds a free slot at or after the cursor (wrapping once); needs
  // free_count_ > 0. O(1): two summary levels skip the words without one,
  // so a table of millions of slots with a few scattered free ones (a mesh
  // that makes and drops a surface per accepted facet) costs no scan.
  std::uint32_t take_free_slot();
  static constexpr std::size_t kNoWord = ~std::size_t{0};
  // The first word at or after `from` with a free slot, or kNoWord.
  std::size_t next_word_with_free(std::size_t from) const;
  std::vector<std::uint64_t> free_bits_;         // bit s set: slot s is free
  std::vector<std::uint64_t> words_with_free_;   // bit w set: free_bits_[w] != 0
  std::vector<std::uint64_t> groups_with_free_;  // bit g set: words_with_free_[g] != 0
  std::size_t free_count_ = 0;
  std::size_t cursor_ = 0;                // word of free_bits_ where the search starts
  std::uint64_t registered_ = 0;
};
