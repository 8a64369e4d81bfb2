#include "host/shell/step_bindings.h"

#include <filesystem>
#include <string>

#include "host/exchange/step_model.h"
#include "host/lisp/lisp_error.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/native_function.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/lisp/values.h"
#include "host/model/nparcel.h"
#include "host/model/sel_item.h"
#include "host/shell/model_bindings.h"
#include "host/shell/step_placement.h"

namespace {

// A parcel handle, or the parcel of a sel_item; NIL for none.
NPARCEL* parent_of(LAOBJ* x) { return lisp_null(x) ? nullptr : object_or_item<NPARCEL>(x); }

LAOBJ* load_step_file(NATIVE_CALL& c) {
  if (c.narg() < 1) c.check_count(1, 3);
  c.parse_keys(1, {make_keyword("PARENT")});
  const std::string path = object_to_string(c.arg(0));
  NPARCEL* parent = parent_of(c.key(make_keyword("PARENT"), lisp_nil()));
  STEP_MODEL model = read_step_model(path);
  NPARCEL* top = place_step_model(model, parent, std::filesystem::path(path).stem().string());
  return make_lisp_sel_item(sel_item_of(top));
}

}  // namespace

void register_step_bindings() {
  LAOBJ* frame = find_package("FRAME2");
  make_package_function("LOAD-STEP-FILE", &load_step_file, &frame, 2);
}
