#pragma once
// The shared vocabulary of the body encoding (body_codec.h): markers, flag
// bits, and the predictions that the encoder tests and the decoder repeats,
// which must compute bit for bit the same. Internal to host/document.

#include <cmath>
#include <cstdint>
#include <cstring>

#include "host/geometry/position3.h"
#include "host/geometry/unitvec3.h"
#include "host/geometry/vector3.h"
#include "host/kernel/geometry/surface.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/edge.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"

namespace body_format {

inline constexpr char kMagic[4] = {'L', 'M', 'X', 'B'};
inline constexpr std::uint64_t kVersion = 1;

// Edge curve kinds (low two bits of the edge's first varint).
enum : unsigned { CURVE_CHORD = 0, CURVE_LINE = 1, CURVE_CAD = 2 };
// Face flags.
enum : unsigned {
  SF_PLANE = 0,
  SF_CYLINDER = 1,
  SF_CAD = 2,
  SF_SHARED = 3,  // bits 0-1
  F_SENSE = 1u << 2,
  F_COLOR = 1u << 3,
  F_TRANSPARENCY = 1u << 4,
  F_LOOPS = 1u << 5,
  F_SOURCE_SHIFT = 6,  // bits 6-7: OCC_FACE_SOURCE
};
// Plane flags.
enum : unsigned {
  P_ROOT_FIRST = 1u << 0,
  P_NORMAL_SHIFT = 1,  // bits 1-2: how the normal is given
  P_UDIR_DEFAULT = 1u << 3,
};
enum : unsigned { N_EXPLICIT = 0, N_CORNERS = 1, N_NEWELL = 2, N_FLOAT = 3 };

inline bool same_bits(double a, double b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}
inline bool same_bits(const VECTOR3& a, const VECTOR3& b) {
  return same_bits(a.x(), b.x()) && same_bits(a.y(), b.y()) && same_bits(a.z(), b.z());
}
inline bool same_bits(const POSITION3& a, const POSITION3& b) {
  return same_bits(a.x(), b.x()) && same_bits(a.y(), b.y()) && same_bits(a.z(), b.z());
}

// The mesh's normal of a triangle: of the three corner cross products the
// longest, as a unit vector; NaN for a degenerate one.
inline UNITVEC3 corner_normal(const POSITION3 (&p)[3]) {
  const VECTOR3 d0 = p[1] - p[0], d1 = p[2] - p[1], d2 = p[0] - p[2];
  const VECTOR3 corners[3] = {cross(d0, -d2), cross(d1, -d0), cross(d2, -d1)};
  const VECTOR3* best = nullptr;
  double best_len2 = 0.0;
  for (const VECTOR3& c : corners) {
    if (c.len2() > best_len2) {
      best_len2 = c.len2();
      best = &c;
    }
  }
  return best != nullptr ? best->uvec3() : VECTOR3(NAN, NAN, NAN).uvec3();
}

// The default u direction of a plane with this normal, as plane's
// constructor picks it (the rule is the surfaces' own, reached through a
// class that is never made).
struct SURFACE_RULES : surface {
  using surface::default_perpendicular;
};
inline UNITVEC3 default_u_dir(const UNITVEC3& n) {
  return SURFACE_RULES::default_perpendicular(n);
}

inline UNITVEC3 float_normal(float x, float y, float z) {
  return VECTOR3(static_cast<double>(x), static_cast<double>(y), static_cast<double>(z)).uvec3();
}

inline VERTEX* coedge_start(const COEDGE* c) {
  return c->sense() ? c->edge()->end() : c->edge()->start();
}

// Loops of a face, in order.
template <class FN>
void for_each_loop(const FACE* f, FN&& fn) {
  for (LOOP* l = f->loop(); l != nullptr; l = l->next()) fn(l);
}
// Coedges of a loop, in ring order.
template <class FN>
void for_each_coedge(const LOOP* l, FN&& fn) {
  COEDGE* first = l->start();
  if (first == nullptr) return;
  COEDGE* c = first;
  do {
    fn(c);
    c = c->next();
  } while (c != nullptr && c != first);
}

}  // namespace body_format
