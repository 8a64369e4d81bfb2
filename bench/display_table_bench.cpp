// Display tables of 100,000 rows, as a study of a large part fills them:
// filling the logical table, sorting by a number and by text (falling),
// a user filter on text, the program's filter on a hidden mark, and both
// filters with a sort. Output: one line per run with the operation, rows
// shown and seconds, then Google Benchmark's own table.

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "host/ui/table_registry.h"

namespace {

constexpr std::size_t kRows = 100000;

std::vector<LOGICAL_TABLE::ROW> make_rows() {
  std::mt19937 rng(17);  // a fixed seed: the same table every run
  std::uniform_real_distribution<double> area(0.0, 500.0);
  std::uniform_int_distribution<int> letter(0, 25);
  std::vector<LOGICAL_TABLE::ROW> rows;
  rows.reserve(kRows);
  for (std::size_t i = 0; i < kRows; ++i) {
    std::string name = "m";
    for (int k = 0; k < 6; ++k)
      name.push_back(static_cast<char>((k % 2 ? 'a' : 'A') + letter(rng)));
    rows.push_back({TABLE_VALUE::string(name), TABLE_VALUE::string("/study/" + name),
                    TABLE_VALUE::real(area(rng)), TABLE_VALUE::real(area(rng) / 1000.0),
                    TABLE_VALUE::boolean(i % 3 != 0)});
  }
  return rows;
}

struct FIXTURE {
  FIXTURE() {
    registry.create_logical_table("LT", {{"NAME", COLUMN_TYPE::STRING, "Name"},
                                         {"PATH", COLUMN_TYPE::STRING, "Path"},
                                         {"ERROR-AREA", COLUMN_TYPE::NUMBER, "Error Area"},
                                         {"MAX-DISTANCE", COLUMN_TYPE::LENGTH, "Max"},
                                         {"SELECTED", COLUMN_TYPE::BOOLEAN, "Selected"}});
    registry.logical_table("LT").replace_rows(make_rows());
    DISPLAY_TABLE_OPTIONS o;
    o.columns = {"NAME", "MAX-DISTANCE", "ERROR-AREA"};
    DISPLAY_TABLE& t = registry.create_display_table("DT", "LT", o);
    t.allow_user_filter({"NAME", "ERROR-AREA"});
  }
  TABLE_REGISTRY registry;
};

FIXTURE& fixture() {
  static FIXTURE f;
  return f;
}

void report(const char* op, std::size_t shown, double seconds) {
  std::printf("display_table op=%s rows=%zu shown=%zu seconds=%.4f\n", op, kRows, shown, seconds);
}

template <class SETUP>
void run(benchmark::State& state, const char* op, SETUP setup) {
  DISPLAY_TABLE& t = fixture().registry.display_table("DT");
  std::size_t shown = 0;
  for (auto _ : state) {
    t.clear_user_filter();
    t.clear_program_filter();
    t.sort("");
    const auto t0 = std::chrono::steady_clock::now();
    setup(t);
    shown = t.rows().size();
    const double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    report(op, shown, s);
  }
  state.counters["shown"] = static_cast<double>(shown);
}

void BM_Fill(benchmark::State& state) {
  std::vector<LOGICAL_TABLE::ROW> rows = make_rows();
  LOGICAL_TABLE& lt = fixture().registry.logical_table("LT");
  for (auto _ : state) {
    std::vector<LOGICAL_TABLE::ROW> copy = rows;
    const auto t0 = std::chrono::steady_clock::now();
    lt.replace_rows(std::move(copy));
    report("fill", lt.number_of_rows(),
           std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
  }
}

void BM_SortByNumberFalling(benchmark::State& state) {
  run(state, "sort_number_reverse", [](DISPLAY_TABLE& t) { t.sort("ERROR-AREA", true); });
}

void BM_SortByText(benchmark::State& state) {
  run(state, "sort_text", [](DISPLAY_TABLE& t) { t.sort("NAME"); });
}

void BM_UserFilterContains(benchmark::State& state) {
  run(state, "user_filter_contains", [](DISPLAY_TABLE& t) {
    COLUMN_FILTER f;
    f.column = "NAME";
    f.first = {FILTER_TEST::CONTAINS, TABLE_VALUE::string("ab")};
    t.set_user_filter(f);
  });
}

void BM_ProgramFilterOnMark(benchmark::State& state) {
  run(state, "program_filter_mark", [](DISPLAY_TABLE& t) {
    COLUMN_FILTER f;
    f.column = "SELECTED";
    f.first = {FILTER_TEST::EQUAL, TABLE_VALUE::boolean(true)};
    t.set_program_filter(f);
  });
}

void BM_FiltersAndSort(benchmark::State& state) {
  run(state, "filters_and_sort", [](DISPLAY_TABLE& t) {
    COLUMN_FILTER mark;
    mark.column = "SELECTED";
    mark.first = {FILTER_TEST::EQUAL, TABLE_VALUE::boolean(true)};
    t.set_program_filter(mark);
    COLUMN_FILTER area;
    area.column = "ERROR-AREA";
    area.first = {FILTER_TEST::GREATER, TABLE_VALUE::real(100.0)};
    t.set_user_filter(area);
    t.sort("ERROR-AREA", true);
  });
}

BENCHMARK(BM_Fill)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_SortByNumberFalling)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_SortByText)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_UserFilterContains)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_ProgramFilterOnMark)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_FiltersAndSort)->Unit(benchmark::kMillisecond)->Iterations(5);

}  // namespace

BENCHMARK_MAIN();
