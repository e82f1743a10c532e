// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/window/given_paths.h"

#include <sys/stat.h>
#include <unistd.h>

#include <QMimeData>
#include <QObject>
#include <QUrl>
#include <algorithm>
#include <cerrno>
#include <cstring>

#include "storage/results_journal.h"
#include "ui/widgets/path_text.h"

namespace quill {

namespace {

bool IsFolder(const std::string& path) {
  struct stat status{};
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

QString CannotRead(const QString& name) {
  return QObject::tr("“%1” cannot be read: %2.").arg(name, std::strerror(errno));
}

}  // namespace

GivenPaths SortGiven(const std::vector<std::string>& paths) {
  GivenPaths given;
  for (auto path = paths.begin(); path != paths.end(); ++path) {
    if (std::find(paths.begin(), path, *path) != path) continue;
    const QString name = ShownPath(*path);
    struct stat status{};
    if (stat(path->c_str(), &status) != 0) {
      given.refused += errno == ENOENT || errno == ENOTDIR
                           ? QObject::tr("“%1” is not there.").arg(name)
                           : CannotRead(name);
    } else if (S_ISDIR(status.st_mode)) {
      if (access(path->c_str(), R_OK | X_OK) == 0)
        given.folders.push_back(*path);
      else
        given.refused += CannotRead(name);
    } else if (S_ISREG(status.st_mode) && access(path->c_str(), R_OK) != 0) {
      given.refused += CannotRead(name);
    } else if (!S_ISREG(status.st_mode) || !CResultsJournal::IsResultsFile(*path)) {
      given.refused += QObject::tr("“%1” is neither a folder nor a results file.").arg(name);
    } else if (given.results.empty()) {
      given.results = *path;
    } else {
      given.refused +=
          QObject::tr("“%1” was not opened: one results file is shown at a time.").arg(name);
    }
  }
  return given;
}

std::vector<std::string> DraggedPaths(const QMimeData& data) {
  std::vector<std::string> paths;
  if (!data.hasUrls()) return paths;
  for (const QUrl& url : data.urls()) {
    // An address keeps the bytes of names that are no text as they are.
    if (url.isLocalFile())
      paths.push_back(
          QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1()).toStdString());
  }
  return paths;
}

bool MayTake(const std::vector<std::string>& paths) {
  return std::any_of(paths.begin(), paths.end(), [](const std::string& path) {
    return ShownPath(path).endsWith(".quillmarsh", Qt::CaseInsensitive) || IsFolder(path);
  });
}

}  // namespace quill
