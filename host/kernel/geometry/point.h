#pragma once
// point: base of the kernel's point geometry, the position of a vertex, and
// point3, a point at a fixed position. Points are immutable after construction
// and shared by reference count (see GEOMETRY_ENTITY).

#include "host/base/pool.h"
#include "host/geometry/position3.h"
#include "host/geometry/transform3.h"
#include "host/kernel/entity/geometry_entity.h"

class point : public GEOMETRY_ENTITY {
 public:
  static const ENTITY_TYPE type;

  virtual POSITION3 position() const = 0;
  // A new point, without references, at position() * t.
  virtual point* transform_copy(const TRANSFORM3& t) const = 0;

 protected:
  point() = default;
  ~point() override = default;
};

class point3 final : public point, public POOLED<point3> {
 public:
  static const ENTITY_TYPE type;
  const ENTITY_TYPE& identity() const override { return type; }

  // Any position is accepted, also a non-finite one (so that a reader can keep
  // what a file says); is_finite() tells the two apart.
  explicit point3(const POSITION3& p) : pos_(p) {}

  POSITION3 position() const override { return pos_; }
  bool is_finite() const { return pos_.is_finite(); }
  point3* transform_copy(const TRANSFORM3& t) const override;

 private:
  ~point3() override = default;

  POSITION3 pos_;
};
