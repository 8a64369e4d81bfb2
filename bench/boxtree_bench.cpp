// The box tree of a mesh body's facets, as the deviation measurement builds
// it: the facet list from the body (every facet's box), then the tree from the
// list, then one query per cell of the plate. The body is the sieve plate of
// 73 x 72 cells imported as single facets (1,013,792 triangles, one planar
// face each); building it is not timed. Each line is the median of --repeat
// runs (5 by default) in this process:
//   list   FACET_BOXES from the body
//   tree   OBJECT_BOXTREE from the list
//   build  both: the time to a usable tree; target under 0.5 s
//   query  one collision query per cell (its box), facets found in all
//   free   releasing the tree
// and the tree's shape and the peak resident memory of the process.
//
//   build/test/bench/boxtree_bench [--repeat=N] [--cells=NXxNY]

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "host/kernel/history/history.h"
#include "host/kernel/topology/body.h"
#include "lumesh/geo/boxed_object.h"
#include "lumesh/geo/boxtree_node.h"
#include "lumesh/geo/face_boxes.h"
#include "support/sieve_plate.h"
#include "support/sieve_plate_body.h"

namespace {

using CLOCK = std::chrono::steady_clock;

double seconds_since(CLOCK::time_point t0) {
  return std::chrono::duration<double>(CLOCK::now() - t0).count();
}

double peak_rss_mb() {
  rusage u{};
  getrusage(RUSAGE_SELF, &u);
  return static_cast<double>(u.ru_maxrss) / 1024.0;  // kilobytes on Linux
}

struct RUN {
  double list = 0.0, tree = 0.0, query = 0.0, release = 0.0;
  std::size_t found = 0;
  BOXTREE_SHAPE shape;
};

RUN run_once(BODY* body, int nx, int ny) {
  RUN r;
  auto t0 = CLOCK::now();
  FACET_BOXES facets(body);
  r.list = seconds_since(t0);
  t0 = CLOCK::now();
  auto tree = std::make_unique<OBJECT_BOXTREE<BOXED_FACET>>(facets);
  r.tree = seconds_since(t0);
  r.shape = boxtree_shape(*tree->get_root());
  t0 = CLOCK::now();
  const double p = SIEVE_PLATE::kPitch;
  for (int j = 0; j < ny; ++j) {
    for (int i = 0; i < nx; ++i) {
      const BOX3 cell(POSITION3(i * p, j * p, 0.0),
                      POSITION3((i + 1) * p, (j + 1) * p, SIEVE_PLATE::kThickness));
      tree->collisions(cell, [&r](BOXED_FACET&) { ++r.found; });
    }
  }
  r.query = seconds_since(t0);
  t0 = CLOCK::now();
  tree.reset();
  r.release = seconds_since(t0);
  return r;
}

double median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  int repeat = 5;
  int nx = 73, ny = 72;
  for (int i = 1; i < argc; ++i) {
    if (std::strncmp(argv[i], "--repeat=", 9) == 0) repeat = std::max(1, std::atoi(argv[i] + 9));
    if (std::strncmp(argv[i], "--cells=", 8) == 0 &&
        std::sscanf(argv[i] + 8, "%dx%d", &nx, &ny) != 2) {
      std::fprintf(stderr, "--cells=NXxNY, for example --cells=73x72\n");
      return 2;
    }
  }
  BODY* body = make_sieve_plate_body(nx, ny);
  const int facets = body->number_of_faces();
  std::vector<RUN> runs;
  for (int i = 0; i < repeat; ++i) runs.push_back(run_once(body, nx, ny));
  auto pick = [&runs](double RUN::*field) {
    std::vector<double> v;
    for (const RUN& r : runs) v.push_back(r.*field);
    return median(v);
  };
  std::vector<double> build;
  for (const RUN& r : runs) build.push_back(r.list + r.tree);
  const double build_s = median(build);
  const RUN& any = runs.front();
  std::printf("facets %d (sieve plate %d x %d), median of %d runs\n", facets, nx, ny, repeat);
  std::printf("list   %.3f s\n", pick(&RUN::list));
  std::printf("tree   %.3f s\n", pick(&RUN::tree));
  std::printf("build  %.3f s\n", build_s);
  std::printf("query  %.3f s for %d cell boxes, %zu facets found\n", pick(&RUN::query), nx * ny,
              any.found);
  std::printf("free   %.3f s\n", pick(&RUN::release));
  std::printf("shape  %zu inner nodes, %zu leaves, depth %zu, largest leaf %zu, %zu objects\n",
              any.shape.nodes, any.shape.leaves, any.shape.depth, any.shape.largest_leaf,
              any.shape.objects);
  std::printf("peak_rss %.0f MB\n", peak_rss_mb());
  std::printf("target: build of a 1M facet tree < 0.5 s: %s\n",
              facets < 1000000 ? "not measured (fewer than 1M facets)"
              : build_s < 0.5  ? "met"
                               : "MISSED");
  body->lose();
  HISTORY::instance().forget();
  return 0;
}
