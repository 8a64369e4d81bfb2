// The geometric queries of FACE but tessellation (face_tessellation.cpp). All
// of them work in the developed parameter plane of the face's surface
// (face_rings.h): point tests by even-odd crossing, inner points through the
// polygon routines or scan lines. They
// serve faces of planes and of cylinders bounded by straight edges between
// vertices on the surface; a face that carries a FOREIGN_FACE_ATT (any other
// surface, or curved edges) is answered by that attribute instead.

#include <algorithm>
#include <cmath>

#include "host/geometry/constants.h"
#include "host/geometry/resolution.h"
#include "host/kernel/kernel_errors.h"
#include "host/kernel/ops/face_rings.h"
#include "host/kernel/ops/foreign_face.h"
#include "host/kernel/polygon2d.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"
#include "host/kernel/topology/topology.h"
#include "host/kernel/topology/vertex.h"

namespace {

// Box of the surface curve (u, v)(t), linear in t between two developed
// points, for t in [0, 1]. On a cylinder a coordinate along that curve is
// A cos u + B sin u + C v: its extremes inside the span solve a single
// trigonometric equation, so the box is exact, not sampled.
void unite_arc_box(const surface* sf, double u_scale, const VECTOR2& a, const VECTOR2& b,
                   BOX3& box) {
  const double u0 = a.x() / u_scale, u1 = b.x() / u_scale;
  const double v0 = a.y(), v1 = b.y();
  box |= sf->eval(u0, v0);
  box |= sf->eval(u1, v1);
  if (!sf->periodic_u() || u0 == u1) return;
  const double du = u1 - u0, dv = v1 - v0;
  // Derivative along t of coordinate i: du * d/du + dv * d/dv. Sample the
  // derivative structure from the surface itself: d/du at u is -sin u X + cos u Y
  // scaled; recover X, Y, Z from derivatives at u = 0 and u = pi/2.
  VECTOR3 du0, dv0, du90, dv90;
  sf->eval_derivs(0.0, 0.0, du0, dv0);
  sf->eval_derivs(HOST_HALF_PI, 0.0, du90, dv90);
  // du(u) = r(-sin u X + cos u Y): du(0) = rY, du(pi/2) = -rX.
  const VECTOR3 rX = -du90;
  const VECTOR3 rY = du0;
  const VECTOR3 Z = dv0;
  for (int i = 0; i < 3; ++i) {
    // f'(u) along the span = du * (-sin u rX_i + cos u rY_i) + dv * Z_i = 0
    //   <=>  P cos u + Q sin u = -dv Z_i  with P = du rY_i, Q = -du rX_i.
    const double P = du * rY[i];
    const double Q = -du * rX[i];
    const double R = std::hypot(P, Q);
    if (R < 1e-300) continue;
    const double c = -dv * Z[i] / R;
    if (c < -1.0 || c > 1.0) continue;
    const double phi = std::atan2(Q, P);
    const double alpha = std::acos(c);
    const double lo = std::min(u0, u1), hi = std::max(u0, u1);
    for (double root : {phi + alpha, phi - alpha}) {
      // All representatives of root inside [lo, hi].
      double k = std::ceil((lo - root) / HOST_TWO_PI);
      for (double u = root + k * HOST_TWO_PI; u <= hi; u += HOST_TWO_PI) {
        const double t = (u - u0) / du;
        box |= sf->eval(u, v0 + t * dv);
      }
    }
  }
}

VECTOR2 point_developed(const FACE_RINGS& r, const pt_on_sf& p) {
  return developed(r, p.u(), p.v());
}

}  // namespace

BOX3 FACE::box() const {
  if (const FOREIGN_FACE_ATT* f = foreign_face(this)) return f->box();
  BOX3 b = BOX3::nil();
  const surface* surf = geometry();
  if (surf != nullptr && !surf->periodic_u()) {
    // Straight edges on a surface that does not wrap around: the box of the
    // loops' vertices, the same points the developed rings would hold, read
    // without building the rings. Box trees ask this of a million facets.
    for (const LOOP* l = loop(); l != nullptr; l = l->next()) {
      TOPOLOGY::walk_ring(l->start(), [&b](COEDGE* c) {
        if (const VERTEX* v = c->start()) b |= v->pt3();
      });
    }
    return b;
  }
  FACE_RINGS r;
  if (!face_rings(this, r)) return b;
  const surface* sf = geometry();
  for (std::size_t i = 0; i < r.rings.size(); ++i) {
    for (const POSITION3& p : r.points[i]) b |= p;
    if (!sf->periodic_u()) continue;
    const auto& ring = r.rings[i];
    for (std::size_t j = 0; j < ring.size(); ++j) {
      VECTOR2 next = ring[(j + 1) % ring.size()];
      if (j + 1 == ring.size()) next = VECTOR2(next.x() + r.winding[i], next.y());
      unite_arc_box(sf, r.u_scale, ring[j], next, b);
    }
  }
  return b;
}

MOD_INFO* FACE::normal(const pt_on_sf& p, UNITVEC3& n) const {
  const surface* sf = geometry();
  UNITVEC3 m = sf->eval_normal(p.u(), p.v());
  if (p.get_surface() != nullptr && p.get_surface() != sf) {
    // A point given on another surface: take the normal at its projection.
    pt_on_sf foot;
    double dist = 0;
    if (MOD_INFO* e = sf->closest_point(p.evaluate(), foot, dist)) return e;
    m = sf->eval_normal(foot.u(), foot.v());
  }
  if (host_is_nan(m.x())) return k2_error(K2_ERROR::NO_CLOSEST_POINT);
  n = sense() ? -m : m;
  return nullptr;
}

int FACE::point_test(const pt_on_sf& p, int, int) const {
  const surface* sf = geometry();
  if (p.get_surface() != nullptr && p.get_surface() != sf) return classify(p.evaluate());
  if (const FOREIGN_FACE_ATT* f = foreign_face(this)) {
    return f->classify(sf->eval(p.u(), p.v()), get_k2_geores().resabs());
  }
  FACE_RINGS r;
  if (!face_rings(this, r)) return POINT_UNKNOWN;
  const double tol = get_k2_geores().resabs();
  switch (classify_developed(r, point_developed(r, p), tol)) {
    case 1:
      return POINT_ON_FACE;
    case 2:
      return POINT_ON_BOUNDARY;
    default:
      return POINT_OUTSIDE_FACE;
  }
}

int FACE::classify(const POSITION3& p) const {
  if (const FOREIGN_FACE_ATT* f = foreign_face(this)) {
    return f->classify(p, get_k2_geores().resabs());
  }
  const surface* sf = geometry();
  pt_on_sf foot;
  double dist = 0;
  MOD_INFO* e = sf->closest_point(p, foot, dist, get_k2_geores().resabs());
  if (e != nullptr) return POINT_UNKNOWN;
  return point_test(foot);
}

MOD_INFO* FACE::innerPoint(pt_on_sf& p, void*) const {
  if (const FOREIGN_FACE_ATT* f = foreign_face(this)) {
    POSITION3 q;
    if (MOD_INFO* e = f->inner_point(q)) return e;
    const VECTOR2 uv = geometry()->param(q);
    if (host_is_nan(uv.x()) || host_is_nan(uv.y())) return k2_error(K2_ERROR::NOT_ON_FACE);
    p = pt_on_sf(geometry(), uv.x(), uv.y());
    return nullptr;
  }
  FACE_RINGS r;
  if (!face_rings(this, r)) return k2_error(K2_ERROR::BAD_FACE);
  VECTOR2 q;
  const bool found = r.has_separation ? scanline_inner_point(r, q)
                                      : interior_point_of_rings(r.rings, q);
  if (!found) return k2_error(K2_ERROR::NOT_ON_FACE);
  p = pt_on_sf(geometry(), q.x() / r.u_scale, q.y());
  return nullptr;
}

int test_point_face(const pt_on_sf& p, FACE* face, int, bool, void*) {
  if (face == nullptr) return POINT_UNKNOWN;
  return face->point_test(p);
}
