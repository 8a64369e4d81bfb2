#pragma once
// MESH_POLYGON_COEDGE: one directed side of a mesh polygon, a node of the
// polygon's ring. Its end is the start of the next coedge of the ring. A
// coedge is always in exactly one ring and in the outgoing set of exactly its
// start vertex: its constructor, destructor and set_start_vertex keep both.

#include <vector>

#include "host/base/pool.h"
#include "host/geometry/position3.h"
#include "host/geometry/vector3.h"

class EDGE;
class MESH_POLYGON;
class MESH_VERTEX;
class MESH_POLYGON_COEDGE;

// What get_partner_coedges and find_connecting_coedges append to.
using MESH_COEDGE_LIST = std::vector<MESH_POLYGON_COEDGE*>;

class MESH_POLYGON_COEDGE : public POOLED<MESH_POLYGON_COEDGE> {
 public:
  enum COEDGE_ALIGNMENT {
    ALIGNED = 0,        // other coedges from this start to this end
    OPPOSED = 1,        // coedges from this end to this start: the true partners
    ANY_ALIGNMENT = 2,  // both
  };

  // Without neighbours (both null) the coedge is a ring by itself; with both
  // it is spliced between previous and next. Either way it enters the start
  // vertex's outgoing set. Only one neighbour is an error reported through
  // the assertion service; the coedge then forms a ring by itself.
  MESH_POLYGON_COEDGE(MESH_VERTEX& start, MESH_POLYGON& owner,
                      MESH_POLYGON_COEDGE* previous = nullptr,
                      MESH_POLYGON_COEDGE* next = nullptr);
  // Moves the owner's start coedge on to next (or to null when this coedge
  // was alone), unlinks itself from its ring and leaves its start vertex's
  // set.
  ~MESH_POLYGON_COEDGE();

  MESH_POLYGON_COEDGE(const MESH_POLYGON_COEDGE&) = delete;
  MESH_POLYGON_COEDGE& operator=(const MESH_POLYGON_COEDGE&) = delete;

  MESH_VERTEX* get_start_vertex() const { return start_; }
  // The start vertex of next; where next is null, the own start vertex.
  MESH_VERTEX* get_end_vertex() const;
  // Moves this coedge from the old start vertex's outgoing set to v's.
  void set_start_vertex(MESH_VERTEX& v);
  MESH_POLYGON* get_owner_polygon() const { return owner_; }
  MESH_POLYGON_COEDGE* get_next() const { return next_; }
  MESH_POLYGON_COEDGE* get_previous() const { return previous_; }
  // Raw relinking for the operations that restructure rings; the caller
  // keeps the ring closed.
  void set_next(MESH_POLYGON_COEDGE* c) { next_ = c; }
  void set_previous(MESH_POLYGON_COEDGE* c) { previous_ = c; }

  // End position minus start position, not normalised.
  VECTOR3 direction() const;
  // Squared length of direction().
  double length2() const { return direction().len2(); }

  // Projects v on the infinite line of this coedge and returns the foot
  // point. t is 0 at the start and 1 at the end, not clamped; dist is the
  // distance of v from the line, sqrt(w·w - t·s) taken without a guard (a
  // slightly negative argument gives NaN).
  POSITION3 relax(const MESH_VERTEX& v, double& t, double& dist) const;

  // Appends the coedges running between this coedge's vertices: OPPOSED ones
  // (from the end vertex back to the start) first, then ALIGNED ones, as
  // asked; this coedge itself never. O(degree of the two vertices). The walk
  // calls nothing else, so the sets cannot change under it.
  void get_partner_coedges(MESH_COEDGE_LIST& list, COEDGE_ALIGNMENT alignment) const;
  // The opposed coedge if there is exactly one, otherwise null: an edge of
  // three or more polygons behaves as a boundary.
  MESH_POLYGON_COEDGE* get_partner_coedge() const;

  // A new coedge from v, in the same owner, between this one and its next.
  MESH_POLYGON_COEDGE* insert_after(MESH_VERTEX& v);

  // Merges this polygon with the owner of the unique partner, when both lie
  // in one region: the two coedges are deleted and the partner's ring is
  // spliced into this one, its coedges now owned here; the partner's polygon
  // is left MERGED (no coedges), to be deleted by its region. Returns the
  // first spliced coedge, where a walk may go on, or null when nothing was
  // merged: no unique partner, the partner in this same polygon or another
  // region, or a ring of one on either side.
  MESH_POLYGON_COEDGE* merge();

  // The B-rep edge of this coedge, with `sense` true when it runs against
  // the coedge. A coedge without one looks among the edges at its B-rep
  // start vertex for a straight one between its two vertices; with `create`
  // it makes the B-rep vertices and, if still none, a straight EDGE (which
  // all its partners take too, each with its own sense). Null when there is
  // none, when both ends are one B-rep vertex, or when the kernel refuses
  // the edge.
  EDGE* get_edge(bool& sense, bool create);

  // Raw owner change for splicing rings; the caller keeps rings and owners
  // consistent.
  void set_owner_polygon(MESH_POLYGON* owner) { owner_ = owner; }

  bool has_edge() const { return edge_ != nullptr; }
  EDGE* edge() const { return edge_; }
  bool edge_sense() const { return sense_; }
  // sense: true when the edge runs against this coedge. The edge is not owned.
  void set_edge(EDGE* e, bool sense) {
    edge_ = e;
    sense_ = sense;
  }

 private:
  MESH_VERTEX* start_;                       // never null; not owned
  MESH_POLYGON* owner_;                      // not owned
  MESH_POLYGON_COEDGE* previous_ = nullptr;  // ring predecessor; the ring is the owner's
  MESH_POLYGON_COEDGE* next_ = nullptr;      // ring successor; the ring is the owner's
  EDGE* edge_ = nullptr;                     // the B-rep edge, null until made; not owned
  bool sense_ = false;                       // true when edge_ runs against this coedge
};
