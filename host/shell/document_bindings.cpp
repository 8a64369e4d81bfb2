#include "host/shell/document_bindings.h"
#include "host/shell/model_bindings.h"

#include <string>

#include "host/document/customization.h"
#include "host/document/graphics_db.h"
#include "host/document/graphics_file.h"
#include "host/document/persistent_data.h"
#include "host/document/user_folders.h"
#include "host/lisp/lisp_error.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/native_function.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/lisp/values.h"
#include "host/model/model_errors.h"
#include "host/model/nparcel.h"
#include "host/model/part_graphics.h"
#include "host/model/sel_item.h"
#include "host/ui/output_box.h"

namespace {

// A string argument, or the name of a symbol (keys may be either).
std::string text_of(LAOBJ* x) {
  if (is_string(x)) return object_to_string(x);
  if (is_symbol(x) && !lisp_null(x)) return symbol_name(x);
  hcl_wrong_type("STRING", x);
}

PERSISTENT_KEY persistent_key(NATIVE_CALL& c) {
  for (int i = 0; i < 3; ++i) {
    if (!is_string(c.arg(i))) hcl_wrong_type("STRING", c.arg(i));
  }
  return {object_to_string(c.arg(0)), object_to_string(c.arg(1)), object_to_string(c.arg(2))};
}

// (%persistent-data-get application key subkey) -> text or NIL; the three
// are the printed forms the Lisp side made of the user's keys.
LAOBJ* persistent_get(NATIVE_CALL& c) {
  c.check_count(3, 3);
  const PERSISTENT_KEY key = persistent_key(c);
  std::optional<std::string> text = PERSISTENT_STORE::user_store().get(key);
  return text ? make_string(*text) : lisp_nil();
}

LAOBJ* persistent_set(NATIVE_CALL& c) {
  c.check_count(4, 4);
  const PERSISTENT_KEY key = persistent_key(c);
  if (!is_string(c.arg(3))) hcl_wrong_type("STRING", c.arg(3));
  PERSISTENT_STORE::user_store().set(key, object_to_string(c.arg(3)));
  return lisp_t();
}

LAOBJ* persistent_remove(NATIVE_CALL& c) {
  c.check_count(3, 3);
  const PERSISTENT_KEY key = persistent_key(c);
  return make_bool(PERSISTENT_STORE::user_store().remove(key));
}

LAOBJ* persistent_file(NATIVE_CALL& c) {
  c.check_count(0, 0);
  return make_string(PERSISTENT_STORE::user_store().path());
}

LAOBJ* user_folder(NATIVE_CALL& c) {
  c.check_count(0, 0);
  return make_string(host_user_folder() + "/");
}

// (%customization-files file application which order) -> ((level . path) ...)
LAOBJ* customization_file_list(NATIVE_CALL& c) {
  c.check_count(4, 4);
  const std::string file = object_to_string(c.arg(0));
  const std::string application = lisp_null(c.arg(1)) ? std::string() : text_of(c.arg(1));
  LAOBJ* which_key = c.arg(2);
  CUSTOMIZATION_WHICH which;
  if (which_key == make_keyword("ALL")) {
    which = CUSTOMIZATION_WHICH::all;
  } else if (which_key == make_keyword("CORPORATE") || which_key == make_keyword("CORP")) {
    which = CUSTOMIZATION_WHICH::corporate;
  } else if (which_key == make_keyword("SITE")) {
    which = CUSTOMIZATION_WHICH::site;
  } else if (which_key == make_keyword("USER")) {
    which = CUSTOMIZATION_WHICH::user;
  } else {
    hcl_error("~S is no level of customization: :WHICH takes :ALL, :CORP, :SITE or :USER.", {which_key});
  }
  LAOBJ* order_key = c.arg(3);
  CUSTOMIZATION_ORDER order;
  if (order_key == make_keyword("TV-CORP-SITE-USER")) {
    order = CUSTOMIZATION_ORDER::corp_site_user;
  } else if (order_key == make_keyword("TV-USER-SITE-CORP")) {
    order = CUSTOMIZATION_ORDER::user_site_corp;
  } else {
    hcl_error("~S is no order of customization: :ORDER takes :TV-CORP-SITE-USER or :TV-USER-SITE-CORP.",
              {order_key});
  }
  std::vector<LAOBJ*> out;
  for (const CUSTOMIZATION_FILE& f : customization_files(file, application, which, order)) {
    const char* level = f.level == CUSTOMIZATION_LEVEL::corporate ? "CORP"
                        : f.level == CUSTOMIZATION_LEVEL::site    ? "SITE"
                                                                  : "USER";
    out.push_back(make_cons(make_keyword(level), make_string(f.path)));
  }
  return make_list(out);
}

LAOBJ* temporary_directory(NATIVE_CALL& c) {
  c.check_count(0, 0);
  return make_string(host_temporary_folder() + "/");
}

// (inquire-unique-filename [folder] &key extension)
LAOBJ* unique_filename(NATIVE_CALL& c) {
  const bool has_folder = c.narg() > 0 && !is_keyword(c.arg(0));
  c.parse_keys(has_folder ? 1 : 0, {make_keyword("EXTENSION")});
  std::string folder;
  if (has_folder && !lisp_null(c.arg(0))) folder = object_to_string(c.arg(0));
  LAOBJ* ext = c.key(make_keyword("EXTENSION"), lisp_nil());
  const std::string extension = lisp_null(ext) ? std::string() : object_to_string(ext);
  return make_string(inquire_unique_filename(folder, extension));
}

LAOBJ* db_initialize(NATIVE_CALL& c) {
  c.check_count(1, 1);
  xdbik_initialize(object_to_string(c.arg(0)));
  return lisp_t();
}

LAOBJ* db_finalize(NATIVE_CALL& c) {
  c.check_count(0, 0);
  return make_bool(xdbik_finalize());
}

LAOBJ* open_dummy(NATIVE_CALL& c) {
  c.check_count(1, 1);
  tv_db_open_dummy_file(object_to_string(c.arg(0)));
  return lisp_t();
}

LAOBJ* generate_dummy(NATIVE_CALL& c) {
  c.check_count(4, 4);
  const long long sysid = object_to_integer(c.arg(0));
  if (sysid < 0) hcl_wrong_type("UNSIGNED-BYTE", c.arg(0));
  DUMMY_ENTRY e{static_cast<std::uint64_t>(sysid), text_of(c.arg(1)), object_to_string(c.arg(2)),
                lisp_null(c.arg(3)) ? std::string() : lisp_princ(c.arg(3))};
  tv_db_generate_dummy(e);
  return lisp_t();
}

LAOBJ* close_dummy(NATIVE_CALL& c) {
  c.check_count(0, 0);
  tv_db_close_dummy_file();
  return lisp_t();
}

// The parcel of a sel_item or a parcel handle.
NPARCEL* parcel_of(LAOBJ* x) { return object_or_item<NPARCEL>(x); }

// T when the graphics were stored; NIL, with the reason in the output box,
// when the part has nothing to draw or the file can't be written: the
// caller keeps the full part then.
LAOBJ* store_graphics(NATIVE_CALL& c) {
  c.check_count(2, 2);
  NPARCEL* part = parcel_of(c.arg(0));
  const std::string path = object_to_string(c.arg(1));
  if (!xdbik_initialized()) {
    throw GRAPHICS_DB_ERROR("Storing graphics needs the graphics database interface: call xdbik-initialize first.");
  }
  if (part->kind() != PARCEL_KIND::part) model_throw(MODEL_ERROR::NOT_A_PART);
  std::string problem;
  try {
    if (store_part_graphics(part, path) > 0) return lisp_t();
    problem = "the part '" + part->name() + "' has nothing to draw";
  } catch (const TV_EXCEPTION& e) {
    problem = e.info() != nullptr ? e.info()->message() : std::string(e.what());
  } catch (const std::exception& e) {
    problem = e.what();
  }
  output_box().display_error("The graphics of '" + part->name() + "' were not stored: " + problem);
  return lisp_nil();
}

LAOBJ* join_lightweight(NATIVE_CALL& c) {
  c.check_count(3, 3);
  join_lightweight_file(object_to_string(c.arg(0)), object_to_string(c.arg(1)), object_to_string(c.arg(2)));
  return lisp_t();
}

// (%load-graphics-file path) -> the list of new top objects: one part.
LAOBJ* load_graphics(NATIVE_CALL& c) {
  c.check_count(1, 1);
  return make_list({make_ptr(load_graphics_file(object_to_string(c.arg(0))))});
}

LAOBJ* graphics_only_p(NATIVE_CALL& c) {
  c.check_count(1, 1);
  return make_bool(is_graphics_only_part(parcel_of(c.arg(0))));
}

LAOBJ* rgb(const RGB_COLOR& color) {
  return make_list({make_double(color.r), make_double(color.g), make_double(color.b)});
}

// (tv-inq-part-graphics part) -> (:triangles n :patches n :box (lower upper)
// :color (r g b) :transparency t :face-colors ((r g b) ...) :graphics-only b);
// a nil box is NIL, no colour or transparency NIL.
LAOBJ* part_graphics_of(NATIVE_CALL& c) {
  c.check_count(1, 1);
  NPARCEL* part = parcel_of(c.arg(0));
  const PART_GRAPHICS g = part_graphics(part);
  const BOX3 box = g.box();
  std::vector<LAOBJ*> face_colors;
  for (const GRAPHICS_PATCH& p : g.patches) {
    if (p.color) face_colors.push_back(rgb(*p.color));
  }
  return make_list({make_keyword("TRIANGLES"), make_fixnum(static_cast<long long>(g.triangle_count())),
                    make_keyword("PATCHES"), make_fixnum(static_cast<long long>(g.patches.size())),
                    make_keyword("BOX"),
                    box.is_nil() ? lisp_nil() : make_list({make_gpnt3d(box.lower()), make_gpnt3d(box.upper())}),
                    make_keyword("COLOR"), g.color ? rgb(*g.color) : lisp_nil(),
                    make_keyword("TRANSPARENCY"), g.transparency ? make_double(*g.transparency) : lisp_nil(),
                    make_keyword("FACE-COLORS"), make_list(face_colors),
                    make_keyword("GRAPHICS-ONLY"), make_bool(is_graphics_only_part(part))});
}

}  // namespace

void register_document_bindings() {
  LAOBJ* frame = find_package("FRAME2");
  const std::pair<const char*, NATIVE_FUNCTION> exported[] = {
      {"INQUIRE-TEMPORARY-DIRECTORY", &temporary_directory},
      {"INQUIRE-UNIQUE-FILENAME", &unique_filename},
      {"XDBIK-INITIALIZE", &db_initialize},
      {"XDBIK-FINALIZE", &db_finalize},
      {"TV-DB-OPEN-DUMMY-FILE", &open_dummy},
      {"TV-DB-GENERATE-DUMMY", &generate_dummy},
      {"TV-DB-CLOSE-DUMMY-FILE", &close_dummy},
      {"TV-DB-STORE-GRAPHICS", &store_graphics},
      {"TV-DB-JOIN-LIGHTWEIGHT-FILE", &join_lightweight},
      {"TV-GRAPHICS-ONLY-PART-P", &graphics_only_p},
      {"TV-INQ-PART-GRAPHICS", &part_graphics_of},
      {"TV-INQ-USER-FOLDER", &user_folder},
  };
  for (const auto& [name, fn] : exported) make_package_function(name, fn, &frame, 2);
  const std::pair<const char*, NATIVE_FUNCTION> internal[] = {
      {"%PERSISTENT-DATA-GET", &persistent_get},
      {"%PERSISTENT-DATA-SET", &persistent_set},
      {"%PERSISTENT-DATA-REMOVE", &persistent_remove},
      {"%PERSISTENT-DATA-FILE", &persistent_file},
      {"%CUSTOMIZATION-FILES", &customization_file_list},
      {"%LOAD-GRAPHICS-FILE", &load_graphics},
  };
  for (const auto& [name, fn] : internal) make_package_function(name, fn, &frame, 1);
  LISP_OUTCOME o = lisp_eval_string("(defparameter *xdbik-access-string* \"" + std::string(xdbik_access_string()) +
                                        "\") (export '*xdbik-access-string*)",
                                    "FRAME2");
  if (!o.ok) throw std::runtime_error("the graphics database interface did not start: " + o.error);
}
