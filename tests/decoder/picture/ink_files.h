// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures in inks, written byte by byte, so that no library's idea of what a stored value means
// stands between the test and the file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quill::test {

// Patches in a row, kPatchSide pixels wide and high. 255 is all of an ink.
struct Inks {
  uint8_t cyan, magenta, yellow, black;
};
inline constexpr uint32_t kPatchSide = 8;

enum class JpegInks {
  kPlainMarker,    // the usual form: values upside down, and a marker that names their maker
  kTurnedColours,  // the same, with the first three turned into brightness and two differences
  kNoMarker,       // upside down all the same
};
// `profile` may be empty.
[[nodiscard]] std::string InkJpeg(const std::vector<Inks>& patches, JpegInks form,
                                  const std::string& profile);
// Of 8 or 16 bits a sample. With alpha each pixel's is kInkAlpha.
inline constexpr uint8_t kInkAlpha = 77;
[[nodiscard]] std::string InkTiff(const std::vector<Inks>& patches, uint32_t bits, bool hasAlpha,
                                  const std::string& profile);

// A colour profile of no press: black ink alone decides, and it is white. An amount of k gives the
// grey of lightness 100 k / 255.
[[nodiscard]] std::string WhiteInkProfile();

}  // namespace quill::test
