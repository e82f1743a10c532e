// SPDX-License-Identifier: GPL-3.0-or-later
// Answers the modal dialogs of a test, one step a dialog, in the order in which they come up. A
// step that nobody came up for, and a dialog that nobody answers, fail the test.
#pragma once

#include <gtest/gtest.h>

#include <QAbstractItemView>
#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTimer>
#include <deque>
#include <functional>
#include <string>

namespace quill::test {

class CDialogDriver {
 public:
  CDialogDriver() {
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { Look(); });
    m_timer.start(10);
  }
  ~CDialogDriver() { EXPECT_TRUE(m_steps.empty()) << m_steps.size() << " dialogs did not come"; }
  CDialogDriver(const CDialogDriver&) = delete;
  CDialogDriver& operator=(const CDialogDriver&) = delete;

  // Takes the name as a user types it.
  void ChooseFile(const std::string& path) {
    m_steps.push_back([path](QWidget* widget) {
      auto* dialog = qobject_cast<QFileDialog*>(widget);
      ASSERT_TRUE(dialog) << widget->windowTitle().toStdString();
      // A file that the dialog proposes may stand selected, and would win; and the dialog's own
      // completion and looks at the file wait for a thread that reads the folder.
      for (QAbstractItemView* list : dialog->findChildren<QAbstractItemView*>())
        if (list->selectionModel()) list->selectionModel()->clearSelection();
      auto* name = dialog->findChild<QLineEdit*>();
      const QSignalBlocker quiet(name);
      name->setText(QString::fromStdString(path));
      static_cast<QDialog*>(dialog)->done(QDialog::Accepted);
    });
  }
  // A message that holds `text`; `button` as it is written, empty for Escape.
  void Answer(const QString& text, const QString& button) {
    m_steps.push_back([=](QWidget* widget) {
      auto* box = qobject_cast<QMessageBox*>(widget);
      ASSERT_TRUE(box) << widget->windowTitle().toStdString();
      EXPECT_TRUE(box->text().contains(text)) << box->text().toStdString();
      for (QAbstractButton* candidate : box->buttons()) {
        if (candidate->text().remove('&') == button) return candidate->click();
      }
      EXPECT_TRUE(button.isEmpty()) << "no button " << button.toStdString();
      box->reject();
    });
  }
  void Do(std::function<void(QWidget*)> step) { m_steps.push_back(std::move(step)); }

 private:
  void Look() {
    QWidget* widget = QApplication::activeModalWidget();
    if (!widget) return;
    if (m_steps.empty()) {
      ADD_FAILURE() << "unexpected dialog: " << widget->windowTitle().toStdString();
      widget->close();
      return;
    }
    const auto step = std::move(m_steps.front());
    m_steps.pop_front();
    step(widget);
    // A dialog that is not the one that was waited for must not hold up the test.
    if (testing::Test::HasFatalFailure()) widget->close();
  }

  std::deque<std::function<void(QWidget*)>> m_steps;
  QTimer m_timer;
};

}  // namespace quill::test
