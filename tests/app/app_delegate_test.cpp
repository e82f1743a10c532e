// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/app_delegate.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <map>
#include <set>

#include "core/configuration.h"
#include "core/log.h"
#include "support/manual_queue.h"
#include "support/media_maker.h"
#include "support/temp_folder.h"
#include "support/test_device.h"

namespace quill {
namespace {

class CRecordingFrontEnd : public CFrontEnd {
 public:
  std::vector<TDXSelectedFolder> folders;
  bool active = true;
  bool timer = false;
  ScanButton button = ScanButton::kScan;
  int attention = 0;
  uint32_t badge = 0;
  ProgressDisplay progress;
  std::vector<std::string> alerts;

  [[nodiscard]] bool HasSelection() const override { return !folders.empty(); }
  [[nodiscard]] std::vector<TDXSelectedFolder> UnloadList() override { return folders; }
  void SetTimer(bool on) override { timer = on; }
  void ShowThreads(ScanButton shown) override { button = shown; }
  void ShowProgress(const ProgressDisplay& shown) override { progress = shown; }
  void ReloadView(ResultsTab) override {}
  void ShowBadge(uint32_t count) override { badge = count; }
  [[nodiscard]] bool IsActive() const override { return active; }
  void RequestAttention() override { ++attention; }
  void ShowAlert(const std::string&, const std::string& text) override { alerts.push_back(text); }
};

// A folder with three copies of one sound (two formats and a copy), another sound, and a text file.
class AppDelegateTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    std::signal(SIGPIPE, SIG_IGN);
    s_media = new test::CTempFolder;
    const auto sound = test::Music(1, 34, 22050, 2);
    test::WriteWav(*s_media / "one/Alpha.wav", sound, 22050, 2);
    test::Encode(*s_media / "one/Alpha.wav", *s_media / "two/deep/Beta.mp3", "-b:a 128k");
    test::Encode(*s_media / "one/Alpha.wav", *s_media / "two/.hidden/Gamma.flac");
    test::WriteWav(*s_media / "one/Other.wav", test::Music(2, 34, 22050, 2), 22050, 2);
    test::WriteAll(*s_media / "one/notes.txt", "nothing to hear");
  }
  static void TearDownTestSuite() {
    delete s_media;
    s_media = nullptr;
  }

  void SetUp() override {
    CConfiguration::Instance().SetStore(&m_store);
    CConfiguration::Instance().SetFolders(m_data / "support", m_data / "logs");
    m_store.Set("enableAudioTags", false);
    m_frontEnd.folders = {{*s_media / "one", 0}, {*s_media / "two", 0}};
  }
  void TearDown() override { CConfiguration::Instance().SetStore(nullptr); }

  void Start() {
    m_delegate = std::make_unique<TDXAppDelegate>(m_queue, m_frontEnd);
    m_delegate->AwakeFromNib();
  }
  void ScanToTheEnd() {
    m_delegate->StartScan();
    ASSERT_TRUE(m_queue.RunUntil([&] { return m_frontEnd.button == ScanButton::kScan; }));
  }
  void Terminate() {
    m_delegate->ApplicationWillTerminate();
    m_delegate.reset();
  }
  std::string LogText() {
    CLog::Instance().SetFolder(m_data / "elsewhere");
    std::string text;
    for (const auto& file : std::filesystem::directory_iterator(m_data / "logs"))
      text += test::ReadAll(file.path().string());
    return text;
  }

  static test::CTempFolder* s_media;
  test::CTempFolder m_data;
  CMemorySettingsStore m_store;
  test::CManualQueue m_queue;
  CRecordingFrontEnd m_frontEnd;
  std::unique_ptr<TDXAppDelegate> m_delegate;
};

test::CTempFolder* AppDelegateTest::s_media = nullptr;

TEST_F(AppDelegateTest, AScanEndsInPairsAndASecondOneDecodesNothing) {
  m_frontEnd.active = false;
  Start();
  EXPECT_FALSE(m_frontEnd.timer);
  ScanToTheEnd();
  EXPECT_EQ(m_delegate->AudioDups().PairCount(), 3U);
  EXPECT_EQ(m_delegate->Counters().processed, 4);
  EXPECT_EQ(m_delegate->Counters().scheduled, 4) << "the text file is taken off the total";
  EXPECT_EQ(m_frontEnd.badge, 1U);
  EXPECT_EQ(m_frontEnd.attention, 1) << "the scan ended in the background";
  EXPECT_FALSE(m_frontEnd.timer);
  Terminate();

  // With a table that allows no decoder, only the cache can supply the prints.
  m_store.Set("audioDecoders", std::vector<std::string>{});
  Start();
  EXPECT_EQ(m_delegate->Cache().Count(), 4U);
  ScanToTheEnd();
  EXPECT_EQ(m_delegate->AudioDups().PairCount(), 3U);
  EXPECT_EQ(m_delegate->Counters().processed, 4);
  Terminate();
}

// The prints of real sound: the device scores them as the processor does, and is let go of in
// order.
TEST_F(AppDelegateTest, AScanOnTheDeviceFindsTheSamePairs) {
  setenv("POCL_CACHE_DIR", DEVICE_CACHE, 1);
  m_store.Set("enableThreadLimit", true);
  m_store.Set("valueThreadLimit", int32_t{1});
  m_store.Set("valueAudioPrecise", 0.0);
  const auto scan = [&] {
    ScanToTheEnd();
    std::map<std::set<std::string>, float> scores;
    m_delegate->AudioDups().ForEachMatch([&](const CAudioDupsController::PairData& pair) {
      scores[{pair.first->base->path, pair.second->base->path}] = pair.scores.back();
    });
    return scores;
  };
  Start();
  const auto expected = scan();
  EXPECT_EQ(expected.size(), 6U);

  COpenCL& device = *m_delegate->GetOpenCL();
  EXPECT_FALSE(device.TryAcquire()) << "off by default";
  std::vector<std::string> names;
  ASSERT_TRUE(device.GetDevices(&names)) << "is pocl-opencl-icd installed?";
  ASSERT_FALSE(names.empty());
  m_store.Set("enableOpenCL", true);
  m_store.Set("valueOpenCLDevice", names.front());
  m_delegate->ReloadConfig();
  if (!test::AcquireSoon(device)) FAIL() << "the device does not start";
  device.Release();
  const auto found = scan();
  ASSERT_EQ(found.size(), expected.size());
  for (auto a = found.begin(), b = expected.begin(); a != found.end(); ++a, ++b) {
    EXPECT_EQ(a->first, b->first);
    EXPECT_NEAR(a->second, b->second, 1e-4);
  }
  // With nothing to score, a device that is asked says so.
  m_store.Set("enableAudioPrecise", false);
  m_delegate->ReloadConfig();
  (void)scan();
  m_store.Set("enableOpenCL", false);
  m_delegate->ReloadConfig();
  EXPECT_FALSE(device.TryAcquire());
  (void)scan();
  m_store.Set("enableOpenCL", true);
  m_delegate->ReloadConfig();
  Terminate();
  const std::string log = LogText();
  size_t refused = 0;
  for (size_t at = 0; (at = log.find("OpenCL use failed", at)) != std::string::npos; ++at)
    ++refused;
  EXPECT_EQ(refused, 4U) << "one for each file of the one scan without precise scores\n" << log;
}

TEST_F(AppDelegateTest, StartLogsItsStepsInOrder) {
  Start();
  Terminate();
  const std::string log = LogText();
  size_t position = 0;
  for (const char* line :
       {"Log started", "Loading cache...", "Loading cache complete", "Loading ignores...",
        "Loading ignores failed", "Thread started", "Thread stopped"}) {
    position = log.find(line, position);
    ASSERT_NE(position, std::string::npos) << line << " in\n" << log;
  }
}

TEST_F(AppDelegateTest, ButtonPausesAndContinuesWithoutClearing) {
  Start();
  m_delegate->StartScan();
  // Far sooner than the first file is decoded.
  m_delegate->StartScan();
  EXPECT_EQ(m_frontEnd.button, ScanButton::kContinue);
  EXPECT_TRUE(m_delegate->CanStart());
  EXPECT_TRUE(m_delegate->CanStop());
  m_delegate->StartScan();
  EXPECT_NE(m_frontEnd.button, ScanButton::kContinue);
  ASSERT_TRUE(m_queue.RunUntil([&] { return m_frontEnd.button == ScanButton::kScan; }));
  EXPECT_EQ(m_delegate->AudioDups().PairCount(), 3U);
  Terminate();
}

TEST_F(AppDelegateTest, StopComesBackToIdleWithNothingScheduledThatDidNotRun) {
  Start();
  m_delegate->StartScan();
  m_delegate->StopScan();
  ASSERT_TRUE(m_queue.RunUntil([&] { return m_delegate->IsIdle(); }));
  EXPECT_EQ(m_delegate->Counters().processed, m_delegate->Counters().scheduled);
  EXPECT_FALSE(m_delegate->CanStop());
  Terminate();
}

TEST_F(AppDelegateTest, AScanThatWasCutShortGoesOnWithTheSamePairsAtTheEnd) {
  size_t rounds = 0;
  m_store.Set("enableThreadLimit", true);
  m_store.Set("valueThreadLimit", 1);
  Start();
  m_delegate->StartScan();
  m_delegate->RestoreAutosave();
  for (int32_t stopAt = 1; stopAt <= 3; ++stopAt) {
    while (m_delegate->Counters().processed < stopAt && m_delegate->GetWorkers()->Pending() != 0)
      std::this_thread::yield();
    Terminate();
    ++rounds;
    Start();
    m_delegate->RestoreAutosave();
  }
  ASSERT_TRUE(m_queue.RunUntil([&] { return m_delegate->IsIdle(); }));
  (void)m_delegate->AudioDups().ProcessNewData();
  EXPECT_EQ(m_delegate->AudioDups().PairCount(), 3U) << rounds;
  EXPECT_EQ(m_delegate->Counters().processed, 4);
  Terminate();
}

// A pause that catches the workers with all requests in their hands.
class HeldScanTest : public AppDelegateTest {
 protected:
  void StartAndHoldAll() {
    m_store.Set("enableThreadLimit", true);
    m_store.Set("valueThreadLimit", int32_t{32});
    Start();
    m_delegate->StartScan();
    m_delegate->StartScan();
    while (m_delegate->GetWorkers()->Queued() != 0) std::this_thread::yield();
    ASSERT_EQ(m_frontEnd.button, ScanButton::kContinue);
  }
};

TEST_F(HeldScanTest, AStopEndsIt) {
  StartAndHoldAll();
  m_delegate->StopScan();
  ASSERT_TRUE(m_queue.RunUntil([&] { return m_delegate->IsIdle(); }));
  EXPECT_EQ(m_frontEnd.button, ScanButton::kScan);
  EXPECT_LT(m_delegate->Counters().processed, 4);
  EXPECT_EQ(m_delegate->Counters().processed, m_delegate->Counters().scheduled);
  EXPECT_EQ(m_frontEnd.progress.stopped.find("Stopped: " + m_delegate->HowFar()), 0U)
      << m_frontEnd.progress.stopped;
  EXPECT_LT(m_frontEnd.progress.progress, 1);
  ScanToTheEnd();
  EXPECT_EQ(m_frontEnd.progress.stopped, "");
  EXPECT_EQ(m_frontEnd.progress.progress, 1);
  EXPECT_EQ(m_delegate->AudioDups().PairCount(), 3U);
  EXPECT_EQ(m_delegate->Counters().processed, 4);
  Terminate();
}

TEST_F(HeldScanTest, AQuitKeepsWhatIsHeldForTheNextStart) {
  StartAndHoldAll();
  Terminate();
  Start();
  m_delegate->RestoreAutosave();
  ASSERT_TRUE(m_queue.RunUntil([&] { return m_delegate->IsIdle(); }));
  (void)m_delegate->AudioDups().ProcessNewData();
  EXPECT_EQ(m_delegate->AudioDups().PairCount(), 3U);
  EXPECT_EQ(m_delegate->Counters().processed, 4);
  EXPECT_EQ(m_delegate->Counters().scheduled, 4);
  Terminate();
}

TEST_F(AppDelegateTest, ResultsAreSavedAndOpened) {
  Start();
  ScanToTheEnd();
  EXPECT_TRUE(m_delegate->SaveData(m_data / "mine.quillmarsh"));
  Terminate();
  Start();
  EXPECT_TRUE(m_delegate->LoadData(m_data / "mine.quillmarsh"));
  EXPECT_EQ(m_delegate->AudioDups().PairCount(), 3U);
  EXPECT_TRUE(m_frontEnd.alerts.empty());
  test::WriteAll(m_data / "notes.quillmarsh", "no results file at all, but text of some length");
  EXPECT_FALSE(m_delegate->LoadData(m_data / "missing.quillmarsh"));
  EXPECT_FALSE(m_delegate->LoadData(m_data / "notes.quillmarsh"));
  EXPECT_EQ(m_delegate->AudioDups().PairCount(), 3U) << "the results on show stay";
  EXPECT_FALSE(m_delegate->SaveData(m_data / "no/such/folder/x.quillmarsh"));
  EXPECT_EQ(m_frontEnd.alerts,
            (std::vector<std::string>{"Failed to open results file", "Failed to open results file",
                                      "Failed to save results file"}));
  // A save that fails leaves what an older one has written, also where a link leads to it.
  std::filesystem::create_symlink("mine.quillmarsh", m_data / "link.quillmarsh");
  const std::string saved = test::ReadAll(m_data / "mine.quillmarsh");
  m_delegate->AudioDups().Clear();
  std::filesystem::create_directory(m_data / "mine.quillmarsh.saving");
  EXPECT_FALSE(m_delegate->SaveData(m_data / "link.quillmarsh"));
  EXPECT_EQ(test::ReadAll(m_data / "mine.quillmarsh"), saved);
  std::filesystem::remove(m_data / "mine.quillmarsh.saving");
  EXPECT_TRUE(m_delegate->SaveData(m_data / "link.quillmarsh"));
  EXPECT_NE(test::ReadAll(m_data / "mine.quillmarsh"), saved);
  EXPECT_TRUE(std::filesystem::is_symlink(m_data / "link.quillmarsh"));
  EXPECT_FALSE(std::filesystem::exists(m_data / "mine.quillmarsh.saving"));
  Terminate();
}

// An ignore list that exists but cannot be read must not be overwritten by an empty one.
TEST_F(AppDelegateTest, AnUnreadableIgnoreListIsLeftAlone) {
  std::filesystem::create_directories(m_data / "support/ignores.list/kept");
  Start();
  Terminate();
  EXPECT_TRUE(std::filesystem::is_directory(m_data / "support/ignores.list/kept"));
}

}  // namespace
}  // namespace quill
