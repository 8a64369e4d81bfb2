// The shape is copied without its triangulations before meshing: the source
// faces may already carry the finer per-face meshes of the kernel's queries,
// which BRepMesh would keep where they satisfy the deflection and which don't
// agree along shared edges. In the copy every edge is discretised once and
// both faces take those points, so corners on an edge are equal bit for bit.

#include "host/exchange/body_mesh.h"

#include <BRepBndLib.hxx>
#include <BRepBuilderAPI_Copy.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRep_Tool.hxx>
#include <Bnd_Box.hxx>
#include <Poly_Triangulation.hxx>
#include <Standard_Failure.hxx>
#include <TopExp_Explorer.hxx>
#include <TopLoc_Location.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Face.hxx>
#include <algorithm>
#include <cmath>
#include <limits>

#include "host/exchange/source_shape_occt.h"
#include "host/kernel/kernel_errors.h"
#include "host/kernel/topology/body.h"

namespace {

[[noreturn]] void bad_face() { k2_throw(K2_ERROR::BAD_FACE); }

POSITION3 pos(const gp_Pnt& p) { return POSITION3(p.X(), p.Y(), p.Z()); }

void append_triangles(const TopoDS_Shape& shape, std::vector<STL_TRIANGLE>& out) {
  for (TopExp_Explorer fx(shape, TopAbs_FACE); fx.More(); fx.Next()) {
    const TopoDS_Face& face = TopoDS::Face(fx.Current());
    TopLoc_Location loc;
    const Handle(Poly_Triangulation) tri = BRep_Tool::Triangulation(face, loc);
    if (tri.IsNull()) bad_face();
    const gp_Trsf& move = loc.Transformation();
    const bool reversed = face.Orientation() == TopAbs_REVERSED;
    for (int i = 1; i <= tri->NbTriangles(); ++i) {
      int a, b, c;
      tri->Triangle(i).Get(a, b, c);
      if (reversed) std::swap(b, c);
      const STL_TRIANGLE t{pos(tri->Node(a).Transformed(move)), pos(tri->Node(b).Transformed(move)),
                           pos(tri->Node(c).Transformed(move))};
      // A pole of a sphere or the apex of a cone is one point met by many
      // nodes; the slivers between them have no area and no place in a mesh.
      if (t[0] == t[1] || t[1] == t[2] || t[0] == t[2]) continue;
      out.push_back(t);
    }
  }
}

}  // namespace

bool mesh_source_body(const BODY& body, std::vector<STL_TRIANGLE>& out) {
  return mesh_source_body(body, kBodyMeshRelativeDeflection, out);
}

bool mesh_source_body(const BODY& body, double relative_deflection, std::vector<STL_TRIANGLE>& out,
                      double* linear_deflection) {
  if (linear_deflection != nullptr) *linear_deflection = std::nan("");
  if (source_coverage(body) != SOURCE_COVERAGE::ALL) return false;
  try {
    const TopoDS_Shape shape = BRepBuilderAPI_Copy(source_body_shape(body), Standard_False,
                                                   Standard_False)
                                   .Shape();
    Bnd_Box box;
    BRepBndLib::Add(shape, box, Standard_False);
    if (box.IsVoid()) bad_face();
    const double diagonal = std::sqrt(box.SquareExtent());
    if (!std::isfinite(diagonal)) bad_face();
    const double deflection = std::max(relative_deflection * diagonal, 1e-7);
    if (!(deflection < std::numeric_limits<double>::infinity())) bad_face();
    BRepMesh_IncrementalMesh mesher(shape, deflection, Standard_False, kBodyMeshAngularDeflection,
                                    Standard_False);
    if (!mesher.IsDone()) bad_face();
    std::vector<STL_TRIANGLE> triangles;
    append_triangles(shape, triangles);
    out.insert(out.end(), triangles.begin(), triangles.end());
    if (linear_deflection != nullptr) *linear_deflection = deflection;
  } catch (const Standard_Failure&) {
    bad_face();
  }
  return true;
}
