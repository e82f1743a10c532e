// SPDX-License-Identifier: GPL-3.0-or-later
// What is no picture, or a damaged or an impossible one: an answer each time. A crash would show as
// a failure of the link, which is below 0.
#include <sys/stat.h>

#include <algorithm>
#include <iostream>
#include <random>

#include "decoder/decoder_test.h"
#include "decoder/picture/picture_maker.h"
#include "decoding/image_decoder.h"

namespace quill {
namespace {

using test::Code;
using test::MakePicture;
using test::Status;

class BrokenPictureTest : public test::DecoderTest {
 protected:
  std::string Written(const std::string& content) {
    std::string path = m_folder / "file";
    test::WriteAll(path, content);
    return path;
  }
  // Opens, asks for all there is, closes. The status of the pixels, or that of a refused open.
  int32_t TryAll(const std::string& path, wire::ImageInfo* info) {
    const int32_t opened = m_client.Open(path, 0);
    if (opened != kDecodeOk) return opened;
    EXPECT_EQ(m_client.GetInfo(info), kDecodeOk);
    const uint8_t* pixels = nullptr;
    wire::ImageData data{};
    const int32_t read = m_client.GetData(&pixels, &data);
    if (read == kDecodeOk) {
      EXPECT_GE(data.rowStep, uint64_t{data.width} * static_cast<uint32_t>(ChannelCount(data)));
      EXPECT_GE(m_link.MapSize(), uint64_t{data.rowStep} * data.height);
    }
    EXPECT_EQ(m_client.Close(), kDecodeOk);
    return read;
  }
  int32_t TryAll(const std::string& path) {
    wire::ImageInfo info{};
    return TryAll(path, &info);
  }

  // One small file of each format, as far as this system can write them.
  std::vector<std::string> Samples() {
    std::vector<std::string> samples;
    const auto byVips = [&](const char* name, const char* options, uint32_t channels) {
      const std::string path = m_folder / name;
      if (test::SaveByVips(MakePicture(40, 30, channels), path, options))
        samples.push_back(test::ReadAll(path));
      else
        std::cout << "This system's libvips cannot write " << name << ": not tested\n";
    };
    byVips("a.jpg", "[Q=60,strip]", 3);
    byVips("b.jpg", "[Q=60,strip,interlace]", 3);
    byVips("a.png", "[interlace]", 4);
    byVips("b.png", "", 3);
    byVips("a.tif", "[compression=lzw]", 3);
    byVips("b.tif", "[tile,tile-width=16,tile-height=16,compression=deflate]", 3);
    byVips("a.gif", "", 3);
    byVips("a.webp", "[Q=60]", 4);
    byVips("a.heic", "[Q=60]", 3);
    byVips("a.avif", "[Q=60]", 3);
    byVips("a.jxl", "", 3);
    samples.push_back(test::BitmapBytes(MakePicture(9, 30, 4), {.bits = 32}));
    samples.push_back(test::BitmapBytes(test::MakeBilevel(40, 30), {.bits = 1}));
    samples.push_back(test::IconBytes(
        {samples[2], test::BitmapBytes(MakePicture(20, 12, 3), {.bits = 24, .inIcon = true})}));
    return samples;
  }

  CImageDecoder m_client{m_link};
};

TEST_F(BrokenPictureTest, RefusesWhatIsNoPicture) {
  const std::string track = Track();
  const auto encoded = [&](const char* name) { return test::ReadAll(Encoded(name)); };
  const struct {
    const char* kind;
    std::string content;
  } kinds[] = {
      {"empty", {}},
      {"one byte", "B"},
      {"text", "BMW builds cars. " + std::string(5000, 'x')},
      {"zeros", std::string(5000, '\0')},
      {"WAV", test::ReadAll(track)},
      {"MP3", encoded("a.mp3")},
      {"FLAC", encoded("a.flac")},
      {"M4A", encoded("a.m4a")},
      {"AAC", encoded("a.aac")},
      {"vector graphics",
       "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'><rect width='9'/></svg>"},
      {"portable pixmap", "P6 2 1 255 abcdef"},
      {"document", "%PDF-1.4\n%\xE2\xE3\xCF\xD3\n"},
      {"libvips's own", std::string("\xB6\xA6\xF2\x08", 4) + std::string(200, '\0')},
      {"Radiance", "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 1 +X 1\nabcd"},
      {"film's first frame", std::string("\0\0\1\xBA", 4) + std::string(200, 'x')},
      {"icon with nothing in it", std::string("\0\0\1\0\1\0", 6) + std::string(16, '\xFF')},
  };
  for (const auto& [kind, content] : kinds)
    EXPECT_EQ(m_client.Open(Written(content), 0), Code(Status::kUnknownFormat)) << kind;
  const std::string pipe = m_folder / "pipe.jpg";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  for (const std::string& path : {pipe, m_folder / "missing.jpg", m_folder.Path()})
    EXPECT_EQ(m_client.Open(path, 0), Code(Status::kCannotRead)) << path;
}

TEST_F(BrokenPictureTest, SurvivesFilesCutAtAnyLength) {
  constexpr size_t kCuts = 100;
  for (const std::string& sample : Samples()) {
    const size_t step = std::max<size_t>(1, sample.size() / kCuts);
    EXPECT_EQ(TryAll(Written(sample)), kDecodeOk);
    for (size_t length = 0; length < sample.size(); length += step)
      EXPECT_GE(TryAll(Written(sample.substr(0, length))), 0) << length;
  }
}

TEST_F(BrokenPictureTest, SurvivesFlippedBits) {
  std::mt19937 random(23);
  for (const std::string& sample : Samples()) {
    for (int round = 0; round < 100; ++round) {
      std::string damaged = sample;
      // Half of the damage to headers, which is where it does the most.
      const size_t reach = round % 2 == 0 ? damaged.size() : std::min<size_t>(64, damaged.size());
      for (int flips = 1 + round % 5; flips > 0; --flips)
        damaged[random() % reach] ^= static_cast<char>(1u << random() % 8);
      EXPECT_GE(TryAll(Written(damaged)), 0) << round;
    }
  }
}

// A cut photograph is still most of a photograph.
TEST_F(BrokenPictureTest, GivesWhatIsLeftOfATruncatedPhotograph) {
  const test::Picture source = MakePicture(400, 300, 3);
  const std::string path = m_folder / "a.jpg";
  ASSERT_TRUE(test::SaveByVips(source, path, "[Q=90]"));
  const std::string whole = test::ReadAll(path);
  ASSERT_EQ(m_client.Open(Written(whole.substr(0, whole.size() * 3 / 4)), 0), kDecodeOk);
  const uint8_t* pixels = nullptr;
  wire::ImageData data{};
  ASSERT_EQ(m_client.GetData(&pixels, &data), kDecodeOk);
  const uint32_t goodRows = 200;
  test::Picture top{400, goodRows, 3, {pixels, pixels + size_t{goodRows} * data.rowStep}};
  test::Picture expected{400, goodRows, 3, {}};
  expected.pixels.assign(source.pixels.begin(), source.pixels.begin() + goodRows * 400 * 3);
  EXPECT_LE(MeanDifference(top, expected), 3);
}

// Small files that claim to be huge: refused, with their true claim in the record.
TEST_F(BrokenPictureTest, RefusesMorePixelsThanItDelivers) {
  const std::string jpeg = m_folder / "a.jpg";
  ASSERT_TRUE(test::SaveByVips(MakePicture(40, 30, 3), jpeg, "[strip]"));
  std::string huge = test::ReadAll(jpeg);
  const size_t frame = huge.find("\xFF\xC0");
  ASSERT_NE(frame, std::string::npos);
  huge.replace(frame + 5, 4, "\xFF\xDC\xFF\xDC");
  wire::ImageInfo info{};
  EXPECT_EQ(TryAll(Written(huge), &info), Code(Status::kTooLarge));
  EXPECT_EQ(info.width, 65500u);
  EXPECT_EQ(info.height, 65500u);

  std::string bitmap = test::BitmapBytes(MakePicture(40, 30, 3), {});
  bitmap.replace(18, 8, std::string("\xF0\xFF\xFF\x7F\x00\x10\x00\x00", 8));
  EXPECT_EQ(TryAll(Written(bitmap), &info), Code(Status::kTooLarge));
  EXPECT_EQ(info.width, 0x7FFFFFF0u);
}

}  // namespace
}  // namespace quill
