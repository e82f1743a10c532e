// SPDX-License-Identifier: GPL-3.0-or-later
// The audio quality table as Qt's views read it.
#pragma once

#include <QString>

#include "results/audio_analysis_controller.h"
#include "ui/table/results_model.h"

namespace quill {

class CAudioAnalysisModel : public CResultsModel {
 public:
  explicit CAudioAnalysisModel(CAudioAnalysisController& controller, QObject* parent = nullptr);

  [[nodiscard]] SortState Sort() const override { return m_controller.Sort(); }
  [[nodiscard]] std::string PathAt(int32_t row) const override;
  [[nodiscard]] QString ContentsText() const override;

 protected:
  [[nodiscard]] const AnalysisInfo* Analysis(int32_t row) const override {
    return m_controller.TableAt(row)->base.Get();
  }
  [[nodiscard]] QString Text(int32_t row, FieldId field) const override;
  [[nodiscard]] QVariant Score(int32_t row, FieldId field) const override;
  [[nodiscard]] bool IsMarked(int32_t row) const override;
  [[nodiscard]] bool IsBad(int32_t row, FieldId field) const override;
  [[nodiscard]] size_t ControllerRows() const override { return m_controller.RowCount(); }
  [[nodiscard]] uint32_t FillKeys(std::vector<RowKey>* keys) const override;
  void SetSort(FieldId field, bool ascending) override { m_controller.SetSort(field, ascending); }

 private:
  CAudioAnalysisController& m_controller;
};

}  // namespace quill
