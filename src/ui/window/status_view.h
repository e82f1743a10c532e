// SPDX-License-Identifier: GPL-3.0-or-later
// The bar along the bottom of the main window: time remaining, counters, progress gauge. Draws what
// it is given, and says the same to those who do not see it. Main thread.
#pragma once

#include <QStringList>
#include <QWidget>

#include "app/front_end.h"

class QPainter;

namespace quill {

class TDXStatusView : public QWidget {
  Q_OBJECT

 public:
  explicit TDXStatusView(QWidget* parent = nullptr);
  void SetProgress(const ProgressDisplay& progress);
  // Shown in the text field while there is no time to show.
  void SetSummary(const QString& text);

  // What stands in the fields, from left to right; the first may be empty.
  [[nodiscard]] QStringList Texts() const;

  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void changeEvent(QEvent* event) override;
  bool event(QEvent* event) override;

 private:
  struct Fields {
    QRect text;
    QRect cache;
    QRect counts;
    QRect gauge;
  };
  [[nodiscard]] Fields Layout() const;
  void WidenFields();
  void DrawGauge(QPainter& painter, const QRect& field) const;

  ProgressDisplay m_progress;
  QString m_summary;
  // Widths never shrink while the program runs, so that nothing jumps as the counts grow.
  int m_cacheWidth = 0;
  int m_countsWidth = 0;
  int m_gaugeWidth = 0;
};

}  // namespace quill
