#pragma once
// COEDGE: the use of an edge by a loop, in one direction. The coedges of a
// loop form a ring (next/previous); the coedges of an edge form another ring
// (partner). sense true means the coedge runs against its edge.

#include <cstdint>

#include "host/base/mod_info.h"
#include "host/base/pool.h"
#include "host/kernel/history/historic_entity.h"
#include "host/kernel/topology/topology_fwd.h"

class pt_on_sf;

struct COEDGE_DATA {
  // The edge (not owned) with the sense in bit 0: three coedges per facet of a
  // big mesh make the eight bytes of a separate flag count.
  std::uintptr_t edge_and_sense = 0;
  LOOP* loop = nullptr;        // not owned; the owner
  COEDGE* next = nullptr;      // not owned
  COEDGE* previous = nullptr;  // not owned
  COEDGE* partner = nullptr;   // not owned; next in the edge's ring

  EDGE* edge() const { return reinterpret_cast<EDGE*>(edge_and_sense & ~std::uintptr_t{1}); }
  bool sense() const { return (edge_and_sense & 1) != 0; }
  void set(EDGE* e, bool s) { edge_and_sense = reinterpret_cast<std::uintptr_t>(e) | (s ? 1 : 0); }
};

class COEDGE final : public TRACKED<COEDGE_DATA>, public POOLED<COEDGE> {
 public:
  static const ENTITY_TYPE type;
  const ENTITY_TYPE& identity() const override { return type; }

  // Makes the coedge on `edge` (entering it in the edge's partner ring) and
  // links it behind `previous` and before `next`, either of which may be null.
  // Throws TV_EXCEPTION (MISSING_GEOMETRY) for a null edge.
  COEDGE(EDGE* edge, bool sense, COEDGE* previous, COEDGE* next);
  // The same, with the parameters of its ends on the face's surface; a failure
  // (a null edge) is reported in `status` and leaves an unlinked coedge on no
  // edge, which the caller must not use.
  COEDGE(EDGE* edge, bool sense, COEDGE* previous, COEDGE* next, const pt_on_sf& start,
         const pt_on_sf& end, MOD_INFO*& status);

  EDGE* edge() const { return d().edge(); }
  bool sense() const { return d().sense(); }
  COEDGE* next() const { return d().next; }
  COEDGE* previous() const { return d().previous; }
  // The next coedge of the edge's ring: itself when the edge has one coedge.
  COEDGE* partner() const { return d().partner; }
  LOOP* loop() const { return d().loop; }
  FACE* face() const;
  // Start and end vertex in the coedge's own direction.
  VERTEX* start() const;
  VERTEX* end() const;

  void set_next(COEDGE* next);
  void set_previous(COEDGE* previous);

 private:
  friend class TOPOLOGY;
  ~COEDGE() override = default;
};
