#include "host/model/feature_value.h"

#include <cstring>

FEATURE_VALUE FEATURE_VALUE::t() {
  FEATURE_VALUE v;
  v.kind_ = KIND::T;
  return v;
}

FEATURE_VALUE FEATURE_VALUE::integer(std::int64_t i) {
  FEATURE_VALUE v;
  v.kind_ = KIND::INTEGER;
  v.integer_ = i;
  return v;
}

FEATURE_VALUE FEATURE_VALUE::real(double r) {
  FEATURE_VALUE v;
  v.kind_ = KIND::REAL;
  v.real_ = r;
  return v;
}

FEATURE_VALUE FEATURE_VALUE::string(std::string utf8) {
  FEATURE_VALUE v;
  v.kind_ = KIND::STRING;
  v.text_ = std::move(utf8);
  return v;
}

FEATURE_VALUE FEATURE_VALUE::symbol(std::string package, std::string name) {
  const bool common = package == "COMMON-LISP";
  if (common && name == "NIL") return FEATURE_VALUE();
  if (common && name == "T") return t();
  FEATURE_VALUE v;
  v.kind_ = KIND::SYMBOL;
  v.package_ = std::move(package);
  v.text_ = std::move(name);
  return v;
}

FEATURE_VALUE FEATURE_VALUE::list(std::vector<FEATURE_VALUE> items, bool dotted) {
  // (a . NIL) is the proper list (a): a NIL tail folds away.
  if (dotted && (items.size() < 2 || items.back().is_nil())) {
    if (!items.empty()) items.pop_back();
    dotted = false;
  }
  if (items.empty()) return FEATURE_VALUE();
  FEATURE_VALUE v;
  v.kind_ = KIND::LIST;
  v.items_ = std::move(items);
  v.dotted_ = dotted;
  return v;
}

bool FEATURE_VALUE::operator==(const FEATURE_VALUE& o) const {
  if (kind_ != o.kind_) return false;
  switch (kind_) {
    case KIND::NIL:
    case KIND::T:
      return true;
    case KIND::INTEGER:
      return integer_ == o.integer_;
    case KIND::REAL:
      return std::memcmp(&real_, &o.real_, sizeof real_) == 0;
    case KIND::STRING:
      return text_ == o.text_;
    case KIND::SYMBOL:
      return text_ == o.text_ && package_ == o.package_;
    case KIND::LIST:
      return dotted_ == o.dotted_ && items_ == o.items_;
  }
  return false;
}

void FEATURE_MEMORY::set(const std::string& key, FEATURE_VALUE value) {
  for (auto& [k, v] : entries_) {
    if (k == key) {
      v = std::move(value);
      return;
    }
  }
  entries_.emplace_back(key, std::move(value));
}

const FEATURE_VALUE* FEATURE_MEMORY::find(const std::string& key) const {
  for (const auto& [k, v] : entries_) {
    if (k == key) return &v;
  }
  return nullptr;
}
