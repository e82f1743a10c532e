// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/preferences/general_page.h"

#include <QCoreApplication>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QSlider>
#include <QVBoxLayout>
#include <algorithm>

#include "core/defaults.h"
#include "ui/preferences/duration_formatter.h"
#include "ui/widgets/percent_slider.h"

namespace quill {

CGeneralPage::CGeneralPage() : CSettingsPage(DefaultsGeneral()) {
  auto* const intro = new QLabel(
      tr("A pair of files is reported when any of the chosen measures reaches its value."));
  intro->setWordWrap(true);

  auto* const sound = new QGroupBox(tr("Sound"));
  auto* const soundGrid = new QGridLayout(sound);
  AddMeasure(soundGrid, tr("&Tags"), tr("How far artist, title, album and file name agree"),
             "enableAudioTags", "valueAudioTags");
  AddMeasure(soundGrid, tr("&Content"), tr("How alike the sound is over its first half minute"),
             "enableAudioContent", "valueAudioContent");
  AddMeasure(soundGrid, tr("&Precise"),
             tr("How exactly a piece of one recording occurs in the other"), "enableAudioPrecise",
             "valueAudioPrecise");
  AddDuration(soundGrid);
  auto* const video = new QCheckBox(tr("S&kip video files"));
  Bind(video, "enableSkipVideo");
  soundGrid->addWidget(video, soundGrid->rowCount(), 0, 1, 2);
  soundGrid->setColumnStretch(1, 1);

  auto* const pictures = new QGroupBox(tr("Pictures"));
  auto* const pictureGrid = new QGridLayout(pictures);
  AddMeasure(pictureGrid, tr("C&ontent"), tr("How alike the pictures are, row by row"),
             "enableImageContent", "valueImageContent");
  AddMeasure(pictureGrid, tr("&Experimental"),
             tr("How alike the spatial frequencies of the pictures are"), "enableImageExperimental",
             "valueImageExperimental");
  pictureGrid->setColumnStretch(1, 1);
  int widest = 0;
  for (const QCheckBox* const check : m_measures)
    widest = std::max(widest, check->sizeHint().width());
  soundGrid->setColumnMinimumWidth(0, widest);
  pictureGrid->setColumnMinimumWidth(0, widest);

  auto* const layout = new QVBoxLayout(this);
  layout->addWidget(intro);
  layout->addWidget(sound);
  layout->addWidget(pictures);
  layout->addStretch();
  ShowSettings();
}

void CGeneralPage::AddMeasure(QGridLayout* grid, const QString& text, const QString& tip,
                              const char* enableKey, const char* valueKey) {
  auto* const check = new QCheckBox(text);
  check->setToolTip(tip);
  auto* const slider = new CPercentSlider(QString(text).remove('&'));
  slider->setToolTip(tip);
  slider->setEnabled(false);
  connect(check, &QCheckBox::toggled, slider, &QWidget::setEnabled);
  Bind(check, enableKey);
  Bind(slider, valueKey);
  const int row = grid->rowCount();
  grid->addWidget(check, row, 0);
  grid->addWidget(slider, row, 1);
  m_measures.push_back(check);
}

void CGeneralPage::AddDuration(QGridLayout* grid) {
  auto* const check = new QCheckBox(tr("&Duration"));
  check->setToolTip(tr("Leave out pairs of songs whose lengths differ too much"));
  auto* const slider = new QSlider(Qt::Horizontal);
  slider->setRange(0, 100);
  slider->setPageStep(5);
  slider->setAccessibleName(tr("Duration"));
  // Room for two lines of the longest text, so that nothing moves as the slider does.
  auto* const example = new QLabel;
  example->setWordWrap(true);
  example->setAlignment(Qt::AlignLeft | Qt::AlignTop);
  const QFontMetrics metrics = example->fontMetrics();
  const QString longest = QString::fromStdString(TDXDurationFormatter::Text(0.1F));
  example->setMinimumSize(metrics.horizontalAdvance(longest) * 3 / 5, 2 * metrics.lineSpacing());
  const auto show = [slider, example](int percent) {
    const QString text =
        QString::fromStdString(TDXDurationFormatter::Text(static_cast<float>(percent) / 100));
    example->setText(text);
    slider->setAccessibleDescription(text);
  };
  show(slider->value());
  connect(slider, &QSlider::valueChanged, example, show);
  for (QWidget* const part : {static_cast<QWidget*>(slider), static_cast<QWidget*>(example)}) {
    part->setEnabled(false);
    connect(check, &QCheckBox::toggled, part, &QWidget::setEnabled);
  }
  Bind(check, "enableAudioDuration");
  Bind(slider, "valueAudioDuration");
  const int row = grid->rowCount();
  grid->addWidget(check, row, 0);
  grid->addWidget(slider, row, 1);
  grid->addWidget(example, row + 1, 1);
}

}  // namespace quill
