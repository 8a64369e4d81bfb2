#pragma once
// STEP files with a product structure, written by OpenCASCADE's own document
// writer, so that the import is checked against files it did not make
// itself: parts with names and colours, assemblies, shared parts placed
// several times, nesting. Header-only; the test program links OCCT.

#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <Interface_Static.hxx>
#include <Quantity_Color.hxx>
#include <STEPCAFControl_Writer.hxx>
#include <STEPControl_Writer.hxx>
#include <TCollection_ExtendedString.hxx>
#include <TDF_Label.hxx>
#include <TDataStd_Name.hxx>
#include <TDocStd_Document.hxx>
#include <TopLoc_Location.hxx>
#include <XCAFDoc_ColorTool.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <gp_Ax1.hxx>
#include <gp_Trsf.hxx>

#include <string>

#include "host/exchange/occt_setup.h"

class XCAF_TEST_FILE {
 public:
  XCAF_TEST_FILE() {
    prepare_occt();
    doc_ = new TDocStd_Document("MDTV-XCAF");
    shapes_ = XCAFDoc_DocumentTool::ShapeTool(doc_->Main());
    colors_ = XCAFDoc_DocumentTool::ColorTool(doc_->Main());
  }

  // A part of the shape, named; coloured when r >= 0.
  TDF_Label part(const TopoDS_Shape& shape, const std::string& name, double r = -1, double g = 0,
                 double b = 0) {
    const TDF_Label l = shapes_->AddShape(shape, Standard_False);
    TDataStd_Name::Set(l, TCollection_ExtendedString(name.c_str(), Standard_True));
    if (r >= 0) colors_->SetColor(l, Quantity_Color(r, g, b, Quantity_TOC_RGB), XCAFDoc_ColorSurf);
    return l;
  }
  TDF_Label assembly(const std::string& name) {
    const TDF_Label l = shapes_->NewShape();
    TDataStd_Name::Set(l, TCollection_ExtendedString(name.c_str(), Standard_True));
    return l;
  }
  // An instance of `of` in `in`, placed by `place` and named (unnamed for an
  // empty name).
  TDF_Label place(const TDF_Label& in, const TDF_Label& of, const gp_Trsf& place,
                  const std::string& name) {
    const TDF_Label c = shapes_->AddComponent(in, of, TopLoc_Location(place));
    if (!name.empty()) TDataStd_Name::Set(c, TCollection_ExtendedString(name.c_str(), Standard_True));
    return c;
  }
  // Writes the document; false on failure.
  bool write(const std::string& path) {
    shapes_->UpdateAssemblies();
    STEPCAFControl_Writer w;
    w.SetNameMode(Standard_True);
    w.SetColorMode(Standard_True);
    Interface_Static::SetCVal("write.step.schema", "AP214IS");
    if (!w.Transfer(doc_, STEPControl_AsIs)) return false;
    return w.Write(path.c_str()) == IFSelect_RetDone;
  }

 private:
  Handle(TDocStd_Document) doc_;
  Handle(XCAFDoc_ShapeTool) shapes_;
  Handle(XCAFDoc_ColorTool) colors_;
};

inline gp_Trsf xcaf_translation(double x, double y, double z) {
  gp_Trsf t;
  t.SetTranslation(gp_Vec(x, y, z));
  return t;
}

// A turn by `degrees` about the z axis, then a move by (x, y, z).
inline gp_Trsf xcaf_turn_z(double degrees, double x, double y, double z) {
  gp_Trsf turn;
  turn.SetRotation(gp_Ax1(gp_Pnt(0, 0, 0), gp_Dir(0, 0, 1)), degrees * M_PI / 180.0);
  return xcaf_translation(x, y, z) * turn;
}

inline TopoDS_Shape xcaf_box(double x, double y, double z) {
  return BRepPrimAPI_MakeBox(x, y, z).Shape();
}

// The frame of the tests: the part "bracket" (a 10 x 20 x 30 box at the
// origin, red) placed twice in the assembly "frame": "left" moved by
// (100, 0, 0), "right" turned 90 degrees about z and moved by (0, 50, 0).
inline bool write_frame_assembly(const std::string& path) {
  XCAF_TEST_FILE f;
  const TDF_Label bracket = f.part(xcaf_box(10, 20, 30), "bracket", 1.0, 0.0, 0.0);
  const TDF_Label frame = f.assembly("frame");
  f.place(frame, bracket, xcaf_translation(100, 0, 0), "left");
  f.place(frame, bracket, xcaf_turn_z(90, 0, 50, 0), "right");
  return f.write(path);
}

// Nesting: "machine" holds the assembly "axle" moved by (0, 0, 100) and the
// part "post" (a cylinder of radius 5 and height 40, blue) at (200, 0, 0);
// "axle" holds "bracket" twice: unnamed at the origin, and "upper" moved by
// (0, 0, 50).
inline bool write_machine_assembly(const std::string& path) {
  XCAF_TEST_FILE f;
  const TDF_Label bracket = f.part(xcaf_box(10, 20, 30), "bracket", 1.0, 0.0, 0.0);
  const TDF_Label post = f.part(BRepPrimAPI_MakeCylinder(5, 40).Shape(), "post", 0.0, 0.0, 1.0);
  const TDF_Label axle = f.assembly("axle");
  f.place(axle, bracket, gp_Trsf(), "");
  f.place(axle, bracket, xcaf_translation(0, 0, 50), "upper");
  const TDF_Label machine = f.assembly("machine");
  f.place(machine, axle, xcaf_translation(0, 0, 100), "axle-1");
  f.place(machine, post, xcaf_translation(200, 0, 0), "post-1");
  return f.write(path);
}

// A plain part file without any assembly, written without the document model.
inline bool write_plain_part(const std::string& path, const TopoDS_Shape& shape) {
  prepare_occt();
  STEPControl_Writer w;
  if (w.Transfer(shape, STEPControl_AsIs) != IFSelect_RetDone) return false;
  return w.Write(path.c_str()) == IFSelect_RetDone;
}
