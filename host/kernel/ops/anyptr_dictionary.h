#pragma once
// ANYPTR_DICTIONARY: a map from any pointer to any pointer, used to say which
// copy belongs to which original.

#include <cstddef>
#include <unordered_map>

class ANYPTR_DICTIONARY {
 public:
  // `rows` is the expected number of entries, a sizing hint.
  explicit ANYPTR_DICTIONARY(std::size_t rows = 16) { map_.reserve(rows); }

  // Enters or replaces the value of `key`.
  void add(const void* key, void* value) { map_[key] = value; }
  // The value of `key`, or null.
  void* lookup(const void* key) const {
    auto it = map_.find(key);
    return it == map_.end() ? nullptr : it->second;
  }
  std::size_t size() const { return map_.size(); }

 private:
  std::unordered_map<const void*, void*> map_;
};
