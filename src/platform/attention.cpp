// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/attention.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariantMap>

namespace quill {

namespace {

constexpr const char* kDesktopFile = "org.quillmarsh.Quillmarsh";

}  // namespace

void Notify(const QString& summary, const QString& body) {
  QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) return;
  QDBusMessage message = QDBusMessage::createMethodCall("org.freedesktop.Notifications",
                                                        "/org/freedesktop/Notifications",
                                                        "org.freedesktop.Notifications", "Notify");
  const QVariantMap hints{{"desktop-entry", QString(kDesktopFile)}};
  constexpr int kAsTheDesktopLikes = -1;  // how long it stays
  message << QString("Quillmarsh") << 0U << QString(kDesktopFile) << summary << body
          << QStringList() << hints << kAsTheDesktopLikes;
  (void)bus.send(message);
}

void ShowLauncherBadge(uint32_t count) {
  QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) return;
  QDBusMessage message = QDBusMessage::createSignal("/org/quillmarsh/Quillmarsh",
                                                    "com.canonical.Unity.LauncherEntry", "Update");
  const QVariantMap state{{"count", qlonglong{count}}, {"count-visible", count != 0}};
  message << QString("application://%1.desktop").arg(kDesktopFile) << state;
  (void)bus.send(message);
}

}  // namespace quill
