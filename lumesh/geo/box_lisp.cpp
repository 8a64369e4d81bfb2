// The box functions and the viewport's view transformation. All of them are
// pure: they read their arguments and make new lists.

#include "host/geometry/transform3.h"
#include "host/lisp/lisp_error.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/native_function.h"
#include "host/lisp/objects.h"
#include "host/lisp/values.h"
#include "host/shell/viewport_bindings.h"
#include "host/ui/viewport.h"
#include "lumesh/core/load_module.h"
#include "lumesh/core/resource_id.h"
#include "lumesh/geo/geo_lisp.h"

namespace {

// (TRANSFORM-BOX box transformation): the box holding the transformed box,
// so a rotation makes it grow.
LAOBJ* transform_box(NATIVE_CALL& call) {
  call.check_count(2, 2);
  BOX3 box = object_to_box(call.arg(0));
  box *= object_to_transf(call.arg(1));
  return make_box(box);
}

// (BOX-UNION box &rest boxes): the first box united with the rest, in order.
LAOBJ* box_union(NATIVE_CALL& call) {
  if (call.narg() < 1) call.check_count(1, 1);
  BOX3 box = object_to_box(call.arg(0));
  for (int i = 1; i < call.narg(); ++i) box |= object_to_box(call.arg(i));
  return make_box(box);
}

// (BOX-INTERSECTION box &rest boxes): the common part, or NIL as soon as it
// is empty; the boxes after that are not read.
LAOBJ* box_intersection(NATIVE_CALL& call) {
  if (call.narg() < 1) call.check_count(1, 1);
  BOX3 box = object_to_box(call.arg(0));
  if (box.is_nil()) return lisp_nil();
  for (int i = 1; i < call.narg(); ++i) {
    box &= object_to_box(call.arg(i));
    if (box.is_nil()) return lisp_nil();
  }
  return make_box(box);
}

// (BOX-CONTAINS-P outer inner): T when every point of inner is in outer,
// walls included.
LAOBJ* box_contains_p(NATIVE_CALL& call) {
  call.check_count(2, 2);
  const BOX3 outer = object_to_box(call.arg(0));
  const BOX3 inner = object_to_box(call.arg(1));
  return make_bool(outer >= inner);
}

// (INFLATE-BOX box distance): every wall moved outwards by the distance
// (inwards for a negative one).
LAOBJ* inflate_box(NATIVE_CALL& call) {
  call.check_count(2, 2);
  BOX3 box = object_to_box(call.arg(0));
  box.grow_abs(object_to_double(call.arg(1)));
  return make_box(box);
}

// (GET-VIEWPORT-XFORM viewport): the map from world coordinates to the
// viewport's axes (x to the viewer's right, y up, z towards the viewer), or
// NIL when the argument names no viewport.
LAOBJ* get_viewport_xform(NATIVE_CALL& call) {
  call.check_count(1, 1);
  const G_VP* vp = g_lisp_util_get_gvp(call.arg(0));
  if (vp == nullptr) return lisp_nil();
  // The view axes placed at the origin take viewport coordinates to world
  // coordinates; the inverse goes the other way.
  const TRANSFORM3 view =
      TRANSFORM3::from_axes(POSITION3(0.0, 0.0, 0.0), vp->inq_x_vec(), vp->inq_up_vec());
  return make_transf(view.inverse());
}

MOD_INFO* unknown_error() {
  return sModule.get_error_info(MSK_UNKNOWN_ERROR);
}

}  // namespace

BOX3 object_to_box(LAOBJ* x) {
  if (!is_list(x)) hcl_wrong_type("LIST", x);
  if (!is_cons(x) || !is_cons(lisp_cdr(x)) || !lisp_null(lisp_cdr(lisp_cdr(x)))) {
    hcl_error("A box is a list of two points (lower upper), not ~S.", {x});
  }
  // Corner by corner, not the hull of the two points: a box that comes out
  // empty (lower above upper, as INFLATE-BOX with a negative distance makes
  // it) must read back as empty.
  const POSITION3 lo = object_to_POSITION3(lisp_car(x));
  const POSITION3 hi = object_to_POSITION3(lisp_car(lisp_cdr(x)));
  return BOX3(INTERVAL(lo.x(), hi.x()), INTERVAL(lo.y(), hi.y()), INTERVAL(lo.z(), hi.z()));
}

LAOBJ* make_box(const BOX3& box) {
  return make_cons(make_gpnt3d(box.lower()), make_cons(make_gpnt3d(box.upper()), lisp_nil()));
}

void register_box_functions(LAOBJ* package) {
  make_package_function("TRANSFORM-BOX", &transform_box, &package, 1, &unknown_error);
  make_package_function("BOX-UNION", &box_union, &package, 1, &unknown_error);
  make_package_function("BOX-INTERSECTION", &box_intersection, &package, 1, &unknown_error);
  make_package_function("BOX-CONTAINS-P", &box_contains_p, &package, 1, &unknown_error);
  make_package_function("INFLATE-BOX", &inflate_box, &package, 1, &unknown_error);
  make_package_function("GET-VIEWPORT-XFORM", &get_viewport_xform, &package, 1, &unknown_error);
}
