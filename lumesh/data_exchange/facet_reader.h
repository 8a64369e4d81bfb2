#pragma once
// FACET_READER: a source of single triangles, one per call, for the mesh
// builder. A reader keeps no geometry, does not weld and does not judge a
// facet; it only delivers what the file states. It also ticks the caller's
// PROGRESS from 0 to 100 over its input and notices a user break once per
// facet.

#include <cstdint>

#include "host/geometry/position3.h"
#include "host/geometry/vector3.h"

class PROGRESS;

// One facet as the file states it: twelve doubles, normal first. The normal is
// neither normalised nor checked against the corner order.
struct TRIANGLULAR_FACET {
  VECTOR3 normal;
  POSITION3 vertex1;
  POSITION3 vertex2;
  POSITION3 vertex3;
};

class FACET_READER {
 public:
  // Completes the progress: a reader always contributes exactly 100 ticks,
  // also when reading stopped half-way through by an exception.
  virtual ~FACET_READER();
  FACET_READER(const FACET_READER&) = delete;
  FACET_READER& operator=(const FACET_READER&) = delete;

  // True with `facet` filled, or false when the current group of facets (a
  // text solid) or the whole input is exhausted. Raises a module error on
  // malformed input and on a user break.
  virtual bool read_facet(TRIANGLULAR_FACET& facet) = 0;

  // Facets the reader still owes but that are known to be all zeros (normal
  // and corners), dropped without being delivered; their number. A reader
  // calls them off only once its input is used up; by default it owes none.
  virtual std::uint32_t skip_facets_past_end() { return 0; }

  int progress_ticks() const { return progress_ticks_; }
  // Number of facets delivered so far (calls of update_progress).
  int update_count() const { return update_count_; }

 protected:
  explicit FACET_READER(PROGRESS* const progress);

  // Called once per delivered facet with the fraction of the input consumed.
  // Hands the whole percent reached to the progress (never backwards), then
  // raises :MSG-CANCELLED if the user asked to break. The break test runs
  // also without a progress object.
  void update_progress(double fraction);

 private:
  PROGRESS* progress_;      // may be null; not owned
  int progress_ticks_ = 0;  // ticks handed to progress_ so far, 0..100
  int update_count_ = 0;    // facets delivered
};
