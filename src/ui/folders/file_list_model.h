// SPDX-License-Identifier: GPL-3.0-or-later
// What lies in the folder selected in the tree: names, sizes, times. Main thread.
#pragma once

#include <QAbstractTableModel>
#include <QIcon>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "ui/folders/folder_listing.h"

namespace quill {

class CFileListModel : public QAbstractTableModel {
  Q_OBJECT

 public:
  enum Column { kName, kSize, kModified, kColumns };

  explicit CFileListModel(QObject* parent = nullptr);

  // Shows a listing with details; none empties the list.
  void SetEntries(std::string folder, std::shared_ptr<const FolderEntries> entries);

  // The folder on show, empty for none.
  [[nodiscard]] const std::string& Folder() const { return m_folder; }
  [[nodiscard]] std::string Path(int row) const;
  [[nodiscard]] const FolderEntry& Entry(int row) const {
    return (*m_entries)[m_order[static_cast<size_t>(row)]];
  }

  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
  [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation,
                                    int role) const override;
  // Folders stay in front of files.
  void sort(int column, Qt::SortOrder order) override;

 private:
  void SortEntries();
  [[nodiscard]] QIcon EntryIcon(const FolderEntry& entry) const;

  std::string m_folder;
  std::shared_ptr<const FolderEntries> m_entries;  // never null
  std::vector<uint32_t> m_order;                   // places in m_entries, in table order
  int m_sortColumn = kName;
  Qt::SortOrder m_sortOrder = Qt::AscendingOrder;
  mutable std::unordered_map<std::string, QIcon> m_icons;  // by extension in lower case
};

}  // namespace quill
