// Box trees of a body's faces as Lisp handles. A handle is a BOXTREE
// structure (unit lmx_boxtree) whose one slot holds the number under which
// BOXTREE_HANDLES keeps the tree, so a handle of a destroyed tree, a copy of
// one, or a structure made by hand is refused with an error instead of being
// followed into freed memory. The faces a query answers are checked to exist
// before Lisp sees them: a tree whose body has lost faces since it was made
// reports that, rather than hand out dead faces.

#include <cstdint>
#include <vector>

#include "host/kernel/entity/entity.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "host/lisp/lisp_error.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/native_function.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/lisp/values.h"
#include "lumesh/core/load_module.h"
#include "lumesh/core/resource_id.h"
#include "lumesh/geo/boxtree_handles.h"
#include "lumesh/geo/geo_lisp.h"

namespace {

LAOBJ* main_symbol(const char* name) {
  return find_symbol(name, sModule.get_main_package());
}

// Calls a function of the unit lmx_boxtree; its structure functions cannot
// fail on the arguments given here, so a failure means the unit is missing.
LAOBJ* call_unit(const char* function, LAOBJ* arguments) {
  const LISP_OUTCOME o = lisp_apply(main_symbol(function), arguments);
  if (!o.ok) hcl_error("The box tree unit failed: ~A", {make_string(o.error)});
  return o.value;
}

// The number a handle holds: 0 for the null handle. A type error for an
// object that is not a BOXTREE.
std::int64_t handle_number(LAOBJ* x) {
  if (lisp_null(call_unit("BOXTREE-P", make_cons(x, lisp_nil()))))
    hcl_wrong_type("LUMESH::BOXTREE", x);
  LAOBJ* number = call_unit("BOXTREE-PTR", make_cons(x, lisp_nil()));
  if (!is_integer(number)) hcl_wrong_type("FIXNUM", number);
  return static_cast<std::int64_t>(object_to_integer(number));
}

// The tree a handle names; an error for the null handle and for a handle
// that names no tree now.
BOXTREE_HANDLES::ENTRY& handle_tree(LAOBJ* x) {
  const std::int64_t id = handle_number(x);
  if (id == 0) hcl_error("~S is a null box tree handle.", {x});
  BOXTREE_HANDLES::ENTRY* e = BOXTREE_HANDLES::instance().find(id);
  if (e == nullptr) {
    hcl_error("~S names no box tree: it was destroyed, or not made by MAKE-BODY-BOXTREE.", {x});
  }
  return *e;
}

// (MAKE-BODY-BOXTREE body): a BOXTREE over every face of the body.
LAOBJ* make_body_boxtree(NATIVE_CALL& call) {
  call.check_count(1, 1);
  BODY* body = object_to_entity<BODY>(call.arg(0));
  BOXTREE_HANDLES& handles = BOXTREE_HANDLES::instance();
  const std::int64_t id = handles.make(body);
  const LISP_OUTCOME o =
      lisp_apply(main_symbol("MAKE-BOXTREE"),
                 make_list({make_keyword("BOXTREE-PTR"), make_fixnum(static_cast<long long>(id))}));
  if (!o.ok) {
    handles.destroy(id);
    hcl_error("The box tree unit failed: ~A", {make_string(o.error)});
  }
  return o.value;
}

// (DESTROY-BOXTREE boxtree): releases the tree; T. The null handle is
// accepted and changes nothing. The handle itself keeps its number, which
// names no tree from now on.
LAOBJ* destroy_boxtree(NATIVE_CALL& call) {
  call.check_count(1, 1);
  LAOBJ* x = call.arg(0);
  const std::int64_t id = handle_number(x);
  if (id == 0) return lisp_t();
  if (!BOXTREE_HANDLES::instance().destroy(id)) {
    hcl_error("~S names no box tree: it was destroyed, or not made by MAKE-BODY-BOXTREE.", {x});
  }
  return lisp_t();
}

// (GET-BOXTREE-COLLISIONS boxtree box): the faces whose own box meets the
// box (given in the body's frame), in the reverse order of the tree's visits.
LAOBJ* get_boxtree_collisions(NATIVE_CALL& call) {
  call.check_count(2, 2);
  BOXTREE_HANDLES::ENTRY& e = handle_tree(call.arg(0));
  const BOX3 box = object_to_box(call.arg(1));
  if (!ENTITY::is_live(e.body, e.body_sysid)) {
    hcl_error("The body of box tree ~S no longer exists.", {call.arg(0)});
  }
  std::vector<FACE*> faces;
  bool stale = false;
  e.tree->collisions(box, [&faces, &stale](BOXED_FACE& f) {
    if (ENTITY::is_live(f.get_face(), f.get_sysid())) {
      faces.push_back(f.get_face());
    } else {
      stale = true;
    }
  });
  if (stale) {
    hcl_error("The body of box tree ~S has lost faces since the tree was made; make a new tree.",
              {call.arg(0)});
  }
  LAOBJ* result = lisp_nil();
  for (FACE* f : faces) result = make_cons(make_ptr(f), result);
  return result;
}

MOD_INFO* unknown_error() {
  return sModule.get_error_info(MSK_UNKNOWN_ERROR);
}

}  // namespace

void register_boxtree_functions(LAOBJ* package) {
  make_package_function("MAKE-BODY-BOXTREE", &make_body_boxtree, &package, 1, &unknown_error);
  make_package_function("DESTROY-BOXTREE", &destroy_boxtree, &package, 1, &unknown_error);
  make_package_function("GET-BOXTREE-COLLISIONS", &get_boxtree_collisions, &package, 1,
                        &unknown_error);
}
