// SPDX-License-Identifier: GPL-3.0-or-later
// The audio duplicates table as Qt's views read it, with the columns of quality beside its own.
#pragma once

#include <QString>

#include "results/audio_analysis_controller.h"
#include "ui/table/dups_table_model.h"

namespace quill {

class CAudioDupsModel : public CDupsTableModel<CAudioDupsController, AudioDupsTraits> {
 public:
  // `analysis` gives the values of the columns of quality.
  CAudioDupsModel(CAudioDupsController& controller, const CAudioAnalysisController& analysis,
                  QObject* parent = nullptr);

 protected:
  [[nodiscard]] QString OwnText(const ItemBase& base, FieldId field) const override;
  [[nodiscard]] QVariant OwnScore(const ItemBase& base, FieldId field) const override;
  [[nodiscard]] QColor ScoreColor(FieldId field, bool strong) const override;
  [[nodiscard]] bool IsBad(int32_t row, FieldId field) const override;
  [[nodiscard]] const AnalysisInfo* Analysis(int32_t row) const override;

 private:
  const CAudioAnalysisController& m_analysis;
};

}  // namespace quill
