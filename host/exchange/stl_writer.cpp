#include "host/exchange/stl_writer.h"

#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "host/exchange/atomic_file.h"
#include "host/geometry/vector3.h"

namespace {

void put_u32(std::string& out, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) out.push_back(static_cast<char>((v >> (8 * i)) & 0xFF));
}

void put_f32(std::string& out, double d) {
  const float f = static_cast<float>(d);
  std::uint32_t bits;
  std::memcpy(&bits, &f, 4);
  put_u32(out, bits);
}

}  // namespace

std::string binary_stl_bytes(const std::vector<STL_TRIANGLE>& triangles, const std::string& header) {
  if (triangles.size() > 0xFFFFFFFFu) throw std::length_error("too many triangles for binary STL");
  std::string out = header.substr(0, 80);
  out.resize(80, ' ');
  out.reserve(84 + 50 * triangles.size());
  put_u32(out, static_cast<std::uint32_t>(triangles.size()));
  for (const STL_TRIANGLE& t : triangles) {
    const VECTOR3 n = cross(t[1] - t[0], t[2] - t[0]);
    const double len = n.len();
    const VECTOR3 u = len > 0.0 ? n / len : VECTOR3(0, 0, 0);
    put_f32(out, u.x());
    put_f32(out, u.y());
    put_f32(out, u.z());
    for (const POSITION3& p : t) {
      put_f32(out, p.x());
      put_f32(out, p.y());
      put_f32(out, p.z());
    }
    out.append(2, '\0');
  }
  return out;
}

void write_binary_stl(const std::string& path, const std::vector<STL_TRIANGLE>& triangles,
                      const std::string& header) {
  write_file_atomically(path, binary_stl_bytes(triangles, header));
}
