#pragma once
// Volumes from tessellations, by the divergence theorem: the signed volume
// of the cone from the origin over each triangle. Summed over the faces of
// a closed body it is the body's volume, which is how the tests check that
// a tessellation (or a mesh) encloses what it should.

#include <optional>

#include "host/geometry/position3.h"
#include "host/geometry/vector3.h"
#include "host/kernel/topology/face.h"

inline double cone_volume(const POSITION3& a, const POSITION3& b, const POSITION3& c) {
  return dot(VECTOR3(a), cross(VECTOR3(b), VECTOR3(c))) / 6.0;
}

// The face's share of the volume; nothing when it does not tessellate.
inline std::optional<double> tessellated_volume(const FACE* f) {
  FACE_TESSELLATION t;
  if (f->tessellate(t) != nullptr) return std::nullopt;
  double v = 0.0;
  for (const auto& tri : t.triangles) {
    v += cone_volume(t.positions[tri[0]], t.positions[tri[1]], t.positions[tri[2]]);
  }
  return v;
}
