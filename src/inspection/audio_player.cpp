// SPDX-License-Identifier: GPL-3.0-or-later
#include "inspection/audio_player.h"

#include <algorithm>
#include <cstring>

#include "core/configuration.h"
#include "core/system_error.h"

namespace quill {

namespace {

constexpr const char* kVolumeKey = "audioPlayerVolume";
constexpr uint32_t kRingSeconds = 3;
constexpr uint64_t kRefillMs = 201;
// What an output may hold when the last of the file has been rendered.
constexpr uint64_t kTailMs = 100;

}  // namespace

CAudioPlayer::CAudioPlayer(CAudioOutput& output, CDecoderTable& table)
    : m_output(output),
      m_link(table),
      m_decoder(m_link),
      m_volume(std::clamp(CConfiguration::Instance().GetFloat(kVolumeKey, 1.0F), 0.0F, 1.0F)),
      m_queue([this] { AsyncData(); }) {}

CAudioPlayer::~CAudioPlayer() {
  Reset();
  CConfiguration::Instance().SetFloat(kVolumeKey, m_volume.load());
}

void CAudioPlayer::OpenFile(const std::string& path) {
  Reset();
  m_state = kOpening;
  m_queue.Post([this, path] {
    m_path = path;
    AsyncOpen();
  });
}

void CAudioPlayer::StartPlaying() {
  m_queue.Post([this] { AsyncPlay(); });
}

void CAudioPlayer::PausePlaying() {
  m_queue.Post([this] { AsyncPause(); });
}

void CAudioPlayer::SeekTo(uint32_t positionMs) {
  m_queue.Post([this, positionMs] { AsyncSeek(positionMs); });
}

void CAudioPlayer::SetVolume(float volume) {
  m_queue.Post([this, volume] {
    m_volume = std::clamp(volume, 0.0F, 1.0F);
    if (m_hasOutput) m_output.SetVolume(m_volume);
  });
}

void CAudioPlayer::Reset() {
  m_cancelled = true;
  m_queue.PostAndWait([this] {
    Close();
    m_state = kNoFile;
    m_cancelled = false;
  });
}

void CAudioPlayer::Close() {
  m_output.Close();
  m_hasOutput = false;
  if (m_frameSize != 0) (void)m_decoder.Close();
  m_ring.clear();
  m_cursorPlay = 0;
  m_cursorWrite = 0;
  m_deltaSum = 0;
  m_cursorLoad = 0;
  m_path.clear();
  m_envelope.Clear();
  m_playedSize = 0;
  m_decodedSize = 0;
  m_buf = nullptr;
  m_bufSize = 0;
  m_bufOff = 0;
  m_ended = false;
  m_format = {};
  m_frameSize = 0;
  m_bytesPerSecond = 0;
  m_duration = 0;
  m_position = 0;
  m_stereo = false;
}

void CAudioPlayer::SetState(uint32_t state) {
  m_state = state;
  if (m_callback) m_callback();
}

uint32_t CAudioPlayer::TimeOf(uint64_t bytes) const {
  return static_cast<uint32_t>(bytes * 1000 / m_bytesPerSecond);
}

bool CAudioPlayer::Prepare() {
  if (m_decoder.Open(m_path, wire::kRefuseVideo) != kDecodeOk)
    return CSystemError::Bool("Prepare", 1, false);
  if (m_decoder.GetFormat(&m_format) != kDecodeOk) return CSystemError::Bool("Prepare", 2, false);
  const bool channels =
      m_format.channelsFormat == wire::kMono || m_format.channelsFormat == wire::kStereo;
  const bool type = m_format.dataFormat == wire::kSigned16 || m_format.dataFormat == wire::kFloat32;
  if (!channels || !type || m_format.sampleRate == 0)
    return CSystemError::Bool("Prepare", 3, false);
  wire::AudioInfo info;
  const int32_t result = m_decoder.GetInfo(&info);
  if (result == kDecodeLinkFailed) return CSystemError::Bool("Prepare", 4, false);
  // With any other failure the file plays all the same, without an envelope.
  if (result == kDecodeOk) m_duration = info.durationMs;
  m_frameSize = FrameSize(m_format);
  m_bytesPerSecond = m_frameSize * m_format.sampleRate;
  m_stereo = m_format.channelsFormat == wire::kStereo;
  m_ring.assign(size_t{m_bytesPerSecond} * kRingSeconds, 0);
  const CAudioOutput::Format wanted{.sampleRate = m_format.sampleRate,
                                    .channels = ChannelCount(m_format.channelsFormat),
                                    .isFloat = m_format.dataFormat == wire::kFloat32};
  m_hasOutput =
      m_output.Open(wanted, Render, this, [this] { m_queue.Post([this] { AsyncGone(); }); });
  if (!m_hasOutput) return CSystemError::Bool("Prepare", 5, false);
  m_output.SetVolume(m_volume);
  return true;
}

void CAudioPlayer::AsyncOpen() {
  if (!Prepare()) {
    CSystemError::Plain("AsyncOpen", 1);
    return SetState(kCannotOpen);
  }
  if (!Play(0)) {
    CSystemError::Plain("AsyncOpen", 2);
    return SetState(kFailed);
  }
  SetState(kPlaying);
}

bool CAudioPlayer::FetchBlock() {
  m_bufOff = 0;
  m_bufSize = 0;
  if (m_cancelled.load() || m_decoder.GetData(&m_buf, &m_bufSize) != kDecodeOk) {
    m_buf = nullptr;
    m_bufSize = 0;
    return false;
  }
  if (m_bufSize == 0) {
    m_ended = true;
    m_duration = TimeOf(m_decodedSize);
    m_envelope.SetEnded();
    return true;
  }
  const uint64_t total =
      uint64_t{m_frameSize} * (uint64_t{m_format.sampleRate} * m_duration.load() / 1000);
  m_envelope.Add(m_format, m_buf, m_bufSize, m_decodedSize, total);
  m_decodedSize += m_bufSize;
  return true;
}

bool CAudioPlayer::Play(uint64_t offset) {
  // The decoder cannot seek: going back means reading from the start.
  if (m_decodedSize - m_bufSize > offset) {
    m_playedSize = 0;
    m_decodedSize = 0;
    m_bufSize = 0;
    m_bufOff = 0;
    m_ended = false;
    m_buf = nullptr;
    if (m_decoder.Open(m_path, wire::kRefuseVideo) != kDecodeOk)
      return CSystemError::Bool("Play", 1, false);
  }
  while (!m_ended && m_decodedSize < offset)
    if (!FetchBlock()) return CSystemError::Bool("Play", 2, false);
  const uint64_t before = m_decodedSize - m_bufSize;
  if (before > offset || m_decodedSize <= offset) {
    m_bufSize = 0;
    m_bufOff = 0;
    m_buf = nullptr;
    m_playedSize = m_decodedSize;
  } else {
    m_bufOff = static_cast<uint32_t>(offset - before);
    m_playedSize = offset;
  }
  m_position = TimeOf(m_playedSize);
  if (!FillBuffer(m_ring.data(), m_ring.size())) return CSystemError::Bool("Play", 3, false);
  m_cursorLoad = 0;
  m_cursorPlay = 0;
  m_cursorWrite = 0;
  m_deltaSum = 0;
  m_output.Discard();
  return m_output.Start() || CSystemError::Bool("Play", 4, false);
}

bool CAudioPlayer::FillBuffer(uint8_t* target, uint64_t size) {
  while (size != 0 && !(m_ended && m_bufOff == m_bufSize)) {
    if (m_bufOff == m_bufSize) {
      if (!FetchBlock()) return CSystemError::Bool("FillBuffer", 1, false);
      continue;
    }
    const auto part = static_cast<uint32_t>(std::min<uint64_t>(size, m_bufSize - m_bufOff));
    std::memcpy(target, m_buf + m_bufOff, part);
    m_bufOff += part;
    target += part;
    size -= part;
  }
  std::memset(target, 0, size);
  return true;
}

void CAudioPlayer::Render(void* player, uint8_t* buffer, uint32_t bytes) {
  static_cast<CAudioPlayer*>(player)->RenderInto(buffer, bytes);
}

void CAudioPlayer::RenderInto(uint8_t* buffer, uint32_t bytes) {
  // What the queue has written before this value was published may be read now.
  (void)m_cursorLoad.load(std::memory_order_acquire);
  const auto ring = static_cast<uint32_t>(m_ring.size());
  const uint32_t begin = m_cursorWrite;
  const uint32_t asked = std::min(bytes, ring);
  const uint32_t first = std::min(asked, ring - begin);
  std::memcpy(buffer, m_ring.data() + begin, first);
  if (asked > first) std::memcpy(buffer + first, m_ring.data(), asked - first);
  // A call for more than the ring holds, which no system makes, ends in silence.
  std::memset(buffer + asked, 0, bytes - asked);
  m_cursorWrite = asked > first ? asked - first : begin + first;
  m_cursorPlay.store(begin, std::memory_order_release);
  m_deltaSum += bytes;
  if (uint64_t{m_deltaSum} * 1000 / m_bytesPerSecond >= kRefillMs) {
    m_deltaSum = 0;
    m_queue.Signal();
  }
}

void CAudioPlayer::AsyncData() {
  if (m_state.load() != kPlaying) return;  // a signal from before a stop
  const uint32_t play = m_cursorPlay.load(std::memory_order_acquire);
  const uint32_t load = m_cursorLoad.load(std::memory_order_relaxed);
  const auto ring = static_cast<uint32_t>(m_ring.size());
  const bool wraps = play < load;
  const uint32_t first = (wraps ? ring : play) - load;
  const uint32_t second = wraps ? play : 0;
  if (!FillBuffer(m_ring.data() + load, first) || !FillBuffer(m_ring.data(), second)) {
    m_output.Stop();
    CSystemError::Plain("AsyncData", 1);
    return SetState(kFailed);
  }
  m_cursorLoad.store(play, std::memory_order_release);
  m_playedSize += uint64_t{first} + second;
  if (m_ended && m_playedSize >= m_decodedSize + m_bytesPerSecond * kTailMs / 1000) {
    m_output.Stop();
    m_playedSize = m_decodedSize;
    m_position = m_duration.load();
    return SetState(kFinished);
  }
  m_position = TimeOf(std::min(m_playedSize, m_decodedSize));
  SetState(kPlaying);
}

void CAudioPlayer::AsyncGone() {
  if (!m_hasOutput || (m_state.load() != kPlaying && m_state.load() != kPaused)) return;
  m_output.Close();
  m_hasOutput = false;
  CSystemError::Plain("AsyncData", 2);
  SetState(kFailed);
}

void CAudioPlayer::AsyncSeek(uint32_t positionMs) {
  const uint32_t target = std::min(positionMs, m_duration.load());
  if (target == m_position.load()) return;
  if (!m_hasOutput) return CSystemError::Plain("AsyncSeek", 1);
  m_output.Stop();
  const uint64_t offset = uint64_t{m_format.sampleRate} * target / 1000 * m_frameSize;
  if (Play(offset)) return SetState(kPlaying);
  CSystemError::Plain("AsyncSeek", 2);
  SetState(kFailed);
}

void CAudioPlayer::AsyncPlay() {
  const uint32_t state = m_state.load();
  if (state != kFinished && state != kPaused) return;
  if (state == kFinished ? Play(0) : m_output.Start()) return SetState(kPlaying);
  CSystemError::Plain("AsyncPlay", 1);
  SetState(kFailed);
}

void CAudioPlayer::AsyncPause() {
  if (m_state.load() != kPlaying) return;
  m_output.Stop();
  SetState(kPaused);
}

}  // namespace quill
