// SPDX-License-Identifier: GPL-3.0-or-later
// The preview player: one window for whatever file is to be heard next. Main thread.
#pragma once

#include <QWidget>
#include <memory>
#include <string>

#include "inspection/audio_output.h"

class QAction;
class QLabel;

namespace quill {

class CMainQueue;
class TDXPlayerView;

class TDXPlayerWindow : public QWidget {
  Q_OBJECT

 public:
  // `queue` must outlive the window.
  TDXPlayerWindow(std::unique_ptr<CAudioOutput> output, CMainQueue& queue,
                  QWidget* parent = nullptr);
  ~TDXPlayerWindow() override;

  void OpenWithFile(const std::string& path);

 protected:
  // Nothing plays on behind a closed window.
  void closeEvent(QCloseEvent* event) override;

 private:
  void ShowState();

  std::unique_ptr<CAudioOutput> m_output;
  TDXPlayerView* m_view;
  QAction* m_play;
  QLabel* m_text;
};

}  // namespace quill
