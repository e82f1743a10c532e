// The audio and the image duplicates table as Qt's views read them. The text of a row is always of
// the row's file: of the partner in an inner row.
#pragma once

#include <QString>

#include "results/audio_analysis_controller.h"
#include "results/audio_dups_controller.h"
#include "results/image_dups_controller.h"
#include "ui/results_model.h"

namespace quill {

template <class Controller, class Traits>
class CDupsTableModel : public CResultsModel {
 public:
  [[nodiscard]] SortState Sort() const override { return m_controller.Sort(); }
  [[nodiscard]] std::string PathAt(int32_t row) const override;
  [[nodiscard]] QString ContentsText() const override;
  [[nodiscard]] bool HasGroups() const override { return true; }
  [[nodiscard]] bool IsFlat() const override { return m_controller.IsFlat(); }
  [[nodiscard]] RowGroup GroupAt(int32_t row) const override;
  [[nodiscard]] bool IsOuter(int32_t row, bool* expanded) const override {
    return m_controller.IsGroup(row, expanded);
  }

 protected:
  using Base = typename Controller::Base;
  using ViewData = typename Controller::ViewData;

  CDupsTableModel(Controller& controller, std::span<const TableColumn> columns, QObject* parent)
      : CResultsModel(columns, parent), m_controller(controller) {}

  // The columns that only one of the two tables has.
  [[nodiscard]] virtual QString OwnText(const Base& base, FieldId field) const = 0;
  // The bars of scores that are not the pair's.
  [[nodiscard]] virtual QVariant OwnScore(const Base&, FieldId) const { return {}; }
  // Of a score of the pair.
  [[nodiscard]] virtual QColor ScoreColor(FieldId field, bool strong) const = 0;

  [[nodiscard]] const ViewData& Row(int32_t row) const { return *m_controller.TableAt(row); }
  [[nodiscard]] QString Text(int32_t row, FieldId field) const override;
  [[nodiscard]] QVariant Score(int32_t row, FieldId field) const override;
  [[nodiscard]] bool IsMarked(int32_t row) const override { return Row(row).File()->marked; }
  [[nodiscard]] bool IsBad(int32_t, FieldId) const override { return false; }
  [[nodiscard]] size_t ControllerRows() const override { return m_controller.RowCount(); }
  [[nodiscard]] uint32_t FillKeys(std::vector<RowKey>* keys) const override;
  void SetSort(FieldId field, bool ascending) override { m_controller.SetSort(field, ascending); }
  void Toggle(int32_t row) override { m_controller.ToggleGroup(row); }

 private:
  Controller& m_controller;
};

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

class CImageDupsModel : public CDupsTableModel<CImageDupsController, ImageDupsTraits> {
 public:
  explicit CImageDupsModel(CImageDupsController& controller, QObject* parent = nullptr);

 protected:
  [[nodiscard]] QString OwnText(const ImageInfo& base, FieldId field) const override;
  [[nodiscard]] QColor ScoreColor(FieldId field, bool strong) const override;
};

}  // namespace quill
