#include "host/shell/kernel_bindings.h"

#include "host/kernel/entity/entity.h"
#include "host/kernel/entity/geometry_entity.h"
#include "host/kernel/geometry/curve.h"
#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/plane.h"
#include "host/kernel/geometry/point.h"
#include "host/kernel/geometry/straight.h"
#include "host/kernel/geometry/surface.h"
#include "host/kernel/history/history.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/edge.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"
#include "host/kernel/topology/shell.h"
#include "host/kernel/topology/vertex.h"
#include "host/lisp/lisp_error.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/native_function.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/lisp/values.h"

namespace {

void check_manager(NATIVE_CALL& call) {
  LAOBJ* sm = hcl_find_symbol("*K2-STATE-MANAGER*", "K2");
  LISP_OUTCOME o = lisp_apply(hcl_find_symbol("SYMBOL-VALUE", "COMMON-LISP"), make_list({sm}));
  if (call.narg() < 1 || !o.ok || call.arg(0) != o.value) hcl_wrong_type("K2:STATE-MANAGER", call.narg() > 0 ? call.arg(0) : lisp_nil());
}

LAOBJ* current_state(NATIVE_CALL& call) {
  call.check_count(1, 1);
  check_manager(call);
  return make_fixnum(static_cast<long long>(HISTORY::instance().current_state()));
}

LAOBJ* note_state(NATIVE_CALL& call) {
  call.check_count(1, 1);
  check_manager(call);
  return make_fixnum(static_cast<long long>(HISTORY::instance().note_state()));
}

LAOBJ* recover_state(NATIVE_CALL& call) {
  call.check_count(2, 2);
  check_manager(call);
  const long long id = object_to_integer(call.arg(1));
  if (id < 0) return lisp_nil();
  return make_bool(HISTORY::instance().recover_state(static_cast<HISTORY::STATE_ID>(id)));
}

LAOBJ* rm_future(NATIVE_CALL& call) {
  call.check_count(1, 1);
  check_manager(call);
  HISTORY::instance().rm_future();
  return lisp_t();
}

// The analytic kind of a face's surface: :PLANE, :CYLINDER, :CONE, :SPHERE,
// :TORUS or :OTHER; NIL for a face without a surface.
LAOBJ* face_surface_kind(NATIVE_CALL& call) {
  call.check_count(1, 1);
  const FACE* face = object_to_entity<FACE>(call.arg(0));
  const surface* sf = face->geometry();
  if (sf == nullptr) return lisp_nil();
  switch (sf->surface_kind()) {
    case SURFACE_KIND::PLANE: return make_keyword("PLANE");
    case SURFACE_KIND::CYLINDER: return make_keyword("CYLINDER");
    case SURFACE_KIND::CONE: return make_keyword("CONE");
    case SURFACE_KIND::SPHERE: return make_keyword("SPHERE");
    case SURFACE_KIND::TORUS: return make_keyword("TORUS");
    case SURFACE_KIND::OTHER: break;
  }
  return make_keyword("OTHER");
}

}  // namespace

void register_kernel_bindings() {
  for (const ENTITY_TYPE* t :
       {&ENTITY::type, &BODY::type, &SHELL::type, &SUBSHELL::type, &FACE::type, &LOOP::type,
        &COEDGE::type, &EDGE::type, &VERTEX::type, &GEOMETRY_ENTITY::type, &surface::type,
        &plane::type, &cylinder::type, &curve::type, &straight::type, &point::type, &point3::type}) {
    register_type_symbol(*t);
  }
  LISP_OUTCOME o = lisp_eval_string(
      "(defstruct (state-manager (:constructor %make-state-manager ()))) "
      "(defvar *k2-state-manager* (%make-state-manager)) "
      "(export '(state-manager *k2-state-manager* current-state note-state recover-state rm-future))",
      "K2");
  if (!o.ok) throw std::runtime_error("the state manager did not start: " + o.error);
  LAOBJ* k2 = find_package("K2");
  make_package_function("CURRENT-STATE", &current_state, &k2, 2);
  make_package_function("NOTE-STATE", &note_state, &k2, 2);
  make_package_function("RECOVER-STATE", &recover_state, &k2, 2);
  make_package_function("RM-FUTURE", &rm_future, &k2, 2);
  make_package_function("FACE-SURFACE-KIND", &face_surface_kind, &k2, 2);
}
