// The bar along the bottom of the main window: time remaining, counters, progress gauge. Draws what
// it is given. Main thread.
#pragma once

#include <QWidget>

#include "app/front_end.h"

namespace quill {

class TDXStatusView : public QWidget {
  Q_OBJECT

 public:
  explicit TDXStatusView(QWidget* parent = nullptr);
  void SetProgress(const ProgressDisplay& progress);
  // Shown in the text field while there is no time to show.
  void SetSummary(const QString& text);
};

}  // namespace quill
