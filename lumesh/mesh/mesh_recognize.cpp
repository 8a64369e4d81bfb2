// The phases of surface recognition: flat regions, composite regions, and
// the merging and simplification of what they found.

#include <memory>
#include <vector>

#include "lumesh/mesh/cylinder_region.h"
#include "lumesh/mesh/flat_mesh_region.h"
#include "lumesh/mesh/mesh.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"
#include "lumesh/mesh/ring_side_index.h"

void MESH::recognize_surfaces(SURFACE_RECONSTRUCTION options, const resolution& res, PROGRESS*) {
  if (options <= 0) return;
  recognition_resolution_ = res;
  recognize_flat_regions(recognition_resolution_);
  if (options > 1) recognize_composite_regions(options);
  optimize_region_boundaries();
}

void MESH::recognize_flat_regions(const resolution& res) {
  // Polygons of other types than REGULAR are never seeds; they wait here
  // until every region has had its chance to take them in.
  std::vector<MESH_POLYGON*> set_aside;
  while (!polygons_.empty()) {
    MESH_POLYGON* const p = polygons_.front();
    polygons_.pop_front();
    switch (p->get_polygon_type()) {
      case MERGED:
        delete p;
        break;
      case REGULAR:
        if (!p->member_of_region()) {
          auto region = std::make_unique<FLAT_MESH_REGION>(p, res);
          region->extend_region();
          add_region(std::move(region));
        }
        break;
      default:
        set_aside.push_back(p);
        break;
    }
  }
  for (MESH_POLYGON* p : set_aside) {
    if (!p->member_of_region()) delete p;
  }
  simplify_regions(false);
}

std::list<MESH_REGION*>::iterator MESH::drop_region(std::list<MESH_REGION*>::iterator it) {
  // A region without a surface has handed its polygons to a composite, or
  // grew from a seed that has no plane; either way nothing refers to it any
  // more (its remaining polygons, if any, go with it).
  delete *it;
  return regions_.erase(it);
}

void MESH::simplify_regions(bool composites_only) {
  for (auto it = regions_.begin(); it != regions_.end();) {
    MESH_REGION* const r = *it;
    if (r->is_merged()) {
      it = drop_region(it);
      continue;
    }
    if (!composites_only || dynamic_cast<COMPOSITE_MESH_REGION*>(r) != nullptr) r->merge_polygons();
    ++it;
  }
}

void MESH::recognize_composite_regions(SURFACE_RECONSTRUCTION options) {
  for (auto it = regions_.begin(); it != regions_.end();) {
    auto* const flat = dynamic_cast<FLAT_MESH_REGION*>(*it);
    if (flat == nullptr) {
      ++it;
      continue;
    }
    if (flat->is_merged()) {
      it = drop_region(it);
      continue;
    }
    if ((options & CYLINDERS) != 0) {
      auto cylinder = std::make_unique<CYLINDER_REGION>(flat);
      // The count must be read before take_ownership empties the set.
      if (cylinder->extend_region() && cylinder->get_aggregation_count() >= 3) {
        cylinder->take_ownership();
        // At the head, behind the walk.
        add_region(std::move(cylinder));
      }
    }
    ++it;
  }
  simplify_regions(true);
}

void MESH::optimize_region_boundaries() {
  {
    // Rings only lose coedges from here on, which keeps the indexes valid
    // for the whole pass.
    RING_SIDE_INDEXES indexes;
    for (MESH_REGION* r : regions_) r->merge_coedges(&indexes);
  }
  for (MESH_REGION* r : regions_) {
    std::vector<MESH_POLYGON*> members(r->get_polygons().begin(), r->get_polygons().end());
    for (MESH_POLYGON* p : members) {
      if (p->get_polygon_type() == REGULAR) p->merge_spurs();
    }
  }
}
