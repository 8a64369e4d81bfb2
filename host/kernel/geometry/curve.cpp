#include "host/kernel/geometry/curve.h"

const ENTITY_TYPE curve::type("CURVE", "geo", &GEOMETRY_ENTITY::type);
