// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/folders/folders_view.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QMenu>
#include <QTest>
#include <QTreeView>
#include <filesystem>

#include "app/app_delegate.h"
#include "core/configuration.h"
#include "support/manual_queue.h"
#include "support/temp_folder.h"
#include "ui/silent_front_end.h"

namespace quill {
namespace {

class FoldersViewTest : public testing::Test {
 protected:
  FoldersViewTest() {
    CConfiguration::Instance().SetStore(&m_store);
    CConfiguration::Instance().SetFolders(m_files / "support", m_files / "logs");
    for (const char* const name : {"media/a/deep", "media/b \xFF", "media/c"})
      std::filesystem::create_directories(m_files / name);
    test::WriteAll(m_files / "media/a/one.mp3", "sound");
    m_delegate = std::make_unique<TDXAppDelegate>(m_queue, m_frontEnd);
    m_delegate->AwakeFromNib();
    Open();
  }
  ~FoldersViewTest() override {
    m_view.reset();
    m_delegate.reset();
    CConfiguration::Instance().SetStore(nullptr);
  }
  void Open() {
    m_view = std::make_unique<TDXFoldersView>(*m_delegate);
    m_view->show();
    for (QTreeView* const view : m_view->findChildren<QTreeView*>())
      (view->accessibleName() == "Folders to scan" ? m_tree : m_list) = view;
  }
  [[nodiscard]] QAction* Action(const QString& text) const {
    for (QAction* const action : m_view->MenuActions())
      if (action->text().remove('&').startsWith(text)) return action;
    return nullptr;
  }
  // Letters of the actions that are enabled.
  [[nodiscard]] std::string Enabled() const {
    std::string letters;
    for (const char* const text :
         {"Add", "Remove", "Group", "Clear", "Analyse Selected Fi", "Analyse Selected Fo"})
      letters += Action(text)->isEnabled() ? std::string(text).back() : '.';
    return letters;
  }

  test::CTempFolder m_files;
  CMemorySettingsStore m_store;
  test::CManualQueue m_queue;
  test::CSilentFrontEnd m_frontEnd;
  std::unique_ptr<TDXAppDelegate> m_delegate;
  std::unique_ptr<TDXFoldersView> m_view;
  QTreeView* m_tree = nullptr;
  QTreeView* m_list = nullptr;
};

TEST_F(FoldersViewTest, AFolderThatIsAwayStaysInTheListAndComesBack) {
  EXPECT_FALSE(m_view->HasSelection());
  m_view->AddNewPath(m_files / "media/a", 0);
  m_view->AddNewPath(m_files / "media/b \xFF", 3);
  m_view->AddNewPath(m_files / "media/c/", 1);
  EXPECT_EQ(m_view->UnloadList().size(), 3U);
  std::filesystem::create_directory(m_files / "media/c/inner");
  const auto unplug = [&] { std::filesystem::rename(m_files / "media/c", m_files / "other"); };
  const auto plug = [&] { std::filesystem::rename(m_files / "other", m_files / "media/c"); };
  const auto row = [&](int role = Qt::DisplayRole) {
    return m_tree->model()->index(2, 0).data(role);
  };
  unplug();
  // Twice: the first of these runs must not forget it.
  for (int run = 0; run < 2; ++run) {
    Open();
    m_view->LoadList();
    ASSERT_TRUE(QTest::qWaitFor([&] { return row().toString() == "c (away)"; }));
    const std::vector<TDXSelectedFolder> folders = m_view->UnloadList();
    ASSERT_EQ(folders.size(), 2U) << "a scan leaves it out";
    EXPECT_EQ(folders[1].path, m_files / "media/b \xFF");
    EXPECT_EQ(folders[1].groupId, 3);
  }
  EXPECT_TRUE(row(Qt::ToolTipRole).toString().contains("away"));
  const QModelIndex present = m_tree->model()->index(0, 0);
  EXPECT_NE(row(Qt::ForegroundRole), present.data(Qt::ForegroundRole));
  EXPECT_NE(row(Qt::DecorationRole).value<QIcon>().cacheKey(),
            present.data(Qt::DecorationRole).value<QIcon>().cacheKey());

  // While running: when the window becomes the active one, and when a scan looks.
  m_tree->setCurrentIndex(m_tree->model()->index(2, 0));
  EXPECT_FALSE(Action("Analyse Selected Fo")->isEnabled());
  EXPECT_TRUE(Action("Remove")->isEnabled());
  plug();
  QEvent active(QEvent::WindowActivate);
  QCoreApplication::sendEvent(m_view.get(), &active);
  ASSERT_TRUE(QTest::qWaitFor([&] { return row().toString() == "c"; }));
  ASSERT_TRUE(QTest::qWaitFor([&] { return m_list->model()->rowCount() == 1; }));
  ASSERT_EQ(m_view->UnloadList().size(), 3U);
  EXPECT_EQ(m_view->UnloadList()[2].groupId, 1);
  unplug();
  EXPECT_EQ(m_view->LookNow(), std::vector<std::string>{m_files / "media/c"});
  EXPECT_EQ(row().toString(), "c (away)");
  EXPECT_EQ(m_list->model()->rowCount(), 0);
  EXPECT_EQ(m_view->UnloadList().size(), 2U);
  plug();
  EXPECT_TRUE(m_view->LookNow().empty());
  EXPECT_EQ(m_view->UnloadList().size(), 3U);
}

TEST_F(FoldersViewTest, ActionsFollowTheSelection) {
  EXPECT_EQ(Enabled(), "d.....");
  m_view->AddNewPath(m_files / "media", 2);
  EXPECT_EQ(Enabled(), "d..r..");
  const QAbstractItemModel& tree = *m_tree->model();
  const QModelIndex top = tree.index(0, 0);
  ASSERT_TRUE(QTest::qWaitFor([&] { return tree.rowCount(top) == 3; }));
  m_tree->setCurrentIndex(top);
  EXPECT_EQ(Enabled(), "depr.o");
  m_tree->expand(top);
  m_tree->setCurrentIndex(tree.index(0, 0, top));
  EXPECT_EQ(Enabled(), "d..r.o");
  ASSERT_TRUE(QTest::qWaitFor([&] { return m_list->model()->rowCount() == 2; }));
  m_list->setCurrentIndex(m_list->model()->index(1, 0));
  EXPECT_EQ(Enabled(), "d..rio");

  // A folder in the file list leads on into the tree.
  QMetaObject::invokeMethod(m_list, "activated", Q_ARG(QModelIndex, m_list->model()->index(0, 0)));
  EXPECT_EQ(m_tree->currentIndex().data().toString(), "deep");

  m_tree->setCurrentIndex(top);
  Action("Group")->menu()->actions()[4]->trigger();
  EXPECT_EQ(m_view->UnloadList()[0].groupId, 4);
  EXPECT_TRUE(Action("Group")->menu()->actions()[4]->isChecked());
  int changes = 0;
  QObject::connect(m_view.get(), &TDXFoldersView::ListChanged, [&] { ++changes; });
  ASSERT_TRUE(QTest::qWaitForWindowActive(m_view.get()));
  m_tree->setFocus();
  QTest::keyClick(m_tree, Qt::Key_Delete);
  EXPECT_EQ(changes, 1);
  EXPECT_FALSE(m_view->HasSelection());
  EXPECT_EQ(Enabled(), "d.....");
  EXPECT_EQ(m_list->model()->rowCount(), 0);
}

}  // namespace
}  // namespace quill
