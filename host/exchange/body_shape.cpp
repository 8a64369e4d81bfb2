// A body as an OCCT shape, built bottom-up with BRep_Builder so that every
// kernel VERTEX and EDGE becomes exactly one OCCT vertex and edge, shared by
// the faces that use it: the faces then form a connected shell without
// sewing. A run of chords along a plane-cylinder intersection becomes one
// edge on the exact conic (intersection_chains.h).
//
// Orientation: a kernel loop turns counter-clockwise about the face's outward
// normal, an OCCT wire of a forward face about the surface's normal. A face
// whose sense is true is therefore built with its edges reversed and then
// reversed as a whole, so that exploring it gives every edge in its coedge's
// own direction, and the two uses of an edge come out opposite, as a
// consistently oriented shell needs.
//
// Planes need no curves on their surface (OCCT projects on the fly). A hole's
// wall, the common cylinder face, is built complete with exact curves on its
// surface (make_band); other faces on cylinders get theirs, and a missing
// seam, from ShapeFix, whose context passes any edge it replaces on to the
// other faces.

#include "host/exchange/body_shape.h"

#include <BRepBuilderAPI_MakeSolid.hxx>
#include <BRepClass3d_SolidClassifier.hxx>
#include <BRepGProp.hxx>
#include <GProp_GProps.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS_Iterator.hxx>
#include <BRepBndLib.hxx>
#include <Bnd_Box.hxx>
#include <BRepLib.hxx>
#include <BRep_Builder.hxx>
#include <BRep_Tool.hxx>
#include <Geom2d_Line.hxx>
#include <Geom_Circle.hxx>
#include <Geom_CylindricalSurface.hxx>
#include <Geom_Ellipse.hxx>
#include <Geom_Line.hxx>
#include <Geom_Plane.hxx>
#include <ShapeBuild_ReShape.hxx>
#include <ShapeFix_Face.hxx>
#include <ShapeFix_Shell.hxx>
#include <ShapeFix_Solid.hxx>
#include <Standard_Failure.hxx>
#include <TopAbs.hxx>
#include <TopExp.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Edge.hxx>
#include <TopoDS_Face.hxx>
#include <TopoDS_Shell.hxx>
#include <TopoDS_Solid.hxx>
#include <TopoDS_Vertex.hxx>
#include <TopoDS_Wire.hxx>
#include <algorithm>
#include <cmath>
#include <gp_Ax2.hxx>
#include <gp_Ax3.hxx>
#include <gp_Circ.hxx>
#include <gp_Elips.hxx>
#include <gp_Pnt2d.hxx>
#include <unordered_map>

#include "host/exchange/face_boundary.h"
#include "host/exchange/intersection_chains.h"
#include "host/exchange/source_shape_occt.h"
#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/plane.h"
#include "host/kernel/kernel_errors.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/edge.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"
#include "host/kernel/topology/shell.h"
#include "host/kernel/topology/vertex.h"

namespace {

[[noreturn]] void refuse() {
  k2_throw(K2_ERROR::CANNOT_CONVERT_BODY);
}

gp_Pnt pnt(const POSITION3& p) {
  return gp_Pnt(p.x(), p.y(), p.z());
}
gp_Dir dir(const VECTOR3& v) {
  return gp_Dir(v.x(), v.y(), v.z());
}

class SHAPE_BUILDER {
 public:
  SHAPE_BUILDER(const BODY& body) : body_(body) { tol_ = std::max(body.resabs(), 1e-7); }

  TopoDS_Shape build() {
    BODY_BOUNDARY boundary = body_boundary(body_);
    if (boundary.faces.empty()) refuse();
    // Vertices may sit a few resolutions off the surfaces they were fitted to.
    chains_ = find_intersection_chains(boundary, 10.0 * tol_);
    chain_edges_.resize(chains_.chains.size());

    std::unordered_map<const FACE*, TopoDS_Face> faces;
    faces.reserve(boundary.faces.size());
    Handle(ShapeBuild_ReShape) context = new ShapeBuild_ReShape();
    std::vector<const FACE*> on_cylinders;
    for (const FACE_BOUNDARY& fb : boundary.faces) {
      bool complete = true;
      faces.emplace(fb.face, make_face(fb, complete));
      if (!complete) on_cylinders.push_back(fb.face);
    }
    for (const FACE* f : on_cylinders) {
      TopoDS_Face& face = faces[f];
      ShapeFix_Face fix(face);
      fix.SetContext(context);
      fix.SetPrecision(tol_);
      fix.SetMaxTolerance(std::max(1.0, 1e3 * tol_));
      fix.Perform();
      face = fix.Face();
    }

    // Each shell is a solid when it closes, whatever the rest of the body
    // does: a mesh of several pieces, one of them open, keeps its closed ones
    // as solids. A closed shell inside another is a void of it
    // (solids_with_voids).
    std::vector<TopoDS_Shape> parts;
    std::vector<TopoDS_Shell> closed_shells;
    for (const SHELL* s : body_.shells()) {
      const std::vector<const FACE*> shell_faces = s->faces();
      if (shell_faces.empty()) continue;
      TopoDS_Shell shell;
      builder_.MakeShell(shell);
      for (const FACE* f : shell_faces) {
        builder_.Add(shell, on_cylinders.empty() ? faces[f] : context->Apply(faces[f]));
      }
      const bool closed = BRep_Tool::IsClosed(shell);
      shell.Closed(closed);
      if (closed) {
        closed_shells.push_back(shell);
      } else {
        parts.push_back(shell);
      }
    }
    for (const TopoDS_Solid& solid : solids_with_voids(closed_shells)) parts.push_back(solid);
    if (parts.empty()) refuse();
    if (parts.size() == 1) return parts.front();
    TopoDS_Compound all;
    builder_.MakeCompound(all);
    for (const TopoDS_Shape& p : parts) builder_.Add(all, p);
    return all;
  }

 private:
  // Solids of the closed shells, nested as a slicer nests them: a shell that
  // lies inside an odd number of the others is a void of the smallest one
  // around it, whichever way its faces point (a mesh may bring its voids
  // facing out); one inside an even number, none included, bounds a solid
  // of its own. A shell is inside another when the other's box holds its
  // box and the other's solid its first vertex. O(shells²) box tests, a
  // classification for each box that holds another.
  std::vector<TopoDS_Solid> solids_with_voids(const std::vector<TopoDS_Shell>& shells) {
    const std::size_t n = shells.size();
    std::vector<TopoDS_Solid> solids;
    std::vector<double> volumes;
    std::vector<Bnd_Box> boxes(n);
    std::vector<gp_Pnt> probes(n);
    std::vector<bool> has_probe(n, false);
    for (std::size_t i = 0; i < n; ++i) {
      solids.push_back(make_solid(shells[i]));
      GProp_GProps props;
      BRepGProp::VolumeProperties(solids.back(), props);
      volumes.push_back(std::fabs(props.Mass()));
      BRepBndLib::Add(shells[i], boxes[i]);
      TopExp_Explorer first(shells[i], TopAbs_VERTEX);
      if (first.More()) {
        probes[i] = BRep_Tool::Pnt(TopoDS::Vertex(first.Current()));
        has_probe[i] = true;
      }
    }
    std::vector<std::size_t> depth(n, 0);
    std::vector<std::size_t> around(n, n);  // the smallest shell around, or n
    for (std::size_t i = 0; i < n; ++i) {
      if (!has_probe[i]) continue;
      for (std::size_t j = 0; j < n; ++j) {
        if (j == i || boxes[j].IsOut(boxes[i])) continue;
        BRepClass3d_SolidClassifier classify(solids[j], probes[i], tol_);
        if (classify.State() != TopAbs_IN) continue;
        ++depth[i];
        if (around[i] == n || volumes[j] < volumes[around[i]]) around[i] = j;
      }
    }
    std::vector<TopoDS_Solid> out;
    std::vector<std::size_t> place(n, n);  // index in out of each solid kept
    for (std::size_t i = 0; i < n; ++i) {
      if (depth[i] % 2 == 0) {
        place[i] = out.size();
        out.push_back(solids[i]);
      }
    }
    for (std::size_t i = 0; i < n; ++i) {
      if (depth[i] % 2 == 0) continue;
      const std::size_t host = around[i] < n ? place[around[i]] : n;
      if (host == n) {
        out.push_back(solids[i]);  // its container is a void itself: keep it whole
        continue;
      }
      // The solid's shell faces out; as a void it faces in.
      TopoDS_Iterator shell(solids[i]);
      builder_.Add(out[host], shell.Value().Reversed());
    }
    return out;
  }

  TopoDS_Solid make_solid(const TopoDS_Shell& shell) {
    TopoDS_Solid solid;
    builder_.MakeSolid(solid);
    builder_.Add(solid, shell);
    // A closed body's faces point outwards by construction; the classifier
    // catches a body whose faces were all turned inside out.
    BRepClass3d_SolidClassifier classify(solid);
    classify.PerformInfinitePoint(tol_);
    if (classify.State() == TopAbs_IN) {
      TopoDS_Solid turned;
      builder_.MakeSolid(turned);
      builder_.Add(turned, shell.Reversed());
      return turned;
    }
    return solid;
  }

  const TopoDS_Vertex& vertex(const VERTEX* v) {
    auto it = vertices_.find(v);
    if (it != vertices_.end()) return it->second;
    const POSITION3 p = v->pt3();
    if (!p.is_finite()) refuse();
    TopoDS_Vertex out;
    builder_.MakeVertex(out, pnt(p), tol_);
    return vertices_.emplace(v, out).first->second;
  }

  const TopoDS_Edge& straight_edge(const EDGE* e) {
    auto it = edges_.find(e);
    if (it != edges_.end()) return it->second;
    const POSITION3 a = e->start()->pt3(), b = e->end()->pt3();
    const double len = dist(a, b);
    if (!(len > tol_)) refuse();
    TopoDS_Edge out;
    builder_.MakeEdge(out, new Geom_Line(pnt(a), dir(b - a)), tol_);
    builder_.Add(out, vertex(e->start()).Oriented(TopAbs_FORWARD));
    builder_.Add(out, vertex(e->end()).Oriented(TopAbs_REVERSED));
    builder_.Range(out, 0.0, len);
    return edges_.emplace(e, out).first->second;
  }

  // The one edge of a chain, oriented along the chain.
  const TopoDS_Edge& chain_edge(int id) {
    TopoDS_Edge& out = chain_edges_[static_cast<std::size_t>(id)];
    if (!out.IsNull()) return out;
    const INTERSECTION_CHAIN& ch = chains_.chains[static_cast<std::size_t>(id)];
    const gp_Ax2 frame(pnt(ch.centre), dir(ch.normal), dir(ch.x_dir));
    Handle(Geom_Curve) curve;
    if (ch.circle) {
      curve = new Geom_Circle(gp_Circ(frame, ch.major));
    } else {
      curve = new Geom_Ellipse(gp_Elips(frame, ch.major, ch.minor));
    }
    builder_.MakeEdge(out, curve, tol_);
    const TopoDS_Vertex& v0 = vertex(ch.vertices.front());
    const TopoDS_Vertex& v1 = vertex(ch.vertices.back());
    // The vertices stay where the kernel has them; their tolerance covers the
    // curve's ends.
    const double off0 = curve->Value(ch.t_start).Distance(BRep_Tool::Pnt(v0));
    builder_.UpdateVertex(v0, std::max(BRep_Tool::Tolerance(v0), 1.01 * off0));
    const double off1 = curve->Value(ch.t_end).Distance(BRep_Tool::Pnt(v1));
    builder_.UpdateVertex(v1, std::max(BRep_Tool::Tolerance(v1), 1.01 * off1));
    builder_.Add(out, v0.Oriented(TopAbs_FORWARD));
    builder_.Add(out, v1.Oriented(TopAbs_REVERSED));
    builder_.Range(out, ch.t_start, ch.t_end);
    return out;
  }

  // Where the cylinder's parameters start, and so where ShapeFix puts the
  // seam of a face that runs all around: through the vertex of a closed run,
  // so that the seam meets the exact rims at their vertices and does not
  // split them.
  VECTOR3 seam_direction(const FACE_BOUNDARY& fb, const cylinder& cy) const {
    for (const auto& ring : fb.rings) {
      for (const COEDGE* c : ring) {
        auto it = chains_.of_edge.find(c->edge());
        if (it == chains_.of_edge.end()) continue;
        const INTERSECTION_CHAIN& ch = chains_.chains[static_cast<std::size_t>(it->second.first)];
        if (!ch.closed) continue;
        const VECTOR3 r = ch.vertices.front()->pt3() - cy.root();
        const VECTOR3 across = r - dot(r, cy.axis()) * VECTOR3(cy.axis());
        if (across.len() > 0.5 * cy.radius()) return across;
      }
    }
    return cy.ref_dir();
  }

  // The wire of one ring of coedges, in the coedges' own directions.
  TopoDS_Wire make_wire(const std::vector<const COEDGE*>& ring) {
    TopoDS_Wire wire;
    builder_.MakeWire(wire);
    for (const COEDGE* c : ring) {
      TopoDS_Edge e;
      bool reversed = c->sense();
      auto it = chains_.of_edge.find(c->edge());
      if (it == chains_.of_edge.end()) {
        e = straight_edge(c->edge());
      } else {
        const auto [id, index] = it->second;
        const INTERSECTION_CHAIN& ch = chains_.chains[static_cast<std::size_t>(id)];
        const bool along = c->start() == ch.vertices[static_cast<std::size_t>(index)];
        // The chain's edge stands in for all its chords, once, at its first one.
        const int first = along ? 0 : static_cast<int>(ch.edges.size()) - 1;
        if (index != first) continue;
        e = chain_edge(id);
        reversed = !along;
      }
      builder_.Add(wire, e.Oriented(reversed ? TopAbs_REVERSED : TopAbs_FORWARD));
    }
    wire.Closed(true);
    return wire;
  }

  // The face; `complete` is false when it still needs its curves on the
  // surface (and perhaps a seam) from ShapeFix.
  TopoDS_Face make_face(const FACE_BOUNDARY& fb, bool& complete) {
    const FACE& f = *fb.face;
    Handle(Geom_Surface) sf;
    TopoDS_Face face;
    const bool flip = f.sense();
    complete = true;
    if (const auto* pl = dynamic_cast<const plane*>(f.geometry())) {
      sf = new Geom_Plane(gp_Ax3(pnt(pl->root()), dir(pl->nor()), dir(pl->u_dir())));
    } else if (const auto* cy = dynamic_cast<const cylinder*>(f.geometry())) {
      const gp_Ax3 frame(pnt(cy->root()), dir(cy->axis()), dir(seam_direction(fb, *cy)));
      sf = new Geom_CylindricalSurface(frame, cy->radius());
      builder_.MakeFace(face, sf, tol_);
      if (make_band(fb, *cy, face)) return flip ? TopoDS::Face(face.Reversed()) : face;
      face = TopoDS_Face();
      complete = false;
    } else {
      refuse();
    }
    builder_.MakeFace(face, sf, tol_);
    for (const auto& ring : fb.rings) {
      const TopoDS_Shape wire = make_wire(ring);
      builder_.Add(face, flip ? wire.Reversed() : wire);
    }
    return flip ? TopoDS::Face(face.Reversed()) : face;
  }

  // A face all around the cylinder between two exact circles that the
  // kernel's seam bridge joins, as a hole's wall is: its one wire keeps the
  // bridge as the seam, and every curve on the surface is a straight line of
  // the parameter plane, known exactly, so ShapeFix has nothing to work out.
  // The surface's parameters start at the seam (seam_direction). False, with
  // `face` untouched, for a face of any other kind.
  bool make_band(const FACE_BOUNDARY& fb, const cylinder& cy, TopoDS_Face& face) {
    const LOOP* loop = fb.face->loop();
    if (loop == nullptr || loop->next() != nullptr || fb.rings.size() != 2) return false;
    const INTERSECTION_CHAIN* rims[2] = {nullptr, nullptr};
    for (std::size_t k = 0; k < 2; ++k) {
      for (const COEDGE* c : fb.rings[k]) {
        auto it = chains_.of_edge.find(c->edge());
        if (it == chains_.of_edge.end()) return false;
        const INTERSECTION_CHAIN* ch = &chains_.chains[static_cast<std::size_t>(it->second.first)];
        if (rims[k] != nullptr && rims[k] != ch) return false;
        rims[k] = ch;
      }
      if (!rims[k]->closed || !rims[k]->circle) return false;
    }
    // The ring closed when it was split, so this walk ends.
    std::vector<const COEDGE*> ring;
    const EDGE* seam = nullptr;
    for (const COEDGE* c = loop->start(); ring.empty() || c != loop->start(); c = c->next()) {
      ring.push_back(c);
      if (chains_.of_edge.count(c->edge()) != 0) continue;
      if (seam != nullptr && seam != c->edge()) return false;
      seam = c->edge();
    }
    if (seam == nullptr) return false;
    const VECTOR3 along = seam->end()->pt3() - seam->start()->pt3();
    if (cross(along, cy.axis()).len() > 1e-9 * along.len()) return false;
    for (const INTERSECTION_CHAIN* rim : rims) {
      const VERTEX* v = rim->vertices.front();
      if (v != seam->start() && v != seam->end()) return false;
    }

    const TopoDS_Shape wire = make_wire(ring);
    builder_.Add(face, fb.face->sense() ? wire.Reversed() : wire);
    // Rims: u = u0 ± (t - t_start), from the seam once around.
    for (const INTERSECTION_CHAIN* rim : rims) {
      const double s = dot(rim->normal, cy.axis()) > 0 ? 1.0 : -1.0;
      const double u0 = s > 0 ? 0.0 : 2.0 * M_PI;
      const double v = dot(rim->centre - cy.root(), cy.axis());
      const TopoDS_Edge& e = chain_edge(chain_index(rim));
      builder_.UpdateEdge(e, new Geom2d_Line(gp_Pnt2d(u0 - s * rim->t_start, v), gp_Dir2d(s, 0.0)),
                          face, tol_);
    }
    // Seam: at u = 2π where the wire goes up the axis, at u = 0 where it comes
    // down; the first curve belongs to the forward use.
    const double dv = dot(along, cy.axis()) > 0 ? 1.0 : -1.0;
    const double v0 = dot(seam->start()->pt3() - cy.root(), cy.axis());
    const TopoDS_Edge& e = straight_edge(seam);
    Handle(Geom2d_Line) up = new Geom2d_Line(gp_Pnt2d(2.0 * M_PI, v0), gp_Dir2d(0.0, dv));
    Handle(Geom2d_Line) down = new Geom2d_Line(gp_Pnt2d(0.0, v0), gp_Dir2d(0.0, dv));
    if (dv > 0) {
      builder_.UpdateEdge(e, up, down, face, tol_);
    } else {
      builder_.UpdateEdge(e, down, up, face, tol_);
    }
    return true;
  }

  int chain_index(const INTERSECTION_CHAIN* ch) const {
    return static_cast<int>(ch - chains_.chains.data());
  }

  const BODY& body_;
  double tol_ = 1e-7;
  BRep_Builder builder_;
  INTERSECTION_CHAINS chains_;
  std::vector<TopoDS_Edge> chain_edges_;  // made on first use, by chain index
  std::unordered_map<const VERTEX*, TopoDS_Vertex> vertices_;
  std::unordered_map<const EDGE*, TopoDS_Edge> edges_;
};

}  // namespace

TopoDS_Shape body_shape(const BODY& body) {
  try {
    // A body read from a model is handed back as the model had it: its exact
    // surfaces and curves of every kind, and edges already shared.
    TopoDS_Shape source = source_body_shape(body);
    if (!source.IsNull()) return source;
    return SHAPE_BUILDER(body).build();
  } catch (const Standard_Failure&) {
    refuse();
  }
}
