#include "host/kernel/history/historic_entity.h"

#include "host/kernel/history/history.h"

HISTORIC_ENTITY::HISTORIC_ENTITY() { HISTORY::instance().record_create(this); }

void HISTORIC_ENTITY::backup() { HISTORY::instance().record_change(this); }

void HISTORIC_ENTITY::lose_entity() { HISTORY::instance().record_destroy(this); }
