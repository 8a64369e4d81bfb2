// Mesh polygons: construction with the computed normal, classification of
// triangles (Heron's rule for the height) and ring editing.

#include "lumesh/mesh/mesh_polygon.h"

#include <cmath>

#include "host/base/assertion.h"
#include "host/geometry/constants.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"
#include "lumesh/mesh/mesh_region.h"
#include "lumesh/mesh/mesh_vertex.h"

MESH_POLYGON::MESH_POLYGON(MESH_VERTEX& v0, MESH_VERTEX& v1, MESH_VERTEX& v2,
                           const UNITVEC3& normal)
    : normal_(normal) {
  auto* c0 = new MESH_POLYGON_COEDGE(v0, *this);
  start_ = c0;
  auto* c1 = new MESH_POLYGON_COEDGE(v1, *this, c0, c0->get_next());
  auto* c2 = new MESH_POLYGON_COEDGE(v2, *this, c1, c1->get_next());
  if (std::isnan(normal.x()) || std::isnan(normal.y()) || std::isnan(normal.z())) {
    const VECTOR3 d0 = c0->direction();
    const VECTOR3 d1 = c1->direction();
    const VECTOR3 d2 = c2->direction();
    const VECTOR3 corners[3] = {cross(d0, -d2), cross(d1, -d0), cross(d2, -d1)};
    const VECTOR3* best = nullptr;
    double best_len2 = 0.0;
    for (const VECTOR3& p : corners) {
      if (p.len2() > best_len2) {
        best_len2 = p.len2();
        best = &p;
      }
    }
    if (best != nullptr) normal_ = best->uvec3();
  }
}

MESH_POLYGON::~MESH_POLYGON() {
  // Each coedge's destructor moves start_ on to the next one.
  while (start_ != nullptr) delete start_;
}

void MESH_POLYGON::set_polygon_type(MESH_POLYGON_TYPE type) {
  HOST_ASSERT(type_ != MERGED, "_type != MERGED");
  if (type_ == MERGED) return;
  if (type == MERGED) {
    while (start_ != nullptr) delete start_;
  }
  type_ = type;
}

surface* MESH_POLYGON::get_surface() const {
  return region_ != nullptr ? region_->get_surface() : nullptr;
}

void MESH_POLYGON::set_region(MESH_REGION* region) {
  if (region_ != nullptr && region_ != region) region_->release_polygon(this);
  region_ = region;
}

MESH_POLYGON_COEDGE* MESH_POLYGON::insert_coedge_after(MESH_POLYGON_COEDGE* coedge,
                                                       MESH_VERTEX& v) {
  HOST_ASSERT(coedge->get_owner_polygon() == this, "coedge->get_owner_polygon() == *this");
  return coedge->insert_after(v);
}

MESH_POLYGON_COEDGE* MESH_POLYGON::remove_coedge(MESH_POLYGON_COEDGE* coedge) {
  MESH_POLYGON_COEDGE* previous = coedge->get_previous();
  if (previous == coedge) previous = nullptr;
  if (coedge->get_owner_polygon() != nullptr) delete coedge;
  return previous;
}

MESH_POLYGON_TYPE MESH_POLYGON::classify(const resolution& res) {
  if (type_ != UNCLASSIFIED) return type_;

  MESH_POLYGON_COEDGE* c[3];
  c[0] = start_;
  c[1] = c[0] != nullptr ? c[0]->get_next() : nullptr;
  c[2] = c[1] != nullptr ? c[1]->get_next() : nullptr;
  if (c[2] == nullptr || c[2]->get_next() != c[0]) {
    type_ = REGULAR;
    return type_;
  }

  const double L[3] = {c[0]->length2(), c[1]->length2(), c[2]->length2()};
  int longest = 0;
  int shortest = 0;
  double longest_len2 = 0.0;
  double shortest_len2 = 2147483647.0;
  for (int i = 0; i < 3; ++i) {
    if (L[i] > longest_len2) {
      longest_len2 = L[i];
      longest = i;
    }
    if (L[i] < shortest_len2) {
      shortest_len2 = L[i];
      shortest = i;
    }
  }

  const double lim = 4.0 * res.resabs_sqr();  // (2 resabs)²
  if (lim >= longest_len2) {
    type_ = TINY;
    start_ = c[longest];
  } else if (lim >= shortest_len2) {
    type_ = SHORT_EDGE;
    start_ = c[shortest];
  } else {
    start_ = c[longest];
    // 16 · area² by Heron's rule over 4 · L0: the squared height over the
    // edge that was the start coedge when classification began.
    const double h2 = (2.0 * (L[0] * L[1] + L[1] * L[2] + L[2] * L[0]) -
                       (L[0] * L[0] + L[1] * L[1] + L[2] * L[2])) /
                      (4.0 * L[0]);
    type_ = res.resabs_sqr() > h2 ? SLIVER : REGULAR;
  }
  return type_;
}

POSITION3 MESH_POLYGON::get_center_of_gravity() const {
  VECTOR3 sum;
  int count = 0;
  const MESH_POLYGON_COEDGE* c = start_;
  if (c != nullptr) {
    do {
      sum += VECTOR3(c->get_start_vertex()->location());
      ++count;
      c = c->get_next();
    } while (c != nullptr && c != start_);
  }
  return POSITION3(sum / static_cast<double>(count));
}

double MESH_POLYGON::dist(const MESH_VERTEX& v) const {
  if (start_ == nullptr) return host_nan();
  return std::fabs(dot(v.location() - start_->get_start_vertex()->location(), normal_));
}

bool MESH_POLYGON::is_degenerate() const {
  if (start_ == nullptr) return true;
  const MESH_POLYGON_COEDGE* n = start_->get_next();
  return n == start_ || (n != nullptr && n->get_next() == start_);
}
