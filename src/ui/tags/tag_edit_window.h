// SPDX-License-Identifier: GPL-3.0-or-later
// Edits the tags and the name of one file beside the tags of its duplicates, any of which can be
// copied over, field by field. Modal; the table behind it follows what really happened on disk.
// Main thread.
#pragma once

#include <QDialog>
#include <array>
#include <functional>
#include <string>
#include <vector>

class QAbstractButton;
class QLineEdit;
class QTableWidget;

namespace quill {

class CFileOperations;
class TDXAppDelegate;

class TDXTagEditWindow : public QDialog {
  Q_OBJECT

 public:
  // All must outlive the window. `reload` shows the tables anew.
  TDXTagEditWindow(const std::string& path, TDXAppDelegate& delegate, CFileOperations& files,
                   std::function<void()> reload, QWidget* parent);

  // What could not be written or renamed, for the status bar; empty when all went well.
  [[nodiscard]] const QString& Failure() const { return m_failure; }

 private:
  enum Field : size_t {
    kFilename,
    kTitle,
    kArtist,
    kAlbum,
    kYear,
    kTrack,
    kGenre,
    kComment,
    kFields
  };
  struct Row {
    QLineEdit* edit;
    QLineEdit* tag;  // of the selected file
  };
  // The fields by their names; those of a file that cannot be read come from the table.
  using Texts = std::array<QString, kFields>;

  void MakeFields();
  void MakeTable();
  [[nodiscard]] bool ReadTags(const std::string& path, Texts* texts) const;
  void FillTable();
  [[nodiscard]] int SelectedRow() const;
  void FillHelper();
  void Copy(size_t first, size_t last);
  void ActionApply();
  void ActionBrowse();
  void ActionIgnore();
  void ActionDelete();
  void RemoveRow(int row);

  const std::string m_path;
  TDXAppDelegate& m_delegate;
  CFileOperations& m_files;
  const std::function<void()> m_reload;
  std::vector<std::string> m_paths;  // the edited file first
  std::array<Row, kFields> m_rows{};
  QTableWidget* m_table = nullptr;
  std::vector<QAbstractButton*> m_selectionButtons;  // need a file other than the edited one
  QAbstractButton* m_browse = nullptr;
  QString m_failure;
};

}  // namespace quill
