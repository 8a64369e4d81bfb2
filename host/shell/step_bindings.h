#pragma once
// The Lisp entry of STEP import into the model tree, in FRAME2 (external):
//   (load-step-file path &key parent)
// reads the STEP file at `path` (a string) with its parts, assemblies, names
// and colours, places it as the last child of `parent` (a parcel handle or a
// sel_item of a parcel; the root when absent or NIL) and returns the sel_item
// of the new top-level parcel. A file with several top-level products gives
// an assembly named after the file that holds them. Errors are Lisp errors:
// a module error (k2:module-error) for a missing, empty or corrupt file, for
// assemblies that contain themselves or nest absurdly deep, and for a parent
// that cannot hold the import (a part); a type error for a bad argument. A
// failed call leaves the model tree and the bodies as they were.

void register_step_bindings();
