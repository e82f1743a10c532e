// SPDX-License-Identifier: GPL-3.0-or-later
// Shows the outcome of an update check. Main thread.
#pragma once

#include <QDialog>
#include <memory>

#include "ui/window/update_checker.h"

class QLabel;
class QProgressBar;
class QPushButton;

namespace quill {

class TDXUpdateWindow : public QDialog {
  Q_OBJECT

 public:
  // With a checker the window asks, shows that it waits, and cancels the request when it is closed;
  // with null ProcessResult tells it what to show.
  TDXUpdateWindow(std::unique_ptr<TDXUpdateChecker> checker, QWidget* parent);
  ~TDXUpdateWindow() override;

  // Asks the server: with a window that shows the outcome, or quietly, and then a window appears
  // only when there is a newer version. Does nothing without an address.
  static void CheckUpdateModal(bool modal, QWidget* parent);
  // The quiet check of the start: once a day, if the settings have it.
  static void CheckAtStart(QWidget* parent);

  void ProcessResult(UpdateResult result);

 private:
  std::unique_ptr<TDXUpdateChecker> m_checker;
  QProgressBar* m_progress;
  QLabel* m_descr;
  QPushButton* m_button;
};

}  // namespace quill
