#pragma once
// Geometry values and kernel entities between Lisp and C++. Readers check
// their argument and throw LISP_ERROR for a wrong one; a handle of a destroyed
// entity is an error too, never a pointer to freed memory.

#include "host/geometry/position3.h"
#include "host/geometry/transform3.h"
#include "host/geometry/vector3.h"
#include "host/lisp/laobj.h"

class ENTITY;
class ENTITY_TYPE;

// A point: a GPNT3D, or a list or vector of three reals.
POSITION3 object_to_POSITION3(LAOBJ* x);
VECTOR3 object_to_VECTOR3(LAOBJ* x);
LAOBJ* make_gpnt3d(const POSITION3& p);
LAOBJ* make_gpnt3d(const VECTOR3& v);

TRANSFORM3 object_to_transf(LAOBJ* x);
LAOBJ* make_transf(const TRANSFORM3& t);

// A handle of the entity, typed by its type symbol (K2::FACE, GEO::PLANE);
// NIL for a null entity. The handle does not keep the entity alive.
LAOBJ* make_ptr(ENTITY* e);
// Interns and exports the type symbol of an entity type (at start-up).
void register_type_symbol(const ENTITY_TYPE& t);
// The entity of a handle, after checking that it is alive and of the
// expected kind. NIL gives null when `allow_nil`, an error otherwise.
ENTITY* object_to_ENTITY_ptr(LAOBJ* x, const ENTITY_TYPE& expected, bool allow_nil = false);
template <class T>
T* object_to_entity(LAOBJ* x, bool allow_nil = false) {
  return static_cast<T*>(object_to_ENTITY_ptr(x, T::type, allow_nil));
}

// Native objects that are not kernel entities (a progress bar) reach Lisp as
// handles of the binding that made them; the binding registers how to turn a
// handle back into its object, so code that only knows the kind can convert.
using NON_ENTITY_CONVERTER = void* (*)(LAOBJ* x);
void register_non_entity_kind(const char* kind, NON_ENTITY_CONVERTER converter);
// The native object behind a handle of that kind; null for NIL. A type error
// for another object, and an error when no binding registered the kind.
void* object_to_NonEntity_ptr(LAOBJ* x, const char* kind);
