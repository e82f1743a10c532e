// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoding/sample_converter.h"

#include <algorithm>
#include <cstdio>

#include "core/log.h"
#include "core/system_error.h"
#include "decoding/sample_scale.h"

namespace quill {
namespace {

using State = CSampleConverter::State;
using Taken = CSampleConverter::Taken;
using Step = CSampleConverter::Step;

// One mono value of a frame. The fourth of six or eight channels is the low-frequency channel: a
// fifth of the weight of the others. Moving a scale, a power of two, between factors changes no
// bit.
template <class Sample, uint32_t kChannels>
inline float MonoAt(const uint8_t* source, size_t frame) {
  constexpr float kScale = kSampleScale<Sample>;
  const uint8_t* const samples = source + frame * kChannels * sizeof(Sample);
  const auto a = [samples](size_t channel) { return SampleAt<Sample>(samples, channel); };
  if constexpr (kChannels == 1) {
    return a(0) * kScale;
  } else if constexpr (kChannels == 2) {
    return (a(0) + a(1)) * (0.5F * kScale);
  } else if constexpr (kChannels == 6) {
    return ((a(0) + a(1) + a(2) + a(4) + a(5)) * 0.192F + a(3) * 0.038F) * kScale;
  } else {
    return ((a(0) + a(1) + a(2) + a(4) + a(5) + a(6) + a(7)) * 0.139F + a(3) * 0.028F) * kScale;
  }
}

// Averages groups of `ratio` frames. Compiled for the commonest ratios, where the compiler turns
// the inner loop into vector code; kRatio 0 takes the ratio from the state.
template <class Sample, uint32_t kChannels, uint32_t kRatio>
Taken AverageGroups(State& state, const uint8_t* source, size_t frames, float* target,
                    size_t room) {
  const uint32_t ratio = kRatio ? kRatio : state.ratio;
  const float scale = state.scale;
  size_t frame = 0;
  size_t written = 0;
  const auto add = [&] {
    state.sum += MonoAt<Sample, kChannels>(source, frame++);
    if (++state.count < ratio) return;
    target[written++] = state.sum * scale;
    state.sum = 0;
    state.count = 0;
  };

  while (state.count != 0 && frame < frames && written < room) add();
  const size_t groups = std::min((frames - frame) / ratio, room - written);
  for (size_t group = 0; group < groups; ++group) {
    float sum = 0;
    for (uint32_t i = 0; i < ratio; ++i)
      sum += MonoAt<Sample, kChannels>(source, frame + group * ratio + i);
    target[written + group] = sum * scale;
  }
  frame += groups * ratio;
  written += groups;
  // NOLINTNEXTLINE(bugprone-infinite-loop): add() moves both on.
  while (frame < frames && written < room) add();
  return {frame, written};
}

// A box filter that shares the frame on the border of two output samples between them.
template <class Sample, uint32_t kChannels>
Taken FilterBox(State& state, const uint8_t* source, size_t frames, float* target, size_t room) {
  float sum = state.sum;
  float position = state.position;
  float last = state.last;
  uint32_t count = state.count;
  size_t frame = 0;
  size_t written = 0;
  while (frame < frames && written < room) {
    const float x = MonoAt<Sample, kChannels>(source, frame);
    ++count;
    if (position > 1) {
      last = x;
      sum += x;
      ++frame;
      position -= 1;
    } else {
      sum = position * x + (1 - position) * last + sum;
      target[written++] = sum / static_cast<float>(count);
      position += state.floatRatio;
      if (position >= 1) {
        last = x;
        ++frame;
        position -= 1;
      }
      sum = 0;
      count = 0;
    }
  }
  state.sum = sum;
  state.position = position;
  state.last = last;
  state.count = count;
  return {frame, written};
}

struct ConverterRow {
  uint32_t dataFormat;
  uint32_t channelsFormat;
  Step copy;   // ratio 1
  Step halve;  // ratio 2
  Step whole;  // any whole ratio
  Step other;
};

template <class Sample, uint32_t kChannels>
constexpr ConverterRow MakeRow(uint32_t dataFormat, uint32_t channelsFormat) {
  return {dataFormat,
          channelsFormat,
          AverageGroups<Sample, kChannels, 1>,
          AverageGroups<Sample, kChannels, 2>,
          AverageGroups<Sample, kChannels, 0>,
          FilterBox<Sample, kChannels>};
}

constexpr ConverterRow kRows[] = {
    MakeRow<int8_t, 1>(wire::kSigned8, wire::kMono),
    MakeRow<int16_t, 1>(wire::kSigned16, wire::kMono),
    MakeRow<float, 1>(wire::kFloat32, wire::kMono),
    MakeRow<int8_t, 2>(wire::kSigned8, wire::kStereo),
    MakeRow<int16_t, 2>(wire::kSigned16, wire::kStereo),
    MakeRow<float, 2>(wire::kFloat32, wire::kStereo),
    MakeRow<int8_t, 6>(wire::kSigned8, wire::kSixChannels),
    MakeRow<int16_t, 6>(wire::kSigned16, wire::kSixChannels),
    MakeRow<float, 6>(wire::kFloat32, wire::kSixChannels),
    MakeRow<int8_t, 8>(wire::kSigned8, wire::kEightChannels),
    MakeRow<int16_t, 8>(wire::kSigned16, wire::kEightChannels),
    MakeRow<float, 8>(wire::kFloat32, wire::kEightChannels),
};

void LogMismatch(size_t offered, size_t room, size_t taken, size_t written, uint32_t frameSize,
                 float floatRatio) {
  char text[160];
  std::snprintf(text, sizeof text, "FATAL decode: %zu, %zu, %zu, %zu", offered, room, taken,
                written);
  CLog::Instance().Line(text);
  std::snprintf(text, sizeof text, "FATAL decode2: %u, %f", frameSize,
                static_cast<double>(floatRatio));
  CLog::Instance().Line(text);
}

}  // namespace

bool CSampleConverter::Init(CAudioDecoder& client, uint32_t targetRate) {
  if (m_convert) return CSystemError::Bool("Init", 44, false);
  m_state = {};
  AudioFormat format;
  if (client.GetFormat(&format) != kDecodeOk) return CSystemError::Bool("Init", 51, false);
  if (format.sampleRate == 0 || targetRate == 0) return CSystemError::Bool("Init", 55, false);
  const auto* const row = std::find_if(std::begin(kRows), std::end(kRows), [&](const auto& each) {
    return each.dataFormat == format.dataFormat && each.channelsFormat == format.channelsFormat;
  });
  if (row == std::end(kRows)) return CSystemError::Bool("Init", 68, false);

  m_client = &client;
  m_sourceFrameSize = FrameSize(format);
  m_state.floatRatio = static_cast<float>(format.sampleRate) / static_cast<float>(targetRate);
  if (format.sampleRate % targetRate == 0) {
    m_state.ratio = format.sampleRate / targetRate;
    m_state.scale = 1 / static_cast<float>(m_state.ratio);
    m_convert = m_state.ratio == 1 ? row->copy : m_state.ratio == 2 ? row->halve : row->whole;
  } else {
    m_state.position = m_state.floatRatio;
    m_convert = row->other;
  }
  return true;
}

bool CSampleConverter::Decode(CFloatVector* samples, size_t wanted) {
  if (!m_convert) return CSystemError::Bool("Decode", 92, false);
  while (!m_ended && samples->size() < wanted) {
    if (m_blockOffset == m_blockSize) {
      m_blockOffset = 0;
      if (m_client->GetData(&m_block, &m_blockSize) != kDecodeOk)
        return CSystemError::Bool("Decode", 101, false);
      if (m_blockSize == 0) {
        m_ended = true;
        return true;
      }
    }
    const uint32_t left = m_blockSize - m_blockOffset;
    const size_t frames = left / m_sourceFrameSize;
    if (frames == 0) return CSystemError::Bool("Decode", 113, false);

    const size_t length = samples->size();
    const size_t estimate =
        static_cast<size_t>(static_cast<float>(frames + 2) / m_state.floatRatio) + 2;
    const size_t room = std::min(estimate, wanted - length);
    samples->resize(length + room);
    const Taken taken =
        m_convert(m_state, m_block + m_blockOffset, frames, samples->data() + length, room);
    const size_t bytes = taken.frames * m_sourceFrameSize;
    m_blockOffset += static_cast<uint32_t>(bytes);
    samples->resize(length + taken.samples);
    if (bytes < left && samples->size() < wanted) {
      LogMismatch(left, room * sizeof(float), bytes, taken.samples * sizeof(float),
                  m_sourceFrameSize, m_state.floatRatio);
    }
  }
  return true;
}

}  // namespace quill
