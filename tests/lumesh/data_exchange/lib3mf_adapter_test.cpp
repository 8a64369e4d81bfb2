// The adapter's conversions: units both ways, transforms, colours, text, and
// the progress callback that lib3mf calls while it reads and writes.

#include "lumesh/data_exchange/lib3mf_adapter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/ui/break_status.h"
#include "host/ui/progress.h"

namespace {

using Lib3MF::eModelUnit;
using Lib3MF::sTransform;

constexpr eModelUnit kUnlisted = static_cast<eModelUnit>(42);

// ---- units ---------------------------------------------------------------------

TEST(Lib3mfAdapterUnits, FromEveryUnitToMillimetres) {
  EXPECT_DOUBLE_EQ(Lib3mfAdapter::from_3mf_length(2.0, eModelUnit::MicroMeter), 2.0 * 0.001);
  EXPECT_DOUBLE_EQ(Lib3mfAdapter::from_3mf_length(2.0, eModelUnit::MilliMeter), 2.0);
  EXPECT_DOUBLE_EQ(Lib3mfAdapter::from_3mf_length(2.0, eModelUnit::CentiMeter), 20.0);
  EXPECT_DOUBLE_EQ(Lib3mfAdapter::from_3mf_length(2.0, eModelUnit::Inch), 50.8);
  EXPECT_DOUBLE_EQ(Lib3mfAdapter::from_3mf_length(2.0, eModelUnit::Foot), 609.6);
  EXPECT_DOUBLE_EQ(Lib3mfAdapter::from_3mf_length(2.0, eModelUnit::Meter), 2000.0);
  EXPECT_DOUBLE_EQ(Lib3mfAdapter::from_3mf_length(2.0, kUnlisted), 2.0);
}

TEST(Lib3mfAdapterUnits, FromMillimetresToEveryUnit) {
  EXPECT_DOUBLE_EQ(Lib3mfAdapter::to_3mf_length(2.0, eModelUnit::MicroMeter), 2000.0);
  EXPECT_DOUBLE_EQ(Lib3mfAdapter::to_3mf_length(2.0, eModelUnit::MilliMeter), 2.0);
  EXPECT_DOUBLE_EQ(Lib3mfAdapter::to_3mf_length(2.0, eModelUnit::CentiMeter), 2.0 * 0.1);
  EXPECT_DOUBLE_EQ(Lib3mfAdapter::to_3mf_length(2.0, eModelUnit::Inch), 2.0 * 0.0394);
  EXPECT_DOUBLE_EQ(Lib3mfAdapter::to_3mf_length(2.0, eModelUnit::Foot), 2.0 * 0.0033);
  EXPECT_DOUBLE_EQ(Lib3mfAdapter::to_3mf_length(2.0, eModelUnit::Meter), 2.0 * 0.001);
  EXPECT_DOUBLE_EQ(Lib3mfAdapter::to_3mf_length(2.0, kUnlisted), 2.0);
}

TEST(Lib3mfAdapterUnits, MetricUnitsRoundTripButInchAndFootDoNot) {
  for (eModelUnit unit : {eModelUnit::MicroMeter, eModelUnit::MilliMeter,
                          eModelUnit::CentiMeter, eModelUnit::Meter, kUnlisted}) {
    const double back =
        Lib3mfAdapter::from_3mf_length(Lib3mfAdapter::to_3mf_length(100.0, unit), unit);
    EXPECT_NEAR(back, 100.0, 1e-12) << static_cast<int>(unit);
  }
  // 100 mm -> 3.94 in -> 100.076 mm; 100 mm -> 0.33 ft -> 100.584 mm.
  EXPECT_NEAR(Lib3mfAdapter::from_3mf_length(
                  Lib3mfAdapter::to_3mf_length(100.0, eModelUnit::Inch), eModelUnit::Inch),
              100.076, 1e-9);
  EXPECT_NEAR(Lib3mfAdapter::from_3mf_length(
                  Lib3mfAdapter::to_3mf_length(100.0, eModelUnit::Foot), eModelUnit::Foot),
              100.584, 1e-9);
}

// ---- transforms ----------------------------------------------------------------

TEST(Lib3mfAdapterTransforms, IdentityBothWays) {
  const sTransform id{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}}};
  EXPECT_TRUE(Lib3mfAdapter::from_3mf_transform(id, eModelUnit::MilliMeter).is_identity());
  const sTransform back =
      Lib3mfAdapter::to_3mf_transform(TRANSFORM3::identity(), eModelUnit::MilliMeter);
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 3; ++j) EXPECT_EQ(back.m_Fields[i][j], id.m_Fields[i][j]) << i << j;
}

TEST(Lib3mfAdapterTransforms, RowsAreImagesOfTheBasisAndTheLastRowTranslates) {
  // +90 degrees about x, then (0, 100, 10): the file's "1 0 0 0 0 1 0 -1 0 0 100 10".
  const sTransform t{{{1, 0, 0}, {0, 0, 1}, {0, -1, 0}, {0, 100, 10}}};
  const TRANSFORM3 m = Lib3mfAdapter::from_3mf_transform(t, eModelUnit::MilliMeter);
  const POSITION3 p = POSITION3(0, 0, 90) * m;  // the far end of a shaft along z
  EXPECT_NEAR(p.x(), 0.0, 1e-12);
  EXPECT_NEAR(p.y(), 10.0, 1e-12);
  EXPECT_NEAR(p.z(), 10.0, 1e-12);
  const POSITION3 q = POSITION3(0, 1, 0) * m;
  EXPECT_NEAR(q.y(), 100.0, 1e-12);
  EXPECT_NEAR(q.z(), 11.0, 1e-12);
  EXPECT_EQ(m.row(1).z(), 1.0);
  EXPECT_EQ(m.row(2).y(), -1.0);
}

TEST(Lib3mfAdapterTransforms, InchScalesTheTranslationButNotTheMatrix) {
  const sTransform t{{{2, 0, 0}, {0, 2, 0}, {0, 0, 2}, {1, 2, 3}}};
  const TRANSFORM3 m = Lib3mfAdapter::from_3mf_transform(t, eModelUnit::Inch);
  EXPECT_EQ(m.row(0).x(), 2.0);
  EXPECT_EQ(m.row(2).z(), 2.0);
  EXPECT_DOUBLE_EQ(m.translation_vector().x(), 25.4);
  EXPECT_DOUBLE_EQ(m.translation_vector().y(), 50.8);
  EXPECT_DOUBLE_EQ(m.translation_vector().z(), 76.2);
}

TEST(Lib3mfAdapterTransforms, SingularMatrixIsRefused) {
  const sTransform flat{{{1, 0, 0}, {0, 1, 0}, {0, 0, 0}, {0, 0, 0}}};
  EXPECT_THROW(Lib3mfAdapter::from_3mf_transform(flat, eModelUnit::MilliMeter),
               std::invalid_argument);
  sTransform nan_field{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}}};
  nan_field.m_Fields[3][1] = std::numeric_limits<float>::quiet_NaN();
  EXPECT_THROW(Lib3mfAdapter::from_3mf_transform(nan_field, eModelUnit::MilliMeter),
               std::invalid_argument);
}

TEST(Lib3mfAdapterTransforms, RoundTripInMillimetres) {
  const TRANSFORM3 m = TRANSFORM3::rotation(POSITION3(1, 2, 3), VECTOR3(1, 1, 0), 0.7) *
                       TRANSFORM3::scaling(1.5) * TRANSFORM3::translation(VECTOR3(10, -20, 30));
  const sTransform t = Lib3mfAdapter::to_3mf_transform(m, eModelUnit::MilliMeter);
  const TRANSFORM3 back = Lib3mfAdapter::from_3mf_transform(t, eModelUnit::MilliMeter);
  EXPECT_TRUE(equal(m, back, 1e-5));
  // The fields are the matrix itself, scale included, and the translation.
  for (int i = 0; i < 3; ++i) {
    EXPECT_NEAR(t.m_Fields[i][0], m.row(i).x(), 1e-6);
    EXPECT_NEAR(t.m_Fields[3][i], m.translation_vector()[i], 1e-4);
  }
}

TEST(Lib3mfAdapterTransforms, WritingInInchConvertsMatrixAndTranslation) {
  const TRANSFORM3 m = TRANSFORM3::translation(VECTOR3(100, 0, 0));
  const sTransform t = Lib3mfAdapter::to_3mf_transform(m, eModelUnit::Inch);
  EXPECT_FLOAT_EQ(t.m_Fields[0][0], static_cast<float>(0.0394));
  EXPECT_FLOAT_EQ(t.m_Fields[3][0], static_cast<float>(3.94));
  EXPECT_EQ(t.m_Fields[0][1], 0.0f);
}

// ---- colours -------------------------------------------------------------------

TEST(Lib3mfAdapterColors, BytesOver255InSinglePrecision) {
  const RGBA_COLOR c = Lib3mfAdapter::from_3mf_color(Lib3MF::sColor{0x1E, 0x90, 0xFF, 0x80});
  EXPECT_EQ(c.Red(), 0x1E * (1.0f / 255));
  EXPECT_EQ(c.Green(), 0x90 * (1.0f / 255));
  EXPECT_EQ(c.Blue(), 1.0f);
  EXPECT_EQ(c.Alpha(), 0x80 * (1.0f / 255));
  EXPECT_EQ(static_cast<std::uint32_t>(static_cast<int>(c)), 0x801E90FFu);
}

// ---- text ----------------------------------------------------------------------

TEST(Lib3mfAdapterText, AsciiAndNonAsciiBothWays) {
  EXPECT_EQ(Lib3mfAdapter::utf8_to_utf16("part.3mf"), L"part.3mf");
  EXPECT_EQ(Lib3mfAdapter::utf16_to_utf8(L"part.3mf"), "part.3mf");
  const std::string utf8 = "Gr\xC3\xB6\xC3\x9F" "e \xE2\x82\xAC \xF0\x9F\x94\xA9";  // Größe € 🔩
  const std::wstring wide = Lib3mfAdapter::utf8_to_utf16(utf8);
  const std::wstring expected = L"Gr\u00F6\u00DFe \u20AC \U0001F529";
  EXPECT_EQ(wide, expected);
  EXPECT_EQ(Lib3mfAdapter::utf16_to_utf8(wide), utf8);
  EXPECT_EQ(Lib3mfAdapter::utf8_to_utf16(""), L"");
}

TEST(Lib3mfAdapterText, InvalidUtf8Throws) {
  for (const std::string& bad :
       {std::string("\xFF"), std::string("a\x80"), std::string("\xC3"),    // stray, lone, cut
        std::string("\xC0\xAF"), std::string("\xE0\x80\xAF"),            // overlong
        std::string("\xED\xA0\x80"),                                     // surrogate
        std::string("\xF4\x90\x80\x80"), std::string("\xE2\x82\x41")}) {  // past U+10FFFF, bad tail
    EXPECT_THROW(Lib3mfAdapter::utf8_to_utf16(bad), std::invalid_argument) << bad.size();
  }
}

TEST(Lib3mfAdapterText, InvalidWideTextThrows) {
  std::wstring lone;
  lone += static_cast<wchar_t>(0xD800);
  EXPECT_THROW(Lib3mfAdapter::utf16_to_utf8(lone), std::invalid_argument);
  if constexpr (sizeof(wchar_t) >= 4) {
    std::wstring past;
    past += static_cast<wchar_t>(0x110000);
    EXPECT_THROW(Lib3mfAdapter::utf16_to_utf8(past), std::invalid_argument);
  }
}

TEST(Lib3mfAdapter, ContentTypeNames) {
  EXPECT_EQ(Lib3mfAdapter::content_type_name(Lib3mfAdapter::LIB3MF_STL), "stl");
  EXPECT_EQ(Lib3mfAdapter::content_type_name(Lib3mfAdapter::LIB3MF_3MF), "3mf");
  EXPECT_EQ(Lib3mfAdapter::content_type_name(static_cast<Lib3mfAdapter::LIB3MF_CONTENT_TYPE>(7)),
            "");
}

TEST(Lib3mfAdapter, OneInstanceForTheRun) {
  const auto a = Lib3mfAdapter::GetInstance();
  const auto b = Lib3mfAdapter::GetInstance();
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a.get(), b.get());
}

// ---- progress ------------------------------------------------------------------

class Lib3mfAdapterProgress : public ::testing::Test {
 protected:
  void SetUp() override { BREAK_STATUS::clear(); }
  void TearDown() override { BREAK_STATUS::clear(); }
  static void call(bool& abort, double value, Lib3mfAdapter::PROGRESS_DATA& data) {
    Lib3mfAdapter::progress_callback(&abort, value, Lib3MF::eProgressIdentifier::READMESH, &data);
  }
};

TEST_F(Lib3mfAdapterProgress, TicksAreTheDifferencesOfWholePercents) {
  PROGRESS progress("3mf", nullptr);
  progress.set_max_ticks(100);
  Lib3mfAdapter::PROGRESS_DATA data{0, &progress};
  bool abort = false;
  call(abort, 0.05, data);
  EXPECT_EQ(progress.ticks(), 5);
  EXPECT_EQ(data.last_percentage, 5);
  call(abort, 0.279, data);  // truncated to 27
  EXPECT_EQ(progress.ticks(), 27);
  call(abort, 0.279, data);  // the same percent again adds nothing
  EXPECT_EQ(progress.ticks(), 27);
  call(abort, 1.0, data);
  EXPECT_EQ(progress.ticks(), 100);
  EXPECT_EQ(data.last_percentage, 100);
  EXPECT_FALSE(abort);
}

TEST_F(Lib3mfAdapterProgress, PendingBreakAbortsAndIsConsumed) {
  PROGRESS progress("3mf", nullptr);
  progress.set_max_ticks(100);
  Lib3mfAdapter::PROGRESS_DATA data{0, &progress};
  bool abort = false;
  BREAK_STATUS::request();
  call(abort, 0.5, data);
  EXPECT_TRUE(abort);
  EXPECT_EQ(progress.ticks(), 0);
  EXPECT_EQ(static_cast<int>(BREAK_STATUS::mState), 0);
  abort = false;
  call(abort, 0.5, data);
  EXPECT_FALSE(abort);
  EXPECT_EQ(progress.ticks(), 50);
}

TEST_F(Lib3mfAdapterProgress, NullProgressOnlyWatchesTheBreak) {
  Lib3mfAdapter::PROGRESS_DATA data{0, nullptr};
  bool abort = false;
  call(abort, 0.7, data);
  EXPECT_FALSE(abort);
  EXPECT_EQ(data.last_percentage, 0);
  BREAK_STATUS::request();
  call(abort, 0.8, data);
  EXPECT_TRUE(abort);
}

}  // namespace
