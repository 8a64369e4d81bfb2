// Connected pieces of a set of faces, by union-find over shared edges.

#include "host/kernel/ops/face_components.h"

#include <cstddef>
#include <numeric>
#include <unordered_map>

#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"

namespace {

std::size_t find_root(std::vector<std::size_t>& parent, std::size_t i) {
  while (parent[i] != i) {
    parent[i] = parent[parent[i]];  // path halving
    i = parent[i];
  }
  return i;
}

}  // namespace

std::vector<std::vector<FACE*>> connected_face_groups(const std::vector<FACE*>& faces) {
  std::unordered_map<const FACE*, std::size_t> index;
  index.reserve(faces.size());
  for (std::size_t i = 0; i < faces.size(); ++i) index.emplace(faces[i], i);
  std::vector<std::size_t> parent(faces.size());
  std::iota(parent.begin(), parent.end(), std::size_t{0});

  for (std::size_t i = 0; i < faces.size(); ++i) {
    for (LOOP* loop = faces[i]->loop(); loop != nullptr; loop = loop->next()) {
      COEDGE* const first = loop->start();
      COEDGE* c = first;
      while (c != nullptr) {
        // The next coedge of the edge's ring joins this face's piece; going
        // round the ring that way joins all of its faces.
        COEDGE* const p = c->partner();
        if (p != nullptr && p != c) {
          const auto other = index.find(p->face());
          if (other != index.end()) {
            const std::size_t a = find_root(parent, i);
            const std::size_t b = find_root(parent, other->second);
            if (a != b) parent[b] = a;
          }
        }
        c = c->next();
        if (c == first) break;
      }
    }
  }

  std::vector<std::vector<FACE*>> groups;
  std::unordered_map<std::size_t, std::size_t> group_of_root;
  for (std::size_t i = 0; i < faces.size(); ++i) {
    const std::size_t root = find_root(parent, i);
    const auto [it, fresh] = group_of_root.emplace(root, groups.size());
    if (fresh) groups.emplace_back();
    groups[it->second].push_back(faces[i]);
  }
  return groups;
}
