// Cylinder recognition over flat regions: the seed pair, then a walk across
// the neighbours with a refit for each flat region taken in.

#include "lumesh/mesh/cylinder_region.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <memory>
#include <vector>

#include "host/geometry/constants.h"
#include "host/kernel/geometry/cylinder.h"
#include "lumesh/mesh/facet_deviation.h"
#include "lumesh/mesh/flat_region_boundary.h"
#include "lumesh/mesh/mesh_polygon.h"
#include "lumesh/mesh/mesh_vertex.h"
#include "lumesh/reverse_engineering/cylinder_fitter.h"

namespace {

using BOUNDARY = std::shared_ptr<FLAT_REGION_BOUNDARY>;

// Heap "less": the boundary with the longest secant on top.
bool shorter_secant(const BOUNDARY& a, const BOUNDARY& b) {
  return a->measure_secant_length2() < b->measure_secant_length2();
}

bool has_nan(const UNITVEC3& v) {
  return host_is_nan(v.x()) || host_is_nan(v.y()) || host_is_nan(v.z());
}

// Whether a flat region can be a band of facets on the cylinder: its plane
// runs along the axis and its corners lie round one side of it, not across.
// The corners-on-the-cylinder test alone also takes in a cap or a cut
// through the axis whose corners all lie on the rim (a half cylinder's
// faces, say); a region that closes round a whole solid that way merges
// into a polygon that is all spurs, which then vanishes with the body's
// faces. A facet of a cylinder spans at most 120 degrees (three facets for a
// full turn), so the average of its corners lies at least half the radius
// from the axis.
bool is_band_of(const FLAT_MESH_REGION& f, const surface* sf) {
  const auto* c = dynamic_cast<const cylinder*>(sf);
  if (c == nullptr) return true;
  if (!(std::fabs(dot(f.get_normal(), c->axis())) < 0.5)) return false;
  VECTOR3 sum(0, 0, 0);
  std::size_t n = 0;
  for (const MESH_VERTEX* v : f.get_vertices()) {
    sum += v->location() - c->root();
    ++n;
  }
  if (n == 0) return false;
  const VECTOR3 mean = sum / static_cast<double>(n);
  const VECTOR3 radial = mean - dot(mean, VECTOR3(c->axis())) * VECTOR3(c->axis());
  return radial.len() >= 0.5 * c->radius();
}

// A cylinder only a few tolerances thick is no surface the facets tell: a
// long strip narrower than the tolerance lies within it of any such thin
// cylinder round a line along the strip, whatever the strip's true shape,
// and the corners' angles round its axis are noise, so the face's boundary
// comes out crossing itself on the surface. Real features of a mesh that
// can be told apart at all are many tolerances round.
constexpr double kMinRadiusInTolerances = 4.0;

// Whether every polygon of the flat region lies within `tolerance` of the
// cylinder over its whole area, not only at its corners (facet_deviation.h),
// and the cylinder is round enough to be told at that tolerance.
bool facets_within(const FLAT_MESH_REGION& f, const surface* sf, double tolerance) {
  const auto* c = dynamic_cast<const cylinder*>(sf);
  if (c == nullptr) return false;
  if (!(c->radius() > kMinRadiusInTolerances * tolerance)) return false;
  for (const MESH_POLYGON* p : f.get_polygons()) {
    if (p->get_polygon_type() == MERGED) continue;
    if (!(polygon_deviation_from_cylinder(*p, *c) <= tolerance)) return false;
  }
  return true;
}

}  // namespace

CYLINDER_REGION::CYLINDER_REGION(FLAT_MESH_REGION* seed) : COMPOSITE_MESH_REGION(seed) {}

bool CYLINDER_REGION::extend_region() {
  FLAT_MESH_REGION* const seed = get_flat_regions().front();
  if (seed == nullptr) return false;
  const double tolerance = get_mesh_resolution().resabs();
  const UNITVEC3 n0 = seed->get_normal();

  CYLINDER_FITTER fitter;
  seed->for_each_polygon_vertex([&](const MESH_VERTEX& v) { fitter.add_point(v.location()); });
  fitter.note_state();
  FLAT_REGION_BOUNDARY::REGION_SET visited;
  std::vector<BOUNDARY> boundaries;
  boundaries.reserve(100);
  FLAT_REGION_BOUNDARY::gather_manifold_boundaries(*seed, boundaries, visited);
  std::make_heap(boundaries.begin(), boundaries.end(), shorter_secant);

  // The seed pair: the neighbours across the longest secants first. A failed
  // first attempt can't be undone (the fitter's first fit), so its points
  // stay in the fitter and weigh on the later attempts of this seed.
  FLAT_MESH_REGION* pair = nullptr;
  while (!boundaries.empty()) {
    std::pop_heap(boundaries.begin(), boundaries.end(), shorter_secant);
    FLAT_MESH_REGION* const neighbor = &boundaries.back()->get_flat_neighbor_region();
    boundaries.pop_back();
    const UNITVEC3 n1 = neighbor->get_normal();
    if (!(dot(n0, n1) > 0.8)) continue;
    const UNITVEC3 axis(cross(n0, n1));
    if (has_nan(axis)) continue;  // parallel strips
    neighbor->for_each_polygon_vertex([&](const MESH_VERTEX& v) {
      if (!contains_vertex(&v)) fitter.add_point(v.location());
    });
    fitter.set_initial_fitting_parameters(GRADIENT_DESCENT_FITTER::compute_polar_coordinates(axis));
    if (fitter.fit_surface() && tolerance >= fitter.get_fitting_precision() &&
        facets_within(*seed, fitter.get_fitted_surface(), tolerance) &&
        facets_within(*neighbor, fitter.get_fitted_surface(), tolerance)) {
      pair = neighbor;
      break;
    }
    fitter.undo();
  }
  if (pair == nullptr) return false;

  set_surface(fitter.get_fitted_surface(), fitter.get_fitting_precision());
  add_flat_region(pair);

  // The walk across the neighbours, breadth first from the pair.
  visited.clear();
  const std::vector<FLAT_MESH_REGION*> members(get_flat_regions().begin(), get_flat_regions().end());
  std::deque<FLAT_MESH_REGION*> work(members.begin(), members.end());
  while (!work.empty()) {
    FLAT_MESH_REGION* const f = work.front();
    work.pop_front();
    if (!visited.insert(f)) continue;
    if (std::find(members.begin(), members.end(), f) == members.end()) {
      // Cheap test first: the descent runs only for flat regions whose
      // vertices all lie within twice the resolution of the present
      // cylinder (half the largest distance within the resolution). One
      // that fails stays visited, so it isn't tried again, and its
      // neighbours aren't reached from it. The test stops at the first
      // vertex out of reach: a large plane next to a small cylinder costs
      // next to nothing.
      if (fitter.any_farther_than(f->get_vertices(), 2.0 * tolerance)) continue;
      if (!is_band_of(*f, fitter.get_fitted_surface())) continue;
      for (const MESH_VERTEX* v : f->get_vertices()) {
        if (!contains_vertex(v)) fitter.add_point(v->location());
      }
      // The descent goes on from the present axis.
      const VECTOR2 axis = fitter.get_fitting_parameters();
      fitter.set_initial_fitting_parameters(axis);
      if (fitter.fit_surface() && resolution::zero(fitter.get_fitting_precision(), tolerance) &&
          facets_within(*f, fitter.get_fitted_surface(), tolerance)) {
        set_surface(fitter.get_fitted_surface(), fitter.get_fitting_precision());
        add_flat_region(f);
      } else {
        fitter.undo();
        continue;
      }
    }
    boundaries.clear();
    FLAT_REGION_BOUNDARY::gather_manifold_boundaries(*f, boundaries, visited);
    for (const BOUNDARY& b : boundaries) {
      FLAT_MESH_REGION* const neighbor = &b->get_flat_neighbor_region();
      if (!visited.contains(neighbor)) work.push_back(neighbor);
    }
  }
  // Each refit moves the axis a little: the members taken in earlier must
  // still lie within the tolerance over their whole area, or the cylinder is
  // no fit for them and none is made.
  for (FLAT_MESH_REGION* f : get_flat_regions()) {
    if (!facets_within(*f, get_surface(), tolerance)) return false;
  }
  return get_aggregation_count() > 1;
}
