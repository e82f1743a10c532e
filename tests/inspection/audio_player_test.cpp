// SPDX-License-Identifier: GPL-3.0-or-later
#include "inspection/audio_player.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <new>
#include <thread>

#include "core/configuration.h"
#include "core/log.h"
#include "support/media_maker.h"
#include "support/temp_folder.h"

// The trap: allocations of a thread that has sworn to make none.
thread_local bool t_trapped = false;
std::atomic<int> s_caught{0};

void* operator new(size_t size) {
  if (t_trapped) ++s_caught;
  if (void* block = std::malloc(size == 0 ? 1 : size)) return block;
  throw std::bad_alloc();
}
void operator delete(void* block) noexcept {
  if (t_trapped) ++s_caught;
  std::free(block);
}
void operator delete(void* block, size_t) noexcept {
  if (t_trapped) ++s_caught;
  std::free(block);
}

namespace quill {
namespace {

constexpr uint32_t kRate = 8000;

// An output whose real-time thread is the test's to drive.
class CFakeOutput : public CAudioOutput {
 public:
  bool Open(const Format& format, Render render, void* parameter,
            std::function<void()> gone) override {
    if (m_refuses) return false;
    std::lock_guard lock(m_mutex);
    m_format = format;
    m_render = render;
    m_parameter = parameter;
    m_gone = std::move(gone);
    return true;
  }
  bool Start() override {
    std::lock_guard lock(m_mutex);
    m_running = true;
    return true;
  }
  void Stop() override {
    std::lock_guard lock(m_mutex);
    m_running = false;
  }
  void Discard() override {}
  void Close() override { Stop(); }
  void SetVolume(float volume) override { m_volume = volume; }

  // One render call, with the trap set. Empty when the output does not run.
  std::vector<uint8_t> Pull(size_t bytes) {
    std::vector<uint8_t> buffer(bytes);
    std::lock_guard lock(m_mutex);
    if (!m_running) return {};
    t_trapped = true;
    m_render(m_parameter, buffer.data(), static_cast<uint32_t>(bytes));
    t_trapped = false;
    return buffer;
  }

  std::atomic<bool> m_refuses{false};
  std::atomic<float> m_volume{-1};
  Format m_format;
  std::function<void()> m_gone;

 private:
  std::mutex m_mutex;
  bool m_running = false;
  Render m_render = nullptr;
  void* m_parameter = nullptr;
};

class AudioPlayerTest : public testing::Test {
 protected:
  AudioPlayerTest() {
    std::signal(SIGPIPE, SIG_IGN);
    CConfiguration::Instance().SetStore(&m_store);
    CLog::Instance().SetFolder(m_folder / "log");
    CDecoderTable::Instance().Reload();
    MakePlayer();
  }
  ~AudioPlayerTest() override {
    m_player.reset();
    CConfiguration::Instance().SetStore(nullptr);
  }
  void MakePlayer() {
    m_player.reset();
    m_player = std::make_unique<CAudioPlayer>(m_output);
    m_player->m_callback = [this] {
      std::lock_guard lock(m_mutex);
      ++m_notices;
      m_changed.notify_all();
    };
  }
  [[nodiscard]] bool WaitFor(const std::function<bool()>& done) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::seconds(20), done);
  }
  [[nodiscard]] bool WaitForState(uint32_t state) {
    return WaitFor([&] { return m_player->GetState() == state; });
  }
  uint32_t Open(const std::string& path) {
    m_player->OpenFile(path);
    EXPECT_TRUE(WaitFor([&] { return m_player->GetState() != CAudioPlayer::kOpening; }));
    return m_player->GetState();
  }
  int Notices() {
    std::lock_guard lock(m_mutex);
    return m_notices;
  }
  // Renders on a thread of its own, never further ahead of the refills than a real output would be,
  // until the output stops or `most` bytes have come.
  std::vector<uint8_t> Play(size_t most = SIZE_MAX) {
    std::vector<uint8_t> heard;
    std::thread([&] {
      const CAudioOutput::Format& format = m_output.m_format;
      const size_t second = format.sampleRate * format.channels * (format.isFloat ? 4 : 2);
      const size_t chunk = second / 100;
      size_t since = 0;
      int before = Notices();
      while (heard.size() < most) {
        const std::vector<uint8_t> part = m_output.Pull(std::min(chunk, most - heard.size()));
        if (part.empty()) return;
        heard.insert(heard.end(), part.begin(), part.end());
        since += part.size();
        if (since * 1000 / second < 201) continue;
        // The player asks for a refill once in that time, at whatever point of it.
        if (!WaitFor([&] { return m_notices > before; })) {
          ADD_FAILURE() << "no refill";
          return;
        }
        since = 0;
        before = Notices();
      }
    }).join();
    return heard;
  }
  std::string Wav(double seconds, uint32_t channels) {
    std::string path = m_folder / ("sound" + std::to_string(channels) + ".wav");
    test::WriteWav(path, test::Music(5, seconds, kRate, channels), kRate, channels,
                   test::WavType::kSigned16);
    return path;
  }
  // The samples of such a file as the decoder hands them over.
  static std::vector<uint8_t> Samples(const std::string& path, uint32_t channels) {
    const std::string bytes = test::ReadAll(path).substr(44);
    if (channels == 2) return {bytes.begin(), bytes.end()};
    std::vector<uint8_t> samples(bytes.size() * 2);
    for (size_t i = 0; i < bytes.size() / 2; ++i) {
      int16_t sample = 0;
      std::memcpy(&sample, bytes.data() + 2 * i, 2);
      const float value = static_cast<float>(sample) / 32768;
      std::memcpy(samples.data() + 4 * i, &value, 4);
    }
    return samples;
  }

  test::CTempFolder m_folder;
  CMemorySettingsStore m_store;
  CFakeOutput m_output;
  std::mutex m_mutex;
  std::condition_variable m_changed;
  int m_notices = 0;
  std::unique_ptr<CAudioPlayer> m_player;
};

TEST_F(AudioPlayerTest, PlaysEachSampleOnceWithoutAllocatingInTheRenderCall) {
  for (const uint32_t channels : {1U, 2U}) {
    const std::string path = Wav(9, channels);
    ASSERT_EQ(Open(path), CAudioPlayer::kPlaying);
    EXPECT_EQ(m_output.m_format.sampleRate, kRate);
    EXPECT_EQ(m_output.m_format.channels, channels);
    EXPECT_EQ(m_output.m_format.isFloat, channels == 1);
    EXPECT_EQ(m_player->IsStereo(), channels == 2);
    EXPECT_EQ(m_player->Duration(), 9000u);
    std::vector<uint8_t> heard = Play();
    ASSERT_TRUE(WaitForState(CAudioPlayer::kFinished));
    EXPECT_EQ(s_caught, 0);
    EXPECT_EQ(m_player->Position(), m_player->Duration());
    const std::vector<uint8_t> samples = Samples(path, channels);
    const size_t tail = kRate * channels * (channels == 1 ? 4 : 2) / 10;
    ASSERT_GE(heard.size(), samples.size() + tail) << "the output holds the end of the file";
    EXPECT_TRUE(std::equal(samples.begin(), samples.end(), heard.begin()));
    EXPECT_TRUE(std::all_of(heard.begin() + static_cast<ptrdiff_t>(samples.size()), heard.end(),
                            [](uint8_t byte) { return byte == 0; }));

    // The envelope is that of the file, thousandth by thousandth.
    EXPECT_EQ(m_player->Envelope().Used(), CLevelEnvelope::kSlices);
    const std::string bytes = test::ReadAll(path).substr(44);
    const size_t frames = bytes.size() / 2 / channels;
    for (const size_t slice : {size_t{0}, size_t{500}, size_t{999}}) {
      float most = 0;
      for (size_t i = slice * frames / 1000; i < (slice + 1) * frames / 1000; ++i) {
        int16_t sample = 0;
        std::memcpy(&sample, bytes.data() + 2 * i * channels, 2);
        most = std::max(most, static_cast<float>(sample) / 32768);
      }
      EXPECT_NEAR(m_player->Envelope().Slice(0, slice).maximum.load(), most, 1e-3);
    }
  }
}

TEST_F(AudioPlayerTest, PausesSeeksAndPlaysAgain) {
  const std::string path = Wav(9, 2);
  const std::vector<uint8_t> samples = Samples(path, 2);
  ASSERT_EQ(Open(path), CAudioPlayer::kPlaying);
  const std::vector<uint8_t> start = Play(kRate * 4);
  m_player->PausePlaying();
  ASSERT_TRUE(WaitForState(CAudioPlayer::kPaused));
  EXPECT_TRUE(Play(1000).empty());
  m_player->StartPlaying();
  ASSERT_TRUE(WaitForState(CAudioPlayer::kPlaying));
  const std::vector<uint8_t> next = Play(kRate * 2);
  ASSERT_EQ(next.size(), kRate * 2);
  EXPECT_TRUE(std::equal(next.begin(), next.end(), samples.begin() + kRate * 4));
  // Forward past what is decoded, then back to an earlier block, from the pause too.
  for (const uint32_t target : {7000U, 500U, 2000U}) {
    if (target == 500) {
      m_player->PausePlaying();
      ASSERT_TRUE(WaitForState(CAudioPlayer::kPaused));
    }
    m_player->SeekTo(target);
    ASSERT_TRUE(WaitFor([&] { return m_player->Position() == target; }));
    // The output starts a moment later.
    std::vector<uint8_t> part;
    while (part.empty()) part = Play(2000);
    ASSERT_EQ(part.size(), 2000u);
    EXPECT_TRUE(std::equal(part.begin(), part.end(), samples.begin() + kRate * 4 * target / 1000));
  }
  m_player->SeekTo(8900);
  ASSERT_TRUE(WaitFor([&] { return m_player->Position() == 8900; }));
  while (Play().empty()) std::this_thread::yield();
  ASSERT_TRUE(WaitForState(CAudioPlayer::kFinished));
  m_player->StartPlaying();
  ASSERT_TRUE(WaitForState(CAudioPlayer::kPlaying));
  const std::vector<uint8_t> again = Play(2000);
  EXPECT_TRUE(std::equal(again.begin(), again.end(), samples.begin())) << "from the start";
}

TEST_F(AudioPlayerTest, SaysWhenItCannotPlay) {
  EXPECT_EQ(Open(m_folder / "gone.wav"), CAudioPlayer::kCannotOpen);
  EXPECT_EQ(Open(Wav(1, 6)), CAudioPlayer::kCannotOpen);
  m_output.m_refuses = true;
  EXPECT_EQ(Open(Wav(1, 2)), CAudioPlayer::kCannotOpen) << "no output at all";
  m_player->StartPlaying();
  m_player->SeekTo(500);
  m_player->Reset();
  EXPECT_EQ(m_player->GetState(), CAudioPlayer::kNoFile);
  m_output.m_refuses = false;

  ASSERT_EQ(Open(Wav(60, 2)), CAudioPlayer::kPlaying);
  m_output.m_gone();
  EXPECT_TRUE(WaitForState(CAudioPlayer::kFailed)) << "the device was unplugged";

  ASSERT_EQ(Open(Wav(60, 2)), CAudioPlayer::kPlaying);
  (void)!std::system(("pkill -KILL -P " + std::to_string(getpid()) + " decoder").c_str());
  (void)Play();
  EXPECT_TRUE(WaitForState(CAudioPlayer::kFailed)) << "the decoder died";
  ASSERT_EQ(Open(Wav(1, 2)), CAudioPlayer::kPlaying) << "the next file gets a new one";
}

TEST_F(AudioPlayerTest, KeepsItsVolumeWithinBounds) {
  ASSERT_EQ(Open(Wav(1, 1)), CAudioPlayer::kPlaying);
  EXPECT_EQ(m_output.m_volume, 1);
  m_player->SetVolume(7);
  m_player->SetVolume(0.25F);
  m_player->Reset();
  EXPECT_EQ(m_output.m_volume, 0.25F);
  MakePlayer();
  EXPECT_EQ(m_player->Volume(), 0.25F);
  ASSERT_EQ(Open(Wav(1, 1)), CAudioPlayer::kPlaying);
  EXPECT_EQ(m_output.m_volume, 0.25F);
}

TEST_F(AudioPlayerTest, AFileOfUnknownLengthPlaysWithoutAnEnvelope) {
  // A bare stream without a header for the whole.
  test::Encode(Wav(2, 2), m_folder / "raw.ac3", "-ar 48000");
  m_player->OpenFile(m_folder / "raw.ac3");
  ASSERT_TRUE(WaitForState(CAudioPlayer::kPlaying));
  if (m_player->Duration() == 0) {
    EXPECT_EQ(m_player->Envelope().Used(), 0u);
  }
  (void)Play();
  ASSERT_TRUE(WaitForState(CAudioPlayer::kFinished));
  EXPECT_NEAR(m_player->Duration(), 2000, 100);
}

}  // namespace
}  // namespace quill
