#include "app/line_editor.h"

#include <editline/readline.h>

#include <cstdlib>
#include <string>

#include "host/lisp/lisp_runtime.h"
#include "host/lisp/native_function.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"

namespace {

// (k2::%edited-read-line prompt): the next line without its line end, or
// NIL at the end of input (Ctrl-D). Non-empty lines join the history.
LAOBJ* edited_read_line(NATIVE_CALL& c) {
  c.check_count(1, 1);
  const std::string prompt = object_to_string(c.arg(0));
  char* raw = readline(prompt.c_str());
  if (raw == nullptr) return lisp_nil();
  std::string line(raw);
  std::free(raw);
  if (line.find_first_not_of(" \t") != std::string::npos) add_history(line.c_str());
  return make_string(line);
}

}  // namespace

void install_line_editor() {
  LAOBJ* k2 = find_package("K2");
  LAOBJ* reader = make_package_function("%EDITED-READ-LINE", &edited_read_line, &k2, 1);
  LISP_OUTCOME o = lisp_apply(hcl_find_symbol("SET", "COMMON-LISP"),
                              make_list({hcl_find_symbol("*LINE-READER*", "K2"), reader}));
  (void)o;  // without the variable the loop reads plain lines, which still works
}
