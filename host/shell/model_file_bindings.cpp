#include "host/shell/model_file_bindings.h"

#include <string>
#include <vector>

#include "host/document/file_loaders.h"
#include "host/document/model_file.h"
#include "host/document/parcel_copy.h"
#include "host/lisp/lisp_error.h"
#include "host/lisp/native_function.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/lisp/values.h"
#include "host/model/nparcel.h"
#include "host/shell/model_bindings.h"

namespace {

// Arguments are read and checked first (their errors are raised before any
// C++ object of the operation lives); the operation's own exceptions reach
// the border of native_function.cpp, which raises them after this frame ends.

LAOBJ* save_model(NATIVE_CALL& c) {
  c.check_count(1, 1);
  const std::string path = object_to_string(c.arg(0));
  save_model_file(path);
  return make_string(path);
}

LAOBJ* load_tv(NATIVE_CALL& c) {
  if (c.narg() < 1) c.check_count(1, 3);
  c.parse_keys(1, {make_keyword("LOAD-MODE")});
  const std::string path = object_to_string(c.arg(0));
  LAOBJ* mode = c.key(make_keyword("LOAD-MODE"), make_keyword("LOAD-ALL-AS-NEW"));
  if (mode != make_keyword("LOAD-ALL-AS-NEW")) {
    hcl_error("LOAD-TV: unknown :LOAD-MODE ~S (known: :LOAD-ALL-AS-NEW)", {mode});
  }
  const std::vector<NPARCEL*> tops = load_file(path, LOAD_MODE::ALL_AS_NEW);
  std::vector<LAOBJ*> out;
  out.reserve(tops.size());
  for (NPARCEL* p : tops) out.push_back(make_ptr(p));
  return make_list(out);
}

// (copy-parcel obj): a deep copy of a parcel (or of a sel_item's parcel),
// outside the tree; the caller places it.
LAOBJ* copy_parcel_of(NATIVE_CALL& c) {
  c.check_count(1, 1);
  NPARCEL* p = object_or_item<NPARCEL>(c.arg(0));
  return make_ptr(copy_parcel(p));
}

}  // namespace

void register_model_file_bindings() {
  LAOBJ* frame = find_package("FRAME2");
  make_package_function("SAVE-MODEL", &save_model, &frame, 2);
  make_package_function("LOAD-TV", &load_tv, &frame, 2);
  make_package_function("COPY-PARCEL", &copy_parcel_of, &frame, 2);
}
