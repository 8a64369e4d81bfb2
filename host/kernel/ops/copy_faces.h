#pragma once
// copy_faces: a new body made of copies of some faces of a body. Faces that
// share an edge or a vertex in the original share it in the copy; the copies
// use the original surfaces and curves (geometry is immutable and shared).

#include "host/kernel/ops/anyptr_dictionary.h"
#include "host/kernel/ops/entity_table.h"
#include "host/kernel/topology/topology_fwd.h"

// Makes a body with one shell (type 2) holding a copy of every face of `faces`
// that lies in `body` (all of them when `body` is null), in table order, with
// the body's transform and resolution. `dict` receives original -> copy for
// every face, edge and vertex copied. Returns null when no face was copied.
BODY* copy_faces(BODY* body, const ENTITY_TABLE<FACE>& faces, ANYPTR_DICTIONARY& dict,
                 void* reserved = nullptr);
