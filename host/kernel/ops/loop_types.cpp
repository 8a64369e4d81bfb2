#include "host/kernel/ops/loop_types.h"

#include "host/kernel/kernel_errors.h"
#include "host/kernel/ops/face_rings.h"
#include "host/kernel/polygon2d.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"

MOD_INFO* set_loop_types(FACE* face) {
  if (face == nullptr) return k2_error(K2_ERROR::MISSING_GEOMETRY);
  if (face->loop() == nullptr) return nullptr;
  FACE_RINGS r;
  if (!face_rings(face, r)) return k2_error(K2_ERROR::BAD_FACE);
  // Rings come in loop order; a loop without vertices has no ring and stays unknown.
  std::size_t i = 0;
  for (LOOP* l = face->loop(); l != nullptr && i < r.rings.size(); l = l->next(), ++i) {
    LOOP_TYPE t;
    if (r.winding[i] != 0.0) {
      t = LOOP_SEPARATION;
    } else {
      // Counter-clockwise in the developed plane is counter-clockwise about
      // the surface normal; a reversed face looks at it from the other side.
      const bool ccw = signed_area(r.rings[i]) > 0;
      t = (ccw != face->sense()) ? LOOP_OUTER : LOOP_INNER;
    }
    if (l->loop_type() != t) l->set_loop_type(t);
  }
  return nullptr;
}

namespace {
struct LOOP_TYPE_SCAN {
  MOD_INFO* first_error = nullptr;
};
SCAN_CNTRL type_face(FACE* f, void* arg) {
  auto* s = static_cast<LOOP_TYPE_SCAN*>(arg);
  MOD_INFO* e = set_loop_types(f);
  if (e != nullptr && s->first_error == nullptr) s->first_error = e;
  return SCAN_CONTINUE;
}
}  // namespace

MOD_INFO* set_loop_types(BODY* body) {
  if (body == nullptr) return k2_error(K2_ERROR::MISSING_GEOMETRY);
  LOOP_TYPE_SCAN s;
  body->scan_faces(&type_face, &s);
  return s.first_error;
}
