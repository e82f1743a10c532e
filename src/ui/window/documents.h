// SPDX-License-Identifier: GPL-3.0-or-later
// The File menu's work: opening, saving and exporting results, with the dialogs around it. Main
// thread.
#pragma once

#include <QString>
#include <string>

class QWidget;

namespace quill {

class CResultsView;
class TDXAppDelegate;

class CDocuments {
 public:
  // `window` is the parent of the dialogs. Both must outlive the object.
  CDocuments(QWidget* window, TDXAppDelegate& delegate) : m_window(window), m_delegate(delegate) {}

  void FileOpen();
  // There are results, or a file to hold even none.
  [[nodiscard]] bool CanSave() const;
  // To the file at hand; asks for one when there is none.
  void FileSave();
  void FileSaveAs();
  // The results of one tab as text.
  void FileExport(CResultsView& view);
  // Without a dialog. A file that cannot be opened leaves the tables as they were, after an alert.
  void Open(const std::string& path);

  // The results file last opened or saved; empty before that.
  [[nodiscard]] const std::string& OpenedFile() const { return _openedFile; }

 private:
  // False after a message when the file is none of ours, as after an open that failed.
  [[nodiscard]] bool MayWrite(const std::string& path);
  void Tell(const QString& title, const QString& text);

  QWidget* const m_window;
  TDXAppDelegate& m_delegate;
  std::string _openedFile;
};

}  // namespace quill
