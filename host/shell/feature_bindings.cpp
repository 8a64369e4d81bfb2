#include "host/shell/feature_bindings.h"

#include <string>
#include <vector>

#include "host/lisp/lisp_error.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/native_function.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/lisp/values.h"
#include "host/model/model_errors.h"
#include "host/model/model_tree.h"
#include "host/model/nparcel.h"
#include "host/model/parcel_path.h"
#include "host/model/parcel_struct.h"
#include "host/model/universal_feature.h"
#include "host/shell/model_bindings.h"

namespace {

// Deeper nesting than this is no record a feature is meant for; the limit
// keeps conversion and comparison off deep recursion.
constexpr int kMaxNesting = 64;

FEATURE_VALUE to_value(LAOBJ* x, int depth) {
  if (lisp_null(x)) return FEATURE_VALUE();
  if (x == lisp_t()) return FEATURE_VALUE::t();
  if (is_integer(x)) return FEATURE_VALUE::integer(object_to_integer(x));
  if (is_number(x)) return FEATURE_VALUE::real(object_to_double(x));
  if (is_string(x)) return FEATURE_VALUE::string(object_to_string(x));
  if (is_symbol(x)) {
    const std::string package = symbol_package_name(x);
    if (package.empty()) hcl_error("an uninterned symbol cannot be kept in a feature: ~S", {x});
    return FEATURE_VALUE::symbol(package, symbol_name(x));
  }
  if (is_cons(x)) {
    if (depth >= kMaxNesting) hcl_error("a list nested too deeply for a feature: ~S", {x});
    std::vector<FEATURE_VALUE> items;
    LAOBJ* rest = x;
    // Iterative along the cdrs, so a long list costs no stack.
    while (is_cons(rest)) {
      items.push_back(to_value(lisp_car(rest), depth + 1));
      rest = lisp_cdr(rest);
    }
    if (lisp_null(rest)) return FEATURE_VALUE::list(std::move(items));
    items.push_back(to_value(rest, depth + 1));
    return FEATURE_VALUE::list(std::move(items), true);
  }
  hcl_error("only numbers, strings, symbols and lists can be kept in a feature, not ~S", {x});
}

LAOBJ* to_lisp(const FEATURE_VALUE& v) {
  switch (v.kind()) {
    case FEATURE_VALUE::KIND::NIL: return lisp_nil();
    case FEATURE_VALUE::KIND::T: return lisp_t();
    case FEATURE_VALUE::KIND::INTEGER: return make_fixnum(v.as_integer());
    case FEATURE_VALUE::KIND::REAL: return make_double(v.as_real());
    case FEATURE_VALUE::KIND::STRING: return make_string(v.text());
    case FEATURE_VALUE::KIND::SYMBOL: {
      if (v.package() == "KEYWORD") return make_keyword(v.text().c_str());
      LAOBJ* package = find_package(v.package().c_str());
      // A symbol whose package is gone comes back as a keyword of its name
      // rather than failing the whole read.
      if (lisp_null(package)) return make_keyword(v.text().c_str());
      return intern_symbol(v.text().c_str(), package, false);
    }
    case FEATURE_VALUE::KIND::LIST: {
      const auto& items = v.items();
      // Consed from the end, every new cell held by the next: no Lisp object
      // waits in C++ memory that the collector does not see.
      std::size_t n = items.size();
      LAOBJ* list = v.dotted() ? to_lisp(items[--n]) : lisp_nil();
      while (n > 0) list = make_cons(to_lisp(items[--n]), list);
      return list;
    }
  }
  return lisp_nil();
}

std::string key_name(LAOBJ* k) {
  if (!is_keyword(k)) hcl_wrong_type("KEYWORD", k);
  return symbol_name(k);
}

std::vector<std::string> key_names(LAOBJ* keys) {
  std::vector<std::string> out;
  for (LAOBJ* k : list_elements(keys)) out.push_back(key_name(k));
  return out;
}

LAOBJ* to_plist(const FEATURE_MEMORY& m) {
  LAOBJ* list = lisp_nil();
  const auto& entries = m.entries();
  for (std::size_t i = entries.size(); i-- > 0;) {
    list = make_cons(to_lisp(entries[i].second), list);
    list = make_cons(make_keyword(entries[i].first.c_str()), list);
  }
  return list;
}

// A place: a parcel or contents handle, or a list whose first element is one.
ENTITY* place_of(LAOBJ* x) {
  if (is_cons(x)) x = lisp_car(x);
  ENTITY* e = object_to_ENTITY_ptr(x, ENTITY::type);
  if (!e->is_a(NPARCEL::type) && !e->is_a(PARCEL_STRUCT::type)) {
    hcl_wrong_type("FRAME2::NPARCEL", x);
  }
  return e;
}

// A sel_item of a feature stands for its feature.
THIN_UNIVERSAL_FEATURE* feature_of(LAOBJ* x) { return object_or_item<THIN_UNIVERSAL_FEATURE>(x); }

PARCEL_PATH path_from(LAOBJ* x) {
  PARCEL_PATH path;
  for (LAOBJ* p : list_elements(x)) path.push_back(object_to_entity<NPARCEL>(p));
  return path;
}

// A sel_item, or an entity handle placed at `path`.
SEL_ITEM sel_item_from(LAOBJ* x, const PARCEL_PATH& path) {
  LISP_OUTCOME is_item = lisp_apply(hcl_find_symbol("SEL_ITEM-P", "FRAME2"), make_cons(x, lisp_nil()));
  if (is_item.ok && !lisp_null(is_item.value)) return object_to_sel_item(x);
  ENTITY* e = object_to_ENTITY_ptr(x, ENTITY::type);
  // A parcel is placed by the path to it: below `path`, or its own path.
  if (NPARCEL* p = entity_cast<NPARCEL>(e)) {
    if (path.empty()) return sel_item_of(p);
    if (path.last() != p) {
      PARCEL_PATH below = path;
      below.push_back(p);
      return make_sel_item(p, below);
    }
  }
  return make_sel_item(e, path);
}

FEATURE_POLICY policy_of(LAOBJ* option, LAOBJ* v) {
  if (v == make_keyword("DETACH")) return FEATURE_POLICY::DETACH;
  if (v == make_keyword("MAINTAIN")) return FEATURE_POLICY::MAINTAIN;
  if (v == make_keyword("COPY")) return FEATURE_POLICY::COPY;
  hcl_error("~S takes :DETACH, :MAINTAIN or :COPY, not ~S", {option, v});
}

LAOBJ* make_feature(NATIVE_CALL& c) {
  if (c.narg() < 1 || c.narg() % 2 == 0) {
    hcl_error("make-thin-universal-feature-instance takes a place and pairs of keys and values");
  }
  ENTITY* place = place_of(c.arg(0));
  FEATURE_OPTIONS options;
  FEATURE_MEMORY memory;
  for (int i = 1; i + 1 < c.narg(); i += 2) {
    LAOBJ* k = c.arg(i);
    LAOBJ* v = c.arg(i + 1);
    const std::string name = key_name(k);
    if (name == "ON-SPLIT") options.on_split = policy_of(k, v);
    else if (name == "ON-MERGE") options.on_merge = policy_of(k, v);
    else if (name == "ON-XFORM") options.on_xform = policy_of(k, v);
    else if (name == "ON-COPY") options.on_copy = policy_of(k, v);
    else if (name == "ON-SYSID-CHANGE") options.on_sysid_change = policy_of(k, v);
    else if (name == "FILING") {
      if (v == make_keyword("TV-FILE")) options.filed = true;
      else if (v == make_keyword("NONE")) options.filed = false;
      else hcl_error(":FILING takes :TV-FILE or :NONE, not ~S", {v});
    } else {
      memory.set(name, to_value(v, 0));
    }
  }
  return make_ptr(make_thin_universal_feature(place, options, std::move(memory)));
}

LAOBJ* search_features(NATIVE_CALL& c) {
  c.check_count(2, 2);
  ENTITY* place = place_of(c.arg(0));
  const std::vector<THIN_UNIVERSAL_FEATURE*> found = search_universal_feature(place, key_names(c.arg(1)));
  LAOBJ* list = lisp_nil();
  for (std::size_t i = found.size(); i-- > 0;) list = make_cons(make_ptr(found[i]), list);
  return list;
}

LAOBJ* all_features(NATIVE_CALL& c) {
  c.check_count(1, 1);
  const auto& found = features_at(place_of(c.arg(0)));
  LAOBJ* list = lisp_nil();
  for (std::size_t i = found.size(); i-- > 0;) list = make_cons(make_ptr(found[i]), list);
  return list;
}

LAOBJ* feature_contents(NATIVE_CALL& c) {
  c.check_count(2, 2);
  THIN_UNIVERSAL_FEATURE* f = feature_of(c.arg(0));
  return to_plist(universal_feature_contents(*f, key_names(c.arg(1))));
}

LAOBJ* set_feature_contents(NATIVE_CALL& c) {
  if (c.narg() < 1 || c.narg() % 2 == 0) {
    hcl_error("set-universal-feature-contents takes a feature and pairs of keys and values");
  }
  THIN_UNIVERSAL_FEATURE* f = feature_of(c.arg(0));
  FEATURE_MEMORY entries;
  for (int i = 1; i + 1 < c.narg(); i += 2) entries.set(key_name(c.arg(i)), to_value(c.arg(i + 1), 0));
  set_universal_feature_contents(*f, entries);
  return lisp_t();
}

LAOBJ* add_entities(NATIVE_CALL& c) {
  c.check_count(3, 3);
  THIN_UNIVERSAL_FEATURE* f = feature_of(c.arg(0));
  const PARCEL_PATH path = path_from(c.arg(1));
  std::vector<SEL_ITEM> items;
  for (LAOBJ* x : list_elements(c.arg(2))) items.push_back(sel_item_from(x, path));
  add_universal_feature_entities(*f, items);
  return lisp_t();
}

LAOBJ* ref_sel_items(NATIVE_CALL& c) {
  c.check_count(1, 2);
  const std::vector<SEL_ITEM> items = universal_feature_ref_sel_items(*feature_of(c.arg(0)));
  LAOBJ* list = lisp_nil();
  for (std::size_t i = items.size(); i-- > 0;) list = make_cons(make_lisp_sel_item(items[i]), list);
  return list;
}

LAOBJ* destroy_feature(NATIVE_CALL& c) {
  c.check_count(1, 1);
  destroy_universal_feature(feature_of(c.arg(0)));
  return lisp_t();
}

LAOBJ* shared_data_of(NATIVE_CALL& c) {
  c.check_count(1, 1);
  return make_ptr(inq_shared_data(object_to_entity<NPARCEL>(c.arg(0))));
}

LAOBJ* place_of_feature(NATIVE_CALL& c) {
  c.check_count(1, 1);
  return make_ptr(feature_of(c.arg(0))->place());
}

}  // namespace

void register_feature_bindings() {
  for (const ENTITY_TYPE* t : {&THIN_UNIVERSAL_FEATURE::type, &PARCEL_STRUCT::type, &PART_STRUCT::type,
                               &ASMB_STRUCT::type, &CONT_STRUCT::type}) {
    register_type_symbol(*t);
  }
  LAOBJ* frame = find_package("FRAME2");
  const std::pair<const char*, NATIVE_FUNCTION> functions[] = {
      {"MAKE-THIN-UNIVERSAL-FEATURE-INSTANCE", &make_feature},
      {"SEARCH-UNIVERSAL-FEATURE", &search_features},
      {"GET-UNIVERSAL-FEATURE-CONTENTS", &feature_contents},
      {"SET-UNIVERSAL-FEATURE-CONTENTS", &set_feature_contents},
      {"ADD-THIN-UNIVERSAL-FEATURE-ENTITIES", &add_entities},
      {"GET-THIN-UNIVERSAL-FEATURE-REF-SEL-ITEMS", &ref_sel_items},
      {"UNIVERSAL-FEATURES", &all_features},
      {"DESTROY-UNIVERSAL-FEATURE", &destroy_feature},
      {"INQ-SHARED-DATA", &shared_data_of},
      {"FEATURE-PLACE", &place_of_feature},
  };
  for (const auto& [name, fn] : functions) make_package_function(name, fn, &frame, 2);
}
