#pragma once
// COMPOSITE_MESH_REGION: a region made of flat regions that lie on one
// curved surface, such as the narrow strips of a tessellated cylinder.
// While it grows it shares polygons with its flat regions: its sets are
// filled, but the polygons still name their flat regions. Only
// take_ownership moves the polygons over and ends the flat regions.

#include <cstdint>

#include "lumesh/mesh/flat_mesh_region.h"
#include "lumesh/mesh/mesh_region.h"
#include "lumesh/mesh/ordered_pointer_set.h"

class COMPOSITE_MESH_REGION : public MESH_REGION {
 public:
  // The number of flat regions aggregated; 0 after take_ownership.
  std::uint64_t get_aggregation_count() const { return flat_regions_.size(); }

  // Claims every polygon (which takes each out of its flat region), ends the
  // flat regions (set_merged) and empties the aggregation.
  void take_ownership();

 protected:
  // The seed's reference position, normal and resolution; the seed is the
  // first flat region.
  explicit COMPOSITE_MESH_REGION(FLAT_MESH_REGION* seed);

  // Aggregates f, once: its non-MERGED polygons and their vertices join
  // this region's sets.
  void add_flat_region(FLAT_MESH_REGION* f);
  bool contains_flat_region(const FLAT_MESH_REGION* f) const {
    return flat_regions_.contains(const_cast<FLAT_MESH_REGION*>(f));
  }
  const ORDERED_POINTER_SET<FLAT_MESH_REGION*>& get_flat_regions() const { return flat_regions_; }

 private:
  ORDERED_POINTER_SET<FLAT_MESH_REGION*> flat_regions_;  // insertion order; not owned
};
