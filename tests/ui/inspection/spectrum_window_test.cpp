// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/inspection/spectrum_window.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QMenuBar>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QTimer>
#include <cmath>
#include <filesystem>

#include "core/configuration.h"
#include "core/log.h"
#include "decoding/decoder_table.h"
#include "support/manual_queue.h"
#include "support/media_maker.h"
#include "support/temp_folder.h"
#include "ui/inspection/sonogram_view.h"
#include "ui/inspection/spectrogram_view.h"

namespace quill {
namespace {

constexpr uint32_t kRate = 16384;

class SpectrumWindowTest : public testing::Test {
 protected:
  SpectrumWindowTest() {
    CConfiguration::Instance().SetStore(&m_store);
    CLog::Instance().SetFolder(m_folder / "log");
    CDecoderTable::Instance().Reload();
    // A quarter of the sample rate: in the middle of each frequency axis that is linear.
    test::WriteWav(m_file, test::Sine(kRate / 4.0, 0.5, 60, kRate), kRate, 1);
  }
  ~SpectrumWindowTest() override {
    m_window.reset();
    CConfiguration::Instance().SetStore(nullptr);
    CLog::Instance().SetFolder({});
  }

  template <class Window>
  void Open(const std::string& path) {
    m_window = std::make_unique<Window>(path, m_queue);
    m_window->setAttribute(Qt::WA_DeleteOnClose, false);
    m_window->resize(700, 500);
    m_window->show();
    EXPECT_TRUE(WaitForRun());
  }
  CSpectrumView& View() { return *m_window->findChild<CSpectrumView*>(); }
  bool WaitForRun() {
    return m_queue.RunUntil([this] { return !View().RunText().startsWith("Building... ("); });
  }
  QComboBox* Box(int number) { return m_window->findChildren<QComboBox*>().at(number); }
  void Build() {
    m_window->findChild<QPushButton*>()->click();
    EXPECT_TRUE(WaitForRun());
  }
  QAction* Action(const QString& text) {
    for (QAction* menu : m_window->menuBar()->actions())
      for (QAction* action : menu->menu()->actions())
        if (action->text().remove('&').startsWith(text)) return action;
    return nullptr;
  }
  static int Stored(const char* key) { return CConfiguration::Instance().GetInteger(key, -1); }

  const test::CTempFolder m_folder;
  const std::string m_file = m_folder / "sine.wav";
  CMemorySettingsStore m_store;
  test::CManualQueue m_queue;
  std::unique_ptr<QMainWindow> m_window;
};

// The highest row, as a share of the image's height, in which the column shows the colour.
double HighestRow(const QImage& image, int x, bool (*is)(QRgb)) {
  for (int y = 0; y < image.height(); ++y)
    if (is(image.pixel(x, y))) return static_cast<double>(y) / image.height();
  return 1;
}
bool IsReddish(QRgb pixel) {
  return qRed(pixel) > 100 && qRed(pixel) > qBlue(pixel) + 20 && qRed(pixel) > qGreen(pixel) + 20;
}
bool IsCurve(QRgb pixel) {
  return qBlue(pixel) > qGreen(pixel) + 30 || IsReddish(pixel);
}

TEST_F(SpectrumWindowTest, TheSpectrogramShowsAPeakAtItsFrequency) {
  Open<TDXSpectrogramWindow>(m_file);
  EXPECT_EQ(m_window->windowTitle(), "Spectrogram analysis: " + QString::fromStdString(m_file));
  EXPECT_EQ(Box(0)->currentText(), "4096");
  EXPECT_EQ(Box(1)->currentText(), "50");
  const QImage decibels = View().Picture();
  const int middle = 55 + (decibels.width() - 60) / 2;
  // Half a full scale through the window's gain: -12 dB, near the top of the upper panel.
  EXPECT_LT(HighestRow(decibels, middle, IsCurve), 0.1);
  EXPECT_GT(HighestRow(decibels, middle - 100, IsCurve), 0.15);
  // The linear scale needs no new run: nothing but the peak is left of it.
  Action("Linear")->trigger();
  EXPECT_FALSE(CConfiguration::Instance().GetBool("spectrogramYAxis", true));
  const QImage linear = View().Picture();
  EXPECT_LT(HighestRow(linear, middle, IsCurve), 0.05);
  EXPECT_GT(HighestRow(linear, middle - 100, IsCurve), 0.4);
}

TEST_F(SpectrumWindowTest, ChoicesAreKeptWhenTheyAreBuilt) {
  CConfiguration::Instance().SetInteger("spectrogramSize", 100);
  Open<TDXSpectrogramWindow>(m_file);
  EXPECT_EQ(Box(0)->currentIndex(), -1);
  EXPECT_EQ(View().RunText(), "") << "built with the default";
  Box(1)->setCurrentText("90");
  EXPECT_EQ(Stored("spectrogramOverlap"), -1) << "not before the button";
  Build();
  EXPECT_EQ(Stored("spectrogramSize"), 100);
  EXPECT_EQ(Stored("spectrogramOverlap"), 90);
  Box(0)->setCurrentText("32");
  Build();
  EXPECT_EQ(Stored("spectrogramSize"), 32);
  EXPECT_EQ(View().RunText(), "");
}

TEST_F(SpectrumWindowTest, TheSonogramDrawsALineAndScrolls) {
  Open<TDXSonogramWindow>(m_file);
  const QImage linear = View().Picture();
  const int x = linear.width() / 2;
  EXPECT_NEAR(HighestRow(linear, x, IsReddish), 0.47, 0.03);
  Action("Logarithmic")->trigger();
  EXPECT_TRUE(CConfiguration::Instance().GetBool("sonogramYAxis", false));
  const double rows = HighestRow(View().Picture(), x, IsReddish);
  EXPECT_NEAR(rows, 0.15, 0.04) << "half of the frequencies are 15 % of a logarithmic axis";

  // 60 seconds of 16384 samples in frames of 1024, as far as they do not fit into the graph.
  auto* const scroll = View().findChild<QScrollBar*>();
  EXPECT_EQ(scroll->maximum() + scroll->pageStep(), 60 * 16);
  EXPECT_NEAR(scroll->pageStep(), View().width() - 60, 10);
  scroll->setValue(160);
  (void)View().Picture();
  // Twice the frames: the place in the file stays.
  Box(1)->setCurrentText("50");
  Build();
  EXPECT_EQ(scroll->maximum() + scroll->pageStep(), 60 * 32 - 1);
  EXPECT_EQ(scroll->value(), 320);
}

TEST_F(SpectrumWindowTest, FailuresAreToldAndTheNextRunIsFree) {
  const std::string path = m_folder / "late.wav";
  for (const bool sonogram : {false, true}) {
    std::filesystem::remove(path);
    sonogram ? Open<TDXSonogramWindow>(path) : Open<TDXSpectrogramWindow>(path);
    EXPECT_EQ(View().RunText(), "Error, open failed");
    std::filesystem::copy(m_file, path);
    Build();
    EXPECT_EQ(View().RunText(), "");
    // What a run has found stays on show when the next one fails.
    const QImage found = View().Picture();
    std::filesystem::remove(path);
    Build();
    EXPECT_EQ(View().RunText(), "Error, open failed");
    EXPECT_EQ(View().Picture(), found);
  }
}

TEST_F(SpectrumWindowTest, MayBeClosedInMidRun) {
  for (int i = 0; i < 3; ++i) {
    const QPointer<QMainWindow> window = new TDXSonogramWindow(m_file, m_queue);
    window->show();
    window->close();
    QCoreApplication::sendPostedEvents(window, QEvent::DeferredDelete);
    EXPECT_FALSE(window);
  }
  bool last = false;
  m_queue.Post([&] { last = true; });
  EXPECT_TRUE(m_queue.RunUntil([&] { return last; })) << "late notices find nobody";
}

TEST_F(SpectrumWindowTest, APictureIsSaved) {
  Open<TDXSonogramWindow>(m_file);
  const QString target = QString::fromStdString(m_folder / "shown.png");
  QTimer::singleShot(0, [&] {
    auto* const chooser = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
    ASSERT_NE(chooser, nullptr);
    chooser->selectFile(target);
    QDialog* const dialog = chooser;
    dialog->accept();
  });
  Action("Save Picture")->trigger();
  EXPECT_EQ(QImage(target).convertToFormat(QImage::Format_RGB32),
            View().Picture().convertToFormat(QImage::Format_RGB32));
}

}  // namespace
}  // namespace quill
