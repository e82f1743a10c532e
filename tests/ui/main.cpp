// SPDX-License-Identifier: GPL-3.0-or-later
// The tests of the window run in one process with one application, on a screen that nobody sees and
// without a session bus: no test depends on the desktop it runs on, or shows up there.
#include <gtest/gtest.h>

#include <QApplication>
#include <QStandardPaths>
#include <csignal>

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
  QStandardPaths::setTestModeEnabled(true);
  testing::InitGoogleTest(&argc, argv);
  const QApplication application(argc, argv);
  // A window that a test closes must not end the event loop of the next one.
  QApplication::setQuitOnLastWindowClosed(false);
  return RUN_ALL_TESTS();
}
