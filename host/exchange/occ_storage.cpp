// The pieces are written in three sections: the surfaces (BinTools_SurfaceSet's
// record of one surface each), the curves with the edge's range on them
// (BinTools_CurveSet's record plus two reals), and one compound of the source
// faces (BinTools' shape format, without triangulations: the face queries
// mesh again on demand). Counts go first, so a reader can check them against
// what the model file's own encoding expects.

#include "host/exchange/occ_storage.h"

#include <BRep_Builder.hxx>
#include <BinTools.hxx>
#include <BinTools_CurveSet.hxx>
#include <BinTools_OStream.hxx>
#include <BinTools_SurfaceSet.hxx>
#include <Standard_Failure.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Iterator.hxx>
#include <sstream>
#include <stdexcept>

#include "host/exchange/occ_face_occt.h"
#include "host/exchange/occ_geometry_occt.h"
#include "host/kernel/topology/face.h"

namespace {

// A face's source attribute, answering or not (occ_face.cpp).
const char* const kSourceName = "source-face";

void put_count(std::ostream& out, std::size_t n) {
  const auto v = static_cast<std::uint32_t>(n);
  out.write(reinterpret_cast<const char*>(&v), sizeof v);
}

std::size_t get_count(std::istream& in, std::size_t limit) {
  std::uint32_t v = 0;
  in.read(reinterpret_cast<char*>(&v), sizeof v);
  if (!in || v > limit) throw std::runtime_error("the CAD geometry is damaged");
  return v;
}

}  // namespace

bool is_occ_surface(const surface* s) {
  return s != nullptr && s->is_a(occ_surface::type);
}
bool is_occ_curve(const curve* c) {
  return c != nullptr && c->is_a(occ_curve::type);
}

OCC_FACE_SOURCE occ_face_source(const FACE* face) {
  if (occ_source_face(face) == nullptr) return OCC_FACE_SOURCE::NONE;
  return face->attributes().find(kSourceName) != nullptr ? OCC_FACE_SOURCE::SOURCE_ONLY
                                                         : OCC_FACE_SOURCE::ANSWERING;
}

std::string write_occ_pieces(const std::vector<const surface*>& surfaces,
                             const std::vector<const curve*>& curves,
                             const std::vector<const FACE*>& faces) {
  std::ostringstream out(std::ios::binary);
  try {
    BinTools_OStream os(out);
    put_count(out, surfaces.size());
    for (const surface* s : surfaces) {
      BinTools_SurfaceSet::WriteSurface(static_cast<const occ_surface*>(s)->impl().s, os);
    }
    put_count(out, curves.size());
    for (const curve* c : curves) {
      const occ_curve::IMPL& impl = static_cast<const occ_curve*>(c)->impl();
      BinTools_CurveSet::WriteCurve(impl.c, os);
      BinTools::PutReal(out, impl.first);
      BinTools::PutReal(out, impl.last);
    }
    put_count(out, faces.size());
    if (!faces.empty()) {
      TopoDS_Compound compound;
      BRep_Builder builder;
      builder.MakeCompound(compound);
      for (const FACE* f : faces) builder.Add(compound, *occ_source_face(f));
      BinTools::Write(compound, out, Standard_False, Standard_False,
                      BinTools_FormatVersion_CURRENT);
    }
  } catch (const Standard_Failure& e) {
    throw std::runtime_error(std::string("OpenCASCADE cannot write the CAD geometry: ") +
                             e.GetMessageString());
  }
  if (!out) throw std::runtime_error("OpenCASCADE cannot write the CAD geometry");
  return std::move(out).str();
}

OCC_PIECES read_occ_pieces(std::string_view bytes, const std::vector<OCC_FACE_SOURCE>& sources) {
  std::istringstream in(std::string(bytes), std::ios::binary);
  OCC_PIECES out;
  // Every record takes at least a byte: counts above the size are garbage.
  const std::size_t limit = bytes.size();
  try {
    const std::size_t ns = get_count(in, limit);
    for (std::size_t i = 0; i < ns; ++i) {
      Handle(Geom_Surface) s;
      BinTools_SurfaceSet::ReadSurface(in, s);
      if (!in || s.IsNull()) throw std::runtime_error("the CAD geometry is damaged");
      out.surfaces.emplace_back(make_occ_surface(s));
    }
    const std::size_t nc = get_count(in, limit);
    for (std::size_t i = 0; i < nc; ++i) {
      Handle(Geom_Curve) c;
      BinTools_CurveSet::ReadCurve(in, c);
      double first = 0.0, last = 0.0;
      BinTools::GetReal(in, first);
      BinTools::GetReal(in, last);
      if (!in || c.IsNull()) throw std::runtime_error("the CAD geometry is damaged");
      out.curves.emplace_back(make_occ_curve(c, first, last));
    }
    const std::size_t nf = get_count(in, limit);
    if (nf != sources.size()) throw std::runtime_error("the CAD faces do not match the body");
    if (nf > 0) {
      TopoDS_Shape shape;
      BinTools::Read(shape, in);
      if (!in || shape.IsNull() || shape.ShapeType() != TopAbs_COMPOUND) {
        throw std::runtime_error("the CAD faces are damaged");
      }
      std::size_t i = 0;
      for (TopoDS_Iterator it(shape, Standard_True, Standard_True); it.More(); it.Next(), ++i) {
        if (i >= nf || it.Value().ShapeType() != TopAbs_FACE) {
          throw std::runtime_error("the CAD faces are damaged");
        }
        const TopoDS_Face& f = TopoDS::Face(it.Value());
        out.face_attributes.push_back(sources[i] == OCC_FACE_SOURCE::ANSWERING
                                          ? std::shared_ptr<const ATTRIB>(make_occ_face_att(f))
                                          : make_occ_source_att(f));
      }
      if (i != nf) throw std::runtime_error("the CAD faces do not match the body");
    }
  } catch (const Standard_Failure& e) {
    throw std::runtime_error(std::string("the CAD geometry is damaged: ") + e.GetMessageString());
  }
  return out;
}
