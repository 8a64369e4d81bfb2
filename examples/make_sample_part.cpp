// make_sample_part OUT.stl | OUT.3mf: writes the flanged plate
// (flanged_plate.h), the sample that `make run` imports. As STL it is one
// binary solid; as 3MF one named, coloured mesh object placed twice by the
// build, the second copy moved 120 mm along x.

#include <cctype>
#include <cstdio>
#include <exception>
#include <fstream>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "examples/flanged_plate.h"
#include "host/exchange/atomic_file.h"
#include "host/base/mod_info.h"
#include "host/base/utf8.h"
#include "lumesh/data_exchange/lib3mf_adapter.h"
#include "lumesh/data_exchange/lib3mf_binding.h"

namespace {

bool ends_with(const std::string& s, const std::string& tail) {
  if (s.size() < tail.size()) return false;
  for (std::size_t i = 0; i < tail.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(s[s.size() - tail.size() + i])) != tail[i]) return false;
  }
  return true;
}

int write_stl(const char* path, const std::vector<flanged_plate::TRIANGLE>& tris) {
  write_file_atomically(path, flanged_plate::binary_stl(tris));
  return 0;
}

int write_3mf(const char* path, const std::vector<flanged_plate::TRIANGLE>& tris) {
  // One vertex per distinct corner, as a CAD program writes a mesh object.
  std::map<std::tuple<float, float, float>, std::uint32_t> index;
  std::vector<Lib3MF::sPosition> vertices;
  std::vector<Lib3MF::sTriangle> triangles;
  for (const flanged_plate::TRIANGLE& t : tris) {
    Lib3MF::sTriangle out{};
    for (int k = 0; k < 3; ++k) {
      const auto key = std::make_tuple(static_cast<float>(t.v[k].x), static_cast<float>(t.v[k].y),
                                       static_cast<float>(t.v[k].z));
      auto [it, added] = index.emplace(key, static_cast<std::uint32_t>(vertices.size()));
      if (added) vertices.push_back({{std::get<0>(key), std::get<1>(key), std::get<2>(key)}});
      out.m_Indices[k] = it->second;
    }
    triangles.push_back(out);
  }
  const auto adapter = Lib3mfAdapter::GetInstance();
  const Lib3MF::PModel model = adapter->CreateModel();
  model->SetUnit(Lib3MF::eModelUnit::MilliMeter);
  const Lib3MF::PBaseMaterialGroup materials = model->AddBaseMaterialGroup();
  const std::uint32_t steel = materials->AddMaterial("Steel", Lib3MF::sColor{0x70, 0x80, 0x90, 0xFF});
  const Lib3MF::PMeshObject part = model->AddMeshObject();
  part->SetName("flanged plate");
  part->SetGeometry(vertices, triangles);
  part->SetObjectLevelProperty(materials->GetResourceID(), steel);
  Lib3MF::sTransform place{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}}};
  model->AddBuildItem(part.get(), place);
  place.m_Fields[3][0] = 120.0f;
  model->AddBuildItem(part.get(), place);
  adapter->SaveModel(model, utf8_to_wide(path), Lib3mfAdapter::LIB3MF_3MF, nullptr);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 || !(ends_with(argv[1], ".stl") || ends_with(argv[1], ".3mf"))) {
    std::fprintf(stderr, "usage: make_sample_part OUT.stl | OUT.3mf\n");
    return 2;
  }
  const std::vector<flanged_plate::TRIANGLE> tris = flanged_plate::triangles();
  try {
    const int rc = ends_with(argv[1], ".3mf") ? write_3mf(argv[1], tris) : write_stl(argv[1], tris);
    if (rc != 0) return rc;
  } catch (const TV_EXCEPTION& e) {
    std::fprintf(stderr, "make_sample_part: '%s': %s\n", argv[1], e.info()->message().c_str());
    return 1;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "make_sample_part: cannot write '%s': %s\n", argv[1], e.what());
    return 1;
  }
  std::printf("wrote %s: the flanged plate, %zu triangles\n", argv[1], tris.size());
  return 0;
}
