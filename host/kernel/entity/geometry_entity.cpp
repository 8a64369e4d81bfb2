#include "host/kernel/entity/geometry_entity.h"

#include "host/base/assertion.h"

const ENTITY_TYPE GEOMETRY_ENTITY::type("GEOMETRY", "geo", &ENTITY::type);

void GEOMETRY_ENTITY::release() const {
  HOST_ASSERT(refs_ > 0, "release of an unreferenced geometry entity");
  if (refs_ > 0 && --refs_ == 0) delete this;
}
