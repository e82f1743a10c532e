// The tab of the image duplicates. Main thread.
#pragma once

#include "ui/table_tab.h"

namespace quill {

class CImageDupsController;

class TDXImageDupsView : public CTableTab {
  Q_OBJECT

 public:
  // Both must outlive the view.
  TDXImageDupsView(TDXAppDelegate& delegate, CFileOperations& files, QWidget* parent = nullptr);

  [[nodiscard]] ResultsTab Tab() const override { return ResultsTab::kImageDups; }
  [[nodiscard]] QList<QPair<QString, QString>> ExportFormats() const override;
  [[nodiscard]] QString ExportFile(const std::string& path) override;

 protected:
  [[nodiscard]] QString EmptyText() const override;
  [[nodiscard]] QString BusyText() const override;

 private:
  void ActionAutomark();

  CImageDupsController& m_controller;
};

}  // namespace quill
