// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/preferences/preferences_window.h"

#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QTableView>
#include <QTest>
#include <QTimer>

#include "app/app_delegate.h"
#include "core/configuration.h"
#include "support/manual_queue.h"
#include "support/temp_folder.h"
#include "ui/preferences/decoder_table_model.h"
#include "ui/preferences/duration_formatter.h"
#include "ui/silent_front_end.h"

namespace quill {
namespace {

TEST(DurationFormatterTest, TellsTheRangeOfAnExample) {
  const std::string song = "Example, song duration 3:00 compared ";
  const std::string range = song + "only with songs in range: ";
  const std::pair<float, std::string> cases[] = {{0, song + "with all songs"},
                                                 {0.01F, song + "with almost all songs"},
                                                 {0.09F, song + "with almost all songs"},
                                                 {0.1F, range + "0:18 - 30:00"},
                                                 {0.5F, range + "1:30 - 6:00"},
                                                 {0.7F, range + "2:06 - 4:17"},
                                                 {0.99F, range + "2:58 - 3:01"},
                                                 {1, range + "3:00 - 3:00"}};
  for (const auto& [ratio, text] : cases) EXPECT_EQ(TDXDurationFormatter::Text(ratio), text);
}

TEST(DecoderTableModelTest, RowsMoveAndTakeTexts) {
  CDecoderTable::Rows rows;
  ASSERT_TRUE(CDecoderTable::LoadDefaults(&rows));
  CDecoderTableModel model;
  const QAbstractItemModelTester tester(&model,
                                        QAbstractItemModelTester::FailureReportingMode::Fatal);
  model.SetRows(rows);
  model.Move(0, -1);
  model.Move(5, 1);
  EXPECT_EQ(CDecoderTable::ToSetting(model.Rows()), CDecoderTable::ToSetting(rows));
  model.Move(0, 1);
  model.Move(5, -1);
  EXPECT_EQ(model.index(1, 0).data().toString(), "FLAC");
  EXPECT_EQ(model.index(4, 0).data().toString(), "Apple Core Audio");

  EXPECT_TRUE(model.setData(model.index(1, 0), Qt::Unchecked, Qt::CheckStateRole));
  EXPECT_EQ(model.Rows()[1].enabled, 0U);
  const QModelIndex text = model.index(1, CDecoderTableModel::kExtensions);
  EXPECT_TRUE(model.setData(text, "  flac   fla ", Qt::EditRole));
  EXPECT_STREQ(model.Rows()[1].extensions, "flac fla");
  // What is too long is cut between characters.
  EXPECT_TRUE(model.setData(text, QString(150, QChar(0xE4)), Qt::EditRole));
  EXPECT_EQ(text.data().toString(), QString(99, QChar(0xE4)));
}

class PreferencesWindowTest : public testing::Test {
 protected:
  PreferencesWindowTest() {
    CConfiguration::Instance().SetStore(&m_store);
    CConfiguration::Instance().SetFolders(m_data / "support", m_data / "logs");
    m_delegate = std::make_unique<TDXAppDelegate>(m_queue, m_frontEnd);
    m_delegate->AwakeFromNib();
  }
  ~PreferencesWindowTest() override {
    m_window.reset();
    m_delegate.reset();
    CConfiguration::Instance().SetStore(nullptr);
  }

  void Open() {
    m_window = std::make_unique<TDXPreferencesWindow>(*m_delegate);
    m_window->show();
    m_pages = m_window->findChild<QListWidget*>();
  }
  template <class T>
  [[nodiscard]] T* Named(const QString& name) const {
    for (T* const widget : m_window->findChildren<T*>())
      if (widget->accessibleName() == name) return widget;
    return nullptr;
  }
  [[nodiscard]] QAbstractButton* Button(const QString& text) const {
    for (QAbstractButton* const button : m_window->findChildren<QAbstractButton*>())
      if (button->text().remove('&').startsWith(text)) return button;
    return nullptr;
  }
  [[nodiscard]] static bool Bool(const char* key) {
    return CConfiguration::Instance().GetBool(key, false);
  }

  test::CTempFolder m_data;
  CMemorySettingsStore m_store;
  test::CManualQueue m_queue;
  test::CSilentFrontEnd m_frontEnd;
  std::unique_ptr<TDXAppDelegate> m_delegate;
  std::unique_ptr<TDXPreferencesWindow> m_window;
  QListWidget* m_pages = nullptr;
};

TEST_F(PreferencesWindowTest, OpeningAndClosingStoresNothingButTheDecoders) {
  const uint32_t generation = CDecoderTable::Instance().Generation();
  Open();
  int closed = 0;
  QObject::connect(m_window.get(), &TDXPreferencesWindow::Closed, [&] {
    ++closed;
    m_delegate->ReloadConfig();
  });
  for (int page = 0; page < 3; ++page) {
    m_pages->setCurrentRow(page);
    EXPECT_EQ(m_window->windowTitle(), m_pages->item(page)->text());
  }
  EXPECT_TRUE(m_window->close());
  EXPECT_EQ(closed, 1);
  EXPECT_EQ(CDecoderTable::Instance().Generation(), generation);
  EXPECT_TRUE(m_store.Get("audioDecoders"));
  // What is not stored follows the registered layer.
  for (const char* const key : {"enableAudioTags", "valueThreadLimit", "enableAudioDuration"}) {
    m_store.Register({{key, std::string("registered")}});
    EXPECT_EQ(CConfiguration::Instance().GetString(key, ""), "registered") << key;
  }
}

TEST_F(PreferencesWindowTest, ControlsShowAndWriteTheirSettingsAtOnce) {
  m_store.Set("valueAudioContent", 0.875);
  m_store.Set("enableImageExperimental", false);
  Open();
  EXPECT_EQ(Named<QDoubleSpinBox>("Tags")->value(), 75);
  EXPECT_EQ(Named<QDoubleSpinBox>("Precise")->value(), 50);
  EXPECT_FALSE(Named<QDoubleSpinBox>("Experimental")->isEnabled());
  EXPECT_EQ(Named<QDoubleSpinBox>("Content")->value(), 87.5);

  const CConfiguration& configuration = CConfiguration::Instance();
  Named<QSlider>("Tags")->setValue(420);
  EXPECT_EQ(configuration.GetFloat("valueAudioTags", 0), 0.42F);
  Button("Precise")->click();
  EXPECT_FALSE(Bool("enableAudioPrecise"));
  EXPECT_FALSE(Named<QDoubleSpinBox>("Precise")->isEnabled());
  Button("Ask before")->click();
  EXPECT_FALSE(Bool("enableDeletionConfirmation"));
  Button("Limit")->click();
  Named<QSpinBox>("Worker threads")->setValue(7);
  EXPECT_TRUE(Bool("enableThreadLimit"));
  EXPECT_EQ(configuration.GetInteger("valueThreadLimit", 0), 7);

  Button("Duration")->click();
  Named<QSlider>("Duration")->setValue(50);
  EXPECT_FALSE(configuration.GetBool("enableAudioDuration", true));
  EXPECT_EQ(configuration.GetFloat("valueAudioDuration", 0), 0.5F);
  EXPECT_TRUE(Named<QSlider>("Duration")->accessibleDescription().endsWith("1:30 - 6:00"));
}

TEST_F(PreferencesWindowTest, AResetConcernsOnePage) {
  m_store.Set("valueAudioTags", 0.1);
  m_store.Set("enableAudioDuration", false);
  m_store.Set("enableFlatMode", true);
  m_store.Set("useInternalPlayer", false);
  Open();
  Button("Restore Defaults")->click();
  EXPECT_EQ(Named<QDoubleSpinBox>("Tags")->value(), 75);
  EXPECT_EQ(CConfiguration::Instance().GetFloat("valueAudioTags", 0), 0.75F);
  EXPECT_TRUE(Bool("enableAudioDuration"));
  EXPECT_TRUE(Bool("enableFlatMode"));
  m_pages->setCurrentRow(2);
  Button("Restore Defaults")->click();
  EXPECT_FALSE(Bool("enableFlatMode"));
  EXPECT_TRUE(Bool("useInternalPlayer"));
}

TEST_F(PreferencesWindowTest, DecodersAreStoredAtTheEnd) {
  m_store.Set("audioDecoders", std::vector<std::string>{"11", "1", "*"});
  Open();
  m_pages->setCurrentRow(1);
  auto* const table = Named<QTableView>("Decoders");
  ASSERT_TRUE(QTest::qWaitForWindowActive(m_window.get()));
  EXPECT_EQ(table->model()->index(0, 0).data().toString(), "Apple Core Audio");
  Button("Restore Defaults")->click();
  table->setFocus();
  QTest::keyClick(table, Qt::Key_Down, Qt::AltModifier);
  EXPECT_EQ(table->currentIndex().row(), 1);
  // A text that is still being edited counts.
  table->setCurrentIndex(table->model()->index(0, 1));
  table->edit(table->currentIndex());
  auto* const editor = table->findChild<QLineEdit*>();
  ASSERT_NE(editor, nullptr);
  editor->setText("ogg");
  std::vector<std::string> stored;
  ASSERT_TRUE(CConfiguration::Instance().GetList("audioDecoders", &stored));
  EXPECT_EQ(stored.size(), 3U);
  EXPECT_TRUE(m_window->close());
  ASSERT_TRUE(CConfiguration::Instance().GetList("audioDecoders", &stored));
  ASSERT_EQ(stored.size(), 18U);
  EXPECT_EQ(std::vector<std::string>(stored.begin(), stored.begin() + 6),
            (std::vector<std::string>{"8", "1", "ogg", "5", "1", "fla flac"}));
}

TEST_F(PreferencesWindowTest, ClearingAsksFirst) {
  (void)m_delegate->Ignores().AddIgnore("/a", "/b");
  (void)m_delegate->Ignores().AddIgnore("/c");
  Open();
  m_pages->setCurrentRow(2);
  EXPECT_EQ(Named<QLabel>("Ignore list")->text(), "2 pair(s)");
  EXPECT_EQ(Named<QLabel>("Cache")->text(), "0 item(s) (0.00 MB)");
  QTimer::singleShot(0, [] { QTest::keyClick(QApplication::activeModalWidget(), Qt::Key_Escape); });
  Named<QPushButton>("Clear: Ignore list")->click();
  EXPECT_EQ(m_delegate->Ignores().Count(), 2U);
  QTimer::singleShot(0, [] { QTest::keyClick(QApplication::activeModalWidget(), Qt::Key_Return); });
  Named<QPushButton>("Clear: Ignore list")->click();
  EXPECT_EQ(m_delegate->Ignores().Count(), 0U);
  EXPECT_EQ(Named<QLabel>("Ignore list")->text(), "0 pair(s)");
}

TEST_F(PreferencesWindowTest, TheMoveFolderIsKeptAsBytes) {
  const std::string kept = "/no text \xFF";
  m_store.Set("moveBookmark", CByteBlock(kept.begin(), kept.end()));
  Open();
  EXPECT_TRUE(Named<QLineEdit>("Default move folder")->text().startsWith("/no text "));
  const auto choose = [&](bool accept) {
    QTimer::singleShot(0, [&, accept] {
      auto* const chooser = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
      ASSERT_NE(chooser, nullptr);
      chooser->setDirectory(QString::fromStdString(m_data.Path()));
      QDialog* const dialog = chooser;
      accept ? dialog->accept() : dialog->reject();
    });
    Button("Choose")->click();
  };
  choose(false);
  CByteBlock bytes;
  ASSERT_TRUE(CConfiguration::Instance().GetBytes("moveBookmark", &bytes));
  EXPECT_EQ(std::string(bytes.begin(), bytes.end()), kept);
  choose(true);
  ASSERT_TRUE(CConfiguration::Instance().GetBytes("moveBookmark", &bytes));
  EXPECT_EQ(std::string(bytes.begin(), bytes.end()), m_data.Path());
}

}  // namespace
}  // namespace quill
