#include "host/shell/kernel_ops_bindings.h"

#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

#include "host/kernel/entity/entity.h"
#include "host/kernel/kernel_errors.h"
#include "host/kernel/ops/mass_props.h"
#include "host/kernel/ops/merge_faces.h"
#include "host/kernel/ops/split_body.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/shell.h"
#include "host/lisp/lisp_error.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/native_function.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/lisp/values.h"
#include "host/model/model_tree.h"
#include "host/model/nparcel.h"
#include "host/model/parcel_struct.h"
#include "host/model/part_data.h"
#include "host/model/universal_feature.h"

namespace {

void check(MOD_INFO* status) {
  if (status != nullptr) throw TV_EXCEPTION(status);
}

bool is_sel_item(LAOBJ* x) {
  LISP_OUTCOME o = lisp_apply(hcl_find_symbol("SEL_ITEM-P", "FRAME2"), make_list({x}));
  return o.ok && !lisp_null(o.value);
}

// What a selection item stands for; any other object stands for itself.
LAOBJ* item_of(LAOBJ* x) {
  if (!is_sel_item(x)) return x;
  LISP_OUTCOME o = lisp_apply(hcl_find_symbol("SEL_ITEM-ITEM", "FRAME2"), make_list({x}));
  if (!o.ok) hcl_error(o.error.c_str());
  return o.value;
}

// One object or a proper list of them.
std::vector<LAOBJ*> one_or_list(LAOBJ* x) {
  if (is_list(x)) return list_elements(x);
  return {x};
}

// A handle read now, for use after other objects may have been destroyed:
// the sysid tells whether it still stands.
struct HELD {
  ENTITY* e;
  std::uint64_t sysid;
  bool alive() const { return ENTITY::is_live(e, sysid); }
};

// A colour: an integer 0xRRGGBB, a list of three reals in [0, 1], or :OFF
// (no colour of its own). `off` tells which.
struct COLOR_ARG {
  bool off = false;
  double r = 0, g = 0, b = 0;
};

COLOR_ARG read_color(LAOBJ* x) {
  COLOR_ARG c;
  if (x == make_keyword("OFF")) {
    c.off = true;
    return c;
  }
  if (is_integer(x)) {
    const long long v = object_to_integer(x);
    if (v < 0 || v > 0xFFFFFF)
      hcl_error("The colour ~S is not an RGB value from 0 to #xFFFFFF.", {x});
    c.r = static_cast<double>((v >> 16) & 0xFF) / 255.0;
    c.g = static_cast<double>((v >> 8) & 0xFF) / 255.0;
    c.b = static_cast<double>(v & 0xFF) / 255.0;
    return c;
  }
  if (is_cons(x)) {
    const std::vector<LAOBJ*> parts = list_elements(x);
    if (parts.size() == 3 && is_number(parts[0]) && is_number(parts[1]) && is_number(parts[2])) {
      c.r = object_to_double(parts[0]);
      c.g = object_to_double(parts[1]);
      c.b = object_to_double(parts[2]);
      const auto in_unit = [](double v) { return v >= 0.0 && v <= 1.0; };
      if (in_unit(c.r) && in_unit(c.g) && in_unit(c.b)) return c;
    }
  }
  hcl_error(
      "The colour ~S is neither an RGB integer, a list of three numbers from 0 to 1, nor :OFF.",
      {x});
}

// Every element must be a live face (or a selection item of one) before any
// face changes.
std::vector<FACE*> read_faces(LAOBJ* x) {
  std::vector<FACE*> faces;
  for (LAOBJ* item : one_or_list(x)) faces.push_back(object_to_entity<FACE>(item_of(item)));
  return faces;
}

void color_faces(const std::vector<FACE*>& faces, const COLOR_ARG& c) {
  for (FACE* f : faces) {
    if (c.off) {
      f->remove_attribute(COLOR_ATT::kName);
    } else {
      f->set_color(c.r, c.g, c.b);
    }
  }
}

// The body of a body handle or of a part (instance or selection item).
BODY* body_of(LAOBJ* x) {
  LAOBJ* item = item_of(x);
  ENTITY* e = object_to_entity<ENTITY>(item);
  if (e->is_a(BODY::type)) return static_cast<BODY*>(e);
  if (e->is_a(NPARCEL::type)) {
    BODY* b = get_part_body(static_cast<NPARCEL*>(e));
    if (b == nullptr) hcl_error("The object ~S is no part with a body.", {x});
    return b;
  }
  hcl_error("The object ~S is neither a body nor a part with a body.", {x});
}

// A body of a part that was merged or split: the features of the part (on
// its contents and on each instance) follow their options for the event,
// which by default detaches them, as what they describe is gone.
void body_changed(const BODY* body, FEATURE_EVENT event) {
  HISTORIC_ENTITY* owner = body->owner();
  if (owner == nullptr || !owner->is_a(PARCEL_STRUCT::type)) return;
  auto* contents = static_cast<PARCEL_STRUCT*>(owner);
  // A copy: detaching changes nothing in the list of instances, but stays safe if it did.
  const std::vector<NPARCEL*> instances = contents->instances();
  universal_features_after(contents, event);
  for (NPARCEL* p : instances) universal_features_after(p, event);
}

// ---------------------------------------------------------------- FRAME2

LAOBJ* merge_3d_of(NATIVE_CALL& c) {
  c.check_count(1, 3);
  BODY* body = object_to_entity<BODY>(c.arg(0));
  LAOBJ* key = make_keyword("IGNORE-ATTRIBUTES");
  MERGE_3D_OPTIONS options;
  if (c.narg() == 2) {
    // The option alone, without a value, asks for it.
    if (c.arg(1) != key) hcl_error("Unknown option ~S of MERGE-3D.", {c.arg(1)});
    options.ignore_attributes = true;
  } else if (c.narg() == 3) {
    c.parse_keys(1, {key});
    options.ignore_attributes = !lisp_null(c.key(key, lisp_nil()));
  }
  MERGE_3D_RESULT result;
  check(merge_3d(body, options, &result));
  if (result.faces_removed > 0) body_changed(body, FEATURE_EVENT::MERGE);
  return make_fixnum(result.faces_removed);
}

LAOBJ* split_body_3d_of(NATIVE_CALL& c) {
  c.check_count(1, 1);
  BODY* body = object_to_entity<BODY>(item_of(c.arg(0)));
  std::vector<BODY*> bodies;
  check(split_body_3d(body, bodies));
  if (bodies.size() > 1) body_changed(body, FEATURE_EVENT::SPLIT);
  std::vector<LAOBJ*> out;
  for (BODY* b : bodies) out.push_back(make_ptr(b));
  return make_list(out);
}

LAOBJ* set_face_color_of(NATIVE_CALL& c) {
  c.check_count(2, 2);
  const std::vector<FACE*> faces = read_faces(c.arg(0));
  const COLOR_ARG color = read_color(c.arg(1));
  color_faces(faces, color);
  return lisp_t();
}

LAOBJ* face_prop_of(NATIVE_CALL& c) {
  c.check_count(1, 3);
  LAOBJ* key = make_keyword("COLOR");
  c.parse_keys(1, {key});
  const std::vector<FACE*> faces = read_faces(c.arg(0));
  if (!c.has_key(key)) return lisp_t();
  const COLOR_ARG color = read_color(c.key(key, lisp_nil()));
  color_faces(faces, color);
  return lisp_t();
}

LAOBJ* delete_3d_of(NATIVE_CALL& c) {
  c.check_count(1, 1);
  std::vector<HELD> held;
  for (LAOBJ* x : one_or_list(c.arg(0))) {
    LAOBJ* item = item_of(x);
    ENTITY* e = object_to_entity<ENTITY>(item);
    if (e->is_a(NPARCEL::type)) {
      if (is_root_parcel(static_cast<NPARCEL*>(e)))
        hcl_error("The root of the model can not be deleted.");
    } else if (!e->is_a(FACE::type)) {
      hcl_error("The object ~S is neither an object of the model nor a face.", {x});
    }
    held.push_back({e, e->sysid()});
  }
  // An object can go with an earlier one (a part with the assembly around
  // it, a face with its part's body): those are passed over.
  for (const HELD& h : held) {
    if (!h.alive()) continue;
    if (h.e->is_a(NPARCEL::type)) {
      check(destroy_parcel(static_cast<NPARCEL*>(h.e)));
    } else {
      static_cast<FACE*>(h.e)->lose();
    }
  }
  return lisp_t();
}

LAOBJ* destroy_of(NATIVE_CALL& c) {
  c.check_count(1, 1);
  ENTITY* e = object_to_entity<ENTITY>(item_of(c.arg(0)));
  if (e->is_a(NPARCEL::type)) {
    check(destroy_parcel(static_cast<NPARCEL*>(e)));
  } else if (e->is_a(BODY::type)) {
    auto* b = static_cast<BODY*>(e);
    if (b->owner() != nullptr) {
      hcl_error("The body ~S belongs to a part: destroy the part, or give it another body.",
                {c.arg(0)});
    }
    b->lose();
  } else if (e->is_a(SHELL::type)) {
    static_cast<SHELL*>(e)->lose();
  } else if (e->is_a(FACE::type)) {
    static_cast<FACE*>(e)->lose();
  } else {
    hcl_error(
        "The object ~S can not be destroyed: only objects of the model, bodies, shells, "
        "subshells and faces can.",
        {c.arg(0)});
  }
  return lisp_t();
}

LAOBJ* mass_props_ass_of(NATIVE_CALL& c) {
  c.check_count(1, 3);
  const std::vector<LAOBJ*> objects = one_or_list(c.arg(0));
  if (objects.empty()) hcl_error("MASS-PROPS-ASS needs at least one body.");
  std::vector<BODY*> bodies;
  for (LAOBJ* x : objects) bodies.push_back(body_of(x));
  std::vector<TRANSFORM3> tms(bodies.size());
  if (c.narg() > 1 && !lisp_null(c.arg(1))) {
    // One transformation for all, or a list of one for each body (NIL for none).
    LAOBJ* t = c.arg(1);
    if (is_cons(t)) {
      const std::vector<LAOBJ*> each = list_elements(t);
      if (each.size() != bodies.size()) {
        hcl_error("MASS-PROPS-ASS got ~A transformations for ~A bodies.",
                  {make_fixnum(static_cast<long long>(each.size())),
                   make_fixnum(static_cast<long long>(bodies.size()))});
      }
      for (std::size_t i = 0; i < each.size(); ++i) {
        if (!lisp_null(each[i])) tms[i] = object_to_transf(each[i]);
      }
    } else {
      const TRANSFORM3 one = object_to_transf(t);
      for (TRANSFORM3& x : tms) x = one;
    }
  }
  LAOBJ* names = c.narg() > 2 ? c.arg(2) : lisp_nil();
  MASS_PROPS props;
  for (std::size_t i = 0; i < bodies.size(); ++i) check(mass_props(bodies[i], tms[i], props));
  LAOBJ* scalars = make_list({make_double(props.volume), make_double(props.closed_area),
                              make_double(props.volume), make_double(props.open_area)});
  LISP_OUTCOME o =
      lisp_apply(hcl_find_symbol("%MAKE-MP", "FRAME2"),
                 make_list({scalars, make_fixnum(props.faces), make_fixnum(props.closed_shells),
                            make_fixnum(props.open_shells), names}));
  if (!o.ok) hcl_error(o.error.c_str());
  return o.value;
}

LAOBJ* sfy_face_count_of(NATIVE_CALL& c) {
  c.check_count(1, 1);
  ENTITY* e = object_to_entity<ENTITY>(item_of(c.arg(0)));
  if (e->is_a(BODY::type)) return make_fixnum(static_cast<BODY*>(e)->number_of_faces());
  if (e->is_a(NPARCEL::type)) {
    const BODY* b = get_part_body(static_cast<NPARCEL*>(e));
    return make_fixnum(b != nullptr ? b->number_of_faces() : 0);
  }
  hcl_error("The object ~S is neither a body nor an object of the model.", {c.arg(0)});
}

// ---------------------------------------------------------------- K2

LAOBJ* make_body_of(NATIVE_CALL& c) {
  c.check_count(2, 2);
  SHELL* shell = object_to_entity<SHELL>(c.arg(0), true);
  const double resabs = object_to_double(c.arg(1));
  if (shell != nullptr && shell->is_a(SUBSHELL::type)) {
    hcl_error("The subshell ~S can not be the shell of a body; detach it and move its faces.",
              {c.arg(0)});
  }
  if (!std::isfinite(resabs) || resabs <= 0.0) {
    hcl_error("The resolution ~S is not a number greater than 0.", {c.arg(1)});
  }
  return make_ptr(new BODY(shell, resabs));
}

LAOBJ* make_subshell_of(NATIVE_CALL& c) {
  c.check_count(0, 1);
  const std::vector<FACE*> faces = c.narg() > 0 ? read_faces(c.arg(0)) : std::vector<FACE*>{};
  auto* s = new SUBSHELL();
  for (FACE* f : faces) s->add_face(f);
  return make_ptr(s);
}

LAOBJ* attach_subshell_of(NATIVE_CALL& c) {
  c.check_count(2, 2);
  SHELL* parent = object_to_entity<SHELL>(c.arg(0));
  auto* sub = object_to_entity<SUBSHELL>(c.arg(1));
  for (const SHELL* p = parent; p != nullptr; p = p->parent()) {
    if (p == sub) hcl_error("The subshell ~S can not go below itself.", {c.arg(1)});
  }
  parent->add_subshell(sub);
  return lisp_t();
}

LAOBJ* detach_subshell_of(NATIVE_CALL& c) {
  c.check_count(1, 1);
  return make_bool(object_to_entity<SUBSHELL>(c.arg(0))->detach());
}

LAOBJ* destroy_subshell_of(NATIVE_CALL& c) {
  c.check_count(1, 1);
  object_to_entity<SUBSHELL>(c.arg(0))->lose();
  return lisp_t();
}

LAOBJ* body_shells_of(NATIVE_CALL& c) {
  c.check_count(1, 1);
  std::vector<LAOBJ*> out;
  for (SHELL* s : object_to_entity<BODY>(c.arg(0))->shells()) out.push_back(make_ptr(s));
  return make_list(out);
}

LAOBJ* body_faces_of(NATIVE_CALL& c) {
  c.check_count(1, 1);
  std::vector<FACE*> faces;
  object_to_entity<BODY>(c.arg(0))->scan_faces(
      [](FACE* f, void* arg) {
        static_cast<std::vector<FACE*>*>(arg)->push_back(f);
        return SCAN_CONTINUE;
      },
      &faces);
  // Consed from the back into a list that lives on the stack: the collector
  // does not scan C++ heap memory, so handles kept in a vector while more are
  // made could be collected, and the list would hold reused objects.
  LAOBJ* out = lisp_nil();
  for (auto it = faces.rbegin(); it != faces.rend(); ++it) out = make_cons(make_ptr(*it), out);
  return out;
}

LAOBJ* shell_faces_of(NATIVE_CALL& c) {
  c.check_count(1, 1);
  std::vector<FACE*> faces;
  for (FACE* f = object_to_entity<SHELL>(c.arg(0))->first_face(); f != nullptr;
       f = f->next_in_shell()) {
    faces.push_back(f);
  }
  // As in body_faces_of: no handle waits in heap memory for the list.
  LAOBJ* out = lisp_nil();
  for (auto it = faces.rbegin(); it != faces.rend(); ++it) out = make_cons(make_ptr(*it), out);
  return out;
}

LAOBJ* shell_subshells_of(NATIVE_CALL& c) {
  c.check_count(1, 1);
  std::vector<LAOBJ*> out;
  for (SUBSHELL* s = object_to_entity<SHELL>(c.arg(0))->first_subshell(); s != nullptr;
       s = s->next_subshell()) {
    out.push_back(make_ptr(s));
  }
  return make_list(out);
}

LAOBJ* shell_parent_of(NATIVE_CALL& c) {
  c.check_count(1, 1);
  return make_ptr(object_to_entity<SHELL>(c.arg(0))->parent());
}

LAOBJ* face_color_of(NATIVE_CALL& c) {
  c.check_count(1, 1);
  double r = 0, g = 0, b = 0;
  if (!object_to_entity<FACE>(item_of(c.arg(0)))->get_color(r, g, b)) return lisp_nil();
  const auto byte = [](double v) { return static_cast<long long>(std::lround(v * 255.0)); };
  return make_fixnum((byte(r) << 16) | (byte(g) << 8) | byte(b));
}

}  // namespace

void register_kernel_ops_bindings() {
  LISP_OUTCOME o = lisp_eval_string(
      "(defstruct (mp (:constructor %make-mp (scalars faces closed-shells open-shells names)))"
      "  scalars faces closed-shells open-shells names) "
      "(defun mp-rs (mp index) (nth index (mp-scalars mp))) "
      "(export '(mp mp-p mp-rs mp-scalars mp-faces mp-closed-shells mp-open-shells mp-names))",
      "FRAME2");
  if (!o.ok) throw std::runtime_error("the mass properties did not start: " + o.error);
  LAOBJ* frame = find_package("FRAME2");
  const std::pair<const char*, NATIVE_FUNCTION> frame_functions[] = {
      {"MERGE-3D", &merge_3d_of},
      {"SPLIT-BODY-3D", &split_body_3d_of},
      {"SET-FACE-COLOR", &set_face_color_of},
      {"FACE_PROP", &face_prop_of},
      {"DELETE_3D", &delete_3d_of},
      {"DESTROY", &destroy_of},
      {"MASS-PROPS-ASS", &mass_props_ass_of},
      {"SFY-FACE-COUNT", &sfy_face_count_of},
  };
  for (const auto& [name, fn] : frame_functions) make_package_function(name, fn, &frame, 2);
  LAOBJ* k2 = find_package("K2");
  const std::pair<const char*, NATIVE_FUNCTION> k2_functions[] = {
      {"MAKE-BODY", &make_body_of},
      {"MAKE-SUBSHELL", &make_subshell_of},
      {"ATTACH-SUBSHELL", &attach_subshell_of},
      {"DETACH-SUBSHELL", &detach_subshell_of},
      {"DESTROY-SUBSHELL", &destroy_subshell_of},
      {"BODY-SHELLS", &body_shells_of},
      {"BODY-FACES", &body_faces_of},
      {"SHELL-FACES", &shell_faces_of},
      {"SHELL-SUBSHELLS", &shell_subshells_of},
      {"SHELL-PARENT", &shell_parent_of},
      {"FACE-COLOR", &face_color_of},
  };
  for (const auto& [name, fn] : k2_functions) make_package_function(name, fn, &k2, 2);
}
