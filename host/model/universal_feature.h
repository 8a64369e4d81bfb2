#pragma once
// Universal features: small records that the module leaves in the model,
// hanging on a part's contents (seen through every instance of it) or on one
// instance. A feature has a memory of context-free values (feature_value.h),
// an optional name (a named feature is a node of the structure tree, an
// unnamed one is hidden), references to selected items, and options that say
// what becomes of it when its place is split, merged, transformed, copied or
// gets a new sysid, and whether it is filed with the model.
//
// Features are historic entities: attaching, changing and removing one goes
// through the history, so a recovered state or a model checkpoint brings
// features back exactly. A feature dies with its place.

#include <string>
#include <vector>

#include "host/kernel/history/historic_entity.h"
#include "host/model/feature_value.h"
#include "host/model/sel_item.h"

class NPARCEL;
class PARCEL_STRUCT;

enum class FEATURE_POLICY { DETACH, MAINTAIN, COPY };

// What becomes of a feature when its place is ...
struct FEATURE_OPTIONS {
  FEATURE_POLICY on_split = FEATURE_POLICY::DETACH;
  FEATURE_POLICY on_merge = FEATURE_POLICY::DETACH;
  FEATURE_POLICY on_xform = FEATURE_POLICY::MAINTAIN;
  FEATURE_POLICY on_copy = FEATURE_POLICY::COPY;
  FEATURE_POLICY on_sysid_change = FEATURE_POLICY::MAINTAIN;
  bool filed = true;  // written to model files
  bool operator==(const FEATURE_OPTIONS&) const = default;
};

// Things that happen to a feature's place.
enum class FEATURE_EVENT { SPLIT, MERGE, XFORM, SYSID_CHANGE };

struct FEATURE_DATA {
  ENTITY* place = nullptr;  // not owned: the PARCEL_STRUCT or NPARCEL whose list holds it
  FEATURE_OPTIONS options;
  std::string name;  // empty: hidden
  FEATURE_MEMORY memory;
  std::vector<SEL_ITEM> references;
};

class THIN_UNIVERSAL_FEATURE final : public TRACKED<FEATURE_DATA> {
 public:
  static const ENTITY_TYPE type;
  const ENTITY_TYPE& identity() const override { return type; }

  // The contents or instance the feature hangs on.
  ENTITY* place() const { return d().place; }
  const FEATURE_OPTIONS& options() const { return d().options; }
  const std::string& name() const { return d().name; }
  bool named() const { return !d().name.empty(); }
  const FEATURE_MEMORY& memory() const { return d().memory; }
  const std::vector<SEL_ITEM>& references() const { return d().references; }

 private:
  friend struct FEATURE_EDIT;
  explicit THIN_UNIVERSAL_FEATURE(FEATURE_DATA data) : TRACKED(std::move(data)) {}
  ~THIN_UNIVERSAL_FEATURE() override = default;
};

// The place of a feature from a parcel: its contents for `on_contents`,
// otherwise the instance itself. Null for null.
ENTITY* feature_place(NPARCEL* parcel, bool on_contents);

// Attaches a new feature to `place`, a live PARCEL_STRUCT or NPARCEL, last
// among its features. Throws TV_EXCEPTION: NULL_ARGUMENT for null,
// WRONG_ITEM for any other entity.
THIN_UNIVERSAL_FEATURE* make_thin_universal_feature(ENTITY* place, const FEATURE_OPTIONS& options,
                                                    FEATURE_MEMORY memory,
                                                    const std::string& name = "");
// The features at `place`, oldest first; empty for null or a place that
// cannot carry features.
const std::vector<THIN_UNIVERSAL_FEATURE*>& features_at(const ENTITY* place);
// The features at `place` whose memory has every one of `keys`, oldest first.
std::vector<THIN_UNIVERSAL_FEATURE*> search_universal_feature(const ENTITY* place,
                                                              const std::vector<std::string>& keys);
// The entries of the feature's memory for `keys` that it has, in the order of
// `keys`.
FEATURE_MEMORY universal_feature_contents(const THIN_UNIVERSAL_FEATURE& f,
                                          const std::vector<std::string>& keys);
// Sets (or adds) entries of the memory.
void set_universal_feature_contents(THIN_UNIVERSAL_FEATURE& f, const FEATURE_MEMORY& entries);
// Names the feature; an empty name hides it.
void set_universal_feature_name(THIN_UNIVERSAL_FEATURE& f, const std::string& name);
// Adds references to items, leaving out those it already has.
void add_universal_feature_entities(THIN_UNIVERSAL_FEATURE& f, const std::vector<SEL_ITEM>& items);
// The referenced items that are still alive, in the order they were added.
std::vector<SEL_ITEM> universal_feature_ref_sel_items(const THIN_UNIVERSAL_FEATURE& f);
// Takes the feature from its place and destroys it through the history.
void destroy_universal_feature(THIN_UNIVERSAL_FEATURE* f);

// Applies the features' options for `event` at `place`: a feature that
// detaches on it is destroyed. Returns how many were.
int universal_features_after(ENTITY* place, FEATURE_EVENT event);
// Gives `to` a copy of each feature at `from` that is copied with a copy
// (memory, name, references and options). Returns how many were copied.
int copy_universal_features(const ENTITY* from, ENTITY* to);
// Destroys every feature at `place`: its place is about to die.
void lose_universal_features(ENTITY* place);
