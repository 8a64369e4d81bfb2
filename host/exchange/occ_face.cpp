// Face queries on the model's own faces. Box, classification, inner points and
// triangles come from OpenCASCADE's tools for exact B-rep faces:
//   - box: BRepBndLib's optimal box (exact for elementary surfaces);
//   - classify: project on the face's surface (GeomAPI), then
//     BRepClass_FaceClassifier on the face's boundary curves;
//   - tessellate: BRepMesh_IncrementalMesh with a deflection relative to the
//     face's size, triangles flipped for a reversed face, normals from the
//     surface (from the triangles at singular points such as a pole);
//   - inner point: the centre of the face's largest mesh triangle, checked
//     by the classifier, else a scan of the face's parameter box.
// Meshing is done once per face and kept with the face's shape, so repeated
// queries cost only the copy of the triangles.

#include <BRepAdaptor_Surface.hxx>
#include <BRepBndLib.hxx>
#include <BRepClass_FaceClassifier.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRepTools.hxx>
#include <BRep_Tool.hxx>
#include <Bnd_Box.hxx>
#include <GeomAPI_ProjectPointOnSurf.hxx>
#include <Poly_Triangulation.hxx>
#include <Standard_Failure.hxx>
#include <TopLoc_Location.hxx>
#include <algorithm>
#include <cmath>
#include <gp_Pnt2d.hxx>

#include "host/exchange/occ_face_occt.h"
#include "host/kernel/kernel_errors.h"

namespace {

// Linear deflection of the mesh relative to the face's box diagonal, and the
// angular deflection in radians: a sphere's mesh then holds its volume to
// about 1e-4.
constexpr double kRelativeDeflection = 2e-4;
constexpr double kAngularDeflection = 0.1;

gp_Pnt pnt(const POSITION3& p) { return gp_Pnt(p.x(), p.y(), p.z()); }
POSITION3 pos(const gp_Pnt& p) { return POSITION3(p.X(), p.Y(), p.Z()); }

class OCC_FACE_ATT final : public FOREIGN_FACE_ATT {
 public:
  explicit OCC_FACE_ATT(const TopoDS_Face& f) : face_(f) {}

  const TopoDS_Face& face() const { return face_; }

  BOX3 box() const override {
    try {
      Bnd_Box b;
      BRepBndLib::AddOptimal(face_, b, false, false);
      if (b.IsVoid()) return BOX3::nil();
      double x0, y0, z0, x1, y1, z1;
      b.Get(x0, y0, z0, x1, y1, z1);
      return BOX3(POSITION3(x0, y0, z0), POSITION3(x1, y1, z1));
    } catch (const Standard_Failure&) {
      return BOX3::nil();
    }
  }

  int classify(const POSITION3& p, double tol) const override {
    if (!p.is_finite()) return POINT_UNKNOWN;
    try {
      const Handle(Geom_Surface) s = BRep_Tool::Surface(face_);
      if (s.IsNull()) return POINT_UNKNOWN;
      GeomAPI_ProjectPointOnSurf proj(pnt(p), s);
      if (!proj.IsDone() || proj.NbPoints() == 0 || proj.LowerDistance() > tol) {
        return POINT_UNKNOWN;
      }
      BRepClass_FaceClassifier fc(face_, pnt(p), tol);
      switch (fc.State()) {
        case TopAbs_IN: return POINT_ON_FACE;
        case TopAbs_ON: return POINT_ON_BOUNDARY;
        case TopAbs_OUT: return POINT_OUTSIDE_FACE;
        default: return POINT_UNKNOWN;
      }
    } catch (const Standard_Failure&) {
      return POINT_UNKNOWN;
    }
  }

  MOD_INFO* inner_point(POSITION3& p) const override {
    try {
      BRepAdaptor_Surface sf(face_, false);
      if (const Handle(Poly_Triangulation) tri = mesh(); !tri.IsNull() && tri->HasUVNodes()) {
        // Largest triangles first: their centres lie well inside the face.
        std::vector<std::pair<double, int>> order;
        for (int i = 1; i <= tri->NbTriangles(); ++i) {
          int a, b, c;
          tri->Triangle(i).Get(a, b, c);
          const gp_Pnt pa = tri->Node(a), pb = tri->Node(b), pc = tri->Node(c);
          order.emplace_back(-gp_Vec(pa, pb).Crossed(gp_Vec(pa, pc)).Magnitude(), i);
        }
        std::sort(order.begin(), order.end());
        const std::size_t tries = std::min<std::size_t>(order.size(), 8);
        for (std::size_t k = 0; k < tries; ++k) {
          int a, b, c;
          tri->Triangle(order[k].second).Get(a, b, c);
          const gp_XY uv = (tri->UVNode(a).XY() + tri->UVNode(b).XY() + tri->UVNode(c).XY()) / 3.0;
          if (inside(gp_Pnt2d(uv))) {
            p = pos(sf.Value(uv.X(), uv.Y()));
            return nullptr;
          }
        }
      }
      // No usable mesh: scan the parameter box, centre outwards.
      double u0, u1, v0, v1;
      BRepTools::UVBounds(face_, u0, u1, v0, v1);
      constexpr int kSteps = 33;
      for (int ring = 0; ring <= kSteps / 2; ++ring) {
        for (int i = kSteps / 2 - ring; i <= kSteps / 2 + ring; ++i) {
          for (int j = kSteps / 2 - ring; j <= kSteps / 2 + ring; ++j) {
            if (std::max(std::abs(i - kSteps / 2), std::abs(j - kSteps / 2)) != ring) continue;
            const double u = u0 + (u1 - u0) * (i + 0.5) / kSteps;
            const double v = v0 + (v1 - v0) * (j + 0.5) / kSteps;
            if (inside(gp_Pnt2d(u, v))) {
              p = pos(sf.Value(u, v));
              return nullptr;
            }
          }
        }
      }
    } catch (const Standard_Failure&) {
    }
    return k2_error(K2_ERROR::NOT_ON_FACE);
  }

  MOD_INFO* tessellate(FACE_TESSELLATION& out) const override {
    try {
      TopLoc_Location loc;
      const Handle(Poly_Triangulation) tri = mesh(&loc);
      if (tri.IsNull() || tri->NbTriangles() == 0) return k2_error(K2_ERROR::BAD_FACE);
      const gp_Trsf& move = loc.Transformation();
      const bool reversed = face_.Orientation() == TopAbs_REVERSED;
      const int n = tri->NbNodes();
      out.positions.reserve(static_cast<std::size_t>(n));
      for (int i = 1; i <= n; ++i) out.positions.push_back(pos(tri->Node(i).Transformed(move)));
      // Normals from the triangles first, area weighted, for singular points.
      std::vector<VECTOR3> sums(static_cast<std::size_t>(n), VECTOR3(0, 0, 0));
      out.triangles.reserve(static_cast<std::size_t>(tri->NbTriangles()));
      for (int i = 1; i <= tri->NbTriangles(); ++i) {
        int a, b, c;
        tri->Triangle(i).Get(a, b, c);
        if (reversed) std::swap(b, c);
        const std::array<std::uint32_t, 3> t{static_cast<std::uint32_t>(a - 1),
                                             static_cast<std::uint32_t>(b - 1),
                                             static_cast<std::uint32_t>(c - 1)};
        const VECTOR3 w = cross(out.positions[t[1]] - out.positions[t[0]],
                                out.positions[t[2]] - out.positions[t[0]]);
        for (std::uint32_t k : t) sums[k] = sums[k] + w;
        out.triangles.push_back(t);
      }
      BRepAdaptor_Surface sf(face_, false);
      out.normals.reserve(static_cast<std::size_t>(n));
      for (int i = 1; i <= n; ++i) {
        VECTOR3 nv = sums[static_cast<std::size_t>(i - 1)];
        if (tri->HasUVNodes()) {
          gp_Pnt q;
          gp_Vec du, dv;
          const gp_Pnt2d uv = tri->UVNode(i);
          sf.D1(uv.X(), uv.Y(), q, du, dv);
          gp_Vec m = du.Crossed(dv);
          // At a singular point (a pole) one derivative vanishes and the
          // cross product is rounding noise: the triangles' normal stays.
          const double big = std::max(du.Magnitude(), dv.Magnitude());
          if (m.Magnitude() > 1e-9 * big * big && m.Magnitude() > 0.0) {
            m.Transform(move);
            if (reversed) m.Reverse();
            nv = VECTOR3(m.X(), m.Y(), m.Z());
          }
        }
        out.normals.emplace_back(nv);
      }
      return nullptr;
    } catch (const Standard_Failure&) {
      return k2_error(K2_ERROR::BAD_FACE);
    }
  }

 private:
  // The face's triangulation, made on first use at a deflection relative to
  // the face's size.
  Handle(Poly_Triangulation) mesh(TopLoc_Location* where = nullptr) const {
    TopLoc_Location loc;
    Handle(Poly_Triangulation) tri = BRep_Tool::Triangulation(face_, loc);
    if (tri.IsNull()) {
      const BOX3 b = box();
      if (b.is_nil()) return tri;
      const double diag = (b.upper() - b.lower()).len();
      const double deflection = std::max(kRelativeDeflection * diag, 1e-7);
      BRepMesh_IncrementalMesh(face_, deflection, false, kAngularDeflection, false);
      tri = BRep_Tool::Triangulation(face_, loc);
    }
    if (where != nullptr) *where = loc;
    return tri;
  }

  bool inside(const gp_Pnt2d& uv) const {
    BRepClass_FaceClassifier fc(face_, uv, Precision::Confusion());
    return fc.State() == TopAbs_IN;
  }

  TopoDS_Face face_;
};

// Only remembers the face; it answers no query.
class OCC_SOURCE_ATT final : public ATTRIB {
 public:
  static constexpr const char* kName = "source-face";
  explicit OCC_SOURCE_ATT(const TopoDS_Face& f) : face_(f) {}
  const char* name() const override { return kName; }
  const TopoDS_Face& face() const { return face_; }

 private:
  TopoDS_Face face_;
};

}  // namespace

std::shared_ptr<const FOREIGN_FACE_ATT> make_occ_face_att(const TopoDS_Face& face) {
  return std::make_shared<const OCC_FACE_ATT>(face);
}

std::shared_ptr<const ATTRIB> make_occ_source_att(const TopoDS_Face& face) {
  return std::make_shared<const OCC_SOURCE_ATT>(face);
}

const TopoDS_Face* occ_source_face(const FACE* face) {
  if (const auto* a = dynamic_cast<const OCC_FACE_ATT*>(foreign_face(face))) return &a->face();
  if (const auto* a = face->attributes().find<OCC_SOURCE_ATT>()) return &a->face();
  return nullptr;
}
