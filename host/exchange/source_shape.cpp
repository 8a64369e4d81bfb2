// The shape is assembled with BRep_Builder from the source faces as they are:
// each face keeps the orientation it had in its shell, so the faces of a
// kernel shell make an OCCT shell with the model's orientation. A solid that
// nevertheless comes out inside out (the model's shell was reversed in its
// solid and the file said so twice) is turned, as body_shape does.

#include "host/exchange/source_shape_occt.h"

#include <BRepClass3d_SolidClassifier.hxx>
#include <BRep_Builder.hxx>
#include <BRep_Tool.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Face.hxx>
#include <TopoDS_Shell.hxx>
#include <TopoDS_Solid.hxx>
#include <algorithm>
#include <vector>

#include "host/exchange/occ_face_occt.h"
#include "host/kernel/kernel_errors.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/shell.h"

namespace {

TopoDS_Solid make_solid(const TopoDS_Shell& shell, double tol) {
  BRep_Builder builder;
  TopoDS_Solid solid;
  builder.MakeSolid(solid);
  builder.Add(solid, shell);
  BRepClass3d_SolidClassifier classify(solid);
  classify.PerformInfinitePoint(tol);
  if (classify.State() != TopAbs_IN) return solid;
  TopoDS_Solid turned;
  builder.MakeSolid(turned);
  builder.Add(turned, shell.Reversed());
  return turned;
}

}  // namespace

SOURCE_COVERAGE source_coverage(const BODY& body) {
  struct COUNT {
    int with = 0, without = 0;
  } count;
  body.scan_faces(
      [](FACE* f, void* data) {
        auto* c = static_cast<COUNT*>(data);
        ++(occ_source_face(f) != nullptr ? c->with : c->without);
        return SCAN_CONTINUE;
      },
      &count);
  if (count.with == 0) return SOURCE_COVERAGE::NONE;
  return count.without == 0 ? SOURCE_COVERAGE::ALL : SOURCE_COVERAGE::SOME;
}

TopoDS_Shape source_body_shape(const BODY& body) {
  switch (source_coverage(body)) {
    case SOURCE_COVERAGE::NONE: return TopoDS_Shape();
    case SOURCE_COVERAGE::SOME: k2_throw(K2_ERROR::MIXED_BODY_FACES);
    case SOURCE_COVERAGE::ALL: break;
  }
  const bool closed = !is_face_part(&body);
  const double tol = std::max(body.resabs(), 1e-7);
  BRep_Builder builder;
  std::vector<TopoDS_Shape> parts;
  for (const SHELL* s : body.shells()) {
    const std::vector<const FACE*> faces = s->faces();
    if (faces.empty()) continue;
    TopoDS_Shell shell;
    builder.MakeShell(shell);
    for (const FACE* f : faces) builder.Add(shell, *occ_source_face(f));
    shell.Closed(BRep_Tool::IsClosed(shell));
    parts.push_back(closed ? TopoDS_Shape(make_solid(shell, tol)) : TopoDS_Shape(shell));
  }
  if (parts.empty()) k2_throw(K2_ERROR::CANNOT_CONVERT_BODY);
  if (parts.size() == 1) return parts.front();
  TopoDS_Compound all;
  builder.MakeCompound(all);
  for (const TopoDS_Shape& p : parts) builder.Add(all, p);
  return all;
}
