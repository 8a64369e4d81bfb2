// The mesh: welding of corner positions through the weld grid and the list
// of polygons.

#include "lumesh/mesh/mesh.h"

#include <memory>

#include "host/geometry/constants.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"

namespace {

void use_ordinary_pages() {
  static const bool done = [] {
    MESH_VERTEX::pool().set_huge_pages(false);
    MESH_POLYGON::pool().set_huge_pages(false);
    MESH_POLYGON_COEDGE::pool().set_huge_pages(false);
    return true;
  }();
  (void)done;
}

}  // namespace

MESH::MESH(const resolution& res)
    : mesh_resolution_(res),
      import_resolution_(res),
      recognition_resolution_(res),
      vertices_(res.resabs()) {
  use_ordinary_pages();
}

MESH::~MESH() {
  // Polygons first: their coedges leave the vertices' sets while the
  // vertices still live.
  // A polygon that a region claimed belongs to the region, even while it is
  // still listed here.
  for (MESH_POLYGON* p : polygons_) {
    if (!p->member_of_region()) delete p;
  }
  polygons_.clear();
  for (MESH_REGION* r : regions_) delete r;
  regions_.clear();
  // The vertices go with the grid.
}

MESH_VERTEX& MESH::get_mesh_vertex(const POSITION3& position) {
  // Every node of the grid was made here.
  if (STL_OCTREE_NODE* n = vertices_.find_recent(position)) return *static_cast<MESH_VERTEX*>(n);
  const WELD_GRID::PROBE probe = vertices_.probe(position);
  if (STL_OCTREE_NODE* n = vertices_.find(position, probe)) return *static_cast<MESH_VERTEX*>(n);
  auto v = std::make_unique<MESH_VERTEX>(position);
  vertices_.insert(v.get(), probe);
  return *v.release();
}

MESH_POLYGON& MESH::add_triangle(const POSITION3& p0, const POSITION3& p1, const POSITION3& p2,
                                 const UNITVEC3& normal) {
  MESH_VERTEX& v0 = get_mesh_vertex(p0);
  MESH_VERTEX& v1 = get_mesh_vertex(p1);
  MESH_VERTEX& v2 = get_mesh_vertex(p2);
  return push_polygon(std::make_unique<MESH_POLYGON>(v0, v1, v2, normal));
}

MESH_POLYGON& MESH::add_triangle(MESH_VERTEX& v0, MESH_VERTEX& v1, MESH_VERTEX& v2) {
  return push_polygon(std::make_unique<MESH_POLYGON>(v0, v1, v2, computed_normal()));
}

MESH_POLYGON& MESH::push_polygon(std::unique_ptr<MESH_POLYGON> polygon) {
  polygons_.push_front(polygon.get());  // may throw: the polygon is still owned here
  ++polygon_count_;
  return *polygon.release();
}

void MESH::add_collapsed_facets(std::uint64_t n) {
  if (n == 0) return;
  get_mesh_vertex(POSITION3(0.0, 0.0, 0.0));
  polygon_count_ += n;
  collapsed_facets_ += n;
}

void MESH::release_claimed_polygons() {
  polygons_.remove_if([](const MESH_POLYGON* p) { return p->member_of_region(); });
}

void MESH::add_region(std::unique_ptr<MESH_REGION> region) {
  regions_.push_front(region.get());  // may throw: the region is still owned here
  region.release();
}

const UNITVEC3& MESH::computed_normal() {
  static const UNITVEC3 nan_normal(host_nan(), host_nan(), host_nan());
  return nan_normal;
}
