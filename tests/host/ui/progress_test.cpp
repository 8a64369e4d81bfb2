#include "host/ui/progress.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "host/base/assertion.h"
#include "host/ui/progress_bar.h"
#include "host/ui/quiet_mode.h"

namespace {

struct CALL {
  int percent;
  bool final;
  bool operator==(const CALL&) const = default;
};

// A renderer that records its calls into `calls`.
PROGRESS_RENDERER recorder(std::vector<CALL>& calls) {
  return [&calls](int percent, bool final) { calls.push_back({percent, final}); };
}

TEST(Progress, FractionIsZeroWithoutMaximum) {
  PROGRESS p("no max", nullptr);
  EXPECT_EQ(p.fraction(), 0.0);
  p.add_ticks(5);
  EXPECT_EQ(p.ticks(), 5);
  EXPECT_EQ(p.max_ticks(), 0);
  EXPECT_EQ(p.fraction(), 0.0);
  EXPECT_EQ(p.percent(), 0);
}

TEST(Progress, FractionFollowsTicksAndIsClampedAtOne) {
  PROGRESS p("clamp", nullptr);
  p.set_max_ticks(8);
  p.add_ticks(2);
  EXPECT_DOUBLE_EQ(p.fraction(), 0.25);
  p.add_ticks(10);
  EXPECT_EQ(p.ticks(), 12);
  EXPECT_EQ(p.fraction(), 1.0);
  EXPECT_EQ(p.percent(), 100);
}

TEST(Progress, NegativeTicksAreCountedButFractionStaysAtZero) {
  PROGRESS p("negative", nullptr);
  p.set_max_ticks(10);
  p.add_ticks(-3);
  EXPECT_EQ(p.ticks(), -3);
  EXPECT_EQ(p.fraction(), 0.0);
}

TEST(Progress, TickSumSaturatesInsteadOfOverflowing) {
  PROGRESS p("huge", nullptr);
  p.set_max_ticks(std::numeric_limits<long>::max());
  p.add_ticks(std::numeric_limits<long>::max() / 2);
  EXPECT_EQ(p.percent(), 49);
  p.add_ticks(std::numeric_limits<long>::max());
  EXPECT_EQ(p.ticks(), std::numeric_limits<long>::max());
  EXPECT_EQ(p.percent(), 100);
}

TEST(Progress, NegativeMaximumIsReportedAndTakenAsZero) {
  const std::uint64_t failures = assertion_failure_count();
  const ASSERTION_HANDLER old = set_assertion_handler([](const ASSERTION_REPORT&) {});
  PROGRESS p("bad max", nullptr);
  p.set_max_ticks(-4);
  set_assertion_handler(old);
  EXPECT_EQ(assertion_failure_count(), failures + 1);
  EXPECT_EQ(p.max_ticks(), 0);
}

TEST(Progress, RendererIsCalledOnlyWhenTheWholePercentChanges) {
  std::vector<CALL> calls;
  PROGRESS p("draw", recorder(calls));
  p.add_ticks(1);  // no maximum yet: nothing to draw
  EXPECT_TRUE(calls.empty());
  p.set_max_ticks(1000);                         // 1 of 1000: 0 %
  for (int i = 0; i < 999; ++i) p.add_ticks(1);  // up to 100 %
  ASSERT_EQ(calls.size(), 101U);
  for (int i = 0; i <= 100; ++i) EXPECT_EQ(calls[static_cast<std::size_t>(i)], (CALL{i, false}));
  p.add_ticks(50);  // beyond the maximum: still 100 %, no call
  EXPECT_EQ(calls.size(), 101U);
}

TEST(Progress, FinalizeCallsTheRendererOnceAndStopsDrawing) {
  std::vector<CALL> calls;
  {
    PROGRESS p("final", recorder(calls));
    p.set_max_ticks(4);
    p.add_ticks(1);
    p.finalize();
    EXPECT_TRUE(p.finalized());
    p.finalize();
    p.add_ticks(2);  // counted, not drawn
    EXPECT_EQ(p.ticks(), 3);
  }  // destruction after finalize: no further call
  EXPECT_EQ(calls, (std::vector<CALL>{{0, false}, {25, false}, {25, true}}));
}

TEST(Progress, DestructionFinalizes) {
  std::vector<CALL> calls;
  {
    PROGRESS p("scope", recorder(calls));
    p.set_max_ticks(2);
    p.add_ticks(1);
  }
  EXPECT_EQ(calls, (std::vector<CALL>{{0, false}, {50, false}, {50, true}}));
}

TEST(Progress, FactoryGivesNewObjectsTheirRenderer) {
  std::vector<CALL> calls;
  std::vector<std::string> titles;
  PROGRESS_RENDERER_FACTORY old = set_progress_renderer_factory([&](const std::string& title) {
    titles.push_back(title);
    return recorder(calls);
  });
  {
    PROGRESS p("made");
    p.set_max_ticks(1);
    p.add_ticks(1);
  }
  set_progress_renderer_factory(std::move(old));
  EXPECT_EQ(titles, (std::vector<std::string>{"made"}));
  EXPECT_EQ(calls, (std::vector<CALL>{{0, false}, {100, false}, {100, true}}));
}

TEST(Progress, QuietModeOrNoTerminalDrawsNothing) {
  // Standard error of a test run is rarely a terminal; in quiet mode it never
  // matters. Either way nothing may be written.
  set_host_quiet_mode(true);
  ::testing::internal::CaptureStderr();
  {
    PROGRESS p("quiet");
    p.set_max_ticks(10);
    p.add_ticks(10);
  }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  set_host_quiet_mode(false);
  EXPECT_FALSE(host_quiet_mode());
}

TEST(ProgressBar, FormatsTitleBarAndPercent) {
  EXPECT_EQ(format_progress_bar("title", 42), "title [############..................]  42%");
  EXPECT_EQ(format_progress_bar("", 100), "[##############################] 100%");
  EXPECT_EQ(format_progress_bar("x", -5), "x [..............................]   0%");
  EXPECT_EQ(format_progress_bar("x", 250), format_progress_bar("x", 100));
}

TEST(ProgressBar, LongTitlesAreCutAtACharacterBoundary) {
  std::string title(kProgressBarTitleBytes - 1, 'a');
  title += "\xC3\xA9tail";  // a two-byte character across the limit
  const std::string line = format_progress_bar(title, 0);
  EXPECT_EQ(line.substr(0, kProgressBarTitleBytes),
            std::string(kProgressBarTitleBytes - 1, 'a') + " ");
}

TEST(ProgressBar, RendererRedrawsInPlaceAndEndsTheLine) {
  std::FILE* f = std::tmpfile();
  ASSERT_NE(f, nullptr);
  {
    PROGRESS p("load", make_progress_bar_renderer("load", f));
    p.set_max_ticks(2);
    p.add_ticks(1);
    p.add_ticks(1);
  }
  std::rewind(f);
  std::string text;
  for (int c = std::fgetc(f); c != EOF; c = std::fgetc(f)) text += static_cast<char>(c);
  std::fclose(f);
  EXPECT_EQ(text, "\r" + format_progress_bar("load", 0) + "\r" + format_progress_bar("load", 50) +
                      "\r" + format_progress_bar("load", 100) + "\n");
}

TEST(ProgressBar, RendererThatNeverDrewWritesNothingAtFinalize) {
  std::FILE* f = std::tmpfile();
  ASSERT_NE(f, nullptr);
  { PROGRESS p("idle", make_progress_bar_renderer("idle", f)); }
  EXPECT_EQ(std::ftell(f), 0L);
  std::fclose(f);
}

}  // namespace
