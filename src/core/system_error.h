// SPDX-License-Identifier: GPL-3.0-or-later
// The error report, the system's only error convention: a function that fails reports itself once
// by its own name and a constant line number, and returns false, 0 or null. Callers usually add a
// report of their own, so that one failure leaves a short trace in the log, innermost first. The
// line numbers are part of the log's vocabulary and do not follow the source.
//
// A report writes "System error [n]: text" when errno is set (a hint, it may be stale), then always
// "name:line failed [value]". Any thread; a report neither fails nor throws nor allocates.
#pragma once

#include <cstdint>

namespace quill {

struct CSystemError {
  // The brackets stay empty.
  static void Plain(const char* name, int32_t line);
  // "true" or "false"; gives `value` back, so that a function can end in `return Bool(…, false)`.
  static bool Bool(const char* name, int32_t line, bool value);
  // Signed decimal; gives `value` back.
  static int32_t Integer(const char* name, int32_t line, int32_t value);
  // Decimal value; gives `value` back.
  static float Float(const char* name, int32_t line, float value);
};

}  // namespace quill
