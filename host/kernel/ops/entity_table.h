#pragma once
// ENTITY_TABLE<T>: a set of entities that keeps the order of insertion, with
// O(1) membership and index lookup. Walks over it are therefore reproducible
// run after run, unlike walks over a hash set of pointers.

#include <cstddef>
#include <unordered_map>
#include <vector>

template <class T>
class ENTITY_TABLE {
 public:
  ENTITY_TABLE() = default;
  ENTITY_TABLE(const ENTITY_TABLE&) = delete;
  ENTITY_TABLE& operator=(const ENTITY_TABLE&) = delete;

  // Adds the entity if it is not there; returns its index either way. Null is refused (-1).
  long add(T* e) {
    if (e == nullptr) return -1;
    auto [it, inserted] = index_.emplace(e, items_.size());
    if (inserted) items_.push_back(e);
    return static_cast<long>(it->second);
  }
  bool contains(const T* e) const { return index_.count(const_cast<T*>(e)) != 0; }
  // Index of the entity, or -1.
  long lookup(const T* e) const {
    auto it = index_.find(const_cast<T*>(e));
    return it == index_.end() ? -1 : static_cast<long>(it->second);
  }
  std::size_t size() const { return items_.size(); }
  bool empty() const { return items_.empty(); }
  T* operator[](std::size_t i) const { return items_[i]; }
  auto begin() const { return items_.begin(); }
  auto end() const { return items_.end(); }

 private:
  std::vector<T*> items_;
  std::unordered_map<T*, std::size_t> index_;
};
