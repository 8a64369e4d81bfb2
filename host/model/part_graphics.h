#pragma once
// What a part draws: triangles with normals, in patches of one colour each.
//
// A part with a body draws the tessellation of its body's faces; a
// graphics-only (lightweight) part draws triangles stored with it and has no
// body at all. Such a part shows, has a box and colours, and is refused by
// every operation that needs a solid: add_body_to_part refuses it
// (GRAPHICS_ONLY), and require_part_body says so to the operations that take
// a part for its body.
//
// Coordinates are in the part's own frame (the body's transformation is
// applied; an instance's transformation is not). Single precision is what a
// display needs, and halves the memory of a large mesh.

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "host/base/mod_info.h"
#include "host/geometry/box3.h"
#include "host/model/nparcel.h"

// Triangles of one colour, as a display list takes them: a normal per corner.
struct GRAPHICS_PATCH {
  std::optional<RGB_COLOR> color;  // a face's own colour; none: the part's colour
  std::vector<std::array<float, 3>> positions;
  std::vector<std::array<float, 3>> normals;  // one per position, unit length
  std::vector<std::array<std::uint32_t, 3>> triangles;  // indices into positions

  bool operator==(const GRAPHICS_PATCH&) const = default;
};

struct PART_GRAPHICS {
  std::vector<GRAPHICS_PATCH> patches;  // one per face of the body it was made from
  std::optional<RGB_COLOR> color;       // the part's colour
  std::optional<float> transparency;    // the part's transparency, 0 opaque

  std::size_t triangle_count() const;
  // The box of all positions; nil without triangles. O(positions).
  BOX3 box() const;
  bool operator==(const PART_GRAPHICS&) const = default;
};

// The graphics a part draws now: its stored triangles for a graphics-only
// part, else the tessellation of its body, one patch per face; with the
// part's colour and transparency as they are now. A part without body gives no patches.
// Throws TV_EXCEPTION: NOT_A_PART for null or another parcel, and the
// kernel's error for a face that can't be tessellated. O(faces + triangles).
PART_GRAPHICS part_graphics(const NPARCEL* part);

// A new graphics-only part outside the tree, named `name` (a system name when
// empty), showing `graphics` with its colour and transparency. The graphics
// must not be null.
NPART3* create_graphics_part(std::shared_ptr<const PART_GRAPHICS> graphics,
                             const std::string& name = "");

// The stored graphics of a graphics-only part; null for any other parcel.
const PART_GRAPHICS* get_part_graphics(const NPARCEL* part);
// True for a part that holds stored graphics instead of a body.
bool is_graphics_only_part(const NPARCEL* part);

// The body of a part for an operation that works on solids. Throws
// TV_EXCEPTION: NOT_A_PART for null or another parcel, GRAPHICS_ONLY for a
// graphics-only part, NO_BODY for a part without a body.
BODY* require_part_body(const NPARCEL* part);
