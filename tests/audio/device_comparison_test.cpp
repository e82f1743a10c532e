// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/device_comparison.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <random>
#include <thread>

#include "audio/audio_comparer.h"
#include "device/block_shape.h"
#include "storage/report_log.h"
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
    s_device = new test::CTestDevice;
  }
  static void TearDownTestSuite() {
    delete s_device;
    EXPECT_EQ((*s_control)->objects, 0) << "something was not released";
    delete s_control;
  }

  // What the device makes of it; nothing after a failed test.
  static std::vector<float> Processed(const Block& block, uint64_t workSize = 64) {
    std::vector<float> found;
    EXPECT_TRUE(s_device->Reinit(test::DeviceName(*s_device), workSize));
    if (!test::AcquireSoon(*s_device)) {
      ADD_FAILURE() << "no device";
      return found;
    }
    EXPECT_TRUE(s_device->Process(block.target, block.targetLength, block.candidates, block.lengths,
                                  &found));
    s_device->Release();
    return found;
  }
  static void ExpectCheck(const Block& block, uint64_t workSize) {
    SCOPED_TRACE(testing::Message() << "work size " << workSize);
    const std::vector<float> found = Processed(block, workSize);
    std::vector<float> expected;
    ASSERT_TRUE(
        Check(block.target, block.targetLength, block.candidates, block.lengths, &expected));
    ASSERT_EQ(found.size(), expected.size());
    for (size_t i = 0; i < found.size(); ++i)
      ASSERT_NEAR(found[i], expected[i], kTolerance)
          << "value " << i << ", candidate of " << block.lengths[i / 2 % block.lengths.size()]
          << ", target of " << block.targetLength;
  }

  static test::CDeviceControl* s_control;
  static test::CTestDevice* s_device;
};

test::CDeviceControl* DeviceComparison::s_control = nullptr;
test::CTestDevice* DeviceComparison::s_device = nullptr;

TEST_F(DeviceComparison, EveryWorkSizeGivesTheSweepsOfTheProcessor) {
  Random random(1);
  const Block noise = RandomBlock(random, Noise, 637, {637, 300, 301, 500, 637, 636});
  const Block drift = RandomBlock(random, Drift, 611, {637, 300, 301, 500, 637, 636});
  for (const uint64_t size : {1, 5, 31, 33, 64, 100, 256, 100000}) {
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

TEST_F(DeviceComparison, ADeviceWithoutImagesTakesBuffers) {
  Random random(3);
  const Block block = RandomBlock(random, Drift, 590, {637, 300, 411});
  s_device->Disable();
  (*s_control)->noImages = true;
  ExpectCheck(block, 64);
  ExpectCheck(block, 5);
  s_device->Disable();
  s_control->Reset();
}

TEST_F(DeviceComparison, TooShortAndFlatSeriesScoreNothing) {
  Random random(4);
  const auto flat = [](Random&, uint8_t* row, int32_t length) { std::fill_n(row, length, 255); };
  std::vector<std::pair<Block, bool>> blocks;  // and whether all of it scores nothing
  blocks.emplace_back(RandomBlock(random, Noise, 637, {637, 299, 637, 1, 0, 637}), false);
  blocks.emplace_back(RandomBlock(random, Noise, 299, {637, 299}), true);
  blocks.emplace_back(RandomBlock(random, flat, 637, {637, 300}), true);
  for (const auto& [block, all] : blocks) {
    const std::vector<float> out = Processed(block);
    ASSERT_EQ(out.size(), 4 * block.lengths.size());
    for (size_t i = 0; i < out.size(); ++i)
      EXPECT_EQ(out[i] == 0, all || block.lengths[i / 2 % block.lengths.size()] < 300) << i;
  }
}

struct Pair {
  std::string first, second;
  float precise;
};

// An engine whose files are put into the store by hand, all with prints that are alike in part.
class CEngine : public CAudioPairSink {
 public:
  explicit CEngine(COpenCL* device)
      : m_comparer(m_decoder, m_store, m_ignores, m_settings, *this, device) {
    m_settings.Configure(false, false, true, true, true, 1, 1, 0.02F, 0.7F);
  }
  bool LockedAdd(CAudioPairSink::Found pair) override {
    m_pairs.push_back({pair.first->path, pair.second->path, pair.scores[AudioScores::kPrecise]});
    return true;
  }
  void File(const std::string& path, const CRef<const BarkPrint>& bark, uint8_t group = 0,
            uint32_t durationMs = 60000) {
    auto item = MakeRef<ItemBase>();
    item->path = path;
    item->durationMs = durationMs;
    AudioEntry parts;
    parts.info = item;
    parts.bark = bark;
    ASSERT_EQ(m_store.File(path, parts, group, false), CAudioStore::Filed::kYes);
  }

  CDecoderTable m_table;
  CProcessLink m_link{m_table, "/no decoder"};
  CAudioDecoder m_decoder{m_link};
  CCacheStore m_cache;
  CScanCounters m_counters;
  CAudioStore m_store{m_cache, m_counters};
  CIgnoreList m_ignores;
  AudioSettings m_settings;
  std::vector<Pair> m_pairs;
  CAudioComparer m_comparer;
};

CRef<const BarkPrint> MakePrint(Random& random, RowFiller fill, int32_t length) {
  auto print = MakeRef<BarkPrint>();
  print->length = length;
  for (int32_t band = 0; band < kBarkBands; ++band) fill(random, print->Band(band), length);
  return print;
}

class DeviceScan : public DeviceComparison {
 protected:
  DeviceScan() {
    EXPECT_TRUE(s_device->Reinit(test::DeviceName(*s_device), 64));
    s_device->WaitForStart();
  }
  ~DeviceScan() override { s_control->Reset(); }
  // Since the last time.
  size_t UsesThatFailed() {
    const std::string log = m_log.TakeText(), text = "OpenCL use failed";
    size_t count = 0;
    for (size_t at = log.find(text); at != log.npos; at = log.find(text, at + 1)) ++count;
    return count;
  }

  test::CReportLog m_log;
};

TEST_F(DeviceScan, BlocksOfAThousand) {
  Random random(5);
  std::vector<CRef<const BarkPrint>> prints;
  for (int i = 0; i < 7; ++i) prints.push_back(MakePrint(random, Noise, 300 + i));
  struct Case {
    size_t candidates;
    int blocks;
  };
  for (const Case c : {Case{0, 0}, {1, 1}, {999, 1}, {1000, 1}, {1001, 2}, {2500, 3}}) {
    SCOPED_TRACE(c.candidates);
    CEngine engine(nullptr);
    for (size_t i = 0; i < c.candidates; ++i)
      engine.File("/" + std::to_string(i), prints[i % prints.size()]);
    engine.File("/target", prints[0]);
    // Far from failing, it counts.
    s_control->FailAfter("clEnqueueReadBuffer", 1000);
    if (!test::AcquireSoon(*s_device)) FAIL();
    DeviceScores scores;
    const bool done = ProcessCL(*s_device, engine.m_store, engine.m_ignores, engine.m_settings,
                                "/target", &scores);
    s_device->Release();
    ASSERT_TRUE(done);
    EXPECT_EQ(1000 - (*s_control)->passes, c.blocks);
    ASSERT_EQ(scores.size(), c.candidates);
    for (size_t i = 0; i < scores.size(); ++i) {
      EXPECT_EQ(scores[i].ordinal, i + 1);
      if (i % prints.size() == 0)
        ASSERT_NEAR(scores[i].score, 1, 1e-4) << i;
      else
        ASSERT_NEAR(scores[i].score, scores[i % prints.size()].score, 1e-6) << i;
    }
  }
}

// Whatever becomes of the device, a scan finds the same pairs with the same scores.
TEST_F(DeviceScan, SamePairsWithAndWithoutADevice) {
  Random random(6);
  struct File {
    CRef<const BarkPrint> bark;
    uint8_t group;
    uint32_t durationMs;
  };
  std::vector<File> files;
  for (uint32_t i = 0; i < 60; ++i) {
    const auto group = static_cast<uint8_t>(i % 11 == 0 ? 1 : 0);
    const uint32_t durationMs = i % 13 == 0 ? 600000 : 60000 + i;
    const int32_t length = 300 + static_cast<int32_t>(random() % 338);
    CRef<const BarkPrint> bark;  // every ninth has none
    if (i % 9 != 4) bark = i % 5 == 3 ? files[i - 3].bark : MakePrint(random, Drift, length);
    files.push_back({bark, group, durationMs});
  }
  const auto scan = [&](COpenCL* device) {
    CEngine engine(device);
    engine.m_ignores.AddIgnore("/0", "/3");
    for (size_t i = 0; i < files.size(); ++i) {
      const std::string path = "/" + std::to_string(i);
      engine.File(path, files[i].bark, files[i].group, files[i].durationMs);
      EXPECT_TRUE(engine.m_comparer.CompareFile(path));
    }
    return engine.m_pairs;
  };
  const std::vector<Pair> expected = scan(nullptr);
  ASSERT_GT(expected.size(), 100U);
  const auto expectSame = [&](const std::vector<Pair>& found) {
    ASSERT_EQ(found.size(), expected.size());
    for (size_t i = 0; i < found.size(); ++i) {
      EXPECT_EQ(found[i].first, expected[i].first);
      EXPECT_EQ(found[i].second, expected[i].second);
      EXPECT_NEAR(found[i].precise, expected[i].precise, 1e-4);
    }
  };
  expectSame(scan(s_device));
  const auto printless = static_cast<size_t>(
      std::count_if(files.begin(), files.end(), [](const File& file) { return !file.bark; }));
  EXPECT_EQ(UsesThatFailed(), printless);
  // It fails in the middle of a file, and for good.
  s_control->FailAfter("clSetKernelArg", 1000);
  expectSame(scan(s_device));
  EXPECT_GT(UsesThatFailed(), printless + 10);
  s_control->Reset();
  s_device->Disable();
  expectSame(scan(s_device));

  // The user changes his mind all the while, and two workers want the device.
  const std::string name = test::DeviceName(*s_device);
  std::atomic<int> scanning{2};
  std::vector<Pair> found[2];
  std::vector<std::thread> workers;
  for (std::vector<Pair>& pairs : found)
    workers.emplace_back([&] {
      for (int round = 0; round < 5; ++round) pairs = scan(s_device);
      --scanning;
    });
  for (uint64_t turn = 0; scanning > 0; ++turn) {
    EXPECT_TRUE(s_device->Reinit(name, 64));
    EXPECT_TRUE(s_device->Reinit(name, 256));
    if (turn % 2 == 0 && test::AcquireSoon(*s_device)) s_device->Release();
    std::this_thread::sleep_for(std::chrono::milliseconds(turn % 5 * 10));
    s_device->Disable();
  }
  for (std::thread& worker : workers) worker.join();
  for (const std::vector<Pair>& pairs : found) expectSame(pairs);
}

}  // namespace
}  // namespace quill
