// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/window/status_view.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QImage>

namespace quill {
namespace {

QString Read(TDXStatusView* view) {
  QAccessibleInterface* const accessible = QAccessible::queryAccessibleInterface(view);
  return accessible != nullptr ? accessible->text(QAccessible::Value) : QString();
}

TEST(StatusViewTest, SaysWhatItIsGiven) {
  TDXStatusView view;
  EXPECT_EQ(Read(&view), "Cache: 0, New: 0/0, 0.0%");
  view.SetSummary("2 files marked");
  EXPECT_EQ(Read(&view), "2 files marked, Cache: 0, New: 0/0, 0.0%");
  ProgressDisplay shown{.cacheCount = 4000000000U,
                        .processed = 1,
                        .scheduled = 3,
                        .progress = 1.0F / 3,
                        .text = "Estimated Time Remaining: 2m 5s",
                        .stopped = ""};
  view.SetProgress(shown);
  EXPECT_EQ(Read(&view), "Estimated Time Remaining: 2m 5s, Cache: 4000000000, New: 1/3, 33.3%");
  shown.text.clear();
  shown.stopped = "Stopped: 1 of 3 files";
  view.SetProgress(shown);
  EXPECT_EQ(Read(&view), "2 files marked, Cache: 4000000000, Stopped: 1 of 3 files, 33.3%");
  shown = {
      .cacheCount = 1, .processed = 3, .scheduled = 3, .progress = 1, .text = "", .stopped = ""};
  view.SetProgress(shown);
  EXPECT_EQ(Read(&view), "2 files marked, Cache: 1, New: 3/3, 100.0%");
}

// Columns of the gauge at half height that are clearly green.
int GreenColumns(float progress) {
  TDXStatusView view;
  view.resize(1000, view.sizeHint().height());
  ProgressDisplay shown;
  shown.progress = progress;
  view.SetProgress(shown);
  const QImage image = view.grab().toImage();
  int columns = 0;
  for (int x = 800; x < image.width(); ++x) {
    const QColor color = image.pixelColor(x, image.height() * 2 / 3);
    columns += color.green() > color.red() + 5 ? 1 : 0;
  }
  return columns;
}

TEST(StatusViewTest, TheBarGrowsFromNothingToTheWholeGauge) {
  EXPECT_EQ(GreenColumns(0), 0);
  EXPECT_NEAR(GreenColumns(0.5F), 95, 20);
  EXPECT_GT(GreenColumns(1), 150);
  EXPECT_GT(GreenColumns(7), 150);
}

}  // namespace
}  // namespace quill
