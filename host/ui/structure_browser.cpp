#include "host/ui/structure_browser.h"

#include "host/model/model_tree.h"
#include "host/model/nparcel.h"
#include "host/model/parcel_struct.h"
#include "host/model/universal_feature.h"

namespace {

BROWSER_NODE_KIND kind_of(const NPARCEL* p) {
  switch (p->kind()) {
    case PARCEL_KIND::part:
      return BROWSER_NODE_KIND::PART;
    case PARCEL_KIND::assembly:
      return BROWSER_NODE_KIND::ASSEMBLY;
    case PARCEL_KIND::container:
      break;
  }
  return BROWSER_NODE_KIND::CONTAINER;
}

// A Lisp string literal of the text.
std::string lisp_string(const std::string& s) {
  std::string out = "\"";
  for (char c : s) {
    if (c == '"' || c == '\\') out.push_back('\\');
    out.push_back(c);
  }
  return out + "\"";
}

// Reads a Lisp string literal at `pos`; advances past it.
std::optional<std::string> read_lisp_string(const std::string& s, std::size_t& pos) {
  if (pos >= s.size() || s[pos] != '"') return std::nullopt;
  std::string out;
  for (++pos; pos < s.size(); ++pos) {
    if (s[pos] == '\\') {
      if (++pos >= s.size()) return std::nullopt;
      out.push_back(s[pos]);
    } else if (s[pos] == '"') {
      ++pos;
      return out;
    } else {
      out.push_back(s[pos]);
    }
  }
  return std::nullopt;
}

std::string child_path(const std::string& parent, const std::string& name) {
  return parent == "/" ? "/" + name : parent + "/" + name;
}

// What a popup function gets: the node without its subtree, a copy that no
// refresh during the call can take away.
BROWSER_NODE alone(const BROWSER_NODE& n) {
  BROWSER_NODE out;
  out.label = n.label;
  out.kind = n.kind;
  out.path = n.path;
  out.selected = n.selected;
  out.expanded = n.expanded;
  return out;
}

}  // namespace

const char* browser_node_kind_name(BROWSER_NODE_KIND k) {
  switch (k) {
    case BROWSER_NODE_KIND::ROOT:
      return "root";
    case BROWSER_NODE_KIND::PART:
      return "part";
    case BROWSER_NODE_KIND::ASSEMBLY:
      return "assembly";
    case BROWSER_NODE_KIND::CONTAINER:
      return "container";
    case BROWSER_NODE_KIND::FEATURE:
      break;
  }
  return "feature";
}

std::string feature_node_path(const std::string& parcel_path, const std::string& key) {
  return lisp_string(parcel_path) + " :FEATURE " + lisp_string(key);
}

std::optional<FEATURE_NODE_PATH> parse_feature_node_path(const std::string& path) {
  std::size_t pos = 0;
  std::optional<std::string> parcel = read_lisp_string(path, pos);
  static const std::string kMiddle = " :FEATURE ";
  if (!parcel || path.compare(pos, kMiddle.size(), kMiddle) != 0) return std::nullopt;
  pos += kMiddle.size();
  std::optional<std::string> key = read_lisp_string(path, pos);
  if (!key || pos != path.size()) return std::nullopt;
  return FEATURE_NODE_PATH{*parcel, *key};
}

void STRUCTURE_BROWSER::build(BROWSER_NODE& root, std::vector<std::string>& signature) const {
  root.label = "/";
  root.kind = BROWSER_NODE_KIND::ROOT;
  root.path = "/";
  struct WORK {
    const NPARCEL* parcel;
    BROWSER_NODE* node;
    std::size_t depth;
  };
  // Depth first with an explicit stack: a model tree is as deep as its user
  // makes it. A node's children are sized before any is visited, so the
  // pointers on the stack stay valid.
  std::vector<WORK> work{{root_parcel(), &root, 0}};
  while (!work.empty()) {
    const WORK w = work.back();
    work.pop_back();
    BROWSER_NODE& node = *w.node;
    signature.push_back(std::to_string(w.depth) + ' ' + browser_node_kind_name(node.kind) + ' ' +
                        node.path + '\t' + node.label);
    std::vector<const THIN_UNIVERSAL_FEATURE*> named;
    for (const auto* list : {&w.parcel->shared_data()->features(), &w.parcel->features()}) {
      for (const THIN_UNIVERSAL_FEATURE* f : *list) {
        if (f->named()) named.push_back(f);
      }
    }
    const std::vector<NPARCEL*>& kids = children(w.parcel);
    node.children.resize(named.size() + kids.size());
    std::map<std::string, int> seen;
    for (std::size_t i = 0; i < named.size(); ++i) {
      BROWSER_NODE& f = node.children[i];
      const int k = ++seen[named[i]->name()];
      f.label = named[i]->name();
      f.kind = BROWSER_NODE_KIND::FEATURE;
      f.path =
          feature_node_path(node.path, k == 1 ? f.label : f.label + " (" + std::to_string(k) + ")");
      signature.push_back(std::to_string(w.depth + 1) + " feature " + f.path + '\t' + f.label);
    }
    for (std::size_t i = kids.size(); i-- > 0;) {
      BROWSER_NODE& c = node.children[named.size() + i];
      c.label = kids[i]->name();
      c.kind = kind_of(kids[i]);
      c.path = child_path(node.path, c.label);
      work.push_back({kids[i], &c, w.depth + 1});
    }
  }
}

void STRUCTURE_BROWSER::index() {
  by_path_.clear();
  std::vector<BROWSER_NODE*> work{&tree_};
  while (!work.empty()) {
    BROWSER_NODE* n = work.back();
    work.pop_back();
    by_path_[n->path] = n;
    n->selected = selected_.count(n->path) != 0;
    n->expanded = folded_.count(n->path) == 0;
    for (BROWSER_NODE& c : n->children) work.push_back(&c);
  }
  for (auto it = selected_.begin(); it != selected_.end();) {
    it = by_path_.count(*it) != 0 ? std::next(it) : selected_.erase(it);
  }
}

bool STRUCTURE_BROWSER::refresh() {
  BROWSER_NODE fresh;
  std::vector<std::string> signature;
  build(fresh, signature);
  const bool changed = !built_ || signature != signature_;
  tree_ = std::move(fresh);
  signature_ = std::move(signature);
  built_ = true;
  const std::size_t selected_before = selected_.size();
  index();
  if (changed || selected_.size() != selected_before) notify();
  return changed;
}

const BROWSER_NODE& STRUCTURE_BROWSER::tree() {
  refresh();
  return tree_;
}

const BROWSER_NODE* STRUCTURE_BROWSER::find(const std::string& path) {
  refresh();
  auto it = by_path_.find(path);
  return it == by_path_.end() ? nullptr : it->second;
}

const BROWSER_NODE& STRUCTURE_BROWSER::node(const std::string& path) {
  if (const BROWSER_NODE* n = find(path)) return *n;
  throw BROWSER_ERROR("The structure browser has no node " + path + ".");
}

void STRUCTURE_BROWSER::select(const std::string& path, bool add) {
  node(path);
  if (!add) selected_.clear();
  selected_.insert(path);
  index();
  notify();
}

void STRUCTURE_BROWSER::clear_selection() {
  selected_.clear();
  index();
  notify();
}

std::vector<std::string> STRUCTURE_BROWSER::selection() {
  refresh();
  return {selected_.begin(), selected_.end()};
}

void STRUCTURE_BROWSER::set_expanded(const std::string& path, bool expanded) {
  node(path);
  if (expanded)
    folded_.erase(path);
  else
    folded_.insert(path);
  index();
  notify();
}

void STRUCTURE_BROWSER::add_popup_entry(BROWSER_POPUP_ENTRY entry, bool place_at_top) {
  if (place_at_top)
    entries_.insert(entries_.begin(), std::move(entry));
  else
    entries_.push_back(std::move(entry));
}

std::size_t STRUCTURE_BROWSER::remove_popup_entry(const std::string& label) {
  const std::size_t before = entries_.size();
  std::erase_if(entries_, [&](const BROWSER_POPUP_ENTRY& e) { return e.label == label; });
  return before - entries_.size();
}

std::vector<std::string> STRUCTURE_BROWSER::popup_entries(const std::string& path,
                                                          std::vector<std::string>* errors) {
  const BROWSER_NODE n = alone(node(path));
  // The tests may add entries or change the model: they run over a copy.
  const std::vector<BROWSER_POPUP_ENTRY> entries = entries_;
  std::vector<std::string> out;
  for (const BROWSER_POPUP_ENTRY& e : entries) {
    bool visible = true;
    try {
      visible = !e.is_visible || e.is_visible(n);
    } catch (const std::exception& ex) {
      visible = false;
      if (errors != nullptr)
        errors->push_back("The test of the popup entry \"" + e.label + "\" failed: " + ex.what());
    }
    if (visible) out.push_back(e.label);
  }
  return out;
}

std::string STRUCTURE_BROWSER::run_popup_entry(const std::string& path, const std::string& label) {
  const BROWSER_NODE n = alone(node(path));
  const std::vector<BROWSER_POPUP_ENTRY> entries = entries_;
  // The first entry of that label that is offered on the node.
  for (const BROWSER_POPUP_ENTRY& e : entries) {
    if (e.label != label) continue;
    bool visible = true;
    try {
      visible = !e.is_visible || e.is_visible(n);
    } catch (...) {
      visible = false;
    }
    if (!visible) continue;
    if (!e.action) return "";
    try {
      e.action(n);
    } catch (const std::exception& ex) {
      return "The popup entry \"" + label + "\" failed on " + path + ": " + ex.what();
    } catch (...) {
      return "The popup entry \"" + label + "\" failed on " + path + ".";
    }
    return "";
  }
  throw BROWSER_ERROR("The popup entry \"" + label + "\" is not offered on the node " + path + ".");
}

int STRUCTURE_BROWSER::subscribe(OBSERVER o) {
  const int id = next_observer_++;
  observers_[id] = std::move(o);
  return id;
}

void STRUCTURE_BROWSER::unsubscribe(int id) {
  observers_.erase(id);
}

void STRUCTURE_BROWSER::notify() {
  std::vector<int> ids;
  for (const auto& kv : observers_) ids.push_back(kv.first);
  for (int id : ids) {
    auto it = observers_.find(id);
    if (it == observers_.end()) continue;
    const OBSERVER o = it->second;
    o(*this);
  }
}

STRUCTURE_BROWSER& structure_browser() {
  static auto* browser = new STRUCTURE_BROWSER();
  return *browser;
}
