#pragma once
// CYLINDER_REGION: a composite region on a cylinder. From a seed flat region
// it looks for a neighbouring flat region with which a cylinder fits within
// the resolution (the seed pair), then walks across the neighbours, taking
// each flat region in whose vertices stay within the resolution of the
// refitted cylinder. The caller keeps it only when at least three flat
// regions agree: two strips of facets never make a cylinder.
//
// Corners on a cylinder are not enough: two rows of corners along a flat
// wall lie on many cylinders, each bulging through the wall between them. A
// cylinder must stay within the resolution of every facet it takes over,
// over the facet's whole area (facet_deviation.h), for the seed pair, for
// each region taken in, and for all members once the walk is done.

#include "lumesh/mesh/composite_mesh_region.h"

class CYLINDER_REGION : public COMPOSITE_MESH_REGION {
 public:
  explicit CYLINDER_REGION(FLAT_MESH_REGION* seed);

  // True when the aggregation holds more than one flat region. The seed
  // pair accepts a fit when the resolution is at least the precision; the
  // growth asks resolution::zero of it, after a cheap test that the flat
  // region lies within twice the resolution of the present cylinder. Every
  // accepted region's facets lie within the resolution of the cylinder; when
  // a later refit leaves one of them, the answer is false.
  bool extend_region() override;
};
