#include "host/ui/table_value.h"

#include <cmath>
#include <cstdio>

namespace {

int sign(int v) {
  return (v > 0) - (v < 0);
}

char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Text order: ASCII case ignored first, then bytes, so that "a" and "A" sort
// together but still have a fixed order.
int compare_text(const std::string& a, const std::string& b) {
  const std::size_t n = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < n; ++i) {
    const char x = lower(a[i]);
    const char y = lower(b[i]);
    if (x != y) return static_cast<unsigned char>(x) < static_cast<unsigned char>(y) ? -1 : 1;
  }
  if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
  return sign(a.compare(b));
}

std::string number_text(double v) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.6g", v);
  return buf;
}

}  // namespace

const char* column_type_name(COLUMN_TYPE t) {
  switch (t) {
    case COLUMN_TYPE::STRING:
      return "string";
    case COLUMN_TYPE::NUMBER:
      return "number";
    case COLUMN_TYPE::LENGTH:
      return "length";
    case COLUMN_TYPE::BOOLEAN:
      return "boolean";
    case COLUMN_TYPE::OBJECT:
      break;
  }
  return "object";
}

double TABLE_VALUE::number() const {
  if (kind() == KIND::INTEGER) return static_cast<double>(std::get<long long>(v_));
  if (kind() == KIND::REAL) return std::get<double>(v_);
  return 0.0;
}

bool TABLE_VALUE::fits(COLUMN_TYPE t) const {
  if (empty()) return true;
  switch (t) {
    case COLUMN_TYPE::STRING:
      return kind() == KIND::STRING;
    case COLUMN_TYPE::NUMBER:
    case COLUMN_TYPE::LENGTH:
      return is_number();
    case COLUMN_TYPE::BOOLEAN:
      return kind() == KIND::BOOLEAN;
    case COLUMN_TYPE::OBJECT:
      break;
  }
  return true;
}

std::string TABLE_VALUE::text(COLUMN_TYPE t, const LENGTH_UNIT& unit) const {
  if (t == COLUMN_TYPE::LENGTH && is_number()) {
    const double size = unit.size > 0.0 ? unit.size : 1.0;
    if (kind() == KIND::INTEGER && size == 1.0)
      return std::to_string(as_integer()) + " " + unit.name;
    return number_text(number() / size) + " " + unit.name;
  }
  switch (kind()) {
    case KIND::EMPTY:
      return "";
    case KIND::INTEGER:
      return std::to_string(as_integer());
    case KIND::REAL:
      return number_text(std::get<double>(v_));
    case KIND::STRING:
      return as_string();
    case KIND::BOOLEAN:
      return as_boolean() ? "yes" : "no";
    case KIND::OBJECT:
      return as_object() ? as_object()->text() : "";
  }
  return "";
}

int compare_table_values(const TABLE_VALUE& a, const TABLE_VALUE& b) {
  if (a.empty() || b.empty()) return static_cast<int>(a.empty()) - static_cast<int>(b.empty());
  if (a.is_number() && b.is_number()) {
    const double x = a.number();
    const double y = b.number();
    const bool nx = std::isnan(x);
    const bool ny = std::isnan(y);
    if (nx || ny) return static_cast<int>(nx) - static_cast<int>(ny);
    return (x > y) - (x < y);
  }
  using K = TABLE_VALUE::KIND;
  if (a.kind() == K::BOOLEAN && b.kind() == K::BOOLEAN) {
    return static_cast<int>(a.as_boolean()) - static_cast<int>(b.as_boolean());
  }
  if (a.kind() == K::STRING && b.kind() == K::STRING)
    return compare_text(a.as_string(), b.as_string());
  // Mixed kinds only meet in columns without a type: by text.
  return compare_text(a.text(COLUMN_TYPE::OBJECT), b.text(COLUMN_TYPE::OBJECT));
}
