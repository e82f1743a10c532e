#include "ui/window/documents.h"

#include <QFileDialog>
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

QString DocumentsFolder() {
  return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
}

}  // namespace

void CDocuments::FileOpen() {
  const QString start = _openedFile.empty() ? DocumentsFolder() : ShownPath(_openedFile);
  const QString path = QFileDialog::getOpenFileName(m_window, QObject::tr("Open Results"), start,
                                                    NameFilter(kExtension, ResultsName()));
  if (!path.isEmpty()) Open(PathBytes(path));
}

void CDocuments::Open(const std::string& path) {
  _openedFile = path;
  (void)m_delegate.LoadData(path);
}

void CDocuments::FileSave() {
  if (!_openedFile.empty() && MayWrite(_openedFile)) (void)m_delegate.SaveData(_openedFile);
}

void CDocuments::FileSaveAs() {
  const QString start = _openedFile.empty() ? DocumentsFolder() : ShownPath(_openedFile);
  const QString path =
      ChooseSaveTarget(m_window, QObject::tr("Save Results"), start, {{kExtension, ResultsName()}});
  if (path.isEmpty()) return;
  const std::string chosen = PathBytes(path);
  if (!MayWrite(chosen)) return;
  _openedFile = chosen;
  (void)m_delegate.SaveData(chosen);
}

bool CDocuments::MayWrite(const std::string& path) {
  if (CResultsJournal::MayReplace(path)) return true;
  Tell(QObject::tr("Not saved"), QObject::tr("“%1” exists and is no results file. It was left "
                                             "alone; choose another name.")
                                     .arg(ShownPath(path)));
  return false;
}

void CDocuments::FileExport(CResultsView& view) {
  const QString path =
      ChooseSaveTarget(m_window, QObject::tr("Export"), DocumentsFolder(), view.ExportFormats());
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
