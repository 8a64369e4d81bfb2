#include "host/ui/browser_text.h"

#include "host/ui/structure_browser.h"

std::vector<std::string> structure_tree_text(const BROWSER_NODE& root) {
  std::vector<std::string> out;
  struct WORK {
    const BROWSER_NODE* node;
    std::size_t depth;
  };
  std::vector<WORK> work{{&root, 0}};
  while (!work.empty()) {
    const WORK w = work.back();
    work.pop_back();
    const BROWSER_NODE& n = *w.node;
    const char* mark = n.children.empty() ? "  " : n.expanded ? "- " : "+ ";
    std::string line = std::string(2 * w.depth, ' ') + mark + n.label;
    if (n.kind != BROWSER_NODE_KIND::ROOT)
      line += std::string(" (") + browser_node_kind_name(n.kind) + ")";
    if (n.selected) line += " *";
    out.push_back(std::move(line));
    if (!n.expanded) continue;
    for (std::size_t i = n.children.size(); i-- > 0;) work.push_back({&n.children[i], w.depth + 1});
  }
  return out;
}
