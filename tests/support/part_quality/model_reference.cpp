// The model's faces, prepared once per part and asked for every sample.

#include "support/part_quality/model_reference.h"

#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"

namespace part_quality {

KIND_GROUP group_of(SURFACE_KIND kind) {
  if (kind == SURFACE_KIND::PLANE) return KIND_GROUP::PLANE;
  if (kind == SURFACE_KIND::CYLINDER) return KIND_GROUP::CYLINDER;
  return KIND_GROUP::OTHER;
}

const char* group_name(KIND_GROUP g) {
  switch (g) {
    case KIND_GROUP::PLANE:
      return "plane";
    case KIND_GROUP::CYLINDER:
      return "cylinder";
    case KIND_GROUP::OTHER:
      break;
  }
  return "other";
}

MODEL_REFERENCE::MODEL_REFERENCE(const BODY& model, double boundary_deflection) {
  std::vector<const FACE*> faces;
  model.scan_faces(
      [](FACE* f, void* data) {
        static_cast<std::vector<const FACE*>*>(data)->push_back(f);
        return SCAN_CONTINUE;
      },
      &faces);
  faces_.reserve(faces.size());
  std::vector<BOX3> boxes;
  boxes.reserve(faces.size());
  for (const FACE* f : faces) {
    MODEL_FACE_DISTANCE gauge(f, boundary_deflection);
    const double area = gauge.area();
    faces_.push_back(MODEL_FACE{f->geometry()->surface_kind(), area, f->box(), std::move(gauge)});
    boxes.push_back(faces_.back().box);
  }
  tree_ = BOX_TREE(boxes);
}

NEAREST_MODEL_FACES MODEL_REFERENCE::nearest(const POSITION3& p, SURFACE_KIND kind,
                                             double tol) const {
  NEAREST_MODEL_FACES out;
  tree_.near(p, tol, stack_, [&](std::size_t i) {
    const MODEL_FACE& f = faces_[i];
    // A face farther than the best one found of the same kind can change
    // nothing but the nearest of any kind, which only matters when no face
    // of the same kind is near.
    const double limit = out.same >= 0 ? std::min(tol, out.same_distance) : tol;
    const double d = f.distance.distance(p, limit);
    if (!(d <= limit)) return;
    if (d < out.any_distance) {
      out.any_distance = d;
      out.any = static_cast<long>(i);
    }
    if (f.kind == kind && d < out.same_distance) {
      out.same_distance = d;
      out.same = static_cast<long>(i);
    }
  });
  return out;
}

}  // namespace part_quality
