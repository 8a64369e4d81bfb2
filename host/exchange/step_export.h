#pragma once
// STEP export of kernel bodies: the modeller's way of handing its B-reps to
// other CAD systems. One call writes one AP214 file; the bodies are not
// touched.
//
// Each body becomes a solid when it is closed (it does not carry the
// face-part marker) and a shell otherwise. A body read from a CAD model
// (read_step) is written from the model's own faces, so every kind of surface
// and curve it has survives exactly. Other bodies' faces keep their exact
// plane and cylinder; straight edges stay straight, except where a run of
// straight edges between a cylinder face and a plane face has every vertex on
// the plane's intersection with the cylinder: that run becomes one edge on
// the exact circle or ellipse. Bridges that join a hole to its face's periphery in one
// loop are dropped, so the holes come out as loops of their own.

#include <string>
#include <vector>

#include "host/geometry/transform3.h"
#include "host/kernel/topology/topology_fwd.h"

struct STEP_EXPORT_ITEM {
  const BODY* body = nullptr;  // not owned; must stay alive during write_step
  // Where the body sits in the file, applied after the body's own transform.
  // A similarity (rotation, translation, uniform scale); anything else is
  // refused.
  TRANSFORM3 placement;
  std::string name;  // UTF-8; empty for none
  bool has_color = false;
  double r = 0.0, g = 0.0, b = 0.0;  // in [0, 1] when has_color
};

// Writes the items as one STEP file (AP214) at `path`: one item as a part of
// its own, several as an assembly whose components carry the placements.
// Throws TV_EXCEPTION with
//   CANNOT_CONVERT_BODY  for an empty list, a null or empty body, a surface
//                        other than plane and cylinder, a curve other than
//                        straight, broken loops, or a placement that is not a
//                        similarity;
//   MIXED_BODY_FACES     for a body with faces read from a CAD model and faces
//                        built by the kernel together;
//   CANNOT_WRITE_FILE    for a path whose folder is missing or not writable,
//                        a path that names a folder, or a failed write.
// Nothing is half-written: the file is written under a temporary name in the
// same folder and renamed over `path` only when complete, and the temporary
// file is removed on every failure. Cost: O(faces + edges) for the conversion,
// plus OCCT's own writing.
void write_step(const std::vector<STEP_EXPORT_ITEM>& items, const std::string& path);
