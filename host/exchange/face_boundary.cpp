// Splitting a loop at its bridges. A bridge pair (i, j) in the ring walks
// v -> w at i and w -> v at j; what lies between them is a closed excursion
// from w back to w. The sub-ring successor of a kept coedge p is therefore
// the coedge after p, where every bridge met is skipped together with its
// excursion by jumping past its partner. Following successors visits each
// sub-ring once; O(ring length) with a hash table of edge positions.

#include "host/exchange/face_boundary.h"

#include <unordered_map>

#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/plane.h"
#include "host/kernel/geometry/straight.h"
#include "host/kernel/kernel_errors.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/edge.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"

namespace {

[[noreturn]] void refuse() {
  k2_throw(K2_ERROR::CANNOT_CONVERT_BODY);
}

std::vector<const COEDGE*> ring_of(const LOOP& loop) {
  std::vector<const COEDGE*> ring;
  const COEDGE* first = loop.start();
  if (first == nullptr) refuse();
  const COEDGE* c = first;
  do {
    if (c == nullptr || c->edge() == nullptr) refuse();
    if (!c->edge()->geometry() || !c->edge()->geometry()->is_a(straight::type)) refuse();
    ring.push_back(c);
    // A ring that never comes back is refused rather than walked forever.
    if (ring.size() > 100'000'000) refuse();
    c = c->next();
  } while (c != first);
  return ring;
}

}  // namespace

std::vector<std::vector<const COEDGE*>> split_at_bridges(const LOOP& loop,
                                                         std::unordered_set<const EDGE*>& bridges) {
  const std::vector<const COEDGE*> ring = ring_of(loop);
  const std::size_t n = ring.size();
  constexpr std::size_t kNone = static_cast<std::size_t>(-1);
  std::vector<std::size_t> partner(n, kNone);
  {
    std::unordered_map<const EDGE*, std::size_t> first_use;
    first_use.reserve(n);
    for (std::size_t i = 0; i < n; ++i) {
      auto [it, fresh] = first_use.emplace(ring[i]->edge(), i);
      if (fresh) continue;
      const std::size_t j = it->second;
      if (partner[j] != kNone || ring[j]->sense() == ring[i]->sense()) refuse();
      partner[i] = j;
      partner[j] = i;
      bridges.insert(ring[i]->edge());
    }
  }
  auto successor = [&](std::size_t p) {
    std::size_t q = (p + 1) % n;
    for (std::size_t steps = 0; partner[q] != kNone; ++steps) {
      if (steps > n) refuse();
      q = (partner[q] + 1) % n;
    }
    return q;
  };
  std::vector<std::vector<const COEDGE*>> rings;
  std::vector<char> seen(n, 0);
  for (std::size_t s = 0; s < n; ++s) {
    if (partner[s] != kNone || seen[s]) continue;
    std::vector<const COEDGE*> sub;
    std::size_t p = s;
    do {
      if (seen[p]) refuse();  // the successors do not form rings: a broken loop
      seen[p] = 1;
      sub.push_back(ring[p]);
      const std::size_t q = successor(p);
      if (ring[p]->end() != ring[q]->start()) refuse();
      p = q;
    } while (p != s);
    rings.push_back(std::move(sub));
  }
  return rings;
}

std::vector<const FACE*> body_faces(const BODY& body) {
  std::vector<const FACE*> faces;
  faces.reserve(static_cast<std::size_t>(body.number_of_faces()));
  body.scan_faces(
      [](FACE* f, void* data) {
        static_cast<std::vector<const FACE*>*>(data)->push_back(f);
        return SCAN_CONTINUE;
      },
      &faces);
  return faces;
}

BODY_BOUNDARY body_boundary(const BODY& body) {
  BODY_BOUNDARY out;
  for (const FACE* f : body_faces(body)) {
    const surface* sf = f->geometry();
    if (sf == nullptr || !(sf->is_a(plane::type) || sf->is_a(cylinder::type))) refuse();
    FACE_BOUNDARY fb;
    fb.face = f;
    for (const LOOP* l = f->loop(); l != nullptr; l = l->next()) {
      for (auto& r : split_at_bridges(*l, out.bridges)) fb.rings.push_back(std::move(r));
    }
    if (fb.rings.empty()) refuse();
    out.faces.push_back(std::move(fb));
  }
  return out;
}
