// SPDX-License-Identifier: GPL-3.0-or-later
// The engines' settings, as one board between the main thread, which writes them when preferences
// change (also in mid-scan), and the workers, each of which takes a copy at the start of a file.
#pragma once

#include "audio/audio_settings.h"
#include "core/sync.h"
#include "image/image_settings.h"

namespace quill {

class CScanSettings {
 public:
  void SetAudio(const AudioSettings& settings) {
    CSyncLock lock(m_sync);
    m_audio = settings;
  }
  [[nodiscard]] AudioSettings Audio() const {
    CSyncLock lock(m_sync);
    return m_audio;
  }
  void SetImage(const ImageSettings& settings) {
    CSyncLock lock(m_sync);
    m_image = settings;
  }
  [[nodiscard]] ImageSettings Image() const {
    CSyncLock lock(m_sync);
    return m_image;
  }

 private:
  mutable CSync m_sync;
  AudioSettings m_audio GUARDED_BY(m_sync);
  ImageSettings m_image GUARDED_BY(m_sync);
};

}  // namespace quill
