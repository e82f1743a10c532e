// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/widgets/percent_slider.h"

#include <QDoubleSpinBox>
#include <QHBoxLayout>
#include <QSignalBlocker>
#include <QSlider>

namespace quill {
namespace {

constexpr int kStepsPerPercent = 10;

}  // namespace

CPercentSlider::CPercentSlider(const QString& name, QWidget* parent)
    : QWidget(parent), m_slider(new QSlider(Qt::Horizontal)), m_field(new QDoubleSpinBox) {
  m_slider->setRange(0, 100 * kStepsPerPercent);
  m_slider->setSingleStep(kStepsPerPercent);
  m_slider->setPageStep(5 * kStepsPerPercent);
  m_slider->setMinimumWidth(150);
  m_slider->setAccessibleName(name);
  m_field->setRange(0, 100);
  m_field->setDecimals(1);
  m_field->setSuffix(tr(" %"));
  m_field->setAlignment(Qt::AlignRight);
  m_field->setAccessibleName(name);
  auto* const layout = new QHBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(m_slider);
  layout->addWidget(m_field);
  setFocusProxy(m_slider);

  connect(m_slider, &QSlider::valueChanged, this,
          [this](int steps) { m_field->setValue(static_cast<double>(steps) / kStepsPerPercent); });
  connect(m_field, &QDoubleSpinBox::valueChanged, this, [this](double percent) {
    const QSignalBlocker blocker(m_slider);
    m_slider->setValue(qRound(percent * kStepsPerPercent));
    emit ValueChanged(Value());
  });
}

void CPercentSlider::SetValue(float value) {
  m_field->setValue(static_cast<double>(value) * 100);
}

float CPercentSlider::Value() const {
  return static_cast<float>(m_field->value() / 100);
}

}  // namespace quill
