// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QPersistentModelIndex>
#include <QTest>
#include <filesystem>

#include "support/temp_folder.h"
#include "ui/folders/file_list_model.h"
#include "ui/folders/folder_tree_model.h"

namespace quill {
namespace {

class FolderModelsTest : public testing::Test {
 protected:
  void SetUp() override {
    for (const char* const name : {"top/Disc 10", "top/disc 9/deep", "top/.hidden", "top/\xFF"})
      std::filesystem::create_directories(m_files / name);
    test::WriteAll(m_files / "top/b.flac", std::string(123456, ' '));
    test::WriteAll(m_files / "top/A.mp3", "short");
    std::filesystem::create_directory_symlink(m_files / "top", m_files / "top/link");
  }
  [[nodiscard]] QStringList Rows(const QAbstractItemModel& model, const QModelIndex& parent = {}) {
    QStringList rows;
    for (int row = 0; row < model.rowCount(parent); ++row)
      rows.append(model.index(row, 0, parent).data().toString());
    return rows;
  }

  test::CTempFolder m_files;
  CFolderLister m_lister;
};

TEST_F(FolderModelsTest, SubfoldersComeInTheOrderPeopleExpectAndKeepTheirBytes) {
  CFolderTreeModel tree(m_lister);
  const QAbstractItemModelTester tester(&tree,
                                        QAbstractItemModelTester::FailureReportingMode::Fatal);
  const QModelIndex top = tree.AddNewPath(m_files / "top/", 2);
  ASSERT_TRUE(QTest::qWaitFor([&] { return tree.rowCount(top) == 3; }));
  EXPECT_EQ(Rows(tree, top).mid(0, 2), QStringList({"disc 9", "Disc 10"}));
  EXPECT_EQ(tree.Path(tree.index(2, 0, top)), m_files / "top/\xFF");
  EXPECT_EQ(top.siblingAtColumn(CFolderTreeModel::kGroup).data().toString(), "#2");
  EXPECT_EQ(tree.index(0, CFolderTreeModel::kGroup, top).data().toString(), "");

  EXPECT_EQ(tree.rowCount(tree.index(0, 0, top)), 0);
  tree.ListChildren(top);
  ASSERT_TRUE(QTest::qWaitFor([&] { return tree.rowCount(tree.index(0, 0, top)) == 1; }));
}

TEST_F(FolderModelsTest, AFolderAroundOthersTakesTheirPlace) {
  CFolderTreeModel tree(m_lister);
  const QAbstractItemModelTester tester(&tree,
                                        QAbstractItemModelTester::FailureReportingMode::Fatal);
  int changes = 0;
  QObject::connect(&tree, &CFolderTreeModel::ListChanged, [&] { ++changes; });
  (void)tree.AddNewPath(m_files / "top/Disc 10", 1);
  (void)tree.AddNewPath(m_files / "top/disc 9", 1);
  const QModelIndex top = tree.AddNewPath(m_files / "top", 3);
  EXPECT_EQ(tree.AddNewPath(m_files / "top/disc 9/deep", 4), top);
  EXPECT_EQ(changes, 3);
  ASSERT_EQ(tree.Folders().size(), 1U);
  EXPECT_EQ(tree.Folders()[0].groupId, 3);
  // Results for rows that have gone find nobody.
  ASSERT_TRUE(QTest::qWaitFor([&] { return tree.rowCount(top) == 3; }));

  const QModelIndex below = tree.index(0, 0, top);
  tree.SetGroup({below, top}, 4);
  tree.Remove({below});
  ASSERT_EQ(tree.Folders().size(), 1U);
  EXPECT_EQ(tree.Folders()[0].groupId, 4);
  tree.Remove({below, top});
  EXPECT_TRUE(tree.IsEmpty());
}

TEST_F(FolderModelsTest, RowsThatStayAreLeftAsTheyAre) {
  CFolderTreeModel tree(m_lister);
  const QAbstractItemModelTester tester(&tree,
                                        QAbstractItemModelTester::FailureReportingMode::Fatal);
  const QModelIndex top = tree.AddNewPath(m_files / "top", 0);
  ASSERT_TRUE(QTest::qWaitFor([&] { return tree.rowCount(top) == 3; }));
  const QPersistentModelIndex kept = tree.Child(top, "Disc 10");
  ASSERT_TRUE(kept.isValid());
  std::filesystem::remove_all(m_files / "top/disc 9");
  std::filesystem::create_directory(m_files / "top/Another");
  std::filesystem::create_directory(m_files / "top/Encore");
  tree.TakeEntries(top, ListFolder(m_files / "top", Listing::kDetails).value_or(FolderEntries()));
  EXPECT_EQ(Rows(tree, top).mid(0, 3), QStringList({"Another", "Disc 10", "Encore"}));
  EXPECT_EQ(kept.row(), 1);

  std::filesystem::remove_all(m_files / "top");
  tree.TakeEntries(top, ListFolder(m_files / "top", Listing::kDetails).value_or(FolderEntries()));
  EXPECT_EQ(tree.rowCount(top), 0);
}

TEST_F(FolderModelsTest, FilesSortBehindFolders) {
  CFileListModel files;
  const QAbstractItemModelTester tester(&files,
                                        QAbstractItemModelTester::FailureReportingMode::Fatal);
  files.SetEntries(m_files / "top", std::make_shared<const FolderEntries>(
                                        *ListFolder(m_files / "top", Listing::kDetails)));
  // A link is a file: a scan does not follow it.
  EXPECT_EQ(Rows(files).mid(3), QStringList({"A.mp3", "b.flac", "link"}));
  EXPECT_EQ(files.index(0, CFileListModel::kSize).data().toString(), "--");
  EXPECT_EQ(files.index(4, CFileListModel::kSize).data().toString(), "0.12 MB");
  EXPECT_EQ(files.Path(2), m_files / "top/\xFF");

  const QPersistentModelIndex largest = files.index(4, 0);
  files.sort(CFileListModel::kSize, Qt::DescendingOrder);
  EXPECT_EQ(largest.row(), 3);
  EXPECT_EQ(Rows(files).mid(0, 2), QStringList({"disc 9", "Disc 10"}));
  files.sort(CFileListModel::kName, Qt::DescendingOrder);
  EXPECT_EQ(Rows(files).mid(3), QStringList({"link", "b.flac", "A.mp3"}));
}

}  // namespace
}  // namespace quill
