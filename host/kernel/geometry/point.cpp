#include "host/kernel/geometry/point.h"

const ENTITY_TYPE point::type("POINT", "geo", &GEOMETRY_ENTITY::type);
const ENTITY_TYPE point3::type("POINT3", "geo", &point::type);

point3* point3::transform_copy(const TRANSFORM3& t) const {
  return new point3(pos_ * t);
}
