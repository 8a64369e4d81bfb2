// Builds and destroys mesh bodies of triangular faces with shared edges and
// vertices. Reports time per iteration, faces per second and the peak
// resident memory of the process (a high-water mark over the whole run).
//
//   build/test/bench/kernel_body_bench --benchmark_filter=.

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <chrono>

#include "host/kernel/history/history.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"

namespace {

double peak_rss_mb() {
  rusage u{};
  getrusage(RUSAGE_SELF, &u);
  return static_cast<double>(u.ru_maxrss) / 1024.0;  // kilobytes on Linux
}

// nu x nv grid on a torus: 2 * nu * nv faces, 3 * nu * nv edges, nu * nv vertices.
void grid(benchmark::State& state, int& nu, int& nv) {
  const auto faces = state.range(0);
  nv = 500;
  nu = static_cast<int>(faces / (2 * nv));
}

// One untimed build and destroy, timed by hand: the first use of the memory
// pays the system's page faults, which later runs (and a long session) don't.
double cold_run_ms(int nu, int nv) {
  const auto t0 = std::chrono::steady_clock::now();
  make_triangle_torus(nu, nv, 100.0, 30.0)->lose();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
}

// Build and destroy within one change set: the history frees at once.
void BM_BuildAndDestroyBody(benchmark::State& state) {
  int nu, nv;
  grid(state, nu, nv);
  state.counters["cold_ms"] = cold_run_ms(nu, nv);
  for (auto _ : state) {
    BODY* body = make_triangle_torus(nu, nv, 100.0, 30.0);
    benchmark::DoNotOptimize(body);
    body->lose();
  }
  HISTORY::instance().forget();
  state.counters["faces"] = 2.0 * nu * nv;
  state.counters["faces_per_s"] =
      benchmark::Counter(2.0 * nu * nv, benchmark::Counter::kIsIterationInvariantRate);
  state.counters["peak_rss_MB"] = peak_rss_mb();
}
BENCHMARK(BM_BuildAndDestroyBody)
    ->Arg(100000)
    ->Arg(1000000)
    ->Iterations(3)
    ->Unit(benchmark::kMillisecond);

// Build, note the state, destroy (the body stays dormant for undo), then
// forget the history, which frees it.
void BM_BuildNoteDestroyForget(benchmark::State& state) {
  int nu, nv;
  grid(state, nu, nv);
  HISTORY& h = HISTORY::instance();
  for (auto _ : state) {
    BODY* body = make_triangle_torus(nu, nv, 100.0, 30.0);
    h.note_state();
    body->lose();
    h.note_state();
    h.forget();
  }
  state.counters["faces"] = 2.0 * nu * nv;
  state.counters["peak_rss_MB"] = peak_rss_mb();
}
BENCHMARK(BM_BuildNoteDestroyForget)->Arg(1000000)->Iterations(3)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
