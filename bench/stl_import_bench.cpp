// STL import: read, weld and optimise a mesh of about a million triangles
// through MESH_BUILDER::import_stl, side by side with assimp's STL import
// with vertex joining (when assimp was found at configure time).
//
// The mesh is made here: a sieve plate, a rectangular plate 2 mm thick with a
// grid of round through holes of 32 segments each, triangulated cell by cell
// (top and bottom annulus between the cell's square and its hole, and the
// hole's wall), plus the plate's outer walls. Every vertex is shared by the
// triangles around it, as in a file written by a CAD program. It is written
// four ways into a temporary directory ($TMPDIR or /tmp), removed at the end
// (also when the run is interrupted):
//   binary          float32 records in cell order, normals computed
//   text            the same facets as text, every number as %.9g of the float
//   binary_sorted   facets sorted by centroid x, each facet's corners rotated
//                   so that its smallest-x corner comes first
//   text_sorted     the same as text
// All variants must give the same polygon and vertex counts (the distinct
// corner positions of the generator); the program aborts otherwise.
//
// Per variant and importer:
//   cold   one import in a fresh child process (this program with --stl_child),
//          in rounds over all variants, 3 by default; the median counts. The
//          process has never touched the memory it fills, so the time
//          includes the first-touch page faults; its peak RSS (VmHWM) is that
//          of this one import. The files are in the page cache in every case.
//   warm   Google Benchmark iterations in this process after one untimed
//          import of the same file: memory and caches warm.
// Lumesh's time is read + weld + optimise; destroying the meshes is timed
// separately. assimp's time is Importer::ReadFile with
// aiProcess_JoinIdenticalVertices; FreeScene is timed separately.
//
//   build/test/bench/stl_import_bench
//   build/test/bench/stl_import_bench --stl_cells=20x20 --stl_keep   # small mesh, files kept
//   build/test/bench/stl_import_bench --stl_child=lumesh FILE        # one import, one result line
//   perf record build/test/bench/stl_import_bench --stl_repeat=10 --stl_child=lumesh FILE
//
// Own flags: --stl_cells=NXxNY (73x72: 1,013,792 triangles), --stl_iterations=N
// (warm iterations, 3), --stl_cold_runs=N (rounds of cold imports, 3),
// --stl_keep (keep the files, print where),
// --stl_child=lumesh|assimp|stages FILE (with --stl_repeat=N: N imports in a
// row; stages: the reader alone, welding and optimisation timed apart).
// Everything else goes to Google Benchmark.

#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <list>
#include <memory>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include "host/geometry/resolution.h"
#include "lumesh/data_exchange/facet_reader.h"
#include "lumesh/data_exchange/stl_reader.h"
#include "lumesh/mesh/mesh.h"
#include "lumesh/reverse_engineering/mesh_builder.h"
#include "support/sieve_plate.h"

#ifdef LUMESH_BENCH_ASSIMP
#include <assimp/config.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <assimp/Importer.hpp>
#endif

namespace {

namespace fs = std::filesystem;
using CLOCK = std::chrono::steady_clock;

double seconds_since(CLOCK::time_point t0) {
  return std::chrono::duration<double>(CLOCK::now() - t0).count();
}

// ---------------------------------------------------------------- failure

std::string g_temp_dir;  // removed by remove_temp_dir (parent only)
bool g_keep_files = false;

void remove_temp_dir() {
  if (g_temp_dir.empty() || g_keep_files) return;
  std::error_code ec;
  fs::remove_all(g_temp_dir, ec);
  g_temp_dir.clear();
}

// The files and the directory once more, for an interrupted run: made before
// the handler is installed and never changed after, so that the handler
// only calls unlink and rmdir.
std::vector<std::string> g_doomed;

extern "C" void remove_files_and_reraise(int signal_number) {
  for (const std::string& path : g_doomed) {
    if (unlink(path.c_str()) != 0) rmdir(path.c_str());
  }
  std::signal(signal_number, SIG_DFL);
  std::raise(signal_number);
}

[[noreturn]] void fail(const std::string& message) {
  std::fprintf(stderr, "\n*** stl_import_bench: %s\n", message.c_str());
  std::fflush(stderr);
  remove_temp_dir();
  std::abort();
}

// ---------------------------------------------------------------- the mesh

// Facets sorted by centroid x, each with its smallest-x corner first (the
// corners rotated, so the orientation stays).
std::vector<TRI> sorted_along_x(std::vector<TRI> facets) {
  for (TRI& t : facets) {
    int first = 0;
    for (int k = 1; k < 3; ++k) {
      if (t.v[k][0] < t.v[first][0]) first = k;
    }
    const TRI old = t;
    for (int k = 0; k < 3; ++k) std::memcpy(t.v[k], old.v[(first + k) % 3], sizeof t.v[k]);
  }
  std::stable_sort(facets.begin(), facets.end(), [](const TRI& a, const TRI& b) {
    return double(a.v[0][0]) + a.v[1][0] + a.v[2][0] < double(b.v[0][0]) + b.v[1][0] + b.v[2][0];
  });
  return facets;
}

// The number of distinct corner positions: what welding at a tolerance far
// below the smallest edge must find.
std::size_t distinct_positions(const std::vector<TRI>& facets) {
  std::vector<std::array<std::uint32_t, 3>> keys;
  keys.reserve(facets.size() * 3);
  for (const TRI& t : facets) {
    for (const auto& v : t.v) {
      std::array<std::uint32_t, 3> key{};
      std::memcpy(key.data(), v, sizeof(key));
      keys.push_back(key);
    }
  }
  std::sort(keys.begin(), keys.end());
  return static_cast<std::size_t>(std::unique(keys.begin(), keys.end()) - keys.begin());
}

// ---------------------------------------------------------------- files

class OUT_FILE {
 public:
  explicit OUT_FILE(const std::string& path) : file_(std::fopen(path.c_str(), "wb")), path_(path) {
    if (file_ == nullptr) fail("cannot write " + path);
    buffer_.reserve(kFlush + 4096);
  }
  ~OUT_FILE() { close(); }
  void put(const char* p, std::size_t n) {
    buffer_.append(p, n);
    if (buffer_.size() >= kFlush) flush();
  }
  void put(const std::string& s) { put(s.data(), s.size()); }
  void close() {
    if (file_ == nullptr) return;
    flush();
    if (std::fclose(file_) != 0) fail("cannot write " + path_);
    file_ = nullptr;
  }

 private:
  static constexpr std::size_t kFlush = std::size_t{1} << 20;
  void flush() {
    if (!buffer_.empty() &&
        std::fwrite(buffer_.data(), 1, buffer_.size(), file_) != buffer_.size()) {
      fail("cannot write " + path_);
    }
    buffer_.clear();
  }
  std::FILE* file_;
  std::string path_;
  std::string buffer_;
};

void write_binary(const std::string& path, const std::vector<TRI>& facets) {
  OUT_FILE out(path);
  char header[80] = {};
  std::snprintf(header, sizeof header, "binary STL of a sieve plate, written by stl_import_bench");
  out.put(header, sizeof header);
  const auto count = static_cast<std::uint32_t>(facets.size());
  unsigned char bytes[4];
  for (int k = 0; k < 4; ++k) bytes[k] = static_cast<unsigned char>(count >> (8 * k));
  out.put(reinterpret_cast<const char*>(bytes), 4);
  static_assert(sizeof(float) == 4);
  for (const TRI& t : facets) {
    char record[50] = {};
    // Little-endian float32 on this platform, as the format wants.
    std::memcpy(record, t.n, 12);
    std::memcpy(record + 12, t.v, 36);
    out.put(record, sizeof record);
  }
  out.close();
}

// %.9g of the float: enough digits that every float reads back as itself.
char* put_number(char* p, float value) {
  *p++ = ' ';
  const auto r = std::to_chars(p, p + 32, value, std::chars_format::general, 9);
  return r.ptr;
}

void write_text(const std::string& path, const std::vector<TRI>& facets) {
  OUT_FILE out(path);
  out.put("solid sieve_plate\n");
  for (const TRI& t : facets) {
    char line[512];
    char* p = line;
    p = std::copy_n("facet normal", 12, p);
    for (float c : t.n) p = put_number(p, c);
    p = std::copy_n("\n  outer loop\n", 14, p);
    for (const auto& v : t.v) {
      p = std::copy_n("    vertex", 10, p);
      for (float c : v) p = put_number(p, c);
      *p++ = '\n';
    }
    p = std::copy_n("  endloop\nendfacet\n", 19, p);
    out.put(line, static_cast<std::size_t>(p - line));
  }
  out.put("endsolid sieve_plate\n");
  out.close();
}

// ---------------------------------------------------------------- imports

struct IMPORT_RESULT {
  double import_s = 0.0;   // read + weld + optimise (assimp: ReadFile)
  double destroy_s = 0.0;  // the meshes deleted (assimp: FreeScene)
  std::uint64_t polygons = 0;
  std::uint64_t vertices = 0;
  std::uint64_t degenerate = 0;
  long peak_rss_kb = 0;  // of the child process; 0 in-process
};

IMPORT_RESULT import_lumesh(const std::string& path) {
  IMPORT_RESULT r;
  const std::wstring wide = fs::path(path).wstring();
  std::list<std::unique_ptr<MESH>> meshes;
  const CLOCK::time_point t0 = CLOCK::now();
  {
    MESH_BUILDER builder(resolution::inq_min_resabs());
    builder.import_stl(wide.c_str(), meshes, nullptr);
  }
  r.import_s = seconds_since(t0);
  if (meshes.size() != 1)
    fail("Lumesh made " + std::to_string(meshes.size()) + " meshes of " + path);
  r.polygons = meshes.front()->get_polygon_count();
  r.vertices = meshes.front()->get_vertex_count();
  r.degenerate = meshes.front()->get_degenerate_polygon_count();
  const CLOCK::time_point t1 = CLOCK::now();
  meshes.clear();
  r.destroy_s = seconds_since(t1);
  return r;
}

// The import's stages timed apart, for profiling: the reader alone, then
// reading with welding (MESH::add_triangle, as the builder does), then the
// optimisation. Prints one line.
void time_lumesh_stages(const std::string& path) {
  const std::wstring wide = fs::path(path).wstring();
  TRIANGLULAR_FACET facet;
  double read_s = 0.0;
  {
    const CLOCK::time_point t0 = CLOCK::now();
    std::unique_ptr<FACET_READER> reader(STL_READER::make_stl_reader(wide, nullptr));
    if (reader == nullptr) fail("cannot open " + path);
    std::uint64_t n = 0;
    while (reader->read_facet(facet)) ++n;
    read_s = seconds_since(t0);
    benchmark::DoNotOptimize(n);
  }
  const MESH_BUILDER builder(resolution::inq_min_resabs());
  const CLOCK::time_point t0 = CLOCK::now();
  std::unique_ptr<FACET_READER> reader(STL_READER::make_stl_reader(wide, nullptr));
  auto mesh = std::make_unique<MESH>(builder.get_mesh_import_resolution());
  while (reader->read_facet(facet)) {
    mesh->add_triangle(facet.vertex1, facet.vertex2, facet.vertex3, UNITVEC3(facet.normal.norm()));
  }
  const double weld_s = seconds_since(t0);
  const CLOCK::time_point t1 = CLOCK::now();
  mesh->optimize(builder.get_mesh_import_resolution());
  const double optimize_s = seconds_since(t1);
  const CLOCK::time_point t2 = CLOCK::now();
  mesh.reset();
  const double destroy_s = seconds_since(t2);
  std::printf(
      "STAGES read %.0f ms, read+weld %.0f ms (weld %.0f ms), optimise %.0f ms, "
      "destroy %.0f ms\n",
      read_s * 1e3, weld_s * 1e3, (weld_s - read_s) * 1e3, optimize_s * 1e3, destroy_s * 1e3);
}

#ifdef LUMESH_BENCH_ASSIMP
IMPORT_RESULT import_assimp(const std::string& path) {
  IMPORT_RESULT r;
  Assimp::Importer importer;
  const CLOCK::time_point t0 = CLOCK::now();
  const aiScene* scene = importer.ReadFile(path, aiProcess_JoinIdenticalVertices);
  r.import_s = seconds_since(t0);
  if (scene == nullptr) fail("assimp could not read " + path + ": " + importer.GetErrorString());
  for (unsigned m = 0; m < scene->mNumMeshes; ++m) {
    r.polygons += scene->mMeshes[m]->mNumFaces;
    r.vertices += scene->mMeshes[m]->mNumVertices;
  }
  const CLOCK::time_point t1 = CLOCK::now();
  importer.FreeScene();
  r.destroy_s = seconds_since(t1);
  return r;
}
constexpr bool kHaveAssimp = true;
#else
IMPORT_RESULT import_assimp(const std::string&) {
  fail("built without assimp");
}
constexpr bool kHaveAssimp = false;
#endif

long own_peak_rss_kb() {
  // VmHWM: the high-water mark of this process's own memory (after exec a
  // fresh one, unlike ru_maxrss, which carries the parent's over).
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("VmHWM:", 0) == 0) return std::atol(line.c_str() + 6);
  }
  return 0;
}

// The child's side: one import (or `repeat` of them, for a profiler), one
// line each; the peak RSS is that of the process so far.
int run_child(const std::string& kind, const std::string& path, int repeat) {
  for (int k = 0; k < repeat; ++k) {
    IMPORT_RESULT r;
    if (kind == "stages") {
      time_lumesh_stages(path);
      continue;
    }
    if (kind == "lumesh") {
      r = import_lumesh(path);
    } else if (kind == "assimp") {
      r = import_assimp(path);
    } else {
      fail("unknown --stl_child kind " + kind);
    }
    std::printf("RESULT %.9f %.9f %llu %llu %llu %ld\n", r.import_s, r.destroy_s,
                static_cast<unsigned long long>(r.polygons),
                static_cast<unsigned long long>(r.vertices),
                static_cast<unsigned long long>(r.degenerate), own_peak_rss_kb());
    std::fflush(stdout);
  }
  return 0;
}

std::string self_path() {
  std::error_code ec;
  const fs::path p = fs::read_symlink("/proc/self/exe", ec);
  if (ec) fail("cannot find this program's path");
  return p.string();
}

// The parent's side: this program again, as a fresh process.
IMPORT_RESULT import_in_child(const std::string& kind, const std::string& path) {
  const std::string command = "'" + self_path() + "' --stl_child=" + kind + " '" + path + "'";
  std::FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) fail("cannot start " + command);
  IMPORT_RESULT r;
  bool found = false;
  char line[512];
  while (std::fgets(line, sizeof line, pipe) != nullptr) {
    unsigned long long p = 0, v = 0, d = 0;
    if (!found && std::sscanf(line, "RESULT %lf %lf %llu %llu %llu %ld", &r.import_s, &r.destroy_s,
                              &p, &v, &d, &r.peak_rss_kb) == 6) {
      r.polygons = p;
      r.vertices = v;
      r.degenerate = d;
      found = true;
    }
  }
  const int status = pclose(pipe);
  if (status != 0 || !found) fail("the child import failed: " + command);
  return r;
}

// ---------------------------------------------------------------- variants

struct STATS {
  bool done = false;
  double min_s = 0.0, median_s = 0.0, mean_destroy_s = 0.0;
  std::size_t iterations = 0;
};

struct VARIANT {
  std::string name;
  std::string path;
  bool sorted = false;
  bool text = false;
  std::vector<IMPORT_RESULT> lumesh_colds, assimp_colds;  // every cold run
  IMPORT_RESULT lumesh_cold, assimp_cold;  // their medians; the peak RSS is the largest
  STATS lumesh_warm, assimp_warm;
};

// The median import and destruction time of the runs (the lower one of an
// even count), with the largest peak RSS.
IMPORT_RESULT median_of(const std::vector<IMPORT_RESULT>& runs) {
  if (runs.empty()) return IMPORT_RESULT{};
  std::vector<double> imports, destroys;
  IMPORT_RESULT m = runs.front();
  for (const IMPORT_RESULT& r : runs) {
    imports.push_back(r.import_s);
    destroys.push_back(r.destroy_s);
    m.peak_rss_kb = std::max(m.peak_rss_kb, r.peak_rss_kb);
  }
  std::sort(imports.begin(), imports.end());
  std::sort(destroys.begin(), destroys.end());
  m.import_s = imports[(imports.size() - 1) / 2];
  m.destroy_s = destroys[(destroys.size() - 1) / 2];
  return m;
}

std::vector<VARIANT> g_variants;
std::uint64_t g_expected_polygons = 0;
std::uint64_t g_expected_vertices = 0;
std::uint64_t g_assimp_vertices = 0;  // of the first assimp import; the others must agree

void check_lumesh_counts(const VARIANT& v, const IMPORT_RESULT& r, const char* where) {
  if (r.polygons != g_expected_polygons || r.vertices != g_expected_vertices || r.degenerate != 0) {
    fail("Lumesh, " + v.name + " (" + where + "): " + std::to_string(r.polygons) + " polygons, " +
         std::to_string(r.vertices) + " vertices, " + std::to_string(r.degenerate) +
         " degenerate; every variant must give " + std::to_string(g_expected_polygons) +
         " polygons, " + std::to_string(g_expected_vertices) + " vertices, 0 degenerate");
  }
}

void check_assimp_counts(const VARIANT& v, const IMPORT_RESULT& r, const char* where) {
  if (g_assimp_vertices == 0) g_assimp_vertices = r.vertices;
  if (r.polygons != g_expected_polygons || r.vertices != g_assimp_vertices) {
    fail("assimp, " + v.name + " (" + where + "): " + std::to_string(r.polygons) + " faces, " +
         std::to_string(r.vertices) + " vertices; every variant must give " +
         std::to_string(g_expected_polygons) + " faces, " + std::to_string(g_assimp_vertices) +
         " vertices");
  }
}

STATS stats_of(std::vector<double> times, const std::vector<double>& destroys) {
  STATS s;
  if (times.empty()) return s;
  s.done = true;
  s.iterations = times.size();
  std::sort(times.begin(), times.end());
  s.min_s = times.front();
  const std::size_t n = times.size();
  s.median_s = n % 2 == 1 ? times[n / 2] : 0.5 * (times[n / 2 - 1] + times[n / 2]);
  double sum = 0.0;
  for (double d : destroys) sum += d;
  s.mean_destroy_s = sum / static_cast<double>(destroys.size());
  return s;
}

double process_peak_rss_mb() {
  rusage u{};
  getrusage(RUSAGE_SELF, &u);
  return static_cast<double>(u.ru_maxrss) / 1024.0;  // kilobytes on Linux
}

// Times `import` on the variant's file after one untimed run, checking every
// result; the statistics go to `out`, the last result is returned.
IMPORT_RESULT time_warm(benchmark::State& state, const VARIANT& v,
                        IMPORT_RESULT (*import)(const std::string&),
                        void (*check)(const VARIANT&, const IMPORT_RESULT&, const char*),
                        STATS& out) {
  check(v, import(v.path), "warm-up");  // untimed
  std::vector<double> times, destroys;
  IMPORT_RESULT r;
  for (auto _ : state) {
    r = import(v.path);
    state.SetIterationTime(r.import_s);
    times.push_back(r.import_s);
    destroys.push_back(r.destroy_s);
    check(v, r, "warm");
  }
  out = stats_of(times, destroys);
  state.counters["vertices"] = static_cast<double>(r.vertices);
  state.counters["process_peak_rss_MB"] = process_peak_rss_mb();
  return r;
}

void BM_Lumesh(benchmark::State& state, VARIANT* v) {
  const IMPORT_RESULT r = time_warm(state, *v, import_lumesh, check_lumesh_counts, v->lumesh_warm);
  state.counters["polygons"] = static_cast<double>(r.polygons);
  state.counters["destroy_ms"] = v->lumesh_warm.mean_destroy_s * 1e3;
  state.counters["triangles_per_s"] = benchmark::Counter(
      static_cast<double>(r.polygons), benchmark::Counter::kIsIterationInvariantRate);
}

void BM_Assimp(benchmark::State& state, VARIANT* v) {
  const IMPORT_RESULT r = time_warm(state, *v, import_assimp, check_assimp_counts, v->assimp_warm);
  state.counters["faces"] = static_cast<double>(r.polygons);
  state.counters["free_ms"] = v->assimp_warm.mean_destroy_s * 1e3;
}

// ---------------------------------------------------------------- report

std::string ms(double s) {
  char b[32];
  std::snprintf(b, sizeof b, "%.0f", s * 1e3);
  return b;
}

void print_summary() {
  std::printf(
      "\nSTL import, %llu triangles, %llu distinct positions (times in ms; cold: median of "
      "the fresh child processes, peak RSS their largest; warm: median of the benchmark's "
      "iterations)\n",
      static_cast<unsigned long long>(g_expected_polygons),
      static_cast<unsigned long long>(g_expected_vertices));
  std::printf("%-16s %8s %8s %8s %8s %9s | %8s %8s %9s %9s\n", "variant", "cold", "warm", "destroy",
              "destroy", "peak RSS", "assimp", "assimp", "assimp", "assimp");
  std::printf("%-16s %8s %8s %8s %8s %9s | %8s %8s %9s %9s\n", "", "", "", "cold", "warm", "MB",
              "cold", "warm", "RSS MB", "vertices");
  for (const VARIANT& v : g_variants) {
    const auto warm = [](const STATS& s) { return s.done ? ms(s.median_s) : std::string("-"); };
    const auto warm_destroy = [](const STATS& s) {
      return s.done ? ms(s.mean_destroy_s) : std::string("-");
    };
    std::printf("%-16s %8s %8s %8s %8s %9.0f | ", v.name.c_str(),
                ms(v.lumesh_cold.import_s).c_str(), warm(v.lumesh_warm).c_str(),
                ms(v.lumesh_cold.destroy_s).c_str(), warm_destroy(v.lumesh_warm).c_str(),
                v.lumesh_cold.peak_rss_kb / 1024.0);
    if (kHaveAssimp) {
      std::printf("%8s %8s %9.0f %9llu\n", ms(v.assimp_cold.import_s).c_str(),
                  warm(v.assimp_warm).c_str(), v.assimp_cold.peak_rss_kb / 1024.0,
                  static_cast<unsigned long long>(v.assimp_cold.vertices));
    } else {
      std::printf("%8s %8s %9s %9s\n", "-", "-", "-", "-");
    }
  }
  if (!kHaveAssimp)
    std::printf("(assimp was not found when this program was configured: Lumesh only)\n");

  std::printf("Cold runs (ms), in order:\n");
  for (const VARIANT& v : g_variants) {
    std::printf("  %-14s Lumesh", v.name.c_str());
    for (const IMPORT_RESULT& r : v.lumesh_colds) std::printf(" %s", ms(r.import_s).c_str());
    if (kHaveAssimp) {
      std::printf(", assimp");
      for (const IMPORT_RESULT& r : v.assimp_colds) std::printf(" %s", ms(r.import_s).c_str());
    }
    std::printf("\n");
  }

  // The targets, on the cold median and on the warm median alike.
  std::printf("\nTargets (%d cores):\n", static_cast<int>(sysconf(_SC_NPROCESSORS_ONLN)));
  const auto verdict = [](bool ok) { return ok ? "met" : "MISSED"; };
  const VARIANT* by[2][2] = {};  // [text][sorted]
  for (const VARIANT& v : g_variants) by[v.text][v.sorted] = &v;
  for (int text = 0; text < 2; ++text) {
    const VARIANT* plain = by[text][0];
    const VARIANT* sorted = by[text][1];
    const double limit = text ? 2.0 : 0.5;
    std::printf("  %-6s read+weld+optimise < %.1f s: cold %s ms %s", text ? "text" : "binary",
                limit, ms(plain->lumesh_cold.import_s).c_str(),
                verdict(plain->lumesh_cold.import_s < limit));
    if (plain->lumesh_warm.done) {
      std::printf(", warm %s ms %s", ms(plain->lumesh_warm.median_s).c_str(),
                  verdict(plain->lumesh_warm.median_s < limit));
    }
    std::printf("\n");
    const double rss_mb = plain->lumesh_cold.peak_rss_kb / 1024.0;
    std::printf("  %-6s peak RSS < 500 MB: %.0f MB %s\n", text ? "text" : "binary", rss_mb,
                verdict(rss_mb < 500.0));
    const double cold_ratio = sorted->lumesh_cold.import_s / plain->lumesh_cold.import_s;
    std::printf("  %-6s sorted / unsorted <= 1.5: cold %.2f %s", text ? "text" : "binary",
                cold_ratio, verdict(cold_ratio <= 1.5));
    if (plain->lumesh_warm.done && sorted->lumesh_warm.done) {
      const double warm_ratio = sorted->lumesh_warm.median_s / plain->lumesh_warm.median_s;
      std::printf(", warm %.2f %s", warm_ratio, verdict(warm_ratio <= 1.5));
    }
    std::printf("\n");
  }
  if (kHaveAssimp) {
    for (const VARIANT& v : g_variants) {
      std::printf("  faster than assimp, %-14s cold %.1fx %s", v.name.c_str(),
                  v.assimp_cold.import_s / v.lumesh_cold.import_s,
                  verdict(v.lumesh_cold.import_s < v.assimp_cold.import_s));
      if (v.lumesh_warm.done && v.assimp_warm.done) {
        std::printf(", warm %.1fx %s", v.assimp_warm.median_s / v.lumesh_warm.median_s,
                    verdict(v.lumesh_warm.median_s < v.assimp_warm.median_s));
      }
      std::printf("\n");
    }
  }
}

// ---------------------------------------------------------------- main

bool take_flag(const char* arg, const char* name, std::string& value) {
  const std::size_t n = std::strlen(name);
  if (std::strncmp(arg, name, n) != 0) return false;
  if (arg[n] == '=') {
    value = arg + n + 1;
    return true;
  }
  if (arg[n] == '\0') {
    value.clear();
    return true;
  }
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  int nx = 73, ny = 72, iterations = 3, repeat = 1, cold_runs = 3;
  std::string child_kind, child_path;
  std::vector<char*> rest{argv[0]};
  for (int a = 1; a < argc; ++a) {
    std::string value;
    if (take_flag(argv[a], "--stl_cells", value)) {
      if (std::sscanf(value.c_str(), "%dx%d", &nx, &ny) != 2 || nx < 1 || ny < 1) {
        fail("--stl_cells wants NXxNY, e.g. 73x72");
      }
    } else if (take_flag(argv[a], "--stl_iterations", value)) {
      iterations = std::max(1, std::atoi(value.c_str()));
    } else if (take_flag(argv[a], "--stl_cold_runs", value)) {
      cold_runs = std::max(1, std::atoi(value.c_str()));
    } else if (take_flag(argv[a], "--stl_repeat", value)) {
      repeat = std::max(1, std::atoi(value.c_str()));
    } else if (take_flag(argv[a], "--stl_keep", value)) {
      g_keep_files = true;
    } else if (take_flag(argv[a], "--stl_child", value)) {
      if (a + 1 >= argc) fail("--stl_child=KIND wants a file");
      child_kind = value;
      child_path = argv[++a];
    } else {
      rest.push_back(argv[a]);
    }
  }
  if (!child_kind.empty()) return run_child(child_kind, child_path, repeat);

  int bench_argc = static_cast<int>(rest.size());
  benchmark::Initialize(&bench_argc, rest.data());
  if (benchmark::ReportUnrecognizedArguments(bench_argc, rest.data())) return 1;

  // The files, once per run.
  std::string dir_template = (fs::temp_directory_path() / "lumesh_stl_bench.XXXXXX").string();
  if (mkdtemp(dir_template.data()) == nullptr) fail("cannot make a temporary directory");
  g_temp_dir = dir_template;
  const CLOCK::time_point t0 = CLOCK::now();
  {
    const std::vector<TRI> facets = SIEVE_PLATE(nx, ny).facets();
    g_expected_polygons = facets.size();
    g_expected_vertices = distinct_positions(facets);
    const std::vector<TRI> sorted = sorted_along_x(facets);
    const auto add = [](const char* name, const char* file, bool is_sorted, bool text) {
      VARIANT v;
      v.name = name;
      v.path = g_temp_dir + "/" + file;
      v.sorted = is_sorted;
      v.text = text;
      g_variants.push_back(std::move(v));
    };
    add("binary", "plate.stl", false, false);
    add("text", "plate_text.stl", false, true);
    add("binary_sorted", "plate_sorted.stl", true, false);
    add("text_sorted", "plate_sorted_text.stl", true, true);
    if (!g_keep_files) {
      for (const VARIANT& v : g_variants) g_doomed.push_back(v.path);
      g_doomed.push_back(g_temp_dir);
      std::signal(SIGINT, remove_files_and_reraise);
      std::signal(SIGTERM, remove_files_and_reraise);
      std::signal(SIGHUP, remove_files_and_reraise);
    }
    write_binary(g_variants[0].path, facets);
    write_text(g_variants[1].path, facets);
    write_binary(g_variants[2].path, sorted);
    write_text(g_variants[3].path, sorted);
  }
  std::printf(
      "Sieve plate of %dx%d cells: %llu triangles, %llu distinct positions; "
      "4 files written to %s in %.1f s\n",
      nx, ny, static_cast<unsigned long long>(g_expected_polygons),
      static_cast<unsigned long long>(g_expected_vertices), g_temp_dir.c_str(), seconds_since(t0));
  for (const VARIANT& v : g_variants) {
    std::printf("  %-14s %s, %.1f MB\n", v.name.c_str(), v.path.c_str(),
                static_cast<double>(fs::file_size(v.path)) / 1048576.0);
  }
  if (!kHaveAssimp) {
    std::printf(
        "assimp was not found when this program was configured: Lumesh is measured alone\n");
  }

  // Cold: imports in fresh processes, each variant and importer in turn, the
  // whole round `cold_runs` times, so that what the machine did just before
  // (such as writing the files) does not weigh on one variant alone.
  std::printf("Cold imports, one fresh child process each, %d rounds:\n", cold_runs);
  for (int round = 1; round <= cold_runs; ++round) {
    for (VARIANT& v : g_variants) {
      const IMPORT_RESULT l = import_in_child("lumesh", v.path);
      check_lumesh_counts(v, l, "cold");
      v.lumesh_colds.push_back(l);
      std::printf("  %d %-14s Lumesh %5s ms (destroy %3s ms, peak RSS %4.0f MB)", round,
                  v.name.c_str(), ms(l.import_s).c_str(), ms(l.destroy_s).c_str(),
                  l.peak_rss_kb / 1024.0);
      if (kHaveAssimp) {
        const IMPORT_RESULT a = import_in_child("assimp", v.path);
        check_assimp_counts(v, a, "cold");
        v.assimp_colds.push_back(a);
        std::printf("   assimp %5s ms (free %3s ms, peak RSS %4.0f MB, %llu vertices)",
                    ms(a.import_s).c_str(), ms(a.destroy_s).c_str(), a.peak_rss_kb / 1024.0,
                    static_cast<unsigned long long>(a.vertices));
      }
      std::printf("\n");
      std::fflush(stdout);
    }
  }
  for (VARIANT& v : g_variants) {
    v.lumesh_cold = median_of(v.lumesh_colds);
    v.assimp_cold = median_of(v.assimp_colds);
  }

  // Warm: the benchmark's iterations in this process.
  for (VARIANT& v : g_variants) {
    benchmark::RegisterBenchmark(("STL_import/lumesh/" + v.name).c_str(), BM_Lumesh, &v)
        ->Iterations(iterations)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    if (kHaveAssimp) {
      benchmark::RegisterBenchmark(("STL_import/assimp/" + v.name).c_str(), BM_Assimp, &v)
          ->Iterations(iterations)
          ->UseManualTime()
          ->Unit(benchmark::kMillisecond);
    }
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();

  print_summary();
  if (g_keep_files) {
    std::printf("\nFiles kept in %s\n", g_temp_dir.c_str());
  } else {
    remove_temp_dir();
  }
  return 0;
}
