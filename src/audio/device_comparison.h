// SPDX-License-Identifier: GPL-3.0-or-later
// The precise scores of one file against all earlier ones, on the compute device: the same gates as
// the walk on the processor, the same formulas, in blocks of a thousand candidates. Whatever fails
// here only means that the processor does the work for this file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "audio/audio_settings.h"
#include "audio/audio_store.h"
#include "device/opencl.h"
#include "storage/ignore_list.h"

namespace quill {

struct DeviceScore {
  uint32_t ordinal;  // of the candidate
  float score;       // not limited to 0 to 1
};
// Ascending in ordinal.
using DeviceScores = std::vector<DeviceScore>;

// The candidates of a block. Rows are 7680 bytes a file, as BarkPrint has them.
struct DeviceBlock {
  std::vector<uint8_t> rows;
  std::vector<uint32_t> lengths;   // values a band
  std::vector<uint32_t> ordinals;  // in walk order

  void Add(const BarkPrint& print, uint32_t ordinal);
  void Clear();
};

// Fills `list` with the scores of the file at `path` against every earlier one that passes the
// gates and has a BarkPrint. False when precise scores are off or the file has no BarkPrint, and
// after a report when a block failed; `list` is then of no use.
[[nodiscard]] bool ProcessCL(COpenCL& device, const CAudioStore& store, const CIgnoreList& ignores,
                             const AudioSettings& settings, const std::string& path,
                             DeviceScores* list) REQUIRES(device);

// One block: appends its scores to `list`. False after a report.
[[nodiscard]] bool BlockCL(COpenCL& device, const std::vector<uint8_t>& targetRows,
                           uint32_t targetLength, const DeviceBlock& block, DeviceScores* list)
    REQUIRES(device);

// COpenCL::Process on the processor, one thread: what a device's numbers are held against. Lengths
// from 300 on only.
[[nodiscard]] bool Check(const std::vector<uint8_t>& targetRows, uint32_t targetLength,
                         const std::vector<uint8_t>& candidateRows,
                         const std::vector<uint32_t>& lengths, std::vector<float>* out);

}  // namespace quill
