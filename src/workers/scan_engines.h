// SPDX-License-Identifier: GPL-3.0-or-later
// The engines of one worker thread over one decoder process: what a file meets on its way through a
// scan. Every file that is not known as sound is offered as a picture first, whatever its name, and
// then as sound; for an analysis it is measured as sound and nothing else. Made, used and destroyed
// on its thread.
#pragma once

#include <string>

#include "audio/audio_analyser.h"
#include "audio/audio_comparer.h"
#include "audio/audio_settings.h"
#include "decoding/audio_decoder.h"
#include "decoding/decoder_table.h"
#include "decoding/image_decoder.h"
#include "decoding/process_link.h"
#include "device/opencl.h"
#include "image/image_comparer.h"
#include "image/image_settings.h"
#include "workers/scan_settings.h"
#include "workers/workers.h"

namespace quill {

class CScanEngines : public CFileEngines {
 public:
  // All must outlive the engines. `device` may be null.
  CScanEngines(CDecoderTable& table, const CScanSettings& settings, const CIgnoreList& ignores,
               CAudioStore& audioStore, CAudioPairSink& audioPairs, CImageStore& imageStore,
               CImagePairSink& imagePairs, CAnalysisStore& analysisStore, CAnalysisSink& analyses,
               COpenCL* device = nullptr);

  [[nodiscard]] bool ProcessFile(const std::string& path, uint8_t group, bool analysis) override;

 private:
  const CScanSettings& m_settings;
  AudioSettings m_audioSettings;  // of the file in hand
  ImageSettings m_imageSettings;  // likewise
  CProcessLink m_link;
  CAudioDecoder m_audioDecoder;
  CImageDecoder m_imageDecoder;
  CAudioComparer m_audio;
  CImageComparer m_image;
  CAudioAnalyser m_analyser;
};

}  // namespace quill
