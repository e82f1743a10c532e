// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/image_signature.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "core/system_error.h"
#include "signal/vector_ops.h"

namespace quill {
namespace {

constexpr double kLeastDeviation = 1e-6;

bool Failed(const char* name, int32_t line, VecStatus status) {
  CSystemError::Integer(name, line, status);
  return false;
}

// Rises over the first three frequencies, where a picture's borders and light sit, stays flat, and
// falls toward the highest, which scaling and compression change.
constexpr float Weight(int32_t frequency) {
  if (frequency < 3) return static_cast<float>(frequency + 1) / 4;
  if (frequency <= 16) return 1;
  return static_cast<float>(kQuadrantSide - frequency) / 17;
}

using Quadrant = std::array<float, kQuadrantSize>;

constexpr Quadrant MakeWeights() {
  Quadrant weights{};
  for (int32_t i = 0; i < kQuadrantSide; ++i)
    for (int32_t j = 0; j < kQuadrantSide; ++j)
      weights[static_cast<size_t>(i * kQuadrantSide + j)] = std::min(Weight(i), Weight(j));
  return weights;
}
constexpr Quadrant kWeights = MakeWeights();

// Sums of grey values and of their products are whole numbers, so the covariances of a flat row are
// exactly 0.
struct RowSums {
  double mean = 0, deviation = 0;  // divisor n
};

RowSums SumRow(const float* row, int32_t n) {
  double sum = 0;
  double squares = 0;
  for (int32_t i = 0; i < n; ++i) {
    sum += row[i];
    squares += double{row[i]} * row[i];
  }
  const double spread = std::max(n * squares - sum * sum, 0.0);
  return {sum / n, std::sqrt(spread) / n};
}

double Dot(const float* a, const float* b, int32_t n) {
  double dot = 0;
  for (int32_t i = 0; i < n; ++i) dot += double{a[i]} * b[i];
  return dot;
}

// The correlation of each row with the row before, brought to mean 0 and variance 1; the first
// value is 0 and stands apart.
void InnerCalc(const float* image, int32_t width, int32_t height, std::vector<float>* out) {
  std::vector<double> values(static_cast<size_t>(height));
  const float* row = image;
  RowSums before = SumRow(row, width);
  double sum = 0;
  for (int32_t i = 1; i < height; ++i) {
    const float* const next = row + width;
    const RowSums sums = SumRow(next, width);
    const double denominator = before.deviation * sums.deviation;
    double& value = values[static_cast<size_t>(i)];
    if (denominator > kLeastDeviation)
      value = (Dot(row, next, width) / width - before.mean * sums.mean) / denominator;
    sum += value;
    row = next;
    before = sums;
  }
  const double count = height - 1;
  const double mean = height > 1 ? sum / count : 0;
  double squares = 0;
  for (size_t i = 1; i < values.size(); ++i) {
    values[i] -= mean;
    squares += values[i] * values[i];
  }
  const double deviation = height > 1 ? std::sqrt(squares / count) : 0;
  if (deviation > kLeastDeviation)
    for (double& value : values) value /= deviation;
  out->assign(values.begin(), values.end());
}

}  // namespace

bool MakeThumbnail(const PictureView& picture, float* thumbnail) {
  std::array<uint8_t, size_t{kThumbnailSize} * 4> small;
  std::array<uint8_t, kThumbnailSize> grey;
  const bool isSmall = std::min(picture.width, picture.height) < kThumbnailSide;
  if (const VecStatus status =
          isSmall ? PictureLinear(picture, small.data(), kThumbnailSide, kThumbnailSide)
                  : PictureAverage(picture, small.data(), kThumbnailSide, kThumbnailSide))
    return Failed("PrepareFile", isSmall ? 205 : 216, status);
  if (const VecStatus status =
          PictureGrey(small.data(), picture.channels, grey.data(), kThumbnailSize))
    return Failed("PrepareFile", 228, status);
  if (const VecStatus status = VecBytesToFloat(grey.data(), thumbnail, kThumbnailSize))
    return Failed("PrepareFile", 236, status);
  return true;
}

bool CalculateCorrelation(const float* image, int32_t width, int32_t height,
                          ImageContent* content) {
  if (!image || width < 1 || height < 1)
    return CSystemError::Bool("CalculateCorrelation", 88, false);
  InnerCalc(image, width, height, &content->rows);
  std::vector<float> turned(static_cast<size_t>(width) * static_cast<size_t>(height));
  if (const VecStatus status = PictureTranspose(image, width, height, turned.data()))
    return Failed("CalculateCorrelation", 103, status);
  InnerCalc(turned.data(), height, width, &content->columns);
  return true;
}

bool CalculateQuadrants(const float* thumbnail, ImageExperimental* experimental) {
  static_assert(kThumbnailSide == kTransformSide && kQuadrantSide == kTransformSide / 2 + 1);
  std::array<float, kThumbnailSize> magnitudes;
  if (const VecStatus status = PictureMagnitudes(thumbnail, magnitudes.data()))
    return Failed("PrepareFile", 262, status);

  Quadrant first;
  Quadrant second;
  for (int32_t i = 0; i < kQuadrantSide; ++i) {
    const float* const row = magnitudes.data() + ptrdiff_t{i} * kTransformSide;
    for (int32_t j = 0; j < kQuadrantSide; ++j) {
      const auto at = static_cast<size_t>(i * kQuadrantSide + j);
      first[at] = std::log(row[j] + 1.0f) * kWeights[at];
      second[at] = std::log(row[(kTransformSide - j) % kTransformSide] + 1.0f) * kWeights[at];
    }
  }
  std::vector<uint8_t> bytes;
  if (!Compress(first, &bytes)) return CSystemError::Bool("PrepareFile", 290, false);
  experimental->quadrant1.Assign(bytes);
  if (!Compress(second, &bytes)) return CSystemError::Bool("PrepareFile", 309, false);
  experimental->quadrant2.Assign(bytes);
  return true;
}

bool Compress(std::span<float> values, std::vector<uint8_t>* bytes) {
  const auto n = static_cast<int32_t>(values.size());
  bytes->assign(values.size(), 0);
  float least = 0;
  float greatest = 0;
  if (const VecStatus status = VecMinMax(values.data(), n, &least, &greatest))
    return Failed("Compress", 31, status);
  if (double{greatest} - double{least} > 1e-6) {
    if (const VecStatus status =
            VecNormalize(values.data(), values.data(), n, least, greatest - least))
      return Failed("Compress", 37, status);
  }
  if (const VecStatus status = VecFloatToBytes(values.data(), bytes->data(), n))
    return Failed("Compress", 42, status);
  return true;
}

}  // namespace quill
