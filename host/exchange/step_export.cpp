// Writing the STEP file through OCCT's XDE document, which is what carries
// names, colours and an assembly structure into AP214. Every item becomes a
// part; with several items, or one placed away from the origin, a root
// assembly holds them as located components.
//
// The file is written to a temporary name in the target folder and renamed
// over the target, so that a reader never sees half a file and a failed write
// leaves the old file (or none) in place.

#include "host/exchange/step_export.h"

#include <BRepBuilderAPI_Transform.hxx>
#include <IFSelect_ReturnStatus.hxx>
#include <Interface_Static.hxx>
#include <Quantity_Color.hxx>
#include <STEPCAFControl_Writer.hxx>
#include <STEPControl_StepModelType.hxx>
#include <Standard_Failure.hxx>
#include <TCollection_ExtendedString.hxx>
#include <TDF_Label.hxx>
#include <TDataStd_Name.hxx>
#include <TDocStd_Document.hxx>
#include <TopLoc_Location.hxx>
#include <TopoDS_Shape.hxx>
#include <XCAFDoc_ColorTool.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <gp_Trsf.hxx>

#include "host/exchange/atomic_file.h"
#include "host/exchange/body_shape.h"
#include "host/exchange/occt_setup.h"
#include "host/kernel/kernel_errors.h"
#include "host/kernel/topology/body.h"

namespace {

[[noreturn]] void refuse() {
  k2_throw(K2_ERROR::CANNOT_CONVERT_BODY);
}
[[noreturn]] void cannot_write() {
  k2_throw(K2_ERROR::CANNOT_WRITE_FILE);
}

// The placement as OCCT's transformation; refused unless it is a similarity
// that keeps orientation, the only kind a STEP placement can carry.
gp_Trsf to_trsf(const TRANSFORM3& t) {
  VECTOR3 rows[3];
  VECTOR3 move;
  double scale = 0.0;
  t.enquire(move, rows, scale);
  if (!(scale > 0.0) || t.reflects()) refuse();
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      const double want = i == j ? 1.0 : 0.0;
      if (std::fabs(dot(rows[i], rows[j]) - want) > 1e-9) refuse();
    }
  }
  // TRANSFORM3 maps row vectors, gp_Trsf column vectors: the matrix transposes.
  const VECTOR3 r0 = t.row(0), r1 = t.row(1), r2 = t.row(2);
  gp_Trsf out;
  try {
    out.SetValues(r0.x(), r1.x(), r2.x(), move.x(), r0.y(), r1.y(), r2.y(), move.y(), r0.z(),
                  r1.z(), r2.z(), move.z());
  } catch (const Standard_Failure&) {
    refuse();
  }
  return out;
}

TCollection_ExtendedString utf8_text(const std::string& s) {
  return TCollection_ExtendedString(s.c_str(), Standard_True);
}

Handle(TDocStd_Document) make_document(const std::vector<STEP_EXPORT_ITEM>& items) {
  Handle(TDocStd_Document) doc = new TDocStd_Document("MDTV-XCAF");
  const TDF_Label main = doc->Main();
  Handle(XCAFDoc_ShapeTool) shapes = XCAFDoc_DocumentTool::ShapeTool(main);
  Handle(XCAFDoc_ColorTool) colors = XCAFDoc_DocumentTool::ColorTool(main);
  std::vector<std::pair<TDF_Label, gp_Trsf>> parts;
  bool moved = items.size() > 1;
  for (const STEP_EXPORT_ITEM& item : items) {
    if (item.body == nullptr || !item.body->is_alive()) refuse();
    gp_Trsf place = to_trsf(item.body->transform() * item.placement);
    TopoDS_Shape shape = body_shape(*item.body);
    // A STEP placement is rigid: a scale goes into the geometry itself.
    if (std::fabs(place.ScaleFactor() - 1.0) > 1e-12) {
      shape = BRepBuilderAPI_Transform(shape, place, Standard_True).Shape();
      place = gp_Trsf();
    }
    moved = moved || place.Form() != gp_Identity;
    const TDF_Label part = shapes->AddShape(shape, Standard_False);
    if (!item.name.empty()) TDataStd_Name::Set(part, utf8_text(item.name));
    if (item.has_color) {
      auto unit = [](double c) { return std::isfinite(c) ? std::clamp(c, 0.0, 1.0) : 0.0; };
      colors->SetColor(part,
                       Quantity_Color(unit(item.r), unit(item.g), unit(item.b), Quantity_TOC_RGB),
                       XCAFDoc_ColorSurf);
    }
    parts.emplace_back(part, place);
  }
  if (moved) {
    const TDF_Label root = shapes->NewShape();
    TDataStd_Name::Set(root, utf8_text("assembly"));
    for (const auto& [part, place] : parts)
      shapes->AddComponent(root, part, TopLoc_Location(place));
    shapes->UpdateAssemblies();
  }
  return doc;
}

}  // namespace

void write_step(const std::vector<STEP_EXPORT_ITEM>& items, const std::string& path) {
  if (items.empty()) refuse();
  prepare_occt();
  Handle(TDocStd_Document) doc;
  try {
    doc = make_document(items);
  } catch (const Standard_Failure&) {
    refuse();
  }
  // Conversion comes first: a body that fails leaves no file behind at all.
  ATOMIC_FILE tmp(path);
  STEPCAFControl_Writer writer;
  try {
    writer.SetNameMode(Standard_True);
    writer.SetColorMode(Standard_True);
    Interface_Static::SetCVal("write.step.schema", "AP214IS");
    Interface_Static::SetCVal("write.step.unit", "MM");
    // Curves on surfaces are optional in STEP and every reader derives them;
    // leaving them out makes the file a third of the size and twice as fast.
    Interface_Static::SetIVal("write.surfacecurve.mode", 0);
    if (!writer.Transfer(doc, STEPControl_AsIs)) refuse();
  } catch (const Standard_Failure&) {
    refuse();
  }
  try {
    if (writer.Write(tmp.temporary_name().c_str()) != IFSelect_RetDone) cannot_write();
  } catch (const Standard_Failure&) {
    cannot_write();
  }
  tmp.commit();
}
