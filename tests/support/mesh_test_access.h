#pragma once
// MESH_TEST_ACCESS: the phases of recognition one at a time, for tests that
// look at what a single phase leaves behind.

#include "host/geometry/resolution.h"
#include "lumesh/mesh/mesh.h"

struct MESH_TEST_ACCESS {
  // Flat regions alone, at `res`, simplified as the full pipeline does.
  static void recognize_flat_regions(MESH& mesh, const resolution& res) {
    mesh.recognition_resolution_ = res;
    mesh.recognize_flat_regions(mesh.recognition_resolution_);
  }
};
