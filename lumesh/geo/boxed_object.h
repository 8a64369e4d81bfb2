#pragma once
// What a box tree stores: a record per face (or facet) of a body, with the
// face's box in the body's own frame. Records are stored by value, so a tree
// of a million facets is a million small records in a few arrays, not a
// million allocations.
//
// The box is taken once, when the record is made. FACE::box() computes it from
// the face's boundary, and a tree reads it at every level of the split and at
// every query; the record is only valid while its face is unchanged, which is
// the tree's rule anyway.

#include <cstdint>

#include "host/geometry/box3.h"
#include "host/geometry/constants.h"

class FACE;

class BOXED_OBJECT {
 public:
  virtual const BOX3& get_box() const = 0;

 protected:
  BOXED_OBJECT() = default;
  BOXED_OBJECT(const BOXED_OBJECT&) = default;
  BOXED_OBJECT& operator=(const BOXED_OBJECT&) = default;
  // Records live by value in their lists and are never deleted through the base.
  ~BOXED_OBJECT() = default;
};

class BOXED_FACE final : public BOXED_OBJECT {
 public:
  // `face` must be a live face; its box is read here.
  explicit BOXED_FACE(FACE* face);

  FACE* get_face() const { return face_; }
  // The face's sysid when the record was made: with it a holder can tell
  // whether the face still exists (ENTITY::is_live) before touching it.
  std::uint64_t get_sysid() const { return sysid_; }
  const BOX3& get_box() const override { return box_; }

 private:
  FACE* face_;  // not owned
  std::uint64_t sysid_;
  BOX3 box_;
};

class BOXED_FACET final : public BOXED_OBJECT {
 public:
  // `facet` must be a live face (a triangle of a mesh body); its box is read here.
  explicit BOXED_FACET(FACE* facet);

  FACE* get_facet() const { return facet_; }
  FACE* get_model_face() const { return model_face_; }
  double get_distance() const { return distance_; }
  const BOX3& get_box() const override { return box_; }

  // Keeps the nearer of the stored and the given model face: stores both and
  // answers true when the stored distance is strictly greater than `distance`.
  // Of two equal distances the first one stays; a NaN distance never replaces.
  bool update_model_face(FACE* face, double distance);

 private:
  FACE* facet_;                 // not owned
  FACE* model_face_ = nullptr;  // not owned; the nearest model face so far
  double distance_ = host_pos_inf();
  BOX3 box_;
};
