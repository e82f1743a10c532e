// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/safe_text.h"

#include <cstdint>
#include <cstdio>

namespace quill::cli {

namespace {

// Length of the valid UTF-8 sequence at the start of `text`, 0 for none. Surrogates, overlong forms
// and values above U+10FFFF are not valid.
size_t SequenceLength(std::string_view text) {
  const auto byte = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
  const uint8_t lead = byte(0);
  if (lead < 0x80) return 1;
  const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return 0;
  for (size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  if (lead == 0xE0 && byte(1) < 0xA0) return 0;
  if (lead == 0xED && byte(1) > 0x9F) return 0;
  if (lead == 0xF0 && byte(1) < 0x90) return 0;
  if (lead == 0xF4 && byte(1) > 0x8F) return 0;
  return length;
}

void AppendHex(std::string* out, const char* format, unsigned value) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, format, value);
  *out += buffer;
}

// C1 controls (U+0080 to U+009F) steer some terminals like C0 does.
bool IsControl(std::string_view sequence) {
  const auto lead = static_cast<uint8_t>(sequence[0]);
  if (sequence.size() == 1) return lead < 0x20 || lead == 0x7F;
  return sequence.size() == 2 && lead == 0xC2 && static_cast<uint8_t>(sequence[1]) < 0xA0;
}

}  // namespace

std::string TerminalText(std::string_view name) {
  std::string out;
  while (!name.empty()) {
    size_t length = SequenceLength(name);
    if (length != 0 && !IsControl(name.substr(0, length))) {
      out += name.substr(0, length);
    } else {
      length = length == 0 ? 1 : length;
      for (const char c : name.substr(0, length))
        AppendHex(&out, "\\x%02X", static_cast<uint8_t>(c));
    }
    name.remove_prefix(length);
  }
  return out;
}

std::string JsonText(std::string_view text) {
  std::string out = "\"";
  while (!text.empty()) {
    const size_t length = SequenceLength(text);
    const auto lead = static_cast<uint8_t>(text[0]);
    if (length == 0)
      AppendHex(&out, "\\\\x%02X", lead);
    else if (lead == '"' || lead == '\\')
      out.append({'\\', text[0]});
    else if (lead < 0x20 || lead == 0x7F)
      AppendHex(&out, "\\u%04x", lead);
    else
      out += text.substr(0, length);
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return out + '"';
}

std::string JsonScore(float score) {
  if (!(score >= 0)) return "null";
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.6g", static_cast<double>(score));
  return buffer;
}

}  // namespace quill::cli
