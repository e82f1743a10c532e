#include "ui/documents.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QStandardPaths>

#include "app/app_delegate.h"
#include "storage/results_journal.h"
#include "ui/path_text.h"
#include "ui/results_view.h"

namespace quill {

namespace {

constexpr const char* kExtension = ".quillmarsh";

QString ResultsFilter() {
  return QObject::tr("Quillmarsh results (*%1)").arg(kExtension);
}

QString StartFolder(const std::string& opened) {
  if (!opened.empty()) return ShownPath(opened);
  return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
}

}  // namespace

void CDocuments::FileOpen() {
  const QString path = QFileDialog::getOpenFileName(m_window, QObject::tr("Open results"),
                                                    StartFolder(_openedFile), ResultsFilter());
  if (!path.isEmpty()) Open(PathBytes(path));
}

void CDocuments::Open(const std::string& path) {
  _openedFile = path;
  (void)m_delegate.LoadData(path);
}

void CDocuments::FileSave() {
  if (!_openedFile.empty()) Save(_openedFile);
}

void CDocuments::FileSaveAs() {
  QFileDialog dialog(m_window, QObject::tr("Save results"), StartFolder(_openedFile),
                     ResultsFilter());
  dialog.setAcceptMode(QFileDialog::AcceptSave);
  // With the extension added before the question whether a file is to be replaced.
  dialog.setDefaultSuffix(QString(kExtension).mid(1));
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return;
  const std::string path = PathBytes(dialog.selectedFiles().first());
  if (QFileInfo::exists(ShownPath(path)) && !CResultsJournal::IsResultsFile(path)) {
    Tell(QObject::tr("Not saved"),
         QObject::tr("\"%1\" exists and is no results file. It was left alone; choose another "
                     "name.")
             .arg(ShownPath(path)));
    return;
  }
  _openedFile = path;
  Save(path);
}

void CDocuments::Save(const std::string& path) {
  (void)m_delegate.SaveData(path);
}

void CDocuments::FileExport(CResultsView& view) {
  QStringList filters;
  const auto formats = view.ExportFormats();
  for (const auto& [extension, name] : formats)
    filters.append(QString("%1 (*.%2)").arg(name, extension));
  QFileDialog dialog(m_window, QObject::tr("Export"),
                     QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation));
  dialog.setAcceptMode(QFileDialog::AcceptSave);
  dialog.setNameFilters(filters);
  const auto follow = [&](const QString& filter) {
    dialog.setDefaultSuffix(formats.at(std::max<qsizetype>(0, filters.indexOf(filter))).first);
  };
  QObject::connect(&dialog, &QFileDialog::filterSelected, &dialog, follow);
  follow(filters.first());
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return;
  const QString failure = view.ExportFile(PathBytes(dialog.selectedFiles().first()));
  if (!failure.isEmpty()) Tell(QObject::tr("Export failed"), failure);
}

void CDocuments::Tell(const QString& title, const QString& text) {
  QMessageBox box(QMessageBox::Warning, title, text, QMessageBox::Ok, m_window);
  box.setTextFormat(Qt::PlainText);
  box.exec();
}

}  // namespace quill
