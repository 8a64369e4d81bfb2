#pragma once
// A 64-bit checksum of a byte string, for telling a damaged blob from a good
// one (not for security). Eight bytes a step, each mixed by a multiply and a
// rotation, then a final avalanche: several gigabytes a second, and any
// changed byte changes the result with near certainty.

#include <cstdint>
#include <cstring>
#include <string_view>

inline std::uint64_t checksum64(std::string_view data) {
  constexpr std::uint64_t kMul = 0x9E3779B97F4A7C15ull;
  std::uint64_t h = 0xA0761D6478BD642Full ^ (data.size() * kMul);
  const char* p = data.data();
  std::size_t n = data.size();
  for (; n >= 8; p += 8, n -= 8) {
    std::uint64_t v;
    std::memcpy(&v, p, 8);
    h = (h ^ (v * kMul)) * 0xBF58476D1CE4E5B9ull;
    h = (h << 31) | (h >> 33);
  }
  std::uint64_t tail = 0;
  std::memcpy(&tail, p, n);
  h ^= tail * kMul + n;
  h ^= h >> 30;
  h *= 0xBF58476D1CE4E5B9ull;
  h ^= h >> 27;
  h *= 0x94D049BB133111EBull;
  h ^= h >> 31;
  return h;
}
