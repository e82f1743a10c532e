// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/marking/automark_window.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QDoubleSpinBox>
#include <QListWidget>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <functional>

#include "core/configuration.h"
#include "results/automark.h"

namespace quill {
namespace {

using Texts = std::vector<std::string>;

class AutomarkWindowTest : public testing::Test {
 protected:
  AutomarkWindowTest() {
    CConfiguration::Instance().SetStore(&m_settings);
    const auto base = [&](const char* path) {
      return m_audioStore.GetCache({path, "", "", "", 1000, 128000, 6, 1000});
    };
    // No pair has a precise score.
    m_audio.LockedAdd({base("/a/One.mp3"), base("/b/One.flac"), 0, 0, {0.5F, 0.75F, -1}});
    m_audio.LockedAdd({base("/c \xFF/Two"), base("/b/One.flac"), 0, 0, {0.5F, 0.75F, -1}});
    EXPECT_TRUE(m_audio.ProcessNewData());
    m_images.LockedAdd({m_imageStore.GetCache({"/a.png", 10, 10, 5, 8, 1}),
                        m_imageStore.GetCache({"/b.png", 10, 10, 5, 8, 1}),
                        0,
                        0,
                        {1, 1}});
    EXPECT_TRUE(m_images.ProcessNewData());
  }
  ~AutomarkWindowTest() override { CConfiguration::Instance().SetStore(nullptr); }

  // Lets `act` be the user of the open window, and gives what the window gave.
  bool Run(CAutomark& automark, const std::function<void()>& act) {
    bool shown = false;
    QTimer::singleShot(0, [&] {
      m_window = QApplication::activeModalWidget();
      // Shortcuts reach the active window only.
      shown = m_window != nullptr && QTest::qWaitForWindowActive(m_window);
      if (shown) act();
    });
    const bool mark = RunAutomarkWindow(nullptr, automark);
    EXPECT_TRUE(shown);
    return mark;
  }
  [[nodiscard]] QListWidget* List(const QString& name) const {
    for (QListWidget* const list : m_window->findChildren<QListWidget*>())
      if (list->accessibleName() == name) return list;
    return nullptr;
  }
  [[nodiscard]] QDoubleSpinBox* Value(const QString& name) const {
    for (QDoubleSpinBox* const value : m_window->findChildren<QDoubleSpinBox*>())
      if (value->accessibleName() == name) return value;
    return nullptr;
  }
  [[nodiscard]] QCheckBox* Check(const QString& name) const {
    for (QCheckBox* const check : m_window->findChildren<QCheckBox*>())
      if (check->text() == name) return check;
    return nullptr;
  }
  void Press(const QString& text) const {
    for (QPushButton* const button : m_window->findChildren<QPushButton*>())
      if (button->text().remove('&') == text) return button->click();
    FAIL() << "no such button";
  }
  static QStringList Rows(const QListWidget* list) {
    QStringList rows;
    for (int row = 0; row < list->count(); ++row) rows.append(list->item(row)->text());
    return rows;
  }
  Texts Setting(const char* key) {
    Texts texts;
    EXPECT_TRUE(CConfiguration::Instance().GetList(key, &texts));
    return texts;
  }

  CMemorySettingsStore m_settings;
  CScanCounters m_counters;
  CCacheStore m_cache;
  CIgnoreList m_ignores;
  CAudioStore m_audioStore{m_cache, m_counters};
  CImageStore m_imageStore{m_cache, m_counters};
  CAudioDupsController m_audio{m_audioStore, m_ignores};
  CImageDupsController m_images{m_imageStore, m_ignores};
  CAudioAutomark m_automark{m_audio, nullptr};
  CImageAutomark m_imageAutomark{m_images};
  QWidget* m_window = nullptr;
};

TEST_F(AutomarkWindowTest, TheUsersOrderIsSavedWithTheWordToMark) {
  const bool mark = Run(m_automark, [&] {
    EXPECT_EQ(Rows(List("Extensions")), QStringList({"", "flac", "mp3"}));
    QListWidget* const folders = List("Folders");
    EXPECT_EQ(folders->count(), 3);
    QTest::keyClick(m_window, Qt::Key_F, Qt::AltModifier);
    EXPECT_TRUE(folders->hasFocus());
    folders->setCurrentRow(2);
    QTest::keyClick(folders, Qt::Key_Up, Qt::AltModifier);
    EXPECT_EQ(folders->currentRow(), 1);
    QTest::keyClick(folders, Qt::Key_Up, Qt::AltModifier);
    QTest::keyClick(folders, Qt::Key_Up, Qt::AltModifier);  // the first stays the first
    EXPECT_EQ(folders->currentRow(), 0);
    QListWidget* const criteria = List("Criteria");
    criteria->setFocus();
    criteria->setCurrentRow(0);
    QTest::keyClick(criteria, Qt::Key_Down, Qt::AltModifier);
    Value("Tags")->setValue(62.5);
    Check("Content")->setChecked(false);
    QTest::keyClick(Value("Tags"), Qt::Key_Return);  // the default button
  });
  ASSERT_TRUE(mark);
  EXPECT_EQ(Setting("audioAutomarkFolders"), Texts({"/c \xFF", "/a", "/b"}));
  EXPECT_EQ(Setting("audioAutomarkExtensions"), Texts({"", "flac", "mp3"}));
  EXPECT_EQ(Setting("audioAutomarkPriorities"),
            Texts({"Bitrate", "Rating", "Size", "Tags", "Format", "Group", "Folder", "Duration"}));
  const CConfiguration& configuration = CConfiguration::Instance();
  EXPECT_EQ(configuration.GetFloat("audioAutomarkValueTags", 0), 0.625F);
  EXPECT_FALSE(configuration.GetBool("audioAutomarkEnableContent", true));
  EXPECT_EQ(configuration.GetFloat("audioAutomarkValueContent", 0), 0.9F);
}

TEST_F(AutomarkWindowTest, AScoreThatNoPairHasIsLeftAlone) {
  m_settings.Set("audioAutomarkValuePrecise", 0.3);
  ASSERT_TRUE(Run(m_automark, [&] {
    EXPECT_FALSE(Check("Precise")->isChecked());
    EXPECT_FALSE(Check("Precise")->isEnabled());
    EXPECT_FALSE(Value("Precise")->isEnabled());
    Press("Defaults");
    EXPECT_FALSE(Check("Precise")->isChecked());
    Press("Mark");
  }));
  EXPECT_FALSE(m_settings.Get("audioAutomarkEnablePrecise"));
  EXPECT_EQ(CConfiguration::Instance().GetFloat("audioAutomarkValuePrecise", 0), 0.3F);
  const std::vector<bool> allowed = m_automark.Allowed();
  EXPECT_EQ(std::count(allowed.begin(), allowed.end(), true), 2);
}

TEST_F(AutomarkWindowTest, EscapeLeavesEverythingAsItWas) {
  m_settings.Set("audioAutomarkFolders", Texts{"/b", "/gone", "/a"});
  EXPECT_FALSE(Run(m_automark, [&] {
    EXPECT_EQ(Rows(List("Folders")).mid(0, 2), QStringList({"/b", "/a"}));
    Press("Defaults");
    EXPECT_EQ(Rows(List("Folders")).mid(0, 2), QStringList({"/a", "/b"}));
    QTest::keyClick(m_window, Qt::Key_Escape);
  }));
  EXPECT_EQ(Setting("audioAutomarkFolders"), Texts({"/b", "/gone", "/a"}));
  EXPECT_FALSE(m_settings.Get("audioAutomarkEnableTags"));
}

TEST_F(AutomarkWindowTest, PicturesHaveTheirOwnCriteria) {
  ASSERT_TRUE(Run(m_imageAutomark, [&] {
    EXPECT_EQ(Rows(List("Criteria")),
              QStringList({"Resolution", "Size", "File format", "Group", "Folder"}));
    EXPECT_EQ(Value("Experimental")->value(), 90);
    Value("Experimental")->setValue(50);
    Check("Content")->setChecked(false);
    Press("Defaults");
    EXPECT_EQ(Value("Experimental")->value(), 90);
    EXPECT_TRUE(Check("Content")->isChecked());
    Press("Mark");
  }));
  EXPECT_EQ(CConfiguration::Instance().GetFloat("imageAutomarkValueExperimental", 0), 0.9F);
}

}  // namespace
}  // namespace quill
