#pragma once
// STEP import into the kernel: a CAD model read from a STEP file becomes
// kernel bodies whose faces keep the model's exact surfaces and answer the
// kernel's face queries.
//
// Each solid of the file becomes one body (one shell per shell of the solid,
// voids included); each shell that is in no solid becomes a body of its own,
// and faces in no shell together make one more; such bodies carry the
// face-part marker unless their shell is closed. A body's resolution is the
// largest tolerance of its shape, and never below resolution::_min_resabs.
//
// Faces keep their surface and orientation: an exact plane or cylinder
// becomes the kernel's own `plane` or `cylinder`, any other surface an
// `occ_surface` (occ_geometry.h). A face reversed in its shell has sense true.
// Each wire becomes a loop, the outer wire first (LOOP_OUTER, the others
// LOOP_INNER), of coedges that run as the wire does. Every edge of the model
// is one kernel edge shared by its faces (a closed edge such as a full circle
// is two, split at its middle, since a kernel edge has two distinct ends);
// degenerate edges (a sphere's pole) have no kernel edge. Vertices are
// shared. Edges on lines are `straight`, the others `occ_curve`.
//
// Lengths are in millimetres, whatever unit the file states (the reader
// converts). Assemblies are flattened: every placed instance of a part is a
// body of its own, already moved to its place (the body's transform is the
// identity).
//
// Faces the kernel's own routines can answer (a plane or cylinder bounded by
// straight edges) are left to them; every other face keeps its source face in
// an attribute that answers box, point tests, inner points and tessellation
// through OpenCASCADE (ops/foreign_face.h). Every face, answered either way,
// keeps its source face (occ_source_face), so that the writers can hand the
// model back with its own exact, shared edges.

#include <string>
#include <vector>

#include "host/kernel/topology/topology_fwd.h"

// Reads the STEP file at `path` and returns its bodies, in the order of the
// file's shapes; the caller owns them (BODY::lose). Throws TV_EXCEPTION
// (UNREADABLE_FILE) for a missing, unreadable, empty or corrupt file, and
// for one that holds no solid, shell or face; no body is left behind then.
// Cost: OCCT's reading and transfer, then O(faces + edges + vertices).
std::vector<BODY*> read_step(const std::string& path);
