// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/picture/picture_probe.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "decoder/input/byte_order.h"
#include "decoder/picture/bitmap.h"
#include "decoder/picture/icon.h"

namespace quill::decoder {

namespace {

using namespace std::string_view_literals;
using Bytes = std::span<const uint8_t>;

constexpr size_t kHeadBytes = 64;
constexpr std::string_view kPngStart = "\x89PNG\r\n\x1A\n"sv;

struct Signature {
  std::string_view start;
  std::string_view atEight;  // a second word, at offset 8; empty for none
  PictureFormat format;
};

constexpr std::array kSignatures{
    Signature{"\xFF\xD8\xFF"sv, {}, PictureFormat::kJpeg},
    Signature{kPngStart, {}, PictureFormat::kPng},
    Signature{"GIF87a"sv, {}, PictureFormat::kGif},
    Signature{"GIF89a"sv, {}, PictureFormat::kGif},
    Signature{"II*\x00"sv, {}, PictureFormat::kTiff},
    Signature{"MM\x00*"sv, {}, PictureFormat::kTiff},
    Signature{"II+\x00\x08\x00\x00\x00"sv, {}, PictureFormat::kTiff},
    Signature{"MM\x00+\x00\x08\x00\x00"sv, {}, PictureFormat::kTiff},
    Signature{"RIFF"sv, "WEBP"sv, PictureFormat::kWebp},
    Signature{"\xFF\x0A"sv, {}, PictureFormat::kJpegXl},
    Signature{"\x00\x00\x00\x0CJXL \x0D\x0A\x87\x0A"sv, {}, PictureFormat::kJpegXl},
};

bool HasText(Bytes bytes, size_t offset, std::string_view text) {
  const std::string_view all(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  return all.size() >= offset && all.substr(offset, text.size()) == text;
}

// A first box that names one of the still picture brands. The brands of films and songs share the
// box, so only its main brand counts.
bool IsHeif(Bytes head) {
  constexpr std::array kBrands{"heic"sv, "heix"sv, "heim"sv, "heis"sv, "hevc"sv, "hevx"sv,
                               "mif1"sv, "msf1"sv, "avif"sv, "avis"sv, "MiHE"sv, "MiPr"sv};
  return HasText(head, 4, "ftyp"sv) &&
         std::any_of(kBrands.begin(), kBrands.end(),
                     [&](std::string_view brand) { return HasText(head, 8, brand); });
}

}  // namespace

bool IsPng(Bytes head) {
  return HasText(head, 0, kPngStart);
}

PictureFormat ProbePicture(const CInputFile& file) {
  std::array<uint8_t, kHeadBytes> buffer{};
  const Bytes head(buffer.data(), file.ReadAt(0, buffer.data(), buffer.size()));
  for (const Signature& signature : kSignatures)
    if (HasText(head, 0, signature.start) && HasText(head, 8, signature.atEight))
      return signature.format;
  if (IsHeif(head)) return PictureFormat::kHeif;
  if (IsBitmapFile(head, file.Size())) return PictureFormat::kBmp;
  if (IsIconFile(head, file.Size())) return PictureFormat::kIcon;
  return PictureFormat::kNone;
}

}  // namespace quill::decoder
