// SPDX-License-Identifier: GPL-3.0-or-later
#include "workers/scan_engines.h"

namespace quill {

CScanEngines::CScanEngines(CDecoderTable& table, const CScanSettings& settings,
                           const CIgnoreList& ignores, CAudioStore& audioStore,
                           CAudioPairSink& audioPairs, CImageStore& imageStore,
                           CImagePairSink& imagePairs, CAnalysisStore& analysisStore,
                           CAnalysisSink& analyses, COpenCL* device)
    : m_settings(settings),
      m_link(table),
      m_audioDecoder(m_link),
      m_imageDecoder(m_link),
      m_audio(m_audioDecoder, audioStore, ignores, m_audioSettings, audioPairs, device),
      m_image(m_imageDecoder, imageStore, ignores, m_imageSettings, imagePairs),
      m_analyser(m_audioDecoder, analysisStore, ignores, analyses) {}

bool CScanEngines::ProcessFile(const std::string& path, uint8_t group, bool analysis) {
  m_link.SetLogContext(0, path, {});
  if (analysis) return m_analyser.Process(path);
  m_audioSettings = m_settings.Audio();
  m_imageSettings = m_settings.Image();
  // A file that is known as sound and has not changed would only be refused as a picture; without
  // this a repeated scan would still start decoders and ask them about every track.
  if (!m_audio.KnowsFile(path) && m_image.ProcessFile(path, group)) return true;
  return m_audio.AddFile(path, group);
}

}  // namespace quill
