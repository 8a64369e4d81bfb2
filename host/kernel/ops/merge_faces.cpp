// Joining faces of one surface. Faces are grouped first, by a breadth-first
// walk over shared edges from the first face of each group (the seed), so
// that every member is compared with the seed's surface, not with a
// neighbour's, and tolerances cannot add up along a chain of faces.
//
// Each group is then joined on its rings. A union-find over the group's loops
// tells which coedges lie in one ring: an internal edge between two rings is
// removed and the rings spliced (prev(c) -> next(p), prev(p) -> next(c)),
// which is a spanning tree over the pieces. An internal edge whose coedges
// are in one ring is removed only as a spur (c, p consecutive), and removing
// a spur may expose the next one at its base, which is followed at once. The
// rest stay as bridges. The rings left are given the group's loops, and the
// seed takes them; the other faces, now bare, go.

#include "host/kernel/ops/merge_faces.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <deque>
#include <numeric>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "host/kernel/geometry/surface.h"
#include "host/kernel/kernel_errors.h"
#include "host/kernel/ops/foreign_face.h"
#include "host/kernel/ops/loop_types.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/edge.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"
#include "host/kernel/topology/shell.h"
#include "host/kernel/topology/topology.h"
#include "host/kernel/topology/vertex.h"

namespace {

// The edge of c is used by c and one other coedge, which is c's partner.
bool used_twice(const COEDGE* c) {
  const COEDGE* p = c->partner();
  return p != nullptr && p != c && p->partner() == c;
}

bool same_looks(const FACE* a, const FACE* b) {
  double ra = 0, ga = 0, ba = 0, rb = 0, gb = 0, bb = 0;
  const bool ca = a->get_color(ra, ga, ba);
  if (ca != b->get_color(rb, gb, bb)) return false;
  if (ca && (ra != rb || ga != gb || ba != bb)) return false;
  double ta = 0, tb = 0;
  const bool xa = a->get_transparency(ta);
  if (xa != b->get_transparency(tb)) return false;
  return !xa || ta == tb;
}

// A face the joining can work on at all: the splicing follows next and
// previous links, so every ring must close and its links agree.
bool plain_face(const FACE* f) {
  if (f == nullptr || f->geometry() == nullptr || f->loop() == nullptr ||
      foreign_face(f) != nullptr) {
    return false;
  }
  for (const LOOP* l = f->loop(); l != nullptr; l = l->next()) {
    if (!l->is_closed()) return false;
    bool linked = true;
    TOPOLOGY::walk_ring(l->start(), [&](COEDGE* c) {
      if (c->next()->previous() != c || c->loop() != l) linked = false;
    });
    if (!linked) return false;
  }
  return true;
}

bool outward_normal(const FACE* f, const POSITION3& p, UNITVEC3& n) {
  pt_on_sf foot;
  double dist = 0;
  if (f->geometry()->closest_point(p, foot, dist) != nullptr) return false;
  return f->normal(foot, n) == nullptr;
}

class MERGER {
 public:
  MERGER(BODY* body, const MERGE_3D_OPTIONS& options) : options_(options), tol_(body->resabs()) {
    body->scan_faces(
        [](FACE* f, void* arg) {
          static_cast<std::vector<FACE*>*>(arg)->push_back(f);
          return SCAN_CONTINUE;
        },
        &faces_);
  }

  void run(MERGE_3D_RESULT& result) {
    group_of_.reserve(faces_.size());
    for (FACE* f : faces_) {
      if (group_of_.count(f) != 0) continue;
      const int gid = static_cast<int>(groups_.size());
      groups_.push_back({f});
      group_of_.emplace(f, gid);
      if (plain_face(f)) grow(gid);
    }
    for (std::size_t g = 0; g < groups_.size(); ++g) {
      if (groups_[g].size() > 1) join(static_cast<int>(g), result);
    }
  }

 private:
  int group_of(const FACE* f) const {
    auto it = group_of_.find(f);
    return it == group_of_.end() ? -1 : it->second;
  }

  // Breadth first from the seed over edges used by two faces.
  void grow(int gid) {
    FACE* seed = groups_[static_cast<std::size_t>(gid)].front();
    std::deque<FACE*> queue{seed};
    std::vector<COEDGE*> ring;
    while (!queue.empty()) {
      FACE* g = queue.front();
      queue.pop_front();
      for (LOOP* l = g->loop(); l != nullptr; l = l->next()) {
        TOPOLOGY::ring(l->start(), ring);
        for (COEDGE* c : ring) {
          if (!used_twice(c)) continue;
          COEDGE* p = c->partner();
          FACE* h = p->face();
          if (h == nullptr || group_of_.count(h) != 0) continue;
          if (!joins(seed, c, p, h)) continue;
          group_of_.emplace(h, gid);
          groups_[static_cast<std::size_t>(gid)].push_back(h);
          queue.push_back(h);
        }
      }
    }
  }

  // Whether h, reached over c (in the group) and its partner p (in h), joins
  // the seed's group.
  bool joins(const FACE* seed, const COEDGE* c, const COEDGE* p, const FACE* h) const {
    if (!plain_face(h) || h->shell() != seed->shell()) return false;
    if (c->sense() == p->sense()) return false;
    if (!options_.ignore_attributes && !same_looks(seed, h)) return false;
    const surface* s = seed->geometry();
    if (h->geometry() == s) return h->sense() == seed->sense();
    if (!s->same_geometry(*h->geometry(), tol_)) return false;
    bool near = true;
    POSITION3 first;
    bool have_first = false;
    std::vector<COEDGE*> ring;
    for (LOOP* l = h->loop(); l != nullptr && near; l = l->next()) {
      TOPOLOGY::ring(l->start(), ring);
      for (COEDGE* co : ring) {
        const VERTEX* v = co->start();
        if (v == nullptr) continue;
        const POSITION3 q = v->pt3();
        if (!have_first) {
          first = q;
          have_first = true;
        }
        const double d = s->signed_distance(q);
        if (!(std::fabs(d) <= tol_)) {
          near = false;
          break;
        }
      }
    }
    if (!near || !have_first) return false;
    UNITVEC3 ns, nh;
    if (!outward_normal(seed, first, ns) || !outward_normal(h, first, nh)) return false;
    return dot(ns, nh) > 0.0;
  }

  // Union-find over the group's loops, by index.
  std::size_t find(std::size_t i) {
    while (parent_[i] != i) {
      parent_[i] = parent_[parent_[i]];
      i = parent_[i];
    }
    return i;
  }

  // Takes the edge of c and p out of the body; c and p are unlinked already.
  // `dead` learns them: they are gone, their addresses are only compared.
  static void remove_edge(COEDGE* c, COEDGE* p, std::vector<const COEDGE*>& dead) {
    EDGE* e = c->edge();
    dead.push_back(c);
    dead.push_back(p);
    TOPOLOGY::lose_unlinked_coedge(c);
    TOPOLOGY::lose_unlinked_coedge(p);
    if (e != nullptr && e->coedge() == nullptr) TOPOLOGY::lose_edge(e, true);
  }

  void join(int gid, MERGE_3D_RESULT& result) {
    const std::vector<FACE*>& group = groups_[static_cast<std::size_t>(gid)];
    FACE* seed = group.front();
    std::vector<LOOP*> loops;
    std::vector<COEDGE*> coedges;
    std::unordered_map<const LOOP*, std::size_t> loop_index;
    std::vector<COEDGE*> ring;
    for (FACE* f : group) {
      for (LOOP* l = f->loop(); l != nullptr; l = l->next()) {
        loop_index.emplace(l, loops.size());
        loops.push_back(l);
        TOPOLOGY::ring(l->start(), ring);
        coedges.insert(coedges.end(), ring.begin(), ring.end());
      }
    }
    // The edges inside the group, each once, in the order of the walk.
    struct INNER {
      COEDGE* c;
      COEDGE* p;
      bool removed;
    };
    std::vector<INNER> inner;
    std::unordered_map<const EDGE*, std::size_t> inner_of;
    inner_of.reserve(coedges.size() / 2);
    for (COEDGE* c : coedges) {
      if (!used_twice(c)) continue;
      COEDGE* p = c->partner();
      if (c->sense() == p->sense() || group_of(p->face()) != gid) continue;
      if (inner_of.emplace(c->edge(), inner.size()).second) inner.push_back({c, p, false});
    }
    parent_.resize(loops.size());
    std::iota(parent_.begin(), parent_.end(), std::size_t{0});
    std::vector<const COEDGE*> dead;

    // Splice rings along a spanning tree of the pieces.
    for (INNER& e : inner) {
      const std::size_t a = find(loop_index.at(e.c->loop()));
      const std::size_t b = find(loop_index.at(e.p->loop()));
      if (a == b) continue;
      COEDGE* p1 = e.c->previous();
      COEDGE* n1 = e.c->next();
      COEDGE* p2 = e.p->previous();
      COEDGE* n2 = e.p->next();
      p1->set_next(n2);
      p2->set_next(n1);
      parent_[a] = b;
      remove_edge(e.c, e.p, dead);
      e.removed = true;
      ++result.edges_removed;
    }
    // Spurs: an edge walked there and straight back.
    bool changed = true;
    while (changed) {
      changed = false;
      for (INNER& e : inner) {
        if (e.removed) continue;
        COEDGE* first = e.c->next() == e.p ? e.c : (e.p->next() == e.c ? e.p : nullptr);
        if (first == nullptr) continue;
        INNER* spur = &e;
        while (spur != nullptr) {
          COEDGE* second = first == spur->c ? spur->p : spur->c;
          // A ring of this edge alone would vanish: keep it.
          if (second->next() == first) break;
          COEDGE* before = first->previous();
          COEDGE* after = second->next();
          before->set_next(after);
          remove_edge(spur->c, spur->p, dead);
          spur->removed = true;
          ++result.edges_removed;
          changed = true;
          // The base of the spur may be the tip of the next one.
          spur = nullptr;
          if (before->edge() == after->edge()) {
            auto it = inner_of.find(before->edge());
            if (it != inner_of.end() && !inner[it->second].removed) {
              spur = &inner[it->second];
              first = before;
            }
          }
        }
      }
    }

    // Give the rings that are left to the seed, in the loops of the group.
    // Mostly one ring is left, which the first survivor's walk covers; the
    // set of walked coedges is only needed when there are more.
    for (FACE* f : group) TOPOLOGY::release_loops(f);
    std::sort(dead.begin(), dead.end());
    const std::size_t survivors = coedges.size() - dead.size();
    std::size_t walked = 0;
    std::unordered_set<const COEDGE*> placed;
    std::size_t used = 0;
    for (COEDGE* c : coedges) {
      if (walked == survivors) break;
      if (std::binary_search(dead.begin(), dead.end(), c)) continue;
      if (used == 1 && placed.empty()) {
        TOPOLOGY::walk_ring(loops[0]->start(), [&](COEDGE* x) { placed.insert(x); });
      }
      if (placed.count(c) != 0) continue;
      LOOP* l = loops[used++];
      TOPOLOGY::walk_ring(c, [&](COEDGE* x) {
        ++walked;
        if (used > 1) placed.insert(x);
      });
      TOPOLOGY::set_loop_start(l, c);
      TOPOLOGY::claim_ring(l, c);
      TOPOLOGY::append_loop(seed, l);
    }
    for (std::size_t i = used; i < loops.size(); ++i) TOPOLOGY::lose_empty_loop(loops[i]);
    for (std::size_t i = 1; i < group.size(); ++i) TOPOLOGY::lose_bare_face(group[i]);
    result.faces_removed += static_cast<int>(group.size()) - 1;
    // A joined face's loops may have changed their turn (a hole that was
    // split between pieces is a hole again).
    set_loop_types(seed);
  }

  MERGE_3D_OPTIONS options_;
  double tol_;
  std::vector<FACE*> faces_;
  std::vector<std::vector<FACE*>> groups_;
  std::unordered_map<const FACE*, int> group_of_;
  std::vector<std::size_t> parent_;
};

}  // namespace

MOD_INFO* merge_3d(BODY* body, const MERGE_3D_OPTIONS& options, MERGE_3D_RESULT* result) {
  if (body == nullptr) return k2_error(K2_ERROR::MISSING_GEOMETRY);
  if (body->number_of_faces() == 0) return k2_error(K2_ERROR::EMPTY_BODY);
  MERGE_3D_RESULT local;
  MERGER merger(body, options);
  merger.run(result != nullptr ? *result : local);
  return nullptr;
}
