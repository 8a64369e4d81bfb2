// Sampling an imported body and sorting its area out against the model.
//
// A triangle of a face's tessellation is cut into n² equal sub-triangles
// (n such that each has about spacing²/2 of area), whose centroids sit at
// barycentric (i + 1/3, j + 1/3) / n and (i + 2/3, j + 2/3) / n. On a
// cylinder the triangle is taken in the developed plane (R u, v), where
// areas are the surface's own and the centroids map back onto the surface;
// the tessellation is narrow in u, so its corners unroll next to the first.

#include "support/part_quality/area_recovery.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <vector>

#include "host/geometry/vector3.h"
#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/straight.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/edge.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"

namespace part_quality {

namespace {

struct SAMPLE {
  POSITION3 p;
  double weight;
};

double pct(double part, double whole) {
  return whole > 0.0 ? 100.0 * part / whole : std::numeric_limits<double>::quiet_NaN();
}

// A plane face of one loop of three straight edges: one triangle of the mesh.
bool is_single_facet(const FACE* f) {
  const LOOP* loop = f->loop();
  if (f->geometry()->surface_kind() != SURFACE_KIND::PLANE || loop == nullptr ||
      loop->next() != nullptr || loop->number_of_coedges() != 3) {
    return false;
  }
  const COEDGE* c = loop->start();
  for (int k = 0; k < 3; ++k, c = c->next()) {
    const curve* g = c->edge() != nullptr ? c->edge()->geometry() : nullptr;
    if (g == nullptr || !g->is_a(straight::type)) return false;
  }
  return true;
}

double triangle_area(const POSITION3& a, const POSITION3& b, const POSITION3& c) {
  return 0.5 * cross(b - a, c - a).len();
}

// Sub-triangles of about spacing²/2 each: every sample stands for about the
// same area, whatever the triangle's shape.
int subdivisions(double area, double spacing) {
  const double n = std::ceil(std::sqrt(2.0 * area) / spacing);
  return n >= 1.0 ? static_cast<int>(std::min(n, 1000.0)) : 1;
}

// Calls at(s, t) for the centroid of each of the n² sub-triangles, in
// barycentric coordinates of the corners b and c.
template <class AT>
void sub_centroids(int n, AT&& at) {
  const double inv = 1.0 / n;
  for (int i = 0; i < n; ++i) {
    for (int j = 0; i + j < n; ++j) {
      at((i + 1.0 / 3.0) * inv, (j + 1.0 / 3.0) * inv);
      if (i + j < n - 1) at((i + 2.0 / 3.0) * inv, (j + 2.0 / 3.0) * inv);
    }
  }
}

void sample_flat(const FACE_TESSELLATION& t, double spacing, std::vector<SAMPLE>& out) {
  for (const auto& tri : t.triangles) {
    const POSITION3& a = t.positions[tri[0]];
    const POSITION3& b = t.positions[tri[1]];
    const POSITION3& c = t.positions[tri[2]];
    const double area = triangle_area(a, b, c);
    if (!(area > 0.0)) continue;
    const int n = subdivisions(area, spacing);
    const double w = area / (static_cast<double>(n) * n);
    const VECTOR3 ab = b - a, ac = c - a;
    sub_centroids(n, [&](double s, double r) { out.push_back(SAMPLE{a + s * ab + r * ac, w}); });
  }
}

void sample_cylinder(const cylinder& cyl, const FACE_TESSELLATION& t, double spacing,
                     std::vector<SAMPLE>& out) {
  const double radius = cyl.radius();
  const double period = 2.0 * M_PI;
  for (const auto& tri : t.triangles) {
    VECTOR2 d[3];
    for (int k = 0; k < 3; ++k) d[k] = cyl.param(t.positions[tri[static_cast<std::size_t>(k)]]);
    for (int k = 1; k < 3; ++k) {
      const double u = d[k].x() - period * std::round((d[k].x() - d[0].x()) / period);
      d[k] = VECTOR2(u, d[k].y());
    }
    // Developed: x = R u along the circumference, y = v along the axis.
    double x[3], y[3];
    for (int k = 0; k < 3; ++k) {
      x[k] = radius * d[k].x();
      y[k] = d[k].y();
    }
    const double area =
        0.5 * std::abs((x[1] - x[0]) * (y[2] - y[0]) - (x[2] - x[0]) * (y[1] - y[0]));
    if (!(area > 0.0)) continue;
    const int n = subdivisions(area, spacing);
    const double w = area / (static_cast<double>(n) * n);
    sub_centroids(n, [&](double s, double r) {
      const double u = d[0].x() + s * (d[1].x() - d[0].x()) + r * (d[2].x() - d[0].x());
      const double v = d[0].y() + s * (d[1].y() - d[0].y()) + r * (d[2].y() - d[0].y());
      out.push_back(SAMPLE{cyl.eval(u, v), w});
    });
  }
}

double tessellation_area(const FACE* f, const FACE_TESSELLATION& t) {
  std::vector<SAMPLE> one;
  double area = 0.0;
  if (f->geometry()->is_a(cylinder::type)) {
    sample_cylinder(static_cast<const cylinder&>(*f->geometry()), t,
                    std::numeric_limits<double>::infinity(), one);
  } else {
    sample_flat(t, std::numeric_limits<double>::infinity(), one);
  }
  for (const SAMPLE& s : one) area += s.weight;
  return area;
}

}  // namespace

double AREA_RECOVERY::recovered_pct(KIND_GROUP g) const {
  const auto i = static_cast<std::size_t>(g);
  return i < recovered.size() ? pct(recovered[i], model_area[i])
                              : std::numeric_limits<double>::quiet_NaN();
}
double AREA_RECOVERY::wrong_kind_pct() const {
  return pct(wrong_kind_area, body_area);
}
double AREA_RECOVERY::off_part_pct() const {
  return pct(off_part_area, body_area);
}
double AREA_RECOVERY::facet_pct() const {
  return pct(facet_area, body_area);
}

AREA_RECOVERY measure_area_recovery(const BODY& imported, const MODEL_REFERENCE& model,
                                    double tolerance, std::size_t target_samples) {
  AREA_RECOVERY r;
  for (std::size_t i = 0; i < model.size(); ++i) {
    const auto g = static_cast<std::size_t>(group_of(model.face(i).kind));
    r.model_area[g] += model.face(i).area;
    ++r.model_faces[g];
  }

  struct FACE_TESS {
    const FACE* face;
    FACE_TESSELLATION t;
    bool facet;
  };
  std::vector<FACE_TESS> faces;
  imported.scan_faces(
      [](FACE* f, void* data) {
        static_cast<std::vector<FACE_TESS>*>(data)->push_back(FACE_TESS{f, {}, is_single_facet(f)});
        return SCAN_CONTINUE;
      },
      &faces);
  for (FACE_TESS& ft : faces) {
    if (ft.face->tessellate(ft.t) != nullptr) {
      ++r.untessellated_faces;
      ft.t = FACE_TESSELLATION();
      continue;
    }
    const double area = tessellation_area(ft.face, ft.t);
    r.body_area += area;
    const SURFACE_KIND kind = ft.face->geometry()->surface_kind();
    if (ft.facet) {
      ++r.single_facets;
      r.facet_area += area;
    } else if (kind == SURFACE_KIND::PLANE || kind == SURFACE_KIND::CYLINDER) {
      ++r.faces[static_cast<std::size_t>(group_of(kind))];
    } else {
      ++r.other_faces;
    }
  }
  const double spacing =
      std::sqrt(2.0 * r.body_area / static_cast<double>(std::max<std::size_t>(target_samples, 1)));

  std::vector<double> recovered(model.size(), 0.0);
  // Recognised faces that count for each model face (see faces_per_model_face).
  std::vector<int> homes(model.size(), 0);
  std::vector<SAMPLE> samples;
  std::map<long, double> shares;  // model face -> area of the current face on it
  for (const FACE_TESS& ft : faces) {
    if (ft.facet || ft.t.triangles.empty()) continue;
    const SURFACE_KIND kind = ft.face->geometry()->surface_kind();
    samples.clear();
    if (ft.face->geometry()->is_a(cylinder::type)) {
      sample_cylinder(static_cast<const cylinder&>(*ft.face->geometry()), ft.t, spacing, samples);
    } else {
      sample_flat(ft.t, spacing, samples);
    }
    r.samples += samples.size();
    shares.clear();
    for (const SAMPLE& s : samples) {
      const NEAREST_MODEL_FACES n = model.nearest(s.p, kind, tolerance);
      if (n.same >= 0) {
        recovered[static_cast<std::size_t>(n.same)] += s.weight;
        shares[n.same] += s.weight;
      } else if (n.any >= 0) {
        r.wrong_kind_area += s.weight;
        if (kind == SURFACE_KIND::PLANE || kind == SURFACE_KIND::CYLINDER) {
          const auto from = static_cast<std::size_t>(group_of(kind));
          const auto to = static_cast<std::size_t>(group_of(model.face(static_cast<std::size_t>(n.any)).kind));
          r.wrong_kind_by[from][to] += s.weight;
        }
      } else {
        r.off_part_area += s.weight;
      }
    }
    if (!shares.empty()) {
      const auto home =
          std::max_element(shares.begin(), shares.end(),
                           [](const auto& a, const auto& b) { return a.second < b.second; });
      ++homes[static_cast<std::size_t>(home->first)];
    }
  }

  std::array<int, 2> homed_faces{}, home_faces{};
  for (std::size_t i = 0; i < model.size(); ++i) {
    const KIND_GROUP g = group_of(model.face(i).kind);
    if (g == KIND_GROUP::OTHER) continue;
    const auto gi = static_cast<std::size_t>(g);
    r.recovered[gi] += std::min(recovered[i], model.face(i).area);
    if (homes[i] > 0) {
      homed_faces[gi] += homes[i];
      ++home_faces[gi];
    }
  }
  for (std::size_t g = 0; g < 2; ++g) {
    r.faces_per_model_face[g] = home_faces[g] > 0
                                    ? static_cast<double>(homed_faces[g]) / home_faces[g]
                                    : std::numeric_limits<double>::quiet_NaN();
  }
  return r;
}

}  // namespace part_quality
