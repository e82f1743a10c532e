// SPDX-License-Identifier: GPL-3.0-or-later
// The preview player: plays one audio file through the system's output, with play, pause, seek and
// volume, and collects the file's level envelope on the way.
//
// Three kinds of thread. The owner's (the window's) calls the interface, which only posts to the
// player's queue, and reads state, position and envelope at any time. The queue does all decoding,
// refilling and changing of state, and calls m_callback. The output's real-time thread runs Render,
// which copies from the ring and moves its cursors: no lock, no allocation, no decoder.
//
// The ring holds three seconds and is refilled about five times a second, so that a slow block
// costs no gap. Each cursor has one writer while the output runs. The render thread publishes
// m_cursorPlay with release once it has read what lies before it; the queue takes it with acquire
// and only then writes there. The queue publishes m_cursorLoad with release once the bytes before
// it are written; the render thread takes it with acquire before it reads. The latter's value is
// not looked at: that reading stays behind writing is a matter of time, three seconds against a
// fifth of one.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "decoding/audio_decoder.h"
#include "decoding/decoder_table.h"
#include "decoding/process_link.h"
#include "inspection/audio_output.h"
#include "inspection/level_envelope.h"
#include "inspection/serial_queue.h"

namespace quill {

class CAudioPlayer {
 public:
  enum State : uint32_t {
    kNoFile = 0,
    kOpening = 1,
    kCannotOpen = 2,
    kFailed = 3,
    kPlaying = 4,
    kPaused = 5,
    kFinished = 6,
  };

  // Reads the volume from the settings. `output` must outlive the player.
  explicit CAudioPlayer(CAudioOutput& output, CDecoderTable& table = CDecoderTable::Instance());
  // Resets, and writes the volume to the settings.
  ~CAudioPlayer();
  CAudioPlayer(const CAudioPlayer&) = delete;
  CAudioPlayer& operator=(const CAudioPlayer&) = delete;

  // Called on the queue at each change of state and each notice of position; must not block. Set
  // before the first OpenFile.
  std::function<void()> m_callback;

  void OpenFile(const std::string& path);
  void StartPlaying();
  void PausePlaying();
  void SeekTo(uint32_t positionMs);
  void SetVolume(float volume);
  // Waits until nothing plays and nothing is open.
  void Reset();

  [[nodiscard]] uint32_t GetState() const { return m_state.load(); }
  [[nodiscard]] uint32_t Position() const { return m_position.load(); }  // milliseconds
  [[nodiscard]] uint32_t Duration() const { return m_duration.load(); }  // milliseconds
  [[nodiscard]] float Volume() const { return m_volume.load(); }
  [[nodiscard]] bool IsStereo() const { return m_stereo.load(); }
  [[nodiscard]] const CLevelEnvelope& Envelope() const { return m_envelope; }

 private:
  static void Render(void* player, uint8_t* buffer, uint32_t bytes);
  void RenderInto(uint8_t* buffer, uint32_t bytes);

  // ---- on the queue
  [[nodiscard]] bool Prepare();
  void AsyncOpen();
  void AsyncPlay();
  void AsyncPause();
  void AsyncSeek(uint32_t positionMs);
  void AsyncData();
  void AsyncGone();
  [[nodiscard]] bool Play(uint64_t offset);
  [[nodiscard]] bool FillBuffer(uint8_t* target, uint64_t size);
  // The next block of the decoder, with statistics; at the end of the stream m_ended is set.
  [[nodiscard]] bool FetchBlock();
  void Close();
  void SetState(uint32_t state);
  [[nodiscard]] uint32_t TimeOf(uint64_t bytes) const;

  CAudioOutput& m_output;

  // Constant while the output runs.
  std::vector<uint8_t> m_ring;
  uint32_t m_bytesPerSecond = 0;

  // Written by the render thread while the output runs, by the queue while it does not.
  std::atomic<uint32_t> m_cursorPlay{0};  // at which the latest render call began to read
  uint32_t m_cursorWrite = 0;             // at which the next one reads
  uint32_t m_deltaSum = 0;                // bytes rendered since the last refill
  // Written by the queue: at which the next refill writes.
  std::atomic<uint32_t> m_cursorLoad{0};

  // Queue only.
  std::string m_path;
  CProcessLink m_link;
  CAudioDecoder m_decoder;
  AudioFormat m_format{};
  uint32_t m_frameSize = 0;
  bool m_hasOutput = false;
  const uint8_t* m_buf = nullptr;  // the current block, in the link's mapping
  uint32_t m_bufSize = 0;
  uint32_t m_bufOff = 0;       // bytes of it moved on
  bool m_ended = false;        // the decoder has reported the end
  uint64_t m_playedSize = 0;   // bytes of the file, and of the silence behind its end
  uint64_t m_decodedSize = 0;  // bytes of the file

  CLevelEnvelope m_envelope;
  // Atomic: the owner's thread reads them for display.
  std::atomic<uint32_t> m_state{kNoFile};
  std::atomic<uint32_t> m_duration{0};
  std::atomic<uint32_t> m_position{0};
  std::atomic<float> m_volume{1};
  std::atomic<bool> m_stereo{false};
  // Set while the owner waits in Reset: a long decode towards a far seek gives up.
  std::atomic<bool> m_cancelled{false};

  CSerialQueue m_queue;  // last: its thread uses all of the above
};

}  // namespace quill
