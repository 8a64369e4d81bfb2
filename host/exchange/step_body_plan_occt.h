#pragma once
// One kernel body planned from an OpenCASCADE shape, in the same two passes
// as read_step (step_import.h): planning reads the shape and can fail;
// building makes the kernel entities and cannot. Callers that import several
// shapes plan them all first, so that a bad shape anywhere leaves no body
// behind. Seen only by the exchange layer's OCCT files.

#include <TopoDS_Shape.hxx>

#include <memory>

#include "host/kernel/topology/topology_fwd.h"

class STEP_BODY_PLAN {
 public:
  // Plans one body from every solid, shell and face of `shape` together,
  // as read_step groups them: each solid's shells, each free shell, and the
  // loose faces, all in one body. The body carries the face-part marker when
  // any free shell is open or there are loose faces. The shape is taken
  // where it lies (its location applied). Throws TV_EXCEPTION
  // (UNREADABLE_FILE) or Standard_Failure for geometry the kernel cannot
  // take. A shape without faces gives an empty plan.
  explicit STEP_BODY_PLAN(const TopoDS_Shape& shape);
  ~STEP_BODY_PLAN();
  STEP_BODY_PLAN(STEP_BODY_PLAN&&) noexcept;
  STEP_BODY_PLAN& operator=(STEP_BODY_PLAN&&) noexcept;
  STEP_BODY_PLAN(const STEP_BODY_PLAN&) = delete;
  STEP_BODY_PLAN& operator=(const STEP_BODY_PLAN&) = delete;

  bool empty() const;
  // The planned body, owned by the caller (BODY::lose); null for an empty
  // plan. Each call makes a new body. O(faces + edges + vertices).
  BODY* build() const;

 private:
  struct IMPL;
  std::unique_ptr<IMPL> impl_;  // owned
};
