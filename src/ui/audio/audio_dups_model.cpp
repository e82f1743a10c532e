// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/audio/audio_dups_model.h"

#include "results/field_text.h"
#include "results/format_text.h"
#include "ui/table/quality_cells.h"

namespace quill {

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
  if (field == FieldId::kContent) return BlueScore(strong);
  return field == FieldId::kTags ? GreenScore(strong) : RedScore(strong);
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

}  // namespace quill
