#pragma once
// The Lisp face of the host's logical and display tables (host/ui
// table_registry.h), in FRAME2. Tables are named by strings, columns by
// keywords; see the README's Lisp reference for every function. A refused
// operation (unknown table or column, a row out of range, a value of the
// wrong type) is a Lisp error with the table's text; an action of a table
// that fails is reported in the output box, and the call answers NIL.

#include "host/ui/table_value.h"

void register_table_bindings();

// The user's length unit (tv-inq-length-units), in which tables show
// lengths; millimetres before the host's Lisp has started or when it cannot
// tell.
LENGTH_UNIT user_length_unit();
