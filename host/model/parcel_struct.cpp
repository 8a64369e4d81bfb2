#include "host/model/parcel_struct.h"

const ENTITY_TYPE PARCEL_STRUCT::type("PARCEL_STRUCT", "frame2", &ENTITY::type);
const ENTITY_TYPE PART_STRUCT::type("PART_STRUCT", "frame2", &PARCEL_STRUCT::type);
const ENTITY_TYPE ASMB_STRUCT::type("ASMB_STRUCT", "frame2", &PARCEL_STRUCT::type);
const ENTITY_TYPE CONT_STRUCT::type("CONT_STRUCT", "frame2", &PARCEL_STRUCT::type);

bool PART_STRUCT::get_color(RGB_COLOR& c) const {
  if (!d().color) return false;
  c = *d().color;
  return true;
}

bool PART_STRUCT::get_transparency(float& t) const {
  if (!d().transparency) return false;
  t = *d().transparency;
  return true;
}
