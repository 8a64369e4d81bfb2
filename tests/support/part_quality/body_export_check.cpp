// Checking an imported body and its STEP file.

#include "support/part_quality/body_export_check.h"

#include "host/exchange/step_export.h"
#include "host/kernel/ops/body_checker.h"
#include "host/kernel/topology/body.h"
#include "support/part_quality/mesh_import_run.h"

namespace part_quality {

BODY_EXPORT_CHECK check_body_export(const BODY* body, const std::filesystem::path& step) {
  BODY_EXPORT_CHECK out;
  const BODY_CHECK check = check_body(body);
  out.checker_ok = check.ok();
  if (!check.ok()) out.checker_problem = check.problems.front();
  out.open_edges = check.open_edges;
  out.nonmanifold_edges = check.nonmanifold_edges;
  out.face_part = is_face_part(body);
  try {
    STEP_EXPORT_ITEM item;
    item.body = body;
    item.name = step.stem().string();
    write_step({item}, step.string());
    out.step_written = true;
    out.step = check_step_file(step.string());
    out.step_read = true;
  } catch (const std::exception& e) {
    out.step_error = exception_text(e);
  } catch (...) {
    out.step_error = "an exception of unknown type";
  }
  return out;
}

}  // namespace part_quality
