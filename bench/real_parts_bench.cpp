// The import measured on real CAD parts: every usable STEP part of the
// shared corpus (public/step) is meshed by OpenCASCADE at a chord deflection
// of 0.0005 x its box diagonal, written as a binary STL file, imported with
// planes and cylinders at the automatic precision and at 0.1, 0.25, 1, 3 and
// 10 x the chord deflection, and each body is held against the model: area
// of planes and cylinders recovered, area on a face of the wrong kind or off
// the part, faces per model face, leftover single facets, the kernel's
// body checker and the STEP file read back by OCCT (support/part_quality/).
//
// One line per record, key=value pairs after a tag:
//   skip     a file that is no single valid solid, with the reason
//   model    the model measured against itself: the error of the measure
//   result   one import of one part (format_run)
//   summary  means over the parts of one precision, and how many met the goals
// Files are written to $TMPDIR (or /tmp) and removed at the end.
//
//   real_parts_bench [--corpus=DIR] [--part=TEXT]... [--auto-only] [--samples=N]
//
// --part keeps the parts whose name contains TEXT (any of several).

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "host/base/mod_info.h"
#include "support/part_quality/corpus_parts.h"
#include "support/part_quality/mesh_import_run.h"
#include "support/part_quality/real_part.h"

namespace {

namespace fs = std::filesystem;
using namespace part_quality;

struct MEANS {
  int runs = 0, goals_met = 0, step_ok = 0, errors = 0;
  std::uint64_t assertions = 0;
  std::map<std::string, std::pair<double, int>> sums;  // key -> (sum, count of numbers)
  void add(const std::string& key, double v) {
    if (std::isnan(v)) return;
    sums[key].first += v;
    ++sums[key].second;
  }
  double mean(const std::string& key) const {
    const auto it = sums.find(key);
    return it == sums.end() || it->second.second == 0 ? std::nan("")
                                                      : it->second.first / it->second.second;
  }
};

void tally(MEANS& m, const PART_RUN& r) {
  ++m.runs;
  if (r.missed_goals().empty()) ++m.goals_met;
  if (r.step_ok()) ++m.step_ok;
  if (!r.import.error.empty()) ++m.errors;
  m.assertions += r.output.assertions.size();
  if (!r.import.error.empty()) return;
  m.add("plane_recovered_pct", r.area.recovered_pct(KIND_GROUP::PLANE));
  m.add("cylinder_recovered_pct", r.area.recovered_pct(KIND_GROUP::CYLINDER));
  m.add("wrong_kind_pct", r.area.wrong_kind_pct());
  m.add("off_part_pct", r.area.off_part_pct());
  m.add("facet_pct", r.area.facet_pct());
  m.add("single_facets", r.area.single_facets);
  m.add("planes_per_model_plane", r.area.faces_per_model_face[0]);
  m.add("cylinders_per_model_cylinder", r.area.faces_per_model_face[1]);
  m.add("precision_ratio", r.precision_ratio());
  m.add("import_s", r.import.seconds);
}

void print_summary(const std::string& label, const MEANS& m) {
  std::printf("summary run=%s runs=%d goals_met=%d step_ok=%d import_errors=%d assertions=%llu",
              label.c_str(), m.runs, m.goals_met, m.step_ok, m.errors,
              static_cast<unsigned long long>(m.assertions));
  for (const char* key : {"plane_recovered_pct", "cylinder_recovered_pct", "wrong_kind_pct",
                          "off_part_pct", "facet_pct", "single_facets", "planes_per_model_plane",
                          "cylinders_per_model_cylinder", "precision_ratio", "import_s"}) {
    std::printf(" mean_%s=%.3f", key, m.mean(key));
  }
  std::printf("\n");
}

bool wanted(const std::string& name, const std::vector<std::string>& filters) {
  if (filters.empty()) return true;
  for (const std::string& f : filters) {
    if (name.find(f) != std::string::npos) return true;
  }
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  fs::path root = shared_corpus_root();
  std::vector<std::string> filters;
  bool auto_only = false;
  std::size_t samples = kDefaultSamples;
  for (int i = 1; i < argc; ++i) {
    if (std::strncmp(argv[i], "--corpus=", 9) == 0) {
      root = argv[i] + 9;
    } else if (std::strncmp(argv[i], "--part=", 7) == 0) {
      filters.emplace_back(argv[i] + 7);
    } else if (std::strcmp(argv[i], "--auto-only") == 0) {
      auto_only = true;
    } else if (std::strncmp(argv[i], "--samples=", 10) == 0) {
      samples = static_cast<std::size_t>(std::max(1000L, std::atol(argv[i] + 10)));
    } else {
      std::fprintf(stderr,
                   "usage: real_parts_bench [--corpus=DIR] [--part=TEXT]... [--auto-only] "
                   "[--samples=N]\n");
      return 2;
    }
  }
  const std::vector<fs::path> files = corpus_step_files(root);
  if (files.empty()) {
    std::printf("skip corpus=%s reason=\"no STEP files (the shared corpus is absent)\"\n",
                root.string().c_str());
    return 0;
  }
  const char* tmp = std::getenv("TMPDIR");
  const fs::path dir = fs::path(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") /
                       ("lumesh_real_parts_" + std::to_string(::getpid()));
  fs::create_directories(dir);

  std::vector<double> multiples{std::numeric_limits<double>::quiet_NaN()};
  if (!auto_only) multiples.insert(multiples.end(), {0.1, 0.25, 1.0, 3.0, 10.0});
  std::map<std::string, MEANS> means;
  std::vector<std::string> labels;
  for (const fs::path& file : files) {
    const std::string name = part_name(file);
    if (!wanted(name, filters)) continue;
    const std::string reason = unusable_reason(file);
    if (!reason.empty()) {
      std::printf("skip part=%s reason=\"%s\"\n", name.c_str(), reason.c_str());
      std::fflush(stdout);
      continue;
    }
    try {
      const REAL_PART part(file, dir);
      const AREA_RECOVERY self = part.measure_model(samples);
      std::printf(
          "model part=%s plane_recovered_pct=%.2f cylinder_recovered_pct=%.2f wrong_kind_pct=%.2f "
          "off_part_pct=%.2f\n",
          name.c_str(), self.recovered_pct(KIND_GROUP::PLANE),
          self.recovered_pct(KIND_GROUP::CYLINDER), self.wrong_kind_pct(), self.off_part_pct());
      for (double m : multiples) {
        const PART_RUN run = part.run(m, samples);
        std::printf("result %s prepare_s=%.3f\n", format_run(run).c_str(), part.prepare_seconds());
        std::fflush(stdout);
        if (means.find(run.label) == means.end()) labels.push_back(run.label);
        tally(means[run.label], run);
      }
    } catch (const std::exception& e) {
      std::printf("skip part=%s reason=\"%s\"\n", name.c_str(), exception_text(e).c_str());
      std::fflush(stdout);
    }
  }
  for (const std::string& label : labels) print_summary(label, means[label]);
  std::error_code ec;
  fs::remove_all(dir, ec);
  return 0;
}
