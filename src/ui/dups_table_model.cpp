#include "ui/dups_table_model.h"

#include "image/image_format_text.h"
#include "results/field_text.h"
#include "results/format_text.h"
#include "results/path_parts.h"
#include "ui/analysis_table_model.h"
#include "ui/path_text.h"

namespace quill {

namespace {

QColor Red(bool strong) {
  return strong ? QColor::fromRgbF(1.0F, 0.33F, 0.33F) : QColor::fromRgbF(1.0F, 0.73F, 0.73F);
}

QColor Green(bool strong) {
  return strong ? QColor::fromRgbF(0.33F, 1.0F, 0.33F) : QColor::fromRgbF(0.73F, 1.0F, 0.73F);
}

QColor Blue(bool strong) {
  return strong ? QColor::fromRgbF(0.33F, 0.33F, 1.0F) : QColor::fromRgbF(0.73F, 0.73F, 1.0F);
}

}  // namespace

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

CAudioDupsModel::CAudioDupsModel(CAudioDupsController& controller,
                                 const CAudioAnalysisController& analysis, QObject* parent)
    : CDupsTableModel(controller, AudioDupsColumns(), parent), m_analysis(analysis) {}

QString CAudioDupsModel::OwnText(const ItemBase& base, FieldId field) const {
  switch (field) {
    case FieldId::kArtist:
      return QString::fromStdString(base.artist);
    case FieldId::kTitle:
      return QString::fromStdString(base.title);
    case FieldId::kAlbum:
      return QString::fromStdString(base.album);
    case FieldId::kFormat:
      return QString::fromLatin1(AudioFormatText(base.format));
    case FieldId::kDuration:
      return QString::fromStdString(DurationText(base.durationMs));
    case FieldId::kBitrate:
      return QString::fromStdString(BitrateText(base.bitrate));
    default: {
      const auto* item = m_analysis.FindItem(base.path);
      return SharedText(field, item ? item->base.Get() : nullptr);
    }
  }
}

QVariant CAudioDupsModel::OwnScore(const ItemBase& base, FieldId field) const {
  if (field != FieldId::kRating) return {};
  return QVariant::fromValue(RatingBar(m_analysis.FindItem(base.path)));
}

QColor CAudioDupsModel::ScoreColor(FieldId field, bool strong) const {
  if (field == FieldId::kContent) return Blue(strong);
  return field == FieldId::kTags ? Green(strong) : Red(strong);
}

bool CAudioDupsModel::IsBad(int32_t row, FieldId field) const {
  if (field < FieldId::kRating) return false;
  const AnalysisInfo* info = Analysis(row);
  return info && IsBadValue(field, *info);
}

const AnalysisInfo* CAudioDupsModel::Analysis(int32_t row) const {
  const auto* item = m_analysis.FindItem(Row(row).File()->base->path);
  return item ? item->base.Get() : nullptr;
}

CImageDupsModel::CImageDupsModel(CImageDupsController& controller, QObject* parent)
    : CDupsTableModel(controller, ImageDupsColumns(), parent) {}

QString CImageDupsModel::OwnText(const ImageInfo& base, FieldId field) const {
  switch (field) {
    case FieldId::kFormat:
      return QString::fromStdString(ImageTypeText(base.format, base.bits));
    case FieldId::kResolution:
      if (!base.width || !base.height) return QStringLiteral("-");
      return QStringLiteral("%1 x %2").arg(base.width).arg(base.height);
    default:
      return {};
  }
}

QColor CImageDupsModel::ScoreColor(FieldId field, bool strong) const {
  return field == FieldId::kContent ? Red(strong) : Blue(strong);
}

}  // namespace quill
