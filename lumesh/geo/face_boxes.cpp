#include "lumesh/geo/face_boxes.h"

#include "host/base/assertion.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"

namespace {

BOX3 bound_of(const BODY* body) {
  HOST_ASSERT(body != nullptr, "box list of a null body");
  return body != nullptr ? body->bound() : BOX3::nil();
}

}  // namespace

FACE_BOXES::FACE_BOXES(BODY* body) : OBJECT_BOXES<BOXED_FACE>(bound_of(body)) {
  if (body == nullptr) return;
  reserve(static_cast<std::size_t>(body->number_of_faces()));
  body->scan_faces(&face_box_collector, this);
}

SCAN_CNTRL FACE_BOXES::face_box_collector(FACE* face, void* data) {
  static_cast<FACE_BOXES*>(data)->add_boxed_object_direct(BOXED_FACE(face));
  return SCAN_CONTINUE;
}

FACET_BOXES::FACET_BOXES(BODY* body) : OBJECT_BOXES<BOXED_FACET>(bound_of(body)) {
  if (body == nullptr) return;
  reserve(static_cast<std::size_t>(body->number_of_faces()));
  body->scan_faces(&facet_box_collector, this);
}

SCAN_CNTRL FACET_BOXES::facet_box_collector(FACE* face, void* data) {
  static_cast<FACET_BOXES*>(data)->add_boxed_object_direct(BOXED_FACET(face));
  return SCAN_CONTINUE;
}
