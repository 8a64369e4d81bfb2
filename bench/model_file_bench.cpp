// Model files: save and load of
//   1M   a model of two parts, the sieve plate of 73 x 72 cells (1,013,792
//        triangles) as a mesh body (one face per facet) and as the body its
//        planes and cylinders were recognised into at 0.01 mm; targets: save
//        and load each under 1.5 s, the file under 64 bytes per facet;
//   10k  a model of 10,000 small parts, each a cube of 12 triangles with a
//        feature on its contents (a few keys, as an import record has);
//        targets: save and load each under 1 s.
// Each time is the median of --repeat runs (3 by default). A load goes into
// the session the saved parts were destroyed in (the history emptied, so
// the saved sysids are free again, as in a fresh session); the time to
// destroy is not counted. Files go to $TMPDIR (or /tmp) and are removed.
//
//   model_file_bench [--repeat=N]

#include <sys/stat.h>
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

#include "host/document/model_file.h"
#include "host/exchange/stl_writer.h"
#include "host/kernel/history/history.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"
#include "host/model/model_tree.h"
#include "host/model/part_data.h"
#include "host/model/universal_feature.h"
#include "lumesh/data_exchange/manufacturing_import.h"
#include "support/sieve_plate.h"

namespace {

namespace fs = std::filesystem;
using CLOCK = std::chrono::steady_clock;

double seconds_since(CLOCK::time_point t0) {
  return std::chrono::duration<double>(CLOCK::now() - t0).count();
}

BODY* import_body(const fs::path& stl, MESH::SURFACE_RECONSTRUCTION options, double res) {
  MF_IMPORT_OPTIONS o;
  o.reconstruction = options;
  o.resolution = res;
  o.face_count_limit = std::numeric_limits<std::uint64_t>::max();
  MF_MODEL_DESCRIPTION spec = read_stl_model(stl.wstring(), o);
  BODY* out = nullptr;
  for (MF_MODEL_NODE& node : spec) {
    if (node.kind == MF_MODEL_NODE::MESH_BODY) out = node.body;
  }
  return out;
}

void clear_model() {
  while (inq_num_children(root_parcel()) > 0) destroy_parcel(inq_child(root_parcel(), 0));
  HISTORY::instance().forget();
}

double median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}

struct TIMES {
  double save = 0.0, load = 0.0;
  std::uintmax_t bytes = 0;
};

// Saves the model `repeat` times, then loads it `repeat` times (clearing the
// model before each load and after the last).
TIMES measure(const fs::path& file, int repeat) {
  std::vector<double> saves, loads;
  for (int i = 0; i < repeat; ++i) {
    const auto t0 = CLOCK::now();
    save_model_file(file.string());
    saves.push_back(seconds_since(t0));
  }
  TIMES t;
  t.bytes = fs::file_size(file);
  for (int i = 0; i < repeat; ++i) {
    clear_model();
    const auto t0 = CLOCK::now();
    load_model_file(file.string());
    loads.push_back(seconds_since(t0));
  }
  t.save = median(saves);
  t.load = median(loads);
  return t;
}

}  // namespace

int main(int argc, char** argv) {
  int repeat = 3;
  for (int i = 1; i < argc; ++i) {
    if (std::strncmp(argv[i], "--repeat=", 9) == 0) repeat = std::max(1, std::atoi(argv[i] + 9));
  }
  const char* tmp = std::getenv("TMPDIR");
  const fs::path dir = fs::path(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") /
                       ("lumesh_model_file_" + std::to_string(::getpid()));
  fs::create_directories(dir);

  // The sieve plate: its mesh body and its recognised body, in two parts.
  const std::vector<TRI> facets = SIEVE_PLATE(73, 72).facets();
  {
    std::vector<STL_TRIANGLE> triangles;
    triangles.reserve(facets.size());
    for (const TRI& t : facets) {
      STL_TRIANGLE s;
      for (std::size_t k = 0; k < 3; ++k) s[k] = POSITION3(t.v[k][0], t.v[k][1], t.v[k][2]);
      triangles.push_back(s);
    }
    write_binary_stl((dir / "sieve.stl").string(), triangles, "sieve plate");
  }
  root_parcel();
  NPARCEL* mesh = create_npart3("sieve mesh");
  add_body_to_part(mesh, import_body(dir / "sieve.stl", MESH::NONE, std::nan("")));
  insert_in_graph(mesh);
  NPARCEL* recognised = create_npart3("sieve recognised");
  add_body_to_part(recognised, import_body(dir / "sieve.stl",
                                           static_cast<MESH::SURFACE_RECONSTRUCTION>(3), 0.01));
  insert_in_graph(recognised);
  const int mesh_faces = get_part_body(mesh)->number_of_faces();
  const int recognised_faces = get_part_body(recognised)->number_of_faces();
  HISTORY::instance().forget();
  const TIMES big = measure(dir / "sieve.lmx", repeat);
  const double per_facet = static_cast<double>(big.bytes) / static_cast<double>(facets.size());
  std::printf("model 1M: %zu facets, mesh body %d faces, recognised body %d faces\n", facets.size(),
              mesh_faces, recognised_faces);
  std::printf("model 1M: save %.3f s, load %.3f s, file %ju bytes = %.1f bytes/facet\n", big.save,
              big.load, big.bytes, per_facet);
  clear_model();
  // The mesh body alone, for its share of the file.
  {
    NPARCEL* alone = create_npart3("sieve mesh");
    add_body_to_part(alone, import_body(dir / "sieve.stl", MESH::NONE, std::nan("")));
    insert_in_graph(alone);
    HISTORY::instance().forget();
    save_model_file((dir / "mesh.lmx").string());
    std::printf(
        "model 1M mesh body alone: file %ju bytes = %.1f bytes/facet\n",
        fs::file_size(dir / "mesh.lmx"),
        static_cast<double>(fs::file_size(dir / "mesh.lmx")) / static_cast<double>(facets.size()));
    clear_model();
  }

  // 10,000 small parts.
  for (int i = 0; i < 10000; ++i) {
    NPARCEL* part = create_npart3("cube");
    add_body_to_part(part, make_triangle_cube(1.0 + i % 7));
    set_tm(part, TRANSFORM3::translation(VECTOR3(i % 100 * 10.0, i / 100 * 10.0, 0.0)));
    set_part_color(part, (i % 3) / 2.0, (i % 5) / 4.0, 0.5);
    FEATURE_MEMORY memory;
    memory.set("FEATURE-TYPE", FEATURE_VALUE::keyword("LMX-MESH-IMPORT"));
    memory.set("FACET-COUNT", FEATURE_VALUE::integer(12));
    memory.set("RESOLUTION", FEATURE_VALUE::real(0.01));
    memory.set("FILE", FEATURE_VALUE::string("cube.stl"));
    make_thin_universal_feature(part->shared_data(), FEATURE_OPTIONS{}, memory, "Mesh Parameters");
    insert_in_graph(part);
  }
  HISTORY::instance().forget();
  const TIMES many = measure(dir / "parts.lmx", repeat);
  std::printf("model 10k parts: save %.3f s, load %.3f s, file %ju bytes\n", many.save, many.load,
              many.bytes);
  clear_model();

  std::error_code ec;
  fs::remove_all(dir, ec);
  const bool ok =
      big.save < 1.5 && big.load < 1.5 && per_facet < 64.0 && many.save < 1.0 && many.load < 1.0;
  std::printf(
      "targets: 1M save and load < 1.5 s each, < 64 bytes/facet; 10k parts save and load < 1 s: "
      "%s\n",
      ok ? "met" : "MISSED");
  return 0;
}
