// SPDX-License-Identifier: GPL-3.0-or-later
// The tab of the image duplicates. Main thread.
#pragma once

#include "ui/table/table_tab.h"

namespace quill {

class CImageDupsController;
class TDXImagePreviewView;

class TDXImageDupsView : public CTableTab {
  Q_OBJECT

 public:
  // Both must outlive the view.
  TDXImageDupsView(TDXAppDelegate& delegate, CFileOperations& files, QWidget* parent = nullptr);

  [[nodiscard]] ResultsTab Tab() const override { return ResultsTab::kImageDups; }
  void ReloadView() override;
  [[nodiscard]] QList<QPair<QString, QString>> ExportFormats() const override;
  [[nodiscard]] QString ExportFile(const std::string& path) override;

 protected:
  [[nodiscard]] EmptyTexts Empty() const override;

 private:
  void ActionAutomark();
  // Puts the preview beside the table, as wide as the user left it.
  void MakePreview();
  void ShowSelected();

  CImageDupsController& m_controller;
  TDXImagePreviewView* m_preview = nullptr;
};

}  // namespace quill
