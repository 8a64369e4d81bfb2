// Colours and their packed form 0xAARRGGBB: each channel in its place, the
// rounding of the quantisation, and the comparisons.

#include "lumesh/data_exchange/rgb_color.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

std::uint32_t bits(int packed) { return static_cast<std::uint32_t>(packed); }

TEST(RgbColor, EachChannelPacksIntoItsOwnByte) {
  EXPECT_EQ(bits(Red2Int(1.0f)), 0x00FF0000u);
  EXPECT_EQ(bits(Green2Int(1.0f)), 0x0000FF00u);
  EXPECT_EQ(bits(Blue2Int(1.0f)), 0x000000FFu);
  EXPECT_EQ(bits(Alpha2Int(1.0f)), 0xFF000000u);
  EXPECT_EQ(bits(Color2Int(0x12 / 255.0f, 0x34 / 255.0f, 0x56 / 255.0f, 0x78 / 255.0f)),
            0x78123456u);
}

TEST(RgbColor, OpaqueBlackKeepsItsBitPattern) {
  EXPECT_EQ(bits(Color2Int(0.0f, 0.0f, 0.0f, 1.0f)), 0xFF000000u);
  const RGBA_COLOR black(0.0f, 0.0f, 0.0f, 1.0f);
  EXPECT_EQ(bits(static_cast<int>(black)), 0xFF000000u);
  EXPECT_LT(static_cast<int>(black), 0);
}

TEST(RgbColor, AllZeroPacksToZero) {
  EXPECT_EQ(Color2Int(0.0f, 0.0f, 0.0f, 0.0f), 0);
  EXPECT_EQ(static_cast<int>(RGBA_COLOR()), 0);
}

TEST(RgbColor, QuantisationRoundsHalfUpAtTheStepBoundaries) {
  // c*255 + 0.5 truncated: just below half a step stays, just above goes up.
  EXPECT_EQ(Blue2Int(0.49f / 255.0f), 0);
  EXPECT_EQ(Blue2Int(0.51f / 255.0f), 1);
  EXPECT_EQ(Blue2Int(1.49f / 255.0f), 1);
  EXPECT_EQ(Blue2Int(1.51f / 255.0f), 2);
  EXPECT_EQ(Blue2Int(254.6f / 255.0f), 255);
  // Exactly k/255 gives k for every byte.
  for (int k = 0; k <= 255; ++k) {
    EXPECT_EQ(Blue2Int(static_cast<float>(k) / 255.0f), k) << k;
    EXPECT_EQ(bits(Red2Int(static_cast<float>(k) / 255.0f)), static_cast<std::uint32_t>(k) << 16);
  }
}

TEST(RgbColor, ChannelsStayInTheirByte) {
  // A value past 1 wraps inside its own 8 bits instead of spilling over.
  EXPECT_EQ(bits(Green2Int(2.0f)) & ~0x0000FF00u, 0u);
  EXPECT_EQ(bits(Alpha2Int(-1.0f)) & ~0xFF000000u, 0u);
}

TEST(RgbColor, ConstructorsAndAccessors) {
  const RGB_COLOR rgb(0.25f, 0.5f, 0.75f);
  EXPECT_FLOAT_EQ(rgb.Red(), 0.25f);
  EXPECT_FLOAT_EQ(rgb.Green(), 0.5f);
  EXPECT_FLOAT_EQ(rgb.Blue(), 0.75f);
  const RGB_COLOR none;
  EXPECT_EQ(none.Red(), 0.0f);
  EXPECT_EQ(none.Blue(), 0.0f);

  const RGBA_COLOR opaque(rgb);
  EXPECT_FLOAT_EQ(opaque.Alpha(), 1.0f);
  EXPECT_FLOAT_EQ(opaque.Green(), 0.5f);

  const RGBA_COLOR from_doubles(0.1, 0.2, 0.3, 0.4);
  EXPECT_EQ(from_doubles.Red(), static_cast<float>(0.1));
  EXPECT_EQ(from_doubles.Alpha(), static_cast<float>(0.4));

  RGBA_COLOR c(1.0f, 0.0f, 0.0f, 1.0f);
  c.SetAlpha(0.5f);
  EXPECT_EQ(c.Alpha(), 0.5f);
  EXPECT_EQ(bits(static_cast<int>(c)), 0x80FF0000u);
}

TEST(RgbColor, ComparesWithAPackedColour) {
  const RGBA_COLOR red(1.0f, 0.0f, 0.0f, 1.0f);
  EXPECT_FALSE(red != static_cast<int>(0xFFFF0000u));
  EXPECT_TRUE(red != static_cast<int>(0xFFFF0001u));
  EXPECT_TRUE(red != static_cast<int>(0x7FFF0000u));
  EXPECT_TRUE(ColorsEqual(static_cast<int>(0xFFFF0000u), 1.0f, 0.0f, 0.0f, 1.0f));
  EXPECT_FALSE(ColorsEqual(static_cast<int>(0xFFFF0000u), 1.0f, 0.0f, 0.0f, 0.0f));
  EXPECT_TRUE(ColorsEqual(0, 0.0f, 0.0f, 0.0f, 0.0f));
}

}  // namespace
