#include "app/terminal_tables.h"

#include <string>

#include "host/shell/table_bindings.h"
#include "host/ui/output_box.h"
#include "host/ui/table_registry.h"
#include "host/ui/table_text.h"

void attach_terminal_tables() {
  static bool attached = false;
  if (attached) return;
  attached = true;
  table_registry().subscribe([](const std::string& name, TABLE_CHANGE change) {
    if (change != TABLE_CHANGE::SHOWN) return;
    const DISPLAY_TABLE* t = table_registry().find_display_table(name);
    if (t == nullptr) return;
    // A long table shows its head; the rest is one call away.
    for (const std::string& line :
         display_table_text(*t, &table_registry(), 40, user_length_unit())) {
      output_box().display(line);
    }
  });
}
