#include "app/step_output.h"

#include <cstdint>
#include <map>
#include <stdexcept>
#include <vector>

#include "host/base/utf8.h"
#include "host/exchange/step_export.h"
#include "host/geometry/transform3.h"
#include "host/kernel/topology/body.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/lisp/values.h"

namespace {

// Instances may nest, but a file whose components reach this deep is
// referring in a circle; the walk gives up rather than going round.
constexpr int kMaxDepth = 64;
// Shared components multiply: ten levels of pairs place a thousand bodies,
// forty would place a trillion. The walk stops at this many instances.
constexpr std::size_t kMaxInstances = 1'000'000;

LAOBJ* key(LAOBJ* node, const char* name) { return plist_get(node, make_keyword(name), lisp_nil()); }

struct PENDING {
  std::int64_t target;
  TRANSFORM3 placement;  // from the target's own frame to the file's
  int depth;
};

}  // namespace

std::vector<STEP_EXPORT_ITEM> placed_bodies(LAOBJ* spec) {
  const std::vector<LAOBJ*> nodes = list_elements(spec);
  if (nodes.empty()) return {};
  std::map<std::int64_t, LAOBJ*> by_id;
  for (LAOBJ* n : nodes) by_id.emplace(object_to_integer(key(n, "ID")), n);

  std::vector<STEP_EXPORT_ITEM> items;
  // Depth first with an explicit stack; instances are visited in list order.
  std::vector<PENDING> stack;
  auto push_components = [&stack](LAOBJ* node, const TRANSFORM3& outer, int depth) {
    const std::vector<LAOBJ*> refs = list_elements(key(node, "COMPONENTS"));
    for (auto it = refs.rbegin(); it != refs.rend(); ++it) {
      LAOBJ* tm = key(*it, "TM");
      const TRANSFORM3 own = lisp_null(tm) ? TRANSFORM3() : object_to_transf(tm);
      // The component's transform applies first, then the placement of its owner.
      stack.push_back(PENDING{object_to_integer(key(*it, "TARGET")), own * outer, depth});
    }
  };
  push_components(nodes.front(), TRANSFORM3(), 1);
  std::size_t visited = 0;
  while (!stack.empty()) {
    const PENDING p = stack.back();
    stack.pop_back();
    if (++visited > kMaxInstances) throw std::runtime_error("the file places more than a million instances");
    if (p.depth > kMaxDepth) throw std::runtime_error("the instances nest too deep (a circular reference?)");
    const auto found = by_id.find(p.target);
    if (found == by_id.end()) continue;  // a reference to a missing object places nothing
    LAOBJ* node = found->second;
    LAOBJ* body = key(node, "BODY");
    if (lisp_null(body)) {
      push_components(node, p.placement, p.depth + 1);
      continue;
    }
    STEP_EXPORT_ITEM item;
    item.body = object_to_entity<BODY>(body);
    item.placement = p.placement;
    LAOBJ* name = key(node, "NAME");
    if (is_string(name)) item.name = object_to_string(name);
    LAOBJ* color = key(node, "COLOR");
    if (!lisp_null(color)) {
      const auto packed = static_cast<std::uint32_t>(object_to_integer(color));
      item.has_color = true;
      item.r = ((packed >> 16) & 0xFF) / 255.0;
      item.g = ((packed >> 8) & 0xFF) / 255.0;
      item.b = (packed & 0xFF) / 255.0;
    }
    items.push_back(item);
  }
  return items;
}

int write_spec_as_step(LAOBJ* spec, const std::string& path) {
  const std::vector<STEP_EXPORT_ITEM> items = placed_bodies(spec);
  if (items.empty()) throw std::runtime_error("the file places no body to export");
  write_step(items, path);
  return static_cast<int>(items.size());
}
