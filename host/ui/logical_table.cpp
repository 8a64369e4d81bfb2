#include "host/ui/logical_table.h"

#include "host/ui/table_registry.h"

LOGICAL_TABLE::LOGICAL_TABLE(TABLE_REGISTRY* owner, std::string name,
                             std::vector<TABLE_COLUMN> columns)
    : owner_(owner),
      name_(std::move(name)),
      columns_(std::move(columns)),
      cells_(columns_.size()) {}

int LOGICAL_TABLE::find_column(const std::string& key) const {
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (columns_[i].key == key) return static_cast<int>(i);
  }
  return -1;
}

int LOGICAL_TABLE::column_index(const std::string& key) const {
  const int i = find_column(key);
  if (i < 0) throw TABLE_ERROR("The table \"" + name_ + "\" has no column :" + key + ".");
  return i;
}

void LOGICAL_TABLE::check_row(std::size_t row) const {
  if (row >= rows_) {
    throw TABLE_ERROR("The table \"" + name_ + "\" has no row " + std::to_string(row) +
                      (rows_ == 0
                           ? std::string("; it has no rows.")
                           : "; it has " + std::to_string(rows_) + " rows, numbered from 0."));
  }
}

void LOGICAL_TABLE::check_column(int column) const {
  if (column < 0 || column >= static_cast<int>(columns_.size())) {
    throw TABLE_ERROR("The table \"" + name_ + "\" has no column number " + std::to_string(column) +
                      ".");
  }
}

void LOGICAL_TABLE::check_fits(int column, const TABLE_VALUE& v) const {
  const TABLE_COLUMN& c = columns_[static_cast<std::size_t>(column)];
  if (!v.fits(c.type)) {
    throw TABLE_ERROR("The column :" + c.key + " of the table \"" + name_ + "\" holds a " +
                      column_type_name(c.type) + ", not \"" + v.text(COLUMN_TYPE::OBJECT) + "\".");
  }
}

void LOGICAL_TABLE::check_row_values(const ROW& row) const {
  if (row.size() > columns_.size()) {
    throw TABLE_ERROR("A row of " + std::to_string(row.size()) +
                      " cells does not fit the table \"" + name_ + "\" of " +
                      std::to_string(columns_.size()) + " columns.");
  }
  for (std::size_t c = 0; c < row.size(); ++c) check_fits(static_cast<int>(c), row[c]);
}

const TABLE_VALUE& LOGICAL_TABLE::cell(std::size_t row, int column) const {
  check_row(row);
  check_column(column);
  return cells_[static_cast<std::size_t>(column)][row];
}

const std::vector<TABLE_VALUE>& LOGICAL_TABLE::column_cells(int column) const {
  check_column(column);
  return cells_[static_cast<std::size_t>(column)];
}

LOGICAL_TABLE::ROW LOGICAL_TABLE::row(std::size_t row) const {
  check_row(row);
  ROW out;
  out.reserve(columns_.size());
  for (const auto& column : cells_) out.push_back(column[row]);
  return out;
}

void LOGICAL_TABLE::write_cell(std::size_t row, int column, TABLE_VALUE value) {
  check_row(row);
  check_column(column);
  check_fits(column, value);
  cells_[static_cast<std::size_t>(column)][row] = std::move(value);
  ++revision_;
  owner_->logical_changed(*this);
}

std::size_t LOGICAL_TABLE::append_row(ROW row) {
  check_row_values(row);
  row.resize(columns_.size());
  for (std::size_t c = 0; c < columns_.size(); ++c) cells_[c].push_back(std::move(row[c]));
  ++rows_;
  ++revision_;
  owner_->logical_changed(*this);
  return rows_ - 1;
}

void LOGICAL_TABLE::remove_row(std::size_t row) {
  check_row(row);
  for (auto& column : cells_) column.erase(column.begin() + static_cast<std::ptrdiff_t>(row));
  --rows_;
  ++revision_;
  owner_->logical_row_removed(*this, row);
}

void LOGICAL_TABLE::replace_rows(std::vector<ROW> rows) {
  // Every row is checked before any is taken: a refused call changes nothing.
  for (const ROW& r : rows) check_row_values(r);
  std::vector<std::vector<TABLE_VALUE>> cells(columns_.size());
  for (auto& column : cells) column.reserve(rows.size());
  for (ROW& r : rows) {
    r.resize(columns_.size());
    for (std::size_t c = 0; c < columns_.size(); ++c) cells[c].push_back(std::move(r[c]));
  }
  cells_ = std::move(cells);
  rows_ = rows.size();
  ++revision_;
  owner_->logical_rows_replaced(*this);
}
