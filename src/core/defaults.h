// The three groups of registered defaults. They are registered at start, and each group can be
// reset by itself: every key of it is removed from the store so that these values show through.
// Some keys here differ from what the engines read ("enableDurationCheck" beside
// "enableAudioDuration", "enableCheckUpdates" beside "checkUpdate"): both names are kept.
#pragma once

#include "core/settings_store.h"

namespace quill {

[[nodiscard]] const CSettingDefaults& DefaultsGeneral();
[[nodiscard]] const CSettingDefaults& DefaultsMiscellaneous();
[[nodiscard]] const CSettingDefaults& DefaultsOpenCl();

}  // namespace quill
