// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/tags/tag_edit_window.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QHeaderView>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "app/app_delegate.h"
#include "core/log.h"
#include "decoding/tag_access.h"
#include "platform/desktop_services.h"
#include "platform/disk_file_service.h"
#include "results/field_text.h"
#include "results/file_operations.h"
#include "results/path_parts.h"
#include "ui/widgets/icons.h"
#include "ui/widgets/path_text.h"

namespace quill {

namespace {

// "name" and ".ext" of a path's last part; a point that is the name's first character cuts nothing.
struct NameParts {
  std::string folder;  // with its slash
  std::string name;
  std::string extension;
};

NameParts SplitName(const std::string& path) {
  const std::string_view whole = NamePart(path);
  const size_t point = whole.rfind('.');
  const size_t cut = point == whole.npos || point == 0 ? whole.size() : point;
  return {path.substr(0, path.size() - whole.size()), std::string(whole.substr(0, cut)),
          std::string(whole.substr(cut))};
}

QString NumberText(uint32_t number) {
  return number == 0 ? QString() : QString::number(number);
}

}  // namespace

TDXTagEditWindow::TDXTagEditWindow(const std::string& path, TDXAppDelegate& delegate,
                                   CFileOperations& files, std::function<void()> reload,
                                   QWidget* parent)
    : QDialog(parent),
      m_path(path),
      m_delegate(delegate),
      m_files(files),
      m_reload(std::move(reload)) {
  setWindowTitle(tr("Edit: %1").arg(ShownPath(std::string(NamePart(path)))));
  (void)m_delegate.AudioDups().FillPairs(path, &m_paths);
  m_paths.insert(m_paths.begin(), path);

  auto* layout = new QVBoxLayout(this);
  MakeFields();
  MakeTable();
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Save | QDialogButtonBox::Cancel);
  buttons->button(QDialogButtonBox::Save)->setDefault(true);
  connect(buttons, &QDialogButtonBox::accepted, this, [this] { ActionApply(); });
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  layout->addWidget(buttons);
  resize(860, 640);

  Texts texts;
  if (!ReadTags(m_path, &texts)) {
    CLogLine().Append("Unable to edit tags: ").Append(m_path);
    texts = {};
  }
  texts[kFilename] = ShownPath(SplitName(m_path).name);
  for (size_t i = 0; i < kFields; ++i) m_rows[i].edit->setText(texts[i]);
  FillTable();
  if (m_paths.size() > 1) m_table->selectRow(1);
  FillHelper();
  m_rows[kTitle].edit->setFocus();
}

void TDXTagEditWindow::MakeFields() {
  const QString names[kFields] = {tr("File &name"), tr("&Title"), tr("&Artist"), tr("Al&bum"),
                                  tr("&Year"),      tr("T&rack"), tr("&Genre"),  tr("&Comment")};
  auto* grid = new QGridLayout;
  auto* own = new QLabel("<b>" + tr("This file") + "</b>");
  auto* other = new QLabel("<b>" + tr("Selected duplicate") + "</b>");
  grid->addWidget(own, 0, 1);
  grid->addWidget(other, 0, 3);
  for (size_t i = 0; i < kFields; ++i) {
    const int line = static_cast<int>(i) + 1;
    auto* label = new QLabel(names[i]);
    Row& row = m_rows[i];
    row = {new QLineEdit, new QLineEdit};
    label->setBuddy(row.edit);
    if (i == kYear || i == kTrack) row.edit->setValidator(new QIntValidator(0, 99999, row.edit));
    const QString plain = QString(names[i]).remove('&');
    row.tag->setReadOnly(true);
    row.tag->setFocusPolicy(Qt::ClickFocus);
    row.tag->setAccessibleName(tr("%1 of the selected duplicate").arg(plain));
    auto* copy = new QToolButton;
    copy->setIcon(Icon("go-previous"));
    copy->setToolTip(tr("Copy the %1 of the selected duplicate").arg(plain.toLower()));
    copy->setAccessibleName(copy->toolTip());
    connect(copy, &QToolButton::clicked, this, [this, i] { Copy(i, i); });
    m_selectionButtons.push_back(copy);
    grid->addWidget(label, line, 0);
    grid->addWidget(row.edit, line, 1);
    grid->addWidget(copy, line, 2);
    grid->addWidget(row.tag, line, 3);
  }
  auto* copies = new QHBoxLayout;
  copies->addStretch();
  auto* copyTags = new QPushButton(tr("Copy All Ta&gs"));
  copyTags->setToolTip(tr("Copy every tag of the selected duplicate, but not its name"));
  connect(copyTags, &QPushButton::clicked, this, [this] { Copy(kTitle, kComment); });
  auto* copyAll = new QPushButton(tr("Copy Tags and &Name"));
  copyAll->setToolTip(tr("Copy every tag of the selected duplicate, and its name"));
  connect(copyAll, &QPushButton::clicked, this, [this] { Copy(kFilename, kComment); });
  for (QPushButton* button : {copyTags, copyAll}) {
    button->setAutoDefault(false);
    copies->addWidget(button);
    m_selectionButtons.push_back(button);
  }
  grid->addLayout(copies, kFields + 1, 1, 1, 3);
  grid->setColumnStretch(1, 1);
  grid->setColumnStretch(3, 1);
  static_cast<QVBoxLayout*>(layout())->addLayout(grid);
}

void TDXTagEditWindow::MakeTable() {
  m_table = new QTableWidget(0, 5);
  m_table->setHorizontalHeaderLabels(
      {tr("File name"), tr("Duration"), tr("Bitrate"), tr("Size"), tr("Folder")});
  m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
  m_table->setSelectionMode(QAbstractItemView::SingleSelection);
  m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
  m_table->verticalHeader()->hide();
  m_table->horizontalHeader()->setStretchLastSection(true);
  m_table->setColumnWidth(0, 300);
  m_table->setAccessibleName(tr("This file and its duplicates"));
  connect(m_table, &QTableWidget::itemSelectionChanged, this, [this] { FillHelper(); });
  static_cast<QVBoxLayout*>(layout())->addWidget(m_table, 1);

  auto* line = new QHBoxLayout;
  auto* browse = new QPushButton(Icon("system-file-manager"), tr("Sho&w in Folder"));
  browse->setToolTip(tr("Show the selected file in the file manager"));
  connect(browse, &QPushButton::clicked, this, [this] { ActionBrowse(); });
  auto* ignore = new QPushButton(Icon("ignore"), tr("&Ignore Pair"));
  ignore->setToolTip(tr("Never report these two files as duplicates again"));
  connect(ignore, &QPushButton::clicked, this, [this] { ActionIgnore(); });
  auto* trash = new QPushButton(Icon("user-trash"), tr("Move to Tras&h"));
  trash->setToolTip(tr("Move the selected duplicate to the trash"));
  connect(trash, &QPushButton::clicked, this, [this] { ActionDelete(); });
  for (QPushButton* button : {browse, ignore, trash}) {
    button->setAutoDefault(false);
    line->addWidget(button);
  }
  line->addStretch();
  m_browse = browse;
  m_selectionButtons.push_back(ignore);
  m_selectionButtons.push_back(trash);
  static_cast<QVBoxLayout*>(layout())->addLayout(line);
}

bool TDXTagEditWindow::ReadTags(const std::string& path, Texts* texts) const {
  std::string title, artist, album, genre, comment;
  uint32_t year = 0, track = 0;
  if (m_delegate.Tags().GetProperties(path, 0, &title, &artist, &album, &genre, &comment, &year,
                                      &track) != kDecodeOk)
    return false;
  (*texts)[kTitle] = QString::fromStdString(title);
  (*texts)[kArtist] = QString::fromStdString(artist);
  (*texts)[kAlbum] = QString::fromStdString(album);
  (*texts)[kGenre] = QString::fromStdString(genre);
  (*texts)[kComment] = QString::fromStdString(comment);
  (*texts)[kYear] = NumberText(year);
  (*texts)[kTrack] = NumberText(track);
  return true;
}

void TDXTagEditWindow::FillTable() {
  m_table->setRowCount(static_cast<int>(m_paths.size()));
  for (int row = 0; row < m_table->rowCount(); ++row) {
    const std::string& path = m_paths[static_cast<size_t>(row)];
    const auto* item = m_delegate.AudioDups().LookUp(path);
    const auto text = [&](const std::string& known) {
      return item ? QString::fromStdString(known) : QString("n/a");
    };
    const QString cells[] = {
        item ? ShownPath(std::string(NamePart(path))) : QString("n/a"),
        text(item ? DurationText(item->base->durationMs) : ""),
        text(item ? BitrateText(item->base->bitrate) : ""),
        text(item ? SizeText(item->base->size) : ""),
        item ? ShownPath(std::string(FolderPart(path))) : QString("n/a"),
    };
    for (int column = 0; column < 5; ++column) {
      auto* cell = new QTableWidgetItem(cells[column]);
      if (column >= 1 && column <= 3) cell->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
      cell->setToolTip(ShownPath(path));
      m_table->setItem(row, column, cell);
    }
  }
}

int TDXTagEditWindow::SelectedRow() const {
  const auto rows = m_table->selectionModel()->selectedRows();
  return rows.isEmpty() ? -1 : rows.first().row();
}

void TDXTagEditWindow::FillHelper() {
  const int row = SelectedRow();
  Texts texts;
  if (row >= 0) {
    const std::string& path = m_paths[static_cast<size_t>(row)];
    if (!ReadTags(path, &texts)) {
      texts = {};
      if (const auto* item = m_delegate.AudioDups().LookUp(path)) {
        texts[kTitle] = QString::fromStdString(item->base->title);
        texts[kArtist] = QString::fromStdString(item->base->artist);
        texts[kAlbum] = QString::fromStdString(item->base->album);
      }
    }
    texts[kFilename] = ShownPath(SplitName(path).name);
  }
  for (size_t i = 0; i < kFields; ++i) m_rows[i].tag->setText(texts[i]);
  for (QAbstractButton* button : m_selectionButtons) button->setEnabled(row > 0);
  m_browse->setEnabled(row >= 0);
}

void TDXTagEditWindow::Copy(size_t first, size_t last) {
  for (size_t i = first; i <= last; ++i) m_rows[i].edit->setText(m_rows[i].tag->text());
}

void TDXTagEditWindow::ActionApply() {
  std::array<std::string, kFields> texts;
  for (size_t i = 0; i < kFields; ++i) texts[i] = m_rows[i].edit->text().toStdString();
  const uint32_t year = m_rows[kYear].edit->text().toUInt();
  const uint32_t track = m_rows[kTrack].edit->text().toUInt();
  CAudioDupsController& table = m_delegate.AudioDups();

  const int32_t status =
      m_delegate.Tags().SetProperties(m_path, 0, &texts[kTitle], &texts[kArtist], &texts[kAlbum],
                                      &texts[kGenre], &texts[kComment], &year, &track);
  if (status == kDecodeOk) {
    // As they were stored, which may be cut or changed.
    std::string title, artist, album;
    if (m_delegate.Tags().GetProperties(m_path, 0, &title, &artist, &album, nullptr, nullptr,
                                        nullptr, nullptr) == kDecodeOk &&
        table.LookUp(m_path)) {
      (void)table.Update(m_path, artist, album, title);
      m_reload();
    }
  } else {
    m_failure = tr("The tags of %1 could not be written").arg(ShownPath(m_path));
    CLogLine().Append("Unable to write tags: ").Append(m_path);
  }

  const NameParts old = SplitName(m_path);
  // Compared as text: a name that cannot be shown whole must not be changed by showing it.
  if (m_rows[kFilename].edit->text() != ShownPath(old.name)) {
    const std::string& name = texts[kFilename];
    const std::string target = old.folder + name + old.extension;
    const bool possible = !name.empty() && name.find('/') == name.npos;
    const int error = possible ? CDiskFileService().Rename(m_path, target) : EINVAL;
    if (error == 0) {
      if (table.LookUp(m_path)) (void)table.Rename(m_path, target);
      m_reload();
    } else {
      m_failure = tr("%1 could not be renamed: %2").arg(ShownPath(m_path), std::strerror(error));
      CLogLine()
          .Append("Unable to rename \"")
          .Append(m_path)
          .Append("\" to \"")
          .Append(target)
          .Append("\": ")
          .Append(std::strerror(error));
    }
  }
  accept();
}

void TDXTagEditWindow::ActionBrowse() {
  const int row = SelectedRow();
  if (row >= 0) ShowInFileManager({m_paths[static_cast<size_t>(row)]});
}

void TDXTagEditWindow::ActionIgnore() {
  const int row = SelectedRow();
  if (row <= 0) return;
  m_delegate.AudioDups().IgnorePair(m_path, m_paths[static_cast<size_t>(row)]);
  m_reload();
  RemoveRow(row);
}

void TDXTagEditWindow::ActionDelete() {
  const int row = SelectedRow();
  if (row <= 0) return;
  const std::string path = m_paths[static_cast<size_t>(row)];
  const bool gone = m_delegate.AudioDups().ActOnFile(
      path, [this](std::vector<std::string>* paths) { return m_files.Delete(paths); });
  if (!gone) return;
  m_reload();
  RemoveRow(row);
}

void TDXTagEditWindow::RemoveRow(int row) {
  m_paths.erase(m_paths.begin() + row);
  FillTable();
  m_table->selectRow(std::min(row, m_table->rowCount() - 1));
  FillHelper();
}

}  // namespace quill
