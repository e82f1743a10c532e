// SPDX-License-Identifier: GPL-3.0-or-later
#include "results/rating.h"

#include <gtest/gtest.h>

namespace quill {
namespace {

TEST(Rating, EachFactorByItselfAndAllTogether) {
  using Info = AnalysisInfo&;
  const struct {
    const char* name;
    void (*change)(Info);
    float expected;
  } cases[] = {
      {"flawless", [](Info) {}, 1},
      {"rate below the floor", [](Info i) { i.sampleRate = 8000; }, 0.5F},
      {"rate half-way", [](Info i) { i.sampleRate = 33075; }, 0.75F},
      {"unknown bitrate", [](Info i) { i.bitrate = 0; }, 1},
      {"least bitrate", [](Info i) { i.bitrate = 32000; }, 0.5F},
      {"96 kbit", [](Info i) { i.bitrate = 96000; }, 0.75F},
      {"cut at 12 kHz", [](Info i) { i.maxFreq = 11000; }, 0.5F},
      {"cut half-way", [](Info i) { i.maxFreq = 15250; }, 0.75F},
      {"mono", [](Info i) { i.channels = 1; }, 0.5F},
      {"100 clipped", [](Info i) { i.clipping = 100; }, 0.85F},
      {"low", [](Info i) { i.absMax = 0.25F; }, 0.7F},
      {"half level", [](Info i) { i.absMax = 0.5F; }, 0.85F},
      {"offset at the edge", [](Info i) { i.absMean = 0.05F; }, 1},
      {"offset", [](Info i) { i.absMean = 0.075F; }, 0.85F},
      {"large offset", [](Info i) { i.absMean = 0.1F; }, 0.7F},
      {"coarse", [](Info i) { i.minStep = 0.00004F; }, 0.5F},
      {"all at once",
       [](Info i) {
         i.sampleRate = 22050;
         i.bitrate = 64000;
         i.clipping = 100;
         i.channels = 1;
         i.maxFreq = i.absMax = 0;
         i.absMean = i.minStep = 1;
       },
       0.0625F * 0.85F * 0.49F * 0.5F},
  };
  for (const auto& one : cases) {
    AnalysisInfo info;
    info.sampleRate = 44100;
    info.bitrate = 320000;
    info.maxFreq = 20000;
    info.channels = 2;
    info.absMax = 0.9F;
    one.change(info);
    EXPECT_NEAR(Rating(info), one.expected, 1e-6F) << one.name;
  }
}

}  // namespace
}  // namespace quill
