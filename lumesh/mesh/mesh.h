#pragma once
// MESH: the in-memory form of a facet file on its way to a solid body. It owns
// its vertices, in the weld grid that finds them, and the polygons not yet
// claimed by a region. Positions are welded on entry: a corner within the
// import resolution of a known vertex takes that vertex. Plain
// single-threaded data; a mesh is never copied.

#include <cstddef>
#include <cstdint>
#include <forward_list>
#include <list>
#include <memory>
#include <new>

#include "host/base/pool.h"
#include "host/geometry/position3.h"
#include "host/geometry/resolution.h"
#include "host/geometry/unitvec3.h"
#include "lumesh/mesh/mesh_polygon.h"
#include "lumesh/mesh/mesh_region.h"
#include "lumesh/mesh/mesh_vertex.h"
#include "lumesh/mesh/stl_octree_node.h"
#include "lumesh/mesh/weld_grid.h"

// Allocator of the polygon list: one node per polygon, so the nodes come from
// a pool like the polygons themselves.
template <class T>
struct MESH_LIST_ALLOCATOR {
  using value_type = T;
  MESH_LIST_ALLOCATOR() = default;
  template <class U>
  MESH_LIST_ALLOCATOR(const MESH_LIST_ALLOCATOR<U>&) {}

  T* allocate(std::size_t n) {
#ifndef LUMESH_NO_POOLS
    if (n == 1) return static_cast<T*>(pool().allocate());
#endif
    return static_cast<T*>(::operator new(n * sizeof(T), std::align_val_t{alignof(T)}));
  }
  void deallocate(T* p, [[maybe_unused]] std::size_t n) noexcept {
#ifndef LUMESH_NO_POOLS
    if (n == 1) {
      pool().release(p);
      return;
    }
#endif
    ::operator delete(p, std::align_val_t{alignof(T)});
  }
  static FIXED_POOL& pool() {
    // Never destroyed: lists may still free nodes during static destruction.
    // In ordinary pages, as the other parts of a mesh (see MESH::MESH).
    static FIXED_POOL* p = [] {
      auto* q = new FIXED_POOL(sizeof(T), alignof(T) < 8 ? 8 : alignof(T));
      q->set_huge_pages(false);
      return q;
    }();
    return *p;
  }
  template <class U>
  friend bool operator==(const MESH_LIST_ALLOCATOR&, const MESH_LIST_ALLOCATOR<U>&) {
    return true;
  }
};

using MESH_POLYGON_LIST = std::forward_list<MESH_POLYGON*, MESH_LIST_ALLOCATOR<MESH_POLYGON*>>;

class PROGRESS;

class MESH {
 public:
  // What recognize_surfaces looks for; a bit set.
  enum SURFACE_RECONSTRUCTION {
    NONE = 0,       // nothing: every polygon stays as it is
    PLANES = 1,     // flat regions
    CYLINDERS = 2,  // cylinder regions on top of the flat ones
  };

  // Both resolutions take a copy of res. The pools of vertices, polygons
  // and coedges take their memory in ordinary pages from then on (see
  // FIXED_POOL::set_huge_pages): a mesh is built once, walked a few times and
  // dropped, so the first touch of its memory is most of what its memory
  // costs, and on the virtual machines this runs on, that of huge pages costs
  // several times as much.
  explicit MESH(const resolution& res);
  // Deletes the polygons still in the list that no region claimed, then the
  // regions (with their polygons), then the vertices.
  ~MESH();

  MESH(const MESH&) = delete;
  MESH& operator=(const MESH&) = delete;

  // The vertex nearest to `position` within the import resolution, made and
  // filed if there is none. Expected O(1), in any order of the positions. An
  // emptied vertex (see MESH_VERTEX::transfer_coedges_to) still answers.
  MESH_VERTEX& get_mesh_vertex(const POSITION3& position);

  // Welds the three positions and adds a polygon over them with the given
  // normal (a NaN component makes the polygon compute its own). The polygon
  // goes to the front of the list and the polygon count grows by one.
  MESH_POLYGON& add_triangle(const POSITION3& p0, const POSITION3& p1, const POSITION3& p2,
                             const UNITVEC3& normal);
  // The same on existing vertices of this mesh, with the normal computed by
  // the right-hand rule of the vertex order.
  MESH_POLYGON& add_triangle(MESH_VERTEX& v0, MESH_VERTEX& v1, MESH_VERTEX& v2);

  // The repair of degenerate triangles, run once on a welded mesh before
  // anything else sees it. The mesh resolution becomes res. Every triangle
  // is classified once, newest first: a REGULAR one is counted, a SLIVER,
  // SHORT_EDGE or TINY one is dropped and its corners are joined so that its
  // neighbours stay connected (a sliver whose apex projects outside its long
  // edge is only dropped, leaving a gap). Each dropped triangle adds one to
  // both the degenerate and the repaired count; afterwards the polygon count
  // is the number of REGULAR polygons. No vertex moves: repairs re-attach
  // coedges to vertices looked up by welding. Linear in the triangles.
  void optimize(const resolution& res);

  // Groups the polygons into regions at resolution res: flat regions first,
  // then, with CYLINDERS, cylinder regions made of flat ones; each region's
  // polygons are merged into one, and the borders between regions reduced
  // to straight edges where that keeps both sides convex. Afterwards the
  // polygon list is empty and every surviving polygon lives in a region.
  // Options of 0 or below do nothing; any value above 1 looks for cylinders
  // too. The progress argument is not used.
  void recognize_surfaces(SURFACE_RECONSTRUCTION options, const resolution& res,
                          PROGRESS* progress = nullptr);

  // A resolution for recognition when none is given: a third of the shortest
  // polygon edge longer than twice the import resolution, at most 0.5; 0.5
  // when there is no such edge.
  double estimate_resolution() const;

  // Counts n facets whose corners all lie at the origin (the zeros that a
  // truncated binary file owes) without building them: each would weld its
  // corners into the vertex at the origin and be dropped by optimize as a
  // tiny triangle that changes nothing else. They count as added now and as
  // degenerate and repaired in optimize, just as built ones would. O(1).
  void add_collapsed_facets(std::uint64_t n);

  // Counts a facet that can't be built (a corner at NaN or infinity): added
  // now, degenerate and repaired in optimize, with no vertex made. O(1).
  void add_unusable_facet() {
    ++polygon_count_;
    ++collapsed_facets_;
  }

  // The normal that asks a polygon to compute its own: all components NaN.
  static const UNITVEC3& computed_normal();

  // While building: the triangles added.
  std::uint64_t get_polygon_count() const { return polygon_count_; }
  std::uint64_t get_degenerate_polygon_count() const { return degenerate_polygon_count_; }
  std::uint64_t get_repaired_polygon_count() const { return repaired_polygon_count_; }
  const resolution& get_mesh_resolution() const { return mesh_resolution_; }
  const resolution& get_import_resolution() const { return import_resolution_; }

  // Every vertex made, emptied ones included.
  std::size_t get_vertex_count() const { return vertices_.size(); }
  // Calls fn with each vertex (as its octree node; every node is a
  // MESH_VERTEX) until it answers SCAN_STOP; see WELD_GRID::scan. The
  // vertices must not be added to during the scan.
  MOD_INFO* scan_vertices(STL_OCTREE_NODE::SCAN_FUNCTION fn, void* data) const {
    return vertices_.scan(fn, data);
  }
  // The same for the vertices whose location `box` contains.
  MOD_INFO* scan_vertices(STL_OCTREE_NODE::SCAN_FUNCTION fn, void* data, const BOX3& box) const {
    return vertices_.scan(fn, data, box);
  }
  const WELD_GRID& get_weld_grid() const { return vertices_; }

  // Takes out of the polygon list every polygon that a region has claimed:
  // it belongs to its region from then on. O(polygons in the list).
  void release_claimed_polygons();

  // Takes ownership of a region and puts it at the front of the region list.
  void add_region(std::unique_ptr<MESH_REGION> region);
  // The recognised regions, newest first; owned by the mesh.
  const std::list<MESH_REGION*>& get_regions() const { return regions_; }
  // The polygons not claimed by a region, newest first. Owned by the mesh.
  const MESH_POLYGON_LIST& get_polygons() const { return polygons_; }

 private:
  friend struct MESH_TEST_ACCESS;

  // Empties the polygon list into flat regions, each grown from the first
  // free REGULAR polygon; polygons of other types survive only where a
  // region took them in. Ends with simplify_regions(false).
  void recognize_flat_regions(const resolution& res);
  // Tries a cylinder region from each flat region still free, in list order;
  // one of at least three flat regions takes their polygons. Ends with
  // simplify_regions(true).
  void recognize_composite_regions(SURFACE_RECONSTRUCTION options);
  // Drops the regions without a surface (merged away) and merges the
  // polygons of the others (of the composites only, if asked).
  void simplify_regions(bool composites_only);
  // Straight edges along the borders, then spurs removed.
  void optimize_region_boundaries();
  // Unlinks *it from the region list and destroys the region; the next one.
  std::list<MESH_REGION*>::iterator drop_region(std::list<MESH_REGION*>::iterator it);

  MESH_POLYGON& push_polygon(std::unique_ptr<MESH_POLYGON> polygon);

  resolution mesh_resolution_;    // of classification
  resolution import_resolution_;  // of welding; never changed
  resolution recognition_resolution_;  // of the regions, which point at it
  WELD_GRID vertices_;            // owns the vertices
  MESH_POLYGON_LIST polygons_;    // owned polygons; new ones at the front
  std::list<MESH_REGION*> regions_;  // owned; new ones at the front
  std::uint64_t polygon_count_ = 0;
  std::uint64_t degenerate_polygon_count_ = 0;
  std::uint64_t repaired_polygon_count_ = 0;
  std::uint64_t collapsed_facets_ = 0;  // counted but not built; see add_collapsed_facets
};
