#include "host/model/parcel_path.h"

#include <algorithm>

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

PARCEL_PATH path_of(const NPARCEL* obj) {
  std::vector<NPARCEL*> up;
  // The cast gives back the handle the caller holds; the path does not write.
  for (NPARCEL* p = const_cast<NPARCEL*>(obj); p != nullptr && !is_root_parcel(p);
       p = inq_parent(p)) {
    up.push_back(p);
  }
  std::reverse(up.begin(), up.end());
  return PARCEL_PATH(up);
}
