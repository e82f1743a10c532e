// SPDX-License-Identifier: GPL-3.0-or-later
// Page of the preferences: files, threads, the form of the tables, and what the program has stored.
// Main thread.
#pragma once

#include "ui/preferences/settings_page.h"

class QGroupBox;
class QLabel;
class QLineEdit;

namespace quill {

class TDXAppDelegate;

class CMiscellaneousPage : public CSettingsPage {
 public:
  // `delegate` must outlive the page.
  explicit CMiscellaneousPage(TDXAppDelegate& delegate);

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  [[nodiscard]] QGroupBox* MakeFiles();
  [[nodiscard]] QGroupBox* MakeScan();
  [[nodiscard]] QGroupBox* MakeStores();
  void SelectMoveFolder();
  void ShowMoveFolder();
  void ReloadStats();
  void ClearCache();
  void ClearIgnores();
  [[nodiscard]] bool Confirm(const QString& question, const QString& effect);

  TDXAppDelegate& m_delegate;
  QLineEdit* m_movePath;
  QLabel* m_textCache;
  QLabel* m_textIgnores;
};

}  // namespace quill
