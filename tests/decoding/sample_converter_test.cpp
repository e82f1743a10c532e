// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoding/sample_converter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "decoding/link_test.h"

namespace quill {
namespace {

using test::Lines;
using test::LinkTest;

// The conversion told plainly: frame by frame, with no blocks.
class CPlainConverter {
 public:
  static std::vector<float> Convert(const std::string& bytes, const AudioFormat& format,
                                    uint32_t targetRate) {
    std::vector<float> mono;
    const uint32_t frameSize = FrameSize(format);
    for (size_t at = 0; at + frameSize <= bytes.size(); at += frameSize)
      mono.push_back(Mix(bytes.data() + at, format));
    const float ratio = static_cast<float>(format.sampleRate) / static_cast<float>(targetRate);
    return format.sampleRate % targetRate == 0 ? Average(mono, format.sampleRate / targetRate)
                                               : Box(mono, ratio);
  }

 private:
  static float Mix(const char* frame, const AudioFormat& format) {
    float a[8] = {};
    for (uint32_t i = 0; i < ChannelCount(format.channelsFormat); ++i) {
      if (format.dataFormat == wire::kSigned8) {
        a[i] = static_cast<signed char>(frame[i]);
      } else if (format.dataFormat == wire::kSigned16) {
        int16_t sample;
        std::memcpy(&sample, frame + 2 * i, 2);
        a[i] = sample;
      } else {
        std::memcpy(&a[i], frame + 4 * i, 4);
      }
    }
    const float scale = format.dataFormat == wire::kSigned8    ? 0.0078125F
                        : format.dataFormat == wire::kSigned16 ? 3.0517578e-05F
                                                               : 1.0F;
    switch (format.channelsFormat) {
      case wire::kMono:
        return a[0] * scale;
      case wire::kStereo:
        return (a[0] + a[1]) * 0.5F * scale;
      case wire::kSixChannels:
        return ((a[0] + a[1] + a[2] + a[4] + a[5]) * 0.192F + a[3] * 0.038F) * scale;
      default:
        return ((a[0] + a[1] + a[2] + a[4] + a[5] + a[6] + a[7]) * 0.139F + a[3] * 0.028F) * scale;
    }
  }

  static std::vector<float> Average(const std::vector<float>& mono, uint32_t ratio) {
    std::vector<float> result;
    const float scale = 1 / static_cast<float>(ratio);
    float sum = 0;
    uint32_t count = 0;
    for (const float x : mono) {
      sum += x;
      if (++count < ratio) continue;
      result.push_back(sum * scale);
      sum = 0;
      count = 0;
    }
    return result;
  }

  static std::vector<float> Box(const std::vector<float>& mono, float ratio) {
    std::vector<float> result;
    float sum = 0;
    float last = 0;
    float position = ratio;
    int count = 0;
    for (const float x : mono) {
      for (bool same = true; same;) {
        ++count;
        if (position > 1) {
          sum += x;
          same = false;
        } else {
          result.push_back((position * x + (1 - position) * last + sum) /
                           static_cast<float>(count));
          position += ratio;
          sum = 0;
          count = 0;
          same = position < 1;
        }
      }
      last = x;
      position -= 1;
    }
    return result;
  }
};

class SampleConverterTest : public LinkTest {
 protected:
  // Opens a file that delivers `bytes` in blocks of these sizes.
  void OpenBlocks(const std::string& bytes, const AudioFormat& format,
                  const std::vector<size_t>& sizes) {
    const std::string samples = m_folder / "samples";
    test::WriteAll(samples, bytes);
    std::vector<std::string> lines = {"open reply " + std::to_string(format.dataFormat) + " " +
                                      std::to_string(format.channelsFormat) + " " +
                                      std::to_string(format.sampleRate)};
    size_t offset = 0;
    for (const size_t size : sizes) {
      lines.push_back("data block " + samples + " " + std::to_string(offset) + " " +
                      std::to_string(size));
      offset += size;
    }
    lines.emplace_back("data reply 0");
    ASSERT_EQ(m_client.Open(Script(lines), 0), 0);
  }

  CProcessLink m_link{m_table, FAKE_DECODER};
  CAudioDecoder m_client{m_link};
};

bool SameBits(const CFloatVector& a, const std::vector<float>& b, size_t count) {
  return a.size() >= count && b.size() >= count &&
         (count == 0 || std::memcmp(a.data(), b.data(), count * sizeof(float)) == 0);
}

TEST_F(SampleConverterTest, AnySplitIntoBlocksAndCallsGivesThePlainResult) {
  std::mt19937 random(20260308);
  const auto below = [&](size_t limit) { return random() % limit; };
  constexpr uint32_t kRates[][2] = {{44100, 44100}, {44100, 22050}, {44100, 11025}, {22050, 7350},
                                    {48000, 22050}, {48000, 11025}, {32000, 22050}, {8000, 22050},
                                    {8000, 7999},   {7, 100}};
  for (uint32_t data = 1; data <= 3; ++data) {
    for (uint32_t channels = 1; channels <= 4; ++channels) {
      for (const auto& [sourceRate, targetRate] : kRates) {
        SCOPED_TRACE(testing::Message()
                     << data << " " << channels << " " << sourceRate << " to " << targetRate);
        const AudioFormat format{data, channels, sourceRate};
        const size_t frameSize = FrameSize(format);
        const size_t frames = 200 + below(400);
        std::string bytes;
        for (size_t i = 0; i < frames * ChannelCount(channels); ++i) {
          const float level = static_cast<float>(random()) / 2.0e9F - 1;
          const auto integer = static_cast<uint16_t>(random());
          data == 3 ? bytes.append(reinterpret_cast<const char*>(&level), 4)
                    : bytes.append(reinterpret_cast<const char*>(&integer), data);
        }
        std::vector<size_t> sizes;
        for (size_t left = frames; left > 0;) {
          const size_t size = std::min(left, 1 + below(below(3) ? 10 : 300));
          sizes.push_back(size * frameSize);
          left -= size;
        }
        const std::vector<float> plain = CPlainConverter::Convert(bytes, format, targetRate);

        OpenBlocks(bytes, format, sizes);
        CSampleConverter converter;
        ASSERT_TRUE(converter.Init(m_client, targetRate));
        CFloatVector samples;
        for (size_t wanted = 0; wanted < plain.size(); wanted += 1 + below(plain.size())) {
          ASSERT_TRUE(converter.Decode(&samples, wanted));
          ASSERT_EQ(samples.size(), wanted);
          ASSERT_TRUE(SameBits(samples, plain, wanted));
        }
        ASSERT_TRUE(converter.Decode(&samples, plain.size() + 1000));
        ASSERT_EQ(samples.size(), plain.size());
        ASSERT_TRUE(SameBits(samples, plain, plain.size()));
        ASSERT_TRUE(converter.Decode(&samples, plain.size() + 1000));  // the end stays the end
        EXPECT_EQ(m_client.Close(), 0);
      }
    }
  }
  const auto logged = TakeLog();
  EXPECT_EQ(logged.messages, Lines{});
  EXPECT_EQ(logged.reports, "");
}

TEST_F(SampleConverterTest, FractionalRatioKeepsLevelAndLength) {
  // The box filter divides by the number of frames it touched: a constant stays near its level.
  const AudioFormat format{wire::kSigned16, wire::kMono, 48000};
  std::string bytes;
  for (int i = 0; i < 48000; ++i) bytes.append("\x00\x40", 2);
  OpenBlocks(bytes, format, {bytes.size()});
  CSampleConverter converter;
  ASSERT_TRUE(converter.Init(m_client, 22050));
  CFloatVector samples;
  ASSERT_TRUE(converter.Decode(&samples, 100000));
  EXPECT_NEAR(static_cast<double>(samples.size()), 22050, 2);
  for (const float sample : samples) {
    EXPECT_GT(sample, 0.25F);
    EXPECT_LE(sample, 0.5F);
  }
}

TEST_F(SampleConverterTest, BlockThatEndsInAFrameFailsOnTheNextPass) {
  const AudioFormat format{wire::kSigned16, wire::kStereo, 44100};
  OpenBlocks("aabbccddee", format, {10});
  CSampleConverter converter;
  ASSERT_TRUE(converter.Init(m_client, 44100));
  CFloatVector samples;
  EXPECT_TRUE(converter.Decode(&samples, 2));  // as far as whole frames go, all is well
  EXPECT_FALSE(converter.Decode(&samples, 3));
  EXPECT_EQ(samples.size(), 2U);
  EXPECT_EQ(Messages(), Lines{});

  OpenBlocks("aabbccddee", format, {10});
  CSampleConverter another;
  ASSERT_TRUE(another.Init(m_client, 44100));
  samples.clear();
  EXPECT_FALSE(another.Decode(&samples, 3));
  const auto logged = TakeLog();
  EXPECT_EQ(logged.messages, (Lines{"FATAL decode: 10, 12, 8, 8", "FATAL decode2: 4, 1.000000"}));
  EXPECT_EQ(logged.reports, "Decode ");
}

TEST_F(SampleConverterTest, UnusableFormatsAndCallsAreRefused) {
  CSampleConverter converter;
  CFloatVector samples;
  EXPECT_FALSE(converter.Decode(&samples, 1));    // before Init
  EXPECT_FALSE(converter.Init(m_client, 44100));  // nothing open: all zero
  for (const AudioFormat& format :
       {AudioFormat{2, 0, 44100}, AudioFormat{2, 5, 44100}, AudioFormat{0, 2, 44100},
        AudioFormat{4, 2, 44100}, AudioFormat{2, 2, 0}}) {
    OpenBlocks("", format, {});
    EXPECT_FALSE(converter.Init(m_client, 44100));
  }
  OpenBlocks("", {2, 2, 44100}, {});
  EXPECT_FALSE(converter.Init(m_client, 0));
  EXPECT_TRUE(converter.Init(m_client, 22050));
  EXPECT_FALSE(converter.Init(m_client, 22050));  // one stream each
  EXPECT_EQ(Reports(), "Decode Init Init Init Init Init Init Init Init ");
  // A stream of length 0.
  EXPECT_TRUE(converter.Decode(&samples, 10));
  EXPECT_TRUE(samples.empty());

  ASSERT_EQ(m_client.Open(Opened({"data status 3"}), 0), 0);
  CSampleConverter failing;
  ASSERT_TRUE(failing.Init(m_client, 22050));
  EXPECT_FALSE(failing.Decode(&samples, 10));
}

}  // namespace
}  // namespace quill
