#pragma once
// HISTORY: the state manager. The model's changes are recorded in change sets;
// noting a state closes the open set, and the noted states form a line that
// can be walked back and forth:
//
//   state:   s0 --set1--> s1 --set2--> s2 --open set--> (now)
//
// `recover_state(s)` brings the model back to s exactly: every recorded
// entity's fields, its being alive or not, and through that every handle. One
// can go forward again to a later state until the future is cut, by
// `rm_future` or by the first change recorded while a future exists.
//
// Memory: an entity that is created and destroyed within the open set is freed
// at once. One that existed before stays dormant while a reachable state needs
// it; cutting the future and forgetting old states free what nothing needs.
// The number of kept states is bounded (set_max_states).

#include <cstddef>
#include <cstdint>
#include <deque>
#include <utility>
#include <vector>

class HISTORIC_ENTITY;
class ENTITY_STATE;

class HISTORY {
 public:
  using STATE_ID = std::uint64_t;

  static HISTORY& instance();

  // The id of the state the model is in now. Unnoted changes are noted first,
  // so the id always names what the model looks like at this moment.
  STATE_ID current_state();
  // Closes the open change set as a new state and returns its id. Without
  // unnoted changes the model is still in the current state, whose id comes back.
  STATE_ID note_state();
  // Brings the model to a kept state; false (and no change) for an unknown id.
  // Unnoted changes are noted first, so that one can come back to them.
  bool recover_state(STATE_ID id);
  // Forgets the states after the current one.
  void rm_future();

  bool can_recover(STATE_ID id) const { return id >= base_ && id <= newest_state(); }
  STATE_ID oldest_state() const { return base_; }
  STATE_ID newest_state() const { return base_ + deltas_.size(); }
  STATE_ID position() const { return pos_; }
  bool has_future() const { return pos_ < newest_state(); }
  bool has_unnoted_changes() const;

  // At most n noted states are kept (n >= 1); older ones are forgotten.
  void set_max_states(std::size_t n);
  std::size_t max_states() const { return max_states_; }

  // Forgets every state but the present one and frees all dormant entities.
  void forget();

  std::size_t dormant_count() const { return dormant_; }

 private:
  friend class HISTORIC_ENTITY;

  struct DELTA {
    // Deques: a change set of millions of entities grows without copying itself.
    // made in this set, null once freed; entry i of the set sits at
    // created[i - created_base], so nulls can leave the front.
    std::deque<HISTORIC_ENTITY*> created;
    std::size_t created_base = 0;
    std::size_t freed = 0;                   // nulls in `created`
    std::deque<HISTORIC_ENTITY*> destroyed;  // existed before, destroyed in this set
    std::vector<std::pair<HISTORIC_ENTITY*, ENTITY_STATE*>> changed;  // the other state, owned
    bool empty() const { return created.empty() && destroyed.empty() && changed.empty(); }
  };

  HISTORY() = default;

  void record_create(HISTORIC_ENTITY* e);
  void record_change(HISTORIC_ENTITY* e);
  void record_destroy(HISTORIC_ENTITY* e);

  void prepare_for_change();
  // Drops the nulls of the open set's creations: at both ends at once, in the
  // middle once they are the majority, so that building and destroying in one
  // set does not grow the list. Amortised O(1).
  void compact_created();
  void compact_created_fully();
  void close_open();
  void cut_future();
  void trim();
  void undo(DELTA& d);
  void redo(DELTA& d);
  void set_dormant(HISTORIC_ENTITY* e, bool dormant);
  static void free_entity(HISTORIC_ENTITY* e);
  static void drop_states(DELTA& d);

  std::deque<DELTA> deltas_;  // deltas_[k] takes state base_ + k to base_ + k + 1
  DELTA open_;
  STATE_ID base_ = 0;
  STATE_ID pos_ = 0;
  std::uint32_t serial_ = 1;  // serial of the open set; entities start at 0
  std::size_t max_states_ = 100;
  std::size_t dormant_ = 0;
};
