#include "host/exchange/step_read_occt.h"

#include <Interface_Check.hxx>
#include <Interface_CheckIterator.hxx>
#include <Interface_EntityIterator.hxx>
#include <Interface_Graph.hxx>
#include <Interface_InterfaceModel.hxx>
#include <Interface_Protocol.hxx>
#include <IFSelect_WorkLibrary.hxx>
#include <STEPControl_Reader.hxx>
#include <StepShape_EdgeLoop.hxx>
#include <StepShape_HArray1OfOrientedEdge.hxx>
#include <StepShape_OrientedEdge.hxx>
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

namespace {

// Whether an entity is presentation only (styles, colours, layers): a file
// whose failed entities are all such loses only its colours.
bool is_presentation(const Handle(Standard_Transient)& entity) {
  const char* type = entity.IsNull() ? nullptr : entity->DynamicType()->Name();
  return type != nullptr && std::strncmp(type, "StepVisual_", 11) == 0;
}

}  // namespace

STEP_LOAD_CHECK check_step_load(const Handle(XSControl_WorkSession)& session) {
  const Interface_CheckIterator checks = session->ModelCheckList(false);
  STEP_LOAD_CHECK verdict = STEP_LOAD_CHECK::CLEAN;
  for (checks.Start(); checks.More(); checks.Next()) {
    const Handle(Interface_Check)& check = checks.Value();
    if (check.IsNull() || !check->HasFailed()) continue;
    // A failure without an entity (the file's header, say) can't be placed,
    // so it counts against the file.
    if (check->Entity().IsNull()) return STEP_LOAD_CHECK::BROKEN;
    if (!is_presentation(check->Entity())) return STEP_LOAD_CHECK::BROKEN;
    verdict = STEP_LOAD_CHECK::PRESENTATION_ONLY;
  }
  return verdict;
}

namespace {

bool is_nonempty_regular_file(const std::string& path) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode) && st.st_size > 0;
}

// The direct references of every entity of the model, as OCCT lists them.
REFERENCE_GRAPH reference_graph(const Handle(Interface_InterfaceModel)& model,
                                const Handle(Interface_Protocol)& protocol) {
  const Interface_Graph graph(model, protocol, Standard_False);
  REFERENCE_GRAPH out;
  out.first.reserve(static_cast<std::size_t>(graph.Size()) + 1);
  std::vector<std::uint32_t> refs;
  for (Standard_Integer i = 1; i <= graph.Size(); ++i) {
    refs.clear();
    const Handle(Standard_Transient)& entity = graph.Entity(i);
    if (!entity.IsNull()) {
      for (Interface_EntityIterator it = graph.Shareds(entity); it.More(); it.Next()) {
        const Standard_Integer k = graph.EntityNumber(it.Value());
        if (k >= 1) refs.push_back(static_cast<std::uint32_t>(k - 1));
      }
    }
    out.add(refs);
  }
  return out;
}

// Whether every chain of oriented edges that the model's loops and oriented
// edges start ends within the limit. An oriented edge's start and end are
// those of the edge it orients, asked recursively, and an oriented edge may
// orient another: OCCT's model check walks such chains on its stack. The
// entities a chain passes may be ones the model does not list (a name
// defined twice, or entities written where the model does not look), so the
// chain is followed by the entities' own references, not by the model's
// graph. Each entity is walked once: O(entities + chain lengths), no
// recursion.
bool oriented_edge_chains_end(const Handle(Interface_InterfaceModel)& model, std::size_t limit) {
  // Steps from an oriented edge to the first element that is none, for the
  // edges walked so far.
  std::unordered_map<const Standard_Transient*, std::size_t> steps;
  std::vector<const StepShape_OrientedEdge*> path;
  auto chain_ends = [&](const Handle(StepShape_OrientedEdge)& start) {
    path.clear();
    const StepShape_OrientedEdge* e = start.get();
    std::size_t tail = 0;
    while (e != nullptr) {
      const auto known = steps.find(e);
      if (known != steps.end()) {
        tail = known->second;
        break;
      }
      path.push_back(e);
      if (path.size() > limit) return false;  // a cycle, or a chain too long
      e = Handle(StepShape_OrientedEdge)::DownCast(e->EdgeElement()).get();
    }
    for (auto it = path.rbegin(); it != path.rend(); ++it) {
      if (++tail > limit) return false;
      steps.emplace(*it, tail);
    }
    return true;
  };
  for (Standard_Integer i = 1; i <= model->NbEntities(); ++i) {
    const Handle(Standard_Transient)& entity = model->Value(i);
    if (const Handle(StepShape_OrientedEdge) e = Handle(StepShape_OrientedEdge)::DownCast(entity);
        !e.IsNull()) {
      if (!chain_ends(e)) return false;
    } else if (const Handle(StepShape_EdgeLoop) loop = Handle(StepShape_EdgeLoop)::DownCast(entity);
               !loop.IsNull() && !loop->EdgeList().IsNull()) {
      const Handle(StepShape_HArray1OfOrientedEdge)& edges = loop->EdgeList();
      for (Standard_Integer k = edges->Lower(); k <= edges->Upper(); ++k) {
        if (!edges->Value(k).IsNull() && !chain_ends(edges->Value(k))) return false;
      }
    }
  }
  return true;
}

// Whether an entity that failed to load is anything but presentation. OCCT's
// model check, run when the model is handed to the session, reads the
// arrays of such entities without looking, and a direction whose ratios
// failed to load has none: the check would fault. Failed presentation
// entities (styles, colours) are let through, as check_step_load does after
// the hand-over, since real files have them and lose only their colours.
bool failed_entity_beyond_presentation(const Handle(Interface_InterfaceModel)& model) {
  for (Standard_Integer i = 1; i <= model->NbEntities(); ++i) {
    if (!model->IsErrorEntity(i)) continue;
    if (!is_presentation(model->Value(i))) return true;
  }
  return false;
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
  if (!oriented_edge_chains_end(model, kMaxReferenceChain)) return false;
  if (failed_entity_beyond_presentation(model)) return false;
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
