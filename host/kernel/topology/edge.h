#pragma once
// EDGE: a curve between two vertices, used by one or more coedges. The coedges
// of an edge form a ring through COEDGE::partner; the edge points at one of
// them. An edge with one coedge is a boundary (open) edge.

#include "host/base/mod_info.h"
#include "host/base/pool.h"
#include "host/geometry/position3.h"
#include "host/kernel/entity/geometry_entity.h"
#include "host/kernel/geometry/curve.h"
#include "host/kernel/history/historic_entity.h"
#include "host/kernel/topology/topology_fwd.h"

struct EDGE_DATA {
  VERTEX* start = nullptr;          // not owned
  VERTEX* end = nullptr;            // not owned
  GEOM_REF<curve> crv;              // owned reference
  COEDGE* coedge = nullptr;         // not owned; one coedge of the partner ring
  EDGE* next_at_start = nullptr;    // next edge in start's list
  EDGE* next_at_end = nullptr;      // next edge in end's list (unused when start == end)
};

class EDGE final : public TRACKED<EDGE_DATA>, public POOLED<EDGE> {
 public:
  static const ENTITY_TYPE type;
  const ENTITY_TYPE& identity() const override { return type; }

  // Makes the edge and enters it at both vertices. `status` is null on success;
  // otherwise the edge is unusable and the caller loses it: COINCIDENT_VERTICES
  // when the ends are one vertex or lie within the global resolution of each
  // other, MISSING_GEOMETRY for a null vertex or curve.
  EDGE(VERTEX* start, VERTEX* end, curve* c, MOD_INFO*& status);

  VERTEX* start() const { return d().start; }
  VERTEX* end() const { return d().end; }
  curve* geometry() const { return d().crv.get(); }
  COEDGE* coedge() const { return d().coedge; }
  // The edge after this one in v's list of edges (v is start or end).
  EDGE* next_edge_at(const VERTEX* v) const {
    return d().start == v ? d().next_at_start : d().next_at_end;
  }
  // O(number of coedges).
  int number_of_coedges() const;
  double length() const;

  // Destroys an edge that no coedge uses any more (or never did): it leaves
  // its vertices' lists. Vertices stay. An edge still in use is left alone and
  // false is returned.
  bool lose();

 private:
  friend class TOPOLOGY;
  ~EDGE() override = default;
};
