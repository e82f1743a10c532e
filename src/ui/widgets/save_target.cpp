// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/widgets/save_target.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QPushButton>
#include <algorithm>

namespace quill {

namespace {

bool MayReplace(QWidget* parent, const QString& path) {
  QMessageBox box(QMessageBox::Warning, QObject::tr("Replace file"),
                  QObject::tr("“%1” exists already. Replace it?").arg(QFileInfo(path).fileName()),
                  QMessageBox::Cancel, parent);
  box.setTextFormat(Qt::PlainText);
  box.setInformativeText(QObject::tr("What is in the file now will be lost."));
  QPushButton* replace = box.addButton(QObject::tr("Replace"), QMessageBox::AcceptRole);
  box.setDefaultButton(replace);
  box.exec();
  return box.clickedButton() == replace;
}

bool HasEnding(const QString& path, const QString& extension) {
  return path.endsWith('.' + extension, Qt::CaseInsensitive);
}

}  // namespace

QString NameFilter(const QString& extension, const QString& name) {
  return QString("%1 (*.%2)").arg(name, extension);
}

QString ChooseSaveTarget(QWidget* parent, const QString& title, const QString& start,
                         const QList<QPair<QString, QString>>& formats) {
  QStringList filters;
  for (const auto& [extension, name] : formats) filters.append(NameFilter(extension, name));
  const QFileInfo proposal(start);
  QFileDialog dialog(parent, title, proposal.isDir() ? start : proposal.path());
  dialog.setAcceptMode(QFileDialog::AcceptSave);
  dialog.setFileMode(QFileDialog::AnyFile);
  // The dialog knows no extension behind a point in the name ("2024.holiday"), and would ask about
  // another file than the one that is written.
  dialog.setOption(QFileDialog::DontConfirmOverwrite);
  dialog.setNameFilters(filters);
  if (!proposal.isDir()) dialog.selectFile(proposal.fileName());
  while (dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty()) {
    const qsizetype format = filters.indexOf(dialog.selectedNameFilter());
    QString path = dialog.selectedFiles().first();
    const bool named = std::any_of(formats.begin(), formats.end(),
                                   [&](const auto& known) { return HasEnding(path, known.first); });
    if (!named) path += '.' + formats.at(std::max<qsizetype>(0, format)).first;
    if (!QFileInfo::exists(path) || MayReplace(parent, path)) return path;
  }
  return {};
}

}  // namespace quill
