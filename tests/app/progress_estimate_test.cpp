// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/progress_estimate.h"

#include <gtest/gtest.h>

namespace quill {
namespace {

constexpr const char* kText = "Estimated Time Remaining: ";

TEST(RemainingText, ShowsOnlyTheUnitsThatAreNeeded) {
  const std::pair<uint32_t, const char*> cases[] = {
      {0, "0m 0s"},           {59, "0m 59s"},         {3599, "59m 59s"},     {3600, "1h 0m 0s"},
      {86399, "23h 59m 59s"}, {86400, "1d 0h 0m 0s"}, {90061, "1d 1h 1m 1s"}};
  for (const auto& [seconds, text] : cases) EXPECT_EQ(RemainingText(seconds), text) << seconds;
}

TEST(HowFarText, AdmitsThatTheWholeIsNotKnown) {
  EXPECT_EQ(HowFarText(30, 57, false), "30 of 57 files");
  EXPECT_EQ(HowFarText(0, 1, false), "0 of 1 file");
  EXPECT_EQ(HowFarText(30, 57, true), "30 of at least 57 files");
}

TEST(ProgressEstimate, NeedsElevenSecondsAndThreeFiles) {
  CProgressEstimate estimate;
  estimate.Tick(100, true, 5, 105);
  estimate.Tick(110, true, 15, 105);
  EXPECT_EQ(estimate.Text(), "");
  CProgressEstimate slow;
  slow.Tick(100, true, 0, 100);
  slow.Tick(200, true, 2, 100);
  EXPECT_EQ(slow.Text(), "");
  slow.Tick(200, true, 3, 100);
  // 97 files at 3 files in 100 seconds.
  EXPECT_EQ(slow.Text(), kText + RemainingText(3233));
  estimate.Tick(111, true, 16, 105);
  EXPECT_EQ(estimate.Text(), kText + RemainingText(89));
}

TEST(ProgressEstimate, DropsAtOnceAndRisesInStepsOfThirtyOneSeconds) {
  CProgressEstimate estimate;
  estimate.Tick(0x1000, true, 0, 110);
  estimate.Tick(0x1000 + 100, true, 10, 110);
  EXPECT_EQ(estimate.Text(), kText + RemainingText(1000));
  estimate.Tick(0x1000 + 100, true, 10, 113);
  EXPECT_EQ(estimate.Text(), kText + RemainingText(1000)) << "30 seconds above: kept";
  estimate.Tick(0x1000 + 1000, true, 100, 203);
  EXPECT_EQ(estimate.Text(), kText + RemainingText(1030 - 30)) << "30 seconds above: kept";
  estimate.Tick(0x1000 + 100, true, 100, 1131);
  EXPECT_EQ(estimate.Text(), kText + RemainingText(1031)) << "31 seconds above: replaced";
  estimate.Tick(0x1000 + 100, true, 100, 1130);
  EXPECT_EQ(estimate.Text(), kText + RemainingText(1030)) << "below: replaced";
}

TEST(ProgressEstimate, LeavesTheTextAloneFromTenDaysOn) {
  CProgressEstimate estimate;
  estimate.Tick(1, true, 0, 20);
  estimate.Tick(101, true, 10, 20);
  const std::string before = estimate.Text();
  estimate.Tick(101, true, 10, 86410);
  EXPECT_EQ(estimate.Text(), before);
}

TEST(ProgressEstimate, StartsAnewAfterAPauseAndSurvivesAnEmptyTotal) {
  CProgressEstimate estimate;
  estimate.Tick(1, true, 0, 20);
  estimate.Tick(101, true, 10, 20);
  estimate.Tick(102, false, 10, 20);
  EXPECT_EQ(estimate.Text(), "");
  EXPECT_FLOAT_EQ(estimate.Progress(), 0.5F);
  estimate.Tick(500, true, 10, 20);
  estimate.Tick(505, true, 15, 20);
  EXPECT_EQ(estimate.Text(), "") << "the sample begins at the first tick after the pause";
  estimate.Tick(506, true, 0, 0);
  EXPECT_EQ(estimate.Progress(), 0.0F);
}

}  // namespace
}  // namespace quill
