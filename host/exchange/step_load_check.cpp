#include "host/exchange/step_load_check_occt.h"

#include <Interface_Check.hxx>
#include <Interface_CheckIterator.hxx>
#include <Standard_Type.hxx>

#include <cstring>

STEP_LOAD_CHECK check_step_load(const Handle(XSControl_WorkSession)& session) {
  const Interface_CheckIterator checks = session->ModelCheckList(false);
  STEP_LOAD_CHECK verdict = STEP_LOAD_CHECK::CLEAN;
  for (checks.Start(); checks.More(); checks.Next()) {
    const Handle(Interface_Check)& check = checks.Value();
    if (check.IsNull() || !check->HasFailed()) continue;
    // A failure without an entity (the file's header, say) can't be placed,
    // so it counts against the file.
    if (check->Entity().IsNull()) return STEP_LOAD_CHECK::BROKEN;
    const char* type = check->Entity()->DynamicType()->Name();
    if (type == nullptr || std::strncmp(type, "StepVisual_", 11) != 0) return STEP_LOAD_CHECK::BROKEN;
    verdict = STEP_LOAD_CHECK::PRESENTATION_ONLY;
  }
  return verdict;
}
