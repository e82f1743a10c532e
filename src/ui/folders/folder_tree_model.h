// SPDX-License-Identifier: GPL-3.0-or-later
// The tree of folders to scan: the chosen ones at the top, each with its group, and what lies below
// for looking around. Subfolders are read when their parent's row comes on show, off the main
// thread, so that a row has its triangle only where there is something to open. A chosen folder
// that cannot be read is away, as on a disk that is not plugged in: it keeps its row. Main thread.
#pragma once

#include <QAbstractItemModel>
#include <QIcon>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "ui/folders/folder_list.h"
#include "ui/folders/folder_listing.h"

namespace quill {

// One row of the tree.
struct TDXFolder {
  std::string path;
  uint8_t groupId = 0;  // of top-level rows only
  TDXFolder* parent = nullptr;
  int row = 0;
  uint64_t listing = 0;  // the one that is under way, 0 for none
  uint64_t look = 0;     // likewise, for its presence
  bool listed = false;
  bool away = false;  // of top-level rows only
  std::vector<std::unique_ptr<TDXFolder>> childs;
};

class CFolderTreeModel : public QAbstractItemModel {
  Q_OBJECT

 public:
  enum Column { kFolder, kGroup, kColumns };

  // `lister` must outlive every call but the destructor.
  explicit CFolderTreeModel(CFolderLister& lister, QObject* parent = nullptr);
  ~CFolderTreeModel() override;

  [[nodiscard]] std::vector<TDXSelectedFolder> Folders() const;
  [[nodiscard]] bool IsEmpty() const { return m_root.childs.empty(); }
  // The new row, or the one that covers the folder already; invalid for a path that is not
  // absolute.
  QModelIndex AddNewPath(const std::string& path, uint8_t groupId);
  // Rows below the top are passed over, as by SetGroup.
  void Remove(const QModelIndexList& rows);
  void Clear();
  void SetGroup(const QModelIndexList& rows, uint8_t groupId);

  [[nodiscard]] static bool IsTop(const QModelIndex& index) {
    return index.isValid() && !index.parent().isValid();
  }
  [[nodiscard]] const std::string& Path(const QModelIndex& index) const;
  [[nodiscard]] uint8_t Group(const QModelIndex& index) const;
  // The row of a folder below `parent`, if it is known.
  [[nodiscard]] QModelIndex Child(const QModelIndex& parent, const std::string& name) const;

  // Finds out which of the chosen folders are away: later, off the main thread.
  void LookAgain();
  // At once; gives the paths of those that are.
  std::vector<std::string> LookNow();
  // Of the chosen folder that the row belongs to.
  [[nodiscard]] bool IsAway(const QModelIndex& index) const;

  // The rows below `index` are on show now: finds out what lies in each.
  void ListChildren(const QModelIndex& index);
  // What has been read of a folder: its rows follow, those that stay being left as they are.
  void TakeEntries(const QModelIndex& index, const FolderEntries& entries);

  [[nodiscard]] QModelIndex index(int row, int column, const QModelIndex& parent) const override;
  [[nodiscard]] QModelIndex parent(const QModelIndex& index) const override;
  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
  [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation,
                                    int role) const override;

 signals:
  // Folders have come, gone or changed their group.
  void ListChanged();
  // A folder has gone away or come back.
  void AwayChanged(const QModelIndex& index);

 private:
  [[nodiscard]] TDXFolder* Folder(const QModelIndex& index) const;
  [[nodiscard]] QModelIndex IndexOf(const TDXFolder& folder) const;
  void List(TDXFolder* folder);
  void SetAway(TDXFolder* folder, bool away);
  void Insert(TDXFolder* parent, size_t row, std::string path, uint8_t groupId);
  void RemoveRow(TDXFolder* parent, size_t row);
  void ForgetListings(const TDXFolder& folder);

  CFolderLister& m_lister;
  mutable TDXFolder m_root;  // indexes hand out pointers to what lies below it
  std::unordered_map<uint64_t, TDXFolder*> m_listings;  // under way
  uint64_t m_lastListing = 0;
  QIcon m_icon;
  QIcon m_awayIcon;
};

}  // namespace quill
