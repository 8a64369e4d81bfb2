#include "host/ui/table_registry.h"

#include <set>

namespace {

std::string quoted(const std::string& s) {
  return "\"" + s + "\"";
}

}  // namespace

LOGICAL_TABLE& TABLE_REGISTRY::create_logical_table(const std::string& name,
                                                    std::vector<TABLE_COLUMN> columns) {
  if (name.empty()) throw TABLE_ERROR("A table needs a name.");
  if (logical_.count(name) != 0)
    throw TABLE_ERROR("A logical table named " + quoted(name) + " exists already.");
  if (columns.empty())
    throw TABLE_ERROR("The logical table " + quoted(name) + " needs at least one column.");
  std::set<std::string> keys;
  for (const TABLE_COLUMN& c : columns) {
    if (c.key.empty())
      throw TABLE_ERROR("A column of the logical table " + quoted(name) + " has no key.");
    if (!keys.insert(c.key).second) {
      throw TABLE_ERROR("The logical table " + quoted(name) + " has the column :" + c.key +
                        " twice.");
    }
  }
  auto* t = new LOGICAL_TABLE(this, name, std::move(columns));
  logical_[name].reset(t);
  return *t;
}

DISPLAY_TABLE& TABLE_REGISTRY::create_display_table(const std::string& name,
                                                    const std::string& logical_table_name,
                                                    DISPLAY_TABLE_OPTIONS options) {
  if (name.empty()) throw TABLE_ERROR("A table needs a name.");
  if (display_.count(name) != 0)
    throw TABLE_ERROR("A display table named " + quoted(name) + " exists already.");
  const LOGICAL_TABLE& ltab = logical_table(logical_table_name);
  // The constructor checks the shown columns before the table is entered.
  std::unique_ptr<DISPLAY_TABLE> t(new DISPLAY_TABLE(this, name, &ltab, std::move(options)));
  DISPLAY_TABLE& out = *t;
  display_[name] = std::move(t);
  notify(name, TABLE_CHANGE::CREATED);
  return out;
}

DISPLAY_TABLE& TABLE_REGISTRY::create_display_table_control(const std::string& area,
                                                            const std::string& name,
                                                            const std::string& logical_table_name,
                                                            DISPLAY_TABLE_OPTIONS options) {
  auto owner = areas_.find(area);
  if (owner == areas_.end()) throw TABLE_ERROR("There is no grid area named " + quoted(area) + ".");
  DISPLAY_TABLE& host = display_table(owner->second);
  GRID_AREA* slot = nullptr;
  for (GRID_AREA& a : host.form_.areas) {
    if (a.name == area) slot = &a;
  }
  if (slot == nullptr) throw TABLE_ERROR("There is no grid area named " + quoted(area) + ".");
  if (!slot->control.empty()) {
    throw TABLE_ERROR("The grid area " + quoted(area) + " holds the table " +
                      quoted(slot->control) + " already.");
  }
  DISPLAY_TABLE& t = create_display_table(name, logical_table_name, std::move(options));
  t.grid_area_ = area;
  slot->control = name;
  notify(host.name(), TABLE_CHANGE::LAYOUT);
  return t;
}

BOTTOM_FORM& TABLE_REGISTRY::custom_bottom_form(const std::string& name) {
  DISPLAY_TABLE& t = display_table(name);
  if (!t.options_.custom_bottom_form) {
    throw TABLE_ERROR("The display table " + quoted(name) +
                      " was made without a custom bottom form.");
  }
  return t.form_;
}

GRID_AREA& TABLE_REGISTRY::append_grid_area(const std::string& name, const std::string& area, int x,
                                            int y, int width, int height) {
  BOTTOM_FORM& form = custom_bottom_form(name);
  if (area.empty()) throw TABLE_ERROR("A grid area needs a name.");
  if (areas_.count(area) != 0)
    throw TABLE_ERROR("A grid area named " + quoted(area) + " exists already.");
  if (x < 0 || y < 0 || width < 1 || height < 1) {
    throw TABLE_ERROR("The grid area " + quoted(area) +
                      " needs a place of at least 0 and a size of at least 1.");
  }
  form.areas.push_back({area, x, y, width, height, ""});
  areas_[area] = name;
  notify(name, TABLE_CHANGE::LAYOUT);
  return form.areas.back();
}

LOGICAL_TABLE* TABLE_REGISTRY::find_logical_table(const std::string& name) {
  auto it = logical_.find(name);
  return it == logical_.end() ? nullptr : it->second.get();
}

DISPLAY_TABLE* TABLE_REGISTRY::find_display_table(const std::string& name) {
  auto it = display_.find(name);
  return it == display_.end() ? nullptr : it->second.get();
}

LOGICAL_TABLE& TABLE_REGISTRY::logical_table(const std::string& name) {
  if (LOGICAL_TABLE* t = find_logical_table(name)) return *t;
  throw TABLE_ERROR("There is no logical table named " + quoted(name) + ".");
}

DISPLAY_TABLE& TABLE_REGISTRY::display_table(const std::string& name) {
  if (DISPLAY_TABLE* t = find_display_table(name)) return *t;
  throw TABLE_ERROR("There is no display table named " + quoted(name) + ".");
}

void TABLE_REGISTRY::delete_logical_table(const std::string& name) {
  LOGICAL_TABLE& t = logical_table(name);
  for (DISPLAY_TABLE* d : views_of(t)) {
    // A view may already have gone with the form of an earlier one.
    if (find_display_table(d->name()) == d) delete_display_table(d->name());
  }
  logical_.erase(name);
}

void TABLE_REGISTRY::delete_display_table(const std::string& name) {
  // The tables of the form's areas go first, then the table, then its place
  // in another table's area.
  std::vector<std::string> doomed{name};
  for (std::size_t i = 0; i < doomed.size(); ++i) {
    DISPLAY_TABLE& t = display_table(doomed[i]);
    for (const GRID_AREA& a : t.form_.areas) {
      if (!a.control.empty() && find_display_table(a.control) != nullptr)
        doomed.push_back(a.control);
    }
  }
  for (std::size_t i = doomed.size(); i-- > 0;) {
    auto it = display_.find(doomed[i]);
    if (it == display_.end()) continue;
    for (const GRID_AREA& a : it->second->form_.areas) areas_.erase(a.name);
    const std::string area = it->second->grid_area_;
    std::unique_ptr<DISPLAY_TABLE> gone = std::move(it->second);
    display_.erase(it);
    if (!area.empty()) {
      auto owner = areas_.find(area);
      if (owner != areas_.end()) {
        if (DISPLAY_TABLE* host = find_display_table(owner->second)) {
          for (GRID_AREA& a : host->form_.areas) {
            if (a.name == area) a.control.clear();
          }
        }
      }
    }
    notify(doomed[i], TABLE_CHANGE::DELETED);
  }
}

std::vector<std::string> TABLE_REGISTRY::logical_table_names() const {
  std::vector<std::string> out;
  for (const auto& kv : logical_) out.push_back(kv.first);
  return out;
}

std::vector<std::string> TABLE_REGISTRY::display_table_names() const {
  std::vector<std::string> out;
  for (const auto& kv : display_) out.push_back(kv.first);
  return out;
}

std::vector<DISPLAY_TABLE*> TABLE_REGISTRY::views_of(const LOGICAL_TABLE& t) {
  std::vector<DISPLAY_TABLE*> out;
  for (const auto& kv : display_) {
    if (&kv.second->logical_table() == &t) out.push_back(kv.second.get());
  }
  return out;
}

int TABLE_REGISTRY::subscribe(OBSERVER o) {
  const int id = next_observer_++;
  observers_[id] = std::move(o);
  return id;
}

void TABLE_REGISTRY::unsubscribe(int id) {
  observers_.erase(id);
}

void TABLE_REGISTRY::notify(const std::string& display_table, TABLE_CHANGE change) {
  // By id, looked up afresh each time: an observer may unsubscribe itself or
  // another one while it is called.
  std::vector<int> ids;
  for (const auto& kv : observers_) ids.push_back(kv.first);
  for (int id : ids) {
    auto it = observers_.find(id);
    if (it == observers_.end()) continue;
    const OBSERVER o = it->second;
    o(display_table, change);
  }
}

void TABLE_REGISTRY::logical_changed(const LOGICAL_TABLE& t) {
  // By name: an observer may delete tables while it hears of them.
  std::vector<std::string> names;
  for (DISPLAY_TABLE* d : views_of(t)) names.push_back(d->name());
  for (const std::string& name : names) {
    if (find_display_table(name) != nullptr) notify(name, TABLE_CHANGE::CONTENTS);
  }
}

void TABLE_REGISTRY::logical_row_removed(const LOGICAL_TABLE& t, std::size_t row) {
  for (DISPLAY_TABLE* d : views_of(t)) d->rows_removed(row);
  logical_changed(t);
}

void TABLE_REGISTRY::logical_rows_replaced(const LOGICAL_TABLE& t) {
  for (DISPLAY_TABLE* d : views_of(t)) d->rows_replaced();
  logical_changed(t);
}

TABLE_REGISTRY& table_registry() {
  static auto* registry = new TABLE_REGISTRY();
  return *registry;
}
