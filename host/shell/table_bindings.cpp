#include "host/shell/table_bindings.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/lisp/lisp_error.h"
#include "host/lisp/lisp_ref.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/native_function.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/ui/output_box.h"
#include "host/ui/table_registry.h"
#include "host/ui/table_text.h"

namespace {

// A Lisp object in a cell of a column without a type: kept alive by the
// reference, printed when a table is drawn (on the Lisp thread).
class LISP_TABLE_OBJECT final : public TABLE_OBJECT {
 public:
  explicit LISP_TABLE_OBJECT(LAOBJ* x) : ref_(x) {}
  std::string text() const override { return lisp_princ(ref_.get()); }
  LAOBJ* get() const { return ref_.get(); }

 private:
  LISP_REF ref_;
};

LAOBJ* kw(const char* name) {
  return make_keyword(name);
}


std::string name_of(LAOBJ* x) {
  if (!is_string(x)) hcl_wrong_type("STRING", x);
  return object_to_string(x);
}

// A display table given by its name or by its form.
std::string display_name_of(LAOBJ* x) {
  if (!is_string(x)) {
    LISP_OUTCOME form =
        lisp_apply(hcl_find_symbol("DISPLAY-TABLE-FORM-P", "FRAME2"), make_list({x}));
    if (form.ok && !lisp_null(form.value)) {
      LISP_OUTCOME t =
          lisp_apply(hcl_find_symbol("DISPLAY-TABLE-FORM-TABLE", "FRAME2"), make_list({x}));
      if (t.ok) return name_of(t.value);
    }
  }
  return name_of(x);
}

std::string key_of(LAOBJ* x) {
  if (!is_keyword(x)) hcl_wrong_type("KEYWORD", x);
  return symbol_name(x);
}

std::size_t index_of(LAOBJ* x) {
  const long long i = object_to_integer(x);
  if (i < 0) hcl_error("A row number counts from 0, not ~S.", {x});
  return static_cast<std::size_t>(i);
}

COLUMN_TYPE column_type_of(LAOBJ* t) {
  if (lisp_null(t) || t == kw("GENERIC") || t == kw("OBJECT")) return COLUMN_TYPE::OBJECT;
  if (t == kw("STRING")) return COLUMN_TYPE::STRING;
  if (t == kw("NUMBER")) return COLUMN_TYPE::NUMBER;
  if (t == kw("LENGTH")) return COLUMN_TYPE::LENGTH;
  if (t == kw("BOOLEAN")) return COLUMN_TYPE::BOOLEAN;
  hcl_error("A column's type is :STRING, :NUMBER, :LENGTH, :BOOLEAN or NIL, not ~S.", {t});
}

TABLE_VALUE cell_of(LAOBJ* v, const TABLE_COLUMN& c, const std::string& table) {
  if (c.type == COLUMN_TYPE::BOOLEAN) return TABLE_VALUE::boolean(!lisp_null(v));
  if (lisp_null(v)) return TABLE_VALUE();
  if (is_string(v)) return TABLE_VALUE::string(object_to_string(v));
  if (is_integer(v)) {
    // Integers beyond 64 bits are kept as reals.
    try {
      return TABLE_VALUE::integer(object_to_integer(v));
    } catch (const LISP_ERROR&) {
      return TABLE_VALUE::real(object_to_double(v));
    }
  }
  if (is_number(v)) return TABLE_VALUE::real(object_to_double(v));
  if (c.type == COLUMN_TYPE::OBJECT)
    return TABLE_VALUE::object(std::make_shared<LISP_TABLE_OBJECT>(v));
  hcl_error("~A~S.", {make_string("The column :" + c.key + " of the table \"" + table +
                                  "\" holds a " + column_type_name(c.type) + ", not "),
                      v});
}

LAOBJ* lisp_of(const TABLE_VALUE& v) {
  switch (v.kind()) {
    case TABLE_VALUE::KIND::EMPTY:
      return lisp_nil();
    case TABLE_VALUE::KIND::INTEGER:
      return make_fixnum(v.as_integer());
    case TABLE_VALUE::KIND::REAL:
      return make_double(v.number());
    case TABLE_VALUE::KIND::STRING:
      return make_string(v.as_string());
    case TABLE_VALUE::KIND::BOOLEAN:
      return make_bool(v.as_boolean());
    case TABLE_VALUE::KIND::OBJECT:
      break;
  }
  if (const auto* o = dynamic_cast<const LISP_TABLE_OBJECT*>(v.as_object().get())) return o->get();
  return make_string(v.as_object() ? v.as_object()->text() : "");
}

LOGICAL_TABLE::ROW row_of(const LOGICAL_TABLE& t, LAOBJ* plist) {
  const std::vector<LAOBJ*> items = list_elements(plist);
  if (items.size() % 2 != 0)
    hcl_error("A row is a property list of columns and values, not ~S.", {plist});
  LOGICAL_TABLE::ROW row(t.columns().size());
  for (std::size_t i = 0; i < items.size(); i += 2) {
    const int c = t.column_index(key_of(items[i]));
    row[static_cast<std::size_t>(c)] =
        cell_of(items[i + 1], t.columns()[static_cast<std::size_t>(c)], t.name());
  }
  return row;
}

LAOBJ* plist_of_row(const LOGICAL_TABLE& t, std::size_t r) {
  return list_of(2 * t.columns().size(), [&](std::size_t i) {
    const std::size_t c = i / 2;
    return i % 2 == 0 ? make_keyword(t.columns()[c].key.c_str())
                      : lisp_of(t.cell(r, static_cast<int>(c)));
  });
}

// A Lisp function designator run as a table's action, with the table's name.
DISPLAY_TABLE::ACTION action_of(LAOBJ* fn) {
  if (lisp_null(fn)) return nullptr;
  if (!is_symbol(fn)) {
    LISP_OUTCOME f = lisp_apply(hcl_find_symbol("FUNCTIONP", "COMMON-LISP"), make_list({fn}));
    if (!f.ok || lisp_null(f.value)) hcl_wrong_type("FUNCTION", fn);
  }
  return [ref = LISP_REF(fn)](DISPLAY_TABLE& t) {
    LISP_OUTCOME o = lisp_apply(ref.get(), make_list({make_string(t.name())}));
    if (!o.ok) throw std::runtime_error(o.error);
  };
}

struct DISPLAY_SETUP {
  DISPLAY_TABLE_OPTIONS options;
  DISPLAY_TABLE::ACTION on_select;
  DISPLAY_TABLE::ACTION on_double_click;
};

DISPLAY_SETUP display_setup(NATIVE_CALL& c, int first) {
  c.parse_keys(first, {kw("COLUMNS"), kw("TITLE"), kw("SELECTION-MODE"), kw("SELECTION-ACTION"),
                       kw("DOUBLE-CLICK-ACTION"), kw("BOTTOM-LINE"), kw("CUSTOM-BOTTOM-FORM"),
                       kw("FILTER-STATUS-LINE"), kw("SORT-BY-HEADER")});
  DISPLAY_SETUP s;
  for (LAOBJ* k : list_elements(c.key(kw("COLUMNS"), lisp_nil())))
    s.options.columns.push_back(key_of(k));
  LAOBJ* title = c.key(kw("TITLE"), lisp_nil());
  if (!lisp_null(title)) s.options.title = name_of(title);
  LAOBJ* mode = c.key(kw("SELECTION-MODE"), kw("SINGLE-ROW"));
  if (mode == kw("SINGLE-ROW"))
    s.options.selection_mode = SELECTION_MODE::SINGLE_ROW;
  else if (lisp_null(mode) || mode == kw("NONE"))
    s.options.selection_mode = SELECTION_MODE::NONE;
  else
    hcl_error("The selection mode is :SINGLE-ROW or :NONE, not ~S.", {mode});
  s.options.bottom_line = !lisp_null(c.key(kw("BOTTOM-LINE"), lisp_t()));
  s.options.custom_bottom_form = !lisp_null(c.key(kw("CUSTOM-BOTTOM-FORM"), lisp_nil()));
  s.options.filter_status_line = !lisp_null(c.key(kw("FILTER-STATUS-LINE"), lisp_t()));
  s.options.sort_by_header = !lisp_null(c.key(kw("SORT-BY-HEADER"), lisp_t()));
  s.on_select = action_of(c.key(kw("SELECTION-ACTION"), lisp_nil()));
  s.on_double_click = action_of(c.key(kw("DOUBLE-CLICK-ACTION"), lisp_nil()));
  return s;
}

FILTER_TEST test_of(LAOBJ* t) {
  const std::pair<const char*, FILTER_TEST> tests[] = {
      {"EQUAL", FILTER_TEST::EQUAL},       {"NOT-EQUAL", FILTER_TEST::NOT_EQUAL},
      {"LESS", FILTER_TEST::LESS},         {"LESS-EQUAL", FILTER_TEST::LESS_EQUAL},
      {"GREATER", FILTER_TEST::GREATER},   {"GREATER-EQUAL", FILTER_TEST::GREATER_EQUAL},
      {"CONTAINS", FILTER_TEST::CONTAINS}, {"STARTS-WITH", FILTER_TEST::STARTS_WITH}};
  for (const auto& [name, test] : tests) {
    if (t == kw(name)) return test;
  }
  hcl_error(
      "A filter's test is :EQUAL, :NOT-EQUAL, :LESS, :LESS-EQUAL, :GREATER, :GREATER-EQUAL, "
      ":CONTAINS or :STARTS-WITH, not ~S.",
      {t});
}

// The filter of a call's keys on `column`; nothing when no :test1 is given,
// which clears the column's filter.
std::optional<COLUMN_FILTER> filter_of(NATIVE_CALL& c, const DISPLAY_TABLE& t,
                                       const std::string& column) {
  if (!c.has_key(kw("TEST1"))) return std::nullopt;
  const LOGICAL_TABLE& lt = t.logical_table();
  const TABLE_COLUMN& col = lt.columns()[static_cast<std::size_t>(lt.column_index(column))];
  // A filter value is read as its column reads cells, but text tests take text.
  auto value = [&](FILTER_TEST test, LAOBJ* v) {
    if (test == FILTER_TEST::CONTAINS || test == FILTER_TEST::STARTS_WITH) {
      return TABLE_VALUE::string(name_of(v));
    }
    return cell_of(v, col, lt.name());
  };
  COLUMN_FILTER f;
  f.column = column;
  f.first.test = test_of(c.key(kw("TEST1"), lisp_nil()));
  f.first.value = value(f.first.test, c.key(kw("VALUE1"), lisp_nil()));
  if (c.has_key(kw("TEST2"))) {
    FILTER_CONDITION second;
    second.test = test_of(c.key(kw("TEST2"), lisp_nil()));
    second.value = value(second.test, c.key(kw("VALUE2"), lisp_nil()));
    f.second = second;
  }
  LAOBJ* op = c.key(kw("OPERATOR"), kw("AND"));
  if (op != kw("AND") && op != kw("OR"))
    hcl_error("A filter's operator is :AND or :OR, not ~S.", {op});
  f.any_of = op == kw("OR");
  return f;
}

// --- logical tables ---

LAOBJ* create_logical_table(NATIVE_CALL& c) {
  c.check_count(2, 2);
  const std::string name = name_of(c.arg(0));
  std::vector<TABLE_COLUMN> columns;
  for (LAOBJ* spec : list_elements(c.arg(1))) {
    TABLE_COLUMN col;
    if (is_keyword(spec)) {
      col.key = key_of(spec);
    } else {
      const std::vector<LAOBJ*> parts = list_elements(spec);
      if (parts.empty() || parts.size() > 3) {
        hcl_error("A column is a keyword or a list (key type [title]), not ~S.", {spec});
      }
      col.key = key_of(parts[0]);
      if (parts.size() > 1) col.type = column_type_of(parts[1]);
      if (parts.size() > 2 && !lisp_null(parts[2])) col.title = name_of(parts[2]);
    }
    columns.push_back(std::move(col));
  }
  table_registry().create_logical_table(name, std::move(columns));
  return c.arg(0);
}

LAOBJ* delete_logical_table(NATIVE_CALL& c) {
  c.check_count(1, 1);
  table_registry().delete_logical_table(name_of(c.arg(0)));
  return lisp_t();
}

LAOBJ* number_of_rows(NATIVE_CALL& c) {
  c.check_count(1, 1);
  return make_fixnum(
      static_cast<long long>(table_registry().logical_table(name_of(c.arg(0))).number_of_rows()));
}

LAOBJ* read_row(NATIVE_CALL& c) {
  c.check_count(2, 2);
  const LOGICAL_TABLE& t = table_registry().logical_table(name_of(c.arg(0)));
  return plist_of_row(t, index_of(c.arg(1)));
}

LAOBJ* read_cell(NATIVE_CALL& c) {
  c.check_count(3, 3);
  const LOGICAL_TABLE& t = table_registry().logical_table(name_of(c.arg(0)));
  return lisp_of(t.cell(index_of(c.arg(1)), t.column_index(key_of(c.arg(2)))));
}

LAOBJ* write_cell(NATIVE_CALL& c) {
  c.check_count(4, 4);
  LOGICAL_TABLE& t = table_registry().logical_table(name_of(c.arg(0)));
  const std::size_t row = index_of(c.arg(1));
  const int column = t.column_index(key_of(c.arg(2)));
  t.write_cell(row, column,
               cell_of(c.arg(3), t.columns()[static_cast<std::size_t>(column)], t.name()));
  return c.arg(3);
}

LAOBJ* append_row(NATIVE_CALL& c) {
  c.check_count(2, 2);
  LOGICAL_TABLE& t = table_registry().logical_table(name_of(c.arg(0)));
  return make_fixnum(static_cast<long long>(t.append_row(row_of(t, c.arg(1)))));
}

LAOBJ* remove_row(NATIVE_CALL& c) {
  c.check_count(2, 2);
  table_registry().logical_table(name_of(c.arg(0))).remove_row(index_of(c.arg(1)));
  return lisp_t();
}

LAOBJ* change_contents(NATIVE_CALL& c) {
  c.check_count(2, 2);
  LOGICAL_TABLE& t = table_registry().logical_table(name_of(c.arg(0)));
  std::vector<LOGICAL_TABLE::ROW> rows;
  for (LAOBJ* r : list_elements(c.arg(1))) rows.push_back(row_of(t, r));
  t.replace_rows(std::move(rows));
  return make_fixnum(static_cast<long long>(t.number_of_rows()));
}

// --- display tables ---

LAOBJ* create_display_table(NATIVE_CALL& c) {
  if (c.narg() < 2) check_arg_failed(c.name(), c.narg());
  const std::string name = name_of(c.arg(0));
  const std::string ltab = name_of(c.arg(1));
  DISPLAY_SETUP s = display_setup(c, 2);
  DISPLAY_TABLE& t = table_registry().create_display_table(name, ltab, std::move(s.options));
  t.set_selection_action(std::move(s.on_select));
  t.set_double_click_action(std::move(s.on_double_click));
  return c.arg(0);
}

LAOBJ* create_display_table_control(NATIVE_CALL& c) {
  if (c.narg() < 3) check_arg_failed(c.name(), c.narg());
  const std::string area = name_of(c.arg(0));
  const std::string name = name_of(c.arg(1));
  const std::string ltab = name_of(c.arg(2));
  DISPLAY_SETUP s = display_setup(c, 3);
  DISPLAY_TABLE& t =
      table_registry().create_display_table_control(area, name, ltab, std::move(s.options));
  t.set_selection_action(std::move(s.on_select));
  t.set_double_click_action(std::move(s.on_double_click));
  return c.arg(1);
}

LAOBJ* delete_display_table(NATIVE_CALL& c) {
  c.check_count(1, 1);
  table_registry().delete_display_table(name_of(c.arg(0)));
  return lisp_t();
}

DISPLAY_TABLE& display_arg(NATIVE_CALL& c) {
  return table_registry().display_table(display_name_of(c.arg(0)));
}

LAOBJ* set_title(NATIVE_CALL& c) {
  c.check_count(2, 2);
  DISPLAY_TABLE& t = display_arg(c);
  t.set_title(lisp_null(c.arg(1)) ? std::string() : name_of(c.arg(1)));
  return c.arg(1);
}

LAOBJ* show_table(NATIVE_CALL& c) {
  c.check_count(1, 2);
  DISPLAY_TABLE& t = display_arg(c);
  t.show(c.narg() > 1 && !lisp_null(c.arg(1)) ? lisp_prin1(c.arg(1)) : std::string());
  return lisp_t();
}

LAOBJ* hide_table(NATIVE_CALL& c) {
  c.check_count(1, 1);
  display_arg(c).hide();
  return lisp_t();
}

LAOBJ* visible_p(NATIVE_CALL& c) {
  c.check_count(1, 1);
  return make_bool(display_arg(c).visible());
}

LAOBJ* sort_table(NATIVE_CALL& c) {
  if (c.narg() < 2) check_arg_failed(c.name(), c.narg());
  DISPLAY_TABLE& t = display_arg(c);
  const std::string column = lisp_null(c.arg(1)) ? std::string() : key_of(c.arg(1));
  c.parse_keys(2, {kw("REVERSE")});
  t.sort(column, !lisp_null(c.key(kw("REVERSE"), lisp_nil())));
  return lisp_t();
}

LAOBJ* allow_user_filter(NATIVE_CALL& c) {
  c.check_count(2, 2);
  DISPLAY_TABLE& t = display_arg(c);
  std::vector<std::string> columns;
  for (LAOBJ* k : list_elements(c.arg(1))) columns.push_back(key_of(k));
  t.allow_user_filter(columns);
  return lisp_t();
}

LAOBJ* set_user_filter(NATIVE_CALL& c) {
  if (c.narg() < 2) check_arg_failed(c.name(), c.narg());
  DISPLAY_TABLE& t = display_arg(c);
  const std::string column = key_of(c.arg(1));
  c.parse_keys(2, {kw("TEST1"), kw("VALUE1"), kw("TEST2"), kw("VALUE2"), kw("OPERATOR")});
  std::optional<COLUMN_FILTER> f = filter_of(c, t, column);
  if (f) {
    t.set_user_filter(std::move(*f));
  } else {
    t.logical_table().column_index(column);
    t.clear_user_filter(column);
  }
  return make_fixnum(static_cast<long long>(t.rows().size()));
}

LAOBJ* program_filter(NATIVE_CALL& c) {
  if (c.narg() < 1) check_arg_failed(c.name(), c.narg());
  DISPLAY_TABLE& t = display_arg(c);
  c.parse_keys(
      1, {kw("COLUMN"), kw("TEST1"), kw("VALUE1"), kw("TEST2"), kw("VALUE2"), kw("OPERATOR")});
  LAOBJ* column = c.key(kw("COLUMN"), lisp_nil());
  if (lisp_null(column)) {
    if (c.has_key(kw("TEST1"))) hcl_error("A filter with a test needs a :COLUMN.");
    t.clear_program_filter();
  } else if (std::optional<COLUMN_FILTER> f = filter_of(c, t, key_of(column))) {
    t.set_program_filter(std::move(*f));
  } else {
    t.clear_program_filter(key_of(column));
  }
  return make_fixnum(static_cast<long long>(t.rows().size()));
}

LAOBJ* shown_rows(NATIVE_CALL& c) {
  c.check_count(1, 1);
  const std::vector<std::size_t>& rows = display_arg(c).rows();
  return list_of(rows.size(),
                 [&](std::size_t i) { return make_fixnum(static_cast<long long>(rows[i])); });
}

LAOBJ* select_row(NATIVE_CALL& c) {
  if (c.narg() < 2) check_arg_failed(c.name(), c.narg());
  DISPLAY_TABLE& t = display_arg(c);
  const std::size_t position = index_of(c.arg(1));
  c.parse_keys(2, {kw("DOUBLE-CLICK")});
  const std::string name = t.name();
  const std::string error = t.select(position, !lisp_null(c.key(kw("DOUBLE-CLICK"), lisp_nil())));
  if (error.empty()) return lisp_t();
  output_box().display_error("The action of the table \"" + name + "\" failed: " + error);
  return lisp_nil();
}

LAOBJ* get_selection(NATIVE_CALL& c) {
  c.check_count(1, 1);
  const DISPLAY_TABLE& t = display_arg(c);
  const std::optional<std::size_t> row = t.selected_row();
  if (!row) return lisp_nil();
  return make_list({plist_of_row(t.logical_table(), *row)});
}

LAOBJ* reset_selection(NATIVE_CALL& c) {
  c.check_count(1, 1);
  display_arg(c).reset_selection();
  return lisp_t();
}

LAOBJ* custom_bottom_form(NATIVE_CALL& c) {
  if (c.narg() < 1) check_arg_failed(c.name(), c.narg());
  const std::string name = display_name_of(c.arg(0));
  c.parse_keys(
      1, {kw("FRAME"), kw("WIDTH"), kw("HEIGHT"), kw("MARGIN"), kw("SPACING"), kw("CELL-SIZE")});
  BOTTOM_FORM& form = table_registry().custom_bottom_form(name);
  // Every value is read before the form changes: a bad one changes nothing.
  BOTTOM_FORM next = form;
  if (c.has_key(kw("FRAME"))) next.frame = !lisp_null(c.key(kw("FRAME"), lisp_nil()));
  const std::pair<const char*, double BOTTOM_FORM::*> sizes[] = {
      {"WIDTH", &BOTTOM_FORM::width},
      {"HEIGHT", &BOTTOM_FORM::height},
      {"MARGIN", &BOTTOM_FORM::margin},
      {"SPACING", &BOTTOM_FORM::spacing}};
  for (const auto& [key, member] : sizes) {
    if (!c.has_key(kw(key))) continue;
    LAOBJ* v = c.key(kw(key), lisp_nil());
    const double d = object_to_double(v);
    if (d < 0) hcl_error("A form's size is not negative: ~S.", {v});
    next.*member = d;
  }
  if (c.has_key(kw("CELL-SIZE"))) {
    LAOBJ* v = c.key(kw("CELL-SIZE"), lisp_nil());
    const std::vector<LAOBJ*> wh = list_elements(v);
    if (wh.size() != 2) hcl_error("A cell size is a list of width and height, not ~S.", {v});
    next.cell_width = object_to_double(wh[0]);
    next.cell_height = object_to_double(wh[1]);
    if (next.cell_width <= 0 || next.cell_height <= 0)
      hcl_error("A cell size is positive, not ~S.", {v});
  }
  next.areas = form.areas;
  form = next;
  LISP_OUTCOME o = lisp_apply(hcl_find_symbol("%MAKE-DISPLAY-TABLE-FORM", "FRAME2"),
                              make_list({make_string(name)}));
  if (!o.ok) hcl_error("~A", {make_string(o.error)});
  return o.value;
}

LAOBJ* append_grid_area(NATIVE_CALL& c) {
  if (c.narg() < 2) check_arg_failed(c.name(), c.narg());
  const std::string table = display_name_of(c.arg(0));
  const std::string area = name_of(c.arg(1));
  c.parse_keys(2, {kw("X"), kw("Y"), kw("WIDTH"), kw("HEIGHT")});
  auto number = [&](const char* key, long long fallback) {
    return static_cast<int>(c.has_key(kw(key)) ? object_to_integer(c.key(kw(key), lisp_nil()))
                                               : fallback);
  };
  table_registry().append_grid_area(table, area, number("X", 0), number("Y", 0), number("WIDTH", 1),
                                    number("HEIGHT", 1));
  return c.arg(1);
}

LAOBJ* print_table(NATIVE_CALL& c) {
  if (c.narg() < 1) check_arg_failed(c.name(), c.narg());
  const DISPLAY_TABLE& t = display_arg(c);
  c.parse_keys(1, {kw("MAX-ROWS")});
  const long long max_rows = object_to_integer(c.key(kw("MAX-ROWS"), make_fixnum(0)));
  if (max_rows < 0) hcl_error("~S rows cannot be shown.", {make_fixnum(max_rows)});
  const LENGTH_UNIT unit = user_length_unit();
  for (const std::string& line :
       display_table_text(t, &table_registry(), static_cast<std::size_t>(max_rows), unit)) {
    output_box().display(line);
  }
  return lisp_t();
}

}  // namespace

LENGTH_UNIT user_length_unit() {
  LENGTH_UNIT unit;
  if (!lisp_booted()) return unit;
  LISP_OUTCOME name = lisp_apply(hcl_find_symbol("TV-INQ-LENGTH-UNITS", "FRAME2"), lisp_nil());
  // The size from the conversion of one millimetre: the first value alone
  // comes back from a call.
  LISP_OUTCOME per_mm = lisp_apply(hcl_find_symbol("TV-SYS-TO-USER-UNITS", "FRAME2"),
                                   make_list({kw("LENGTH"), make_double(1.0)}));
  if (!name.ok || !per_mm.ok || !is_string(name.value) || !is_number(per_mm.value)) return unit;
  const double scale = object_to_double(per_mm.value);
  if (!(scale > 0.0)) return unit;
  unit.size = 1.0 / scale;
  unit.name = object_to_string(name.value);
  for (char& c : unit.name) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return unit;
}

void register_table_bindings() {
  LAOBJ* frame = find_package("FRAME2");
  const std::pair<const char*, NATIVE_FUNCTION> functions[] = {
      {"TV-CREATE-LOGICAL-TABLE", &create_logical_table},
      {"TV-DELETE-LOGICAL-TABLE", &delete_logical_table},
      {"TV-GET-LOGICAL-TABLE-NUMBER-OF-ROWS", &number_of_rows},
      {"TV-READ-LOGICAL-TABLE-ROW", &read_row},
      {"TV-READ-LOGICAL-TABLE-CELL", &read_cell},
      {"TV-WRITE-LOGICAL-TABLE-CELL", &write_cell},
      {"TV-APPEND-LOGICAL-TABLE-ROW", &append_row},
      {"TV-REMOVE-LOGICAL-TABLE-ROW", &remove_row},
      {"TV-CHANGE-LOGICAL-TABLE-CONTENTS", &change_contents},
      {"TV-CREATE-DISPLAY-TABLE", &create_display_table},
      {"TV-CREATE-DISPLAY-TABLE-CONTROL", &create_display_table_control},
      {"TV-DELETE-DISPLAY-TABLE", &delete_display_table},
      {"TV-SET-DISPLAY-TABLE-TITLE", &set_title},
      {"TV-SHOW-DISPLAY-TABLE", &show_table},
      {"TV-HIDE-DISPLAY-TABLE", &hide_table},
      {"TV-DISPLAY-TABLE-VISIBLE-P", &visible_p},
      {"TV-SORT-DISPLAY-TABLE", &sort_table},
      {"TV-ALLOW-DISPLAY-TABLE-USER-FILTER", &allow_user_filter},
      {"TV-SET-DISPLAY-TABLE-USER-FILTER", &set_user_filter},
      {"TV-FILTER-DISPLAY-TABLE", &program_filter},
      {"TV-GET-DISPLAY-TABLE-ROWS", &shown_rows},
      {"TV-SELECT-DISPLAY-TABLE-ROW", &select_row},
      {"TV-GET-DISPLAY-TABLE-SELECTION", &get_selection},
      {"TV-RESET-DISPLAY-TABLE-SELECTION", &reset_selection},
      {"TV-GET-DISPLAY-TABLE-CUSTOM-BOTTOM-FORM", &custom_bottom_form},
      {"TV-APPEND-GRID-AREA", &append_grid_area},
      {"TV-PRINT-DISPLAY-TABLE", &print_table},
  };
  for (const auto& [name, fn] : functions) make_package_function(name, fn, &frame, 2);
}
