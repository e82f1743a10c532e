// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/images/image_dups_model.h"

#include "image/image_format_text.h"

namespace quill {

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
  return field == FieldId::kContent ? RedScore(strong) : BlueScore(strong);
}

}  // namespace quill
