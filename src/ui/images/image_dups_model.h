// SPDX-License-Identifier: GPL-3.0-or-later
// The image duplicates table as Qt's views read it.
#pragma once

#include <QString>

#include "ui/table/dups_table_model.h"

namespace quill {

class CImageDupsModel : public CDupsTableModel<CImageDupsController, ImageDupsTraits> {
 public:
  explicit CImageDupsModel(CImageDupsController& controller, QObject* parent = nullptr);

 protected:
  [[nodiscard]] QString OwnText(const ImageInfo& base, FieldId field) const override;
  [[nodiscard]] QColor ScoreColor(FieldId field, bool strong) const override;
};

}  // namespace quill
