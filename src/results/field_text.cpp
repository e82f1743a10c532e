#include "results/field_text.h"

#include <array>
#include <cmath>
#include <cstdarg>
#include <cstdio>

#include "results/format_text.h"
#include "results/path_parts.h"

namespace quill {

namespace {

[[gnu::format(printf, 1, 2)]] std::string Formatted(const char* format, ...) {
  std::array<char, 96> buffer;
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
  va_end(arguments);
  return buffer.data();
}

}  // namespace

std::string SizeText(uint64_t bytes) {
  const auto value = static_cast<double>(bytes);
  if (bytes < 100000) return Formatted("%.2f KB", value / 1e3);
  if (bytes < 100000000) return Formatted("%.2f MB", value / 1e6);
  return Formatted("%.2f GB", value / 1e9);
}

std::string BitrateText(uint32_t bitsPerSecond) {
  if (bitsPerSecond == 0) return "n/a";
  if (bitsPerSecond < 1000) return std::to_string(bitsPerSecond);
  if (bitsPerSecond < 2000000) return Formatted("%.2f Kbit", bitsPerSecond * 1e-3);
  return Formatted("%.2f Mbit", bitsPerSecond * 1e-6);
}

std::string DurationText(uint32_t durationMs) {
  if (durationMs < 1000) return Formatted("0.%03u", durationMs);
  const uint32_t seconds = durationMs / 1000;
  return Formatted("%u:%02u", seconds / 60, seconds % 60);
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
  return Formatted("%g", static_cast<double>(value));
}

std::string LevelText(float value) {
  return Formatted("%.6f", static_cast<double>(value));
}

std::string MinStepText(float value) {
  if (value < 0.000001F) return Formatted("%.6e", static_cast<double>(value));
  int bits = 1;
  while (!(static_cast<double>(value) > std::ldexp(0.55, 1 - bits))) {
    // Broken samples measure as no number, which is above nothing.
    if (++bits > 32) return LevelText(value);
  }
  return LevelText(value) + Formatted(" (%d bit)", bits);
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
