// Area and volume, face by face.
//
// Plane: the signed area of each loop about the plane's normal is half the
// normal's dot product with the sum of cross products of its edges, taken
// relative to the loop's first vertex for precision; holes and bridges come
// out with the right sign by themselves. (x - c).n is constant on a plane.
//
// Cylinder (axis a, reference e1, binormal e2, radius r): a point is
// root + v a + r (cos u e1 + sin u e2), dA = r du dv, and (x - c).n =
// alpha cos u + beta sin u + r with alpha, beta the parts of root - c along
// e1, e2. Both integrals are of the form of a double integral of g(u) over
// the developed region, which Green's theorem turns into the loop integral
// of -v g(u) du. That form is periodic in u, so a loop that runs around the
// axis needs no seam, and along each straight developed segment it has a
// closed form. The form uses the segment's mid angle c and half span h,
// with sin h / h and (sin h - h cos h) / h^2 taken from their series for
// small h, so short segments lose no digits.
//
// Orientation: loop integrals give the area signed about the surface's
// normal, and about the face's outward normal after the face's sense; the
// flux comes out right for either sense without a correction, since the
// outward normal flips with the sense.

#include "host/kernel/ops/mass_props.h"

#include <cmath>
#include <vector>

#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/plane.h"
#include "host/kernel/kernel_errors.h"
#include "host/kernel/ops/foreign_face.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/edge.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"
#include "host/kernel/topology/shell.h"
#include "host/kernel/topology/topology.h"
#include "host/kernel/topology/vertex.h"

namespace {

constexpr double kTwoPi = 6.283185307179586476925286766559;

double sinc(double h) {
  if (std::fabs(h) < 1e-4) return 1.0 - h * h / 6.0;
  return std::sin(h) / h;
}

// (sin h - h cos h) / h^2, odd in h.
double sinc_moment(double h) {
  if (std::fabs(h) < 1e-2) {
    const double h2 = h * h;
    return h * (1.0 / 3.0 - h2 * (1.0 / 30.0 - h2 / 840.0));
  }
  return (std::sin(h) - h * std::cos(h)) / (h * h);
}

// Calls fn(start position) for each coedge of the ring from `first`.
template <class FN>
void for_each_corner(COEDGE* first, FN&& fn) {
  TOPOLOGY::walk_ring(first, [&](COEDGE* c) {
    const VERTEX* v = c->start();
    if (v != nullptr) fn(v->pt3());
  });
}

// Signed area about the plane's normal, and flux.
void plane_face(const FACE* face, const plane& pl, const POSITION3& ref, double& signed_area,
                double& flux) {
  const UNITVEC3& n = pl.nor();
  double a = 0.0;
  for (LOOP* l = face->loop(); l != nullptr; l = l->next()) {
    bool first = true;
    POSITION3 p0, prev;
    VECTOR3 sum(0, 0, 0);
    for_each_corner(l->start(), [&](const POSITION3& p) {
      if (first) {
        p0 = p;
        prev = p;
        first = false;
        return;
      }
      sum += cross(prev - p0, p - p0);
      prev = p;
    });
    a += 0.5 * dot(n, sum);
  }
  signed_area = a;
  flux = dot(n, pl.root() - ref) * a;
}

void cylinder_face(const FACE* face, const cylinder& cy, const POSITION3& ref, double& signed_area,
                   double& flux) {
  const double r = cy.radius();
  const UNITVEC3& ax = cy.axis();
  const UNITVEC3& e1 = cy.ref_dir();
  const UNITVEC3 e2 = cy.binormal();
  const VECTOR3 offset = cy.root() - ref;
  const double alpha = dot(offset, e1), beta = dot(offset, e2);
  double area = 0.0, fl = 0.0;
  std::vector<double> us, vs;
  for (LOOP* l = face->loop(); l != nullptr; l = l->next()) {
    us.clear();
    vs.clear();
    for_each_corner(l->start(), [&](const POSITION3& p) {
      const VECTOR3 d = p - cy.root();
      us.push_back(std::atan2(dot(d, e2), dot(d, e1)));
      vs.push_back(dot(d, ax));
    });
    const std::size_t m = us.size();
    for (std::size_t i = 0; i < m; ++i) {
      const std::size_t j = (i + 1) % m;
      // The short way round, as the developed boundary runs.
      const double du = std::remainder(us[j] - us[i], kTwoPi);
      const double dv = vs[j] - vs[i];
      const double vm = vs[i] + 0.5 * dv;
      const double c = us[i] + 0.5 * du;
      const double h = 0.5 * du;
      const double s = sinc(h), q = sinc_moment(h);
      const double cc = std::cos(c), sc = std::sin(c);
      area -= r * du * vm;
      const double v_cos = vm * cc * s - 0.5 * dv * q * sc;
      const double v_sin = vm * sc * s + 0.5 * dv * q * cc;
      fl -= du * r * (alpha * v_cos + beta * v_sin + r * vm);
    }
  }
  signed_area = area;
  flux = fl;
}

MOD_INFO* tessellated_face(const FACE* face, const POSITION3& ref, double& area, double& flux) {
  FACE_TESSELLATION t;
  if (face->tessellate(t) != nullptr) return k2_error(K2_ERROR::UNMEASURABLE_FACE);
  double a = 0.0, f = 0.0;
  for (const auto& tri : t.triangles) {
    const VECTOR3 p = t.positions[tri[0]] - ref;
    const VECTOR3 q = t.positions[tri[1]] - ref;
    const VECTOR3 w = t.positions[tri[2]] - ref;
    a += 0.5 * cross(q - p, w - p).len();
    f += 0.5 * dot(p, cross(q, w));
  }
  area = a;
  flux = f;
  return nullptr;
}

// Every edge of the shell's faces (subshells included) is used by exactly
// two coedges.
bool shell_is_closed(const SHELL* s) {
  bool closed = true;
  s->scan_faces(
      [](FACE* f, void* arg) {
        bool& ok = *static_cast<bool*>(arg);
        for (LOOP* l = f->loop(); l != nullptr && ok; l = l->next()) {
          TOPOLOGY::walk_ring(l->start(), [&](COEDGE* c) {
            const COEDGE* p = c->partner();
            if (p == nullptr || p == c || p->partner() != c) ok = false;
          });
        }
        return ok ? SCAN_CONTINUE : SCAN_STOP;
      },
      &closed);
  return closed;
}

// A point of the shell, so that the flux sums stay small where the body is
// far from the origin.
POSITION3 reference_point(const SHELL* s) {
  POSITION3 ref(0, 0, 0);
  s->scan_faces(
      [](FACE* f, void* arg) {
        LOOP* l = f->loop();
        if (l == nullptr || l->start() == nullptr || l->start()->start() == nullptr)
          return SCAN_CONTINUE;
        *static_cast<POSITION3*>(arg) = l->start()->start()->pt3();
        return SCAN_STOP;
      },
      &ref);
  return ref;
}

struct SHELL_SUMS {
  POSITION3 ref;
  double area = 0.0;
  double flux = 0.0;
  int faces = 0;
  MOD_INFO* error = nullptr;
};

SCAN_CNTRL add_face(FACE* f, void* arg) {
  auto* s = static_cast<SHELL_SUMS*>(arg);
  double a = 0.0, fl = 0.0;
  if (MOD_INFO* e = face_area_flux(f, s->ref, a, fl)) {
    s->error = e;
    return SCAN_STOP;
  }
  s->area += a;
  s->flux += fl;
  ++s->faces;
  return SCAN_CONTINUE;
}

}  // namespace

MOD_INFO* face_area_flux(const FACE* face, const POSITION3& ref, double& area, double& flux) {
  if (face == nullptr || face->geometry() == nullptr) return k2_error(K2_ERROR::MISSING_GEOMETRY);
  if (foreign_face(face) != nullptr) return tessellated_face(face, ref, area, flux);
  const surface* sf = face->geometry();
  double signed_area = 0.0;
  if (sf->identity() == plane::type) {
    plane_face(face, static_cast<const plane&>(*sf), ref, signed_area, flux);
  } else if (sf->identity() == cylinder::type) {
    cylinder_face(face, static_cast<const cylinder&>(*sf), ref, signed_area, flux);
  } else {
    return tessellated_face(face, ref, area, flux);
  }
  // A face whose loops turn the wrong way about its outward side still has
  // the area it covers.
  area = std::fabs(face->sense() ? -signed_area : signed_area);
  return nullptr;
}

MOD_INFO* mass_props(const BODY* body, const TRANSFORM3& tm, MASS_PROPS& props) {
  if (body == nullptr) return k2_error(K2_ERROR::MISSING_GEOMETRY);
  if (body->number_of_faces() == 0) return k2_error(K2_ERROR::EMPTY_BODY);
  const bool face_part = is_face_part(body);
  MASS_PROPS sum;
  for (const SHELL* s : body->shells()) {
    SHELL_SUMS shell_sums;
    shell_sums.ref = reference_point(s);
    s->scan_faces(&add_face, &shell_sums);
    if (shell_sums.error != nullptr) return shell_sums.error;
    sum.faces += shell_sums.faces;
    if (!face_part && shell_is_closed(s)) {
      ++sum.closed_shells;
      sum.closed_area += shell_sums.area;
      sum.volume += shell_sums.flux / 3.0;
    } else {
      ++sum.open_shells;
      sum.open_area += shell_sums.area;
    }
  }
  const double scale = (body->transform() * tm).scale();
  props.volume += sum.volume * scale * scale * scale;
  props.closed_area += sum.closed_area * scale * scale;
  props.open_area += sum.open_area * scale * scale;
  props.faces += sum.faces;
  props.closed_shells += sum.closed_shells;
  props.open_shells += sum.open_shells;
  return nullptr;
}
