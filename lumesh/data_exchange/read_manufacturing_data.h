#pragma once
// The Lisp side of the import entry.

#include "host/lisp/laobj.h"
#include "lumesh/mesh/mesh.h"

// NIL: nothing; :PLANES; :CYLINDERS; a list of those keywords: their union.
// Anything else, and a list element that isn't a keyword, raises the Lisp
// error "~A is not a supported reconstruction option" with the object.
MESH::SURFACE_RECONSTRUCTION object_to_recognition_options(LAOBJ* object);

// Registers READ-MANUFACTURING-DATA in LUMESH.DATA-EXCHANGE.
void register_read_manufacturing_data();
