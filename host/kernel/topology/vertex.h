#pragma once
// VERTEX: a point of the topology. It knows the edges that end at it through
// an intrusive list threaded through the edges, so a vertex costs two pointers
// whatever its degree.

#include "host/base/pool.h"
#include "host/geometry/position3.h"
#include "host/kernel/entity/geometry_entity.h"
#include "host/kernel/geometry/point.h"
#include "host/kernel/history/historic_entity.h"
#include "host/kernel/scan.h"
#include "host/kernel/topology/topology_fwd.h"

struct VERTEX_DATA {
  GEOM_REF<point> pt;          // owned reference
  EDGE* first_edge = nullptr;  // not owned; head of the list of edges at this vertex
};

class VERTEX final : public TRACKED<VERTEX_DATA>, public POOLED<VERTEX> {
 public:
  static const ENTITY_TYPE type;
  const ENTITY_TYPE& identity() const override { return type; }

  // Throws TV_EXCEPTION (MISSING_GEOMETRY) for a null point.
  explicit VERTEX(point* pt);

  point* geometry() const { return d().pt.get(); }
  POSITION3 pt3() const { return d().pt->position(); }

  EDGE* first_edge() const { return d().first_edge; }
  // O(degree).
  int number_of_edges() const;
  // Calls fn for each edge at the vertex, once each, until it answers SCAN_STOP.
  // Returns SCAN_STOP when stopped, SCAN_CONTINUE otherwise. fn must not
  // remove edges from this vertex.
  SCAN_CNTRL scan_edges(SCAN_CNTRL (*fn)(EDGE*, void*), void* data) const;

  // Destroys a vertex that no edge uses; false (and nothing done) otherwise.
  bool lose();

 private:
  friend class TOPOLOGY;
  ~VERTEX() override = default;
};
