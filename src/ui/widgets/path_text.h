// SPDX-License-Identifier: GPL-3.0-or-later
// Paths between the core, where they are bytes of the file system, and the window, where they are
// text. What is shown may lose bytes that are no UTF-8; what is acted upon never comes from a text.
#pragma once

#include <QFile>
#include <QString>
#include <string>

namespace quill {

[[nodiscard]] inline QString ShownPath(const std::string& path) {
  return QFile::decodeName(QByteArray::fromStdString(path));
}

[[nodiscard]] inline std::string PathBytes(const QString& path) {
  return QFile::encodeName(path).toStdString();
}

}  // namespace quill
