// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures for tests: seeded pixels, plain files written by hand, and files of the formats that the
// ffmpeg program cannot write, through libvips.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quill::test {

struct Picture {
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t channels = 0;        // 1 grey, 2 grey and alpha, 3 colour, 4 colour and alpha
  std::vector<uint8_t> pixels;  // rows from the top, without gaps

  // The same as red, green, blue and alpha if there is one.
  [[nodiscard]] Picture InColour() const;
};

// A smooth gradient with a little noise, the same for the same seed.
[[nodiscard]] Picture MakePicture(uint32_t width, uint32_t height, uint32_t channels,
                                  uint32_t seed = 1);
// Sixteen colours.
[[nodiscard]] Picture MakeFewColours(uint32_t width, uint32_t height);
// Black and white.
[[nodiscard]] Picture MakeBilevel(uint32_t width, uint32_t height);
// As a PAM file of 8 or 16 bits a sample; the lower half of 16 bits is noise.
void WritePam(const std::string& path, const Picture& picture, uint32_t bits = 8);

struct BitmapForm {
  uint32_t bits = 24;  // 24, 32 (of four channels), or 1 (white where the first channel is)
  bool fromTop = false;
  bool coreHeader = false;
  bool inIcon = false;  // no file header, and behind it a mask that hides the first row
};
[[nodiscard]] std::string BitmapBytes(const Picture& picture, const BitmapForm& form);
// Each entry's directory record says nothing of its size in pixels.
[[nodiscard]] std::string IconBytes(const std::vector<std::string>& entries);

// By libvips, with options as in its file names ("[Q=90,interlace]"); false when it lacks the
// format. Orientation as in Exif, or 0.
[[nodiscard]] bool SaveByVips(const Picture& picture, const std::string& path,
                              const std::string& options = {}, int orientation = 0);

// Mean of the absolute differences of all samples; a failed test when the forms differ.
[[nodiscard]] double MeanDifference(const Picture& a, const Picture& b);

}  // namespace quill::test
