// The structured STEP read over the real files of the shared corpus, read in
// place: each file is read or refused cleanly, and a read file places as many
// faces through its product structure as the flat read gives.

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <vector>

#include "host/exchange/step_import.h"
#include "host/exchange/step_model.h"
#include "host/kernel/kernel_errors.h"
#include "host/kernel/ops/body_checker.h"
#include "tests/host/exchange/exchange_fixture.h"
#include "support/shared_corpus.h"

namespace {

namespace fs = std::filesystem;

fs::path corpus_root() { return corpus_test::shared_corpus(); }

std::vector<fs::path> step_files() {
  std::vector<fs::path> out;
  const fs::path root = corpus_root();
  std::error_code ec;
  if (root.empty() || !fs::is_directory(root, ec)) return out;
  for (fs::recursive_directory_iterator it(root, ec), end; !ec && it != end; it.increment(ec)) {
    if (!it->is_regular_file(ec)) continue;
    std::string ext = it->path().extension().string();
    std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
    if (ext == ".step" || ext == ".stp") out.push_back(it->path());
  }
  std::sort(out.begin(), out.end());
  return out;
}

// Faces placed by every instance below the roots, through shared nodes as
// often as they are placed. Sizes multiply, so the count is of instances
// per node, computed top down over the nodes in reverse order.
long placed_faces(const STEP_MODEL& m) {
  std::vector<long> times(m.nodes().size(), 0);
  for (const STEP_COMPONENT& r : m.roots()) ++times[static_cast<std::size_t>(r.node)];
  long faces = 0;
  for (std::size_t i = m.nodes().size(); i-- > 0;) {
    const STEP_NODE& n = m.nodes()[i];
    for (const STEP_COMPONENT& c : n.components) times[static_cast<std::size_t>(c.node)] += times[i];
    if (n.body != nullptr) faces += times[i] * n.body->number_of_faces();
  }
  return faces;
}

// Files of the corpus that hold no B-rep shape OCCT 7.6 can transfer: AP242
// tessellated solids only, and a file that is corrupt on purpose. Every other
// file must read, whatever its CAD system wrote into its presentation
// entities.
bool refusal_expected(const fs::path& file) {
  const std::string name = file.filename().string();
  return name == "nist_ftc_08_asme1_ap242-2.stp" || name == "tessellated_tetrahedron_ap242.step" ||
         name == "bug32314_corrupted.stp";
}

using StepModelCorpusTest = ExchangeTest;

TEST_F(StepModelCorpusTest, EveryFileReadsOrIsRefusedCleanlyAndOnlyBrokenOnesAreRefused) {
  const std::vector<fs::path> files = step_files();
  if (files.empty()) GTEST_SKIP() << "no STEP files in the shared corpus at " << corpus_root();
  int read = 0;
  for (const fs::path& file : files) {
    SCOPED_TRACE(file.string());
    long flat_faces = -1;
    try {
      std::vector<BODY*> flat = read_step(file.string());
      flat_faces = 0;
      for (BODY* b : flat) {
        flat_faces += b->number_of_faces();
        b->lose();
      }
    } catch (const TV_EXCEPTION& e) {
      EXPECT_EQ(e.info(), k2_error(K2_ERROR::UNREADABLE_FILE));
    }
    EXPECT_EQ(flat_faces < 0, refusal_expected(file)) << "faces: " << flat_faces;
    try {
      const STEP_MODEL m = read_step_model(file.string());
      ++read;
      ASSERT_FALSE(m.roots().empty());
      for (std::size_t i = 0; i < m.nodes().size(); ++i) {
        const STEP_NODE& n = m.nodes()[i];
        for (const STEP_COMPONENT& c : n.components) EXPECT_LT(c.node, static_cast<int>(i));
        if (n.body != nullptr) {
          EXPECT_TRUE(check_body(n.body).ok()) << n.name;
          EXPECT_GT(n.body->number_of_faces(), 0);
        }
        if (n.has_color) {
          for (double v : {n.r, n.g, n.b}) {
            EXPECT_GE(v, 0.0);
            EXPECT_LE(v, 1.0);
          }
        }
      }
      if (flat_faces >= 0) {
        EXPECT_EQ(placed_faces(m), flat_faces);
      }
    } catch (const TV_EXCEPTION& e) {
      EXPECT_EQ(e.info(), k2_error(K2_ERROR::UNREADABLE_FILE));
      EXPECT_LT(flat_faces, 0) << "the flat read takes a file that the structured read refuses";
    }
    HISTORY::instance().forget();
  }
  EXPECT_GT(read, 0);
}

}  // namespace
