#pragma once
// PARCEL_PATH: the instances from just below the root down to an object, the
// root itself excluded (its transformation is always the identity). The
// empty path is the root's. Each instance is the child of the one before it
// (the first a child of the root), so the path names one place of the object
// in the displayed tree, even when contents are shown by several instances.
//
// The path holds handles: the instances are not owned, and their sysids are
// kept so that is_live() tells whether every one of them still exists.

#include <cstdint>
#include <vector>

#include "host/geometry/transform3.h"

class NPARCEL;

class PARCEL_PATH {
 public:
  PARCEL_PATH() = default;
  // The instances from the top down. Null entries are dropped.
  explicit PARCEL_PATH(const std::vector<NPARCEL*>& instances);

  // Appends an instance below the current last one; null is ignored.
  void push_back(NPARCEL* p);

  bool empty() const { return instances_.empty(); }
  int size() const { return static_cast<int>(instances_.size()); }
  NPARCEL* at(int i) const { return instances_[static_cast<std::size_t>(i)]; }
  // The deepest instance, the object itself; null for the root's path.
  NPARCEL* last() const { return instances_.empty() ? nullptr : instances_.back(); }
  const std::vector<NPARCEL*>& instances() const { return instances_; }

  // True while every instance of the path exists (was not destroyed).
  bool is_live() const;
  // True when the path leads down from the root: the first instance is a
  // child of the root and each further one a child of its predecessor. The
  // empty path is rooted. The instances must be live.
  bool rooted() const;

  // The map from the object's frame to the world: the deepest instance's tm
  // first, then its parent's, up to the first instance's (row vectors:
  // last.tm * ... * first.tm). With `inverse`, the map from the world to the
  // object's frame. The identity for the empty path. The instances must be live.
  TRANSFORM3 tm(bool inverse = false) const;
  // The same without the deepest instance's tm: the map from the frame the
  // object is placed in (its parent's) to the world, or its inverse.
  TRANSFORM3 tm_no_last(bool inverse = false) const;

  bool operator==(const PARCEL_PATH& other) const { return instances_ == other.instances_; }

 private:
  TRANSFORM3 product(std::size_t count, bool inverse) const;

  std::vector<NPARCEL*> instances_;   // not owned
  std::vector<std::uint64_t> sysids_; // of instances_, for is_live
};

// The path of `obj`, ending at `obj`. Of the places of `obj` below the root
// the first in this order: at every level upwards, the instances that show
// the parent contents are tried oldest first. For an object outside the tree
// below the root, the path goes up through the oldest placed instances (in a
// contents) to an instance that sits in no contents, and rooted() is false.
// The root and null give the empty path. O(instances and contents above `obj`).
PARCEL_PATH path_of(const NPARCEL* obj);
