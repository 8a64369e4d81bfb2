#include "host/kernel/ops/split_body.h"

#include "host/kernel/kernel_errors.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/shell.h"

MOD_INFO* split_body_3d(BODY* body, std::vector<BODY*>& bodies) {
  bodies.clear();
  if (body == nullptr) return k2_error(K2_ERROR::MISSING_GEOMETRY);
  if (body->number_of_shells() == 0) return k2_error(K2_ERROR::EMPTY_BODY);
  // A copy: each new body takes its shell out of the list.
  const std::vector<SHELL*> shells = body->shells();
  bodies.reserve(shells.size());
  bodies.push_back(body);
  for (std::size_t i = 1; i < shells.size(); ++i) {
    auto* b = new BODY(shells[i], body->resabs());
    b->set_transform(body->transform());
    b->set_attributes(body->attributes());
    bodies.push_back(b);
  }
  return nullptr;
}
