// Distance to a model's face. The closest point of a bounded face is either
// an interior extremum of the distance to its surface or a point of its
// boundary, so the distance is the smaller of
//   - the extrema of the distance to the surface over the face's parameter
//     box (Extrema_ExtPS: analytic for elementary surfaces, a sampled start
//     and Newton's method for the others) that lie inside the face, and
//   - the distance to the boundary, taken on polylines of the edges (within
//     the boundary deflection of them) held in a box tree of segments, so
//     that a point near the face's middle visits no segment at all.
// Inside is decided in the parameter plane by the even-odd rule against the
// edges' curves on the face, sampled at the same parameters as the 3D
// polylines (OCCT's own 2D classifier fell back to its full face classifier
// for most points on the planes of real parts, and made the whole measure
// twenty times slower). The rule needs no orientation of the wires; a seam
// comes twice and closes the periodic strip; a degenerate edge (a pole)
// closes its loop in the parameter plane. Parameters of periodic surfaces
// are brought into the period that starts at the face's lower bound. Bands along v hold the
// segments that cross them, so a test visits about the square root of the segments. Three rays a
// millionth of the face's extent apart vote, so that the gaps of rounding where the curves meet at
// a vertex can't flip the answer.

#include "host/exchange/model_face_distance.h"

#include <BRepAdaptor_Curve.hxx>
#include <BRepAdaptor_Curve2d.hxx>
#include <BRepAdaptor_Surface.hxx>
#include <BRepGProp.hxx>
#include <BRepTools.hxx>
#include <BRep_Tool.hxx>
#include <Extrema_ExtPS.hxx>
#include <Extrema_POnSurf.hxx>
#include <GCPnts_TangentialDeflection.hxx>
#include <GProp_GProps.hxx>
#include <Precision.hxx>
#include <Standard_Failure.hxx>
#include <TopExp.hxx>
#include <TopExp_Explorer.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Edge.hxx>
#include <TopoDS_Face.hxx>
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "host/exchange/occ_face_occt.h"
#include "host/kernel/kernel_errors.h"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
// Angular step of the boundary polylines: the chord rule alone would cross a
// small circle in a few segments whose angle hides the arc.
constexpr double kBoundaryAngularDeflection = 0.2;
// Segments per leaf of the boundary's box tree.
constexpr std::size_t kLeafSegments = 8;

struct SEGMENT {
  std::array<double, 3> a, b;
};

double square_distance_to_segment(const std::array<double, 3>& p, const SEGMENT& s) {
  double ab[3], ap[3];
  double ab2 = 0.0, t = 0.0;
  for (int k = 0; k < 3; ++k) {
    ab[k] = s.b[k] - s.a[k];
    ap[k] = p[k] - s.a[k];
    ab2 += ab[k] * ab[k];
    t += ab[k] * ap[k];
  }
  t = ab2 > 0.0 ? std::clamp(t / ab2, 0.0, 1.0) : 0.0;
  double d2 = 0.0;
  for (int k = 0; k < 3; ++k) {
    const double d = ap[k] - t * ab[k];
    d2 += d * d;
  }
  return d2;
}

// A box tree over segments: each node holds the box of a range of the
// (reordered) segments; inner nodes split their range at the median along
// the box's longest side. Built and searched with explicit stacks.
class SEGMENT_TREE {
 public:
  SEGMENT_TREE() = default;
  explicit SEGMENT_TREE(std::vector<SEGMENT> segments) : segments_(std::move(segments)) {
    if (segments_.empty()) return;
    nodes_.push_back(NODE{{}, {}, 0, segments_.size(), 0, 0});
    std::vector<std::size_t> todo{0};
    while (!todo.empty()) {
      const std::size_t i = todo.back();
      todo.pop_back();
      NODE n = nodes_[i];
      fit_box(n);
      if (n.end - n.begin > kLeafSegments) {
        int axis = 0;
        for (int k = 1; k < 3; ++k) {
          if (n.hi[k] - n.lo[k] > n.hi[axis] - n.lo[axis]) axis = k;
        }
        const std::size_t mid = n.begin + (n.end - n.begin) / 2;
        std::nth_element(segments_.begin() + static_cast<std::ptrdiff_t>(n.begin),
                         segments_.begin() + static_cast<std::ptrdiff_t>(mid),
                         segments_.begin() + static_cast<std::ptrdiff_t>(n.end),
                         [axis](const SEGMENT& x, const SEGMENT& y) {
                           return x.a[axis] + x.b[axis] < y.a[axis] + y.b[axis];
                         });
        n.left = nodes_.size();
        nodes_.push_back(NODE{{}, {}, n.begin, mid, 0, 0});
        n.right = nodes_.size();
        nodes_.push_back(NODE{{}, {}, mid, n.end, 0, 0});
        todo.push_back(n.left);
        todo.push_back(n.right);
      }
      nodes_[i] = n;
    }
  }

  // The smallest distance from p to a segment when it is at most `radius`,
  // else +infinity. O(log n) for a point far from most segments.
  double nearest(const std::array<double, 3>& p, double radius) const {
    if (nodes_.empty() || !(radius >= 0.0)) return kInfinity;
    double best2 = radius < kInfinity ? radius * radius : kInfinity;
    bool found = false;
    std::vector<std::size_t>& todo = stack_;
    todo.assign(1, 0);
    while (!todo.empty()) {
      const NODE& n = nodes_[todo.back()];
      todo.pop_back();
      if (square_distance_to_box(p, n) > best2) continue;
      if (n.left == 0) {
        for (std::size_t s = n.begin; s < n.end; ++s) {
          const double d2 = square_distance_to_segment(p, segments_[s]);
          if (d2 <= best2) {
            best2 = d2;
            found = true;
          }
        }
      } else {
        todo.push_back(n.left);
        todo.push_back(n.right);
      }
    }
    return found ? std::sqrt(best2) : kInfinity;
  }

 private:
  struct NODE {
    std::array<double, 3> lo, hi;
    std::size_t begin, end;   // the node's range of segments_
    std::size_t left, right;  // children; 0 for a leaf (the root is no child)
  };

  void fit_box(NODE& n) const {
    n.lo.fill(kInfinity);
    n.hi.fill(-kInfinity);
    for (std::size_t s = n.begin; s < n.end; ++s) {
      for (int k = 0; k < 3; ++k) {
        n.lo[k] = std::min({n.lo[k], segments_[s].a[k], segments_[s].b[k]});
        n.hi[k] = std::max({n.hi[k], segments_[s].a[k], segments_[s].b[k]});
      }
    }
  }

  static double square_distance_to_box(const std::array<double, 3>& p, const NODE& n) {
    double d2 = 0.0;
    for (int k = 0; k < 3; ++k) {
      const double d = std::max({n.lo[k] - p[k], 0.0, p[k] - n.hi[k]});
      d2 += d * d;
    }
    return d2;
  }

  std::vector<SEGMENT> segments_;
  std::vector<NODE> nodes_;
  mutable std::vector<std::size_t> stack_;  // scratch of `nearest`
};

std::array<double, 3> coords(const gp_Pnt& p) {
  return {p.X(), p.Y(), p.Z()};
}

// A segment of the boundary in the face's parameter plane.
struct UV_SEGMENT {
  double u0, v0, u1, v1;
};

// The face's region in its parameter plane, for the even-odd rule.
class UV_REGION {
 public:
  UV_REGION() = default;
  UV_REGION(std::vector<UV_SEGMENT> segments, double u_start, double u_period, double v_start,
            double v_period)
      : segments_(std::move(segments)),
        u_start_(u_start),
        u_period_(u_period),
        v_start_(v_start),
        v_period_(v_period) {
    if (segments_.empty()) return;
    lo_ = kInfinity;
    double hi = -kInfinity;
    for (const UV_SEGMENT& s : segments_) {
      lo_ = std::min({lo_, s.v0, s.v1});
      hi = std::max({hi, s.v0, s.v1});
    }
    const std::size_t n =
        static_cast<std::size_t>(std::sqrt(static_cast<double>(segments_.size()))) + 1;
    width_ = (hi - lo_) / static_cast<double>(n);
    if (!(width_ > 0.0)) width_ = 1.0;
    bands_.assign(n, {});
    for (std::size_t i = 0; i < segments_.size(); ++i) {
      const UV_SEGMENT& s = segments_[i];
      const std::size_t b0 = band(std::min(s.v0, s.v1)), b1 = band(std::max(s.v0, s.v1));
      for (std::size_t b = b0; b <= b1; ++b) bands_[b].push_back(i);
    }
  }

  // True for a point inside the region. The edges' curves on the face meet
  // at their vertices only to within rounding, so a ray exactly along a
  // vertex's v (a circle's extreme, where two of its halves meet) may slip
  // through the gap and count one crossing too few. Three rays a small step
  // apart vote: a gap can mislead one of them, and a point within the step
  // of the boundary is answered by the distance to the boundary anyway.
  bool inside(double u, double v) const {
    if (segments_.empty()) return true;  // a closed surface without edges
    if (u_period_ > 0.0) u -= u_period_ * std::floor((u - u_start_) / u_period_);
    if (v_period_ > 0.0) v -= v_period_ * std::floor((v - v_start_) / v_period_);
    const double step = kRayStep * width_ * static_cast<double>(bands_.size());
    const int votes =
        crossings_odd(u, v) + crossings_odd(u, v + step) + crossings_odd(u, v - 0.7 * step);
    return votes >= 2;
  }

 private:
  // The step between the voting rays, relative to the region's extent in v.
  static constexpr double kRayStep = 1e-6;

  // 1 when a ray from (u, v) towards growing u crosses the boundary an odd
  // number of times, else 0.
  int crossings_odd(double u, double v) const {
    if (!(v >= lo_ && v <= lo_ + width_ * static_cast<double>(bands_.size()))) return 0;
    bool in = false;
    for (std::size_t i : bands_[band(v)]) {
      const UV_SEGMENT& s = segments_[i];
      if ((s.v0 > v) == (s.v1 > v)) continue;
      const double ux = s.u0 + (v - s.v0) * (s.u1 - s.u0) / (s.v1 - s.v0);
      if (ux > u) in = !in;
    }
    return in ? 1 : 0;
  }

  std::size_t band(double v) const {
    const double b = std::floor((v - lo_) / width_);
    return static_cast<std::size_t>(std::clamp(b, 0.0, static_cast<double>(bands_.size() - 1)));
  }

  std::vector<UV_SEGMENT> segments_;
  std::vector<std::vector<std::size_t>> bands_;
  double lo_ = 0.0, width_ = 1.0;
  double u_start_ = 0.0, u_period_ = 0.0, v_start_ = 0.0, v_period_ = 0.0;
};

// Parameters along an edge at which its polylines are taken: those of the
// 3D curve's tangential deflection, or evenly spaced on an edge without one
// (a degenerate edge, which only the parameter plane sees).
std::vector<double> edge_parameters(const TopoDS_Edge& edge, const TopoDS_Face& face,
                                    double deflection) {
  std::vector<double> out;
  if (BRep_Tool::Degenerated(edge)) {
    const BRepAdaptor_Curve2d c(edge, face);
    const double t0 = c.FirstParameter(), t1 = c.LastParameter();
    for (int k = 0; k <= 8; ++k) out.push_back(t0 + (t1 - t0) * k / 8.0);
    return out;
  }
  BRepAdaptor_Curve curve;
  if (BRep_Tool::IsGeometric(edge)) {
    curve.Initialize(edge);
  } else {
    curve.Initialize(edge, face);
  }
  const GCPnts_TangentialDeflection points(curve, kBoundaryAngularDeflection, deflection, 2);
  for (int k = 1; k <= points.NbPoints(); ++k) out.push_back(points.Parameter(k));
  return out;
}

// The 3D polylines of the face's edges (each edge once, degenerate ones
// left out: a pole is a point of other edges) and the region of its edges'
// curves on the face (each occurrence, a seam's two included).
void face_boundary(const TopoDS_Face& face, const BRepAdaptor_Surface& surface, double deflection,
                   std::vector<SEGMENT>& segments, UV_REGION& region) {
  TopTools_IndexedMapOfShape seen;
  std::vector<UV_SEGMENT> uv;
  for (TopExp_Explorer x(face, TopAbs_EDGE); x.More(); x.Next()) {
    const TopoDS_Edge& edge = TopoDS::Edge(x.Current());
    const std::vector<double> ts = edge_parameters(edge, face, deflection);
    const BRepAdaptor_Curve2d c2(edge, face);
    for (std::size_t k = 1; k < ts.size(); ++k) {
      const gp_Pnt2d a = c2.Value(ts[k - 1]), b = c2.Value(ts[k]);
      uv.push_back(UV_SEGMENT{a.X(), a.Y(), b.X(), b.Y()});
    }
    if (BRep_Tool::Degenerated(edge) || seen.Contains(edge.Oriented(TopAbs_FORWARD))) continue;
    seen.Add(edge.Oriented(TopAbs_FORWARD));
    BRepAdaptor_Curve curve;
    if (BRep_Tool::IsGeometric(edge)) {
      curve.Initialize(edge);
    } else {
      curve.Initialize(edge, face);
    }
    for (std::size_t k = 1; k < ts.size(); ++k) {
      segments.push_back(SEGMENT{coords(curve.Value(ts[k - 1])), coords(curve.Value(ts[k]))});
    }
  }
  double u0, u1, v0, v1;
  BRepTools::UVBounds(face, u0, u1, v0, v1);
  region = UV_REGION(std::move(uv), u0, surface.IsUPeriodic() ? surface.UPeriod() : 0.0, v0,
                     surface.IsVPeriodic() ? surface.VPeriod() : 0.0);
}

}  // namespace

struct MODEL_FACE_DISTANCE::IMPL {
  IMPL(const TopoDS_Face& f, double deflection) : face(f), surface(f) {
    std::vector<SEGMENT> segments;
    face_boundary(face, surface, deflection, segments, region);
    boundary = SEGMENT_TREE(std::move(segments));
    double u0, u1, v0, v1;
    BRepTools::UVBounds(face, u0, u1, v0, v1);
    // The extrema keep a reference to the surface: both live here, in place.
    extrema.Initialize(surface, u0, u1, v0, v1, Precision::PConfusion(), Precision::PConfusion());
  }

  TopoDS_Face face;
  BRepAdaptor_Surface surface;
  UV_REGION region;
  Extrema_ExtPS extrema;
  SEGMENT_TREE boundary;
};

MODEL_FACE_DISTANCE::MODEL_FACE_DISTANCE(const FACE* face, double boundary_deflection) {
  const TopoDS_Face* source = face != nullptr ? occ_source_face(face) : nullptr;
  if (source == nullptr || !(boundary_deflection > 0.0)) k2_throw(K2_ERROR::BAD_FACE);
  try {
    const TopoDS_Face forward = TopoDS::Face(source->Oriented(TopAbs_FORWARD));
    impl_ = std::make_unique<IMPL>(forward, boundary_deflection);
    GProp_GProps props;
    BRepGProp::SurfaceProperties(forward, props);
    area_ = std::abs(props.Mass());
  } catch (const Standard_Failure&) {
    k2_throw(K2_ERROR::BAD_FACE);
  }
}

MODEL_FACE_DISTANCE::~MODEL_FACE_DISTANCE() = default;
MODEL_FACE_DISTANCE::MODEL_FACE_DISTANCE(MODEL_FACE_DISTANCE&&) noexcept = default;
MODEL_FACE_DISTANCE& MODEL_FACE_DISTANCE::operator=(MODEL_FACE_DISTANCE&&) noexcept = default;

double MODEL_FACE_DISTANCE::distance(const POSITION3& p, double limit) const {
  if (!std::isfinite(p.x()) || !std::isfinite(p.y()) || !std::isfinite(p.z())) return kInfinity;
  if (!(limit >= 0.0)) return kInfinity;
  IMPL& m = *impl_;
  double best = kInfinity;
  try {
    m.extrema.Perform(gp_Pnt(p.x(), p.y(), p.z()));
    if (m.extrema.IsDone()) {
      for (int i = 1; i <= m.extrema.NbExt(); ++i) {
        const double d = std::sqrt(m.extrema.SquareDistance(i));
        if (d >= best) continue;
        double u, v;
        m.extrema.Point(i).Parameter(u, v);
        if (m.region.inside(u, v)) best = d;
      }
    }
  } catch (const Standard_Failure&) {
    // No interior point found: the boundary answers alone.
  }
  const double radius = std::min(best, limit);
  const double edge = m.boundary.nearest({p.x(), p.y(), p.z()}, radius);
  best = std::min(best, edge);
  return best <= limit ? best : kInfinity;
}
