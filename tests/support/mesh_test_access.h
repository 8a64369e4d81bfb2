#pragma once
// MESH_TEST_ACCESS: the phases of recognition one at a time, for tests that
// look at what a single phase leaves behind.

#include "host/geometry/resolution.h"
#include "host/kernel/topology/vertex.h"
#include "lumesh/mesh/mesh.h"
#include "lumesh/mesh/mesh_vertex.h"

struct MESH_TEST_ACCESS {
  // Flat regions alone, at `res`, simplified as the full pipeline does.
  static void recognize_flat_regions(MESH& mesh, const resolution& res) {
    mesh.recognition_resolution_ = res;
    mesh.recognize_flat_regions(mesh.recognition_resolution_);
  }
  // Gives v the B-rep vertex `vertex`, wherever that lies, as a fault of the
  // building would: for tests of what happens when an edge can't be made.
  static void set_brep_vertex(MESH_VERTEX& v, VERTEX* vertex) {
    v.vertex_ = vertex;
    v.vertex_sysid_ = vertex->sysid();
  }
};
