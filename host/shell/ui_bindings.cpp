#include "host/shell/ui_bindings.h"

#include <map>
#include <memory>

#include "host/lisp/lisp_error.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/native_function.h"
#include "host/lisp/objects.h"
#include "host/lisp/values.h"
#include "host/lisp/packages.h"
#include "host/ui/output_box.h"
#include "host/ui/progress.h"

namespace {

// Live progress indicators by id; a bar leaves the table when finalized.
std::map<long long, std::unique_ptr<PROGRESS>>& bars() {
  static auto* table = new std::map<long long, std::unique_ptr<PROGRESS>>();
  return *table;
}
long long g_next_bar = 1;

LAOBJ* frame2(const char* name) { return hcl_find_symbol(name, "FRAME2"); }

LAOBJ* display(NATIVE_CALL& call) {
  call.check_count(1, 1);
  LAOBJ* x = call.arg(0);
  if (x == make_keyword("SHOW")) {
    output_box().show();
  } else {
    output_box().display(is_string(x) ? object_to_string(x) : lisp_princ(x));
  }
  return lisp_t();
}

LAOBJ* display_error(NATIVE_CALL& call) {
  call.check_count(1, 1);
  LAOBJ* x = call.arg(0);
  output_box().display_error(is_string(x) ? object_to_string(x) : lisp_princ(x));
  return lisp_t();
}

LAOBJ* create_progress_bar(NATIVE_CALL& call) {
  call.parse_keys(0, {make_keyword("TITLE")});
  LAOBJ* title = call.key(make_keyword("TITLE"), make_string(""));
  const std::string text = is_string(title) ? object_to_string(title) : lisp_princ(title);
  const long long id = g_next_bar++;
  bars()[id] = std::make_unique<PROGRESS>(text);
  LISP_OUTCOME o = lisp_apply(frame2("%MAKE-PROGRESS"), make_list({make_fixnum(id), make_string(text)}));
  if (!o.ok) hcl_error(o.error.c_str());
  return o.value;
}

LAOBJ* set_max_progress_ticks(NATIVE_CALL& call) {
  call.check_count(2, 2);
  if (PROGRESS* p = object_to_PROGRESS(call.arg(0))) p->set_max_ticks(static_cast<long>(object_to_integer(call.arg(1))));
  return lisp_t();
}

LAOBJ* add_progress_ticks(NATIVE_CALL& call) {
  call.check_count(1, 2);
  const long n = call.narg() > 1 ? static_cast<long>(object_to_integer(call.arg(1))) : 1;
  if (PROGRESS* p = object_to_PROGRESS(call.arg(0))) p->add_ticks(n);
  return lisp_t();
}

LAOBJ* finalize_progress_bar(NATIVE_CALL& call) {
  call.check_count(1, 1);
  if (object_to_PROGRESS(call.arg(0)) == nullptr) return lisp_nil();
  LISP_OUTCOME o = lisp_apply(frame2("PROGRESS-ID"), make_list({call.arg(0)}));
  auto it = bars().find(object_to_integer(o.value));
  it->second->finalize();
  bars().erase(it);
  return lisp_t();
}

}  // namespace

PROGRESS* object_to_PROGRESS(LAOBJ* x) {
  if (lisp_null(x)) return nullptr;
  LISP_OUTCOME is = lisp_apply(frame2("PROGRESS-P"), make_list({x}));
  if (!is.ok || lisp_null(is.value)) hcl_wrong_type("FRAME2:PROGRESS", x);
  LISP_OUTCOME id = lisp_apply(frame2("PROGRESS-ID"), make_list({x}));
  auto it = bars().find(object_to_integer(id.value));
  if (it == bars().end()) hcl_error("The progress bar ~S was finalized.", {x});
  return it->second.get();
}

void register_ui_bindings() {
  LAOBJ* frame = find_package("FRAME2");
  make_package_function("DISPLAY", &display, &frame, 2);
  make_package_function("TV-DISPLAY-ERROR", &display_error, &frame, 2);
  make_package_function("CREATE-PROGRESS-BAR", &create_progress_bar, &frame, 2);
  make_package_function("SET-MAX-PROGRESS-TICKS", &set_max_progress_ticks, &frame, 2);
  make_package_function("ADD-PROGRESS-TICKS", &add_progress_ticks, &frame, 2);
  make_package_function("FINALIZE-PROGRESS-BAR", &finalize_progress_bar, &frame, 2);
  register_non_entity_kind("PROGRESS", [](LAOBJ* x) -> void* { return object_to_PROGRESS(x); });
}
