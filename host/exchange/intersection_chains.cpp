// Finding the runs: walk each plane face's sub-rings, mark the coedges whose
// edge has a cylinder face on its other side and both vertices on the
// intersection, and cut the marked stretches where they must end (see the
// header). The conic follows from the two surfaces: its centre is where the
// axis meets the plane, its minor radius the cylinder's radius along
// axis × normal, its major radius radius / |axis · normal| along the axis's
// projection into the plane. Each vertex's parameter is its eccentric angle;
// a run is kept when every chord turns the same way by less than half a turn,
// and the conic's normal is chosen so that the run goes towards growing t.

#include "host/exchange/intersection_chains.h"

#include <cmath>

#include "host/geometry/constants.h"
#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/plane.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/edge.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/vertex.h"

namespace {

// The face on the other side of the coedge's edge, or null unless the edge
// has exactly two coedges in different faces.
const FACE* other_face(const COEDGE* c) {
  const COEDGE* p = c->partner();
  if (p == nullptr || p == c || p->partner() != c) return nullptr;
  const FACE* f = p->face();
  return f != c->face() ? f : nullptr;
}

struct CONIC {
  bool ok = false;
  bool circle = true;
  POSITION3 centre;
  UNITVEC3 normal, x_dir;
  double major = 0.0, minor = 0.0;
};

CONIC conic_of(const plane& pl, const cylinder& cy) {
  CONIC c;
  const double d = dot(pl.nor(), cy.axis());
  // Below this the plane is nearly parallel to the axis: the ellipse would
  // be longer than anything a chord run can mean.
  if (std::fabs(d) < 1e-3) return c;
  const double h = dot(pl.root() - cy.root(), pl.nor()) / d;
  c.centre = cy.root() + h * VECTOR3(cy.axis());
  c.normal = pl.nor();
  c.minor = cy.radius();
  if (std::fabs(d) > 1.0 - 1e-12) {
    c.circle = true;
    c.major = cy.radius();
    c.x_dir = cy.ref_dir();
  } else {
    c.circle = false;
    c.major = cy.radius() / std::fabs(d);
    c.x_dir = UNITVEC3(VECTOR3(cy.axis()) - d * VECTOR3(pl.nor()));
  }
  c.ok = c.x_dir.is_finite();
  return c;
}

double eccentric_angle(const CONIC& c, const POSITION3& p) {
  const VECTOR3 r = p - c.centre;
  const VECTOR3 y = cross(c.normal, c.x_dir);
  return std::atan2(dot(r, y) / c.minor, dot(r, VECTOR3(c.x_dir)) / c.major);
}

double wrap(double a) {
  while (a > HOST_PI) a -= HOST_TWO_PI;
  while (a <= -HOST_PI) a += HOST_TWO_PI;
  return a;
}

// Fills the conic and the parameters of a run; false when the chords do not
// turn one way by less than half a turn each, or a closed run is not one turn.
bool fit_run(INTERSECTION_CHAIN& ch, CONIC c) {
  const std::size_t n = ch.vertices.size();
  auto turns = [&](std::vector<double>& t) {
    t.assign(n, 0.0);
    t[0] = eccentric_angle(c, ch.vertices[0]->pt3());
    for (std::size_t i = 1; i < n; ++i) {
      const double step = wrap(eccentric_angle(c, ch.vertices[i]->pt3()) -
                               eccentric_angle(c, ch.vertices[i - 1]->pt3()));
      t[i] = t[i - 1] + step;
    }
  };
  std::vector<double> t;
  turns(t);
  if (t[n - 1] < t[0]) {
    c.normal = -c.normal;
    turns(t);
  }
  for (std::size_t i = 1; i < n; ++i) {
    const double step = t[i] - t[i - 1];
    if (!(step > 1e-9 && step < HOST_PI - 1e-6)) return false;
  }
  if (ch.closed && std::fabs(t[n - 1] - t[0] - HOST_TWO_PI) > 1e-6) return false;
  if (!ch.closed && t[n - 1] - t[0] >= HOST_TWO_PI) return false;
  ch.circle = c.circle;
  ch.centre = c.centre;
  ch.normal = c.normal;
  ch.x_dir = c.x_dir;
  ch.major = c.major;
  ch.minor = c.minor;
  ch.t_start = t[0];
  ch.t_end = ch.closed ? t[0] + HOST_TWO_PI : t[n - 1];
  return true;
}

int kept_degree(const VERTEX* v, const BODY_BOUNDARY& boundary) {
  int n = 0;
  for (const EDGE* e = v->first_edge(); e != nullptr; e = e->next_edge_at(v)) {
    if (boundary.bridges.count(e) == 0) ++n;
  }
  return n;
}

// True when a bridge of `face` ends at v.
bool touches_bridge(const VERTEX* v, const FACE* face, const BODY_BOUNDARY& boundary) {
  for (const EDGE* e = v->first_edge(); e != nullptr; e = e->next_edge_at(v)) {
    if (boundary.bridges.count(e) != 0 && e->coedge() != nullptr && e->coedge()->face() == face) {
      return true;
    }
  }
  return false;
}

}  // namespace

INTERSECTION_CHAINS find_intersection_chains(const BODY_BOUNDARY& boundary, double tol) {
  INTERSECTION_CHAINS out;
  for (const FACE_BOUNDARY& fb : boundary.faces) {
    const auto* pl = dynamic_cast<const plane*>(fb.face->geometry());
    if (pl == nullptr) continue;
    for (const auto& ring : fb.rings) {
      const std::size_t n = ring.size();
      // The cylinder face on the other side where the coedge qualifies.
      std::vector<const FACE*> cyl(n, nullptr);
      for (std::size_t i = 0; i < n; ++i) {
        const FACE* g = other_face(ring[i]);
        if (g == nullptr) continue;
        const auto* cy = dynamic_cast<const cylinder*>(g->geometry());
        if (cy == nullptr || boundary.bridges.count(ring[i]->edge()) != 0) continue;
        bool on = true;
        for (const VERTEX* v : {ring[i]->start(), ring[i]->end()}) {
          const POSITION3 p = v->pt3();
          on = on && std::fabs(pl->signed_distance(p)) <= tol &&
               std::fabs(cy->signed_distance(p)) <= tol;
        }
        if (on) cyl[i] = g;
      }
      // joins[i]: the run goes on from coedge i to coedge i + 1.
      std::vector<char> joins(n, 0);
      bool all = true;
      for (std::size_t i = 0; i < n; ++i) {
        const std::size_t j = (i + 1) % n;
        joins[i] = cyl[i] != nullptr && cyl[i] == cyl[j] && n > 1 &&
                   kept_degree(ring[i]->end(), boundary) == 2;
        all = all && joins[i];
      }
      auto emit = [&](std::size_t first, std::size_t count, bool closed) {
        INTERSECTION_CHAIN ch;
        ch.closed = closed;
        for (std::size_t k = 0; k < count; ++k) {
          const COEDGE* c = ring[(first + k) % n];
          ch.edges.push_back(c->edge());
          ch.vertices.push_back(c->start());
        }
        ch.vertices.push_back(ring[(first + count - 1) % n]->end());
        const auto* cy = static_cast<const cylinder*>(cyl[first]->geometry());
        const CONIC c = conic_of(*pl, *cy);
        if (!c.ok || !fit_run(ch, c)) return;
        const int id = static_cast<int>(out.chains.size());
        for (std::size_t k = 0; k < ch.edges.size(); ++k) {
          out.of_edge.emplace(ch.edges[k], std::make_pair(id, static_cast<int>(k)));
        }
        out.chains.push_back(std::move(ch));
      };
      if (all) {
        // A closed run starts where the cylinder face's own seam bridge
        // ends, so that the seam an exporter puts there meets the run at
        // its vertex.
        std::size_t first = 0;
        for (std::size_t i = 0; i < n; ++i) {
          if (touches_bridge(ring[i]->start(), cyl[0], boundary)) {
            first = i;
            break;
          }
        }
        emit(first, n, true);
        continue;
      }
      // Start right after a cut, so that no run wraps past the ring's start.
      std::size_t start = 0;
      while (joins[start]) ++start;
      start = (start + 1) % n;
      for (std::size_t k = 0; k < n;) {
        const std::size_t i = (start + k) % n;
        if (cyl[i] == nullptr) {
          ++k;
          continue;
        }
        std::size_t len = 1;
        while (joins[(start + k + len - 1) % n]) ++len;
        emit(i, len, false);
        k += len;
      }
    }
  }
  return out;
}
