// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/inspection/spectrum_window.h"

#include <QActionGroup>
#include <QComboBox>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QSaveFile>
#include <QStandardPaths>
#include <QToolBar>

#include "core/configuration.h"
#include "results/path_parts.h"
#include "ui/inspection/sonogram_view.h"
#include "ui/inspection/spectrogram_view.h"
#include "ui/widgets/icons.h"
#include "ui/widgets/path_text.h"
#include "ui/widgets/save_target.h"

namespace quill {

namespace {

// Without a selection where the stored value is not on the list.
void Select(QComboBox* box, int value) {
  box->setCurrentIndex(box->findText(QString::number(value)));
}

}  // namespace

CSpectrumWindow::CSpectrumWindow(CSpectrumView* view, const std::string& path,
                                 const QString& logarithmic, const QString& linear, QWidget* parent)
    : QMainWindow(parent),
      m_view(view),
      m_path(path),
      m_fftSize(new QComboBox),
      m_fftOverlap(new QComboBox),
      m_state(new QLabel) {
  setAttribute(Qt::WA_DeleteOnClose);
  resize(940, 640);
  MakeMenus(logarithmic, linear);
  MakeToolbar();
  setCentralWidget(m_view);
  m_view->setFocus();
  connect(m_view, &CSpectrumView::Changed, this, [this] { m_state->setText(m_view->RunText()); });
  m_view->SetPath(path);
}

void CSpectrumWindow::MakeMenus(const QString& logarithmic, const QString& linear) {
  QMenu* const file = menuBar()->addMenu(tr("&File"));
  file->addAction(Icon("document-save-as"), tr("&Save Picture…"), QKeySequence::Save, this,
                  &CSpectrumWindow::SavePicture);
  file->addSeparator();
  file->addAction(tr("&Close"), QKeySequence::Close, this, &QWidget::close)
      ->setShortcuts({QKeySequence(QKeySequence::Close), QKeySequence(Qt::Key_Escape)});
  QMenu* const view = menuBar()->addMenu(tr("&View"));
  auto* const scales = new QActionGroup(this);
  for (const bool isLogarithmic : {true, false}) {
    QAction* const scale = view->addAction(isLogarithmic ? logarithmic : linear);
    scale->setCheckable(true);
    scale->setActionGroup(scales);
    scale->setChecked(m_view->IsLogarithmic() == isLogarithmic);
    connect(scale, &QAction::triggered, m_view,
            [this, isLogarithmic] { m_view->SetLogarithmic(isLogarithmic); });
  }
}

void CSpectrumWindow::MakeToolbar() {
  const SpectrumSettings& settings = m_view->Settings();
  const CConfiguration& configuration = CConfiguration::Instance();
  for (const int size : SpectrumSizes()) m_fftSize->addItem(QString::number(size));
  for (const int overlap : SpectrumOverlaps()) m_fftOverlap->addItem(QString::number(overlap));
  Select(m_fftSize, configuration.GetInteger(settings.size, settings.sizeDefault));
  Select(m_fftOverlap, configuration.GetInteger(settings.overlap, settings.overlapDefault));
  m_fftSize->setToolTip(tr("More samples tell frequencies better apart, and times worse"));
  m_fftOverlap->setToolTip(tr("How much of its sound a frame shares with the one before"));

  auto* const bar = new QToolBar;
  bar->setMovable(false);
  bar->setContextMenuPolicy(Qt::PreventContextMenu);
  const auto add = [bar](const QString& text, QComboBox* box, const QString& unit) {
    auto* const label = new QLabel(text);
    label->setBuddy(box);
    label->setMargin(4);
    bar->addWidget(label);
    bar->addWidget(box);
    auto* const behind = new QLabel(unit);
    behind->setMargin(4);
    bar->addWidget(behind);
  };
  add(tr("F&rame:"), m_fftSize, tr("samples"));
  add(tr("&Overlap:"), m_fftOverlap, tr("%"));
  auto* const build = new QPushButton(tr("&Build"));
  build->setToolTip(tr("Compute anew with these choices"));
  connect(build, &QPushButton::clicked, this, &CSpectrumWindow::BuildAnew);
  bar->addWidget(build);
  m_state->setMargin(8);
  bar->addWidget(m_state);
  addToolBar(bar);
}

void CSpectrumWindow::BuildAnew() {
  const SpectrumSettings& settings = m_view->Settings();
  CConfiguration& configuration = CConfiguration::Instance();
  // A stored value that is no choice stays until one is made.
  if (m_fftSize->currentIndex() >= 0)
    configuration.SetInteger(settings.size, m_fftSize->currentText().toInt());
  if (m_fftOverlap->currentIndex() >= 0)
    configuration.SetInteger(settings.overlap, m_fftOverlap->currentText().toInt());
  m_view->SetPath(m_path);
}

void CSpectrumWindow::SavePicture() {
  const QString folder = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
  const QString proposal = folder + '/' + ShownPath(std::string(NamePart(m_path))) + ".png";
  const QImage picture = m_view->Picture();
  const QString target =
      ChooseSaveTarget(this, tr("Save Picture"), proposal, {{"png", tr("PNG picture")}});
  if (target.isEmpty()) return;
  // Written beside and renamed: a full disk costs no older picture.
  QSaveFile file(target);
  const bool saved = file.open(QIODevice::WriteOnly) && picture.save(&file, "PNG") && file.commit();
  if (!saved)
    QMessageBox::warning(this, tr("Save Picture"),
                         tr("The picture “%1” was not saved: %2.").arg(target, file.errorString()));
}

TDXSpectrogramWindow::TDXSpectrogramWindow(const std::string& path, CMainQueue& queue,
                                           QWidget* parent)
    : CSpectrumWindow(new TDXSpectrogramView(queue), path, tr("Levels in &Decibels"),
                      tr("&Linear Levels"), parent) {
  setWindowTitle(QStringLiteral("Spectrogram analysis: %1").arg(ShownPath(path)));
}

TDXSonogramWindow::TDXSonogramWindow(const std::string& path, CMainQueue& queue, QWidget* parent)
    : CSpectrumWindow(new TDXSonogramView(queue), path, tr("L&ogarithmic Frequencies"),
                      tr("&Linear Frequencies"), parent) {
  setWindowTitle(QStringLiteral("Sonogram analysis: %1").arg(ShownPath(path)));
}

}  // namespace quill
