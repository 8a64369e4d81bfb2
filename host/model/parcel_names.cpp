#include "host/model/parcel_names.h"

#include <algorithm>
#include <string_view>
#include <cstdint>
#include <vector>

#include "host/model/model_edit.h"
#include "host/model/model_errors.h"
#include "host/model/model_tree.h"
#include "host/model/parcel_path.h"

namespace {

std::uint64_t g_counters[3] = {0, 0, 0};  // next system number per kind, minus one

bool taken(const PARCEL_STRUCT* in, const std::string& name, const NPARCEL* self) {
  if (in == nullptr) return false;
  for (const NPARCEL* sibling : in->children()) {
    if (sibling != self && sibling->name() == name) return true;
  }
  return false;
}

// The k of a name "<base>-<k>" with k a decimal number >= 1 without leading
// zeros and at most 9 digits; 0 for any other name.
std::uint32_t suffix_of(const std::string& name, const std::string& base) {
  const std::size_t n = base.size();
  if (name.size() < n + 2 || name.size() > n + 10 || name.compare(0, n, base) != 0 ||
      name[n] != '-' || name[n + 1] == '0') {
    return 0;
  }
  std::uint32_t k = 0;
  for (std::size_t i = n + 1; i < name.size(); ++i) {
    if (name[i] < '0' || name[i] > '9') return 0;
    k = k * 10 + static_cast<std::uint32_t>(name[i] - '0');
  }
  return k;
}

}  // namespace

std::string model_free_name(const PARCEL_STRUCT* in, const std::string& wanted, PARCEL_KIND kind,
                            const NPARCEL* self) {
  if (wanted.empty()) {
    std::string name;
    do {
      name = get_system_name(kind);
    } while (taken(in, name, self));
    return name;
  }
  std::string base = wanted;
  std::replace(base.begin(), base.end(), '/', '_');
  if (!taken(in, base, self)) return base;
  std::vector<std::uint32_t> used;
  for (const NPARCEL* sibling : in->children()) {
    if (sibling == self) continue;
    if (const std::uint32_t k = suffix_of(sibling->name(), base)) used.push_back(k);
  }
  std::sort(used.begin(), used.end());
  std::uint32_t k = 1;
  for (std::uint32_t u : used) {
    if (u == k) {
      ++k;
    } else if (u > k) {
      break;
    }
  }
  return base + "-" + std::to_string(k);
}

std::string get_system_name(PARCEL_KIND kind) {
  static const char letters[3] = {'p', 'a', 'c'};
  const int i = static_cast<int>(kind);
  return letters[i] + std::to_string(++g_counters[i]);
}

std::string get_system_name(const NPARCEL* parent, PARCEL_KIND kind, const std::string& name) {
  return model_free_name(parent != nullptr ? parent->shared_data() : nullptr, name, kind, nullptr);
}

MOD_INFO* assign_name(NPARCEL* p, const std::string& name) {
  if (p == nullptr) return model_error(MODEL_ERROR::NULL_ARGUMENT);
  if (is_root_parcel(p)) return model_error(MODEL_ERROR::ROOT_PARCEL);
  std::string free = model_free_name(p->parent_contents(), name, p->kind(), p);
  if (free != p->name()) MODEL_EDIT::w(p).name = std::move(free);
  return nullptr;
}

const std::string& inquire_name(const NPARCEL* p) {
  static const std::string none;
  return p != nullptr ? p->name() : none;
}

const std::string& inq_obj_basename(const NPARCEL* p) { return inquire_name(p); }

std::string inq_obj_pathname(const NPARCEL* p) {
  if (p == nullptr) return std::string();
  const PARCEL_PATH path = path_of(p);
  if (!path.rooted()) return std::string();
  if (path.empty()) return "/";
  std::string out;
  for (const NPARCEL* step : path.instances()) {
    out += '/';
    out += step->name();
  }
  return out;
}

NPARCEL* pathname_to_obj(const std::string& pathname) {
  if (pathname.empty() || pathname.front() != '/') return nullptr;
  NPARCEL* at = root_parcel();
  std::size_t pos = 0;
  while (at != nullptr && pos < pathname.size()) {
    const std::size_t start = pos + 1;
    std::size_t end = pathname.find('/', start);
    if (end == std::string::npos) end = pathname.size();
    pos = end;
    if (end == start) continue;  // an empty component
    const std::string_view component(pathname.data() + start, end - start);
    NPARCEL* next = nullptr;
    for (NPARCEL* child : children(at)) {
      if (child->name() == component) {
        next = child;
        break;
      }
    }
    at = next;
  }
  return at;
}
