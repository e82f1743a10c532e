// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QAction>
#include <QHeaderView>
#include <QImage>
#include <QProgressBar>
#include <QSet>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>

#include "ui/audio/audio_dups_view.h"
#include "ui/dialog_driver.h"
#include "ui/images/image_dups_view.h"
#include "ui/quality/audio_analysis_view.h"
#include "ui/sample_results.h"
#include "ui/table/results_model.h"

namespace quill {
namespace {

// A disk that notes what it is asked to do.
class CNotingFiles : public CFileService {
 public:
  std::vector<std::string> trashed, moved, renamed;
  [[nodiscard]] int Trash(const std::string& path) override {
    trashed.push_back(path);
    return 0;
  }
  [[nodiscard]] int Move(const std::string&, const std::string& to) override {
    moved.push_back(to);
    return 0;
  }
  [[nodiscard]] int Rename(const std::string&, const std::string& to) override {
    renamed.push_back(to);
    return 0;
  }
  [[nodiscard]] int ClearImmutable(const std::string&) override { return 0; }
};

class CAnswers : public CFileQuestions {
 public:
  bool yes = true;
  std::string warning;
  [[nodiscard]] bool Confirm(const std::string&, const std::string&,
                             const std::string& text) override {
    warning = text;
    return yes;
  }
  [[nodiscard]] std::string ChooseMoveFolder() override { return "/target"; }
  [[nodiscard]] bool Perform(const std::string&, size_t, size_t,
                             const std::function<void()>& work) override {
    work();
    return true;
  }
  void Finished(const std::vector<std::string>&) override {}
};

class ResultsViewsTest : public testing::Test {
 protected:
  template <class View>
  std::unique_ptr<View> Make() {
    auto view = std::make_unique<View>(*m_results, m_operations);
    m_results.frontEnd.views[static_cast<int>(view->Tab())] = view.get();
    view->ReloadView();
    return view;
  }
  static QAction* Action(const CResultsView& view, const QString& text) {
    for (QAction* action : view.MenuActions()) {
      if (action->text().remove('&') == text) return action;
    }
    ADD_FAILURE() << "no action " << qPrintable(text);
    return nullptr;
  }
  static void Select(const CResultsView& view, std::initializer_list<int> rows) {
    view.ResultsTable()->clearSelection();
    for (const int row : rows) {
      view.ResultsTable()->selectionModel()->select(
          view.ResultsTable()->model()->index(row, 0),
          QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }
  }

  test::CSampleResults m_results;
  CNotingFiles m_files;
  CAnswers m_answers;
  CFileOperations m_operations{m_files, m_answers};
};

TEST_F(ResultsViewsTest, WarnsWhenNoCopyWouldBeLeft) {
  m_results.AddTwoGroups();
  m_answers.yes = false;
  const auto view = Make<TDXAudioDupsView>();
  const struct {
    std::initializer_list<int> rows;
    const char* warning;
  } cases[] = {{{0, 1}, ""},  // b and c match only a, but c is left of their group
               {{0, 1, 2, 3}, "Groups of which no file will be left: 1"},
               {{0, 1, 2, 3, 4}, "Groups of which no file will be left: 2"}};
  for (const auto& [rows, warning] : cases) {
    Select(*view, rows);
    Action(*view, "Move to Trash")->trigger();
    EXPECT_EQ(m_answers.warning, warning);
  }
}

TEST_F(ResultsViewsTest, EachColumnSortsBothWays) {
  m_results.AddTwoGroups();
  const std::unique_ptr<CResultsView> views[] = {Make<TDXAudioDupsView>(), Make<TDXImageDupsView>(),
                                                 Make<TDXAudioAnalysisView>()};
  for (const auto& view : views) {
    view->resize(4000, 300);
    view->show();
    QTableView& table = *view->ResultsTable();
    const auto& model = static_cast<const CResultsModel&>(*table.model());
    const int rows = model.rowCount();
    for (int column = 0; column < model.columnCount(); ++column) {
      table.setColumnHidden(column, false);
      const QPoint place(table.columnViewportPosition(column) + 20, 5);
      QSet<bool> orders;
      for (int click = 0; click < 2; ++click) {
        QTest::mouseClick(table.horizontalHeader()->viewport(), Qt::LeftButton, {}, place);
        EXPECT_EQ(model.Sort().column, model.Columns()[static_cast<size_t>(column)].field);
        orders.insert(model.Sort().ascending);
        EXPECT_EQ(model.rowCount(), rows);
      }
      EXPECT_EQ(orders.size(), 2) << "column " << column;
    }
  }
}

TEST_F(ResultsViewsTest, ActionsAreEnabledByWhatTheyNeed) {
  const auto view = Make<TDXAudioDupsView>();
  EXPECT_FALSE(Action(*view, "Clear Results")->isEnabled());
  m_results.AddTwoGroups();
  view->ReloadView();
  EXPECT_TRUE(Action(*view, "Clear Results")->isEnabled());
  EXPECT_FALSE(Action(*view, "Move to Trash")->isEnabled());
  EXPECT_FALSE(Action(*view, "Move Marked to Trash")->isEnabled());
  Select(*view, {0, 2});
  EXPECT_TRUE(Action(*view, "Move to Trash")->isEnabled());
  EXPECT_TRUE(Action(*view, "Swap Two Files")->isEnabled()) << "extensions differ by case only";
  Select(*view, {3, 4});
  EXPECT_FALSE(Action(*view, "Swap Two Files")->isEnabled()) << "other extensions";
  Action(*view, "Mark or Unmark")->trigger();
  EXPECT_TRUE(Action(*view, "Move Marked to Trash")->isEnabled());
}

TEST_F(ResultsViewsTest, FilesGoAndBothAudioTablesFollow) {
  m_results.AddTwoGroups();
  auto measured = MakeRef<AnalysisInfo>();
  measured->path = "/m/b.mp3";
  (void)m_results->AudioAnalysis().LockedAdd(measured);
  (void)m_results->AudioAnalysis().ProcessNewData();
  const auto audio = Make<TDXAudioDupsView>();
  const auto analysis = Make<TDXAudioAnalysisView>();
  QSignalSpy summary(audio.get(), &CResultsView::SummaryChanged);

  Select(*audio, {1, 3});
  EXPECT_EQ(summary.last().first().toString(), "2 groups, 2 selected");
  m_answers.yes = false;
  Action(*audio, "Move to Trash")->trigger();
  EXPECT_TRUE(m_files.trashed.empty());
  EXPECT_EQ(audio->ResultsTable()->model()->rowCount(), 5);
  m_answers.yes = true;
  Action(*audio, "Move to Trash")->trigger();
  EXPECT_EQ(m_files.trashed, (std::vector<std::string>{"/m/b.mp3", "/m/d.mp3"}));
  EXPECT_EQ(audio->ResultsTable()->model()->rowCount(), 2) << "a and c are left";
  EXPECT_EQ(analysis->ResultsTable()->model()->rowCount(), 0);
  EXPECT_EQ(summary.last().first().toString(), "1 group");

  Select(*audio, {0, 1});
  Action(*audio, "Swap Two Files")->trigger();
  EXPECT_EQ(m_files.renamed.size(), 3U);
  Select(*audio, {0});
  Action(*audio, "Mark or Unmark")->trigger();
  EXPECT_EQ(summary.last().first().toString(), "1 group, 1 selected, 1 marked");
  Action(*audio, "Move Marked to Folder…")->trigger();
  EXPECT_EQ(m_files.moved.size(), 1U);
  EXPECT_EQ(audio->ResultsTable()->model()->rowCount(), 0);
  EXPECT_EQ(summary.last().first().toString(), "");
}

TEST_F(ResultsViewsTest, IgnoredPairsLeaveTheTableForGood) {
  m_results.AddTwoGroups();
  const auto view = Make<TDXAudioDupsView>();
  Select(*view, {3});
  Action(*view, "Ignore")->trigger();
  EXPECT_EQ(view->ResultsTable()->model()->rowCount(), 3);
  EXPECT_TRUE(m_results->Ignores().IsPairIgnored("/m/d.mp3", "/m/e.ogg"));
}

// The records of a file may lie where those of the table lay, and must not inherit their selection:
// the next key press could be Delete.
TEST_F(ResultsViewsTest, OpeningAFileSelectsNothing) {
  m_results.AddTwoGroups();
  const auto view = Make<TDXAudioDupsView>();
  ASSERT_TRUE(m_results->SaveData(m_results.folder / "saved.quillmarsh"));
  view->ResultsTable()->selectAll();
  EXPECT_TRUE(Action(*view, "Move to Trash")->isEnabled());
  ASSERT_TRUE(m_results->LoadData(m_results.folder / "saved.quillmarsh"));
  EXPECT_EQ(view->ResultsTable()->model()->rowCount(), 5);
  EXPECT_FALSE(Action(*view, "Move to Trash")->isEnabled());
}

TEST_F(ResultsViewsTest, ExportTellsWhyItFailed) {
  m_results.AddTwoGroups();
  (void)m_results->ImageDups().LockedAdd(
      {test::Picture("/p/a.jpg", 2), test::Picture("/p/b.jpg", 2), 0, 0, {0.8F, 0.4F}});
  (void)m_results->ImageDups().ProcessNewData();
  const auto audio = Make<TDXAudioDupsView>();
  const auto image = Make<TDXImageDupsView>();
  EXPECT_EQ(audio->ExportFile(m_results.folder / "out.m3u"), "");
  EXPECT_NE(audio->ExportFile(m_results.folder / "missing/out.csv"), "");
  EXPECT_EQ(image->ExportFile(m_results.folder / "out.csv"), "");
  EXPECT_EQ(image->ExportFile(m_results.folder / "out.html"), "");
  EXPECT_NE(test::ReadAll(m_results.folder / "out.html").find("cannot be read"), std::string::npos);
  EXPECT_NE(image->ExportFile(m_results.folder / "missing/out.html"), "");
  EXPECT_EQ(image->ExportFormats().size(), 2);
}

// A page that takes long stands under a dialog, and the way out of that leaves nothing behind.
TEST_F(ResultsViewsTest, AnExportOfManyPicturesCanBeStopped) {
  QImage picture(4000, 4000, QImage::Format_RGB32);
  picture.fill(Qt::darkCyan);
  ASSERT_TRUE(picture.save(QString::fromStdString(m_results.folder / "p.png")));
  for (int i = 0; i < 200; ++i) {
    const std::string other = m_results.folder / ("p" + std::to_string(i) + ".png");
    std::filesystem::create_symlink("p.png", other);
    (void)m_results->ImageDups().LockedAdd({test::Picture(m_results.folder / "p.png", 4000),
                                            test::Picture(other, 4000),
                                            0,
                                            0,
                                            {0.8F, 0.4F}});
  }
  (void)m_results->ImageDups().ProcessNewData();
  const auto image = Make<TDXImageDupsView>();
  test::CDialogDriver dialogs;
  dialogs.Do([](QWidget* dialog) {
    const auto* bar = dialog->findChild<QProgressBar*>();
    ASSERT_TRUE(bar);
    EXPECT_TRUE(QTest::qWaitFor([&] { return bar->maximum() == 201 && bar->value() > 2; }));
    dialog->close();
  });
  EXPECT_EQ(image->ExportFile(m_results.folder / "out.html"), "");
  EXPECT_FALSE(std::filesystem::exists(m_results.folder / "out.html"));
  for (const auto& file : std::filesystem::directory_iterator(m_results.folder.Path()))
    EXPECT_EQ(file.path().filename().string().find(".quillmarsh-export"), std::string::npos);
}

TEST_F(ResultsViewsTest, EveryActionHasIconTipAndItsOwnKey) {
  const auto audio = Make<TDXAudioDupsView>();
  const auto image = Make<TDXImageDupsView>();
  const auto analysis = Make<TDXAudioAnalysisView>();
  for (const CResultsView* view :
       {static_cast<CResultsView*>(audio.get()), static_cast<CResultsView*>(image.get()),
        static_cast<CResultsView*>(analysis.get())}) {
    QSet<QString> keys;
    for (const QAction* action : view->MenuActions()) {
      if (action->isSeparator()) continue;
      EXPECT_FALSE(action->icon().isNull()) << qPrintable(action->text());
      EXPECT_FALSE(action->toolTip().isEmpty()) << qPrintable(action->text());
      const QString key = action->shortcut().toString();
      EXPECT_TRUE(key.isEmpty() || !keys.contains(key)) << qPrintable(key);
      keys.insert(key);
    }
  }
}

}  // namespace
}  // namespace quill
