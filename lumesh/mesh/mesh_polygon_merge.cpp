// Merging of mesh polygons: neighbours of one region spliced into one ring,
// spurs cut off, and runs of coedges along one neighbour reduced to straight
// edges.

#include <unordered_set>
#include <vector>

#include "host/base/assertion.h"
#include "host/kernel/geometry/plane.h"
#include "host/kernel/geometry/straight.h"
#include "host/kernel/topology/edge.h"
#include "lumesh/mesh/mesh_polygon.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"
#include "lumesh/mesh/mesh_region.h"
#include "lumesh/mesh/mesh_vertex.h"
#include "lumesh/mesh/ring_side_index.h"

// ---- splicing neighbours -----------------------------------------------------

MESH_POLYGON_COEDGE* MESH_POLYGON_COEDGE::merge() {
  MESH_POLYGON_COEDGE* q = get_partner_coedge();
  if (q == nullptr || q->owner_ == owner_ || q->owner_->get_region() != owner_->get_region()) {
    return nullptr;
  }
  auto lonely = [](const MESH_POLYGON_COEDGE* c) {
    return c->next_ == c || c->previous_ == c || c->next_ == nullptr || c->previous_ == nullptr;
  };
  if (lonely(this) || lonely(q)) return nullptr;

  MESH_POLYGON* const mine = owner_;
  MESH_POLYGON* const theirs = q->owner_;
  MESH_POLYGON_COEDGE* const previous = previous_;
  MESH_POLYGON_COEDGE* const next = next_;
  MESH_POLYGON_COEDGE* const q_previous = q->previous_;
  MESH_POLYGON_COEDGE* const q_next = q->next_;

  // The deletions close each ring over the gap; the splice then crosses the
  // two rings over.
  delete this;
  delete q;
  previous->next_ = q_next;
  q_next->previous_ = previous;
  q_previous->next_ = next;
  next->previous_ = q_previous;

  // Null first, so that MERGED finds no coedges to delete: they are ours now.
  theirs->set_start_coedge(nullptr);
  theirs->set_polygon_type(MERGED);
  for (MESH_POLYGON_COEDGE* c = q_next; c != next; c = c->next_) c->owner_ = mine;
  return q_next;
}

bool MESH_POLYGON::merge() {
  if (region_ == nullptr || type_ == MERGED || start_ == nullptr) return false;
  // Each merge takes two coedges out of the ring and splices the rest of the
  // neighbour in, so the walk, which goes on over the spliced coedges, ends
  // when it is back at the (possibly moved) start.
  MESH_POLYGON_COEDGE* c = start_;
  do {
    MESH_POLYGON_COEDGE* resume = c->merge();
    c = resume != nullptr ? resume : c->get_next();
  } while (c != start_ && start_ != nullptr);
  return true;
}

int MESH_POLYGON::merge(MESH_POLYGON_COEDGE* first, MESH_POLYGON_COEDGE* last) {
  int removed = 0;
  MESH_POLYGON_COEDGE* c = first->get_next();
  while (c != last && c != first) {
    MESH_POLYGON_COEDGE* next = c->get_next();
    remove_coedge(c);
    ++removed;
    c = next;
  }
  HOST_ASSERT(c == last, "last is in the ring of first");
  return removed;
}

int MESH_POLYGON::merge_spurs() {
  if (start_ == nullptr) {
    if (type_ != MERGED) set_polygon_type(MERGED);
    return 0;
  }
  std::vector<MESH_POLYGON_COEDGE*> spurs;
  MESH_POLYGON_COEDGE* c = start_;
  do {
    if (c->get_partner_coedge() == c->get_next()) spurs.push_back(c);
    c = c->get_next();
  } while (c != start_);

  // A coedge can be removed while it still waits on the stack (as the
  // return half of another spur); nothing is allocated meanwhile, so its
  // address stays unused and identifies it as gone.
  std::unordered_set<const MESH_POLYGON_COEDGE*> removed;
  int count = 0;
  while (!spurs.empty()) {
    MESH_POLYGON_COEDGE* s = spurs.back();
    spurs.pop_back();
    if (removed.count(s) != 0) continue;
    MESH_POLYGON_COEDGE* after = s->get_next();
    removed.insert(s);
    MESH_POLYGON_COEDGE* n = remove_coedge(s);
    if (n == nullptr) continue;
    removed.insert(after);
    remove_coedge(after);
    count += 2;
    if (n == after) break;  // the ring was the spur alone: it is gone
    MESH_POLYGON_COEDGE* m = n->get_next();
    if (m != nullptr && n->get_start_vertex() == m->get_end_vertex()) spurs.push_back(n);
  }
  if (start_ == nullptr || is_degenerate()) set_polygon_type(MERGED);
  return count;
}

// ---- runs of coedges to straight edges ----------------------------------------

bool MESH_POLYGON::locally_convex(MESH_POLYGON_COEDGE* first, MESH_POLYGON_COEDGE* last,
                                  RING_SIDE_INDEXES* indexes) const {
  if (first == last) return false;
  const auto* pl = region_ != nullptr ? dynamic_cast<const plane*>(region_->get_surface()) : nullptr;
  if (pl == nullptr) return false;
  const VECTOR3 n = region_->get_face_sense() ? VECTOR3(-pl->nor()) : VECTOR3(pl->nor());
  const MESH_VERTEX* origin = first->get_start_vertex();
  const VECTOR3 chord = last->get_end_vertex()->location() - origin->location();
  // The walk below tests the starts of the coedges strictly between last's
  // next and first; an index proves them all inside at once, or nothing.
  if (indexes != nullptr) {
    const RING_SIDE_INDEX* index = indexes->index_for(*this);
    if (index != nullptr && index->all_inside(last->get_next(), first, origin->location(), chord, n)) {
      return true;
    }
  }
  // The walk ends at the coedge that arrives at first's start, at the latest
  // one step before first.
  for (const MESH_POLYGON_COEDGE* c = last->get_next(); c != first; c = c->get_next()) {
    const MESH_VERTEX* p = c->get_end_vertex();
    if (p == origin) return true;
    if (chord_side(origin->location(), chord, n, p->location()) < 0.0) return false;
  }
  return true;
}

namespace {

bool is_spur_tip(const MESH_POLYGON_COEDGE* c) {
  return c->get_previous()->get_start_vertex() == c->get_end_vertex();
}

// Where a run of coedges must stop: a vertex that is or will be a B-rep
// vertex of its own.
bool is_corner(const MESH_POLYGON_COEDGE* c) {
  MESH_VERTEX* v = c->get_start_vertex();
  return v->get_vertex(false) != nullptr || v->outgoing_count() > 2 || is_spur_tip(c);
}

MESH_POLYGON* partner_owner(const MESH_POLYGON_COEDGE* c) {
  const MESH_POLYGON_COEDGE* q = c->get_partner_coedge();
  return q != nullptr ? q->get_owner_polygon() : nullptr;
}

bool on_plane(const MESH_POLYGON* p) {
  const surface* s = p->get_surface();
  return s != nullptr && s->identity() <= plane::type;
}

}  // namespace

int MESH_POLYGON::merge_coedges(const resolution& /*res*/, RING_SIDE_INDEXES* indexes) {
  if (start_ == nullptr) return 0;

  // The first coedge: the first one without an edge at a corner, or the
  // start coedge if there is none.
  MESH_POLYGON_COEDGE* first = start_;
  {
    MESH_POLYGON_COEDGE* c = start_;
    do {
      if (!c->has_edge() && (c->get_start_vertex()->outgoing_count() != 2 || is_corner(c))) {
        first = c;
        break;
      }
      c = c->get_next();
    } while (c != start_);
  }
  if (first->has_edge()) return 0;

  int count = 0;
  MESH_POLYGON_COEDGE* c = first;
  for (;;) {
    MESH_POLYGON* other = partner_owner(c);
    const bool planes = other != nullptr && other != this && on_plane(this) && on_plane(other);

    // The run from c up to e (excluded). A coedge that has its edge already
    // stands alone.
    MESH_POLYGON_COEDGE* e = c->get_next();
    int points = 2;
    if (!c->has_edge()) {
      while (e != first && partner_owner(e) == other && !e->has_edge() && !is_corner(e)) {
        e = e->get_next();
        ++points;
      }
    }
    MESH_POLYGON_COEDGE* const last = e->get_previous();

    bool qualifies = points >= 3 && c->get_start_vertex() != e->get_start_vertex() && planes &&
                     locally_convex(c, last, indexes) &&
                     other->locally_convex(last->get_partner_coedge(), c->get_partner_coedge(),
                                           indexes);

    EDGE* edge = nullptr;
    bool sense = false;
    straight* line = nullptr;
    if (qualifies) {
      MESH_COEDGE_LIST connecting;
      MESH_VERTEX::find_connecting_coedges(*c->get_start_vertex(), *e->get_start_vertex(), connecting);
      if (!connecting.empty()) {
        edge = connecting.front()->get_edge(sense, true);
        if (edge == nullptr || !(edge->geometry()->identity() <= straight::type)) {
          edge = nullptr;
          qualifies = false;
        }
      } else {
        const VECTOR3 d = e->get_start_vertex()->location() - c->get_start_vertex()->location();
        line = new straight(c->get_start_vertex()->location(), d.uvec3());
      }
    }

    if (!qualifies) {
      for (MESH_POLYGON_COEDGE* k = c; k != e; k = k->get_next()) {
        bool k_sense = false;
        k->get_edge(k_sense, true);
      }
    } else {
      MESH_POLYGON_COEDGE* q = last->get_partner_coedge();
      other->merge(q, c->get_partner_coedge()->get_next());
      count += merge(c, e);
      bool dropped = false;
      if (edge == nullptr) {
        VERTEX* vs = c->get_start_vertex()->get_vertex(true);
        VERTEX* ve = c->get_end_vertex()->get_vertex(true);
        MOD_INFO* status = nullptr;
        if (vs != ve) {
          edge = new EDGE(vs, ve, line, status);
          if (status != nullptr) {
            edge->lose();  // takes the curve with it
            edge = nullptr;
          }
        } else {
          // The curve was never used: a reference taken and dropped frees it.
          GEOM_REF<straight> unused(line);
        }
        if (edge == nullptr) {
          if (first == c) first = c->get_next();
          other->remove_coedge(q);
          remove_coedge(c);
          dropped = true;
        }
        sense = false;
      }
      if (!dropped) {
        c->set_edge(edge, sense);
        q->set_edge(edge, !sense);
      }
    }

    if (other != nullptr && other != this && other->get_polygon_type() != MERGED &&
        other->is_degenerate()) {
      other->set_polygon_type(MERGED);  // removes the coedges first
    }
    if (is_degenerate()) {
      set_polygon_type(MERGED);
      return count;
    }
    c = e;
    if (c == first) return count;
  }
}
