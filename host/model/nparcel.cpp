#include "host/model/nparcel.h"

const ENTITY_TYPE NPARCEL::type("NPARCEL", "frame2", &ENTITY::type);
const ENTITY_TYPE NPART3::type("NPART3", "frame2", &NPARCEL::type);
const ENTITY_TYPE NASMB3::type("NASMB3", "frame2", &NPARCEL::type);
const ENTITY_TYPE NCONT::type("NCONT", "frame2", &NPARCEL::type);
