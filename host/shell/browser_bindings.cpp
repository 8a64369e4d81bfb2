#include "host/shell/browser_bindings.h"

#include <stdexcept>
#include <string>
#include <vector>

#include "host/lisp/lisp_error.h"
#include "host/lisp/lisp_ref.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/native_function.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/ui/browser_text.h"
#include "host/ui/output_box.h"
#include "host/ui/structure_browser.h"

namespace {

LAOBJ* kw(const char* name) {
  return make_keyword(name);
}


LAOBJ* call_frame2(const char* function, const std::vector<LAOBJ*>& args) {
  LISP_OUTCOME o = lisp_apply(hcl_find_symbol(function, "FRAME2"), make_list(args));
  if (!o.ok) throw std::runtime_error(o.error);
  return o.value;
}

// The browser an object stands for; the session has the structure browser.
STRUCTURE_BROWSER& browser_of(LAOBJ* x) {
  LISP_OUTCOME is = lisp_apply(hcl_find_symbol("GBROWSER-P", "FRAME2"), make_list({x}));
  if (!is.ok || lisp_null(is.value)) hcl_wrong_type("FRAME2:GBROWSER", x);
  LAOBJ* name = call_frame2("GBROWSER-NAME", {x});
  if (!is_string(name) || object_to_string(name) != "STRUCTURE")
    hcl_error("~S is no browser of this session.", {x});
  return structure_browser();
}

// A node's path string, from a BROWSERNODE or the string itself.
std::string path_of_node(LAOBJ* x) {
  if (is_string(x)) return object_to_string(x);
  LISP_OUTCOME is = lisp_apply(hcl_find_symbol("BROWSERNODE-P", "FRAME2"), make_list({x}));
  if (!is.ok || lisp_null(is.value)) hcl_wrong_type("FRAME2:BROWSERNODE", x);
  LAOBJ* path = call_frame2("BROWSERNODE-OBJPATH", {x});
  if (!is_string(path)) hcl_wrong_type("STRING", path);
  return object_to_string(path);
}

LAOBJ* lisp_node(const BROWSER_NODE& n) {
  std::string kind = browser_node_kind_name(n.kind);
  return call_frame2("%MAKE-BROWSERNODE",
                     {make_string(n.path), make_string(n.label), kw(kind.c_str())});
}

std::string text_of(LAOBJ* x) {
  return is_string(x) ? object_to_string(x) : lisp_princ(x);
}

void check_function(LAOBJ* fn) {
  if (is_symbol(fn) && !lisp_null(fn)) return;
  LISP_OUTCOME f = lisp_apply(hcl_find_symbol("FUNCTIONP", "COMMON-LISP"), make_list({fn}));
  if (!f.ok || lisp_null(f.value)) hcl_wrong_type("FUNCTION", fn);
}

LAOBJ* add_popup_entry(NATIVE_CALL& c) {
  if (c.narg() < 1) check_arg_failed(c.name(), c.narg());
  STRUCTURE_BROWSER& b = browser_of(c.arg(0));
  c.parse_keys(1, {kw("LABEL"), kw("IS-ENTRY-VISIBLE"), kw("MENU-ACTION"), kw("PLACE-AT-TOP")});
  if (!c.has_key(kw("LABEL")) || !c.has_key(kw("MENU-ACTION"))) {
    hcl_error("A popup entry needs a :LABEL and a :MENU-ACTION.");
  }
  LAOBJ* label = c.key(kw("LABEL"), lisp_nil());
  if (!is_string(label)) hcl_wrong_type("STRING", label);
  LAOBJ* visible = c.key(kw("IS-ENTRY-VISIBLE"), lisp_nil());
  LAOBJ* action = c.key(kw("MENU-ACTION"), lisp_nil());
  if (!lisp_null(visible)) check_function(visible);
  check_function(action);
  // Lisp functions are called with the node and its label; a Lisp error
  // becomes a C++ exception that the browser turns into its report.
  auto caller = [](LISP_REF fn) {
    return [fn](const BROWSER_NODE& n) {
      LISP_OUTCOME o = lisp_apply(fn.get(), make_list({lisp_node(n), make_string(n.label)}));
      if (!o.ok) throw std::runtime_error(o.error);
      return !lisp_null(o.value);
    };
  };
  BROWSER_POPUP_ENTRY entry;
  entry.label = object_to_string(label);
  if (!lisp_null(visible)) entry.is_visible = caller(LISP_REF(visible));
  auto act = caller(LISP_REF(action));
  entry.action = [act](const BROWSER_NODE& n) { act(n); };
  b.add_popup_entry(std::move(entry), !lisp_null(c.key(kw("PLACE-AT-TOP"), lisp_nil())));
  return lisp_t();
}

LAOBJ* remove_popup_entry(NATIVE_CALL& c) {
  c.check_count(2, 2);
  STRUCTURE_BROWSER& b = browser_of(c.arg(0));
  if (!is_string(c.arg(1))) hcl_wrong_type("STRING", c.arg(1));
  return make_fixnum(static_cast<long long>(b.remove_popup_entry(object_to_string(c.arg(1)))));
}

LAOBJ* popup_entries(NATIVE_CALL& c) {
  c.check_count(2, 2);
  STRUCTURE_BROWSER& b = browser_of(c.arg(0));
  std::vector<std::string> errors;
  const std::vector<std::string> labels = b.popup_entries(path_of_node(c.arg(1)), &errors);
  for (const std::string& e : errors) output_box().display_error(e);
  return list_of(labels.size(), [&](std::size_t i) { return make_string(labels[i]); });
}

LAOBJ* run_popup_entry(NATIVE_CALL& c) {
  c.check_count(3, 3);
  STRUCTURE_BROWSER& b = browser_of(c.arg(0));
  const std::string path = path_of_node(c.arg(1));
  const std::string label = text_of(c.arg(2));
  const std::string error = b.run_popup_entry(path, label);
  if (error.empty()) return lisp_t();
  output_box().display_error(error);
  return lisp_nil();
}

LAOBJ* node_of(NATIVE_CALL& c) {
  c.check_count(2, 2);
  const BROWSER_NODE* n = browser_of(c.arg(0)).find(path_of_node(c.arg(1)));
  return n == nullptr ? lisp_nil() : lisp_node(*n);
}

LAOBJ* node_children(NATIVE_CALL& c) {
  c.check_count(2, 2);
  const BROWSER_NODE& n = browser_of(c.arg(0)).node(path_of_node(c.arg(1)));
  return list_of(n.children.size(), [&](std::size_t i) { return lisp_node(n.children[i]); });
}

LAOBJ* select_node(NATIVE_CALL& c) {
  c.check_count(2, 3);
  browser_of(c.arg(0)).select(path_of_node(c.arg(1)), c.narg() > 2 && !lisp_null(c.arg(2)));
  return lisp_t();
}

LAOBJ* clear_selection(NATIVE_CALL& c) {
  c.check_count(1, 1);
  browser_of(c.arg(0)).clear_selection();
  return lisp_t();
}

LAOBJ* selected_nodes(NATIVE_CALL& c) {
  c.check_count(1, 1);
  STRUCTURE_BROWSER& b = browser_of(c.arg(0));
  std::vector<BROWSER_NODE> nodes;
  for (const std::string& path : b.selection()) {
    if (const BROWSER_NODE* n = b.find(path)) nodes.push_back(*n);
  }
  return list_of(nodes.size(), [&](std::size_t i) { return lisp_node(nodes[i]); });
}

LAOBJ* expand_node(NATIVE_CALL& c) {
  c.check_count(3, 3);
  browser_of(c.arg(0)).set_expanded(path_of_node(c.arg(1)), !lisp_null(c.arg(2)));
  return lisp_t();
}

LAOBJ* refresh(NATIVE_CALL& c) {
  c.check_count(1, 1);
  return make_bool(browser_of(c.arg(0)).refresh());
}

LAOBJ* print_browser(NATIVE_CALL& c) {
  c.check_count(1, 1);
  for (const std::string& line : structure_tree_text(browser_of(c.arg(0)).tree()))
    output_box().display(line);
  return lisp_t();
}

}  // namespace

void register_browser_bindings() {
  LAOBJ* frame = find_package("FRAME2");
  const std::pair<const char*, NATIVE_FUNCTION> functions[] = {
      {"TV-BROWSER-ADD-POPUP-ENTRY", &add_popup_entry},
      {"TV-BROWSER-REMOVE-POPUP-ENTRY", &remove_popup_entry},
      {"TV-BROWSER-POPUP-ENTRIES", &popup_entries},
      {"TV-BROWSER-RUN-POPUP-ENTRY", &run_popup_entry},
      {"TV-BROWSER-NODE", &node_of},
      {"TV-BROWSER-NODE-CHILDREN", &node_children},
      {"TV-BROWSER-SELECT-NODE", &select_node},
      {"TV-BROWSER-CLEAR-SELECTION", &clear_selection},
      {"TV-BROWSER-SELECTED-NODES", &selected_nodes},
      {"TV-BROWSER-EXPAND-NODE", &expand_node},
      {"TV-BROWSER-REFRESH", &refresh},
      {"TV-PRINT-STRUCTURE-BROWSER", &print_browser},
  };
  for (const auto& [name, fn] : functions) make_package_function(name, fn, &frame, 2);
}
