#pragma once
// A body read from a CAD model, as the model's own shape again: for the
// exchange layer's .cpp files only (it includes OpenCASCADE).
//
// The faces of an imported body keep their source faces (occ_face_occt.h),
// and those share their edges and vertices as the model did. Put back into
// shells they give the model's topology and exact geometry without any
// rebuilding or sewing, whatever kinds of surface and curve it has.

#include <TopoDS_Shape.hxx>

#include "host/kernel/topology/topology_fwd.h"

enum class SOURCE_COVERAGE {
  NONE,  // no face has a source face: the body is the kernel's own
  SOME,  // some faces have one and some don't
  ALL,   // every face has one
};

// Which of the body's faces carry a source face. O(faces).
SOURCE_COVERAGE source_coverage(const BODY& body);

// The body in its own frame from its source faces, grouped by the kernel's
// shells: a solid per shell when the body is closed (no face-part marker),
// else a shell; several shells give a compound. A null shape when no face
// has a source face. Throws TV_EXCEPTION (MIXED_BODY_FACES) when only some
// have: the two kinds share no edges, and a solid made of both would leak.
TopoDS_Shape source_body_shape(const BODY& body);
