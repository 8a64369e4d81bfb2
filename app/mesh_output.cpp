#include "app/mesh_output.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <stdexcept>
#include <tuple>

#include "host/base/utf8.h"
#include "host/geometry/transform3.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "lumesh/data_exchange/lib3mf_adapter.h"
#include "lumesh/data_exchange/lib3mf_binding.h"

namespace {

struct TRI {
  POSITION3 p[3];
};

// The triangles of one placed body, in the file's frame.
std::vector<TRI> triangles_of(const STEP_EXPORT_ITEM& item) {
  struct COLLECT {
    TRANSFORM3 to_file;
    std::vector<TRI> out;
    bool failed = false;
  } c{item.body->transform() * item.placement, {}, false};
  item.body->scan_faces(
      [](FACE* f, void* data) {
        auto* into = static_cast<COLLECT*>(data);
        FACE_TESSELLATION t;
        if (f->tessellate(t) != nullptr) {
          into->failed = true;
          return SCAN_STOP;
        }
        for (const auto& tri : t.triangles) {
          TRI out;
          for (int k = 0; k < 3; ++k) {
            out.p[k] = t.positions[tri[static_cast<std::size_t>(k)]] * into->to_file;
          }
          into->out.push_back(out);
        }
        return SCAN_CONTINUE;
      },
      &c);
  if (c.failed) throw std::runtime_error("a face of '" + item.name + "' can't be tessellated");
  return std::move(c.out);
}

void put_u32(std::string& out, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) out.push_back(static_cast<char>((v >> (8 * i)) & 0xFF));
}

void put_f32(std::string& out, double d) {
  const float f = static_cast<float>(d);
  std::uint32_t bits;
  std::memcpy(&bits, &f, 4);
  put_u32(out, bits);
}

// Writes `bytes` to a temporary file beside `path` and renames it over `path`.
void write_whole(const std::string& path, const std::string& bytes) {
  const std::string tmp = path + ".part";
  {
    std::ofstream out(tmp, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) {
      std::remove(tmp.c_str());
      throw std::runtime_error("the file cannot be written");
    }
  }
  if (std::rename(tmp.c_str(), path.c_str()) != 0) {
    std::remove(tmp.c_str());
    throw std::runtime_error("the file cannot be written");
  }
}

}  // namespace

std::size_t write_bodies_as_stl(const std::vector<STEP_EXPORT_ITEM>& items, const std::string& path) {
  std::vector<TRI> all;
  for (const STEP_EXPORT_ITEM& item : items) {
    std::vector<TRI> t = triangles_of(item);
    all.insert(all.end(), t.begin(), t.end());
  }
  if (all.size() > 0xFFFFFFFFu) throw std::runtime_error("too many triangles for binary STL");
  std::string out = "binary STL written by lumesh";
  out.resize(80, ' ');
  put_u32(out, static_cast<std::uint32_t>(all.size()));
  out.reserve(84 + 50 * all.size());
  for (const TRI& t : all) {
    const VECTOR3 n = cross(t.p[1] - t.p[0], t.p[2] - t.p[0]);
    const double len = n.len();
    const VECTOR3 u = len > 0.0 ? n / len : VECTOR3(0, 0, 0);
    put_f32(out, u.x());
    put_f32(out, u.y());
    put_f32(out, u.z());
    for (const POSITION3& p : t.p) {
      put_f32(out, p.x());
      put_f32(out, p.y());
      put_f32(out, p.z());
    }
    out.append(2, '\0');
  }
  write_whole(path, out);
  return all.size();
}

std::size_t write_bodies_as_3mf(const std::vector<STEP_EXPORT_ITEM>& items, const std::string& path) {
  const auto adapter = Lib3mfAdapter::GetInstance();
  const Lib3MF::PModel model = adapter->CreateModel();
  model->SetUnit(Lib3MF::eModelUnit::MilliMeter);
  std::size_t written = 0;
  for (const STEP_EXPORT_ITEM& item : items) {
    const std::vector<TRI> tris = triangles_of(item);
    // One vertex per distinct corner, so the object is a connected mesh.
    std::map<std::tuple<float, float, float>, std::uint32_t> index;
    std::vector<Lib3MF::sPosition> vertices;
    std::vector<Lib3MF::sTriangle> triangles;
    for (const TRI& t : tris) {
      Lib3MF::sTriangle out{};
      for (int k = 0; k < 3; ++k) {
        const auto key = std::make_tuple(static_cast<float>(t.p[k].x()), static_cast<float>(t.p[k].y()),
                                         static_cast<float>(t.p[k].z()));
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
  const std::string tmp = path + ".part";
  try {
    adapter->SaveModel(model, utf8_to_wide(tmp), Lib3mfAdapter::LIB3MF_3MF, nullptr);
  } catch (const std::exception&) {
    std::remove(tmp.c_str());
    throw std::runtime_error("the file cannot be written");
  }
  if (std::rename(tmp.c_str(), path.c_str()) != 0) {
    std::remove(tmp.c_str());
    throw std::runtime_error("the file cannot be written");
  }
  return written;
}
