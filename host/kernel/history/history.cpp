#include "host/kernel/history/history.h"

#include <algorithm>

#include "host/kernel/entity/entity_registry.h"
#include "host/kernel/history/historic_entity.h"

namespace {
constexpr std::uint32_t kBackedUp = 0xFFFFFFFFu;
}

HISTORY& HISTORY::instance() {
  // Never destroyed: entities may be released during static destruction.
  static HISTORY* history = new HISTORY();
  return *history;
}

bool HISTORY::has_unnoted_changes() const { return !open_.empty(); }

HISTORY::STATE_ID HISTORY::current_state() {
  close_open();
  return pos_;
}

HISTORY::STATE_ID HISTORY::note_state() {
  close_open();
  return pos_;
}

bool HISTORY::recover_state(STATE_ID id) {
  close_open();
  if (!can_recover(id)) return false;
  while (pos_ > id) {
    undo(deltas_[pos_ - 1 - base_]);
    --pos_;
  }
  while (pos_ < id) {
    redo(deltas_[pos_ - base_]);
    ++pos_;
  }
  return true;
}

void HISTORY::rm_future() {
  if (open_.empty()) cut_future();
}

void HISTORY::set_max_states(std::size_t n) {
  max_states_ = std::max<std::size_t>(n, 1);
  trim();
}

void HISTORY::forget() {
  close_open();
  cut_future();
  while (!deltas_.empty()) {
    DELTA& d = deltas_.front();
    drop_states(d);
    for (HISTORIC_ENTITY* e : d.destroyed) {
      set_dormant(e, false);
      free_entity(e);
    }
    deltas_.pop_front();
    ++base_;
  }
}

void HISTORY::record_create(HISTORIC_ENTITY* e) {
  prepare_for_change();
  e->hist_serial_ = serial_;
  const std::size_t index = open_.created_base + open_.created.size();
  if (index >= kBackedUp) compact_created_fully();
  e->hist_index_ = static_cast<std::uint32_t>(open_.created_base + open_.created.size());
  open_.created.push_back(e);
}

void HISTORY::record_change(HISTORIC_ENTITY* e) {
  if (e->hist_serial_ == serial_) return;  // created or saved in this set already
  prepare_for_change();
  open_.changed.emplace_back(e, e->save_state());
  e->hist_serial_ = serial_;
  e->hist_index_ = kBackedUp;
}

void HISTORY::record_destroy(HISTORIC_ENTITY* e) {
  prepare_for_change();
  if (e->hist_serial_ == serial_ && e->hist_index_ != kBackedUp) {
    // Made in this set: no state that can be recovered knows it.
    open_.created[e->hist_index_ - open_.created_base] = nullptr;
    ++open_.freed;
    free_entity(e);
    compact_created();
    return;
  }
  open_.destroyed.push_back(e);
  set_dormant(e, true);
}

void HISTORY::compact_created() {
  auto& created = open_.created;
  while (!created.empty() && created.front() == nullptr) {
    created.pop_front();
    ++open_.created_base;
    --open_.freed;
  }
  while (!created.empty() && created.back() == nullptr) {
    created.pop_back();
    --open_.freed;
  }
  if (open_.freed >= 4096 && open_.freed * 2 >= created.size()) compact_created_fully();
}

void HISTORY::compact_created_fully() {
  auto& created = open_.created;
  std::size_t kept = 0;
  for (HISTORIC_ENTITY* e : created) {
    if (e == nullptr) continue;
    e->hist_index_ = static_cast<std::uint32_t>(kept);
    created[kept++] = e;
  }
  created.resize(kept);
  created.shrink_to_fit();
  open_.created_base = 0;
  open_.freed = 0;
}

void HISTORY::prepare_for_change() {
  if (open_.empty()) cut_future();
}

void HISTORY::close_open() {
  if (open_.empty()) return;
  deltas_.push_back(std::move(open_));
  open_ = DELTA{};
  ++pos_;
  ++serial_;
  trim();
}

void HISTORY::cut_future() {
  if (!has_future()) return;
  std::vector<HISTORIC_ENTITY*> unborn;
  while (newest_state() > pos_) {
    DELTA& d = deltas_.back();
    drop_states(d);
    for (HISTORIC_ENTITY* e : d.created) {
      if (e != nullptr) unborn.push_back(e);
    }
    deltas_.pop_back();
  }
  // Everything made after the current state is dormant now and can never return.
  for (HISTORIC_ENTITY* e : unborn) {
    set_dormant(e, false);
    free_entity(e);
  }
}

void HISTORY::trim() {
  while (deltas_.size() > max_states_ && base_ < pos_) {
    DELTA& d = deltas_.front();
    drop_states(d);
    // Destroyed before every state still kept: dormant for good.
    for (HISTORIC_ENTITY* e : d.destroyed) {
      set_dormant(e, false);
      free_entity(e);
    }
    deltas_.pop_front();
    ++base_;
  }
}

void HISTORY::undo(DELTA& d) {
  for (auto it = d.changed.rbegin(); it != d.changed.rend(); ++it) {
    it->first->swap_state(*it->second);
    it->first->after_restore();
  }
  for (HISTORIC_ENTITY* e : d.destroyed) set_dormant(e, false);
  for (HISTORIC_ENTITY* e : d.created) {
    if (e != nullptr) set_dormant(e, true);
  }
}

void HISTORY::redo(DELTA& d) {
  for (auto& [e, state] : d.changed) {
    e->swap_state(*state);
    e->after_restore();
  }
  for (HISTORIC_ENTITY* e : d.created) {
    if (e != nullptr) set_dormant(e, false);
  }
  for (HISTORIC_ENTITY* e : d.destroyed) set_dormant(e, true);
}

void HISTORY::set_dormant(HISTORIC_ENTITY* e, bool dormant) {
  ENTITY_REGISTRY::instance().set_dormant(e, dormant);
  if (dormant) {
    ++dormant_;
  } else {
    --dormant_;
  }
}

void HISTORY::free_entity(HISTORIC_ENTITY* e) { delete e; }

void HISTORY::drop_states(DELTA& d) {
  for (auto& entry : d.changed) delete entry.second;
  d.changed.clear();
}
