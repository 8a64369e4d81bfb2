#pragma once
// The recognition resolution that a mesh calls for when the user gives none.
//
// A tessellated CAD model departs from its true surfaces by the chordal
// deviation its mesher was given: a cylinder's facets cut inside it by that
// much between their corners. Recognition needs a resolution of about that
// size: a finer one rejects the cylinder that the corners lie on, because its
// facets leave it by more between them, and keeps thousands of facets single;
// a much coarser one merges what the model keeps apart. The shortest edge of
// the mesh (MESH::estimate_resolution) says nothing of this deviation, and
// on a real export it lands anywhere from a thousandth to twice of it.
//
// The deviation is read off the bends of the mesh: two facets that meet at a
// small angle θ along an edge, each of height h over it, stand for a curved
// surface whose chord of length h sags by about h·θ/8 (the sagitta of a
// circle through the chord's ends with that angle between the chords). The
// upper quartile of that sag over the smooth bends of the mesh, weighted by
// edge length, is its chordal deviation: a mesher's chords sag by up to its
// deviation, and less where its angle rule governs (small radii).
//
// No resolution is ever finer than what the file's numbers can carry: STL
// stores float32 coordinates, whose spacing at the part's size is the noise
// every corner has. A resolution below a few of those steps would call that
// noise geometry.

#include "lumesh/mesh/mesh.h"

struct MESH_RESOLUTION_ESTIMATE {
  double float_floor = 0.0;        // the finest resolution the coordinates carry
  double chordal_deviation = 0.0;  // NaN where the mesh has too few smooth bends
  std::size_t smooth_bends = 0;    // edges that counted for the deviation
  double resolution = 0.0;         // what recognition should use
};

// Walks the unclaimed polygons of the mesh (after MESH::optimize, before
// recognition) once: O(coedges) and O(bends log bends) for the quantile.
// The resolution is the chordal deviation, or MESH::estimate_resolution where
// there is none, raised to the float floor and capped at 0.5.
MESH_RESOLUTION_ESTIMATE estimate_mesh_resolution(const MESH& mesh);

// The spacing of float32 numbers at magnitude m, times the number of such
// steps below which differences are taken for rounding noise.
double float_noise_floor(double magnitude);
