// Recognition on the generated parts of the shared corpus that carry ground
// truth: planes and cylinders found against the designed faces, at the
// automatic resolution and at 0.01 mm. Prints the table; asserts the facts
// that must hold (a prism is never a cylinder; every designed cylinder is
// found at the automatic resolution, and at 0.01 mm exactly those whose
// facets sag by no more than that; every region is sound). Skipped, saying
// so, where the corpus is absent.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <list>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/plane.h"
#include "lumesh/mesh/mesh.h"
#include "lumesh/mesh/mesh_checker.h"
#include "lumesh/mesh/mesh_resolution.h"
#include "lumesh/reverse_engineering/mesh_builder.h"
#include "support/shared_corpus.h"

namespace fs = std::filesystem;

namespace {

const fs::path kParts = corpus_test::generated_corpus() / "stl" / "parts";

// Every number after "key": in text.
std::vector<double> json_numbers(const std::string& text, const std::string& key) {
  std::vector<double> out;
  const std::string tag = "\"" + key + "\":";
  for (std::size_t at = text.find(tag); at != std::string::npos; at = text.find(tag, at + 1)) {
    out.push_back(std::atof(text.c_str() + at + tag.size()));
  }
  return out;
}

// The first number after "key": in text, or -1.
int json_count(const std::string& text, const std::string& key) {
  const std::size_t at = text.find("\"" + key + "\":");
  if (at == std::string::npos) return -1;
  return std::atoi(text.c_str() + at + key.size() + 3);
}

struct FOUND {
  int planes = 0;
  int cylinders = 0;
  double resolution = 0.0;
  bool sound = true;
  bool no_empty_region = true;  // every region kept polygons to make faces of
};

// Imports the file and recognises planes and cylinders at `res`, or at the
// automatic resolution when res is 0.
FOUND recognize(const fs::path& file, double res) {
  MESH_BUILDER builder(resolution::inq_min_resabs());
  std::list<std::unique_ptr<MESH>> meshes;
  builder.import_stl(file.wstring().c_str(), meshes, nullptr);
  FOUND found;
  for (const auto& m : meshes) {
    const double r = res > 0.0 ? res : estimate_mesh_resolution(*m).resolution;
    found.resolution = r;
    m->recognize_surfaces(static_cast<MESH::SURFACE_RECONSTRUCTION>(MESH::PLANES | MESH::CYLINDERS),
                          resolution(r, -1.0));
    for (const MESH_REGION* region : m->get_regions()) {
      if (entity_cast<plane>(region->get_surface()) != nullptr) ++found.planes;
      if (entity_cast<cylinder>(region->get_surface()) != nullptr) ++found.cylinders;
      if (region->get_polygon_count() == 0) found.no_empty_region = false;
    }
    found.sound = found.sound && check_mesh(*m).ok();
  }
  return found;
}

TEST(RecognitionCorpus, GeneratedPartsAgainstTheirDesign) {
  if (!fs::is_directory(kParts)) GTEST_SKIP() << "corpus absent: " << kParts;
  std::printf("%-22s %9s %7s %7s | %9s %7s %7s | %7s %7s\n", "part", "auto res", "planes", "cyl",
              "0.01 mm", "planes", "cyl", "design", "");
  int files = 0;
  for (const auto& entry : fs::directory_iterator(kParts)) {
    if (entry.path().extension() != ".stl") continue;
    std::ifstream in(fs::path(entry.path()).replace_extension(".json"));
    std::stringstream text;
    text << in.rdbuf();
    const int planar = json_count(text.str(), "planar");
    const int cylindrical = json_count(text.str(), "cylindrical");
    const FOUND automatic = recognize(entry.path(), 0.0);
    const FOUND fixed = recognize(entry.path(), 0.01);
    const std::string name = entry.path().stem().string();
    std::printf("%-22s %9.4f %7d %7d | %9s %7d %7d | %3d pl %3d cyl\n", name.c_str(),
                automatic.resolution, automatic.planes, automatic.cylinders, "", fixed.planes,
                fixed.cylinders, planar, cylindrical);
    EXPECT_TRUE(automatic.sound && fixed.sound) << name;
    EXPECT_TRUE(automatic.no_empty_region && fixed.no_empty_region) << name;
    // Every generated part comes out as designed at its automatic
    // resolution: caps and cuts whose corners lie on a cylinder's rim stay
    // planes, and the prisms' faces don't pass for cylinders.
    EXPECT_EQ(automatic.planes, planar) << name;
    EXPECT_EQ(automatic.cylinders, cylindrical) << name;
    // At 0.01 mm a cylinder must stay within that of every facet it would
    // replace: those whose chords sag further stay flat pieces; the others
    // are found, and no plane is lost.
    int fine_enough = 0;
    for (double sag : json_numbers(text.str(), "max_chord_sagitta")) fine_enough += sag <= 0.01;
    EXPECT_EQ(fixed.cylinders, fine_enough) << name;
    if (fine_enough == cylindrical) {
      EXPECT_EQ(fixed.planes, planar) << name;
    } else {
      EXPECT_GT(fixed.planes, planar) << name;
    }
    ++files;
  }
  EXPECT_GT(files, 5);
}

}  // namespace
