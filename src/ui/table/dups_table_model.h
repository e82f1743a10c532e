// SPDX-License-Identifier: GPL-3.0-or-later
// What the audio and the image duplicates table have in common as Qt's views read them. The text of
// a row is always of the row's file: of the partner in an inner row. The colours of scores are
// named here, so that both sides take the same.
#pragma once

#include <QColor>
#include <QString>

#include "results/audio_dups_controller.h"
#include "results/image_dups_controller.h"
#include "ui/table/results_model.h"

namespace quill {

// The end of a score's bar; strong where the row stands for a file and not for a pair.
[[nodiscard]] QColor RedScore(bool strong);
[[nodiscard]] QColor GreenScore(bool strong);
[[nodiscard]] QColor BlueScore(bool strong);

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

}  // namespace quill
