// Aggregation of flat regions, and the hand-over of their polygons.

#include "lumesh/mesh/composite_mesh_region.h"

#include <vector>

#include "lumesh/mesh/mesh_polygon.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"

COMPOSITE_MESH_REGION::COMPOSITE_MESH_REGION(FLAT_MESH_REGION* seed)
    : MESH_REGION(seed->get_reference_position(), seed->get_reference_normal(),
                  seed->get_mesh_resolution()) {
  add_flat_region(seed);
}

void COMPOSITE_MESH_REGION::add_flat_region(FLAT_MESH_REGION* f) {
  if (!flat_regions_.insert(f)) return;
  for (MESH_POLYGON* p : f->get_polygons()) {
    if (p->get_polygon_type() == MERGED) continue;
    polygons_.insert(p);
    MESH_POLYGON_COEDGE* const start = p->get_start_coedge();
    if (start == nullptr) continue;
    MESH_POLYGON_COEDGE* c = start;
    do {
      add_vertex(c->get_start_vertex());
      c = c->get_next();
    } while (c != start);
  }
}

void COMPOSITE_MESH_REGION::take_ownership() {
  // set_region takes each polygon, and the vertices that it alone held, out
  // of its flat region; this region's own sets stay as they are.
  for (MESH_POLYGON* p : polygons_) p->set_region(this);
  for (FLAT_MESH_REGION* f : flat_regions_) f->set_merged();
  flat_regions_.clear();
}
