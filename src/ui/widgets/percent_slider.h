// SPDX-License-Identifier: GPL-3.0-or-later
// A value from 0 to 1, set as a percentage: a slider with a field that shows the number and takes
// one. Main thread.
#pragma once

#include <QWidget>

class QDoubleSpinBox;
class QSlider;

namespace quill {

class CPercentSlider : public QWidget {
  Q_OBJECT

 public:
  // `name` says what is set, for those who have the window read out.
  explicit CPercentSlider(const QString& name, QWidget* parent = nullptr);

  void SetValue(float value);
  [[nodiscard]] float Value() const;

 signals:
  // By the user or by SetValue.
  void ValueChanged(float value);

 private:
  QSlider* m_slider;
  QDoubleSpinBox* m_field;
};

}  // namespace quill
