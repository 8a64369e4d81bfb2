#include "lumesh/geo/boxed_object.h"

#include "host/kernel/topology/face.h"

BOXED_FACE::BOXED_FACE(FACE* face) : face_(face), sysid_(face->sysid()), box_(face->box()) {}

BOXED_FACET::BOXED_FACET(FACE* facet) : facet_(facet), box_(facet->box()) {}

bool BOXED_FACET::update_model_face(FACE* face, double distance) {
  if (!(distance_ > distance)) return false;
  model_face_ = face;
  distance_ = distance;
  return true;
}
