#include "host/shell/viewport_bindings.h"

#include <optional>
#include <string>
#include <vector>

#include "host/lisp/lisp_error.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/native_function.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/lisp/values.h"
#include "host/model/model_tree.h"
#include "host/model/nparcel.h"
#include "host/model/parcel_path.h"
#include "host/shell/model_bindings.h"
#include "host/ui/viewport.h"

namespace {

G_VP& vp_arg(NATIVE_CALL& c, int i) {
  LAOBJ* x = c.narg() > i ? c.arg(i) : lisp_nil();
  G_VP* vp = g_lisp_util_get_gvp(x);
  if (vp == nullptr) hcl_error("~S names no viewport.", {x});
  return *vp;
}

RGB_COLOR color_arg(LAOBJ* x, const RGB_COLOR& fallback) {
  if (lisp_null(x)) return fallback;
  const std::vector<LAOBJ*> c = list_elements(x);
  if (c.size() != 3) hcl_error("A colour is a list of three numbers from 0 to 1, not ~S.", {x});
  RGB_COLOR out{object_to_double(c[0]), object_to_double(c[1]), object_to_double(c[2])};
  for (double v : {out.r, out.g, out.b}) {
    if (!(v >= 0.0 && v <= 1.0)) hcl_error("A colour is a list of three numbers from 0 to 1, not ~S.", {x});
  }
  return out;
}

LAOBJ* color_list(const RGB_COLOR& c) {
  return make_cons(make_double(c.r), make_cons(make_double(c.g), make_cons(make_double(c.b), lisp_nil())));
}

// The entity an argument stands for: a sel_item's item, or a handle.
ENTITY* entity_arg(LAOBJ* x) { return object_or_item_entity(x, ENTITY::type); }

LAOBJ* current_vp(NATIVE_CALL& c) {
  c.check_count(0, 0);
  return make_fixnum(viewports().current().id());
}

LAOBJ* create_viewport(NATIVE_CALL& c) {
  c.check_count(0, 0);
  return make_fixnum(viewports().create().id());
}

LAOBJ* set_current_vp(NATIVE_CALL& c) {
  c.check_count(1, 1);
  return make_bool(viewports().set_current(vp_arg(c, 0).id()));
}

LAOBJ* add_to_drawlist(NATIVE_CALL& c) {
  c.check_count(1, 2);
  return make_bool(vp_arg(c, 1).add(object_to_sel_item(c.arg(0))));
}

LAOBJ* add_to_drawlist_checking(NATIVE_CALL& c) {
  c.check_count(1, 2);
  // A stale item is refused quietly: the caller adds what it made and may
  // have lost it to an undo in between.
  std::optional<SEL_ITEM> item;
  try {
    item = object_to_sel_item(c.arg(0));
  } catch (const std::exception&) {
    return lisp_nil();
  }
  return make_bool(vp_arg(c, 1).add(*item, true));
}

LAOBJ* remove_from_drawlist(NATIVE_CALL& c) {
  c.check_count(1, 2);
  return make_bool(vp_arg(c, 1).remove(entity_arg(c.arg(0))));
}

LAOBJ* remove_from_all(NATIVE_CALL& c) {
  c.check_count(1, 1);
  return make_fixnum(viewports().remove_everywhere(entity_arg(c.arg(0))));
}

LAOBJ* set_drawlist(NATIVE_CALL& c) {
  c.check_count(2, 2);
  G_VP& vp = vp_arg(c, 0);
  std::vector<SEL_ITEM> items;
  for (LAOBJ* x : list_elements(c.arg(1))) items.push_back(object_to_sel_item(x));
  vp.set_drawlist(items);
  return lisp_t();
}

LAOBJ* drawlist(NATIVE_CALL& c) {
  c.check_count(0, 1);
  const std::vector<SEL_ITEM>& items = vp_arg(c, 0).drawlist();
  LAOBJ* list = lisp_nil();
  for (std::size_t i = items.size(); i-- > 0;) {
    if (items[i].is_live()) list = make_cons(make_lisp_sel_item(items[i]), list);
  }
  return list;
}

LAOBJ* clear_vp(NATIVE_CALL& c) {
  c.check_count(0, 1);
  vp_arg(c, 0).clear();
  viewports().changed();
  return lisp_t();
}

LAOBJ* redraw_vp(NATIVE_CALL& c) {
  c.check_count(0, 1);
  vp_arg(c, 0).redraw();
  viewports().changed();
  return lisp_t();
}

LAOBJ* fit_vp(NATIVE_CALL& c) {
  c.check_count(0, 1);
  return make_bool(vp_arg(c, 0).fit());
}

LAOBJ* window_vp(NATIVE_CALL& c) {
  c.check_count(3, 3);
  vp_arg(c, 0).window_vp(object_to_POSITION3(c.arg(1)), object_to_POSITION3(c.arg(2)));
  return lisp_t();
}

LAOBJ* set_view(NATIVE_CALL& c) {
  c.check_count(3, 3);
  vp_arg(c, 0).set_view(object_to_VECTOR3(c.arg(1)), object_to_VECTOR3(c.arg(2)));
  return lisp_t();
}

LAOBJ* view_of(NATIVE_CALL& c) {
  c.check_count(0, 1);
  const G_VP& vp = vp_arg(c, 0);
  LAOBJ* window = vp.window().is_nil()
                      ? lisp_nil()
                      : make_cons(make_gpnt3d(vp.window().lower()), make_cons(make_gpnt3d(vp.window().upper()), lisp_nil()));
  return make_list({make_keyword("X"), make_gpnt3d(VECTOR3(vp.inq_x_vec())), make_keyword("UP"),
                    make_gpnt3d(VECTOR3(vp.inq_up_vec())), make_keyword("WINDOW"), window,
                    make_keyword("REDRAWS"), make_fixnum(static_cast<long long>(vp.redraws()))});
}

LAOBJ* show_setting(NATIVE_CALL& c) {
  c.check_count(3, 3);
  ENTITY* e = entity_arg(c.arg(0));
  const PARCEL_STRUCT* contents = nullptr;
  if (const auto* p = entity_cast<NPARCEL>(e)) contents = p->shared_data();
  if (const auto* s = entity_cast<PARCEL_STRUCT>(e)) contents = s;
  if (contents == nullptr || contents->kind() != PARCEL_KIND::part) {
    hcl_error("Show settings belong to parts, not ~S.", {c.arg(0)});
  }
  if (!is_keyword(c.arg(1))) hcl_wrong_type("KEYWORD", c.arg(1));
  viewports().set_show_setting(contents, symbol_name(c.arg(1)), !lisp_null(c.arg(2)));
  return lisp_t();
}

// The feedback colours of the modelling settings, by what they mark.
RGB_COLOR feedback_color(const std::string& kind) {
  if (kind == "SELECTED-FACE") return RGB_COLOR{1.0, 0.55, 0.0};
  if (kind == "SELECTED-EDGE") return RGB_COLOR{1.0, 0.85, 0.0};
  if (kind == "PRESELECTION") return RGB_COLOR{0.3, 0.7, 1.0};
  if (kind == "ERROR") return RGB_COLOR{1.0, 0.0, 0.0};
  if (kind == "WARNING") return RGB_COLOR{1.0, 1.0, 0.0};
  return RGB_COLOR{0.0, 1.0, 0.0};
}

LAOBJ* modeling_feedback_color(NATIVE_CALL& c) {
  c.check_count(1, 1);
  if (!is_keyword(c.arg(0))) hcl_wrong_type("KEYWORD", c.arg(0));
  return color_list(feedback_color(symbol_name(c.arg(0))));
}

LAOBJ* hilite(NATIVE_CALL& c) {
  c.check_count(1, 2);
  ENTITY* e = entity_arg(c.arg(0));
  viewports().hilite(e, color_arg(c.narg() > 1 ? c.arg(1) : lisp_nil(), feedback_color("SELECTED-FACE")));
  return lisp_t();
}

LAOBJ* unhilite(NATIVE_CALL& c) {
  c.check_count(1, 1);
  return make_bool(viewports().unhilite(entity_arg(c.arg(0))));
}

LAOBJ* create_feedback(NATIVE_CALL& c) {
  c.check_count(1, 1);
  return make_fixnum(viewports().create_feedback(object_to_string(c.arg(0))));
}

LAOBJ* feedback_line(NATIVE_CALL& c) {
  c.check_count(3, 4);
  FEEDBACK_LINE line{object_to_POSITION3(c.arg(1)), object_to_POSITION3(c.arg(2)),
                     color_arg(c.narg() > 3 ? c.arg(3) : lisp_nil(), RGB_COLOR{0, 1, 0})};
  if (!viewports().add_feedback_line(static_cast<int>(object_to_integer(c.arg(0))), line)) {
    hcl_error("~S is no feedback element.", {c.arg(0)});
  }
  return lisp_t();
}

LAOBJ* delete_feedback(NATIVE_CALL& c) {
  c.check_count(1, 1);
  return make_bool(is_integer(c.arg(0)) && viewports().delete_feedback(static_cast<int>(object_to_integer(c.arg(0)))));
}

// What a viewport draws, summed up per drawn part for a terminal or a test:
// (:triangles n :box (lower upper) :parts ((part triangles (r g b)
// transparency edged) ...) :feedback ((name lines) ...)); the colour is that
// of the part's first triangle.
LAOBJ* picture(NATIVE_CALL& c) {
  c.check_count(0, 1);
  const G_VP& vp = vp_arg(c, 0);
  const std::vector<DRAWN_TRIANGLE> tris = vp.triangles();
  BOX3 box;
  struct GROUP {
    std::uint64_t source;
    long long count;
    RGB_COLOR color;
    float transparency;
    bool edged;
  };
  std::vector<GROUP> groups;
  for (const DRAWN_TRIANGLE& t : tris) {
    for (const POSITION3& p : t.corners) box |= p;
    if (!groups.empty() && groups.back().source == t.part) {
      ++groups.back().count;
    } else {
      groups.push_back({t.part, 1, t.color, t.transparency, t.edged});
    }
  }
  LAOBJ* parts = lisp_nil();
  for (std::size_t i = groups.size(); i-- > 0;) {
    const GROUP& g = groups[i];
    parts = make_cons(make_list({make_ptr(ENTITY::lookup(g.source)), make_fixnum(g.count),
                                 color_list(g.color), make_double(g.transparency), make_bool(g.edged)}),
                      parts);
  }
  LAOBJ* feedback = lisp_nil();
  for (const auto& [id, element] : viewports().feedback()) {
    feedback = make_cons(make_list({make_string(element.first),
                                    make_fixnum(static_cast<long long>(element.second.size()))}),
                         feedback);
  }
  LAOBJ* box_list = box.is_nil() ? lisp_nil()
                                 : make_cons(make_gpnt3d(box.lower()), make_cons(make_gpnt3d(box.upper()), lisp_nil()));
  return make_list({make_keyword("TRIANGLES"), make_fixnum(static_cast<long long>(tris.size())),
                    make_keyword("BOX"), box_list, make_keyword("PARTS"), parts, make_keyword("FEEDBACK"),
                    feedback});
}

// (inq_box obj): the world box of what a part or assembly (or a sel_item of
// one) draws, as (lower upper); NIL when it draws nothing.
LAOBJ* inq_box(NATIVE_CALL& c) {
  c.check_count(1, 1);
  G_VP scratch(0);  // a viewport of no one's: the same drawing, nothing shown
  scratch.add(object_to_sel_item(c.arg(0)));
  const BOX3 b = scratch.box();
  if (b.is_nil()) return lisp_nil();
  return make_cons(make_gpnt3d(b.lower()), make_cons(make_gpnt3d(b.upper()), lisp_nil()));
}

}  // namespace

G_VP* g_lisp_util_get_gvp(LAOBJ* x) {
  if (lisp_null(x) || x == make_keyword("CURRENT")) return &viewports().current();
  if (!is_integer(x)) return nullptr;
  try {
    const long long id = object_to_integer(x);
    if (id < 1 || id > 1000000) return nullptr;  // beyond any viewport's number
    return viewports().find(static_cast<int>(id));
  } catch (const std::exception&) {
    return nullptr;  // an integer beyond 64 bits names no viewport
  }
}

void register_viewport_bindings() {
  LAOBJ* frame = find_package("FRAME2");
  const std::pair<const char*, NATIVE_FUNCTION> functions[] = {
      {"TV-INQ-CURRENT-VP", &current_vp},
      {"CREATE-VIEWPORT", &create_viewport},
      {"SET-CURRENT-VP", &set_current_vp},
      {"ADD-TO-VP-DRAWLIST", &add_to_drawlist},
      {"ADD-TO-VP-DRAWLIST-WITH-CHECKING", &add_to_drawlist_checking},
      {"REMOVE-FROM-VP-DRAWLIST", &remove_from_drawlist},
      {"REMOVE-FROM-ALL-VP-DRAWLISTS", &remove_from_all},
      {"SET_VP_DRAWLIST", &set_drawlist},
      {"VP-DRAWLIST", &drawlist},
      {"CLEAR_VP", &clear_vp},
      {"REDRAW_VP", &redraw_vp},
      {"FIT_VP", &fit_vp},
      {"WINDOW_VP", &window_vp},
      {"SET-VP-VIEW", &set_view},
      {"VP-VIEW", &view_of},
      {"PRIM-ADD-SHOW-PART-SETTING", &show_setting},
      {"GET-MODELING-SETTINGS-FEEDBACK-COLOR", &modeling_feedback_color},
      {"PERSISTENT-HILITE-ENTITY", &hilite},
      {"PERSISTENT-UNHILITE-ENTITY", &unhilite},
      {"TV-CREATE-FEEDBACK-ELEM", &create_feedback},
      {"TV-CREATE-FEEDBACK-ELEM-LINE", &feedback_line},
      {"TV-DELETE-FEEDBACK-ELEM", &delete_feedback},
      {"VP-PICTURE", &picture},
      {"INQ_BOX", &inq_box},
  };
  for (const auto& [name, fn] : functions) make_package_function(name, fn, &frame, 2);
}
