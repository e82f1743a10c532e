#include "core/defaults.h"

namespace quill {

const CSettingDefaults& DefaultsGeneral() {
  static const CSettingDefaults defaults{
      {"enableAudioTags", true},         {"valueAudioTags", 0.75},
      {"enableAudioContent", true},      {"valueAudioContent", 0.75},
      {"enableAudioPrecise", true},      {"valueAudioPrecise", 0.5},
      {"enableImageContent", true},      {"valueImageContent", 0.75},
      {"enableImageExperimental", true}, {"valueImageExperimental", 0.75},
      {"enableDurationCheck", true},     {"valueDurationCheck", 0.7},
      {"enableSkipVideo", true},
  };
  return defaults;
}

const CSettingDefaults& DefaultsMiscellaneous() {
  static const CSettingDefaults defaults{
      {"enableMoveFolder", false},      {"enableDeletionConfirmation", true},
      {"enableCheckUpdates", true},     {"enableThreadLimit", false},
      {"valueThreadLimit", int32_t{1}}, {"enableFlatMode", false},
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

}  // namespace quill
