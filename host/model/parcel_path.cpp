#include "host/model/parcel_path.h"

#include <algorithm>
#include <unordered_set>

#include "host/kernel/entity/entity.h"
#include "host/model/model_tree.h"
#include "host/model/nparcel.h"

PARCEL_PATH::PARCEL_PATH(const std::vector<NPARCEL*>& instances) {
  instances_.reserve(instances.size());
  sysids_.reserve(instances.size());
  for (NPARCEL* p : instances) push_back(p);
}

void PARCEL_PATH::push_back(NPARCEL* p) {
  if (p == nullptr) return;
  instances_.push_back(p);
  sysids_.push_back(p->sysid());
}

bool PARCEL_PATH::is_live() const {
  for (std::size_t i = 0; i < instances_.size(); ++i) {
    if (!ENTITY::is_live(instances_[i], sysids_[i])) return false;
  }
  return true;
}

bool PARCEL_PATH::rooted() const {
  if (instances_.empty()) return true;
  // The root is the only instance of its contents; asking does not make one.
  const PARCEL_STRUCT* top = instances_.front()->parent_contents();
  if (top == nullptr || !is_root_parcel(top->instances().front())) return false;
  for (std::size_t i = 1; i < instances_.size(); ++i) {
    if (instances_[i]->parent_contents() != instances_[i - 1]->shared_data()) return false;
  }
  return true;
}

TRANSFORM3 PARCEL_PATH::product(std::size_t count, bool inverse) const {
  TRANSFORM3 t;
  for (std::size_t i = count; i-- > 0;) t *= instances_[i]->tm();
  return inverse ? t.inverse() : t;
}

TRANSFORM3 PARCEL_PATH::tm(bool inverse) const { return product(instances_.size(), inverse); }

TRANSFORM3 PARCEL_PATH::tm_no_last(bool inverse) const {
  return product(instances_.empty() ? 0 : instances_.size() - 1, inverse);
}

namespace {

// Of the instances that show the contents holding `p`, the oldest that is
// itself placed (in a contents, or the root), else the oldest; null for an
// instance in no contents.
NPARCEL* placed_parent(const NPARCEL* p) {
  const PARCEL_STRUCT* up = p->parent_contents();
  if (up == nullptr) return nullptr;
  for (NPARCEL* candidate : up->instances()) {
    if (candidate->parent_contents() != nullptr || is_root_parcel(candidate)) return candidate;
  }
  return up->instances().front();
}

}  // namespace

PARCEL_PATH path_of(const NPARCEL* obj) {
  if (obj == nullptr || is_root_parcel(obj)) return PARCEL_PATH();
  // The cast gives back the handle the caller holds; the path does not write.
  NPARCEL* start = const_cast<NPARCEL*>(obj);

  // Depth first upwards, trying the instances of each parent contents oldest
  // first. A contents from which no instance leads to the root is noted and
  // not tried again, so the search is linear in the graph above `obj`.
  struct FRAME {
    NPARCEL* instance;
    std::size_t tried;  // instances of its parent contents tried so far
  };
  std::vector<FRAME> frames{{start, 0}};
  std::unordered_set<const PARCEL_STRUCT*> dead;
  while (!frames.empty()) {
    FRAME& f = frames.back();
    if (is_root_parcel(f.instance)) {
      std::vector<NPARCEL*> down;
      for (std::size_t i = frames.size() - 1; i-- > 0;) down.push_back(frames[i].instance);
      return PARCEL_PATH(down);
    }
    const PARCEL_STRUCT* up = f.instance->parent_contents();
    if (up != nullptr && dead.count(up) == 0 && f.tried < up->instances().size()) {
      NPARCEL* next = up->instances()[f.tried++];
      frames.push_back({next, 0});
      continue;
    }
    if (up != nullptr) dead.insert(up);
    frames.pop_back();
  }

  // Not below the root: up through the placed parents to the top.
  std::vector<NPARCEL*> up;
  for (NPARCEL* p = start; p != nullptr; p = placed_parent(p)) up.push_back(p);
  std::reverse(up.begin(), up.end());
  return PARCEL_PATH(up);
}
