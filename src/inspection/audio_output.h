// SPDX-License-Identifier: GPL-3.0-or-later
// The system's audio output as the player sees it: it pulls samples, in the file's own rate,
// channels and type, from a callback on a real-time thread. platform/ implements it; tests play one
// of their own. All calls but the callbacks come from one thread, the player's queue.
#pragma once

#include <cstdint>
#include <functional>

namespace quill {

class CAudioOutput {
 public:
  struct Format {
    uint32_t sampleRate = 0;  // Hz
    uint32_t channels = 0;    // 1 or 2, interleaved
    bool isFloat = false;     // else signed 16-bit
  };
  // Fills the buffer, all of it, on the real-time thread: it may not wait, allocate or fail.
  using Render = void (*)(void* parameter, uint8_t* buffer, uint32_t bytes);

  virtual ~CAudioOutput() = default;
  // False when the system has no output for this format. `gone` is called, on a thread of the
  // output's that is not the real-time one, when the device goes away.
  [[nodiscard]] virtual bool Open(const Format& format, Render render, void* parameter,
                                  std::function<void()> gone) = 0;
  [[nodiscard]] virtual bool Start() = 0;
  // After it no render call is under way and none comes until the next Start.
  virtual void Stop() = 0;
  // Between Stop and Start: what has been rendered and not been heard yet never will be. Without it
  // Start goes on with that.
  virtual void Discard() = 0;
  // Stops first. Safe when nothing is open.
  virtual void Close() = 0;
  // 0 to 1; of what is open.
  virtual void SetVolume(float volume) = 0;
};

}  // namespace quill
