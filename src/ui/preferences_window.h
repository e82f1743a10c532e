// The settings, the decoder table, the statistics of cache and ignore list. Controls write to the
// settings at once; everything is applied when the window closes. One window at a time, not modal.
// Main thread.
#pragma once

#include <QWidget>

namespace quill {

class TDXAppDelegate;

class TDXPreferencesWindow : public QWidget {
  Q_OBJECT

 public:
  // `delegate` must outlive the window.
  explicit TDXPreferencesWindow(TDXAppDelegate& delegate, QWidget* parent = nullptr);

 signals:
  // The decoder table has been stored; the settings are to be applied.
  void Closed();
};

}  // namespace quill
