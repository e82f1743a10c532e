// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/folders/folder_chooser.h"

#include <QAbstractItemView>
#include <QCoreApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QListView>
#include <QStandardPaths>
#include <QStorageInfo>
#include <QTreeView>
#include <QUrl>

#include "ui/widgets/path_text.h"

namespace quill {
namespace {

// The user's own places, and the disks that a desktop mounts for a user.
QList<QUrl> Places() {
  QList<QUrl> places;
  for (const auto location : {QStandardPaths::HomeLocation, QStandardPaths::MusicLocation,
                              QStandardPaths::PicturesLocation, QStandardPaths::DownloadLocation}) {
    const QString path = QStandardPaths::writableLocation(location);
    const QUrl url = QUrl::fromLocalFile(path);
    if (QFileInfo(path).isDir() && !places.contains(url)) places.append(url);
  }
  for (const QStorageInfo& volume : QStorageInfo::mountedVolumes()) {
    const QString root = volume.rootPath();
    if (root.startsWith("/media/") || root.startsWith("/run/media/") || root.startsWith("/mnt/"))
      places.append(QUrl::fromLocalFile(root));
  }
  places.append(QUrl::fromLocalFile("/"));
  return places;
}

}  // namespace

std::vector<std::string> ChooseFolders(QWidget* parent) {
  static QString last = QStandardPaths::writableLocation(QStandardPaths::HomeLocation);
  QFileDialog dialog(parent, QCoreApplication::translate("quill", "Add folder"), last);
  dialog.setFileMode(QFileDialog::Directory);
  // The desktops' own dialogs choose one folder only.
  dialog.setOptions(QFileDialog::ShowDirsOnly | QFileDialog::DontUseNativeDialog);
  dialog.setLabelText(QFileDialog::Accept, QCoreApplication::translate("quill", "Add"));
  dialog.setSidebarUrls(Places());
  for (QAbstractItemView* const view : dialog.findChildren<QAbstractItemView*>()) {
    if (view->objectName() == "listView" || view->objectName() == "treeView")
      view->setSelectionMode(QAbstractItemView::ExtendedSelection);
  }
  if (dialog.exec() != QDialog::Accepted) return {};
  last = dialog.directory().absolutePath();
  std::vector<std::string> folders;
  for (const QString& folder : dialog.selectedFiles()) folders.push_back(PathBytes(folder));
  return folders;
}

}  // namespace quill
