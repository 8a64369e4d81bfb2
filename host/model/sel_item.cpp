#include "host/model/sel_item.h"

#include "host/kernel/topology/face.h"
#include "host/model/model_errors.h"
#include "host/model/model_tree.h"
#include "host/model/nparcel.h"
#include "host/model/universal_feature.h"

const ENTITY_TYPE MODEL_FEATURE_TYPE("FEATURE", "frame2", &ENTITY::type);

ENTITY* SEL_ITEM::item() const { return ENTITY::is_live(item_, sysid_) ? item_ : nullptr; }

bool SEL_ITEM::is_live() const { return item() != nullptr && path_.is_live(); }

SEL_ITEM make_sel_item(ENTITY* item, const PARCEL_PATH& path) {
  if (item == nullptr) model_throw(MODEL_ERROR::NULL_ARGUMENT);
  if (!path.is_live() || !path.rooted()) model_throw(MODEL_ERROR::BAD_SEL_PATH);

  if (NPARCEL* parcel = entity_cast<NPARCEL>(item)) {
    const bool placed = is_root_parcel(parcel) ? path.empty() : path.last() == parcel;
    if (!placed) model_throw(MODEL_ERROR::BAD_SEL_PATH);
    switch (parcel->kind()) {
      case PARCEL_KIND::part:
        return SEL_ITEM(item, path, s_part);
      case PARCEL_KIND::assembly:
        return SEL_ITEM(item, path, s_assembly);
      case PARCEL_KIND::container:
        break;
    }
    return SEL_ITEM(item, path, s_container);
  }
  if (FACE* face = entity_cast<FACE>(item)) {
    const NPART3* part = entity_cast<NPART3>(path.last());
    if (part == nullptr || part->body() == nullptr || part->body() != face->body()) {
      model_throw(MODEL_ERROR::BAD_SEL_PATH);
    }
    return SEL_ITEM(item, path, s_face);
  }
  if (const auto* f = entity_cast<THIN_UNIVERSAL_FEATURE>(item)) {
    // The path ends at the parcel that carries the feature: the instance
    // itself, or any instance of the contents it hangs on.
    const NPARCEL* last = path.last();
    const ENTITY* place = f->place();
    const bool placed = last != nullptr ? (last == place || last->shared_data() == place)
                                        : is_root_parcel(entity_cast<NPARCEL>(place)) ||
                                              place == root_parcel()->shared_data();
    if (!placed) model_throw(MODEL_ERROR::BAD_SEL_PATH);
    return SEL_ITEM(item, path, s_feature);
  }
  if (item->is_a(MODEL_FEATURE_TYPE)) return SEL_ITEM(item, path, s_feature);
  model_throw(MODEL_ERROR::WRONG_ITEM);
}

SEL_ITEM sel_item_of(NPARCEL* p) { return make_sel_item(p, path_of(p)); }
