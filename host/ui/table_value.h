#pragma once
// Values of the cells of the host's tables (logical_table.h). A column has a
// type; a cell holds a value of that type or is empty. Columns without a type
// hold objects of the caller's own (a list of part records for a detail view):
// the table keeps them and their printed text, and never looks inside.

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <variant>

// A table operation refused: unknown table or column, a row out of range, a
// value of the wrong type. The text says which, for the user.
class TABLE_ERROR : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

enum class COLUMN_TYPE { STRING, NUMBER, LENGTH, BOOLEAN, OBJECT };

// "string", "number", "length", "boolean", "object".
const char* column_type_name(COLUMN_TYPE t);

// The unit lengths are shown in: its name as a user reads it and its size in
// millimetres, the unit of the stored values.
struct LENGTH_UNIT {
  std::string name = "mm";
  double size = 1.0;
};

// An object of the caller's kept in a cell: it owns whatever keeps the object
// alive, and says how it prints.
class TABLE_OBJECT {
 public:
  virtual ~TABLE_OBJECT() = default;
  virtual std::string text() const = 0;
};

class TABLE_VALUE {
 public:
  enum class KIND { EMPTY, INTEGER, REAL, STRING, BOOLEAN, OBJECT };

  TABLE_VALUE() = default;  // empty
  static TABLE_VALUE integer(long long v) { return TABLE_VALUE(v); }
  static TABLE_VALUE real(double v) { return TABLE_VALUE(v); }
  static TABLE_VALUE string(std::string v) { return TABLE_VALUE(std::move(v)); }
  static TABLE_VALUE boolean(bool v) { return TABLE_VALUE(v); }
  static TABLE_VALUE object(std::shared_ptr<const TABLE_OBJECT> v) {
    return TABLE_VALUE(std::move(v));
  }

  KIND kind() const { return static_cast<KIND>(v_.index()); }
  bool empty() const { return kind() == KIND::EMPTY; }
  bool is_number() const { return kind() == KIND::INTEGER || kind() == KIND::REAL; }
  // The value as a double: integers converted; 0 for anything that is no number.
  double number() const;
  long long as_integer() const { return std::get<long long>(v_); }
  const std::string& as_string() const { return std::get<std::string>(v_); }
  bool as_boolean() const { return std::get<bool>(v_); }
  const std::shared_ptr<const TABLE_OBJECT>& as_object() const {
    return std::get<std::shared_ptr<const TABLE_OBJECT>>(v_);
  }

  // True when a cell of a column of type `t` may hold the value. Every
  // column may be empty.
  bool fits(COLUMN_TYPE t) const;

  // The text a table shows for the value: numbers with at most six
  // significant digits, lengths in `unit` with its name, booleans "yes" or
  // "no", objects their printed text, "" for empty.
  std::string text(COLUMN_TYPE t, const LENGTH_UNIT& unit = LENGTH_UNIT()) const;

 private:
  using VARIANT = std::variant<std::monostate, long long, double, std::string, bool,
                               std::shared_ptr<const TABLE_OBJECT>>;
  template <class T>
  explicit TABLE_VALUE(T v) : v_(std::move(v)) {}
  VARIANT v_;
};

// The order of sorting: empty cells after all others (in both directions, so
// that a reversed sort still shows values first); numbers by value, NaN after
// the other numbers; text without regard to ASCII case, then by bytes; false
// before true; objects by their text. Negative, zero or positive.
int compare_table_values(const TABLE_VALUE& a, const TABLE_VALUE& b);
