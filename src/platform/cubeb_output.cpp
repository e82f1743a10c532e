// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/cubeb_output.h"

#include <cubeb/cubeb.h>

#include <algorithm>
#include <utility>

namespace quill {

namespace {

// Short enough for a pause to be felt at once; the ring behind it covers delays.
constexpr uint32_t kLatencyParts = 20;  // of a second

}  // namespace

CCubebOutput::~CCubebOutput() {
  Close();
}

bool CCubebOutput::Open(const Format& format, Render render, void* parameter,
                        std::function<void()> gone) {
  Close();
  if (cubeb_init(&m_context, "Quillmarsh", nullptr) != CUBEB_OK) {
    m_context = nullptr;
    return false;
  }
  m_format = format;
  m_render = render;
  m_parameter = parameter;
  m_gone = std::move(gone);
  m_frameSize = format.channels * (format.isFloat ? 4 : 2);
  if (OpenStream()) return true;
  Close();
  return false;
}

bool CCubebOutput::OpenStream() {
  cubeb_stream_params params{};
  params.format = m_format.isFloat ? CUBEB_SAMPLE_FLOAT32NE : CUBEB_SAMPLE_S16NE;
  params.rate = m_format.sampleRate;
  params.channels = m_format.channels;
  params.layout = m_format.channels == 2 ? CUBEB_LAYOUT_STEREO : CUBEB_LAYOUT_MONO;
  params.prefs = CUBEB_STREAM_PREF_NONE;
  uint32_t latency = 0;
  if (cubeb_get_min_latency(m_context, &params, &latency) != CUBEB_OK) latency = 0;
  latency = std::max(latency, m_format.sampleRate / kLatencyParts);
  const auto changed = [](cubeb_stream*, void* output, cubeb_state state) {
    StateChanged(static_cast<CCubebOutput*>(output), state);
  };
  m_isFresh = cubeb_stream_init(m_context, &m_stream, "Player", nullptr, nullptr, nullptr, &params,
                                latency, Data, changed, this) == CUBEB_OK;
  if (!m_isFresh) m_stream = nullptr;
  return m_isFresh;
}

long CCubebOutput::Data(cubeb_stream*, void* output, const void*, void* buffer, long frames) {
  const auto* self = static_cast<CCubebOutput*>(output);
  self->m_render(self->m_parameter, static_cast<uint8_t*>(buffer),
                 static_cast<uint32_t>(frames) * self->m_frameSize);
  return frames;
}

void CCubebOutput::StateChanged(CCubebOutput* output, int state) {
  if (state == CUBEB_STATE_ERROR && output->m_gone) output->m_gone();
}

bool CCubebOutput::Start() {
  m_isFresh = false;
  return m_stream && cubeb_stream_start(m_stream) == CUBEB_OK;
}

void CCubebOutput::Stop() {
  if (m_stream) (void)cubeb_stream_stop(m_stream);
}

void CCubebOutput::Discard() {
  if (!m_context || m_isFresh) return;
  // The library cannot empty a stream. With none, Start fails.
  if (m_stream) cubeb_stream_destroy(std::exchange(m_stream, nullptr));
  if (OpenStream()) SetVolume(m_volume);
}

void CCubebOutput::Close() {
  Stop();
  if (m_stream) cubeb_stream_destroy(std::exchange(m_stream, nullptr));
  if (m_context) cubeb_destroy(std::exchange(m_context, nullptr));
}

void CCubebOutput::SetVolume(float volume) {
  m_volume = volume;
  if (m_stream) (void)cubeb_stream_set_volume(m_stream, volume);
}

}  // namespace quill
