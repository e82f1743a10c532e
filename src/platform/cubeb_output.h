// SPDX-License-Identifier: GPL-3.0-or-later
// The audio output by cubeb, which picks PulseAudio, PipeWire, ALSA or JACK. One stream at a time.
#pragma once

#include "inspection/audio_output.h"

struct cubeb;
struct cubeb_stream;

namespace quill {

class CCubebOutput final : public CAudioOutput {
 public:
  CCubebOutput() = default;
  ~CCubebOutput() override;
  CCubebOutput(const CCubebOutput&) = delete;
  CCubebOutput& operator=(const CCubebOutput&) = delete;

  [[nodiscard]] bool Open(const Format& format, Render render, void* parameter,
                          std::function<void()> gone) override;
  [[nodiscard]] bool Start() override;
  void Stop() override;
  void Discard() override;
  void Close() override;
  void SetVolume(float volume) override;

 private:
  static long Data(cubeb_stream* stream, void* output, const void* input, void* buffer,
                   long frames);
  // `state` is cubeb's.
  static void StateChanged(CCubebOutput* output, int state);

  [[nodiscard]] bool OpenStream();

  cubeb* m_context = nullptr;
  cubeb_stream* m_stream = nullptr;
  bool m_isFresh = false;  // the stream has not been started yet
  float m_volume = 1;
  // Constant while a stream is open.
  Format m_format;
  Render m_render = nullptr;
  void* m_parameter = nullptr;
  std::function<void()> m_gone;
  uint32_t m_frameSize = 0;
};

}  // namespace quill
