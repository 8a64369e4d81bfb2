#pragma once
// A kernel body as an OCCT shape, for the exchange writers. The shape type
// is only forward declared so that no OCCT header leaks out of this layer's
// .cpp files.

#include "host/kernel/topology/topology_fwd.h"

class TopoDS_Shape;

// The body in its own frame (its transform is not applied): a solid when it
// is closed, otherwise a shell; a body of several shells gives a compound of
// one solid or shell per shell.
// Throws TV_EXCEPTION (CANNOT_CONVERT_BODY) as write_step describes.
TopoDS_Shape body_shape(const BODY& body);
