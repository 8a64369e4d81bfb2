#pragma once
// LOOP: one closed ring of coedges bounding a face. A face with a hole may have
// it as a second loop or, bridged, inside one loop: the bridge edge then occurs
// twice in the ring, in opposite senses.

#include "host/base/pool.h"
#include "host/kernel/history/historic_entity.h"
#include "host/kernel/topology/topology_fwd.h"

struct LOOP_DATA {
  COEDGE* first = nullptr;  // owned ring
  FACE* face = nullptr;     // not owned; the owner
  LOOP* next = nullptr;     // not owned; next loop of the face
  LOOP_TYPE loop_type = LOOP_UNKNOWN;
};

class LOOP final : public TRACKED<LOOP_DATA>, public POOLED<LOOP> {
 public:
  static const ENTITY_TYPE type;
  const ENTITY_TYPE& identity() const override { return type; }

  // Makes the loop of the ring that starts at `first` and appends it to the
  // face's loops. With `claim_coedges` every coedge of the ring records this
  // loop as its owner; with `check_closed` the host's assertion reports a ring
  // that does not close. Throws TV_EXCEPTION (EMPTY_LOOP) for a null `first`,
  // (BAD_TOPOLOGY) for a null face.
  LOOP(COEDGE* first, FACE* face, LOOP_TYPE type, bool claim_coedges = true,
       bool check_closed = true);

  COEDGE* start() const { return d().first; }
  FACE* face() const { return d().face; }
  LOOP* next() const { return d().next; }
  LOOP_TYPE loop_type() const { return d().loop_type; }
  void set_loop_type(LOOP_TYPE t) { w().loop_type = t; }

  // O(ring length); the walk ends at a null next or back at the start.
  int number_of_coedges() const;
  bool is_closed() const;

 private:
  friend class TOPOLOGY;
  ~LOOP() override = default;
};
