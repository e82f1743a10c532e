// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/window/file_questions.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QThread>
#include <atomic>
#include <chrono>
#include <thread>

#include "ui/dialog_driver.h"

namespace quill {
namespace {

using test::CDialogDriver;

TEST(FileQuestions, AsksInTheToldWordsAndEscapeMeansNo) {
  QWidget window;
  CWindowQuestions questions(&window);
  CDialogDriver dialogs;
  dialogs.Do([](QWidget* widget) {
    auto* box = qobject_cast<QMessageBox*>(widget);
    ASSERT_TRUE(box);
    EXPECT_EQ(box->windowTitle(), "Move to trash");
    EXPECT_EQ(box->text(), "Move to trash 1 file(s)?");
    EXPECT_EQ(box->informativeText(), "No copy left.");
    EXPECT_EQ(box->defaultButton()->text().remove('&'), "Yes");
    EXPECT_EQ(box->escapeButton()->text().remove('&'), "No");
    box->defaultButton()->click();
  });
  EXPECT_TRUE(questions.Confirm("Move to trash", "Move to trash 1 file(s)?", "No copy left."));
  dialogs.Answer("2 file(s)?", "");
  EXPECT_FALSE(questions.Confirm("Move to trash", "Move to trash 2 file(s)?", {}));
}

TEST(FileQuestions, WorksOnAnotherThreadWhileTheWindowLives) {
  QWidget window;
  CWindowQuestions questions(&window);
  const QThread* main = QThread::currentThread();
  bool elsewhere = false;
  int ticks = 0;
  QTimer timer;
  QObject::connect(&timer, &QTimer::timeout, &timer, [&] { ++ticks; });
  timer.start(1);
  for (size_t i = 0; i < 3; ++i) {
    ASSERT_TRUE(questions.Perform("/a", i, 3, [&] {
      elsewhere = QThread::currentThread() != main;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }));
    EXPECT_TRUE(elsewhere);
  }
  EXPECT_GT(ticks, 0);
  EXPECT_TRUE(questions.IsWorking());
  questions.Finished({});
  EXPECT_FALSE(questions.IsWorking());
}

TEST(FileQuestions, StopsBetweenFilesAndTellsWhatFailed) {
  QWidget window;
  window.show();
  CWindowQuestions questions(&window);
  std::atomic<bool> stopped = false;
  QTimer user;
  QObject::connect(&user, &QTimer::timeout, &user, [&] {
    QWidget* dialog = QApplication::activeModalWidget();
    if (!dialog) return;
    user.stop();
    dialog->findChild<QPushButton*>()->click();
    stopped = true;
  });
  user.start(10);
  // The file in work runs to its end.
  EXPECT_TRUE(questions.Perform("/a", 0, 2, [&] {
    while (!stopped) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }));
  EXPECT_FALSE(questions.Perform("/b", 1, 2, [] { ADD_FAILURE() << "handled after the stop"; }));
  CDialogDriver dialogs;
  dialogs.Do([](QWidget* dialog) {
    EXPECT_TRUE(dialog->findChild<QPlainTextEdit*>()->toPlainText().contains("/a: taken"));
    dialog->close();
  });
  questions.Finished({"/a: taken"});
}

// The end of a session in the middle of a list: no further file, no question, and the window goes
// when the tables have followed.
TEST(FileQuestions, AnEndOfTheSessionWaitsForOneFileOnly) {
  QWidget window;
  window.show();
  CWindowQuestions questions(&window);
  EXPECT_TRUE(questions.Perform("/a", 0, 2, [&] {
    QMetaObject::invokeMethod(
        &window, [&] { questions.StopAndClose(); }, Qt::BlockingQueuedConnection);
  }));
  EXPECT_FALSE(questions.Perform("/b", 1, 2, [] { ADD_FAILURE() << "handled after the stop"; }));
  questions.Finished({"/a: nobody is there to read this"});
  EXPECT_TRUE(window.isVisible());
  QCoreApplication::processEvents();
  EXPECT_FALSE(window.isVisible());
}

}  // namespace
}  // namespace quill
