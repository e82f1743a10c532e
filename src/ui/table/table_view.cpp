// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/table/table_view.h"

#include <QAction>
#include <QHeaderView>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <QSignalBlocker>
#include <algorithm>

#include "ui/table/group_strip.h"
#include "ui/table/mini_spectrum_cell.h"
#include "ui/table/row_selection.h"
#include "ui/table/score_cell.h"
#include "ui/table/text_cell.h"
#include "ui/widgets/readable_color.h"

namespace quill {

namespace {

constexpr int kGroupedShift = 25, kFlatShift = 15;
constexpr int kGroupedTriangle = 15, kFlatTriangle = 5;
constexpr int kTriangleSize = 9;
constexpr QSize kTriangleBox(10, 14);

}  // namespace

TDXTableView::TDXTableView(CResultsModel& model, QWidget* parent)
    : QTableView(parent), m_rows(model), m_selection(new CRowSelection(&model, this)) {
  setModel(&model);
  QItemSelectionModel* unused = selectionModel();
  setSelectionModel(m_selection);
  delete unused;
  setSelectionBehavior(SelectRows);
  setSelectionMode(ExtendedSelection);
  setEditTriggers(NoEditTriggers);
  setVerticalScrollMode(ScrollPerPixel);
  setHorizontalScrollMode(ScrollPerPixel);
  setTabKeyNavigation(false);
  setWordWrap(false);
  setShowGrid(false);
  setCornerButtonEnabled(false);
  setAlternatingRowColors(!model.HasGroups());
  setItemDelegate(new CTextCell(this));
  auto* scoreCell = new TDXScoreCell(this);
  auto* spectrumCell = new TDXMiniSpectrumCell(this);
  for (int column = 0; column < model.columnCount(); ++column) {
    const TableColumn::Kind kind = model.Columns()[static_cast<size_t>(column)].kind;
    if (kind == TableColumn::Kind::kScore) setItemDelegateForColumn(column, scoreCell);
    if (kind == TableColumn::Kind::kSpectrum) setItemDelegateForColumn(column, spectrumCell);
  }

  verticalHeader()->hide();
  verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  QHeaderView* header = horizontalHeader();
  header->setSectionsMovable(true);
  header->setSectionsClickable(true);
  header->setHighlightSections(false);
  header->setSortIndicatorShown(true);
  header->setContextMenuPolicy(Qt::ActionsContextMenu);
  header->setTextElideMode(Qt::ElideRight);
  // A header asks the selection for whole rows and columns at each change: with many rows that
  // takes longer than all the rest. These know of no selection.
  header->setSelectionModel(new QItemSelectionModel(&model, header));
  verticalHeader()->setSelectionModel(new QItemSelectionModel(&model, verticalHeader()));

  RebuildHeaderMenu();
  SetDefaultColumns();
  SetRowHeight();
  ShowSort();
  connect(header, &QHeaderView::sortIndicatorChanged, this, &TDXTableView::SortBy);
  connect(&model, &QAbstractItemModel::modelAboutToBeReset, this, &TDXTableView::RememberRows);
  // Made after the base class's own connection, and so called when it has done.
  connect(&model, &QAbstractItemModel::modelReset, this, &TDXTableView::RestoreRows);
}

TDXTableView::~TDXTableView() = default;

void TDXTableView::ReloadRows() {
  m_rows.Reload();
}

void TDXTableView::SetHint(std::function<QString()> hint) {
  m_hint = std::move(hint);
}

// ---- selection

size_t TDXTableView::SelectedCount() const {
  return m_selection->Count();
}

std::vector<int32_t> TDXTableView::SelectedRows() const {
  std::vector<int32_t> rows;
  rows.reserve(m_selection->Count());
  const std::vector<uint8_t>& flags = m_selection->Flags();
  for (size_t row = 0; row < flags.size() && rows.size() < m_selection->Count(); ++row) {
    if (flags[row]) rows.push_back(static_cast<int32_t>(row));
  }
  return rows;
}

int32_t TDXTableView::LeadingRow() const {
  const int current = currentIndex().row();
  if (current >= 0 && m_selection->Has(current)) return current;
  const std::vector<uint8_t>& flags = m_selection->Flags();
  const auto first = std::find(flags.begin(), flags.end(), 1);
  return first == flags.end() ? -1 : static_cast<int32_t>(first - flags.begin());
}

void TDXTableView::selectionChanged(const QItemSelection& selected,
                                    const QItemSelection& deselected) {
  QTableView::selectionChanged(selected, deselected);
  viewport()->update();
  emit SelectedCountChanged();
}

void TDXTableView::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
  QTableView::currentChanged(current, previous);
  viewport()->update();  // the focus frame goes around the whole row
}

void TDXTableView::RememberRows() {
  const auto visible = [this](int row) {
    const int top = rowViewportPosition(row);
    return top >= 0 && top < viewport()->height();
  };
  const int current = currentIndex().row();
  const bool currentVisible = current >= 0 && visible(current);
  // The row that stands still: the one the user is at, else the topmost. A table that nobody has
  // touched shows its beginning.
  const int scroll = verticalScrollBar()->value();
  const int anchor = currentVisible ? current : scroll > 0 ? rowAt(0) : -1;
  m_kept.emplace(Kept{CRowMemory(m_rows.Keys(), m_selection->Flags(), current, anchor),
                      anchor >= 0 ? rowViewportPosition(anchor) : 0, scroll, current,
                      currentVisible, std::max(0, currentIndex().column()), m_selection->Count()});
}

void TDXTableView::RestoreRows() {
  if (!m_kept) return;
  const Kept kept = std::move(*m_kept);
  m_kept.reset();
  const int rows = m_rows.rowCount();
  const CRowMemory::Found found = kept.memory.FindIn(m_rows.Keys());
  int current = found.current;
  if (current < 0 && kept.current >= 0) current = std::min(kept.current, rows - 1);
  // The views need not hear of what looks the same to the user, and must not scroll to it.
  m_selection->Restore(found.selected,
                       current < 0 ? QModelIndex() : m_rows.index(current, kept.currentColumn));
  updateGeometries();  // the scroll bar's range
  if (m_sorting) {
    verticalScrollBar()->setValue(kept.scroll);
    if (kept.currentVisible) scrollTo(currentIndex());
  } else if (found.anchor >= 0) {
    verticalScrollBar()->setValue(verticalHeader()->sectionPosition(found.anchor) - kept.anchorTop);
  } else {
    verticalScrollBar()->setValue(kept.scroll);
  }
  viewport()->update();
  if (m_selection->Count() != kept.selectedCount) emit SelectedCountChanged();
}

// ---- columns

int TDXTableView::FirstVisibleColumn() const {
  const QHeaderView* header = horizontalHeader();
  for (int visual = 0; visual < header->count(); ++visual) {
    const int column = header->logicalIndex(visual);
    if (!header->isSectionHidden(column)) return column;
  }
  return -1;
}

int TDXTableView::ColumnWidth(const TableColumn& column) const {
  const int content = column.characters * fontMetrics().averageCharWidth();
  const int title = fontMetrics().horizontalAdvance(tr(column.title)) +
                    style()->pixelMetric(QStyle::PM_HeaderMarkSize) +
                    4 * style()->pixelMetric(QStyle::PM_HeaderMargin);
  return std::max(content, title);
}

void TDXTableView::SetDefaultColumns() {
  for (int column = 0; column < m_rows.columnCount(); ++column) {
    const TableColumn& told = m_rows.Columns()[static_cast<size_t>(column)];
    setColumnWidth(column, ColumnWidth(told));
    setColumnHidden(column, !told.shown);
  }
  UpdateColumnActions();
}

void TDXTableView::RebuildHeaderMenu() {
  for (int column = 0; column < m_rows.columnCount(); ++column) {
    auto* action =
        new QAction(m_rows.headerData(column, Qt::Horizontal, Qt::DisplayRole).toString(), this);
    action->setToolTip(m_rows.headerData(column, Qt::Horizontal, Qt::ToolTipRole).toString());
    action->setCheckable(true);
    connect(action, &QAction::triggered, this,
            [this, column](bool show) { ShowHideColumn(column, show); });
    m_columnActions.append(action);
  }
  horizontalHeader()->addActions(m_columnActions);
}

void TDXTableView::ShowHideColumn(int column, bool show) {
  setColumnHidden(column, !show);
  UpdateColumnActions();
  viewport()->update();
}

void TDXTableView::UpdateColumnActions() {
  const QHeaderView* header = horizontalHeader();
  const int shown = header->count() - header->hiddenSectionCount();
  for (int column = 0; column < m_columnActions.size(); ++column) {
    const bool hidden = header->isSectionHidden(column);
    m_columnActions[column]->setChecked(!hidden);
    m_columnActions[column]->setEnabled(hidden || shown > 1);
  }
}

void TDXTableView::SortBy(int column, Qt::SortOrder order) {
  m_sorting = true;
  m_rows.sort(column, order);
  m_sorting = false;
}

void TDXTableView::ShowSort() {
  const QSignalBlocker quiet(horizontalHeader());
  const SortState sort = m_rows.Sort();
  horizontalHeader()->setSortIndicator(m_rows.ColumnOf(sort.column),
                                       sort.ascending ? Qt::AscendingOrder : Qt::DescendingOrder);
}

QByteArray TDXTableView::SaveColumns() const {
  const QHeaderView* header = horizontalHeader();
  QJsonArray columns;
  for (int visual = 0; visual < header->count(); ++visual) {
    const int column = header->logicalIndex(visual);
    const bool hidden = header->isSectionHidden(column);
    QJsonObject entry;
    entry["field"] = FieldIdentifier(m_rows.Columns()[static_cast<size_t>(column)].field);
    entry["hidden"] = hidden;
    // A hidden section has no width of its own: it comes back with the default one.
    if (!hidden) entry["width"] = header->sectionSize(column);
    columns.append(entry);
  }
  return QJsonDocument(columns).toJson(QJsonDocument::Compact);
}

void TDXTableView::RestoreColumns(const QByteArray& state) {
  const QJsonArray columns = QJsonDocument::fromJson(state).array();
  if (columns.isEmpty()) return;
  QHeaderView* header = horizontalHeader();
  int place = 0;
  for (const QJsonValue& value : columns) {
    const QJsonObject entry = value.toObject();
    const int column = m_rows.ColumnOf(FieldIdOf(entry["field"].toString().toStdString()));
    if (column < 0) continue;
    header->moveSection(header->visualIndex(column), place++);
    setColumnHidden(column, entry["hidden"].toBool());
    const int width = entry["width"].toInt();
    if (width > 0) setColumnWidth(column, width);
  }
  if (FirstVisibleColumn() < 0) setColumnHidden(0, false);
  m_ownWidths = false;
  UpdateColumnActions();
}

void TDXTableView::showEvent(QShowEvent* event) {
  QTableView::showEvent(event);
  if (std::exchange(m_shown, true) || !m_ownWidths) return;
  const int column = FirstVisibleColumn();
  const int left = viewport()->width() - horizontalHeader()->length();
  if (column >= 0) {
    const int least = 30 * fontMetrics().averageCharWidth();
    setColumnWidth(column, std::max(least, columnWidth(column) + left));
  }
}

void TDXTableView::changeEvent(QEvent* event) {
  QTableView::changeEvent(event);
  if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) SetRowHeight();
}

void TDXTableView::SetRowHeight() {
  QStyleOptionViewItem option;
  initViewItemOption(&option);
  option.features |= QStyleOptionViewItem::HasDisplay;
  option.text = QStringLiteral("X");
  const int item = style()->sizeFromContents(QStyle::CT_ItemViewItem, &option, {}, this).height();
  const int height = std::max(item, fontMetrics().height()) + 6;
  verticalHeader()->setMinimumSectionSize(height);
  verticalHeader()->setDefaultSectionSize(height);
}

// ---- drawing

QRect TDXTableView::CellRect(const QModelIndex& index) const {
  QRect cell(columnViewportPosition(index.column()), rowViewportPosition(index.row()),
             columnWidth(index.column()), rowHeight(index.row()));
  if (m_rows.HasGroups() && index.column() == FirstVisibleColumn()) {
    cell.adjust(m_rows.IsFlat() ? kFlatShift : kGroupedShift, 0, 0, 0);
  }
  return cell;
}

// One repaint: what holds for all of its cells.
class TDXTableView::Painting {
 public:
  Painting(TDXTableView& view, QPainter& painter, const QRect& area)
      : m_view(view),
        m_rows(view.m_rows),
        m_painter(painter),
        m_area(area),
        m_firstColumn(view.FirstVisibleColumn()),
        m_base(view.palette().color(QPalette::Base)) {
    view.initViewItemOption(&m_option);
    m_group = m_option.state & QStyle::State_Active ? QPalette::Active : QPalette::Inactive;
  }

  void Run() {
    if (m_firstColumn < 0) return;
    const int first = m_view.rowAt(m_area.top());
    if (first < 0) return;
    int last = m_view.rowAt(m_area.bottom());
    if (last < 0) last = m_rows.rowCount() - 1;
    const bool groups = m_rows.HasGroups();
    if (groups) ForEachGroup(first, last, [this](const RowGroup& group) { DrawGround(group); });
    for (int row = first; row <= last; ++row) DrawRow(row);
    if (!groups) return;
    if (!m_rows.IsFlat()) {
      ForEachGroup(first, last, [this](const RowGroup& group) {
        DrawGroupStrip(m_painter, GroupRect(group, m_left, kStripWidth), group.number,
                       Ground(group.number));
      });
    }
    for (int row = first; row <= last; ++row) DrawTriangle(row);
  }

 private:
  template <class Visit>
  void ForEachGroup(int first, int last, Visit visit) {
    for (int row = first; row <= last;) {
      const RowGroup group = m_rows.GroupAt(row);
      if (!group.number) return;
      visit(group);
      row = group.last + 1;
    }
  }

  [[nodiscard]] QColor Ground(uint32_t group) const {
    if (group % 2) return m_base;
    return Shade(m_base, 0.08);
  }

  [[nodiscard]] QRect GroupRect(const RowGroup& group, int left, int width) const {
    const int top = m_view.rowViewportPosition(group.first);
    const int end = m_view.rowViewportPosition(group.last) + m_view.rowHeight(group.last);
    return {left, top, width, end - top};
  }

  void DrawGround(const RowGroup& group) {
    const QRect rect = GroupRect(group, m_area.left(), m_area.width());
    if (group.number % 2 == 0) m_painter.fillRect(rect & m_area, Ground(group.number));
    const int hint = m_view.style()->styleHint(QStyle::SH_Table_GridLineColor, &m_option, &m_view);
    m_painter.fillRect(QRect(rect.left(), rect.bottom(), rect.width(), 1),
                       QColor::fromRgba(static_cast<QRgb>(hint)));
  }

  void DrawRow(int row) {
    const bool selected = m_view.m_selection->Has(row);
    bool expanded = false;
    const bool outer = m_rows.IsOuter(row, &expanded);
    const QColor ground = selected ? m_view.palette().color(m_group, QPalette::Highlight)
                          : m_rows.HasGroups() ? Ground(m_rows.GroupAt(row).number)
                                               : m_base;
    QColor red;
    const QHeaderView* header = m_view.horizontalHeader();
    int left = INT_MAX, right = 0;
    for (int visual = 0; visual < header->count(); ++visual) {
      const int column = header->logicalIndex(visual);
      if (header->isSectionHidden(column)) continue;
      const QModelIndex index = m_rows.index(row, column);
      QStyleOptionViewItem cell = m_option;
      cell.rect = m_view.CellRect(index);
      const QRect whole(m_view.columnViewportPosition(column), cell.rect.top(),
                        m_view.columnWidth(column), cell.rect.height());
      left = std::min(left, whole.left());
      right = std::max(right, whole.right());
      if (!whole.intersects(m_area)) continue;
      cell.state.setFlag(QStyle::State_Selected, selected);
      const bool path =
          m_rows.Columns()[static_cast<size_t>(column)].kind == TableColumn::Kind::kPath;
      cell.textElideMode = path ? Qt::ElideMiddle : Qt::ElideRight;
      if (row % 2 && m_view.alternatingRowColors()) {
        cell.features |= QStyleOptionViewItem::Alternate;
      }
      if (column == m_firstColumn && outer && (m_rows.IsFlat() || expanded)) {
        cell.font.setBold(true);
        cell.fontMetrics = QFontMetrics(cell.font);
      }
      if (index.data(CResultsModel::kRedRole).toBool()) {
        if (!red.isValid()) red = ReadableOn(ground, kRedText);
        cell.palette.setColor(QPalette::Text, red);
        cell.palette.setColor(QPalette::HighlightedText, red);
      }
      DrawCell(whole, cell, index);
    }
    if (row == m_view.currentIndex().row() && m_view.hasFocus()) {
      DrawFocus(QRect(QPoint(left, m_view.rowViewportPosition(row)),
                      QSize(right - left + 1, m_view.rowHeight(row))),
                ground);
    }
  }

  void DrawCell(const QRect& whole, const QStyleOptionViewItem& cell, const QModelIndex& index) {
    QStyleOptionViewItem panel = cell;
    panel.rect = whole;
    if (cell.features & QStyleOptionViewItem::Alternate) {
      m_view.style()->drawPrimitive(QStyle::PE_PanelItemViewRow, &panel, &m_painter, &m_view);
    }
    // The room for strip and triangle belongs to the cell.
    if (cell.state & QStyle::State_Selected && whole != cell.rect) {
      m_view.style()->drawPrimitive(QStyle::PE_PanelItemViewItem, &panel, &m_painter, &m_view);
    }
    m_view.itemDelegateForIndex(index)->paint(&m_painter, cell, index);
  }

  void DrawFocus(const QRect& row, const QColor& ground) {
    QStyleOptionFocusRect focus;
    focus.initFrom(&m_view);
    focus.rect = row;
    focus.state |= QStyle::State_KeyboardFocusChange | QStyle::State_Item;
    focus.backgroundColor = ground;
    m_view.style()->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, &m_painter, &m_view);
  }

  void DrawTriangle(int row) {
    bool expanded = false;
    if (!m_rows.IsOuter(row, &expanded)) return;
    const bool flat = m_rows.IsFlat();
    const QRect place(m_left + (flat ? kFlatTriangle : kGroupedTriangle),
                      m_view.rowViewportPosition(row) + (m_view.rowHeight(row) - kTriangleSize) / 2,
                      kTriangleSize, kTriangleSize);
    const bool selected = m_view.m_selection->Has(row);
    QColor color =
        m_view.palette().color(m_group, selected ? QPalette::HighlightedText : QPalette::Text);
    color.setAlphaF(0.65F);
    DrawDisclosure(m_painter, place, flat || expanded, color);
  }

  TDXTableView& m_view;
  const CResultsModel& m_rows;
  QPainter& m_painter;
  const QRect m_area;
  const int m_firstColumn;
  const QColor m_base;
  const int m_left = m_firstColumn < 0 ? 0 : m_view.columnViewportPosition(m_firstColumn);
  QStyleOptionViewItem m_option;
  QPalette::ColorGroup m_group;
};

void TDXTableView::paintEvent(QPaintEvent* event) {
  QPainter painter(viewport());
  if (m_rows.rowCount() == 0) {
    painter.setPen(palette().color(QPalette::PlaceholderText));
    const int margin = 2 * fontMetrics().height();
    painter.drawText(viewport()->rect().adjusted(margin, margin, -margin, -margin),
                     Qt::AlignCenter | Qt::TextWordWrap, Hint());
    return;
  }
  Painting(*this, painter, event->rect()).Run();
}

// ---- input

bool TDXTableView::event(QEvent* event) {
  // Space marks, although the menu shows it as the shortcut of its own action: as a key of the
  // table it does what it does in every table besides.
  if (event->type() == QEvent::ShortcutOverride) {
    auto* key = static_cast<QKeyEvent*>(event);
    if (key->key() == Qt::Key_Space && key->modifiers() == Qt::NoModifier) {
      event->accept();
      return true;
    }
  }
  return QTableView::event(event);
}

bool TDXTableView::viewportEvent(QEvent* event) {
  const QEvent::Type type = event->type();
  if (type == QEvent::MouseButtonPress || type == QEvent::MouseButtonDblClick ||
      type == QEvent::ContextMenu) {
    m_selection->CatchUp();
  }
  return QTableView::viewportEvent(event);
}

void TDXTableView::keyPressEvent(QKeyEvent* event) {
  m_selection->CatchUp();
  if (event->modifiers() == Qt::NoModifier || event->modifiers() == Qt::KeypadModifier) {
    switch (event->key()) {
      case Qt::Key_Space:
        if (event->isAutoRepeat()) return;
        if (!m_selection->Count() && currentIndex().isValid()) {
          selectionModel()->select(currentIndex(),
                                   QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        }
        emit MarkRequested();
        break;
      case Qt::Key_Right:
      case Qt::Key_Left:
        if (StepIntoGroup(event->key() == Qt::Key_Right)) return;
        break;
      default:
        break;
    }
  }
  QTableView::keyPressEvent(event);
}

bool TDXTableView::StepIntoGroup(bool right) {
  const int row = currentIndex().row();
  if (row < 0 || !m_rows.HasGroups() || m_rows.IsFlat()) return false;
  bool expanded = false;
  const bool outer = m_rows.IsOuter(row, &expanded);
  if (outer) return right != expanded && m_rows.ToggleGroup(row);
  if (right) return false;
  int above = row;
  while (above > 0 && !m_rows.IsOuter(above, nullptr)) --above;
  setCurrentIndex(m_rows.index(above, currentIndex().column()));
  return true;
}

bool TDXTableView::ToggleAt(const QPoint& position) {
  if (!m_rows.HasGroups() || m_rows.IsFlat()) return false;
  const QModelIndex index = indexAt(position);
  if (!index.isValid() || index.column() != FirstVisibleColumn()) return false;
  const QPoint corner(
      columnViewportPosition(index.column()) + kGroupedTriangle,
      rowViewportPosition(index.row()) + (rowHeight(index.row()) - kTriangleBox.height()) / 2);
  return QRect(corner, kTriangleBox).contains(position) && m_rows.ToggleGroup(index.row());
}

void TDXTableView::mousePressEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton && ToggleAt(event->position().toPoint())) return;
  QTableView::mousePressEvent(event);
}

void TDXTableView::mouseDoubleClickEvent(QMouseEvent* event) {
  const QPoint position = event->position().toPoint();
  if (event->button() == Qt::LeftButton && ToggleAt(position)) return;
  QTableView::mouseDoubleClickEvent(event);
  const QModelIndex index = indexAt(position);
  if (event->button() == Qt::LeftButton && index.isValid()) emit OpenRequested(index.row());
}

}  // namespace quill
