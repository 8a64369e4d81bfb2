#pragma once
// TOPOLOGY: the edits that touch several topology entities at once. Every
// function keeps the structure's invariants:
//   - a coedge is in the partner ring of its edge, and the edge points into it;
//   - an edge is in the edge lists of its start and end vertex;
//   - a face is in the face list of its shell, a subshell in its parent's list;
//   - a shell is in the shell array of its body.
// Every change goes through the entities' w(), so the history sees it.

#include <cstddef>
#include <vector>

#include "host/kernel/topology/topology_fwd.h"

class TOPOLOGY {
 public:
  static void enter_ring(EDGE* e, COEDGE* c);
  static void leave_ring(COEDGE* c);
  static void enter_vertex(VERTEX* v, EDGE* e);
  static void leave_vertex(VERTEX* v, EDGE* e);

  static void append_face(SHELL* s, FACE* f);
  static void remove_face(SHELL* s, FACE* f);
  static void attach_subshell(SHELL* parent, SUBSHELL* s);
  static void detach_subshell(SUBSHELL* s);
  static void attach_shell(BODY* b, SHELL* s);
  static bool detach_shell(BODY* b, SHELL* s);
  static void append_loop(FACE* f, LOOP* l);
  // Every coedge of the ring from `first` records `l` as its loop.
  static void claim_ring(LOOP* l, COEDGE* first);

  // The coedges of the ring that starts at `first`, in order. The walk ends at
  // a null next, back at the start, or after `limit` steps (a ring that runs
  // into a cycle not through its start), so it always terminates.
  static void ring(COEDGE* first, std::vector<COEDGE*>& out);
  // The same walk, calling fn(COEDGE*) for each coedge instead of collecting.
  template <class FN>
  static void walk_ring(COEDGE* first, FN&& fn);

  // Primitives of face merging (ops/merge_faces.cpp), which rebuilds loops
  // from the coedges of several faces:
  // The loop's ring starts at `c` from now on.
  static void set_loop_start(LOOP* l, COEDGE* c);
  // The face forgets its loops without destroying them; each then belongs to
  // the caller, who appends it to a face or loses it.
  static void release_loops(FACE* f);
  // Destroys a coedge that has been unlinked from its loop's ring: it leaves
  // its edge's partner ring; its next and previous are not looked at.
  static void lose_unlinked_coedge(COEDGE* c);
  // Destroys a loop whose coedges now belong to other loops or are gone.
  static void lose_empty_loop(LOOP* l);
  // Destroys a face without loops; it leaves its shell first.
  static void lose_bare_face(FACE* f);

  static void lose_face(FACE* f);
  static void lose_shell(SHELL* s);
  static void lose_body(BODY* b);
  // An edge that no coedge uses: it leaves its vertices, and each vertex left
  // without edges goes too when `lose_lonely_vertices` is set.
  static void lose_edge(EDGE* e, bool lose_lonely_vertices);
};

#include "host/kernel/entity/entity.h"
#include "host/kernel/topology/coedge.h"

template <class FN>
void TOPOLOGY::walk_ring(COEDGE* first, FN&& fn) {
  if (first == nullptr) return;
  const std::uint64_t limit = ENTITY::registered_count();
  std::uint64_t steps = 0;
  COEDGE* c = first;
  do {
    COEDGE* next = c->next();
    fn(c);
    c = next;
  } while (c != nullptr && c != first && ++steps <= limit);
}
