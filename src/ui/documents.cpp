#include "ui/documents.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QPushButton>
#include <QStandardPaths>

#include "app/app_delegate.h"
#include "storage/results_journal.h"
#include "ui/path_text.h"
#include "ui/results_view.h"

namespace quill {

namespace {

constexpr const char* kExtension = "quillmarsh";

QString ResultsName() {
  return QObject::tr("Quillmarsh results");
}

QString Filter(const QString& extension, const QString& name) {
  return QString("%1 (*.%2)").arg(name, extension);
}

QString DocumentsFolder() {
  return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
}

}  // namespace

void CDocuments::FileOpen() {
  const QString start = _openedFile.empty() ? DocumentsFolder() : ShownPath(_openedFile);
  const QString path = QFileDialog::getOpenFileName(m_window, QObject::tr("Open Results"), start,
                                                    Filter(kExtension, ResultsName()));
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
      ChooseTarget(QObject::tr("Save Results"), start, {{kExtension, ResultsName()}});
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
  const QString path = ChooseTarget(QObject::tr("Export"), DocumentsFolder(), view.ExportFormats());
  if (path.isEmpty()) return;
  const QString failure = view.ExportFile(PathBytes(path));
  if (!failure.isEmpty()) Tell(QObject::tr("Export failed"), failure);
}

QString CDocuments::ChooseTarget(const QString& title, const QString& start,
                                 const Formats& formats) {
  QStringList filters;
  for (const auto& [extension, name] : formats) filters.append(Filter(extension, name));
  QFileDialog dialog(m_window, title, QFileInfo(start).isDir() ? start : QFileInfo(start).path());
  dialog.setAcceptMode(QFileDialog::AcceptSave);
  dialog.setFileMode(QFileDialog::AnyFile);
  // The dialog knows no extension behind a point in the name ("2024.holiday"), and would ask about
  // another file than the one that is written.
  dialog.setOption(QFileDialog::DontConfirmOverwrite);
  dialog.setNameFilters(filters);
  if (!QFileInfo(start).isDir()) dialog.selectFile(QFileInfo(start).fileName());
  while (dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty()) {
    const qsizetype format = filters.indexOf(dialog.selectedNameFilter());
    const QString suffix = '.' + formats.at(std::max<qsizetype>(0, format)).first;
    QString path = dialog.selectedFiles().first();
    if (!path.endsWith(suffix)) path += suffix;
    if (!QFileInfo::exists(path) || MayReplace(path)) return path;
  }
  return {};
}

bool CDocuments::MayReplace(const QString& path) {
  QMessageBox box(QMessageBox::Warning, QObject::tr("Replace file"),
                  QObject::tr("“%1” exists already. Replace it?").arg(QFileInfo(path).fileName()),
                  QMessageBox::Cancel, m_window);
  box.setTextFormat(Qt::PlainText);
  box.setInformativeText(QObject::tr("What is in the file now will be lost."));
  QPushButton* replace = box.addButton(QObject::tr("Replace"), QMessageBox::AcceptRole);
  box.setDefaultButton(replace);
  box.exec();
  return box.clickedButton() == replace;
}

void CDocuments::Tell(const QString& title, const QString& text) {
  QMessageBox box(QMessageBox::Warning, title, text, QMessageBox::Ok, m_window);
  box.setTextFormat(Qt::PlainText);
  box.exec();
}

}  // namespace quill
