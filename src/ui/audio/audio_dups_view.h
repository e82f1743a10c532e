// SPDX-License-Identifier: GPL-3.0-or-later
// The tab of the audio duplicates. Main thread.
#pragma once

#include "ui/table/table_tab.h"

namespace quill {

class CAudioDupsController;

class TDXAudioDupsView : public CTableTab {
  Q_OBJECT

 public:
  // Both must outlive the view.
  TDXAudioDupsView(TDXAppDelegate& delegate, CFileOperations& files, QWidget* parent = nullptr);

  [[nodiscard]] ResultsTab Tab() const override { return ResultsTab::kAudioDups; }
  [[nodiscard]] QList<QPair<QString, QString>> ExportFormats() const override;
  [[nodiscard]] QString ExportFile(const std::string& path) override;

 protected:
  [[nodiscard]] bool IsEnabled(const QAction* action) const override;
  [[nodiscard]] EmptyTexts Empty() const override;

 private:
  void ActionAutomark();
  void ActionEdit();
  void ActionSwap();

  CAudioDupsController& m_controller;
  QAction* m_edit = nullptr;
  QAction* m_swap = nullptr;
};

}  // namespace quill
