// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoding/channel_splitter.h"

#include "core/system_error.h"
#include "decoding/sample_scale.h"

namespace quill {
namespace {

template <class Sample>
void Copy(const uint8_t* block, uint32_t size, CFloatVector* left) {
  left->resize(size / sizeof(Sample));
  for (size_t i = 0; i < left->size(); ++i)
    (*left)[i] = SampleAt<Sample>(block, i) * kSampleScale<Sample>;
}

template <class Sample>
void Split(const uint8_t* block, uint32_t size, CFloatVector* left, CFloatVector* right) {
  const size_t frames = size / (2 * sizeof(Sample));
  left->resize(frames);
  right->resize(frames);
  for (size_t i = 0; i < frames; ++i) {
    (*left)[i] = SampleAt<Sample>(block, 2 * i) * kSampleScale<Sample>;
    (*right)[i] = SampleAt<Sample>(block, 2 * i + 1) * kSampleScale<Sample>;
  }
}

}  // namespace

int32_t GetData(CAudioDecoder& client, CFloatVector* left, CFloatVector* right) {
  if (!left || !right) return CSystemError::Integer("GetData", 203, kDecodeBadArgument);
  left->clear();
  right->clear();
  AudioFormat format;
  if (const int32_t result = client.GetFormat(&format); result != kDecodeOk)
    return CSystemError::Integer("GetData", 209, result);
  const uint8_t* block = nullptr;
  uint32_t size = 0;
  if (const int32_t result = client.GetData(&block, &size); result != kDecodeOk)
    return CSystemError::Integer("GetData", 215, result);

  if (format.channelsFormat == wire::kMono && format.dataFormat == wire::kFloat32) {
    Copy<float>(block, size, left);
  } else if (format.channelsFormat == wire::kMono && format.dataFormat == wire::kSigned16) {
    Copy<int8_t>(block, size, left);  // byte by byte: levels and lengths rest on it
  } else if (format.channelsFormat == wire::kStereo && format.dataFormat == wire::kFloat32) {
    Split<float>(block, size, left, right);
  } else if (format.channelsFormat == wire::kStereo && format.dataFormat == wire::kSigned16) {
    Split<int16_t>(block, size, left, right);
  } else if (format.channelsFormat == wire::kStereo && format.dataFormat == wire::kSigned8) {
    Split<int8_t>(block, size, left, right);
  } else {
    return CSystemError::Integer("GetData", 238, kDecodeBadArgument);
  }
  return kDecodeOk;
}

}  // namespace quill
