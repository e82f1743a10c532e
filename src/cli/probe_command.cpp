#include <cstdio>
#include <cstring>
#include <filesystem>

#include "cli/commands.h"
#include "cli/safe_text.h"
#include "cli/session.h"
#include "decoding/audio_decoder.h"
#include "decoding/decoder_table.h"
#include "decoding/process_link.h"

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

bool ProbeFile(CAudioDecoder& decoder, const std::string& path, std::string* out) {
  *out = TerminalText(path) + "\n";
  std::error_code fault;
  if (!std::filesystem::is_regular_file(path, fault)) {
    *out += fault ? "  " + fault.message() + "\n" : "  not a file\n";
    return false;
  }
  const int32_t opened = decoder.Open(path, 0);
  if (opened != kDecodeOk) {
    *out += opened == kDecodeLinkFailed ? "  the decoder failed on this file; the log tells more\n"
                                        : "  not a sound file that can be read\n";
    return false;
  }
  AudioFormat format{};
  wire::AudioInfo info{};
  (void)decoder.GetFormat(&format);
  const int32_t result = decoder.GetInfo(&info);
  (void)decoder.Close();
  if (result != kDecodeOk) {
    *out += "  the decoder cannot describe this file\n";
    return false;
  }
  const auto line = [&](const char* name, const std::string& value) {
    char label[24];
    std::snprintf(label, sizeof label, "  %-11s", name);
    *out += label + value + "\n";
  };
  line("format", FormatName(info.format));
  line("duration", DurationLine(info.durationMs));
  line("bitrate", std::to_string((info.bitrate + 500) / 1000) + " kbit/s");
  line("rate", std::to_string(format.sampleRate) + " Hz");
  line("channels", std::to_string(ChannelCount(format.channelsFormat)));
  line("samples", SampleType(format.dataFormat));
  if (info.title[0]) line("title", Field(info.title));
  if (info.artist[0]) line("artist", Field(info.artist));
  if (info.album[0]) line("album", Field(info.album));
  return true;
}

}  // namespace

int RunProbe(const Arguments& arguments) {
  if (!CheckDecoder()) return kExitFailed;
  CSession session;
  if (!session.Open(arguments)) return kExitFailed;
  CDecoderTable::Instance().Reload();
  CProcessLink link(CDecoderTable::Instance());
  CAudioDecoder decoder(link);
  int status = kExitDone;
  for (const std::string& path : arguments.words) {
    std::string text;
    if (!ProbeFile(decoder, path, &text)) status = kExitFailed;
    if (!Print(text)) return kExitFailed;
  }
  return status;
}

}  // namespace quill::cli
