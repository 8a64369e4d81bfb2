#pragma once
// TABLE_REGISTRY: the logical and display tables of the session, by name, and
// the observers that front ends attach to them. Tables live until deleted;
// deleting a logical table deletes the display tables on it. The registry
// knows no front end: it tells its observers which display table changed and
// how, and they read the table.

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/ui/display_table.h"
#include "host/ui/logical_table.h"

enum class TABLE_CHANGE {
  CREATED,    // a display table was made
  CONTENTS,   // its logical table's rows or cells changed
  LAYOUT,     // title, sort, filters, form
  SELECTION,  // the selected row
  SHOWN,
  HIDDEN,
  DELETED,  // the table is gone when the observer hears of it
};

class TABLE_REGISTRY {
 public:
  using OBSERVER = std::function<void(const std::string& display_table, TABLE_CHANGE change)>;

  TABLE_REGISTRY() = default;
  TABLE_REGISTRY(const TABLE_REGISTRY&) = delete;
  TABLE_REGISTRY& operator=(const TABLE_REGISTRY&) = delete;

  // Refused with TABLE_ERROR: an empty or taken name, no columns, an empty
  // or repeated column key.
  LOGICAL_TABLE& create_logical_table(const std::string& name, std::vector<TABLE_COLUMN> columns);
  // Refused: a taken name, an unknown logical table, a shown column that the
  // logical table lacks.
  DISPLAY_TABLE& create_display_table(const std::string& name, const std::string& logical_table,
                                      DISPLAY_TABLE_OPTIONS options);
  // A display table placed in the grid area `area` of another table's form;
  // refused as create_display_table, and for an unknown area or one that
  // holds a table already.
  DISPLAY_TABLE& create_display_table_control(const std::string& area, const std::string& name,
                                              const std::string& logical_table,
                                              DISPLAY_TABLE_OPTIONS options);
  // Sets the form of a table made with a custom bottom form (refused for
  // another) and returns it; areas stay.
  BOTTOM_FORM& custom_bottom_form(const std::string& display_table);
  // Adds a grid area to a table's form. Area names are unique in the
  // registry. Refused: no form, a taken name, a negative place, a size below 1.
  GRID_AREA& append_grid_area(const std::string& display_table, const std::string& area, int x,
                              int y, int width, int height);

  // Null when absent.
  LOGICAL_TABLE* find_logical_table(const std::string& name);
  DISPLAY_TABLE* find_display_table(const std::string& name);
  // TABLE_ERROR when absent.
  LOGICAL_TABLE& logical_table(const std::string& name);
  DISPLAY_TABLE& display_table(const std::string& name);

  // Deletes the table; a logical table takes its display tables with it, a
  // display table the tables in its form's areas. Refused when absent.
  void delete_logical_table(const std::string& name);
  void delete_display_table(const std::string& name);

  std::vector<std::string> logical_table_names() const;
  std::vector<std::string> display_table_names() const;
  // The display tables on a logical table, by name.
  std::vector<DISPLAY_TABLE*> views_of(const LOGICAL_TABLE& t);

  // Returns an id for unsubscribe. Observers are called in the order they
  // subscribed; one may unsubscribe itself while being called.
  int subscribe(OBSERVER o);
  void unsubscribe(int id);

 private:
  friend class LOGICAL_TABLE;
  friend class DISPLAY_TABLE;
  void notify(const std::string& display_table, TABLE_CHANGE change);
  void logical_changed(const LOGICAL_TABLE& t);
  void logical_row_removed(const LOGICAL_TABLE& t, std::size_t row);
  void logical_rows_replaced(const LOGICAL_TABLE& t);

  std::map<std::string, std::unique_ptr<LOGICAL_TABLE>> logical_;
  std::map<std::string, std::unique_ptr<DISPLAY_TABLE>> display_;
  std::map<std::string, std::string> areas_;  // grid area -> the display table whose form has it
  std::map<int, OBSERVER> observers_;
  int next_observer_ = 1;
};

// The registry of the session.
TABLE_REGISTRY& table_registry();
