// Mass properties and face merging of the 1,000,000-facet sieve plate, a
// body of one planar face per facet as an import without recognition makes
// it. Reports time per iteration and the volume found, against the plate's
// own (the facets' corners are floats, so the two agree to about 1e-7).
//
//   build/test/bench/mass_props_bench --benchmark_filter=.

#include <benchmark/benchmark.h>

#include "host/kernel/history/history.h"
#include "host/kernel/ops/mass_props.h"
#include "host/kernel/ops/merge_faces.h"
#include "host/kernel/topology/body.h"
#include "support/sieve_plate_body.h"

namespace {

// Cells of the plate for about `facets` facets: 192 facets a cell.
void cells(std::int64_t facets, int& nx, int& ny) {
  const auto c = static_cast<int>(facets / 192);
  ny = 1;
  while (ny * ny < c) ++ny;
  nx = c / ny;
}

void BM_MassPropsOfFacetBody(benchmark::State& state) {
  int nx, ny;
  cells(state.range(0), nx, ny);
  BODY* body = make_sieve_plate_body(nx, ny);
  MASS_PROPS mp;
  for (auto _ : state) {
    mp = MASS_PROPS{};
    if (mass_props(body, TRANSFORM3(), mp) != nullptr)
      state.SkipWithError("mass properties failed");
    benchmark::DoNotOptimize(mp);
  }
  state.counters["faces"] = body->number_of_faces();
  state.counters["volume"] = mp.volume;
  state.counters["expected"] = sieve_plate_volume(nx, ny);
  state.counters["area"] = mp.area();
  body->lose();
  HISTORY::instance().forget();
}
BENCHMARK(BM_MassPropsOfFacetBody)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

// merge-3d on the same body joins the coplanar facets of its top, bottom
// and outer walls; each hole's wall stays, facet by facet, as its facets
// lie on planes of different directions.
void BM_MergeCoplanarFacets(benchmark::State& state) {
  int nx, ny;
  cells(state.range(0), nx, ny);
  double faces_after = 0;
  for (auto _ : state) {
    state.PauseTiming();
    BODY* body = make_sieve_plate_body(nx, ny);
    HISTORY::instance().note_state();
    state.ResumeTiming();
    MERGE_3D_RESULT r;
    if (merge_3d(body, {}, &r) != nullptr) state.SkipWithError("merge failed");
    state.PauseTiming();
    faces_after = body->number_of_faces();
    body->lose();
    HISTORY::instance().forget();
    state.ResumeTiming();
  }
  state.counters["faces_after"] = faces_after;
}
BENCHMARK(BM_MergeCoplanarFacets)
    ->Arg(100000)
    ->Arg(1000000)
    ->Iterations(2)
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
