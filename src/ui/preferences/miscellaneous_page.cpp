// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/preferences/miscellaneous_page.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include "app/app_delegate.h"
#include "core/configuration.h"
#include "core/defaults.h"
#include "ui/widgets/path_text.h"

namespace quill {
namespace {

constexpr const char* kMoveFolderKey = "moveBookmark";
constexpr int kMostThreads = 32;
constexpr double kBytesPerMegabyte = 1000000.0;

}  // namespace

CMiscellaneousPage::CMiscellaneousPage(TDXAppDelegate& delegate)
    : CSettingsPage(DefaultsMiscellaneous()), m_delegate(delegate) {
  auto* const layout = new QVBoxLayout(this);
  layout->addWidget(MakeFiles());
  layout->addWidget(MakeScan());
  layout->addWidget(MakeStores());
  layout->addStretch();
  ShowSettings();
  ShowMoveFolder();
  ReloadStats();
}

void CMiscellaneousPage::showEvent(QShowEvent* event) {
  ReloadStats();
  CPreferencesPage::showEvent(event);
}

QGroupBox* CMiscellaneousPage::MakeFiles() {
  auto* const confirm = new QCheckBox(tr("&Ask before files are moved to the trash"));
  Bind(confirm, "enableDeletionConfirmation");
  auto* const move = new QCheckBox(tr("&Move files to this folder without asking:"));
  Bind(move, "enableMoveFolder");
  m_movePath = new QLineEdit;
  m_movePath->setReadOnly(true);
  m_movePath->setPlaceholderText(tr("No folder chosen yet"));
  m_movePath->setAccessibleName(tr("Default move folder"));
  auto* const choose = new QPushButton(tr("C&hoose…"));
  connect(choose, &QPushButton::clicked, this, &CMiscellaneousPage::SelectMoveFolder);

  auto* const box = new QGroupBox(tr("Files"));
  auto* const grid = new QGridLayout(box);
  grid->addWidget(confirm, 0, 0, 1, 2);
  grid->addWidget(move, 1, 0, 1, 2);
  grid->addWidget(m_movePath, 2, 0);
  grid->addWidget(choose, 2, 1);
  return box;
}

QGroupBox* CMiscellaneousPage::MakeScan() {
  auto* const limit = new QCheckBox(tr("&Limit the number of worker threads to"));
  limit->setToolTip(tr("Without a limit a scan uses all processors, at the lowest priority"));
  auto* const threads = new QSpinBox;
  threads->setRange(1, kMostThreads);
  threads->setAccessibleName(tr("Worker threads"));
  threads->setEnabled(false);
  connect(limit, &QCheckBox::toggled, threads, &QWidget::setEnabled);
  Bind(limit, "enableThreadLimit");
  Bind(threads, "valueThreadLimit");
  auto* const flat = new QCheckBox(tr("Show duplicates as a &flat list of pairs"));
  flat->setToolTip(tr("Each file with its own pairs, instead of groups of files"));
  Bind(flat, "enableFlatMode");

  auto* const player = new QCheckBox(tr("Play sounds in the &built-in player"));
  player->setToolTip(tr("Instead of the desktop's own program"));
  Bind(player, "useInternalPlayer");

  auto* const box = new QGroupBox(tr("Scan and results"));
  auto* const grid = new QGridLayout(box);
  grid->addWidget(limit, 0, 0);
  grid->addWidget(threads, 0, 1);
  grid->addWidget(flat, 1, 0, 1, 3);
  grid->addWidget(player, 2, 0, 1, 3);
  grid->setColumnStretch(2, 1);
  return box;
}

QGroupBox* CMiscellaneousPage::MakeStores() {
  auto* const box = new QGroupBox(tr("Stored by Quillmarsh"));
  auto* const grid = new QGridLayout(box);
  const auto add = [&](int row, const QString& name, const QString& tip, auto function) {
    auto* const title = new QLabel(name + ':');
    auto* const value = new QLabel;
    auto* const clear = new QPushButton(tr("Clear…"));
    clear->setAccessibleName(tr("Clear: %1").arg(name));
    title->setToolTip(tip);
    value->setToolTip(tip);
    value->setAccessibleName(name);
    connect(clear, &QPushButton::clicked, this, function);
    grid->addWidget(title, row, 0);
    grid->addWidget(value, row, 1);
    grid->addWidget(clear, row, 2);
    return value;
  };
  m_textCache = add(0, tr("Cache"), tr("What is known of files from earlier scans"),
                    &CMiscellaneousPage::ClearCache);
  m_textIgnores = add(1, tr("Ignore list"), tr("Files and pairs that scans leave alone"),
                      &CMiscellaneousPage::ClearIgnores);
  grid->setColumnStretch(1, 1);
  return box;
}

void CMiscellaneousPage::SelectMoveFolder() {
  QFileDialog dialog(this, tr("Default move folder"));
  if (QFileInfo(m_movePath->text()).isDir()) dialog.setDirectory(m_movePath->text());
  dialog.setFileMode(QFileDialog::Directory);
  dialog.setOption(QFileDialog::ShowDirsOnly);
  dialog.setLabelText(QFileDialog::Accept, tr("Set"));
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return;
  const std::string path = PathBytes(dialog.selectedFiles().first());
  if (path.empty()) return;
  CConfiguration::Instance().SetBytes(kMoveFolderKey, {path.begin(), path.end()});
  ShowMoveFolder();
}

void CMiscellaneousPage::ShowMoveFolder() {
  CByteBlock path;
  if (CConfiguration::Instance().GetBytes(kMoveFolderKey, &path))
    m_movePath->setText(ShownPath({path.begin(), path.end()}));
}

void CMiscellaneousPage::ReloadStats() {
  m_textIgnores->setText(QString::asprintf("%u pair(s)", m_delegate.Ignores().Count()));
  CCacheStore& cache = m_delegate.Cache();
  m_textCache->setText(
      QString::asprintf("%u item(s) (%.2f MB)", cache.Count(),
                        static_cast<double>(cache.FileSize()) / kBytesPerMegabyte));
}

void CMiscellaneousPage::ClearCache() {
  if (!Confirm(tr("Clear the cache of %1?").arg(m_textCache->text()),
               tr("The next scan reads all files anew. The files themselves are not touched.")))
    return;
  m_delegate.ClearCache();
  ReloadStats();
}

void CMiscellaneousPage::ClearIgnores() {
  if (!Confirm(tr("Clear the ignore list of %1?").arg(m_textIgnores->text()),
               tr("The next scan reports these files and pairs again. This cannot be undone.")))
    return;
  m_delegate.ClearIgnores();
  ReloadStats();
}

bool CMiscellaneousPage::Confirm(const QString& question, const QString& effect) {
  QMessageBox box(QMessageBox::Question, window()->windowTitle(), question, QMessageBox::Cancel,
                  this);
  box.setInformativeText(effect);
  QPushButton* const clear = box.addButton(tr("&Clear"), QMessageBox::AcceptRole);
  box.setDefaultButton(clear);
  box.setEscapeButton(QMessageBox::Cancel);
  box.exec();
  return box.clickedButton() == clear;
}

}  // namespace quill
