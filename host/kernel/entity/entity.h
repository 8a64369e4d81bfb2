#pragma once
// ENTITY: base of every kernel object that Lisp can hold a handle to. Each
// entity has a sysid, unique for the whole run (never handed out twice), and a
// slot in the live-entity registry. A handle is a pointer plus its sysid;
// `ENTITY::is_live(ptr, sysid)` tells whether it still stands for a live
// entity, so a stale handle is detected instead of dereferenced.
//
// Lifetimes: topology entities are destroyed through the history (they may be
// kept, dormant, so that a recovered state can bring them back); geometry
// entities are reference counted. Nobody calls `delete` on an entity except
// those two mechanisms.

#include <cstdint>

#include "host/kernel/entity/entity_type.h"

class ENTITY {
 public:
  static const ENTITY_TYPE type;

  ENTITY(const ENTITY&) = delete;
  ENTITY& operator=(const ENTITY&) = delete;

  virtual const ENTITY_TYPE& identity() const = 0;
  bool is_a(const ENTITY_TYPE& kind) const { return identity() <= kind; }

  std::uint64_t sysid() const { return sysid_; }

  // Live: registered and not dormant (a destroyed entity that the history
  // keeps for undo is dormant).
  bool is_alive() const;

  // The live entity with this sysid, or null.
  static ENTITY* lookup(std::uint64_t sysid);
  // True when `e` is live and still carries `sysid` (its memory was not reused).
  static bool is_live(const ENTITY* e, std::uint64_t sysid);
  // Number of registered entities (live and dormant); for tests and leak checks.
  static std::uint64_t registered_count();

 protected:
  ENTITY();
  virtual ~ENTITY();

 private:
  friend class ENTITY_REGISTRY;
  friend class HISTORY;
  std::uint64_t sysid_;
};

// Casts an entity to T after checking its type; null when it is not a T.
template <class T>
T* entity_cast(ENTITY* e) {
  return (e != nullptr && e->is_a(T::type)) ? static_cast<T*>(e) : nullptr;
}
template <class T>
const T* entity_cast(const ENTITY* e) {
  return (e != nullptr && e->is_a(T::type)) ? static_cast<const T*>(e) : nullptr;
}
