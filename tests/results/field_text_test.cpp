// SPDX-License-Identifier: GPL-3.0-or-later
#include "results/field_text.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <limits>

#include "support/temp_folder.h"

namespace quill {
namespace {

TEST(FieldText, ByTable) {
  const std::pair<std::string, std::string> cases[] = {
      {SizeText(0), "0.00 KB"},
      {SizeText(99999), "100.00 KB"},
      {SizeText(100000), "0.10 MB"},
      {SizeText(99999999), "100.00 MB"},
      {SizeText(100000000), "0.10 GB"},
      {SizeText(7654321098765), "7654.32 GB"},
      {BitrateText(0), "n/a"},
      {BitrateText(999), "999"},
      {BitrateText(1999994), "1999.99 Kbit"},
      {BitrateText(2000000), "2.00 Mbit"},
      {DurationText(0), "0.000"},
      {DurationText(999), "0.999"},
      {DurationText(1000), "0:01"},
      {DurationText(187400), "3:07"},
      {DurationText(3600000 * 3), "180:00"},
      {GroupedText(0), ""},
      {GroupedText(999), "999"},
      {GroupedText(4294967295U), "4 294 967 295"},
      {ChannelsText(2), "Stereo"},
      {ChannelsText(1), "Mono"},
      {CountText(0), "0"},
      {CountText(1234567), "1.23457e+06"},
      {LevelText(0.15F), "0.150000"},
      {MinStepText(1), "1.000000 (1 bit)"},
      {MinStepText(1.0F / 131072), "0.000008 (18 bit)"},
      {MinStepText(1.0F / 32768), "0.000031 (16 bit)"},
      {MinStepText(1.0F / 8388608), "1.192093e-07"},
      {MinStepText(0), "0.000000e+00"},
      {MinStepText(std::numeric_limits<float>::quiet_NaN()), "nan"},
      {LevelText(-std::numeric_limits<float>::max()),
       "-340282346638528859811704183484516925440.000000"},
      {FrequencyText(19876.5F), "19 876"},
      {FrequencyText(0.5F), ""}};
  for (const auto& [text, expected] : cases) EXPECT_EQ(text, expected);
}

// The window's toolkit takes over the environment's locale, and with it printf's decimal point.
TEST(FieldText, NumbersHaveAPointInEveryLocale) {
  // A locale with a comma in the C library's own form: it need not be installed on the system.
  static constexpr char kComma[] =
      "\x14\x11\x03\x20\x06\0\0\0\x20\0\0\0\x22\0\0\0\x24\0\0\0\x28\0\0\0\x2c\0\0\0\x30\0\0\0"
      ",\0.\0\x03\x03\0\0,\0\0\0.\0\0\0ANSI_X3.4-1968";
  const test::CTempFolder folder;
  test::WriteAll(folder / "comma/LC_NUMERIC", std::string_view(kComma, sizeof kComma));
  ASSERT_EQ(setenv("LOCPATH", folder.Path().c_str(), 1), 0);
  ASSERT_NE(std::setlocale(LC_NUMERIC, "comma"), nullptr);
  unsetenv("LOCPATH");
  const std::string decimalPoint = std::localeconv()->decimal_point;
  const std::string texts = SizeText(1500) + BitrateText(1500) + BitrateText(2500000) +
                            DurationText(500) + CountText(0.5F) + LevelText(0.5F) +
                            MinStepText(0.25F) + MinStepText(0) + FixedText(0.5, 1);
  std::setlocale(LC_NUMERIC, "C");
  EXPECT_EQ(decimalPoint, ",");
  EXPECT_EQ(texts, "1.50 KB1.50 Kbit2.50 Mbit0.5000.50.5000000.250000 (3 bit)0.000000e+000.5");
}

TEST(FieldText, ValuesTurnBadAtTheirLimits) {
  using Info = AnalysisInfo&;
  const struct {
    FieldId column;
    void (*set)(Info, bool bad);
  } cases[] = {
      {FieldId::kBitrate, [](Info i, bool bad) { i.bitrate = bad ? 64000 : 64001; }},
      {FieldId::kSampleRate, [](Info i, bool bad) { i.sampleRate = bad ? 22050 : 22051; }},
      {FieldId::kChannels, [](Info i, bool bad) { i.channels = bad ? 1 : 2; }},
      {FieldId::kClipping, [](Info i, bool bad) { i.clipping = bad ? 100 : 99; }},
      {FieldId::kAbsMean, [](Info i, bool bad) { i.absMean = bad ? 0.1F : 0.09F; }},
      {FieldId::kMinStep, [](Info i, bool bad) { i.minStep = bad ? 0.000041F : 0.00004F; }},
      {FieldId::kAbsMax, [](Info i, bool bad) { i.absMax = bad ? 0.25F : 0.26F; }},
      {FieldId::kMaxFreq, [](Info i, bool bad) { i.maxFreq = bad ? 12000 : 12001; }},
      {FieldId::kClicks, [](Info i, bool bad) { i.clicks = bad ? 100 : 99; }},
  };
  AnalysisInfo info;
  for (const auto& [column, set] : cases) {
    for (const bool bad : {true, false}) {
      set(info, bad);
      EXPECT_EQ(IsBadValue(column, info), bad) << FieldIdentifier(column);
    }
    EXPECT_EQ(AnalysisText(column, nullptr), "-");
  }
  EXPECT_EQ(AnalysisText(FieldId::kRating, nullptr), "");
}

}  // namespace
}  // namespace quill
