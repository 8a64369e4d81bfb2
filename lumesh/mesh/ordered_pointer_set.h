#pragma once
// ORDERED_POINTER_SET: a hash set of pointers that iterates in insertion
// order. Region growing and merging walk their member sets and the first
// member seen decides things (the seed, the polygon that survives a merge);
// with this order those choices, and so the whole recognition, are the same
// run after run, where a hash order would follow the allocator's addresses.
//
// Members sit in a vector in insertion order; an erased member leaves a
// null hole there that iteration skips, and the holes are squeezed out once
// they outnumber the members. Look-up goes through an open-addressing table
// of positions (linear probing, deletion by backward shift), built only when
// the set grows past a handful: most sets of a mesh (a strip of two
// triangles, four vertices) never need one. Insert, erase and contains are
// O(1) expected; iteration is O(members).
//
// Erasing from a set while iterating over that same set is not allowed (the
// squeeze moves members); iterate over a snapshot instead.

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <type_traits>
#include <vector>

template <class T>
class ORDERED_POINTER_SET {
  static_assert(std::is_pointer_v<T>, "members are pointers");

 public:
  class iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = T;
    using difference_type = std::ptrdiff_t;
    using pointer = const T*;
    using reference = const T&;

    iterator() = default;
    reference operator*() const { return *p_; }
    iterator& operator++() {
      ++p_;
      skip();
      return *this;
    }
    iterator operator++(int) {
      iterator old = *this;
      ++*this;
      return old;
    }
    friend bool operator==(const iterator& a, const iterator& b) { return a.p_ == b.p_; }
    friend bool operator!=(const iterator& a, const iterator& b) { return a.p_ != b.p_; }

   private:
    friend class ORDERED_POINTER_SET;
    iterator(const T* p, const T* end) : p_(p), end_(end) { skip(); }
    void skip() {
      while (p_ != end_ && *p_ == nullptr) ++p_;
    }
    const T* p_ = nullptr;
    const T* end_ = nullptr;
  };
  using const_iterator = iterator;

  ORDERED_POINTER_SET() = default;

  std::size_t size() const { return live_; }
  bool empty() const { return live_ == 0; }
  iterator begin() const { return iterator(items_.data(), items_.data() + items_.size()); }
  iterator end() const {
    const T* e = items_.data() + items_.size();
    return iterator(e, e);
  }
  // The first member in insertion order; null when empty.
  T front() const { return empty() ? nullptr : *begin(); }

  bool contains(T p) const { return find(p) != kNone; }
  std::size_t count(T p) const { return contains(p) ? 1 : 0; }

  // True when p was not a member. A null p is refused (false).
  bool insert(T p) {
    if (p == nullptr || contains(p)) return false;
    items_.push_back(p);
    ++live_;
    if (!table_.empty()) {
      if (2 * live_ > table_.size()) {
        rebuild_table();
      } else {
        place(p, static_cast<std::uint32_t>(items_.size() - 1));
      }
    } else if (live_ > kLinear) {
      rebuild_table();
    }
    return true;
  }

  // True when p was a member.
  bool erase(T p) {
    const std::size_t at = find(p);
    if (at == kNone) return false;
    if (!table_.empty()) unplace(p);
    items_[at] = nullptr;
    --live_;
    while (!items_.empty() && items_.back() == nullptr) items_.pop_back();
    if (items_.size() > 2 * live_ + kLinear) squeeze();
    return true;
  }

  void clear() {
    items_.clear();
    table_.clear();
    live_ = 0;
  }

 private:
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);
  static constexpr std::size_t kLinear = 12;  // members searched without a table

  std::size_t slot_of(T p) const {
    const auto h = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(p) >> 3) *
                   0x9E3779B97F4A7C15ull;
    return static_cast<std::size_t>(h >> shift_);
  }

  // Position of p in items_, or kNone.
  std::size_t find(T p) const {
    if (p == nullptr) return kNone;
    if (table_.empty()) {
      for (std::size_t i = 0; i < items_.size(); ++i) {
        if (items_[i] == p) return i;
      }
      return kNone;
    }
    const std::size_t mask = table_.size() - 1;
    for (std::size_t s = slot_of(p);; s = (s + 1) & mask) {
      const std::uint32_t e = table_[s];
      if (e == 0) return kNone;
      if (items_[e - 1] == p) return e - 1;
    }
  }

  void place(T p, std::uint32_t index) {
    const std::size_t mask = table_.size() - 1;
    std::size_t s = slot_of(p);
    while (table_[s] != 0) s = (s + 1) & mask;
    table_[s] = index + 1;
  }

  // Removes p's slot and shifts the probe chain behind it back, so that no
  // tombstones are needed.
  void unplace(T p) {
    const std::size_t mask = table_.size() - 1;
    std::size_t hole = slot_of(p);
    while (items_[table_[hole] - 1] != p) hole = (hole + 1) & mask;
    std::size_t s = hole;
    for (;;) {
      s = (s + 1) & mask;
      const std::uint32_t e = table_[s];
      if (e == 0) break;
      const std::size_t home = slot_of(items_[e - 1]);
      // The entry at s may move into the hole when its home slot does not
      // lie cyclically within (hole, s].
      const bool stays = hole <= s ? (hole < home && home <= s) : (hole < home || home <= s);
      if (!stays) {
        table_[hole] = e;
        hole = s;
      }
    }
    table_[hole] = 0;
  }

  void squeeze() {
    std::size_t k = 0;
    for (T p : items_) {
      if (p != nullptr) items_[k++] = p;
    }
    items_.resize(k);
    if (!table_.empty()) rebuild_table();
  }

  void rebuild_table() {
    std::size_t capacity = 32;
    unsigned bits = 5;
    while (capacity < 2 * live_ + 2) {
      capacity *= 2;
      ++bits;
    }
    shift_ = 64 - bits;
    table_.assign(capacity, 0);
    for (std::size_t i = 0; i < items_.size(); ++i) {
      if (items_[i] != nullptr) place(items_[i], static_cast<std::uint32_t>(i));
    }
  }

  std::vector<T> items_;               // insertion order; null where erased; not owned
  std::vector<std::uint32_t> table_;  // position + 1 in items_, 0 for a free slot
  std::size_t live_ = 0;
  unsigned shift_ = 59;
};
