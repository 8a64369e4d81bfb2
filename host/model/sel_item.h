#pragma once
// SEL_ITEM: one selected thing of the model: the item (a parcel, a face of a
// part's body, or a feature), the path to it from the root, and its type.
// For a parcel the path ends at the parcel itself (the root's is empty); for
// a face it ends at the part instance that shows the face's body; for a
// feature at the parcel that carries it. Because the path names one place in
// the displayed tree, two items of one shared part differ by their paths.
//
// An item holds handles, not ownership: item() answers null once the entity
// is gone, and is_live() tells whether the item and its whole path exist.

#include <cstdint>

#include "host/kernel/entity/entity.h"
#include "host/model/parcel_path.h"

enum SEL_TYPE { s_part, s_assembly, s_container, s_face, s_feature };

// The type that every feature entity type derives from: an entity of such a
// type is selected as s_feature.
extern const ENTITY_TYPE MODEL_FEATURE_TYPE;

class SEL_ITEM {
 public:
  // The live item, or null once it was destroyed.
  ENTITY* item() const;
  const PARCEL_PATH& path() const { return path_; }
  SEL_TYPE type() const { return type_; }
  // True while the item and every instance of its path exist.
  bool is_live() const;

  bool operator==(const SEL_ITEM& other) const {
    return item_ == other.item_ && sysid_ == other.sysid_ && type_ == other.type_ &&
           path_ == other.path_;
  }

 private:
  friend SEL_ITEM make_sel_item(ENTITY* item, const PARCEL_PATH& path);
  SEL_ITEM(ENTITY* item, const PARCEL_PATH& path, SEL_TYPE type)
      : item_(item), sysid_(item->sysid()), path_(path), type_(type) {}

  ENTITY* item_;  // not owned; read only after checking sysid_
  std::uint64_t sysid_;
  PARCEL_PATH path_;
  SEL_TYPE type_;
};

// An item of a live entity with its path; the type follows from the entity.
// Throws TV_EXCEPTION: NULL_ARGUMENT for null, WRONG_ITEM for an entity that
// is no parcel, face or feature, BAD_SEL_PATH for a path that does not lead
// from the root to the item as described above.
SEL_ITEM make_sel_item(ENTITY* item, const PARCEL_PATH& path);
// make_sel_item(p, path_of(p)).
SEL_ITEM sel_item_of(NPARCEL* p);

inline ENTITY* sel_item_item(const SEL_ITEM& s) { return s.item(); }
inline const PARCEL_PATH& sel_item_path(const SEL_ITEM& s) { return s.path(); }
inline SEL_TYPE sel_item_type(const SEL_ITEM& s) { return s.type(); }
