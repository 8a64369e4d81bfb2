#include "host/model/model_restore.h"

#include "host/kernel/entity/entity_registry.h"
#include "host/model/model_edit.h"
#include "host/model/model_tree.h"
#include "host/model/part_graphics.h"

NPARCEL* restore_parcel(PARCEL_KIND kind, const std::string& name, std::uint64_t contents_sysid,
                        std::uint64_t instance_sysid) {
  ENTITY_REGISTRY& registry = ENTITY_REGISTRY::instance();
  registry.request(contents_sysid);
  PARCEL_STRUCT* contents = MODEL_EDIT::new_contents(kind);
  const std::string free_name = model_free_name(nullptr, name, kind, nullptr);
  registry.request(instance_sysid);
  return MODEL_EDIT::new_instance(contents, free_name);
}

NPARCEL* restore_instance(NPARCEL* of, const std::string& name, std::uint64_t sysid) {
  if (of == nullptr || is_root_parcel(of)) return nullptr;
  const std::string free_name = model_free_name(nullptr, name, of->kind(), nullptr);
  ENTITY_REGISTRY::instance().request(sysid);
  return MODEL_EDIT::new_instance(of->shared_data(), free_name);
}

void restore_part_graphics(NPARCEL* part, std::shared_ptr<const PART_GRAPHICS> graphics) {
  if (part == nullptr || part->kind() != PARCEL_KIND::part || graphics == nullptr) return;
  MODEL_EDIT::w(part->shared_data()).graphics = std::move(graphics);
}
