// SPDX-License-Identifier: GPL-3.0-or-later
// The three groups of registered defaults. They are registered at start, and each group can be
// reset by itself: every key of it is removed from the store so that these values show through.
#pragma once

#include "core/settings_store.h"

namespace quill {

class CConfiguration;

[[nodiscard]] const CSettingDefaults& DefaultsGeneral();
[[nodiscard]] const CSettingDefaults& DefaultsMiscellaneous();
[[nodiscard]] const CSettingDefaults& DefaultsOpenCl();

// What older versions stored under other names. Before the defaults are registered.
void RenameOldSettings(CConfiguration& configuration);

}  // namespace quill
