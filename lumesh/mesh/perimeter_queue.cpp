// The perimeter queue of flat region growing, with the lazily rebuilt heap.

#include "lumesh/mesh/perimeter_queue.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "host/geometry/constants.h"
#include "lumesh/mesh/mesh_polygon.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"

bool NORMAL_COMPARATOR::operator()(const MESH_POLYGON_COEDGE* a,
                                   const MESH_POLYGON_COEDGE* b) const {
  return dot(a->get_owner_polygon()->get_normal(), reference_) >
         dot(b->get_owner_polygon()->get_normal(), reference_);
}

PERIMETER_QUEUE::PERIMETER_QUEUE(MESH_POLYGON* seed)
    : reference_normal_(seed->get_normal()), heap_normal_(seed->get_normal()) {
  if (MESH_POLYGON_COEDGE* const start = seed->get_start_coedge()) {
    const MESH_POLYGON_COEDGE* c = start;
    do {
      offer_partner_of(c);
      c = c->get_next();
    } while (c != start);
  }
}

void PERIMETER_QUEUE::set_reference_normal(const UNITVEC3& normal) {
  reference_normal_ = normal;
  needs_heap_ = true;
}

double PERIMETER_QUEUE::key_of(const MESH_POLYGON_COEDGE* c, const UNITVEC3& against) const {
  const double k = dot(c->get_owner_polygon()->get_normal(), against);
  return host_is_nan(k) ? host_neg_inf() : k;
}

void PERIMETER_QUEUE::push(MESH_POLYGON_COEDGE* partner) {
  heap_.push_back({key_of(partner, heap_normal_), partner});
  std::push_heap(heap_.begin(), heap_.end(), ENTRY_AFTER());
}

void PERIMETER_QUEUE::offer_partner_of(const MESH_POLYGON_COEDGE* c) {
  MESH_POLYGON_COEDGE* const partner = c->get_partner_coedge();
  if (partner != nullptr && !partner->get_owner_polygon()->member_of_region()) push(partner);
}

void PERIMETER_QUEUE::extend_to_partner_polygon(MESH_POLYGON_COEDGE* entry) {
  for (const MESH_POLYGON_COEDGE* c = entry->get_next(); c != entry; c = c->get_next()) {
    offer_partner_of(c);
  }
}

bool PERIMETER_QUEUE::top_is_certain() const {
  // For an entry of polygon normal n, heap key h = n·r0 and true key
  // k = n·r, with r0 the heap normal and r the reference normal:
  //   k = h + r0·(r - r0) + (n - r0)·(r - r0) >= h + C - |n - r0| δ,
  // where C = r0·(r - r0), δ = |r - r0| and |n - r0| = sqrt(2 - 2h). The
  // right side grows with h, and every entry below a child of the top has
  // a key at least the child's, so the children bound the whole heap. h is
  // rounded (nearly parallel normals give exactly 1), so |n - r0| is taken
  // from 2 - 2h plus the rounding of h.
  const double kRounding = 8.0 * std::numeric_limits<double>::epsilon();
  const ENTRY& top = heap_.front();
  const double k_top = dot(top.coedge->get_owner_polygon()->get_normal(), reference_normal_);
  // A top that fails the angle test goes whatever its rank: every entry
  // before it would fail too, and a failure changes nothing but the order
  // in which failures are noted.
  if (!(k_top > 0.985)) return true;
  const VECTOR3 shift = reference_normal_ - heap_normal_;
  const double c = dot(heap_normal_, shift);
  const double delta = shift.len();
  for (std::size_t child = 1; child <= 2 && child < heap_.size(); ++child) {
    const double h = heap_[child].key;
    const double apart = std::sqrt(std::max(0.0, 2.0 - 2.0 * h) + kRounding);
    const double lowest = h + c - apart * delta;
    if (!(lowest >= k_top - kRounding)) return false;
  }
  return true;
}

void PERIMETER_QUEUE::rebuild() {
  heap_normal_ = reference_normal_;
  for (ENTRY& e : heap_) e.key = key_of(e.coedge, heap_normal_);
  std::make_heap(heap_.begin(), heap_.end(), ENTRY_AFTER());
  needs_heap_ = false;
}

MESH_POLYGON_COEDGE* PERIMETER_QUEUE::pop_flattest_perimeter_coedge() {
  if (heap_.empty()) return nullptr;
  if (needs_heap_ && !top_is_certain()) rebuild();
  std::pop_heap(heap_.begin(), heap_.end(), ENTRY_AFTER());
  MESH_POLYGON_COEDGE* const entry = heap_.back().coedge;
  heap_.pop_back();
  return entry;
}
