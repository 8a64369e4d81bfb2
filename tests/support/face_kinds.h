#pragma once
// How many faces of a body lie on planes and on cylinders.

#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/plane.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"

namespace face_kinds_test {

struct KINDS {
  int planes = 0, cylinders = 0;
};

inline KINDS face_kinds(const BODY* body) {
  KINDS k;
  body->scan_faces(
      [](FACE* f, void* data) {
        auto* kinds = static_cast<KINDS*>(data);
        if (f->geometry()->is_a(plane::type)) ++kinds->planes;
        if (f->geometry()->is_a(cylinder::type)) ++kinds->cylinders;
        return SCAN_CONTINUE;
      },
      &k);
  return k;
}

}  // namespace face_kinds_test
