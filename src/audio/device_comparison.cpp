// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/device_comparison.h"

#include <memory>

#include "audio/compare_gates.h"
#include "audio/precise.h"
#include "core/system_error.h"
#include "device/block_shape.h"

namespace quill {

// A print is sent as it lies in memory.
static_assert(kRowBands == kBarkBands && kRowBytes == kBarkStride && kRowLongest == kBarkLongest &&
              kRowPattern == kBarkPattern && kRowOffsets == kBarkOffsets &&
              sizeof(BarkPrint::rows) == kFileBytes);

void DeviceBlock::Add(const BarkPrint& print, uint32_t ordinal) {
  rows.insert(rows.end(), print.rows.begin(), print.rows.end());
  lengths.push_back(static_cast<uint32_t>(print.length));
  ordinals.push_back(ordinal);
}

void DeviceBlock::Clear() {
  rows.clear();
  lengths.clear();
  ordinals.clear();
}

bool ProcessCL(COpenCL& device, const CAudioStore& store, const CIgnoreList& ignores,
               const AudioSettings& settings, const std::string& path, DeviceScores* list) {
  if (list == nullptr) return CSystemError::Bool("ProcessCL", 1048, false);
  list->clear();
  AudioEntry target;
  if (!(settings.mode & AudioSettings::kPrecise) || !store.FindEntry(path, &target) || !target.bark)
    return false;
  const std::vector<uint8_t> targetRows(target.bark->rows.begin(), target.bark->rows.end());
  const auto targetLength = static_cast<uint32_t>(target.bark->length);

  const AudioGate gate = StoreGate(settings, target);
  DeviceBlock block;
  const bool walked = store.ForEachBefore(gate, target.ordinal, [&](const AudioEntry& candidate) {
    if (!candidate.bark || IsPairCut(settings, ignores, target, candidate)) return true;
    block.Add(*candidate.bark, candidate.ordinal);
    if (block.ordinals.size() < kBlockCandidates) return true;
    if (!BlockCL(device, targetRows, targetLength, block, list))
      return CSystemError::Bool("ProcessCL", 1111, false);
    block.Clear();
    return true;
  });
  if (!walked) return false;
  if (!block.ordinals.empty() && !BlockCL(device, targetRows, targetLength, block, list))
    return CSystemError::Bool("ProcessCL", 1119, false);
  return true;
}

bool BlockCL(COpenCL& device, const std::vector<uint8_t>& targetRows, uint32_t targetLength,
             const DeviceBlock& block, DeviceScores* list) {
  if (list == nullptr) return CSystemError::Bool("BlockCL", 1027, false);
  std::vector<float> raw;
  if (!device.Process(targetRows, targetLength, block.rows, block.lengths, &raw))
    return CSystemError::Bool("BlockCL", 1030, false);
  const size_t count = block.ordinals.size();
  if (raw.size() != 4 * count) return CSystemError::Bool("BlockCL", 1031, false);
  for (size_t i = 0; i < count; ++i) {
    const float* const first = raw.data() + 2 * i;
    const float* const second = first + 2 * count;
    const float peakMean = first[0] + second[0];
    const float curvePeak = first[1] + second[1];
    const float agreement = double{peakMean} > 1e-6 ? curvePeak / peakMean : 0;
    list->push_back({block.ordinals[i], curvePeak * 0.5F * agreement});
  }
  return true;
}

bool Check(const std::vector<uint8_t>& targetRows, uint32_t targetLength,
           const std::vector<uint8_t>& candidateRows, const std::vector<uint32_t>& lengths,
           std::vector<float>* out) {
  const size_t count = candidateRows.size() / kFileBytes;
  const auto target = std::make_unique<BarkData>(), candidate = std::make_unique<BarkData>();
  if (targetRows.size() < kFileBytes ||
      !CheckPrecalculate(targetRows.data(), static_cast<int32_t>(targetLength), target.get()))
    return CSystemError::Bool("Check", 1131, false);
  out->resize(4 * count);
  for (size_t i = 0; i < count; ++i) {
    if (i >= lengths.size() ||
        !CheckPrecalculate(candidateRows.data() + i * kFileBytes, static_cast<int32_t>(lengths[i]),
                           candidate.get()))
      return CSystemError::Bool("Check", 1136, false);
    SweepResult first, second;
    if (!SweepBarks(*candidate, *target, &first)) return CSystemError::Bool("Check", 1144, false);
    if (!SweepBarks(*target, *candidate, &second)) return CSystemError::Bool("Check", 1145, false);
    float* const pair = out->data() + 2 * i;
    pair[0] = first.peakMean;
    pair[1] = first.curvePeak;
    pair[2 * count] = second.peakMean;
    pair[2 * count + 1] = second.curvePeak;
  }
  return true;
}

}  // namespace quill
