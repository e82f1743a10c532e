// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/folders/folder_tree_model.h"

#include <QFileIconProvider>
#include <QGuiApplication>
#include <QPalette>
#include <algorithm>
#include <functional>
#include <string_view>
#include <unordered_set>

#include "results/path_parts.h"
#include "ui/widgets/icons.h"
#include "ui/widgets/path_text.h"

namespace quill {
namespace {

std::string Joined(const std::string& folder, const std::string& name) {
  return folder.ends_with('/') ? folder + name : folder + '/' + name;
}

}  // namespace

CFolderTreeModel::CFolderTreeModel(CFolderLister& lister, QObject* parent)
    : QAbstractItemModel(parent),
      m_lister(lister),
      m_icon(QFileIconProvider().icon(QFileIconProvider::Folder)),
      m_awayIcon(Icon("folder-away")) {}

CFolderTreeModel::~CFolderTreeModel() = default;

std::vector<TDXSelectedFolder> CFolderTreeModel::Folders() const {
  std::vector<TDXSelectedFolder> folders;
  for (const auto& folder : m_root.childs) folders.push_back({folder->path, folder->groupId});
  return folders;
}

QModelIndex CFolderTreeModel::AddNewPath(const std::string& path, uint8_t groupId) {
  std::string listed = ListedPath(path);
  if (listed.empty()) return {};
  const FolderAddition addition = PlanAddition(Folders(), listed);
  if (addition.coveredBy) return index(static_cast<int>(*addition.coveredBy), kFolder, {});
  for (auto row = addition.replaced.rbegin(); row != addition.replaced.rend(); ++row)
    RemoveRow(&m_root, *row);
  const size_t row = m_root.childs.size();
  Insert(&m_root, row, std::move(listed), groupId);
  List(m_root.childs[row].get());
  emit ListChanged();
  return index(static_cast<int>(row), kFolder, {});
}

void CFolderTreeModel::Remove(const QModelIndexList& rows) {
  std::vector<int> places;
  for (const QModelIndex& index : rows) {
    if (IsTop(index)) places.push_back(index.row());
  }
  std::sort(places.begin(), places.end(), std::greater<>());
  places.erase(std::unique(places.begin(), places.end()), places.end());
  for (const int row : places) RemoveRow(&m_root, static_cast<size_t>(row));
  if (!places.empty()) emit ListChanged();
}

void CFolderTreeModel::Clear() {
  if (IsEmpty()) return;
  beginResetModel();
  m_root.childs.clear();
  m_listings.clear();
  endResetModel();
  emit ListChanged();
}

void CFolderTreeModel::SetGroup(const QModelIndexList& rows, uint8_t groupId) {
  for (const QModelIndex& index : rows) {
    if (!IsTop(index)) continue;
    Folder(index)->groupId = groupId;
    const QModelIndex cell = index.siblingAtColumn(kGroup);
    emit dataChanged(cell, cell);
  }
  emit ListChanged();
}

const std::string& CFolderTreeModel::Path(const QModelIndex& index) const {
  return Folder(index)->path;
}

uint8_t CFolderTreeModel::Group(const QModelIndex& index) const {
  return Folder(index)->groupId;
}

QModelIndex CFolderTreeModel::Child(const QModelIndex& parent, const std::string& name) const {
  for (const auto& child : Folder(parent)->childs) {
    if (NamePart(child->path) == name) return IndexOf(*child);
  }
  return {};
}

void CFolderTreeModel::LookAgain() {
  for (const auto& folder : m_root.childs) {
    if (folder->look != 0) continue;
    folder->look = ++m_lastListing;
    m_listings.emplace(folder->look, folder.get());
    m_lister.Request(folder->path, Listing::kPresence,
                     [this, id = folder->look](const auto& entries) {
                       const auto found = m_listings.find(id);
                       if (found == m_listings.end()) return;
                       TDXFolder* const looked = found->second;
                       m_listings.erase(found);
                       looked->look = 0;
                       SetAway(looked, entries == nullptr);
                     });
  }
}

std::vector<std::string> CFolderTreeModel::LookNow() {
  std::vector<std::string> away;
  for (const auto& folder : m_root.childs) {
    SetAway(folder.get(), !ListFolder(folder->path, Listing::kPresence));
    if (folder->away) away.push_back(folder->path);
  }
  return away;
}

bool CFolderTreeModel::IsAway(const QModelIndex& index) const {
  const TDXFolder* folder = Folder(index);
  while (folder->parent && folder->parent != &m_root) folder = folder->parent;
  return folder->away;
}

void CFolderTreeModel::SetAway(TDXFolder* folder, bool away) {
  if (folder->away == away) return;
  folder->away = away;
  const QModelIndex index = IndexOf(*folder);
  TakeEntries(index, {});
  folder->listed = false;
  if (!away) List(folder);
  emit dataChanged(index, index.siblingAtColumn(kGroup));
  emit AwayChanged(index);
}

void CFolderTreeModel::ListChildren(const QModelIndex& index) {
  for (const auto& child : Folder(index)->childs) List(child.get());
}

void CFolderTreeModel::TakeEntries(const QModelIndex& index, const FolderEntries& entries) {
  TDXFolder* const folder = Folder(index);
  folder->listed = true;
  std::unordered_set<std::string_view> present;
  for (const FolderEntry& entry : entries) {
    if (entry.isFolder) present.insert(entry.name);
  }
  for (size_t row = folder->childs.size(); row-- > 0;) {
    if (!present.contains(NamePart(folder->childs[row]->path))) RemoveRow(folder, row);
  }
  if (present.empty()) return;
  if (folder->childs.empty()) {
    beginInsertRows(index, 0, static_cast<int>(present.size()) - 1);
    for (const FolderEntry& entry : entries) {
      if (!entry.isFolder) continue;
      auto child = std::make_unique<TDXFolder>();
      child->path = Joined(folder->path, entry.name);
      child->parent = folder;
      child->row = static_cast<int>(folder->childs.size());
      folder->childs.push_back(std::move(child));
    }
    endInsertRows();
    return;
  }
  // What has stayed is in the order of the listing too, so that new rows go between.
  size_t row = 0;
  for (const FolderEntry& entry : entries) {
    if (!entry.isFolder) continue;
    if (row == folder->childs.size() || NamePart(folder->childs[row]->path) != entry.name)
      Insert(folder, row, Joined(folder->path, entry.name), 0);
    ++row;
  }
}

QModelIndex CFolderTreeModel::index(int row, int column, const QModelIndex& parent) const {
  const TDXFolder* const folder = Folder(parent);
  if (row < 0 || column < 0 || column >= kColumns || parent.column() > 0 ||
      static_cast<size_t>(row) >= folder->childs.size())
    return {};
  return createIndex(row, column, folder->childs[static_cast<size_t>(row)].get());
}

QModelIndex CFolderTreeModel::parent(const QModelIndex& index) const {
  return index.isValid() ? IndexOf(*Folder(index)->parent) : QModelIndex();
}

int CFolderTreeModel::rowCount(const QModelIndex& parent) const {
  return parent.column() > 0 ? 0 : static_cast<int>(Folder(parent)->childs.size());
}

int CFolderTreeModel::columnCount(const QModelIndex&) const {
  return kColumns;
}

QVariant CFolderTreeModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return {};
  const TDXFolder& folder = *Folder(index);
  if (role == Qt::ToolTipRole) {
    const QString path = ShownPath(folder.path);
    return folder.away ? path + '\n' +
                             tr("This folder is away: it is not there, or cannot be read. Scans "
                                "leave it out until it is back.")
                       : path;
  }
  if (role == Qt::ForegroundRole && IsAway(index))
    return QGuiApplication::palette().brush(QPalette::Disabled, QPalette::Text);
  if (index.column() == kGroup) {
    if (role != Qt::DisplayRole || !IsTop(index)) return {};
    return folder.groupId == 0 ? QStringLiteral("-") : QStringLiteral("#%1").arg(folder.groupId);
  }
  if (role == Qt::DecorationRole) return folder.away ? m_awayIcon : m_icon;
  if (role != Qt::DisplayRole) return {};
  const std::string name(NamePart(folder.path));
  const QString shown = ShownPath(name.empty() ? folder.path : name);
  return folder.away ? tr("%1 (away)").arg(shown) : shown;
}

QVariant CFolderTreeModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  return section == kFolder ? tr("Folder") : tr("Group");
}

TDXFolder* CFolderTreeModel::Folder(const QModelIndex& index) const {
  return index.isValid() ? static_cast<TDXFolder*>(index.internalPointer()) : &m_root;
}

QModelIndex CFolderTreeModel::IndexOf(const TDXFolder& folder) const {
  return &folder == &m_root ? QModelIndex() : createIndex(folder.row, kFolder, &folder);
}

void CFolderTreeModel::List(TDXFolder* folder) {
  if (folder->listed || folder->listing != 0) return;
  folder->listing = ++m_lastListing;
  m_listings.emplace(folder->listing, folder);
  m_lister.Request(folder->path, Listing::kFolders,
                   [this, id = folder->listing](const auto& entries) {
                     const auto found = m_listings.find(id);
                     if (found == m_listings.end()) return;
                     TDXFolder* const listed = found->second;
                     m_listings.erase(found);
                     listed->listing = 0;
                     if (entries == nullptr && listed->parent == &m_root)
                       SetAway(listed, true);
                     else if (!listed->listed)
                       TakeEntries(IndexOf(*listed), entries ? *entries : FolderEntries());
                   });
}

void CFolderTreeModel::Insert(TDXFolder* parent, size_t row, std::string path, uint8_t groupId) {
  auto folder = std::make_unique<TDXFolder>();
  folder->path = std::move(path);
  folder->groupId = groupId;
  folder->parent = parent;
  beginInsertRows(IndexOf(*parent), static_cast<int>(row), static_cast<int>(row));
  parent->childs.insert(parent->childs.begin() + static_cast<ptrdiff_t>(row), std::move(folder));
  for (size_t i = row; i < parent->childs.size(); ++i) parent->childs[i]->row = static_cast<int>(i);
  endInsertRows();
}

void CFolderTreeModel::RemoveRow(TDXFolder* parent, size_t row) {
  beginRemoveRows(IndexOf(*parent), static_cast<int>(row), static_cast<int>(row));
  ForgetListings(*parent->childs[row]);
  parent->childs.erase(parent->childs.begin() + static_cast<ptrdiff_t>(row));
  for (size_t i = row; i < parent->childs.size(); ++i) parent->childs[i]->row = static_cast<int>(i);
  endRemoveRows();
}

void CFolderTreeModel::ForgetListings(const TDXFolder& folder) {
  m_listings.erase(folder.listing);
  m_listings.erase(folder.look);
  for (const auto& child : folder.childs) ForgetListings(*child);
}

}  // namespace quill
