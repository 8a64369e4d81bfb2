#pragma once
// merge_3d: removes the edges between neighbouring faces that lie on the same
// surface, so that a region that recognition or construction left in pieces
// (a plane cut in two by a bridge to its hole, a cylinder in two halves)
// becomes one face.
//
// Faces stay faces of one polygonal loop: pieces are joined along one shared
// edge at a time, which splices two rings into one; a shared edge whose two
// sides already lie in one ring is removed only where it is a spur (its two
// coedges follow each other), since cutting anywhere else would split the
// ring. What remains of such edges are the bridges that reach a hole or close
// a band around a cylinder, as faces of this kernel have them anyway.
//
// Every change goes through the history.

#include "host/kernel/topology/topology_fwd.h"

class MOD_INFO;

struct MERGE_3D_OPTIONS {
  // Join faces whatever their colour and transparency; otherwise only faces
  // whose own colour and transparency agree (both absent counts as agreeing).
  bool ignore_attributes = false;
};

struct MERGE_3D_RESULT {
  int faces_removed = 0;  // faces that went into a neighbour
  int edges_removed = 0;
};

// Two faces are joined when they share an edge used by exactly those two
// coedges (running opposite ways), lie in the same shell or subshell, have
// the same outward side, and either share their surface object or lie on
// surfaces of the same geometry within the body's resolution, with every
// vertex of the joining face within that resolution of the first face's
// surface. Faces read from a CAD model (FOREIGN_FACE_ATT) are never joined.
// The face first in the body's scan order survives with its surface, sense
// and attributes.
//
// EMPTY_BODY for a body without faces, MISSING_GEOMETRY for null; the body is
// unchanged then. O(size of the body) apart from hashing.
MOD_INFO* merge_3d(BODY* body, const MERGE_3D_OPTIONS& options, MERGE_3D_RESULT* result = nullptr);
