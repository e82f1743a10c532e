// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/quality/analysis_table_model.h"

#include "results/field_text.h"
#include "ui/table/quality_cells.h"

namespace quill {

CAudioAnalysisModel::CAudioAnalysisModel(CAudioAnalysisController& controller, QObject* parent)
    : CResultsModel(AudioAnalysisColumns(), parent), m_controller(controller) {}

std::string CAudioAnalysisModel::PathAt(int32_t row) const {
  const bool known = row >= 0 && static_cast<size_t>(row) < m_controller.RowCount();
  return known ? m_controller.TableAt(row)->base->path : std::string();
}

QString CAudioAnalysisModel::ContentsText() const {
  const auto count = static_cast<int>(m_controller.RowCount());
  return count == 1 ? tr("1 file") : tr("%L1 files").arg(count);
}

QString CAudioAnalysisModel::Text(int32_t row, FieldId field) const {
  return SharedText(field, m_controller.TableAt(row)->base.Get());
}

QVariant CAudioAnalysisModel::Score(int32_t row, FieldId field) const {
  if (field != FieldId::kRating) return {};
  return QVariant::fromValue(RatingBar(m_controller.TableAt(row)));
}

bool CAudioAnalysisModel::IsMarked(int32_t row) const {
  return m_controller.TableAt(row)->marked;
}

bool CAudioAnalysisModel::IsBad(int32_t row, FieldId field) const {
  return IsBadValue(field, *m_controller.TableAt(row)->base);
}

uint32_t CAudioAnalysisModel::FillKeys(std::vector<RowKey>* keys) const {
  uint32_t marked = 0;
  const auto count = static_cast<int32_t>(m_controller.RowCount());
  for (int32_t row = 0; row < count; ++row) {
    const auto* item = m_controller.TableAt(row);
    keys->push_back({item, nullptr});
    marked += item->marked;
  }
  return marked;
}

}  // namespace quill
