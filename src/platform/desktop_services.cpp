// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop_services.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QStringList>
#include <QUrl>

namespace quill {

namespace {

constexpr int kAnswerTimeMs = 5000;

void OpenFolderOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  (void)OpenWithDesktop(slash == 0 || slash == path.npos ? "/" : path.substr(0, slash));
}

}  // namespace

std::string FileUrl(const std::string& path) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  static constexpr std::string_view kPlain = "/-._~";
  std::string url = "file://";
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    const bool alphanumeric =
        (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    if (alphanumeric || kPlain.find(c) != kPlain.npos) {
      url += c;
    } else {
      url += '%';
      url += kHex[byte >> 4];
      url += kHex[byte & 15];
    }
  }
  return url;
}

bool OpenWithDesktop(const std::string& path) {
  return QDesktopServices::openUrl(QUrl::fromEncoded(QByteArray::fromStdString(FileUrl(path))));
}

void ShowInFileManager(const std::vector<std::string>& paths) {
  if (paths.empty()) return;
  QStringList urls;
  for (const std::string& path : paths) urls.append(QString::fromStdString(FileUrl(path)));
  const QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) {
    OpenFolderOf(paths.front());
    return;
  }
  QDBusMessage call = QDBusMessage::createMethodCall("org.freedesktop.FileManager1",
                                                     "/org/freedesktop/FileManager1",
                                                     "org.freedesktop.FileManager1", "ShowItems");
  call << urls << QString();
  auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, kAnswerTimeMs));
  QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                   [watcher, first = paths.front()] {
                     const QDBusPendingReply<> reply = *watcher;
                     if (reply.isError()) OpenFolderOf(first);
                     watcher->deleteLater();
                   });
}

}  // namespace quill
