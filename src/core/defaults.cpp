// SPDX-License-Identifier: GPL-3.0-or-later
#include "core/defaults.h"

#include "core/configuration.h"

namespace quill {

const CSettingDefaults& DefaultsGeneral() {
  static const CSettingDefaults defaults{
      {"enableAudioTags", true},         {"valueAudioTags", 0.75},
      {"enableAudioContent", true},      {"valueAudioContent", 0.75},
      {"enableAudioPrecise", true},      {"valueAudioPrecise", 0.5},
      {"enableImageContent", true},      {"valueImageContent", 0.75},
      {"enableImageExperimental", true}, {"valueImageExperimental", 0.75},
      {"enableAudioDuration", true},     {"valueAudioDuration", 0.7},
      {"enableSkipVideo", true},
  };
  return defaults;
}

const CSettingDefaults& DefaultsMiscellaneous() {
  static const CSettingDefaults defaults{
      {"enableMoveFolder", false},  {"enableDeletionConfirmation", true}, {"checkUpdate", true},
      {"enableThreadLimit", false}, {"valueThreadLimit", int32_t{1}},     {"enableFlatMode", false},
      {"useInternalPlayer", true},
  };
  return defaults;
}

const CSettingDefaults& DefaultsOpenCl() {
  static const CSettingDefaults defaults{
      {"enableOpenCL", false},
      {"valueOpenCLWorkSize", int32_t{64}},
  };
  return defaults;
}

void RenameOldSettings(CConfiguration& configuration) {
  // The preferences wrote these names of the duration check, which no scan read.
  configuration.Rename("enableDurationCheck", "enableAudioDuration");
  configuration.Rename("valueDurationCheck", "valueAudioDuration");
  configuration.Rename("enableCheckUpdates", "checkUpdate");
}

}  // namespace quill
