// The whole STL import as the load command runs it: read a binary file,
// weld, optimise, recognise, and build the body (the STL branch of
// READ-MANUFACTURING-DATA without its Lisp wrapping). Two cases, each the
// median of --repeat imports (3 by default) in this process, the file in the
// page cache:
//   1M   sieve plate of 73 x 72 cells, 1,013,792 triangles, planes and
//        cylinders recognised at 0.01 mm; target under 8 s
//   100k sieve plate of 23 x 23 cells, 101,936 triangles, no recognition,
//        one face per facet; target under 0.5 s
// Losing the bodies afterwards is not timed. The files are written to
// $TMPDIR (or /tmp) and removed at the end.
//
//   full_import_bench [--repeat=N]

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "host/exchange/stl_writer.h"
#include "host/kernel/topology/body.h"
#include "lumesh/data_exchange/manufacturing_import.h"
#include "support/sieve_plate.h"

namespace {

namespace fs = std::filesystem;
using CLOCK = std::chrono::steady_clock;

fs::path write_binary(const fs::path& path, const std::vector<TRI>& facets) {
  std::vector<STL_TRIANGLE> triangles;
  triangles.reserve(facets.size());
  for (const TRI& t : facets) {
    STL_TRIANGLE s;
    for (std::size_t k = 0; k < 3; ++k) s[k] = POSITION3(t.v[k][0], t.v[k][1], t.v[k][2]);
    triangles.push_back(s);
  }
  write_binary_stl(path.string(), triangles, "sieve plate");
  return path;
}

struct RESULT {
  double seconds = 0.0;
  std::uint64_t facets = 0, faces = 0;
};

RESULT import_once(const fs::path& file, MESH::SURFACE_RECONSTRUCTION options, double res) {
  MF_IMPORT_OPTIONS o;
  o.reconstruction = options;
  o.resolution = res;
  o.face_count_limit = std::numeric_limits<std::uint64_t>::max();
  const auto t0 = CLOCK::now();
  MF_MODEL_DESCRIPTION spec = read_stl_model(file.wstring(), o);
  RESULT r;
  r.seconds = std::chrono::duration<double>(CLOCK::now() - t0).count();
  for (MF_MODEL_NODE& node : spec) {
    if (node.kind != MF_MODEL_NODE::MESH_BODY) continue;
    r.facets += node.facet_count;
    r.faces += node.face_count;
    node.body->lose();
  }
  return r;
}

RESULT median_of(int repeat, const fs::path& file, MESH::SURFACE_RECONSTRUCTION options,
                 double res) {
  std::vector<RESULT> runs;
  for (int i = 0; i < repeat; ++i) runs.push_back(import_once(file, options, res));
  std::sort(runs.begin(), runs.end(),
            [](const RESULT& a, const RESULT& b) { return a.seconds < b.seconds; });
  return runs[runs.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  int repeat = 3;
  for (int i = 1; i < argc; ++i) {
    if (std::strncmp(argv[i], "--repeat=", 9) == 0) repeat = std::max(1, std::atoi(argv[i] + 9));
  }
  const char* tmp = std::getenv("TMPDIR");
  const fs::path dir = fs::path(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") /
                       ("lumesh_full_import_" + std::to_string(::getpid()));
  fs::create_directories(dir);
  const fs::path big = write_binary(dir / "sieve_1m.stl", SIEVE_PLATE(73, 72).facets());
  const fs::path small = write_binary(dir / "sieve_100k.stl", SIEVE_PLATE(23, 23).facets());

  const RESULT full = median_of(repeat, big, static_cast<MESH::SURFACE_RECONSTRUCTION>(3), 0.01);
  std::printf("full import 1M (planes, cylinders): %.3f s, %llu facets -> %llu faces\n",
              full.seconds, static_cast<unsigned long long>(full.facets),
              static_cast<unsigned long long>(full.faces));
  const RESULT plain = median_of(repeat, small, MESH::NONE, std::nan(""));
  std::printf("import 100k without recognition:    %.3f s, %llu facets -> %llu faces\n",
              plain.seconds, static_cast<unsigned long long>(plain.facets),
              static_cast<unsigned long long>(plain.faces));
  std::error_code ec;
  fs::remove_all(dir, ec);

  const bool ok_full = full.seconds < 8.0;
  const bool ok_plain = plain.seconds < 0.5;
  std::printf("targets: 1M full import < 8 s: %s; 100k without recognition < 0.5 s: %s\n",
              ok_full ? "met" : "MISSED", ok_plain ? "met" : "MISSED");
  return 0;
}
