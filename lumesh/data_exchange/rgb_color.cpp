// Packing of colours: every channel quantised alike, in single precision, so
// that a colour packs the same wherever it came from.

#include "lumesh/data_exchange/rgb_color.h"

#include <cstdint>

namespace {

// q(c) = (int)(c * 255 + 0.5) in float, to its 8 bits. Values outside
// [0, 1] wrap in those bits, as the packed form has room for nothing else;
// a NaN or a value beyond the range of int counts as 0.
std::uint32_t quantise(float channel) {
  const float scaled = channel * 255.0f + 0.5f;
  if (!(scaled > -2147483648.0f && scaled < 2147483648.0f)) return 0;
  return static_cast<std::uint32_t>(static_cast<int>(scaled)) & 0xFFu;
}

// The bit pattern as an int (two's complement, so 0xFF000000 stays itself).
int as_int(std::uint32_t bits) { return static_cast<int>(bits); }

}  // namespace

RGBA_COLOR::RGBA_COLOR(double red, double green, double blue, double alpha)
    : RGB_COLOR(static_cast<float>(red), static_cast<float>(green), static_cast<float>(blue)),
      alpha_(static_cast<float>(alpha)) {}

RGBA_COLOR::operator int() const { return Color2Int(Red(), Green(), Blue(), alpha_); }

bool RGBA_COLOR::operator!=(int packed) const { return static_cast<int>(*this) != packed; }

int Red2Int(float red) { return as_int(quantise(red) << 16); }
int Green2Int(float green) { return as_int(quantise(green) << 8); }
int Blue2Int(float blue) { return as_int(quantise(blue)); }
int Alpha2Int(float alpha) { return as_int(quantise(alpha) << 24); }

int Color2Int(float red, float green, float blue, float alpha) {
  return as_int(quantise(alpha) << 24 | quantise(red) << 16 | quantise(green) << 8 |
                quantise(blue));
}

bool ColorsEqual(int packed, float red, float green, float blue, float alpha) {
  return Color2Int(red, green, blue, alpha) == packed;
}
