// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "cli/commands.h"
#include "cli/safe_text.h"
#include "cli/session.h"
#include "decoding/audio_decoder.h"
#include "decoding/decoder_table.h"
#include "decoding/image_decoder.h"
#include "decoding/process_link.h"
#include "image/image_format_text.h"

namespace quill::cli {

namespace {

const char* SampleType(uint32_t dataFormat) {
  switch (dataFormat) {
    case wire::kSigned8:
      return "8 bit";
    case wire::kSigned16:
      return "16 bit";
    case wire::kFloat32:
      return "float";
    default:
      return "-";
  }
}

std::string DurationLine(uint32_t durationMs) {
  char fraction[8];
  std::snprintf(fraction, sizeof fraction, ".%03u", durationMs % 1000);
  return std::to_string(durationMs / 60000) + ":" + (durationMs / 1000 % 60 < 10 ? "0" : "") +
         std::to_string(durationMs / 1000 % 60) + fraction;
}

// The zero-terminated text of a field that may fill its array.
template <size_t N>
std::string Field(const char (&text)[N]) {
  return TerminalText(std::string(text, strnlen(text, N)));
}

void AppendLine(const char* name, const std::string& value, std::string* out) {
  char label[24];
  std::snprintf(label, sizeof label, "  %-11s", name);
  *out += label + value + "\n";
}

// 0, or what kept the file from being described.
int32_t DescribePicture(CImageDecoder& decoder, const std::string& path, std::string* out) {
  const int32_t opened = decoder.Open(path, 0);
  if (opened != kDecodeOk) return opened;
  wire::ImageInfo info{};
  const int32_t result = decoder.GetInfo(&info);
  (void)decoder.Close();
  if (result != kDecodeOk) return result;
  AppendLine("format",
             ImageTypeText(static_cast<uint8_t>(info.format), static_cast<uint8_t>(info.bits)),
             out);
  AppendLine("size", std::to_string(info.width) + " x " + std::to_string(info.height), out);
  return kDecodeOk;
}

int32_t DescribeSound(CAudioDecoder& decoder, const std::string& path, std::string* out) {
  const int32_t opened = decoder.Open(path, 0);
  if (opened != kDecodeOk) return opened;
  AudioFormat format{};
  wire::AudioInfo info{};
  (void)decoder.GetFormat(&format);
  const int32_t result = decoder.GetInfo(&info);
  (void)decoder.Close();
  if (result != kDecodeOk) return result;
  AppendLine("format", FormatName(info.format), out);
  AppendLine("duration", DurationLine(info.durationMs), out);
  AppendLine("bitrate", std::to_string((info.bitrate + 500) / 1000) + " kbit/s", out);
  AppendLine("rate", std::to_string(format.sampleRate) + " Hz", out);
  AppendLine("channels", std::to_string(ChannelCount(format.channelsFormat)), out);
  AppendLine("samples", SampleType(format.dataFormat), out);
  if (info.title[0]) AppendLine("title", Field(info.title), out);
  if (info.artist[0]) AppendLine("artist", Field(info.artist), out);
  if (info.album[0]) AppendLine("album", Field(info.album), out);
  return kDecodeOk;
}

bool ProbeFile(CProcessLink& link, const std::string& path, std::string* out) {
  *out = TerminalText(path) + "\n";
  std::error_code fault;
  if (!std::filesystem::is_regular_file(path, fault)) {
    *out += fault ? "  " + fault.message() + "\n" : "  not a file\n";
    return false;
  }
  CImageDecoder pictures(link);
  CAudioDecoder sound(link);
  int32_t result = DescribePicture(pictures, path, out);
  if (result != kDecodeOk && result != kDecodeLinkFailed) result = DescribeSound(sound, path, out);
  if (result == kDecodeOk) return true;
  *out += result == kDecodeLinkFailed ? "  the decoder failed on this file; the log tells more\n"
                                      : "  neither sound nor a picture that can be read\n";
  return false;
}

}  // namespace

int RunProbe(const Arguments& arguments) {
  if (!CheckDecoder()) return kExitFailed;
  CSession session;
  if (!session.Open(arguments)) return kExitFailed;
  CDecoderTable::Instance().Reload();
  CProcessLink link(CDecoderTable::Instance());
  int status = kExitDone;
  for (const std::string& path : arguments.words) {
    std::string text;
    if (!ProbeFile(link, path, &text)) status = kExitFailed;
    if (!Print(text)) return kExitFailed;
  }
  return status;
}

}  // namespace quill::cli
