#pragma once
// Contents: the shared data of the model tree. An instance (NPARCEL) shows one
// contents; several instances can show the same one, and a change to the
// contents is seen through all of them. A contents lives as long as at least
// one instance shows it and dies with the last.
//
// Every contents holds an ordered list of child instances. Part contents also
// hold the part's body and its optional colour and transparency. Assemblies
// and containers may hold any instance; a part holds containers only (studies
// and similar records that belong to the part).
//
// Every field lives in PARCEL_STRUCT_DATA and is written through the history,
// so a recovered state brings children lists, bodies and colours back exactly.
// Only the tree operations (model_tree.h, part_data.h, parcel_names.h) write.

#include <memory>
#include <optional>
#include <vector>

#include "host/base/pool.h"
#include "host/kernel/history/historic_entity.h"

class BODY;
class NPARCEL;
class THIN_UNIVERSAL_FEATURE;
struct PART_GRAPHICS;

enum class PARCEL_KIND { part, assembly, container };

// A colour, red, green and blue in [0, 1].
struct RGB_COLOR {
  double r = 0.0;
  double g = 0.0;
  double b = 0.0;
  bool operator==(const RGB_COLOR&) const = default;
};

struct PARCEL_STRUCT_DATA {
  // Owned: the instances placed in this contents, in display order. Each of
  // them names this contents as its parent; they die with it.
  std::vector<NPARCEL*> children;
  // Not owned: the instances that show this contents, oldest first. Never
  // empty while the contents is alive.
  std::vector<NPARCEL*> instances;
  BODY* body = nullptr;  // owned (parts only); its owner is this contents
  std::optional<RGB_COLOR> color;       // parts only
  std::optional<float> transparency;    // parts only; 0 opaque, 1 invisible
  // Owned: features attached to the contents, seen through every instance,
  // oldest first (universal_feature.h).
  std::vector<THIN_UNIVERSAL_FEATURE*> features;
  // Shared and never changed once stored (parts only): the stored triangles
  // of a graphics-only part, which then has no body (part_graphics.h).
  std::shared_ptr<const PART_GRAPHICS> graphics;
};

class PARCEL_STRUCT : public TRACKED<PARCEL_STRUCT_DATA> {
 public:
  static const ENTITY_TYPE type;

  virtual PARCEL_KIND kind() const = 0;

  const std::vector<NPARCEL*>& children() const { return d().children; }
  int number_of_children() const { return static_cast<int>(d().children.size()); }
  const std::vector<NPARCEL*>& instances() const { return d().instances; }
  const std::vector<THIN_UNIVERSAL_FEATURE*>& features() const { return d().features; }

 protected:
  PARCEL_STRUCT() = default;
  ~PARCEL_STRUCT() override = default;

 private:
  friend struct MODEL_EDIT;
};

// Part contents: a body, a colour and a transparency, each optional.
class PART_STRUCT final : public PARCEL_STRUCT, public POOLED<PART_STRUCT> {
 public:
  static const ENTITY_TYPE type;
  const ENTITY_TYPE& identity() const override { return type; }
  PARCEL_KIND kind() const override { return PARCEL_KIND::part; }

  BODY* body() const { return d().body; }
  // The stored graphics of a graphics-only part; null for any other part.
  const PART_GRAPHICS* graphics() const { return d().graphics.get(); }
  // False, and `c` untouched, when the part has no colour.
  bool get_color(RGB_COLOR& c) const;
  // False, and `t` untouched, when the part has no transparency.
  bool get_transparency(float& t) const;

 private:
  friend struct MODEL_EDIT;
  PART_STRUCT() = default;
  ~PART_STRUCT() override = default;
};

// Assembly contents: an ordered list of child instances.
class ASMB_STRUCT final : public PARCEL_STRUCT, public POOLED<ASMB_STRUCT> {
 public:
  static const ENTITY_TYPE type;
  const ENTITY_TYPE& identity() const override { return type; }
  PARCEL_KIND kind() const override { return PARCEL_KIND::assembly; }

 private:
  friend struct MODEL_EDIT;
  ASMB_STRUCT() = default;
  ~ASMB_STRUCT() override = default;
};

// Container contents: a folder-like grouping of child instances.
class CONT_STRUCT final : public PARCEL_STRUCT, public POOLED<CONT_STRUCT> {
 public:
  static const ENTITY_TYPE type;
  const ENTITY_TYPE& identity() const override { return type; }
  PARCEL_KIND kind() const override { return PARCEL_KIND::container; }

 private:
  friend struct MODEL_EDIT;
  CONT_STRUCT() = default;
  ~CONT_STRUCT() override = default;
};
