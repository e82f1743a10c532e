// SPDX-License-Identifier: GPL-3.0-or-later
// The tab of the analysed audio files. Main thread.
#pragma once

#include "ui/table/table_tab.h"

namespace quill {

class CAudioAnalysisController;

class TDXAudioAnalysisView : public CTableTab {
  Q_OBJECT

 public:
  // Both must outlive the view.
  TDXAudioAnalysisView(TDXAppDelegate& delegate, CFileOperations& files, QWidget* parent = nullptr);

  [[nodiscard]] ResultsTab Tab() const override { return ResultsTab::kAudioAnalysis; }
  [[nodiscard]] QList<QPair<QString, QString>> ExportFormats() const override;
  [[nodiscard]] QString ExportFile(const std::string& path) override;

 protected:
  [[nodiscard]] EmptyTexts Empty() const override;

 private:
  CAudioAnalysisController& m_controller;
};

}  // namespace quill
