#include "audio/device_comparison.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

#include "audio/sound_print.h"
#include "device/block_shape.h"
#include "support/media_maker.h"
#include "support/test_device.h"

namespace quill {
namespace {

using Random = std::mt19937;

// What the kernels' numbers may differ by from the processor's: the last bits of a float.
constexpr float kTolerance = 2e-5F;

struct Block {
  std::vector<uint8_t> target, candidates;
  uint32_t targetLength = kRowLongest;
  std::vector<uint32_t> lengths;
};

using RowFiller = void (*)(Random&, uint8_t* row, int32_t length);

void Noise(Random& random, uint8_t* row, int32_t length) {
  std::generate_n(row, length, [&] { return static_cast<uint8_t>(random()); });
}

// Slow drift, stretches that stand still, steps of one near either end: where sums of floats would
// lose what matters.
void Drift(Random& random, uint8_t* row, int32_t length) {
  const int32_t kind = static_cast<int32_t>(random() % 4);
  int32_t value = static_cast<int32_t>(random() % 256);
  for (int32_t i = 0; i < length; ++i) {
    if (kind == 0) value += static_cast<int32_t>(random() % 21) - 10;
    if (kind == 1) value = 254 + static_cast<int32_t>(random() % 2);
    if (kind == 2 && random() % 97 == 0) value = static_cast<int32_t>(random() % 256);
    value = std::clamp(value, 0, 255);
    row[i] = static_cast<uint8_t>(value);
  }
}

void AddFile(Random& random, RowFiller fill, uint32_t length, std::vector<uint8_t>* rows) {
  std::array<uint8_t, kFileBytes> file{};
  for (size_t band = 0; band < kRowBands; ++band)
    fill(random, file.data() + band * kRowBytes, static_cast<int32_t>(length));
  rows->insert(rows->end(), file.begin(), file.end());
}

Block RandomBlock(Random& random, RowFiller fill, uint32_t targetLength,
                  std::vector<uint32_t> lengths) {
  Block block;
  block.targetLength = targetLength;
  AddFile(random, fill, targetLength, &block.target);
  for (const uint32_t length : lengths) AddFile(random, fill, length, &block.candidates);
  // Some share a stretch with the target, at a place of their own.
  for (size_t i = 0; i < lengths.size(); i += 3) {
    const uint32_t most = std::min(lengths[i], targetLength);
    const uint32_t shift =
        lengths[i] > most ? static_cast<uint32_t>(random()) % (lengths[i] - most) : 0;
    for (size_t band = 0; band < kRowBands; ++band)
      std::copy_n(block.target.data() + band * kRowBytes, most,
                  block.candidates.data() + i * kFileBytes + band * kRowBytes + shift);
  }
  block.lengths = std::move(lengths);
  return block;
}

class DeviceComparison : public testing::Test {
 protected:
  // One device for all tests: its kernels are built once.
  static void SetUpTestSuite() {
    s_control = new test::CDeviceControl;
    s_device = new COpenCL(FAKE_OPENCL);
  }
  static void TearDownTestSuite() {
    delete s_device;
    EXPECT_EQ((*s_control)->objects, 0) << "something was not released";
    delete s_control;
  }

  static void ExpectCheck(const Block& block, uint64_t workSize) {
    SCOPED_TRACE(testing::Message() << "work size " << workSize);
    ASSERT_TRUE(s_device->Reinit(test::DeviceName(*s_device), workSize));
    ASSERT_TRUE(test::AcquireSoon(*s_device));
    std::vector<float> found, expected;
    const bool done = s_device->Process(block.target, block.targetLength, block.candidates,
                                        block.lengths, &found);
    s_device->Release();
    ASSERT_TRUE(done);
    ASSERT_TRUE(
        Check(block.target, block.targetLength, block.candidates, block.lengths, &expected));
    ASSERT_EQ(found.size(), expected.size());
    for (size_t i = 0; i < found.size(); ++i)
      ASSERT_NEAR(found[i], expected[i], kTolerance)
          << "value " << i << ", candidate of " << block.lengths[i / 2 % block.lengths.size()]
          << ", target of " << block.targetLength;
  }

  static test::CDeviceControl* s_control;
  static COpenCL* s_device;
};

test::CDeviceControl* DeviceComparison::s_control = nullptr;
COpenCL* DeviceComparison::s_device = nullptr;

TEST_F(DeviceComparison, EveryWorkSizeGivesTheSweepsOfTheProcessor) {
  Random random(1);
  const Block noise = RandomBlock(random, Noise, 637, {637, 300, 301, 500, 637, 636});
  const Block drift = RandomBlock(random, Drift, 611, {637, 300, 301, 500, 637, 636});
  for (const uint64_t size : {1, 2, 7, 31, 32, 33, 64, 100, 256, 1024, 100000}) {
    ExpectCheck(noise, size);
    ExpectCheck(drift, size);
  }
}

TEST_F(DeviceComparison, EveryLength) {
  Random random(2);
  for (const uint32_t target : {300U, 301U, 402U, 637U}) {
    std::vector<uint32_t> lengths;
    for (uint32_t length = 300; length <= 637; length += 1 + random() % 9)
      lengths.push_back(length);
    lengths.push_back(637);
    ExpectCheck(RandomBlock(random, Drift, target, lengths), 64);
    ExpectCheck(RandomBlock(random, Noise, target, lengths), 64);
  }
}

}  // namespace
}  // namespace quill
