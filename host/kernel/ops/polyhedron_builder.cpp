#include "host/kernel/ops/polyhedron_builder.h"

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

UNITVEC3 ring_normal(const std::vector<POSITION3>& ring) {
  VECTOR3 n;
  const std::size_t count = ring.size();
  for (std::size_t i = 0; i < count; ++i) {
    const POSITION3& a = ring[i];
    const POSITION3& b = ring[(i + 1) % count];
    n += VECTOR3((a.y() - b.y()) * (a.z() + b.z()), (a.z() - b.z()) * (a.x() + b.x()),
                 (a.x() - b.x()) * (a.y() + b.y()));
  }
  return n.uvec3();
}

POLYHEDRON_BUILDER::POLYHEDRON_BUILDER() = default;

POLYHEDRON_BUILDER::~POLYHEDRON_BUILDER() {
  // Whatever was built and not handed out goes again: unused edges and
  // vertices first (faces' edges go with the faces).
  drop_unused();
  if (shell_ != nullptr) shell_->lose();
}

void POLYHEDRON_BUILDER::drop_unused() {
  for (auto& [v, id] : vertices_) {
    if (!ENTITY::is_live(v, id)) continue;
    for (EDGE* e = v->first_edge(); e != nullptr;) {
      EDGE* next = e->next_edge_at(v);
      if (e->coedge() == nullptr) e->lose();
      e = next;
    }
  }
  for (auto& [v, id] : vertices_) {
    if (ENTITY::is_live(v, id) && v->first_edge() == nullptr) v->lose();
    if (!ENTITY::is_live(v, id)) v = nullptr;
  }
}

void POLYHEDRON_BUILDER::reserve(std::size_t vertices, std::size_t faces) {
  points_.reserve(vertices);
  vertices_.reserve(vertices);
  (void)faces;
}

int POLYHEDRON_BUILDER::add_vertex(const POSITION3& p) {
  points_.push_back(p);
  vertices_.emplace_back(nullptr, 0);
  return static_cast<int>(points_.size() - 1);
}

VERTEX* POLYHEDRON_BUILDER::vertex(int i) {
  auto& [v, id] = vertices_[static_cast<std::size_t>(i)];
  if (v == nullptr) {
    v = new VERTEX(new point3(points_[static_cast<std::size_t>(i)]));
    id = v->sysid();
  }
  return v;
}

EDGE* POLYHEDRON_BUILDER::edge(int a, int b, bool& sense, MOD_INFO*& status) {
  const int lo = a < b ? a : b;
  const int hi = a < b ? b : a;
  sense = (a != lo);
  VERTEX* vlo = vertices_[static_cast<std::size_t>(lo)].first;
  VERTEX* vhi = vertices_[static_cast<std::size_t>(hi)].first;
  if (vlo != nullptr && vhi != nullptr) {
    for (EDGE* e = vlo->first_edge(); e != nullptr; e = e->next_edge_at(vlo)) {
      if (e->start() == vlo && e->end() == vhi) return e;
    }
  }
  const POSITION3& p = points_[static_cast<std::size_t>(lo)];
  const POSITION3& q = points_[static_cast<std::size_t>(hi)];
  const UNITVEC3 dir = (q - p).uvec3();
  if (lo == hi || host_is_nan(dir.x())) {
    status = k2_error(K2_ERROR::COINCIDENT_VERTICES);
    return nullptr;
  }
  EDGE* e = new EDGE(vertex(lo), vertex(hi), new straight(p, dir), status);
  if (status != nullptr) {
    e->lose();
    return nullptr;
  }
  return e;
}

FACE* POLYHEDRON_BUILDER::add_face(const std::vector<int>& ring, surface* sf, bool sense,
                                   MOD_INFO*& status) {
  status = nullptr;
  const auto n = static_cast<int>(points_.size());
  std::vector<POSITION3>& pts = scratch_points_;
  pts.clear();
  for (int i : ring) {
    if (i < 0 || i >= n) {
      status = k2_error(K2_ERROR::BAD_TOPOLOGY);
      return nullptr;
    }
    pts.push_back(points_[static_cast<std::size_t>(i)]);
  }
  if (ring.size() < 2) {
    status = k2_error(K2_ERROR::EMPTY_LOOP);
    return nullptr;
  }
  // Edges first, so that a bad ring leaves nothing behind but unused edges.
  std::vector<std::pair<EDGE*, bool>>& uses = scratch_uses_;
  uses.clear();
  for (std::size_t i = 0; i < ring.size(); ++i) {
    bool s = false;
    EDGE* e = edge(ring[i], ring[(i + 1) % ring.size()], s, status);
    if (e == nullptr) {
      failed_ = true;
      return nullptr;
    }
    uses.emplace_back(e, s);
  }
  surface* face_surface = sf;
  if (face_surface == nullptr) {
    const UNITVEC3 nor = ring_normal(pts);
    if (host_is_nan(nor.x())) {
      failed_ = true;
      status = k2_error(K2_ERROR::BAD_FACE);
      return nullptr;
    }
    face_surface = new plane(pts.front(), nor);
  }
  auto* face = new FACE(face_surface, sense);
  COEDGE* first = nullptr;
  COEDGE* last = nullptr;
  for (auto& [e, s] : uses) {
    last = new COEDGE(e, s, last, nullptr);
    if (first == nullptr) first = last;
  }
  last->set_next(first);
  new LOOP(first, face, LOOP_UNKNOWN);
  if (shell_ == nullptr) {
    shell_ = new SHELL();
    shell_->set_shell_type(2);
  }
  shell_->add_face(face);
  return face;
}

BODY* POLYHEDRON_BUILDER::finish(double resabs) {
  SHELL* shell = shell_;
  if (shell == nullptr) {
    shell = new SHELL();
    shell->set_shell_type(2);
  }
  shell_ = nullptr;
  if (failed_) drop_unused();
  failed_ = false;
  points_.clear();
  vertices_.clear();
  return new BODY(shell, resabs);
}
