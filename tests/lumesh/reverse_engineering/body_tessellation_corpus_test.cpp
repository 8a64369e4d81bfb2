// Bodies recognised from the generated parts of the shared corpus, with
// planes and cylinders, tessellated face by face as the mesh outputs do:
// every face gives triangles, and together they enclose the volume of the
// facets the body was made from. Skipped, saying so, where the corpus is
// absent.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <list>
#include <memory>
#include <optional>
#include <string>

#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "lumesh/mesh/mesh.h"
#include "lumesh/mesh/mesh_polygon.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"
#include "lumesh/mesh/mesh_vertex.h"
#include "lumesh/reverse_engineering/body_factory.h"
#include "lumesh/reverse_engineering/mesh_builder.h"
#include "support/tessellated_volume.h"
#include "support/shared_corpus.h"

namespace fs = std::filesystem;

namespace {

const fs::path kParts = corpus_test::generated_corpus() / "stl" / "parts";

// The volume enclosed by the triangles of a mesh fresh from the import.
double mesh_volume(const MESH& mesh) {
  double v = 0.0;
  for (const MESH_POLYGON* p : mesh.get_polygons()) {
    const MESH_POLYGON_COEDGE* c = p->get_start_coedge();
    v += cone_volume(c->get_start_vertex()->location(), c->get_next()->get_start_vertex()->location(),
                     c->get_next()->get_next()->get_start_vertex()->location());
  }
  return v;
}

struct TESSELLATED {
  int faces = 0, failed = 0;
  double volume = 0.0;
};

SCAN_CNTRL tessellate_face(FACE* f, void* data) {
  auto* t = static_cast<TESSELLATED*>(data);
  ++t->faces;
  if (const std::optional<double> v = tessellated_volume(f)) {
    t->volume += *v;
  } else {
    ++t->failed;
  }
  return SCAN_CONTINUE;
}

TEST(BodyTessellationCorpus, EveryRecognisedFaceTessellatesAndTheVolumeHolds) {
  if (!fs::is_directory(kParts)) GTEST_SKIP() << "corpus absent: " << kParts;
  int parts = 0;
  for (const auto& entry : fs::directory_iterator(kParts)) {
    if (entry.path().extension() != ".stl") continue;
    MESH_BUILDER builder(resolution::inq_min_resabs());
    std::list<std::unique_ptr<MESH>> meshes;
    builder.import_stl(entry.path().wstring().c_str(), meshes, nullptr);
    ASSERT_EQ(meshes.size(), 1u) << entry.path();
    const double facets_volume = mesh_volume(*meshes.front());
    BODY_FACTORY factory(nullptr, 100);
    auto options = static_cast<MESH::SURFACE_RECONSTRUCTION>(MESH::PLANES | MESH::CYLINDERS);
    std::uint64_t faces = 0;
    BODY* body = factory.make_body(*meshes.front(), std::numeric_limits<double>::quiet_NaN(),
                                   150000, options, faces);
    ASSERT_NE(body, nullptr) << entry.path();
    TESSELLATED t;
    body->scan_faces(&tessellate_face, &t);
    meshes.clear();  // as after an import: the mesh goes first
    body->lose();
    EXPECT_EQ(t.failed, 0) << entry.path().filename() << ": " << t.failed << " of " << t.faces
                           << " faces";
    // The open box has no volume to compare.
    if (std::fabs(facets_volume) > 1e-6) {
      EXPECT_NEAR(t.volume / facets_volume, 1.0, 0.01) << entry.path().filename();
    }
    ++parts;
  }
  EXPECT_GE(parts, 13);
}

}  // namespace
