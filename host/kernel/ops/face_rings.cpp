#include "host/kernel/ops/face_rings.h"

#include <algorithm>
#include <cmath>

#include "host/geometry/constants.h"
#include "host/kernel/geometry/surface.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"
#include "host/kernel/topology/topology.h"
#include "host/kernel/topology/vertex.h"

namespace {

// The representative of x in [0, period).
double wrap_into_period(double x, double period) {
  double m = std::fmod(x, period);
  return m < 0 ? m + period : m;
}

// Distance from p to the segment ab.
double segment_distance(const VECTOR2& p, const VECTOR2& a, const VECTOR2& b) {
  const VECTOR2 ab = b - a;
  const double l2 = ab.len2();
  double t = l2 > 0 ? dot(p - a, ab) / l2 : 0.0;
  t = std::clamp(t, 0.0, 1.0);
  return (p - (a + ab * t)).len();
}

// The shifts k * period that bring x into [lo - pad, hi + pad].
template <class FN>
void for_each_shift(double x, double lo, double hi, double period, double pad, FN&& fn) {
  if (period <= 0) {
    fn(0.0);
    return;
  }
  const double first = std::ceil((lo - pad - x) / period);
  const double last = std::floor((hi + pad - x) / period);
  for (double k = first; k <= last; k += 1.0) fn(k * period);
}

}  // namespace

bool face_rings(const FACE* face, FACE_RINGS& out) {
  out = FACE_RINGS{};
  const surface* sf = face->geometry();
  if (sf == nullptr) return false;
  const bool periodic = sf->periodic_u();
  std::vector<COEDGE*> ring;
  bool scale_known = false;
  for (LOOP* l = face->loop(); l != nullptr; l = l->next()) {
    TOPOLOGY::ring(l->start(), ring);
    std::vector<VECTOR2> pts;
    std::vector<POSITION3> pos;
    double prev_u = 0.0;
    for (COEDGE* c : ring) {
      VERTEX* v = c->start();
      if (v == nullptr) continue;
      const POSITION3 p = v->pt3();
      const VECTOR2 uv = sf->param(p);
      if (!scale_known) {
        VECTOR3 du, dv;
        sf->eval_derivs(uv.x(), uv.y(), du, dv);
        const double s = du.len();
        out.u_scale = (std::isfinite(s) && s > 0) ? s : 1.0;
        out.period = periodic ? sf->period_u() * out.u_scale : 0.0;
        scale_known = true;
      }
      double u = uv.x();
      if (periodic && !pts.empty()) {
        // Unwrap: the step to the next vertex is taken the short way round.
        const double pu = sf->period_u();
        double step = std::remainder(u - prev_u, pu);
        u = prev_u + step;
      }
      prev_u = u;
      pts.emplace_back(u * out.u_scale, uv.y());
      pos.push_back(p);
    }
    if (pts.empty()) continue;
    double wind = 0.0;
    if (periodic) {
      const double pu = sf->period_u();
      const double closing = std::remainder(pts.front().x() / out.u_scale - prev_u, pu);
      wind = (prev_u + closing) * out.u_scale - pts.front().x();
      if (std::fabs(wind) > 0.5 * out.period) out.has_separation = true;
      else wind = 0.0;
    }
    out.rings.push_back(std::move(pts));
    out.points.push_back(std::move(pos));
    out.winding.push_back(wind);
  }
  return !out.rings.empty();
}

VECTOR2 developed(const FACE_RINGS& r, double u, double v) { return VECTOR2(u * r.u_scale, v); }

int classify_developed(const FACE_RINGS& r, const VECTOR2& p, double tol) {
  // Boundary first: the distance to every segment, with the point shifted by
  // whole periods next to the segment.
  int crossings = 0;
  for (std::size_t i = 0; i < r.rings.size(); ++i) {
    const auto& ring = r.rings[i];
    const std::size_t n = ring.size();
    for (std::size_t j = 0; j < n; ++j) {
      const VECTOR2 a = ring[j];
      // The closing segment of a separation loop ends one winding away.
      VECTOR2 b = ring[(j + 1) % n];
      if (j + 1 == n) b = VECTOR2(b.x() + r.winding[i], b.y());
      const double lo = std::min(a.x(), b.x());
      const double hi = std::max(a.x(), b.x());
      bool on_boundary = false;
      for_each_shift(p.x(), lo, hi, r.period, tol, [&](double shift) {
        const VECTOR2 q(p.x() + shift, p.y());
        if (segment_distance(q, a, b) <= tol) on_boundary = true;
        // Upward ray from q: count segments crossing x = q.x above q, with the
        // half-open rule so that a vertex on the ray counts once.
        if ((a.x() <= q.x()) != (b.x() <= q.x())) {
          const double t = (q.x() - a.x()) / (b.x() - a.x());
          const double y = a.y() + t * (b.y() - a.y());
          if (y > q.y()) ++crossings;
        }
      });
      if (on_boundary) return 2;
    }
  }
  return (crossings % 2) == 1 ? 1 : 0;
}

bool scanline_inner_point(const FACE_RINGS& r, VECTOR2& best) {
  // Candidate lines: through the middle of every segment, so that thin
  // regions are not missed; O(segments^2), used only where the triangulation
  // does not apply.
  std::vector<double> xs;
  for (std::size_t i = 0; i < r.rings.size(); ++i) {
    const auto& ring = r.rings[i];
    for (std::size_t j = 0; j + 1 < ring.size(); ++j) xs.push_back(0.5 * (ring[j].x() + ring[j + 1].x()));
  }
  if (xs.size() > 64) {
    std::vector<double> picked;
    const std::size_t step = xs.size() / 64;
    for (std::size_t j = 0; j < xs.size(); j += step) picked.push_back(xs[j]);
    xs.swap(picked);
  }
  double best_len = 0.0;
  std::vector<double> ys;
  for (double x0 : xs) {
    ys.clear();
    const double x = r.period > 0 ? wrap_into_period(x0, r.period) : x0;
    for (std::size_t i = 0; i < r.rings.size(); ++i) {
      const auto& ring = r.rings[i];
      const std::size_t n = ring.size();
      for (std::size_t j = 0; j < n; ++j) {
        const VECTOR2 a = ring[j];
        VECTOR2 b = ring[(j + 1) % n];
        if (j + 1 == n) b = VECTOR2(b.x() + r.winding[i], b.y());
        const double lo = std::min(a.x(), b.x());
        const double hi = std::max(a.x(), b.x());
        for_each_shift(x, lo, hi, r.period, 0.0, [&](double shift) {
          const double qx = x + shift;
          if ((a.x() <= qx) != (b.x() <= qx)) {
            const double t = (qx - a.x()) / (b.x() - a.x());
            ys.push_back(a.y() + t * (b.y() - a.y()));
          }
        });
      }
    }
    std::sort(ys.begin(), ys.end());
    // Inside stretches lie between crossings n-2k-1 and n-2k from the top.
    for (std::size_t k = ys.size(); k >= 2; k -= 2) {
      const double len = ys[k - 1] - ys[k - 2];
      if (len > best_len) {
        best_len = len;
        best = VECTOR2(x, 0.5 * (ys[k - 1] + ys[k - 2]));
      }
    }
  }
  return best_len > 0.0;
}
