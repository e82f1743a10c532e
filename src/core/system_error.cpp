// SPDX-License-Identifier: GPL-3.0-or-later
#include "core/system_error.h"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <string_view>

#include "core/log.h"

namespace quill {
namespace {

void Report(const char* name, int32_t line, std::string_view value) {
  const int error = errno;
  if (error != 0) {
    char buffer[1000];
    const char* const text = strerror_r(error, buffer, sizeof buffer);
    CLogLine().Append("System error [").AppendInteger(error).Append("]: ").Append(text);
  }
  CLogLine()
      .Append(name != nullptr ? name : "UNKNOWN")
      .Append(":")
      .AppendInteger(line)
      .Append(" failed [")
      .Append(value)
      .Append("]");
}

}  // namespace

void CSystemError::Plain(const char* name, int32_t line) {
  Report(name, line, {});
}

bool CSystemError::Bool(const char* name, int32_t line, bool value) {
  Report(name, line, value ? "true" : "false");
  return value;
}

int32_t CSystemError::Integer(const char* name, int32_t line, int32_t value) {
  char digits[16];
  const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  Report(name, line, {digits, static_cast<size_t>(end - digits)});
  return value;
}

float CSystemError::Float(const char* name, int32_t line, float value) {
  // Not by printf: its decimal point follows the locale of the window's toolkit.
  char digits[64];
  const auto end =
      std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, 6).ptr;
  Report(name, line, {digits, static_cast<size_t>(end - digits)});
  return value;
}

}  // namespace quill
