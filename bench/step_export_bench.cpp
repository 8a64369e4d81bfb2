// STEP export of a perforated plate of about 5,000 faces (3 per cell plus the
// outer walls): conversion to OCCT, writing and renaming, measured together
// as write_step does them. Output: one line per run with faces, seconds and
// the file's size, then Google Benchmark's own table.

#include <benchmark/benchmark.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "host/exchange/step_export.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"

namespace {

std::string scratch_path() {
  const char* tmp = std::getenv("TMPDIR");
  return std::string(tmp != nullptr ? tmp : "/tmp") + "/lumesh-step-bench-" +
         std::to_string(::getpid()) + ".step";
}

void BM_StepExportPerforatedPlate(benchmark::State& state) {
  const int nx = static_cast<int>(state.range(0)), ny = static_cast<int>(state.range(1));
  BODY* plate = make_perforated_plate(nx, ny, 4.0, 2.0, 1.2, 16);
  const std::string path = scratch_path();
  for (auto _ : state) {
    const auto t0 = std::chrono::steady_clock::now();
    write_step({{plate, TRANSFORM3(), "plate", false, 0, 0, 0}}, path);
    const double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    struct stat st {};
    ::stat(path.c_str(), &st);
    std::printf("step_export faces=%d seconds=%.3f bytes=%lld\n", plate->number_of_faces(), s,
                static_cast<long long>(st.st_size));
  }
  state.counters["faces"] = plate->number_of_faces();
  std::remove(path.c_str());
  plate->lose();
}
BENCHMARK(BM_StepExportPerforatedPlate)
    ->Args({41, 40})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
