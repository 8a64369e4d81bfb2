#pragma once
// What becomes of an imported body downstream: the kernel's own body checker,
// and the STEP file the host writes of it, read back by OCCT's reader and
// shape checker.

#include <filesystem>
#include <string>

#include "host/exchange/step_check.h"
#include "host/kernel/topology/topology_fwd.h"

namespace part_quality {

struct BODY_EXPORT_CHECK {
  bool checker_ok = false;
  std::string checker_problem;  // the checker's first complaint
  int open_edges = 0;
  int nonmanifold_edges = 0;
  bool face_part = false;  // the import marked the body open: it leaves as a shell
  bool step_written = false;
  bool step_read = false;
  std::string step_error;   // what the writer or the reader threw
  STEP_SHAPE_SUMMARY step;  // meaningful when step_read
};

// Checks `body`, writes it as the STEP file `step` and reads that back.
// Exceptions of the writer and the reader are caught into step_error.
BODY_EXPORT_CHECK check_body_export(const BODY* body, const std::filesystem::path& step);

}  // namespace part_quality
