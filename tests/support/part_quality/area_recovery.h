#pragma once
// How much of a part's model an imported body gives back, by area.
//
// The imported body's faces are sampled evenly by area: each face's
// triangles (cylinders developed into their plane, so that the weights are
// the exact areas of the recognised surface) are cut into equal
// sub-triangles of about the same area everywhere, and each sub-triangle's
// centroid, on the recognised surface, carries its area. Each sample is held against the
// model's exact faces (MODEL_REFERENCE):
//   - within the tolerance of a model face of the same kind: it recovers
//     that face (a model face is recovered at most by its own area);
//   - within the tolerance of model faces of other kinds only: wrong kind;
//   - farther than the tolerance from every model face: off the part.
// Faces that are still single facets of the mesh (a plane face of three
// straight edges) recover nothing: their area is counted apart. A model face
// that is itself one such triangle, rare on real parts, is counted there
// too when it comes back whole.

#include <array>
#include <cstddef>

#include "host/kernel/topology/topology_fwd.h"
#include "support/part_quality/model_reference.h"

namespace part_quality {

struct AREA_RECOVERY {
  // The model, by kind group (plane, cylinder, other).
  std::array<double, 3> model_area{};
  std::array<int, 3> model_faces{};
  // Model area recovered, for planes and cylinders.
  std::array<double, 2> recovered{};
  // The imported body.
  double body_area = 0.0;
  double wrong_kind_area = 0.0;
  // The same area split by the recognised kind (plane, cylinder) and the
  // kind group of the nearest model face, to tell a lost cylinder from a
  // plane laid over a cone or a free-form surface.
  std::array<std::array<double, 3>, 2> wrong_kind_by{};
  double off_part_area = 0.0;
  double facet_area = 0.0;
  std::array<int, 2> faces{};   // recognised planes and cylinders (more than one facet)
  int other_faces = 0;          // faces of any other kind
  int single_facets = 0;        // faces that are still one triangle of the mesh
  int untessellated_faces = 0;  // faces that did not tessellate (left out of every area)
  // Recognised faces per model face they lie on, for planes and cylinders:
  // each recognised face counts for the model face that takes most of its
  // area; the mean over the model faces that take any. 1 when every model
  // face came back as one face.
  std::array<double, 2> faces_per_model_face{};
  std::size_t samples = 0;

  // Percentages; NaN where the whole is zero.
  double recovered_pct(KIND_GROUP g) const;
  double wrong_kind_pct() const;
  double off_part_pct() const;
  double facet_pct() const;
};

// Measures `imported` against `model` with the given tolerance (model
// units) and about `target_samples` samples over the body's area.
AREA_RECOVERY measure_area_recovery(const BODY& imported, const MODEL_REFERENCE& model,
                                    double tolerance, std::size_t target_samples);

}  // namespace part_quality
