// SPDX-License-Identifier: GPL-3.0-or-later
// The audio engine of one worker: makes a file's keys and prints unless the store has them fresh,
// files them, and compares the file with every earlier file of the scan. One object belongs to one
// worker thread; the store, the ignore list, the settings and the sink are shared.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "audio/audio_settings.h"
#include "audio/audio_store.h"
#include "audio/device_comparison.h"
#include "audio/pair_sink.h"
#include "audio/precise.h"
#include "audio/sound_print.h"
#include "decoding/audio_decoder.h"
#include "device/opencl.h"
#include "storage/file_info.h"
#include "storage/ignore_list.h"

namespace quill {

class CAudioComparer {
 public:
  // What is asked for, as bits of a request.
  using enum AudioEntry::Part;

  // All must outlive the comparer. With no device the processor computes every score.
  CAudioComparer(CAudioDecoder& decoder, CAudioStore& store, const CIgnoreList& ignores,
                 const AudioSettings& settings, CAudioPairSink& sink, COpenCL* device = nullptr);

  // True when the file is finished and counts; false when nothing is to be done, when a step failed
  // or when the file is none of ours (the ordinary case: no report).
  [[nodiscard]] bool AddFile(const std::string& path, uint8_t group);

  // Whether the store describes the file as it is on disk now: then it is sound, and no other
  // engine need look at it.
  [[nodiscard]] bool KnowsFile(const std::string& path) const;

  // True when the file has joined the present scan now, with all parts of `request` that it can
  // have. The decoder is opened only if something is missing.
  [[nodiscard]] bool PrepareFile(const std::string& path, uint8_t group, uint32_t request);
  // Walks all files of lower ordinal and reports the pairs. False when the path is unknown or a
  // step failed; pairs reported before stay.
  [[nodiscard]] bool CompareFile(const std::string& path);

 private:
  // Steps of PrepareFile. `known` is null unless the file system has been asked already, `info`
  // when the decoder had none.
  [[nodiscard]] bool ReadFile(const std::string& path, const FileInfo* known, uint32_t request,
                              AudioEntry* parts);
  [[nodiscard]] static bool MakeItem(const std::string& path, const FileInfo* known,
                                     const wire::AudioInfo* info, AudioEntry* parts);
  [[nodiscard]] bool MakePrints(uint32_t request, AudioEntry* parts);

  // Fills m_deviceScores if the device is free, and leaves it empty otherwise.
  void UseDevice(const std::string& path);
  // False when a step failed; a pair that is cut or not alike is no failure.
  [[nodiscard]] bool ComparePair(const AudioEntry& target, const AudioEntry& candidate);
  // Leaves `score` alone where two files have no precise score.
  [[nodiscard]] bool PreciseScore(const AudioEntry& target, const AudioEntry& candidate,
                                  float* score);

  CAudioDecoder& m_decoder;
  CAudioStore& m_store;
  const CIgnoreList& m_ignores;
  const AudioSettings& m_settings;
  CAudioPairSink& m_sink;
  COpenCL* const m_device;
  CSoundPrint m_sound;
  DeviceScores m_deviceScores;  // of this walk; empty unless the device has worked
  bool m_targetReady = false;   // m_target has been made in this walk
  BarkData m_target;
  BarkData m_candidate;  // overwritten from pair to pair
};

// The content score of two long files: 0 to 1; -1 when a spectrum has not 2048 values.
[[nodiscard]] float ContentScore(const SpectrumPrint& target, const SpectrumPrint& candidate);

}  // namespace quill
