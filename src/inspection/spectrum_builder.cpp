// SPDX-License-Identifier: GPL-3.0-or-later
#include "inspection/spectrum_builder.h"

#include <array>
#include <vector>

#include "core/system_error.h"
#include "decoding/audio_decoder.h"
#include "decoding/channel_splitter.h"
#include "decoding/decoder_table.h"
#include "decoding/process_link.h"
#include "inspection/frame_walker.h"
#include "signal/real_fft.h"

namespace quill {

namespace {

constexpr uint64_t kNoticeMs = 1000;

}  // namespace

bool CSpectrumBuilder::Build(const std::string& path, uint64_t filterLen, uint64_t overlap) {
  Stop();
  m_filePath = path;
  m_filterLen = filterLen;
  m_overlap = overlap;
  m_hasThread = pthread_create(&m_thread, nullptr, ThreadStarter, this) == 0;
  return m_hasThread || CSystemError::Bool("Build", 1, false);
}

void CSpectrumBuilder::Stop() {
  m_stopped = 1;
  if (m_hasThread) pthread_join(m_thread, nullptr);
  m_hasThread = false;
  m_stopped = 0;
  m_filePath.clear();
  m_filterLen = 0;
  m_overlap = 0;
  m_state = kRunning;
  m_progress = 0;
}

void* CSpectrumBuilder::ThreadStarter(void* builder) {
  static_cast<CSpectrumBuilder*>(builder)->Thread();
  return nullptr;
}

void CSpectrumBuilder::Thread() {
  m_state = kRunning;
  m_progress = 0;
  m_state = Prepare() ? kFinished : kNoResult;
  if (m_callback) m_callback();
}

bool CSpectrumBuilder::Prepare() {
  Run run;
  run.filterLen = m_filterLen;
  run.bins = m_filterLen / 2 + 1;
  run.hop = m_filterLen - m_filterLen * m_overlap / 100;
  CRealFFT fft;
  if (run.hop == 0 || !fft.Init(run.filterLen)) return CSystemError::Bool("Prepare", 1, false);
  CProcessLink link(CDecoderTable::Instance());
  link.SetLogContext(0, m_filePath, {});
  CAudioDecoder decoder(link);
  if (decoder.Open(m_filePath, 0) != kDecodeOk) return false;
  AudioFormat format;
  if (decoder.GetFormat(&format) != kDecodeOk) return false;
  if (format.channelsFormat != wire::kMono && format.channelsFormat != wire::kStereo) return false;
  if (format.sampleRate == 0) return CSystemError::Bool("Prepare", 2, false);
  run.sampleRate = format.sampleRate;
  run.stereo = format.channelsFormat == wire::kStereo;
  Begin(run);

  std::array walkers{CFrameWalker(fft, run.hop), CFrameWalker(fft, run.hop)};
  std::array<CFloatVector, kChannels> samples;
  uint64_t total = 0;
  while (m_stopped.load() == 0) {
    if (GetData(decoder, &samples[0], &samples[1]) != kDecodeOk)
      return CSystemError::Bool("Prepare", 3, false);
    if (samples[0].empty()) break;
    for (size_t channel = 0; channel < kChannels; ++channel) {
      const bool walked =
          walkers[channel].Add(samples[channel].data(), samples[channel].size(),
                               [&](const float* magnitudes) { TakeFrame(channel, magnitudes); });
      if (!walked) return CSystemError::Bool("Prepare", 4, false);
    }
    total += samples[0].size();
    const uint64_t position = total * 1000 / run.sampleRate;
    if (position >= m_progress.load() + kNoticeMs) {
      m_progress = static_cast<uint32_t>(position);
      if (m_callback) m_callback();
    }
  }
  (void)decoder.Close();
  return m_stopped.load() == 0 && Publish(run);
}

}  // namespace quill
