#include "host/shell/model_bindings.h"

#include "host/kernel/topology/body.h"
#include "host/lisp/lisp_error.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/native_function.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/lisp/values.h"
#include "host/model/model_checkpoint.h"
#include "host/model/model_tree.h"
#include "host/model/nparcel.h"
#include "host/model/parcel_names.h"
#include "host/model/parcel_path.h"
#include "host/model/part_data.h"
#include "host/model/sel_item.h"
#include "host/model/universal_feature.h"
#include "host/ui/viewport.h"

namespace {

// A failed model operation is a module error with the model's text.
void check(MOD_INFO* status) {
  if (status != nullptr) throw TV_EXCEPTION(status);
}

std::string optional_name(NATIVE_CALL& call, int i) {
  return call.narg() > i && !lisp_null(call.arg(i)) ? object_to_string(call.arg(i)) : std::string();
}

NPARCEL* parcel(LAOBJ* x) { return object_to_entity<NPARCEL>(x); }

LAOBJ* keyword_of(SEL_TYPE t) {
  switch (t) {
    case s_part: return make_keyword("PART");
    case s_assembly: return make_keyword("ASSEMBLY");
    case s_container: return make_keyword("CONTAINER");
    case s_face: return make_keyword("FACE");
    case s_feature: return make_keyword("FEATURE");
  }
  return lisp_nil();
}

LAOBJ* create_part(NATIVE_CALL& c) { c.check_count(0, 1); return make_ptr(create_npart3(optional_name(c, 0))); }
LAOBJ* create_assembly(NATIVE_CALL& c) { c.check_count(0, 1); return make_ptr(create_nasmb3(optional_name(c, 0))); }
LAOBJ* create_container(NATIVE_CALL& c) { c.check_count(0, 1); return make_ptr(create_cont(optional_name(c, 0))); }

LAOBJ* create_instance_of(NATIVE_CALL& c) {
  c.check_count(1, 2);
  return make_ptr(create_instance(parcel(c.arg(0)), optional_name(c, 1)));
}

LAOBJ* insert_child_of(NATIVE_CALL& c) {
  c.check_count(2, 2);
  check(insert_child(parcel(c.arg(0)), parcel(c.arg(1))));
  return lisp_t();
}

LAOBJ* insert_in_graph_of(NATIVE_CALL& c) {
  c.check_count(1, 1);
  check(insert_in_graph(parcel(c.arg(0))));
  return lisp_t();
}

LAOBJ* destroy_parcel_of(NATIVE_CALL& c) {
  c.check_count(1, 1);
  check(destroy_parcel(parcel(c.arg(0))));
  return lisp_t();
}

LAOBJ* set_tm_of(NATIVE_CALL& c) {
  c.check_count(2, 2);
  check(set_tm(parcel(c.arg(0)), object_to_transf(c.arg(1))));
  return lisp_t();
}

LAOBJ* inq_tm_of(NATIVE_CALL& c) {
  c.check_count(1, 1);
  return make_transf(inq_tm(parcel(c.arg(0))));
}

// A feature handle, or null for any other object.
THIN_UNIVERSAL_FEATURE* as_feature(LAOBJ* x) {
  if (!is_cons(x) && !lisp_null(x)) {
    // Only a handle can be a feature; the parcel path below reports the rest.
    try {
      return entity_cast<THIN_UNIVERSAL_FEATURE>(object_to_ENTITY_ptr(x, ENTITY::type));
    } catch (const LISP_ERROR&) {
      return nullptr;
    }
  }
  return nullptr;
}

LAOBJ* assign_name_of(NATIVE_CALL& c) {
  c.check_count(2, 2);
  // A feature's name makes it a node of the structure tree; no name hides it.
  if (THIN_UNIVERSAL_FEATURE* f = as_feature(c.arg(0))) {
    set_universal_feature_name(*f, lisp_null(c.arg(1)) ? std::string() : object_to_string(c.arg(1)));
    return make_string(f->name());
  }
  NPARCEL* p = parcel(c.arg(0));
  check(assign_name(p, object_to_string(c.arg(1))));
  return make_string(inquire_name(p));
}

LAOBJ* inquire_name_of(NATIVE_CALL& c) {
  c.check_count(1, 1);
  if (THIN_UNIVERSAL_FEATURE* f = as_feature(c.arg(0))) return make_string(f->name());
  return make_string(inquire_name(parcel(c.arg(0))));
}

LAOBJ* add_body(NATIVE_CALL& c) {
  c.check_count(2, 2);
  check(add_body_to_part(parcel(c.arg(0)), object_to_entity<BODY>(c.arg(1))));
  return lisp_t();
}

LAOBJ* part_body(NATIVE_CALL& c) {
  c.check_count(1, 1);
  return make_ptr(get_part_body(parcel(c.arg(0))));
}

LAOBJ* part_color(NATIVE_CALL& c) {
  c.check_count(4, 4);
  check(set_part_color(parcel(c.arg(0)), object_to_double(c.arg(1)), object_to_double(c.arg(2)),
                       object_to_double(c.arg(3))));
  return lisp_t();
}

LAOBJ* part_transparency(NATIVE_CALL& c) {
  c.check_count(2, 2);
  check(set_part_transparency(parcel(c.arg(0)), object_to_double(c.arg(1))));
  return lisp_t();
}

LAOBJ* root(NATIVE_CALL& c) {
  c.check_count(0, 0);
  return make_ptr(root_parcel());
}

LAOBJ* root_sel_item(NATIVE_CALL& c) {
  c.check_count(0, 0);
  return make_lisp_sel_item(sel_item_of(root_parcel()));
}

LAOBJ* obj_children(NATIVE_CALL& c) {
  c.check_count(1, 1);
  std::vector<LAOBJ*> out;
  for (NPARCEL* child : children(parcel(c.arg(0)))) out.push_back(make_ptr(child));
  return make_list(out);
}

LAOBJ* parent_obj(NATIVE_CALL& c) {
  c.check_count(1, 1);
  return make_ptr(inq_parent(parcel(c.arg(0))));
}

LAOBJ* pathname_obj(NATIVE_CALL& c) {
  c.check_count(1, 1);
  return make_ptr(pathname_to_obj(object_to_string(c.arg(0))));
}

LAOBJ* obj_pathname(NATIVE_CALL& c) {
  c.check_count(1, 1);
  return make_string(inq_obj_pathname(parcel(c.arg(0))));
}

LAOBJ* obj_basename(NATIVE_CALL& c) {
  c.check_count(1, 1);
  return make_string(inq_obj_basename(parcel(c.arg(0))));
}

LAOBJ* obj_xform(NATIVE_CALL& c) {
  c.check_count(1, 1);
  return make_transf(path_of(parcel(c.arg(0))).tm());
}

// Sysids are below 2^62 in practice (a slot and its reuse count), so they
// stay fixnums; larger ones become Lisp integers all the same.
LAOBJ* obj_sysid(NATIVE_CALL& c) {
  c.check_count(1, 1);
  return make_fixnum(static_cast<long long>(parcel(c.arg(0))->sysid()));
}

LAOBJ* obj_contents_sysid(NATIVE_CALL& c) {
  c.check_count(1, 1);
  return make_fixnum(static_cast<long long>(inq_shared_data(parcel(c.arg(0)))->sysid()));
}

LAOBJ* set_checkpoint(NATIVE_CALL& c) {
  c.check_count(0, 0);
  return make_fixnum(tv_set_model_checkpoint());
}

LAOBJ* return_to_checkpoint(NATIVE_CALL& c) {
  c.check_count(1, 1);
  return make_bool(tv_return_to_model_checkpoint(static_cast<int>(object_to_integer(c.arg(0)))));
}

// (get_rgb_color part): the colour a part draws in, as (r g b): its own, or
// the viewports' default.
LAOBJ* rgb_color_of(NATIVE_CALL& c) {
  c.check_count(1, 1);
  NPARCEL* p = object_or_item<NPARCEL>(c.arg(0));
  if (p->kind() != PARCEL_KIND::part) hcl_error("~S is no part.", {c.arg(0)});
  RGB_COLOR color = kDefaultPartColor;
  get_part_color(p, color);
  return make_list({make_double(color.r), make_double(color.g), make_double(color.b)});
}

// (tv-inq-part-geo-resolution part): the linear resolution of the part's
// body (the precision it was made at); NIL without a body.
LAOBJ* part_geo_resolution(NATIVE_CALL& c) {
  c.check_count(1, 1);
  NPARCEL* p = object_or_item<NPARCEL>(c.arg(0));
  const BODY* body = p->kind() == PARCEL_KIND::part ? get_part_body(p) : nullptr;
  return body != nullptr ? make_double(body->resabs()) : lisp_nil();
}

// The selection item of a parcel at its own place in the tree.
LAOBJ* sel_item_of_parcel(NATIVE_CALL& c) {
  c.check_count(1, 1);
  return make_lisp_sel_item(sel_item_of(parcel(c.arg(0))));
}
}  // namespace

LAOBJ* make_lisp_sel_item(const SEL_ITEM& s) {
  std::vector<LAOBJ*> path;
  for (NPARCEL* p : s.path().instances()) path.push_back(make_ptr(p));
  LISP_OUTCOME o = lisp_apply(hcl_find_symbol("MAKE-SEL_ITEM", "FRAME2"),
                              make_list({make_keyword("ITEM"), make_ptr(s.item()), make_keyword("PATH"),
                                         make_list(path), make_keyword("TYPE"), keyword_of(s.type())}));
  if (!o.ok) hcl_error(o.error.c_str());
  return o.value;
}


ENTITY* object_or_item_entity(LAOBJ* x, const ENTITY_TYPE& expected) {
  LISP_OUTCOME is_item = lisp_apply(hcl_find_symbol("SEL_ITEM-P", "FRAME2"), make_cons(x, lisp_nil()));
  if (is_item.ok && !lisp_null(is_item.value)) {
    LISP_OUTCOME item = lisp_apply(hcl_find_symbol("SEL_ITEM-ITEM", "FRAME2"), make_cons(x, lisp_nil()));
    if (!item.ok) hcl_error("~A", {make_string(item.error)});
    x = item.value;
  }
  return object_to_ENTITY_ptr(x, expected);
}

SEL_ITEM object_to_sel_item(LAOBJ* x) {
  LISP_OUTCOME is_item = lisp_apply(hcl_find_symbol("SEL_ITEM-P", "FRAME2"), make_cons(x, lisp_nil()));
  if (is_item.ok && !lisp_null(is_item.value)) {
    LISP_OUTCOME item = lisp_apply(hcl_find_symbol("SEL_ITEM-ITEM", "FRAME2"), make_cons(x, lisp_nil()));
    LISP_OUTCOME path = lisp_apply(hcl_find_symbol("SEL_ITEM-PATH", "FRAME2"), make_cons(x, lisp_nil()));
    if (!item.ok || !path.ok) hcl_error("a selection item could not be read: ~S", {x});
    PARCEL_PATH p;
    for (LAOBJ* e : list_elements(path.value)) p.push_back(object_to_entity<NPARCEL>(e));
    return make_sel_item(object_to_ENTITY_ptr(item.value, ENTITY::type), p);
  }
  return sel_item_of(parcel(x));
}

void register_model_bindings() {
  for (const ENTITY_TYPE* t : {&NPARCEL::type, &NPART3::type, &NASMB3::type, &NCONT::type}) {
    register_type_symbol(*t);
  }
  LAOBJ* frame = find_package("FRAME2");
  const std::pair<const char*, NATIVE_FUNCTION> functions[] = {
      {"CREATE-NPART3", &create_part},
      {"CREATE-NASMB3", &create_assembly},
      {"CREATE-CONT", &create_container},
      {"CREATE-INSTANCE", &create_instance_of},
      {"INSERT-CHILD", &insert_child_of},
      {"INSERT-IN-GRAPH", &insert_in_graph_of},
      {"DESTROY-PARCEL", &destroy_parcel_of},
      {"SET-TM", &set_tm_of},
      {"INQ-TM", &inq_tm_of},
      {"ASSIGN-NAME", &assign_name_of},
      {"INQUIRE-NAME", &inquire_name_of},
      {"ADD-BODY-TO-PART", &add_body},
      {"GET-PART-BODY", &part_body},
      {"SET-PART-COLOR", &part_color},
      {"SET-PART-TRANSPARENCY", &part_transparency},
      {"ROOT-PARCEL", &root},
      {"ROOT-PARCEL-SEL-ITEM", &root_sel_item},
      {"SEL-ITEM-OF", &sel_item_of_parcel},
      {"GET_RGB_COLOR", &rgb_color_of},
      {"TV-INQ-PART-GEO-RESOLUTION", &part_geo_resolution},
      {"TV-INQ-OBJ-CHILDREN", &obj_children},
      {"TV-INQ-PARENT-OBJ", &parent_obj},
      {"TV-PATHNAME-TO-OBJ", &pathname_obj},
      {"TV-INQ-OBJ-PATHNAME", &obj_pathname},
      {"TV-INQ-OBJ-BASENAME", &obj_basename},
      {"TV-INQ-XFORM", &obj_xform},
      {"TV-INQ-OBJ-SYSID", &obj_sysid},
      {"TV-INQ-OBJ-CONTENTS-SYSID", &obj_contents_sysid},
      {"TV-SET-MODEL-CHECKPOINT", &set_checkpoint},
      {"TV-RETURN-TO-MODEL-CHECKPOINT", &return_to_checkpoint},
  };
  for (const auto& [name, fn] : functions) make_package_function(name, fn, &frame, 2);
}
