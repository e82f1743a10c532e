// SPDX-License-Identifier: GPL-3.0-or-later
#include "results/format_text.h"

#include <array>

namespace quill {

const char* AudioFormatText(uint16_t format) {
  static constexpr std::array kTexts = {"-",       "PCM",  "AC-3",           "AAC",          "MP1",
                                        "MP2",     "MP3",  "Musepack",       "Monkey Audio", "OGG",
                                        "WavPack", "FLAC", "Apple Lossless", "WMA"};
  return kTexts[format < kTexts.size() ? format : 0];
}

}  // namespace quill
