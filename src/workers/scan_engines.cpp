#include "workers/scan_engines.h"

namespace quill {

CScanEngines::CScanEngines(CDecoderTable& table, const CScanSettings& settings,
                           CAudioStore& audioStore, const CIgnoreList& ignores,
                           CAudioPairSink& audioPairs)
    : m_settings(settings),
      m_link(table),
      m_audioDecoder(m_link),
      m_audio(m_audioDecoder, audioStore, ignores, m_audioSettings, audioPairs) {}

bool CScanEngines::ProcessFile(const std::string& path, uint8_t group, bool analysis) {
  if (analysis) return false;
  m_audioSettings = m_settings.Audio();
  m_link.SetLogContext(0, path, {});
  return m_audio.AddFile(path, group);
}

}  // namespace quill
