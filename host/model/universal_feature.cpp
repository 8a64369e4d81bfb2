#include "host/model/universal_feature.h"

#include <algorithm>

#include "host/model/model_edit.h"
#include "host/model/model_errors.h"
#include "host/model/nparcel.h"
#include "host/model/parcel_struct.h"

const ENTITY_TYPE THIN_UNIVERSAL_FEATURE::type("THIN-UNIVERSAL-FEATURE", "frame2",
                                               &MODEL_FEATURE_TYPE);

// The one place that writes features and the feature lists of places.
struct FEATURE_EDIT {
  static FEATURE_DATA& w(THIN_UNIVERSAL_FEATURE& f) { return f.w(); }
  static THIN_UNIVERSAL_FEATURE* make(FEATURE_DATA data) {
    return new THIN_UNIVERSAL_FEATURE(std::move(data));
  }
  static void lose(THIN_UNIVERSAL_FEATURE* f) { f->lose_entity(); }
};

namespace {

const std::vector<THIN_UNIVERSAL_FEATURE*>& no_features() {
  static const std::vector<THIN_UNIVERSAL_FEATURE*> none;
  return none;
}

// The writable list of a place; throws for anything that is no place.
std::vector<THIN_UNIVERSAL_FEATURE*>& writable_list(ENTITY* place) {
  if (place == nullptr) model_throw(MODEL_ERROR::NULL_ARGUMENT);
  if (place->is_a(PARCEL_STRUCT::type)) {
    return MODEL_EDIT::w(static_cast<PARCEL_STRUCT*>(place)).features;
  }
  if (place->is_a(NPARCEL::type)) return MODEL_EDIT::w(static_cast<NPARCEL*>(place)).features;
  model_throw(MODEL_ERROR::WRONG_ITEM);
}

FEATURE_POLICY policy_for(const FEATURE_OPTIONS& o, FEATURE_EVENT e) {
  switch (e) {
    case FEATURE_EVENT::SPLIT: return o.on_split;
    case FEATURE_EVENT::MERGE: return o.on_merge;
    case FEATURE_EVENT::XFORM: return o.on_xform;
    case FEATURE_EVENT::SYSID_CHANGE: return o.on_sysid_change;
  }
  return FEATURE_POLICY::MAINTAIN;
}

}  // namespace

ENTITY* feature_place(NPARCEL* parcel, bool on_contents) {
  if (parcel == nullptr) return nullptr;
  return on_contents ? static_cast<ENTITY*>(parcel->shared_data()) : parcel;
}

THIN_UNIVERSAL_FEATURE* make_thin_universal_feature(ENTITY* place, const FEATURE_OPTIONS& options,
                                                    FEATURE_MEMORY memory,
                                                    const std::string& name) {
  std::vector<THIN_UNIVERSAL_FEATURE*>& list = writable_list(place);
  FEATURE_DATA data;
  data.place = place;
  data.options = options;
  data.name = name;
  data.memory = std::move(memory);
  THIN_UNIVERSAL_FEATURE* f = FEATURE_EDIT::make(std::move(data));
  list.push_back(f);
  return f;
}

const std::vector<THIN_UNIVERSAL_FEATURE*>& features_at(const ENTITY* place) {
  if (place == nullptr) return no_features();
  if (place->is_a(PARCEL_STRUCT::type)) return static_cast<const PARCEL_STRUCT*>(place)->features();
  if (place->is_a(NPARCEL::type)) return static_cast<const NPARCEL*>(place)->features();
  return no_features();
}

std::vector<THIN_UNIVERSAL_FEATURE*> search_universal_feature(const ENTITY* place,
                                                              const std::vector<std::string>& keys) {
  std::vector<THIN_UNIVERSAL_FEATURE*> found;
  for (THIN_UNIVERSAL_FEATURE* f : features_at(place)) {
    const bool all = std::all_of(keys.begin(), keys.end(),
                                 [&](const std::string& k) { return f->memory().has(k); });
    if (all) found.push_back(f);
  }
  return found;
}

FEATURE_MEMORY universal_feature_contents(const THIN_UNIVERSAL_FEATURE& f,
                                          const std::vector<std::string>& keys) {
  FEATURE_MEMORY m;
  for (const std::string& k : keys) {
    if (const FEATURE_VALUE* v = f.memory().find(k)) m.set(k, *v);
  }
  return m;
}

void set_universal_feature_contents(THIN_UNIVERSAL_FEATURE& f, const FEATURE_MEMORY& entries) {
  if (entries.entries().empty()) return;
  FEATURE_MEMORY& m = FEATURE_EDIT::w(f).memory;
  for (const auto& [k, v] : entries.entries()) m.set(k, v);
}

void set_universal_feature_name(THIN_UNIVERSAL_FEATURE& f, const std::string& name) {
  if (f.name() != name) FEATURE_EDIT::w(f).name = name;
}

void add_universal_feature_entities(THIN_UNIVERSAL_FEATURE& f, const std::vector<SEL_ITEM>& items) {
  std::vector<SEL_ITEM> fresh;
  for (const SEL_ITEM& s : items) {
    const auto& have = f.references();
    if (std::find(have.begin(), have.end(), s) == have.end() &&
        std::find(fresh.begin(), fresh.end(), s) == fresh.end()) {
      fresh.push_back(s);
    }
  }
  if (fresh.empty()) return;
  std::vector<SEL_ITEM>& refs = FEATURE_EDIT::w(f).references;
  refs.insert(refs.end(), fresh.begin(), fresh.end());
}

std::vector<SEL_ITEM> universal_feature_ref_sel_items(const THIN_UNIVERSAL_FEATURE& f) {
  std::vector<SEL_ITEM> live;
  for (const SEL_ITEM& s : f.references()) {
    if (s.is_live()) live.push_back(s);
  }
  return live;
}

void destroy_universal_feature(THIN_UNIVERSAL_FEATURE* f) {
  if (f == nullptr) return;
  std::vector<THIN_UNIVERSAL_FEATURE*>& list = writable_list(f->place());
  list.erase(std::remove(list.begin(), list.end(), f), list.end());
  FEATURE_EDIT::lose(f);
}

int universal_features_after(ENTITY* place, FEATURE_EVENT event) {
  std::vector<THIN_UNIVERSAL_FEATURE*> going;
  for (THIN_UNIVERSAL_FEATURE* f : features_at(place)) {
    if (policy_for(f->options(), event) == FEATURE_POLICY::DETACH) going.push_back(f);
  }
  for (THIN_UNIVERSAL_FEATURE* f : going) destroy_universal_feature(f);
  return static_cast<int>(going.size());
}

int copy_universal_features(const ENTITY* from, ENTITY* to) {
  // A copy of the list: copying a place's features onto itself must not
  // walk the list it grows.
  const std::vector<THIN_UNIVERSAL_FEATURE*> source = features_at(from);
  int copied = 0;
  for (const THIN_UNIVERSAL_FEATURE* f : source) {
    if (f->options().on_copy != FEATURE_POLICY::COPY) continue;
    THIN_UNIVERSAL_FEATURE* c = make_thin_universal_feature(to, f->options(), f->memory(), f->name());
    if (!f->references().empty()) add_universal_feature_entities(*c, f->references());
    ++copied;
  }
  return copied;
}

void lose_universal_features(ENTITY* place) {
  if (features_at(place).empty()) return;
  std::vector<THIN_UNIVERSAL_FEATURE*>& list = writable_list(place);
  const std::vector<THIN_UNIVERSAL_FEATURE*> going = std::move(list);
  list.clear();
  for (THIN_UNIVERSAL_FEATURE* f : going) FEATURE_EDIT::lose(f);
}
