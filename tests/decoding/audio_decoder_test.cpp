// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoding/audio_decoder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "decoding/channel_splitter.h"
#include "decoding/link_test.h"

namespace quill {
namespace {

using test::LinkTest;

class AudioDecoderTest : public LinkTest {
 protected:
  int32_t NextBlock() { return m_client.GetData(&m_block, &m_size); }

  CProcessLink m_link{m_table, FAKE_DECODER};
  CAudioDecoder m_client{m_link};
  const uint8_t* m_block = nullptr;
  uint32_t m_size = 0;
};

TEST_F(AudioDecoderTest, ReadsAFileInOrder) {
  const std::string samples = m_folder / "samples";
  test::WriteAll(samples, "0123456789");
  const std::string path =
      Script({"open flags", "open reply 3 2 48000",
              "info reply 11 3000 320000 @Title @Ärtist @" + std::string(512, 'a'),
              "data block " + samples + " 2 5", "data reply 0"});
  AudioFormat format;
  ASSERT_EQ(m_client.Open(path, wire::kRefuseVideo), 0);
  EXPECT_EQ(Messages(), test::Lines{"flags 1"});
  m_client.GetFormat(&format);
  EXPECT_EQ(format.dataFormat, 3U);
  EXPECT_EQ(format.channelsFormat, 2U);
  EXPECT_EQ(format.sampleRate, 48000U);

  wire::AudioInfo info;
  ASSERT_EQ(m_client.GetInfo(&info), 0);
  EXPECT_STREQ(FormatName(info.format), "FLAC");
  EXPECT_EQ(info.durationMs, 3000U);
  EXPECT_EQ(info.bitrate, 320000U);
  EXPECT_STREQ(info.title, "Title");
  EXPECT_STREQ(info.artist, "Ärtist");
  EXPECT_EQ(std::strlen(info.album), 511U);  // a text that fills its field has no end of its own

  ASSERT_EQ(NextBlock(), 0);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(m_block), m_size), "23456");
  ASSERT_EQ(NextBlock(), 0);
  EXPECT_EQ(m_size, 0U);
  EXPECT_EQ(m_client.Close(), 0);
  m_client.GetFormat(&format);
  EXPECT_EQ(format.sampleRate, 0U);
}

TEST_F(AudioDecoderTest, StatusOfTheDecoderIsPassedOnWithoutAReport) {
  ASSERT_EQ(m_client.Open(Opened({"info status 5", "data status 4294967290", "close status 7"}), 0),
            0);
  wire::AudioInfo info;
  std::memset(&info, 'x', sizeof info);
  EXPECT_EQ(m_client.GetInfo(&info), 5);
  EXPECT_EQ(info.title[0], '\0');
  EXPECT_EQ(NextBlock(), -6);
  EXPECT_EQ(m_client.Close(), 7);
  // A refused open leaves no format of the file before.
  ASSERT_EQ(m_client.Open(Opened({}), 0), 0);
  EXPECT_EQ(m_client.Open(Script({"open status 9"}), 0), 9);
  AudioFormat format;
  m_client.GetFormat(&format);
  EXPECT_EQ(format.sampleRate, 0U);
  EXPECT_EQ(Reports(), "");
}

// After an answer to something else no later one could be trusted.
TEST_F(AudioDecoderTest, WrongIdIsALinkFailureThatCostsTheChild) {
  wire::AudioInfo info;
  const struct {
    const char* command;
    std::function<int32_t()> ask;
  } kCases[] = {{"info", [&] { return m_client.GetInfo(&info); }},
                {"data", [&] { return NextBlock(); }},
                {"close", [&] { return m_client.Close(); }}};
  for (const auto& each : kCases) {
    SCOPED_TRACE(each.command);
    ASSERT_EQ(m_client.Open(Opened({std::string(each.command) + " id 2"}), 0), 0);
    EXPECT_EQ(each.ask(), kDecodeLinkFailed);
    EXPECT_FALSE(m_link.IsOpen());
    EXPECT_EQ(Messages(), test::Lines{"Decoder process answers out of step"});
  }
  EXPECT_EQ(m_client.Open(Script({"open id 6", "open status 1"}), 0), kDecodeLinkFailed);
  EXPECT_FALSE(m_link.IsOpen());
  EXPECT_EQ(Reports(), "Open ");
  EXPECT_EQ(m_client.Open(Opened({}), 0), 0);
}

TEST_F(AudioDecoderTest, BlockMustLieInTheMapping) {
  for (const test::Lines& lies : {test::Lines{"data reply 1"},
                                  {"data resize 100", "data reply 101"},
                                  {"data resize 100", "data reply 4294967295"}}) {
    ASSERT_EQ(m_client.Open(Opened(lies), 0), 0);
    static_cast<void>(TakeLog());
    m_size = 1;
    EXPECT_EQ(NextBlock(), kDecodeBadArgument);
    EXPECT_EQ(m_block, nullptr);
    EXPECT_EQ(m_size, 0U);
    EXPECT_FALSE(m_link.IsOpen());
    const auto logged = TakeLog();
    EXPECT_EQ(logged.reports, "Mapping GetData ");
    ASSERT_FALSE(logged.messages.empty());
    EXPECT_EQ(logged.messages.back(), "Decoder process gave less data than it tells");
  }
  ASSERT_EQ(m_client.Open(Opened({"data resize 100", "data reply 100"}), 0), 0);
  EXPECT_EQ(NextBlock(), 0);
  EXPECT_EQ(m_size, 100U);
}

TEST_F(AudioDecoderTest, ClosedLinkAndNullArgumentsAreRefused) {
  wire::AudioInfo info;
  EXPECT_EQ(m_client.GetInfo(&info), kDecodeBadArgument);
  EXPECT_EQ(NextBlock(), kDecodeBadArgument);
  EXPECT_EQ(m_client.Close(), kDecodeBadArgument);
  EXPECT_EQ(Reports(), "GetInfo GetData Close ");
  ASSERT_EQ(m_client.Open(Opened({}), 0), 0);
  EXPECT_EQ(m_client.GetInfo(nullptr), kDecodeBadArgument);
  EXPECT_EQ(m_client.GetFormat(nullptr), kDecodeBadArgument);
  EXPECT_EQ(m_client.GetData(nullptr, &m_size), kDecodeBadArgument);
  EXPECT_EQ(m_client.GetData(&m_block, nullptr), kDecodeBadArgument);
  EXPECT_EQ(m_client.Close(), 0);  // none of them reached the decoder
}

TEST_F(AudioDecoderTest, FormatsHaveSizesAndNames) {
  const uint32_t kSizes[3][4] = {{1, 2, 6, 8}, {2, 4, 12, 16}, {4, 8, 24, 32}};
  for (uint32_t data = 1; data <= 3; ++data) {
    for (uint32_t channels = 1; channels <= 4; ++channels)
      EXPECT_EQ(FrameSize({data, channels, 1}), kSizes[data - 1][channels - 1]);
    EXPECT_EQ(FrameSize({data, 0, 1}) + FrameSize({data, 5, 1}), 0U);
  }
  EXPECT_EQ(FrameSize({0, 1, 1}) + FrameSize({4, 1, 1}), 0U);
  EXPECT_STREQ(FormatName(1), "PCM");
  EXPECT_STREQ(FormatName(9), "OGG");
  EXPECT_STREQ(FormatName(13), "WMA");
  EXPECT_STREQ(FormatName(0), "-");
  EXPECT_STREQ(FormatName(14), "-");
}

TEST_F(AudioDecoderTest, SplitterServesEachFormat) {
  const uint8_t bytes[16] = {0x00, 0x80, 0xff, 0x7f, 0x00, 0x40, 0x00, 0xc0,
                             0x00, 0x00, 0x80, 0x3f, 0x00, 0x00, 0x00, 0xbf};
  const std::string samples = m_folder / "samples";
  test::WriteAll(samples, {reinterpret_cast<const char*>(bytes), sizeof bytes});
  using Floats = std::vector<float>;
  const struct {
    const char* format;
    int32_t result;
    int offset, size;
    Floats left, right;
  } kCases[] = {
      {"1 1", kDecodeBadArgument, 0, 4, {}, {}},
      {"2 1", 0, 0, 4, {0, -1, -1 / 128.F, 127 / 128.F}, {}},  // byte by byte
      {"3 1", 0, 8, 8, {1, -0.5F}, {}},
      {"1 2", 0, 0, 5, {0, -1 / 128.F}, {-1, 127 / 128.F}},  // half a frame is left out
      {"2 2", 0, 0, 8, {-1, 0.5F}, {32767 / 32768.F, -0.5F}},
      {"3 2", 0, 8, 8, {1}, {-0.5F}},
      {"2 3", kDecodeBadArgument, 0, 12, {}, {}},
      {"3 4", kDecodeBadArgument, 0, 16, {}, {}},
  };
  CFloatVector left;
  CFloatVector right;
  for (const auto& each : kCases) {
    SCOPED_TRACE(each.format);
    ASSERT_EQ(m_client.Open(Script({std::string("open reply ") + each.format + " 44100",
                                    "data block " + samples + " " + std::to_string(each.offset) +
                                        " " + std::to_string(each.size),
                                    "data reply 0", "data status 12"}),
                            0),
              0);
    left.assign(3, 9);
    right.assign(3, 9);
    EXPECT_EQ(GetData(m_client, &left, &right), each.result);
    EXPECT_EQ(Floats(left.begin(), left.end()), each.left);
    EXPECT_EQ(Floats(right.begin(), right.end()), each.right);
    EXPECT_EQ(Reports(), each.result == 0 ? "" : "GetData ");
    if (each.result != 0) continue;
    EXPECT_EQ(GetData(m_client, &left, &right), 0);
    EXPECT_TRUE(left.empty() && right.empty());
    EXPECT_EQ(GetData(m_client, &left, &right), 12);
    EXPECT_EQ(Reports(), "GetData ");
  }
}

}  // namespace
}  // namespace quill
