#pragma once
// CYLINDER_REGION: a composite region on a cylinder. From a seed flat region
// it looks for a neighbouring flat region with which a cylinder fits within
// the resolution (the seed pair), then walks across the neighbours, taking
// each flat region in whose vertices stay within the resolution of the
// refitted cylinder. The caller keeps it only when at least three flat
// regions agree: two strips of facets never make a cylinder.

#include "lumesh/mesh/composite_mesh_region.h"

class CYLINDER_REGION : public COMPOSITE_MESH_REGION {
 public:
  explicit CYLINDER_REGION(FLAT_MESH_REGION* seed);

  // True when the aggregation holds more than one flat region. The seed
  // pair accepts a fit when the resolution is at least the precision; the
  // growth asks resolution::zero of it, after a cheap test that the flat
  // region lies within twice the resolution of the present cylinder.
  bool extend_region() override;
};
