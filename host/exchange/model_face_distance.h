#pragma once
// Distances from positions to a face of a body read from a CAD model
// (read_step), measured on the model's exact face: to the closest point of
// its surface when that point lies inside the face, else to the closest
// point of its boundary. This is how a body made from a mesh of the model is
// held against the model, face by face; the kernel's own face queries only
// say whether a point of the surface is inside, not how far a point off the
// face is.
//
// The header stays free of OpenCASCADE: the prepared projection onto the
// surface, the face's boundary classifier and the boundary polylines live
// behind a private implementation.

#include <memory>

#include "host/geometry/position3.h"
#include "host/kernel/topology/topology_fwd.h"

class MODEL_FACE_DISTANCE {
 public:
  // Prepares the face, which must carry its source face (occ_face_occt.h).
  // The boundary is followed along polylines within `boundary_deflection`
  // model units of the edges (> 0), so a distance to the boundary is exact to
  // that much. Throws TV_EXCEPTION (BAD_FACE) for a face without a source
  // face and for one OCCT cannot prepare. Cost: OCCT's set-up of a
  // projection and a classifier, plus the boundary's polylines.
  MODEL_FACE_DISTANCE(const FACE* face, double boundary_deflection);
  ~MODEL_FACE_DISTANCE();
  MODEL_FACE_DISTANCE(MODEL_FACE_DISTANCE&&) noexcept;
  MODEL_FACE_DISTANCE& operator=(MODEL_FACE_DISTANCE&&) noexcept;
  MODEL_FACE_DISTANCE(const MODEL_FACE_DISTANCE&) = delete;
  MODEL_FACE_DISTANCE& operator=(const MODEL_FACE_DISTANCE&) = delete;

  // The area of the face, by OCCT's integration over its exact surface.
  double area() const { return area_; }

  // The distance from p to the face when it is at most `limit` (>= 0), and
  // +infinity when it is farther (or p is not finite). Interior points are
  // found among the extrema of the distance to the surface, classified
  // against the face's boundary; the boundary is searched within the
  // smaller of `limit` and the best interior distance only. The projection
  // keeps its state between calls: one object serves one thread.
  double distance(const POSITION3& p, double limit) const;

 private:
  struct IMPL;
  std::unique_ptr<IMPL> impl_;  // owned
  double area_ = 0.0;
};
