// SPDX-License-Identifier: GPL-3.0-or-later
// The settings, the decoder table, the statistics of cache and ignore list. Controls write to the
// settings at once; everything is applied when the window closes. One window at a time, not modal.
// Main thread.
#pragma once

#include <QWidget>
#include <vector>

class QListWidget;
class QStackedWidget;

namespace quill {

class CDecodersPage;
class CPreferencesPage;
class TDXAppDelegate;

class TDXPreferencesWindow : public QWidget {
  Q_OBJECT

 public:
  // `delegate` must outlive the window.
  explicit TDXPreferencesWindow(TDXAppDelegate& delegate, QWidget* parent = nullptr);

 signals:
  // The decoder table has been stored; the settings are to be applied.
  void Closed();

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  void AddPage(const QString& title, const char* icon, CPreferencesPage* page);
  void SwitchView(int page);
  // So large that no page needs to scroll, where the screen allows.
  void FitPages();

  CDecodersPage* m_decoders;
  std::vector<CPreferencesPage*> m_pages;  // in the order of the list
  QListWidget* m_titles;
  QStackedWidget* m_tabView;
};

}  // namespace quill
