#pragma once
// STRUCTURE_BROWSER: the model tree as a user browses it. Every instance of
// the tree is a node (the root's node is "/"), and below a parcel's node come
// first its named features (those of its contents, then those of the instance
// itself; unnamed features are hidden), then the nodes of its children.
//
// A node is addressed by its path string. A parcel's is its path name
// ("/asm/part", "/" for the root). A feature's begins with a double quote and
// reads as three Lisp objects: the parcel's path name as a string, the
// keyword :FEATURE and the feature's key, a string:
//     "/asm/part" :FEATURE "Mesh Parameters"
// The key is the feature's name; the second and later features of one name at
// one node get " (2)", " (3)" ... added, so that every node has its own path.
//
// The browser walks the model when it is asked for the tree and keeps the
// selection and the folded nodes by path. Observers hear of every change a
// refresh finds, and of changes of the selection and folding. It knows no
// front end and no Lisp: popup entries are C++ functions (the Lisp bindings
// wrap Lisp functions in them).

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <vector>

class NPARCEL;

// A browser operation refused: an unknown node or popup entry.
class BROWSER_ERROR : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

enum class BROWSER_NODE_KIND { ROOT, PART, ASSEMBLY, CONTAINER, FEATURE };

// "root", "part", "assembly", "container", "feature".
const char* browser_node_kind_name(BROWSER_NODE_KIND k);

struct BROWSER_NODE {
  std::string label;  // the name a user sees
  BROWSER_NODE_KIND kind = BROWSER_NODE_KIND::ROOT;
  std::string path;  // the node's path string
  bool selected = false;
  bool expanded = true;
  std::vector<BROWSER_NODE> children;
};

// The path string of a feature node at the parcel of path name `parcel_path`.
std::string feature_node_path(const std::string& parcel_path, const std::string& key);

struct FEATURE_NODE_PATH {
  std::string parcel_path;
  std::string key;
};
// The parts of a feature node's path string; nothing for any other string.
std::optional<FEATURE_NODE_PATH> parse_feature_node_path(const std::string& path);

struct BROWSER_POPUP_ENTRY {
  std::string label;
  // Whether the entry is offered on a node; none: always. May throw, which
  // hides the entry.
  std::function<bool(const BROWSER_NODE& node)> is_visible;
  // What the entry does; may throw.
  std::function<void(const BROWSER_NODE& node)> action;
};

class STRUCTURE_BROWSER {
 public:
  using OBSERVER = std::function<void(const STRUCTURE_BROWSER& browser)>;

  STRUCTURE_BROWSER() = default;
  STRUCTURE_BROWSER(const STRUCTURE_BROWSER&) = delete;
  STRUCTURE_BROWSER& operator=(const STRUCTURE_BROWSER&) = delete;

  // Walks the model tree and tells the observers when the nodes differ from
  // the last walk. Returns whether they did. O(nodes), iterative.
  bool refresh();
  // The tree as of now: refreshed first. The reference holds until the next
  // refresh.
  const BROWSER_NODE& tree();
  // The node of a path string, refreshed first; null when there is none.
  const BROWSER_NODE* find(const std::string& path);
  // The same; BROWSER_ERROR when there is none.
  const BROWSER_NODE& node(const std::string& path);

  // The selection: the node alone (BROWSER_ERROR for an unknown one), added
  // to it, or none. A node that leaves the tree leaves the selection.
  void select(const std::string& path, bool add = false);
  void clear_selection();
  std::vector<std::string> selection();
  // Unfolds or folds a node (BROWSER_ERROR for an unknown one).
  void set_expanded(const std::string& path, bool expanded);

  // A new popup entry, last in the menu or, with `place_at_top`, first.
  void add_popup_entry(BROWSER_POPUP_ENTRY entry, bool place_at_top);
  std::size_t number_of_popup_entries() const { return entries_.size(); }
  // Removes the entries of that label; returns how many there were.
  std::size_t remove_popup_entry(const std::string& label);
  // The labels of the entries offered on a node, in menu order. An entry
  // whose test throws is left out and the error's text goes to `errors`.
  std::vector<std::string> popup_entries(const std::string& path,
                                         std::vector<std::string>* errors = nullptr);
  // Runs the entry of that label on a node. BROWSER_ERROR for an unknown node
  // or an entry not offered there; the text of the action's error when it
  // failed, "" when it ran through.
  std::string run_popup_entry(const std::string& path, const std::string& label);

  int subscribe(OBSERVER o);
  void unsubscribe(int id);

 private:
  void build(BROWSER_NODE& root, std::vector<std::string>& signature) const;
  void index();
  void notify();

  BROWSER_NODE tree_;
  std::vector<std::string> signature_;  // the last walk, flat, to see changes
  bool built_ = false;
  std::unordered_map<std::string, BROWSER_NODE*> by_path_;
  std::set<std::string> selected_;
  std::set<std::string> folded_;
  std::vector<BROWSER_POPUP_ENTRY> entries_;
  std::map<int, OBSERVER> observers_;
  int next_observer_ = 1;
};

// The structure browser of the session.
STRUCTURE_BROWSER& structure_browser();
