// Flat region growing: perimeter order, the plane fit with one step of undo,
// and the pocket filling at the end.

#include "lumesh/mesh/flat_mesh_region.h"

#include <vector>

#include "host/base/mod_info.h"
#include "host/geometry/constants.h"
#include "host/kernel/geometry/plane.h"
#include "lumesh/mesh/perimeter_queue.h"
#include "lumesh/reverse_engineering/plane_fitter.h"

FLAT_MESH_REGION::FLAT_MESH_REGION(MESH_POLYGON* seed, const resolution& res)
    : MESH_REGION(seed->get_center_of_gravity(), seed->get_normal(), res) {
  add_polygon(seed);
  try {
    set_surface(new plane(get_reference_position(), get_reference_normal()), 0.0);
  } catch (const TV_EXCEPTION&) {
    // A seed on non-finite corners has no plane; the region stays without a
    // surface and is dropped as one.
  }
}

bool FLAT_MESH_REGION::extend_region() {
  MESH_POLYGON* const seed = get_seed();
  if (seed == nullptr) return false;
  PERIMETER_QUEUE queue(seed);
  PLANE_FITTER fitter;
  const double tolerance = get_mesh_resolution().resabs();
  fitter.set_precision_goal(tolerance);
  queue.set_reference_normal(seed->get_normal());

  // Membership during the pass is read from marks (growth_mark.h): every
  // vertex of the region carries `in_region`, every turned-away polygon
  // `turned_away`. The region's vertices are marked here and each one taken
  // in later is marked when it is; the corners of an accepted polygon are
  // the two ends of its entry, which the region holds already, and the
  // corners the loop below visits. `rejected` keeps the order in which
  // polygons were turned away, for convexify.
  const GROWTH_MARK in_region = next_growth_mark();
  const GROWTH_MARK turned_away = next_growth_mark();
  for (const MESH_VERTEX* v : get_vertices()) v->set_growth_mark(in_region);
  std::vector<MESH_POLYGON*> rejected;
  auto reject = [&](MESH_POLYGON* p) {
    if (p->growth_mark() == turned_away) return;
    p->set_growth_mark(turned_away);
    rejected.push_back(p);
  };
  auto take_vertex = [&](MESH_VERTEX* v) {
    add_vertex(v);
    v->set_growth_mark(in_region);
  };

  // The seed's corners are fitted but never tested: the region keeps its
  // seed plane until a polygon has been accepted.
  if (MESH_POLYGON_COEDGE* const start = seed->get_start_coedge()) {
    MESH_POLYGON_COEDGE* c = start;
    do {
      take_vertex(c->get_start_vertex());
      fitter.add_point(c->get_start_vertex()->location());
      c = c->get_next();
    } while (c != start);
  }
  fitter.fit_surface();

  std::vector<MESH_VERTEX*> fresh;
  while (!queue.empty()) {
    MESH_POLYGON_COEDGE* const entry = queue.pop_flattest_perimeter_coedge();
    if (entry == nullptr) continue;
    MESH_POLYGON* const p = entry->get_owner_polygon();
    // Polygons of other regions are turned away too: convexify may take
    // them later.
    if (p->member_of_region() || p->growth_mark() == turned_away) {
      reject(p);
      continue;
    }
    if (!(dot(p->get_normal(), queue.get_reference_normal()) > 0.985)) {
      reject(p);
      continue;
    }
    // The corners of p but the two ends of entry.
    fresh.clear();
    for (MESH_POLYGON_COEDGE* c = entry->get_next(); c != entry->get_previous(); c = c->get_next()) {
      MESH_VERTEX* const v = c->get_end_vertex();
      if (v->growth_mark() == in_region) continue;
      fitter.add_point(v->location());
      fresh.push_back(v);
    }
    const bool good = fitter.fit_surface() && resolution::zero(fitter.get_fitting_precision(), tolerance);
    if (!good) {
      // p stays rejected for this region, even should the plane turn later.
      fitter.undo();
      reject(p);
      continue;
    }
    const UNITVEC3& n = fitter.get_fitted_normal();
    // The region's direction never flips.
    queue.set_reference_normal(dot(n, queue.get_reference_normal()) < 0.0 ? -n : n);
    set_surface(fitter.get_fitted_surface(), fitter.get_fitting_precision());
    add_polygon(p, in_region);
    queue.extend_to_partner_polygon(entry);
    for (MESH_VERTEX* v : fresh) take_vertex(v);
  }
  convexify(rejected, in_region);
  return get_polygon_count() > 1;
}

void FLAT_MESH_REGION::convexify(const std::vector<MESH_POLYGON*>& rejected, GROWTH_MARK in_region) {
  // The seed's normal, not the moving one of the queue.
  const UNITVEC3 reference = get_reference_normal();
  for (MESH_POLYGON* p : rejected) {
    MESH_POLYGON_COEDGE* const start = p->get_start_coedge();
    if (start == nullptr) continue;
    bool inside = true;
    const MESH_POLYGON_COEDGE* c = start;
    do {
      if (c->get_start_vertex()->growth_mark() != in_region) {
        inside = false;
        break;
      }
      c = c->get_next();
    } while (c != start);
    // All corners are the region's already, so taking p in adds no vertex
    // and the marks stay complete.
    if (inside && dot(p->get_normal(), reference) > 0.985) add_polygon(p, in_region);
  }
}

void FLAT_MESH_REGION::set_merged() {
  if (get_surface() != nullptr) set_surface(nullptr, host_nan());
  polygons_.clear();
  vertices_.clear();
}

UNITVEC3 FLAT_MESH_REGION::get_normal() const {
  const plane* const pl = entity_cast<plane>(get_surface());
  if (pl == nullptr) return UNITVEC3(host_nan(), host_nan(), host_nan());
  return get_face_sense() ? -pl->nor() : pl->nor();
}
