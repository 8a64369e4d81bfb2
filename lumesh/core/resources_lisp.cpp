// REGISTER-MODULE-RESOURCE and GET-RESOURCE, and the keywords of the errors
// that native code names by number.

#include "host/base/utf8.h"
#include "host/lisp/lisp_error.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/native_function.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "lumesh/core/load_module.h"
#include "lumesh/core/module_entry.h"
#include "lumesh/core/module_resources.h"

namespace {

LAOBJ* register_module_resource(NATIVE_CALL& call) {
  if (call.narg() % 2 != 0) {
    hcl_error("Even number of arguments required! Found ~A", {make_fixnum(call.narg())});
  }
  // Checked first, entered after: a bad pair leaves the table as it was.
  for (int i = 0; i < call.narg(); i += 2) {
    check_type_keyword(call.arg(i));
    if (!is_string(call.arg(i + 1))) hcl_wrong_type("STRING", call.arg(i + 1));
  }
  MODULE_RESOURCES& r = MODULE_RESOURCES::instance();
  for (int i = 0; i < call.narg(); i += 2) {
    r.add_resource(call.arg(i), object_to_wstring(call.arg(i + 1)).c_str());
  }
  return lisp_t();
}

LAOBJ* get_resource(NATIVE_CALL& call) {
  call.check_count(1, 1);
  LAOBJ* key = call.arg(0);
  check_type_keyword(key);
  const MODULE_RESOURCES& r = MODULE_RESOURCES::instance();
  // A key without text shows its own name: untranslated keys stay visible.
  if (!r.has_text(key)) return make_string(symbol_name(key));
  return make_simple_string(r[key].c_str());
}

MOD_INFO* unknown_error() { return sModule.get_error_info(MSK_UNKNOWN_ERROR); }

}  // namespace

void resources_initialize() {
  LAOBJ* package = sModule.get_main_package();
  make_package_function("REGISTER-MODULE-RESOURCE", &register_module_resource, &package, 1,
                        &unknown_error);
  make_package_function("GET-RESOURCE", &get_resource, &package, 1, &unknown_error);
  resmap_initialize();
}

void resmap_initialize() {
  MODULE_RESOURCES& r = MODULE_RESOURCES::instance();
  r.map_id_to_resource(MSG_CANCELLED, L"MSG-CANCELLED");
  r.map_id_to_resource(MSG_FACE_NOT_FACET, L"MSG-FACE-NOT-FACET");
  r.map_id_to_resource(MSK_UNKNOWN_ERROR, L"MSK-UNKNOWN-ERROR");
  r.map_id_to_resource(MSG_CANNOT_OPEN_FILE, L"MSG-CANNOT-OPEN-FILE");
  r.map_id_to_resource(MSG_FILE_UNKNOWN_FORMAT, L"MSG-FILE_UNKNOWN-FORMAT");
  r.map_id_to_resource(MSG_FACE_MESH_BOUNDARY_INCOMPLETE, L"MSG-FACE-MESH-BOUNDARY-INCOMPLETE");
  r.map_id_to_resource(MSG_FACE_MESH_GENERATION_UNKNOWN_ERROR,
                       L"MSG-FACE-MESH-GENERATION-UNKNOWN-ERROR");
  r.map_id_to_resource(MSG_NO_MESH_DATA, L"MSG-NO-MESH-DATA");
  r.map_id_to_resource(MSG_NO_FACES_BUILT, L"MSG-NO-FACES-BUILT");
}
