// Surface recognition: planes, and planes with cylinders, on sieve plates of
// about 250,000 and 1,000,000 triangles (see tests/support/sieve_plate.h), built straight
// into a mesh, welded and optimised untimed. Timed: MESH::recognize_surfaces
// alone, the median of --repeat fresh meshes (3 by default). Printed per
// size and mode: the median time, the regions found (planes and cylinders
// against the plate's own: 6 planes and one cylinder per hole), and at the
// end the targets: planes on 1M under 3 s, planes with cylinders under 6 s,
// and 250k to 1M multiplying the plane time by at most 5.
//
//   recognition_bench [--repeat=N] [--small] [--only=0|1]
//     --small: plates of 16 and 64 holes; --only: the smaller (0) or the
//     larger (1) plate alone, for profiling one size.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "host/geometry/resolution.h"
#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/plane.h"
#include "lumesh/mesh/mesh.h"
#include "support/sieve_plate.h"

namespace {

using CLOCK = std::chrono::steady_clock;

struct RUN {
  double seconds = 0.0;
  std::size_t planes = 0;
  std::size_t cylinders = 0;
};

std::unique_ptr<MESH> build(const std::vector<TRI>& facets) {
  const resolution weld(resolution::inq_min_resabs(), -1.0);
  auto mesh = std::make_unique<MESH>(weld);
  for (const TRI& t : facets) {
    mesh->add_triangle(POSITION3(t.v[0][0], t.v[0][1], t.v[0][2]),
                       POSITION3(t.v[1][0], t.v[1][1], t.v[1][2]),
                       POSITION3(t.v[2][0], t.v[2][1], t.v[2][2]),
                       UNITVEC3(t.n[0], t.n[1], t.n[2]));
  }
  mesh->optimize(weld);
  return mesh;
}

RUN recognize(const std::vector<TRI>& facets, MESH::SURFACE_RECONSTRUCTION options,
              double res) {
  std::unique_ptr<MESH> mesh = build(facets);
  RUN run;
  const auto t0 = CLOCK::now();
  mesh->recognize_surfaces(options, resolution(res, -1.0));
  run.seconds = std::chrono::duration<double>(CLOCK::now() - t0).count();
  for (const MESH_REGION* r : mesh->get_regions()) {
    if (entity_cast<plane>(r->get_surface()) != nullptr) ++run.planes;
    if (entity_cast<cylinder>(r->get_surface()) != nullptr) ++run.cylinders;
  }
  return run;
}

RUN median_of(int repeat, const std::vector<TRI>& facets, MESH::SURFACE_RECONSTRUCTION options,
              double res) {
  std::vector<RUN> runs;
  for (int i = 0; i < repeat; ++i) runs.push_back(recognize(facets, options, res));
  std::sort(runs.begin(), runs.end(), [](const RUN& a, const RUN& b) { return a.seconds < b.seconds; });
  return runs[runs.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  int repeat = 3;
  bool small = false;
  int only = -1;
  for (int i = 1; i < argc; ++i) {
    if (std::strncmp(argv[i], "--repeat=", 9) == 0) {
      repeat = std::max(1, std::atoi(argv[i] + 9));
    } else if (std::strcmp(argv[i], "--only=0") == 0 || std::strcmp(argv[i], "--only=1") == 0) {
      only = argv[i][7] - '0';
    } else if (std::strcmp(argv[i], "--small") == 0) {
      small = true;
    } else {
      std::fprintf(stderr, "usage: recognition_bench [--repeat=N] [--small] [--only=0|1]\n");
      return 2;
    }
  }
  // Cells of 192 triangles: 36² ≈ 250k, 72² ≈ 1M triangles.
  const int sides[2] = {small ? 4 : 36, small ? 8 : 72};
  const double res = 0.01;
  const auto both = static_cast<MESH::SURFACE_RECONSTRUCTION>(MESH::PLANES | MESH::CYLINDERS);
  double plane_time[2] = {0, 0}, both_time[2] = {0, 0};
  std::printf("%-10s %-10s %-18s %10s %8s %10s %10s\n", "triangles", "holes", "mode", "seconds",
              "planes", "cylinders", "expected");
  for (int s = 0; s < 2; ++s) {
    if (only >= 0 && s != only) continue;
    const std::vector<TRI> facets = SIEVE_PLATE(sides[s], sides[s]).facets();
    const std::size_t holes = static_cast<std::size_t>(sides[s]) * sides[s];
    const RUN planes = median_of(repeat, facets, MESH::PLANES, res);
    const RUN cylinders = median_of(repeat, facets, both, res);
    plane_time[s] = planes.seconds;
    both_time[s] = cylinders.seconds;
    std::printf("%-10zu %-10zu %-18s %10.3f %8zu %10zu %10s\n", facets.size(), holes, "planes",
                planes.seconds, planes.planes, planes.cylinders, "6+32/hole");
    std::printf("%-10zu %-10zu %-18s %10.3f %8zu %10zu %10s\n", facets.size(), holes,
                "planes+cylinders", cylinders.seconds, cylinders.planes, cylinders.cylinders,
                "6+1/hole");
    if (planes.planes != 6 + 32 * holes || cylinders.planes != 6 || cylinders.cylinders != holes) {
      std::printf("  region counts differ from the plate's own surfaces\n");
    }
  }
  if (only >= 0) return 0;
  const double ratio = plane_time[1] / plane_time[0];
  std::printf("\nplanes, largest: %.3f s (target < 3 s: %s)\n", plane_time[1],
              plane_time[1] < 3.0 ? "met" : "MISSED");
  std::printf("planes+cylinders, largest: %.3f s (target < 6 s: %s)\n", both_time[1],
              both_time[1] < 6.0 ? "met" : "MISSED");
  std::printf("planes, 4x the triangles: x%.2f (target <= 5: %s)\n", ratio,
              ratio <= 5.0 ? "met" : "MISSED");
  return 0;
}
