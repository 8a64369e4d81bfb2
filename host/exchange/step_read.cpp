#include "host/exchange/step_read_occt.h"

#include <Interface_Check.hxx>
#include <Interface_CheckIterator.hxx>
#include <STEPControl_Reader.hxx>
#include <Standard_Failure.hxx>
#include <Standard_Type.hxx>
#include <sys/stat.h>

#include <cstring>

#include "host/exchange/occt_setup.h"
#include "host/kernel/kernel_errors.h"

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

bool is_nonempty_regular_file(const std::string& path) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode) && st.st_size > 0;
}

TopoDS_Shape read_step_shape(const std::string& path) {
  if (!is_nonempty_regular_file(path)) k2_throw(K2_ERROR::UNREADABLE_FILE);
  prepare_occt();
  bool ok = false;
  TopoDS_Shape shape;
  try {
    STEPControl_Reader reader;
    ok = reader.ReadFile(path.c_str()) == IFSelect_RetDone &&
         check_step_load(reader.WS()) != STEP_LOAD_CHECK::BROKEN && reader.TransferRoots() > 0 &&
         reader.NbShapes() > 0;
    if (ok) shape = reader.OneShape();
  } catch (const Standard_Failure&) {
    ok = false;
  }
  if (!ok || shape.IsNull()) k2_throw(K2_ERROR::UNREADABLE_FILE);
  return shape;
}
