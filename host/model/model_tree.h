#pragma once
// The model tree: one global root assembly instance and, below it, instances
// placed in the children lists of contents. Contents form a directed acyclic
// graph (a contents never contains itself, directly or indirectly); each
// instance sits in at most one contents. A contents shown by several
// instances appears at several places in the displayed tree.
//
// Every change goes through the history, so HISTORY::recover_state undoes
// it. Operations that can be refused return a MOD_INFO* (model_errors.h; null
// is success) and change nothing when they refuse. Arguments must be live
// model entities or null; null is refused or answered with an empty result.

#include <string>
#include <vector>

#include "host/base/mod_info.h"
#include "host/geometry/transform3.h"
#include "host/model/nparcel.h"

// The root: an assembly instance named "" with the identity transformation,
// made on first use and never destroyed by the tree operations. Should a
// recovered state predate its creation, the next call makes a new one.
NPARCEL* root_parcel();
// True for the live root (never creates it).
bool is_root_parcel(const NPARCEL* p);

// New instances with new, empty contents, outside the tree, identity tm. An
// empty name gives a system name of the kind (parcel_names.h). Names
// containing '/' have each '/' replaced by '_'.
NPART3* create_npart3(const std::string& name = "");
NASMB3* create_nasmb3(const std::string& name = "");
NCONT* create_cont(const std::string& name = "");
// A new instance outside the tree showing the contents of `of`, with the
// identity tm; an empty name gives a system name. Null for null and the root.
NPARCEL* create_instance(NPARCEL* of, const std::string& name = "");

// Places `child` among the children of the contents of `parent`, before the
// child at `position`, or last for -1 (and any position out of range). A name
// that clashes with a sibling's gets a suffix (parcel_names.h). Refused: null
// arguments, the root as child, a child already in a contents, a part or
// assembly into a part, and any insertion after which a contents would
// contain itself. O(size of the child's subgraph + siblings).
MOD_INFO* insert_child(NPARCEL* parent, NPARCEL* child, int position = -1);
// insert_child(root_parcel(), child, position).
MOD_INFO* insert_in_graph(NPARCEL* child, int position = -1);
// Takes `child` out of the children of the contents of `parent`; it then sits
// in no tree and belongs to the caller, who inserts or destroys it.
MOD_INFO* remove_child(NPARCEL* parent, NPARCEL* child);
// Takes `p` out of its parent and destroys it through the history. Its
// contents die with their last instance, and with them their body and their
// children, in turn by the same rule. Refused for null and the root.
MOD_INFO* destroy_parcel(NPARCEL* p);

// The transformation from the frame of `p` to its parent's frame. The root
// keeps the identity (refused).
MOD_INFO* set_tm(NPARCEL* p, const TRANSFORM3& tm);
// The identity for null.
const TRANSFORM3& inq_tm(const NPARCEL* p);

// Children of the contents of `p`, in order (empty for null).
int inq_num_children(const NPARCEL* p);
// Null when i is out of range.
NPARCEL* inq_child(const NPARCEL* p, int i);
const std::vector<NPARCEL*>& children(const NPARCEL* p);

// The instance whose contents hold `p`: the one before `p` on path_of(p)
// (parcel_path.h), so a place below the root is preferred. Null for the root
// and for an instance in no contents. O(instances and contents above `p`).
NPARCEL* inq_parent(const NPARCEL* p);
// The contents of `p`; null for null.
PARCEL_STRUCT* inq_shared_data(const NPARCEL* p);
