#pragma once
// LOGICAL_TABLE: the data behind one or more display tables (display_table.h):
// typed columns, each with a key (":name" is "NAME") and a title, and rows of
// cells. Rows are addressed by their logical index, 0-based, in the order they
// were given; sorting and filtering are matters of a display table and never
// move rows here.
//
// Cells are stored by column, so that sorting and filtering a display table
// read one contiguous vector. Every change tells the owning registry, which
// keeps the display tables on this table in step (their selection follows the
// rows) and informs its observers.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/ui/table_value.h"

class TABLE_REGISTRY;

struct TABLE_COLUMN {
  std::string key;  // upper case, as a keyword's name
  COLUMN_TYPE type = COLUMN_TYPE::OBJECT;
  std::string title;
};

class LOGICAL_TABLE {
 public:
  using ROW = std::vector<TABLE_VALUE>;  // one value per column, in column order

  LOGICAL_TABLE(const LOGICAL_TABLE&) = delete;
  LOGICAL_TABLE& operator=(const LOGICAL_TABLE&) = delete;

  const std::string& name() const { return name_; }
  const std::vector<TABLE_COLUMN>& columns() const { return columns_; }
  // The index of the column with that key, or -1.
  int find_column(const std::string& key) const;
  // The same; TABLE_ERROR for an unknown key.
  int column_index(const std::string& key) const;

  std::size_t number_of_rows() const { return rows_; }
  // TABLE_ERROR for a row or column out of range.
  const TABLE_VALUE& cell(std::size_t row, int column) const;
  // The cells of one column, by logical row.
  const std::vector<TABLE_VALUE>& column_cells(int column) const;
  ROW row(std::size_t row) const;

  // Each refuses with TABLE_ERROR, changing nothing, when a row or column is
  // out of range or a value does not fit its column's type.
  void write_cell(std::size_t row, int column, TABLE_VALUE value);
  // Returns the new row's index. A row shorter than the columns is padded
  // with empty cells; a longer one is refused.
  std::size_t append_row(ROW row);
  void remove_row(std::size_t row);
  // All rows at once: the old ones go, the new ones come in the given order.
  void replace_rows(std::vector<ROW> rows);

  // Grows with every change of the cells or rows.
  std::uint64_t revision() const { return revision_; }

 private:
  friend class TABLE_REGISTRY;
  LOGICAL_TABLE(TABLE_REGISTRY* owner, std::string name, std::vector<TABLE_COLUMN> columns);

  void check_row(std::size_t row) const;
  void check_column(int column) const;
  void check_fits(int column, const TABLE_VALUE& v) const;
  void check_row_values(const ROW& row) const;

  TABLE_REGISTRY* owner_;  // not owned: the registry that owns this table
  std::string name_;
  std::vector<TABLE_COLUMN> columns_;
  std::vector<std::vector<TABLE_VALUE>> cells_;  // cells_[column][row]
  std::size_t rows_ = 0;
  std::uint64_t revision_ = 0;
};
