#pragma once
// A part's CAD model as the yardstick of an import: every face of the model
// body (read_step) with the kind of its surface, its exact area, its box and
// a distance gauge on the exact face, in a box tree, so that a point can be
// told which faces lie within a tolerance of it and how far.

#include <cstddef>
#include <limits>
#include <vector>

#include "host/exchange/model_face_distance.h"
#include "host/geometry/box3.h"
#include "host/kernel/geometry/surface.h"
#include "host/kernel/topology/topology_fwd.h"
#include "support/part_quality/box_tree.h"

namespace part_quality {

// The three groups a report tells apart: planes, cylinders, everything else
// (cones, spheres, tori, splines).
enum class KIND_GROUP { PLANE = 0, CYLINDER = 1, OTHER = 2 };
KIND_GROUP group_of(SURFACE_KIND kind);
const char* group_name(KIND_GROUP g);

struct MODEL_FACE {
  SURFACE_KIND kind;
  double area;
  BOX3 box;
  MODEL_FACE_DISTANCE distance;
};

// The faces the point lies within `tol` of that matter to a classification:
// the nearest one of the given kind, and the nearest one of any kind.
struct NEAREST_MODEL_FACES {
  long same = -1;  // index of the nearest face of the same kind; -1 for none
  double same_distance = std::numeric_limits<double>::infinity();
  long any = -1;
  double any_distance = std::numeric_limits<double>::infinity();
};

class MODEL_REFERENCE {
 public:
  // Prepares every face of `model`, a body read from a CAD model, whose
  // faces must keep their source faces; `boundary_deflection` as for
  // MODEL_FACE_DISTANCE. The body must outlive the reference. Throws
  // TV_EXCEPTION (BAD_FACE) when a face cannot be prepared.
  MODEL_REFERENCE(const BODY& model, double boundary_deflection);

  std::size_t size() const { return faces_.size(); }
  const MODEL_FACE& face(std::size_t i) const { return faces_[i]; }

  // Faces within `tol` of p; searches only faces whose boxes come that near.
  NEAREST_MODEL_FACES nearest(const POSITION3& p, SURFACE_KIND kind, double tol) const;

 private:
  std::vector<MODEL_FACE> faces_;
  BOX_TREE tree_;
  mutable std::vector<std::size_t> stack_;  // scratch of the tree search
};

}  // namespace part_quality
