#include "host/ui/table_text.h"

#include <algorithm>

#include "host/ui/table_registry.h"

namespace {

constexpr std::size_t kMaxCell = 60;

// Characters, not bytes: UTF-8 continuation bytes take no column.
std::size_t width_of(const std::string& s) {
  std::size_t n = 0;
  for (unsigned char c : s) n += (c & 0xC0) != 0x80;
  return n;
}

std::string cut(const std::string& s) {
  if (width_of(s) <= kMaxCell) return s;
  std::string out;
  std::size_t n = 0;
  for (unsigned char c : s) {
    if ((c & 0xC0) != 0x80 && ++n > kMaxCell - 3) break;
    out.push_back(static_cast<char>(c));
  }
  return out + "...";
}

std::string pad(const std::string& s, std::size_t width, bool right) {
  const std::size_t w = width_of(s);
  const std::string fill(width > w ? width - w : 0, ' ');
  return right ? fill + s : s + fill;
}

// Lines end at their last character: the padding of the last column is no part of them.
std::string trimmed(std::string s) {
  while (!s.empty() && s.back() == ' ') s.pop_back();
  return s;
}

std::string filter_text(const LOGICAL_TABLE& ltab, const COLUMN_FILTER& f,
                        const LENGTH_UNIT& unit) {
  const int index = ltab.find_column(f.column);
  const TABLE_COLUMN& column = ltab.columns()[static_cast<std::size_t>(index)];
  const std::string name = column.title.empty() ? ":" + column.key : column.title;
  auto condition = [&](const FILTER_CONDITION& c) {
    std::string value = c.value.text(column.type, unit);
    if (c.value.kind() == TABLE_VALUE::KIND::STRING) value = "\"" + value + "\"";
    if (c.value.empty()) value = "nothing";
    return std::string(filter_test_name(c.test)) + " " + value;
  };
  std::string out = name + " " + condition(f.first);
  if (f.second) out += (f.any_of ? " or " : " and ") + condition(*f.second);
  return out;
}

}  // namespace

std::vector<std::string> display_table_text(const DISPLAY_TABLE& t, TABLE_REGISTRY* registry,
                                            std::size_t max_rows, const LENGTH_UNIT& unit) {
  const LOGICAL_TABLE& ltab = t.logical_table();
  const std::vector<std::size_t>& rows = t.rows();
  const std::size_t shown_rows = max_rows == 0 ? rows.size() : std::min(rows.size(), max_rows);
  const std::optional<std::size_t> selected = t.selected_row();

  std::vector<std::string> out;
  out.push_back(t.title().empty() ? t.name() : t.title());

  const std::vector<int>& columns = t.shown_columns();
  std::vector<std::string> header;
  std::vector<std::size_t> widths;
  std::vector<bool> right;
  for (int c : columns) {
    const TABLE_COLUMN& column = ltab.columns()[static_cast<std::size_t>(c)];
    std::string title = column.title.empty() ? ":" + column.key : column.title;
    if (column.key == t.sort_column()) title += t.sort_reversed() ? " v" : " ^";
    widths.push_back(width_of(title));
    header.push_back(std::move(title));
    right.push_back(column.type == COLUMN_TYPE::NUMBER || column.type == COLUMN_TYPE::LENGTH);
  }
  std::vector<std::vector<std::string>> cells(shown_rows);
  for (std::size_t i = 0; i < shown_rows; ++i) {
    for (std::size_t k = 0; k < columns.size(); ++k) {
      const int c = columns[k];
      std::string text =
          cut(ltab.cell(rows[i], c).text(ltab.columns()[static_cast<std::size_t>(c)].type, unit));
      widths[k] = std::max(widths[k], width_of(text));
      cells[i].push_back(std::move(text));
    }
  }
  // The position column: the largest position's digits and the selection mark.
  const std::size_t number_width = std::to_string(shown_rows == 0 ? 0 : shown_rows - 1).size() + 1;

  std::string line = std::string(number_width, ' ');
  std::string rule = std::string(number_width, '-');
  for (std::size_t k = 0; k < columns.size(); ++k) {
    line += " | " + pad(header[k], widths[k], false);
    rule += "-+-" + std::string(widths[k], '-');
  }
  out.push_back(trimmed(line));
  out.push_back(rule);
  for (std::size_t i = 0; i < shown_rows; ++i) {
    const std::string mark = selected && *selected == rows[i] ? ">" : " ";
    line = pad(mark + std::to_string(i), number_width, false);
    for (std::size_t k = 0; k < columns.size(); ++k)
      line += " | " + pad(cells[i][k], widths[k], right[k]);
    out.push_back(trimmed(line));
  }
  if (shown_rows < rows.size()) {
    out.push_back("... " + std::to_string(rows.size() - shown_rows) + " more rows");
  }
  if (t.options().bottom_line) {
    const std::size_t all = ltab.number_of_rows();
    const std::string noun = all == 1 ? " row" : " rows";
    out.push_back(rows.size() == all
                      ? std::to_string(all) + noun
                      : std::to_string(rows.size()) + " of " + std::to_string(all) + noun);
  }
  if (t.options().filter_status_line && !t.user_filters().empty()) {
    std::string filters;
    for (const auto& kv : t.user_filters())
      filters += (filters.empty() ? "" : "; ") + filter_text(ltab, kv.second, unit);
    out.push_back("Filter: " + filters);
  }
  if (const BOTTOM_FORM* form = t.bottom_form(); form != nullptr && registry != nullptr) {
    for (const GRID_AREA& a : form->areas) {
      const DISPLAY_TABLE* inner =
          a.control.empty() ? nullptr : registry->find_display_table(a.control);
      if (inner == nullptr) continue;
      out.push_back("");
      for (const std::string& l : display_table_text(*inner, registry, max_rows, unit))
        out.push_back("  " + l);
    }
  }
  return out;
}
