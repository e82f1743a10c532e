// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/sound/sample_output.h"

#include <array>
#include <cstring>

namespace quill::decoder {

namespace {

constexpr int kMaxChannels = 64;
constexpr int kMaxSampleRate = 8 * 768000;  // no real file has more; damaged headers do

wire::ChannelsFormat TargetChannels(int count) {
  switch (count) {
    case 1:
      return wire::kMono;
    case 6:
      return wire::kSixChannels;
    case 8:
      return wire::kEightChannels;
    default:
      return wire::kStereo;
  }
}

int ChannelCount(wire::ChannelsFormat channels) {
  static constexpr std::array kCounts{0, 1, 2, 6, 8};
  return kCounts[channels];
}

// Even channels to the left, odd ones to the right: for channels of which nobody tells the place.
bool SetEvenOddMatrix(SwrContext* converter, int channels) {
  std::vector<double> matrix(static_cast<size_t>(channels) * 2);
  for (int channel = 0; channel < channels; ++channel)
    matrix[static_cast<size_t>(channel % 2 * channels + channel)] = 2.0 / (channels + 1);
  return swr_set_matrix(converter, matrix.data(), channels) == 0;
}

}  // namespace

bool CSampleOutput::Init(const SourceForm& source) {
  const int channels = source.layout->nb_channels;
  if (channels < 1 || channels > kMaxChannels) return false;
  if (source.sampleRate < 1 || source.sampleRate > kMaxSampleRate) return false;
  const wire::ChannelsFormat targetChannels = TargetChannels(channels);
  const int targetCount = ChannelCount(targetChannels);
  const AVSampleFormat step = source.deep ? AV_SAMPLE_FMT_FLT : AV_SAMPLE_FMT_S16;
  m_widen = targetChannels == wire::kMono && !source.deep;
  m_format.dataFormat = source.deep || m_widen ? wire::kFloat32 : wire::kSigned16;
  m_format.channelsFormat = targetChannels;
  m_format.sampleRate = static_cast<uint32_t>(source.sampleRate);
  m_frameSize =
      static_cast<uint32_t>(targetCount) * (m_format.dataFormat == wire::kFloat32 ? 4u : 2u);

  AVChannelLayout from{};
  AVChannelLayout to{};
  if (source.layout->order == AV_CHANNEL_ORDER_NATIVE)
    av_channel_layout_copy(&from, source.layout);
  else
    av_channel_layout_default(&from, channels);
  if (targetCount == channels)
    av_channel_layout_copy(&to, &from);
  else
    av_channel_layout_default(&to, targetCount);

  const auto open = [&](bool evenOdd) {
    SwrContext* converter = nullptr;
    const int result = swr_alloc_set_opts2(&converter, &to, step, source.sampleRate, &from,
                                           source.type, source.sampleRate, 0, nullptr);
    m_converter.reset(converter);
    if (result < 0) return false;
    // Mixing never overloads, whatever the type.
    av_opt_set_double(converter, "rematrix_maxval", 1.0, 0);
    if (evenOdd && !SetEvenOddMatrix(converter, channels)) return false;
    return swr_init(converter) == 0;
  };
  const bool opened = open(false) || (targetCount != channels && open(true));
  av_channel_layout_uninit(&from);
  av_channel_layout_uninit(&to);
  return opened;
}

void CSampleOutput::Convert(const AVFrame& frame, uint32_t first, uint32_t count, uint8_t* target) {
  if (!m_widen) {
    ConvertSamples(frame, first, count, target);
    return;
  }
  m_rounded.resize(count);
  ConvertSamples(frame, first, count, reinterpret_cast<uint8_t*>(m_rounded.data()));
  auto* samples = reinterpret_cast<float*>(target);
  for (uint32_t i = 0; i < count; ++i) samples[i] = static_cast<float>(m_rounded[i]) / 32768.0f;
}

void CSampleOutput::ConvertSamples(const AVFrame& frame, uint32_t first, uint32_t count,
                                   uint8_t* target) {
  const auto type = static_cast<AVSampleFormat>(frame.format);
  const bool planar = av_sample_fmt_is_planar(type) != 0;
  const auto sampleBytes = static_cast<size_t>(av_get_bytes_per_sample(type));
  const auto channels = static_cast<size_t>(frame.ch_layout.nb_channels);
  const size_t offset = first * sampleBytes * (planar ? 1 : channels);
  std::array<const uint8_t*, kMaxChannels> planes{};
  for (size_t i = 0; i < (planar ? channels : 1); ++i) planes[i] = frame.extended_data[i] + offset;
  const auto frames = static_cast<int>(count);
  const int done = swr_convert(m_converter.get(), &target, frames, planes.data(), frames);
  if (done == frames) return;
  const size_t targetBytes = m_widen ? sizeof(int16_t) : m_frameSize;
  std::memset(target, 0, count * targetBytes);
}

}  // namespace quill::decoder
