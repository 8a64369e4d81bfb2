#include "host/kernel/entity/entity.h"

#include "host/kernel/entity/entity_registry.h"

const ENTITY_TYPE ENTITY::type("ENTITY", "k2", nullptr);

ENTITY::ENTITY() : sysid_(0) { ENTITY_REGISTRY::instance().enter(this); }

ENTITY::~ENTITY() { ENTITY_REGISTRY::instance().remove(this); }

bool ENTITY::is_alive() const { return ENTITY_REGISTRY::instance().is_live(this); }

ENTITY* ENTITY::lookup(std::uint64_t sysid) { return ENTITY_REGISTRY::instance().lookup(sysid); }

bool ENTITY::is_live(const ENTITY* e, std::uint64_t sysid) {
  if (e == nullptr) return false;
  // Look up by sysid first: `e` may point at freed memory, so it is compared, never read.
  return ENTITY_REGISTRY::instance().lookup(sysid) == e;
}

std::uint64_t ENTITY::registered_count() { return ENTITY_REGISTRY::instance().registered(); }
