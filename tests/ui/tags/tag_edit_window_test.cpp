// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/tags/tag_edit_window.h"

#include <gtest/gtest.h>

#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QToolButton>
#include <filesystem>

#include "app/app_delegate.h"
#include "core/configuration.h"
#include "decoding/tag_access.h"
#include "results/file_operations.h"
#include "support/manual_queue.h"
#include "support/media_maker.h"
#include "support/temp_folder.h"
#include "ui/silent_front_end.h"

namespace quill {
namespace {

// Files that no test means to ask about.
class CNobody : public CFileQuestions {
 public:
  bool Confirm(const std::string&, const std::string&, const std::string&) override { return true; }
  std::string ChooseMoveFolder() override { return {}; }
  bool Perform(const std::string&, size_t, size_t, const std::function<void()>& work) override {
    work();
    return true;
  }
  void Finished(const std::vector<std::string>&) override {}
};

class CDeletingService : public CFileService {
 public:
  int Trash(const std::string& path) override { return std::filesystem::remove(path) ? 0 : ENOENT; }
  int Move(const std::string&, const std::string&) override { return EINVAL; }
  int Rename(const std::string&, const std::string&) override { return EINVAL; }
  int ClearImmutable(const std::string&) override { return EINVAL; }
};

class TagEditWindowTest : public testing::Test {
 protected:
  TagEditWindowTest() {
    CConfiguration::Instance().SetStore(&m_store);
    CConfiguration::Instance().SetFolders(m_files / "support", m_files / "logs");
    test::WriteWav(m_files / "media/source.wav", test::Music(3, 1, 22050, 1), 22050, 1);
    for (const char* name : {"a.mp3", "b.flac", "c.mp3"})
      test::Encode(m_files / "media/source.wav", m_files / ("media/" + std::string(name)),
                   std::string("-metadata title=") + name[0] + " -metadata artist=Ann");
    m_delegate = std::make_unique<TDXAppDelegate>(m_queue, m_frontEnd);
    m_delegate->AwakeFromNib();
    for (const char* other : {"b.flac", "c.mp3"})
      AddPair(m_files / "media/a.mp3", m_files / ("media/" + std::string(other)));
  }
  ~TagEditWindowTest() override {
    m_delegate.reset();
    CConfiguration::Instance().SetStore(nullptr);
  }
  void AddPair(const std::string& a, const std::string& b) {
    AudioItemRecord item;
    for (const std::string& path : {a, b}) {
      item.path = path;
      EXPECT_TRUE(Table().BulkAdd(item));
    }
    EXPECT_TRUE(Table().BulkAdd(a, b, 1, 1, 1));
    Table().RebuildRows();
  }
  CAudioDupsController& Table() { return m_delegate->AudioDups(); }
  std::unique_ptr<TDXTagEditWindow> Open(const std::string& path) {
    auto window = std::make_unique<TDXTagEditWindow>(
        path, *m_delegate, m_operations, [this] { ++m_reloads; }, nullptr);
    window->show();
    return window;
  }
  // The fields of the edited file from the top, without the read-only ones beside them.
  static QList<QLineEdit*> Edits(const QWidget& window) {
    QList<QLineEdit*> edits;
    for (QLineEdit* edit : window.findChildren<QLineEdit*>())
      if (!edit->isReadOnly()) edits.append(edit);
    return edits;
  }
  static QPushButton* Button(const QWidget& window, const QString& text) {
    for (QPushButton* button : window.findChildren<QPushButton*>())
      if (button->text().remove('&') == text) return button;
    ADD_FAILURE() << text.toStdString();
    return nullptr;
  }
  std::string TitleOf(const std::string& path) {
    std::string title;
    EXPECT_EQ(m_delegate->Tags().GetProperties(path, 0, &title, nullptr, nullptr, nullptr, nullptr,
                                               nullptr, nullptr),
              kDecodeOk);
    return title;
  }

  test::CTempFolder m_files;
  CMemorySettingsStore m_store;
  test::CManualQueue m_queue;
  test::CSilentFrontEnd m_frontEnd;
  CNobody m_nobody;
  CDeletingService m_service;
  CFileOperations m_operations{m_service, m_nobody};
  std::unique_ptr<TDXAppDelegate> m_delegate;
  int m_reloads = 0;
};

TEST_F(TagEditWindowTest, CopiesWritesAndRenamesInOneGo) {
  const std::string path = m_files / "media/a.mp3";
  const auto window = Open(path);
  const QList<QLineEdit*> edits = Edits(*window);
  ASSERT_EQ(edits.size(), 8);
  EXPECT_EQ(edits[0]->text(), "a");
  EXPECT_EQ(edits[1]->text(), "a");
  EXPECT_EQ(edits[2]->text(), "Ann");
  EXPECT_EQ(edits[4]->text(), "") << "no year";
  // The first duplicate is selected: its title, then all its tags, but not its name.
  window->findChildren<QToolButton*>()[1]->click();
  EXPECT_EQ(edits[1]->text(), "b");
  Button(*window, "Copy All Tags")->click();
  EXPECT_EQ(edits[0]->text(), "a");
  edits[0]->setText("renamed");
  edits[4]->setText("1999");
  Button(*window, "Save")->click();
  EXPECT_EQ(window->Failure(), "");
  const std::string renamed = m_files / "media/renamed.mp3";
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_EQ(TitleOf(renamed), "b");
  ASSERT_NE(Table().LookUp(renamed), nullptr);
  EXPECT_EQ(Table().LookUp(renamed)->base->title, "b");
  EXPECT_EQ(Table().LookUp(path), nullptr);
  EXPECT_EQ(m_reloads, 2);
}

TEST_F(TagEditWindowTest, ATakenNameLeavesBothFilesAlone) {
  const std::string path = m_files / "media/a.mp3";
  const std::string before = test::ReadAll(m_files / "media/c.mp3");
  const auto window = Open(path);
  Edits(*window)[0]->setText("c");
  Edits(*window)[1]->setText("new title");
  Button(*window, "Save")->click();
  EXPECT_NE(window->Failure(), "");
  EXPECT_EQ(TitleOf(path), "new title") << "the tags are written all the same";
  EXPECT_EQ(test::ReadAll(m_files / "media/c.mp3"), before);
  for (const char* name : {"", "../c", "x/y"}) {
    const auto again = Open(path);
    Edits(*again)[0]->setText(name);
    Button(*again, "Save")->click();
    EXPECT_TRUE(std::filesystem::exists(path)) << name;
  }
}

TEST_F(TagEditWindowTest, IgnoresAndTrashesTheSelectedDuplicate) {
  const std::string path = m_files / "media/a.mp3";
  const auto window = Open(path);
  auto* table = window->findChild<QTableWidget*>();
  ASSERT_EQ(table->rowCount(), 3);
  EXPECT_EQ(table->item(0, 0)->text(), "a.mp3");
  Button(*window, "Ignore Pair")->click();
  EXPECT_EQ(table->rowCount(), 2);
  EXPECT_TRUE(m_delegate->Ignores().IsPairIgnored(path, m_files / "media/b.flac"));
  table->selectRow(1);
  Button(*window, "Move to Trash")->click();
  EXPECT_EQ(table->rowCount(), 1);
  EXPECT_FALSE(std::filesystem::exists(m_files / "media/c.mp3"));
  EXPECT_EQ(Table().ItemCount(), 0u) << "the last pair has gone";
  EXPECT_EQ(table->item(0, 1)->text(), "n/a") << "a file that left the table";
  EXPECT_FALSE(Button(*window, "Move to Trash")->isEnabled());
}

}  // namespace
}  // namespace quill
