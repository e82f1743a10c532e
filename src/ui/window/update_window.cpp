// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/window/update_window.h"

#include <QDateTime>
#include <QDialogButtonBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>
#include <utility>

#include "core/configuration.h"
#include "core/log.h"
#include "platform/main_loop.h"

namespace quill {

namespace {

// Of the day, as far as a check a day goes.
bool IsSameDay(const QDateTime& a, const QDateTime& b) {
  return a.date() == b.date();
}

}  // namespace

TDXUpdateWindow::TDXUpdateWindow(std::unique_ptr<TDXUpdateChecker> checker, QWidget* parent)
    : QDialog(parent),
      m_checker(std::move(checker)),
      m_progress(new QProgressBar),
      m_descr(new QLabel) {
  setWindowTitle(tr("Check for updates"));
  setMinimumWidth(380);
  auto* layout = new QVBoxLayout(this);
  m_progress->setRange(0, 0);
  m_progress->setTextVisible(false);
  m_progress->setAccessibleName(tr("Asking the server"));
  layout->addWidget(m_progress);
  m_descr->setAlignment(Qt::AlignCenter);
  m_descr->setOpenExternalLinks(true);
  m_descr->setTextInteractionFlags(Qt::TextBrowserInteraction);
  m_descr->hide();
  layout->addWidget(m_descr);
  auto* buttons = new QDialogButtonBox;
  m_button = buttons->addButton(tr("Cancel"), QDialogButtonBox::RejectRole);
  layout->addWidget(buttons);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  if (m_checker && !m_checker->BeginRequest([this](UpdateResult result) { ProcessResult(result); }))
    ProcessResult(UpdateResult::kNoConnection);
}

TDXUpdateWindow::~TDXUpdateWindow() = default;

void TDXUpdateWindow::ProcessResult(UpdateResult result) {
  m_progress->hide();
  QString text;
  switch (result) {
    case UpdateResult::kNewer: {
      const QString site = TDXUpdateChecker::WebSite().toHtmlEscaped();
      text =
          QString("Update is available, please visit web-site:<br><a href=\"%1\">%1</a>").arg(site);
      break;
    }
    case UpdateResult::kUpToDate:
      text = "No update is available,<br>Your software is up to date";
      break;
    case UpdateResult::kNoConnection:
      text = "Can't connect to the server,<br>please check your internet connection";
      break;
    case UpdateResult::kBadReply:
      text = "Internal server error, please try again later...";
      break;
  }
  m_descr->setText("<b>" + text + "</b>");
  m_descr->show();
  m_button->setText("Ok");
  m_button->setDefault(true);
}

void TDXUpdateWindow::CheckUpdateModal(bool modal, QWidget* parent) {
  if (!TDXUpdateChecker::IsConfigured()) return;
  if (modal) {
    TDXUpdateWindow window(std::make_unique<TDXUpdateChecker>(), parent);
    window.exec();
    return;
  }
  auto* checker = new TDXUpdateChecker(parent);
  checker->BeginRequest([checker, parent](UpdateResult result) {
    checker->deleteLater();
    if (result != UpdateResult::kNewer) return;
    // The user has not asked for it: not in the middle of another dialog.
    CallFromMainLoop(parent, [parent, result] {
      TDXUpdateWindow window(nullptr, parent);
      window.ProcessResult(result);
      window.exec();
    });
  });
}

void TDXUpdateWindow::CheckAtStart(QWidget* parent) {
  const CConfiguration& configuration = CConfiguration::Instance();
  if (!TDXUpdateChecker::IsConfigured() || !configuration.GetBool("checkUpdate", true)) return;
  const QDateTime last =
      QDateTime::fromSecsSinceEpoch(configuration.GetInteger("lastUpdate", 0)).toUTC();
  if (IsSameDay(last, QDateTime::currentDateTimeUtc())) return;
  CLog::Instance().Line("Begin checking update");
  CheckUpdateModal(false, parent);
}

}  // namespace quill
