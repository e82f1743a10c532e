// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/inspection/player_window.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QLabel>
#include <QSlider>
#include <QTest>

#include "core/configuration.h"
#include "core/log.h"
#include "support/manual_queue.h"
#include "support/media_maker.h"
#include "support/temp_folder.h"
#include "ui/inspection/player_view.h"

namespace quill {
namespace {

// An output that never asks for a sample: what plays stays where it is.
class CStillOutput : public CAudioOutput {
 public:
  explicit CStillOutput(bool works) : m_works(works) {}
  bool Open(const Format&, Render, void*, std::function<void()>) override { return m_works; }
  bool Start() override { return true; }
  void Stop() override {}
  void Discard() override {}
  void Close() override {}
  void SetVolume(float) override {}

 private:
  const bool m_works;
};

class PlayerWindowTest : public testing::Test {
 protected:
  PlayerWindowTest() {
    CConfiguration::Instance().SetStore(&m_store);
    CLog::Instance().SetFolder(m_folder / "log");
    CDecoderTable::Instance().Reload();
    test::WriteWav(m_file, test::Sine(440, 0.9, 2, 8000), 8000, 1);
  }
  ~PlayerWindowTest() override {
    m_window.reset();
    CConfiguration::Instance().SetStore(nullptr);
    CLog::Instance().SetFolder({});
  }
  void Open(bool works, const std::string& path) {
    m_window = std::make_unique<TDXPlayerWindow>(std::make_unique<CStillOutput>(works), m_queue);
    m_window->OpenWithFile(path);
    ASSERT_TRUE(QTest::qWaitForWindowActive(m_window.get()));
  }
  TDXPlayerView& View() { return *m_window->findChild<TDXPlayerView*>(); }
  bool Reaches(uint32_t state) {
    return m_queue.RunUntil([&] { return View().Player().GetState() == state; }) && Settled();
  }
  // Everything that was posted has been shown.
  bool Settled() {
    bool last = false;
    m_queue.Post([&] { last = true; });
    return m_queue.RunUntil([&] { return last; });
  }
  QString Text() {
    for (const QLabel* label : m_window->findChildren<QLabel*>())
      if (!label->text().isEmpty()) return label->text();
    return {};
  }
  QAction* Play() { return m_window->findChild<QAction*>(); }

  const test::CTempFolder m_folder;
  const std::string m_file = m_folder / "sine.wav";
  CMemorySettingsStore m_store;
  test::CManualQueue m_queue;
  std::unique_ptr<TDXPlayerWindow> m_window;
};

TEST_F(PlayerWindowTest, PlaysHoldsSeeksAndKeepsItsVolume) {
  Open(true, m_file);
  ASSERT_TRUE(Reaches(CAudioPlayer::kPlaying));
  EXPECT_EQ(m_window->windowTitle(), "sine.wav");
  QTest::keyClick(m_window.get(), Qt::Key_Space);
  ASSERT_TRUE(Reaches(CAudioPlayer::kPaused));
  EXPECT_EQ(Text(), "0:00 / 0:02");

  // A click is a place in the file, and the part before it is drawn in colour.
  ASSERT_TRUE(m_queue.RunUntil([&] { return View().Player().Envelope().Used() > 990; }));
  QTest::mouseClick(&View(), Qt::LeftButton, {}, {View().width() / 2, 20});
  ASSERT_TRUE(m_queue.RunUntil([&] { return Text() == "0:01 / 0:02"; }));
  EXPECT_NEAR(View().Player().Position(), 1003, 20);
  const QImage image = View().grab().toImage();
  const auto colour = [&](double share) {
    return image.pixelColor(static_cast<int>(image.width() * share), image.height() / 2 - 20);
  };
  EXPECT_GT(colour(0.25).blue(), colour(0.25).red() + 20);
  EXPECT_EQ(colour(0.75).blue(), colour(0.75).red());

  m_window->findChild<QSlider*>()->setValue(30);
  m_window->close();
  EXPECT_EQ(View().Player().GetState(), CAudioPlayer::kNoFile);
  EXPECT_FALSE(Play()->isEnabled());
  m_window.reset();
  EXPECT_FLOAT_EQ(CConfiguration::Instance().GetFloat("audioPlayerVolume", 1), 0.3F);
}

TEST_F(PlayerWindowTest, TellsWhyNothingIsHeard) {
  Open(false, m_file);
  ASSERT_TRUE(Reaches(CAudioPlayer::kCannotOpen));
  EXPECT_TRUE(Text().contains("no sound output"));
  EXPECT_FALSE(Play()->isEnabled());
  // A click and a key on what is not open do no harm.
  QTest::mouseClick(&View(), Qt::LeftButton);
  QTest::keyClick(m_window.get(), Qt::Key_Right);
  Open(true, m_folder / "gone.wav");
  ASSERT_TRUE(Reaches(CAudioPlayer::kCannotOpen));
}

}  // namespace
}  // namespace quill
