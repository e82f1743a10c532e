// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/sound_print.h"

#include <algorithm>
#include <cmath>

#include "audio/bark_bands.h"
#include "audio/bark_builder.h"
#include "core/system_error.h"
#include "signal/correlation.h"
#include "signal/vector_ops.h"

namespace quill {
namespace {

constexpr size_t kFrame = 4096;
constexpr size_t kBins = kFrame / 2;  // magnitudes kept of a frame: all but the mean level
constexpr size_t kBarkHop = 2048;
constexpr size_t kBarkBlock = 4;
constexpr size_t kSkeletonSpans = 100;
constexpr size_t kParts = 11;  // of the time line, compared with their neighbours
constexpr size_t kLevelSpan = 11025;
constexpr size_t kGiveUp = 22050;
constexpr size_t kShortFrame = 2048;
constexpr size_t kShortBins = kShortFrame / 2;
constexpr size_t kShortHop = 1024;
constexpr size_t kShortLeast = 6144;
constexpr float kFlat = 1e-6F;

}  // namespace

bool CSoundPrint::LoadSound(CSampleConverter& reader, size_t least, size_t most) {
  m_samples.clear();
  m_samples.reserve(most);
  if (!reader.Decode(&m_samples, most)) return CSystemError::Bool("LoadSound", 77, false);
  if (m_samples.size() < least) return true;

  float norm = 0;
  if (VecNormL1(m_samples.data(), static_cast<int32_t>(m_samples.size()), &norm) != kVecOk)
    return CSystemError::Bool("LoadSound", 82, false);
  const float meanLevel = norm / static_cast<float>(m_samples.size());
  if (meanLevel < 1e-6F) return false;

  const size_t start = FindStart(m_samples, meanLevel);
  m_samples.erase(m_samples.begin(), m_samples.begin() + static_cast<ptrdiff_t>(start));
  if (m_samples.size() < most && !reader.Decode(&m_samples, most))
    return CSystemError::Bool("LoadSound", 146, false);
  return true;
}

size_t CSoundPrint::FindStart(std::span<const float> samples, float meanLevel) {
  constexpr double kScale = 9.0702946e-5;  // 1 / kLevelSpan
  const double least = 0.333 * static_cast<double>(meanLevel);
  const auto level = [&](size_t index) { return static_cast<double>(std::fabs(samples[index])); };

  // Sums over the level span up to p and the one ahead of it. Doubles: floats would drift over a
  // minute of entering and leaving samples.
  double current = 0;
  double earlier = 0;
  for (size_t i = 0; i < std::min(kLevelSpan, samples.size()); ++i) current += level(i);
  double bestRise = 0;
  size_t best = 0;  // 0 = none
  for (size_t p = kLevelSpan; p < samples.size(); ++p) {
    const double rise = (current - earlier) * kScale;
    if (rise > bestRise && rise > least) {
      bestRise = rise;
      best = p;
    }
    if (best != 0 && p > best + kGiveUp) break;
    const double passing = level(p - kLevelSpan);
    if (p >= 2 * kLevelSpan) earlier -= level(p - 2 * kLevelSpan);
    earlier += passing;
    current += level(p) - passing;
  }
  if (best != 0) return best - kLevelSpan;

  const auto loud = std::find_if(samples.begin(), samples.end(),
                                 [&](float sample) { return sample > 0.1F * meanLevel; });
  return static_cast<size_t>(loud - samples.begin());
}

bool CSoundPrint::PrepareFFT() {
  return m_fft.Size() == kFrame || m_fft.Init(kFrame);
}

bool CSoundPrint::CalculateFFTDeflection(CFloatVector* spectrum, CFloatVector* deflection) {
  if (m_samples.size() < kFrame) return CSystemError::Bool("CalculateFFTDeflection", 158, false);
  if (!PrepareFFT()) return CSystemError::Bool("CalculateFFTDeflection", 163, false);

  const size_t total = std::min(m_samples.size(), kLongSound);
  const size_t blocks = total / kFrame;
  std::array<CFloatVector, kParts> parts;
  std::array<uint32_t, kParts> partBlocks{};
  for (CFloatVector& part : parts) part.assign(kBins, 0);
  spectrum->assign(kBins, 0);
  for (size_t block = 0; block < blocks; ++block) {
    const float* magnitudes = nullptr;
    if (m_fft.Forward(m_samples.data() + block * kFrame, kFrame)) magnitudes = m_fft.Magnitude();
    if (!magnitudes) return CSystemError::Bool("CalculateFFTDeflection", 172, false);
    const size_t part = block * (kParts * kFrame) / total;
    VecAddInPlace(magnitudes + 1, spectrum->data(), kBins);
    VecAddInPlace(magnitudes + 1, parts[part].data(), kBins);
    ++partBlocks[part];
  }

  const float inverse = 1.0F / static_cast<float>(blocks);
  for (size_t i = 1; i <= kBins; ++i) (*spectrum)[i - 1] *= static_cast<float>(i) * inverse;

  deflection->assign(kParts - 1, 0);
  if (blocks <= kParts) return true;
  for (size_t k = 0; k < kParts; ++k) {
    if (partBlocks[k] != 0)
      VecDivConstInPlace(static_cast<float>(partBlocks[k]), parts[k].data(), kBins);
  }
  for (size_t k = 0; k + 1 < kParts; ++k)
    (*deflection)[k] = CorrelatePearson(parts[k].data(), parts[k + 1].data(), kBins);
  return true;
}

bool CSoundPrint::CalculateSkeleton(CFloatVector* skeleton) const {
  if (m_samples.size() < kFrame) return CSystemError::Bool("CalculateSkeleton", 210, false);
  skeleton->assign(kSkeletonSpans, 0);
  for (size_t span = 0; span < kSkeletonSpans; ++span) {
    const size_t begin = span * kLongSound / kSkeletonSpans;
    const size_t end = std::min((span + 1) * kLongSound / kSkeletonSpans, m_samples.size());
    if (begin >= end) break;
    const auto count = static_cast<int32_t>(end - begin);
    float mean = 0;
    float deviation = 0;
    if (VecMeanDev(m_samples.data() + begin, count, &mean, &deviation) != kVecOk)
      return CSystemError::Bool("CalculateSkeleton", 231, false);
    // From the sample deviation to that of the whole.
    const float share = static_cast<float>(count - 1) / static_cast<float>(count);
    (*skeleton)[span] = deviation * std::sqrt(share);
  }
  return true;
}

bool CSoundPrint::AnalyseSound(BarkPrint* print) {
  if (!PrepareFFT()) return CSystemError::Bool("AnalyseSound", 975, false);
  CBarkBuilder::Series series;
  CBarkBuilder builder(kBins, kBarkBlock, &series);
  for (size_t begin = 0; begin + kFrame <= m_samples.size(); begin += kBarkHop) {
    const float* magnitudes = nullptr;
    if (m_fft.Forward(m_samples.data() + begin, kFrame)) magnitudes = m_fft.Magnitude();
    if (!magnitudes) return CSystemError::Bool("AnalyseSound", 979, false);
    if (!builder.Add(magnitudes + 1)) return CSystemError::Bool("AnalyseSound", 985, false);
  }
  const size_t length = series[0].size();
  if (length == 0 || length > static_cast<size_t>(kBarkLongest))
    return CSystemError::Bool("AnalyseSound", 985, false);

  print->length = static_cast<int32_t>(length);
  print->rows.fill(0);
  for (int32_t band = 0; band < kBarkBands; ++band) {
    CFloatVector& values = series[static_cast<size_t>(band)];
    float min = 0;
    float max = 0;
    if (VecMinMax(values.data(), print->length, &min, &max) != kVecOk)
      return CSystemError::Bool("AnalyseSound", 990, false);
    if (!(max - min > kFlat)) continue;
    if (VecNormalize(values.data(), values.data(), print->length, min, max - min) != kVecOk ||
        VecFloatToBytes(values.data(), print->Band(band), print->length) != kVecOk)
      return CSystemError::Bool("AnalyseSound", 994, false);
  }
  return true;
}

bool CSoundPrint::BuildBarks(const float* data, size_t count, size_t frame, size_t block,
                             std::array<CFloatVector, kBarkBands>* out) {
  if (frame == 0 || block == 0 || frame * block * 2 > count)
    return CSystemError::Bool("BuildBarks", 808, false);
  CBarkBuilder builder(frame, block, out);
  for (size_t begin = 0; begin + frame <= count; begin += frame) {
    if (!builder.Add(data + begin)) return CSystemError::Bool("BuildBarks", 815, false);
  }
  return true;
}

bool CSoundPrint::CalculateCorrelogram(CByteVector* values) const {
  values->clear();
  if (m_samples.size() < kShortLeast) return false;
  CRealFFT fft;
  if (!fft.Init(kShortFrame)) return CSystemError::Bool("CalculateCorrelogram", 1298, false);

  constexpr auto kBands = BinsOfBands(kCorrelogramEdges, kShortBins);
  const size_t run = (m_samples.size() - kShortFrame) / kShortHop;  // frames less 1
  CFloatVector changes(kBands.size() * run);
  std::array<CFloatVector, 2> frames{CFloatVector(kShortBins), CFloatVector(kShortBins)};
  for (size_t t = 0; t <= run; ++t) {
    const float* magnitudes = nullptr;
    if (fft.Forward(m_samples.data() + t * kShortHop, kShortFrame)) magnitudes = fft.Magnitude();
    if (!magnitudes) return CSystemError::Bool("CalculateCorrelogram", 1302, false);
    CFloatVector& frame = frames[t % 2];
    VecCopy(magnitudes + 1, frame.data(), kShortBins);
    if (t == 0) continue;
    const CFloatVector& before = frames[(t - 1) % 2];
    for (size_t band = 0; band < kBands.size(); ++band) {
      const auto [begin, end] = kBands[band];
      changes[band * run + t - 1] = CorrelatePearson(before.data() + begin, frame.data() + begin,
                                                     static_cast<int32_t>(end - begin));
    }
  }
  if (!Compress(&changes, run, values))
    return CSystemError::Bool("CalculateCorrelogram", 1326, false);
  return true;
}

bool CSoundPrint::Compress(CFloatVector* changes, size_t run, CByteVector* bytes) {
  const auto n = static_cast<int32_t>(run);
  for (size_t begin = 0; begin < changes->size(); begin += run) {
    float* values = changes->data() + begin;
    float min = 0;
    float max = 0;
    if (VecMinMax(values, n, &min, &max) != kVecOk)
      return CSystemError::Bool("Compress", 1388, false);
    if (max - min > kFlat && VecNormalize(values, values, n, min, max - min) != kVecOk)
      return CSystemError::Bool("Compress", 1390, false);
  }
  bytes->resize(changes->size());
  if (VecFloatToBytes(changes->data(), bytes->data(), static_cast<int32_t>(changes->size())) !=
      kVecOk)
    return CSystemError::Bool("Compress", 1393, false);
  return true;
}

}  // namespace quill
