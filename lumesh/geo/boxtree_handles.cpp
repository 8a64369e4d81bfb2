#include "lumesh/geo/boxtree_handles.h"

#include "host/kernel/topology/body.h"
#include "lumesh/geo/face_boxes.h"

BOXTREE_HANDLES& BOXTREE_HANDLES::instance() {
  static BOXTREE_HANDLES handles;
  return handles;
}

std::int64_t BOXTREE_HANDLES::make(BODY* body) {
  ENTRY e;
  {
    // The list lives only for the build: the tree takes every record.
    FACE_BOXES boxes(body);
    e.tree = std::make_unique<OBJECT_BOXTREE<BOXED_FACE>>(boxes);
  }
  e.body = body;
  e.body_sysid = body->sysid();
  const std::int64_t id = last_ + 1;
  trees_.emplace(id, std::move(e));
  last_ = id;
  return id;
}

BOXTREE_HANDLES::ENTRY* BOXTREE_HANDLES::find(std::int64_t id) {
  auto it = trees_.find(id);
  return it == trees_.end() ? nullptr : &it->second;
}

bool BOXTREE_HANDLES::destroy(std::int64_t id) {
  return trees_.erase(id) > 0;
}
