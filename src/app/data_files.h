// SPDX-License-Identifier: GPL-3.0-or-later
// Names of the files in the application support folder.
#pragma once

namespace quill {

inline constexpr const char* kCacheFile = "cache.dat";
inline constexpr const char* kIgnoresFile = "ignores.list";
inline constexpr const char* kAutosaveFile = "autosave.quillmarsh";
inline constexpr const char* kPendingWorkFile = "pending.works";

}  // namespace quill
