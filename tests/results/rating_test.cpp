#include "results/rating.h"

#include <gtest/gtest.h>

namespace quill {
namespace {

TEST(Rating, EachFactorByItselfAndAllTogether) {
  struct Case {
    const char* name;
    void (*change)(AnalysisInfo&);
    float expected;
  };
  const Case cases[] = {
      {"flawless", [](AnalysisInfo&) {}, 1},
      {"rate below the floor", [](AnalysisInfo& i) { i.sampleRate = 8000; }, 0.5F},
      {"rate half-way", [](AnalysisInfo& i) { i.sampleRate = 33075; }, 0.75F},
      {"unknown bitrate", [](AnalysisInfo& i) { i.bitrate = 0; }, 1},
      {"least bitrate", [](AnalysisInfo& i) { i.bitrate = 32000; }, 0.5F},
      {"96 kbit", [](AnalysisInfo& i) { i.bitrate = 96000; }, 0.75F},
      {"cut at 12 kHz", [](AnalysisInfo& i) { i.maxFreq = 11000; }, 0.5F},
      {"cut half-way", [](AnalysisInfo& i) { i.maxFreq = 15250; }, 0.75F},
      {"mono", [](AnalysisInfo& i) { i.channels = 1; }, 0.5F},
      {"100 clipped", [](AnalysisInfo& i) { i.clipping = 100; }, 0.85F},
      {"low", [](AnalysisInfo& i) { i.absMax = 0.25F; }, 0.7F},
      {"half level", [](AnalysisInfo& i) { i.absMax = 0.5F; }, 0.85F},
      {"offset at the edge", [](AnalysisInfo& i) { i.absMean = 0.05F; }, 1},
      {"offset", [](AnalysisInfo& i) { i.absMean = 0.075F; }, 0.85F},
      {"large offset", [](AnalysisInfo& i) { i.absMean = 0.1F; }, 0.7F},
      {"coarse", [](AnalysisInfo& i) { i.minStep = 0.00004F; }, 0.5F},
      {"all at once",
       [](AnalysisInfo& i) {
         i.sampleRate = 22050;
         i.bitrate = 64000;
         i.maxFreq = 12000;
         i.channels = 1;
         i.clipping = 100;
         i.absMax = 0;
         i.absMean = 1;
         i.minStep = 1;
       },
       0.0625F * 0.85F * 0.49F * 0.5F},
  };
  for (const Case& one : cases) {
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
