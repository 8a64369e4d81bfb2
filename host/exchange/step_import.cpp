// STEP import in two passes. The first reads the file and plans every body
// with OpenCASCADE alone: indexed maps number the shape's vertices and edges
// once (TopTools_IndexedMapOfShape, orientation ignored), wires are walked in
// order (BRepTools_WireExplorer) and each surface and curve is converted.
// Anything that can fail fails there, before a kernel entity exists, so a bad
// file leaves nothing behind. The second pass builds the kernel entities from
// the plan and cannot fail on its input.
//
// Two model vertices closer than the global resolution are one kernel vertex
// (an edge of the kernel needs two distinct ends); an edge between them is a
// closed edge when its middle lies away from its ends and degenerate
// otherwise.

#include "host/exchange/step_import.h"


#include <BRepLib.hxx>
#include <BRepTools.hxx>
#include <BRepTools_WireExplorer.hxx>
#include <BRep_Tool.hxx>
#include <GeomAdaptor_Curve.hxx>
#include <Geom_CylindricalSurface.hxx>
#include <Geom_Line.hxx>
#include <Geom_Plane.hxx>
#include <Geom_RectangularTrimmedSurface.hxx>
#include <Geom_TrimmedCurve.hxx>
#include <Interface_CheckIterator.hxx>
#include <XSControl_WorkSession.hxx>
#include <ShapeAnalysis_ShapeTolerance.hxx>
#include <Standard_Failure.hxx>
#include <TopExp.hxx>
#include <TopExp_Explorer.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Edge.hxx>
#include <TopoDS_Face.hxx>
#include <TopoDS_Shell.hxx>
#include <TopoDS_Solid.hxx>
#include <TopoDS_Vertex.hxx>
#include <TopoDS_Wire.hxx>
#include <BRep_Builder.hxx>
#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

#include "host/exchange/occ_face_occt.h"
#include "host/exchange/occ_geometry_occt.h"
#include "host/exchange/step_body_plan_occt.h"
#include "host/exchange/step_read_occt.h"
#include "host/geometry/resolution.h"
#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/plane.h"
#include "host/kernel/geometry/point.h"
#include "host/kernel/geometry/straight.h"
#include "host/kernel/kernel_errors.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/edge.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"
#include "host/kernel/topology/shell.h"
#include "host/kernel/topology/vertex.h"

namespace {

[[noreturn]] void unreadable() { k2_throw(K2_ERROR::UNREADABLE_FILE); }

POSITION3 pos(const gp_Pnt& p) { return POSITION3(p.X(), p.Y(), p.Z()); }
VECTOR3 vec(const gp_XYZ& v) { return VECTOR3(v.X(), v.Y(), v.Z()); }

// A surface or curve of the plan; a reference is held so that a plan dropped
// on failure frees what it made.
template <class T>
using REF = GEOM_REF<T>;

struct PLAN_EDGE {
  int start = -1, end = -1;  // vertex numbers after merging
  int middle = -1;           // the extra vertex of a closed edge, else -1
  bool degenerate = false;   // no kernel edge
  bool straight_line = false;
  REF<curve> crv;            // owned reference; shared by both halves
};

// A use of a model edge in a wire: the edge's number and whether the wire
// runs against it.
struct PLAN_USE {
  int edge = 0;
  bool reversed = false;
};

struct PLAN_LOOP {
  std::vector<PLAN_USE> uses;
  bool outer = false;
};

struct PLAN_FACE {
  TopoDS_Face face;  // oriented as in its shell
  REF<surface> sf;   // owned reference
  bool sense = false;
  bool foreign = false;  // answered through the source face
  std::vector<PLAN_LOOP> loops;
};

struct PLAN_BODY {
  std::vector<std::vector<PLAN_FACE>> shells;
  std::vector<POSITION3> vertices;  // after merging, extra middles appended
  std::vector<PLAN_EDGE> edges;
  double resabs = resolution::_min_resabs;
  bool face_part = false;
};

// Union-find over vertex numbers, for vertices closer than the resolution.
int find_root(std::vector<int>& parent, int i) {
  while (parent[static_cast<std::size_t>(i)] != i) {
    parent[static_cast<std::size_t>(i)] = parent[static_cast<std::size_t>(parent[static_cast<std::size_t>(i)])];
    i = parent[static_cast<std::size_t>(i)];
  }
  return i;
}

// The kernel surface for a face's surface, and whether the kernel's normal is
// opposite to the model's (du × dv).
REF<surface> convert_surface(const Handle(Geom_Surface)& located, bool& flipped) {
  flipped = false;
  Handle(Geom_Surface) s = located;
  if (Handle(Geom_RectangularTrimmedSurface) t = Handle(Geom_RectangularTrimmedSurface)::DownCast(s)) {
    s = t->BasisSurface();
  }
  if (Handle(Geom_Plane) p = Handle(Geom_Plane)::DownCast(s)) {
    const gp_Ax3& a = p->Position();
    // The kernel plane's normal is u_dir × v_dir, as the model's du × dv.
    const gp_XYZ n = a.XDirection().XYZ().Crossed(a.YDirection().XYZ());
    return REF<surface>(new plane(pos(a.Location()), UNITVEC3(vec(n)), vec(a.XDirection().XYZ())));
  }
  if (Handle(Geom_CylindricalSurface) c = Handle(Geom_CylindricalSurface)::DownCast(s)) {
    const gp_Ax3& a = c->Position();
    // The model's normal points outward for a right-handed frame only; the
    // kernel's always does.
    flipped = !a.Direct();
    return REF<surface>(new cylinder(pos(a.Location()), UNITVEC3(vec(a.Direction().XYZ())),
                                     c->Radius(), vec(a.XDirection().XYZ())));
  }
  return REF<surface>(make_occ_surface(located));
}

// Whether each use ends where the next one starts, the last where the first
// starts. A wire with a gap (an edge the reader dropped from a corrupt file)
// would make a kernel loop that does not close.
bool ring_closes(const PLAN_BODY& plan, const PLAN_LOOP& pl) {
  auto start = [&](const PLAN_USE& u) {
    const PLAN_EDGE& pe = plan.edges[static_cast<std::size_t>(u.edge)];
    return u.reversed ? pe.end : pe.start;
  };
  auto end = [&](const PLAN_USE& u) {
    const PLAN_EDGE& pe = plan.edges[static_cast<std::size_t>(u.edge)];
    return u.reversed ? pe.start : pe.end;
  };
  for (std::size_t i = 0; i < pl.uses.size(); ++i) {
    if (end(pl.uses[i]) != start(pl.uses[(i + 1) % pl.uses.size()])) return false;
  }
  return true;
}

// Plans one body from the shells (and loose faces) of `shape`.
PLAN_BODY plan_body(const std::vector<TopoDS_Shape>& shells, bool face_part) {
  PLAN_BODY plan;
  plan.face_part = face_part;
  TopoDS_Compound all;
  BRep_Builder builder;
  builder.MakeCompound(all);
  for (const TopoDS_Shape& s : shells) builder.Add(all, s);

  ShapeAnalysis_ShapeTolerance tolerance;
  plan.resabs = std::max(resolution::_min_resabs, tolerance.Tolerance(all, 1));
  const double merge = std::max(get_k2_geores().resabs(), resolution::_min_resabs);

  TopTools_IndexedMapOfShape vmap, emap;
  TopExp::MapShapes(all, TopAbs_VERTEX, vmap);
  TopExp::MapShapes(all, TopAbs_EDGE, emap);
  std::vector<POSITION3> raw(static_cast<std::size_t>(vmap.Extent()));
  for (int i = 1; i <= vmap.Extent(); ++i) {
    raw[static_cast<std::size_t>(i - 1)] = pos(BRep_Tool::Pnt(TopoDS::Vertex(vmap(i))));
  }
  std::vector<int> parent(raw.size());
  std::iota(parent.begin(), parent.end(), 0);

  // Edges: ends, curves, and which ends are one point.
  plan.edges.resize(static_cast<std::size_t>(emap.Extent()));
  std::vector<std::array<double, 2>> ranges(plan.edges.size());
  std::vector<Handle(Geom_Curve)> curves(plan.edges.size());
  for (int i = 1; i <= emap.Extent(); ++i) {
    PLAN_EDGE& pe = plan.edges[static_cast<std::size_t>(i - 1)];
    const TopoDS_Edge e = TopoDS::Edge(emap(i).Oriented(TopAbs_FORWARD));
    TopoDS_Vertex v1, v2;
    TopExp::Vertices(e, v1, v2);
    if (v1.IsNull() || v2.IsNull() || BRep_Tool::Degenerated(e)) {
      pe.degenerate = true;
      continue;
    }
    pe.start = vmap.FindIndex(v1) - 1;
    pe.end = vmap.FindIndex(v2) - 1;
    double f = 0.0, l = 0.0;
    Handle(Geom_Curve) c = BRep_Tool::Curve(e, f, l);
    if (c.IsNull()) {
      BRepLib::BuildCurve3d(e);
      c = BRep_Tool::Curve(e, f, l);
    }
    if (c.IsNull() || !std::isfinite(f) || !std::isfinite(l)) unreadable();
    curves[static_cast<std::size_t>(i - 1)] = c;
    ranges[static_cast<std::size_t>(i - 1)] = {f, l};
    const POSITION3 mid = pos(c->Value(0.5 * (f + l)));
    const double span = std::max((mid - raw[static_cast<std::size_t>(pe.start)]).len(),
                                 (mid - raw[static_cast<std::size_t>(pe.end)]).len());
    if ((raw[static_cast<std::size_t>(pe.start)] - raw[static_cast<std::size_t>(pe.end)]).len() <= merge) {
      const int a = find_root(parent, pe.start), b = find_root(parent, pe.end);
      parent[static_cast<std::size_t>(std::max(a, b))] = std::min(a, b);
      if (span <= merge) pe.degenerate = true;
    }
  }
  // Merged vertex numbers.
  std::vector<int> number(raw.size(), -1);
  for (std::size_t i = 0; i < raw.size(); ++i) {
    const int r = find_root(parent, static_cast<int>(i));
    if (number[static_cast<std::size_t>(r)] < 0) {
      number[static_cast<std::size_t>(r)] = static_cast<int>(plan.vertices.size());
      plan.vertices.push_back(raw[static_cast<std::size_t>(r)]);
    }
    number[i] = number[static_cast<std::size_t>(r)];
  }
  for (std::size_t i = 0; i < plan.edges.size(); ++i) {
    PLAN_EDGE& pe = plan.edges[i];
    if (pe.degenerate) continue;
    pe.start = number[static_cast<std::size_t>(pe.start)];
    pe.end = number[static_cast<std::size_t>(pe.end)];
    const Handle(Geom_Curve)& c = curves[i];
    const double f = ranges[i][0], l = ranges[i][1];
    const POSITION3 mid = pos(c->Value(0.5 * (f + l)));
    const POSITION3& a = plan.vertices[static_cast<std::size_t>(pe.start)];
    const POSITION3& b = plan.vertices[static_cast<std::size_t>(pe.end)];
    // Ends merged through other short edges may still be one point here.
    const bool closed = pe.start == pe.end || (a - b).len() <= merge;
    if (closed ? ((mid - a).len() <= merge || (mid - b).len() <= merge) : false) {
      pe.degenerate = true;
      continue;
    }
    if (closed) {
      pe.end = pe.start;
      pe.middle = static_cast<int>(plan.vertices.size());
      plan.vertices.push_back(mid);
    }
    Handle(Geom_Curve) basis = c;
    if (Handle(Geom_TrimmedCurve) t = Handle(Geom_TrimmedCurve)::DownCast(basis)) basis = t->BasisCurve();
    if (Handle(Geom_Line) line = Handle(Geom_Line)::DownCast(basis)) {
      pe.straight_line = true;
      const gp_Ax1& ax = line->Position();
      pe.crv = REF<curve>(new straight(pos(ax.Location()), UNITVEC3(vec(ax.Direction().XYZ()))));
    } else {
      pe.crv = REF<curve>(make_occ_curve(c, f, l));
    }
  }

  // Faces and their wires.
  for (const TopoDS_Shape& s : shells) {
    std::vector<PLAN_FACE>& faces = plan.shells.emplace_back();
    for (TopExp_Explorer fx(s, TopAbs_FACE); fx.More(); fx.Next()) {
      PLAN_FACE pf;
      pf.face = TopoDS::Face(fx.Current());
      const Handle(Geom_Surface) located = BRep_Tool::Surface(pf.face);
      if (located.IsNull()) unreadable();
      bool flipped = false;
      pf.sf = convert_surface(located, flipped);
      pf.sense = (pf.face.Orientation() == TopAbs_REVERSED) != flipped;
      pf.foreign = pf.sf->is_a(occ_surface::type);
      const TopoDS_Wire outer = BRepTools::OuterWire(pf.face);
      std::vector<PLAN_LOOP> inner;
      for (TopExp_Explorer wx(pf.face, TopAbs_WIRE); wx.More(); wx.Next()) {
        const TopoDS_Wire w = TopoDS::Wire(wx.Current());
        PLAN_LOOP pl;
        pl.outer = !outer.IsNull() && w.IsSame(outer);
        for (BRepTools_WireExplorer ex(w, pf.face); ex.More(); ex.Next()) {
          const int k = emap.FindIndex(ex.Current()) - 1;
          if (k < 0) unreadable();
          const PLAN_EDGE& pe = plan.edges[static_cast<std::size_t>(k)];
          if (pe.degenerate) continue;
          if (!pe.straight_line) pf.foreign = true;
          pl.uses.push_back({k, ex.Orientation() == TopAbs_REVERSED});
        }
        if (pl.uses.empty()) continue;
        if (!ring_closes(plan, pl)) unreadable();
        if (pl.outer) {
          pf.loops.insert(pf.loops.begin(), std::move(pl));
        } else {
          inner.push_back(std::move(pl));
        }
      }
      for (PLAN_LOOP& pl : inner) pf.loops.push_back(std::move(pl));
      // Without an outer wire the first loop is taken as the periphery.
      if (!pf.loops.empty()) pf.loops.front().outer = true;
      faces.push_back(std::move(pf));
    }
  }
  return plan;
}

// Builds the kernel body of a plan. Needs no failure handling: the plan has
// only distinct ends for every edge and converted geometry.
BODY* build_body(const PLAN_BODY& plan) {
  std::vector<VERTEX*> vertices(plan.vertices.size(), nullptr);
  auto vertex = [&](int i) {
    VERTEX*& v = vertices[static_cast<std::size_t>(i)];
    if (v == nullptr) v = new VERTEX(new point3(plan.vertices[static_cast<std::size_t>(i)]));
    return v;
  };
  // Up to two kernel edges per model edge: the halves of a closed one.
  std::vector<std::array<EDGE*, 2>> edges(plan.edges.size(), {nullptr, nullptr});
  auto edge = [&](int k, int half) {
    EDGE*& e = edges[static_cast<std::size_t>(k)][static_cast<std::size_t>(half)];
    if (e == nullptr) {
      const PLAN_EDGE& pe = plan.edges[static_cast<std::size_t>(k)];
      int a = pe.start, b = pe.end;
      if (pe.middle >= 0) (half == 0 ? b : a) = pe.middle;
      MOD_INFO* status = nullptr;
      e = new EDGE(vertex(a), vertex(b), pe.crv.get(), status);
      HOST_ASSERT(status == nullptr, "an imported edge with coincident ends");
    }
    return e;
  };

  BODY* body = new BODY();
  body->set_resabs(plan.resabs);
  for (const std::vector<PLAN_FACE>& faces : plan.shells) {
    if (faces.empty()) continue;
    auto* shell = new SHELL();
    shell->set_shell_type(2);
    body->add_shell(shell);
    for (const PLAN_FACE& pf : faces) {
      auto* face = new FACE(pf.sf.get(), pf.sense);
      shell->add_face(face);
      face->add_attribute(pf.foreign ? make_occ_face_att(pf.face) : make_occ_source_att(pf.face));
      for (const PLAN_LOOP& pl : pf.loops) {
        COEDGE* first = nullptr;
        COEDGE* last = nullptr;
        for (const PLAN_USE& use : pl.uses) {
          const bool closed = plan.edges[static_cast<std::size_t>(use.edge)].middle >= 0;
          const int halves = closed ? 2 : 1;
          for (int h = 0; h < halves; ++h) {
            const int half = use.reversed ? halves - 1 - h : h;
            last = new COEDGE(edge(use.edge, half), use.reversed, last, nullptr);
            if (first == nullptr) first = last;
          }
        }
        last->set_next(first);
        new LOOP(first, face, pl.outer ? LOOP_OUTER : LOOP_INNER);
      }
    }
  }
  if (plan.face_part) body->add_attribute(std::make_shared<FACE_PART_ATT>());
  return body;
}

// The model's shapes grouped by body: each solid's shells, each free
// shell, then all free faces together; with whether the group is a face part.
struct SHAPE_GROUP {
  std::vector<TopoDS_Shape> shells;
  bool face_part = false;
};

std::vector<SHAPE_GROUP> group_shapes(const TopoDS_Shape& shape) {
  std::vector<SHAPE_GROUP> out;
  TopTools_IndexedMapOfShape used_shells, used_faces;
  for (TopExp_Explorer sx(shape, TopAbs_SOLID); sx.More(); sx.Next()) {
    SHAPE_GROUP g;
    for (TopExp_Explorer hx(sx.Current(), TopAbs_SHELL); hx.More(); hx.Next()) {
      g.shells.push_back(hx.Current());
      used_shells.Add(hx.Current());
    }
    if (!g.shells.empty()) out.push_back(std::move(g));
  }
  for (TopExp_Explorer hx(shape, TopAbs_SHELL, TopAbs_SOLID); hx.More(); hx.Next()) {
    if (used_shells.Contains(hx.Current())) continue;
    used_shells.Add(hx.Current());
    SHAPE_GROUP g;
    g.shells.push_back(hx.Current());
    g.face_part = !BRep_Tool::IsClosed(hx.Current());
    out.push_back(std::move(g));
  }
  for (int i = 1; i <= used_shells.Extent(); ++i) {
    TopExp::MapShapes(used_shells(i), TopAbs_FACE, used_faces);
  }
  TopoDS_Compound loose;
  BRep_Builder builder;
  builder.MakeCompound(loose);
  bool any = false;
  for (TopExp_Explorer fx(shape, TopAbs_FACE, TopAbs_SHELL); fx.More(); fx.Next()) {
    if (used_faces.Contains(fx.Current())) continue;
    builder.Add(loose, fx.Current());
    any = true;
  }
  if (any) {
    SHAPE_GROUP g;
    g.shells.push_back(loose);
    g.face_part = true;
    out.push_back(std::move(g));
  }
  return out;
}

}  // namespace

std::vector<BODY*> read_step(const std::string& path) {
  // The read refuses files whose shape entities failed to load: the
  // transfer would take their null references for granted and crash.
  const TopoDS_Shape shape = read_step_shape(path);
  std::vector<PLAN_BODY> plans;
  try {
    for (const SHAPE_GROUP& g : group_shapes(shape)) {
      plans.push_back(plan_body(g.shells, g.face_part));
    }
  } catch (const Standard_Failure&) {
    unreadable();
  } catch (const TV_EXCEPTION&) {
    // Degenerate geometry in the file (a zero radius) as well as the
    // planner's own refusals.
    unreadable();
  }
  if (plans.empty()) unreadable();
  std::vector<BODY*> bodies;
  bodies.reserve(plans.size());
  for (const PLAN_BODY& plan : plans) bodies.push_back(build_body(plan));
  return bodies;
}

struct STEP_BODY_PLAN::IMPL {
  PLAN_BODY plan;
  bool empty = true;
};

STEP_BODY_PLAN::STEP_BODY_PLAN(const TopoDS_Shape& shape) : impl_(std::make_unique<IMPL>()) {
  std::vector<TopoDS_Shape> shells;
  bool face_part = false;
  for (SHAPE_GROUP& g : group_shapes(shape)) {
    for (TopoDS_Shape& s : g.shells) shells.push_back(std::move(s));
    face_part = face_part || g.face_part;
  }
  if (shells.empty()) return;
  impl_->plan = plan_body(shells, face_part);
  impl_->empty = false;
}

STEP_BODY_PLAN::~STEP_BODY_PLAN() = default;
STEP_BODY_PLAN::STEP_BODY_PLAN(STEP_BODY_PLAN&&) noexcept = default;
STEP_BODY_PLAN& STEP_BODY_PLAN::operator=(STEP_BODY_PLAN&&) noexcept = default;

bool STEP_BODY_PLAN::empty() const { return impl_->empty; }

BODY* STEP_BODY_PLAN::build() const { return impl_->empty ? nullptr : build_body(impl_->plan); }
