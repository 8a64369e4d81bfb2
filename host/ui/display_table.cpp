#include "host/ui/display_table.h"

#include <algorithm>

#include "host/ui/table_registry.h"

namespace {

std::string lowered(const std::string& s) {
  std::string out = s;
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return out;
}

bool is_text_test(FILTER_TEST t) {
  return t == FILTER_TEST::CONTAINS || t == FILTER_TEST::STARTS_WITH;
}

std::string keys_text(const std::vector<std::string>& keys) {
  std::string out;
  for (const std::string& k : keys) out += (out.empty() ? ":" : " :") + k;
  return out.empty() ? "none" : out;
}

}  // namespace

const char* filter_test_name(FILTER_TEST t) {
  switch (t) {
    case FILTER_TEST::EQUAL:
      return "equal";
    case FILTER_TEST::NOT_EQUAL:
      return "not-equal";
    case FILTER_TEST::LESS:
      return "less";
    case FILTER_TEST::LESS_EQUAL:
      return "less-equal";
    case FILTER_TEST::GREATER:
      return "greater";
    case FILTER_TEST::GREATER_EQUAL:
      return "greater-equal";
    case FILTER_TEST::CONTAINS:
      return "contains";
    case FILTER_TEST::STARTS_WITH:
      break;
  }
  return "starts-with";
}

bool passes(const TABLE_VALUE& cell, const FILTER_CONDITION& c) {
  switch (c.test) {
    case FILTER_TEST::EQUAL:
    case FILTER_TEST::NOT_EQUAL: {
      const bool equal = cell.empty() || c.value.empty() ? cell.empty() && c.value.empty()
                                                         : compare_table_values(cell, c.value) == 0;
      return equal == (c.test == FILTER_TEST::EQUAL);
    }
    case FILTER_TEST::CONTAINS:
    case FILTER_TEST::STARTS_WITH: {
      if (cell.empty()) return false;
      const std::string text = lowered(cell.text(COLUMN_TYPE::OBJECT));
      const std::string part = lowered(c.value.text(COLUMN_TYPE::OBJECT));
      return c.test == FILTER_TEST::CONTAINS ? text.find(part) != std::string::npos
                                             : text.compare(0, part.size(), part) == 0;
    }
    default:
      break;
  }
  if (cell.empty() || c.value.empty()) return false;
  const int order = compare_table_values(cell, c.value);
  switch (c.test) {
    case FILTER_TEST::LESS:
      return order < 0;
    case FILTER_TEST::LESS_EQUAL:
      return order <= 0;
    case FILTER_TEST::GREATER:
      return order > 0;
    default:
      break;
  }
  return order >= 0;
}

DISPLAY_TABLE::DISPLAY_TABLE(TABLE_REGISTRY* owner, std::string name, const LOGICAL_TABLE* ltab,
                             DISPLAY_TABLE_OPTIONS options)
    : owner_(owner), name_(std::move(name)), ltab_(ltab), options_(std::move(options)) {
  if (options_.columns.empty()) {
    for (const TABLE_COLUMN& c : ltab_->columns()) options_.columns.push_back(c.key);
  }
  for (const std::string& key : options_.columns) shown_.push_back(ltab_->column_index(key));
}

void DISPLAY_TABLE::changed(TABLE_CHANGE what) {
  owner_->notify(name_, what);
}

void DISPLAY_TABLE::set_title(std::string title) {
  options_.title = std::move(title);
  changed(TABLE_CHANGE::LAYOUT);
}

void DISPLAY_TABLE::show(std::string position) {
  visible_ = true;
  position_ = std::move(position);
  changed(TABLE_CHANGE::SHOWN);
}

void DISPLAY_TABLE::hide() {
  visible_ = false;
  changed(TABLE_CHANGE::HIDDEN);
}

void DISPLAY_TABLE::sort(const std::string& column, bool reverse) {
  if (!column.empty()) ltab_->column_index(column);
  sort_column_ = column;
  sort_reverse_ = !column.empty() && reverse;
  invalidate();
  changed(TABLE_CHANGE::LAYOUT);
}

void DISPLAY_TABLE::allow_user_filter(const std::vector<std::string>& columns) {
  for (const std::string& key : columns) ltab_->column_index(key);
  user_filter_columns_ = columns;
  // A filter on a column no longer allowed goes.
  for (auto it = user_filters_.begin(); it != user_filters_.end();) {
    const bool allowed = std::find(columns.begin(), columns.end(), it->first) != columns.end();
    it = allowed ? std::next(it) : user_filters_.erase(it);
  }
  invalidate();
  changed(TABLE_CHANGE::LAYOUT);
}

void DISPLAY_TABLE::check_filter(const COLUMN_FILTER& f) const {
  const int index = ltab_->column_index(f.column);
  const TABLE_COLUMN& column = ltab_->columns()[static_cast<std::size_t>(index)];
  for (const FILTER_CONDITION* c : {&f.first, f.second ? &*f.second : nullptr}) {
    if (c == nullptr) continue;
    if (is_text_test(c->test)) {
      if (column.type != COLUMN_TYPE::STRING && column.type != COLUMN_TYPE::OBJECT) {
        throw TABLE_ERROR(std::string("The test ") + filter_test_name(c->test) +
                          " is for text; the column :" + column.key + " of the table \"" + name_ +
                          "\" holds a " + column_type_name(column.type) + ".");
      }
      if (c->value.kind() != TABLE_VALUE::KIND::STRING) {
        throw TABLE_ERROR(std::string("The test ") + filter_test_name(c->test) +
                          " takes a string.");
      }
    } else if (!c->value.fits(column.type)) {
      throw TABLE_ERROR("A filter on the column :" + column.key + " of the table \"" + name_ +
                        "\" compares with a " + column_type_name(column.type) + ", not \"" +
                        c->value.text(COLUMN_TYPE::OBJECT) + "\".");
    }
  }
}

void DISPLAY_TABLE::set_user_filter(COLUMN_FILTER f) {
  if (std::find(user_filter_columns_.begin(), user_filter_columns_.end(), f.column) ==
      user_filter_columns_.end()) {
    throw TABLE_ERROR("The table \"" + name_ + "\" has no user filter on :" + f.column +
                      "; allowed: " + keys_text(user_filter_columns_) + ".");
  }
  check_filter(f);
  const std::string key = f.column;
  user_filters_[key] = std::move(f);
  invalidate();
  changed(TABLE_CHANGE::LAYOUT);
}

void DISPLAY_TABLE::clear_user_filter(const std::string& column) {
  if (column.empty())
    user_filters_.clear();
  else
    user_filters_.erase(column);
  invalidate();
  changed(TABLE_CHANGE::LAYOUT);
}

void DISPLAY_TABLE::set_program_filter(COLUMN_FILTER f) {
  check_filter(f);
  const std::string key = f.column;
  program_filters_[key] = std::move(f);
  invalidate();
  changed(TABLE_CHANGE::LAYOUT);
}

void DISPLAY_TABLE::clear_program_filter(const std::string& column) {
  if (!column.empty()) ltab_->column_index(column);
  if (column.empty())
    program_filters_.clear();
  else
    program_filters_.erase(column);
  invalidate();
  changed(TABLE_CHANGE::LAYOUT);
}

const std::vector<std::size_t>& DISPLAY_TABLE::rows() const {
  if (view_revision_ == ltab_->revision()) return view_;
  struct ACTIVE {
    const std::vector<TABLE_VALUE>* cells;
    const COLUMN_FILTER* filter;
  };
  std::vector<ACTIVE> active;
  for (const auto* filters : {&user_filters_, &program_filters_}) {
    for (const auto& [key, f] : *filters)
      active.push_back({&ltab_->column_cells(ltab_->column_index(key)), &f});
  }
  const std::size_t n = ltab_->number_of_rows();
  view_.clear();
  view_.reserve(n);
  for (std::size_t r = 0; r < n; ++r) {
    bool shown = true;
    for (const ACTIVE& a : active) {
      const TABLE_VALUE& cell = (*a.cells)[r];
      const COLUMN_FILTER& f = *a.filter;
      bool ok = passes(cell, f.first);
      if (f.second) ok = f.any_of ? ok || passes(cell, *f.second) : ok && passes(cell, *f.second);
      if (!ok) {
        shown = false;
        break;
      }
    }
    if (shown) view_.push_back(r);
  }
  if (!sort_column_.empty()) {
    const std::vector<TABLE_VALUE>& cells = ltab_->column_cells(ltab_->column_index(sort_column_));
    const bool reverse = sort_reverse_;
    std::stable_sort(view_.begin(), view_.end(), [&cells, reverse](std::size_t a, std::size_t b) {
      const TABLE_VALUE& x = cells[a];
      const TABLE_VALUE& y = cells[b];
      // Empty cells stay last either way.
      if (x.empty() || y.empty()) return !x.empty() && y.empty();
      const int order = compare_table_values(x, y);
      return reverse ? order > 0 : order < 0;
    });
  }
  view_revision_ = ltab_->revision();
  // A selection is of a row the user sees: a row filtered out is no longer selected.
  if (selected_ && std::find(view_.begin(), view_.end(), *selected_) == view_.end())
    selected_.reset();
  return view_;
}

std::string DISPLAY_TABLE::select(std::size_t position, bool double_click) {
  if (options_.selection_mode == SELECTION_MODE::NONE) {
    throw TABLE_ERROR("The table \"" + name_ + "\" has no selection.");
  }
  const std::vector<std::size_t>& shown = rows();
  if (position >= shown.size()) {
    throw TABLE_ERROR("The table \"" + name_ + "\" shows " + std::to_string(shown.size()) +
                      " rows, numbered from 0; there is no row " + std::to_string(position) + ".");
  }
  selected_ = shown[position];
  changed(TABLE_CHANGE::SELECTION);
  // The action may delete this very table: it runs from a copy, and nothing
  // of the table is touched after it.
  const ACTION action = double_click ? on_double_click_ : on_select_;
  if (!action) return "";
  try {
    action(*this);
  } catch (const std::exception& e) {
    return e.what();
  } catch (...) {
    return "an unknown error";
  }
  return "";
}

std::optional<std::size_t> DISPLAY_TABLE::selected_row() const {
  rows();
  return selected_;
}

void DISPLAY_TABLE::reset_selection() {
  selected_.reset();
  changed(TABLE_CHANGE::SELECTION);
}

void DISPLAY_TABLE::rows_removed(std::size_t row) {
  if (selected_) {
    if (*selected_ == row)
      selected_.reset();
    else if (*selected_ > row)
      --*selected_;
  }
  invalidate();
}

void DISPLAY_TABLE::rows_replaced() {
  selected_.reset();
  invalidate();
}
