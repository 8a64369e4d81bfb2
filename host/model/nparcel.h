#pragma once
// NPARCEL: an instance of the model tree, what a user sees as a node. It has a
// name, a transformation `tm` from its own frame to its parent's frame
// (row-vector convention: p_parent = p_own * tm), the contents it shows
// (shared with the other instances of the same contents) and the contents it
// sits in (its parent; null while the instance is outside any tree).
//
// The kind of an instance is the kind of its contents and never changes:
// NPART3 shows part contents, NASMB3 assembly contents, NCONT container
// contents. The root of the model tree is an NASMB3 (model_tree.h).
//
// Every field lives in NPARCEL_DATA and is written through the history, so a
// recovered state brings names, transforms and tree links back exactly. Only
// the tree operations write.

#include <string>
#include <utility>
#include <vector>

#include "host/base/pool.h"
#include "host/geometry/transform3.h"
#include "host/kernel/history/historic_entity.h"
#include "host/model/parcel_struct.h"

struct NPARCEL_DATA {
  std::string name;  // UTF-8, without '/'; unique among the children of `parent`
  TRANSFORM3 tm;     // own frame to the parent's frame
  // Shared: counted in its instance list; it dies with its last instance.
  PARCEL_STRUCT* contents = nullptr;
  // Not owned: the contents whose children list holds this instance, or null.
  PARCEL_STRUCT* parent = nullptr;
  // Owned: features attached to this instance alone, oldest first
  // (universal_feature.h).
  std::vector<THIN_UNIVERSAL_FEATURE*> features;
};

class NPARCEL : public TRACKED<NPARCEL_DATA> {
 public:
  static const ENTITY_TYPE type;

  PARCEL_KIND kind() const { return d().contents->kind(); }
  const std::string& name() const { return d().name; }
  const TRANSFORM3& tm() const { return d().tm; }
  // The contents this instance shows. The argument is accepted for callers
  // that pass one; the answer is the same for both values.
  PARCEL_STRUCT* shared_data(bool reserved = false) const {
    (void)reserved;
    return d().contents;
  }
  // The contents that holds this instance among its children; null outside a tree.
  PARCEL_STRUCT* parent_contents() const { return d().parent; }
  const std::vector<THIN_UNIVERSAL_FEATURE*>& features() const { return d().features; }

 protected:
  explicit NPARCEL(NPARCEL_DATA data) : TRACKED(std::move(data)) {}
  ~NPARCEL() override = default;

 private:
  friend struct MODEL_EDIT;
};

// An instance of part contents.
class NPART3 final : public NPARCEL, public POOLED<NPART3> {
 public:
  static const ENTITY_TYPE type;
  const ENTITY_TYPE& identity() const override { return type; }

  PART_STRUCT* part_data() const { return static_cast<PART_STRUCT*>(shared_data()); }
  // The part's body, shared with every instance of the part; null when it has none.
  BODY* body() const { return part_data()->body(); }

 private:
  friend struct MODEL_EDIT;
  explicit NPART3(NPARCEL_DATA data) : NPARCEL(std::move(data)) {}
  ~NPART3() override = default;
};

// An instance of assembly contents.
class NASMB3 final : public NPARCEL, public POOLED<NASMB3> {
 public:
  static const ENTITY_TYPE type;
  const ENTITY_TYPE& identity() const override { return type; }

 private:
  friend struct MODEL_EDIT;
  explicit NASMB3(NPARCEL_DATA data) : NPARCEL(std::move(data)) {}
  ~NASMB3() override = default;
};

// An instance of container contents.
class NCONT final : public NPARCEL, public POOLED<NCONT> {
 public:
  static const ENTITY_TYPE type;
  const ENTITY_TYPE& identity() const override { return type; }

 private:
  friend struct MODEL_EDIT;
  explicit NCONT(NPARCEL_DATA data) : NPARCEL(std::move(data)) {}
  ~NCONT() override = default;
};
