// Reading back: OCCT's plain STEP reader (no document), all roots
// transferred into one shape, then counted with explorers. The shape check
// is BRepCheck_Analyzer, the volume BRepGProp's over the solids.

#include "host/exchange/step_check.h"


#include <BRepAdaptor_Curve.hxx>
#include <BRepAdaptor_Surface.hxx>
#include <BRepBndLib.hxx>
#include <BRepCheck_Analyzer.hxx>
#include <BRepGProp.hxx>
#include <BRep_Tool.hxx>
#include <Bnd_Box.hxx>
#include <GProp_GProps.hxx>
#include <IFSelect_ReturnStatus.hxx>
#include <Standard_Failure.hxx>
#include <TopExp.hxx>
#include <TopExp_Explorer.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Shape.hxx>

#include "host/exchange/step_read_occt.h"
#include "host/kernel/kernel_errors.h"

namespace {

[[noreturn]] void unreadable() {
  k2_throw(K2_ERROR::UNREADABLE_FILE);
}

STEP_SHAPE_SUMMARY summarise(const TopoDS_Shape& shape) {
  STEP_SHAPE_SUMMARY s;
  s.valid = BRepCheck_Analyzer(shape).IsValid() == Standard_True;
  TopTools_IndexedMapOfShape map;
  TopExp::MapShapes(shape, TopAbs_SOLID, map);
  s.solids = map.Extent();
  map.Clear();
  TopExp::MapShapes(shape, TopAbs_SHELL, map);
  s.shells = map.Extent();
  s.closed = s.shells > 0;
  for (int i = 1; i <= map.Extent(); ++i) {
    s.closed = s.closed && BRep_Tool::IsClosed(map(i));
  }
  for (TopExp_Explorer e(shape, TopAbs_SHELL, TopAbs_SOLID); e.More(); e.Next()) ++s.free_shells;
  map.Clear();
  TopExp::MapShapes(shape, TopAbs_FACE, map);
  s.faces = map.Extent();
  for (int i = 1; i <= map.Extent(); ++i) {
    const GeomAbs_SurfaceType t = BRepAdaptor_Surface(TopoDS::Face(map(i))).GetType();
    if (t == GeomAbs_Plane) ++s.planar_faces;
    if (t == GeomAbs_Cylinder) ++s.cylindrical_faces;
    if (t == GeomAbs_Cone) ++s.conical_faces;
    if (t == GeomAbs_Sphere) ++s.spherical_faces;
    if (t == GeomAbs_Torus) ++s.toroidal_faces;
    if (t == GeomAbs_BSplineSurface || t == GeomAbs_BezierSurface) ++s.bspline_faces;
  }
  map.Clear();
  TopExp::MapShapes(shape, TopAbs_EDGE, map);
  for (int i = 1; i <= map.Extent(); ++i) {
    const TopoDS_Edge& edge = TopoDS::Edge(map(i));
    if (BRep_Tool::Degenerated(edge)) continue;
    ++s.edges;
    const GeomAbs_CurveType t = BRepAdaptor_Curve(edge).GetType();
    if (t == GeomAbs_Circle) ++s.circular_edges;
    if (t == GeomAbs_Ellipse) ++s.elliptic_edges;
    if (t == GeomAbs_Line) ++s.straight_edges;
  }
  for (TopExp_Explorer e(shape, TopAbs_SOLID); e.More(); e.Next()) {
    GProp_GProps props;
    BRepGProp::VolumeProperties(e.Current(), props);
    s.volume += props.Mass();
  }
  Bnd_Box box;
  BRepBndLib::AddOptimal(shape, box, Standard_False, Standard_False);
  if (!box.IsVoid()) {
    box.Get(s.min[0], s.min[1], s.min[2], s.max[0], s.max[1], s.max[2]);
  }
  return s;
}

}  // namespace

STEP_SHAPE_SUMMARY check_step_file(const std::string& path) {
  const TopoDS_Shape shape = read_step_shape(path);
  try {
    return summarise(shape);
  } catch (const Standard_Failure&) {
    unreadable();
  }
}
