// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/table/dups_table_model.h"

#include "results/field_text.h"
#include "results/path_parts.h"
#include "ui/widgets/path_text.h"

namespace quill {

QColor RedScore(bool strong) {
  return strong ? QColor::fromRgbF(1.0F, 0.33F, 0.33F) : QColor::fromRgbF(1.0F, 0.73F, 0.73F);
}

QColor GreenScore(bool strong) {
  return strong ? QColor::fromRgbF(0.33F, 1.0F, 0.33F) : QColor::fromRgbF(0.73F, 1.0F, 0.73F);
}

QColor BlueScore(bool strong) {
  return strong ? QColor::fromRgbF(0.33F, 0.33F, 1.0F) : QColor::fromRgbF(0.73F, 0.73F, 1.0F);
}

template <class Controller, class Traits>
std::string CDupsTableModel<Controller, Traits>::PathAt(int32_t row) const {
  const bool known = row >= 0 && static_cast<size_t>(row) < m_controller.RowCount();
  return known ? Row(row).File()->base->path : std::string();
}

template <class Controller, class Traits>
QString CDupsTableModel<Controller, Traits>::ContentsText() const {
  // In flat mode a group is a file.
  const auto count = static_cast<int>(m_controller.GroupCount());
  if (!IsFlat()) return count == 1 ? tr("1 group") : tr("%L1 groups").arg(count);
  return count == 1 ? tr("1 file") : tr("%L1 files").arg(count);
}

template <class Controller, class Traits>
RowGroup CDupsTableModel<Controller, Traits>::GroupAt(int32_t row) const {
  RowGroup group;
  if (row < 0 || static_cast<size_t>(row) >= m_controller.RowCount()) return group;
  if (m_controller.TableRange(row, &group.first, &group.last)) group.number = Row(row).item->group;
  return group;
}

template <class Controller, class Traits>
QString CDupsTableModel<Controller, Traits>::Text(int32_t number, FieldId field) const {
  const ViewData& row = Row(number);
  const auto& file = *row.File();
  const Base& base = *file.base;
  switch (field) {
    case FieldId::kFile:
      return ShownPath(base.path);
    case FieldId::kPairs:
      return row.pair ? QString() : QString::number(file.pairs);
    case FieldId::kFolder:
      return ShownPath(std::string(FolderPart(base.path)));
    case FieldId::kFilename:
      return ShownPath(std::string(NamePart(base.path)));
    case FieldId::kSize:
      return QString::fromStdString(SizeText(base.size));
    case FieldId::kGroup:
      return file.folderGroup ? QStringLiteral("#%1").arg(file.folderGroup) : QStringLiteral("-");
    default:
      return OwnText(base, field);
  }
}

template <class Controller, class Traits>
QVariant CDupsTableModel<Controller, Traits>::Score(int32_t number, FieldId field) const {
  const ViewData& row = Row(number);
  const size_t score = Traits::ScoreOf(field);
  if (score >= Traits::kScores) return OwnScore(*row.File()->base, field);
  if (IsFlat() && !row.pair) return {};
  ScoreBar bar;
  bar.score = row.pair ? row.pair->scores[score] : row.item->maximum[score];
  bar.colorMax = ScoreColor(field, IsFlat() || !row.pair);
  return QVariant::fromValue(bar);
}

template <class Controller, class Traits>
uint32_t CDupsTableModel<Controller, Traits>::FillKeys(std::vector<RowKey>* keys) const {
  uint32_t marked = 0;
  const auto count = static_cast<int32_t>(m_controller.RowCount());
  for (int32_t number = 0; number < count; ++number) {
    const ViewData& row = Row(number);
    keys->push_back({row.item, row.pair});
    marked += !row.pair && row.item->marked;
  }
  return marked;
}

template class CDupsTableModel<CAudioDupsController, AudioDupsTraits>;
template class CDupsTableModel<CImageDupsController, ImageDupsTraits>;

}  // namespace quill
