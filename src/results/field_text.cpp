// SPDX-License-Identifier: GPL-3.0-or-later
#include "results/field_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "results/format_text.h"
#include "results/path_parts.h"

namespace quill {

namespace {

// Not by printf: its decimal point follows the locale of the window's toolkit. Wide enough for the
// largest float.
std::string NumberText(double value, std::chars_format form, int precision) {
  char buffer[64];
  return {buffer, std::to_chars(buffer, buffer + sizeof buffer, value, form, precision).ptr};
}

// With zeros in front.
std::string Padded(uint32_t value, size_t width) {
  std::string text = std::to_string(value);
  return text.insert(0, width - std::min(width, text.size()), '0');
}

}  // namespace

std::string FixedText(double value, int decimals) {
  return NumberText(value, std::chars_format::fixed, decimals);
}

std::string SizeText(uint64_t bytes) {
  const auto value = static_cast<double>(bytes);
  if (bytes < 100000) return FixedText(value / 1e3, 2) + " KB";
  if (bytes < 100000000) return FixedText(value / 1e6, 2) + " MB";
  return FixedText(value / 1e9, 2) + " GB";
}

std::string BitrateText(uint32_t bitsPerSecond) {
  if (bitsPerSecond == 0) return "n/a";
  if (bitsPerSecond < 1000) return std::to_string(bitsPerSecond);
  if (bitsPerSecond < 2000000) return FixedText(bitsPerSecond * 1e-3, 2) + " Kbit";
  return FixedText(bitsPerSecond * 1e-6, 2) + " Mbit";
}

std::string DurationText(uint32_t durationMs) {
  if (durationMs < 1000) return "0." + Padded(durationMs, 3);
  const uint32_t seconds = durationMs / 1000;
  return std::to_string(seconds / 60) + ":" + Padded(seconds % 60, 2);
}

std::string GroupedText(uint32_t value) {
  if (value == 0) return {};
  std::string text = std::to_string(value);
  for (size_t place = text.size(); place > 3; place -= 3) text.insert(place - 3, 1, ' ');
  return text;
}

const char* ChannelsText(uint8_t channels) {
  return channels == 2 ? "Stereo" : "Mono";
}

std::string CountText(float value) {
  return NumberText(static_cast<double>(value), std::chars_format::general, 6);
}

std::string LevelText(float value) {
  return FixedText(static_cast<double>(value), 6);
}

std::string MinStepText(float value) {
  if (value < 0.000001F)
    return NumberText(static_cast<double>(value), std::chars_format::scientific, 6);
  int bits = 1;
  while (!(static_cast<double>(value) > std::ldexp(0.55, 1 - bits))) {
    // Broken samples measure as no number, which is above nothing.
    if (++bits > 32) return LevelText(value);
  }
  return LevelText(value) + " (" + std::to_string(bits) + " bit)";
}

std::string FrequencyText(float hertz) {
  return GroupedText(hertz >= 1.0F && hertz < 4e9F ? static_cast<uint32_t>(hertz) : 0);
}

std::string AnalysisText(FieldId column, const AnalysisInfo* info) {
  if (!info) {
    switch (column) {
      case FieldId::kPairs:
      case FieldId::kContent:
      case FieldId::kTags:
      case FieldId::kPrecise:
      case FieldId::kExperimental:
      case FieldId::kGroup:
      case FieldId::kResolution:
      case FieldId::kRating:
      case FieldId::kSpectrogram:
      case FieldId::kNone:
        return {};
      default:
        return "-";
    }
  }
  const std::string& path = info->path;
  switch (column) {
    case FieldId::kFile:
      return path;
    case FieldId::kFolder:
      return std::string(FolderPart(path));
    case FieldId::kFilename:
      return std::string(NamePart(path));
    case FieldId::kArtist:
      return info->artist;
    case FieldId::kTitle:
      return info->title;
    case FieldId::kAlbum:
      return info->album;
    case FieldId::kSize:
      return SizeText(info->size);
    case FieldId::kFormat:
      return AudioFormatText(info->format);
    case FieldId::kDuration:
      return DurationText(info->durationMs);
    case FieldId::kBitrate:
      return BitrateText(info->bitrate);
    case FieldId::kSampleRate:
      return GroupedText(info->sampleRate);
    case FieldId::kChannels:
      return ChannelsText(info->channels);
    case FieldId::kClipping:
      return CountText(info->clipping);
    case FieldId::kSilence:
      return CountText(info->silence);
    case FieldId::kAbsMean:
      return LevelText(info->absMean);
    case FieldId::kMinStep:
      return MinStepText(info->minStep);
    case FieldId::kAbsMax:
      return LevelText(info->absMax);
    case FieldId::kMaxFreq:
      return FrequencyText(info->maxFreq);
    case FieldId::kClicks:
      return CountText(info->clicks);
    default:
      return {};
  }
}

bool IsBadValue(FieldId column, const AnalysisInfo& info) {
  switch (column) {
    case FieldId::kBitrate:
      return info.bitrate < 64001;
    case FieldId::kSampleRate:
      return info.sampleRate < 22051;
    case FieldId::kChannels:
      return info.channels == 1;
    case FieldId::kClipping:
      return info.clipping >= 100;
    case FieldId::kAbsMean:
      return info.absMean >= 0.1F;
    case FieldId::kMinStep:
      return info.minStep > 0.00004F;
    case FieldId::kAbsMax:
      return info.absMax <= 0.25F;
    case FieldId::kMaxFreq:
      return info.maxFreq <= 12000;
    case FieldId::kClicks:
      return info.clicks >= 100;
    default:
      return false;
  }
}

}  // namespace quill
