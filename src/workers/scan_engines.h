// The engines of one worker thread over one decoder process: what a file meets on its way through a
// scan. Made, used and destroyed on its thread.
#pragma once

#include <string>

#include "audio/audio_comparer.h"
#include "audio/audio_settings.h"
#include "decoding/audio_decoder.h"
#include "decoding/decoder_table.h"
#include "decoding/process_link.h"
#include "workers/scan_settings.h"
#include "workers/workers.h"

namespace quill {

class CScanEngines : public CFileEngines {
 public:
  // All must outlive the engines.
  CScanEngines(CDecoderTable& table, const CScanSettings& settings, CAudioStore& audioStore,
               const CIgnoreList& ignores, CAudioPairSink& audioPairs);

  [[nodiscard]] bool ProcessFile(const std::string& path, uint8_t group, bool analysis) override;

 private:
  const CScanSettings& m_settings;
  AudioSettings m_audioSettings;  // of the file in hand
  CProcessLink m_link;
  CAudioDecoder m_audioDecoder;
  CAudioComparer m_audio;
};

}  // namespace quill
