#pragma once
// Triangles of a whole body read from a CAD model, for the facet writers.
//
// Meshing each face by itself (FACE::tessellate) spaces the points along an
// edge differently on its two sides, so a mesh made of such faces has cracks.
// A body read from a model still has the model's faces with their shared
// edges (source_shape_occt.h); meshing that shape as a whole puts the same
// points on both sides of every edge, and the facets close up.

#include <vector>

#include "host/exchange/stl_writer.h"
#include "host/kernel/topology/topology_fwd.h"

// Linear deflection of the whole-body mesh, as a fraction of the diagonal of
// the body's box: a sphere's mesh then holds its volume to about 0.5%.
constexpr double kBodyMeshRelativeDeflection = 1e-3;
// Angular deflection in radians: half a radian keeps a small fillet on a large
// part from being meshed by one chord, without the cost of a finer rule where
// the linear one already governs.
constexpr double kBodyMeshAngularDeflection = 0.5;

// Appends the triangles of the body, in its own frame, counter-clockwise about
// the outward normal, and returns true, when every face of the body has a
// source face; returns false without appending for any other body. Triangles
// that collapse to a line are left out. Throws TV_EXCEPTION (BAD_FACE) when a
// face can't be meshed. Cost: OCCT's meshing of a copy of the shape (the
// model's faces, which answer the kernel's queries with their own meshes, are
// not touched).
bool mesh_source_body(const BODY& body, std::vector<STL_TRIANGLE>& out);

// The same at a linear deflection of `relative_deflection` times the
// diagonal of the body's box instead of kBodyMeshRelativeDeflection, with
// the same angular deflection; the deflection is never below 1e-7 model
// units, and a NaN or infinite one throws TV_EXCEPTION (BAD_FACE). When
// `linear_deflection` is not null it receives the deflection in model units
// that the mesh was made at (NaN when the body has no source faces). Finer
// meshes measure an import against the model; the facet writers keep the
// rule above.
bool mesh_source_body(const BODY& body, double relative_deflection, std::vector<STL_TRIANGLE>& out,
                      double* linear_deflection = nullptr);
