#include "host/exchange/step_read_occt.h"

#include <Interface_Check.hxx>
#include <Interface_CheckIterator.hxx>
#include <Interface_EntityIterator.hxx>
#include <Interface_GeneralLib.hxx>
#include <Interface_GeneralModule.hxx>
#include <Interface_InterfaceModel.hxx>
#include <Interface_Protocol.hxx>
#include <IFSelect_WorkLibrary.hxx>
#include <STEPControl_Reader.hxx>
#include <Standard_Failure.hxx>
#include <Standard_Type.hxx>
#include <sys/stat.h>

#include <cstdint>
#include <cstring>
#include <unordered_map>
#include <vector>

#include "host/exchange/occt_setup.h"
#include "host/exchange/reference_chains.h"
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

namespace {

bool is_nonempty_regular_file(const std::string& path) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode) && st.st_size > 0;
}

// The direct references of every entity of the model, as OCCT lists them,
// and of every entity those reach that the model no longer lists: a name
// defined twice leaves the entities that referred to its first definition
// holding one that is in no list, and a cycle through it is still a cycle
// for OCCT's recursive walks. The model's entities come first, in order;
// the others follow as they are found. O(entities + references), no
// recursion.
REFERENCE_GRAPH reference_graph(const Handle(Interface_InterfaceModel)& model,
                                const Handle(Interface_Protocol)& protocol) {
  const Interface_GeneralLib library(protocol);
  std::vector<Handle(Standard_Transient)> entities;
  std::unordered_map<const Standard_Transient*, std::uint32_t> number;
  auto number_of = [&](const Handle(Standard_Transient)& e) {
    const auto [it, fresh] = number.emplace(e.get(), static_cast<std::uint32_t>(entities.size()));
    if (fresh) entities.push_back(e);
    return it->second;
  };
  const Standard_Integer listed = model->NbEntities();
  entities.reserve(static_cast<std::size_t>(listed));
  for (Standard_Integer i = 1; i <= listed; ++i) number_of(model->Value(i));

  REFERENCE_GRAPH out;
  out.first.reserve(entities.size() + 1);
  std::vector<std::uint32_t> refs;
  for (std::size_t k = 0; k < entities.size(); ++k) {
    refs.clear();
    const Handle(Standard_Transient) entity = entities[k];
    Handle(Interface_GeneralModule) module;
    Standard_Integer case_number = 0;
    if (!entity.IsNull() && library.Select(entity, module, case_number)) {
      Interface_EntityIterator shared;
      module->FillShared(model, case_number, entity, shared);
      for (shared.Start(); shared.More(); shared.Next()) {
        if (!shared.Value().IsNull()) refs.push_back(number_of(shared.Value()));
      }
    }
    out.add(refs);
  }
  return out;
}

}  // namespace

bool read_step_file_guarded(XSControl_Reader& reader, const std::string& path) {
  if (!is_nonempty_regular_file(path)) return false;
  const Handle(XSControl_WorkSession)& session = reader.WS();
  if (session.IsNull() || session->WorkLibrary().IsNull() || session->Protocol().IsNull()) {
    return false;
  }
  Handle(Interface_InterfaceModel) model;
  if (session->WorkLibrary()->ReadFile(path.c_str(), model, session->Protocol()) != 0 ||
      model.IsNull()) {
    return false;
  }
  if (check_reference_chains(reference_graph(model, session->Protocol())).verdict !=
      REFERENCE_VERDICT::SOUND) {
    return false;
  }
  session->SetModel(model);
  session->SetLoadedFile(path.c_str());
  session->InitTransferReader(4);
  return true;
}

TopoDS_Shape read_step_shape(const std::string& path) {
  prepare_occt();
  bool ok = false;
  TopoDS_Shape shape;
  try {
    STEPControl_Reader reader;
    ok = read_step_file_guarded(reader, path) &&
         check_step_load(reader.WS()) != STEP_LOAD_CHECK::BROKEN && reader.TransferRoots() > 0 &&
         reader.NbShapes() > 0;
    if (ok) shape = reader.OneShape();
  } catch (const Standard_Failure&) {
    ok = false;
  }
  if (!ok || shape.IsNull()) k2_throw(K2_ERROR::UNREADABLE_FILE);
  return shape;
}
