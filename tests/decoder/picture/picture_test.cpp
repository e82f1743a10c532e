// SPDX-License-Identifier: GPL-3.0-or-later
// What comes of a picture file: pixels, form, and the record of what is stored.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <iostream>
#include <string_view>

#include "decoder/decoder_test.h"
#include "decoder/picture/ink_files.h"
#include "decoder/picture/picture_maker.h"
#include "decoding/image_decoder.h"

namespace quill {
namespace {

using test::Code;
using test::MakePicture;
using test::MeanDifference;
using test::Picture;
using test::Status;

class PictureTest : public test::DecoderTest {
 protected:
  struct Delivered {
    int32_t open = -1;
    int32_t data = -1;
    wire::ImageInfo info{};
    Picture picture;
  };

  Delivered Deliver(const std::string& path) {
    Delivered result;
    result.open = m_client.Open(path, 0);
    if (result.open != kDecodeOk) return result;
    EXPECT_EQ(m_client.GetInfo(&result.info), kDecodeOk) << path;
    result.data = ReadPixels(&result.picture);
    EXPECT_EQ(m_client.Close(), kDecodeOk) << path;
    return result;
  }
  int32_t ReadPixels(Picture* picture) {
    const uint8_t* pixels = nullptr;
    wire::ImageData data{};
    const int32_t result = m_client.GetData(&pixels, &data);
    if (result != kDecodeOk) return result;
    *picture = {data.width, data.height, static_cast<uint32_t>(ChannelCount(data)), {}};
    const size_t row = size_t{picture->width} * picture->channels;
    EXPECT_GE(data.rowStep, row);
    for (uint32_t y = 0; y < data.height; ++y) {
      const uint8_t* start = pixels + size_t{y} * data.rowStep;
      picture->pixels.insert(picture->pixels.end(), start, start + row);
    }
    return result;
  }
  Picture Pixels(const std::string& path) {
    Delivered delivered = Deliver(path);
    EXPECT_EQ(delivered.open, kDecodeOk) << path;
    EXPECT_EQ(delivered.data, kDecodeOk) << path;
    return std::move(delivered.picture);
  }

  std::string Written(const std::string& name, const std::string& content) {
    std::string path = m_folder / name;
    test::WriteAll(path, content);
    return path;
  }
  // By the ffmpeg program.
  std::string Encoded(const Picture& picture, const std::string& name,
                      const std::string& options = {}, uint32_t bits = 8) {
    const std::string source = m_folder / "source.pam";
    std::string path = m_folder / name;
    test::WritePam(source, picture, bits);
    test::Encode(source, path, options);
    return path;
  }

  CImageDecoder m_client{m_link};
};

constexpr char kPalette[] =
    "-vf 'split[a][b];[a]palettegen=reserve_transparent=0[p];[b][p]paletteuse=dither=none' ";

TEST_F(PictureTest, LosslessFormatsGiveTheirPixels) {
  enum Content { kGrey = 1, kGreyAlpha = 2, kColour = 3, kAlpha = 4, kFew, kBilevel };
  const struct {
    const char* name;
    Content content;
    uint32_t sourceBits;
    std::string options;
    uint32_t format;
    uint32_t bits;
  } cases[] = {
      {"a.png", kColour, 8, "", 5, 24},
      {"a.png", kAlpha, 8, "", 5, 32},
      {"a.png", kGrey, 8, "", 5, 8},
      {"a.png", kGreyAlpha, 8, "-pix_fmt ya8", 5, 16},
      {"a.png", kColour, 16, "-pix_fmt rgb48be", 5, 48},
      {"a.png", kAlpha, 16, "-pix_fmt rgba64be", 5, 64},
      {"a.png", kGrey, 16, "-pix_fmt gray16be", 5, 16},
      {"a.png", kBilevel, 8, "-pix_fmt monob", 5, 1},
      {"a.png", kFew, 8, kPalette, 5, 8},
      {"a.gif", kFew, 8, kPalette, 6, 8},
      {"a.bmp", kColour, 8, "", 1, 24},
      {"a.bmp", kAlpha, 8, "-pix_fmt bgra", 1, 32},
      {"a.bmp", kGrey, 8, "", 1, 8},
      {"a.bmp", kFew, 8, std::string(kPalette) + "-pix_fmt pal8", 1, 8},
      {"a.tif", kColour, 8, "-compression_algo lzw", 7, 24},
      {"a.tif", kAlpha, 8, "-compression_algo deflate", 7, 32},
      {"a.tif", kGrey, 8, "-compression_algo packbits", 7, 8},
      {"a.tif", kColour, 16, "-pix_fmt rgb48le -compression_algo raw", 7, 48},
      {"a.tif", kBilevel, 8, "-pix_fmt monob", 7, 1},
      {"a.tif", kFew, 8, std::string(kPalette) + "-pix_fmt pal8", 7, 8},
      {"a.webp", kColour, 8, "-pix_fmt bgra -lossless 1", 0, 24},
      {"a.webp", kAlpha, 8, "-pix_fmt bgra -lossless 1", 0, 32},
  };
  constexpr uint32_t kWidth = 301;
  constexpr uint32_t kHeight = 203;
  for (const auto& made : cases) {
    SCOPED_TRACE(std::string(made.name) + " " + made.options);
    const Picture source = made.content == kFew       ? test::MakeFewColours(kWidth, kHeight)
                           : made.content == kBilevel ? test::MakeBilevel(kWidth, kHeight)
                                                      : MakePicture(kWidth, kHeight, made.content);
    const Delivered got = Deliver(Encoded(source, made.name, made.options, made.sourceBits));
    EXPECT_EQ(got.open, kDecodeOk);
    EXPECT_EQ(got.info.format, made.format);
    EXPECT_EQ(got.info.bits, made.bits);
    EXPECT_EQ(got.info.width, kWidth);
    EXPECT_EQ(got.info.height, kHeight);
    // Newer versions of the ffmpeg program round a colour of a palette by one level.
    EXPECT_LE(MeanDifference(got.picture, source.InColour()), made.content == kFew ? 0.01 : 0);
  }
}

TEST_F(PictureTest, LossyFormatsComeClose) {
  const struct {
    const char* name;
    const char* options;
    uint32_t channels;
    uint32_t format;
    uint32_t bits;
    double tolerance;
  } cases[] = {
      {"a.jpg", "[Q=95]", 3, 4, 24, 2},
      {"a.jpg", "[Q=95,interlace]", 3, 4, 24, 2},
      {"a.jpg", "[Q=95]", 1, 4, 8, 2},
      {"a.tif", "[compression=jpeg,Q=95]", 3, 7, 24, 2},
      {"a.tif", "[tile,tile-width=64,tile-height=32,bigtiff]", 3, 7, 24, 0},
      {"a.png", "[interlace]", 4, 5, 32, 0},
      {"a.webp", "[Q=95]", 3, 0, 24, 2.5},
      {"a.heic", "[Q=90]", 3, 0, 24, 2.5},
      {"a.avif", "[Q=90]", 4, 0, 32, 2.5},
      {"a.jxl", "[Q=90]", 3, 0, 24, 2},
  };
  for (const auto& [width, height] : {std::pair{301u, 203u}, {1u, 1u}}) {
    for (const auto& made : cases) {
      const Picture source = MakePicture(width, height, made.channels);
      const std::string path = m_folder / made.name;
      SCOPED_TRACE(std::string(made.name) + made.options);
      if (!test::SaveByVips(source, path, made.options)) {
        std::cout << "This system's libvips cannot write " << made.name << made.options << " of "
                  << width << " pixels: not tested\n";
        continue;
      }
      const Delivered got = Deliver(path);
      EXPECT_EQ(got.info.format, made.format);
      EXPECT_EQ(got.info.bits, made.bits);
      EXPECT_LE(MeanDifference(got.picture, source.InColour()), made.tolerance);
    }
  }
}

// One way to sRGB for all files of inks, the same with every version of the library: a picture and
// its copy in another format must not part here.
TEST_F(PictureTest, InksBecomeTheColoursOfTheirProfile) {
  using test::InkJpeg;
  using test::InkTiff;
  using test::JpegInks;
  using Colours = std::vector<std::array<uint8_t, 3>>;
  const std::vector<test::Inks> inks = {{0, 0, 0, 0},      {255, 0, 0, 0},    {0, 255, 0, 0},
                                        {0, 0, 255, 0},    {0, 0, 0, 255},    {255, 255, 255, 255},
                                        {128, 64, 32, 16}, {10, 200, 100, 50}};
  // Of a usual press: cyan is no (0, 255, 255), and black no black.
  const Colours press = {{255, 255, 255}, {0, 156, 228}, {234, 23, 133},  {255, 240, 0},
                         {41, 35, 43},    {33, 33, 44},  {120, 149, 177}, {188, 76, 102}};
  // Lightness 100 k / 255 as sRGB.
  const Colours white = {{0, 0, 0},       {0, 0, 0},       {0, 0, 0},    {0, 0, 0},
                         {255, 255, 255}, {255, 255, 255}, {18, 18, 18}, {48, 48, 48}};
  const std::string profile = test::WhiteInkProfile();
  std::string wrongProfile = profile;  // of colours that the file does not have
  wrongProfile.replace(16, 4, "RGB ");
  const std::string cutProfile = profile.substr(0, 140);
  const struct {
    const char* what;
    std::string file;
    uint32_t bits;
    const Colours& expected;
  } cases[] = {
      {"jpeg", InkJpeg(inks, JpegInks::kPlainMarker, {}), 32, press},
      {"jpeg, turned", InkJpeg(inks, JpegInks::kTurnedColours, {}), 32, press},
      {"jpeg, no marker", InkJpeg(inks, JpegInks::kNoMarker, {}), 32, press},
      {"jpeg, profile", InkJpeg(inks, JpegInks::kPlainMarker, profile), 32, white},
      {"jpeg, turned, profile", InkJpeg(inks, JpegInks::kTurnedColours, profile), 32, white},
      {"jpeg, wrong profile", InkJpeg(inks, JpegInks::kPlainMarker, wrongProfile), 32, press},
      {"jpeg, cut profile", InkJpeg(inks, JpegInks::kPlainMarker, cutProfile), 32, press},
      {"tiff", InkTiff(inks, 8, false, {}), 32, press},
      {"tiff, profile", InkTiff(inks, 8, false, profile), 32, white},
      {"tiff, cut profile", InkTiff(inks, 8, false, cutProfile), 32, press},
      {"tiff, alpha", InkTiff(inks, 8, true, {}), 40, press},
      {"tiff, alpha, profile", InkTiff(inks, 8, true, profile), 40, white},
      {"tiff, 16", InkTiff(inks, 16, false, {}), 64, press},
      {"tiff, 16, profile", InkTiff(inks, 16, false, profile), 64, white},
      {"tiff, 16, alpha", InkTiff(inks, 16, true, {}), 80, press},
      {"tiff, 16, alpha, profile", InkTiff(inks, 16, true, profile), 80, white},
  };
  for (const auto& made : cases) {
    SCOPED_TRACE(made.what);
    const Delivered got = Deliver(Written("inks", made.file));
    EXPECT_EQ(got.info.bits, made.bits);
    const bool hasAlpha = std::string_view(made.what).find("alpha") != std::string_view::npos;
    const Picture& picture = got.picture;
    EXPECT_EQ(picture.width, inks.size() * test::kPatchSide);
    EXPECT_EQ(picture.height, test::kPatchSide);
    EXPECT_EQ(picture.channels, hasAlpha ? 4u : 3u);
    if (picture.channels < 3) continue;
    int worst = 0;
    for (size_t i = 0; i < picture.pixels.size(); ++i) {
      const size_t pixel = i / picture.channels;
      const size_t band = i % picture.channels;
      const auto& colour = made.expected[pixel % picture.width / test::kPatchSide];
      worst = std::max(worst,
                       std::abs(picture.pixels[i] - (band == 3 ? test::kInkAlpha : colour[band])));
    }
    EXPECT_LE(worst, 2);
  }
}

// Whoever turned pictures by their Exif data would not find a copy that was turned for good.
TEST_F(PictureTest, OrientationAndNameDoNotMatter) {
  const Picture source = MakePicture(64, 40, 3);
  const std::string path = m_folder / "song.mp3";
  const std::string jpeg = m_folder / "turned.jpg";
  ASSERT_TRUE(test::SaveByVips(source, jpeg, "[Q=95]", 6));
  test::WriteAll(path, test::ReadAll(jpeg));
  EXPECT_LE(MeanDifference(Pixels(path), source), 2);
}

TEST_F(PictureTest, TheFirstFrameCounts) {
  const Picture source = MakePicture(50, 30, 3);
  const std::string still = Encoded(test::MakeFewColours(50, 30), "still.gif", kPalette);
  const std::string moving = m_folder / "moving.gif";
  test::Encode(still, moving,
               "-gifflags 0 -frames:v 3 -vf 'loop=2:1,negate=enable=gte(n\\,1),split[a][b];"
               "[a]palettegen=reserve_transparent=0[p];[b][p]paletteuse=dither=none'");
  EXPECT_EQ(MeanDifference(Pixels(moving), Pixels(still)), 0);
  const std::string webp =
      Encoded(source, "moving.webp",
              "-vf 'loop=2:1,negate=enable=gte(n\\,1)' -frames:v 3 -lossless 1 -pix_fmt bgra");
  EXPECT_EQ(MeanDifference(Pixels(webp), source), 0);
}

TEST_F(PictureTest, BitmapsOfEachKindGiveTheirPixels) {
  const Picture colour = MakePicture(37, 23, 3);
  const Picture alpha = MakePicture(37, 23, 4);
  const Picture bilevel = test::MakeBilevel(37, 23);
  const auto read = [&](const Picture& picture, const test::BitmapForm& form) {
    return Pixels(Written("a", test::BitmapBytes(picture, form)));
  };
  EXPECT_EQ(MeanDifference(read(colour, {.bits = 24, .fromTop = true}), colour), 0);
  EXPECT_EQ(MeanDifference(read(alpha, {.bits = 32, .fromTop = true}), alpha), 0);
  EXPECT_EQ(MeanDifference(read(colour, {.bits = 24, .coreHeader = true}), colour), 0);
  for (bool isCore : {false, true}) {
    const Picture got = read(bilevel, {.bits = 1, .coreHeader = isCore});
    EXPECT_EQ(MeanDifference(got, bilevel.InColour()), 0);
  }
  const std::string sixteen = Encoded(colour, "a.bmp", "-pix_fmt rgb565le");
  const Delivered got = Deliver(sixteen);
  EXPECT_EQ(got.info.bits, 16u);
  EXPECT_LE(MeanDifference(got.picture, colour), 4);
}

TEST_F(PictureTest, TheBestPictureOfAnIconCounts) {
  const Picture small = MakePicture(16, 16, 4, 2);
  const Picture large = MakePicture(48, 40, 4, 3);
  const Picture plain = MakePicture(48, 40, 3, 4);
  const Picture bilevel = test::MakeBilevel(48, 40);
  const std::string png = test::ReadAll(Encoded(large, "entry.png"));
  const auto bitmap = [](const Picture& picture, uint32_t bits) {
    return test::BitmapBytes(picture, {.bits = bits, .inIcon = true});
  };
  const auto read = [&](const std::vector<std::string>& entries) {
    const Delivered got = Deliver(Written("a.ico", test::IconBytes(entries)));
    EXPECT_EQ(got.info.format, 9u);
    EXPECT_EQ(got.info.width, got.picture.width);
    EXPECT_EQ(got.info.height, got.picture.height);
    return got.picture;
  };
  EXPECT_EQ(MeanDifference(read({bitmap(small, 32), png, bitmap(bilevel, 1)}), large), 0);
  EXPECT_EQ(MeanDifference(read({bitmap(bilevel, 1), bitmap(large, 32)}), large), 0);
  EXPECT_EQ(MeanDifference(read({"junk", bitmap(small, 32)}), small), 0);

  Picture masked{48, 40, 4, {}};
  for (size_t i = 0; i < plain.pixels.size(); i += 3) {
    masked.pixels.insert(masked.pixels.end(), &plain.pixels[i], &plain.pixels[i] + 3);
    masked.pixels.push_back(i < 3 * 48 ? 0 : 255);
  }
  EXPECT_EQ(MeanDifference(read({bitmap(plain, 24)}), masked), 0);
}

TEST_F(PictureTest, PicturesAndSoundsTakeTurnsInOneProcess) {
  const Picture source = MakePicture(1200, 700, 3);  // a mapping that goes back after each file
  const std::string first = Encoded(source, "a.png");
  const std::string second = Encoded(MakePicture(37, 23, 4), "b.png");
  const std::string track = Track(0.2);
  EXPECT_EQ(MeanDifference(Pixels(first), source), 0);
  const pid_t child = m_link.ChildId();
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(m_client.Open(track, 0), Code(Status::kUnknownFormat));
    EXPECT_EQ(Decode(track).Frames(), 8820u);
    EXPECT_EQ(MeanDifference(Pixels(first), source), 0);
  }
  // No close between them, and pixels that are asked for twice.
  ASSERT_EQ(m_client.Open(first, 0), kDecodeOk);
  ASSERT_EQ(m_client.Open(second, 0), kDecodeOk);
  for (int i = 0; i < 2; ++i) {
    Picture got;
    EXPECT_EQ(ReadPixels(&got), kDecodeOk);
    EXPECT_EQ(MeanDifference(got, MakePicture(37, 23, 4)), 0);
  }
  EXPECT_EQ(m_client.Open(track, 0), Code(Status::kUnknownFormat));
  Picture none;
  EXPECT_EQ(ReadPixels(&none), Code(Status::kNothingOpen));
  EXPECT_EQ(m_link.ChildId(), child);
}

}  // namespace
}  // namespace quill
