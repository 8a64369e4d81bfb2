// The product structure of a STEP file through OpenCASCADE's document model
// (XCAF): the reader transfers the file into a document whose shape tool
// holds one label per product definition, assembly labels holding component
// labels that refer to another product with a placement. The walk below turns
// that graph into a STEP_MODEL, depth first with an explicit stack, each
// product once, every product after the products it places.
//
// Like read_step, the walk plans every body before it builds one, so that a
// bad part anywhere in the file fails the whole read with no body made.


#include <Interface_CheckIterator.hxx>
#include <Quantity_Color.hxx>
#include <STEPCAFControl_Reader.hxx>
#include <STEPControl_Reader.hxx>
#include <Standard_Failure.hxx>
#include <TCollection_AsciiString.hxx>
#include <TDF_Label.hxx>
#include <TDF_LabelSequence.hxx>
#include <TDF_Tool.hxx>
#include <TDataStd_Name.hxx>
#include <TDocStd_Document.hxx>
#include <TopLoc_Location.hxx>
#include <XCAFDoc_ColorTool.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <XSControl_WorkSession.hxx>
#include <gp_Trsf.hxx>

#include <map>
#include <stdexcept>
#include <utility>

#include "host/exchange/occt_setup.h"
#include "host/exchange/step_read_occt.h"
#include "host/exchange/step_body_plan_occt.h"
#include "host/exchange/step_model.h"
#include "host/kernel/kernel_errors.h"

namespace {

[[noreturn]] void unreadable() { k2_throw(K2_ERROR::UNREADABLE_FILE); }
[[noreturn]] void bad_structure() { k2_throw(K2_ERROR::BAD_PRODUCT_STRUCTURE); }

std::string name_of(const TDF_Label& label) {
  Handle(TDataStd_Name) name;
  if (!label.FindAttribute(TDataStd_Name::GetID(), name)) return "";
  // A zero replacement character asks for UTF-8.
  return TCollection_AsciiString(name->Get(), 0).ToCString();
}

// OCCT's column-vector matrix (p' = A p + t) read as the row-vector
// convention of TRANSFORM3 (p' = p M + t): M is A transposed.
TRANSFORM3 transform_of(const TopLoc_Location& location) {
  const gp_Trsf t = location.Transformation();
  double rows[3][3];
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) rows[i][j] = t.Value(j + 1, i + 1);
  }
  const gp_XYZ& v = t.TranslationPart();
  try {
    return TRANSFORM3::from_matrix(rows, VECTOR3(v.X(), v.Y(), v.Z()));
  } catch (const std::invalid_argument&) {
    unreadable();  // a singular or non-finite placement
  }
}

// The surface colour of a part: on its label, else on its shape, else the
// one colour that all of its sub-shapes carry (a part whose single solid
// holds the colour). A general colour counts where no surface colour is set.
bool color_of(const Handle(XCAFDoc_ColorTool)& colors, const TDF_Label& label, Quantity_Color& c) {
  for (XCAFDoc_ColorType type : {XCAFDoc_ColorSurf, XCAFDoc_ColorGen}) {
    if (colors->GetColor(label, type, c)) return true;
    if (colors->GetColor(XCAFDoc_ShapeTool::GetShape(label), type, c)) return true;
  }
  TDF_LabelSequence subs;
  XCAFDoc_ShapeTool::GetSubShapes(label, subs);
  bool found = false;
  for (int i = 1; i <= subs.Length(); ++i) {
    Quantity_Color sub;
    if (!colors->GetColor(subs(i), XCAFDoc_ColorSurf, sub) &&
        !colors->GetColor(subs(i), XCAFDoc_ColorGen, sub)) {
      return false;
    }
    if (found && !sub.IsEqual(c)) return false;
    c = sub;
    found = true;
  }
  return found;
}

// OCCT names an instance that the file leaves unnamed by its occurrence's
// id, a bare number, or by its own label ("=>[0:1:1:2]"); neither is a name
// for a user.
std::string instance_name(const TDF_Label& component) {
  std::string name = name_of(component);
  if (name.find_first_not_of("0123456789") == std::string::npos || name.rfind("=>[", 0) == 0) name.clear();
  return name;
}

std::string entry_of(const TDF_Label& label) {
  TCollection_AsciiString entry;
  TDF_Tool::Entry(label, entry);
  return entry.ToCString();
}

// A product on the walk's stack: its label, its components and how far the
// walk has come through them, and the instances already resolved.
struct FRAME {
  TDF_Label label;
  std::string entry;
  TDF_LabelSequence components;
  int next = 1;  // OCCT sequences count from 1
  STEP_COMPONENT pending;  // the component whose product is being walked above
  std::vector<STEP_COMPONENT> done;
};

struct WALK {
  const Handle(XCAFDoc_ColorTool)& colors;
  const STEP_MODEL_LIMITS& limits;
  std::vector<STEP_NODE> nodes;
  std::vector<STEP_BODY_PLAN> plans;  // one per node; empty for assemblies
  std::map<std::string, int> node_of;  // label entry to node index, for finished products
  std::map<std::string, bool> on_stack;
  std::size_t components = 0;

  int part(const TDF_Label& label) {
    STEP_NODE n;
    n.name = name_of(label);
    Quantity_Color c;
    if (color_of(colors, label, c)) {
      n.has_color = true;
      c.Values(n.r, n.g, n.b, Quantity_TOC_RGB);
    }
    nodes.push_back(std::move(n));
    plans.emplace_back(XCAFDoc_ShapeTool::GetShape(label));
    return static_cast<int>(nodes.size()) - 1;
  }

  FRAME open(const TDF_Label& label, std::string entry) {
    FRAME f;
    f.label = label;
    f.entry = std::move(entry);
    XCAFDoc_ShapeTool::GetComponents(label, f.components, Standard_False);
    on_stack[f.entry] = true;
    return f;
  }

  // The node of the product at `label`, walking every product below it first.
  int product(const TDF_Label& top) {
    const std::string top_entry = entry_of(top);
    if (auto it = node_of.find(top_entry); it != node_of.end()) return it->second;
    if (!XCAFDoc_ShapeTool::IsAssembly(top)) return node_of[top_entry] = part(top);

    std::vector<FRAME> stack;
    stack.push_back(open(top, top_entry));
    int finished = -1;
    while (!stack.empty()) {
      FRAME& f = stack.back();
      if (finished >= 0) {
        f.pending.node = finished;
        f.done.push_back(std::move(f.pending));
        finished = -1;
      }
      if (f.next > f.components.Length()) {
        STEP_NODE n;
        n.name = name_of(f.label);
        n.assembly = true;
        n.components = std::move(f.done);
        nodes.push_back(std::move(n));
        plans.emplace_back(TopoDS_Shape());
        finished = static_cast<int>(nodes.size()) - 1;
        node_of[f.entry] = finished;
        on_stack.erase(f.entry);
        stack.pop_back();
        continue;
      }
      const TDF_Label comp = f.components(f.next++);
      TDF_Label referred;
      // A component that refers to nothing places nothing.
      if (!XCAFDoc_ShapeTool::GetReferredShape(comp, referred)) continue;
      if (++components > limits.max_components) bad_structure();
      STEP_COMPONENT c;
      c.name = instance_name(comp);
      c.placement = transform_of(XCAFDoc_ShapeTool::GetLocation(comp));
      std::string entry = entry_of(referred);
      if (auto it = node_of.find(entry); it != node_of.end()) {
        c.node = it->second;
        f.done.push_back(std::move(c));
        continue;
      }
      if (on_stack.count(entry) != 0) bad_structure();  // contains itself
      if (!XCAFDoc_ShapeTool::IsAssembly(referred)) {
        c.node = node_of[entry] = part(referred);
        f.done.push_back(std::move(c));
        continue;
      }
      if (static_cast<int>(stack.size()) >= limits.max_depth) bad_structure();
      f.pending = std::move(c);
      // `f` is not used past this point: the push may move the frames.
      stack.push_back(open(referred, std::move(entry)));
    }
    return finished;
  }
};

}  // namespace

STEP_MODEL read_step_model(const std::string& path, const STEP_MODEL_LIMITS& limits) {
  prepare_occt();
  std::vector<STEP_NODE> nodes;
  std::vector<STEP_BODY_PLAN> plans;
  std::vector<int> roots;
  try {
    STEPCAFControl_Reader reader;
    reader.SetNameMode(Standard_True);
    reader.SetColorMode(Standard_True);
    reader.SetLayerMode(Standard_False);
    reader.SetPropsMode(Standard_False);
    if (!read_step_file_guarded(reader.ChangeReader(), path)) unreadable();
    // Entities that failed to load would reach the transfer as null
    // references, which it does not survive; failed colours only cost the
    // colours (step_read_occt.h).
    const STEP_LOAD_CHECK loaded = check_step_load(reader.ChangeReader().WS());
    if (loaded == STEP_LOAD_CHECK::BROKEN) unreadable();
    if (loaded == STEP_LOAD_CHECK::PRESENTATION_ONLY) reader.SetColorMode(Standard_False);
    Handle(TDocStd_Document) doc = new TDocStd_Document("MDTV-XCAF");
    if (!reader.Transfer(doc)) unreadable();
    const Handle(XCAFDoc_ShapeTool) shapes = XCAFDoc_DocumentTool::ShapeTool(doc->Main());
    const Handle(XCAFDoc_ColorTool) colors = XCAFDoc_DocumentTool::ColorTool(doc->Main());
    TDF_LabelSequence free;
    shapes->GetFreeShapes(free);
    WALK walk{colors, limits, {}, {}, {}, {}, 0};
    for (int i = 1; i <= free.Length(); ++i) roots.push_back(walk.product(free(i)));
    nodes = std::move(walk.nodes);
    plans = std::move(walk.plans);
  } catch (const Standard_Failure&) {
    unreadable();
  }
  bool any_body = false;
  for (const STEP_BODY_PLAN& p : plans) any_body = any_body || !p.empty();
  if (roots.empty() || !any_body) unreadable();

  STEP_MODEL model;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    nodes[i].body = plans[i].build();
    model.add_node(std::move(nodes[i]));
  }
  for (int r : roots) {
    STEP_COMPONENT c;
    c.node = r;
    c.name = model.nodes()[static_cast<std::size_t>(r)].name;
    model.add_root(std::move(c));
  }
  return model;
}
