// SPDX-License-Identifier: GPL-3.0-or-later
// Turns a fatal fault in a codec into an exit status that the application tells from any other end
// of the process, and keeps the process from leaving core files behind.
#pragma once

namespace quill::decoder {

void InstallCrashGuard();

}  // namespace quill::decoder
