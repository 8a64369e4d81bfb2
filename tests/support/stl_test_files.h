#pragma once
// What the STL tests share: makers of small text and binary files, a scratch
// directory per test, and the STL rows of the shared corpus's manifest.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <system_error>
#include <vector>

#include "support/shared_corpus.h"

namespace stl_test {

namespace fs = std::filesystem;

// The public files of the shared corpus (absent in a fresh clone).
inline const fs::path kPublicCorpus = corpus_test::public_corpus();

// ---- file makers -------------------------------------------------------------

inline std::string text_facet(const std::string& normal, const std::string& v1,
                              const std::string& v2, const std::string& v3,
                              const std::string& eol = "\n") {
  return "  facet normal " + normal + eol + "    outer loop" + eol + "      vertex " + v1 + eol +
         "      vertex " + v2 + eol + "      vertex " + v3 + eol + "    endloop" + eol +
         "  endfacet" + eol;
}

struct BIN_RECORD {
  float values[12];  // normal, vertex 1, 2, 3
  std::string attributes;
};

inline void put_u32(std::string& out, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) out.push_back(static_cast<char>((v >> (8 * i)) & 0xFF));
}

inline void put_f32(std::string& out, float f) {
  std::uint32_t bits;
  std::memcpy(&bits, &f, 4);
  put_u32(out, bits);
}

// A binary file stating `count` facets (which may differ from the records
// given), header padded with blanks to 80 bytes.
inline std::string binary_stl(std::uint32_t count, const std::vector<BIN_RECORD>& records,
                              const std::string& header = "binary test file") {
  std::string out = header.substr(0, 80);
  out.resize(80, ' ');
  put_u32(out, count);
  for (const BIN_RECORD& r : records) {
    for (float f : r.values) put_f32(out, f);
    const std::size_t n = r.attributes.size();
    out.push_back(static_cast<char>(n & 0xFF));
    out.push_back(static_cast<char>((n >> 8) & 0xFF));
    out += r.attributes;
  }
  return out;
}

// ---- scratch directory ---------------------------------------------------------

// A directory of its own for the running test (process id and test name),
// removed with everything in it when the object dies.
class SCRATCH_DIR {
 public:
  explicit SCRATCH_DIR(const std::string& prefix) {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    path_ = fs::temp_directory_path() /
            (prefix + std::to_string(::getpid()) + "_" + (info != nullptr ? info->name() : "x"));
    fs::create_directories(path_);
  }
  ~SCRATCH_DIR() {
    std::error_code ec;
    fs::remove_all(path_, ec);
  }
  SCRATCH_DIR(const SCRATCH_DIR&) = delete;
  SCRATCH_DIR& operator=(const SCRATCH_DIR&) = delete;

  const fs::path& path() const { return path_; }
  // Writes `bytes` as the file `name` and returns its path.
  fs::path write(const std::string& name, const std::string& bytes) const {
    const fs::path p = path_ / name;
    std::ofstream out(p, std::ios::binary);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return p;
  }

 private:
  fs::path path_;
};

// ---- the corpus manifest ---------------------------------------------------------

struct MANIFEST_ENTRY {
  bool ascii = false;
  long triangles = -1;  // -1: not stated
};

// The rows of the STL table of the public corpus's MANIFEST.md, by relative
// path: | `stl/...` | ... | facts |. Empty when the corpus is absent.
inline std::map<std::string, MANIFEST_ENTRY> read_stl_manifest() {
  std::map<std::string, MANIFEST_ENTRY> entries;
  std::ifstream in(kPublicCorpus / "MANIFEST.md");
  std::string line;
  while (std::getline(in, line)) {
    if (line.rfind("| `stl/", 0) != 0) continue;
    const std::size_t name_end = line.find('`', 3);
    const std::size_t last_bar = line.find_last_of('|');
    if (name_end == std::string::npos || last_bar == 0) continue;
    const std::size_t facts_bar = line.find_last_of('|', last_bar - 1);
    if (facts_bar == std::string::npos) continue;
    std::string facts = line.substr(facts_bar + 1, last_bar - facts_bar - 1);
    facts.erase(0, facts.find_first_not_of(' '));
    MANIFEST_ENTRY e;
    e.ascii = facts.rfind("ascii", 0) == 0;
    const std::size_t t = facts.find("triangles=");
    if (t != std::string::npos) e.triangles = std::stol(facts.substr(t + 10));
    entries[line.substr(3, name_end - 3)] = e;
  }
  return entries;
}

}  // namespace stl_test
