// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/picture/picture_maker.h"

#include <gtest/gtest.h>
#include <vips/vips.h>

#include <cstdlib>
#include <random>

#include "support/temp_folder.h"

// The HEVC encoder keeps a little to itself.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libx265";
}

namespace quill::test {

namespace {

void Append(std::string& bytes, uint32_t value, size_t count) {
  for (size_t i = 0; i < count; ++i) bytes.push_back(static_cast<char>(value >> (8 * i)));
}

void PadToWord(std::string& bytes, size_t start) {
  while ((bytes.size() - start) % 4 != 0) bytes.push_back('\0');
}

void AppendRow(std::string& bytes, const Picture& picture, uint32_t y, uint32_t bits) {
  const size_t start = bytes.size();
  const uint8_t* row = picture.pixels.data() + size_t{y} * picture.width * picture.channels;
  for (uint32_t x = 0; x < picture.width; ++x, row += picture.channels) {
    if (bits == 1) {
      if (x % 8 == 0) bytes.push_back('\0');
      if (row[0] != 0) bytes.back() = static_cast<char>(bytes.back() | 0x80 >> x % 8);
      continue;
    }
    for (int channel : {2, 1, 0}) bytes.push_back(static_cast<char>(row[channel]));
    if (bits == 32) bytes.push_back(static_cast<char>(row[3]));
  }
  PadToWord(bytes, start);
}

}  // namespace

Picture Picture::InColour() const {
  if (channels > 2) return *this;
  Picture colour{width, height, channels + 2, {}};
  for (size_t i = 0; i < pixels.size(); i += channels) {
    colour.pixels.insert(colour.pixels.end(), 3, pixels[i]);
    if (channels == 2) colour.pixels.push_back(pixels[i + 1]);
  }
  return colour;
}

Picture MakePicture(uint32_t width, uint32_t height, uint32_t channels, uint32_t seed) {
  std::mt19937 random(seed);
  Picture picture{width, height, channels, {}};
  for (uint32_t y = 0; y < height; ++y)
    for (uint32_t x = 0; x < width; ++x)
      for (uint32_t channel = 0; channel < channels; ++channel) {
        const uint32_t slope = channel == 0 ? x : channel == 1 ? y : x + y;
        const uint32_t extent = channel == 0 ? width : channel == 1 ? height : width + height;
        picture.pixels.push_back(
            static_cast<uint8_t>(10 + seed % 20 + slope * 200 / extent + random() % 8));
      }
  return picture;
}

Picture MakeFewColours(uint32_t width, uint32_t height) {
  Picture picture = MakePicture(width, height, 3);
  for (size_t i = 0; i < picture.pixels.size(); i += 3) {
    const auto colour = static_cast<uint8_t>(picture.pixels[i] / 16);
    picture.pixels[i] = static_cast<uint8_t>(colour * 17);
    picture.pixels[i + 1] = static_cast<uint8_t>(255 - colour * 11);
    picture.pixels[i + 2] = static_cast<uint8_t>(colour * 5 + 31);
  }
  return picture;
}

Picture MakeBilevel(uint32_t width, uint32_t height) {
  Picture picture = MakePicture(width, height, 1);
  for (uint8_t& sample : picture.pixels) sample = sample % 4 == 0 ? 255 : 0;
  return picture;
}

void WritePam(const std::string& path, const Picture& picture, uint32_t bits) {
  static constexpr const char* kTypes[] = {"", "GRAYSCALE", "GRAYSCALE_ALPHA", "RGB", "RGB_ALPHA"};
  std::string file =
      "P7\nWIDTH " + std::to_string(picture.width) + "\nHEIGHT " + std::to_string(picture.height) +
      "\nDEPTH " + std::to_string(picture.channels) + "\nMAXVAL " +
      std::to_string((1u << bits) - 1) + "\nTUPLTYPE " + kTypes[picture.channels] + "\nENDHDR\n";
  std::mt19937 noise(5);
  for (uint8_t sample : picture.pixels) {
    file.push_back(static_cast<char>(sample));
    if (bits == 16) file.push_back(static_cast<char>(noise()));
  }
  WriteAll(path, file);
}

std::string BitmapBytes(const Picture& picture, const BitmapForm& form) {
  const uint32_t width = picture.width;
  const uint32_t height = picture.height;
  std::string palette;
  for (uint32_t colour : {0x000000u, 0xFFFFFFu})
    if (form.bits == 1) Append(palette, colour, form.coreHeader ? 3 : 4);
  std::string header;
  if (form.coreHeader) {
    Append(header, 12, 4);
    Append(header, width, 2);
    Append(header, height, 2);
  } else {
    Append(header, 40, 4);
    Append(header, width, 4);
    const uint32_t rows = form.inIcon ? 2 * height : height;
    Append(header, form.fromTop ? 0 - rows : rows, 4);
  }
  Append(header, 1, 2);
  Append(header, form.bits, 2);
  if (!form.coreHeader) header.append(24, '\0');
  std::string rows;
  for (uint32_t y = 0; y < height; ++y)
    AppendRow(rows, picture, form.fromTop ? y : height - 1 - y, form.bits);
  if (form.inIcon) {
    Picture mask{width, height, 1, std::vector<uint8_t>(size_t{width} * height)};
    for (uint32_t x = 0; x < width; ++x) mask.pixels[x] = 1;
    for (uint32_t y = 0; y < height; ++y) AppendRow(rows, mask, height - 1 - y, 1);
    return header + palette + rows;
  }
  std::string file = "BM";
  const auto offset = static_cast<uint32_t>(14 + header.size() + palette.size());
  Append(file, offset + static_cast<uint32_t>(rows.size()), 4);
  Append(file, 0, 4);
  Append(file, offset, 4);
  return file + header + palette + rows;
}

std::string IconBytes(const std::vector<std::string>& entries) {
  std::string file;
  Append(file, 0x10000, 4);
  Append(file, static_cast<uint32_t>(entries.size()), 2);
  size_t offset = 6 + 16 * entries.size();
  for (const std::string& entry : entries) {
    Append(file, 0, 4);
    Append(file, 0, 4);
    Append(file, static_cast<uint32_t>(entry.size()), 4);
    Append(file, static_cast<uint32_t>(offset), 4);
    offset += entry.size();
  }
  for (const std::string& entry : entries) file += entry;
  return file;
}

bool SaveByVips(const Picture& picture, const std::string& path, const std::string& options,
                int orientation) {
  static const bool started = VIPS_INIT("test") == 0;
  if (!started) return false;
  std::vector<VipsImage*> made(1);
  made[0] = vips_image_new_from_memory_copy(
      picture.pixels.data(), picture.pixels.size(), static_cast<int>(picture.width),
      static_cast<int>(picture.height), static_cast<int>(picture.channels), VIPS_FORMAT_UCHAR);
  VipsImage* next = nullptr;
  const auto interpretation =
      picture.channels < 3 ? VIPS_INTERPRETATION_B_W : VIPS_INTERPRETATION_sRGB;
  bool good = vips_copy(made[0], &next, "interpretation", interpretation, nullptr) == 0;
  made.push_back(next);
  if (good && orientation != 0) vips_image_set_int(made.back(), VIPS_META_ORIENTATION, orientation);
  good = good && vips_image_write_to_file(made.back(), (path + options).c_str(), nullptr) == 0;
  for (VipsImage* image : made) VIPS_UNREF(image);
  vips_error_clear();
  return good;
}

double MeanDifference(const Picture& a, const Picture& b) {
  EXPECT_EQ(a.width, b.width);
  EXPECT_EQ(a.height, b.height);
  EXPECT_EQ(a.channels, b.channels);
  EXPECT_EQ(a.pixels.size(), b.pixels.size());
  if (a.pixels.size() != b.pixels.size() || a.pixels.empty()) return 256;
  double sum = 0;
  for (size_t i = 0; i < a.pixels.size(); ++i) sum += std::abs(a.pixels[i] - b.pixels[i]);
  return sum / static_cast<double>(a.pixels.size());
}

}  // namespace quill::test
