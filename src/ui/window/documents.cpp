// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/window/documents.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QStandardPaths>

#include "app/app_delegate.h"
#include "storage/results_journal.h"
#include "ui/table/results_view.h"
#include "ui/widgets/path_text.h"
#include "ui/widgets/save_target.h"

namespace quill {

namespace {

constexpr const char* kExtension = "quillmarsh";

QString ResultsName() {
  return QObject::tr("Quillmarsh results");
}

// In the folder of documents, or at home where there is none.
QString InDocuments(const QString& name) {
  const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
  return QDir(QFileInfo(documents).isDir() ? documents : QDir::homePath()).filePath(name);
}

// Without an ending: that follows the chosen format.
QString ExportName(ResultsTab tab) {
  if (tab == ResultsTab::kImageDups) return QObject::tr("Image duplicates");
  if (tab == ResultsTab::kAudioAnalysis) return QObject::tr("Audio quality");
  return QObject::tr("Audio duplicates");
}

}  // namespace

void CDocuments::FileOpen() {
  const QString start = _openedFile.empty() ? InDocuments({}) : ShownPath(_openedFile);
  const QString path = QFileDialog::getOpenFileName(m_window, QObject::tr("Open Results"), start,
                                                    NameFilter(kExtension, ResultsName()));
  if (!path.isEmpty()) Open(PathBytes(path));
}

void CDocuments::Open(const std::string& path) {
  _openedFile = path;
  (void)m_delegate.LoadData(path);
}

bool CDocuments::CanSave() const {
  return !_openedFile.empty() || m_delegate.AudioDups().PairCount() != 0 ||
         m_delegate.ImageDups().PairCount() != 0 || m_delegate.AudioAnalysis().RowCount() != 0;
}

void CDocuments::FileSave() {
  if (_openedFile.empty()) return FileSaveAs();
  if (MayWrite(_openedFile)) (void)m_delegate.SaveData(_openedFile);
}

void CDocuments::FileSaveAs() {
  QString start = ShownPath(_openedFile);
  if (_openedFile.empty() || !QFileInfo(start).dir().exists())
    start = InDocuments(_openedFile.empty() ? ResultsName() : QFileInfo(start).fileName());
  const QString path =
      ChooseSaveTarget(m_window, QObject::tr("Save Results"), start, {{kExtension, ResultsName()}});
  if (path.isEmpty()) return;
  const std::string chosen = PathBytes(path);
  // What could not be saved there must not go there at the next save either.
  if (MayWrite(chosen) && m_delegate.SaveData(chosen)) _openedFile = chosen;
}

bool CDocuments::MayWrite(const std::string& path) {
  if (CResultsJournal::MayReplace(path)) return true;
  Tell(QObject::tr("Not saved"), QObject::tr("“%1” exists and is no results file. It was left "
                                             "alone; choose another name.")
                                     .arg(ShownPath(path)));
  return false;
}

void CDocuments::FileExport(CResultsView& view) {
  const QString path = ChooseSaveTarget(m_window, QObject::tr("Export"),
                                        InDocuments(ExportName(view.Tab())), view.ExportFormats());
  if (path.isEmpty()) return;
  const QString failure = view.ExportFile(PathBytes(path));
  if (!failure.isEmpty()) Tell(QObject::tr("Export failed"), failure);
}

void CDocuments::Tell(const QString& title, const QString& text) {
  QMessageBox box(QMessageBox::Warning, title, text, QMessageBox::Ok, m_window);
  box.setTextFormat(Qt::PlainText);
  box.exec();
}

}  // namespace quill
