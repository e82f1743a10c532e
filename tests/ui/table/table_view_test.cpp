// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/table/table_view.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QHeaderView>
#include <QScrollBar>
#include <QTest>
#include <random>

#include "ui/audio/audio_dups_model.h"
#include "ui/sample_results.h"
#include "ui/table/group_strip.h"
#include "ui/table/row_selection.h"

namespace quill {
namespace {

class TableViewTest : public testing::Test {
 protected:
  void Fill() {
    m_results.AddTwoGroups();
    m_model.Reload();
  }
  void Show() {
    m_view.resize(900, 300);
    m_view.show();
    QCoreApplication::processEvents();
  }
  [[nodiscard]] int RowOf(const std::string& path) const {
    for (int row = 0; row < m_model.rowCount(); ++row) {
      if (m_model.PathAt(row) == path) return row;
    }
    return -1;
  }
  [[nodiscard]] std::vector<std::string> SelectedPaths() const {
    std::vector<std::string> paths;
    for (const int32_t row : m_view.SelectedRows()) paths.push_back(m_model.PathAt(row));
    return paths;
  }
  [[nodiscard]] QPoint TriangleOf(int row) const {
    return {m_view.columnViewportPosition(m_view.FirstVisibleColumn()) + 20,
            m_view.rowViewportPosition(row) + m_view.rowHeight(row) / 2};
  }

  test::CSampleResults m_results;
  CAudioDupsController& m_table = m_results->AudioDups();
  CAudioDupsModel m_model{m_table, m_results->AudioAnalysis()};
  TDXTableView m_view{m_model};
};

TEST_F(TableViewTest, NothingMovesWhileRowsArrive) {
  for (int i = 100; i < 200; ++i) {
    const std::string name = "/m/" + std::to_string(i);
    m_results.Add(name + "a.mp3", name + "b.mp3");
  }
  m_view.ReloadRows();
  Show();
  m_view.verticalScrollBar()->setValue(1003);
  const auto arrive = [this](const char* names) {
    for (int i = 100; i < 160; ++i) {
      const std::string name = "/m/" + std::to_string(i) + "0";
      m_results.Add(name + names[0] + ".mp3", name + names[1] + ".mp3");
      m_view.ReloadRows();
    }
  };
  const auto placeOf = [this](const std::string& path) {
    return m_view.rowViewportPosition(RowOf(path));
  };
  const std::string top = m_model.PathAt(m_view.rowAt(0));
  const int topPlace = placeOf(top);
  arrive("xy");
  EXPECT_EQ(m_model.PathAt(m_view.rowAt(0)), top);
  EXPECT_EQ(placeOf(top), topPlace);

  // A current row in sight is what the user looks at: it stands still rather than the topmost.
  m_view.selectRow(RowOf("/m/150b.mp3"));
  m_view.selectionModel()->select(m_model.index(RowOf("/m/120a.mp3"), 0),
                                  QItemSelectionModel::Select | QItemSelectionModel::Rows);
  const int currentPlace = placeOf("/m/150b.mp3");
  arrive("vw");
  EXPECT_EQ(placeOf("/m/150b.mp3"), currentPlace);
  EXPECT_EQ(SelectedPaths(), (std::vector<std::string>{"/m/120a.mp3", "/m/150b.mp3"}));
  EXPECT_EQ(m_model.PathAt(m_view.currentIndex().row()), "/m/150b.mp3");

  // Of what is removed the next row takes the place, and nothing is selected in its stead.
  m_view.selectRow(RowOf("/m/150b.mp3"));
  const std::string next = m_model.PathAt(RowOf("/m/150b.mp3") + 1);
  (void)m_table.ActOnRows(m_view.SelectedRows(), [](std::vector<std::string>*) { return true; });
  m_view.ReloadRows();
  EXPECT_TRUE(m_view.SelectedRows().empty());
  EXPECT_EQ(m_model.PathAt(m_view.currentIndex().row()), next);
  EXPECT_EQ(placeOf(next), currentPlace);
}

TEST_F(TableViewTest, TriangleTogglesInGroupedModeOnly) {
  Fill();
  Show();
  QTest::mouseClick(m_view.viewport(), Qt::LeftButton, {}, TriangleOf(0));
  ASSERT_EQ(m_model.rowCount(), 7);
  EXPECT_TRUE(m_view.SelectedRows().empty()) << "the click ends at the triangle";
  QTest::mouseClick(m_view.viewport(), Qt::LeftButton, {}, TriangleOf(1));
  EXPECT_EQ(m_model.rowCount(), 7) << "an inner row has none";
  EXPECT_EQ(m_view.SelectedRows(), std::vector<int32_t>{1});

  // The place follows the first visible column.
  m_view.setColumnHidden(m_view.FirstVisibleColumn(), true);
  m_view.horizontalHeader()->moveSection(
      m_view.horizontalHeader()->visualIndex(m_model.ColumnOf(FieldId::kTags)), 0);
  ASSERT_EQ(m_view.FirstVisibleColumn(), m_model.ColumnOf(FieldId::kTags));
  QTest::mouseClick(m_view.viewport(), Qt::LeftButton, {}, TriangleOf(0));
  EXPECT_EQ(m_model.rowCount(), 5);
  EXPECT_EQ(m_view.CellRect(m_model.index(0, m_view.FirstVisibleColumn())).left(),
            m_view.columnViewportPosition(m_view.FirstVisibleColumn()) + 25);

  m_results.settings.Set("enableFlatMode", true);
  (void)m_table.ReloadSettings();
  m_view.ReloadRows();
  const int rows = m_model.rowCount();
  QTest::mouseClick(m_view.viewport(), Qt::LeftButton, {}, TriangleOf(0));
  EXPECT_EQ(m_model.rowCount(), rows);
  EXPECT_EQ(m_view.SelectedRows(), std::vector<int32_t>{0});
}

TEST_F(TableViewTest, KeysMarkAndStepThroughGroups) {
  Fill();
  Show();
  QObject::connect(&m_view, &TDXTableView::MarkRequested, &m_view, [this] {
    m_table.MarkRows(m_view.SelectedRows());
    m_view.ReloadRows();
  });
  m_view.setCurrentIndex(m_model.index(0, 0));
  m_view.selectRow(0);
  QTest::keyClick(&m_view, Qt::Key_Down, Qt::ShiftModifier);
  QTest::keyClick(&m_view, Qt::Key_Space);
  EXPECT_EQ(m_model.MarkedCount(), 2U);
  QTest::keyClick(&m_view, Qt::Key_Space);
  EXPECT_EQ(m_model.MarkedCount(), 0U);

  m_view.selectRow(0);
  QTest::keyClick(&m_view, Qt::Key_Right);
  ASSERT_EQ(m_model.rowCount(), 7);
  QTest::keyClick(&m_view, Qt::Key_Down);
  QTest::keyClick(&m_view, Qt::Key_Left);
  EXPECT_EQ(m_view.currentIndex().row(), 0) << "up to the outer row";
  QTest::keyClick(&m_view, Qt::Key_Left);
  EXPECT_EQ(m_model.rowCount(), 5);
}

TEST_F(TableViewTest, ColumnsHideByMenuAndComeBackByName) {
  Fill();
  const auto visible = [this] {
    const QHeaderView* header = m_view.horizontalHeader();
    return header->count() - header->hiddenSectionCount();
  };
  QAction* file = m_view.ColumnActions()[m_model.ColumnOf(FieldId::kFile)];
  QAction* artist = m_view.ColumnActions()[m_model.ColumnOf(FieldId::kArtist)];
  EXPECT_TRUE(file->isChecked());
  EXPECT_FALSE(artist->isChecked());
  artist->trigger();
  EXPECT_FALSE(m_view.isColumnHidden(m_model.ColumnOf(FieldId::kArtist)));
  m_view.setColumnWidth(m_model.ColumnOf(FieldId::kArtist), 77);
  m_view.horizontalHeader()->moveSection(
      m_view.horizontalHeader()->visualIndex(m_model.ColumnOf(FieldId::kArtist)), 0);
  file->trigger();
  const QByteArray saved = m_view.SaveColumns();

  for (QAction* action : m_view.ColumnActions()) {
    if (action->isChecked()) action->trigger();
  }
  EXPECT_EQ(visible(), 1) << "the last column cannot be hidden";

  m_view.RestoreColumns("not a layout");
  EXPECT_EQ(visible(), 1);
  TDXTableView other(m_model);
  other.RestoreColumns(saved);
  EXPECT_EQ(other.FirstVisibleColumn(), m_model.ColumnOf(FieldId::kArtist));
  EXPECT_EQ(other.columnWidth(m_model.ColumnOf(FieldId::kArtist)), 77);
  EXPECT_TRUE(other.isColumnHidden(m_model.ColumnOf(FieldId::kFile)));
  EXPECT_EQ(other.SaveColumns(), saved);
}

TEST_F(TableViewTest, HeaderSortsAndShowsTheStoredOrder) {
  m_table.SetSort(FieldId::kTags, false);
  Fill();
  TDXTableView view(m_model);
  const QHeaderView* header = view.horizontalHeader();
  EXPECT_EQ(header->sortIndicatorSection(), m_model.ColumnOf(FieldId::kTags));
  EXPECT_EQ(header->sortIndicatorOrder(), Qt::DescendingOrder);
  EXPECT_EQ(m_table.Sort().column, FieldId::kTags) << "showing it sorts nothing";

  view.resize(900, 300);
  view.show();
  QCoreApplication::processEvents();
  view.selectRow(RowOf("/m/e.ogg"));
  const QPoint place(view.columnViewportPosition(m_model.ColumnOf(FieldId::kFile)) + 30, 5);
  QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, place);
  EXPECT_EQ(m_table.Sort().column, FieldId::kFile);
  EXPECT_TRUE(m_table.Sort().ascending);
  QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, place);
  EXPECT_FALSE(m_table.Sort().ascending);
  EXPECT_EQ(m_model.PathAt(0), "/m/e.ogg");
  EXPECT_EQ(view.SelectedRows(), std::vector<int32_t>{0});
}

// The same commands to Qt's own selection: by rows they must agree, and so must the base class.
TEST_F(TableViewTest, SelectionDoesWhatQtsDoes) {
  for (int i = 0; i < 20; ++i) {
    m_results.Add("/m/" + std::to_string(i) + "a", "/m/" + std::to_string(i) + "b");
  }
  m_model.Reload();
  CRowSelection own(&m_model);
  QItemSelectionModel oracle(&m_model);
  using Model = QItemSelectionModel;
  const Model::SelectionFlags commands[] = {
      Model::ClearAndSelect, Model::Select,
      Model::Deselect,       Model::Toggle,
      Model::SelectCurrent,  Model::ToggleCurrent,
      Model::Clear,          Model::ClearAndSelect | Model::Current};
  std::mt19937 random(5);
  for (int step = 0; step < 3000; ++step) {
    const int a = static_cast<int>(random() % 40), b = static_cast<int>(random() % 40);
    const QItemSelection range(m_model.index(std::min(a, b), 0), m_model.index(std::max(a, b), 0));
    const Model::SelectionFlags command = commands[random() % std::size(commands)] | Model::Rows;
    own.select(range, command);
    oracle.select(range, command);
    size_t count = 0;
    for (int row = 0; row < m_model.rowCount(); ++row) {
      const QModelIndex index = m_model.index(row, 3);
      ASSERT_EQ(own.Has(row), oracle.isSelected(index)) << "step " << step << " row " << row;
      ASSERT_EQ(own.isSelected(index), own.Has(row)) << "step " << step << " row " << row;
      count += own.Has(row);
    }
    ASSERT_EQ(own.Count(), count);
  }
}

TEST(GroupStrip, NumbersKeepTheirLastDigits) {
  EXPECT_EQ(GroupDigits(7), "7");
  EXPECT_EQ(GroupDigits(999), "999");
  EXPECT_EQ(GroupDigits(1000), "*00");
  EXPECT_EQ(GroupDigits(1234), "*34");
}

}  // namespace
}  // namespace quill
