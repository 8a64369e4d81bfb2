#include "app/mesh_output.h"

#include <cstdint>
#include <map>
#include <stdexcept>
#include <tuple>

#include "host/base/utf8.h"
#include "host/exchange/atomic_file.h"
#include "host/exchange/body_mesh.h"
#include "host/exchange/stl_writer.h"
#include "host/geometry/transform3.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "lumesh/data_exchange/lib3mf_adapter.h"
#include "lumesh/data_exchange/lib3mf_binding.h"

namespace {

// The triangles of one placed body, in the file's frame.
std::vector<STL_TRIANGLE> triangles_of(const STEP_EXPORT_ITEM& item) {
  struct COLLECT {
    TRANSFORM3 to_file;
    std::vector<STL_TRIANGLE> out;
    bool failed = false;
  } c{item.body->transform() * item.placement, {}, false};
  // A body read from a CAD model is meshed whole, so that its facets close.
  if (mesh_source_body(*item.body, c.out)) {
    for (STL_TRIANGLE& t : c.out) {
      for (POSITION3& p : t) p = p * c.to_file;
    }
    return std::move(c.out);
  }
  item.body->scan_faces(
      [](FACE* f, void* data) {
        auto* into = static_cast<COLLECT*>(data);
        FACE_TESSELLATION t;
        if (f->tessellate(t) != nullptr) {
          into->failed = true;
          return SCAN_STOP;
        }
        for (const auto& tri : t.triangles) {
          STL_TRIANGLE out;
          for (std::size_t k = 0; k < 3; ++k) out[k] = t.positions[tri[k]] * into->to_file;
          into->out.push_back(out);
        }
        return SCAN_CONTINUE;
      },
      &c);
  if (c.failed) throw std::runtime_error("a face of '" + item.name + "' can't be tessellated");
  return std::move(c.out);
}

}  // namespace

std::size_t write_bodies_as_stl(const std::vector<STEP_EXPORT_ITEM>& items, const std::string& path) {
  std::vector<STL_TRIANGLE> all;
  for (const STEP_EXPORT_ITEM& item : items) {
    std::vector<STL_TRIANGLE> t = triangles_of(item);
    all.insert(all.end(), t.begin(), t.end());
  }
  write_binary_stl(path, all, "binary STL written by lumesh");
  return all.size();
}

std::size_t write_bodies_as_3mf(const std::vector<STEP_EXPORT_ITEM>& items, const std::string& path) {
  const auto adapter = Lib3mfAdapter::GetInstance();
  const Lib3MF::PModel model = adapter->CreateModel();
  model->SetUnit(Lib3MF::eModelUnit::MilliMeter);
  std::size_t written = 0;
  for (const STEP_EXPORT_ITEM& item : items) {
    const std::vector<STL_TRIANGLE> tris = triangles_of(item);
    // One vertex per distinct corner, so the object is a connected mesh.
    std::map<std::tuple<float, float, float>, std::uint32_t> index;
    std::vector<Lib3MF::sPosition> vertices;
    std::vector<Lib3MF::sTriangle> triangles;
    for (const STL_TRIANGLE& t : tris) {
      Lib3MF::sTriangle out{};
      for (int k = 0; k < 3; ++k) {
        const auto key = std::make_tuple(static_cast<float>(t[k].x()), static_cast<float>(t[k].y()),
                                         static_cast<float>(t[k].z()));
        auto [it, added] = index.emplace(key, static_cast<std::uint32_t>(vertices.size()));
        if (added) vertices.push_back({{std::get<0>(key), std::get<1>(key), std::get<2>(key)}});
        out.m_Indices[k] = it->second;
      }
      // Triangles that collapse in single precision would be refused.
      if (out.m_Indices[0] == out.m_Indices[1] || out.m_Indices[1] == out.m_Indices[2] ||
          out.m_Indices[0] == out.m_Indices[2]) {
        continue;
      }
      triangles.push_back(out);
    }
    const Lib3MF::PMeshObject object = model->AddMeshObject();
    object->SetName(item.name.empty() ? "Mesh" : item.name);
    object->SetGeometry(vertices, triangles);
    if (item.has_color) {
      const Lib3MF::PBaseMaterialGroup group = model->AddBaseMaterialGroup();
      auto byte = [](double c) { return static_cast<std::uint8_t>(c * 255.0 + 0.5); };
      const std::uint32_t id = group->AddMaterial(
          item.name.empty() ? "colour" : item.name,
          Lib3MF::sColor{byte(item.r), byte(item.g), byte(item.b), 0xFF});
      object->SetObjectLevelProperty(group->GetResourceID(), id);
    }
    model->AddBuildItem(object.get(), Lib3MF::sTransform{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}}});
    written += triangles.size();
  }
  ATOMIC_FILE file(path);
  adapter->SaveModel(model, utf8_to_wide(file.temporary_name()), Lib3mfAdapter::LIB3MF_3MF, nullptr);
  file.commit();
  return written;
}
