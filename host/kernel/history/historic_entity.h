#pragma once
// HISTORIC_ENTITY: an entity whose every change goes through the history, so
// that a noted state can be brought back exactly. The rule is enforced by
// TRACKED<DATA>: a class keeps all of its mutable fields in one DATA struct,
// reads them through d() and writes them only through w(), which records the
// prior state first. That is the one choke point of every mutation.
//
// Destroying goes through the history as well (lose_entity): an entity that
// existed before the current change set is made dormant, not freed, until no
// state that could be recovered needs it any more.

#include <cstdint>
#include <utility>

#include "host/kernel/entity/entity.h"

class HISTORY;

// A saved copy of one entity's fields.
class ENTITY_STATE {
 public:
  virtual ~ENTITY_STATE() = default;
};

class HISTORIC_ENTITY : public ENTITY {
 protected:
  HISTORIC_ENTITY();  // records the creation
  ~HISTORIC_ENTITY() override = default;

  // Records the entity's fields as they stand, once per change set. O(1) when
  // already recorded.
  void backup();
  // Destroys the entity through the history. Do not touch it afterwards.
  void lose_entity();

 private:
  friend class HISTORY;
  template <class DATA>
  friend class TRACKED;

  virtual ENTITY_STATE* save_state() const = 0;
  virtual void swap_state(ENTITY_STATE& state) = 0;
  // Called after the history swapped the fields; clears derived caches.
  virtual void after_restore() {}

  std::uint32_t hist_serial_ = 0;  // change set that last recorded this entity
  std::uint32_t hist_index_ = 0;   // its place among that set's creations, or kBackedUp
};

template <class DATA>
class TRACKED : public HISTORIC_ENTITY {
 protected:
  TRACKED() = default;
  explicit TRACKED(DATA data) : d_(std::move(data)) {}

  const DATA& d() const { return d_; }
  DATA& w() {
    backup();
    return d_;
  }

 private:
  struct STATE final : ENTITY_STATE {
    explicit STATE(const DATA& data) : saved(data) {}
    DATA saved;
  };
  ENTITY_STATE* save_state() const override { return new STATE(d_); }
  void swap_state(ENTITY_STATE& state) override {
    using std::swap;
    swap(d_, static_cast<STATE&>(state).saved);
  }

  DATA d_;
};
