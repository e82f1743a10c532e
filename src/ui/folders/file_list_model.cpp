// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/folders/file_list_model.h"

#include <QDateTime>
#include <QFileIconProvider>
#include <QLocale>
#include <QMimeDatabase>
#include <algorithm>
#include <numeric>

#include "results/field_text.h"
#include "results/path_parts.h"
#include "ui/widgets/path_text.h"

namespace quill {

CFileListModel::CFileListModel(QObject* parent)
    : QAbstractTableModel(parent), m_entries(std::make_shared<const FolderEntries>()) {}

void CFileListModel::SetEntries(std::string folder, std::shared_ptr<const FolderEntries> entries) {
  beginResetModel();
  m_folder = std::move(folder);
  m_entries = entries ? std::move(entries) : std::make_shared<const FolderEntries>();
  SortEntries();
  endResetModel();
}

std::string CFileListModel::Path(int row) const {
  return m_folder + (m_folder.ends_with('/') ? "" : "/") + Entry(row).name;
}

int CFileListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(m_order.size());
}

int CFileListModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : kColumns;
}

QVariant CFileListModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return {};
  const FolderEntry& entry = Entry(index.row());
  if (role == Qt::TextAlignmentRole && index.column() == kSize)
    return QVariant(Qt::AlignRight | Qt::AlignVCenter);
  if (role == Qt::DecorationRole && index.column() == kName) return EntryIcon(entry);
  if (role == Qt::ToolTipRole && index.column() == kName) return ShownPath(Path(index.row()));
  if (role != Qt::DisplayRole) return {};
  switch (index.column()) {
    case kName:
      return ShownPath(entry.name);
    case kSize:
      return entry.isFolder ? QStringLiteral("--") : QString::fromStdString(SizeText(entry.size));
    default:
      return QLocale().toString(QDateTime::fromSecsSinceEpoch(entry.modifiedSeconds),
                                QLocale::ShortFormat);
  }
}

QVariant CFileListModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal) return {};
  if (role == Qt::TextAlignmentRole && section == kSize)
    return QVariant(Qt::AlignRight | Qt::AlignVCenter);
  if (role != Qt::DisplayRole) return {};
  return section == kName ? tr("Name") : section == kSize ? tr("Size") : tr("Modified");
}

void CFileListModel::sort(int column, Qt::SortOrder order) {
  m_sortColumn = column;
  m_sortOrder = order;
  emit layoutAboutToBeChanged({}, VerticalSortHint);
  const std::vector<uint32_t> before = m_order;
  SortEntries();
  std::vector<int> places(m_order.size());
  for (size_t row = 0; row < m_order.size(); ++row) places[m_order[row]] = static_cast<int>(row);
  for (const QModelIndex& index : persistentIndexList()) {
    const uint32_t entry = before[static_cast<size_t>(index.row())];
    changePersistentIndex(index, createIndex(places[entry], index.column()));
  }
  emit layoutChanged({}, VerticalSortHint);
}

void CFileListModel::SortEntries() {
  m_order.resize(m_entries->size());
  std::iota(m_order.begin(), m_order.end(), 0U);
  const bool ascending = m_sortOrder == Qt::AscendingOrder;
  // The entries come in the order of their names, so that their place is the name's rank.
  std::sort(m_order.begin(), m_order.end(), [&](uint32_t a, uint32_t b) {
    const FolderEntry& first = (*m_entries)[a];
    const FolderEntry& second = (*m_entries)[b];
    if (first.isFolder != second.isFolder) return first.isFolder;
    if (m_sortColumn == kSize && first.size != second.size && !first.isFolder)
      return (first.size < second.size) == ascending;
    if (m_sortColumn == kModified && first.modifiedSeconds != second.modifiedSeconds)
      return (first.modifiedSeconds < second.modifiedSeconds) == ascending;
    return (a < b) == (ascending || m_sortColumn != kName);
  });
}

QIcon CFileListModel::EntryIcon(const FolderEntry& entry) const {
  static const std::string kFolderKey = "/";
  const std::string key = entry.isFolder ? kFolderKey : LowerExtension(entry.name);
  const auto found = m_icons.find(key);
  if (found != m_icons.end()) return found->second;
  const QFileIconProvider provider;
  QIcon icon = provider.icon(entry.isFolder ? QFileIconProvider::Folder : QFileIconProvider::File);
  if (!entry.isFolder) {
    // By the name alone: a look into each file would wake the disk for every row.
    const QMimeType type =
        QMimeDatabase().mimeTypeForFile(ShownPath(entry.name), QMimeDatabase::MatchExtension);
    icon = QIcon::fromTheme(type.iconName(), QIcon::fromTheme(type.genericIconName(), icon));
  }
  return m_icons.emplace(key, std::move(icon)).first->second;
}

}  // namespace quill
