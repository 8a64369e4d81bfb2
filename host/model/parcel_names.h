#pragma once
// Names and path names of the model tree.
//
// A name is a UTF-8 string without '/'. Names are unique among the children
// of one contents: a name that clashes gets the smallest free suffix "-k"
// (k >= 1), so "bolt" becomes "bolt-1", then "bolt-2". An empty name becomes
// a system name: the kind's letter ("p" part, "a" assembly, "c" container)
// and a number never handed out before in this run.
//
// A path name is "/" for the root and "/" followed by the names of the path
// from below the root down to the object, joined by "/" ("/a1/p2"). It follows
// inq_parent, so for an object whose ancestors' contents are shown by several
// instances it names one place of it; every place leads to the same object.

#include <string>

#include "host/base/mod_info.h"
#include "host/model/nparcel.h"

// A fresh system name of the kind ("p1", "a1", "c1", then "p2" ...).
std::string get_system_name(PARCEL_KIND kind);
// A name that no child of the contents of `parent` carries, made from `name`
// by the rules above ('/' becomes '_'). Any name goes for a null parent.
std::string get_system_name(const NPARCEL* parent, PARCEL_KIND kind, const std::string& name);

// Gives `p` the name made from `name` by the rules above, among the siblings
// of `p`. Refused for null and the root.
MOD_INFO* assign_name(NPARCEL* p, const std::string& name);
// The name of `p` ("" for the root and for null).
const std::string& inquire_name(const NPARCEL* p);
// The same as inquire_name.
const std::string& inq_obj_basename(const NPARCEL* p);
// The path name of `p`; "" for null and for an object outside the tree below
// the root. O(depth).
std::string inq_obj_pathname(const NPARCEL* p);
// The object at a path name, or null. The name starts with '/'; empty
// components ("//", a trailing '/') are skipped. O(sum of the children lists
// along the way).
NPARCEL* pathname_to_obj(const std::string& pathname);
