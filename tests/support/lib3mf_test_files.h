#pragma once
// What the 3MF tests share: where the shared corpus is, and small models
// built through the binding.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "lumesh/data_exchange/lib3mf_binding.h"
#include "support/shared_corpus.h"

namespace lib3mf_test {

namespace fs = std::filesystem;

// The generated 3MF files of the shared corpus: LUMESH_SHARED_CORPUS from the
// environment, else the one next to the source tree. Absent in a fresh clone.
inline fs::path generated_3mf_dir() { return corpus_test::generated_corpus() / "3mf"; }

// The 3MF files of the shared corpus that real producers and other projects
// wrote, grouped by origin (producers/, lib3mf/, ...).
inline fs::path public_3mf_dir() { return corpus_test::public_corpus() / "3mf"; }

inline std::string read_text(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline Lib3MF::sTransform identity_transform() {
  return Lib3MF::sTransform{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}}};
}

// The corners of the box [0, size]^3 and its twelve triangles, outward.
inline std::vector<Lib3MF::sPosition> cube_vertices(float size) {
  std::vector<Lib3MF::sPosition> v;
  for (int i = 0; i < 8; ++i)
    v.push_back({{(i & 1) != 0 ? size : 0.0f, (i & 2) != 0 ? size : 0.0f,
                  (i & 4) != 0 ? size : 0.0f}});
  return v;
}

inline std::vector<Lib3MF::sTriangle> cube_triangles() {
  return {{{0, 2, 1}}, {{1, 2, 3}}, {{4, 5, 6}}, {{5, 7, 6}}, {{0, 1, 4}}, {{1, 5, 4}},
          {{2, 6, 3}}, {{3, 6, 7}}, {{0, 4, 2}}, {{2, 4, 6}}, {{1, 3, 5}}, {{3, 7, 5}}};
}

}  // namespace lib3mf_test
