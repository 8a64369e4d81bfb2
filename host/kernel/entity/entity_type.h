#pragma once
// ENTITY_TYPE: one static object per entity class. Types form a tree by their
// parent; `a <= b` answers whether a is b or a kind of b. The name and package
// are the entity's type symbol in Lisp ("FACE" in "k2", "PLANE" in "geo").

class ENTITY_TYPE {
 public:
  constexpr ENTITY_TYPE(const char* name, const char* package, const ENTITY_TYPE* parent)
      : name_(name), package_(package), parent_(parent) {}
  ENTITY_TYPE(const ENTITY_TYPE&) = delete;
  ENTITY_TYPE& operator=(const ENTITY_TYPE&) = delete;

  const char* name() const { return name_; }
  const char* package() const { return package_; }
  const ENTITY_TYPE* parent() const { return parent_; }

  // True when this type is `kind` or derives from it. O(depth of the tree).
  bool operator<=(const ENTITY_TYPE& kind) const {
    for (const ENTITY_TYPE* t = this; t != nullptr; t = t->parent_) {
      if (t == &kind) return true;
    }
    return false;
  }
  bool operator==(const ENTITY_TYPE& other) const { return this == &other; }

 private:
  const char* name_;
  const char* package_;
  const ENTITY_TYPE* parent_;
};
