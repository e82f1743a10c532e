// SPDX-License-Identifier: GPL-3.0-or-later
// What the two builders of spectra share: a thread of their own that decodes one file at its own
// rate, over a decoder of its own, cuts each channel into frames and hands the magnitudes to the
// derived builder; state, progress and stop. Build and Stop belong to one thread, the owner's;
// state and progress may be read from any. Results of a finished run stay until the next successful
// run replaces them, so a failed or stopped run leaves them alone.
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace quill {

class CSpectrumBuilder {
 public:
  enum State : uint32_t { kNoResult = 0, kRunning = 1, kFinished = 2 };

  CSpectrumBuilder(const CSpectrumBuilder&) = delete;
  CSpectrumBuilder& operator=(const CSpectrumBuilder&) = delete;

  // Called on the builder's thread for each second of sound and at the end of a run. Set before
  // Build.
  std::function<void()> m_callback;

  // Ends a run in progress and starts one. `filterLen` is the transform length N, a power of two
  // from 2^5 to 2^16; `overlap` of successive frames in percent, below 100. False after a report
  // when the thread cannot be started.
  bool Build(const std::string& path, uint64_t filterLen, uint64_t overlap);
  // Waits for the end of the run. It lands at the next block of samples.
  void Stop();

  [[nodiscard]] uint32_t GetState() const { return m_state.load(); }
  // Milliseconds of the file processed so far.
  [[nodiscard]] uint32_t Progress() const { return m_progress.load(); }

 protected:
  static constexpr size_t kChannels = 2;
  // Of the run under way.
  struct Run {
    size_t filterLen = 0;  // N
    size_t bins = 0;       // N/2 + 1
    size_t hop = 0;        // samples
    uint32_t sampleRate = 0;
    bool stereo = false;
  };

  CSpectrumBuilder() = default;
  // The derived destructor calls Stop: the thread calls into it.
  virtual ~CSpectrumBuilder() = default;

  // All on the builder's thread, in this order. Publish puts the results in place and tells whether
  // there are any.
  virtual void Begin(const Run& run) = 0;
  virtual void TakeFrame(size_t channel, const float* magnitudes) = 0;
  [[nodiscard]] virtual bool Publish(const Run& run) = 0;

  // The unit in which a full-scale sine has a level of the order of 1.
  [[nodiscard]] static float Scale(const Run& run, size_t bin) {
    const bool edge = bin == 0 || bin + 1 == run.bins;
    return static_cast<float>(edge ? run.filterLen : run.filterLen / 2);
  }

 private:
  static void* ThreadStarter(void* builder);
  void Thread();
  [[nodiscard]] bool Prepare();

  // Constant while the thread runs.
  std::string m_filePath;
  uint64_t m_filterLen = 0;
  uint64_t m_overlap = 0;
  // Atomic: read by the view while the thread writes, and the other way round for the stop.
  std::atomic<uint32_t> m_state{kRunning};
  std::atomic<uint32_t> m_progress{0};
  std::atomic<uint32_t> m_stopped{0};
  pthread_t m_thread{};
  bool m_hasThread = false;
};

}  // namespace quill
