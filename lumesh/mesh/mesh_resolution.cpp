// The automatic recognition resolution: the chordal deviation read off the
// smooth bends of the mesh, never below the noise of float coordinates.

#include "lumesh/mesh/mesh_resolution.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "host/geometry/box3.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"

namespace {

// float32 has a 24-bit significand: numbers in [m, 2m) are m·2^-23 apart at
// most. Eight such steps keep a resolution clear of the rounding of a
// corner's three coordinates and of the planes fitted through them.
constexpr double kFloatSpacing = 1.0 / 8388608.0;  // 2^-23
constexpr double kNoiseSteps = 8.0;

// Bends sharper than this are edges of the model, not of its tessellation:
// meshers keep the angle between neighbouring chords of a curve below about
// half a radian.
constexpr double kMaxSmoothBend = 0.7;
// A sag estimate needs this many bends before it speaks for the mesh.
constexpr std::size_t kMinSmoothBends = 12;
// The share of the bends (by edge length) whose sag the deviation covers, and
// the factor from that sag to the deviation: a mesher halves a chord that sags
// too far, so its chords sag between a quarter of its deviation and all of it,
// and the upper quartile of the sags lies near half the deviation.
constexpr double kDeviationQuantile = 0.75;
constexpr double kQuantileToDeviation = 2.0;
// Without bends to read, the deviation that CAD exports commonly use: a small
// fraction of the diagonal of the part's box.
constexpr double kRelativeDeviation = 5e-4;
// Cap of every automatic resolution, as MESH::estimate_resolution has it.
constexpr double kMaxResolution = 0.5;

// The polygon's plane normal by Newell's rule over its ring: exact for a
// triangle, the best plane of a slightly bent quad. Unnormalised.
VECTOR3 ring_normal(const MESH_POLYGON& p) {
  VECTOR3 n;
  const MESH_POLYGON_COEDGE* const start = p.get_start_coedge();
  const MESH_POLYGON_COEDGE* c = start;
  do {
    const POSITION3& a = c->get_start_vertex()->location();
    const POSITION3& b = c->get_end_vertex()->location();
    n += VECTOR3((a.y() - b.y()) * (a.z() + b.z()), (a.z() - b.z()) * (a.x() + b.x()),
                 (a.x() - b.x()) * (a.y() + b.y()));
    c = c->get_next();
  } while (c != start);
  return n;
}

// The largest distance of a corner of p from the line of coedge e (one of
// p's). O(ring length).
double height_over(const MESH_POLYGON& p, const MESH_POLYGON_COEDGE& e) {
  const POSITION3& a = e.get_start_vertex()->location();
  const VECTOR3 d = e.direction();
  const double l2 = d.len2();
  double h2 = 0.0;
  const MESH_POLYGON_COEDGE* const start = p.get_start_coedge();
  const MESH_POLYGON_COEDGE* c = start;
  do {
    const VECTOR3 w = c->get_start_vertex()->location() - a;
    h2 = std::max(h2, cross(w, d).len2() / l2);
    c = c->get_next();
  } while (c != start);
  return std::sqrt(h2);
}

struct BEND {
  double sag;
  double weight;
};

// The smallest sag that at least `quantile` of the total weight lies at or
// below. Reorders the bends.
double weighted_quantile(std::vector<BEND>& bends, double quantile) {
  std::sort(bends.begin(), bends.end(), [](const BEND& a, const BEND& b) { return a.sag < b.sag; });
  double total = 0.0;
  for (const BEND& b : bends) total += b.weight;
  double running = 0.0;
  for (const BEND& b : bends) {
    running += b.weight;
    if (running >= quantile * total) return b.sag;
  }
  return bends.back().sag;
}

}  // namespace

double float_noise_floor(double magnitude) {
  return kNoiseSteps * kFloatSpacing * std::fabs(magnitude);
}

MESH_RESOLUTION_ESTIMATE estimate_mesh_resolution(const MESH& mesh) {
  MESH_RESOLUTION_ESTIMATE e;
  double magnitude = 0.0;
  BOX3 box;
  std::vector<BEND> bends;
  for (const MESH_POLYGON* p : mesh.get_polygons()) {
    const MESH_POLYGON_COEDGE* const start = p->get_start_coedge();
    if (start == nullptr) continue;
    const MESH_POLYGON_COEDGE* c = start;
    do {
      const POSITION3& v = c->get_start_vertex()->location();
      magnitude = std::max({magnitude, std::fabs(v.x()), std::fabs(v.y()), std::fabs(v.z())});
      box |= v;
      c = c->get_next();
    } while (c != start);
  }
  e.float_floor = float_noise_floor(magnitude);

  for (const MESH_POLYGON* p : mesh.get_polygons()) {
    const MESH_POLYGON_COEDGE* const start = p->get_start_coedge();
    if (start == nullptr) continue;
    const VECTOR3 np = ring_normal(*p);
    const MESH_POLYGON_COEDGE* c = start;
    do {
      const MESH_POLYGON_COEDGE* q = c->get_partner_coedge();
      // Each shared edge once, from the side with the lower address.
      if (q != nullptr && c < q && q->get_owner_polygon() != p &&
          q->get_owner_polygon()->get_start_coedge() != nullptr) {
        const MESH_POLYGON& other = *q->get_owner_polygon();
        const VECTOR3 nq = ring_normal(other);
        const double bend = std::atan2(cross(np, nq).len(), dot(np, nq));
        if (bend > 0.0 && bend < kMaxSmoothBend) {
          const double h = 0.5 * (height_over(*p, *c) + height_over(other, *q));
          const double sag = h * bend / 8.0;
          // Bends of the size of the coordinates' rounding are flat.
          if (sag > e.float_floor) bends.push_back({sag, std::sqrt(c->length2())});
        }
      }
      c = c->get_next();
    } while (c != start);
  }

  e.smooth_bends = bends.size();
  e.chordal_deviation = bends.size() >= kMinSmoothBends
                            ? kQuantileToDeviation * weighted_quantile(bends, kDeviationQuantile)
                            : std::numeric_limits<double>::quiet_NaN();
  double base = e.chordal_deviation;
  if (std::isnan(base)) {
    base = mesh.estimate_resolution();
    const double diagonal = box.is_nil() ? 0.0 : dist(box.lower(), box.upper());
    if (diagonal > 0.0) base = std::min(base, kRelativeDeviation * diagonal);
  }
  e.resolution = std::min(std::max(base, e.float_floor), kMaxResolution);
  return e;
}
