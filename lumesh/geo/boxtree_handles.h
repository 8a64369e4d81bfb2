#pragma once
// Box trees of a body's faces held on behalf of Lisp callers, named by
// numbers. A Lisp boxtree handle carries only the number, never an address:
// a number that names no tree now (destroyed, or never handed out) is found
// to be so, so a stale or forged handle is an error and not a crash.
//
// Numbers start at 1 and are never reused; 0 is the null handle. Trees that
// their callers never destroy are released when the program ends.

#include <cstdint>
#include <memory>
#include <unordered_map>

#include "lumesh/geo/boxed_object.h"
#include "lumesh/geo/boxtree_node.h"

class BODY;

class BOXTREE_HANDLES {
 public:
  struct ENTRY {
    std::unique_ptr<OBJECT_BOXTREE<BOXED_FACE>> tree;  // owned
    BODY* body = nullptr;                              // not owned; the indexed body
    std::uint64_t body_sysid = 0;                      // tells whether `body` still exists
  };

  static BOXTREE_HANDLES& instance();

  // Builds the tree of every face of the live body `body`; its number.
  std::int64_t make(BODY* body);
  // The tree named by `id`; null for 0 and for a number that names no tree.
  ENTRY* find(std::int64_t id);
  // Releases the tree; false when `id` names none.
  bool destroy(std::int64_t id);
  // Trees held now.
  std::size_t size() const { return trees_.size(); }

 private:
  BOXTREE_HANDLES() = default;

  std::unordered_map<std::int64_t, ENTRY> trees_;
  std::int64_t last_ = 0;
};
