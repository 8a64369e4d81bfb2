#pragma once
// MESH_BUILDER: makes welded, repaired meshes from facet files. One builder
// serves one import; every mesh it makes welds at the builder's resolution
// and is optimised at it.

#include <cstdint>
#include <list>
#include <memory>

#include "host/geometry/resolution.h"
#include "host/kernel/scan.h"

class FACET_READER;
class MESH;
namespace Lib3MF {
class CMeshObject;
enum class eModelUnit : std::int32_t;
}  // namespace Lib3MF
class PROGRESS;
class STL_OCTREE_NODE;

class MESH_BUILDER {
 public:
  // The resolution starts as (1e-6, default angle) and then takes res as its
  // length in grid mode 0 (so res is raised to the host's smallest).
  explicit MESH_BUILDER(double res);

  const resolution& get_mesh_import_resolution() const { return import_resolution_; }
  // Coedges inserted by stitch_cut_corner.
  std::int64_t get_repaired_count() const { return repaired_count_; }

  // Reads an STL file (text or binary) into one mesh per solid, each welded
  // and optimised, and puts each at the front of `meshes`: the last solid
  // comes first. Reading stops at the first solid without facets, so an empty
  // file adds nothing and raises nothing. A file that can't be opened raises
  // :MSG-CANNOT-OPEN-FILE; errors of the reader pass through, with the meshes
  // read so far left in the list. `progress` may be null.
  void import_stl(const wchar_t* path, std::list<std::unique_ptr<MESH>>& meshes,
                  PROGRESS* progress);

  // One mesh of all facets the reader delivers until it answers false, not
  // yet optimised; null when it delivers none.
  std::unique_ptr<MESH> make_mesh(FACET_READER& reader);

  // One mesh of a 3MF mesh object, its coordinates taken from `unit` to
  // millimetres, welded and optimised; returned also when it has no
  // triangles. A triangle that names a vertex past the object's raises
  // :MSG-FILE-UNKNOWN-FORMAT; lib3mf's own errors pass through as
  // Lib3MF::ELib3MFException.
  std::unique_ptr<MESH> make_mesh(std::shared_ptr<Lib3MF::CMeshObject>& object,
                                  Lib3MF::eModelUnit unit);

  // A repair of T-junctions on the boundary, as a scan callback over a
  // mesh's vertices (MESH::scan_vertices) with the builder as data. Where an
  // open coedge starting at `node` (a MESH_VERTEX) and an open coedge ending
  // there run along one line with the far end of one inside the other, that
  // end is inserted into the longer coedge, and the stitch goes on from
  // there along the seam, depth first. Always answers SCAN_CONTINUE. The
  // seam walk keeps its frames on the heap: its length costs no call stack.
  static SCAN_CNTRL stitch_cut_corner(STL_OCTREE_NODE* node, void* builder);

 private:
  resolution import_resolution_;
  std::int64_t repaired_count_ = 0;
};
