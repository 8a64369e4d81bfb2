#pragma once
// GEOMETRY_ENTITY: base of surfaces, curves and points. Geometry is immutable
// once made and shared by reference count: every holder (a face, an edge, a
// saved state in the history, a Lisp handle) takes its own reference, and the
// last release frees it. A new geometry entity starts with no reference.

#include <cstdint>
#include <utility>

#include "host/kernel/entity/entity.h"

class GEOMETRY_ENTITY : public ENTITY {
 public:
  static const ENTITY_TYPE type;

  void acquire() const { ++refs_; }
  // Frees the entity when the last reference goes.
  void release() const;
  std::uint32_t use_count() const { return refs_; }

 protected:
  GEOMETRY_ENTITY() = default;
  ~GEOMETRY_ENTITY() override = default;

 private:
  mutable std::uint32_t refs_ = 0;
};

// An owning reference to a geometry entity (acquire on copy, release on drop).
template <class T>
class GEOM_REF {
 public:
  GEOM_REF() = default;
  GEOM_REF(T* p) : p_(p) {  // NOLINT: implicit from a raw pointer on purpose
    if (p_ != nullptr) p_->acquire();
  }
  GEOM_REF(const GEOM_REF& o) : GEOM_REF(o.p_) {}
  GEOM_REF(GEOM_REF&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
  GEOM_REF& operator=(GEOM_REF o) noexcept {
    std::swap(p_, o.p_);
    return *this;
  }
  ~GEOM_REF() {
    if (p_ != nullptr) p_->release();
  }
  friend void swap(GEOM_REF& a, GEOM_REF& b) noexcept { std::swap(a.p_, b.p_); }

  T* get() const { return p_; }
  T* operator->() const { return p_; }
  T& operator*() const { return *p_; }
  explicit operator bool() const { return p_ != nullptr; }

 private:
  T* p_ = nullptr;
};
