// SPDX-License-Identifier: GPL-3.0-or-later
// The player on a real sound server: PulseAudio with a sink that plays into nothing, whose monitor
// is recorded. What was heard must be the file: its pieces in order, and as much sound as the file
// has, so that nothing was lost or came twice. Silence within is no fault, as a busy machine may
// keep the server waiting; a piece that it tears in two is not found.
#include "platform/cubeb_output.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <numeric>
#include <random>
#include <thread>

#include "core/configuration.h"
#include "core/log.h"
#include "inspection/audio_player.h"
#include "support/media_maker.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

using namespace std::chrono_literals;

constexpr uint32_t kRate = 22050;
constexpr double kSeconds = 2.5;  // of the file
constexpr double kMost = 0.6;
constexpr double kSameAmount = 0.005;  // a few milliseconds of the file

template <class Done>
bool Soon(Done done) {
  const auto end = std::chrono::steady_clock::now() + 60s;
  while (!done()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(5ms);
  }
  return true;
}

// A program that ends with the object, and with this process however that ends; its output goes to
// a file.
class CProgram {
 public:
  CProgram(std::vector<std::string> words, const std::string& output) {
    test::WriteAll(output, "");
    std::fflush(stdout);
    m_process = fork();
    if (m_process != 0) return;
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    if (prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && std::freopen(output.c_str(), "w", stdout) &&
        std::freopen((output + ".errors").c_str(), "w", stderr))
      execvp(arguments[0], arguments.data());
    _exit(127);
  }
  ~CProgram() { End(SIGTERM); }
  CProgram(const CProgram&) = delete;
  CProgram& operator=(const CProgram&) = delete;

  void End(int signal) {
    if (m_process <= 0) return;
    kill(m_process, signal);
    waitpid(m_process, nullptr, 0);
    m_process = -1;
  }
  [[nodiscard]] bool IsRunning() {
    if (m_process > 0 && waitpid(m_process, nullptr, WNOHANG) != 0) m_process = -1;
    return m_process > 0;
  }

 private:
  pid_t m_process = -1;
};

// Where the pieces of the file, `kPiece` samples each, were found in what was recorded.
struct Heard {
  static constexpr size_t kPiece = kRate / 20;
  std::vector<int64_t> places;  // -1 for a piece that was not found

  // The share of the pieces from..to (seconds) that were found.
  [[nodiscard]] double Share(double from, double to) const {
    size_t found = 0, all = 0;
    for (size_t i = Index(from); i < std::min(places.size(), Index(to)); ++i, ++all)
      found += places[i] >= 0;
    return all == 0 ? 0 : static_cast<double>(found) / static_cast<double>(all);
  }
  // The longest silence, in seconds, between two pieces that follow each other.
  [[nodiscard]] double LongestGap() const {
    int64_t longest = 0, last = -1;
    for (const int64_t place : places) {
      if (place >= 0 && last >= 0)
        longest = std::max(longest, place - last - static_cast<int64_t>(kPiece));
      if (place >= 0) last = place;
    }
    return static_cast<double>(longest) / kRate;
  }
  static size_t Index(double seconds) {
    return static_cast<size_t>(std::lround(seconds * kRate / kPiece));
  }
};

double Product(const float* a, const float* b, size_t count) {
  return std::inner_product(a, a + count, b, 1e-9);
}

// The energy of what was recorded as a share of that of the file from `begin` seconds on.
double Amount(const std::vector<float>& file, double begin, const std::vector<float>& recorded) {
  const auto skipped = static_cast<size_t>(begin * kRate);
  return Product(recorded.data(), recorded.data(), recorded.size()) /
         Product(&file[skipped], &file[skipped], file.size() - skipped);
}

// Each piece is looked for behind the one before: what came too early, or twice, is not found.
Heard Listen(const std::vector<float>& file, const std::vector<float>& recorded) {
  constexpr double kAlike = 0.9;
  Heard heard;
  size_t next = 0;
  for (size_t begin = 0; begin + Heard::kPiece <= file.size(); begin += Heard::kPiece) {
    int64_t place = -1;
    double most = kAlike;
    const float* const piece = &file[begin];
    const double energy = Product(piece, piece, Heard::kPiece);
    for (size_t i = next; i + Heard::kPiece <= recorded.size(); ++i) {
      const float* const there = &recorded[i];
      const double likeness = Product(piece, there, Heard::kPiece) /
                              std::sqrt(energy * Product(there, there, Heard::kPiece));
      if (likeness > most) {
        most = likeness;
        place = static_cast<int64_t>(i);
      } else if (place >= 0) {
        break;  // past the summit
      }
    }
    heard.places.push_back(place);
    // A resampler may round a sample away.
    if (place >= 0) next = static_cast<size_t>(place) + Heard::kPiece - 2;
  }
  return heard;
}

// One channel of what is played, at the recorder's rate: noise, which is like itself at one place
// only, and low, so that the fractions of a sample by which a change of rate moves it do not
// matter.
std::vector<float> MakeFile(const std::string& path, uint32_t channels) {
  std::mt19937 random(7);
  std::uniform_real_distribution<float> noise(-0.5F, 0.5F);
  std::vector<float> samples(static_cast<size_t>(kSeconds * kRate));
  float once = 0, twice = 0;
  for (float& sample : samples) {
    once += 0.3F * (noise(random) - once);
    twice += 0.3F * (once - twice);
    sample = 2 * twice;
  }
  std::vector<float> interleaved;
  for (const float sample : samples) interleaved.insert(interleaved.end(), channels, sample);
  test::WriteWav(path, interleaved, kRate, channels);
  return samples;
}

class SoundServerTest : public testing::Test {
 protected:
  void SetUp() override {
    CConfiguration::Instance().SetStore(&m_store);
    CLog::Instance().SetFolder(m_folder / "log");
    CDecoderTable::Instance().Reload();
    const std::string socket = m_folder / "server";
    for (const char* name : {"HOME", "XDG_RUNTIME_DIR", "XDG_CONFIG_HOME"})
      setenv(name, m_folder.Path().c_str(), 1);
    setenv("PULSE_SERVER", ("unix:" + socket).c_str(), 1);
    m_server = std::make_unique<CProgram>(
        std::vector<std::string>{
            "pulseaudio", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no", "-n", "-L",
            "module-null-sink sink_name=null rate=44100 channels=2 norewinds=1", "-L",
            "module-native-protocol-unix auth-anonymous=1 socket=" + socket},
        m_folder / "server.log");
    ASSERT_TRUE(Soon([&] { return std::filesystem::exists(socket) || !m_server->IsRunning(); }) &&
                m_server->IsRunning())
        << test::ReadAll(m_folder / "server.log.errors");
    m_recorder = std::make_unique<CProgram>(
        std::vector<std::string>{"parec", "--device=null.monitor", "--raw", "--format=s16le",
                                 "--channels=1", "--rate=" + std::to_string(kRate),
                                 "--latency-msec=20"},
        m_folder / "recorded");
    ASSERT_TRUE(Soon([&] { return Recorded() > 0 || !m_recorder->IsRunning(); }) &&
                m_recorder->IsRunning())
        << test::ReadAll(m_folder / "recorded.errors");
  }
  void TearDown() override {
    m_player.reset();
    m_recorder.reset();
    m_server.reset();
    CConfiguration::Instance().SetStore(nullptr);
    CLog::Instance().SetFolder({});
  }

  [[nodiscard]] size_t Recorded() const {
    return std::filesystem::file_size(m_folder / "recorded") / 2;
  }
  [[nodiscard]] bool RecordMore(double seconds) const {
    const size_t enough = Recorded() + static_cast<size_t>(seconds * kRate);
    return Soon([&] { return Recorded() >= enough; });
  }
  // Plays a new file, of which one channel is given.
  std::vector<float> Open(uint32_t channels) {
    m_player = std::make_unique<CAudioPlayer>(m_output);
    const std::vector<float> file = MakeFile(m_path, channels);
    m_player->OpenFile(m_path);
    EXPECT_TRUE(Reaches(CAudioPlayer::kPlaying));
    return file;
  }
  [[nodiscard]] bool Reaches(uint32_t state) const {
    return Soon([&] { return m_player->GetState() == state; });
  }
  // To the end of the file, and what the server still holds; what was recorded behind `begin`.
  [[nodiscard]] std::vector<float> PlayToEnd(size_t begin) {
    EXPECT_TRUE(Reaches(CAudioPlayer::kFinished));
    EXPECT_TRUE(RecordMore(0.5));
    const std::string bytes = test::ReadAll(m_folder / "recorded");
    std::vector<float> samples;
    for (size_t i = begin * 2; i + 1 < bytes.size(); i += 2) {
      int16_t sample;
      std::memcpy(&sample, &bytes[i], 2);
      samples.push_back(static_cast<float>(sample) / 32768);
    }
    return samples;
  }

  const test::CTempFolder m_folder;
  const std::string m_path = m_folder / "music.wav";
  CMemorySettingsStore m_store;
  std::unique_ptr<CProgram> m_server, m_recorder;
  CCubebOutput m_output;
  std::unique_ptr<CAudioPlayer> m_player;
};

TEST_F(SoundServerTest, WhatIsHeardIsTheFile) {
  // 16-bit stereo, and float for what has one channel.
  for (const uint32_t channels : {2U, 1U}) {
    const size_t before = Recorded();
    const std::vector<float> file = Open(channels);
    const std::vector<float> recorded = PlayToEnd(before);
    EXPECT_GT(Listen(file, recorded).Share(0, kSeconds), kMost) << channels << " channels";
    EXPECT_NEAR(Amount(file, 0, recorded), 1, kSameAmount) << channels << " channels";
  }
}

TEST_F(SoundServerTest, APauseIsSilenceAndLosesNothing) {
  const std::vector<float> file = Open(2);
  ASSERT_TRUE(Soon([&] { return m_player->Position() > 800; }));
  m_player->PausePlaying();
  ASSERT_TRUE(Reaches(CAudioPlayer::kPaused));
  ASSERT_TRUE(RecordMore(1.5));
  m_player->StartPlaying();
  const std::vector<float> recorded = PlayToEnd(0);
  const Heard heard = Listen(file, recorded);
  EXPECT_GT(heard.Share(0, kSeconds), kMost);
  EXPECT_NEAR(Amount(file, 0, recorded), 1, kSameAmount);
  EXPECT_GT(heard.LongestGap(), 1);
}

TEST_F(SoundServerTest, ASeekGoesOnAtItsPlace) {
  const std::vector<float> file = Open(2);
  m_player->PausePlaying();
  ASSERT_TRUE(Reaches(CAudioPlayer::kPaused));
  ASSERT_TRUE(RecordMore(0.5));
  const size_t before = Recorded();
  m_player->SeekTo(1500);
  const std::vector<float> recorded = PlayToEnd(before);
  const Heard heard = Listen(file, recorded);
  EXPECT_EQ(heard.Share(0, 1.45), 0);
  EXPECT_GT(heard.Share(1.5, kSeconds), kMost);
  EXPECT_NEAR(Amount(file, 1.5, recorded), 1, kSameAmount) << "not a rest of what was paused";
}

TEST_F(SoundServerTest, AServerThatGoesAwayEndsPlaying) {
  (void)Open(2);
  m_server->End(SIGKILL);
  EXPECT_TRUE(Reaches(CAudioPlayer::kFailed));
  // And with none the file is not even opened.
  m_player->OpenFile(m_path);
  EXPECT_TRUE(Reaches(CAudioPlayer::kCannotOpen));
}

}  // namespace
}  // namespace quill
