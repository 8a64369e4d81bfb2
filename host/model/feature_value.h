#pragma once
// FEATURE_VALUE: a value a feature keeps in its memory. A feature lives in
// the model and is written to model files, so its memory holds only values
// that mean the same in another session: numbers, strings, symbols (by
// package and name), T and NIL, and lists of these, dotted lists included
// (association lists such as ((sysid . distance) ...)). Handles and other
// objects of the running session have no FEATURE_VALUE, so they can never
// reach a feature.
//
// The value is plain C++ data, safe to keep anywhere (no Lisp object is
// held), copied with the feature and compared by value.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

class FEATURE_VALUE {
 public:
  enum class KIND { NIL, T, INTEGER, REAL, STRING, SYMBOL, LIST };

  FEATURE_VALUE() = default;  // NIL
  static FEATURE_VALUE t();
  static FEATURE_VALUE integer(std::int64_t v);
  static FEATURE_VALUE real(double v);
  static FEATURE_VALUE string(std::string utf8);
  // A symbol of `package` ("KEYWORD" for keywords). NIL and T have kinds of
  // their own; symbol("NIL", "COMMON-LISP") gives NIL.
  static FEATURE_VALUE symbol(std::string package, std::string name);
  static FEATURE_VALUE keyword(std::string name) { return symbol("KEYWORD", std::move(name)); }
  // A proper list of `items`; with `dotted` the last item is the list's
  // final cdr (it needs at least two items). An empty proper list is NIL.
  static FEATURE_VALUE list(std::vector<FEATURE_VALUE> items, bool dotted = false);

  KIND kind() const { return kind_; }
  bool is_nil() const { return kind_ == KIND::NIL; }
  std::int64_t as_integer() const { return integer_; }
  double as_real() const { return real_; }
  // The text of a string; the name of a symbol.
  const std::string& text() const { return text_; }
  const std::string& package() const { return package_; }
  bool is_keyword(const char* name) const {
    return kind_ == KIND::SYMBOL && package_ == "KEYWORD" && text_ == name;
  }
  const std::vector<FEATURE_VALUE>& items() const { return items_; }
  bool dotted() const { return dotted_; }

  // Same kind and same content; reals compare by their bits, so a stored
  // NaN equals itself and a value read back from a file equals the original.
  bool operator==(const FEATURE_VALUE& other) const;

 private:
  KIND kind_ = KIND::NIL;
  std::int64_t integer_ = 0;
  double real_ = 0.0;
  std::string text_;
  std::string package_;
  std::vector<FEATURE_VALUE> items_;
  bool dotted_ = false;
};

// A feature's memory: keys (keyword names) with their values, in the order
// they were first given. A key occurs once.
class FEATURE_MEMORY {
 public:
  // Sets the key's value, appending the key when it is new.
  void set(const std::string& key, FEATURE_VALUE value);
  // The key's value, or null when the memory has no such key.
  const FEATURE_VALUE* find(const std::string& key) const;
  bool has(const std::string& key) const { return find(key) != nullptr; }
  const std::vector<std::pair<std::string, FEATURE_VALUE>>& entries() const { return entries_; }
  bool operator==(const FEATURE_MEMORY& other) const { return entries_ == other.entries_; }

 private:
  std::vector<std::pair<std::string, FEATURE_VALUE>> entries_;
};
