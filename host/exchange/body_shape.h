#pragma once
// A kernel body as an OCCT shape, for the exchange writers. The shape type
// is only forward declared so that no OCCT header leaks out of this layer's
// .cpp files.

#include "host/kernel/topology/topology_fwd.h"

class TopoDS_Shape;

// The body in its own frame (its transform is not applied): a solid when it
// is closed, otherwise a shell; a body of several shells gives a compound of
// one solid or shell per shell.
// A body read from a CAD model is its source faces put back together
// (source_shape_occt.h). Throws TV_EXCEPTION (CANNOT_CONVERT_BODY,
// MIXED_BODY_FACES) as write_step describes.
TopoDS_Shape body_shape(const BODY& body);
