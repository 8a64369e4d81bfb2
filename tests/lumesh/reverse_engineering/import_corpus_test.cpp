// STL import on the files of the shared corpus: the generated parts against
// their ground truth (facets, welded vertices, open edges, no degenerate
// triangle), the public files against the facet counts of their manifest
// and the rule that every facet is either kept or counted as repaired.
// Skipped, saying so, where the corpus is absent.

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <list>
#include <map>
#include <memory>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>

#include "host/base/mod_info.h"
#include "lumesh/core/load_module.h"
#include "lumesh/core/resource_id.h"
#include "lumesh/data_exchange/stl_reader.h"
#include "lumesh/mesh/mesh.h"
#include "lumesh/mesh/mesh_checker.h"
#include "lumesh/mesh/mesh_polygon_coedge.h"
#include "lumesh/reverse_engineering/mesh_builder.h"
#include "support/stl_test_files.h"

namespace fs = std::filesystem;

namespace {

const fs::path kGenerated = corpus_test::generated_corpus() / "stl";
const fs::path& kPublic = stl_test::kPublicCorpus;

struct COUNTS {
  std::uint64_t meshes = 0;
  std::uint64_t polygons = 0;
  std::uint64_t degenerate = 0;
  std::uint64_t repaired = 0;
  std::uint64_t used_vertices = 0;
  std::uint64_t open_coedges = 0;  // without a neighbour of either alignment
  std::uint64_t unplaced_vertices = 0;  // at NaN or infinity
  bool sound = true;
};

SCAN_CNTRL count_unplaced(STL_OCTREE_NODE* n, void* data) {
  if (!n->location().is_finite()) ++*static_cast<std::uint64_t*>(data);
  return SCAN_CONTINUE;
}

SCAN_CNTRL count_used(STL_OCTREE_NODE* n, void* data) {
  if (static_cast<MESH_VERTEX*>(n)->outgoing_count() != 0) ++*static_cast<std::uint64_t*>(data);
  return SCAN_CONTINUE;
}

COUNTS import_counts(const fs::path& path) {
  MESH_BUILDER builder(resolution::inq_min_resabs());
  std::list<std::unique_ptr<MESH>> meshes;
  builder.import_stl(path.wstring().c_str(), meshes, nullptr);
  COUNTS c;
  MESH_COEDGE_LIST partners;
  for (const auto& m : meshes) {
    ++c.meshes;
    c.polygons += m->get_polygon_count();
    c.degenerate += m->get_degenerate_polygon_count();
    c.repaired += m->get_repaired_polygon_count();
    m->scan_vertices(count_used, &c.used_vertices);
    m->scan_vertices(count_unplaced, &c.unplaced_vertices);
    for (const MESH_POLYGON* p : m->get_polygons()) {
      const MESH_POLYGON_COEDGE* e = p->get_start_coedge();
      do {
        partners.clear();
        e->get_partner_coedges(partners, MESH_POLYGON_COEDGE::ANY_ALIGNMENT);
        if (partners.empty()) ++c.open_coedges;
        e = e->get_next();
      } while (e != p->get_start_coedge());
    }
    const MESH_CHECK_RESULT r = check_mesh(*m);
    if (!r.ok()) {
      ADD_FAILURE() << path << ": " << r.text();
      c.sound = false;
    }
  }
  return c;
}

// A number after `"key": ` in a small JSON text, or -1.
long json_number(const std::string& text, const std::string& key) {
  const std::regex re("\"" + key + "\"\\s*:\\s*(-?[0-9]+)");
  std::smatch m;
  return std::regex_search(text, m, re) ? std::stol(m[1]) : -1;
}

std::string read_all(const fs::path& p) {
  std::ifstream in(p);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

}  // namespace

TEST(ImportCorpus, GeneratedPartsMatchTheirGroundTruth) {
  if (!fs::exists(kGenerated)) GTEST_SKIP() << "corpus absent: " << kGenerated;
  int checked = 0;
  for (const auto& entry : fs::recursive_directory_iterator(kGenerated)) {
    if (entry.path().extension() != ".json") continue;
    const fs::path stl = fs::path(entry.path()).replace_extension(".stl");
    if (!fs::exists(stl)) continue;
    const std::string json = read_all(entry.path());
    const long triangles = json_number(json, "triangle_count");
    if (triangles < 0) continue;  // a broken file, told apart by its own test
    SCOPED_TRACE(stl.string());
    const COUNTS c = import_counts(stl);
    EXPECT_TRUE(c.sound);
    EXPECT_EQ(static_cast<long>(c.polygons + c.degenerate), triangles);
    EXPECT_EQ(c.degenerate, c.repaired);
    if (triangles == 0) {
      EXPECT_EQ(c.meshes, 0u);
      continue;
    }
    EXPECT_EQ(static_cast<long>(c.meshes), json_number(json, "solid_blocks"));
    if (json_number(json, "degenerate_triangles") == 0) {
      EXPECT_EQ(c.degenerate, 0u);
    }
    EXPECT_EQ(static_cast<long>(c.used_vertices), json_number(json, "welded_vertex_count"));
    // Each open edge of the ground truth is one coedge without a neighbour.
    EXPECT_EQ(static_cast<long>(c.open_coedges), json_number(json, "boundary_edges"));
    ++checked;
  }
  EXPECT_GT(checked, 15);
}

TEST(ImportCorpus, TruncatedBinaryDeliversItsStatedCount) {
  const fs::path stl = kGenerated / "basic" / "cube_truncated_binary.stl";
  if (!fs::exists(stl)) GTEST_SKIP() << "corpus absent: " << stl;
  // The missing bytes read as zeros: the facets past the end collapse to the
  // origin and are dropped as degenerate, each counted once.
  const COUNTS c = import_counts(stl);
  EXPECT_TRUE(c.sound);
  EXPECT_EQ(c.degenerate, c.repaired);
  EXPECT_EQ(c.meshes, 1u);
  EXPECT_GT(c.degenerate, 0u);
  EXPECT_EQ(c.polygons + c.degenerate, 12u);
}

TEST(ImportCorpus, PublicFilesKeepOrRepairEveryFacet) {
  const fs::path manifest = kPublic / "MANIFEST.md";
  if (!fs::exists(manifest)) GTEST_SKIP() << "corpus absent: " << manifest;
  std::map<std::string, long> stated;
  for (const auto& [name, entry] : stl_test::read_stl_manifest()) {
    if (entry.triangles >= 0) stated[name] = entry.triangles;
  }
  // Files with degenerate triangles by the corpus' own count.
  const std::map<std::string, std::uint64_t> degenerate_at_least = {
      {"stl/assimp/Spider_ascii.stl", 56}, {"stl/assimp/Spider_binary.stl", 56},
      {"stl/admesh/conveyor_basic.stl", 1}, {"stl/occt/motor.stl", 6},
      {"stl/kuka/kr10r1420_base_link.stl", 8}};
  // The files the reader refuses, each for its stated reason; any other
  // failure is an error of the import. A line inside a facet that ends in a
  // blank counts five words, which no facet line may have.
  const std::map<std::string, std::string> refused = {
      {"stl/assimp/triangle_with_empty_solid.stl", "facet lines end in a blank"},
      {"stl/assimp/triangle_with_two_solids.stl", "facet lines end in a blank"}};
  int refused_seen = 0;
  int checked = 0;
  for (const auto& [name, triangles] : stated) {
    const fs::path path = kPublic / name;
    if (!fs::exists(path)) continue;
    SCOPED_TRACE(name);
    COUNTS c;
    try {
      c = import_counts(path);
    } catch (const TV_EXCEPTION& e) {
      const auto why = refused.find(name);
      if (why == refused.end()) {
        ADD_FAILURE() << "import failed: " << e.info()->message();
      } else {
        EXPECT_EQ(sModule.current_error_id(), MSG_FILE_UNKNOWN_FORMAT) << why->second;
        ++refused_seen;
      }
      continue;
    } catch (const std::exception& e) {
      ADD_FAILURE() << "import failed: " << e.what();
      continue;
    }
    EXPECT_EQ(refused.count(name), 0u) << "listed as refused, but imports";
    // Records read out of step would give corners at NaN or far away.
    EXPECT_EQ(c.unplaced_vertices, 0u);
    EXPECT_TRUE(c.sound);
    EXPECT_EQ(c.degenerate, c.repaired);
    const auto d = degenerate_at_least.find(name);
    if (d != degenerate_at_least.end()) {
      EXPECT_GE(c.degenerate, d->second);
    }
    // Read as binary, a file delivers exactly the count at offset 80 (zeros
    // past its end); read as text, the facets up to the first empty solid.
    std::unique_ptr<FACET_READER> reader(STL_READER::make_stl_reader(path.wstring(), nullptr));
    const auto* binary = dynamic_cast<const STL_BIN_READER*>(reader.get());
    if (binary != nullptr) {
      EXPECT_EQ(c.polygons + c.degenerate, binary->remaining_facet_count());
    } else if (c.meshes <= 1) {
      EXPECT_EQ(static_cast<long>(c.polygons + c.degenerate), triangles);
    }
    if (static_cast<long>(c.polygons + c.degenerate) == triangles) ++checked;
    std::printf("%-50s facets %7ld kept %7lu degenerate %4lu\n", name.c_str(), triangles,
                static_cast<unsigned long>(c.polygons), static_cast<unsigned long>(c.degenerate));
  }
  EXPECT_GT(checked, 25);
  EXPECT_EQ(refused_seen, static_cast<int>(refused.size()));
}
