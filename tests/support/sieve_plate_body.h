#pragma once
// The sieve plate (sieve_plate.h) as a kernel body: one planar face per
// facet, vertices shared wherever facets name the same corner, as the import
// of an STL file without recognition makes it.

#include <array>
#include <cmath>
#include <numbers>
#include <unordered_map>
#include <vector>

#include "host/kernel/ops/polyhedron_builder.h"
#include "host/kernel/topology/body.h"
#include "support/sieve_plate.h"

inline BODY* make_sieve_plate_body(int nx, int ny) {
  const std::vector<TRI> facets = SIEVE_PLATE(nx, ny).facets();
  POLYHEDRON_BUILDER b;
  b.reserve(facets.size() / 2 + 16, facets.size());
  struct KEY_HASH {
    std::size_t operator()(const std::array<float, 3>& k) const {
      std::size_t h = 0;
      for (float f : k) h = h * 1000003u ^ std::hash<float>()(f);
      return h;
    }
  };
  std::unordered_map<std::array<float, 3>, int, KEY_HASH> index;
  index.reserve(facets.size());
  MOD_INFO* status = nullptr;
  std::vector<int> ring(3);
  for (const TRI& t : facets) {
    for (int k = 0; k < 3; ++k) {
      const std::array<float, 3> key{t.v[k][0], t.v[k][1], t.v[k][2]};
      auto [it, fresh] = index.emplace(key, 0);
      if (fresh) it->second = b.add_vertex(POSITION3(key[0], key[1], key[2]));
      ring[static_cast<std::size_t>(k)] = it->second;
    }
    b.add_face(ring, status);
  }
  return b.finish(1e-6);
}

// The plate's volume from its definition: the plate less its holes, each a
// regular polygon of the plate's segment count.
inline double sieve_plate_volume(int nx, int ny) {
  const double n = SIEVE_PLATE::kSegments;
  const double hole =
      0.5 * n * SIEVE_PLATE::kRadius * SIEVE_PLATE::kRadius * std::sin(2.0 * std::numbers::pi / n);
  return (SIEVE_PLATE::kPitch * nx * SIEVE_PLATE::kPitch * ny - nx * ny * hole) *
         SIEVE_PLATE::kThickness;
}
