// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/picture/ink_files.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <string_view>

namespace quill::test {

namespace {

std::string Big(uint32_t value, int bytes) {
  std::string text;
  while (bytes-- > 0) text.push_back(static_cast<char>(value >> (8 * bytes)));
  return text;
}

std::string Little(uint32_t value, int bytes) {
  std::string text = Big(value, bytes);
  return {text.rbegin(), text.rend()};
}

std::string Segment(uint8_t marker, const std::string& content) {
  return Big(0xFF00u | marker, 2) + Big(static_cast<uint32_t>(content.size()) + 2, 2) + content;
}

class CBits {
 public:
  void Put(uint32_t value, int count) {
    while (count-- > 0) {
      m_byte = static_cast<uint8_t>(m_byte << 1 | (value >> count & 1));
      if (++m_count % 8 != 0) continue;
      m_bytes.push_back(static_cast<char>(m_byte));
      if (m_byte == 0xFF) m_bytes.push_back('\0');
    }
  }
  std::string Finish() {
    while (m_count % 8 != 0) Put(1, 1);
    return m_bytes;
  }

 private:
  std::string m_bytes;
  uint8_t m_byte = 0;
  uint32_t m_count = 0;
};

uint8_t Rounded(double value) {
  return static_cast<uint8_t>(std::clamp(std::lround(value), 0L, 255L));
}

// Upside down; the turned form is that of red, green and blue which are the upside-down values
// upside down once more: the inks.
std::array<uint8_t, 4> Stored(const Inks& inks, JpegInks form) {
  const auto black = static_cast<uint8_t>(255 - inks.black);
  if (form == JpegInks::kTurnedColours) {
    const double luma = 0.299 * inks.cyan + 0.587 * inks.magenta + 0.114 * inks.yellow;
    return {Rounded(luma), Rounded(128 + (inks.yellow - luma) / 1.772),
            Rounded(128 + (inks.cyan - luma) / 1.402), black};
  }
  return {static_cast<uint8_t>(255 - inks.cyan), static_cast<uint8_t>(255 - inks.magenta),
          static_cast<uint8_t>(255 - inks.yellow), black};
}

}  // namespace

// Each block holds its mean only, which a step of 8 keeps exactly.
std::string InkJpeg(const std::vector<Inks>& patches, JpegInks form, const std::string& profile) {
  using std::string_literals::operator""s;
  std::string file = "\xFF\xD8";
  if (form != JpegInks::kNoMarker)
    file += Segment(0xEE, "Adobe"s + Big(100, 2) + Big(0, 4) +
                              Big(form == JpegInks::kTurnedColours ? 2 : 0, 1));
  if (!profile.empty()) file += Segment(0xE2, "ICC_PROFILE\0\1\1"s + profile);
  file += Segment(0xDB, Big(0, 1) + std::string(64, 8));
  std::string frame = Big(8, 1) + Big(kPatchSide, 2) +
                      Big(static_cast<uint32_t>(patches.size()) * kPatchSide, 2) + Big(4, 1);
  std::string scan = Big(4, 1);
  for (uint32_t component = 1; component <= 4; ++component) {
    frame += Big(component, 1) + Big(0x11, 1) + Big(0, 1);
    scan += Big(component, 1) + Big(0, 1);
  }
  file += Segment(0xC0, frame);
  // Means: nine sizes of four bits each. The rest of a block: nothing, in one bit.
  file +=
      Segment(0xC4, Big(0x00, 1) + "\0\0\0\x09"s + std::string(12, '\0') + "\0\1\2\3\4\5\6\7\x08"s);
  file += Segment(0xC4, Big(0x10, 1) + "\1"s + std::string(15, '\0') + "\0"s);
  file += Segment(0xDA, scan + Big(0, 1) + Big(63, 1) + Big(0, 1));
  CBits bits;
  std::array<int, 4> before{};
  for (const Inks& inks : patches) {
    const std::array<uint8_t, 4> stored = Stored(inks, form);
    for (size_t i = 0; i < stored.size(); ++i) {
      const int mean = stored[i] - 128;
      const int change = mean - before[i];
      before[i] = mean;
      int size = 0;
      while (std::abs(change) >> size != 0) ++size;
      bits.Put(static_cast<uint32_t>(size), 4);
      bits.Put(static_cast<uint32_t>(change < 0 ? change - 1 : change), size);
      bits.Put(0, 1);
    }
  }
  return file + bits.Finish() + "\xFF\xD9";
}

std::string InkTiff(const std::vector<Inks>& patches, uint32_t bits, bool hasAlpha,
                    const std::string& profile) {
  const auto width = static_cast<uint32_t>(patches.size()) * kPatchSide;
  const uint32_t channels = hasAlpha ? 5 : 4;
  std::string row;
  for (const Inks& inks : patches)
    for (uint32_t x = 0; x < kPatchSide; ++x) {
      for (uint32_t ink : {inks.cyan, inks.magenta, inks.yellow, inks.black})
        row += bits == 16 ? Little(ink * 257, 2) : Little(ink, 1);
      if (hasAlpha) row += bits == 16 ? Little(kInkAlpha * 257, 2) : Little(kInkAlpha, 1);
    }
  std::string samples;
  for (uint32_t i = 0; i < channels; ++i) samples += Little(bits, 2);
  const auto rowSize = static_cast<uint32_t>(row.size());
  const uint32_t samplesAt = 8 + rowSize * kPatchSide;
  const uint32_t profileAt = samplesAt + static_cast<uint32_t>(samples.size());
  const uint32_t directoryAt = profileAt + static_cast<uint32_t>(profile.size() + 1) / 2 * 2;

  struct Tag {
    uint32_t id, type, count, value;
  };
  std::vector<Tag> tags{{256, 4, 1, width},
                        {257, 4, 1, kPatchSide},
                        {258, 3, channels, samplesAt},
                        {259, 3, 1, 1},
                        {262, 3, 1, 5},  // inks
                        {273, 4, 1, 8},
                        {277, 3, 1, channels},
                        {278, 4, 1, kPatchSide},
                        {279, 4, 1, rowSize * kPatchSide},
                        {332, 3, 1, 1}};
  if (hasAlpha) tags.push_back({338, 3, 1, 2});
  if (!profile.empty())
    tags.push_back({34675, 7, static_cast<uint32_t>(profile.size()), profileAt});

  std::string file = "II*" + std::string(1, '\0') + Little(directoryAt, 4);
  for (uint32_t y = 0; y < kPatchSide; ++y) file += row;
  file += samples + profile;
  file.resize(directoryAt);
  file += Little(static_cast<uint32_t>(tags.size()), 2);
  for (const Tag& tag : tags)
    file += Little(tag.id, 2) + Little(tag.type, 2) + Little(tag.count, 4) + Little(tag.value, 4);
  return file + Little(0, 4);
}

std::string WhiteInkProfile() {
  std::string table = "mft2" + Big(0, 4) + Big(4, 1) + Big(3, 1) + Big(2, 1) + Big(0, 1);
  for (uint32_t i = 0; i < 9; ++i) table += Big(i % 4 == 0 ? 0x10000 : 0, 4);
  table += Big(2, 2) + Big(2, 2);
  const std::string straight = Big(0, 2) + Big(0xFFFF, 2);
  for (int i = 0; i < 4; ++i) table += straight;
  for (uint32_t node = 0; node < 16; ++node)  // black is the last to vary
    table += Big(node % 2 != 0 ? 0xFF00 : 0, 2) + Big(0x8000, 2) + Big(0x8000, 2);
  for (int i = 0; i < 3; ++i) table += straight;

  const auto tableSize = static_cast<uint32_t>(table.size());
  constexpr std::array<std::string_view, 2> kIntents{"A2B0", "A2B1"};
  constexpr uint32_t kTableAt = 128 + 4 + 12 * kIntents.size();
  std::string file = Big(kTableAt + tableSize, 4) + Big(0, 4) + Big(0x02100000, 4);
  file += "prtrCMYKLab " + std::string(12, '\0') + "acsp" + std::string(28, '\0');
  file += Big(0xF6D6, 4) + Big(0x10000, 4) + Big(0xD32D, 4) + std::string(48, '\0');
  file += Big(kIntents.size(), 4);
  for (const std::string_view intent : kIntents)
    file += std::string(intent) + Big(kTableAt, 4) + Big(tableSize, 4);
  return file + table;
}

}  // namespace quill::test
