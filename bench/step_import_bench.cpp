// STEP import of perforated plates of 16 x 16 and 18 x 18 cells, 772 and 976
// faces (3 per cell plus the outer walls) on exact planes and cylinders bounded by circles, as
// the exporter writes it: reading, transfer and the building of the kernel
// body, measured together as read_step does them. Output: one line per run
// with faces, edges, seconds and the file's size, then Google Benchmark's own
// table.

#include <benchmark/benchmark.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "host/exchange/step_export.h"
#include "host/exchange/step_import.h"
#include "host/kernel/ops/body_checker.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"

namespace {

std::string scratch_path() {
  const char* tmp = std::getenv("TMPDIR");
  return std::string(tmp != nullptr ? tmp : "/tmp") + "/lumesh-step-import-bench-" +
         std::to_string(::getpid()) + ".step";
}

void BM_StepImportPerforatedPlate(benchmark::State& state) {
  const int nx = static_cast<int>(state.range(0)), ny = static_cast<int>(state.range(1));
  BODY* plate = make_perforated_plate(nx, ny, 4.0, 2.0, 1.2, 16);
  const std::string path = scratch_path();
  write_step({{plate, TRANSFORM3(), "plate", false, 0, 0, 0}}, path);
  plate->lose();
  struct stat st {};
  ::stat(path.c_str(), &st);
  int faces = 0;
  for (auto _ : state) {
    const auto t0 = std::chrono::steady_clock::now();
    std::vector<BODY*> bodies = read_step(path);
    const double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    faces = 0;
    int edges = 0;
    for (BODY* b : bodies) {
      faces += b->number_of_faces();
      edges += check_body(b).edges;
    }
    std::printf("step_import bodies=%zu faces=%d edges=%d seconds=%.3f bytes=%lld\n",
                bodies.size(), faces, edges, s, static_cast<long long>(st.st_size));
    for (BODY* b : bodies) b->lose();
  }
  state.counters["faces"] = faces;
  std::remove(path.c_str());
}
BENCHMARK(BM_StepImportPerforatedPlate)
    ->Args({16, 16})
    ->Args({18, 18})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
